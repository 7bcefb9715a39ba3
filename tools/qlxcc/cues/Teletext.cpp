#include "cues/Teletext.h"

#include "io/Text.h"

#include <qlx/teletext/sdp.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace qlx::tool {

namespace {

// The packet of three teletext packets that this system sends.
constexpr std::size_t kPacketSize = teletext::sdpSize(3);

constexpr std::uint8_t kFillingAddress = 31;
constexpr std::uint8_t kEraseFlag = 8;

/// `page 888 erase` for a page header, none when the two bytes of the page number are none.
std::optional<std::string> pageInWords(const teletext::Packet& packet) {
    const auto units = teletext::decodeHamming84(packet.data[0]);
    const auto tens = teletext::decodeHamming84(packet.data[1]);
    if (!tens || !units) {
        return std::nullopt;
    }
    const teletext::PageHeader header{
        .page = static_cast<std::uint16_t>(packet.magazine << 8U | tens.value << 4U | units.value)};
    std::string text = "page " + teletext::pageName(header.page);
    if (!header.isCallable()) {
        text += " close";
    } else if (teletext::decodeHamming84(packet.data[3]).value == kEraseFlag) {
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
    const auto sdp = teletext::parseSdp(packet);
    if (packet.size() != kPacketSize || !sdp) {
        return counted(packet.size(), "byte");
    }
    std::string pages;
    std::vector<std::string> rows;
    for (const teletext::SdpLine& line : sdp->lines) {
        const auto inside = teletext::parsePacket(line.bytes);
        if (!inside) {
            append(pages, "damaged packet");
            continue;
        }
        // This system sends the high bit of the packet address first, behind the three bits of the magazine.
        const auto address = static_cast<std::uint8_t>((inside->number & 1U) << 4U | inside->number >> 1U);
        if (address == kFillingAddress) {
            continue;
        }
        const auto page = address == 0 ? pageInWords(*inside) : std::nullopt;
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
