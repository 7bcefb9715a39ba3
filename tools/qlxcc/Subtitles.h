// Reading a subtitle file, and saying what is wrong with it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class QLXSubtitleRecord;

namespace qlx::tool {

/// Something in a subtitle file that was left out.
struct SubtitleProblem {
    std::uint64_t line = 0;  ///< The line, in JSON the element of the array, counted from 1.
    std::string what;
    bool isLeftOut = true;  ///< False when the cue is played all the same.
};

/// The cues of a file.
struct Subtitles {
    std::string name;                 ///< What to call the file in messages.
    std::string_view place = "line";  ///< What the problems' numbers count.
    std::vector<std::shared_ptr<QLXSubtitleRecord>> records;
    std::vector<SubtitleProblem> problems;
};

/// Reads a subtitle file (`-`: standard input): JSON when its content or its name says so, else SRT. A JSON file is an
/// array of the dictionaries that QLXSubtitleRecord reads.
/// @param mode The subtitle mode that the cues are placed for: 1 CEA-608, 2 teletext. In mode 1 the cues of an SRT file
///   start early, so that they appear in time; those of a JSON file keep their times.
/// @param frameDuration Seconds a frame.
/// @throws Failure when the file cannot be read, is not UTF-8, or has no valid cue.
[[nodiscard]] Subtitles loadSubtitles(const std::string& path, std::int32_t mode, double frameDuration);

/// The blocks of an SRT text that make no cue, and timing lines inside of cues, in order.
[[nodiscard]] std::vector<SubtitleProblem> findSRTProblems(std::string_view text);

/// Whether a subtitle text is JSON: an array of objects, or an object, by its first characters.
[[nodiscard]] bool looksLikeJson(std::string_view text) noexcept;

/// The lines of a subtitle, joined by ` / `; `(no text)` when there is nothing in them.
[[nodiscard]] std::string subtitleText(const QLXSubtitleRecord& record);

}  // namespace qlx::tool
