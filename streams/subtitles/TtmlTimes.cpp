#include "TtmlTimes.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <numeric>
#include <string>
#include <system_error>
#include <utility>

namespace qlx::streams::detail {

namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::size_t kMostDigits = 10;
constexpr std::size_t kMostFraction = 9;

/// A number of a time, and its fraction.
struct Number {
    std::int64_t whole = 0;
    std::int64_t fraction = 0;  ///< In units of 1 / unit.
    std::int64_t unit = 1;      ///< A power of ten.
    std::size_t digits = 0;     ///< Of the whole number.
    bool hasFraction = false;
};

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Takes digits from the front; none where there is none, or too many.
std::optional<std::int64_t> takeDigits(std::string_view& text, std::size_t most, std::size_t& count) {
    std::int64_t number = 0;
    count = 0;
    while (!text.empty() && isDigit(text.front())) {
        if (++count > most) {
            return std::nullopt;
        }
        number = number * 10 + (text.front() - '0');
        text.remove_prefix(1);
    }
    return count == 0 ? std::nullopt : std::optional(number);
}

std::optional<Number> takeNumber(std::string_view& text) {
    Number number;
    const auto whole = takeDigits(text, kMostDigits, number.digits);
    if (!whole) {
        return std::nullopt;
    }
    number.whole = *whole;
    if (!text.empty() && text.front() == '.') {
        text.remove_prefix(1);
        std::size_t digits = 0;
        while (!text.empty() && isDigit(text.front())) {
            if (digits++ < kMostFraction) {
                number.fraction = number.fraction * 10 + (text.front() - '0');
                number.unit *= 10;
            }
            text.remove_prefix(1);
        }
        number.hasFraction = true;
        if (digits == 0) {
            return std::nullopt;
        }
    }
    return number;
}

/// numerator / denominator seconds, in the lowest terms; none where they do not fit.
std::optional<MediaTime> fraction(std::int64_t numerator, std::int64_t denominator) {
    const std::int64_t common = std::gcd(numerator, denominator);
    if (common > 1) {
        numerator /= common;
        denominator /= common;
    }
    if (denominator > std::numeric_limits<std::int32_t>::max()) {
        return std::nullopt;
    }
    return MediaTime::make(numerator, static_cast<std::int32_t>(denominator));
}

/// Both as one time; none where it does not fit.
std::optional<MediaTime> sum(const std::optional<MediaTime>& left, const std::optional<MediaTime>& right) {
    if (!left || !right) {
        return std::nullopt;
    }
    const MediaTime both = add(*left, *right);
    return both.isValid() ? std::optional(both) : std::nullopt;
}

/// Frames and parts of them.
std::optional<MediaTime> framesAsTime(std::int64_t frames, std::int64_t subFrames, const TimeParameters& parameters) {
    // Below 2^34 + 24 hours of frames, times 100 and 10,000: below 2^63.
    return fraction((frames * parameters.subFrameRate + subFrames) * parameters.divisor,
                    std::int64_t{parameters.frameRate} * parameters.multiplier * parameters.subFrameRate);
}

/// How many numbers are left out in front of a minute of the day.
std::int64_t numbersLeftOut(std::int64_t minutes, const TimeParameters& parameters) {
    switch (parameters.dropMode) {
    case DropMode::Ntsc:
        return (minutes - minutes / 10) * (parameters.frameRate / 30) * 2;
    case DropMode::Pal:
        return (minutes / 2 - minutes / 20) * 4;
    default:
        return 0;
    }
}

std::optional<MediaTime> metricTime(const Number& number, std::string_view metric, const TimeParameters& parameters) {
    const auto inSeconds = [&](std::int64_t factor, std::int64_t divisor) -> std::optional<MediaTime> {
        return sum(fraction(number.whole * factor, divisor), fraction(number.fraction * factor, number.unit * divisor));
    };
    if (metric == "h") {
        return inSeconds(kHour, 1);
    }
    if (metric == "m") {
        return inSeconds(kMinute, 1);
    }
    if (metric == "s") {
        return inSeconds(1, 1);
    }
    if (metric == "ms") {
        constexpr std::int64_t kMillisecond = 1000;
        constexpr std::int64_t kFinest = 1'000'000;
        // Nothing is finer than a nanosecond.
        const std::int64_t rest = number.unit > kFinest ? number.fraction / (number.unit / kFinest) : number.fraction;
        return sum(fraction(number.whole, kMillisecond), fraction(rest, std::min(number.unit, kFinest) * kMillisecond));
    }
    if (metric == "f") {
        constexpr std::int64_t kThousand = 1000;
        const std::int64_t parts = number.unit >= kThousand ? number.fraction / (number.unit / kThousand)
                                                            : number.fraction * (kThousand / number.unit);
        const std::int64_t rate = std::int64_t{parameters.frameRate} * parameters.multiplier;
        return fraction((number.whole * kThousand + parts) * parameters.divisor, rate * kThousand);
    }
    if (metric == "t") {
        // A part of a tick is none (TTML2, 12.3.1).
        return number.hasFraction && number.fraction != 0 ? std::nullopt : fraction(number.whole, parameters.tickRate);
    }
    return std::nullopt;
}

/// Takes a label for the next one that there is, where it is left out of the numbers of its minute.
void takeNextLabel(std::int64_t seconds, const TimeParameters& parameters, std::int64_t& frames, TimeOddity& oddity) {
    const std::int64_t minutes = seconds / kMinute;
    const std::int64_t left =
        minutes == 0 ? 0 : numbersLeftOut(minutes, parameters) - numbersLeftOut(minutes - 1, parameters);
    if (seconds % kMinute == 0 && frames < left) {
        frames = left;
        oddity = TimeOddity::NoLabel;
    }
}

std::optional<MediaTime> clockTime(std::int64_t hours, std::string_view text, const TimeParameters& parameters,
                                   TimeOddity& oddity) {
    const auto takeTwo = [&text]() -> std::optional<std::int64_t> {
        if (text.empty() || text.front() != ':') {
            return std::nullopt;
        }
        text.remove_prefix(1);
        std::size_t count = 0;
        const auto number = takeDigits(text, 2, count);
        return count == 2 ? number : std::nullopt;
    };
    const auto minutes = takeTwo();
    const auto seconds = minutes ? takeTwo() : std::nullopt;
    // Leap seconds are numbered 60.
    if (!seconds || *minutes >= kMinute || *seconds > kMinute) {
        return std::nullopt;
    }
    const std::int64_t all = hours * kHour + *minutes * kMinute + *seconds;
    // Labels that leave numbers out are written with a semicolon as well.
    const bool mayHaveSemicolon = parameters.countsFrames && parameters.dropMode == DropMode::Ntsc;
    const bool hasFrames = !text.empty() && (text.front() == ':' || (mayHaveSemicolon && text.front() == ';'));
    Number rest;
    if (hasFrames || (!text.empty() && text.front() == '.')) {
        // A fraction of the seconds, or frames and, behind a point, parts of them.
        const std::string asFraction = "0" + std::string(text);
        std::string_view toTake = hasFrames ? text.substr(1) : std::string_view(asFraction);
        const auto taken = takeNumber(toTake);
        if (!taken || !toTake.empty() || (hasFrames && taken->digits < 2)) {
            return std::nullopt;
        }
        rest = *taken;
        text = {};
    }
    if (!text.empty()) {
        return std::nullopt;
    }
    std::int64_t frames = 0;
    std::int64_t subFrames = 0;
    if (hasFrames) {
        frames = rest.whole;
        subFrames = rest.fraction;
        if (frames >= parameters.frameRate || subFrames >= parameters.subFrameRate) {
            return std::nullopt;
        }
    }
    const std::optional<MediaTime> part = hasFrames ? MediaTime::make(0, 1) : fraction(rest.fraction, rest.unit);
    if (!parameters.countsFrames) {
        return sum(sum(MediaTime::make(all, 1), framesAsTime(frames, subFrames, parameters)), part);
    }
    takeNextLabel(all, parameters, frames, oddity);
    const std::int64_t counted = all * parameters.frameRate + frames - numbersLeftOut(all / kMinute, parameters);
    return sum(framesAsTime(counted, subFrames, parameters), part);
}

}  // namespace

