#include "commands/play/Play.h"

#include "cues/CaptionFrames.h"
#include "cues/CueLosses.h"
#include "cues/Schedule.h"
#include "cues/SubtitleTimes.h"
#include "cues/Subtitles.h"
#include "io/Errors.h"
#include "io/OutputFile.h"
#include "io/Progress.h"
#include "io/Text.h"
#include "io/Times.h"
#include "streams/Json.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <qlx/facade/frames.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

constexpr double kSecondsBehindLastCue = 1.0;
constexpr std::size_t kShownProblems = 10;

// The video lines of OP-47 packets: field 1, field 2.
constexpr std::array<std::uint64_t, 2> kLinesHD{12, 575};
constexpr std::array<std::uint64_t, 2> kLinesSD{21, 334};

std::int32_t modeOf(const PlayOptions& options) {
    return static_cast<std::int32_t>(options.mode);
}

/// The frames that are played: `first` to `end`, without the latter.
struct FrameRange {
    std::uint64_t first = 0;
    std::uint64_t end = 0;
};

using Records = std::vector<std::shared_ptr<QLXSubtitleRecord>>;

void reportProblems(const Subtitles& subtitles) {
    std::size_t shown = 0;
    std::uint64_t notShown = subtitles.problems.count() - subtitles.problems.first().size();
    for (const SubtitleProblem& problem : subtitles.problems.first()) {
        if (problem.effect == SubtitleProblem::Effect::NotASubtitle) {
            continue;
        }
        if (shown == kShownProblems) {
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

/// The cues of a playout, up to an amount that no programme has.
class CueCollector {
public:
    explicit CueCollector(const PlayOptions& options)
        : _name(options.subtitles == "-" ? "standard input" : options.subtitles),
          _firstFrame(firstFrameAtOrAfter(options.rate, options.fromSeconds)),
          _firstTime(secondsFrom(options.rate.timeOfFrame(_firstFrame))), _losses(modeOf(options)),
          _subsOptions(options.mode == PlayMode::Cea608 ? "cea608 --rate " + std::string(options.rate.name)
                                                        : "teletext") {
        if (options.durationSeconds) {
            const std::uint64_t frames = firstFrameAtOrAfter(options.rate, *options.durationSeconds);
            _lastTime = secondsFrom(options.rate.timeOfFrame(_firstFrame + frames - 1));
        }
    }

    void take(std::shared_ptr<QLXSubtitleRecord> record) {
        ++_count;
        _endOfLastCue = std::max(_endOfLastCue, record->endTimeInSeconds());
        if (record->endTimeInSeconds() <= _firstTime) {
            return;
        }
        _firstStart = std::min(_firstStart, record->startTimeInSeconds());
        // A cue is due with the first frame that is later than its start.
        if (!(record->startTimeInSeconds() < _lastTime)) {
            return;
        }
        ++_playedCues;
        _weight += kWeightOfCue;
        for (const auto& line : record->subtitleLines()) {
            _weight += kWeightOfLine + line->textString().value_or(std::string()).size();
        }
        if (_weight > kGreatestWeight) {
            throw failureIn(_name, "more cues than are played at once (" + std::to_string(_count) +
                                       " have been read): play parts of it with --from and --duration");
        }
        noteLosses(record);
        _records.push_back(std::move(record));
    }

    /// Says what a viewer will not see as it is written, a line a cue.
    void report(const std::string& name) const {
        const std::string place = "warning: " + name + ": ";
        reportFilling(place);
        for (const std::string& note : _notes) {
            printNote(place + note);
        }
        if (_cuesWithLosses > _notes.size()) {
            printNote(place + counted(_cuesWithLosses - _notes.size(), "more cue") +
                      " not shown as written (see qlxcc subs --mode " + _subsOptions + ")");
        }
    }

    [[nodiscard]] std::uint64_t firstFrame() const { return _firstFrame; }
    [[nodiscard]] double endOfLastCue() const { return _endOfLastCue; }

    /// The timeline that is handed to the packetizer: the cues that end after the first frame's time, behind an empty
    /// record. The packetizer shows its first record from the beginning, whatever its start; with one in front that
    /// ended before all time, the first cue becomes due like every other: on the first frame that is later than its
    /// start.
    [[nodiscard]] Records takeTimeline(std::int32_t mode) {
        auto front = QLXSubtitleRecord::initWithSubtitleMode(mode);
        front->setStartTimeInSeconds(-std::numeric_limits<double>::infinity());
        front->setEndTimeInSeconds(-std::numeric_limits<double>::infinity());
        _records.insert(_records.begin(), std::move(front));
        return std::move(_records);
    }

private:
    void noteLosses(const std::shared_ptr<QLXSubtitleRecord>& record) {
        std::string lost = _losses.of(record);
        if (!lost.empty() && ++_cuesWithLosses <= kShownProblems) {
            _notes.push_back("cue " + std::to_string(record->index()) + ": " + std::move(lost));
        }
    }

    /// Says when there is nothing but filling, or very much of it.
    void reportFilling(const std::string& place) const {
        if (_playedCues == 0) {
            printNote(place + "no cue falls into what is played: " +
                      (std::isfinite(_firstStart) ? "the next one begins at " + timecodeOf(_firstStart)
                                                  : "the last one ends at " + timecodeOf(_endOfLastCue)));
        } else if (_firstStart - _firstTime > kLongWait) {
            printNote(place + "the first cue begins at " + timecodeOf(_firstStart) +
                      ", more than an hour behind the first frame: is --from missing?");
        }
    }

    static std::string timecodeOf(double seconds) { return timeInWords(seconds); }

    // Bytes, with all that belongs to a cue and a line.
    static constexpr std::size_t kWeightOfCue = 200;
    static constexpr std::size_t kWeightOfLine = 192;
    static constexpr std::size_t kGreatestWeight = std::size_t{112} * 1024 * 1024;
    /// Seconds of filling in front of the first cue that nobody may have wanted.
    static constexpr double kLongWait = 3600.0;

    std::string _name;
    std::uint64_t _firstFrame;
    double _firstTime;
    double _lastTime = std::numeric_limits<double>::infinity();    ///< Of the last frame.
    double _firstStart = std::numeric_limits<double>::infinity();  ///< Of the cues that end behind the first frame.
    double _endOfLastCue = 0.0;
    std::uint64_t _count = 0;
    std::size_t _weight = 0;
    std::uint64_t _playedCues = 0;
    CueLosses _losses;
    std::string _subsOptions;  ///< The mode, and what belongs to it, for `subs` to say more.
    std::vector<std::string> _notes;
    std::uint64_t _cuesWithLosses = 0;
    Records _records;
};

FrameRange frameRange(const PlayOptions& options, const std::string& name, const CueCollector& cues) {
    const std::uint64_t first = cues.firstFrame();
    if (options.durationSeconds) {
        return {first, first + firstFrameAtOrAfter(options.rate, *options.durationSeconds)};
    }
    const double lastEnd = cues.endOfLastCue();
    const std::string lastTimecode = timeInWords(lastEnd);
    if (lastEnd > kLongestTimeInSeconds) {
        throw failureIn(name, "the last cue ends at " + lastTimecode +
                                  ", behind 1000 hours: say how much is to be played with --duration");
    }
    // Cues end on whole milliseconds; the sum is brought back to the nearest one.
    const double end = std::round((lastEnd + kSecondsBehindLastCue) * 1000.0) / 1000.0;
    const FrameRange range{first, firstFrameAtOrAfter(options.rate, end)};
    if (range.first >= range.end) {
        throw failureIn(name, "nothing to play: the last cue ends at " + lastTimecode + ", before --from");
    }
    return range;
}

std::string summary(const PlayOptions& options, const Subtitles& subtitles) {
    const bool isTeletext = options.mode == PlayMode::Teletext;
    return subtitles.name + ": " + counted(subtitles.cues, "cue") +
           (isTeletext ? " as OP-47 teletext, " : " as CEA-608 captions on field 1, ") +
           std::string(options.rate.name) + " frames/s" + (isTeletext ? options.isHD ? ", HD" : ", SD" : "");
}

std::unique_ptr<FrameWriter> makeScheduleWriter(const PlayOptions& options, const Subtitles& subtitles,
                                                OutputFile& output) {
    if (options.mode == PlayMode::Cea608) {
        auto schedule = std::make_unique<CaptionScheduleWriter>(output);
        schedule->writeTitles(summary(options, subtitles));
        return schedule;
    }
    auto schedule = std::make_unique<ScheduleWriter>(output, options.isHD ? kLinesHD : kLinesSD);
    schedule->writeTitles(summary(options, subtitles));
    return schedule;
}

std::vector<std::uint64_t> linesOf(const PlayOptions& options) {
    if (options.mode == PlayMode::Cea608) {
        return {kCaptionLine};
    }
    const std::array<std::uint64_t, 2>& lines = options.isHD ? kLinesHD : kLinesSD;
    return {lines.begin(), lines.end()};
}

std::unique_ptr<FrameWriter> makeWriter(const PlayOptions& options, const Subtitles& subtitles, OutputFile& output) {
    switch (options.format) {
    case PlayFormat::V210:
        return makeFrameFile(output, {.format = FrameFormat::V210,
                                      .form = options.rowForm,
                                      .layout = {.width = options.width, .lines = linesOf(options)}});
    case PlayFormat::Klv:
        return makeFrameFile(output, {.format = FrameFormat::Klv, .form = options.rowForm, .layout = {}});
    case PlayFormat::Jsonl:
        return makeFrameFile(output, {.format = FrameFormat::Jsonl, .form = {}, .layout = {}});
    case PlayFormat::Scc:
        return std::make_unique<SccWriter>(output, options.isDropFrame);
    case PlayFormat::Schedule:
        break;
    }
    return makeScheduleWriter(options, subtitles, output);
}

/// The packets of the next frame.
std::vector<anc::Packet> nextPackets(const PlayOptions& options, QLXSubtitlesPacketizer& packetizer,
                                     const MediaTime& pts) {
    const MediaTime duration = options.rate.frameDuration();
    std::vector<anc::Packet> packets = facade::nextPackets(packetizer, pts, duration);
    if (packets.empty() && options.mode == PlayMode::Cea608 && options.fillsFrames) {
        return captionPackets(
            QLXCCUtilities::createEmptyCEA708SampleBufferWithPTS_frameDuration_sequenceCounter(pts, duration, 0));
    }
    return packets;
}

/// The text of the subtitle last sent, made when it changes.
class SentSubtitle {
public:
    std::shared_ptr<const std::string> textOf(const std::shared_ptr<QLXSubtitleRecord>& record) {
        if (record != _record) {
            _record = record;
            _text = record ? std::make_shared<const std::string>(subtitleText(*record)) : nullptr;
        }
        return _text;
    }

private:
    std::shared_ptr<QLXSubtitleRecord> _record;
    std::shared_ptr<const std::string> _text;
};

}  // namespace

int play(const PlayOptions& options) {
    refuseInputAsOutput(options.subtitles, options.output);
    const MediaTime duration = options.rate.frameDuration();
    CueCollector cues(options);
    const Subtitles subtitles =
        readSubtitles({options.subtitles, modeOf(options), secondsFrom(duration), options.encoding},
                      [&](std::shared_ptr<QLXSubtitleRecord> record) { cues.take(std::move(record)); });
    const FrameRange range = frameRange(options, subtitles.name, cues);
    reportProblems(subtitles);
    cues.report(subtitles.name);

    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(modeOf(options), options.isHD);
    packetizer->setSubtitleRecords(cues.takeTimeline(modeOf(options)));

    OutputFile output(options.output);
    const auto writer = makeWriter(options, subtitles, output);
    SentSubtitle sent;
    Progress progress(range.end - range.first, output.isStandardOutput());
    for (std::uint64_t number = range.first; number < range.end; ++number) {
        const MediaTime pts = options.rate.timeOfFrame(number);
        std::vector<anc::Packet> packets = nextPackets(options, *packetizer, pts);
        writer->write({{number, pts, std::move(packets), {}}, sent.textOf(packetizer->lastSubtitleRecord())});
        const std::uint64_t done = number + 1 - range.first;
        progress.update(done, done);
    }
    writer->finish();
    output.commit();
    return kExitSuccess;
}

}  // namespace qlx::tool
