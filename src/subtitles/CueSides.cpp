#include "subtitles/CueWriting.h"

#include <qlx/subtitles/box.h>

#include <algorithm>

namespace qlx::subtitles {

std::size_t widthOf(const Row& row) noexcept {
    std::size_t characters = 0;
    for (const Run& run : row.runs) {
        characters += static_cast<std::size_t>(
            std::count_if(run.text.begin(), run.text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
    }
    return characters;
}

namespace {

/// Columns at the edges of a screen in which rows that are aligned there have no characters.
struct Margins {
    std::size_t left = 0;
    std::size_t right = 0;
};

Margins marginsOf(std::uint16_t columns) noexcept {
    constexpr std::uint16_t kPageColumns = 40;
    constexpr std::uint16_t kWideColumns = 42;
    switch (columns) {
    case kPageColumns:
        return {3, 2};  // A colour, double height and the box, or the latter twice; and its end.
    case kFramedColumns:
        return {1, 1};  // The solid space around captions of line 21.
    case kWideColumns:
        return {5, 5};  // Captions of 32 columns stand in the middle.
    default:
        return {};
    }
}

}  // namespace

bool standsAtSide(const Cue& cue, const Row& row, unsigned side) noexcept {
    if (row.column == 0 || cue.screenColumns == 0) {
        return row.column == 0;
    }
    const Margins margins = marginsOf(cue.screenColumns);
    const std::size_t begin = row.column - std::size_t{1};
    const std::size_t end = begin + widthOf(row);
    if (side == 1) {
        return begin + end + 1 >= cue.screenColumns && begin + end <= cue.screenColumns + std::size_t{1};
    }
    return side == 0 ? begin <= margins.left : end + margins.right >= cue.screenColumns;
}

std::optional<Alignment> sideOfColumns(const Cue& cue) noexcept {
    const auto hasColumn = [](const Row& row) { return row.column != 0; };
    if (cue.screenColumns == 0 || cue.rows.empty() || !std::all_of(cue.rows.begin(), cue.rows.end(), hasColumn)) {
        return std::nullopt;
    }
    for (const Alignment side : {Alignment::Center, Alignment::Left, Alignment::Right}) {
        const auto isThere = [&cue, side](const Row& row) { return standsAtSide(cue, row, sideOf(side)); };
        if (std::all_of(cue.rows.begin(), cue.rows.end(), isThere)) {
            return side;
        }
    }
    return std::nullopt;
}

std::optional<Cue> alignedAtSide(const Cue& cue) {
    const auto side = sideOfColumns(cue);
    const auto isAsFirst = [&cue](const Row& row) { return row.column == cue.rows.front().column; };
    if (!side || std::all_of(cue.rows.begin(), cue.rows.end(), isAsFirst)) {
        return std::nullopt;
    }
    Cue aligned = cue;
    for (Row& row : aligned.rows) {
        row.alignment = *side;
        row.column = 0;
    }
    return aligned;
}

Anchors::Anchors(const Cue& cue) noexcept : _rows(screenRowsOf(cue)), _hasColumns(cue.screenColumns != 0) {
    std::size_t left = cue.screenColumns;
    std::size_t right = 0;
    for (const Row& row : cue.rows) {
        if (row.column != 0) {
            const std::size_t begin = row.column - std::size_t{1};
            left = std::min(left, begin);
            right = std::max(right, begin + widthOf(row));
        }
    }
    if (const auto side = sideOfColumns(cue)) {
        _side = *side;
        return;
    }
    // Thirds of the screen; the middle is half of the sum.
    const std::size_t middle = (left + right) * 3;
    const std::size_t columns = cue.screenColumns * std::size_t{2};
    _side = middle < columns ? Alignment::Left : middle > columns * 2 ? Alignment::Right : Alignment::Center;
}

std::uint8_t Anchors::of(const Row& row) const noexcept {
    constexpr std::uint8_t kBottomCenter = 2;
    if (row.anchor != 0 && row.anchor <= kGreatestAnchor) {
        const bool isPlaced = row.number != 0 || row.column != 0;
        return row.anchor == kBottomCenter && isPlaced ? std::uint8_t{0} : row.anchor;
    }
    // What has no row stands below.
    const BoxEdge edge =
        row.number == 0 ? BoxEdge::Bottom : thirdOf(static_cast<double>(row.number), static_cast<double>(_rows));
    const std::uint8_t anchor = anchorOf(edge, _hasColumns && row.column != 0 ? _side : row.alignment);
    return anchor == kBottomCenter ? std::uint8_t{0} : anchor;
}

}  // namespace qlx::subtitles
