// Where rows of text without spaces may end.
#pragma once

#include <string_view>

namespace qlx::tool {

/// Whether a character is one of Chinese or Japanese text, which has no spaces between its words: ideographs, kana, their
/// marks and full-width forms. Korean has spaces.
[[nodiscard]] bool isIdeographic(char32_t character) noexcept;

/// Whether a row may end between two characters that have no space between them (Unicode Standard Annex 14, the classes
/// ID, OP, CL, NS, CJ and IN; JIS X 4051): where one of them isIdeographic(), not in front of what ends a phrase or goes on
/// with a syllable, nor behind what opens one.
[[nodiscard]] bool mayEndBetween(char32_t before, char32_t behind) noexcept;

/// Whether a row is what one of several says: it begins with a dash.
[[nodiscard]] bool isOfDialogue(std::string_view row) noexcept;

}  // namespace qlx::tool
