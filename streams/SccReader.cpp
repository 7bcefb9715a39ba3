#include <qlx/streams/scc.h>

#include <qlx/cc/time_code.h>

#include "LineReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::streams {

namespace {

constexpr FrameRate kRate = FrameRate::Fps2997;
constexpr std::string_view kTitle = "Scenarist_SCC V1.0";
constexpr std::string_view kBlanks = " \t";
constexpr std::size_t kPairDigits = 4;

/// What a line's timecode says.
struct Start {
    std::uint64_t frame = 0;
    bool dropsFrames = false;
};

/// Takes a number of decimal digits, at most `most` of them, and the mark behind it from the beginning of a text.
/// @param marks What may be behind it; empty where the text must end. Gets the one that is.
std::optional<std::uint8_t> takeNumber(std::string_view& text, std::size_t least, std::size_t most,
                                       std::string_view marks, char& mark) {
    std::uint8_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto size = static_cast<std::size_t>(end - text.data());
    if (error != std::errc{} || size < least || size > most) {
        return std::nullopt;
    }
    text.remove_prefix(size);
    if (marks.empty()) {
        return text.empty() ? std::optional(number) : std::nullopt;
    }
    if (text.empty() || marks.find(text.front()) == std::string_view::npos) {
        return std::nullopt;
    }
    mark = text.front();
    text.remove_prefix(1);
    return number;
}

/// The frame that a timecode names.
std::optional<Start> startOf(std::string_view timecode) {
    constexpr std::size_t kMostDigitsOfHours = 4;
    char mark = 0;
    const auto hours = takeNumber(timecode, 1, kMostDigitsOfHours, ":", mark);
    const auto minutes = hours ? takeNumber(timecode, 2, 2, ":", mark) : std::nullopt;
    const auto seconds = minutes ? takeNumber(timecode, 2, 2, ":;", mark) : std::nullopt;
    const bool dropsFrames = mark == ';';
    const auto frames = seconds ? takeNumber(timecode, 2, 2, {}, mark) : std::nullopt;
    if (!frames || *hours > 23 || *minutes > 59 || *seconds > 59 || *frames >= nominalFramesPerSecond(kRate)) {
        return std::nullopt;
    }
    const auto timeCode = cc::CdpTimeCode::make({.hours = *hours,
                                                 .minutes = *minutes,
                                                 .seconds = *seconds,
                                                 .frames = *frames,
                                                 .fieldFlag = false,
                                                 .dropFrame = dropsFrames});
    if (!cc::isPossible(timeCode, kRate)) {
        return std::nullopt;  // a number that drop-frame counting leaves out
    }
    return Start{cc::FrameCount(kRate, dropsFrames).ofLabel(cc::labelOf(timeCode, kRate)), dropsFrames};
}

/// A frame's timecode as a finding has it.
std::int64_t timecodeNumber(std::uint64_t frame, bool dropsFrames) {
    constexpr std::int64_t kDropFrame = 0x8000'0000;
    const cc::TimeCodeFields fields = cc::FrameCount(kRate, dropsFrames).timeCodeOf(frame).fields();
    return std::int64_t{fields.hours} << 24 | std::int64_t{fields.minutes} << 16 | std::int64_t{fields.seconds} << 8 |
           fields.frames | (dropsFrames ? kDropFrame : 0);
}

}  // namespace

/// The lines of a file, and the pairs of the one in hand.
class SccReader::Lines {
public:
    explicit Lines(ByteSource& source) : _lines(source) {}

    Result<bool> next(Frame& frame, FindingSink* findings) {
        if (_failure) {
            return *_failure;
        }
        const Result<bool> result = read(frame, findings);
        if (!result) {
            _failure = result.error();
        }
        return result;
    }

private:
    Result<bool> read(Frame& frame, FindingSink* findings);
    Result<bool> readTitle();
    Result<bool> readLine();
    void place(const Start& start);

