#include <qlx/subtitles/srt.h>

#include "subtitles/LinePlacement.h"
#include "subtitles/SrtCue.h"
#include "subtitles/SrtMarkup.h"
#include "subtitles/TextEditing.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>

#include <algorithm>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kDigits = "0123456789";

constexpr std::int64_t kSixty = 60;
constexpr std::int64_t kStart = 1;
constexpr std::int64_t kEnd = 2;

bool isNumber(std::string_view text) noexcept {
    return !text.empty() && text.find_first_not_of(kDigits) == std::string_view::npos;
}

/// What of the part behind the arrow is the time.
std::size_t sizeOfTime(std::string_view end) noexcept {
    const std::size_t comma = std::min(end.find(','), end.size());
    const std::size_t number = std::min(end.find_first_not_of(kBlanks, comma + 1), end.size());
    const std::size_t rest = std::min(end.find_first_not_of(kDigits, number), end.size());
    // Blanks of other kinds, such as one without a break, end the number as well.
    const bool isApart = rest > number && rest < end.size() &&
                         (kBlanks.find(end[rest]) != std::string_view::npos || (end[rest] & '\x80') != 0);
    // With another comma in it, it is no time.
    return isApart && end.find(',', rest) == std::string_view::npos ? rest : end.size();
}

/// Whether a line begins with `HH:MM:SS,mmm --> HH:MM:SS,mmm`, and the end is later than the start.
bool isTiming(std::string_view line) noexcept {
    constexpr std::string_view kForm = "00:00:00,000 --> 00:00:00,000";
    if (line.size() < kForm.size()) {
        return false;
    }
    const bool hasForm = std::equal(kForm.begin(), kForm.end(), line.begin(), [](char form, char character) {
        return form == '0' ? character >= '0' && character <= '9' : character == form;
    });
    const auto parts = hasForm ? splitSrtTiming(line) : std::nullopt;
    const auto start = parts ? parseSrtTime(parts->start) : std::nullopt;
    const auto end = parts ? parseSrtTime(parts->end) : std::nullopt;
    return start && end && end->time.value > start->time.value;
}

}  // namespace

std::optional<SrtTime> parseSrtTime(std::string_view text) noexcept {
    constexpr std::size_t kMillisecondDigits = 3;
    const std::string_view hours = trimmed(takePart(text, ':'));
    const std::string_view minutes = trimmed(takePart(text, ':'));
    const std::string_view seconds = trimmed(takePart(text, ','));
    const std::string_view milliseconds = trimmed(text);
    if (!isNumber(hours) || !isNumber(minutes) || !isNumber(seconds) || !isNumber(milliseconds)) {
        return std::nullopt;
    }
    constexpr std::int64_t kSecond = kSrtTimescale;
    constexpr std::int64_t kMinute = kSixty * kSecond;
    constexpr std::int64_t kHour = kSixty * kMinute;
    constexpr double kGreatest = 9e18;
    const std::int64_t wholeHours = integerValue(hours);
    const std::int64_t wholeMinutes = integerValue(minutes);
    const std::int64_t wholeSeconds = integerValue(seconds);
    const std::int64_t rest = integerValue(milliseconds);
    const auto product = [](std::int64_t count, std::int64_t unit) {
        return static_cast<double>(count) * static_cast<double>(unit);
    };
    if (product(wholeHours, kHour) + product(wholeMinutes, kMinute) + product(wholeSeconds, kSecond) +
            static_cast<double>(rest) >
        kGreatest) {
        return std::nullopt;
    }
    const bool isUsual = wholeMinutes < kSixty && wholeSeconds < kSixty && milliseconds.size() == kMillisecondDigits;
    return SrtTime{
        MediaTime::make(wholeHours * kHour + wholeMinutes * kMinute + wholeSeconds * kSecond + rest, kSrtTimescale),
        isUsual};
}

std::optional<SrtTimingView> splitSrtTiming(std::string_view line) noexcept {
    const auto sides = srt::sidesOfArrow(line);
    if (!sides) {
        return std::nullopt;
    }
    const std::size_t size = sizeOfTime(sides->behind);
    return SrtTimingView{sides->before, sides->behind.substr(0, size), sides->behind.substr(size)};
}

