#include "pictures/ScreenText.h"

#include "io/Text.h"

#include <qlx/base/utf8.h>
#include <qlx/teletext/page.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace qlx::tool {

namespace {

constexpr std::size_t kRowNumberWidth = 4;

constexpr std::array<std::string_view, 8> kColourNames{"black", "red",     "green", "yellow",
                                                       "blue",  "magenta", "cyan",  "white"};

constexpr std::array<std::string_view, 4> kOpacityNames{"solid", "flash", "translucent", "transparent"};

std::string_view nameOf(screen::Color colour) {
    return kColourNames[screen::basicIndex(colour)];
}

std::string_view nameOf(screen::Opacity opacity) {
    return kOpacityNames[static_cast<std::size_t>(opacity)];
}

char32_t shownIn(const screen::Cell& cell) {
    return cell.isVisible && cell.part != screen::CellPart::LowerHalf && cell.shownCharacter() >= U' '
               ? cell.shownCharacter()
               : U' ';
}

bool looksAlike(const screen::Cell& left, const screen::Cell& right) {
    if (!left.isVisible && !right.isVisible) {
        return true;
    }
    screen::Cell other = right;
    other.character = left.character;
    other.part = left.part;
    other.side = left.side;
    other.isConcealed = left.isConcealed;
    other.backgroundOpacity = left.backgroundOpacity;
    return left == other;
}

/// Whether they are of one run, which says what of it the picture shows through.
bool isOneRun(const screen::Cell& left, const screen::Cell& right) {
    return looksAlike(left, right) && (!left.isVisible || left.backgroundOpacity == right.backgroundOpacity);
}

/// ECMA-48: reset, then what the cell has.
std::string codesOf(const screen::Cell& cell) {
    if (!cell.isVisible) {
        return "\x1b[0m";
    }
    std::string codes = "\x1b[0";
    codes += cell.isItalic ? ";3" : "";
    codes += cell.isUnderlined ? ";4" : "";
    codes += cell.isFlashing ? ";5" : "";
    codes += ";3" + std::to_string(screen::basicIndex(cell.foreground));
    return codes + ";4" + std::to_string(screen::basicIndex(cell.background)) + "m";
}

/// The columns that hold what is to be seen: from the first text to the last.
struct TextRange {
    std::size_t begin = 0;
    std::size_t end = 0;
};

TextRange textRange(std::span<const screen::Cell> row) {
    const auto hasText = [](const screen::Cell& cell) { return cell.hasText(); };
    const auto first = std::find_if(row.begin(), row.end(), hasText);
    const auto last = std::find_if(row.rbegin(), row.rend(), hasText);
    return first == row.end()
               ? TextRange{}
               : TextRange{static_cast<std::size_t>(first - row.begin()), static_cast<std::size_t>(row.rend() - last)};
}

Array runsOf(std::span<const screen::Cell> cells) {
    Array runs;
    for (std::size_t begin = 0; begin < cells.size();) {
        std::size_t end = begin;
        std::string text;
        for (; end < cells.size() && isOneRun(cells[begin], cells[end]); ++end) {
            appendUtf8(text, shownIn(cells[end]));
        }
        Dictionary run{{"text", text}};
        const screen::Cell& cell = cells[begin];
        if (cell.isVisible) {
            run.set("color", nameOf(cell.foreground));
            run.set("background", nameOf(cell.background));
            if (cell.foregroundOpacity >= screen::Opacity::Translucent) {
                run.set("colorOpacity", nameOf(cell.foregroundOpacity));
            }
            if (cell.backgroundOpacity != screen::Opacity::Solid) {
                run.set("backgroundOpacity", nameOf(cell.backgroundOpacity));
            }
        }
        for (const auto& [key, isSet] : {std::pair("italic", cell.isItalic), std::pair("underline", cell.isUnderlined),
                                         std::pair("flash", cell.isFlashing)}) {
            if (isSet) {
                run.set(key, true);
            }
        }
        runs.emplace_back(std::move(run));
        begin = end;
    }
    return runs;
}

}  // namespace

std::string rowText(std::span<const screen::Cell> row, bool keepsPlace, bool inColours) {
    TextRange range = textRange(row);
    if (range.end == 0) {
        return {};
    }
    std::string text;
    if (keepsPlace) {
        range.begin = 0;
    }
    if (inColours) {
        // The solid spaces of the box belong to what is seen.
        while (range.end < row.size() && row[range.end].isVisible) {
            ++range.end;
        }
    }
    const screen::Cell* last = nullptr;
    for (const screen::Cell& cell : row.subspan(range.begin, range.end - range.begin)) {
        if (inColours && (last == nullptr ? cell.isVisible : !looksAlike(*last, cell))) {
            text += codesOf(cell);
        }
        last = &cell;
        appendUtf8(text, shownIn(cell));
    }
    return inColours ? text + "\x1b[0m" : text;
}

std::vector<std::string> screenLines(const screen::Screen& screen, bool inColours, const teletext::CharacterSet& set) {
    std::vector<std::string> lines;
    for (std::size_t index = 0; index < screen.rows(); ++index) {
        const std::string text = rowText(teletext::readingOrder(screen.row(index), set), true, inColours);
        if (!text.empty()) {
            lines.push_back(rightAligned(screen.firstRow + index, kRowNumberWidth) + "  " + text);
        }
    }
    return lines;
}

Array screenRows(const screen::Screen& screen, const teletext::CharacterSet& set) {
    Array rows;
    for (std::size_t index = 0; index < screen.rows(); ++index) {
        const std::vector<screen::Cell> read = teletext::readingOrder(screen.row(index), set);
        const std::span<const screen::Cell> row = read;
        const TextRange range = textRange(row);
        if (range.end == 0) {
            continue;
        }
        const auto cells = row.subspan(range.begin, range.end - range.begin);
        Dictionary entry{{"row", screen.firstRow + index},
                         {"column", range.begin},
                         {"text", rowText(row, false, false)},
                         {"runs", runsOf(cells)}};
        if (screen.system == screen::System::Teletext) {
            entry.set("doubleHeight", std::any_of(cells.begin(), cells.end(), [](const screen::Cell& cell) {
                          return cell.part == screen::CellPart::UpperHalf;
                      }));
        }
        rows.emplace_back(std::move(entry));
    }
    return rows;
}

}  // namespace qlx::tool
