// Four-character codes.
#pragma once

#include <cstdint>

namespace qlx {

/// The four-character code of exactly four ASCII characters, first character in the highest byte: `fourCC("v210")`.
consteval std::uint32_t fourCC(const char (&code)[5]) {
    std::uint32_t value = 0;
    for (int index = 0; index < 4; ++index) {
        value = value << 8U | static_cast<std::uint8_t>(code[index]);
    }
    return value;
}

/// 10-bit 4:2:2 packed rows: six pixels in four little-endian 32-bit words.
inline constexpr std::uint32_t kPixelFormatV210 = fourCC("v210");

/// 8-bit 4:2:2 rows: bytes Cb Y Cr Y.
inline constexpr std::uint32_t kPixelFormat2vuy = fourCC("2vuy");

}  // namespace qlx
