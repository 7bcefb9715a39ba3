#include "commands/convert/Convert.h"

#include "cues/CueFeatures.h"
#include "cues/JsonCues.h"
#include "cues/TextPieces.h"
#include "cues/Wrapping.h"
#include "io/Errors.h"
#include "io/OutputFile.h"
#include "io/Text.h"
#include "io/Times.h"

#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

namespace qlx::tool {

namespace {

/// Says what is found in a file and what is lost of it: ten of a kind, and in the end how many there were.
class ConversionNotes final : public CueInputNotes, public FindingSink {
public:
    ConversionNotes(std::string name, bool saysAll) : _name(std::move(name)), _saysAll(saysAll) {}

    // Of what is read
    void found(const std::string& place, const Finding& finding) override {
        if (finding.severity == Severity::Error) {
            ++_damages;
        } else if (finding.severity == Severity::Warning) {
            ++_losses;
        }
        sayOne(static_cast<std::uint64_t>(finding.code), finding.severity != Severity::Remark,
               [&] { return _name + ": " + place + ": " + finding.text(); });
    }
    void say(const std::string& text, bool isDamage) override {
        _damages += isDamage ? 1 : 0;
        constexpr std::uint64_t kNoCode = 0;
        sayOne(kNoCode + (isDamage ? 1 : 0), true, [&] { return _name + ": " + text; });
    }

    /// Of what is written.
    void add(const Finding& finding) override {
        const bool isLoss = finding.severity != Severity::Remark;
        _losses += isLoss ? 1 : 0;
        // Codes are numbers of 32 bits.
        constexpr std::uint64_t kWritten = std::uint64_t{1} << 32U;
        sayOne(kWritten + static_cast<std::uint64_t>(finding.code), isLoss,
               [&] { return _name + ": cue " + std::to_string(finding.offset) + ": " + finding.text(); });
    }

    /// What a table says of a cue, which is said of its rows besides.
    void remark(std::uint64_t cue, const std::string& text) {
        printNote("remark: " + printable(_name + ": cue " + std::to_string(cue) + ": " + text));
    }

    /// Something that is changed or lost.
    void lose(std::uint64_t count, std::string_view what, std::string_view noun = "cue") {
        if (count != 0) {
            _losses += count;
            printNote("warning: " + _name + ": " + counted(count, noun) + " " + std::string(what));
        }
    }

    void finish() const {
        for (const auto& [code, kind] : _kinds) {
            if (kind.count > kSaid && !_saysAll && kind.isWarning) {
                printNote("warning: " + std::to_string(kind.count - kSaid) + " more like \"" + kind.text + "\"");
            }
        }
    }

    void sayWhyItFails() const {
        printWhyItFails(_name, counted(_damages, "problem") + ", " + counted(_losses, "change") + " or losses");
    }

    [[nodiscard]] std::uint64_t damages() const { return _damages; }
    [[nodiscard]] std::uint64_t losses() const { return _losses; }

private:
    static constexpr std::uint64_t kSaid = 10;

    struct Kind {
        std::uint64_t count = 0;
        bool isWarning = false;
        std::string text;  ///< Of the first one.
    };

    /// @param text Makes the words, which most of many have no need of.
    template <class Text>
    void sayOne(std::uint64_t code, bool isWarning, const Text& text) {
        Kind& kind = _kinds[code];
        const bool isSaid = _saysAll || (isWarning && kind.count < kSaid);
        if (++kind.count > 1 && !isSaid) {
            return;
        }
        const std::string words = text();
        if (kind.count == 1) {
            kind.text = words;
            kind.isWarning = isWarning;
        }
        if (isSaid) {
            printNote((isWarning ? "warning: " : "remark: ") + printable(words));
        }
    }

    std::string _name;
    bool _saysAll;
    std::map<std::uint64_t, Kind> _kinds;
    std::uint64_t _damages = 0;
    std::uint64_t _losses = 0;
};

/// Writes cues in one of the formats.
class CueWriter {
public:
    CueWriter(const ConvertOptions& options, OutputFile& output, FindingSink* findings)
        : _options(options), _format(options.format), _output(output), _findings(findings), _subRip(findings),
          _webVtt(findings), _stl(options.stl, findings), _json(options.isDeployedJson, findings) {}

