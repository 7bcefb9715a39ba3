#include <qlx/subtitles/webvtt.h>

#include "subtitles/TextEditing.h"
#include "subtitles/TextLines.h"
#include "subtitles/TextTime.h"
#include "subtitles/WebVttSettings.h"
#include "subtitles/WebVttText.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>
#include <qlx/subtitles/box.h>

#include <algorithm>
#include <functional>
#include <set>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

constexpr std::int32_t kWebVttUnits = 1000;
/// Bytes of the names of classes, voices and languages that the runs of a cue may have together.
constexpr std::size_t kMostNames = std::size_t{32} * 1024;
constexpr std::string_view kSignature = "WEBVTT";
constexpr std::string_view kArrowOfTimes = "-->";
/// Bytes that a file may have besides cues: whoever writes it again keeps them.
constexpr std::size_t kMostKept = std::size_t{1} << 20U;

/// Whether a line is this word, with blanks behind it or more behind a blank.
bool isWord(std::string_view line, std::string_view word) noexcept {
    return line.starts_with(word) &&
           (line.size() == word.size() || line[word.size()] == ' ' || line[word.size()] == '\t');
}

bool isBlankBehind(std::string_view line, std::string_view word) noexcept {
    return line.starts_with(word) && trimmed(line.substr(word.size()), kWebVttBlanks).empty();
}

}  // namespace

class WebVttReader::Parser {
public:
    Parser(const TextCueOptions& options, FindingSink* findings)
        : _options(options), _findings(findings), _lines(options.greatestCue, options.limits), _text(findings) {}

    TextLines& lines() noexcept { return _lines; }
    FindingSink* findings() const noexcept { return _findings; }
    const WebVttFile& file() const noexcept { return _file; }

    const Cue* next() {
        std::string_view line;
        while (_lines.next(line)) {
            WrongBytes wrong;
            const std::string_view valid = withoutWrongBytes(line, _room, wrong);
            if (wrong.count != 0) {
                report(SubtitleTextNotUtf8, Severity::Error, wrong.first, wrong.count);
            }
            if (takeLine(withoutZeros(valid))) {
                return &_ready;
            }
        }
        if (_lines.isFinished() && !std::exchange(_isEnded, true)) {
            const bool isReady = !_lines.budget().isCut() && endBlock();
            std::swap(_file.notes, _notes);
            return isReady ? &_ready : nullptr;
        }
        return nullptr;
    }

private:
    /// With U+FFFD in place of each zero (W3C WebVTT, 6.1).
    std::string_view withoutZeros(std::string_view line) {
        if (line.find('\0') == std::string_view::npos) {
            return line;
        }
        std::string whole;
        while (!line.empty()) {
            const std::size_t zero = std::min(line.find('\0'), line.size());
            whole += line.substr(0, zero);
            line.remove_prefix(zero);
            if (!line.empty()) {
                appendUtf8(whole, U'\uFFFD');
                line.remove_prefix(1);
            }
        }
        _room = std::move(whole);
        return _room;
    }

    /// What the lines in hand are.
    enum class Part : std::uint8_t { Start, Header, Between, Block, Text };

    /// @return Whether a cue is complete.
    bool takeLine(std::string_view line) {
        if (_part == Part::Start) {
            _part = Part::Header;
            const bool isSigned = isWord(line, kSignature);
            if (isSigned) {
                _file.title = trimmed(line.substr(kSignature.size()));
                return false;
            }
            report(WebVttSignatureMissing, Severity::Error);
            _part = Part::Between;
        }
        if (line.empty()) {
            const bool isReady = endBlock();
            _part = Part::Between;
            return isReady;
        }
        const bool hasArrow = line.find(kArrowOfTimes) != std::string_view::npos;
        if (hasArrow) {
            return takeTimes(line);
        }
        switch (_part) {
        case Part::Header:
            if (hasRoom(line.size())) {
                _file.header.emplace_back(line);
                _language = _language.empty() ? languageOfHead(line) : _language;
            }
            break;
        case Part::Text:
            takeText(line);
            break;
        default:
            takeBlockLine(line);
            break;
        }
        return false;
    }

