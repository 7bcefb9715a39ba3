// Small pieces of text that several outputs share.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// `text` with a space in place of every control character, so that a file's content or name can neither break a line
/// of output nor steer the terminal.
[[nodiscard]] std::string printable(std::string_view text);

/// Lower-case hexadecimal digits without spaces.
[[nodiscard]] std::string hex(std::span<const std::uint8_t> bytes);

/// Puts the same behind a text.
void appendHex(std::string& text, std::span<const std::uint8_t> bytes);

/// Base64 (RFC 4648) with padding.
[[nodiscard]] std::string base64(std::span<const std::uint8_t> bytes);

/// The part of a file's name behind its last dot, in lower case; empty for a name without one.
[[nodiscard]] std::string extensionOf(std::string_view path);

/// The pieces of a text between any of some separators, which live as long as the text; one piece when there is none.
[[nodiscard]] std::vector<std::string_view> itemsOf(std::string_view text, std::string_view separators);

/// `1 frame`, `2 frames`.
[[nodiscard]] std::string counted(std::uint64_t count, std::string_view noun);

/// `text` with spaces behind it up to `width` characters (code points of UTF-8).
[[nodiscard]] std::string padded(std::string text, std::size_t width);

/// `number` with spaces in front of it up to `width` characters.
[[nodiscard]] std::string rightAligned(std::uint64_t number, std::size_t width);

}  // namespace qlx::tool
