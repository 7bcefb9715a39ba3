// Arbitrary bytes as an ANC frame element: walked, read, written, and read again.
#include <qlx/anc/element.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <array>

using qlx::Finding;
using qlx::FindingCode;
using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    qlx::Findings findings;
    const auto packets = qlx::anc::parseElement(bytes, &findings);
    const auto isBefore = [](const Finding& left, const Finding& right) { return left.offset < right.offset; };
    require(std::is_sorted(findings.begin(), findings.end(), isBefore));
    require(findings.empty() || findings[findings.size() - 1].offset <= size);
    require(size >= 2 || !findings.empty());

    std::array<std::uint8_t, qlx::anc::kGreatestUserData> room{};
    std::size_t index = 0;
    for (const qlx::anc::ElementPacketView packet : qlx::anc::elementPackets(bytes)) {
        const auto userData = packet.userData(room);
        require(index < packets.size() && packet.offset() + 14 <= size);
        require(std::equal(userData.begin(), userData.end(), packets[index].packet.userData.begin(),
                           packets[index].packet.userData.end()));
        ++index;
    }
    require(index == packets.size());

    const auto written = writeElement(std::span<const qlx::anc::ElementPacket>(packets));
    require(written.hasValue());
    require(!findings.empty() || std::equal(written->begin(), written->end(), bytes.begin(), bytes.end()));
    require(qlx::anc::parseElement(*written) == packets);
    return 0;
}
