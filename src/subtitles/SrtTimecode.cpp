#include "subtitles/SrtTimecode.h"

#include "subtitles/SrtCue.h"
#include "subtitles/TextEditing.h"

#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace qlx::srt {

namespace {

constexpr double kMillisecondsPerSecond = 1000.0;
constexpr double kSecondsPerMinute = 60.0;
constexpr double kSecondsPerHour = 3600.0;

/// The number of times that `separator` splits `text`, plus one.
std::ptrdiff_t partCount(std::string_view text, char separator) {
    return std::count(text.begin(), text.end(), separator) + 1;
}

/// An integer part of a timecode. As a double: hours near the limit of 64 bits must not overflow as seconds.
double numberIn(std::string_view text) {
    return static_cast<double>(integerValue(text));
}

/// `value` truncated toward zero, limited to 64 bits; 0 for negative values and not-a-number.
std::uint64_t truncated(double value) {
    if (!(value > 0)) {
        return 0;
    }
    constexpr auto kMax = std::numeric_limits<std::uint64_t>::max();
    return value >= std::ldexp(1.0, 64) ? kMax : static_cast<std::uint64_t>(value);
}

}  // namespace

double secondsFromTimecode(std::string_view timecode) noexcept {
    if (partCount(timecode, ',') != 2) {
        return 0.0;
    }
    std::string_view clock = subtitles::takePart(timecode, ',');
    if (partCount(clock, ':') != 3) {
        return 0.0;
    }
    const double hours = numberIn(subtitles::takePart(clock, ':'));
    const double minutes = numberIn(subtitles::takePart(clock, ':'));
    const double seconds = numberIn(clock);
    return numberIn(timecode) / kMillisecondsPerSecond +
           (hours * kSecondsPerHour + minutes * kSecondsPerMinute + seconds);
}

std::string timecodeFromSeconds(double seconds) {
    const double all = seconds > 0 ? seconds : 0.0;
    const double hours = std::floor(all / kSecondsPerHour);
    const double withinHour = all - hours * kSecondsPerHour;
    const double minutes = std::floor(withinHour / kSecondsPerMinute);
    const double withinMinute = withinHour - minutes * kSecondsPerMinute;
    const double wholeSeconds = std::floor(withinMinute);
    const double milliseconds = (withinMinute - wholeSeconds) * kMillisecondsPerSecond;
    return formatted("%02lu:%02lu:%02lu,%03lu", truncated(hours), truncated(minutes), truncated(wholeSeconds),
                     truncated(milliseconds));
}

std::string timecodeOf(const MediaTime& time) {
    constexpr std::int64_t kMilliseconds = 1000;
    if (!time.isValid() || time.timescale <= 0 || time.value < 0) {
        return timecodeFromSeconds(0.0);
    }
    const std::int64_t rest = time.value % time.timescale * kMilliseconds + time.timescale / 2;
    const std::int64_t milliseconds = rest / time.timescale;
    const std::int64_t seconds = time.value / time.timescale + milliseconds / kMilliseconds;
    return formatted("%02ld:%02ld:%02ld,%03ld", seconds / 3600, seconds / 60 % 60, seconds % 60,
                     milliseconds % kMilliseconds);
}

std::optional<TimeSpan> timeSpanFromTimingLine(std::string_view line) noexcept {
    const auto sides = sidesOfArrow(line);
    if (!sides) {
        return std::nullopt;
    }
    // What stands behind the end is a part of it here.
    return TimeSpan{secondsFromTimecode(sides->before), secondsFromTimecode(sides->behind)};
}

}  // namespace qlx::srt
