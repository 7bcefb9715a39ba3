// Teletext as an MPEG transport stream (ETSI EN 300 472), made of frames with OP-47 packets or teletext lines.
//
//     qlx::streams::TransportWriterOptions options;
//     options.pages = {{{'d', 'e', 'u'}, qlx::streams::ts::TeletextType::Subtitles, 0x888}};
//     qlx::streams::TransportWriter writer(sink, options);
//     if (const auto failure = writer.write(frame, &findings)) { report(failure->text()); }
//     if (const auto failure = writer.finish()) { report(failure->text()); }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame.h>
#include <qlx/streams/frame_reader.h>
#include <qlx/streams/ts/multiplexer.h>
#include <qlx/streams/ts/tables.h>
#include <qlx/teletext/sdp.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::streams {

/// How teletext is written.
struct TransportWriterOptions {
    FrameRate rate = FrameRate::Fps25;          ///< 25 or 50 frames a second: the system is that of 625 lines.
    std::uint32_t bitrate = ts::kUsualBitrate;  ///< Bits a second.
    std::uint16_t mapPid = 0x100;               ///< PID of the program's map.
    std::uint16_t teletextPid = 0x101;          ///< PID of the teletext.
    std::uint16_t pcrPid = 0x1F0;               ///< PID of the clock.
    std::string serviceName{};              ///< UTF-8; without one there is no service description table. Cut behind
                                            ///< ts::kMostServiceNameBytes.
    std::string providerName{};             ///< The same.
    std::vector<ts::TeletextPage> pages{};  ///< What the teletext descriptor names, at most 51.
};

/// What is wrong with options: TsFrameRateWrong, TsPidWrong for a PID that is reserved, or is there twice, or
/// TsTooManyPages for more than ts::kMostDescribedPages; none when they can be used.
[[nodiscard]] QLX_STREAMS_EXPORT std::optional<Finding> checkTransport(const TransportWriterOptions& options);

/// Writes a PES packet for each frame that has teletext packets, with the frame's time, or else that of its number. Filling
/// packets (magazine 8, packet 31) are not written. A field has 16 lines, 7 to 22: where the packets say others, or a line
/// twice, they are numbered from 7 on.
///
/// Findings: StreamTeletextLeftOut for lines that are more, StreamPacketLeftOut for packets of other kinds,
/// StreamCaptionsLeftOut, those of qlx::teletext::parseSdp(), and those of qlx::streams::ts::Multiplexer.
class QLX_STREAMS_EXPORT TransportWriter final : public FrameWriter {
public:
    /// @param sink Must outlive the writer.
    /// @param options How.
    explicit TransportWriter(ByteSink& sink, const TransportWriterOptions& options = {});

    /// Fails with what checkTransport() says.
    [[nodiscard]] std::optional<Finding> write(const Frame& frame, FindingSink* findings) override;
    /// Writes up to the end of the last frame.
    [[nodiscard]] std::optional<Finding> finish() override;

private:
    [[nodiscard]] std::int64_t timeOf(const Frame& frame) const;
    void takeLines(const Frame& frame, FindingSink* findings);
    [[nodiscard]] std::optional<Finding> send();

    ByteSink& _sink;
    TransportWriterOptions _options;
    std::optional<ts::Multiplexer> _multiplexer;
    std::vector<teletext::SdpLine> _lines;
    std::vector<std::uint8_t> _pes;
    std::int64_t _end = 0;  ///< Of the last frame, in ticks of 90 kHz.
    bool _isSubtitle = true;
};

}  // namespace qlx::streams
