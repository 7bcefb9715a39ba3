#include "commands/show/Show.h"

#include "commands/show/ShowExtendedData.h"
#include "cues/WideEncoding.h"
#include "io/Errors.h"
#include "io/FindingNotes.h"
#include "io/FrameLoop.h"
#include "io/OutputFile.h"
#include "io/Progress.h"
#include "io/Terminal.h"
#include "io/Text.h"
#include "io/Times.h"
#include "pictures/ImageFile.h"
#include "pictures/PngFile.h"
#include "pictures/ScreenImage.h"
#include "pictures/ScreenText.h"
#include "streams/Json.h"
#include "streams/OpenFrames.h"
#include "streams/XdsWords.h"

#include <qlx/streams/on_air.h>
#include <qlx/teletext/page.h>

#include <algorithm>
#include <charconv>
#include <functional>
#include <memory>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

/// A page or channel that is watched, and what it shows now.
struct Watched {
    std::unique_ptr<streams::OnAir> onAir;
    screen::Screen screen;
    teletext::CharacterSet set;  ///< Of the screen.
    MediaTime since;
    std::uint64_t sinceFrame = 0;
};

std::vector<Watched> watchedOf(const ShowOptions& options) {
    if (options.showsExtendedData) {
        return {};
    }
    std::vector<std::unique_ptr<streams::OnAir>> all;
    const bool isChosen = options.page || options.channel || options.service;
    if (options.page || !isChosen) {
        all.push_back(streams::teletextOnAir(options.page.value_or(teletext::kSubtitlePage), options.region));
    }
    if (options.channel || !isChosen) {
        all.push_back(
            streams::captionsOnAir(options.channel.value_or(cea608::kCC1), {.ignoresParity = options.ignoresParity}));
    }
    if (options.service) {
        all.push_back(streams::serviceOnAir(
            *options.service,
            {.aspectRatio = options.isStandardAspect ? cea708::AspectRatio::Standard : cea708::AspectRatio::Wide,
             .wideCharacter = wideCharactersOf(options.wideEncoding)}));
    }
    std::vector<Watched> watched;
    for (auto& onAir : all) {
        screen::Screen screen = onAir->screen();
        const teletext::CharacterSet set = onAir->characterSet();
        watched.push_back({std::move(onAir), std::move(screen), set, {}, 0});
    }
    return watched;
}

bool isPage(const streams::OnAir& onAir) {
    return onAir.kind() == streams::OnAirKind::TeletextPage;
}

bool isService(const streams::OnAir& onAir) {
    return onAir.kind() == streams::OnAirKind::CaptionService;
}

/// `teletext page 888`, `captions CC1`, `text T1`, `service 1`.
std::string titleOf(const streams::OnAir& onAir) {
    const std::string name = onAir.name();
    const std::string_view kind = isPage(onAir)           ? "teletext page "
                                  : isService(onAir)      ? "service "
                                  : name.starts_with('T') ? "text "
                                                          : "captions ";
    return std::string(kind) + name;
}

/// What may help when nothing is shown: `pages here: 801, 802`, `services here: 1, 2`; or empty.
std::string hintOf(const streams::OnAir& onAir) {
    constexpr std::size_t kShownPages = 10;
    const std::vector<std::uint16_t> pages = onAir.otherPages();
    std::string text;
    for (std::size_t index = 0; index < std::min(pages.size(), kShownPages); ++index) {
        const bool isFirst = index == 0;
        text += isService(onAir) ? (isFirst ? "services here: " : ", ") + std::to_string(pages[index])
                                 : (isFirst ? "pages here: " : ", ") + teletext::pageName(pages[index]);
    }
    return pages.size() > kShownPages ? text + " and " + std::to_string(pages.size() - kShownPages) + " more" : text;
}

Dictionary jsonOf(const Watched& watched) {
    const streams::OnAir& onAir = *watched.onAir;
    return {{isPage(onAir)      ? "page"
             : isService(onAir) ? "service"
                                : "channel",
             onAir.name()},
            {"rows", screenRows(watched.screen, watched.set)}};
}

/// Says what is wrong with packets of a frame that are decoded; once where several look at the same packet.
class PlacedNotes final : public FindingSink {
public:
    PlacedNotes(FindingNotes& notes, std::uint64_t frame) : _notes(notes), _frame(frame) {}

