// qlxcc play: subtitles, frame by frame, as ancillary packets.
#pragma once

#include "Rates.h"

#include <cstdint>
#include <optional>
#include <string>

namespace qlx::tool {

enum class PlayFormat { Schedule, V210, Klv, Jsonl };

struct PlayOptions {
    std::string subtitles;  ///< The file; `-` is standard input.
    Rate rate;
    bool isHD = true;
    double fromSeconds = 0.0;
    std::optional<double> durationSeconds;
    std::optional<std::string> output;  ///< None or `-`: standard output.
    PlayFormat format = PlayFormat::Schedule;
    std::uint32_t width = 0;  ///< Pixels of a row.
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int play(const PlayOptions& options);

}  // namespace qlx::tool
