// What the index of an ISO file says of text tracks that demuxers do not give.
#pragma once

#include <qlx/streams/byte_source.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::streams::detail {

/// A piece of its media that a track shows, or a stretch in which it shows nothing (ISO/IEC 14496-12, 8.6.6).
struct Edit {
    std::int64_t mediaTime = 0;  ///< In units of the media; below 0: nothing is shown.
    std::uint64_t duration = 0;  ///< In units of the movie; 0 of the last one: up to the end of the media.
    bool isStill = false;        ///< The moment `mediaTime` is shown all the time.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Edit&, const Edit&) = default;
};

struct TrackBoxes {
    std::uint32_t number = 0;  ///< `track_ID`
    /// The text of the `vttC` box of a `wvtt` track (ISO/IEC 14496-30), empty where it has none; none for other tracks.
    std::optional<std::string> webVttHead;
    std::vector<Edit> edits;  ///< None: the media is shown as it is.
};

struct TextBoxes {
    std::int32_t timescale = 1;  ///< Units of the movie in a second.
    std::vector<TrackBoxes> tracks;
};

/// Reads the boxes of an ISO file.
/// @param source At its beginning, where it stands afterwards as well; of a pipe the bytes that can be peeked at are read.
/// @return None where not all tracks could be looked at: their boxes are damaged, or not among those bytes, or an edit list
///   has more than 1,000 entries.
[[nodiscard]] std::optional<TextBoxes> textBoxesOf(ByteSource& source);

}  // namespace qlx::streams::detail
