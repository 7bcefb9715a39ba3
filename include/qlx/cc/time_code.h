// Time codes (SMPTE ST 12-1) as numbers of frames.
//
//     const auto timeCode = qlx::cc::CdpTimeCode::make({.minutes = 1, .frames = 2, .dropFrame = true});
//     const qlx::cc::FrameCount count(qlx::FrameRate::Fps2997, timeCode.fields().dropFrame);
//     const std::uint32_t frame = count.ofLabel(labelOf(timeCode, qlx::FrameRate::Fps2997));   // 1800
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <qlx/base/frame_rate.h>
#include <qlx/cc/cdp_sections.h>

#include <cstdint>
#include <optional>

namespace qlx::cc {

/// Whether a rate may count with dropped numbers (SMPTE ST 12-1): 29.97 and 59.94.
[[nodiscard]] constexpr bool mayDropFrames(FrameRate rate) noexcept {
    return isFractional(rate) && nominalFramesPerSecond(rate) % 30 == 0;
}

/// Whether all digits are decimal and a time code of the rate has them. Without a rate, that of the greatest count. The
/// drop-frame flag means nothing at a rate that never drops any.
[[nodiscard]] QLX_EXPORT bool isPossible(const CdpTimeCode& timeCode, std::optional<FrameRate> rate) noexcept;

/// The number that a time code shows, as if none were dropped: (hours, minutes, seconds) times the rate, and frames.
struct FrameLabel {
    std::uint32_t seconds = 0;  ///< Since midnight.
    std::uint32_t frame = 0;    ///< In its second; above 30 frames a second both frames of a pair count.
};

/// What a possible time code shows.
[[nodiscard]] QLX_EXPORT FrameLabel labelOf(const CdpTimeCode& timeCode, FrameRate rate) noexcept;

/// How the time codes of a file count its frames.
struct TimeCodeCounting {
    FrameRate rate = FrameRate::Fps2997;  ///< What they count.
    bool dropsFrames = false;             ///< With dropped numbers; only where mayDropFrames(rate).

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const TimeCodeCounting&, const TimeCodeCounting&) noexcept = default;
};

/// Counts the frames of a rate from midnight to midnight, with dropped numbers or without.
class FrameCount {
public:
    /// Counts the frames of `rate`.
    /// @param rate Any.
    /// @param dropsFrames Only where mayDropFrames(rate).
    constexpr FrameCount(FrameRate rate, bool dropsFrames) noexcept
        : _nominal(nominalFramesPerSecond(rate)), _dropped(dropsFrames ? _nominal / 30 * 2 : 0) {}

    /// The same.
    constexpr explicit FrameCount(const TimeCodeCounting& counting) noexcept
        : FrameCount(counting.rate, counting.dropsFrames) {}

    /// Frames of a day.
    [[nodiscard]] constexpr std::uint32_t ofDay() const noexcept { return 24 * 6 * ofTenMinutes(); }

    /// The frames in front of the one with a label; of the next one where it is dropped. A frame behind the second's last
    /// one is of the next second.
    [[nodiscard]] QLX_EXPORT std::uint32_t ofLabel(FrameLabel label) const noexcept;

    /// The time code of a frame, counted from midnight on; behind the last frame of a day comes the first one.
    [[nodiscard]] QLX_EXPORT CdpTimeCode timeCodeOf(std::uint64_t frame) const noexcept;

private:
    [[nodiscard]] constexpr std::uint32_t ofMinute() const noexcept { return 60 * _nominal - _dropped; }
    [[nodiscard]] constexpr std::uint32_t ofTenMinutes() const noexcept { return 10 * ofMinute() + _dropped; }

    std::uint32_t _nominal;
    std::uint32_t _dropped;  ///< Numbers left out at the beginning of each minute but every tenth.
};

}  // namespace qlx::cc
