// Times on the command line and in listings.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::tool {

/// The longest time that the tool works with: 1000 hours. It keeps frame numbers and times exact.
inline constexpr double kLongestTimeInSeconds = 1000.0 * 3600.0;

/// The seconds of `10.5` or `00:00:10,500` (the milliseconds may be left out); none when the text is anything else, or
/// a longer time than kLongestTimeInSeconds.
[[nodiscard]] std::optional<double> parseTime(std::string_view text) noexcept;

/// `00:00:10,500`: the form of SRT files and of parseTime(). Milliseconds are cut, so that a frame's own time, given
/// back as a start time, leads to the same frame.
[[nodiscard]] std::string timecode(const MediaTime& time);

/// The SMPTE ST 12-1 timecode of frame `frame` at 29.97 frames a second: `00:01:00;02`, which leaves out the numbers 0
/// and 1 of every minute but each tenth, or `00:00:59:28`, which counts on. None from 24 hours on.
[[nodiscard]] std::optional<std::string> timecodeAt2997(std::uint64_t frame, bool isDropFrame);

}  // namespace qlx::tool
