// qlxcc play: subtitles, frame by frame, as ancillary packets.
#pragma once

#include "io/FrameOutput.h"
#include "io/Rates.h"

#include <cstdint>
#include <optional>
#include <string>

namespace qlx::tool {

enum class PlayMode { Cea608 = 1, Teletext = 2 };  ///< The library's subtitle modes.
enum class PlayFormat { Schedule, V210, Klv, Jsonl, Scc };

struct PlayOptions {
    std::string subtitles;  ///< The file; `-` is standard input.
    std::string encoding;   ///< Of an SRT or JSON file; empty for UTF-8.
    PlayMode mode = PlayMode::Teletext;
    Rate rate;
    bool isHD = true;
    double fromSeconds = 0.0;
    std::optional<double> durationSeconds;
    std::optional<std::string> output;  ///< None or `-`: standard output.
    PlayFormat format = PlayFormat::Schedule;
    RowForm rowForm = RowForm::Contiguous;
    std::uint32_t width = 0;  ///< Pixels of a row.
    bool fillsFrames = true;  ///< Captions: a frame without a byte pair carries an empty caption packet.
    bool isDropFrame = true;  ///< Scenarist caption files: how timecodes count.
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int play(const PlayOptions& options);

}  // namespace qlx::tool
