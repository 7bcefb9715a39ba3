#include "TeletextPacket.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>

namespace qlx::tool {

namespace {

constexpr std::uint8_t kNoNibble = 0xFF;

// The SDP of SMPTE RDD 8: identifier (2), length, format, five descriptors, then packets of run-in (2), framing code,
// address (2) and data.
constexpr std::size_t kHeaderSize = 9;
constexpr std::size_t kFirstDescriptor = 4;
constexpr std::uint8_t kTeletextFormat = 0x02;
constexpr std::uint8_t kFramingCode = 0x27;
constexpr std::size_t kFramingCodeOffset = 2;
constexpr std::size_t kAddressOffset = 3;
constexpr std::size_t kDataOffset = 5;
constexpr std::size_t kPacketSize = kDataOffset + kTeletextDataSize;

std::array<std::uint8_t, 256> hammingTable() {
    std::array<std::uint8_t, 256> table{};
    table.fill(kNoNibble);
    for (std::uint8_t nibble = 0; nibble < 16; ++nibble) {
        const std::uint8_t code = QLXSubtitlesPacketizer::hamming84ForByte(nibble);
        table[code] = nibble;
        // Codes differ in four bits at least, so that a byte with one wrong bit is near one code only.
        for (unsigned bit = 0; bit < 8; ++bit) {
            table[code ^ 1U << bit] = nibble;
        }
    }
    return table;
}

// Where the national option subsets stand in the G0 set.
constexpr std::array<std::uint8_t, 13> kNationalCodes{0x23, 0x24, 0x40, 0x5B, 0x5C, 0x5D, 0x5E,
                                                      0x5F, 0x60, 0x7B, 0x7C, 0x7D, 0x7E};

constexpr std::array<std::u32string_view, 8> kNationalSubsets{
    U"\u00A3$@\u2190\u00BD\u2192\u2191#\u2014\u00BC\u2016\u00BE\u00F7",
    U"#$\u00A7\u00C4\u00D6\u00DC^_\u00B0\u00E4\u00F6\u00FC\u00DF",
    U"#\u00A4\u00C9\u00C4\u00D6\u00C5\u00DC_\u00E9\u00E4\u00F6\u00E5\u00FC",
    U"\u00A3$\u00E9\u00B0\u00E7\u2192\u2191#\u00F9\u00E0\u00F2\u00E8\u00EC",
    U"\u00E9\u00EF\u00E0\u00EB\u00EA\u00F9\u00EE#\u00E8\u00E2\u00F4\u00FB\u00E7",
    U"\u00E7$\u00A1\u00E1\u00E9\u00ED\u00F3\u00FA\u00BF\u00FC\u00F1\u00E8\u00E0",
    U"#\u016F\u010D\u0165\u017E\u00FD\u00ED\u0159\u00E9\u00E1\u011B\u00FA\u0161",
    U"\u00A3$@\u2190\u00BD\u2192\u2191#\u2014\u00BC\u2016\u00BE\u00F7",
};

static_assert(std::all_of(kNationalSubsets.begin(), kNationalSubsets.end(),
                          [](std::u32string_view subset) { return subset.size() == kNationalCodes.size(); }));

std::optional<TeletextPacket> packetAt(std::span<const std::uint8_t> bytes) {
    const auto first = nibbleOf(bytes[kAddressOffset]);
    const auto last = nibbleOf(bytes[kAddressOffset + 1]);
    if (bytes[kFramingCodeOffset] != kFramingCode || !first || !last) {
        return std::nullopt;
    }
    const auto magazine = static_cast<std::uint8_t>(*first & 7U);
    TeletextPacket packet;
    packet.magazine = magazine == 0 ? std::uint8_t{8} : magazine;
    packet.address = static_cast<std::uint8_t>(*first >> 3U | *last << 1U);
    packet.firstAddress = *first;
    packet.lastAddress = *last;
    packet.data = bytes.subspan(kDataOffset, kTeletextDataSize);
    return packet;
}

}  // namespace

std::optional<std::uint8_t> nibbleOf(std::uint8_t byte) noexcept {
    static const std::array<std::uint8_t, 256> kTable = hammingTable();
    const std::uint8_t nibble = kTable[byte];
    return nibble == kNoNibble ? std::nullopt : std::optional(nibble);
}

std::optional<std::uint8_t> withoutParity(std::uint8_t byte) noexcept {
    return std::popcount(byte) % 2 == 1 ? std::optional(static_cast<std::uint8_t>(byte & 0x7FU)) : std::nullopt;
}

std::optional<SubtitlingPacket> readSubtitlingPacket(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < kHeaderSize || bytes[0] != 0x51 || bytes[1] != 0x15 || bytes[3] != kTeletextFormat) {
        return std::nullopt;
    }
    const auto descriptors = bytes.subspan(kFirstDescriptor, kHeaderSize - kFirstDescriptor);
    const auto unused = std::count(descriptors.begin(), descriptors.end(), std::uint8_t{0});
    const std::size_t announced = descriptors.size() - static_cast<std::size_t>(unused);
    const std::size_t count = std::min(announced, (bytes.size() - kHeaderSize) / kPacketSize);
    SubtitlingPacket packet;
    for (std::size_t index = 0; index < count; ++index) {
        packet.packets.push_back(packetAt(bytes.subspan(kHeaderSize + index * kPacketSize, kPacketSize)));
    }
    return packet;
}

