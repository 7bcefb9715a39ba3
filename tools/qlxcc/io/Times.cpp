#include "io/Times.h"

#include "io/Errors.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace qlx::tool {

namespace {

/// The value of a text of `least` to `most` decimal digits and nothing else.
std::optional<std::uint32_t> digits(std::string_view text, std::size_t least, std::size_t most) noexcept {
    if (text.size() < least || text.size() > most) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    for (const char character : text) {
        if (character < '0' || character > '9') {
            return std::nullopt;
        }
        value = value * 10 + static_cast<std::uint32_t>(character - '0');
    }
    return value;
}

/// HH:MM:SS, its frames not yet known
std::optional<FrameTimecode> parseClock(std::string_view text) noexcept {
    const std::size_t first = text.find(':');
    const std::size_t second = text.find(':', first + 1);
    if (first == std::string_view::npos || second == std::string_view::npos) {
        return std::nullopt;
    }
    const auto hours = digits(text.substr(0, first), 1, 4);
    const auto minutes = digits(text.substr(first + 1, second - first - 1), 2, 2);
    const auto seconds = digits(text.substr(second + 1), 2, 2);
    if (!hours || !minutes || !seconds || *minutes > 59 || *seconds > 59) {
        return std::nullopt;
    }
    return FrameTimecode{*hours * 60 + *minutes, *seconds, 0, false};
}

/// HH:MM:SS, HH:MM:SS,mmm or HH:MM:SS.mmm
std::optional<double> parseTimecode(std::string_view text) noexcept {
    std::uint32_t milliseconds = 0;
    if (const std::size_t mark = text.find_first_of(",."); mark != std::string_view::npos) {
        const auto fraction = digits(text.substr(mark + 1), 3, 3);
        if (!fraction) {
            return std::nullopt;
        }
        milliseconds = *fraction;
        text = text.substr(0, mark);
    }
    const auto clock = parseClock(text);
    if (!clock) {
        return std::nullopt;
    }
    const std::uint64_t whole = std::uint64_t{clock->minutes} * 60 + clock->seconds;
    // One division of whole numbers: the nearest double, as a frame's time is.
    return static_cast<double>(whole * 1000 + milliseconds) / 1000.0;
}

/// 10 or 10.5
std::optional<double> parseSeconds(std::string_view text) noexcept {
    const bool isPlain = text.find_first_not_of("0123456789.") == std::string_view::npos;
    if (!isPlain || text.find_first_of("0123456789") == std::string_view::npos) {
        return std::nullopt;
    }
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

constexpr std::uint32_t kMinutesOfDay = 24 * 60;
constexpr std::uint64_t kHoursOfDay = 24;

}  // namespace

std::optional<double> parseTime(std::string_view text) noexcept {
    const bool isTimecode = text.find(':') != std::string_view::npos;
    const std::optional<double> seconds = isTimecode ? parseTimecode(text) : parseSeconds(text);
    if (!seconds || *seconds > kLongestTimeInSeconds) {
        return std::nullopt;
    }
    return seconds;
}

std::optional<FrameTimecode> parseFrameTimecode(std::string_view text) noexcept {
    const std::size_t mark = text.find_last_of(":;");
    if (mark == std::string_view::npos) {
        return std::nullopt;
    }
    auto time = parseClock(text.substr(0, mark));
    const auto frames = digits(text.substr(mark + 1), 2, 2);
    if (!time || !frames) {
        return std::nullopt;
    }
    time->frames = *frames;
    time->isDropFrame = text[mark] == ';';
    return time;
}

std::uint64_t frameOf(std::string_view text, const FrameTimecode& time, const Rate& rate) {
    const std::string shown = "\"" + std::string(text) + "\"";
    const std::uint32_t nominal = nominalFrames(rate);
    if (time.isDropFrame && !hasDropFrame(rate)) {
        throw UsageError(shown + " is a drop-frame timecode, which counts frames at 29.97 and 59.94 only");
    }
    if (time.frames >= nominal) {
        throw UsageError(shown + " is no TIME: at " + std::string(rate.name) +
                         " frames/s the frames of a second are 0 "
                         "to " +
                         std::to_string(nominal - 1));
    }
    // The library counts the frames of a day.
    const cc::FrameCount count(frameRateOf(rate), time.isDropFrame);
    const cc::FrameLabel label{time.minutes % kMinutesOfDay * 60 + time.seconds, time.frames};
    const std::uint32_t ofDay = count.ofLabel(label);
    if (cc::labelOf(count.timeCodeOf(ofDay), frameRateOf(rate)).frame != label.frame) {
        throw UsageError(shown + " is no TIME: drop-frame timecodes leave this number out");
    }
    return std::uint64_t{time.minutes / kMinutesOfDay} * count.ofDay() + ofDay;
}

double timeInSeconds(std::string_view text, const Rate* rate) {
    const std::string shown = "\"" + std::string(text) + "\"";
    std::optional<double> seconds;
    if (const auto time = parseFrameTimecode(text)) {
        if (rate == nullptr) {
            throw UsageError(shown + " counts frames: --rate is needed, which says how many a second has");
        }
        seconds = secondsFrom(rate->timeOfFrame(frameOf(text, *time, *rate)));
    } else {
        seconds = parseTime(text);
    }
    if (!seconds || *seconds > kLongestTimeInSeconds) {
        throw UsageError(shown + " is not a TIME (10.5, 00:00:10,500 or 00:00:10:12; at most 1000 hours)");
    }
    return *seconds;
}

double signedTimeInSeconds(std::string_view text, const Rate* rate) {
    return text.starts_with('-') ? -timeInSeconds(text.substr(1), rate) : timeInSeconds(text, rate);
}

double ShownTime::inSeconds() const noexcept {
    constexpr std::uint64_t kExact = std::uint64_t{1} << 43U;
    // One division of whole numbers wherever a double has them.
    const double size =
        seconds < kExact ? static_cast<double>(seconds * 1000 + milliseconds) / 1000.0 : static_cast<double>(seconds);
    return isNegative ? -size : size;
}

ShownTime shownTime(const MediaTime& time) noexcept {
    const bool isNegative = time.value < 0;
    const auto value = isNegative ? 0 - static_cast<std::uint64_t>(time.value) : static_cast<std::uint64_t>(time.value);
    const auto timescale = static_cast<std::uint64_t>(time.timescale);
    const std::uint64_t thousandths = value % timescale * 1000;
    // In front of 0 the later millisecond is the one with the smaller number.
    const std::uint64_t shown = (2 * thousandths + timescale - (isNegative ? 1 : 0)) / (2 * timescale);
    ShownTime result;
    result.seconds = value / timescale + shown / 1000;
    result.milliseconds = static_cast<std::uint32_t>(shown % 1000);
    result.isNegative = isNegative && (result.seconds > 0 || result.milliseconds > 0);
    return result;
}

MediaTime millisecondsFrom(double seconds) noexcept {
    constexpr double kMost = 1e12;  // far beyond every programme, and exact in milliseconds
    const double rounded = std::floor(std::clamp(seconds, -kMost, kMost) * 1000.0 + 0.5);
    return MediaTime::make(static_cast<std::int64_t>(rounded), 1000);
}

bool isReached(double moment, const MediaTime& time) noexcept {
    return std::min(secondsFrom(time), shownTime(time).inSeconds()) <= moment;
}

std::uint64_t firstFrameFrom(const Rate& rate, double moment) noexcept {
    std::uint64_t frame = firstFrameAtOrAfter(rate, moment);
    while (frame > 0 && shownTime(rate.timeOfFrame(frame - 1)).inSeconds() >= moment) {
        --frame;
    }
    return frame;
}

std::string timecode(const MediaTime& time) {
    if (!time.isValid() || time.timescale <= 0) {
        return "--:--:--,---";
    }
    const auto [isNegative, seconds, milliseconds] = shownTime(time);
    char text[40];
    const int length =
        std::snprintf(text, sizeof text, "%s%02llu:%02u:%02u,%03u", isNegative ? "-" : "",
                      static_cast<unsigned long long>(seconds / 3600), static_cast<unsigned>(seconds / 60 % 60),
                      static_cast<unsigned>(seconds % 60), static_cast<unsigned>(milliseconds));
    return {text, static_cast<std::size_t>(length)};
}

std::string timecodeColumn(const std::optional<MediaTime>& time) {
    const std::string text = timecode(time.value_or(MediaTime{}));
    return text.starts_with('-') && time ? text : " " + text;
}

std::string timecodeOfFrame(std::uint64_t frame, const Rate& rate, bool isDropFrame) {
    const cc::FrameCount count(frameRateOf(rate), isDropFrame);
    const cc::FrameLabel label = cc::labelOf(count.timeCodeOf(frame), frameRateOf(rate));
    const std::uint64_t hours = frame / count.ofDay() * kHoursOfDay + label.seconds / 3600;
    char text[64];
    const int length =
        std::snprintf(text, sizeof text, "%02llu:%02u:%02u%c%02u", static_cast<unsigned long long>(hours),
                      static_cast<unsigned>(label.seconds / 60 % 60), static_cast<unsigned>(label.seconds % 60),
                      isDropFrame ? ';' : ':', static_cast<unsigned>(label.frame));
    return {text, static_cast<std::size_t>(length)};
}

std::optional<std::string> timecodeAt2997(std::uint64_t frame, bool isDropFrame) {
    constexpr std::size_t kLengthBelowHundredHours = 11;
    std::string text = timecodeOfFrame(frame, *rateNamed("29.97"), isDropFrame);
    if (text.size() > kLengthBelowHundredHours || text >= "24") {
        return std::nullopt;
    }
    return text;
}

}  // namespace qlx::tool
