// Rational media time and the timing of a sample.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <cstdint>

namespace qlx {

/// A rational time of `value` / `timescale` seconds. A default-made one is invalid (all zero).
struct MediaTime {
    /// Flag: this is a time.
    static constexpr std::uint32_t kValid = 1U;
    /// Flag: a conversion did not come out even.
    static constexpr std::uint32_t kHasBeenRounded = 2U;

    std::int64_t value = 0;      ///< Numerator, in units of the timescale.
    std::int32_t timescale = 0;  ///< Units a second.
    std::uint32_t flags = 0;     ///< kValid, kHasBeenRounded.
    std::int64_t epoch = 0;      ///< Times of different epochs cannot be added unless one of them is 0.

    /// A valid time of epoch 0.
    [[nodiscard]] static constexpr MediaTime make(std::int64_t value, std::int32_t timescale) noexcept {
        return {value, timescale, kValid, 0};
    }

    /// Whether kValid is among the flags.
    [[nodiscard]] constexpr bool isValid() const noexcept { return (flags & kValid) != 0; }

    /// Field by field: 1/25 and 2/50 are the same instant but not equal records.
    friend constexpr bool operator==(const MediaTime&, const MediaTime&) noexcept = default;
};

/// Duration, presentation time and decode time of a sample; a default-made record is all invalid.
struct SampleTimingInfo {
    MediaTime duration;               ///< How long the sample lasts.
    MediaTime presentationTimeStamp;  ///< When it is shown.
    MediaTime decodeTimeStamp;        ///< When it is decoded, if that is another time.

    /// Field by field.
    friend constexpr bool operator==(const SampleTimingInfo&, const SampleTimingInfo&) noexcept = default;
};

/// How a conversion of timescale treats a value that does not come out even.
enum class RoundingMethod : std::uint32_t {
    RoundHalfAwayFromZero = 1,
    RoundTowardZero = 2,
    RoundAwayFromZero = 3,
    /// Toward zero when the new timescale is smaller, away from zero when it is larger; a negative value never
    /// becomes 0.
    QuickTime = 4,
    RoundTowardPositiveInfinity = 5,
    RoundTowardNegativeInfinity = 6,
};

/// The time in seconds; not a number for an invalid time or a timescale of 0.
[[nodiscard]] QLX_EXPORT double secondsFrom(const MediaTime& time) noexcept;

/// `time` in units of `timescale`. Sets kHasBeenRounded when the value did not come out even. An invalid time, a
/// timescale below 1 or a value that does not fit 64 bits gives an invalid time.
[[nodiscard]] QLX_EXPORT MediaTime convertScale(const MediaTime& time, std::int32_t timescale,
                                                RoundingMethod method) noexcept;

/// The sum of two times. Unequal timescales meet at their least common multiple, or at 2^31 - 1 (rounded half away from
/// zero) when that is larger. An invalid operand, two different non-zero epochs or an overflow gives an invalid time.
[[nodiscard]] QLX_EXPORT MediaTime add(const MediaTime& left, const MediaTime& right) noexcept;

}  // namespace qlx
