// What WebVTT tracks have in front of their cues.
#pragma once

#include <qlx/streams/byte_source.h>

#include <optional>
#include <string>
#include <vector>

namespace qlx::streams::detail {

/// The heads of the `wvtt` tracks of an ISO file, in the order of the tracks: the text of their `vttC` boxes (ISO/IEC
/// 14496-30), empty where there is none. Demuxers do not give them.
/// @param source At its beginning, where it stands afterwards as well; of a pipe the bytes that can be peeked at are read.
/// @return None where not all tracks could be looked at: their boxes are damaged, or not among those bytes.
[[nodiscard]] std::optional<std::vector<std::string>> webVttHeads(ByteSource& source);

}  // namespace qlx::streams::detail
