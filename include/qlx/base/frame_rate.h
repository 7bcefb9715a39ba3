// The frame rates of television pictures that carry captions.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace qlx {

/// A frame rate. Its number is its cdp_frame_rate code (SMPTE ST 334-2).
enum class FrameRate : std::uint8_t {
    Fps23976 = 1,  ///< 24000/1001
    Fps24 = 2,
    Fps25 = 3,
    Fps2997 = 4,  ///< 30000/1001
    Fps30 = 5,
    Fps50 = 6,
    Fps5994 = 7,  ///< 60000/1001
    Fps60 = 8,
};

/// All of them, in the order of their codes.
inline constexpr std::array<FrameRate, 8> kFrameRates{FrameRate::Fps23976, FrameRate::Fps24, FrameRate::Fps25,
                                                      FrameRate::Fps2997,  FrameRate::Fps30, FrameRate::Fps50,
                                                      FrameRate::Fps5994,  FrameRate::Fps60};

/// The cdp_frame_rate code: 1 to 8.
[[nodiscard]] constexpr std::uint8_t cdpFrameRateCode(FrameRate rate) noexcept {
    return static_cast<std::uint8_t>(rate);
}

/// The rate of a cdp_frame_rate code; none for a code that is not 1 to 8.
[[nodiscard]] constexpr std::optional<FrameRate> frameRateOfCdpCode(std::uint8_t code) noexcept {
    if (code < kFrameRates.size() + 1 && code != 0) {
        return static_cast<FrameRate>(code);
    }
    return std::nullopt;
}

/// How many frames the time code counts in a second: 24, 24, 25, 30, 30, 50, 60 or 60.
[[nodiscard]] constexpr std::uint8_t nominalFramesPerSecond(FrameRate rate) noexcept {
    constexpr std::array<std::uint8_t, kFrameRates.size()> kNominal{24, 24, 25, 30, 30, 50, 60, 60};
    return kNominal[static_cast<std::size_t>(rate) - 1];
}

/// True for the rates that are slower than their time code by 1000/1001.
[[nodiscard]] constexpr bool isFractional(FrameRate rate) noexcept {
    return rate == FrameRate::Fps23976 || rate == FrameRate::Fps2997 || rate == FrameRate::Fps5994;
}

/// How long a frame lasts, in lowest terms: 1001/24000 s, 1/25 s ...
[[nodiscard]] constexpr MediaTime frameDuration(FrameRate rate) noexcept {
    const std::int32_t nominal = nominalFramesPerSecond(rate);
    return isFractional(rate) ? MediaTime::make(1001, nominal * 1000) : MediaTime::make(1, nominal);
}

/// The rate whose frames last exactly as long, in whatever terms (2/50 s is 25); none when no rate has such frames.
[[nodiscard]] constexpr std::optional<FrameRate> frameRateOfDuration(const MediaTime& duration) noexcept {
    // The longest terms: a greater numerator could not be compared without overflow, and is no duration of a frame.
    constexpr std::int64_t kGreatestValue = INT64_MAX / 60'000;
    if (!duration.isValid() || duration.value <= 0 || duration.value > kGreatestValue || duration.timescale <= 0) {
        return std::nullopt;
    }
    for (const FrameRate rate : kFrameRates) {
        const MediaTime one = frameDuration(rate);
        if (duration.value * one.timescale == one.value * duration.timescale) {
            return rate;
        }
    }
    return std::nullopt;
}

/// The first frame of the rate `to` that begins when frame `frame` of the rate `from` does, or later; frames are counted
/// from 0, and both begin with frame 0 at the same moment. Exact: nothing adds up over the hours.
///
///     const auto frame = qlx::firstFrameAtOrAfter(qlx::FrameRate::Fps25, 1, qlx::FrameRate::Fps30);
///     // 2: 40 ms lie between frames 1 and 2
[[nodiscard]] constexpr std::uint64_t firstFrameAtOrAfter(FrameRate from, std::uint64_t frame, FrameRate to) noexcept {
    const MediaTime one = frameDuration(from);
    const MediaTime other = frameDuration(to);
    const auto numerator = static_cast<std::uint64_t>(one.value) * static_cast<std::uint64_t>(other.timescale);
    const auto denominator = static_cast<std::uint64_t>(one.timescale) * static_cast<std::uint64_t>(other.value);
    const std::uint64_t whole = frame / denominator * numerator;
    return whole + (frame % denominator * numerator + denominator - 1) / denominator;
}

/// The first frame that begins at a time or later, counted from 0; none for what is no time, is negative, or has no
/// number of a frame.
///
///     const auto frame = qlx::firstFrameAtOrAfter(qlx::MediaTime::make(1000, 1000), qlx::FrameRate::Fps2997);
///     // 30, at 1.001 s
[[nodiscard]] constexpr std::optional<std::uint64_t> firstFrameAtOrAfter(const MediaTime& time,
                                                                         FrameRate rate) noexcept {
    if (!time.isValid() || time.value < 0 || time.timescale <= 0) {
        return std::nullopt;
    }
    const MediaTime frame = frameDuration(rate);
    const std::int64_t denominator = std::int64_t{time.timescale} * frame.value;
    const std::int64_t whole = time.value / denominator;
    if (whole >= INT64_MAX / frame.timescale) {
        return std::nullopt;
    }
    const std::int64_t rest = (time.value % denominator * frame.timescale + denominator - 1) / denominator;
    return static_cast<std::uint64_t>(whole * frame.timescale + rest);
}

/// The frame that begins nearest to a time, counted from 0; of two that are as near the later one. None for what is no
/// time, is negative, or has no number of a frame.
///
///     const auto frame = qlx::nearestFrame(qlx::MediaTime::make(50, 1000), qlx::FrameRate::Fps2997);
///     // 1, at 33 ms: 2 is at 67 ms
[[nodiscard]] constexpr std::optional<std::uint64_t> nearestFrame(const MediaTime& time, FrameRate rate) noexcept {
    const auto next = firstFrameAtOrAfter(time, rate);
    if (!next || *next == 0) {
        return next;
    }
    // The part of a frame by which the time is behind the one before.
    const MediaTime frame = frameDuration(rate);
    const std::int64_t denominator = std::int64_t{time.timescale} * frame.value;
    const std::int64_t rest = time.value % denominator * frame.timescale % denominator;
    return rest == 0 || denominator - rest <= rest ? next : std::optional(*next - 1);
}

}  // namespace qlx
