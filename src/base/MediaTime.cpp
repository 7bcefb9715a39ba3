#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <limits>
#include <numeric>

namespace qlx {

namespace {

__extension__ typedef __int128 Wide;

constexpr std::int32_t kMaxTimescale = std::numeric_limits<std::int32_t>::max();

bool fits(Wide value) {
    return value >= std::numeric_limits<std::int64_t>::min() && value <= std::numeric_limits<std::int64_t>::max();
}

/// `numerator` / `denominator` (above 0) rounded by `method`; the remainder is not 0.
Wide rounded(Wide numerator, Wide denominator, RoundingMethod method, bool finer) {
    const Wide truncated = numerator / denominator;
    const Wide remainder = numerator % denominator;
    const Wide awayStep = numerator < 0 ? -1 : 1;
    const Wide magnitude = remainder < 0 ? -remainder : remainder;
    switch (method) {
    case RoundingMethod::RoundTowardZero:
        return truncated;
    case RoundingMethod::RoundAwayFromZero:
        return truncated + awayStep;
    case RoundingMethod::QuickTime:
        if (finer) {
            return truncated + awayStep;
        }
        return truncated == 0 && numerator < 0 ? -1 : truncated;
    case RoundingMethod::RoundTowardPositiveInfinity:
        return numerator > 0 ? truncated + 1 : truncated;
    case RoundingMethod::RoundTowardNegativeInfinity:
        return numerator < 0 ? truncated - 1 : truncated;
    case RoundingMethod::RoundHalfAwayFromZero:
        break;
    }
    return magnitude * 2 >= denominator ? truncated + awayStep : truncated;
}

}  // namespace

double secondsFrom(const MediaTime& time) noexcept {
    if (!time.isValid() || time.timescale == 0) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    return static_cast<double>(time.value) / static_cast<double>(time.timescale);
}

MediaTime convertScale(const MediaTime& time, std::int32_t timescale, RoundingMethod method) noexcept {
    if (!time.isValid() || time.timescale <= 0 || timescale <= 0) {
        return {};
    }
    MediaTime result = time;
    result.timescale = timescale;
    const Wide product = Wide{time.value} * timescale;
    Wide value = product / time.timescale;
    if (product % time.timescale != 0) {
        value = rounded(product, time.timescale, method, timescale > time.timescale);
        result.flags |= MediaTime::kHasBeenRounded;
    }
    if (!fits(value)) {
        return {};
    }
    result.value = static_cast<std::int64_t>(value);
    return result;
}

MediaTime add(const MediaTime& left, const MediaTime& right) noexcept {
    if (!left.isValid() || !right.isValid() || left.timescale <= 0 || right.timescale <= 0) {
        return {};
    }
    if (left.epoch != right.epoch && left.epoch != 0 && right.epoch != 0) {
        return {};
    }
    const std::int64_t common = std::lcm(std::int64_t{left.timescale}, std::int64_t{right.timescale});
    const std::int32_t timescale = common > kMaxTimescale ? kMaxTimescale : static_cast<std::int32_t>(common);
    const MediaTime first = convertScale(left, timescale, RoundingMethod::RoundHalfAwayFromZero);
    const MediaTime second = convertScale(right, timescale, RoundingMethod::RoundHalfAwayFromZero);
    if (!first.isValid() || !second.isValid()) {
        return {};
    }
    const Wide sum = Wide{first.value} + second.value;
    if (!fits(sum)) {
        return {};
    }
    return {static_cast<std::int64_t>(sum), timescale, first.flags | second.flags,
            left.epoch != 0 ? left.epoch : right.epoch};
}

}  // namespace qlx