    void add(const Finding& finding) override {
        if (_ofOthers.contains(finding)) {
            return;
        }
        _own.push_back(finding);
        // What came with the picture has no line.
        _notes.setPlace(finding.offset > 0 ? placeOf(_frame, finding.offset) : "frame " + std::to_string(_frame));
        _notes.add(finding);
    }

    /// What comes from here on is found by another one.
    void changeReader() {
        _ofOthers.insert(_own.begin(), _own.end());
        _own.clear();
    }

private:
    /// Any order will do.
    struct Less {
        bool operator()(const Finding& left, const Finding& right) const noexcept {
            const auto key = [](const Finding& one) {
                return std::tie(one.offset, one.code, one.severity, one.first, one.second);
            };
            return key(left) < key(right);
        }
    };

    FindingNotes& _notes;
    std::uint64_t _frame;
    std::set<Finding, Less> _ofOthers;
    std::vector<Finding> _own;
};

/// Reads a file's frames and writes what they show.
class Show {
public:
    Show(const ShowOptions& options, InputFile& source, OutputFile& output)
        : _options(options), _source(source), _output(output), _kind(kindOf(source, options.source.kind)),
          _watched(watchedOf(options)), _inColours(output.isStandardOutput() && useColors()),
          _progress(source.size(), output.isStandardOutput()), _notes(source.name(), _progress) {
        if (options.showsExtendedData) {
            _extendedData.emplace(options.ignoresParity);
        }
        checkKind();
        if (options.at) {
            const Rate sccRate = rateNamed("29.97").value();
            const Rate* const rate = _kind == InputKind::Scc ? &sccRate
                                     : options.source.rate   ? &*options.source.rate
                                                             : nullptr;
            _at = signedTimeInSeconds(*options.at, rate);
        }
    }

    /// @return The problems in the file.
    FrameProblems run() {
        FrameSourceOptions sourceOptions = _options.source;
        sourceOptions.kind = _kind;
        if (_options.channel && _options.channel->field == 2) {
            sourceOptions.field = cc::CcType::Field2;
        }
        const auto reader = openFrames(_source, sourceOptions);
        FrameProblems problems;
        try {
            problems = readFrames(_source, *reader, _output, [this](const Frame& frame) { return wants(frame); });
        } catch (const Failure&) {
            if (!_at && _output.isStandardOutput()) {
                endBlocks();
                _output.flush();
            }
            throw;
        }
        finishWatched();
        _notes.finish();
        if (_at) {
            writeScreens();
        } else {
            endBlocks();
            writeNothing();
        }
        return problems;
    }

    /// The screen for the picture; an empty one when nothing is on air.
    [[nodiscard]] const screen::Screen& pictureScreen() const {
        const Watched* chosen = nullptr;
        for (const Watched& watched : _watched) {
            if (watched.screen.hasText()) {
                if (chosen != nullptr) {
                    throw UsageError("several are on air: say with --page, --channel or --service which one the "
                                     "picture shows");
                }
                chosen = &watched;
            }
        }
        for (const Watched& watched : _watched) {
            chosen = chosen == nullptr && watched.onAir->isCarried() ? &watched : chosen;
        }
        return chosen != nullptr ? chosen->screen : _watched.front().screen;
    }

private:
    void checkKind() const {
        const FrameSourceOptions& source = _options.source;
        if (hasRows(_kind) && !source.lines) {
            throw UsageError("--lines or --rows is needed with " + std::string(nameOf(_kind)) +
                             ": the rows of a frame say which time a row has");
        }
        if (_kind == InputKind::Scc && source.rate && source.rate->name != "29.97") {
            throw UsageError("a Scenarist caption file counts 29.97 frames/s: --rate " +
                             std::string(source.rate->name) + " does not go with it");
        }
    }

    /// @return False for a frame behind the time that is asked for.
    bool wants(const Frame& frame) {
        if (!frame.pts) {
            throw UsageError("--rate is needed: " + _source.name() + " does not say the times of its frames");
        }
        if (_at && !isReached(*_at, *frame.pts)) {
            _firstTime = _firstTime ? _firstTime : frame.pts;
            _isAtEnd = false;
            return false;
        }
        take(frame);
        return true;
    }

