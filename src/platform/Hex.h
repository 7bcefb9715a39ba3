// Hexadecimal digits.
#pragma once

#include <cstdint>
#include <string>

namespace qlx {

/// Appends the two lower-case digits of `byte`.
inline void appendHexByte(std::string& text, std::uint8_t byte) {
    constexpr char kDigits[] = "0123456789abcdef";
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 15U];
}

}  // namespace qlx
