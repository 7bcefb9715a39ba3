#include "commands/convert/Carriers.h"

#include "commands/convert/CarrierTimes.h"
#include "commands/convert/TransportFrames.h"
#include "cues/TrackCues.h"
#include "io/Errors.h"
#include "io/FindingNotes.h"
#include "io/FrameLoop.h"
#include "io/OutputFile.h"
#include "io/Progress.h"
#include "io/Text.h"
#include "io/Times.h"
#include "streams/InputKind.h"
#include "streams/OpenFrames.h"
#include "streams/PacketNames.h"
#include "streams/TransportPackets.h"
#include "streams/TransportRate.h"

#include <qlx/cc/cdp.h>
#include <qlx/cc/rate.h>
#include <qlx/streams/captions.h>
#include <qlx/streams/teletext_packets.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

/// More than a day of frames that are missing is no file's.
constexpr std::uint64_t kLongestGapSeconds = std::uint64_t{24} * 3600;

std::vector<cc::Triplet> tripletsOf(const Data& bytes) {
    std::vector<cc::Triplet> triplets(bytes.size() / sizeof(cc::Triplet));
    if (!triplets.empty()) {
        std::memcpy(triplets.data(), bytes.data(), triplets.size() * sizeof(cc::Triplet));
    }
    return triplets;
}

bool isCaption(const anc::Packet& packet) {
    return packet.id() == anc::ids::kCdp || packet.id() == anc::ids::kCea608;
}

/// The way of frames from the one file to the other.
class CarrierConversion {
public:
    CarrierConversion(const CarrierOptions& options, InputFile& source, OutputFile& output)
        : _options(options), _source(source), _output(output), _kind(kindOf(source, options.source.kind)),
          _frames(options.frames), _leftOut(std::make_shared<LeftOut>(output.name(), options.reportsAll)),
          _remarks(source, options.reportsAll), _progress(source.size(), output.isStandardOutput()),
          _notes(source.name(), _progress, options.reportsAll, options.reportsAll) {
        sayTextTracks();
        FrameSourceOptions opened = options.source;
        opened.kind = _kind;
        _reader = openFrames(source, opened);
    }

    int run() {
        std::vector<Frame> first;
        Frame frame;
        while (first.size() < framesThatTellRate() && read(frame)) {
            first.push_back(frame);
        }
        begin(first);
        for (Frame& each : first) {
            take(each);
        }
        while (read(frame)) {
            take(frame);
        }
        finish();
        _progress.clear();
        _notes.finish();
        refuseNothing();
        _remarks.sayHowManyMore();
        _writer->finish();
        if (_moved > 0) {
            printNote("warning: " + _source.name() + ": " + counted(_moved, "frame") +
                      " earlier than the one before, taken as one of its time");
        }
        if (_before > 0) {
            printNote("warning: " + _source.name() + ": left out: " + counted(_before, "frame") +
                      " in front of the start");
        }
        _output.commit();
        const bool isLossy =
            _hasTracks || _before > 0 || _moved > 0 || _isBehindMidnight || !_leftOut->isEmpty() || !_notes.isEmpty();
        const bool hasFailed = _reader->problems() > 0 || (_options.isStrict && isLossy);
        if (hasFailed) {
            printWhyItFails(_source.name(),
                            counted(_reader->problems(), "problem") + (isLossy ? ", changes or losses" : ""));
        }
        return hasFailed ? kExitFailure : kExitSuccess;
    }

private:
    /// A start behind all frames is none of theirs: where nothing is left there is nothing to write.
    void refuseNothing() const {
        if (_before > 0 && !_base) {
            throw failureIn(_source.name(), "nothing to write: all " + counted(_before, "frame") +
                                                " are in front of the start" +
                                                (_lastBefore ? ", the last one at " + timecode(*_lastBefore) : ""));
        }
    }

