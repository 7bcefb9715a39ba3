// Playing out by the fixed operations.
#include "commands/play/PlayWindow.h"
#include "commands/play/Playout.h"
#include "cues/CaptionFrames.h"
#include "cues/CueLosses.h"
#include "cues/Schedule.h"
#include "cues/Subtitles.h"
#include "io/Errors.h"
#include "io/Text.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <qlx/facade/frames.h>

#include <array>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::size_t kShownLosses = 10;

// The video lines of OP-47 packets: field 1, field 2.
constexpr std::array<std::uint64_t, 2> kLinesHD{12, 575};
constexpr std::array<std::uint64_t, 2> kLinesSD{21, 334};

std::int32_t modeOf(const PlayOptions& options) {
    return static_cast<std::int32_t>(options.mode);
}

using Records = std::vector<std::shared_ptr<QLXSubtitleRecord>>;

/// The cues of a playout, and what a viewer will not see of them as it is written.
class CueCollector {
public:
    explicit CueCollector(const PlayOptions& options)
        : _window(options, true), _losses(modeOf(options)),
          _subsOptions(options.mode == PlayMode::Cea608 ? "cea608 --rate " + std::string(options.rate.name)
                                                        : "teletext") {}

    void take(std::shared_ptr<QLXSubtitleRecord> record) {
        if (!_window.take(record->startTimeInSeconds(), record->endTimeInSeconds())) {
            return;
        }
        for (const auto& line : record->subtitleLines()) {
            _window.takeRow(line->textString().value_or(std::string()).size());
        }
        noteLosses(record);
        _records.push_back(std::move(record));
    }

    /// Says what a viewer will not see as it is written, a line a cue.
    void report(const std::string& name) const {
        _window.reportFilling(name);
        const std::string place = "warning: " + name + ": ";
        for (const std::string& note : _notes) {
            printNote(place + note);
        }
        if (_cuesWithLosses > _notes.size()) {
            printNote(place + counted(_cuesWithLosses - _notes.size(), "more cue") +
                      " not shown as written (see qlxcc subs --mode " + _subsOptions + ")");
        }
    }

    [[nodiscard]] const PlayWindow& window() const { return _window; }

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
        if (!lost.empty() && ++_cuesWithLosses <= kShownLosses) {
            _notes.push_back("cue " + std::to_string(record->index()) + ": " + std::move(lost));
        }
    }

    PlayWindow _window;
    CueLosses _losses;
    std::string _subsOptions;  ///< The mode, and what belongs to it, for `subs` to say more.
    std::vector<std::string> _notes;
    std::uint64_t _cuesWithLosses = 0;
    Records _records;
};

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

class DeployedPlayout final : public Playout {
public:
    explicit DeployedPlayout(const PlayOptions& options)
        : _options(options),
          _packetizer(QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(modeOf(options), options.isHD)) {
        CueCollector cues(options);
        _subtitles = readSubtitles({options.subtitles, modeOf(options), secondsFrom(options.rate.frameDuration()),
                                    options.encoding, options.asDeployed},
                                   [&](std::shared_ptr<QLXSubtitleRecord> record) { cues.take(std::move(record)); });
        _range = cues.window().frames(_subtitles.name);
        reportProblems(_subtitles, false);
        cues.report(_subtitles.name);
        _packetizer->setSubtitleRecords(cues.takeTimeline(modeOf(options)));
    }

    [[nodiscard]] FrameRange range() const override { return _range; }
    [[nodiscard]] std::vector<std::uint64_t> lines() const override { return linesOf(_options); }

    [[nodiscard]] Frame next(std::uint64_t number, const MediaTime& pts) override {
        std::vector<anc::Packet> packets = nextPackets(_options, *_packetizer, pts);
        return {{number, pts, std::move(packets), {}}, _sent.textOf(_packetizer->lastSubtitleRecord())};
    }

    [[nodiscard]] std::unique_ptr<FrameWriter> makeSchedule(OutputFile& output) override {
        return makeScheduleWriter(_options, _subtitles, output);
    }

private:
    const PlayOptions& _options;
    std::shared_ptr<QLXSubtitlesPacketizer> _packetizer;
    Subtitles _subtitles;
    FrameRange _range;
    SentSubtitle _sent;
};

}  // namespace

std::unique_ptr<Playout> makeDeployedPlayout(const PlayOptions& options) {
    return std::make_unique<DeployedPlayout>(options);
}

}  // namespace qlx::tool
