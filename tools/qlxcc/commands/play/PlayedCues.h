// The cues of a file that are played.
#pragma once

#include "commands/play/PlayWindow.h"
#include "cues/Subtitles.h"
#include "io/Rates.h"

#include <qlx/subtitles/cue.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

/// The frame in which a cue is to appear; none when its start is no time.
[[nodiscard]] std::optional<std::uint64_t> dueFrame(const subtitles::Cue& cue, const Rate& rate);

/// The cues that are played, in the order of their starts.
class PlayedCues {
public:
    explicit PlayedCues(const PlayOptions& options) : _options(options), _window(options, false) {}

    /// Reads the file.
    Subtitles read();

    [[nodiscard]] const PlayWindow& window() const { return _window; }

    /// What is on air as the first frame begins, begins with it.
    /// @param overlaps Whether that is all of them, and cues that are due in one frame stay cues of their own; else it is
    /// those that began last, unless all of them are over, as it would be had the frames in front been played; and such
    /// cues become one.
    [[nodiscard]] std::vector<subtitles::Cue> inOrder(bool overlaps);

    /// How many cues are shown with the one before them.
    [[nodiscard]] std::uint64_t joined() const { return _joined; }

    /// Whether cues are shown otherwise than alone and from their start to their end.
    [[nodiscard]] bool areChanged() const { return _joined > 0 || _lengthened > 0; }

    /// Says how many cues last a frame, as they would be shown no more.
    void sayLengthened(const std::string& name) const;

private:
    void take(subtitles::Cue cue);

    /// A caption begins in a frame: cues that are due in the same one are shown together, one below the other.
    void joinEqualStarts();

    const PlayOptions& _options;
    PlayWindow _window;
    std::vector<subtitles::Cue> _cues;
    std::vector<subtitles::Cue>
        _lastBefore;  ///< Those that began last in front of the first frame, also if they are over.
    std::optional<std::uint64_t> _lastDue;  ///< The frame of these.
    std::uint64_t _read = 0;                ///< Cues of the file.
    std::uint64_t _joined = 0;
    std::uint64_t _lengthened = 0;  ///< Of those that are played.
};

}  // namespace qlx::tool
