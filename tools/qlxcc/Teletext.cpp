#include "Teletext.h"

#include "Text.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::uint8_t kNoNibble = 0xFF;

// The packet of three teletext packets that this system sends.
constexpr std::size_t kPacketSize = 148;
constexpr std::size_t kHeaderSize = 9;
constexpr std::size_t kTeletextSize = 45;
constexpr std::size_t kTeletextPackets = 3;

constexpr std::uint8_t kFillingAddress = 31;
constexpr std::uint8_t kEraseFlag = 8;

std::array<std::uint8_t, 256> hammingTable() {
    std::array<std::uint8_t, 256> table{};
    table.fill(kNoNibble);
    for (std::uint8_t nibble = 0; nibble < 16; ++nibble) {
        table[QLXSubtitlesPacketizer::hamming84ForByte(nibble)] = nibble;
    }
    return table;
}

/// The four bits of a Hamming 8/4 byte; kNoNibble when it is not one.
std::uint8_t nibbleOf(std::uint8_t byte) {
    static const std::array<std::uint8_t, 256> kTable = hammingTable();
    return kTable[byte];
}

/// `page 888 erase` for a page header, none when the two bytes of the page number are none.
std::optional<std::string> pageInWords(std::uint8_t magazine, std::span<const std::uint8_t> data) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    const std::uint8_t tens = nibbleOf(data[0]);
    const std::uint8_t units = nibbleOf(data[1]);
    if (tens == kNoNibble || units == kNoNibble) {
        return std::nullopt;
    }
    std::string text = "page ";
    text += kDigits[magazine == 0 ? 8 : magazine];
    text += kDigits[tens];
    text += kDigits[units];
    if (tens > 9 || units > 9) {
        text += " close";
    } else if (nibbleOf(data[3]) == kEraseFlag) {
        text += " erase";
    }
    return text;
}

void append(std::string& text, std::string_view words) {
    text += text.empty() ? "" : ", ";
    text += words;
}

}  // namespace

std::string teletextInWords(std::span<const std::uint8_t> packet) {
    if (packet.size() != kPacketSize || packet[0] != 0x51 || packet[1] != 0x15) {
        return counted(packet.size(), "byte");
    }
    std::string pages;
    std::vector<std::string> rows;
    for (std::size_t index = 0; index < kTeletextPackets; ++index) {
        const auto teletext = packet.subspan(kHeaderSize + index * kTeletextSize, kTeletextSize);
        const std::uint8_t high = nibbleOf(teletext[3]);
        const std::uint8_t low = nibbleOf(teletext[4]);
        if (high == kNoNibble || low == kNoNibble) {
            append(pages, "damaged packet");
            continue;
        }
        // Magazine in the low three bits, then the high bit of the packet address.
        const auto address = static_cast<std::uint8_t>((high >> 3U) << 4U | low);
        if (address == kFillingAddress) {
            continue;
        }
        const auto page = address == 0 ? pageInWords(high & 7U, teletext.subspan(5)) : std::nullopt;
        if (page) {
            append(pages, *page);
        } else {
            rows.push_back(std::to_string(address));
        }
    }
    std::string text = pages;
    if (!rows.empty()) {
        append(text, rows.size() == 1 ? "row " : "rows ");
        for (std::size_t index = 0; index < rows.size(); ++index) {
            text += (index == 0 ? "" : ",") + rows[index];
        }
    }
    return text.empty() ? "filling" : text;
}

}  // namespace qlx::tool
