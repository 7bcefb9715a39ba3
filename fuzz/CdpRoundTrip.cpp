// Arbitrary bytes as a caption distribution packet: read, written, and read again.
#include <qlx/cc/cdp.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <array>

using qlx::Finding;
using qlx::FindingCode;
using qlxfuzz::require;

namespace {

/// Whether what was found stands as it is in the packet that is written.
bool isKept(const Finding& finding) {
    constexpr std::array kKept{FindingCode::CdpReservedBitsWrong,        FindingCode::CdpFrameRateUnknown,
                               FindingCode::CdpCountUnlikeRate,          FindingCode::CdpTimeCodeInvalid,
                               FindingCode::CdpServiceNumberContradicts, FindingCode::CdpDropFrameUnlikeRate,
                               FindingCode::CdpPairsUnlikeRate};
    return std::find(kKept.begin(), kKept.end(), finding.code) != kKept.end();
}

bool allAreKept(const qlx::Findings& findings) {
    return std::all_of(findings.begin(), findings.end(), isKept);
}

}  // namespace

// The packet; its checksum is made right first when the byte in front of it is odd.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::vector<std::uint8_t> bytes = qlxfuzz::takePacket(input);

    qlx::Findings findings;
    const auto cdp = qlx::cc::parseCdp(bytes, &findings);
    require(cdp.hasValue() == (bytes.size() >= 7 && bytes[0] == 0x96 && bytes[1] == 0x69));
    if (!cdp) {
        require(findings.empty() && !cdp.error().text().empty());
        return 0;
    }
    const auto isBefore = [](const Finding& left, const Finding& right) { return left.offset < right.offset; };
    require(std::is_sorted(findings.begin(), findings.end(), isBefore));
    require(findings.empty() || findings[findings.size() - 1].offset <= bytes.size());

    // The last byte of the room is behind the largest packet.
    std::array<std::uint8_t, qlx::cc::kGreatestCdpBytes + 1> room{};
    room.back() = 0x5A;
    const auto written = writeCdp(*cdp, std::span(room).first(qlx::cc::kGreatestCdpBytes));
    require(written.hasValue() && *written == cdp->size() && room.back() == 0x5A);
    const std::vector<std::uint8_t> out(room.begin(), room.begin() + static_cast<std::ptrdiff_t>(*written));
    require(!allAreKept(findings) || out == bytes);

    qlx::Findings again;
    const auto back = qlx::cc::parseCdp(out, &again);
    require(back.hasValue() && *back == *cdp && allAreKept(again));
    return 0;
}
