#include <qlx/streams/transport_writer.h>

#include "TeletextLines.h"

#include <qlx/anc/packet.h>
#include <qlx/streams/ts/vbi.h>
#include <qlx/teletext/packet.h>

#include <algorithm>
#include <array>

namespace qlx::streams {

namespace {

constexpr std::int32_t kTicksPerSecond = 90'000;

bool isFilling(const teletext::SdpLine& line) {
    const Result<teletext::Packet> packet = teletext::parsePacket(line.bytes);
    return packet && packet->isFilling();
}

ts::MultiplexOptions optionsOf(const TransportWriterOptions& options, std::int64_t firstTime) {
    ts::MultiplexOptions result;
    result.bitrate = options.bitrate;
    result.mapPid = options.mapPid;
    result.map.pcrPid = options.pcrPid;
    result.map.streams = {{ts::kPrivatePesType, options.teletextPid, {ts::teletextDescriptor(options.pages)}}};
    result.serviceName = options.serviceName;
    result.providerName = options.providerName;
    result.firstTime90k = firstTime;
    return result;
}

bool isSubtitleType(const ts::TeletextPage& page) {
    return page.type == ts::TeletextType::Subtitles || page.type == ts::TeletextType::HearingImpaired;
}

}  // namespace

std::optional<Finding> checkTransport(const TransportWriterOptions& options) {
    // Those below are of tables.
    constexpr std::uint16_t kFirstFreePid = 0x20;
    if (options.rate != FrameRate::Fps25 && options.rate != FrameRate::Fps50) {
        return Finding{FindingCode::TsFrameRateWrong, Severity::Error, 0,
                       static_cast<std::int64_t>(nominalFramesPerSecond(options.rate)), 0};
    }
    if (options.pages.size() > ts::kMostDescribedPages) {
        return Finding{FindingCode::TsTooManyPages, Severity::Error, 0, static_cast<std::int64_t>(options.pages.size()),
                       std::int64_t{ts::kMostDescribedPages}};
    }
    std::array<std::uint16_t, 3> pids{options.mapPid, options.teletextPid, options.pcrPid};
    std::sort(pids.begin(), pids.end());
    for (std::size_t index = 0; index < pids.size(); ++index) {
        if (pids[index] < kFirstFreePid || pids[index] >= ts::kNullPid ||
            (index > 0 && pids[index] == pids[index - 1])) {
            return Finding{FindingCode::TsPidWrong, Severity::Error, 0, pids[index], 0};
        }
    }
    return std::nullopt;
}

TransportWriter::TransportWriter(ByteSink& sink, const TransportWriterOptions& options)
    : _sink(sink), _options(options),
      _isSubtitle(options.pages.empty() || std::any_of(options.pages.begin(), options.pages.end(), isSubtitleType)) {}

std::int64_t TransportWriter::timeOf(const Frame& frame) const {
    if (frame.pts) {
        return convertScale(*frame.pts, kTicksPerSecond, RoundingMethod::RoundHalfAwayFromZero).value;
    }
    const MediaTime duration = frameDuration(_options.rate);
    return static_cast<std::int64_t>(frame.number) * duration.value * kTicksPerSecond / duration.timescale;
}

/// The teletext of a frame.
void TransportWriter::takeLines(const Frame& frame, FindingSink* findings) {
    _lines = frame.teletext;
    for (std::size_t place = 0; place < frame.packets.size(); ++place) {
        const anc::Packet& packet = frame.packets[place];
        if (packet.id() != anc::ids::kOp47) {
            if (findings != nullptr) {
                findings->add({FindingCode::StreamPacketLeftOut, Severity::Warning, place, packet.did, packet.sdid});
            }
            continue;
        }
        PlacedSink sink(findings, static_cast<std::uint32_t>(place));
        const auto sdp = teletext::parseSdp(packet.userData, &sink);
        if (!sdp) {
            sink.add(sdp.error());
            continue;
        }
        const auto lines = sdp->lines.items();
        _lines.insert(_lines.end(), lines.begin(), lines.end());
    }
    std::erase_if(_lines, isFilling);
    if (!frame.triplets.empty() && findings != nullptr) {
        findings->add({FindingCode::StreamCaptionsLeftOut, Severity::Warning, frame.packets.size(),
                       static_cast<std::int64_t>(frame.triplets.size() / 3), 0});
    }
}

std::optional<Finding> TransportWriter::send() {
    for (const ts::PacketBytes& packet : _multiplexer->takePackets()) {
        if (const auto failure = _sink.write(packet)) {
            return failure;
        }
    }
    return std::nullopt;
}

std::optional<Finding> TransportWriter::write(const Frame& frame, FindingSink* findings) {
    if (const auto wrong = checkTransport(_options)) {
        return wrong;
    }
    const std::int64_t time = timeOf(frame);
    if (!_multiplexer) {
        _multiplexer.emplace(optionsOf(_options, time), findings);
        _end = time;
    }
    _multiplexer->setFindings(findings);
    // Step by step: what fills a gap of hours need not be held at once.
    for (std::int64_t now = _end; now < time; now += std::min<std::int64_t>(time - now, kTicksPerSecond)) {
        _multiplexer->advanceTo(now);
        if (const auto failure = send()) {
            return failure;
        }
    }
    _multiplexer->advanceTo(time);
    takeLines(frame, findings);
    detail::orderLines(_lines, frame.packets.size(), findings);
    // As many lines as two fields have fit into any PES packet.
    if (!_lines.empty() && ts::writeTeletextPes(_lines, static_cast<std::uint64_t>(time), _isSubtitle, _pes)) {
        _multiplexer->addPes(_options.teletextPid, _pes, time);
    }
    const MediaTime duration = frameDuration(_options.rate);
    _end = time + duration.value * kTicksPerSecond / duration.timescale;
    _multiplexer->setFindings(nullptr);
    return send();
}

std::optional<Finding> TransportWriter::finish() {
    if (!_multiplexer) {
        return std::nullopt;
    }
    _multiplexer->finish(_end);
    return send();
}

}  // namespace qlx::streams
