#include <qlx/streams/teletext_packets.h>

#include "TeletextLines.h"

#include <qlx/anc/packet.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace qlx::streams {

namespace detail {

namespace {
constexpr std::size_t kFieldLines = teletext::kLastVbiLine - teletext::kFirstVbiLine + std::size_t{1};
}  // namespace

void orderLines(std::vector<teletext::SdpLine>& lines, std::size_t place, FindingSink* findings) {
    const auto second = std::stable_partition(lines.begin(), lines.end(),
                                              [](const teletext::SdpLine& line) { return line.isOddField(); });
    std::vector<teletext::SdpLine> kept;
    const auto addField = [&kept](std::span<teletext::SdpLine> field) {
        bool isRight = true;
        std::uint8_t last = teletext::kFirstVbiLine - 1;
        for (const teletext::SdpLine& line : field) {
            isRight = isRight && line.line() > last && line.line() <= teletext::kLastVbiLine;
            last = line.line();
        }
        const std::size_t count = std::min(field.size(), kFieldLines);
        for (std::size_t index = 0; index < count; ++index) {
            if (!isRight) {
                field[index].descriptor = teletext::sdpDescriptor(
                    teletext::kFirstVbiLine + static_cast<unsigned>(index), field[index].isOddField());
            }
            kept.push_back(field[index]);
        }
    };
    addField({lines.begin(), second});
    addField({second, lines.end()});
    if (kept.size() < lines.size() && findings != nullptr) {
        findings->add({FindingCode::StreamTeletextLeftOut, Severity::Error, place,
                       static_cast<std::int64_t>(lines.size() - kept.size()), 0});
    }
    lines = std::move(kept);
}

}  // namespace detail

void TeletextPackets::put(Frame& frame, FindingSink* findings) {
    if (frame.teletext.empty()) {
        return;
    }
    detail::orderLines(frame.teletext, frame.packets.size(), findings);
    std::span<const teletext::SdpLine> rest(frame.teletext);
    while (!rest.empty()) {
        const bool isOdd = rest.front().isOddField();
        const auto other =
            std::find_if(rest.begin(), rest.end(), [isOdd](const auto& line) { return line.isOddField() != isOdd; });
        const auto count = std::min(static_cast<std::size_t>(other - rest.begin()), teletext::kGreatestSdpLines);
        teletext::Sdp sdp;
        sdp.counter = _counter++;
        // As many as it holds, none of which has the line 0.
        (void)sdp.lines.assign(rest.first(count));
        std::array<std::uint8_t, teletext::kGreatestSdpBytes> room{};
        const std::size_t size = *teletext::writeSdp(sdp, room);
        anc::Packet& packet = frame.packets.emplace_back();
        packet.did = anc::ids::kOp47.did;
        packet.sdid = anc::ids::kOp47.sdid;
        packet.userData.assign(room.begin(), room.begin() + static_cast<std::ptrdiff_t>(size));
        packet.line = isOdd ? _options.firstLine : _options.secondLine;
        rest = rest.subspan(count);
    }
    frame.teletext.clear();
}

}  // namespace qlx::streams
