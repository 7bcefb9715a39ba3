#include "streams/SccReader.h"

#include "io/Errors.h"
#include "io/Rates.h"
#include "io/Times.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace qlx::tool {

namespace {

constexpr std::string_view kTitle = "Scenarist_SCC V1.0";
constexpr std::string_view kBlanks = " \t";
constexpr std::size_t kPairDigits = 4;

/// The frame that a timecode names.
std::optional<std::uint64_t> frameOf(std::string_view timecode, const Rate& rate) {
    const auto parsed = parseFrameTimecode(timecode);
    constexpr std::uint32_t kMinutesOfADay = 24 * 60;
    if (!parsed || parsed->minutes >= kMinutesOfADay) {
        return std::nullopt;
    }
    try {
        return firstFrameAtOrAfter(rate, timeInSeconds(timecode, &rate));
    } catch (const UsageError&) {
        return std::nullopt;  // such as a number that drop-frame counting leaves out
    }
}

}  // namespace

/// Gives the line in hand its place: `frame`, which its timecode names, or else behind the pairs before.
void SccReader::place(std::uint64_t frame, std::string_view timecode) {
    _remark.clear();
    if (frame < _nextFrame) {
        const Rate rate = rateNamed("29.97").value();
        const bool isDropFrame = timecode.find(';') != std::string_view::npos;
        const std::string before = std::to_string(_lineNumber);
        _remark = "line " + std::to_string(_lines.number()) + ": the timecode " + std::string(timecode) +
                  (frame < _lineFrame ? " is earlier than that of line " + before
                                      : " comes before the pairs of line " + before + " are through") +
                  ": the line's pairs follow those, from " + timecodeOfFrame(_nextFrame, rate, isDropFrame) + " on";
    }
    _nextFrame = std::max(_nextFrame, frame);
    _lineFrame = frame;
    _lineNumber = _lines.number();
}

/// Reads the next line with pairs.
bool SccReader::readLine() {
    const std::string& name = _lines.source().name();
    if (_lines.number() == 0) {
        const bool hasLine = _lines.next(_line);
        constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
        const std::string_view first = _line;
        if (!hasLine) {
            throw failureAtByte(name, 0, "the file is empty");
        }
        if (!first.substr(first.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0).starts_with(kTitle)) {
            throw failureAtLine(name, 1, "no Scenarist caption file: \"" + std::string(kTitle) + "\" is expected");
        }
    }
    const Rate rate = rateNamed("29.97").value();
    while (_lines.next(_line)) {
        const std::size_t begin = _line.find_first_not_of(kBlanks);
        if (begin == std::string::npos) {
            continue;
        }
        const std::size_t end = std::min(_line.find_first_of(kBlanks, begin), _line.size());
        const std::string_view timecode = std::string_view(_line).substr(begin, end - begin);
        const auto frame = frameOf(timecode, rate);
        if (!frame) {
            throw failureAtLine(name, _lines.number(), "no timecode of 29.97 frames a second at the line's beginning");
        }
        place(*frame, timecode);
        _place = end;
        return true;
    }
    return false;
}

bool SccReader::next(Frame& frame, std::vector<std::string>& /*problems*/) {
    std::size_t begin = _lines.number() == 0 ? std::string::npos : _line.find_first_not_of(kBlanks, _place);
    while (begin == std::string::npos) {
        if (!readLine()) {
            _line.clear();
            return false;
        }
        begin = _line.find_first_not_of(kBlanks, _place);
    }
    const std::size_t end = std::min(_line.find_first_of(kBlanks, begin), _line.size());
    std::uint16_t pair = 0;
    const auto [rest, error] = std::from_chars(_line.data() + begin, _line.data() + end, pair, 16);
    if (end - begin != kPairDigits || error != std::errc{} || rest != _line.data() + end) {
        throw failureAtLine(_lines.source().name(), _lines.number(),
                            "a byte pair must be four hexadecimal digits, at character " + std::to_string(begin + 1));
    }
    _place = end;
    if (!_remark.empty()) {
        _remarks.push_back(std::exchange(_remark, {}));
    }
    constexpr std::uint8_t kFieldOne = 0xFC;
    const std::array<std::uint8_t, 3> triplet{kFieldOne, static_cast<std::uint8_t>(pair >> 8U),
                                              static_cast<std::uint8_t>(pair)};
    frame = {};
    frame.number = _nextFrame++;
    frame.pts = rateNamed("29.97").value().timeOfFrame(frame.number);
    frame.triplets = Data(triplet);
    frame.captionPlace = CaptionPlace::Track;
    return true;
}

}  // namespace qlx::tool