    detail::LineReader _lines;
    std::string _line;
    std::size_t _place =
        std::string::npos;  ///< In `_line`: where the next pair is looked for; none in front of the title.
    std::uint64_t _nextFrame = 0;
    std::uint64_t _lineFrame = 0;    ///< What the timecode of the line in hand names.
    std::uint64_t _lineNumber = 0;   ///< Of that line; 0 in front of the first one.
    std::optional<Finding> _remark;  ///< On that line; made known with its first pair.
    std::optional<Finding> _failure;
};

/// Gives the line in hand its place: the frame that its timecode names, or else behind the pairs before.
void SccReader::Lines::place(const Start& start) {
    _remark.reset();
    if (start.frame < _nextFrame) {
        const FindingCode code =
            start.frame < _lineFrame ? FindingCode::SccTimecodeEarlier : FindingCode::SccTimecodeOverlaps;
        _remark = {code, Severity::Remark, _lines.number(), static_cast<std::int64_t>(_lineNumber),
                   timecodeNumber(_nextFrame, start.dropsFrames)};
    }
    _nextFrame = std::max(_nextFrame, start.frame);
    _lineFrame = start.frame;
    _lineNumber = _lines.number();
}

Result<bool> SccReader::Lines::readTitle() {
    const Result<bool> hasLine = _lines.next(_line);
    if (!hasLine) {
        return hasLine;
    }
    if (!*hasLine) {
        return _lines.error(FindingCode::StreamEmpty);
    }
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    const std::string_view first = _line;
    if (!first.substr(first.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0).starts_with(kTitle)) {
        return _lines.error(FindingCode::SccTitleMissing);
    }
    return true;
}

/// Reads the next line with pairs.
Result<bool> SccReader::Lines::readLine() {
    if (_lines.number() == 0) {
        if (const Result<bool> title = readTitle(); !title) {
            return title;
        }
    }
    for (;;) {
        const Result<bool> hasLine = _lines.next(_line);
        if (!hasLine || !*hasLine) {
            return hasLine;
        }
        const std::size_t begin = _line.find_first_not_of(kBlanks);
        if (begin == std::string::npos) {
            continue;
        }
        _place = std::min(_line.find_first_of(kBlanks, begin), _line.size());
        const auto start = startOf(std::string_view(_line).substr(begin, _place - begin));
        if (!start) {
            return _lines.error(FindingCode::SccTimecodeWrong);
        }
        place(*start);
        return true;
    }
}

Result<bool> SccReader::Lines::read(Frame& frame, FindingSink* findings) {
    std::size_t begin = _place == std::string::npos ? _place : _line.find_first_not_of(kBlanks, _place);
    while (begin == std::string::npos) {
        if (const Result<bool> hasLine = readLine(); !hasLine || !*hasLine) {
            _place = std::string::npos;
            return hasLine;
        }
        begin = _line.find_first_not_of(kBlanks, _place);
    }
    const std::size_t end = std::min(_line.find_first_of(kBlanks, begin), _line.size());
    std::uint16_t pair = 0;
    const auto [rest, error] = std::from_chars(_line.data() + begin, _line.data() + end, pair, 16);
    if (end - begin != kPairDigits || error != std::errc{} || rest != _line.data() + end) {
        return _lines.error(FindingCode::SccPairWrong, begin + 1);
    }
    _place = end;
    if (_remark && findings != nullptr) {
        findings->add(*_remark);
    }
    _remark.reset();
    constexpr std::uint8_t kFieldOne = 0xFC;
    const std::array<std::uint8_t, 3> triplet{kFieldOne, static_cast<std::uint8_t>(pair >> 8U),
                                              static_cast<std::uint8_t>(pair)};
    frame = {};
    frame.number = _nextFrame++;
    const MediaTime duration = frameDuration(kRate);
    frame.pts = MediaTime::make(static_cast<std::int64_t>(frame.number) * duration.value, duration.timescale);
    frame.triplets = Data(triplet);
    frame.captionPlace = CaptionPlace::Track;
    return true;
}

SccReader::SccReader(ByteSource& source) : _lines(std::make_unique<Lines>(source)) {}
SccReader::~SccReader() = default;

Result<bool> SccReader::next(Frame& frame, FindingSink* findings) {
    return _lines->next(frame, findings);
}

}  // namespace qlx::streams