    void take(const Frame& frame) {
        _firstTime = _firstTime ? _firstTime : frame.pts;
        _timeBefore = std::exchange(_lastTime, frame.pts);
        PlacedNotes notes(_notes, frame.number);
        if (_extendedData) {
            for (const ExtendedDatum& datum : _extendedData->receive(frame, &notes)) {
                if (!_at) {
                    writeDatum(datum);
                }
            }
        }
        for (Watched& watched : _watched) {
            notes.changeReader();
            if (watched.onAir->receive(frame, &notes)) {
                look(watched, frame);
            }
        }
        _lastFrame.number = frame.number;
        _lastFrame.pts = frame.pts;
    }

    /// Takes the screen of a frame with which it may have changed.
    void look(Watched& watched, const Frame& frame) {
        screen::Screen screen = watched.onAir->screen();
        if (screen == watched.screen) {
            return;
        }
        if (!_at) {
            writeBlock(watched, &frame);
        }
        watched.screen = std::move(screen);
        watched.set = watched.onAir->characterSet();
        watched.since = *frame.pts;
        watched.sinceFrame = frame.number;
    }

    /// Says what has no end, where the file is read up to its own.
    void finishWatched() {
        if (!_lastFrame.pts || !_isAtEnd) {
            return;
        }
        PlacedNotes notes(_notes, _lastFrame.number);
        if (_extendedData) {
            _extendedData->finish(&notes);
        }
        for (Watched& watched : _watched) {
            notes.changeReader();
            if (watched.onAir->finish(&notes)) {
                look(watched, _lastFrame);
            }
        }
    }

    /// Writes what was shown until now, when there was something to read.
    /// @param next The frame that changed it; null at the end of the file.
    void writeBlock(const Watched& watched, const Frame* next) {
        if (!watched.screen.hasText()) {
            return;
        }
        if (_options.asJson) {
            Dictionary object = jsonOf(watched);
            object.set("from", jsonTime(watched.since));
            object.set("fromFrame", watched.sinceFrame);
            object.set("to", jsonTime(next != nullptr ? next->pts : std::nullopt));
            object.set("toFrame", next != nullptr ? Value(next->number) : Value());
            writeJson(std::move(object));
        } else {
            _output.write((_blocks == 0 ? "" : "\n") + timecode(watched.since) + " - " +
                          (next != nullptr ? timecode(*next->pts) : "end") + "  " + titleOf(*watched.onAir) + "\n");
            writeRows(watched);
        }
        ++_blocks;
        if (_output.isStandardOutput() && standardOutputIsTerminal()) {
            _output.flush();
        }
    }

    void writeJson(Dictionary object) {
        setSchema(object, "qlxcc/show/1", !_hasJson);
        _hasJson = true;
        _output.write(jsonText(Value(std::move(object))) + "\n");
    }

    /// A line for a packet that says something new.
    void writeDatum(const ExtendedDatum& datum) {
        ++_blocks;
        if (_options.asJson) {
            writeJson({{"channel", "XDS"},
                       {"class", static_cast<std::uint64_t>(datum.packet.xdsClass)},
                       {"type", std::uint64_t{datum.packet.type}},
                       {"data", hex(datum.packet.bytes.items())},
                       {"text", xdsInWords(datum.packet)},
                       {"from", jsonTime(datum.since)},
                       {"fromFrame", datum.sinceFrame}});
            return;
        }
        _output.write(timecode(datum.since) + "  XDS  " + xdsInWords(datum.packet) + "\n");
    }

    void writeRows(const Watched& watched) {
        for (const std::string& line : screenLines(watched.screen, _inColours, watched.set)) {
            _output.write(line + "\n");
        }
    }

    void endBlocks() {
        for (const Watched& watched : _watched) {
            writeBlock(watched, nullptr);
        }
    }

    /// When there was not a single block: says so.
    void writeNothing() {
        if (_blocks == 0 && !_options.asJson && _extendedData) {
            _output.write("XDS: no extended data\n");
        }
        if (_blocks == 0 && !_options.asJson) {
            for (const Watched& watched : _watched) {
                _output.write(titleOf(*watched.onAir) + ": never anything on air" + inBrackets(hintOf(*watched.onAir)) +
                              "\n");
            }
        }
    }

    static std::string inBrackets(const std::string& text) { return text.empty() ? "" : " (" + text + ")"; }

