// The teletext packets that the packetizer sends: page header, row, filling packet. Where they depart from ETSI EN 300
// 706, deployed receivers of this system expect it so, and it is kept.
#pragma once

#include "facade/FrenchTeletext.h"

#include <qlx/teletext/packet.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::facade {

/// Magazine 8, the only one in use.
inline constexpr std::uint8_t kMagazine8 = 0;
/// The page header's packet address.
inline constexpr std::uint8_t kHeaderAddress = 0;

/// Longest text of a row: its 40 bytes also hold colour, size and the box codes.
inline constexpr std::size_t kMaximumTextSize = 34;

using PacketSpan = std::span<std::uint8_t, teletext::kLineBytes>;

/// Magazine and packet address. The highest of the address's five bits goes into the first byte and the low four into
/// the second, where the standard sends the lowest bit first. For the addresses 0 and 31 both are the same.
constexpr std::array<std::uint8_t, teletext::kAddressBytes> deployedAddressBytes(std::uint8_t magazine,
                                                                                 std::uint8_t packetAddress) noexcept {
    return teletext::addressBytes(magazine, (packetAddress & 0x0FU) << 1U | (packetAddress >> 4U & 1U));
}

/// Page number, tens first, where the standard sends the units first.
constexpr std::array<std::uint8_t, 2> deployedPageNumberBytes(std::uint8_t units, std::uint8_t tens) noexcept {
    return {teletext::hamming84(tens), teletext::hamming84(units)};
}

/// Subcode and control bits of a page header: subcode 0, C4 erase page, C6 subtitle, C7 suppress header, C9 interrupted
/// sequence, and the French character subset.
constexpr std::array<std::uint8_t, 6> pageControlBytes(bool erasePage) noexcept {
    using teletext::hamming84;
    return {hamming84(0), hamming84(erasePage ? 8 : 0), hamming84(0), hamming84(8), hamming84(5), hamming84(2)};
}

/// 0x86 and spaces: what fills a packet that has nothing to show. Nothing into an empty target.
constexpr void writeFiller(std::span<std::uint8_t> target) noexcept {
    for (std::uint8_t& byte : target) {
        byte = 0x20;
    }
    if (!target.empty()) {
        target.front() = 0x86;
    }
}

/// The filling packet: magazine 8, packet 31. What stands behind its address is nobody's, and is kept as it is.
inline constexpr std::array<std::uint8_t, teletext::kLineBytes> kFillingPacket = []() {
    std::array<std::uint8_t, teletext::kLineBytes> packet{};
    std::size_t position = 0;
    const auto put = [&packet, &position](const auto& bytes) {
        for (const std::uint8_t byte : bytes) {
            packet[position++] = byte;
        }
    };
    put(teletext::kRunInAndFramingCode);
    put(teletext::addressBytes(kMagazine8, teletext::kIndependentData));
    put(std::array<std::uint8_t, 8>{0x64, 0x38, 0xC7, 0xC7, 0xC7, 0xC7, 0xC7, 0xC7});
    writeFiller(std::span(packet).subspan(position));
    return packet;
}();

/// The header of a page of magazine 8 without header text.
void writePageHeader(PacketSpan packet, std::uint8_t pageTens, std::uint8_t pageUnits, std::uint8_t packetAddress,
                     bool erasePage) noexcept;

/// A boxed double-height row of a subtitle page.
struct Row {
    std::uint8_t address = 0;              ///< Packet address: the row, 1 to 24.
    std::uint8_t color = 7;                ///< Alphanumeric colour code.
    std::int32_t alignment = 0;            ///< 2 center, 3 right, anything else left.
    std::span<const std::uint8_t> latin1;  ///< The text in ISO 8859-1; what is longer than kMaximumTextSize is cut.
};

/// Address and data of `row`, without run-in.
void writeRow(std::span<std::uint8_t, teletext::kPacketBytes> target, const Row& row) noexcept;

}  // namespace qlx::facade
