// Bytes as hexadecimal digits.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace qlx::streams::detail {

using HexDigits = std::array<std::array<char, 2>, 256>;

/// The two digits of each byte.
constexpr HexDigits makeHexDigits(std::string_view digits) {
    HexDigits table{};
    for (std::size_t byte = 0; byte < table.size(); ++byte) {
        table[byte] = {digits[byte >> 4U], digits[byte & 15U]};
    }
    return table;
}

inline constexpr HexDigits kHexDigits = makeHexDigits("0123456789abcdef");

/// Appends bytes as lower-case digits, two each.
inline void appendHex(std::string& text, std::span<const std::uint8_t> bytes) {
    const std::size_t size = text.size();
    text.resize(size + bytes.size() * 2);
    char* to = text.data() + size;
    for (const std::uint8_t byte : bytes) {
        *to++ = kHexDigits[byte][0];
        *to++ = kHexDigits[byte][1];
    }
}

}  // namespace qlx::streams::detail
