// The timecodes of SRT files, "HH:MM:SS,mmm".
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <optional>
#include <string>
#include <string_view>

namespace qlx::srt {

/// The time span of a timing line, in seconds.
struct TimeSpan {
    double start = 0;
    double end = 0;
};

/// The seconds of "HH:MM:SS,mmm"; 0 when the text has another number of parts. Each part is an integer that may have
/// white space and a sign before it and anything behind it; the one behind the comma counts milliseconds.
[[nodiscard]] double secondsFromTimecode(std::string_view timecode) noexcept;

/// "HH:MM:SS,mmm" with the milliseconds truncated; negative values and not-a-number give "00:00:00,000".
[[nodiscard]] std::string timecodeFromSeconds(double seconds);

/// "HH:MM:SS,mmm" to the nearest millisecond; negative times and what is none give "00:00:00,000".
[[nodiscard]] std::string timecodeOf(const MediaTime& time);

/// The span of "start --> end"; none when the line has another number of parts.
[[nodiscard]] std::optional<TimeSpan> timeSpanFromTimingLine(std::string_view line) noexcept;

}  // namespace qlx::srt
