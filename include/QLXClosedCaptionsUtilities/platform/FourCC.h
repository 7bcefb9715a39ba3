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

/// 8-bit 4:2:2 rows: bytes Y Cb Y Cr.
inline constexpr std::uint32_t kPixelFormatYuvs = fourCC("yuvs");

/// 8-bit 4:2:0 in two planes: luma, and Cb Cr pairs for two columns of two rows each.
inline constexpr std::uint32_t kPixelFormat420v = fourCC("420v");

/// 8-bit rows: bytes B G R A.
inline constexpr std::uint32_t kPixelFormatBGRA = fourCC("BGRA");

/// 8-bit rows: bytes A R G B.
inline constexpr std::uint32_t kPixelFormatARGB = fourCC("ARGB");

}  // namespace qlx
