#include "facade/CaptionRate.h"

#include <qlx/base/frame_rate.h>

#include <array>
#include <cmath>

namespace qlx::captionrate {

namespace {

/// Frames per second; 0 when the duration has none.
double framesPerSecond(const MediaTime& frameDuration) {
    if (frameDuration.value == 0 || frameDuration.timescale == 0) {
        return 0.0;
    }
    return static_cast<double>(frameDuration.timescale) / static_cast<double>(frameDuration.value);
}

/// The standard's rates in hundredths of a frame per second, truncated.
constexpr auto kHundredths = [] {
    std::array<std::int64_t, kFrameRates.size()> hundredths{};
    for (const FrameRate rate : kFrameRates) {
        const MediaTime duration = frameDuration(rate);
        hundredths[cdpFrameRateCode(rate) - 1] = std::int64_t{duration.timescale} * 100 / duration.value;
    }
    return hundredths;
}();

constexpr double kTripletsPerSecond = 600.0;

}  // namespace

std::uint8_t ccCount(const MediaTime& frameDuration) noexcept {
    const double rate = framesPerSecond(frameDuration);
    if (rate <= 0.0) {
        return 0;
    }
    return static_cast<std::uint8_t>(std::fmod(std::trunc(kTripletsPerSecond / rate), 256.0));
}

std::uint8_t frameRateCode(const MediaTime& frameDuration) noexcept {
    // Hosts give rates that are only near the standard's: 23.979 has a code, 23.98 has none.
    const double hundredths = std::trunc(framesPerSecond(frameDuration) * 100.0);
    for (const FrameRate rate : kFrameRates) {
        const std::uint8_t code = cdpFrameRateCode(rate);
        if (hundredths == static_cast<double>(kHundredths[code - 1])) {
            return code;
        }
    }
    return 0;
}

std::uint8_t frameRateCodeOfCount(std::uint8_t ccCount) noexcept {
    constexpr std::uint8_t kCodeOtherwise = cdpFrameRateCode(FrameRate::Fps2997);
    if (ccCount == 0) {
        return kCodeOtherwise;
    }
    switch (static_cast<std::uint8_t>(600 / ccCount)) {
    case 24:
        return cdpFrameRateCode(FrameRate::Fps23976);
    case 60:
        return cdpFrameRateCode(FrameRate::Fps5994);
    default:
        return kCodeOtherwise;
    }
}

}  // namespace qlx::captionrate
