#include "streams/TransportRate.h"

#include <qlx/base/frame_rate.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

namespace qlx::tool {

bool isTeletextAlone(const Frame& frame) {
    return !frame.teletext.empty() && frame.packets.empty() && frame.triplets.empty();
}

namespace {

/// The least time between two successive frames of pictures.
std::optional<double> leastDistance(const std::vector<Frame>& frames) {
    std::optional<double> least;
    std::optional<double> last;
    for (const Frame& frame : frames) {
        if (!frame.pts || isTeletextAlone(frame)) {
            continue;
        }
        const double time = secondsFrom(*frame.pts);
        if (last && time > *last) {
            least = std::min(least.value_or(time - *last), time - *last);
        }
        last = time;
    }
    return least;
}

bool isDuration(double seconds, FrameRate rate) {
    // Frames of 59.94 and of 60 a second are as little apart as this, and a tick of 90 kHz is less.
    constexpr double kNear = 1.5e-5;
    return std::abs(secondsFrom(frameDuration(rate)) - seconds) < kNear;
}

/// Whether teletext stands in the middle between frames of 25 a second, counted from the first one's time: times may be some
/// milliseconds beside those of their frames, and one alone may be far from them.
bool isBetweenFramesOf25(const std::vector<Frame>& frames) {
    constexpr double kFrame = 0.040;
    constexpr double kQuarter = kFrame / 4;
    constexpr std::size_t kFewest = 8;
    std::optional<double> first;
    std::size_t count = 0;
    std::size_t between = 0;
    for (const Frame& frame : frames) {
        if (frame.pts && isTeletextAlone(frame)) {
            const double time = secondsFrom(*frame.pts);
            first = first.value_or(time);
            const double away = std::abs(std::remainder(time - *first, kFrame));
            ++count;
            between += away > kQuarter ? 1 : 0;
        }
    }
    return between * kFewest >= count && between > 0;
}

}  // namespace

std::optional<FrameRate> rateOfTransport(const std::vector<Frame>& first) {
    if (const auto distance = leastDistance(first)) {
        const auto* const found = std::find_if(std::begin(kFrameRates), std::end(kFrameRates),
                                               [&](FrameRate rate) { return isDuration(*distance, rate); });
        return found == std::end(kFrameRates) ? std::nullopt : std::optional(*found);
    }
    if (std::none_of(first.begin(), first.end(), isTeletextAlone)) {
        return std::nullopt;
    }
    return isBetweenFramesOf25(first) ? FrameRate::Fps50 : FrameRate::Fps25;
}

std::optional<FrameRate> rateOfTimes(const Frame& firstFrame, const Frame& secondFrame) {
    const MediaTime& first = *firstFrame.pts;
    const MediaTime& second = *secondFrame.pts;
    // A list of frames need not have those without packets.
    const double frames =
        secondFrame.number > firstFrame.number ? static_cast<double>(secondFrame.number - firstFrame.number) : 1.0;
    const double seconds = (secondsFrom(second) - secondsFrom(first)) / frames;
    const double rounding = 0.501 / std::min(first.timescale, second.timescale) / frames;
    std::optional<FrameRate> found;
    bool isOneOfSeveral = false;
    for (const FrameRate rate : kFrameRates) {
        const double away = std::abs(secondsFrom(frameDuration(rate)) - seconds);
        constexpr double kSame = 1e-9;
        if (away < kSame) {
            return rate;
        }
        if (away <= rounding) {
            isOneOfSeveral = found.has_value();
            found = rate;
        }
    }
    return isOneOfSeveral ? std::nullopt : found;
}

}  // namespace qlx::tool
