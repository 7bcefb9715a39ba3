// Cues that are shown at the same time.
//
//     // All that begin in a frame; a channel shows one caption at a time.
//     playout.add(qlx::subtitles::shownTogether(cues));
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/subtitles/cue.h>

#include <span>

namespace qlx::subtitles {

/// Cues that are shown at the same time as one cue, which is what a decoder of captions shows of a channel: from the
/// start of the first to the last of their ends. It has what else is said of the first; language, region and box only
/// where all have the same.
///
/// Its rows stand from the top down, whatever the order of the cues is. Where some of the cues name rows and some do
/// not, those get the rows of their place (Row::anchor) on the same screen. Cues that name rows of different screens
/// (Cue::screenRows) come to the 11 of a page, and columns to the widest of their screens. Where two cues name the same
/// row, the rows of each cue stay together, the cue whose first row is higher in front: who shows them moves the others
/// down, and says so. Where none names rows those at the top are in front and those at the bottom behind, each with its own
/// place.
///
/// No cues give an empty cue.
[[nodiscard]] QLX_EXPORT Cue shownTogether(std::span<const Cue> cues);

}  // namespace qlx::subtitles
