// Which cues and frames of a subtitle file are played.
#pragma once

#include "commands/play/Playout.h"
#include "cues/Subtitles.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

namespace qlx::tool {

/// Takes the times of all cues, up to an amount that no programme has.
class PlayWindow {
public:
    /// @param isDueLater Whether a cue is due with the first frame that is later than its start, and not at it.
    PlayWindow(const PlayOptions& options, bool isDueLater);

    /// Takes the next cue, its times in seconds; false when it is not played.
    /// @throws Failure when there are more than are played at once.
    [[nodiscard]] bool take(double start, double end);

    /// Takes a row of a cue that is played, of so many bytes.
    /// @throws Failure, the same.
    void takeRow(std::size_t bytes);

    /// Takes what another one has taken.
    /// @throws Failure, the same.
    void add(const PlayWindow& other);

    /// The first frame, and the time at which it begins.
    [[nodiscard]] std::uint64_t firstFrame() const noexcept { return _firstFrame; }
    [[nodiscard]] double firstTime() const noexcept { return _firstTime; }

    /// The frames that are played.
    /// @throws Failure when there are none, or too many.
    [[nodiscard]] FrameRange frames(const std::string& name) const;

    /// Says when there is nothing but filling, or very much of it.
    void reportFilling(const std::string& name) const;

private:
    void weigh(std::size_t bytes);

    const PlayOptions& _options;
    std::string _name;
    bool _isDueLater;
    std::uint64_t _firstFrame;
    double _firstTime;
    double _lastTime = std::numeric_limits<double>::infinity();    ///< Of the last frame.
    double _firstStart = std::numeric_limits<double>::infinity();  ///< Of the cues that end behind the first frame.
    double _endOfLastCue = 0.0;
    std::uint64_t _count = 0;
    std::uint64_t _playedCues = 0;
    std::size_t _weight = 0;
};

/// Says what is wrong with a subtitle file, some of it.
/// @param saysOthers What is left out and is no cue is said as well.
void reportProblems(const Subtitles& subtitles, bool saysOthers);

}  // namespace qlx::tool
