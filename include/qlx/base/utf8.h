// Unicode characters as UTF-8.
//
//     std::string text;
//     qlx::appendUtf8(text, U'\u266A');   // three bytes
#pragma once

#include <string>
#include <string_view>

namespace qlx {

/// U+FEFF in UTF-8, which files may begin with.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// The text behind a byte order mark in front of it; all of it where there is none.
[[nodiscard]] constexpr std::string_view withoutByteOrderMark(std::string_view text) noexcept {
    return text.substr(text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0);
}

/// Appends a character in UTF-8; what is no code point becomes U+FFFD.
inline void appendUtf8(std::string& text, char32_t character) {
    constexpr char32_t kLast = 0x10FFFF;
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character > kLast || isSurrogate) {
        character = U'\uFFFD';
    }
    const auto tail = [character](unsigned shift) { return static_cast<char>(0x80U | (character >> shift & 0x3FU)); };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += {static_cast<char>(0xC0U | character >> 6U), tail(0)};
    } else if (character < 0x10000) {
        text += {static_cast<char>(0xE0U | character >> 12U), tail(6), tail(0)};
    } else {
        text += {static_cast<char>(0xF0U | character >> 18U), tail(12), tail(6), tail(0)};
    }
}

}  // namespace qlx
