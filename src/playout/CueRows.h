// The rows of cues as characters, and where they are broken.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/result.h>
#include <qlx/cea708/window.h>
#include <qlx/playout/captions.h>
#include <qlx/screen/screen.h>
#include <qlx/subtitles/box.h>
#include <qlx/subtitles/cue.h>
#include <qlx/teletext/row_encoder.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::playout::detail {

using Cells = std::vector<screen::Cell>;

/// Whether a cue has come from a screen by way of a box: its rows say no more of their places than the box does
/// (qlx::subtitles::placeRows()), which is on that screen and not on that of CEA-608 too.
[[nodiscard]] inline bool isBoxOf(const subtitles::Cue& cue, const subtitles::ScreenGrid& grid) {
    if (!cue.box) {
        return false;
    }
    const auto isLeft = [](const subtitles::Row& row) { return row.alignment == subtitles::Alignment::Left; };
    const bool hasColumns = std::any_of(cue.rows.begin(), cue.rows.end(), isLeft);
    if (!isOnGrid(*cue.box, grid, hasColumns) || isOnGrid(*cue.box, {}, hasColumns)) {
        return false;
    }
    subtitles::Cue placed;
    for (const subtitles::Row& row : cue.rows) {
        placed.rows.emplace_back().alignment = row.alignment;
    }
    placeRows(placed, *cue.box);
    const auto isSame = [](const subtitles::Row& left, const subtitles::Row& right) {
        return left.number == right.number && left.column == right.column;
    };
    return placed.screenRows == cue.screenRows && placed.screenColumns == cue.screenColumns &&
           std::equal(placed.rows.begin(), placed.rows.end(), cue.rows.begin(), isSame);
}

/// The caption of a cue as captionOf() makes it, on a screen of 32 columns or on one of 42.
[[nodiscard]] Result<cea608::Caption> captionOnScreen(const subtitles::Cue& cue, FrameRate rate,
                                                      const CaptionOptions& options, cea708::AspectRatio ratio,
                                                      FindingSink* findings);

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

/// Letters with the marks behind them, and without those that no letter takes and signs of direction
/// (TeletextMarkLeftOut): none of them has a cell of its own.
/// @param keepsSpaces Those in front stay.
inline void joinMarks(Cells& cells, bool keepsSpaces, FindingSink* findings, std::uint64_t offset) {
    std::u32string text;
    for (const screen::Cell& cell : cells) {
        text += cell.character;
    }
    PlacedSink sink(findings, offset);
    // Those of a row that is read from the left to the right stay in their order.
    Cells joined;
    for (const teletext::DisplayCell& display : teletext::displayCells(text, {}, &sink)) {
        joined.push_back(cells[display.source]);
        joined.back().character = display.character;
    }
    trimEnd(joined);
    const auto first = keepsSpaces ? joined.begin() : std::find_if_not(joined.begin(), joined.end(), isSpace);
    cells.assign(first, joined.end());
}

/// The column, from 0 on, of text that has its middle where it is on a screen of other columns.
/// @param named Its column there, from 1 on.
/// @param size Of the text.
[[nodiscard]] inline std::size_t columnLike(std::size_t named, std::size_t size, std::size_t from,
                                            std::size_t to) noexcept {
    // In halves of a column, as parts of `from`; half a column more gives the nearest one.
    const std::size_t middle = (2 * (named - 1) + size) * to + from;
    return middle > size * from ? std::min((middle - size * from) / (2 * from), to - 1) : 0;
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
