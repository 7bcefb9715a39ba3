// Random captions, what a receiver must show of them, and how that is compared.
#pragma once

#include <qlx/cea608/caption.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace qlxtest {

using namespace qlx::cea608;
using qlx::screen::Cell;
using qlx::screen::Color;
using qlx::screen::Opacity;
using qlx::screen::Screen;

using Random = std::mt19937;

/// 0 to count - 1.
inline std::size_t below(Random& random, std::size_t count) {
    return random() % count;
}

inline bool isTrue(Random& random, unsigned percent) {
    return random() % 100 < percent;
}

/// Beside text, where no cell is.
inline constexpr char32_t kMarginSpace = U'\u00A0';

/// What a receiver shows of rows that fit: text has a solid space on both
/// sides.
inline Screen screenOf(const std::vector<CaptionRow>& rows) {
    constexpr std::size_t kMargin = 1;
    Screen screen = Screen::blank(qlx::screen::System::Cea608, kRows, kColumns + 2 * kMargin, 1);
    for (const CaptionRow& row : rows) {
        const auto line = screen.row(row.row - std::size_t{1});
        for (std::size_t index = 0; index < row.cells.size(); ++index) {
            if (row.cells[index].isVisible) {
                line[row.column + index + kMargin] = row.cells[index];
            }
        }
        const std::vector<Cell> text(line.begin(), line.end());
        for (std::size_t column = 0; column < text.size(); ++column) {
            const bool isBeside =
                (column > 0 && text[column - 1].isVisible) || (column + 1 < text.size() && text[column + 1].isVisible);
            if (!text[column].isVisible && isBeside) {
                line[column].isVisible = true;
                line[column].character = kMarginSpace;
            }
        }
    }
    return screen;
}

inline bool haveOneLook(const Cell& left, const Cell& right) {
    return left.hasText() && right.hasText() && left.foreground == right.foreground &&
           left.isItalic == right.isItalic && left.isUnderlined == right.isUnderlined;
}

/// Of spaces only the background is shown, and the underline between two words
/// of one look. Where codes stand in front of indented text a solid space is
/// shown, and one beside it.
inline bool isAsExpected(std::span<const Cell> expected, std::span<const Cell> shown, std::size_t column) {
    const Cell& want = expected[column];
    const Cell& cell = shown[column];
    const bool isSolidSpace = cell.isVisible && !cell.hasText() && cell.background == Color::Black &&
                              cell.backgroundOpacity == Opacity::Solid;
    if (!want.isVisible) {
        constexpr std::size_t kCodes = 3;
        bool isInFrontOfText = false;
        for (std::size_t next = column + 1; next <= column + kCodes && next < expected.size(); ++next) {
            isInFrontOfText = isInFrontOfText || expected[next].isVisible;
        }
        return !cell.isVisible || (isSolidSpace && isInFrontOfText);
    }
    if (!cell.isVisible || cell.background != want.background || cell.backgroundOpacity != want.backgroundOpacity) {
        return false;
    }
    if (want.hasText()) {
        return cell.character == want.character && cell.foreground == want.foreground &&
               cell.isItalic == want.isItalic && cell.isUnderlined == want.isUnderlined &&
               cell.isFlashing == want.isFlashing;
    }
    const bool isInside = column > 0 && column + 1 < expected.size();
    const bool isBetween =
        isInside && want.character != kMarginSpace && haveOneLook(expected[column - 1], expected[column + 1]);
    return !cell.hasText() && (!isBetween || cell.isUnderlined == expected[column - 1].isUnderlined);
}

inline std::string lookName(const Cell& cell) {
    std::string name = cell.isVisible ? "character " : "hidden character ";
    name += std::to_string(static_cast<unsigned>(cell.character)) + " colours ";
    name += std::to_string(static_cast<unsigned>(cell.foreground)) + "/";
    name += std::to_string(static_cast<unsigned>(cell.background)) + "/";
    name += std::to_string(static_cast<unsigned>(cell.backgroundOpacity));
    name += cell.isItalic ? " italic" : "";
    return name + (cell.isUnderlined ? " underlined" : "") + (cell.isFlashing ? " flashing" : "");
}

/// Empty when the screens are alike.
inline std::string difference(const Screen& expected, const Screen& shown) {
    for (std::size_t row = 0; row < expected.rows(); ++row) {
        for (std::size_t column = 0; column < expected.columns; ++column) {
            if (!isAsExpected(expected.row(row), shown.row(row), column)) {
                const Cell& want = expected.row(row)[column];
                const Cell& cell = shown.row(row)[column];
                return "row " + std::to_string(row + 1) + ", column " + std::to_string(column) +
                       " (with the margin): " + lookName(want) + " expected, " + lookName(cell) + " shown";
            }
        }
    }
    return {};
}

