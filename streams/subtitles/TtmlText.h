// The text of a TTML paragraph as cues: white space, rows, and spans that come and go.
#pragma once

#include "TtmlStyles.h"

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace qlx::streams::detail {

/// A part of a paragraph: text, or a `br`.
struct TextPiece {
    std::string_view text;         ///< The document's.
    std::size_t look = 0;          ///< Its place among the looks.
    bool isBreak = false;          ///< It ends the row.
    bool keepsSpace = false;       ///< `xml:space="preserve"`
    MediaTime begin;               ///< When it appears.
    std::optional<MediaTime> end;  ///< When it goes; none: nothing says.
    bool isAgain = false;          ///< The same text is shown before, and looks otherwise.
};

/// What a `set` changes of what it is in (TTML2, 13).
struct Animation {
    MediaTime begin;
    std::optional<MediaTime> end;  ///< None: with what it is in.
    StyleSet styles{};
};

/// The moments from `begin` to `end` at which animations begin or end, in their order; not those two.
[[nodiscard]] std::vector<MediaTime> momentsOf(std::span<const Animation> animations, const MediaTime& begin,
                                               const std::optional<MediaTime>& end);

/// Nothing is seen before `begin`, and behind `end`, where there is one.
void clipPieces(std::vector<TextPiece>& pieces, const MediaTime& begin, const std::optional<MediaTime>& end);

/// When pieces are shown. None where there is no text.
/// @param end Where what has them ends; none: nothing says.
/// @return Begin and end; the end is not valid where nothing says.
[[nodiscard]] std::optional<std::pair<MediaTime, MediaTime>> shownSpan(const std::vector<TextPiece>& pieces,
                                                                       const std::optional<MediaTime>& end);

/// The rows of pieces: white space becomes one space, and none at the ends of rows, where it is not to be kept (TTML2,
/// 8.1.1, by the rules of XSL).
/// @param withTimes Whether runs get the times of pieces that appear later than `begin`.
/// @return Rows with runs; empty where there is no text.
[[nodiscard]] std::vector<subtitles::Row> rowsOf(const std::vector<const TextPiece*>& pieces,
                                                 const std::vector<Look>& looks, bool withTimes,
                                                 const MediaTime& begin);

/// A span of time in which the same is shown.
using TakeRows = std::function<void(const MediaTime& begin, const MediaTime& end, std::vector<subtitles::Row> rows)>;

/// Gives the rows of a paragraph from `begin` to `end`: once, or once for each moment at which they change.
/// @param mostTimes At which they may; with more of them everything appears with the paragraph.
/// @param mostBytes That may be copied for it, which gets what is left of them; where that is too little, the same.
/// @param bytesOfCue That a cue takes besides its rows.
/// @return At how many times they change; above `mostTimes` they were passed over.
std::size_t splitByTimes(const std::vector<TextPiece>& pieces, const std::vector<Look>& looks, const MediaTime& begin,
                         const MediaTime& end, std::size_t mostTimes, std::size_t& mostBytes, std::size_t bytesOfCue,
                         const TakeRows& take);

}  // namespace qlx::streams::detail
