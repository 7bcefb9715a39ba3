#include "TimeCodeText.h"

#include <qlx/cc/time_code.h>

#include <charconv>

namespace qlx::streams::detail {

namespace {

constexpr std::uint32_t kSecondsOfMinute = 60;
constexpr std::uint32_t kSecondsOfHour = 3600;

/// Takes a number of decimal digits, and the mark behind it, from the beginning of a text.
/// @param marks What may be behind it; empty where anything but a digit may. Gets the one that is.
std::optional<std::uint8_t> takeNumber(std::string_view& text, std::size_t least, std::size_t most,
                                       std::string_view marks, char& mark) noexcept {
    std::uint8_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto size = static_cast<std::size_t>(end - text.data());
    if (error != std::errc{} || size < least || size > most) {
        return std::nullopt;
    }
    text.remove_prefix(size);
    if (marks.empty()) {
        return number;
    }
    if (text.empty() || marks.find(text.front()) == std::string_view::npos) {
        return std::nullopt;
    }
    mark = text.front();
    text.remove_prefix(1);
    return number;
}

cc::FrameLabel labelOfFrame(std::uint64_t frame, FrameRate rate, bool dropsFrames) noexcept {
    return cc::labelOf(cc::FrameCount(rate, dropsFrames).timeCodeOf(frame), rate);
}

}  // namespace

std::optional<TimeCodeText> readTimeCode(std::string_view text, FrameRate rate,
                                         std::optional<bool> dropsFrames) noexcept {
    constexpr std::size_t kMostDigitsOfHours = 4;
    const std::size_t size = text.size();
    char mark = 0;
    const auto hours = takeNumber(text, 1, kMostDigitsOfHours, ":", mark);
    const auto minutes = hours ? takeNumber(text, 2, 2, ":", mark) : std::nullopt;
    const auto seconds = minutes ? takeNumber(text, 2, 2, ":;.,", mark) : std::nullopt;
    const bool drops = dropsFrames.value_or(mark != ':');
    const auto frames = seconds ? takeNumber(text, 2, 2, {}, mark) : std::nullopt;
    if (!hours || !minutes || !seconds || !frames || *hours > 23 || *minutes > 59 || *seconds > 59 ||
        *frames >= nominalFramesPerSecond(rate) || (drops && !cc::mayDropFrames(rate))) {
        return std::nullopt;
    }
    const cc::FrameLabel label{*hours * kSecondsOfHour + *minutes * kSecondsOfMinute + *seconds, *frames};
    const std::uint32_t frame = cc::FrameCount(rate, drops).ofLabel(label);
    const cc::FrameLabel named = labelOfFrame(frame, rate, drops);
    if (named.seconds != label.seconds || named.frame != label.frame) {
        return std::nullopt;  // a number that drop-frame counting leaves out
    }
    return TimeCodeText{frame, size - text.size(), drops};
}

void appendTimeCode(std::string& text, std::uint64_t frame, FrameRate rate, bool dropsFrames, char mark) {
    const cc::FrameLabel label = labelOfFrame(frame, rate, dropsFrames);
    const auto append = [&text](std::uint32_t number, char behind) {
        text += static_cast<char>('0' + number / 10);
        text += static_cast<char>('0' + number % 10);
        if (behind != 0) {
            text += behind;
        }
    };
    append(label.seconds / kSecondsOfHour, ':');
    append(label.seconds / kSecondsOfMinute % kSecondsOfMinute, ':');
    append(label.seconds % kSecondsOfMinute, mark);
    append(label.frame, 0);
}

std::int64_t timecodeNumber(std::uint64_t frame, FrameRate rate, bool dropsFrames) noexcept {
    constexpr std::int64_t kDropFrame = 0x8000'0000;
    const cc::FrameLabel label = labelOfFrame(frame, rate, dropsFrames);
    return std::int64_t{label.seconds / kSecondsOfHour} << 24 |
           std::int64_t{label.seconds / kSecondsOfMinute % kSecondsOfMinute} << 16 |
           std::int64_t{label.seconds % kSecondsOfMinute} << 8 | std::int64_t{label.frame} |
           (dropsFrames ? kDropFrame : 0);
}

}  // namespace qlx::streams::detail
