// Timecodes in caption files: hours, minutes, seconds and frames, counted by a rate.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::streams::detail {

/// A timecode that stands at the beginning of a text.
struct TimeCodeText {
    std::uint64_t frame = 0;   ///< The frame that it names, counted from midnight.
    std::size_t size = 0;      ///< Characters of it.
    bool dropsFrames = false;  ///< How it counts.
};

/// Reads `HH:MM:SS:FF` at the beginning of a text, with at most four digits of hours.
/// @param rate The frames that it counts.
/// @param dropsFrames How it counts; none: a semicolon (or comma, or full stop) in front of the frames says that numbers
///   are dropped.
/// @return None when there is none, or no frame has this number.
[[nodiscard]] std::optional<TimeCodeText> readTimeCode(std::string_view text, FrameRate rate,
                                                       std::optional<bool> dropsFrames) noexcept;

/// Appends the timecode of a frame; behind the last one of a day comes the first one.
/// @param mark What stands in front of the frames.
void appendTimeCode(std::string& text, std::uint64_t frame, FrameRate rate, bool dropsFrames, char mark);

/// A frame's timecode as a finding has it: four bytes, and 8000'0000h in drop-frame counting.
[[nodiscard]] std::int64_t timecodeNumber(std::uint64_t frame, FrameRate rate, bool dropsFrames) noexcept;

}  // namespace qlx::streams::detail
