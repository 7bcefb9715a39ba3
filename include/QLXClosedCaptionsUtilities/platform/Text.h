// Reading numbers out of text, and counting and checking UTF-8. The process's locale never matters here.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx {

/// The integer at the start of `text`: leading white space, an optional sign, ASCII digits up to the first other
/// character; saturates at the limits of 64 bits; 0 without digits.
[[nodiscard]] QLX_EXPORT std::int64_t integerValue(std::string_view text) noexcept;

/// As integerValue(), for a value that may use all 64 bits without a sign; a negative number gives its low 64 bits.
[[nodiscard]] QLX_EXPORT std::uint64_t unsignedValue(std::string_view text) noexcept;

/// The decimal number at the start of `text` (white space, sign, digits, fraction, exponent); 0 when there is none.
[[nodiscard]] QLX_EXPORT double doubleValue(std::string_view text) noexcept;

/// True when the text, after white space, a sign and zeros, begins with Y, y, T, t or a digit 1 to 9.
[[nodiscard]] QLX_EXPORT bool boolValue(std::string_view text) noexcept;

/// The byte offset of the first byte that does not belong to a well-formed UTF-8 sequence; none when all is well.
/// Overlong forms, surrogates and values above U+10FFFF are not well formed.
[[nodiscard]] QLX_EXPORT std::optional<std::size_t> firstInvalidUTF8Byte(std::string_view text) noexcept;

/// Takes one character off the front of `text`, which must not be empty, and gives its code point.
/// A byte that is not part of well-formed UTF-8 counts as one character, U+FFFD.
[[nodiscard]] QLX_EXPORT char32_t takeCodePoint(std::string_view& text) noexcept;

/// The number of UTF-16 code units of a UTF-8 text; each byte that is not well formed counts as one.
[[nodiscard]] QLX_EXPORT std::uint64_t utf16Length(std::string_view text) noexcept;

/// A copy with the letters A to Z in lower case; every other byte is kept.
[[nodiscard]] QLX_EXPORT std::string asciiLowercased(std::string_view text);

}  // namespace qlx
