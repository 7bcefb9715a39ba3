// The samples of `stpp` tracks as cues (ISO/IEC 14496-30, 5).
#pragma once

#include "TextSamples.h"

#include <qlx/base/finding.h>
#include <qlx/streams/ttml.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <span>
#include <string>
#include <utility>

namespace qlx::streams::detail {

/// Reads a document a sample. Their times count from the beginning of the media; what of them is shown is what is so while
/// their sample is.
class DocumentSamples {
public:
    /// @param takeHead Gets the head of the first document; may be empty. Must outlive this.
    /// @param findings Must outlive this.
    DocumentSamples(const std::function<void(const TtmlFile&)>& takeHead, FindingSink& findings)
        : _takeHead(takeHead), _findings(findings) {}

    void read(std::span<const std::uint8_t> sample, const SampleSpan& span, const TakeSampleCue& take);

    /// Says what no sample has shown.
    void finish();

private:
    /// A cue of a document: others may have it again.
    struct Name {
        std::int64_t start = 0;  ///< In milliseconds.
        std::size_t text = 0;    ///< Which one: a hash of it.

        friend bool operator<(const Name& left, const Name& right) noexcept {
            return std::pair(left.start, left.text) < std::pair(right.start, right.text);
        }
    };

    void takeHead(const TtmlFile& head);
    void takeCue(subtitles::Cue cue, const SampleSpan& span, const TakeSampleCue& take);
    void addShown(const Name& name);
    void addOutside(const Name& name, bool isPast);

    const std::function<void(const TtmlFile&)>& _takeHead;
    FindingSink& _findings;
    bool _hasHead = false;
    std::map<std::string, TtmlRegion, std::less<>> _regions;  ///< Of the first document, by their names.
    std::set<std::string, std::less<>> _ownRegions;  ///< Of the one in hand: those that the first one has otherwise.
    // Of the last cues only: memory does not grow with a file.
    std::deque<Name> _order;
    std::set<Name> _shown;
    std::int64_t _forgotten = std::numeric_limits<std::int64_t>::min();  ///< Up to this start cues may have been shown.
    std::set<Name> _outside;                                             ///< In no sample so far, the next ones.
};

}  // namespace qlx::streams::detail
