// The seven subtitle colours: their constants, their texts and how they are displayed.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/AttributedString.h>

#include <cstdint>
#include <string_view>

namespace qlx::subtitles {

inline constexpr std::int32_t kWhite = 7;

/// The value of exactly two characters (UTF-16 code units), each a digit '0' to '9' or 'a' to 'f' and 0 for any other;
/// 0 for any other length.
[[nodiscard]] std::int32_t hexByte(std::string_view text) noexcept;

/// The constant nearest to `#RRGGBB`, `RRGGBB`, `rgb(r, g, b)` or `rgba(r, g, b, a)` in either case; white for black
/// (which nobody could read) and for anything else.
[[nodiscard]] std::int32_t colorFromText(std::string_view text);

/// True for a text in one of these forms, of hexadecimal digits and of numbers up to 255.
[[nodiscard]] bool isColorText(std::string_view text);

/// How a colour constant is displayed; white for a number that is none.
[[nodiscard]] Color displayColor(std::int32_t constant) noexcept;

}  // namespace qlx::subtitles
