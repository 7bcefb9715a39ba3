// qlxcc convert: cues from one file to another one, and what is on air to cues.
#pragma once

#include "cues/CarriedTable.h"
#include "cues/CueInput.h"
#include "cues/CueTimes.h"
#include "cues/StartTimes.h"
#include "cues/StlOutput.h"
#include "cues/Subtitles.h"

#include <qlx/base/frame_rate.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

/// What cues are written as.
enum class CueFormat : std::uint8_t { Srt, Vtt, Stl, Ttml, EbuTtD, Json };

struct ConvertOptions {
    CueRequest input;
    std::optional<std::string> output;  ///< None or `-`: standard output.
    CueFormat format = CueFormat::Srt;
    CueTarget target = CueTarget::SubRip;  ///< The same, or as what cues are sent: what it carries.
    StlOutputOptions stl;
    std::optional<std::uint64_t> timestampMap;  ///< WebVTT: of the time 0 of its cues in a stream, 1/90000 s.
    bool hasStyleSheet = false;                 ///< WebVTT: which gives colours besides the eight.
    bool isDeployedJson = false;                ///< JSON in the form of the fixed operations.
    std::optional<std::string> language;  ///< Of a TTML file, as in RFC 5646; none: what a TTML file that is read says.
    TimeChange times;                     ///< Without the starts.
    FromStart fromStart;                  ///< Becomes TimeChange::fromStart.
    std::optional<StartTime> toStart;     ///< Becomes TimeChange::toStart.
    std::optional<LabelCounting> written;  ///< How labels count in what is written, where its format says it.
    std::vector<std::string> unused;       ///< Options that say something of times which nothing has.
    std::optional<FrameRate> frames;       ///< To which times are rounded here; none: whoever writes them does it.
    std::optional<MediaTime> firstTime;    ///< Of what is written: what is in front of it is left out.
    Overlap overlap = Overlap::Keep;
    std::optional<std::uint64_t> columns;  ///< To which rows are wrapped.
    std::uint64_t rows = 0;                ///< Of a cue that is wrapped; 0: any number.
    bool reportsAll = false;               ///< All that is found and lost, not ten of a kind.
    bool isStrict = false;                 ///< What is lost makes the exit code 1.
};

/// Reads the cues with their times changed and their rows wrapped, in the way of convert(), and says what is found.
/// @param hasFailed Becomes true where something could not be read or, with ConvertOptions::isStrict, is lost.
/// @return What the file is; problems are said already.
[[nodiscard]] Subtitles readConvertedCues(const ConvertOptions& options, const CueValueTaker& take, bool& hasFailed);

/// What a file is by its content or name. What is read but once stays open in the request.
/// @throws UsageError when neither tells it.
[[nodiscard]] InputKind kindOfInput(CueRequest& request);

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int convert(const ConvertOptions& options);

}  // namespace qlx::tool