    /// What a container has beside its captions is left out.
    void sayTextTracks() {
        if (!mayHaveTextTracks(_kind)) {
            return;
        }
        if (!_source.size()) {
            printNote("warning: " + _source.name() + ": " + std::string(kTracksNotLookedFor));
            return;
        }
        const std::vector<streams::TextTrack> tracks = textTracksOf(_source, _kind);
        _hasTracks = !tracks.empty();
        if (_hasTracks) {
            printNote("warning: " + _source.name() + ": left out: text track " + tracksInWords(tracks) +
                      " (--track makes packets of one)");
        }
    }

    bool read(Frame& frame) {
        std::vector<FrameProblem> problems;
        const bool hasFrame = _reader->next(frame, problems);
        const std::vector<std::string> remarks = _reader->takeRemarks();
        if (!remarks.empty() || !problems.empty()) {
            _progress.clear();
        }
        _remarks.say(remarks);
        _remarks.sayProblems(problems);
        if (hasFrame) {
            _progress.update(++_read, _source.offset());
        }
        return hasFrame;
    }

    [[nodiscard]] std::size_t framesThatTellRate() const {
        return _kind == InputKind::TransportStream ? kFramesThatTellRate : 2;
    }

    [[nodiscard]] bool hasTimecodes() const {
        return _frames.format == FrameFormat::Scc || _frames.format == FrameFormat::Mcc;
    }

    /// Whether what is written has a frame for each of the picture, and no times.
    [[nodiscard]] bool hasEveryFrame() const {
        return _frames.format == FrameFormat::Klv || _frames.format == FrameFormat::V210;
    }

    void settleRate(const std::vector<Frame>& first) {
        const bool isSaid = !_options.source.rate || _kind == InputKind::Mcc;
        _rate = isSaid ? rateOfBeginning(_kind, first) : std::nullopt;
        if (!_rate && _options.source.rate) {
            _rate = frameRateOf(*_options.source.rate);
        }
        const bool isNeeded =
            hasTimecodes() || _frames.format == FrameFormat::TransportStream ||
            std::any_of(first.begin(), first.end(), [](const Frame& frame) { return !frame.triplets.empty(); });
        if (isNeeded && !_rate && !first.empty()) {
            throw UsageError("--from-rate is needed: " + _source.name() + " does not say its frame rate");
        }
    }

    void begin(const std::vector<Frame>& first) {
        settleRate(first);
        const FrameRate rate = _rate.value_or(FrameRate::Fps2997);
        _to = _options.toRate ? frameRateOf(*_options.toRate)
                              : (_frames.format == FrameFormat::Scc ? FrameRate::Fps2997 : rate);
        if (_frames.format != FrameFormat::Scc && _to != rate) {
            throw UsageError("--to-rate: frames are not changed from one rate to another here: qlxcc rate does it");
        }
        _frames.scc.rate = _to;
        if (_kind == InputKind::Scc && !_frames.scc.field && !first.empty()) {
            // Such a file has the pairs of one field, and goes on having those.
            _frames.scc.field = cc::Triplet{first[0].triplets[0], 0, 0}.type();
        }
        _frames.mcc.rate = _to;
        if (_options.keepsCounting) {
            keepCounting(_reader->counting(), _frames);
        }
        settleStarts(first);
        _makesPackets = _frames.format == FrameFormat::Klv || _frames.format == FrameFormat::V210 ||
                        _frames.format == FrameFormat::Mcc;
        _changesRate = _frames.format == FrameFormat::Scc && _to != rate;
        beginTeletext();
        _writer = makeFrameWriter(_output, _frames, _leftOut);
    }