std::string teletextPageName(std::uint16_t page) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    return {kDigits[page >> 8U & 15U], kDigits[page >> 4U & 15U], kDigits[page & 15U]};
}

std::optional<TeletextHeader> readTeletextHeader(const TeletextPacket& packet) noexcept {
    constexpr std::size_t kProtectedBytes = 8;
    std::array<std::uint8_t, kProtectedBytes> nibbles{};
    if (packet.data.size() < kProtectedBytes) {
        return std::nullopt;
    }
    for (std::size_t index = 0; index < kProtectedBytes; ++index) {
        const auto nibble = nibbleOf(packet.data[index]);
        if (!nibble) {
            return std::nullopt;
        }
        nibbles[index] = *nibble;
    }
    const auto bit = [&nibbles](std::size_t index, unsigned number) { return (nibbles[index] >> number & 1U) != 0; };
    TeletextHeader header;
    header.page = static_cast<std::uint16_t>(packet.magazine << 8U | nibbles[1] << 4U | nibbles[0]);
    const auto part = [&nibbles](std::size_t index, unsigned mask) { return nibbles[index] & mask; };
    header.subcode =
        static_cast<std::uint16_t>(part(2, 15U) | part(3, 7U) << 4U | part(4, 15U) << 8U | part(5, 3U) << 12U);
    header.erasesPage = bit(3, 3);
    header.isNewsflash = bit(5, 2);
    header.isSubtitle = bit(5, 3);
    header.suppressesHeader = bit(6, 0);
    header.inhibitsDisplay = bit(6, 3);
    header.isSerial = bit(7, 0);
    header.nationalOption =
        static_cast<std::uint8_t>((bit(7, 1) ? 4U : 0U) | (bit(7, 2) ? 2U : 0U) | (bit(7, 3) ? 1U : 0U));
    return header;
}

char32_t teletextCharacter(std::uint8_t code, std::uint8_t nationalOption) noexcept {
    constexpr std::uint8_t kFilledBlock = 0x7F;
    if (code < 0x20 || code > kFilledBlock) {
        return U' ';
    }
    if (code == kFilledBlock) {
        return U'\u25A0';
    }
    const auto* const place = std::find(kNationalCodes.begin(), kNationalCodes.end(), code);
    if (place == kNationalCodes.end()) {
        return code;
    }
    return kNationalSubsets[nationalOption & 7U][static_cast<std::size_t>(place - kNationalCodes.begin())];
}

char32_t teletextMosaic(std::uint8_t code) noexcept {
    // Bits 0 to 4 and 6 are the six parts from the upper left to the lower right. The Unicode block leaves out the
    // empty and the full one and the two halves, which are older characters.
    constexpr std::uint8_t kLeftHalf = 0x15;
    constexpr std::uint8_t kRightHalf = 0x2A;
    constexpr std::uint8_t kAll = 0x3F;
    const auto parts = static_cast<std::uint8_t>((code & 0x1FU) | (code & 0x40U) >> 1U);
    switch (parts) {
    case 0:
        return U' ';
    case kLeftHalf:
        return U'\u258C';
    case kRightHalf:
        return U'\u2590';
    case kAll:
        return U'\u2588';
    default:
        break;
    }
    constexpr char32_t kFirstSextant = 0x1FB00;
    const unsigned leftOut = parts > kRightHalf ? 3 : parts > kLeftHalf ? 2 : 1;
    return kFirstSextant + parts - leftOut;
}

}  // namespace qlx::tool
