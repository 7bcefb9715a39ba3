#include <qlx/subtitles/times.h>

#include <limits>

namespace qlx::subtitles {

std::int64_t unitsOf(const MediaTime& time, std::int32_t unitsPerSecond) noexcept {
    if (!time.isValid() || time.timescale <= 0 || unitsPerSecond <= 0) {
        return 0;
    }
    constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
    const std::int64_t scale = time.timescale;
    const bool isBelow = time.value % scale < 0;
    const std::int64_t seconds = time.value / scale - (isBelow ? 1 : 0);
    const std::int64_t rest = time.value % scale + (isBelow ? scale : 0);
    if (seconds >= kGreatest / unitsPerSecond || seconds <= -kGreatest / unitsPerSecond) {
        return seconds < 0 ? std::numeric_limits<std::int64_t>::min() : kGreatest;
    }
    // Both factors are below 2^31.
    return seconds * unitsPerSecond + (rest * unitsPerSecond + scale / 2) / scale;
}

UnitSpan spanIn(const Cue& cue, std::int32_t unitsPerSecond) noexcept {
    UnitSpan span{unitsOf(cue.start, unitsPerSecond), unitsOf(cue.end, unitsPerSecond)};
    if (span.end <= span.start) {
        span.isLengthened = true;
        const bool isGreatest = span.start == std::numeric_limits<std::int64_t>::max();
        span.start -= isGreatest ? 1 : 0;
        span.end = span.start + 1;
    }
    return span;
}

}  // namespace qlx::subtitles
