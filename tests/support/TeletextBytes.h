// The bytes of OP-47 packets, put together by hand from SMPTE RDD 8 and ETSI EN 300 706, for the tests of the tool.
#pragma once

#include "ExactBuffer.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

/// `count` spaces (0x20) in hexadecimal digits.
inline std::string spacesHex(int count) {
    std::string text;
    for (int index = 0; index < count; ++index) {
        text += "20";
    }
    return text;
}

/// A teletext packet that only fills the place: packet 31 of magazine 8.
inline std::string fillingPacketHex() {
    return "555527"
           "d0ea"
           "6438c7c7c7c7c7c7"
           "86" +
           spacesHex(31);
}

/// A page header: `page` is the two coded bytes of tens and units.
inline std::string pageHeaderHex(std::string_view page, bool erase) {
    return "555527"
           "1515" +
           std::string(page) + (erase ? "15d015d07349" : "151515d07349") + "86" + spacesHex(31);
}

/// A whole subtitling data packet: identifier, length, format, five descriptors, three teletext packets, footer with
/// the counter, and the checksum that makes the sum of all bytes 0.
inline std::string packetHex(std::string_view descriptors, std::string_view teletext, std::uint16_t counter) {
    std::string text = "51159402" + std::string(descriptors) + "0000" + std::string(teletext) + "74";
    const std::vector<std::uint8_t> footer{static_cast<std::uint8_t>(counter >> 8),
                                           static_cast<std::uint8_t>(counter & 0xFF)};
    text += toHex(footer);
    unsigned sum = 0;
    for (const std::uint8_t byte : fromHex(text)) {
        sum += byte;
    }
    const std::vector<std::uint8_t> checksum{static_cast<std::uint8_t>(0x100 - sum % 0x100)};
    return text + toHex(checksum);
}

// Lines 10, 11, 12 of the odd and the even field.
inline constexpr std::string_view kOddLines = "8a8b8c";
inline constexpr std::string_view kEvenLines = "0a0b0c";

inline std::string fillingHex(std::string_view descriptors, std::uint16_t counter) {
    return packetHex(descriptors, fillingPacketHex() + fillingPacketHex() + fillingPacketHex(), counter);
}

/// Clears page 888.
inline std::string eraseHex(std::uint16_t counter) {
    return packetHex(kEvenLines, pageHeaderHex("d0d0", true) + fillingPacketHex() + fillingPacketHex(), counter);
}

/// Ends the page: the header of a page that nothing shows, behind two filling packets.
inline std::string closeHex(std::uint16_t counter) {
    return packetHex(kEvenLines, fillingPacketHex() + fillingPacketHex() + pageHeaderHex("d0ea", false), counter);
}

/// The row packet of the white, centred line "Bonjour" on row 11: 13 spaces, white, double height, two start boxes, the
/// letters with odd parity, two end boxes, spaces.
inline std::string bonjourRowHex() {
    return "555527"
           "159b" +
           spacesHex(13) +
           "070d0b0b"
           "c2ef6eeaef75f2"
           "8a8a" +
           spacesHex(14);
}

/// The rows of the subtitle "Bonjour"; its descriptors begin at row 11.
inline std::string bonjourHex(std::uint16_t counter) {
    return packetHex("8b8c8d", bonjourRowHex() + fillingPacketHex() + fillingPacketHex(), counter);
}

}  // namespace qlxtest
