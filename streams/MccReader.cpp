#include <qlx/streams/mcc.h>

#include <qlx/anc/packet.h>
#include <qlx/base/utf8.h>
#include <qlx/cc/cdp.h>
#include <qlx/cc/time_code.h>

#include "KeptFailure.h"
#include "LineReader.h"
#include "MccBytes.h"
#include "TimeCodeText.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <string_view>
#include <utility>

namespace qlx::streams {

namespace {

constexpr std::string_view kMccTitle = "File Format=MacCaption_MCC V";
constexpr std::string_view kComment = "//";
constexpr std::size_t kHeaderBytes = 3;  ///< DID, SDID and data count.

/// What stands behind as many is a frame of its own: no frame of a picture has room for more.
constexpr std::size_t kMostPacketsOfFrame = 1024;

/// As much is read ahead of the first packet to find a CDP: the lines wait in memory.
constexpr std::size_t kLongestLookAhead = std::size_t{1024} * 1024;

/// The frames that timecodes count, as a header says them.
struct NamedRate {
    std::string_view name;
    FrameRate rate;                                 ///< Where a CDP or the caller says nothing else.
    std::optional<FrameRate> other = std::nullopt;  ///< What the name may mean as well.
    bool dropsFrames = false;
};

constexpr NamedRate kRates[] = {
    {"24", FrameRate::Fps24, FrameRate::Fps23976},
    {"25", FrameRate::Fps25},
    {"30", FrameRate::Fps30, FrameRate::Fps2997},
    {"30DF", FrameRate::Fps2997, std::nullopt, true},
    {"50", FrameRate::Fps50},
    {"60", FrameRate::Fps60, FrameRate::Fps5994},
    {"60DF", FrameRate::Fps5994, std::nullopt, true},
};

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

/// Where the line of a packet is one: its place in the file's time and on the picture.
struct PacketLine {
    std::uint64_t frame = 0;
    std::uint32_t line = kUsualMccLine;
    bool isOfField2 = false;
    std::string_view characters;  ///< Of its bytes.
    std::size_t column = 0;       ///< In front of them.
};

/// Takes `.FIELD,LINE`, of which either may be missing.
bool takePlace(std::string_view& text, PacketLine& to) {
    const auto take = [&text](char mark, std::uint32_t greatest, std::uint32_t& number) {
        if (text.empty() || text.front() != mark) {
            return true;
        }
        const auto [end, error] = std::from_chars(text.data() + 1, text.data() + text.size(), number);
        const bool isRight = error == std::errc{} && number <= greatest;
        text.remove_prefix(isRight ? static_cast<std::size_t>(end - text.data()) : 0);
        return isRight;
    };
    constexpr std::uint32_t kGreatestLine = 0x7FFF;
    std::uint32_t field = 0;
    const bool isRight = take('.', 1, field) && take(',', kGreatestLine, to.line);
    to.isOfField2 = field == 1;
    return isRight;
}

/// Reads all of a packet's line but its bytes; none where it is no such line.
std::optional<PacketLine> packetLine(std::string_view text, const MccHeader& header) {
    const auto time = detail::readTimeCode(text, header.rate, header.dropsFrames);
    if (!time) {
        return std::nullopt;
    }
    PacketLine read;
    read.frame = time->frame;
    std::string_view rest = text.substr(time->size);
    if (!takePlace(rest, read) || rest.empty() || (rest.front() != '\t' && rest.front() != ' ')) {
        return std::nullopt;
    }
    read.characters = trimmed(rest);
    read.column =
        read.characters.empty() ? text.size() : static_cast<std::size_t>(read.characters.data() - text.data());
    return read;
}

/// The frame rate of a CDP (SMPTE ST 334-2, 5.2): the upper half of its fourth byte.
std::optional<FrameRate> rateOfCdp(const anc::PacketContentView& packet) {
    constexpr std::size_t kRateByte = 3;
    const bool isCdp = anc::packetId(packet.did, packet.sdid) == anc::ids::kCdp && packet.userData.size() > kRateByte &&
                       (packet.userData[0] << 8U | packet.userData[1]) == cc::kCdpIdentifier;
    return isCdp ? frameRateOfCdpCode(packet.userData[kRateByte] >> 4U) : std::nullopt;
}

/// A rate as a finding has it: 29970 for 30000/1001.
std::uint64_t framesOf1000Seconds(FrameRate rate) {
    const MediaTime duration = frameDuration(rate);
    return static_cast<std::uint64_t>((std::int64_t{duration.timescale} * 1000 + duration.value / 2) / duration.value);
}

}  // namespace

/// The lines of a file.
class MccReader::Lines {
public:
    Lines(ByteSource& source, std::optional<FrameRate> rate) : _lines(source, detail::LineEnds::Any), _given(rate) {}

