#include "commands/convert/CarrierTimes.h"

#include <algorithm>
#include <cmath>

namespace qlx::tool {

MediaTime frameDurationOf(const MediaTime& time) {
    constexpr std::int64_t kFractional = 1001;
    return MediaTime::make(time.timescale >= 1000 ? kFractional : 1, time.timescale);
}

MediaTime pictureTime(std::uint64_t number, FrameRate rate) {
    const MediaTime duration = frameDuration(rate);
    return MediaTime::make(static_cast<std::int64_t>(number) * duration.value, duration.timescale);
}

double framesUpTo(const MediaTime& time, const TimeChange& change, FrameRate rate) {
    const auto minus = [](const MediaTime& value) { return MediaTime::make(-value.value, value.timescale); };
    MediaTime changed = change.fromStart ? add(time, minus(*change.fromStart)) : time;
    changed = change.offset ? add(changed, *change.offset) : changed;
    changed = change.toStart ? add(changed, *change.toStart) : changed;
    const MediaTime duration = frameDuration(rate);
    return secondsFrom(changed) * duration.timescale / static_cast<double>(duration.value);
}

std::optional<std::uint64_t> frameAt(double frames) {
    constexpr double kHalf = 0.5 + 1e-6;
    return frames > -0.5 ? std::optional(static_cast<std::uint64_t>(std::ceil(std::max(frames, kHalf) - kHalf)))
                         : std::nullopt;
}

}  // namespace qlx::tool
