// Playing out as captions of CEA-608, CEA-708 or both.
#include "commands/play/PlayedCues.h"
#include "commands/play/Playout.h"
#include "cues/CueNotes.h"
#include "cues/CueSchedule.h"
#include "cues/StartTimes.h"
#include "cues/Subtitles.h"
#include "cues/WideEncoding.h"
#include "io/Errors.h"
#include "io/Rates.h"
#include "io/Text.h"
#include "io/Times.h"
#include "streams/PacketNames.h"

#include <qlx/base/frame_rate.h>
#include <qlx/cc/cdp.h>
#include <qlx/playout/broadcast.h>
#include <qlx/playout/captions.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

playout::CaptionOptions line21Options(const CaptionPlayOptions& captions) {
    return {.channel = captions.channel, .style = captions.style, .rollUpRows = captions.rollUpRows};
}

/// The frames that a caption takes from its first pair to the one that shows it, where nothing else is sent.
std::uint64_t framesOfLoad(const PlayOptions& options, subtitles::Cue cue) {
    constexpr std::int64_t kLongerThanAnyLoad = 60;
    const FrameRate rate = frameRateOf(options.rate);
    playout::CaptionPlayout trial(rate, options.captions.writer);
    cue.start = MediaTime::make(0, 1);
    cue.end = MediaTime::make(kLongerThanAnyLoad, 1);
    if (!trial.add(cue, line21Options(options.captions))) {
        return 0;
    }
    while (!trial.isDone()) {
        const std::uint64_t frame = trial.frame();
        static_cast<void>(trial.next());
        const auto events = trial.events();
        if (std::any_of(events.begin(), events.end(),
                        [](const auto& event) { return event.step == cea608::CaptionStep::Shown; })) {
            return frame;
        }
    }
    return 0;
}

/// The first frame of a Scenarist file, which has none between its pairs: of the hour of timecodes in which its first
/// caption is shown, where the programme begins, or as many in front of that caption as its pairs need.
std::uint64_t firstFrameOfScc(const PlayOptions& options, const std::vector<subtitles::Cue>& cues) {
    const auto due = cues.empty() ? std::nullopt : dueFrame(cues.front(), options.rate);
    if (!due) {
        return 0;
    }
    const FrameRate rate = frameRateOf(options.rate);
    const MediaTime hour = programmeStart(
        std::nullopt, LabelCounting{rate, options.isDropFrame && hasDropFrame(options.rate)}, cues.front());
    const std::uint64_t first = nearestFrame(hour, rate).value_or(0);
    return first == 0 ? 0 : std::min(first, *due - std::min(*due, framesOfLoad(options, cues.front())));
}

/// @param cues In the order of their starts.
FrameRange rangeOf(const PlayOptions& options, const PlayWindow& window, const std::string& name,
                   const std::vector<subtitles::Cue>& cues) {
    FrameRange range = window.frames(name);
    if (options.format == PlayFormat::Scc && range.first == 0 && !options.durationSeconds) {
        range.first = std::min(range.end, firstFrameOfScc(options, cues));
    }
    return range;
}

class CaptionPlayout final : public Playout {
public:
    CaptionPlayout(const PlayOptions& options, const PlayedCues& cues, const std::vector<subtitles::Cue>& ordered,
                   const Subtitles& subtitles)
        : _options(options), _name(subtitles.name), _cueCount(subtitles.cues),
          _isDamaged(subtitles.problems.damages() > 0), _isLossy(subtitles.problems.losses() > 0 || cues.areChanged()),
          _range(rangeOf(options, cues.window(), _name, ordered)), _notes(_name, options.mode == PlayMode::Captions),
          _playout(frameRateOf(options.rate), writerOptions(options, _range.first)) {
        if (options.reportsAll) {
            _notes.sayAll();
        }
        nameServices();
        reportProblems(subtitles, true);
        cues.window().reportFilling(_name);
        for (const subtitles::Cue& cue : ordered) {
            add(cue);
        }
        cues.sayLengthened(_name);
        if (cues.joined() > 0) {
            printNote("warning: " + _name + ": " + counted(cues.joined(), "cue") +
                      " shown together with the one before, which is due in the same frame");
        }
        addExtendedData();
        _notes.say();
    }

