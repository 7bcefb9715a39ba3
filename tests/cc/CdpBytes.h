// Caption distribution packets written out as hexadecimal digits, independently of the library's own writers.
#pragma once

#include "ExactBuffer.h"

#include <qlx/base/finding.h>
#include <qlx/cc/cdp.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace qlx {

/// So that a failed comparison can be read.
inline void PrintTo(const Finding& finding, std::ostream* out) {
    *out << std::hex << static_cast<std::uint32_t>(finding.code) << std::dec << " severity "
         << static_cast<int>(finding.severity) << " at " << finding.offset << ": " << finding.first << ", "
         << finding.second << " (" << finding.text() << ")";
}

}  // namespace qlx

namespace qlxtest {

using Bytes = std::vector<std::uint8_t>;
using FindingList = std::vector<qlx::Finding>;

/// What stands around the sections of a packet.
struct Around {
    unsigned rateByte = 0x8F;  ///< 60 frames a second: 10 triplets.
    unsigned flags = 0x43;     ///< Triplets, active, and the reserved bit.
    unsigned headerCounter = 0x1234;
    unsigned footerCounter = 0x1234;
};

inline void setChecksum(Bytes& packet) {
    packet.back() = 0;
    packet.back() = static_cast<std::uint8_t>(256 - std::accumulate(packet.begin(), packet.end(), 0) % 256);
}

/// A packet with right length and checksum.
inline Bytes packetOf(std::string_view sections, const Around& around = {}) {
    Bytes bytes{0x96,
                0x69,
                0,
                static_cast<std::uint8_t>(around.rateByte),
                static_cast<std::uint8_t>(around.flags),
                static_cast<std::uint8_t>(around.headerCounter >> 8U),
                static_cast<std::uint8_t>(around.headerCounter)};
    const Bytes body = fromHex(sections);
    bytes.insert(bytes.end(), body.begin(), body.end());
    bytes.push_back(0x74);
    bytes.push_back(static_cast<std::uint8_t>(around.footerCounter >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(around.footerCounter));
    bytes.push_back(0);
    bytes[2] = static_cast<std::uint8_t>(bytes.size());
    setChecksum(bytes);
    return bytes;
}

inline std::string repeatedDigits(std::string_view text, std::size_t count) {
    std::string result;
    for (std::size_t index = 0; index < count; ++index) {
        result += text;
    }
    return result;
}

/// The section of ten triplets that a packet of 60 frames a second has: 32 bytes.
inline const std::string kTenTriplets = "72ea fc942c fd8080 ff0221 fe4142" + repeatedDigits("fa0000", 6);

/// Two services: CEA-608 on field 1 without language, digital service 1 in English. Start and complete.
inline const std::string kTwoServices = "73d2 e0202020 7e3fff e1656e67 c13fff";

struct Read {
    qlx::Result<qlx::cc::Cdp> cdp;
    FindingList findings;
};

/// Reads from an allocation of exactly the packet's size.
inline Read read(const Bytes& bytes) {
    const ExactBuffer buffer{std::span<const std::uint8_t>(bytes)};
    qlx::Findings findings;
    auto cdp = qlx::cc::parseCdp(buffer.span(), &findings);
    return {std::move(cdp), {findings.begin(), findings.end()}};
}

/// Written into a room of exactly the packet's size.
inline Bytes written(const qlx::cc::Cdp& cdp) {
    ExactBuffer room = ExactBuffer::filled(cdp.size(), 0xAA);
    const auto size = qlx::cc::writeCdp(cdp, room.span());
    EXPECT_TRUE(size) << size.error().text();
    EXPECT_EQ(*size, room.size());
    return room.vector();
}

inline std::string tripletDigits(const qlx::cc::Cdp& cdp) {
    std::string digits;
    for (const qlx::cc::Triplet& triplet : cdp.triplets()) {
        const std::uint8_t bytes[] = {triplet.header, triplet.first, triplet.second};
        digits += toHex(bytes);
    }
    return digits;
}

}  // namespace qlxtest