    [[nodiscard]] const MccHeader& header() const noexcept { return _header; }
    [[nodiscard]] std::optional<cc::TimeCodeCounting> counting() const noexcept {
        return _hasBegun ? std::optional(cc::TimeCodeCounting{_header.rate, _header.dropsFrames}) : std::nullopt;
    }

    Result<bool> next(Frame& frame, FindingSink* findings) {
        return detail::readUnlessFailed(_failure, [&] { return read(frame, findings); });
    }

private:
    Result<bool> read(Frame& frame, FindingSink* findings);
    void checkRate(FindingSink* findings);
    Result<bool> readLine();
    Result<bool> readTitle();
    std::optional<Finding> readHeaderLine(std::string_view line);
    std::optional<Finding> begin(FindingSink* findings);
    std::optional<FrameRate> rateAhead();
    std::optional<FrameRate> rateOfLine(const std::string& line);
    bool readPacket(FindingSink* findings);
    bool takeBytes(anc::PacketContentView& packet, FindingSink* findings);
    [[nodiscard]] std::uint64_t placed(std::uint64_t frame, FindingSink* findings);

    void tell(FindingSink* findings, FindingCode code, Severity severity, std::uint64_t first = 0,
              std::uint64_t second = 0) const {
        if (findings != nullptr) {
            findings->add(
                {code, severity, _number, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)});
        }
    }
    [[nodiscard]] Finding error(FindingCode code) const { return {code, Severity::Error, _number, 0, 0}; }

    detail::LineReader _lines;
    std::optional<FrameRate> _given;
    std::string _ahead;                    ///< Lines that have been looked at and are still to be read.
    std::size_t _aheadAt = 0;              ///< Where the next one of them begins.
    std::optional<Finding> _aheadFailure;  ///< What is wrong behind them.
    MccHeader _header;
    const NamedRate* _named = nullptr;
    std::string _line;
    std::uint64_t _number = 0;  ///< Of the line in hand.
    detail::MccBytes _bytes;
    PacketLine _place;
    anc::PacketContentView _packet;  ///< Of the line in hand; its bytes are in _bytes.
    std::uint64_t _frame = 0;        ///< Of the line in hand.
    bool _hasPacket = false;         ///< The line in hand is not given yet.
    bool _hasOtherRate = false;      ///< A CDP has said another rate.
    bool _hasTitle = false;
    bool _hasBegun = false;
    std::optional<std::uint64_t> _last;  ///< The frame of the packet before.
    std::optional<Finding> _failure;
};

/// Reads the next line: first those that have been looked at.
Result<bool> MccReader::Lines::readLine() {
    if (_aheadAt < _ahead.size()) {
        const std::size_t end = _ahead.find('\n', _aheadAt);
        _line.assign(_ahead, _aheadAt, end - _aheadAt);
        _aheadAt = end + 1;
        ++_number;
        return true;
    }
    if (!_ahead.empty()) {
        std::string().swap(_ahead);
        _aheadAt = 0;
    }
    if (_aheadFailure) {
        return *_aheadFailure;
    }
    const Result<bool> hasLine = _lines.next(_line);
    _number = _lines.number();
    return hasLine;
}

Result<bool> MccReader::Lines::readTitle() {
    const Result<bool> hasLine = readLine();
    if (!hasLine) {
        return hasLine;
    }
    if (!*hasLine) {
        return error(FindingCode::StreamEmpty);
    }
    const std::string_view title = withoutByteOrderMark(_line);
    const std::string_view version = title.starts_with(kMccTitle) ? title.substr(kMccTitle.size()) : std::string_view();
    if (!version.starts_with("1.") && !version.starts_with("2.")) {
        return error(FindingCode::MccTitleMissing);
    }
    _header.version = version.front() == '1' ? 1 : 2;
    _hasTitle = true;
    return true;
}

