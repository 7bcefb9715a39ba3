#include "io/Progress.h"

#include "io/Errors.h"
#include "io/OutputFile.h"
#include "io/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <unistd.h>

namespace qlx::tool {

namespace {

constexpr std::chrono::milliseconds kFirstDelay{500};
constexpr std::chrono::milliseconds kInterval{200};

// The clock is read once in so many frames.
constexpr std::uint32_t kFramesBetweenLooks = 64;

/// `00:12`, `1:00:00` from an hour on; parts of a second count as a whole one.
std::string minutesAndSeconds(double time) {
    constexpr double kLongest = 99.0 * 3600.0;
    const auto seconds = static_cast<unsigned>(std::ceil(std::min(time, kLongest)));
    char text[40];
    const int length = seconds < 3600 ? std::snprintf(text, sizeof text, "%02u:%02u", seconds / 60, seconds % 60)
                                      : std::snprintf(text, sizeof text, "%u:%02u:%02u", seconds / 3600,
                                                      seconds / 60 % 60, seconds % 60);
    return {text, static_cast<std::size_t>(length)};
}

}  // namespace

std::string progressText(std::uint64_t frames, std::uint64_t done, std::optional<std::uint64_t> total, double seconds) {
    const bool hasTotal = total && *total > 0;
    const bool hasRate = seconds > 0.0;
    std::string text = "qlxcc: " + counted(frames, "frame");
    if (hasTotal) {
        const double percent = 100.0 * static_cast<double>(done) / static_cast<double>(*total);
        text += ", " + std::to_string(static_cast<std::uint64_t>(percent)) + " %";
    }
    if (hasRate) {
        text += ", " + std::to_string(static_cast<std::uint64_t>(static_cast<double>(frames) / seconds)) + " frames/s";
    }
    if (hasTotal && hasRate && done > 0) {
        const std::uint64_t rest = *total - std::min(done, *total);
        text += ", " + minutesAndSeconds(seconds * static_cast<double>(rest) / static_cast<double>(done)) + " left";
    }
    return text;
}

Progress::Progress(std::optional<std::uint64_t> total, bool usesStandardOutput)
    : _total(total),
      _isEnabled(!isQuiet() && ::isatty(STDERR_FILENO) != 0 && !(usesStandardOutput && standardOutputIsTerminal())),
      _startTime(std::chrono::steady_clock::now()), _nextTime(_startTime + kFirstDelay) {}

void Progress::update(std::uint64_t frames, std::uint64_t done) {
    if (!_isEnabled || ++_calls % kFramesBetweenLooks != 0) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now < _nextTime) {
        return;
    }
    _nextTime = now + kInterval;
    _isShown = true;
    const double seconds = std::chrono::duration<double>(now - _startTime).count();
    printDirectly("\r" + progressText(frames, done, _total, seconds) + "\033[K");
}

void Progress::clear() {
    if (_isShown) {
        _isShown = false;
        printDirectly("\r\033[K");
    }
}

}  // namespace qlx::tool
