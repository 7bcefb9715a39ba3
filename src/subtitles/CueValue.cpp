// Cues from dictionaries and back.
#include "base/MakeFinding.h"
#include "base/Seconds.h"
#include "subtitles/CueFields.h"
#include "subtitles/SrtTimecode.h"
#include "subtitles/SubtitleColor.h"
#include "subtitles/TextEditing.h"

#include <qlx/subtitles/srt.h>

#include <algorithm>
#include <charconv>
#include <numeric>
#include <optional>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

constexpr std::uint64_t kWhichStart = 1;
constexpr std::uint64_t kWhichEnd = 2;

/// Milliseconds of a time as findings name them.
std::int64_t millisecondsOf(const MediaTime& time) noexcept {
    return convertScale(time, kSrtTimescale, RoundingMethod::RoundHalfAwayFromZero).value;
}

/// In lowest terms, so that equal moments are equal.
MediaTime reduced(const MediaTime& time) noexcept {
    const std::int64_t divisor = std::gcd(time.value, std::int64_t{time.timescale});
    return MediaTime::make(time.value / divisor, static_cast<std::int32_t>(time.timescale / divisor));
}

bool isTime(const MediaTime& time) noexcept {
    return time.isValid() && time.timescale > 0;
}

/// Gives findings of one cue.
class Reporter {
public:
    Reporter(FindingSink* findings, std::uint64_t offset) noexcept : _findings(findings), _offset(offset) {}

    [[nodiscard]] Finding finding(FindingCode code, Severity severity, std::uint64_t first = 0,
                                  std::uint64_t second = 0) const noexcept {
        return makeFinding(code, severity, _offset, first, second);
    }

    void report(FindingCode code, Severity severity, std::uint64_t first = 0, std::uint64_t second = 0) const {
        if (_findings != nullptr) {
            _findings->add(finding(code, severity, first, second));
        }
    }

private:
    FindingSink* _findings;
    std::uint64_t _offset;
};

// From dictionaries

/// A number of seconds from 0 on, or a text that is such a number and nothing else.
std::optional<double> givenSeconds(const Value& value) noexcept {
    double seconds = value.isNumber() ? value.doubleValue() : -1.0;
    if (const std::string* const text = value.text()) {
        std::string_view number = trimmed(*text);
        number.remove_prefix(number.starts_with('+') ? 1 : 0);
        const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), seconds);
        if (error != std::errc{} || end != number.data() + number.size()) {
            return std::nullopt;
        }
    }
    return seconds >= 0.0 ? std::optional(seconds) : std::nullopt;
}

/// Whether a value is a whole number that `unsignedValue()` gives as it stands, or a text of one.
bool isWhole(const Value& value) noexcept {
    if (const std::string* const text = value.text()) {
        return isWholeNumber(*text);
    }
    if (const double* const real = value.number()) {
        constexpr double kLimit = 9.2e18;
        return *real >= 0.0 && *real < kLimit && static_cast<double>(static_cast<std::int64_t>(*real)) == *real;
    }
    return value.isNumber() && (value.signedInteger() == nullptr || *value.signedInteger() >= 0);
}

class ValueReader {
public:
    ValueReader(const Dictionary& dictionary, const Reporter& reporter) noexcept
        : _dictionary(dictionary), _reporter(reporter) {}

    Result<Cue> read() {
        const Array* const lines = fields::linesIn(_dictionary);
        if (lines == nullptr) {
            return _reporter.finding(SubtitleValueNoLines, Severity::Error);
        }
        const Result<MediaTime> start = timeOf(fields::kStart, kWhichStart);
        if (!start) {
            return start.error();
        }
        const Result<MediaTime> end = timeOf(fields::kEnd, kWhichEnd);
        if (!end) {
            return end.error();
        }
        Cue cue{.number = 0, .start = *start, .end = *end, .rows = {}};
        if (!(secondsOf(cue.end) > secondsOf(cue.start))) {
            return _reporter.finding(SubtitleValueEndNotLater, Severity::Error,
                                     static_cast<std::uint64_t>(millisecondsOf(cue.start)),
                                     static_cast<std::uint64_t>(millisecondsOf(cue.end)));
        }
        readNumber(cue);
        readRows(*lines, cue);
        return cue;
    }

private:
    Result<MediaTime> timeOf(const fields::TimeKeys& names, std::uint64_t which) {
        constexpr std::uint64_t kSeconds = 1;
        constexpr std::uint64_t kTimecode = 2;
        if (const Value* const value = fields::valueIn(_dictionary, names.seconds)) {
            const std::optional<double> seconds = givenSeconds(*value);
            const MediaTime time = seconds ? timeOfSeconds(*seconds) : MediaTime();
            if (!time.isValid()) {
                return _reporter.finding(SubtitleValueTimeWrong, Severity::Error, which, kSeconds);
            }
            if ((time.flags & MediaTime::kHasBeenRounded) != 0) {
                _reporter.report(SubtitleValueTimeRounded, Severity::Remark, which);
            }
            return MediaTime::make(time.value, time.timescale);
        }
        const Value* const value = fields::valueIn(_dictionary, names.timecode);
        if (value == nullptr) {
            return _reporter.finding(SubtitleValueTimeMissing, Severity::Error, which);
        }
        const std::string* const text = value->text();
        const auto time = text != nullptr ? parseSrtTime(*text) : std::nullopt;
        if (!time) {
            return _reporter.finding(SubtitleValueTimeWrong, Severity::Error, which, kTimecode);
        }
        if (!time->isUsual) {
            _reporter.report(SubtitleValueTimeUnusual, Severity::Remark, which,
                             static_cast<std::uint64_t>(time->time.value));
        }
        return time->time;
    }

