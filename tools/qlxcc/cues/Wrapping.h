// Rows of a cue brought to a width.
#pragma once

#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qlx::tool {

/// Columns that a character takes: 0 for marks on the one in front of it, 2 for wide ones (East Asian, emoji).
[[nodiscard]] std::size_t columnsOf(char32_t character) noexcept;

/// The same of a text.
[[nodiscard]] std::size_t columnsOf(std::string_view text) noexcept;

/// Sets the text of a cue anew when a row is wider than `columns`, or there are more rows than `rows` (0: any number),
/// in as few rows as it takes, which are of about the same width; styles stay with their characters. A word that is
/// wider stays whole; text without spaces, as Chinese and Japanese have it, ends rows where mayEndBetween() says. Rows that
/// begin with a dash, or what another voice says, begin rows.
/// @return Whether it fits now.
bool wrap(subtitles::Cue& cue, std::size_t columns, std::size_t rows);

}  // namespace qlx::tool
