// Times of a TTML document (TTML2, 12.3 and 7.2) as media time.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <qlx/cc/time_code.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::streams::detail {

/// How frames are numbered (TTML2, 7.2.3).
enum class DropMode : std::uint8_t { None, Ntsc, Pal };

/// What the times of a document count.
struct TimeParameters {
    bool countsFrames = false;           ///< The time base is `smpte`: hours, minutes and seconds are of frames.
    DropMode dropMode = DropMode::None;  ///< Of such.
    std::int32_t frameRate = 30;         ///< Numbers of frames in a second, 1 to 1,000.
    std::int32_t multiplier = 1;         ///< The frames in a second are these times multiplier / divisor.
    std::int32_t divisor = 1;            ///< The same; both 1 to 10,000.
    std::int32_t subFrameRate = 1;       ///< Parts of a frame, 1 to 100.
    std::int32_t tickRate = 1;           ///< Ticks in a second, 1 to 2^31 - 1.
};

/// What a time has that TTML2 does not say.
enum class TimeOddity : std::uint8_t {
    None,
    NoMetric,  ///< A number alone.
    NoLabel,   ///< A label that is left out of the counting: it is that of the next frame which has one.
};

/// `00:00:01.5`, `00:00:01:12`, `00:00:01:12.1`, `1.5s`, `500ms`, `12f`, `2h`, `3m`, `90000t`; none for any other text.
/// A number alone is of seconds, as in SMIL, where TTML has its times from, and as writers mean it: TTML2, 12.3.1, has none.
/// Of labels that leave numbers out also `00:00:01;12`, as they are written elsewhere. Ten digits of a number and nine of
/// a fraction count.
/// @param oddity Gets what is unusual about it.
[[nodiscard]] std::optional<MediaTime> parseTtmlTime(std::string_view text, const TimeParameters& parameters,
                                                     TimeOddity& oddity);

/// How the labels of a document count, in the terms of time codes; none where it counts none, or otherwise than those.
[[nodiscard]] std::optional<cc::TimeCodeCounting> countingOf(const TimeParameters& parameters) noexcept;

/// Whether a time is before another one; both are valid.
[[nodiscard]] bool isBefore(const MediaTime& left, const MediaTime& right) noexcept;

/// Whether two times, both valid, are one.
[[nodiscard]] bool isSameTime(const MediaTime& left, const MediaTime& right) noexcept;

/// Takes the earlier one of an end, where there is one, and of a time, where it is valid.
void limit(std::optional<MediaTime>& end, const MediaTime& time) noexcept;

/// Takes the later one of two ends, `all` being of what came before; an end that nothing says leaves it open.
void extend(std::optional<MediaTime>& all, bool& isOpen, const std::optional<MediaTime>& end) noexcept;

/// `00:00:01.500`, which is a time of WebVTT too; not below 0.
[[nodiscard]] std::string clockTime(std::int64_t milliseconds);

/// A number without a sign, from 1 to `most`; none for any other text.
[[nodiscard]] std::optional<std::int32_t> parseCount(std::string_view text, std::int32_t most) noexcept;

}  // namespace qlx::streams::detail
