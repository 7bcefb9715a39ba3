// Subtitles on their way between the core's value and the class of the fixed operations.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/subtitles/cue.h>

#include <memory>

class QLXSubtitleRecord;

namespace qlx::facade {

/// A record as a value: number, times, and a row of each line with its text, colour, bold, italics, underline, row,
/// place and alignment. Times become what qlx::subtitles::cueOf() makes of a number of seconds, and are not valid where
/// that is none; a colour that is none is white, an alignment that is none Unchanged, a place that is none 0. The mode
/// of a record has no place there, nor whether it is valid.
///
///     const qlx::Dictionary dictionary = qlx::subtitles::dictionaryOf(qlx::facade::toCue(*record));
[[nodiscard]] QLX_EXPORT subtitles::Cue toCue(const QLXSubtitleRecord& record);

/// A valid record of mode 0 of a value. A line has one style, that of the row's first run, and the nearest of the eight
/// colours that teletext has (black is number 0). Backgrounds and flashing have no place there; times that are none are
/// not a number.
[[nodiscard]] QLX_EXPORT std::shared_ptr<QLXSubtitleRecord> toRecord(const subtitles::Cue& cue);

}  // namespace qlx::facade
