// The luma of a 10-bit packed 4:2:2 row (`v210`), where ancillary packets travel.
#pragma once

#include "v210/V210Group.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::v210 {

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
