// Teletext packets and subtitling data packets as a receiver expects them, put together from hexadecimal text.
#pragma once

#include "ExactBuffer.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace qlxtest {

inline std::string spaces(std::size_t count) {
    std::string text;
    for (std::size_t index = 0; index < count; ++index) {
        text += "20";
    }
    return text;
}

/// Descriptors of lines 10, 11, 12 of the odd and the even field.
inline const std::string kOddLine10 = "8a8b8c";
inline const std::string kEvenLine10 = "0a0b0c";

/// Packet 31 of magazine 8.
inline const std::string kFilling = "555527 d0ea 6438c7c7c7c7c7c7 86" + spaces(31);
/// Page 888 (D0 D0), C4 erase page (second D0), C6 subtitle, French subset.
inline const std::string kErasingHeader = "555527 1515 d0d0 15d015d07349 86" + spaces(31);
/// Tens 8, units 15 (D0 EA), nothing erased.
inline const std::string kClosingHeader = "555527 1515 d0ea 151515d07349 86" + spaces(31);
/// "Bonjour" on row 11, white, left.
inline const std::string kBonjourRow = "555527 159b 070d0b0b c2ef6eeaef75f2 8a8a" + spaces(27);

/// An SDP: `descriptors` are three bytes, `packets` 3 x 45 bytes. The checksum is what is missing to a sum of 0.
inline std::string sdp(const std::string& descriptors, const std::string& packets, unsigned counter) {
    std::vector<std::uint8_t> bytes = fromHex("51159402" + descriptors + "0000" + packets + "74");
    bytes.push_back(static_cast<std::uint8_t>(counter / 256));
    bytes.push_back(static_cast<std::uint8_t>(counter % 256));
    std::uint8_t rest = 0;
    for (const std::uint8_t byte : bytes) {
        rest = static_cast<std::uint8_t>(rest - byte);
    }
    bytes.push_back(rest);
    return toHex(bytes);
}

inline std::string oddFilling(unsigned counter) {
    return sdp(kOddLine10, kFilling + kFilling + kFilling, counter);
}

inline std::string evenFilling(unsigned counter) {
    return sdp(kEvenLine10, kFilling + kFilling + kFilling, counter);
}

/// The erasing header as the schedule sends it on field 2.
inline std::string evenErasing(unsigned counter) {
    return sdp(kEvenLine10, kErasingHeader + kFilling + kFilling, counter);
}

/// The closing header as the schedule sends it on field 2.
inline std::string evenClosing(unsigned counter) {
    return sdp(kEvenLine10, kFilling + kFilling + kClosingHeader, counter);
}

/// "Bonjour" on field 1; row 11 makes the descriptors 11, 12, 13.
inline std::string oddBonjour(unsigned counter) {
    return sdp("8b8c8d", kBonjourRow + kFilling + kFilling, counter);
}

inline unsigned sumOf(std::span<const std::uint8_t> bytes) {
    unsigned sum = 0;
    for (const std::uint8_t byte : bytes) {
        sum += byte;
    }
    return sum % 256;
}

inline std::shared_ptr<QLXSubtitleTextLine> makeLine(const std::string& text, std::uint64_t row,
                                                     std::int32_t alignment = 1, std::int32_t color = 7) {
    auto line = std::make_shared<QLXSubtitleTextLine>();
    line->setTextString(text);
    line->setVerticalPosition(row);
    line->setAlignment(alignment);
    line->setTextColor(color);
    return line;
}

inline std::shared_ptr<QLXSubtitleRecord> makeRecord(
    double start, double end, const std::vector<std::shared_ptr<QLXSubtitleTextLine>>& lines = {}) {
    auto record = std::make_shared<QLXSubtitleRecord>();
    record->setStartTimeInSeconds(start);
    record->setEndTimeInSeconds(end);
    record->setSubtitleLines(lines);
    return record;
}

}  // namespace qlxtest
