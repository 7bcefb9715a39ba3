// qlxcc play: subtitles, frame by frame, as ancillary packets.
#pragma once

#include "cues/Subtitles.h"
#include "io/FrameOutput.h"
#include "io/Rates.h"

#include <qlx/cc/cdp_sections.h>
#include <qlx/cea608/caption.h>
#include <qlx/cea608/writer.h>
#include <qlx/cea608/xds.h>
#include <qlx/cea708/window.h>
#include <qlx/playout/teletext.h>
#include <qlx/streams/transport_writer.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// The library's subtitle modes, and those that the core alone has; Captions is both caption systems at once.
enum class PlayMode { Cea608 = 1, Teletext = 2, Cea708, Captions };

/// Whether captions of line 21 are sent.
constexpr bool hasLine21(PlayMode mode) {
    return mode == PlayMode::Cea608 || mode == PlayMode::Captions;
}

/// Whether a caption service is sent.
constexpr bool hasService(PlayMode mode) {
    return mode == PlayMode::Cea708 || mode == PlayMode::Captions;
}

/// Pictures of more frames a second are progressive: each is one field.
inline constexpr std::uint32_t kGreatestInterlaced = 30;

enum class PlayFormat { Schedule, V210, Klv, Jsonl, Scc, A53, TransportStream, Mcc };

/// How captions are sent.
struct CaptionPlayOptions {
    cea608::Channel channel = cea608::kCC1;
    cea608::CaptionStyle style = cea608::CaptionStyle::PopOn;
    std::uint8_t rollUpRows = 2;
    cea608::WriterOptions writer;
    std::vector<cea608::XdsValue> extendedData;  ///< Sent in field 2 as often as the writer does it.
    std::uint32_t line = 9;                      ///< Of their packets.
    std::uint8_t service = 1;
    cea708::AspectRatio aspectRatio = cea708::AspectRatio::Wide;
    std::optional<cc::CaptionService::Language> language;  ///< Of both.
    std::optional<std::string> wideEncoding;               ///< Services: of 16-bit characters, where those are sent.
};

/// How teletext is sent.
struct TeletextPlayOptions {
    /// A file and its page.
    struct Page {
        std::string subtitles;  ///< As in PlayOptions.
        std::uint16_t number = teletext::kSubtitlePage;
        std::string language;                     ///< As it was given; empty: it was not.
        std::optional<std::uint8_t> designation;  ///< Of the character set; none: the one that suits the texts best.
    };

    std::vector<Page> pages;  ///< One at least.
    bool isDoubleHeight = true;
    playout::TeletextPlayoutOptions playout;
};

struct PlayOptions {
    std::string subtitles;  ///< The file; `-` is standard input.
    std::string encoding;   ///< Of a text; empty: what its bytes say, as deployed UTF-8.
    std::string track;      ///< Of containers, as CueRequest has it.
    FromStart fromStart;    ///< Not as deployed.
    OnAirChoice onAir;      ///< Files of frames, not as deployed.
    PlayMode mode = PlayMode::Teletext;
    Rate rate;
    bool isHD = true;
    double fromSeconds = 0.0;
    std::string_view fromOption = "--from";     ///< What says that.
    std::string_view missingOption = "--from";  ///< What may be missing where cues begin long behind it.
    std::optional<double> durationSeconds;
    std::optional<std::string> output;  ///< None or `-`: standard output.
    PlayFormat format = PlayFormat::Schedule;
    RowForm rowForm = RowForm::Contiguous;
    std::uint32_t width = 0;  ///< Pixels of a row.
    bool fillsFrames = true;  ///< Captions: a frame without a byte pair carries an empty caption packet.
    bool isDropFrame = true;  ///< scc, mcc: how timecodes count.
    bool asDeployed = false;  ///< By the fixed operations.
    bool isStrict = false;    ///< What is changed or lost makes the exit code 1.
    bool reportsAll = false;  ///< All that is changed or lost is said, not ten of a kind.
    CaptionPlayOptions captions;
    TeletextPlayOptions teletext;
    streams::TransportWriterOptions transport;  ///< Transport streams.
    /// What gives the cues of a file in place of its own reader; may be empty. It is called once for each file that is
    /// played, with its name: `subtitles`, or those of the pages in their order.
    std::function<Subtitles(const std::string& file, const CueValueTaker& take)> cues{};
    streams::MccHeader mcc{};  ///< Of what is written as mcc.
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int play(const PlayOptions& options);

}  // namespace qlx::tool
