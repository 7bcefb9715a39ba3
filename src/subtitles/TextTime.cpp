#include "subtitles/TextTime.h"

#include "subtitles/TextEditing.h"

#include <array>
#include <charconv>
#include <cstddef>

namespace qlx::subtitles {

namespace {

constexpr std::int64_t kSixtyTimes = 60;
constexpr std::int64_t kSecond = 1000;

struct Digits {
    std::int64_t value = 0;
    std::size_t count = 0;
};

/// Takes digits off the front; none when there is none, or too many.
std::optional<Digits> takeDigits(std::string_view& text) noexcept {
    constexpr std::size_t kMost = 11;
    Digits digits;
    while (digits.count < text.size() && text[digits.count] >= '0' && text[digits.count] <= '9') {
        if (digits.count == kMost) {
            return std::nullopt;
        }
        digits.value = digits.value * 10 + (text[digits.count] - '0');
        ++digits.count;
    }
    text.remove_prefix(digits.count);
    return digits.count == 0 ? std::nullopt : std::optional(digits);
}

/// The milliseconds of a fraction of a second.
std::int64_t millisecondsOf(const Digits& fraction) noexcept {
    constexpr std::size_t kThree = 3;
    std::int64_t value = fraction.value;
    for (std::size_t count = fraction.count; count < kThree; ++count) {
        value *= 10;
    }
    std::int64_t divisor = 1;
    for (std::size_t count = kThree; count < fraction.count; ++count) {
        divisor *= 10;
    }
    return (value + divisor / 2) / divisor;
}

}  // namespace

std::optional<TextTime> parseTextTime(std::string_view text) noexcept {
    std::array<Digits, 3> parts;
    std::size_t count = 0;
    do {
        if (count > 0) {
            text.remove_prefix(1);
        }
        const auto digits = takeDigits(text);
        if (!digits) {
            return std::nullopt;
        }
        parts[count++] = *digits;
    } while (count < parts.size() && text.starts_with(':'));
    if (count < 2) {
        return std::nullopt;
    }
    TextTime time;
    time.hasHours = count == parts.size();
    const Digits& seconds = parts[count - 1];
    const Digits& minutes = parts[count - 2];
    const std::int64_t hours = time.hasHours ? parts[0].value : 0;
    time.milliseconds = ((hours * kSixtyTimes + minutes.value) * kSixtyTimes + seconds.value) * kSecond;
    time.hasDigits = minutes.count == 2 && seconds.count == 2 && minutes.value < kSixtyTimes &&
                     seconds.value < kSixtyTimes && (!time.hasHours || parts[0].count >= 2);
    if (text.starts_with(',') || text.starts_with('.')) {
        time.mark = text.front();
        text.remove_prefix(1);
        const auto fraction = takeDigits(text);
        if (!fraction) {
            return std::nullopt;
        }
        time.milliseconds += millisecondsOf(*fraction);
        time.hasDigits = time.hasDigits && fraction->count == 3;
    } else {
        time.hasDigits = false;
    }
    // What is read can be written.
    constexpr std::int64_t kMostHours = 99'999'999'999;
    const bool isPossible = time.milliseconds <= kMostHours * kSixtyTimes * kSixtyTimes * kSecond;
    return text.empty() && isPossible ? std::optional(time) : std::nullopt;
}

std::optional<TimingParts> splitTimingLine(std::string_view line) noexcept {
    const std::size_t arrow = line.find("-->");
    if (arrow == std::string_view::npos) {
        return std::nullopt;
    }
    // Those of WebVTT (W3C WebVTT, 6.3), where form feeds are among them.
    constexpr std::string_view kBlanks = " \t\f";
    const std::string_view behind = trimmed(line.substr(arrow + 3), kBlanks);
    const std::size_t end = std::min(behind.find_first_not_of("0123456789:.,"), behind.size());
    return TimingParts{parseTextTime(trimmed(line.substr(0, arrow), kBlanks)), parseTextTime(behind.substr(0, end)),
                       trimmed(behind.substr(end), kBlanks)};
}

void appendNumber(std::string& text, std::uint64_t number) {
    std::array<char, 20> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    text.append(digits.data(), end);
}

void appendTextTime(std::string& text, std::int64_t milliseconds, char mark) {
    const auto two = [&text](std::int64_t number) {
        text += {static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
    };
    const std::int64_t seconds = milliseconds / kSecond;
    const std::int64_t hours = seconds / (kSixtyTimes * kSixtyTimes);
    if (hours < 100) {
        two(hours);
    } else {
        appendNumber(text, static_cast<std::uint64_t>(hours));
    }
    text += ':';
    two(seconds / kSixtyTimes % kSixtyTimes);
    text += ':';
    two(seconds % kSixtyTimes);
    text += mark;
    const std::int64_t fraction = milliseconds % kSecond;
    text += static_cast<char>('0' + fraction / 100);
    two(fraction % 100);
}

}  // namespace qlx::subtitles
