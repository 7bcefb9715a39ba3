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
    bool isWhole = true;       ///< Its boxes could be looked at; else nothing else is said of it.
    /// The text of the `vttC` box of a `wvtt` track (ISO/IEC 14496-30), empty where it has none; none for other tracks.
    std::optional<std::string> webVttHead;
    std::vector<Edit> edits;  ///< None: the media is shown as it is.
    /// How long the last sample lasts, in units of the media; none where the index does not say.
    std::optional<std::uint32_t> lastDuration;
};

struct TextBoxes {
    std::int32_t timescale = 1;  ///< Units of the movie in a second.
    std::vector<TrackBoxes> tracks;
    bool hasFragments = false;  ///< There may be samples that the index does not have.
};

/// Reads the boxes of an ISO file.
/// @param source At its beginning, where it stands afterwards as well; of a pipe the bytes that can be peeked at are read.
/// @return None where not all tracks could be found: boxes around them are damaged, or not among those bytes. A track is not
///   whole where boxes within it are damaged, an edit list has more than 1,000 entries, or one that says another rate than
///   the standard has (8.6.6.3: 0 or 1).
[[nodiscard]] std::optional<TextBoxes> textBoxesOf(ByteSource& source);

/// How long the last sample of a track lasts that is in a fragment, in units of the media (8.8.7, 8.8.8).
/// @param source Stands anywhere, and does so afterwards.
/// @return None where no fragment has samples of it, they do not say, or the source is a pipe.
[[nodiscard]] std::optional<std::uint32_t> lastFragmentDuration(ByteSource& source, std::uint32_t track);

}  // namespace qlx::streams::detail
