// Caption triplets spread over two frames of the double rate, or joined from two.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <cstdint>
#include <span>

namespace qlx::captionframerates {

using Bytes = std::span<const std::uint8_t>;

struct Halves {
    Data first;
    Data second;
};

/// Field 1 and at most ccCount - 1 DTVCC triplets to the first half, field 2 and the rest to the second; each is
/// padded to `ccCount` triplets.
[[nodiscard]] Halves split(Bytes dtvcc, Bytes field1, Bytes field2, std::uint8_t ccCount);

/// Both fields, then the DTVCC triplets of both frames, padded to `ccCount` triplets.
[[nodiscard]] Data join(Bytes firstDTVCC, Bytes secondDTVCC, Bytes field1, Bytes field2, std::uint8_t ccCount);

}  // namespace qlx::captionframerates
