#include "Progress.h"

#include "OutputFile.h"
#include "Text.h"

#include <cstdio>

#include <unistd.h>

namespace qlx::tool {

namespace {

constexpr std::chrono::milliseconds kFirstDelay{500};
constexpr std::chrono::milliseconds kInterval{200};

// The clock is read once in so many frames.
constexpr std::uint32_t kFramesBetweenLooks = 64;

}  // namespace

std::string progressText(std::uint64_t frames, std::uint64_t done, std::optional<std::uint64_t> total) {
    std::string text = "qlxcc: " + counted(frames, "frame");
    if (total && *total > 0) {
        const double percent = 100.0 * static_cast<double>(done) / static_cast<double>(*total);
        text += ", " + std::to_string(static_cast<std::uint64_t>(percent)) + " %";
    }
    return text;
}

Progress::Progress(std::optional<std::uint64_t> total, bool usesStandardOutput)
    : _total(total), _isEnabled(::isatty(STDERR_FILENO) != 0 && !(usesStandardOutput && standardOutputIsTerminal())),
      _nextTime(std::chrono::steady_clock::now() + kFirstDelay) {}

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
    const std::string line = "\r" + progressText(frames, done, _total) + "\033[K";
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

void Progress::clear() {
    if (_isShown) {
        _isShown = false;
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
    }
}

}  // namespace qlx::tool
