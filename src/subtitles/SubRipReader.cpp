#include <qlx/subtitles/subrip.h>

#include "subtitles/SubRipMarkup.h"
#include "subtitles/TextEditing.h"
#include "subtitles/TextLines.h"
#include "subtitles/TextTime.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

constexpr std::int32_t kMillisecondTimescale = 1000;

}  // namespace

class SubRipReader::Parser {
public:
    Parser(const TextCueOptions& options, FindingSink* findings)
        : _options(options), _findings(findings), _lines(options.greatestCue, options.limits, DoubleReturn::OneEnd),
          _markup(findings) {}

    TextLines& lines() noexcept { return _lines; }
    FindingSink* findings() const noexcept { return _findings; }

    const Cue* next() {
        std::string_view line;
        while (_lines.next(line)) {
            if (takeLine(line)) {
                return &_ready;
            }
        }
        if (_lines.isFinished() && !std::exchange(_isEnded, true)) {
            endOfFile();
            // Behind what the limit has cut the cue in hand may have had further rows.
            _isCue = _isCue && (!_lines.budget().isCut() || _emptyRows != 0);
            return closeCue() ? &_ready : nullptr;
        }
        return nullptr;
    }

private:
    /// @return Whether a cue is complete.
    bool takeLine(std::string_view line) {
        ++_linesOfCue;
        _bytesOfCue += line.size() + 1;
        if (line.empty()) {
            releaseNumber();
            ++_emptyRows;
            return false;
        }
        if (const auto parts = splitTimingLine(line)) {
            if (parts->start && parts->end) {
                return takeTiming(*parts);
            }
            if (_hasNumber || _emptyRows != 0 || !_isCue) {
                return takeBrokenTiming(*parts);
            }
        }
        releaseNumber();
        if (cueDigits(trimmed(line))) {
            _hasNumber = true;
            _number = line;
            _numberLine = _lines.number();
            return false;
        }
        takeText(line, _lines.number());
        return false;
    }

    bool takeTiming(const TimingParts& parts) {
        if (_isCue && _emptyRows == 0) {
            report(SrtTimingInsideCue, Severity::Warning);
        }
        const bool isReady = closeCue();
        _isCue = true;
        takeNumber();
        const std::int64_t start = checkedTime(*parts.start, 1);
        const std::int64_t end = checkedTime(*parts.end, 2);
        if (end <= start) {
            report(SrtEndNotLater, end < start ? Severity::Error : Severity::Warning, start, end);
            _isCue = end == start;
        }
        _cue.start = MediaTime::make(start, kMillisecondTimescale);
        _cue.end = MediaTime::make(end, kMillisecondTimescale);
        if (!parts.rest.empty()) {
            WrongBytes wrong;
            const std::string_view rest = withoutWrongBytes(parts.rest, _room, wrong);
            reportWrong(wrong);
            _cue.properties.push_back({std::string(properties::kSubRipCoordinates), std::string(rest)});
        }
        _isPassing = !_isCue;
        return isReady;
    }

    bool takeBrokenTiming(const TimingParts& parts) {
        const bool isReady = closeCue();
        report(SrtTimeWrong, Severity::Error, parts.start ? 2 : 1);
        _number.clear();
        _hasNumber = false;
        _isPassing = true;
        return isReady;
    }

    std::int64_t checkedTime(const TextTime& time, std::int64_t which) {
        if (!time.hasDigits || !time.hasHours || time.mark != ',') {
            report(SrtTimeUnusual, Severity::Remark, which, time.milliseconds);
        }
        return time.milliseconds;
    }

    void takeNumber() {
        if (!std::exchange(_hasNumber, false)) {
            report(SrtNumberWrong, Severity::Remark);
            _cue.number = _lastNumber + (_lastNumber == std::numeric_limits<std::uint64_t>::max() ? 0 : 1);
        } else {
            const std::string_view written = trimmed(_number);
            const CueDigits digits = cueDigits(written).value_or(CueDigits{});
            _cue.number = digits.number;
            if (digits.isTooGreat) {
                report(SrtNumberTooGreat, Severity::Warning, -1);
            }
            if (!digits.isUsual) {
                _cue.identifier = written;
            }
        }
        _lastNumber = _cue.number;
    }

