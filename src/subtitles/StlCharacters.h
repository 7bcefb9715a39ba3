// The characters of the text fields of EBU STL files, ISO 6937 as far as deployed hosts know it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace qlx::stl {

/// True for a diacritical mark, which stands in front of its letter.
[[nodiscard]] constexpr bool isDiacriticalMark(std::uint8_t byte) noexcept {
    return byte >= 0xC0 && byte <= 0xCF;
}

/// The one or two UTF-8 bytes of a character, the first in the low 8 bits; one byte when below 256.
[[nodiscard]] std::uint16_t utf8Character(std::uint8_t byte1, std::uint8_t byte2) noexcept;

/// The text of one line; none when it is not well-formed UTF-8.
[[nodiscard]] std::optional<std::string> decodedLine(std::span<const std::uint8_t> line);

}  // namespace qlx::stl
