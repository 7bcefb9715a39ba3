// Cues written to a file of cues.
#pragma once

#include "commands/convert/Convert.h"
#include "cues/JsonCues.h"
#include "io/OutputFile.h"

#include <qlx/base/finding.h>
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/cue.h>
#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/webvtt.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

/// Writes cues in one of the formats.
class CueFileWriter {
public:
    /// All must outlive this; `findings` may be null.
    /// @param times Of the cues, whole with the first of them.
    CueFileWriter(const ConvertOptions& options, const TimeChange& times, OutputFile& output, FindingSink* findings);

    /// Writes a cue, or keeps it until the head of the file is known.
    void write(const subtitles::Cue& cue, const CueInput& input);

    /// Writes what is kept and what stands behind the last cue.
    void finish(const CueInput& input);

    /// How many cues are written.
    [[nodiscard]] std::uint64_t cues() const { return _cues; }

private:
    void writeHeld(const CueInput& input);
    void writeBehindHead(const subtitles::Cue& cue, const CueInput& input);
    [[nodiscard]] bool writeWebVtt(const subtitles::Cue& cue, const CueInput& input);
    [[nodiscard]] bool writeTtml(const subtitles::Cue& cue);
    [[nodiscard]] subtitles::Cue withoutRegion(const subtitles::Cue& cue) const;
    void begin(const CueInput& input);

    const ConvertOptions& _options;
    CueFormat _format;
    OutputFile& _output;
    FindingSink* _findings;
    std::optional<streams::TtmlWriter> _ttml;
    std::map<std::string, subtitles::Box, std::less<>> _regions;  ///< Of a WebVTT file, for TTML.
    subtitles::SubRipWriter _subRip;
    subtitles::WebVttWriter _webVtt;
    StlOutput _stl;
    JsonCueWriter _json;
    std::string _text;
    subtitles::WebVttFile _head;        ///< The colours of those that are held back.
    std::vector<subtitles::Cue> _held;  ///< Until the head is written.
    std::size_t _heldBytes = 0;
    bool _isBegun = false;
    std::uint64_t _given = 0;
    std::uint64_t _cues = 0;
};

}  // namespace qlx::tool