    /// A line of digits in front of no times is text.
    void releaseNumber() {
        if (std::exchange(_hasNumber, false)) {
            const std::string number = std::exchange(_number, {});
            takeText(number, _numberLine);
        }
    }

    void endOfFile() {
        if (_lines.budget().isCut()) {
            _hasNumber = false;
        }
        if (_hasNumber && (_emptyRows != 0 || !_isCue)) {
            report(SrtTimingMissing, Severity::Error);
            _hasNumber = false;
        }
        releaseNumber();
    }

    void takeText(std::string_view line, std::uint64_t number) {
        if (!_isCue) {
            if (!_isPassing) {
                report(SubRipTextInFront, Severity::Error, static_cast<std::int64_t>(line.size()));
            }
            return;
        }
        if (_lines.isCut() || _bytesOfCue > _options.greatestCue || _linesOfCue > _options.mostLines) {
            report(SrtCueTooLong, Severity::Error, static_cast<std::int64_t>(_options.greatestCue),
                   static_cast<std::int64_t>(_options.mostLines));
            _isCue = false;
            _isPassing = true;
            _cue = Cue{};
            return;
        }
        if (_emptyRows != 0) {
            report(SubRipEmptyRow, Severity::Remark, static_cast<std::int64_t>(_emptyRows));
            // In front of the first row they are none.
            for (std::uint64_t row = _cue.rows.empty() ? _emptyRows : 0; row < _emptyRows; ++row) {
                _cue.rows.emplace_back();
            }
            _emptyRows = 0;
        }
        WrongBytes wrong;
        const std::string_view text = withoutWrongBytes(line, _room, wrong);
        reportWrong(wrong);
        _markup.takeRow(text, number, _cue);
    }

    /// Ends the cue in hand. Gives whether there was one.
    bool closeCue() {
        const bool isReady = std::exchange(_isCue, false);
        if (isReady) {
            _markup.end(_lines.number(), _cue);
            std::swap(_ready, _cue);
        }
        _cue = Cue{};
        _markup.begin();
        _emptyRows = 0;
        _linesOfCue = 0;
        _bytesOfCue = 0;
        return isReady;
    }

    void reportWrong(const WrongBytes& wrong) {
        if (wrong.count != 0) {
            report(SubtitleTextNotUtf8, Severity::Error, wrong.first, wrong.count);
        }
    }

    void report(FindingCode code, Severity severity, std::int64_t first = 0, std::int64_t second = 0) {
        if (_findings != nullptr) {
            _findings->add({code, severity, _lines.number(), first, second});
        }
    }

    TextCueOptions _options;
    FindingSink* _findings;
    TextLines _lines;
    SubRipMarkup _markup;
    Cue _cue;    ///< In hand.
    Cue _ready;  ///< That was given.
    bool _isCue = false;
    bool _isPassing = false;  ///< Text is that of a cue that is left out.
    bool _isEnded = false;
    bool _hasNumber = false;  ///< A line of digits waits for the times behind it.
    std::string _number;
    std::uint64_t _numberLine = 0;
    std::uint64_t _lastNumber = 0;
    std::uint64_t _emptyRows = 0;  ///< Behind the last row of the cue.
    std::uint64_t _linesOfCue = 0;
    std::size_t _bytesOfCue = 0;
    std::string _room;
};

SubRipReader::SubRipReader(const TextCueOptions& options, FindingSink* findings)
    : _parser(std::make_unique<Parser>(options, findings)) {}
SubRipReader::SubRipReader(SubRipReader&& other) noexcept = default;
SubRipReader& SubRipReader::operator=(SubRipReader&& other) noexcept = default;
SubRipReader::~SubRipReader() = default;

void SubRipReader::push(std::span<const std::uint8_t> bytes) {
    _parser->lines().push(bytes);
}

void SubRipReader::finish() noexcept {
    _parser->lines().finish();
}

const Cue* SubRipReader::next() {
    return nextWithinLimits<Cue>(*_parser, _parser->findings());
}

}  // namespace qlx::subtitles
