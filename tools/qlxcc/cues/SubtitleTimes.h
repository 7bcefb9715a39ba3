// The times of subtitle files: whether they are what the library takes them for.
#pragma once

#include "cues/Subtitles.h"

#include <QLXClosedCaptionsUtilities/platform/Value.h>
#include <qlx/base/result.h>
#include <qlx/subtitles/cue.h>

#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// `00:00:10,500`, to the nearest millisecond.
[[nodiscard]] std::string timeInWords(double seconds);

/// What is wrong with the timing line of an SRT cue, in words: why it is left out, or remarks; empty when it is right.
[[nodiscard]] std::vector<SubtitleProblem> timingLineProblems(std::uint64_t line, std::string_view timing);

/// The same of an element of a JSON file.
/// @param findings What was found while `cue` was read.
/// @param cue What became of the element.
[[nodiscard]] std::vector<SubtitleProblem> elementProblems(std::uint64_t element, const Value& value,
                                                           const Findings& findings, const Result<subtitles::Cue>& cue);

/// Whether such problems are why a cue is left out.
[[nodiscard]] inline bool leaveCueOut(const std::vector<SubtitleProblem>& problems) {
    return !problems.empty() && problems.front().effect == SubtitleProblem::Effect::CueLeftOut;
}

}  // namespace qlx::tool
