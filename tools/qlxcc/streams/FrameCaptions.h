// The captions of a frame, wherever they are.
#pragma once

#include "streams/Frame.h"

#include <QLXClosedCaptionsUtilities/platform/Data.h>

namespace qlx::tool {

/// The cc_data triplets of a frame: those that came with the picture, else those of its first CEA-708 packet that is a
/// CDP with caption data, else the pairs of its CEA-608 packets as triplets. None without any.
[[nodiscard]] Data captionTriplets(const Frame& frame);

}  // namespace qlx::tool