    void write(const subtitles::Cue& cue, const CueInput& input) {
        if (!_options.hasStyleSheet || _isBegun) {
            writeBehindHead(cue, input);
            return;
        }
        // The head of the file says which colours there are.
        addColorsOf(cue, _head);
        _heldBytes += bytesOf(cue);
        _held.push_back(cue);
        if (_held.size() >= kMostHeld || _heldBytes >= kMostHeldBytes) {
            writeHeld(input);
        }
    }

    void finish(const CueInput& input) {
        writeHeld(input);
        _text.clear();
        begin(input);
        if (_format == CueFormat::Vtt) {
            _webVtt.finish(input.file, _text);
        } else if (_format == CueFormat::Stl) {
            _text = _stl.finish(input);
        } else if (_ttml) {
            _text = _ttml->finish();
        } else if (_format == CueFormat::Json) {
            _json.finish(input, _text);
        }
        _output.write(_text);
    }

    [[nodiscard]] std::uint64_t cues() const { return _cues; }

private:
    /// Cues, and bytes that they take, that are looked at for the head of a WebVTT file.
    static constexpr std::size_t kMostHeld = 1000;
    static constexpr std::size_t kMostHeldBytes = std::size_t{4} << 20U;

    /// What a cue takes in memory, about.
    static std::size_t bytesOf(const subtitles::Cue& cue) {
        const auto bytesOfAll = [](const subtitles::Properties& properties) {
            std::size_t bytes = 0;
            for (const subtitles::Property& property : properties) {
                bytes += sizeof(property) + property.value.size();
            }
            return bytes;
        };
        std::size_t bytes = sizeof(cue) + cue.identifier.size() + bytesOfAll(cue.properties);
        for (const subtitles::Row& row : cue.rows) {
            bytes += sizeof(row);
            for (const subtitles::Run& run : row.runs) {
                bytes += sizeof(run) + run.text.size() + bytesOfAll(run.properties);
            }
        }
        return bytes;
    }

    void writeHeld(const CueInput& input) {
        for (const subtitles::Cue& cue : std::exchange(_held, {})) {
            writeBehindHead(cue, input);
        }
    }

    void writeBehindHead(const subtitles::Cue& cue, const CueInput& input) {
        _text.clear();
        begin(input);
        ++_given;
        const bool isWritten = _ttml                        ? _ttml->write(cue)
                               : _format == CueFormat::Srt  ? _subRip.write(cue, _text)
                               : _format == CueFormat::Vtt  ? writeWebVtt(cue, input)
                               : _format == CueFormat::Json ? _json.write(cue, _text)
                                                            : _stl.write(cue, input);
        _cues += isWritten ? 1 : 0;
        _output.write(_text);
    }

    /// Regions of TTML are not in the head of a WebVTT file: what is in one has its place by its rows there.
    bool writeWebVtt(const subtitles::Cue& cue, const CueInput& input) {
        if (!input.ttml || cue.region.empty()) {
            return _webVtt.write(cue, _text);
        }
        subtitles::Cue placed = cue;
        placed.region.clear();
        if (_findings != nullptr) {
            _findings->add({FindingCode::SubtitleNameLost, Severity::Warning, _given,
                            static_cast<std::int64_t>(cue.region.size())});
        }
        return _webVtt.write(placed, _text);
    }

    void begin(const CueInput& input) {
        if (std::exchange(_isBegun, true)) {
            return;
        }
        if (_format == CueFormat::Vtt) {
            subtitles::WebVttFile file = input.file;
            file.colors = _head.colors;
            if (input.ttml && !input.ttml->language.empty()) {
                file.header.push_back("Language: " + input.ttml->language);
            }
            if (_options.timestampMap) {
                file = withTimestampMap(std::move(file), *_options.timestampMap);
            }
            _webVtt.begin(file, _text);
        } else if (_format == CueFormat::Json) {
            _json.begin(input, _text);
        } else if (_format == CueFormat::Ttml || _format == CueFormat::EbuTtD) {
            streams::TtmlFile file = input.ttml.value_or(streams::TtmlFile());
            file.language = _options.language.value_or(file.language);
            streams::TtmlWriteOptions options;
            options.profile = _format == CueFormat::EbuTtD ? streams::TtmlProfile::EbuTtD : options.profile;
            _ttml.emplace(std::move(file), options, _findings);
        }
    }

