// The frame rate of files by the times of their first frames; transport streams have teletext in frames of its own.
#pragma once

#include "io/Frame.h"

#include <qlx/base/frame_rate.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace qlx::tool {

/// A transport stream has its teletext in frames of its own, between those of its pictures: as many tell its rate.
inline constexpr std::size_t kFramesThatTellRate = 64;

/// Whether a frame has teletext and nothing else: of a transport stream, beside those of its pictures.
[[nodiscard]] bool isTeletextAlone(const Frame& frame);

/// The rate of a transport stream by the times of its first frames: that of its pictures; else that of its teletext, which
/// belongs to 25 or 50 frames a second; none where neither says it.
[[nodiscard]] std::optional<FrameRate> rateOfTransport(const std::vector<Frame>& first);

/// The rate of two frames' times, which may be rounded to their scale; none where several are as near as that.
[[nodiscard]] std::optional<FrameRate> rateOfTimes(const Frame& firstFrame, const Frame& secondFrame);

}  // namespace qlx::tool
