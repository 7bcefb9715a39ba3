// Codes in braces within the text of a cue, `{\an8\i1}`, as SubStation Alpha has them and SubRip files use them too.
#pragma once

#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qlx::subtitles {

/// Takes a code off the front, up to the next one; a backslash in round brackets begins none.
[[nodiscard]] std::string_view takeCodeOf(std::string_view& codes) noexcept;

/// Whether a code has a round bracket that it does not close, so that it would take in what follows it in its braces.
[[nodiscard]] bool leavesBracketOpen(std::string_view code) noexcept;

/// The number of `&HAABBGGRR&` with as many digits as it has; none for any other text.
[[nodiscard]] std::optional<std::uint32_t> codeNumber(std::string_view text) noexcept;

/// The 24 bits (red highest) of such a number, whatever its highest 8 are.
[[nodiscard]] constexpr std::uint32_t colorOfNumber(std::uint32_t number) noexcept {
    return (number & 0xFFU) << 16U | (number & 0xFF00U) | (number >> 16U & 0xFFU);
}

/// The 24 bits (red highest) of `&HBBGGRR&`, what stands in front of the blue ones (`&HAABBGGRR`) aside; none for any other
/// text.
[[nodiscard]] std::optional<std::uint32_t> codeColor(std::string_view text) noexcept;

/// The place, as on a numeric keypad, of the numbers of `\a` and of styles of v4.00: 1 to 3 below, 5 to 7 above, 9 to 11
/// in the middle; 0 for any other number.
[[nodiscard]] std::uint8_t anchorOfOldNumber(unsigned number) noexcept;

/// A place, in the units of the screen that it is said of.
struct CodePosition {
    double x = 0;
    double y = 0;
};

/// The place of `pos(320,200)`; none for any other code.
[[nodiscard]] std::optional<CodePosition> positionOfCode(std::string_view code) noexcept;

/// The box of what has its anchor, 1 to 9 as on a numeric keypad, at a place in per cent of the screen: from there on, up to
/// there, or around it.
[[nodiscard]] Box boxAt(CodePosition place, std::uint8_t anchor) noexcept;

}  // namespace qlx::subtitles
