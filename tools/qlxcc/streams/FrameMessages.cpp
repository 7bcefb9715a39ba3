#include "streams/FrameMessages.h"

#include "io/FindingNotes.h"

#include <span>

namespace qlx::tool {

void FrameMessages::read(const Frame& frame, std::vector<FrameProblem>& problems) {
    qlx::Findings findings;
    std::uint64_t line = 0;
    for (const auto& packet : frame.packets) {
        if (packet.id() == anc::ids::kScte104) {
            line = packet.line;
            readPacket(frame.number, line, Data(packet.userData), findings);
        }
    }
    _joiner.endFrame(&findings, line);
    for (const qlx::Finding& finding : findings) {
        problems.push_back({placeOf(frame.number, finding.offset) + ": " + finding.text(), finding.code});
    }
    if (findings.rest() > 0) {
        problems.push_back({placeOf(frame.number, line) + ": " + restInWords(findings), FindingCode::None});
    }
}

void FrameMessages::readPacket(std::uint64_t frame, std::uint64_t line, const Data& data, qlx::Findings& findings) {
    const scte::PayloadDescriptor descriptor(data.empty() ? std::uint8_t{0} : data[0]);
    if (!descriptor.hasKnownVersion()) {
        _take(frame, line, data);
    } else if (!descriptor.isContinued() && !descriptor.isFollowing()) {
        // It ends one whose last piece has not come; what is wrong with it itself is said where it is read.
        qlx::Findings own;
        (void)_joiner.push(data, &own, line);
        for (const qlx::Finding& finding : own) {
            if (finding.code == FindingCode::SctePieceMissing) {
                findings.add(finding);
            }
        }
        _take(frame, line, data);
    } else if (const auto message = _joiner.push(data, &findings, line)) {
        std::vector<std::uint8_t> whole{scte::PayloadDescriptor().byte()};
        whole.insert(whole.end(), message->bytes.begin(), message->bytes.end());
        _take(frame, line, whole);
    }
}

}  // namespace qlx::tool
