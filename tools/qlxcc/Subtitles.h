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
    std::uint64_t line = 0;  ///< Counted from 1.
    std::string what;
};

/// The cues of a file.
struct Subtitles {
    std::string name;  ///< What to call the file in messages.
    std::vector<std::shared_ptr<QLXSubtitleRecord>> records;
    std::vector<SubtitleProblem> problems;
};

/// Reads an SRT file (`-`: standard input).
/// @param mode The subtitle mode that the cues are placed for: 1 CEA-608, 2 teletext.
/// @param frameDuration Seconds a frame.
/// @throws Failure when the file cannot be read, is not UTF-8, or has no valid cue.
[[nodiscard]] Subtitles loadSubtitles(const std::string& path, std::int32_t mode, double frameDuration);

/// The blocks of an SRT text that make no cue, in order.
[[nodiscard]] std::vector<SubtitleProblem> findSRTProblems(std::string_view text);

/// The lines of a subtitle, joined by ` / `.
[[nodiscard]] std::string subtitleText(const QLXSubtitleRecord& record);

}  // namespace qlx::tool
