// Hexadecimal digits.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace qlx {

/// Appends the two lower-case digits of `byte`.
inline void appendHexByte(std::string& text, std::uint8_t byte) {
    constexpr char kDigits[] = "0123456789abcdef";
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 15U];
}

/// The value of a digit in either case; 0 for any other character.
[[nodiscard]] constexpr std::uint8_t hexDigitValue(char32_t character) noexcept {
    if (character >= U'0' && character <= U'9') {
        return static_cast<std::uint8_t>(character - U'0');
    }
    const char32_t letter = character | 0x20U;
    return static_cast<std::uint8_t>(letter >= U'a' && letter <= U'f' ? letter - U'a' + 10U : 0U);
}

/// Calls `take(value)` for each UTF-16 code unit of `text`, with the value that it has as a digit, from the first on.
/// With `spacesCount` false, spaces are passed over.
template <class Take>
void forEachHexDigit(std::string_view text, bool spacesCount, Take take) {
    while (!text.empty()) {
        const char32_t character = takeCodePoint(text);
        if (character == U' ' && !spacesCount) {
            continue;
        }
        take(hexDigitValue(character));
        if (character > 0xFFFF) {
            take(std::uint8_t{0});
        }
    }
}

}  // namespace qlx
