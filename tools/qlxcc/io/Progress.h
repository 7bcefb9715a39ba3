// A line that shows how far a long run has come.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace qlx::tool {

/// `qlxcc: 1200 frames, 48 %, 5210 frames/s, 00:12 left`; percentage and time stay away where the total is not known,
/// the rate where no time has passed.
/// @param seconds How long the run has taken.
[[nodiscard]] std::string progressText(std::uint64_t frames, std::uint64_t done, std::optional<std::uint64_t> total,
                                       double seconds);

/// Shows progress on standard error when that is a terminal and the output does not go to one as well; otherwise, and
/// with --quiet, it is silent. A run shorter than half a second shows nothing. The line is removed at the end.
class Progress {
public:
    /// @param total What `done` reaches at the end; none when unknown.
    /// @param usesStandardOutput Whether the run's output goes to standard output.
    Progress(std::optional<std::uint64_t> total, bool usesStandardOutput);
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Called once a frame.
    void update(std::uint64_t frames, std::uint64_t done);

    /// Removes the line, so that something else can be printed.
    void clear();

private:
    std::optional<std::uint64_t> _total;
    bool _isEnabled = false;
    bool _isShown = false;
    std::uint32_t _calls = 0;
    std::chrono::steady_clock::time_point _startTime;
    std::chrono::steady_clock::time_point _nextTime;
};

}  // namespace qlx::tool
