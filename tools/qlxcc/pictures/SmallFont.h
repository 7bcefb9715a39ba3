// Letters, digits and signs of 5 x 7 dots for labels in pictures; lower-case letters look like upper-case ones.
#pragma once

#include "pictures/Image.h"

#include <cstddef>
#include <string_view>

namespace qlx::tool {

inline constexpr std::size_t kGlyphWidth = 5;
inline constexpr std::size_t kGlyphHeight = 7;

/// Pixels that a text takes when each dot is `scale` pixels wide and high.
[[nodiscard]] std::size_t textWidth(std::string_view text, std::size_t scale);

/// Draws a text with its upper left corner at `x`, `y`; what lies outside the picture is left out, and a character that
/// the font does not have is a question mark.
void drawText(Image& image, std::size_t x, std::size_t y, std::string_view text, Pixel colour, std::size_t scale);

}  // namespace qlx::tool
