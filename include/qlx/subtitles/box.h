// Boxes of cues as rows and columns of a screen.
//
//     if (cue.box) {
//         qlx::subtitles::placeRows(cue, *cue.box);
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/subtitles/cue.h>

namespace qlx::subtitles {

/// Where text stands that nothing places: in the part of the picture that each receiver shows, at its lower edge
/// (CTA-608-E: the inner 80 % of width and height).
inline constexpr Box kSafeBox{10, 10, 80, 80, BoxEdge::Bottom};

/// Gives the rows of a cue the numbers, columns and anchors that put them where a box does: on a grid of 15 rows and 32
/// columns in the inner 80 % of the picture, as CTA-608-E has it. More rows than 15 get no numbers. Cue::box stays as it is.
QLX_EXPORT void placeRows(Cue& cue, const Box& box);

}  // namespace qlx::subtitles