    /// The labels of IN count as it says; so do those of what is written, where it has timecodes.
    void settleStarts(const std::vector<Frame>& first) {
        _times = _options.times;
        const auto counted = countingOf(_reader->counting());
        if (_options.fromStart.time) {
            _times.fromStart =
                qlx::tool::timeOf(*_options.fromStart.time, counted ? counted : countingOf(_rate), _source.name());
        } else if (_options.fromStart.isTaken && !first.empty()) {
            _times.fromStart = timeOf(first[0]);
        }
        if (_options.toStart) {
            const bool drops = _frames.format == FrameFormat::Scc ? _frames.scc.dropsFrames : _frames.mcc.dropsFrames;
            const auto written = hasTimecodes() ? LabelCounting{_to, drops && cc::mayDropFrames(_to)}
                                 : _rate        ? std::optional(LabelCounting{_to})
                                                : std::nullopt;
            _times.toStart = qlx::tool::timeOf(*_options.toStart, written, _output.name());
            beginAtStart();
        }
    }

    /// What has a frame for each of the picture, and no times, begins where the programme does.
    void beginAtStart() {
        if (!hasEveryFrame() || !_rate) {
            return;
        }
        _begin = frameAt(framesUpTo(*_times.toStart, {}, *_rate)).value_or(0);
        _last = _begin;
        _written = _begin;
        printNote("remark: " + _output.name() + ": " + unsaidStartInWords(*_options.toStart));
    }

    void beginTeletext() {
        if (_kind == InputKind::TransportStream) {
            _join.emplace([this](Frame& frame) { pass(frame); });
        }
        if (_frames.format == FrameFormat::TransportStream) {
            _frames.transport.rate = _to;
            if (const auto wrong = streams::checkTransport(_frames.transport)) {
                throw UsageError("--to-format ts: " + wrong->text());
            }
            FrameSourceOptions opened = _options.source;
            opened.kind = _kind;
            _frames.transport.pages = describedPages(_options.path, opened);
            for (streams::ts::TeletextPage& page : _frames.transport.pages) {
                page.type = _options.isHearingImpaired ? streams::ts::TeletextType::HearingImpaired : page.type;
            }
        } else if (_frames.format != FrameFormat::Scc) {
            _packets.emplace(teletextLinesOf(_to));
        }
    }

    [[nodiscard]] std::optional<MediaTime> timeOf(const Frame& frame) const {
        if (frame.pts || !_rate) {
            return frame.pts;
        }
        return pictureTime(frame.number, *_rate);
    }

    /// The number of a frame in what is written, whose frames count from its beginning; none in front of that.
    [[nodiscard]] std::optional<std::uint64_t> numberOf(const Frame& frame) const {
        const std::optional<MediaTime> time = timeOf(frame);
        if (!time || !_rate) {
            return frame.number;
        }
        const double number = framesUpTo(*time, _times, *_rate);
        constexpr double kGreatest = 1e15;  // far from where times of frames have no room
        if (number > kGreatest) {
            throw failureIn(_source.name(), "frame " + std::to_string(frame.number) + ": its time is too great");
        }
        const auto at = frameAt(number);
        return at && *at >= _begin ? at : std::nullopt;
    }

    void take(Frame& frame) {
        const auto number = numberOf(frame);
        if (!number) {
            ++_before;
            _lastBefore = timeOf(frame);
            report(frame, "left out: in front of the start");
            return;
        }
        // Gaps that time codes pretend again and again would fill a file without end.
        const std::uint64_t longest = kLongestGapSeconds * nominalFramesPerSecond(_to);
        _missing += (_base || hasEveryFrame()) && *number > _last ? std::min(*number - _last, longest + 1) - 1 : 0;
        if (_missing >= longest) {
            throw failureIn(_source.name(), "frame " + std::to_string(frame.number) + ": more than a day is missing" +
                                                (_base ? "" : " in front of it (--from-start says where IN begins)"));
        }
        if (!_base) {
            _base = *number;
            sayLateBeginning(*number - _begin);
        }
        // Time does not go back.
        if (*number < _last) {
            ++_moved;
            report(frame, "earlier than the one before, taken as one of its time");
        }
        frame.number = std::max(*number, _last);
        _last = frame.number;
        if (!_isBehindMidnight && !_times.isNothing() && isBehindMidnight(_last, _frames)) {
            _isBehindMidnight = true;
            _progress.clear();
            printNote("warning: " + _output.name() + ": frame " + std::to_string(_last) +
                      " is behind midnight: timecodes begin again at 00:00:00:00");
        }
        if (_rate) {
            frame.pts = pictureTime(frame.number, *_rate);
        }
        if (_join) {
            _join->take(frame);
        } else {
            pass(frame);
        }
    }

