#include "cues/RowBreaks.h"

#include <qlx/base/utf8.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace qlx::tool {

namespace {

struct BlockRange {
    char32_t first;
    char32_t last;
};

constexpr BlockRange kIdeographic[] = {
    {0x2E80, 0x2FFF},    // radicals
    {0x3000, 0x30FF},    // marks, hiragana, katakana
    {0x31F0, 0x31FF},    // small katakana
    {0x3400, 0x4DBF},    // ideographs
    {0x4E00, 0x9FFF},    //
    {0xF900, 0xFAFF},    //
    {0xFE30, 0xFE4F},    // marks of vertical text
    {0xFF01, 0xFF60},    // full-width forms
    {0xFFE0, 0xFFE6},    //
    {0x20000, 0x3FFFD},  // ideographs
};

/// No row begins with them: what closes (CL, CP), ends a sentence (EX), is small or a sign of length or repetition (CJ,
/// NS), leaders and dashes, which stand together (IN, B2).
constexpr std::u32string_view kNotFirst = U"、。，．・：；？！゛゜ヽヾゝゞ々〻ー’”）〕］｝〉》」』】〗〙〛｠〞〟｡｣､･"
                                          U"ぁぃぅぇぉっゃゅょゎゕゖァィゥェォッャュョヮヵヶ"
                                          U"‐–—―〜～゠…‥‼⁇⁈⁉％℃°′″"
                                          U",.:;?!)]}%";

/// No row ends with them (OP, PR).
constexpr std::u32string_view kNotLast = U"‘“（〔［｛〈《「『【〖〘〚｟〝｢￥＄￡([{";

bool isSmallKatakana(char32_t character) noexcept {
    return (character >= 0x31F0 && character <= 0x31FF) || (character >= 0xFF67 && character <= 0xFF70);
}

/// Marks on the character in front of them, joiners and selectors.
bool isMark(char32_t character) noexcept {
    constexpr char32_t kVoicing[] = {0x3099, 0x309A, 0x200D};
    return (character >= 0x0300 && character <= 0x036F) || (character >= 0xFE00 && character <= 0xFE0F) ||
           (character >= 0xE0100 && character <= 0xE01EF) ||
           std::find(std::begin(kVoicing), std::end(kVoicing), character) != std::end(kVoicing);
}

}  // namespace

bool isIdeographic(char32_t character) noexcept {
    return std::any_of(std::begin(kIdeographic), std::end(kIdeographic), [character](const BlockRange& range) {
        return character >= range.first && character <= range.last;
    });
}

bool mayEndBetween(char32_t before, char32_t behind) noexcept {
    return (isIdeographic(before) || isIdeographic(behind)) && kNotFirst.find(behind) == std::u32string_view::npos &&
           kNotLast.find(before) == std::u32string_view::npos && !isSmallKatakana(behind) && !isMark(behind);
}

bool isOfDialogue(std::string_view row) noexcept {
    constexpr std::string_view kDashes[] = {"-", "\u2010", "\u2013", "\u2014", "\u2212"};
    row.remove_prefix(std::min(row.find_first_not_of(' '), row.size()));
    return std::any_of(std::begin(kDashes), std::end(kDashes),
                       [row](std::string_view dash) { return row.starts_with(dash); });
}

}  // namespace qlx::tool