void SrtReader::push(std::span<const std::uint8_t> bytes) {
    // Bytes are moved at most as often as they were pushed: only when no more than half of the buffer stays.
    if (_begin > 0 && _begin >= _buffer.size() - _begin) {
        _buffer.erase(0, _begin);
        _searched -= std::min(_searched, _begin);
        _begin = 0;
    }
    bytes = _budget.take(bytes);
    _buffer.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

const Cue* SrtReader::next() {
    const Cue* const cue = _budget.hasEnded() ? nullptr : nextCue();
    const bool isGiven = cue != nullptr && _budget.takeItem();
    if (!isGiven) {
        reportLimit();
    }
    return isGiven ? cue : nullptr;
}

void SrtReader::reportLimit() {
    if (const auto finding = _budget.takeFinding(_line); finding && _findings != nullptr) {
        _findings->add(*finding);
    }
}

const Cue* SrtReader::nextCue() {
    for (;;) {
        const std::size_t end = _buffer.find('\n', std::max(_begin, _searched));
        const bool isWhole = end != std::string::npos;
        // A line that the limit has cut is left out, and with it its cue.
        if (!isWhole && (!_isFinished || _budget.isCut())) {
            _searched = _buffer.size();
            if (_begin < _buffer.size() && _bytesOfCue + (_buffer.size() - _begin) > _options.greatestCue) {
                cutLine();
            }
            return nullptr;
        }
        const std::size_t size = (isWhole ? end : _buffer.size()) - _begin;
        if (!isWhole && size == 0 && !_isLineCut && _linesOfCue == 0) {
            return nullptr;
        }
        // Behind the last line stands an empty one, which closes the last cue.
        const std::string_view line = std::string_view(_buffer).substr(_begin, size);
        _begin += size + (isWhole ? 1 : 0);
        if (takeLine(line, size + (isWhole ? 1 : 0))) {
            return &_cue;
        }
    }
}

/// @param bytes Of the line with its end.
/// @return Whether there is a cue.
bool SrtReader::takeLine(std::string_view raw, std::size_t bytes) {
    ++_line;
    if (_line == 1) {
        raw = withoutByteOrderMark(raw);
    }
    const std::string_view line = srt::withoutCarriageReturns(raw, _withoutReturns);
    const bool isCut = std::exchange(_isLineCut, false);
    const srt::LineKind kind = isCut ? srt::LineKind::Text : srt::kindOfLine(line, _linesOfCue);
    ++_linesOfCue;
    _bytesOfCue += bytes;
    if (_bytesOfCue > _options.greatestCue || _linesOfCue > _options.mostLines) {
        passCue();
    }
    switch (kind) {
    case srt::LineKind::Empty:
        return closeCue();
    case srt::LineKind::Number:
        takeNumber(line);
        break;
    case srt::LineKind::Timing:
        takeTiming(line);
        break;
    case srt::LineKind::Text:
        takeText(line);
        break;
    }
    return false;
}

bool SrtReader::closeCue() {
    constexpr std::uint64_t kNumberAlone = 2;
    if (_linesOfCue == kNumberAlone && !_isPassed && _findings != nullptr) {
        _findings->add({SrtTimingMissing, Severity::Error, _line - 1, 0, 0});
    }
    _linesOfCue = 0;
    _bytesOfCue = 0;
    _isPassed = false;
    if (!std::exchange(_isCue, false)) {
        return false;
    }
    _cue.rows.resize(_rows);
    return true;
}

void SrtReader::takeNumber(std::string_view line) {
    const std::int64_t number = std::max(integerValue(line), std::int64_t{0});
    _cue.number = static_cast<std::uint64_t>(number);
    _rows = 0;
    _isColorOpen = false;
    if (_isPassed) {
        return;
    }
    if (!isNumber(trimmed(line))) {
        report(SrtNumberWrong, Severity::Remark);
    } else if (!isWholeNumber(trimmed(line))) {
        report(SrtNumberTooGreat, Severity::Warning, number);
    }
}

void SrtReader::takeTiming(std::string_view line) {
    if (_isPassed) {
        return;
    }
    const auto parts = splitSrtTiming(line);
    if (!parts) {
        report(SrtTimingWrong, Severity::Error);
        return;
    }
    const auto start = timeIn(parts->start, kStart);
    const auto end = start ? timeIn(parts->end, kEnd) : std::nullopt;
    if (!end) {
        return;
    }
    _cue.start = *start;
    _cue.end = *end;
    _isCue = end->value > start->value;
    if (!_isCue) {
        report(SrtEndNotLater, Severity::Error, start->value, end->value);
    } else if (!parts->rest.empty()) {
        report(SrtBytesBehindTimes, Severity::Remark, static_cast<std::int64_t>(parts->rest.size()));
    }
}

std::optional<MediaTime> SrtReader::timeIn(std::string_view text, std::int64_t which) {
    const auto time = parseSrtTime(text);
    if (!time) {
        report(SrtTimeWrong, Severity::Error, which);
        return std::nullopt;
    }
    if (!time->isUsual) {
        report(SrtTimeUnusual, Severity::Warning, which, time->time.value);
    }
    return time->time;
}

void SrtReader::takeText(std::string_view line) {
    if (_isPassed) {
        return;
    }
    if (isTiming(line)) {
        report(SrtTimingInsideCue, Severity::Warning);
    }
    if (!_isCue) {
        return;
    }
    srt::WrongValues wrong;
    srt::MarkedLine marked = srt::parseMarkup(validated(line), &wrong);
    if (_rows == _cue.rows.size()) {
        _cue.rows.emplace_back();
    }
    Row& row = _cue.rows[_rows];
    row.runs.resize(1);
    Run& run = row.runs.front();
    const Row* const before = _rows == 0 ? nullptr : &_cue.rows[_rows - 1];
    ++_rows;
    run.text = std::move(marked.text);
    run.style = {};
    run.style.isBold = marked.bold;
    run.style.isItalic = marked.italic;
    run.style.isUnderlined = marked.underline;
    run.style.foreground = before != nullptr && _isColorOpen
                               ? before->runs.front().style.foreground
                               : screen::kBasicColors[static_cast<std::size_t>(marked.color)];
    if (wrong.color) {
        report(SrtColorUnknown, Severity::Warning, marked.color, static_cast<std::int64_t>(*wrong.color));
    }
    _isColorOpen = marked.colorStaysOpen;
    if (wrong.row) {
        report(SrtRowWrong, Severity::Warning, static_cast<std::int64_t>(*wrong.row));
        marked.row = 0;
    }
    row.number = marked.row;
    row.anchor = before != nullptr && srt::inheritsPlace(marked.positioningType, marked.row)
                     ? before->anchor
                     : static_cast<std::uint8_t>(marked.positioningType);
    row.alignment = static_cast<Alignment>(alignmentOfPositioningType(row.anchor));
}

/// The line with U+FFFD in place of each byte that is no UTF-8.
std::string_view SrtReader::validated(std::string_view line) {
    WrongBytes wrong;
    const std::string_view valid = withoutWrongBytes(line, _validated, wrong);
    if (wrong.count != 0) {
        report(SubtitleTextNotUtf8, Severity::Warning, wrong.first, wrong.count);
    }
    return valid;
}

/// Forgets the beginning of a line that is too long to be kept.
void SrtReader::cutLine() {
    passCue();
    _bytesOfCue += _buffer.size() - _begin;
    // Of a line of nothing but carriage returns nothing is there.
    _isLineCut = _isLineCut || _buffer.find_first_not_of('\r', _begin) != std::string::npos;
    _buffer.clear();
    _begin = 0;
    _searched = 0;
}

/// Leaves the cue in hand out, which is too long.
void SrtReader::passCue() {
    _isCue = false;
    if (!std::exchange(_isPassed, true) && _findings != nullptr) {
        _findings->add({SrtCueTooLong, Severity::Error, _line - _linesOfCue + 1,
                        static_cast<std::int64_t>(_options.greatestCue),
                        static_cast<std::int64_t>(_options.mostLines)});
    }
}

void SrtReader::report(FindingCode code, Severity severity, std::int64_t first, std::int64_t second) {
    if (_findings != nullptr) {
        _findings->add({code, severity, _line, first, second});
    }
}

}  // namespace qlx::subtitles
