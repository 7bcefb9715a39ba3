// Arbitrary bytes as a subtitling distribution packet: read, written, read again, and shown.
#include <qlx/teletext/page.h>

#include "FuzzSupport.h"

#include <algorithm>

using qlx::Finding;
using qlx::Findings;
using qlxfuzz::require;
using namespace qlx::teletext;

// The packet; its checksum is made right first when the byte in front of it is odd.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::vector<std::uint8_t> bytes = qlxfuzz::takePacket(input);
    Findings findings;
    const auto sdp = parseSdp(bytes, &findings);
    require(sdp.hasValue() == (bytes.size() >= 9 && bytes[0] == 0x51 && bytes[1] == 0x15 && bytes[3] == 0x02));
    if (!sdp) {
        require(findings.empty() && !sdp.error().text().empty());
        return 0;
    }
    const auto isBefore = [](const Finding& left, const Finding& right) { return left.offset < right.offset; };
    require(std::is_sorted(findings.begin(), findings.end(), isBefore));
    std::vector<std::uint8_t> room(kGreatestSdpBytes);
    const auto written = writeSdp(*sdp, room);
    require(written.hasValue());
    room.resize(*written);
    require(!findings.empty() || room == bytes);
    Findings again;
    const auto back = parseSdp(room, &again);
    require(back.hasValue() && again.empty() && *back == *sdp);

    Findings found;
    PageReader page;
    (void)page.receive(*sdp, &found);
    (void)page.receive(*back, &found);
    require(page.screen().cells.size() == std::size_t{25} * 40);
    // Each of its headers and addresses that was not right has been told of.
    require(page.counts().corrected + page.counts().wrong == 0 || !found.empty());
    return 0;
}
