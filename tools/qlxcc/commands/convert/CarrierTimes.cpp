#include "commands/convert/CarrierTimes.h"

#include "streams/TransportRate.h"

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

std::optional<FrameRate> rateOfBeginning(InputKind kind, const std::vector<Frame>& first) {
    if (kind == InputKind::Scc) {
        return FrameRate::Fps2997;
    }
    if (kind == InputKind::TransportStream) {
        return rateOfTransport(first);
    }
    if (first.empty() || !first[0].pts) {
        return std::nullopt;
    }
    // A time of a timecode has the duration of its frames as its scale.
    const auto own = frameRateOfDuration(frameDurationOf(*first[0].pts));
    return kind == InputKind::Mcc && own      ? own
           : first.size() > 1 && first[1].pts ? rateOfTimes(first[0], first[1])
                                              : std::nullopt;
}

void keepCounting(const std::optional<cc::TimeCodeCounting>& own, FrameOutputOptions& frames) {
    if (own && cc::mayDropFrames(own->rate)) {
        frames.scc.dropsFrames = own->dropsFrames;
        frames.mcc.dropsFrames = own->dropsFrames;
    }
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
