#include "facade/CaptionRate.h"

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

/// A rate in hundredths of a frame per second, truncated, and its code.
struct RateCode {
    std::int32_t hundredths;
    std::uint8_t code;
};

constexpr std::array<RateCode, 8> kRateCodes{
    {{2397, 1}, {2400, 2}, {2500, 3}, {2997, 4}, {3000, 5}, {5000, 6}, {5994, 7}, {6000, 8}}};

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
    const double hundredths = std::trunc(framesPerSecond(frameDuration) * 100.0);
    for (const RateCode& entry : kRateCodes) {
        if (hundredths == entry.hundredths) {
            return entry.code;
        }
    }
    return 0;
}

std::uint8_t frameRateCodeOfCount(std::uint8_t ccCount) noexcept {
    constexpr std::uint8_t kCodeOtherwise = 4;
    if (ccCount == 0) {
        return kCodeOtherwise;
    }
    switch (static_cast<std::uint8_t>(600 / ccCount)) {
    case 24:
        return 1;
    case 60:
        return 7;
    default:
        return kCodeOtherwise;
    }
}

}  // namespace qlx::captionrate