std::optional<MediaTime> parseTtmlTime(std::string_view text, const TimeParameters& parameters, TimeOddity& oddity) {
    const auto number = takeNumber(text);
    const bool isBare = number && text.empty();
    oddity = isBare ? TimeOddity::NoMetric : TimeOddity::None;
    if (!number || isBare) {
        return number ? metricTime(*number, "s", parameters) : std::nullopt;
    }
    if (text.front() == ':') {
        constexpr std::int64_t kMostHours = 1'000'000;
        return number->hasFraction || number->digits < 2 || number->whole >= kMostHours
                   ? std::nullopt
                   : clockTime(number->whole, text, parameters, oddity);
    }
    return metricTime(*number, text, parameters);
}

std::optional<cc::TimeCodeCounting> countingOf(const TimeParameters& parameters) noexcept {
    const auto rate =
        frameRateOfDuration(MediaTime::make(parameters.divisor, parameters.frameRate * parameters.multiplier));
    const bool drops = parameters.dropMode == DropMode::Ntsc;
    if (!parameters.countsFrames || !rate || parameters.frameRate != nominalFramesPerSecond(*rate) ||
        parameters.dropMode == DropMode::Pal || (drops && !cc::mayDropFrames(*rate))) {
        return std::nullopt;
    }
    return cc::TimeCodeCounting{*rate, drops};
}