    /// The same head with another time in a stream (RFC 8216, 3.5).
    static subtitles::WebVttFile withTimestampMap(subtitles::WebVttFile file, std::uint64_t time) {
        std::erase_if(file.header, [](const std::string& line) { return line.starts_with("X-TIMESTAMP-MAP"); });
        file.header.insert(file.header.begin(), "X-TIMESTAMP-MAP=LOCAL:00:00:00.000,MPEGTS:" + std::to_string(time));
        return file;
    }

    const ConvertOptions& _options;
    CueFormat _format;
    OutputFile& _output;
    FindingSink* _findings;
    std::optional<streams::TtmlWriter> _ttml;
    subtitles::SubRipWriter _subRip;
    subtitles::WebVttWriter _webVtt;
    StlOutput _stl;
    JsonCueWriter _json;
    std::string _text;
    subtitles::WebVttFile _head;        ///< The colours of those that are held back.
    std::vector<subtitles::Cue> _held;  ///< Until the head is written.
    std::size_t _heldBytes = 0;
    bool _isBegun = false;
    std::uint64_t _given = 0;
    std::uint64_t _cues = 0;
};

/// The way of a cue to where it is written.
class Conversion {
public:
    using Give = std::function<void(const subtitles::Cue& cue, const CueInput& input)>;

    Conversion(const ConvertOptions& options, Give give)
        : _options(options), _times(options.times), _notes(options.input.path, options.reportsAll),
          _give(std::move(give)), _order(
                                      options.overlap, [this](subtitles::Cue cue) { write(std::move(cue)); },
                                      [this](const subtitles::Cue& cue, CueChange change) { say(cue, change); }) {}

    ConversionNotes& notes() { return _notes; }

    void take(subtitles::Cue cue, const CueInput& input) {
        _input = &input;
        if (_cues++ == 0) {
            begin(cue, input);
        }
        if (!changeTimes(_times, cue)) {
            say(cue, CueChange::Before);
        }
        _order.push(std::move(cue));
    }

    /// Gives what is held back.
    void finishCues(const CueInput& input) {
        _input = &input;
        _order.finish();
    }

    /// Says what there was to say.
    void finishNotes(const CueInput& input) {
        sayNotCarried();
        loseRest(input.file);
        loseRest(input.ttml);
        for (std::size_t change = 0; change < kChanges.size(); ++change) {
            _notes.lose(_changes[change], kChanges[change]);
        }
        _notes.finish();
    }

private:
    /// By CueChange, of some cues.
    static constexpr std::array<std::string_view, 8> kChanges{
        "before the start, which is not subtracted from them",
        "moved in front of cues that begin later",
        "too far behind cues that begin later to be moved",
        "cut at the start of the next one",
        "made of several that are shown together",
        "not composed: 50 others are shown together with each of them",
        "wider or higher than asked for",
        "shorter than a frame, which last one",
    };

    /// Counts a change, and says it where all are said.
    void say(const subtitles::Cue& cue, CueChange change) {
        const auto index = static_cast<std::size_t>(change);
        ++_changes[index];
        if (_options.reportsAll) {
            printNote("remark: " + printable(_options.input.path) + ": the cue of " + timecode(cue.start) + ": " +
                      std::string(kChanges[index]));
        }
    }

    /// Whether what is written has all that any file has.
    [[nodiscard]] bool keepsAll() const { return _options.format == CueFormat::Json && !_options.isDeployedJson; }

