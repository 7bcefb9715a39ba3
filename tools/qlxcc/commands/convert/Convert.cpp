#include "commands/convert/Convert.h"

#include "commands/convert/CueFileWriter.h"
#include "cues/CueFeatures.h"
#include "cues/TextPieces.h"
#include "cues/Wrapping.h"
#include "io/Errors.h"
#include "io/OutputFile.h"
#include "io/Text.h"
#include "io/Times.h"

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

    void lose(const std::string& text) override {
        ++_losses;
        say(text, false);
    }

    /// Of what is written: of a cue, counted from 1, or of the file.
    void add(const Finding& finding) override {
        const bool isLoss = finding.severity != Severity::Remark;
        _losses += isLoss ? 1 : 0;
        sayOne(kWritten + static_cast<std::uint64_t>(finding.code), isLoss, [&] {
            const std::string place = finding.offset == 0 ? "" : "cue " + std::to_string(finding.offset) + ": ";
            return _name + ": " + place + finding.text();
        });
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
        if (_kinds.contains(kWritten + static_cast<std::uint64_t>(FindingCode::StlCharacterMissing))) {
            printNote("remark: " + printable(_name) + ": another --table may have the characters that became ?");
        }
    }

    void sayWhyItFails() const {
        printWhyItFails(_name, counted(_damages, "problem") + ", " + counted(_losses, "change") + " or losses");
    }

    [[nodiscard]] std::uint64_t damages() const { return _damages; }
    [[nodiscard]] std::uint64_t losses() const { return _losses; }

private:
    static constexpr std::uint64_t kSaid = 10;
    /// In front of what is found in what is written: codes are numbers of 32 bits.
    static constexpr std::uint64_t kWritten = std::uint64_t{1} << 32U;

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

/// The way of a cue to where it is written.
class Conversion {
public:
    using Give = std::function<void(const subtitles::Cue& cue, const CueInput& input)>;

    Conversion(const ConvertOptions& options, Give give)
        : _options(options), _times(options.times), _notes(options.input.path, options.reportsAll),
          _give(std::move(give)),
          _order(
              options.overlap, [this](subtitles::Cue cue) { write(std::move(cue)); },
              [this](const subtitles::Cue& cue, CueChange change) { say(cue, change); }, placesOf(options)) {}

    ConversionNotes& notes() { return _notes; }

    /// Whole with the first cue.
    [[nodiscard]] const TimeChange& times() const { return _times; }

    void take(subtitles::Cue cue, const CueInput& input) {
        _input = &input;
        if (_cues++ == 0) {
            begin(&cue, input);
        }
        if (!changeTimes(_times, cue)) {
            say(cue, CueChange::Before);
        }
        _order.push(std::move(cue));
    }

    /// Gives what is held back.
    void finishCues(const CueInput& input) {
        _input = &input;
        if (_cues == 0) {
            begin(nullptr, input);
        }
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
    static constexpr std::array<std::string_view, 10> kChanges{
        "before the start, which is not subtracted from them",
        "moved in front of cues that begin later",
        "too far behind cues that begin later to be moved",
        "cut at the start of the next one",
        "made of several that are shown together",
        "shown with others, as one of which their name, language, group and settings are lost",
        "not composed: 50 others are shown together with each of them",
        "wider or higher than asked for",
        "shorter than a frame, which last one",
        "in front of the start of what is written, where nothing is",
    };

    /// Files of text have several cues at a time; a screen has one.
    static ComposedPlaces placesOf(const ConvertOptions& options) {
        const bool isText = options.target == CueTarget::SubRip || options.target == CueTarget::WebVtt ||
                            options.target == CueTarget::Imsc || options.target == CueTarget::EbuTtD ||
                            options.target == CueTarget::Json;
        return isText ? ComposedPlaces::Apart : ComposedPlaces::Together;
    }

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

    /// Whether a block of a WebVTT file says what is not that of the cues, nor of regions that are written.
    [[nodiscard]] bool isLost(const std::string& block) const {
        const bool hasRegions = _options.format == CueFormat::Ttml || _options.format == CueFormat::EbuTtD;
        const bool isRegion = hasRegions && block.starts_with("REGION") && block.find("scroll:up") == std::string::npos;
        return !isRegion && !subtitles::isAppliedSheet(block);
    }

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
        const auto lost = std::count_if(file.blocks.begin(), file.blocks.end(),
                                        [this](const std::string& block) { return isLost(block); });
        const std::size_t blocks = static_cast<std::size_t>(lost) + file.notes.size();
        loseParts(lines, std::string(" of the header") + (hasMap ? " (X-TIMESTAMP-MAP, which is not applied)" : ""),
                  "line", blocks, " (STYLE, REGION, NOTE)", "block");
    }

