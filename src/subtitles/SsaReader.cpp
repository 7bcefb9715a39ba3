#include <qlx/subtitles/ssa.h>

#include "subtitles/SsaStyles.h"
#include "subtitles/SsaText.h"
#include "subtitles/TextEditing.h"
#include "subtitles/TextLines.h"
#include "subtitles/TextTime.h"

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

constexpr std::int32_t kSsaTimescale = 1000;
constexpr std::size_t kMostStyles = 10'000;
constexpr std::size_t kMostInfo = 1000;
constexpr std::size_t kLongestInfo = 1000;

// The columns of a version, of lines in front of which there are none.
constexpr std::string_view kOldStyle =
    "Name, Fontname, Fontsize, PrimaryColour, SecondaryColour, TertiaryColour, BackColour, Bold, Italic, BorderStyle, "
    "Outline, Shadow, Alignment, MarginL, MarginR, MarginV, AlphaLevel, Encoding";
constexpr std::string_view kPlusStyle =
    "Name, Fontname, Fontsize, PrimaryColour, SecondaryColour, OutlineColour, BackColour, Bold, Italic, Underline, "
    "StrikeOut, ScaleX, ScaleY, Spacing, Angle, BorderStyle, Outline, Shadow, Alignment, MarginL, MarginR, MarginV, "
    "Encoding";
constexpr std::string_view kEvent = "Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text";

enum class Section : std::uint8_t { None, Info, OldStyles, PlusStyles, Events, Attached, Unknown };

bool isSame(std::string_view text, std::string_view lower) noexcept {
    return text.size() == lower.size() && startsWithIgnoringCase(text, lower);
}

/// The section of a line; none when it is no head of one.
/// @param isAttached The line is in a section whose lines may have any characters.
std::optional<Section> sectionOf(std::string_view line, bool isAttached) noexcept {
    constexpr std::pair<std::string_view, Section> kSections[] = {
        {"[script info]", Section::Info},      {"[v4 styles]", Section::OldStyles},
        {"[v4+ styles]", Section::PlusStyles}, {"[v4 styles+]", Section::PlusStyles},
        {"[events]", Section::Events},         {"[fonts]", Section::Attached},
        {"[graphics]", Section::Attached},
    };
    if (!line.starts_with('[')) {
        return std::nullopt;
    }
    line = trimmed(line);
    for (const auto& [head, section] : kSections) {
        if (isSame(line, head)) {
            return section;
        }
    }
    return line.ends_with(']') && !isAttached ? std::optional(Section::Unknown) : std::nullopt;
}

}  // namespace

class SsaReader::Parser {
public:
    Parser(const TextCueOptions& options, FindingSink* findings)
        : _options(options), _findings(findings), _lines(options.greatestCue, options.limits, DoubleReturn::OneEnd),
          _text(findings, [this](std::string_view name) { return styleNamed(name); }) {}
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    TextLines& lines() noexcept { return _lines; }
    FindingSink* findings() const noexcept { return _findings; }
    const SsaFile& file() const noexcept { return _file; }

    const Cue* next() {
        std::string_view line;
        while (_lines.next(line)) {
            if (_lines.isCut()) {
                report(SsaLineTooLong, Severity::Error, static_cast<std::int64_t>(_options.greatestCue));
            } else if (takeLine(line)) {
                return &_cue;
            }
        }
        if (_lines.isFinished() && !std::exchange(_isEnded, true)) {
            endSection();
            report(SsaComments, Severity::Remark, static_cast<std::int64_t>(_file.comments), 0, _file.comments != 0);
            report(SsaEventsMissing, Severity::Error, 0, 0, !_hasEvents);
        }
        return nullptr;
    }

private:
    /// @return Whether there is a cue.
    bool takeLine(std::string_view line) {
        if (const auto section = sectionOf(line, _section == Section::Attached)) {
            endSection();
            _section = *section;
            _hasEvents = _hasEvents || _section == Section::Events;
            return false;
        }
        if (trimmed(line).empty()) {
            return false;
        }
        if (_section == Section::Attached) {
            ++_passed;
            return false;
        }
        if (line.starts_with(';') || line.starts_with("!:")) {
            ++_file.comments;
            return false;
        }
        const std::size_t colon = line.find(':');
        const std::string_view name = trimmed(line.substr(0, colon));
        const std::string_view value =
            colon == std::string_view::npos ? std::string_view() : trimmedInFront(line.substr(colon + 1));
        if (colon == std::string_view::npos) {
            ++_passed;
            return false;
        }
        switch (_section) {
        case Section::Info:
            takeInfo(name, trimmed(value));
            return false;
        case Section::OldStyles:
        case Section::PlusStyles:
            takeStyleLine(name, value);
            return false;
        case Section::Events:
            return takeEventLine(name, value);
        case Section::None:
            // An event without anything in front of it.
            if (isSame(name, "dialogue")) {
                _hasEvents = true;
                return takeEventLine(name, value);
            }
            ++_passed;
            return false;
        default:
            ++_passed;
            return false;
        }
    }

