#include "commands/play/PlayWindow.h"

#include "cues/SubtitleTimes.h"
#include "io/Errors.h"
#include "io/Text.h"
#include "io/Times.h"

#include <algorithm>
#include <cmath>

namespace qlx::tool {

namespace {

constexpr double kSecondsBehindLastCue = 1.0;
/// Seconds of filling in front of the first cue that nobody may have wanted.
constexpr double kLongWait = 3600.0;
constexpr std::size_t kShownSubtitleProblems = 10;

// Bytes, with all that belongs to a cue and a line.
constexpr std::size_t kWeightOfCue = 200;
constexpr std::size_t kWeightOfLine = 192;
constexpr std::size_t kGreatestWeight = std::size_t{112} * 1024 * 1024;

}  // namespace

PlayWindow::PlayWindow(const PlayOptions& options, bool isDueLater)
    : _options(options), _name(options.subtitles == "-" ? "standard input" : options.subtitles),
      _isDueLater(isDueLater), _firstFrame(firstFrameFrom(options.rate, options.fromSeconds)),
      _firstTime(secondsFrom(options.rate.timeOfFrame(_firstFrame))) {
    if (options.durationSeconds) {
        const std::uint64_t frames = firstFrameAtOrAfter(options.rate, *options.durationSeconds);
        _lastTime = secondsFrom(options.rate.timeOfFrame(_firstFrame + frames - 1));
    }
}

bool PlayWindow::take(double start, double end) {
    ++_count;
    _endOfLastCue = std::max(_endOfLastCue, end);
    if (end <= _firstTime) {
        return false;
    }
    _firstStart = std::min(_firstStart, start);
    if (!(_isDueLater ? start < _lastTime : start <= _lastTime)) {
        return false;
    }
    ++_playedCues;
    weigh(kWeightOfCue);
    return true;
}

void PlayWindow::takeRow(std::size_t bytes) {
    weigh(kWeightOfLine + bytes);
}

void PlayWindow::add(const PlayWindow& other) {
    _firstStart = std::min(_firstStart, other._firstStart);
    _endOfLastCue = std::max(_endOfLastCue, other._endOfLastCue);
    _count += other._count;
    _playedCues += other._playedCues;
    weigh(other._weight);
}

void PlayWindow::weigh(std::size_t bytes) {
    _weight += bytes;
    if (_weight > kGreatestWeight) {
        throw failureIn(_name, "more cues than are played at once (" + std::to_string(_count) +
                                   " have been read): play parts of it with --from and --duration");
    }
}

FrameRange PlayWindow::frames(const std::string& name) const {
    if (_options.durationSeconds) {
        return {_firstFrame, _firstFrame + firstFrameAtOrAfter(_options.rate, *_options.durationSeconds)};
    }
    const std::string lastTimecode = timeInWords(_endOfLastCue);
    if (_endOfLastCue > kLongestTimeInSeconds) {
        throw failureIn(name, "the last cue ends at " + lastTimecode +
                                  ", behind 1000 hours: say how much is to be played with --duration");
    }
    // Cues end on whole milliseconds; the sum is brought back to the nearest one.
    const double end = std::round((_endOfLastCue + kSecondsBehindLastCue) * 1000.0) / 1000.0;
    const FrameRange range{_firstFrame, firstFrameAtOrAfter(_options.rate, end)};
    if (range.first >= range.end) {
        throw failureIn(name, "nothing to play: the last cue ends at " + lastTimecode + ", before " +
                                  std::string(_options.fromOption));
    }
    return range;
}

void PlayWindow::reportFilling(const std::string& name) const {
    const std::string place = "warning: " + name + ": ";
    // Where neither says where the programme begins, the reader of the cues has said that they come late.
    const bool isSaid = !_options.asDeployed && !_options.fromStart.isGiven && _options.fromSeconds == 0.0;
    if (_playedCues == 0) {
        printNote(place + "no cue falls into what is played: " +
                  (std::isfinite(_firstStart) ? "the next one begins at " + timeInWords(_firstStart)
                                              : "the last one ends at " + timeInWords(_endOfLastCue)));
    } else if (_firstStart - _firstTime > kLongWait && !isSaid) {
        printNote(place + "the first cue begins at " + timeInWords(_firstStart) +
                  ", more than an hour behind the first frame: is " + std::string(_options.missingOption) +
                  " missing?");
    }
}

void reportProblems(const Subtitles& subtitles, bool saysOthers) {
    std::size_t shown = 0;
    std::uint64_t notShown = subtitles.problems.count() - subtitles.problems.first().size();
    for (const SubtitleProblem& problem : subtitles.problems.first()) {
        if (!saysOthers && problem.effect == SubtitleProblem::Effect::NotASubtitle) {
            continue;
        }
        if (shown == kShownSubtitleProblems) {
            ++notShown;
            continue;
        }
        ++shown;
        printNote("warning: " + problemInWords(subtitles, problem));
    }
    if (notShown > 0) {
        printNote("warning: " + subtitles.name + ": " + counted(notShown, "more problem"));
    }
}

}  // namespace qlx::tool
