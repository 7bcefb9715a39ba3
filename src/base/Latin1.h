// Unicode text as ISO 8859-1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace qlx::latin1 {

/// Writes the start of a UTF-8 text as ISO 8859-1 and gives the number of bytes written, at most the size of `target`.
///
/// Typographic quotes, dashes, spaces and the ellipsis become their plain ASCII neighbours ("..." for the ellipsis),
/// accented Latin letters that the set lacks lose the accent, ligatures fall into two letters (OE). A combining accent
/// joins the character before it where the set has the pair, and is dropped otherwise. Anything else, and each byte
/// that is not well-formed UTF-8, becomes '?'.
[[nodiscard]] std::size_t convertLossy(std::string_view text, std::span<std::uint8_t> target) noexcept;

}  // namespace qlx::latin1