    static std::string_view trimmedInFront(std::string_view text) noexcept {
        return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
    }

    /// Says what of a section was passed over.
    void endSection() {
        const bool isLoss = _section == Section::Attached || _section == Section::Events;
        report(SsaLinesPassed, isLoss ? Severity::Warning : Severity::Remark, static_cast<std::int64_t>(_passed), 0,
               _passed != 0);
        _passed = 0;
    }

    void takeInfo(std::string_view name, std::string_view value) {
        const auto takeSize = [&](std::uint32_t& size) {
            const auto number = ssaNumber(value);
            if (number && *number > 0) {
                size = static_cast<std::uint32_t>(*number);
            } else {
                report(SsaInfoWrong, Severity::Warning, static_cast<std::int64_t>(value.size()));
            }
        };
        if (isSame(name, "playresx")) {
            takeSize(_file.width);
        } else if (isSame(name, "playresy")) {
            takeSize(_file.height);
        } else if (isSame(name, "wrapstyle")) {
            constexpr std::int32_t kNoWrapping = 2;
            _endsSoftly = ssaNumber(value) == kNoWrapping;
        }
        if (_file.info.size() < kMostInfo && name.size() + value.size() <= kLongestInfo) {
            std::string key = withoutWrong(name);
            _file.info.push_back({std::move(key), withoutWrong(value)});
        } else {
            ++_passed;
        }
    }

    void takeStyleLine(std::string_view name, std::string_view value) {
        const bool isPlus = _section == Section::PlusStyles;
        if (isSame(name, "format")) {
            _styleFormat.set(value);
            return;
        }
        if (!isSame(name, "style")) {
            ++_passed;
            return;
        }
        if (_styleFormat.isEmpty()) {
            report(SsaFormatMissing, Severity::Remark, 0);
            _styleFormat.set(isPlus ? kPlusStyle : kOldStyle);
        }
        SsaFields fields;
        bool isRight = _styleFormat.split(value, fields);
        const SsaStyle style = ssaStyleOf(fields, isPlus, isRight);
        report(SsaStyleWrong, Severity::Warning, static_cast<std::int64_t>(value.size()), 0, !isRight);
        const std::string_view key = styleKey(fields[SsaColumn::Name]);
        if (key.size() > kLongestInfo || (_styles.size() >= kMostStyles && !_styles.contains(key))) {
            report(SsaStyleWrong, Severity::Warning, static_cast<std::int64_t>(value.size()));
            return;
        }
        _styles.insert_or_assign(std::string(key), style);
    }

    /// Stars in front of a name are none of it.
    static std::string_view styleKey(std::string_view name) noexcept {
        return name.substr(std::min(name.find_first_not_of('*'), name.size()));
    }

    const SsaStyle* styleNamed(std::string_view name) const {
        const auto found = _styles.find(styleKey(name));
        return found == _styles.end() ? nullptr : &found->second;
    }

    bool takeEventLine(std::string_view name, std::string_view value) {
        if (isSame(name, "format")) {
            _eventFormat.set(value);
            return false;
        }
        if (isSame(name, "comment")) {
            ++_file.comments;
            return false;
        }
        if (!isSame(name, "dialogue")) {
            // Pictures, sounds, films and commands.
            ++_passed;
            return false;
        }
        if (_eventFormat.isEmpty()) {
            report(SsaFormatMissing, Severity::Remark, 1);
            _eventFormat.set(kEvent);
        }
        SsaFields fields;
        const bool isWhole = _eventFormat.split(value, fields);
        const bool hasColumns =
            _eventFormat.has(SsaColumn::Start) && _eventFormat.has(SsaColumn::End) && _eventFormat.has(SsaColumn::Text);
        if (!isWhole || !hasColumns) {
            report(SsaEventWrong, Severity::Error, static_cast<std::int64_t>(value.size()));
            return false;
        }
        return takeEvent(fields);
    }

