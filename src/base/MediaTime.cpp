#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <limits>
#include <numeric>

namespace qlx {

namespace {

constexpr std::int32_t kMaxTimescale = std::numeric_limits<std::int32_t>::max();

/// Whether a magnitude that was cut off to a whole number (to 0: `isZero`), of which `remainder` / `divisor` (not 0) is
/// left, is rounded to the next greater one by `method`.
bool roundsAway(bool isNegative, bool isZero, std::uint64_t remainder, std::uint64_t divisor, RoundingMethod method,
                bool finer) {
    switch (method) {
    case RoundingMethod::RoundTowardZero:
        return false;
    case RoundingMethod::RoundAwayFromZero:
        return true;
    case RoundingMethod::QuickTime:
        return finer || (isZero && isNegative);
    case RoundingMethod::RoundTowardPositiveInfinity:
        return !isNegative;
    case RoundingMethod::RoundTowardNegativeInfinity:
        return isNegative;
    case RoundingMethod::RoundHalfAwayFromZero:
        break;
    }
    return remainder * 2 >= divisor;
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
    const bool isNegative = time.value < 0;
    const std::uint64_t limit = std::uint64_t{std::numeric_limits<std::int64_t>::max()} + (isNegative ? 1 : 0);
    const auto bits = static_cast<std::uint64_t>(time.value);
    const std::uint64_t magnitude = isNegative ? 0 - bits : bits;
    const auto from = static_cast<std::uint64_t>(time.timescale);
    const auto to = static_cast<std::uint64_t>(timescale);
    // Timescales have 31 bits: what is left of a division has room for a multiplication.
    const std::uint64_t whole = magnitude / from;
    const std::uint64_t part = magnitude % from * to;
    if (whole > limit / to) {
        return {};
    }
    std::uint64_t value = whole * to + part / from;
    if (const std::uint64_t remainder = part % from; remainder != 0) {
        value += roundsAway(isNegative, value == 0, remainder, from, method, to > from) ? 1 : 0;
        result.flags |= MediaTime::kHasBeenRounded;
    }
    if (value > limit) {
        return {};
    }
    result.value = static_cast<std::int64_t>(isNegative ? 0 - value : value);
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
    std::int64_t sum = 0;
    if (__builtin_add_overflow(first.value, second.value, &sum)) {
        return {};
    }
    return {sum, timescale, first.flags | second.flags, left.epoch != 0 ? left.epoch : right.epoch};
}

}  // namespace qlx
