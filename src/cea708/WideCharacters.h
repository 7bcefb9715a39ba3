// Characters of UTF-16 behind P16.
#pragma once

#include <qlx/cea708/characters.h>

namespace qlx::cea708 {

constexpr bool isHighSurrogate(char32_t code) noexcept {
    return code >= 0xD800 && code < 0xDC00;
}

constexpr bool isLowSurrogate(char32_t code) noexcept {
    return code >= 0xDC00 && code < 0xE000;
}

/// Whether a cell may hold it: no control, no half of a pair, nothing that Unicode keeps from text, and not the code
/// that stands for a transparent space here.
constexpr bool isShown(char32_t character) noexcept {
    constexpr char32_t kLast = 0x10FFFF;
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    const bool isNone = (character >= 0xFDD0 && character <= 0xFDEF) || (character & 0xFFFEU) == 0xFFFE;
    return !isControl && !isNone && !isHighSurrogate(character) && !isLowSurrogate(character) &&
           character != kNonBreakingTransparentSpace && character <= kLast;
}

}  // namespace qlx::cea708
