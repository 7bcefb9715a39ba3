// Times on the command line and in listings.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

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

}  // namespace qlx::tool