    /// Frames of a rate stop at the end of the file; other files say only when something changes.
    [[nodiscard]] bool isBehindEnd() const {
        if (!_isAtEnd || !_timeBefore || _kind == InputKind::Scc || isContainer(_kind)) {
            return false;
        }
        const double last = secondsFrom(*_lastTime);
        return *_at >= last + (last - secondsFrom(*_timeBefore));
    }

    void writeScreens() {
        if (_extendedData) {
            for (const ExtendedDatum& datum : _extendedData->current()) {
                writeDatum(datum);
            }
            writeNothing();
        }
        const bool isBehind = isBehindEnd();
        std::string where;
        if (isBehind) {
            where = "the last frame is at " + timecode(*_lastTime);
        } else if (!_lastTime && _firstTime) {
            where = "the first frame is at " + timecode(*_firstTime);
        }
        const bool isChosen = _options.page || _options.channel || _options.service;
        const bool isAnyCarried = std::any_of(_watched.begin(), _watched.end(),
                                              [](const Watched& watched) { return watched.onAir->isCarried(); });
        for (Watched& watched : _watched) {
            if (isBehind) {
                watched.screen = screen::Screen::blank(watched.screen.system, watched.screen.rows(),
                                                       watched.screen.columns, watched.screen.firstRow);
            }
            if (isChosen || !isAnyCarried || watched.onAir->isCarried()) {
                writeScreen(watched, where.empty() ? hintOf(*watched.onAir) : where);
            }
        }
    }

    void writeScreen(const Watched& watched, const std::string& hint) {
        const bool isOnAir = watched.screen.hasText();
        const MediaTime time = millisecondsFrom(*_at);
        if (_options.asJson) {
            Dictionary object = jsonOf(watched);
            object.set("at", jsonTime(time));
            object.set("from", jsonTime(isOnAir ? std::optional(watched.since) : std::nullopt));
            object.set("fromFrame", isOnAir ? Value(watched.sinceFrame) : Value());
            writeJson(std::move(object));
            return;
        }
        _output.write(
            titleOf(*watched.onAir) + " at " + timecode(time) +
            (isOnAir ? ", since " + timecode(watched.since) + " (frame " + std::to_string(watched.sinceFrame) + "):\n"
                     : ": nothing on air" + inBrackets(hint) + "\n"));
        writeRows(watched);
    }

    const ShowOptions& _options;
    InputFile& _source;
    OutputFile& _output;
    InputKind _kind;
    std::vector<Watched> _watched;
    bool _inColours;
    Progress _progress;  ///< Of no run of its own: readFrames() has one.
    FindingNotes _notes;
    std::optional<ExtendedDataReader> _extendedData;  ///< When they are what is shown.
    std::optional<double> _at;
    std::optional<MediaTime> _firstTime;
    std::optional<MediaTime> _timeBefore;  ///< Of the frame before the last one.
    std::optional<MediaTime> _lastTime;
    Frame _lastFrame;      ///< Number and time of the last one.
    bool _isAtEnd = true;  ///< The file has been read to its end.
    std::uint64_t _blocks = 0;
    bool _hasJson = false;  ///< A line of JSON has been written.
};

}  // namespace

std::optional<std::uint16_t> teletextPageNamed(std::string_view name) noexcept {
    constexpr std::size_t kDigits = 3;
    constexpr std::uint16_t kFirstPage = 0x100;
    constexpr std::uint16_t kLastPage = 0x8FF;
    std::uint16_t page = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), page, 16);
    const bool isWhole = name.size() == kDigits && error == std::errc{} && end == name.data() + name.size();
    return isWhole && page >= kFirstPage && page <= kLastPage ? std::optional(page) : std::nullopt;
}

int show(const ShowOptions& options) {
    if (options.picture) {
        requireScreenImages();
        if (options.pictureFormat == ImageFormat::Png) {
            requirePng(*options.picture);
        }
        refuseInputAsOutput(options.file, options.picture);
    }
    refuseInputAsOutput(options.file, options.output);
    InputFile source(options.file);
    OutputFile output(options.output);
    Show showing(options, source, output);
    const FrameProblems problems = showing.run();
    std::function<void()> savePicture;
    if (options.picture) {
        savePicture = [&, picture = screenImage(showing.pictureScreen())] {
            saveImage(picture, *options.picture, options.pictureFormat);
        };
    }
    return finishFrames(source, output, problems, "not every packet could be read", savePicture);
}

}  // namespace qlx::tool