    /// A line that belongs to no cue as yet.
    void takeBlockLine(std::string_view line) {
        _part = Part::Block;
        if (++_blockLines > 1) {
            _block += '\n';
        }
        if (_block.size() + line.size() <= _options.greatestCue) {
            _block += line;
        } else if (!std::exchange(_isBlockCut, true)) {
            report(WebVttRestTooLong, Severity::Error, static_cast<std::int64_t>(_options.greatestCue));
        }
    }

    /// The times of a cue: its name stands alone in front of them.
    bool takeTimes(std::string_view line) {
        _isBlockCut = false;
        std::string name;
        bool isReady = false;
        if (_part == Part::Block && _blockLines == 1) {
            name = std::exchange(_block, {});
            _blockLines = 0;
        } else {
            isReady = endBlock();
        }
        _part = Part::Text;
        const auto parts = splitTimingLine(line);
        if (!parts || !parts->start || !parts->end) {
            report(WebVttTimingWrong, Severity::Error);
            return isReady;
        }
        const std::int64_t start = checkedTime(*parts->start, 1);
        const std::int64_t end = checkedTime(*parts->end, 2);
        if (end <= start) {
            report(WebVttEndNotLater, Severity::Error, start, end);
            return isReady;
        }
        _isCue = true;
        _hasCue = true;
        _cue = Cue{};
        _text.begin(name);
        _cue.language = _language;
        _cue.start = MediaTime::make(start, kWebVttUnits);
        _cue.end = MediaTime::make(end, kWebVttUnits);
        const auto digits = cueDigits(name);
        _cue.number = digits ? digits->number : 0;
        if (!digits || !digits->isUsual) {
            _cue.identifier = std::move(name);
        }
        // Notes go with the cue.
        _kept = std::exchange(_isKeptKnown, true) ? _keptInFront : (_keptInFront = _kept);
        for (std::string& note : _notes) {
            _cue.properties.push_back({std::string(properties::kWebVttNote), std::move(note)});
        }
        _notes.clear();
        _settings = takeSettings(parts->rest, _regions, _cue, [this](FindingCode code, std::int64_t size) {
            report(code, Severity::Warning, size);
        });
        return isReady;
    }

    std::int64_t checkedTime(const TextTime& time, std::int64_t which) {
        if (!time.hasDigits || time.mark != '.') {
            report(WebVttTimeUnusual, Severity::Warning, which, time.milliseconds);
        }
        return time.milliseconds;
    }

    void takeText(std::string_view line) {
        if (!_isCue) {
            return;
        }
        _bytesOfCue += line.size() + 1;
        if (_lines.isCut() || _bytesOfCue > _options.greatestCue || _cue.rows.size() >= _options.mostLines) {
            leaveCueOut(_options.greatestCue);
            return;
        }
        _text.takeRow(line, _lines.number(), _cue);
        // Each run has the names that are open: many short ones make much of little.
        if (_text.bytesOfNames() > kMostNames) {
            leaveCueOut(kMostNames);
        }
    }

    void leaveCueOut(std::size_t greatest) {
        report(WebVttTextTooLong, Severity::Error, static_cast<std::int64_t>(greatest),
               static_cast<std::int64_t>(_options.mostLines));
        _isCue = false;
        _bytesOfCue = 0;
        _cue = Cue{};
    }

    /// Ends what is in hand. Gives whether it is a cue.
    bool endBlock() {
        if (_part == Part::Block) {
            takeBlock();
        }
        const bool isReady = std::exchange(_isCue, false);
        if (isReady) {
            _text.end(_lines.number(), _cue);
            for (Row& row : _cue.rows) {
                row.alignment = _settings.alignment;
            }
            takeRowsBelow(_cue);
            if (_cue.box) {
                placeRows(_cue, *_cue.box);
            }
            for (Row& row : _cue.rows) {
                row.anchor = _settings.anchor;
            }
            std::swap(_cue, _ready);
        }
        _bytesOfCue = 0;
        return isReady;
    }

    /// Whether something more is kept besides cues.
    bool hasRoom(std::size_t bytes) {
        // What a text takes besides its bytes.
        constexpr std::size_t kEach = 64;
        _kept += bytes + kEach;
        if (_kept > kMostKept && !std::exchange(_isFull, true)) {
            report(WebVttRestTooLong, Severity::Error, static_cast<std::int64_t>(kMostKept));
        }
        return _kept <= kMostKept;
    }

