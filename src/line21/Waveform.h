// The levels of line 21, pixel by pixel.
#pragma once

#include <qlx/line21/line21.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace qlx::line21::detail {

/// The levels of one cycle of the clock run-in, from its rising middle on.
[[nodiscard]] inline std::array<std::uint8_t, kCellPixels> clockCycle() {
    constexpr double kStep = 0.23271056693257727;  // One 27th of a turn.
    std::array<std::uint8_t, kCellPixels> levels{};
    for (std::size_t pixel = 0; pixel < levels.size(); ++pixel) {
        levels[pixel] =
            static_cast<std::uint8_t>((std::sin(static_cast<double>(pixel) * kStep) + 1.0) * 0.5 * double{kLevelOfOne});
    }
    return levels;
}

/// The levels of all pixels in front of the data bits: clock run-in, two start bits of 0 (shortened) and one of 1.
[[nodiscard]] inline std::array<std::uint8_t, kDataBits> runInLevels() {
    const auto cycle = clockCycle();
    std::array<std::uint8_t, kDataBits> levels{};
    for (std::size_t pixel = kRunInStart; pixel < kStartBits; ++pixel) {
        levels[pixel] = cycle[(pixel - kRunInStart) % kCellPixels];
    }
    for (std::size_t pixel = kStartBitOne; pixel < kDataBits; ++pixel) {
        levels[pixel] = kLevelOfOne;
    }
    return levels;
}

/// The level of a bit.
[[nodiscard]] constexpr std::uint8_t levelOf(bool bit) noexcept {
    return bit ? kLevelOfOne : 0;
}

}  // namespace qlx::line21::detail