    /// Says what becomes of one frame, where each is to be said.
    void report(const Frame& frame, std::string_view what) {
        if (_options.reportsAll) {
            _progress.clear();
            printNote("remark: " + _source.name() + ": frame " + std::to_string(frame.number) + ": " +
                      std::string(what));
        }
    }

    /// Takes a frame with all that is of it.
    void pass(Frame& frame) {
        if (_packets) {
            if (!frame.teletext.empty() && !_rate && hasEveryFrame()) {
                throw UsageError("--from-rate is needed: " + _source.name() +
                                 " does not say its frame rate, to which its teletext belongs");
            }
            _leftOut->setFrame(frame);
            _packets->put(frame, _leftOut.get());
        }
        if (_changesRate || (_makesPackets && (!frame.triplets.empty() || _change))) {
            takeCaptions(frame);
        } else {
            write(frame);
        }
    }

    void sayLateBeginning(std::uint64_t number) {
        constexpr std::uint64_t kLate = std::uint64_t{59} * 60;
        if (hasEveryFrame() && _rate && number > kLate * nominalFramesPerSecond(*_rate)) {
            printNote("warning: " + _source.name() + ": the first frame is " + counted(number, "frame") +
                      " behind the beginning, which are written: --from-start auto leaves them out");
        }
    }

    /// Puts captions that are in no packet into the slots of the rate, or those of all kinds into those of another one.
    void takeCaptions(Frame& frame) {
        if (!_rate) {
            throw UsageError("--from-rate is needed: " + _source.name() + " does not say its frame rate");
        }
        _notes.setPlace("frame " + std::to_string(frame.number));
        if (!_change) {
            _change.emplace(cc::RateOptions{.from = *_rate, .to = _to});
            _changeBase = frame.number;
        }
        if (_changesRate) {
            _counters.receive(frame, &_notes);
        }
        const Data captions = _changesRate ? streams::captionTriplets(frame, &_notes) : frame.triplets;
        const std::uint64_t fed = frame.number - _changeBase;
        // A Scenarist file has no frames between its pairs: they have captions as well, with nothing in them.
        const std::array idle{cc::idlePair(_options.source.field.value_or(cc::CcType::Field1))};
        while (_kind == InputKind::Scc && _fed < fed) {
            _change->feed(_fed++, idle, &_notes);
            drain();
        }
        _change->feed(fed, tripletsOf(captions), &_notes);
        _fed = fed + 1;
        frame.triplets = Data();
        if (_changesRate) {
            std::erase_if(frame.packets, isCaption);
        }
        if (!frame.packets.empty() || !_changesRate) {
            _waiting.push_back(std::move(frame));
        }
        drain();
    }

    /// Writes what the change of rate has ready.
    void drain() {
        cc::RateFrame ready;
        while (_change->next(ready, &_notes)) {
            const std::uint64_t number = ready.number;
            const auto isEarlier = [&](const Frame& frame) {
                return secondsFrom(*frame.pts) < secondsFrom(outputTime(number)) && !isAt(frame, number);
            };
            while (!_waiting.empty() && isEarlier(_waiting.front())) {
                write(_waiting.front());
                _waiting.pop_front();
            }
            Frame frame;
            frame.pts = outputTime(number);
            frame.number =
                static_cast<std::uint64_t>(std::llround(secondsFrom(*frame.pts) / secondsFrom(frameDuration(_to))));
            const bool isOfInput = !_waiting.empty() && isAt(_waiting.front(), number);
            if (isOfInput) {
                frame = std::move(_waiting.front());
                _waiting.pop_front();
            }
            if (ready.isCarried) {
                std::array<std::uint8_t, cc::kGreatestCdpBytes> room{};
                // A packet that the change gives fits.
                const std::size_t size = *cc::writeCdp(ready.cdp, room);
                if (!frame.wrappings.empty()) {
                    frame.wrappings.insert(frame.wrappings.begin(), anc::Wrapping::VancFrame);
                }
                frame.packets.insert(frame.packets.begin(),
                                     packetOf(anc::ids::kCdp, std::span(room).first(size), _options.line));
            }
            if (isOfInput || !frame.packets.empty()) {
                write(frame);
            }
        }
    }

