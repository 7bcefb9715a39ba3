// The 10-bit packed 4:2:2 group (`v210`): six pixels in four little-endian words of three 10-bit samples.
//
//   word 0 = Cb0 Y0 Cr0   word 1 = Y1 Cb1 Y2   word 2 = Cr1 Y3 Cb2   word 3 = Y4 Cr2 Y5   (first sample in bits 0-9)
#pragma once

#include "base/Bytes.h"

#include <cstddef>
#include <cstdint>

namespace qlx::v210 {

inline constexpr std::size_t kWordBytes = 4;
inline constexpr std::size_t kGroupBytes = 16;
inline constexpr std::size_t kWordsOfGroup = 4;
inline constexpr std::size_t kLumaOfGroup = 6;
inline constexpr std::size_t kChromaOfGroup = 3;  ///< Of Cb and of Cr each.

/// The sample in bits 0-9, 10-19 or 20-29 of a word.
[[nodiscard]] constexpr std::uint16_t lowSample(std::uint32_t word) noexcept {
    return static_cast<std::uint16_t>(word & 0x3FFU);
}
[[nodiscard]] constexpr std::uint16_t middleSample(std::uint32_t word) noexcept {
    return static_cast<std::uint16_t>(word >> 10U & 0x3FFU);
}
[[nodiscard]] constexpr std::uint16_t highSample(std::uint32_t word) noexcept {
    return static_cast<std::uint16_t>(word >> 20U & 0x3FFU);
}

/// A word of three samples; bits 30 and 31 are 0.
[[nodiscard]] constexpr std::uint32_t makeWord(std::uint16_t low, std::uint16_t middle, std::uint16_t high) noexcept {
    return std::uint32_t{low} | std::uint32_t{middle} << 10U | std::uint32_t{high} << 20U;
}

}  // namespace qlx::v210
