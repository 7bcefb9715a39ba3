// Boxes of cues as rows and columns of a screen.
//
//     if (cue.box) {
//         qlx::subtitles::placeRows(cue, *cue.box);
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/subtitles/cue.h>

#include <cstdint>

namespace qlx::subtitles {

/// Where text stands that nothing places: in the part of the picture that each receiver shows, at its lower edge
/// (CTA-608-E: the inner 80 % of width and height).
inline constexpr Box kSafeBox{10, 10, 80, 80, BoxEdge::Bottom};

/// At which edge of the screen a row stands that has no number: 7 to 9 is at the top, 4 to 6 in the middle, and what says
/// less at the bottom.
/// @param anchor Row::anchor.
[[nodiscard]] constexpr BoxEdge edgeOf(std::uint8_t anchor) noexcept {
    return anchor >= 7 ? BoxEdge::Top : anchor >= 4 ? BoxEdge::Middle : BoxEdge::Bottom;
}

/// At which edge of the screen a place is that is counted in its rows: the upper third, the one in the middle, the rest.
[[nodiscard]] constexpr BoxEdge thirdOf(double row, double rows) noexcept {
    return row * 3 <= rows ? BoxEdge::Top : row * 3 <= rows * 2 ? BoxEdge::Middle : BoxEdge::Bottom;
}

/// Row::anchor of such a place, 1 to 9.
[[nodiscard]] constexpr std::uint8_t anchorOf(BoxEdge edge, Alignment alignment) noexcept {
    const unsigned first = edge == BoxEdge::Top ? 7 : edge == BoxEdge::Middle ? 4 : 1;
    const unsigned side = alignment == Alignment::Left ? 0 : alignment == Alignment::Right ? 2 : 1;
    return static_cast<std::uint8_t>(first + side);
}

/// Rows and columns of a screen, which fill the inner 80 % of the picture: those of CTA-608-E unless it says others.
struct ScreenGrid {
    std::uint16_t rows = 15;     ///< Of the screen, 1 or more.
    std::uint16_t columns = 32;  ///< Of the screen, 1 or more.
    std::uint16_t first = 1;     ///< The first row that has text, counted from 1.
    std::uint16_t last = 15;     ///< The last one, up to `rows`.
    std::uint16_t height = 1;    ///< Rows that one of text takes, 1 or more: it has the number of the first.
};

/// Gives the rows of a cue the numbers, columns and anchors that put them where a box does on a screen. They get no
/// numbers where they are more than fit between its first row and its last one. Cue::box stays as it is.
QLX_EXPORT void placeRows(Cue& cue, const Box& box, const ScreenGrid& grid = {});

/// Whether rows of a screen are where a box is, and not only near it: to a fiftieth of a row from top to bottom, and of a
/// column at its left edge where `hasColumns` says that text begins there.
[[nodiscard]] QLX_EXPORT bool isOnGrid(const Box& box, const ScreenGrid& grid, bool hasColumns) noexcept;

}  // namespace qlx::subtitles