    /// The time of a frame that the change of rate gives: its first one has that of the first one that it got.
    [[nodiscard]] MediaTime outputTime(std::uint64_t number) const {
        return add(pictureTime(_changeBase, *_rate), pictureTime(number, _to));
    }

    [[nodiscard]] bool isAt(const Frame& frame, std::uint64_t number) const {
        return !_changesRate && frame.number == _changeBase + number;
    }

    void write(Frame& frame) {
        if (hasEveryFrame()) {
            const std::uint64_t number = _rate ? static_cast<std::uint64_t>(std::llround(
                                                     secondsFrom(*frame.pts) / secondsFrom(frameDuration(*_rate))))
                                               : frame.number;
            for (Frame empty; _written < number; ++_written) {
                empty.number = _written;
                _writer->write(empty);
            }
            _written = std::max(_written, number) + 1;  // a second frame of a time is one more
        }
        _writer->write(frame);
    }

    void finish() {
        if (_join) {
            _join->finish();
        }
        if (_change) {
            _change->finish();
            drain();
        }
        for (Frame& frame : _waiting) {
            write(frame);
        }
    }

    const CarrierOptions& _options;
    InputFile& _source;
    OutputFile& _output;
    InputKind _kind;
    FrameOutputOptions _frames;
    std::shared_ptr<LeftOut> _leftOut;
    RemarkNotes _remarks;
    Progress _progress;
    FindingNotes _notes;
    std::unique_ptr<FrameInput> _reader;
    std::unique_ptr<FrameWriter> _writer;
    TimeChange _times;
    std::optional<FrameRate> _rate;  ///< Of what is read, where it is known.
    FrameRate _to = FrameRate::Fps2997;
    std::optional<FrameJoin> _join;                    ///< Of what has frames of one time.
    std::optional<streams::TeletextPackets> _packets;  ///< Of teletext that is in none.
    bool _makesPackets = false;                        ///< What is written has no place for captions beside packets.
    streams::CdpCounters _counters;
    bool _changesRate = false;  ///< All captions go through _change.
    std::optional<cc::RateChange> _change;
    std::uint64_t _changeBase = 0;       ///< The number of the first frame that it got.
    std::uint64_t _fed = 0;              ///< Frames that it got.
    std::deque<Frame> _waiting;          ///< Frames whose captions it has not given yet.
    std::optional<std::uint64_t> _base;  ///< The number of the first frame.
    std::uint64_t _begin = 0;            ///< The number of the first frame that is written, where all of them are.
    std::uint64_t _last = 0;
    std::uint64_t _written = 0;
    std::uint64_t _read = 0;
    std::uint64_t _missing = 0;            ///< Frames between those of the file.
    std::uint64_t _before = 0;             ///< Frames in front of the start.
    std::optional<MediaTime> _lastBefore;  ///< The time of the last one of them.
    std::uint64_t _moved = 0;              ///< Frames earlier than the one before.
    bool _isBehindMidnight = false;        ///< Timecodes have begun again.
    bool _hasTracks = false;               ///< There are text tracks, which are left out.
};

}  // namespace

int convertCarrier(const CarrierOptions& options) {
    refuseInputAsOutput(options.path, options.output);
    const auto source = options.opened ? options.opened : std::make_shared<InputFile>(options.path);
    OutputFile output(options.output);
    return CarrierConversion(options, *source, output).run();
}

}  // namespace qlx::tool
