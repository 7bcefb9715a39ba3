// The waveform of line 21 as a picture for people.
#pragma once

#include "pictures/Image.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace qlx::tool {

// Where the parts of a waveform stand in a row (CTA-608 at 13.5 MHz), in pixels.
inline constexpr std::size_t kRunInStart = 13;  ///< Seven cycles of the clock.
inline constexpr std::size_t kStartBits = 202;  ///< 0, 0, 1.
inline constexpr std::size_t kDataBits = 274;   ///< Sixteen cells, least significant bits first.
inline constexpr std::size_t kCellWidth = 27;
inline constexpr std::size_t kCellSample = 14;  ///< Where in a cell its level is read.
inline constexpr std::size_t kWaveformWidth = kDataBits + 16 * kCellWidth;
inline constexpr std::uint8_t kGreatestZero = 48;  ///< A level above this is a 1.

/// What is shown of a picture.
struct Line21View {
    std::string title;
    Image rows;                                          ///< The picture's first three rows.
    std::array<std::array<std::uint8_t, 2>, 2> pairs{};  ///< What rows 1 and 2 hold.
};

/// Rows 0 to 2 drawn tall, and the levels of rows 1 and 2 as graphs with cells, bits, sample points and the threshold.
[[nodiscard]] Image drawLine21(const Line21View& view);

}  // namespace qlx::tool