    void takeBlock() {
        _isBlockCut = false;
        const std::string block = std::exchange(_block, {});
        const std::uint64_t lines = std::exchange(_blockLines, 0);
        const std::string_view first = std::string_view(block).substr(0, block.find('\n'));
        if (isWord(first, "NOTE")) {
            if (hasRoom(block.size())) {
                (_hasCue ? _notes : _file.blocks).push_back(block);
            }
            return;
        }
        const bool isRegion = isBlankBehind(first, "REGION");
        if (_hasCue || (!isRegion && !isBlankBehind(first, "STYLE"))) {
            report(WebVttBlockPassed, Severity::Warning, static_cast<std::int64_t>(lines));
            return;
        }
        if (!hasRoom(block.size())) {
            return;
        }
        if (isRegion) {
            takeRegion(block, _regions);
        } else {
            const WebVttStyles::Rest rest = _text.takeSheet(block);
            if (rest.selectors + rest.declarations != 0) {
                report(WebVttStyleNotApplied, Severity::Remark, rest.selectors, rest.declarations);
            }
        }
        _file.blocks.push_back(block);
    }

    void report(FindingCode code, Severity severity, std::int64_t first = 0, std::int64_t second = 0) {
        if (_findings != nullptr) {
            _findings->add({code, severity, _lines.number(), first, second});
        }
    }

    TextCueOptions _options;
    FindingSink* _findings;
    TextLines _lines;
    WebVttText _text;
    WebVttFile _file;
    std::vector<std::string> _notes;  ///< Behind the last cue so far.
    WebVttRegions _regions;
    std::string _language;  ///< Of the file.
    Part _part = Part::Start;
    Cue _cue;    ///< In hand.
    Cue _ready;  ///< That was given.
    PlaceOfSettings _settings;
    bool _isCue = false;
    bool _hasCue = false;  ///< There has been one.
    bool _isEnded = false;
    std::string _block;
    std::uint64_t _blockLines = 0;
    bool _isBlockCut = false;      ///< Lines of it are left out, which is said.
    std::size_t _kept = 0;         ///< Of what is kept besides cues, with room for each.
    std::size_t _keptInFront = 0;  ///< Of it, what stands in front of the first cue.
    bool _isKeptKnown = false;
    bool _isFull = false;  ///< More was left out.
    std::size_t _bytesOfCue = 0;
    std::string _room;
};

WebVttReader::WebVttReader(const TextCueOptions& options, FindingSink* findings)
    : _parser(std::make_unique<Parser>(options, findings)) {}
WebVttReader::WebVttReader(WebVttReader&& other) noexcept = default;
WebVttReader& WebVttReader::operator=(WebVttReader&& other) noexcept = default;
WebVttReader::~WebVttReader() = default;

void WebVttReader::push(std::span<const std::uint8_t> bytes) {
    _parser->lines().push(bytes);
}

void WebVttReader::finish() noexcept {
    _parser->lines().finish();
}

const Cue* WebVttReader::next() {
    return nextWithinLimits<Cue>(*_parser, _parser->findings());
}

const WebVttFile& WebVttReader::file() const noexcept {
    return _parser->file();
}

WebVttFile readWebVttHead(std::string_view head, FindingSink* findings) {
    // What stands in front of cues is known with the first one.
    constexpr std::string_view kCue = "\n\n00:00:00.000 --> 00:00:01.000\nx\n";
    WebVttReader reader({}, findings);
    for (const std::string_view piece : {head, kCue}) {
        reader.push({reinterpret_cast<const std::uint8_t*>(piece.data()), piece.size()});
    }
    reader.finish();
    (void)reader.next();
    return reader.file();
}

std::map<std::string, Box, std::less<>> regionBoxesOf(const WebVttFile& file) {
    WebVttRegions regions;
    for (const std::string_view block : file.blocks) {
        if (block.starts_with("REGION")) {
            takeRegion(block, regions);
        }
    }
    return regions;
}

std::set<std::string, std::less<>> regionsOf(const WebVttFile& file) {
    std::set<std::string, std::less<>> names;
    for (const auto& [name, box] : regionBoxesOf(file)) {
        names.insert(name);
    }
    return names;
}

std::string_view languageOf(const WebVttFile& file) noexcept {
    for (const std::string& line : file.header) {
        if (const std::string_view language = languageOfHead(line); !language.empty()) {
            return language;
        }
    }
    return {};
}

}  // namespace qlx::subtitles