bool isBefore(const MediaTime& left, const MediaTime& right) noexcept {
    const auto split = [](const MediaTime& time) {
        const bool isBelow = time.value % time.timescale < 0;
        return std::pair(time.value / time.timescale - (isBelow ? 1 : 0),
                         time.value % time.timescale + (isBelow ? time.timescale : 0));
    };
    const auto [leftSeconds, leftRest] = split(left);
    const auto [rightSeconds, rightRest] = split(right);
    if (leftSeconds != rightSeconds) {
        return leftSeconds < rightSeconds;
    }
    // Both factors are below 2^31.
    return leftRest * right.timescale < rightRest * left.timescale;
}

std::optional<std::int32_t> parseCount(std::string_view text, std::int32_t most) noexcept {
    std::int32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [behind, error] = std::from_chars(text.data(), end, number);
    return error != std::errc() || behind != end || number < 1 || number > most ? std::nullopt : std::optional(number);
}

bool isSameTime(const MediaTime& left, const MediaTime& right) noexcept {
    return !isBefore(left, right) && !isBefore(right, left);
}

void limit(std::optional<MediaTime>& end, const MediaTime& time) noexcept {
    if (time.isValid() && (!end || isBefore(time, *end))) {
        end = time;
    }
}

void extend(std::optional<MediaTime>& all, bool& isOpen, const std::optional<MediaTime>& end) noexcept {
    isOpen = isOpen || !end;
    if (end && (!all || isBefore(*all, *end))) {
        all = end;
    }
}

std::string clockTime(std::int64_t milliseconds) {
    std::string text;
    const auto append = [&text](std::int64_t number, std::size_t digits, char mark) {
        std::string shown = std::to_string(number);
        text.append(digits - std::min(digits, shown.size()), '0');
        text += shown;
        text.append(mark == 0 ? 0 : 1, mark);
    };
    constexpr std::int64_t kMilliseconds = 1000;
    const std::int64_t seconds = milliseconds / kMilliseconds;
    append(seconds / kMinute / kMinute, 2, ':');
    append(seconds / kMinute % kMinute, 2, ':');
    append(seconds % kMinute, 2, '.');
    append(milliseconds % kMilliseconds, 3, 0);
    return text;
}

}  // namespace qlx::streams::detail