    void readNumber(Cue& cue) {
        const Value* const index = fields::valueIn(_dictionary, keys::kIndex);
        if (index == nullptr) {
            return;
        }
        if (isWhole(*index)) {
            cue.number = index->unsignedValue();
        } else {
            _reporter.report(SubtitleValueNumberWrong, Severity::Warning);
        }
    }

    void readRows(const Array& lines, Cue& cue) {
        cue.rows.reserve(lines.size());
        std::uint64_t dictionaries = 0;
        for (std::size_t place = 0; place < lines.size(); ++place) {
            const Dictionary* const dictionary = lines[place].dictionary();
            if (dictionary == nullptr) {
                _reporter.report(SubtitleValueLineWrong, Severity::Error, place + 1);
                continue;
            }
            // Lines without text keep their place: the others stand where they would stand beside them.
            auto line = fields::lineIn(*dictionary, dictionaries++, lines.size());
            if (line) {
                cue.rows.push_back(rowOf(*std::move(line), *dictionary, place + 1));
            } else {
                _reporter.report(SubtitleValueTextMissing, Severity::Error, place + 1);
            }
        }
    }

    Row rowOf(fields::Line line, const Dictionary& dictionary, std::uint64_t place) {
        Row row;
        if (line.color || !line.text.empty()) {
            Run run;
            run.text = std::move(line.text);
            run.style.foreground = screen::kBasicColors[static_cast<std::size_t>(line.color.value_or(kWhite))];
            row.runs.push_back(std::move(run));
        }
        row.alignment = line.alignment.value_or(Alignment::Center);
        row.number = line.row <= kLastValueRow ? line.row : 0;
        const Value* const color = fields::valueIn(dictionary, keys::kColor);
        if (color != nullptr && (color->text() == nullptr || !isColorText(*color->text()))) {
            _reporter.report(SubtitleValueColorWrong, Severity::Warning, place,
                             static_cast<std::uint64_t>(line.color.value_or(kWhite)));
        }
        if (fields::valueIn(dictionary, keys::kAlignment) != nullptr && !line.alignment) {
            _reporter.report(SubtitleValueAlignmentWrong, Severity::Warning, place,
                             static_cast<std::uint64_t>(row.alignment));
        }
        const Value* const position = fields::valueIn(dictionary, keys::kRow);
        const bool isPlaced =
            position == nullptr ? row.number != 0 : isWhole(*position) && position->unsignedValue() == row.number;
        if (!isPlaced) {
            _reporter.report(SubtitleValueRowWrong, Severity::Warning, place, row.number);
        }
        return row;
    }

    const Dictionary& _dictionary;
    const Reporter& _reporter;
};

// To dictionaries

std::string colorText(screen::Color color) {
    const screen::ColorParts parts = screen::partsOf(color);
    std::string text = "#";
    for (const std::uint8_t part : {parts.red, parts.green, parts.blue}) {
        text += part != 0 ? "ff" : "00";
    }
    return text;
}

class ValueWriter {
public:
    ValueWriter(const ValueOptions& options, const Reporter& reporter) noexcept
        : _options(options), _reporter(reporter) {}