/// All characters of CEA-608 but spaces.
inline const std::u32string& allCharacters() {
    static const std::u32string kAll = []() {
        std::u32string all;
        for (const std::u32string_view set : kCharacters) {
            std::copy_if(set.begin(), set.end(), std::back_inserter(all),
                         [](char32_t one) { return one != U' ' && one != kTransparentSpace; });
        }
        return all;
    }();
    return kAll;
}

inline Cell space(const Cell& look) {
    Cell cell = look;
    cell.character = U' ';
    return cell;
}

inline Color anyColor(Random& random) {
    return qlx::screen::kBasicColors[below(random, 8)];
}

/// Words whose styles change in as many spaces as there are codes for.
inline std::vector<Cell> fittingText(Random& random, std::size_t column, std::size_t room) {
    Cell look{.isVisible = true};
    look.isUnderlined = isTrue(random, 20);
    if (column <= 3 || isTrue(random, 50)) {
        look.foreground = qlx::screen::kBasicColors[1 + below(random, 7)];
        look.isItalic = look.foreground == Color::White && isTrue(random, 50);
    }
    std::vector<Cell> cells;
    const auto word = [&](std::size_t length) {
        for (std::size_t index = 0; index < length && cells.size() < room; ++index) {
            look.character = allCharacters()[below(random, isTrue(random, 60) ? 90 : allCharacters().size())];
            cells.push_back(look);
        }
    };
    word(1 + below(random, 6));
    while (isTrue(random, 75)) {
        Cell next = look;
        if (isTrue(random, 40)) {
            next.foreground = anyColor(random);
            next.isItalic = isTrue(random, 40);
            next.isUnderlined = isTrue(random, 20);
        }
        next.isFlashing = isTrue(random, 10) ? !look.isFlashing : look.isFlashing;
        if (isTrue(random, 30)) {
            next.backgroundOpacity = static_cast<Opacity>(below(random, 3) == 0 ? 3 : 2 * below(random, 2));
            next.background = next.backgroundOpacity == Opacity::Transparent ? Color::Black : anyColor(random);
        }
        // A background, a colour, italics, flash. The first space has the new background,
        // and the last one the new style.
        for (std::size_t count = 4; count > 0 && cells.size() < room; --count) {
            cells.push_back(space(next));
        }
        if (next.foreground == next.background && next.backgroundOpacity != Opacity::Transparent) {
            next.foreground = next.background == Color::White ? Color::Red : Color::White;
        }
        look = next;
        word(1 + below(random, 6));
    }
    return cells;
}

inline std::vector<CaptionRow> fittingRows(Random& random) {
    std::set<std::uint8_t> numbers;
    const std::size_t count = 1 + below(random, 4);
    while (numbers.size() < count) {
        numbers.insert(static_cast<std::uint8_t>(1 + below(random, kRows)));
    }
    std::vector<CaptionRow> rows;
    for (const std::uint8_t number : numbers) {
        // From column 4 on a colour has a column for its code.
        const auto column = static_cast<std::uint8_t>(below(random, 24));
        rows.push_back({number, column, fittingText(random, column, kColumns - column)});
    }
    return rows;
}

inline std::vector<Cell> anyText(Random& random) {
    static const std::u32string kOthers = U"\u2019\u2026Ж€łab  ~~";
    std::vector<Cell> cells(below(random, isTrue(random, 10) ? 120 : 45));
    Cell look{.isVisible = true};
    for (Cell& cell : cells) {
        if (isTrue(random, 15)) {
            look.foreground = isTrue(random, 80) ? anyColor(random) : static_cast<Color>(below(random, 64));
            look.isItalic = isTrue(random, 30);
            look.isUnderlined = isTrue(random, 30);
            look.isFlashing = isTrue(random, 20);
        }
        if (isTrue(random, 8)) {
            look.background = isTrue(random, 80) ? anyColor(random) : static_cast<Color>(below(random, 64));
            look.backgroundOpacity = static_cast<Opacity>(below(random, 4));
        }
        cell = look;
        cell.isVisible = !isTrue(random, 4);
        cell.character = isTrue(random, 20)   ? U' '
                         : isTrue(random, 80) ? allCharacters()[below(random, allCharacters().size())]
                                              : kOthers[below(random, kOthers.size())];
    }
    return cells;
}

inline std::vector<CaptionRow> anyRows(Random& random) {
    std::vector<CaptionRow> rows;
    std::size_t number = below(random, 15);
    for (std::size_t count = 1 + below(random, isTrue(random, 10) ? 7 : 4); count > 0; --count) {
        rows.push_back(
            {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(below(random, 36)), anyText(random)});
        number += 1 + below(random, 3);
    }
    return rows;
}

}  // namespace qlxtest
