// Colours of 24 bits, by name and number, and those of screens that are nearest to them.
#pragma once

#include <qlx/screen/screen.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::subtitles {

/// The 24 bits of `red`, `#RRGGBB`, `RRGGBB`, `#RGB`, `#RRGGBBAA`, `rgb(r, g, b)` or `rgba(r, g, b, a)`, in either case;
/// none for any other text. The names are those of CSS Color Module Level 4, 6.1.
[[nodiscard]] std::optional<std::uint32_t> colorNamed(std::string_view text);

/// The nearest colour of a screen.
[[nodiscard]] screen::Color screenColor(std::uint32_t color) noexcept;

/// The 24 bits of a colour of a screen.
[[nodiscard]] std::uint32_t bitsOf(screen::Color color) noexcept;

/// `#rrggbb`
[[nodiscard]] std::string hexColorText(std::uint32_t color);

}  // namespace qlx::subtitles
