// The waveform of line 21 as a picture for people.
#pragma once

#include "pictures/Image.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace qlx::tool {

/// What is shown of a picture.
struct Line21View {
    std::string title;
    Image rows;                                          ///< The picture's first three rows.
    std::array<std::array<std::uint8_t, 2>, 2> pairs{};  ///< What rows 1 and 2 hold.
};

/// Rows 0 to 2 drawn tall, and the levels of rows 1 and 2 as graphs with cells, bits, sample points and the threshold.
[[nodiscard]] Image drawLine21(const Line21View& view);

}  // namespace qlx::tool
