// What tests of cues as teletext pages have in common: how many cues and of which sets, and a page as it is seen.
#pragma once

#include "Sanitized.h"

#include <qlx/screen/screen.h>
#include <qlx/teletext/page.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace qlxtest {

using Random = std::mt19937;

inline constexpr std::size_t kCues = qlxtest::kIsSanitized ? 300 : 10'000;
inline constexpr std::uint64_t kFrames = 25;

inline std::size_t below(Random& random, std::size_t count) {
    return static_cast<std::size_t>(random()) % count;
}

/// How a letter looks.
struct Look {
    qlx::screen::Color color = qlx::screen::Color::White;
    qlx::screen::Color background = qlx::screen::Color::Black;
    bool isFlashing = false;

    friend bool operator==(const Look&, const Look&) = default;
};

/// A row as it is to be seen: where its text begins, its letters in reading order, and their looks.
struct SeenRow {
    std::size_t column = 0;
    std::u32string text;
    std::vector<Look> looks;       ///< Of the letters, from the left to the right; not of spaces.
    std::size_t firstVisible = 0;  ///< Of the box.
    std::size_t lastVisible = 0;

    friend bool operator==(const SeenRow&, const SeenRow&) = default;
};
using SeenPage = std::map<std::size_t, SeenRow>;

inline SeenPage seenOf(const qlx::teletext::PageReader& page) {
    const qlx::screen::Screen screen = page.screen();
    SeenPage seen;
    for (std::size_t row = 0; row < screen.rows(); ++row) {
        const auto cells = screen.row(row);
        const auto hasText = [](const qlx::screen::Cell& cell) { return cell.hasText(); };
        const auto isVisible = [](const qlx::screen::Cell& cell) { return cell.isVisible; };
        const auto first = std::find_if(cells.begin(), cells.end(), hasText);
        if (first == cells.end()) {
            continue;
        }
        SeenRow& shown = seen[row];
        shown.column = static_cast<std::size_t>(first - cells.begin());
        shown.firstVisible =
            static_cast<std::size_t>(std::find_if(cells.begin(), cells.end(), isVisible) - cells.begin());
        shown.lastVisible =
            39 - static_cast<std::size_t>(std::find_if(cells.rbegin(), cells.rend(), isVisible) - cells.rbegin());
        for (const qlx::screen::Cell& cell : cells) {
            if (cell.hasText()) {
                shown.looks.push_back({cell.foreground, cell.background, cell.isFlashing});
            }
        }
        const auto read = qlx::teletext::readingOrder(cells, page.characterSet());
        const auto begin = std::find_if(read.begin(), read.end(), hasText);
        const auto end = std::find_if(read.rbegin(), read.rend(), hasText).base();
        for (auto cell = begin; cell != end; ++cell) {
            shown.text += cell->isVisible ? cell->character : U' ';
        }
    }
    return seen;
}

/// Designations of character sets.
inline constexpr std::uint8_t kSets[] = {0,    1,    2,    3,    4,    5,    6,    0x08, 0x16, 0x1D,
                                         0x1F, 0x22, 0x23, 0x20, 0x24, 0x25, 0x37, 0x47, 0x55};

}  // namespace qlxtest
