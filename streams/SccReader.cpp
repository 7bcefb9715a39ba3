#include <qlx/streams/scc.h>

#include <qlx/base/parity.h>
#include <qlx/base/utf8.h>

#include "KeptFailure.h"
#include "LineReader.h"
#include "TimeCodeText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::streams {

namespace {

constexpr std::string_view kTitle = "Scenarist_SCC V1.0";
constexpr std::string_view kBlanks = " \t";

/// The two bytes of a pair.
std::optional<std::uint16_t> pairIn(std::string_view digits) {
    constexpr std::size_t kPairDigits = 4;
    std::uint16_t pair = 0;
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, pair, 16);
    return digits.size() == kPairDigits && error == std::errc{} && rest == end ? std::optional(pair) : std::nullopt;
}

/// The field whose codes stand among pairs; none where either may have them.
std::optional<cc::CcType> toldField(std::string_view pairs) {
    constexpr unsigned kParityOff = 0x7F;
    constexpr unsigned kLastOfExtendedData = 0x0F;
    // RCL to EOC, of either channel of the field.
    constexpr unsigned kFirstCode = 0x20;
    constexpr unsigned kLastCode = 0x2F;
    constexpr unsigned kField1 = 0x14;
    constexpr unsigned kField2 = 0x15;
    constexpr unsigned kChannel = 0x08;
    while (!pairs.empty()) {
        const std::string_view digits = pairs.substr(0, pairs.find_first_of(kBlanks));
        pairs.remove_prefix(std::min(digits.size() + 1, pairs.size()));
        const unsigned pair = pairIn(digits).value_or(0);
        const unsigned first = pair >> 8U & kParityOff;
        const unsigned second = pair & kParityOff;
        const bool isCode = second >= kFirstCode && second <= kLastCode;
        if (first != 0 && first <= kLastOfExtendedData) {
            return cc::CcType::Field2;
        }
        if (isCode && (first & ~kChannel) == kField1) {
            return cc::CcType::Field1;
        }
        if (isCode && (first & ~kChannel) == kField2) {
            return cc::CcType::Field2;
        }
    }
    return std::nullopt;
}

}  // namespace

/// The lines of a file, and the pairs of the one in hand.
class SccReader::Lines {
public:
    Lines(ByteSource& source, const SccOptions& options)
        : _options(options), _field(options.field), _lines(source, detail::LineEnds::Any) {}

    Result<bool> next(Frame& frame, FindingSink* findings) {
        return detail::readUnlessFailed(_failure, [&] { return read(frame, findings); });
    }

    /// By the first line that has its place.
    [[nodiscard]] const std::optional<cc::TimeCodeCounting>& counting() const noexcept { return _counting; }

private:
    Result<bool> read(Frame& frame, FindingSink* findings);
    Result<bool> readTitle();
    Result<bool> readLine(FindingSink* findings);
    void place(const detail::TimeCodeText& start);
    void checkParity(std::uint16_t pair, std::size_t begin, FindingSink* findings);

    SccOptions _options;
    std::optional<cc::CcType> _field;  ///< As soon as it is known.
    std::optional<cc::TimeCodeCounting> _counting;
    detail::LineReader _lines;
    std::string _line;
    std::size_t _place =
        std::string::npos;  ///< In `_line`: where the next pair is looked for; none in front of the title.
    std::uint64_t _nextFrame = 0;
    std::uint64_t _lineFrame = 0;    ///< What the timecode of the line in hand names.
    std::uint64_t _lineNumber = 0;   ///< Of that line; 0 in front of the first one.
    std::optional<Finding> _remark;  ///< On that line; made known with its first pair.
    bool _hasToldParity = false;     ///< Of that line.
    std::optional<Finding> _failure;
};

