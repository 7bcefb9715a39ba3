// Frame rates by the names that people give them.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <qlx/base/frame_rate.h>
#include <qlx/cc/time_code.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qlx::tool {

/// A frame rate: its name and the duration of a frame, `value` / `timescale` seconds.
struct Rate {
    std::string_view name;
    std::int64_t value = 0;
    std::int32_t timescale = 0;

    [[nodiscard]] constexpr MediaTime frameDuration() const noexcept { return MediaTime::make(value, timescale); }

    /// The presentation time of frame `frame`, counted from 0.
    [[nodiscard]] constexpr MediaTime timeOfFrame(std::uint64_t frame) const noexcept {
        return MediaTime::make(static_cast<std::int64_t>(frame) * value, timescale);
    }
};

/// A rate of the library by its name.
[[nodiscard]] constexpr Rate namedRate(std::string_view name, FrameRate rate) noexcept {
    const MediaTime duration = frameDuration(rate);
    return {name, duration.value, duration.timescale};
}

/// The rates of television and cinema, in the order of kFrameRates; the fractional ones are the exact 1000/1001 rates that
/// their names round.
inline constexpr std::array<Rate, 8> kRates{{
    namedRate("23.976", FrameRate::Fps23976),
    namedRate("24", FrameRate::Fps24),
    namedRate("25", FrameRate::Fps25),
    namedRate("29.97", FrameRate::Fps2997),
    namedRate("30", FrameRate::Fps30),
    namedRate("50", FrameRate::Fps50),
    namedRate("59.94", FrameRate::Fps5994),
    namedRate("60", FrameRate::Fps60),
}};

/// The rate called `name`, which is also known by the quotient of its frames and seconds (30000/1001, 25/1) and, at
/// 23.976, as 23.98.
[[nodiscard]] std::optional<Rate> rateNamed(std::string_view name) noexcept;

/// The same as the library has it; one of kRates.
[[nodiscard]] constexpr FrameRate frameRateOf(const Rate& rate) noexcept {
    return frameRateOfDuration(rate.frameDuration()).value_or(FrameRate::Fps25);
}

/// The frames that a timecode counts in a second: 30 at 29.97.
[[nodiscard]] constexpr std::uint32_t nominalFrames(const Rate& rate) noexcept {
    return nominalFramesPerSecond(frameRateOf(rate));
}

/// Whether drop-frame timecodes (SMPTE ST 12-1) count this rate's frames: 29.97 and 59.94.
[[nodiscard]] constexpr bool hasDropFrame(const Rate& rate) noexcept {
    return cc::mayDropFrames(frameRateOf(rate));
}

/// The number of the first frame whose time is `seconds` or later; 0 for a negative time. This is also the number of
/// frames that begin before `seconds`.
/// @param seconds At most kLongestTimeInSeconds.
[[nodiscard]] std::uint64_t firstFrameAtOrAfter(const Rate& rate, double seconds) noexcept;

}  // namespace qlx::tool
