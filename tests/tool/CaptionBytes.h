// Caption distribution packets (SMPTE ST 334-2), put together by hand, for the tests of the tool.
#pragma once

#include "ExactBuffer.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace qlxtest {

/// The caption service information that every packet of this system carries.
inline constexpr std::string_view kServicesHex = "73f2e02020207e3fffe1656e67c13fff";

/// A byte in hexadecimal digits.
inline std::string byteHex(unsigned value) {
    const auto byte = static_cast<std::uint8_t>(value);
    return toHex(std::span(&byte, 1));
}

/// `text`, `count` times.
inline std::string repeated(std::string_view text, int count) {
    std::string result;
    for (int index = 0; index < count; ++index) {
        result += text;
    }
    return result;
}

/// A CDP: header, triplets, service information, footer, and the checksum that makes the sum of all bytes 0.
/// @param rateCode 1 (23.976) to 8 (60).
/// @param length The length byte; none: the packet's true length.
inline std::string cdpHex(unsigned rateCode, std::string_view triplets, unsigned counter = 0, int length = -1) {
    const auto bytes = static_cast<unsigned>(triplets.size() / 2);
    const std::string count = byteHex(counter >> 8) + byteHex(counter);
    std::string text = "9669" + byteHex(length < 0 ? bytes + 29 : static_cast<unsigned>(length)) +
                       byteHex(rateCode << 4 | 0x0F) + "7f" + count + "72" + byteHex(0xE0 | bytes / 3) +
                       std::string(triplets) + std::string(kServicesHex) + "74" + count;
    unsigned sum = 0;
    for (const std::uint8_t byte : fromHex(text)) {
        sum += byte;
    }
    return text + byteHex(0x100 - sum % 0x100);
}

/// The CDP of a frame that carries a field 1 pair, of `count` triplets.
inline std::string pairCdpHex(unsigned rateCode, int count, std::string_view pair, unsigned counter = 0) {
    return cdpHex(rateCode, "fc" + std::string(pair) + "f98080" + repeated("fa0000", count - 2), counter);
}

/// The CDP of a frame that carries nothing.
inline std::string emptyCdpHex(unsigned rateCode, int count) {
    return cdpHex(rateCode, repeated("fa0000", count));
}

}  // namespace qlxtest