    /// Says which parts of two kinds are lost: nothing of a kind of which there is none.
    void loseParts(std::size_t first, const std::string& ofFirst, std::string_view firstNoun, std::size_t second,
                   const std::string& ofSecond, std::string_view secondNoun) {
        const std::string parts = (first != 0 ? counted(first, firstNoun) + ofFirst : "") +
                                  (first != 0 && second != 0 ? ", " : "") +
                                  (second != 0 ? counted(second, secondNoun) + ofSecond : "");
        _notes.lose(first + second,
                    "of the file besides cues " + std::string(first + second == 1 ? "is" : "are") + " lost: " + parts,
                    "part");
    }

    /// Whether a region of a TTML file says what is neither in its place nor in the looks of its text.
    [[nodiscard]] bool isLost(const streams::TtmlRegion& region) const {
        // A cue has the place as its box, and the looks of text in its rows. What stands beyond the region is seen, and
        // it is drawn behind cues alone where it has a colour of its own.
        constexpr std::string_view kCarried[] = {"tts:origin",       "tts:extent",        "tts:position",
                                                 "tts:displayAlign", "tts:textAlign",     "tts:color",
                                                 "tts:fontStyle",    "tts:fontWeight",    "tts:textDecoration",
                                                 "tts:overflow",     "tts:showBackground"};
        return _options.format != CueFormat::Vtt ||
               std::any_of(region.attributes.begin(), region.attributes.end(), [&](const auto& attribute) {
                   return std::find(std::begin(kCarried), std::end(kCarried), attribute.name) == std::end(kCarried);
               });
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
        const auto regions = static_cast<std::size_t>(
            std::count_if(file->regions.begin(), file->regions.end(),
                          [this](const streams::TtmlRegion& region) { return isLost(region); }));
        loseParts(texts, " (title, description, copyright)", "text", regions, "", "region");
    }

    /// What is subtracted and added is known with the first cue, if there is one.
    void begin(const subtitles::Cue* first, const CueInput& input) {
        const std::optional<LabelCounting> own = countingOf(input.counting);
        _times.fromStart = subtractedStart(_options.fromStart, input.name, input.begin, own, first);
        if (_options.toStart) {
            const auto written =
                _options.format == CueFormat::Stl ? std::optional(stlCounting(_options.stl, input)) : _options.written;
            _times.toStart = timeOf(*_options.toStart, written, _options.output.value_or("-"));
        }
        if (const std::string late = lateStartInWords(_options.fromStart, first); !late.empty()) {
            _notes.say(late, false);
        }
    }

    void write(subtitles::Cue cue) {
        if (_options.frames && putOnFrames(*_options.frames, cue)) {
            say(cue, CueChange::Lengthened);
        }
        if (_options.firstTime && compared(cue.start, *_options.firstTime) < 0) {
            say(cue, CueChange::InFront);
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
        // The numbers of EBU STL may count from 0, those of these files count from 1.
        _countsFromZero = _written == 1 ? _input->gsi && cue.number == 0 : _countsFromZero;
        cue.number +=
            _countsFromZero && (_options.target == CueTarget::SubRip || _options.target == CueTarget::WebVtt) ? 1 : 0;
        if (!keepsNumbers && isNumber(cue.identifier)) {
            cue.identifier.clear();
        }
        if (_options.reportsAll || _options.frames) {
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
                         [](const std::string& block) { return block.starts_with("STYLE"); }))) {
            lost.reset(static_cast<std::size_t>(CueFeature::MoreColors));
        }
        if (lost.none()) {
            return;
        }
        ++_incomplete;
        if (_options.reportsAll) {
            _notes.remark(_written, formatName() + " does not carry: " + namesOf(lost));
        }
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
        if (_options.frames) {
            // Who writes a file says what of its rows is lost; packets have no such writer.
            _notes.lose(_incomplete, (_incomplete == 1 ? "loses what " : "lose what ") + formatName() +
                                         " does not carry: " + counts);
        } else if (!counts.empty()) {
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
    std::uint64_t _incomplete = 0;                                  ///< Cues of which the format does not carry all.
    bool _countsFromZero = false;                                   ///< The numbers of what is read.
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

InputKind kindOfInput(CueRequest& request) {
    if (request.source.kind) {
        return *request.source.kind;
    }
    const auto file = std::make_shared<InputFile>(request.path);
    // What has been looked at of a pipe, also one that has a name, is there only once.
    std::error_code error;
    if (request.path == "-" || !std::filesystem::is_regular_file(request.path, error)) {
        request.opened = file;
    }
    const auto kind = textKindOf(*file, request.encoding);
    return kind ? *kind : kindOf(*file, std::nullopt);
}

int convert(const ConvertOptions& options) {
    refuseInputAsOutput(options.input.path, options.output);
    OutputFile output(options.output);
    std::unique_ptr<CueFileWriter> writer;
    Conversion conversion(options,
                          [&writer](const subtitles::Cue& cue, const CueInput& input) { writer->write(cue, input); });
    writer = std::make_unique<CueFileWriter>(options, conversion.times(), output, &conversion.notes());
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
