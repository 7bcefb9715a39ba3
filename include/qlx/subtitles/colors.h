// Colours of 24 bits, as subtitle files write them, and those of screens that are nearest to them.
//
//     const auto color = qlx::subtitles::colorNamed("#ffff00");
//     if (color) { use(qlx::subtitles::screenColor(*color)); }   // screen::Color::Yellow
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/screen/screen.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::subtitles {

/// The 24 bits (red highest) of `red`, `#RRGGBB`, `RRGGBB`, `#RGB`, `#RRGGBBAA`, `rgb(r, g, b)` or `rgba(r, g, b, a)`, in
/// either case; none for any other text. The names are those of CSS Color Module Level 4, 6.1.
[[nodiscard]] QLX_EXPORT std::optional<std::uint32_t> colorNamed(std::string_view text);

/// The nearest of the 64 colours of a screen.
[[nodiscard]] QLX_EXPORT screen::Color screenColor(std::uint32_t color) noexcept;

/// The 24 bits of a colour of a screen.
[[nodiscard]] QLX_EXPORT std::uint32_t bitsOf(screen::Color color) noexcept;

/// `#rrggbb`, with `aa` behind it where the alpha is not 255.
[[nodiscard]] QLX_EXPORT std::string hexColorText(std::uint32_t color, std::uint8_t alpha = 0xFF);

}  // namespace qlx::subtitles
