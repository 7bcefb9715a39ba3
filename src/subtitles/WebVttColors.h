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
/// @param defined Those that the file defines, in ascending order.
[[nodiscard]] std::optional<std::uint32_t> colorOfWebVttClass(std::string_view name,
                                                              std::span<const std::uint32_t> defined) noexcept;

/// Whether the class of a colour is one that receivers know.
[[nodiscard]] bool isWebVttColor(std::uint32_t color) noexcept;

/// Whether cues may have a colour behind their characters: those of a screen.
[[nodiscard]] bool isWebVttBackground(std::uint32_t color) noexcept;

/// The class that the style sheet has for a colour.
[[nodiscard]] std::string ownWebVttClassOf(std::uint32_t color);

/// The class of a colour: of one that is defined, or else of the nearest that receivers know.
/// @param defined In ascending order.
[[nodiscard]] std::string webVttClassOf(std::uint32_t color, std::span<const std::uint32_t> defined);

/// A style sheet that defines colours.
[[nodiscard]] std::string webVttStyleOf(std::span<const std::uint32_t> colors);

/// Adds the colours that a block defines, if it is one of webVttStyleOf(), to others, which are in ascending order.
void addWebVttColors(std::string_view block, std::vector<std::uint32_t>& colors);

/// Puts colours in ascending order, each once.
void sortWebVttColors(std::vector<std::uint32_t>& colors);

}  // namespace qlx::subtitles
