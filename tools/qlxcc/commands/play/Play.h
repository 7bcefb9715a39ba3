// qlxcc play: subtitles, frame by frame, as ancillary packets.
#pragma once

#include "io/FrameOutput.h"
#include "io/Rates.h"

#include <qlx/cea608/caption.h>
#include <qlx/cea608/writer.h>
#include <qlx/cea608/xds.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

enum class PlayMode { Cea608 = 1, Teletext = 2 };  ///< The library's subtitle modes.
enum class PlayFormat { Schedule, V210, Klv, Jsonl, Scc, A53 };

/// How captions are sent.
struct CaptionPlayOptions {
    cea608::Channel channel = cea608::kCC1;
    cea608::CaptionStyle style = cea608::CaptionStyle::PopOn;
    std::uint8_t rollUpRows = 2;
    cea608::WriterOptions writer;
    std::vector<cea608::XdsValue> extendedData;  ///< Sent in field 2 as often as the writer does it.
    std::uint32_t line = 9;                      ///< Of their packets.
};

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
    bool asDeployed = false;  ///< By the fixed operations.
    CaptionPlayOptions captions;
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int play(const PlayOptions& options);

}  // namespace qlx::tool
