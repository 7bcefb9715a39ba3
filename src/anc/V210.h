// The 10-bit packed 4:2:2 row (`v210`): six pixels in four little-endian words of three 10-bit samples.
//
//   word 0 = Cb0 Y0 Cr0   word 1 = Y1 Cb1 Y2   word 2 = Cr1 Y3 Cb2   word 3 = Y4 Cr2 Y5   (first sample in bits 0-9)
#pragma once

#include "platform/Bytes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::v210 {

inline constexpr std::size_t kWordBytes = 4;
inline constexpr std::size_t kGroupBytes = 16;
inline constexpr std::size_t kWordsOfGroup = 4;
inline constexpr std::size_t kLumaOfGroup = 6;

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

/// The luma samples Y0 to Y5 of a group.
using LumaOfGroup = std::array<std::uint16_t, kLumaOfGroup>;

[[nodiscard]] constexpr LumaOfGroup lumaOfGroup(const std::uint8_t* group) noexcept {
    const std::uint32_t word1 = loadLittle32(group + kWordBytes);
    const std::uint32_t word3 = loadLittle32(group + 3 * kWordBytes);
    return {middleSample(loadLittle32(group)),
            lowSample(word1),
            highSample(word1),
            middleSample(loadLittle32(group + 2 * kWordBytes)),
            lowSample(word3),
            highSample(word3)};
}

/// True when an ancillary data flag stands at one of the first six word positions of `row`: 0x000 in the middle of a
/// word and 0x3FF at both ends of the next. Nothing behind the row is read: a position that needs it does not match.
[[nodiscard]] bool hasDataFlagNearStart(std::span<const std::uint8_t> row) noexcept;

/// Writes `samples` into the luma of a row from word `firstWord` on, laid out as if that word began a group, and
/// gives the index of the word behind the last one written. Words from `wordCount` on are left alone.
///
/// Writing a middle sample exchanges the two chroma samples beside it, and a last sample that falls on Y1 or Y4 moves
/// the word's former low sample to Y2 or Y5: deployed writers do both, and readers of the luma do not mind.
std::size_t writeLuma(std::uint8_t* row, std::size_t firstWord, std::size_t wordCount,
                      std::span<const std::uint16_t> samples) noexcept;

}  // namespace qlx::v210