    /// What a WebVTT file has besides cues and another format does not.
    void loseRest(const subtitles::WebVttFile& file) {
        if (_options.format == CueFormat::Vtt || keepsAll()) {
            return;
        }
        const bool hasMap = std::any_of(file.header.begin(), file.header.end(),
                                        [](const std::string& line) { return line.starts_with("X-TIMESTAMP-MAP"); });
        // The language is that of the cues.
        const auto languages = std::count_if(file.header.begin(), file.header.end(),
                                             [](const std::string& line) { return line.starts_with("Language:"); });
        const std::size_t lines =
            file.header.size() - static_cast<std::size_t>(languages) + (file.title.empty() ? 0 : 1);
        // Colours are those of the cues.
        const auto sheets = std::count_if(file.blocks.begin(), file.blocks.end(),
                                          [](const std::string& block) { return subtitles::isColorSheet(block); });
        const std::size_t blocks = file.blocks.size() - static_cast<std::size_t>(sheets) + file.notes.size();
        if (lines + blocks != 0) {
            _notes.lose(lines + blocks,
                        std::string("of the file besides cues are lost: ") + counted(lines, "line") + " of the header" +
                            (hasMap ? " (X-TIMESTAMP-MAP, which is not applied)" : "") + ", " +
                            counted(blocks, "block") + " (STYLE, REGION, NOTE)",
                        "part");
        }
    }

    /// The same of a TTML file.
    void loseRest(const std::optional<streams::TtmlFile>& file) {
        if (!file || keepsAll() || _options.format == CueFormat::Ttml || _options.format == CueFormat::EbuTtD) {
            return;
        }
        std::size_t texts = 0;
        for (const std::string* const text : {&file->title, &file->description, &file->copyright}) {
            texts += text->empty() ? 0 : 1;
        }
        if (texts + file->regions.size() != 0) {
            _notes.lose(texts + file->regions.size(),
                        "of the file besides cues are lost: " + counted(texts, "text") +
                            " (title, description, copyright), " + counted(file->regions.size(), "region"),
                        "part");
        }
    }

    /// What is subtracted is known with the first cue.
    void begin(const subtitles::Cue& cue, const CueInput& input) {
        if (_options.isStartTaken) {
            _times.fromStart = programmeStart(input.begin, cue);
        }
        constexpr double kMinute = 60.0;
        constexpr double kLate = 59.0 * kMinute;
        if (!_options.isStartGiven && secondsFrom(cue.start) >= kLate) {
            _notes.say("the first cue begins at " + timecode(cue.start) +
                           ": --from-start 10:00:00:00 (or auto, or 0) says where the programme does",
                       false);
        }
    }

    void write(subtitles::Cue cue) {
        if (_options.frames && roundTimes(*_options.frames, cue)) {
            say(cue, CueChange::Lengthened);
        }
        if (_options.columns &&
            !wrap(cue, static_cast<std::size_t>(*_options.columns), static_cast<std::size_t>(_options.rows))) {
            say(cue, CueChange::Wide);
        }
        ++_written;
        // Packets have no numbers: what is said of a cue has that of its place.
        cue.number = cue.number == 0 && _options.frames ? _written : cue.number;
        // The other formats count their cues anew: how a number is written means nothing there.
        const bool keepsNumbers = _options.target == CueTarget::SubRip || _options.target == CueTarget::WebVtt ||
                                  _options.target == CueTarget::Json;
        if (!keepsNumbers && isNumber(cue.identifier)) {
            cue.identifier.clear();
        }
        if (_options.reportsAll) {
            reportNotCarried(cue);
        }
        _give(cue, *_input);
    }

    /// Says what the format does not carry of a cue, by the table.
    void reportNotCarried(const subtitles::Cue& cue) {
        CueFeatures lost = notCarried(featuresOf(cue, _options.target), _options.target);
        // Those that the head does not define are said to have changed.
        if (_options.format == CueFormat::Vtt &&
            (_options.hasStyleSheet ||
             std::any_of(_input->file.blocks.begin(), _input->file.blocks.end(),
                         [](const std::string& block) { return subtitles::isColorSheet(block); }))) {
            lost.reset(static_cast<std::size_t>(CueFeature::MoreColors));
        }
        if (lost.none()) {
            return;
        }
        _notes.remark(_written, formatName() + " does not carry: " + namesOf(lost));
        for (std::size_t index = 0; index < lost.size(); ++index) {
            _notCarried[index] += lost.test(index) ? 1 : 0;
        }
    }

