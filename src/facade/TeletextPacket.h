// The 45-byte teletext packet (ETSI EN 300 706, clause 7.1) as subtitles use it: page header, row, filling packet.
#pragma once

#include "teletext/TeletextCoding.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

namespace qlx::teletext {

/// Clock run-in and framing code.
inline constexpr std::array<std::uint8_t, 3> kRunInAndFramingCode = {0x55, 0x55, 0x27};

inline constexpr std::size_t kAddressSize = 2;
inline constexpr std::size_t kDataSize = 40;
inline constexpr std::size_t kAddressAndDataSize = kAddressSize + kDataSize;
inline constexpr std::size_t kPacketSize = kRunInAndFramingCode.size() + kAddressAndDataSize;

/// Magazine 8, the only one in use.
inline constexpr std::uint8_t kMagazine8 = 0;
/// The page header's packet address.
inline constexpr std::uint8_t kHeaderAddress = 0;

/// Longest text of a row: its 40 bytes also hold colour, size and the box codes.
inline constexpr std::size_t kMaximumTextSize = 34;

using PacketSpan = std::span<std::uint8_t, kPacketSize>;

/// Magazine and packet address. The highest of the address's five bits goes into the first byte and the low four into
/// the second, where the standard sends the lowest bit first: deployed receivers of this system expect it, and it is
/// kept. For the addresses 0 and 31 both are the same.
constexpr std::array<std::uint8_t, kAddressSize> addressBytes(std::uint8_t magazine,
                                                              std::uint8_t packetAddress) noexcept {
    return {hamming84((magazine & 7U) | (packetAddress & 0x10U) >> 1U), hamming84(packetAddress)};
}

/// Page number, tens first: receivers of this system expect the digits in this order.
constexpr std::array<std::uint8_t, 2> pageNumberBytes(std::uint8_t units, std::uint8_t tens) noexcept {
    return {hamming84(tens), hamming84(units)};
}

/// Subcode and control bits of a page header: subcode 0, C4 erase page, C6 subtitle, C7 suppress header, C9 interrupted
/// sequence, and the French character subset.
constexpr std::array<std::uint8_t, 6> pageControlBytes(bool erasePage) noexcept {
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

/// The filling packet: magazine 8, packet 31.
inline constexpr std::array<std::uint8_t, kPacketSize> kFillingPacket = []() {
    constexpr std::uint8_t kStart[] = {0x55, 0x55, 0x27, 0xD0, 0xEA, 0x64, 0x38, 0xC7, 0xC7, 0xC7, 0xC7, 0xC7, 0xC7};
    std::array<std::uint8_t, kPacketSize> packet{};
    for (std::size_t index = 0; index < std::size(kStart); ++index) {
        packet[index] = kStart[index];
    }
    writeFiller(std::span(packet).subspan(std::size(kStart)));
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
void writeRow(std::span<std::uint8_t, kAddressAndDataSize> target, const Row& row) noexcept;

}  // namespace qlx::teletext
