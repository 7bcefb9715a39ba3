// The cues of a container's text track.
#pragma once

#include "cues/CueInput.h"

#include <qlx/streams/text_tracks.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// Why those of a pipe are not looked for.
inline constexpr std::string_view kTracksNotLookedFor =
    "text tracks are not looked for: it could not be read again from its beginning";

/// The text tracks of a file, which is at its beginning again then; none where they cannot be found.
/// @param kind One that mayHaveTextTracks().
[[nodiscard]] std::vector<streams::TextTrack> textTracksOf(InputFile& file, InputKind kind);

/// `1 (tx3g, deu), 2 (wvtt, eng)`, ten of them and how many more there are.
/// @param leftOut One that is not named.
[[nodiscard]] std::string tracksInWords(const std::vector<streams::TextTrack>& tracks,
                                        std::optional<std::size_t> leftOut = std::nullopt);

/// Whether a file has a text track that can be read, and nothing with frames beside it.
/// @return False, too, of what cannot be read again.
[[nodiscard]] bool hasOnlyTextTracks(const std::string& path, InputKind kind);

/// Reads the text track of a file that CueRequest::track names, or the first one that can be read. The others are named.
/// @param kind One that mayHaveTextTracks().
/// @return False when the file has none and none is asked for; it is at its beginning again then.
/// @throws Failure when reading ends before the end; UsageError when there is no such track.
[[nodiscard]] bool readTrackAsCues(InputFile& file, InputKind kind, const CueRequest& request, CueInput& input,
                                   CueInputNotes& notes, const TakeCue& take);

}  // namespace qlx::tool
