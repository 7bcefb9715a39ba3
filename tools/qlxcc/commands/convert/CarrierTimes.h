// The times of frames that go from one file of frames to another one.
#pragma once

#include "cues/CueTimes.h"
#include "io/Frame.h"
#include "io/FrameOutput.h"
#include "io/FrameSource.h"

#include <qlx/base/frame_rate.h>
#include <qlx/cc/time_code.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace qlx::tool {

/// The duration of a frame whose time is that many of it: 1001/30000 for a scale of 30000.
[[nodiscard]] MediaTime frameDurationOf(const MediaTime& time);

/// The time of a frame, counted from 0.
[[nodiscard]] MediaTime pictureTime(std::uint64_t number, FrameRate rate);

/// The rate of a file of frames, as its first ones say it; none where they do not.
[[nodiscard]] std::optional<FrameRate> rateOfBeginning(InputKind kind, const std::vector<Frame>& first);

/// Timecodes that are written count as those that are read, where these say whether numbers are dropped.
/// @param own How those count; none: there are none.
void keepCounting(const std::optional<cc::TimeCodeCounting>& own, FrameOutputOptions& frames);

/// How many frames a time is behind the beginning of what is written.
/// @param change Without a scale.
[[nodiscard]] double framesUpTo(const MediaTime& time, const TimeChange& change, FrameRate rate);

/// The frame that is as many behind the beginning; none in front of it. What is half a frame behind one, as is its second
/// field, belongs to it, and not to the next one here and there.
[[nodiscard]] std::optional<std::uint64_t> frameAt(double frames);

}  // namespace qlx::tool
