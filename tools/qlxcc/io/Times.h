// Times on the command line and in listings.
#pragma once

#include "io/Rates.h"

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::tool {

/// The longest time that the tool works with: 1000 hours. It keeps frame numbers and times exact.
inline constexpr double kLongestTimeInSeconds = 1000.0 * 3600.0;

/// The seconds of `10.5`, `00:00:10,500` or `00:00:10.500` (the milliseconds may be left out); none when the text is
/// anything else, or a longer time than kLongestTimeInSeconds.
[[nodiscard]] std::optional<double> parseTime(std::string_view text) noexcept;

/// A timecode with frames: `00:00:10:12`, or `00:00:10;12` in drop-frame counting.
struct FrameTimecode {
    std::uint32_t minutes = 0;  ///< With the hours.
    std::uint32_t seconds = 0;
    std::uint32_t frames = 0;
    bool isDropFrame = false;
};

/// None when the text has another form. Whether there is such a frame is the matter of timeInSeconds().
[[nodiscard]] std::optional<FrameTimecode> parseFrameTimecode(std::string_view text) noexcept;

/// The number of the frame that a timecode names, counted from 0.
/// @param text The timecode as it was given, for messages.
/// @throws UsageError where a second of the rate has fewer frames, or the number is left out in drop-frame counting.
[[nodiscard]] std::uint64_t frameOf(std::string_view text, const FrameTimecode& time, const Rate& rate);

/// The seconds of a TIME in any of its forms; a timecode with frames gives the time of the frame that it names
/// (SMPTE ST 12-1): those of 29.97 frames a second count 30 of them in a second, so that non-drop-frame ones fall
/// behind the clock.
/// @param rate What the frames of a timecode are counted in; null where none is given.
/// @throws UsageError that says why the text is no TIME.
[[nodiscard]] double timeInSeconds(std::string_view text, const Rate* rate);

/// The same of a TIME that may have a `-` in front: files may have frames in front of the one at 0.
[[nodiscard]] double signedTimeInSeconds(std::string_view text, const Rate* rate);

/// A time as lists show it: rounded to the nearest millisecond, of two that are as near to the later one.
struct ShownTime {
    bool isNegative = false;
    std::uint64_t seconds = 0;  ///< Without the sign, as the milliseconds are.
    std::uint32_t milliseconds = 0;

    /// Both with the sign; the nearest double, as parseTime() gives it for the same time.
    [[nodiscard]] double inSeconds() const noexcept;
};

/// @param time Valid, with a timescale above 0.
[[nodiscard]] ShownTime shownTime(const MediaTime& time) noexcept;

/// Seconds in whole milliseconds, rounded in the same way; at most 1e12 seconds either way.
[[nodiscard]] MediaTime millisecondsFrom(double seconds) noexcept;

/// Whether a frame's time is at a moment or in front of it, by itself or as it is shown: whoever gives back a time from
/// a list means the frame that it stands at.
/// @param moment In seconds, as TIME on the command line says it.
[[nodiscard]] bool isReached(double moment, const MediaTime& time) noexcept;

/// The number of the first frame whose time is `moment` or later, by itself or as it is shown; 0 for a negative moment.
/// @param moment In seconds, at most kLongestTimeInSeconds.
[[nodiscard]] std::uint64_t firstFrameFrom(const Rate& rate, double moment) noexcept;

/// `00:00:10,500`: the form of SRT files and of parseTime(); `-00:00:10,500` in front of 0. It is rounded: shownTime().
[[nodiscard]] std::string timecode(const MediaTime& time);

/// The same in a column of a list, where every time has room for its sign.
[[nodiscard]] std::string timecodeColumn(const std::optional<MediaTime>& time);

/// The SMPTE ST 12-1 timecode of a frame: `00:01:00;02` in drop-frame counting, which at 29.97 frames a second leaves
/// out the numbers 0 and 1 of every minute but each tenth (at 59.94 those to 3), or `00:00:59:28`, which counts on.
/// @param isDropFrame Only where hasDropFrame(rate).
[[nodiscard]] std::string timecodeOfFrame(std::uint64_t frame, const Rate& rate, bool isDropFrame);

/// The same at 29.97 frames a second; none from 24 hours on.
[[nodiscard]] std::optional<std::string> timecodeAt2997(std::uint64_t frame, bool isDropFrame);

}  // namespace qlx::tool
