// The classes by which WebVTT texts name colours: eight that receivers know (W3C WebVTT, 5.1), and any other as `rgbffa500`,
// which the style sheet of the file defines. Behind the characters the names begin with `bg_`.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::subtitles {

inline constexpr std::string_view kWebVttBackground = "bg_";

/// The colour of a class, without `bg_`; none for the name of another one.
[[nodiscard]] std::optional<std::uint32_t> colorOfWebVttClass(std::string_view name) noexcept;

/// Whether the class of a colour is one that receivers know.
[[nodiscard]] bool isWebVttColor(std::uint32_t color) noexcept;

/// The class of a colour: of one that is defined, or else of the nearest that receivers know.
/// @param defined In ascending order.
[[nodiscard]] std::string webVttClassOf(std::uint32_t color, std::span<const std::uint32_t> defined);

/// A style sheet that defines colours.
[[nodiscard]] std::string webVttStyleOf(std::span<const std::uint32_t> colors);

/// The colours that a style sheet defines, if it is one of webVttStyleOf(); none else.
[[nodiscard]] std::optional<std::vector<std::uint32_t>> colorsOfWebVttStyle(std::string_view block);

}  // namespace qlx::subtitles
