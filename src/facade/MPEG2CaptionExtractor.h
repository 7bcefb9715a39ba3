// Caption user data in MPEG-2 video (ATSC A/53 Part 4 in picture user data).
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include "video/VideoStreamKernels.h"

#include <cstdint>
#include <span>

namespace qlx::mpeg2 {

/// The triplets behind the first user identifier, or none. Start codes and the type code are not looked at, as
/// deployed hosts expect; process_cc_data_flag must be set.
[[nodiscard]] Data captionTriplets(std::span<const std::uint8_t> video,
                                   const videostream::Kernels& kernels = videostream::kernels());

}  // namespace qlx::mpeg2