    /// The same of all cues.
    void sayNotCarried() {
        std::string counts;
        for (const CarriedRow& row : kCarriedTable) {
            if (const std::uint64_t count = _notCarried[static_cast<std::size_t>(row.feature)]; count != 0) {
                counts += (counts.empty() ? "" : ", ") + std::string(row.name) + " (" + counted(count, "cue") + ")";
            }
        }
        if (!counts.empty()) {
            printNote("remark: " + printable(_options.input.path) + ": " + formatName() + " does not carry: " + counts);
        }
    }

    [[nodiscard]] std::string formatName() const {
        return std::string(kTargetNames[static_cast<std::size_t>(_options.target)]);
    }

    const ConvertOptions& _options;
    TimeChange _times;
    ConversionNotes _notes;
    Give _give;
    CueOrder _order;
    const CueInput* _input = nullptr;
    std::uint64_t _cues = 0;
    std::uint64_t _written = 0;
    std::array<std::uint64_t, CueFeatures{}.size()> _notCarried{};  ///< Cues of each feature.
    std::array<std::uint64_t, kChanges.size()> _changes{};
};

void sayUnused(const ConvertOptions& options, ConversionNotes& notes) {
    for (const std::string& option : options.unused) {
        notes.say(option + " is without effect: no timecode is given that it is about", false);
    }
}

/// Says why where nothing else does.
bool failedBy(const ConversionNotes& notes, const ConvertOptions& options) {
    const bool hasFailed = notes.damages() != 0 || (options.isStrict && notes.losses() != 0);
    if (hasFailed) {
        notes.sayWhyItFails();
    }
    return hasFailed;
}

}  // namespace

Subtitles readConvertedCues(const ConvertOptions& options, const CueValueTaker& take, bool& hasFailed) {
    Conversion conversion(options, [&take](const subtitles::Cue& cue, const CueInput&) { take(cue); });
    sayUnused(options, conversion.notes());
    const CueInput input = readCues(options.input, conversion.notes(), [&](subtitles::Cue cue, const CueInput& read) {
        conversion.take(std::move(cue), read);
    });
    conversion.finishCues(input);
    conversion.finishNotes(input);
    hasFailed = failedBy(conversion.notes(), options);
    Subtitles read;
    read.name = input.name;
    read.format = input.format;
    read.cues = input.cues;
    return read;
}

InputKind kindOfInput(const CueRequest& request) {
    if (request.source.kind) {
        return *request.source.kind;
    }
    InputFile file(request.path);
    // It is read a second time, also one that has a name.
    std::error_code error;
    if (request.path == "-" || !std::filesystem::is_regular_file(request.path, error)) {
        throw UsageError("--from-format is needed: a pipe that becomes packets does not tell its format");
    }
    return textKindOf(file, request.encoding).value_or(kindOf(file, std::nullopt));
}

int convert(const ConvertOptions& options) {
    refuseInputAsOutput(options.input.path, options.output);
    OutputFile output(options.output);
    std::unique_ptr<CueWriter> writer;
    Conversion conversion(options,
                          [&writer](const subtitles::Cue& cue, const CueInput& input) { writer->write(cue, input); });
    writer = std::make_unique<CueWriter>(options, output, &conversion.notes());
    sayUnused(options, conversion.notes());
    const CueInput input = readCues(options.input, conversion.notes(), [&](subtitles::Cue cue, const CueInput& read) {
        conversion.take(std::move(cue), read);
    });
    conversion.finishCues(input);
    writer->finish(input);
    conversion.finishNotes(input);
    output.commit();
    const ConversionNotes& notes = conversion.notes();
    if (!output.isStandardOutput()) {
        printNote(printable(input.name) + " (" + input.format + "): " + counted(input.cues, "cue") + ", " +
                  std::to_string(writer->cues()) + " written, " + counted(notes.losses(), "change") + " or losses");
    }
    return failedBy(notes, options) ? kExitFailure : kExitSuccess;
}

}  // namespace qlx::tool
