#include "Teletext.h"

#include "TeletextPacket.h"
#include "Text.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace qlx::tool {

namespace {

// The packet of three teletext packets that this system sends.
constexpr std::size_t kPacketSize = 148;

constexpr std::uint8_t kFillingAddress = 31;
constexpr std::uint8_t kEraseFlag = 8;

/// `page 888 erase` for a page header, none when the two bytes of the page number are none.
std::optional<std::string> pageInWords(std::uint8_t magazine, std::span<const std::uint8_t> data) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    const auto units = nibbleOf(data[0]);
    const auto tens = nibbleOf(data[1]);
    if (!tens || !units) {
        return std::nullopt;
    }
    std::string text = "page ";
    text += kDigits[magazine];
    text += kDigits[*tens];
    text += kDigits[*units];
    if (*tens > 9 || *units > 9) {
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
    const auto read = packet.size() == kPacketSize ? readSubtitlingPacket(packet) : std::nullopt;
    if (!read) {
        return counted(packet.size(), "byte");
    }
    std::string pages;
    std::vector<std::string> rows;
    for (const auto& teletext : read->packets) {
        if (!teletext) {
            append(pages, "damaged packet");
            continue;
        }
        // This system sends the high bit of the packet address first, behind the three bits of the magazine.
        const auto address = static_cast<std::uint8_t>((teletext->firstAddress >> 3U) << 4U | teletext->lastAddress);
        if (address == kFillingAddress) {
            continue;
        }
        const auto page = address == 0 ? pageInWords(teletext->magazine, teletext->data) : std::nullopt;
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
