#include "Times.h"

#include <charconv>
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

/// HH:MM:SS or HH:MM:SS,mmm
std::optional<double> parseTimecode(std::string_view text) noexcept {
    std::uint32_t milliseconds = 0;
    if (const std::size_t comma = text.find(','); comma != std::string_view::npos) {
        const auto fraction = digits(text.substr(comma + 1), 3, 3);
        if (!fraction) {
            return std::nullopt;
        }
        milliseconds = *fraction;
        text = text.substr(0, comma);
    }
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
    const std::uint64_t whole = std::uint64_t{*hours} * 3600 + std::uint64_t{*minutes} * 60 + *seconds;
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

}  // namespace

std::optional<double> parseTime(std::string_view text) noexcept {
    const bool isTimecode = text.find(':') != std::string_view::npos;
    const std::optional<double> seconds = isTimecode ? parseTimecode(text) : parseSeconds(text);
    if (!seconds || *seconds > kLongestTimeInSeconds) {
        return std::nullopt;
    }
    return seconds;
}

std::string timecode(const MediaTime& time) {
    if (!time.isValid() || time.timescale <= 0 || time.value < 0) {
        return "--:--:--,---";
    }
    const auto value = static_cast<std::uint64_t>(time.value);
    const auto timescale = static_cast<std::uint64_t>(time.timescale);
    const std::uint64_t seconds = value / timescale;
    const std::uint64_t milliseconds = value % timescale * 1000 / timescale;
    char text[40];
    const int length =
        std::snprintf(text, sizeof text, "%02llu:%02u:%02u,%03u", static_cast<unsigned long long>(seconds / 3600),
                      static_cast<unsigned>(seconds / 60 % 60), static_cast<unsigned>(seconds % 60),
                      static_cast<unsigned>(milliseconds));
    return {text, static_cast<std::size_t>(length)};
}

std::optional<std::string> timecodeAt2997(std::uint64_t frame, bool isDropFrame) {
    constexpr std::uint64_t kRate = 30;
    constexpr std::uint64_t kDropped = 2;
    // A minute that drops numbers, and ten minutes, of which the first does not.
    constexpr std::uint64_t kMinute = 60 * kRate - kDropped;
    constexpr std::uint64_t kTenMinutes = 10 * kMinute + kDropped;
    std::uint64_t number = frame;
    if (isDropFrame) {
        const std::uint64_t rest = frame % kTenMinutes;
        number += frame / kTenMinutes * 9 * kDropped;
        number += rest < kDropped ? 0 : (rest - kDropped) / kMinute * kDropped;
    }
    const std::uint64_t seconds = number / kRate;
    constexpr std::uint64_t kDay = 86'400;
    if (seconds >= kDay) {
        return std::nullopt;
    }
    char text[40];
    const int length = std::snprintf(text, sizeof text, "%02u:%02u:%02u%c%02u", static_cast<unsigned>(seconds / 3600),
                                     static_cast<unsigned>(seconds / 60 % 60), static_cast<unsigned>(seconds % 60),
                                     isDropFrame ? ';' : ':', static_cast<unsigned>(number % kRate));
    return std::string(text, static_cast<std::size_t>(length));
}

}  // namespace qlx::tool
