// When cues of the media of a track are shown.
#pragma once

#include "TextBoxes.h"
#include "TextSamples.h"

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <qlx/subtitles/cue.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams::detail {

/// The edit list of a track (ISO/IEC 14496-12, 8.6.6).
class EditList {
public:
    /// All of the media is shown as it is.
    EditList() = default;

    /// @param edits None: the same.
    /// @param movieScale Units of the movie in a second.
    /// @param mediaScale The same of the media.
    EditList(std::span<const Edit> edits, std::int32_t movieScale, std::int32_t mediaScale);

    /// Whether all of the list is followed, and not times in it that no file has.
    [[nodiscard]] bool isWhole() const noexcept { return _isWhole; }

    /// Gives a cue of the media as often as it is shown. One goes on over edits that are one piece of the media.
    /// @return Whether it is shown at all.
    bool apply(const subtitles::Cue& cue, const TakeSampleCue& take) const;

private:
    /// What is shown in one go.
    struct Piece {
        MediaTime begin;               ///< In the media.
        std::optional<MediaTime> end;  ///< The same; none: all that there is.
        /// From there on a time is one behind the piece, and up to there one in front of the next: the units of the movie
        /// may be coarser than those of the media.
        MediaTime behind;
        MediaTime near;
        MediaTime shift;       ///< From the media to what is shown.
        bool isStill = false;  ///< What is shown at `begin` is shown all the time.
    };

    void add(const Piece& piece, bool isNext);

    std::optional<std::vector<Piece>> _pieces;
    bool _isWhole = true;
};

/// Leaves out what of a cue appears when it is over already, and has what appears before its start with it.
/// @return Whether something is left.
[[nodiscard]] bool fitRuns(subtitles::Cue& cue);

}  // namespace qlx::streams::detail
