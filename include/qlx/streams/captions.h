// The captions of a frame, wherever they are.
//
//     const qlx::Data triplets = qlx::streams::captionTriplets(frame);
//     if (triplets) { use(triplets.size() / 3); }
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <qlx/streams/export.h>
#include <qlx/streams/frame.h>

namespace qlx::streams {

/// The cc_data triplets of a frame: those that came with the picture, else those of its first CDP (SMPTE ST 334-2) with
/// caption data, else the pairs of its CEA-608 packets (SMPTE ST 334-1) as triplets. None without any.
[[nodiscard]] QLX_STREAMS_EXPORT Data captionTriplets(const Frame& frame);

}  // namespace qlx::streams