/// Gives the line in hand its place: the frame that its timecode names, or else behind the pairs before.
void SccReader::Lines::place(const detail::TimeCodeText& start) {
    _remark.reset();
    _hasToldParity = false;
    _counting = _counting.value_or(cc::TimeCodeCounting{_options.rate, start.dropsFrames});
    if (start.frame < _nextFrame) {
        const FindingCode code =
            start.frame < _lineFrame ? FindingCode::SccTimecodeEarlier : FindingCode::SccTimecodeOverlaps;
        _remark = {code, Severity::Remark, _lines.number(), static_cast<std::int64_t>(_lineNumber),
                   detail::timecodeNumber(_nextFrame, _options.rate, start.dropsFrames)};
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
    if (!withoutByteOrderMark(_line).starts_with(kTitle)) {
        return _lines.error(FindingCode::SccTitleMissing);
    }
    return true;
}

/// Reads the next line with pairs; one whose place is not known is left out.
Result<bool> SccReader::Lines::readLine(FindingSink* findings) {
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
        const auto start =
            detail::readTimeCode(std::string_view(_line).substr(begin, _place - begin), _options.rate, std::nullopt);
        if (!start || start->size != _place - begin) {
            if (findings != nullptr) {
                findings->add(
                    _options.rate == FrameRate::Fps2997
                        ? _lines.error(FindingCode::SccTimecodeWrong)
                        : _lines.error(FindingCode::SccTimecodeOfRateWrong, nominalFramesPerSecond(_options.rate)));
            }
            continue;
        }
        place(*start);
        if (!_field) {
            _field = toldField(std::string_view(_line).substr(_place));
        }
        return true;
    }
}

/// Says where the first byte with wrong parity is on a line.
void SccReader::Lines::checkParity(std::uint16_t pair, std::size_t begin, FindingSink* findings) {
    const bool isRight =
        hasOddParity(static_cast<std::uint8_t>(pair >> 8U)) && hasOddParity(static_cast<std::uint8_t>(pair));
    if (!isRight && !_hasToldParity && findings != nullptr) {
        findings->add(
            {FindingCode::SccParityWrong, Severity::Remark, _lines.number(), static_cast<std::int64_t>(begin + 1), 0});
        _hasToldParity = true;
    }
}

Result<bool> SccReader::Lines::read(Frame& frame, FindingSink* findings) {
    std::size_t begin = 0;
    std::optional<std::uint16_t> read;
    while (!read) {
        begin = _place == std::string::npos ? _place : _line.find_first_not_of(kBlanks, _place);
        while (begin == std::string::npos) {
            if (const Result<bool> hasLine = readLine(findings); !hasLine || !*hasLine) {
                _place = std::string::npos;
                return hasLine;
            }
            begin = _line.find_first_not_of(kBlanks, _place);
        }
        _place = std::min(_line.find_first_of(kBlanks, begin), _line.size());
        read = pairIn(std::string_view(_line).substr(begin, _place - begin));
        if (!read) {
            // Those behind it keep their frames.
            ++_nextFrame;
            if (findings != nullptr) {
                findings->add(_lines.error(FindingCode::SccPairWrong, begin + 1));
            }
        }
    }
    const std::uint16_t pair = *read;
    if (_remark && findings != nullptr) {
        findings->add(*_remark);
    }
    _remark.reset();
    checkParity(pair, begin, findings);
    const cc::Triplet triplet = cc::Triplet::make(
        _field.value_or(cc::CcType::Field1), static_cast<std::uint8_t>(pair >> 8U), static_cast<std::uint8_t>(pair));
    const std::array<std::uint8_t, sizeof(cc::Triplet)> bytes{triplet.header, triplet.first, triplet.second};
    frame = {};
    frame.number = _nextFrame++;
    const MediaTime duration = frameDuration(_options.rate);
    frame.pts = MediaTime::make(static_cast<std::int64_t>(frame.number) * duration.value, duration.timescale);
    frame.triplets = Data(bytes);
    frame.captionPlace = CaptionPlace::Track;
    return true;
}

SccReader::SccReader(ByteSource& source, const SccOptions& options)
    : _lines(std::make_unique<Lines>(source, options)) {}
SccReader::~SccReader() = default;

Result<bool> SccReader::next(Frame& frame, FindingSink* findings) {
    return _lines->next(frame, findings);
}

std::optional<cc::TimeCodeCounting> SccReader::counting() const {
    return _lines->counting();
}

}  // namespace qlx::streams