/// Takes `KEY=VALUE`.
std::optional<Finding> MccReader::Lines::readHeaderLine(std::string_view line) {
    const std::size_t equals = line.find('=');
    const std::string_view key = trimmed(line.substr(0, equals));
    const std::string_view value = trimmed(line.substr(equals + 1));
    if (key == "Time Code Rate") {
        _named = std::find_if(std::begin(kRates), std::end(kRates),
                              [value](const NamedRate& each) { return each.name == value; });
        if (_named == std::end(kRates)) {
            return error(FindingCode::MccRateWrong);
        }
    }
    const std::pair<std::string_view, std::string&> texts[] = {{"UUID", _header.uuid},
                                                               {"Creation Program", _header.creationProgram},
                                                               {"Creation Date", _header.creationDate},
                                                               {"Creation Time", _header.creationTime}};
    for (const auto& [name, text] : texts) {
        if (key == name) {
            text = value;
        }
    }
    return std::nullopt;
}

/// What a line says by its CDP, if it has one that is read.
std::optional<FrameRate> MccReader::Lines::rateOfLine(const std::string& line) {
    const auto place = packetLine(line, _header);
    if (!place) {
        return std::nullopt;
    }
    _place = *place;
    anc::PacketContentView packet;
    return takeBytes(packet, nullptr) ? rateOfCdp(packet) : std::nullopt;
}

/// What the first CDP says, of the line in hand and those behind it.
std::optional<FrameRate> MccReader::Lines::rateAhead() {
    std::optional<FrameRate> rate = rateOfLine(_line);
    std::string line;
    while (!rate && _ahead.size() < kLongestLookAhead) {
        const Result<bool> hasLine = _lines.next(line);
        if (!hasLine) {
            _aheadFailure = hasLine.error();
        }
        if (!hasLine || !*hasLine) {
            break;
        }
        rate = rateOfLine(line);
        _ahead += line;
        _ahead += '\n';
    }
    return rate;
}

/// Settles the rate, in front of the first packet.
std::optional<Finding> MccReader::Lines::begin(FindingSink* findings) {
    if (_named == nullptr) {
        return error(FindingCode::MccRateMissing);
    }
    _hasBegun = true;
    _header.dropsFrames = _named->dropsFrames;
    _header.rate = _named->rate;
    const auto isMeant = [this](std::optional<FrameRate> rate) {
        return rate && (rate == _named->rate || rate == _named->other);
    };
    const std::optional<FrameRate> ofCdp = _named->other ? rateAhead() : std::nullopt;
    if (isMeant(ofCdp)) {
        _header.rate = *ofCdp;
    } else if (isMeant(_given)) {
        _header.rate = *_given;
    } else if (_named->other && !ofCdp) {
        tell(findings, FindingCode::MccRateTaken, Severity::Remark, nominalFramesPerSecond(_named->rate));
    }
    if (_given && *_given != _header.rate) {
        tell(findings, FindingCode::MccRateGivenOther, Severity::Remark, framesOf1000Seconds(*_given));
    }
    return std::nullopt;
}

/// The frame that a timecode's packet is taken with: time goes on from midnight to midnight, and not back.
std::uint64_t MccReader::Lines::placed(std::uint64_t frame, FindingSink* findings) {
    const std::uint64_t ofDay = cc::FrameCount(_header.rate, _header.dropsFrames).ofDay();
    if (!_last) {
        return frame;
    }
    frame += *_last / ofDay * ofDay;
    if (frame >= *_last) {
        return frame;
    }
    if (*_last - frame > ofDay / 2) {
        return frame + ofDay;
    }
    tell(findings, FindingCode::MccTimecodeEarlier, Severity::Warning,
         static_cast<std::uint64_t>(detail::timecodeNumber(*_last, _header.rate, _header.dropsFrames)));
    return *_last;
}

