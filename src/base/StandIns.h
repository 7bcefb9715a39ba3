// What is sent in place of characters that a caption system does not have.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace qlx {

/// Characters that caption systems may not have, each followed by the one that is sent in its place.
inline constexpr std::u32string_view kReplacements =
    U"\u2019'\u201A'\u201B'\u201E\"\u201F\"\u2039<\u203A>`'\u00B4'"
    U"\u2010-\u2011-\u2012-\u2013-\u2014-\u2015-\u2212-\u00AF-\u00AD-\u2026.\u00B7.\u22C5."
    U"\u2669\u266A\u266B\u266A\u266C\u266A\U0001F3B5\u266A\U0001F3B6\u266A"
    U"\u20ACE\u00D7x\u00AAa\u00BA\u00B0\u00B1+\u00B5u\u00A7S\u00B9"
    "1\u00B2"
    "2\u00B3"
    "3"
    U"\u00C6A\u00E6a\u00D0D\u00F0d\u00DDY\u00FDy\u00FFy"
    U"\u018FA\u0259a\u01E4G\u01E5g\u01FCA\u01FDa\u01FEO\u01FFo\u01A0O\u01A1o\u01AFU\u01B0u\u01CDA\u01CEa\u01CFI\u01D0i"
    U"\u01D1O\u01D2o\u01D3U\u01D4u\u01D5U\u01D6u\u01D7U\u01D8u\u01D9U\u01DAu\u01DBU\u01DCu\u01E6G\u01E7g\u01E8K\u01E9k"
    U"\u01EAO\u01EBo\u01F8N\u01F9n\u0218S\u0219s\u021AT\u021Bt";

static_assert(kReplacements.size() % 2 == 0);

/// Letters that stand side by side in Unicode, of which each has a letter without a mark in its place.
struct LetterBlock {
    char32_t first = 0;
    std::string_view letters;
};

/// Latin Extended-A, and Latin Extended Additional but for the letters of Middle Welsh.
inline constexpr std::array<LetterBlock, 2> kLetterBlocks{{
    {0x0100, "AaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIiIiJjKkqLlLlLlL"
             "lLlNnNnNnnNnOoOoOoOoRrRrRrSsSsSsSsTtTtTtUuUuUuUuUuUuWwYyYZzZzZzs"},
    {0x1E00, "AaBbBbBbCcDdDdDdDdDdEeEeEeEeEeFfGgHhHhHhHhHhIiIiKkKkKkLlLlLlLlMm"
             "MmMmNnNnNnNnOoOoOoOoPpPpRrRrRrRrSsSsSsSsSsTtTtTtTtUuUuUuUuUuVvVv"
             "WwWwWwWwWwXxXxYyZzZzZzhtwyasssSdAaAaAaAaAaAaAaAaAaAaAaAaEeEeEeEe"
             "EeEeEeEeIiIiOoOoOoOoOoOoOoOoOoOoOoOoUuUuUuUuUuUuUuYyYyYyYy"},
}};

static_assert(kLetterBlocks[0].letters.size() == 0x80 && kLetterBlocks[1].letters.size() == 0xFA);

/// The character that is sent for one that a system does not have.
[[nodiscard]] constexpr char32_t replacementOf(char32_t character) noexcept {
    for (std::size_t index = 0; index < kReplacements.size(); index += 2) {
        if (kReplacements[index] == character) {
            return kReplacements[index + 1];
        }
    }
    for (const LetterBlock& block : kLetterBlocks) {
        if (character >= block.first && character - block.first < block.letters.size()) {
            return static_cast<unsigned char>(block.letters[character - block.first]);
        }
    }
    return U'?';
}

}  // namespace qlx