    [[nodiscard]] FrameRange range() const override { return _range; }
    [[nodiscard]] std::vector<std::uint64_t> lines() const override { return {_options.captions.line}; }
    [[nodiscard]] bool isDone() const override { return _playout.isDone(); }
    [[nodiscard]] bool isDamaged() const override { return _isDamaged; }
    [[nodiscard]] bool isLossy() const override { return _isLossy || _notes.isLossy(); }

    [[nodiscard]] Frame next(std::uint64_t number, const MediaTime& pts) override {
        const cc::Cdp cdp = _playout.next(&_notes);
        for (const cea608::CaptionEvent& event : _playout.line21Events()) {
            follow(event, number);
        }
        for (const cea708::CaptionEvent& event : _playout.serviceEvents()) {
            follow(event, number);
        }
        Frame frame;
        frame.number = number;
        frame.pts = pts;
        if (_options.fillsFrames || !isFilling(cdp)) {
            std::array<std::uint8_t, cc::kGreatestCdpBytes> room;
            // A packet of the playout has room there.
            const std::size_t size = *cc::writeCdp(cdp, room);
            frame.packets.push_back(packetOf(anc::ids::kCdp, std::span(room).first(size), _options.captions.line));
        }
        return frame;
    }

    [[nodiscard]] std::unique_ptr<FrameWriter> makeSchedule(OutputFile& output) override {
        auto schedule = std::make_unique<CueScheduleWriter>(output, _options.rate, _courses);
        schedule->writeTitles(_name + ": " + counted(_cueCount, "cue") + " as " + target() + ", " +
                              std::string(_options.rate.name) + " frames/s");
        return schedule;
    }

    void finish() override {
        _notes.finish();
        const auto isMissing = [](const CueCourse& cue) { return !cue.shown && !cue.isLeftOut; };
        const auto missing = static_cast<std::uint64_t>(std::count_if(_courses.begin(), _courses.end(), isMissing));
        if (missing > 0) {
            const auto first = std::find_if(_courses.begin(), _courses.end(), isMissing);
            printNote("warning: " + _name + ": " + counted(missing, "cue") +
                      " not on air by the end, the first is cue " + std::to_string(first->number));
        }
    }

private:
    static playout::BroadcastOptions writerOptions(const PlayOptions& options, std::uint64_t firstFrame) {
        playout::BroadcastOptions writers;
        writers.line21 = options.captions.writer;
        writers.line21.firstFrame = firstFrame;
        writers.services.aspectRatio = options.captions.aspectRatio;
        writers.services.usesWideCharacters = options.captions.wideEncoding.has_value();
        if (options.captions.wideEncoding) {
            writers.services.wideCode = wideCodesOf(*options.captions.wideEncoding);
        }
        writers.services.clearAfter = options.captions.writer.clearAfter;
        writers.services.firstFrame = firstFrame;
        return writers;
    }

    /// A caption service is always named, the captions of line 21 where their language is known.
    void nameServices() {
        constexpr cc::CaptionService::Language kUndetermined{'u', 'n', 'd'};
        const CaptionPlayOptions& captions = _options.captions;
        const cc::CaptionService::Language language = captions.language.value_or(kUndetermined);
        std::vector<cc::CaptionService> services;
        if (hasLine21(_options.mode) && (captions.language || hasService(_options.mode))) {
            services.push_back(cc::CaptionService::line21(captions.channel.field == 2, language));
        }
        if (hasService(_options.mode)) {
            const bool isWide = captions.aspectRatio == cea708::AspectRatio::Wide;
            services.push_back(cc::CaptionService::digital(captions.service, language,
                                                           {.easyReader = false, .wideAspectRatio = isWide}));
        }
        // There are two at most.
        static_cast<void>(_playout.setServices(services));
    }

