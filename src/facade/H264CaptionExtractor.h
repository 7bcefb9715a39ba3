// Caption user data in an H.264 access unit (ATSC A/53 Part 4 in registered SEI user data). The user identifier is
// looked for in SEI NAL units as such; SEI headers are not parsed, and emulation prevention bytes stay.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include "video/VideoStreamKernels.h"

#include <cstdint>
#include <span>

namespace qlx::h264 {

using Bytes = std::span<const std::uint8_t>;

/// True for at least 5 bytes that begin with the long start code 00 00 00 01.
[[nodiscard]] bool beginsWithLongStartCode(Bytes accessUnit) noexcept;

/// The triplets of an access unit in Annex B form, or none. One that does not begin with the long start code is walked
/// by 32-bit lengths.
[[nodiscard]] Data tripletsInAnnexB(Bytes accessUnit, const videostream::Kernels& kernels = videostream::kernels());

/// The triplets of an access unit whose NAL units stand each behind a 32-bit length, or none.
[[nodiscard]] Data tripletsInLengthPrefixed(Bytes accessUnit,
                                            const videostream::Kernels& kernels = videostream::kernels());

}  // namespace qlx::h264
