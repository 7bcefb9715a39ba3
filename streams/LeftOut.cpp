#include "LeftOut.h"

#include <qlx/cc/triplet.h>

#include <algorithm>
#include <map>
#include <utility>

namespace qlx::streams::detail {

namespace {

/// Where packets would stand if those of a line and channel began the row without a gap, in their order.
class ContiguousOffsets {
public:
    std::uint64_t next(const anc::Packet& packet) {
        std::uint64_t& end = _ends[{packet.line, packet.channel}];
        const std::uint64_t offset = end;
        end += anc::packetWords(packet.userData.size());
        return offset;
    }

private:
    std::map<std::pair<std::uint32_t, anc::Channel>, std::uint64_t> _ends;
};

}  // namespace

void tellLeftOut(const Frame& frame, const Carried& carried, FindingSink* findings) {
    if (findings == nullptr) {
        return;
    }
    const auto tell = [findings](FindingCode code, std::size_t place, std::uint64_t first, std::uint64_t second = 0) {
        findings->add(
            {code, Severity::Warning, place, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)});
    };
    const bool mayLoseOffsets =
        !carried.horizontalOffsets &&
        std::ranges::any_of(frame.packets, [](const anc::Packet& packet) { return packet.horizontalOffset != 0; });
    ContiguousOffsets offsets;
    for (std::size_t place = 0; place < frame.packets.size(); ++place) {
        const anc::Packet& packet = frame.packets[place];
        const std::uint64_t next = mayLoseOffsets ? offsets.next(packet) : 0;
        if (mayLoseOffsets && packet.horizontalOffset != 0 && next != packet.horizontalOffset) {
            tell(FindingCode::StreamHorizontalOffsetLeftOut, place, packet.horizontalOffset, next);
        }
        if (const anc::Wrapping wrapping = frame.wrappingOf(place);
            !carried.wrappings && wrapping != anc::Wrapping::VancFrame) {
            tell(FindingCode::StreamWrappingLeftOut, place, static_cast<std::uint64_t>(wrapping));
        }
    }
    if (!carried.captions && !frame.triplets.empty()) {
        tell(FindingCode::StreamCaptionsLeftOut, frame.packets.size(), frame.triplets.size() / sizeof(cc::Triplet));
    }
    if (!frame.teletext.empty()) {
        tell(FindingCode::StreamTeletextLeftOut, frame.packets.size(), frame.teletext.size());
    }
}

Finding asFramesKeepIt(Finding finding) {
    if (finding.code == FindingCode::AncUserDataOfTenBits) {
        finding.code = FindingCode::StreamWordBitsLeftOut;
    }
    return finding;
}

}  // namespace qlx::streams::detail
