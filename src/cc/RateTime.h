// The arithmetic of a change of the frame rate: exact, in integers.
#pragma once

#include <qlx/base/frame_rate.h>
#include <qlx/cc/rate.h>
#include <qlx/cc/slots.h>
#include <qlx/cc/time_code.h>

#include <cstdint>

namespace qlx::cc::detail {

/// Frames from one pair of a field to the next one.
[[nodiscard]] constexpr std::uint64_t framesOfSlot(FrameRate rate) noexcept {
    return slotsOf(rate).fieldsAlternate ? 2 : 1;
}

/// A time as a number of equal parts of a second.
struct PartsOfSecond {
    std::uint64_t parts = 0;
    std::uint64_t inSecond = 1;
};

/// From the beginning of a frame of one rate to that of a later one of the other. Numbers up to 2^36.
[[nodiscard]] constexpr PartsOfSecond timeBetween(FrameRate from, std::uint64_t fromFrame, FrameRate to,
                                                  std::uint64_t toFrame) noexcept {
    const MediaTime one = frameDuration(from);
    const MediaTime other = frameDuration(to);
    const auto oneScale = static_cast<std::uint64_t>(one.timescale);
    const auto otherScale = static_cast<std::uint64_t>(other.timescale);
    return {toFrame * static_cast<std::uint64_t>(other.value) * oneScale -
                fromFrame * static_cast<std::uint64_t>(one.value) * otherScale,
            oneScale * otherScale};
}

/// What the time code of the first output frame at or after frame `frame` shows, where that one has a label: the same
/// second, and the nearest frame in it.
[[nodiscard]] inline FrameLabel labelAt(FrameLabel label, const RateOptions& options, std::uint64_t frame) noexcept {
    const PartsOfSecond behind =
        timeBetween(options.from, frame, options.to, firstFrameAtOrAfter(options.from, frame, options.to));
    const std::uint64_t fromNominal = nominalFramesPerSecond(options.from);
    const std::uint64_t toNominal = nominalFramesPerSecond(options.to);
    // Both in frames of the new rate, which are taken to be as long as their label says.
    const std::uint64_t divisor = fromNominal * behind.inSecond;
    const std::uint64_t frames = label.frame * toNominal * behind.inSecond + behind.parts * toNominal * fromNominal;
    return {label.seconds, static_cast<std::uint32_t>((2 * frames + divisor) / (2 * divisor))};
}

}  // namespace qlx::cc::detail
