#include "streams/Klv.h"

#include "io/Text.h"

#include <qlx/anc/element.h>
#include <qlx/base/finding.h>

namespace qlx::tool {

namespace {

/// As many findings of an element get a line each.
constexpr std::size_t kMostFindings = 10;

}  // namespace

void readAncFrameElement(std::span<const std::uint8_t> element, const std::string& place, Frame& frame,
                         std::vector<std::string>& problems, std::vector<std::string>* remarks) {
    if (element.size() < 2) {
        problems.push_back(place + ": element of " + counted(element.size(), "byte") + " without a packet count");
        return;
    }
    Findings findings(kMostFindings);
    for (const anc::ElementPacketView& packet : anc::elementPackets(element, &findings)) {
        frame.packets.push_back(packet.toPacket());
    }
    for (const Finding& finding : findings) {
        const std::string line =
            place + ": byte " + std::to_string(finding.offset) + " of the element: " + finding.text();
        if (finding.severity != Severity::Remark) {
            problems.push_back(line);
        } else if (remarks != nullptr) {
            remarks->push_back(line);
        }
    }
    if (findings.rest() > 0) {
        problems.push_back(place + ": " + counted(findings.rest(), "more finding") + " in the element");
    }
}

}  // namespace qlx::tool