    [[nodiscard]] std::string target() const {
        const std::string channel(nameOf(_options.captions.channel));
        const std::string service = "service " + std::to_string(int{_options.captions.service});
        switch (_options.mode) {
        case PlayMode::Cea708:
            return "CEA-708 captions in " + service;
        case PlayMode::Captions:
            return "captions on " + channel + " and in " + service;
        default:
            return "CEA-608 captions on " + channel;
        }
    }

    /// A cue is sent when the first of its systems begins, and on air when the last one shows it.
    template <class Event>
    void follow(const Event& event, std::uint64_t number) {
        using Step = decltype(event.step);
        CueCourse& cue = _courses[event.number];
        // A text is on air as soon as it is begun.
        const bool isText = std::is_same_v<Event, cea608::CaptionEvent> && _options.captions.channel.isText;
        if (event.step == Step::Begun) {
            cue.sent = cue.sent.value_or(number);
        }
        const Step shown = isText ? Step::Begun : Step::Shown;
        if (event.step == shown && cue.awaited > 0 && --cue.awaited == 0) {
            cue.shown = number;
        }
    }

    static bool isFilling(const cc::Cdp& cdp) {
        const auto triplets = cdp.triplets();
        return std::all_of(triplets.begin(), triplets.end(),
                           [](const cc::Triplet& triplet) { return !triplet.valid() || triplet.isNullPair(); });
    }

    void add(const subtitles::Cue& cue) {
        const CaptionPlayOptions& captions = _options.captions;
        _notes.addCue(cue.number);
        playout::BroadcastTargets targets;
        if (hasLine21(_options.mode)) {
            targets.line21 = line21Options(captions);
        }
        if (hasService(_options.mode)) {
            targets.service = playout::ServiceOptions{.service = captions.service,
                                                      .style = static_cast<cea708::CaptionStyle>(captions.style),
                                                      .rollUpRows = captions.rollUpRows};
        }
        const bool isTaken = _playout.add(cue, targets, &_notes);
        _courses.push_back(
            {.number = cue.number,
             .text = _options.format == PlayFormat::Schedule ? subtitleText(cue) : std::string(),
             .due = dueFrame(cue, _options.rate).value_or(0),
             .isLeftOut = !isTaken,
             .awaited = static_cast<std::uint8_t>((targets.line21 ? 1 : 0) + (targets.service ? 1 : 0))});
    }

    void addExtendedData() {
        std::vector<cea608::XdsPacket> packets;
        _notes.setPlace("options");
        for (const cea608::XdsValue& value : _options.captions.extendedData) {
            if (const auto packet = cea608::xdsPacket(value, false, &_notes)) {
                packets.push_back(*packet);
            }
        }
        if (!packets.empty()) {
            _playout.setXds(std::move(packets), kSecondsBetweenPackets, &_notes);
        }
        _notes.setPlace({});
    }

    /// Of extended data.
    static constexpr std::uint32_t kSecondsBetweenPackets = 10;

    const PlayOptions& _options;
    std::string _name;
    std::uint64_t _cueCount;
    bool _isDamaged = false;
    bool _isLossy = false;  ///< Something of the files.
    FrameRange _range;
    CueNotes _notes;
    playout::BroadcastPlayout _playout;
    std::vector<CueCourse> _courses;
};

}  // namespace

std::unique_ptr<Playout> makeCaptionPlayout(const PlayOptions& options) {
    PlayedCues cues(options);
    const Subtitles subtitles = cues.read();
    const std::vector<subtitles::Cue> ordered = cues.inOrder(false);
    return std::make_unique<CaptionPlayout>(options, cues, ordered, subtitles);
}

}  // namespace qlx::tool
