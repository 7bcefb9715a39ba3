// The codes of the text field of EBU STL blocks (EBU Tech 3264), as deployed hosts read them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::stl {

inline constexpr std::uint8_t kLineBreak = 0x8A;
inline constexpr std::uint8_t kUnusedSpace = 0x8F;
inline constexpr std::int32_t kWhite = 7;

/// The colour constant (1 red to 7 white) that a byte below 0x20 switches to; 0 for one that does something else.
[[nodiscard]] constexpr std::int32_t colorOfCode(std::uint8_t code) noexcept {
    constexpr std::uint8_t kColors = 8;
    constexpr std::uint8_t kFirstMosaicColor = 0x10;
    const bool isColor = code < kColors || (code >= kFirstMosaicColor && code < kFirstMosaicColor + kColors);
    if (!isColor) {
        return 0;
    }
    // Black text would not be seen.
    const std::int32_t color = code % kColors;
    return color == 0 ? kWhite : color;
}

/// The row of a vertical position on the screen of the subtitle records: teletext rows are of double height.
[[nodiscard]] constexpr std::uint64_t firstRow(std::uint8_t verticalPosition) noexcept {
    // A position of 0 wraps around to the largest row.
    return ((verticalPosition - 1U) & 0xFFU) / 2;
}

/// Whether unused space ends a text.
enum class TextEnd : std::uint8_t { Marked, Missing };

/// Hands on what a text holds: color(constant), character(byte), lineEnd() and passed(code) for all other codes.
template <class Taker>
TextEnd walkBytes(std::span<const std::uint8_t> text, Taker& taker) {
    constexpr std::uint8_t kFirstCharacter = 0x20;
    constexpr std::uint8_t kFirstCode = 0x80;
    constexpr std::uint8_t kLastCode = 0xA0;
    for (const std::uint8_t byte : text) {
        if (byte < kFirstCharacter) {
            if (const std::int32_t color = colorOfCode(byte); color != 0) {
                taker.color(color);
            } else {
                taker.passed(byte);
            }
        } else if (byte < kFirstCode || byte > kLastCode) {
            taker.character(byte);
        } else if (byte == kLineBreak) {
            taker.lineEnd();
        } else if (byte == kUnusedSpace) {
            taker.lineEnd();
            return TextEnd::Marked;
        } else {
            taker.passed(byte);
        }
    }
    return TextEnd::Missing;
}

/// The same for a text field as deployed hosts read it: they take its last byte for unused space, whatever it is.
template <class Taker>
TextEnd walkText(std::span<const std::uint8_t> field, Taker& taker) {
    return walkBytes(field.first(field.size() - 1), taker);
}

}  // namespace qlx::stl