/// Makes a packet of the bytes of the line in hand.
bool MccReader::Lines::takeBytes(anc::PacketContentView& packet, FindingSink* findings) {
    detail::readMccBytes(_place.characters, _bytes);
    if (_bytes.wrong != 0) {
        tell(findings, FindingCode::MccCharacterWrong, Severity::Error, _place.column + _bytes.wrong);
        return false;
    }
    const auto kept = _bytes.kept();
    const std::size_t count = kept.size() < kHeaderBytes ? 0 : kept[kHeaderBytes - 1];
    const std::size_t size = kHeaderBytes + count;
    if (kept.size() < size) {
        tell(findings, FindingCode::MccPacketCut, Severity::Error, kept.size(), size);
        return false;
    }
    if (_bytes.size > size) {
        const auto sum = static_cast<std::uint8_t>(
            std::accumulate(kept.begin(), kept.begin() + static_cast<std::ptrdiff_t>(size), 0U));
        if (kept[size] != sum) {
            tell(findings, FindingCode::MccChecksumWrong, Severity::Warning, kept[size], sum);
        }
    }
    if (_bytes.size > size + 1) {
        tell(findings, FindingCode::MccBytesLeft, Severity::Warning, _bytes.size - size - 1);
    }
    packet = {kept[0], kept[1], kept.subspan(kHeaderBytes, count)};
    return true;
}

/// Says once where the rate of a CDP is not that of the timecodes.
void MccReader::Lines::checkRate(FindingSink* findings) {
    const std::optional<FrameRate> rate = rateOfCdp(_packet);
    if (rate && *rate != _header.rate && !std::exchange(_hasOtherRate, true)) {
        tell(findings, FindingCode::MccRateOfCdpOther, Severity::Warning, framesOf1000Seconds(*rate),
             framesOf1000Seconds(_header.rate));
    }
}

/// Reads the line in hand as a packet.
bool MccReader::Lines::readPacket(FindingSink* findings) {
    const auto place = packetLine(_line, _header);
    if (!place) {
        tell(findings, FindingCode::MccTimecodeWrong, Severity::Error, nominalFramesPerSecond(_header.rate));
        return false;
    }
    _place = *place;
    if (!takeBytes(_packet, findings)) {
        return false;
    }
    checkRate(findings);
    _frame = placed(_place.frame, findings);
    return true;
}

Result<bool> MccReader::Lines::read(Frame& frame, FindingSink* findings) {
    if (!_hasTitle) {
        if (const Result<bool> title = readTitle(); !title) {
            return title;
        }
    }
    bool isBegun = false;
    for (;;) {
        if (_hasPacket) {
            if (isBegun && (frame.number != _frame || frame.packets.size() == kMostPacketsOfFrame)) {
                return true;
            }
            if (!std::exchange(isBegun, true)) {
                frame = {};
                frame.number = _frame;
                const MediaTime duration = frameDuration(_header.rate);
                frame.pts = MediaTime::make(static_cast<std::int64_t>(_frame) * duration.value, duration.timescale);
            }
            frame.packets.push_back({.did = _packet.did,
                                     .sdid = _packet.sdid,
                                     .userData = {_packet.userData.begin(), _packet.userData.end()},
                                     .line = _place.line});
            if (_place.isOfField2) {
                frame.wrapLast(anc::Wrapping::VancField2);
            }
            _last = _frame;
            _hasPacket = false;
        }
        const Result<bool> hasLine = readLine();
        if (!hasLine && isBegun) {
            _failure = hasLine.error();  // behind this frame
        }
        if (!hasLine || !*hasLine) {
            return !hasLine && !isBegun ? hasLine : Result<bool>(isBegun);
        }
        if (trimmed(_line).empty() || _line.starts_with(kComment)) {
            continue;
        }
        const bool isDigit = _line.front() >= '0' && _line.front() <= '9';
        if (!isDigit && !_hasBegun && _line.find('=') != std::string::npos) {
            if (const auto wrong = readHeaderLine(_line)) {
                return *wrong;
            }
            continue;
        }
        if (!_hasBegun) {
            if (const auto wrong = begin(findings)) {
                return *wrong;
            }
        }
        _hasPacket = readPacket(findings);
    }
}

MccReader::MccReader(ByteSource& source, std::optional<FrameRate> rate)
    : _lines(std::make_unique<Lines>(source, rate)) {}
MccReader::~MccReader() = default;

Result<bool> MccReader::next(Frame& frame, FindingSink* findings) {
    return _lines->next(frame, findings);
}

const MccHeader& MccReader::header() const noexcept {
    return _lines->header();
}

std::optional<cc::TimeCodeCounting> MccReader::counting() const {
    return _lines->counting();
}

}  // namespace qlx::streams
