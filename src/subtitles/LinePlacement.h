// Where the lines of a record stand on the screen.
#pragma once

#include "subtitles/SubtitleMode.h"

#include <array>
#include <cstdint>

namespace qlx::subtitles {

/// True for the numbers that a positioning tag can carry.
[[nodiscard]] constexpr bool isPositioningType(std::int32_t type) noexcept {
    return type >= 0 && type <= 9;
}

/// The alignment of a positioning type, laid out as on a numeric keypad: 1, 4, 7 left, 2, 5, 8 centre, 3, 6, 9 right;
/// no tag (0) centres.
[[nodiscard]] constexpr std::int32_t alignmentOfPositioningType(std::int32_t type) noexcept {
    constexpr std::array<std::int32_t, 10> kAlignments{2, 1, 2, 3, 1, 2, 3, 1, 2, 3};
    return kAlignments[static_cast<std::size_t>(type)];
}

/// The row of line `index` of `count`: the bottom block ends above the last row, the middle one starts half-way down,
/// the top one on row 1. More lines than rows wrap around, as unsigned numbers do.
[[nodiscard]] constexpr std::uint64_t rowOfLine(std::int32_t type, std::uint64_t index, std::uint64_t count,
                                                std::int32_t subtitleMode) noexcept {
    const std::uint64_t base = subtitleMode == kTeletextMode ? 12 : 15;
    if (type >= 7) {
        return index + 1;
    }
    return type >= 4 ? index + base / 2 : base - count + index;
}

}  // namespace qlx::subtitles
