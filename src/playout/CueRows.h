// The rows of cues as characters, and where they are broken.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/screen/screen.h>
#include <qlx/subtitles/cue.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace qlx::playout::detail {

using Cells = std::vector<screen::Cell>;

[[nodiscard]] inline bool isSpace(const screen::Cell& cell) noexcept {
    return cell.character == U' ';
}

/// Without the spaces at its end.
inline void trimEnd(Cells& cells) {
    while (!cells.empty() && isSpace(cells.back())) {
        cells.pop_back();
    }
}

/// The characters of a row, without spaces at its ends; those in front stay where the spaces place the text.
/// @param bold How many should be bold, and are not.
[[nodiscard]] inline Cells cellsOf(const subtitles::Row& row, std::size_t& bold) {
    Cells cells;
    bold = 0;
    for (const subtitles::Run& run : row.runs) {
        screen::Cell cell;
        cell.isVisible = true;
        cell.foreground = run.style.foreground;
        cell.background = run.style.background.value_or(screen::Color::Black);
        cell.isItalic = run.style.isItalic;
        cell.isUnderlined = run.style.isUnderlined;
        cell.isFlashing = run.style.isFlashing;
        for (std::string_view text = run.text; !text.empty(); bold += run.style.isBold ? 1U : 0U) {
            cell.character = takeCodePoint(text);
            cells.push_back(cell);
        }
    }
    trimEnd(cells);
    if (row.alignment != subtitles::Alignment::Unchanged) {
        cells.erase(cells.begin(), std::find_if_not(cells.begin(), cells.end(), isSpace));
    }
    return cells;
}

/// Characters that stand on a row by themselves: up to the last space that leaves text in front of it.
[[nodiscard]] inline std::size_t sizeOfLine(std::span<const screen::Cell> cells, std::size_t columns) noexcept {
    if (cells.size() <= columns) {
        return cells.size();
    }
    for (std::size_t size = columns; size > 0; --size) {
        const auto before = cells.first(size);
        if (isSpace(cells[size]) && !std::all_of(before.begin(), before.end(), isSpace)) {
            return size;
        }
    }
    return columns;
}

/// What follows the spaces in front.
[[nodiscard]] inline std::span<const screen::Cell> withoutSpaces(std::span<const screen::Cell> cells) noexcept {
    return cells.subspan(
        static_cast<std::size_t>(std::find_if_not(cells.begin(), cells.end(), isSpace) - cells.begin()));
}

}  // namespace qlx::playout::detail
