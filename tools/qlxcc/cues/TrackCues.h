// The cues of a container's text track.
#pragma once

#include "cues/CueInput.h"

#include <qlx/streams/text_tracks.h>

#include <vector>

namespace qlx::tool {

/// The text tracks of a file, which is at its beginning again then; none where they cannot be found.
/// @param kind One that mayHaveTextTracks().
[[nodiscard]] std::vector<streams::TextTrack> textTracksOf(InputFile& file, InputKind kind);

/// Reads the text track of a file that CueRequest::track names, or the first one that can be read. The others are named.
/// @param kind One that mayHaveTextTracks().
/// @return False when the file has none and none is asked for; it is at its beginning again then.
/// @throws Failure when reading ends before the end; UsageError when there is no such track.
[[nodiscard]] bool readTrackAsCues(InputFile& file, InputKind kind, const CueRequest& request, CueInput& input,
                                   CueInputNotes& notes, const TakeCue& take);

}  // namespace qlx::tool