    bool takeEvent(const SsaFields& fields) {
        const auto start = timeOf(fields[SsaColumn::Start], 1);
        const auto end = start ? timeOf(fields[SsaColumn::End], 2) : std::nullopt;
        if (!start || !end) {
            return false;
        }
        if (*end <= *start) {
            report(SsaEndNotLater, *end < *start ? Severity::Error : Severity::Warning, *start, *end);
            if (*end < *start) {
                return false;
            }
        }
        const SsaStyle* const named = styleNamed(fields[SsaColumn::Style]);
        if (named == nullptr && !fields[SsaColumn::Style].empty()) {
            report(SsaStyleUnknown, Severity::Warning, static_cast<std::int64_t>(fields[SsaColumn::Style].size()));
        }
        const SsaStyle* const usual = named != nullptr ? named : styleNamed("Default");
        SsaStyle style = usual != nullptr ? *usual : SsaStyle{};
        if (const auto margin = ssaNumber(fields[SsaColumn::MarginVertical]); margin && *margin > 0) {
            style.margin = *margin;
        }
        _cue = Cue{};
        _cue.start = MediaTime::make(*start, kSsaTimescale);
        _cue.end = MediaTime::make(*end, kSsaTimescale);
        if (!_text.take(fields[SsaColumn::Text], style, {_file.width, _file.height}, _endsSoftly, _options.mostLines,
                        _lines.number(), _cue)) {
            report(SsaRowsTooMany, Severity::Error, static_cast<std::int64_t>(_options.mostLines));
            return false;
        }
        if (!_text.hasText()) {
            report(SsaEventEmpty, Severity::Remark, 0);
            return false;
        }
        _cue.number = ++_number;
        keep(properties::kSsaStyle, styleKey(fields[SsaColumn::Style]), "Default");
        keep(properties::kSsaLayer, fields[SsaColumn::Layer], "0");
        keep(properties::kSsaName, fields[SsaColumn::Name], {});
        keep(properties::kSsaEffect, fields[SsaColumn::Effect], {});
        return true;
    }

    std::optional<std::int64_t> timeOf(std::string_view text, std::int64_t which) {
        const auto time = parseTextTime(text);
        if (!time) {
            report(SsaTimeWrong, Severity::Error, which);
            return std::nullopt;
        }
        report(SsaTimeUnusual, Severity::Remark, which, time->milliseconds, time->mark != '.' || !time->hasHours);
        return time->milliseconds;
    }

    /// Keeps what a field says unless that is the usual.
    void keep(std::string_view name, std::string_view value, std::string_view usual) {
        if (value.empty() || value == usual) {
            return;
        }
        _cue.properties.push_back({std::string(name), withoutWrong(value)});
    }

    std::string withoutWrong(std::string_view text) {
        WrongBytes wrong;
        std::string room;
        std::string result(withoutWrongBytes(text, room, wrong));
        report(SubtitleTextNotUtf8, Severity::Error, wrong.first, wrong.count, wrong.count != 0);
        return result;
    }

    void report(FindingCode code, Severity severity, std::int64_t first, std::int64_t second = 0, bool isThere = true) {
        if (isThere && _findings != nullptr) {
            _findings->add({code, severity, _lines.number(), first, second});
        }
    }

    TextCueOptions _options;
    FindingSink* _findings;
    TextLines _lines;
    SsaText _text;
    SsaFile _file;
    Section _section = Section::None;
    std::map<std::string, SsaStyle, std::less<>> _styles;
    SsaFormat _styleFormat;
    SsaFormat _eventFormat;
    Cue _cue;
    std::uint64_t _number = 0;
    std::uint64_t _passed = 0;  ///< Lines of the section.
    bool _endsSoftly = false;
    bool _hasEvents = false;
    bool _isEnded = false;
};

SsaReader::SsaReader(const TextCueOptions& options, FindingSink* findings)
    : _parser(std::make_unique<Parser>(options, findings)) {}
SsaReader::SsaReader(SsaReader&& other) noexcept = default;
SsaReader& SsaReader::operator=(SsaReader&& other) noexcept = default;
SsaReader::~SsaReader() = default;

void SsaReader::push(std::span<const std::uint8_t> bytes) {
    _parser->lines().push(bytes);
}

void SsaReader::finish() noexcept {
    _parser->lines().finish();
}

const Cue* SsaReader::next() {
    return nextWithinLimits<Cue>(*_parser, _parser->findings());
}

const SsaFile& SsaReader::file() const noexcept {
    return _parser->file();
}

}  // namespace qlx::subtitles