    [[nodiscard]] Dictionary write(const Cue& cue) const {
        Dictionary dictionary;
        dictionary.set(keys::kIndex, cue.number);
        const bool hasStart = setTime(dictionary, cue.start, fields::kStart, kWhichStart);
        const bool hasEnd = setTime(dictionary, cue.end, fields::kEnd, kWhichEnd);
        if (hasStart && hasEnd && !(secondsOf(cue.end) > secondsOf(cue.start))) {
            _reporter.report(SubtitleValueEndNotLater, Severity::Warning,
                             static_cast<std::uint64_t>(millisecondsOf(cue.start)),
                             static_cast<std::uint64_t>(millisecondsOf(cue.end)));
        }
        if (cue.rows.empty()) {
            _reporter.report(SubtitleValueNoLines, Severity::Warning);
        }
        Array lines;
        lines.reserve(cue.rows.size());
        for (const Row& row : cue.rows) {
            lines.emplace_back(lineOf(row, lines.size() + 1));
        }
        dictionary.set(keys::kLines, std::move(lines));
        return dictionary;
    }

private:
    bool setTime(Dictionary& dictionary, const MediaTime& time, const fields::TimeKeys& names,
                 std::uint64_t which) const {
        if (!isTime(time)) {
            _reporter.report(SubtitleValueTimeWrong, Severity::Error, which, 1);
            return false;
        }
        const double seconds = secondsOf(time);
        const MediaTime again = timeOfSeconds(seconds);
        if (time.value < 0 || !isTime(again)) {
            _reporter.report(SubtitleValueTimeWrong, Severity::Warning, which, 1);
        } else if (reduced(again) != reduced(time)) {
            _reporter.report(SubtitleValueTimeRounded, Severity::Remark, which);
        }
        dictionary.set(names.seconds, seconds);
        dictionary.set(names.timecode, srt::timecodeOf(time));
        return true;
    }

    [[nodiscard]] Dictionary lineOf(const Row& row, std::uint64_t place) const {
        const bool isKnown = static_cast<std::size_t>(row.alignment) < kAlignmentNames.size();
        const Alignment alignment = isKnown ? row.alignment : Alignment::Unchanged;
        Dictionary line{{std::string(keys::kText), row.text()},
                        {std::string(keys::kAlignment), kAlignmentNames[static_cast<std::size_t>(alignment)]}};
        if (!isKnown) {
            _reporter.report(SubtitleValueAlignmentWrong, Severity::Warning, place);
        }
        if (!row.runs.empty()) {
            line.set(keys::kColor, colorText(colorOf(row, place)));
            reportStyles(row, place);
        }
        if (row.anchor != 0) {
            _reporter.report(SubtitleValueAnchorLost, Severity::Warning, place, row.anchor);
        }
        if (_options.placesRows) {
            line.set(keys::kRow, row.number);
            if (row.number > kLastValueRow) {
                _reporter.report(SubtitleValueRowWrong, Severity::Warning, place);
            }
        }
        return line;
    }

    /// The colour that a reader makes of that of the first run.
    [[nodiscard]] screen::Color colorOf(const Row& row, std::uint64_t place) const {
        const screen::Color asked = row.runs.front().style.foreground;
        const std::size_t index = screen::basicIndex(asked);
        const std::size_t readAs = index == 0 ? static_cast<std::size_t>(kWhite) : index;
        if (screen::kBasicColors[readAs] != asked) {
            _reporter.report(SubtitleValueColorWrong, Severity::Warning, place, readAs);
        }
        return screen::kBasicColors[readAs];
    }

    void reportStyles(const Row& row, std::uint64_t place) const {
        const Style held{.foreground = row.runs.front().style.foreground, .background = std::nullopt};
        const auto lost =
            std::count_if(row.runs.begin(), row.runs.end(), [&held](const Run& run) { return run.style != held; });
        if (lost > 0) {
            _reporter.report(SubtitleValueStylesLost, Severity::Warning, place, static_cast<std::uint64_t>(lost));
        }
    }

    const ValueOptions& _options;
    const Reporter& _reporter;
};

}  // namespace

Dictionary dictionaryOf(const Cue& cue, const ValueOptions& options, FindingSink* findings) {
    const Reporter reporter(findings, options.findingsOffset);
    return ValueWriter(options, reporter).write(cue);
}

Result<Cue> cueOf(const Value& value, FindingSink* findings, std::uint64_t offset) {
    const Reporter reporter(findings, offset);
    const Dictionary* const dictionary = value.dictionary();
    if (dictionary == nullptr) {
        return reporter.finding(SubtitleValueNotDictionary, Severity::Error);
    }
    return ValueReader(*dictionary, reporter).read();
}

}  // namespace qlx::subtitles
