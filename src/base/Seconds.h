// Numbers of seconds and times.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <array>
#include <cmath>
#include <cstdint>

namespace qlx {

/// The time in seconds, as near as a double is.
[[nodiscard]] constexpr double secondsOf(const MediaTime& time) noexcept {
    return static_cast<double>(time.value) / time.timescale;
}

/// The time of a number of seconds, in the first of some timescales that has it: milliseconds, then those of frames and
/// of clocks. Rounded to nanoseconds where none has (to the last that 64 bits have room for), and flagged so; not valid
/// for what is no number, or does not fit as milliseconds.
[[nodiscard]] inline MediaTime timeOfSeconds(double seconds) noexcept {
    constexpr std::array<std::int32_t, 5> kTimescales{1000, 120'000, 90'000, 1'000'000, 1'000'000'000};
    constexpr double kLimit = 9.2e18;
    MediaTime time;
    for (const std::int32_t timescale : kTimescales) {
        const double units = seconds * timescale;
        if (!(std::abs(units) < kLimit)) {
            break;
        }
        time = MediaTime::make(std::llround(units), timescale);
        if (secondsOf(time) == seconds) {
            return time;
        }
    }
    time.flags |= time.isValid() ? MediaTime::kHasBeenRounded : 0U;
    return time;
}

}  // namespace qlx
