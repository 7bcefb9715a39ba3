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

/// Rows and columns of a screen, which fill the inner 80 % of the picture: those of CTA-608-E unless it says others.
struct ScreenGrid {
    std::uint16_t rows = 15;     ///< All of them.
    std::uint16_t columns = 32;  ///< All of them.
    std::uint16_t first = 1;     ///< The first row on which text stands.
    std::uint16_t last = 15;     ///< The last one.
    std::uint16_t height = 1;    ///< How many one of text takes, 1 or more; its number is that of the first of them.
};

/// Gives the rows of a cue the numbers, columns and anchors that put them where a box does on a screen. More rows than it
/// has get no numbers. Cue::box stays as it is.
QLX_EXPORT void placeRows(Cue& cue, const Box& box, const ScreenGrid& grid = {});

}  // namespace qlx::subtitles
