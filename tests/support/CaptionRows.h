// Rows of captions for tests, and pairs as text.
#pragma once

#include <qlx/cea608/caption.h>

#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

/// A visible cell of each character, with the other attributes of `style`; `~` is a place through which the picture
/// shows.
inline std::vector<qlx::screen::Cell> cellsOf(std::u32string_view text, const qlx::screen::Cell& style = {}) {
    std::vector<qlx::screen::Cell> cells;
    for (const char32_t character : text) {
        cells.push_back(style);
        cells.back().character = character;
        cells.back().isVisible = character != U'~';
    }
    return cells;
}

/// A row of several such texts.
inline std::vector<qlx::screen::Cell> joined(std::vector<std::vector<qlx::screen::Cell>> texts) {
    std::vector<qlx::screen::Cell> cells;
    for (const auto& text : texts) {
        cells.insert(cells.end(), text.begin(), text.end());
    }
    return cells;
}

/// `1420 4869`: bytes without parity bits.
inline std::string textOf(const qlx::cea608::Pair& pair) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const unsigned byte : {pair.first & 0x7FU, pair.second & 0x7FU}) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 15U];
    }
    return text;
}

/// A space between pairs, a plus in front of one that is joined to the one before it.
inline std::string textOf(const std::vector<qlx::cea608::CodePair>& pairs) {
    std::string text;
    for (const qlx::cea608::CodePair& pair : pairs) {
        text += text.empty() ? "" : pair.isJoined ? "+" : " ";
        text += textOf(pair.pair);
    }
    return text;
}

}  // namespace qlxtest
