// Extended data services: whatever pairs come, each packet that is read can be sent and read again, and what it says can
// be written and says the same.
#include "FuzzSupport.h"

#include <qlx/cea608/xds.h>

#include <algorithm>
#include <string>

using namespace qlx::cea608;
using qlxfuzz::require;

namespace {

void checkPacket(const XdsPacket& packet) {
    std::vector<Pair> pairs;
    appendXdsPairs(packet, pairs);
    require(!pairs.empty());
    XdsReader reader;
    std::optional<XdsPacket> again;
    for (const Pair& pair : pairs) {
        const Pair sent = withOddParity(pair);
        require(!again);
        again = reader.receive(sent.first, sent.second);
    }
    require(again == packet && !reader.isOpen());
    qlx::Findings findings;
    const XdsValue value = xdsValue(packet, &findings);
    const bool isFuture = packet.xdsClass == XdsClass::Future;
    const auto written = xdsPacket(value, isFuture);
    require(findings.size() <= 1);
    if (written) {
        require(written->xdsClass == packet.xdsClass && written->type == packet.type);
        require(xdsValue(*written) == value);
    }
    if (const auto* const advisory = std::get_if<XdsContentAdvisory>(&value)) {
        (void)nameOf(*advisory);
    }
}

/// The bytes as they are, and once more with the parity and checksums that make them packets.
void checkPairs(const std::vector<std::uint8_t>& bytes, bool isRepaired) {
    XdsReader reader;
    qlx::Findings findings;
    unsigned sum = 0;
    for (std::size_t index = 0; index + 1 < bytes.size(); index += 2) {
        Pair pair{bytes[index], bytes[index + 1]};
        if (isRepaired) {
            pair.first &= 0x7FU;
            pair.second &= 0x7FU;
            sum = pair.first < 0x0F && pair.first % 2 != 0 ? 0 : sum;
            pair.second = pair.first == 0x0F ? static_cast<std::uint8_t>(-(sum + 0x0F) & 0x7FU) : pair.second;
            sum += pair.first < 0x0F && pair.first > 0 && pair.first % 2 == 0 ? 0U : unsigned{pair.first} + pair.second;
            pair = withOddParity(pair);
        }
        if (const auto packet = reader.receive(pair.first, pair.second, &findings, index)) {
            checkPacket(*packet);
        }
    }
    for (const qlx::Finding& finding : findings) {
        require(finding.offset < bytes.size() && finding.text().rfind("extended data: ", 0) == 0);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + std::min<std::size_t>(size, 512));
    checkPairs(bytes, false);
    checkPairs(bytes, true);
    return 0;
}
