#include "JsonFrame.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace qlx::streams::detail {

namespace {

Finding error(FindingCode code, std::uint64_t first = 0) {
    return {code, Severity::Error, 0, static_cast<std::int64_t>(first), 0};
}

/// A number as it stands in the text, if one does.
struct Number {
    bool isThere = false;  ///< Something is.
    bool isWhole = false;  ///< And it is a whole number of 0 or more.
    std::uint64_t value = 0;
    std::int64_t early = 0;  ///< One below 0.

    /// A finding with `code` unless it is one up to `greatest`.
    [[nodiscard]] std::optional<Finding> check(FindingCode code, std::uint64_t greatest) const {
        return isWhole && value <= greatest ? std::nullopt : std::optional(error(code, greatest));
    }
};

/// Bytes as hexadecimal digits.
struct Digits {
    bool areGood = false;
    std::vector<std::uint8_t> bytes;
};

constexpr std::uint8_t kNoDigit = 16;

constexpr std::array<std::uint8_t, 256> makeDigitTable() {
    std::array<std::uint8_t, 256> digits{};
    digits.fill(kNoDigit);
    constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
    for (std::size_t place = 0; place < kDigits.size(); ++place) {
        digits[static_cast<std::uint8_t>(kDigits[place])] = static_cast<std::uint8_t>(place & 15U);
    }
    return digits;
}

constexpr std::array<std::uint8_t, 256> kDigitOf = makeDigitTable();

Digits digitsOf(std::string_view text) {
    Digits digits;
    if (text.size() % 2 != 0) {
        return digits;
    }
    digits.bytes.reserve(text.size() / 2);
    for (std::size_t index = 0; index < text.size(); index += 2) {
        const std::uint8_t high = kDigitOf[static_cast<std::uint8_t>(text[index])];
        const std::uint8_t low = kDigitOf[static_cast<std::uint8_t>(text[index + 1])];
        if (high == kNoDigit || low == kNoDigit) {
            return digits;
        }
        digits.bytes.push_back(static_cast<std::uint8_t>(high << 4U | low));
    }
    digits.areGood = true;
    return digits;
}

/// What is known of a packet.
struct PacketText {
    Number did;
    Number sdid;
    Number line;
    Number horizontalOffset;
    Digits data;
    bool hasWrongChannel = false;
    anc::Channel channel = anc::Channel::Luma;

    /// The member called `key` that is a number; null when there is none.
    [[nodiscard]] Number* numberNamed(std::string_view key) {
        return key == "did"                ? &did
               : key == "sdid"             ? &sdid
               : key == "line"             ? &line
               : key == "horizontalOffset" ? &horizontalOffset
                                           : nullptr;
    }

    [[nodiscard]] std::optional<Finding> check() const {
        if (const auto wrong = did.check(FindingCode::JsonlDidWrong, 255)) {
            return wrong;
        }
        if (const auto wrong = sdid.check(FindingCode::JsonlSdidWrong, 255)) {
            return wrong;
        }
        if (const auto wrong = line.check(FindingCode::JsonlLineWrong, kGreatestJsonWord)) {
            return wrong;
        }
        if (!data.areGood) {
            return error(FindingCode::JsonlDataWrong);
        }
        if (hasWrongChannel) {
            return error(FindingCode::JsonlChannelWrong);
        }
        return horizontalOffset.isThere
                   ? horizontalOffset.check(FindingCode::JsonlHorizontalOffsetWrong, kGreatestJsonWord)
                   : std::nullopt;
    }

    [[nodiscard]] anc::Packet take() {
        anc::Packet packet;
        packet.did = static_cast<std::uint8_t>(did.value);
        packet.sdid = static_cast<std::uint8_t>(sdid.value);
        packet.userData = std::move(data.bytes);
        packet.line = static_cast<std::uint32_t>(line.value);
        packet.horizontalOffset = static_cast<std::uint32_t>(horizontalOffset.value);
        packet.channel = channel;
        return packet;
    }
};

/// Whether a member is there that must be an object, and whether it is one.
enum class Member : std::uint8_t { Missing, Object, Other };

/// Takes the events of the parser, which does not recurse. A text that is no JSON is told before what is wrong with the
/// frame, so nothing ends it early.
class FrameText final : public nlohmann::json_sax<nlohmann::json> {
public:
    bool null() override { return other(); }
    bool boolean(bool /*value*/) override { return other(); }
    bool number_integer(number_integer_t value) override { return number({true, false, 0, value}); }
    bool number_unsigned(number_unsigned_t value) override { return number({true, true, value, 0}); }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return other(); }
    bool string(string_t& value) override;
    bool binary(binary_t& /*value*/) override { return other(); }
    bool start_object(std::size_t /*elements*/) override { return open(true); }
    bool start_array(std::size_t /*elements*/) override { return open(false); }
    bool end_object() override;
    bool end_array() override { return close(); }
    bool key(string_t& value) override {
        _key = std::move(value);
        return true;
    }
    bool parse_error(std::size_t position, const std::string& /*token*/,
                     const nlohmann::json::exception& /*error*/) override {
        _position = position;
        return false;
    }

    /// What is wrong with a text of `size` characters; else the frame is complete.
    [[nodiscard]] std::optional<Finding> finish(bool isJson, std::size_t size, Frame& frame);

private:
    /// What is open.
    enum class Where : std::uint8_t { Frame, Time, Captions, Packets, Packet, Elsewhere };

    [[nodiscard]] Where where() const { return _open.empty() ? Where::Elsewhere : _open.back(); }
    [[nodiscard]] Where beginsHere(bool isObject);
    bool open(bool isObject);
    bool close() {
        _open.pop_back();
        return true;
    }
    bool number(const Number& value);
    bool other() { return number({true, false, 0, 0}); }
    void setMember(Member kind);
    [[nodiscard]] std::optional<Finding> checkTime(Frame& frame) const;

    std::vector<Where> _open;
    std::string _key;                      ///< The last one.
    std::optional<std::size_t> _position;  ///< Behind the first character that is wrong.
    bool _isTooDeep = false;

    Number _number;
    Member _time = Member::Missing;
    Member _captions = Member::Missing;
    bool _hasPackets = false;
    bool _hasSplices = false;  ///< It is the document of splices that scan writes behind the frames.
    Number _timeValue;
    Number _timescale;
    Digits _triplets;
    PacketText _packet;
    std::vector<anc::Packet> _packets;
    std::optional<Finding> _packetError;  ///< Of the first packet that is wrong.
};

/// Notes what stands in place of a member of the frame.
void FrameText::setMember(Member kind) {
    if (_key == "pts") {
        _time = kind;
        _timeValue = {};
        _timescale = {};
    } else if (_key == "captions") {
        _captions = kind;
        _triplets = {};
    } else if (_key == "packets") {
        _hasPackets = false;
    } else if (_key == "frame" && kind == Member::Object) {
        _number = {true, false, 0, 0};
    }
}

/// What an object or array is that begins here.
FrameText::Where FrameText::beginsHere(bool isObject) {
    if (_open.empty()) {
        return isObject ? Where::Frame : Where::Elsewhere;
    }
    if (where() == Where::Packets && isObject) {
        _packet = {};
        return Where::Packet;
    }
    if (where() == Where::Frame && !isObject && _key == "packets") {
        _hasPackets = true;
        _packets.clear();
        _packetError.reset();
        return Where::Packets;
    }
    if (where() == Where::Frame && isObject) {
        setMember(Member::Object);
        return _key == "pts" ? Where::Time : _key == "captions" ? Where::Captions : Where::Elsewhere;
    }
    (void)other();
    return Where::Elsewhere;
}

bool FrameText::open(bool isObject) {
    if (_open.size() == kDeepestJson) {
        _isTooDeep = true;
        return false;
    }
    _open.push_back(beginsHere(isObject));
    return true;
}

bool FrameText::end_object() {
    if (where() == Where::Packet && !_packetError) {
        _packetError = _packet.check();
        _packets.push_back(_packet.take());
    }
    return close();
}

/// Takes a number, or what is none and has no other meaning.
bool FrameText::number(const Number& value) {
    switch (where()) {
    case Where::Frame:
        if (_key == "frame") {
            _number = value;
        } else {
            setMember(Member::Other);
        }
        break;
    case Where::Time:
        if (_key == "value" || _key == "timescale") {
            (_key == "value" ? _timeValue : _timescale) = value;
        }
        break;
    case Where::Captions:
        if (_key == "data") {
            _triplets = {};
        }
        break;
    case Where::Packets:
        _packetError = _packetError ? _packetError : error(FindingCode::JsonlPacketWrong);
        break;
    case Where::Packet:
        if (Number* const member = _packet.numberNamed(_key)) {
            *member = value;
        } else if (_key == "data") {
            _packet.data = {};
        } else if (_key == "channel") {
            _packet.hasWrongChannel = true;
        }
        break;
    case Where::Elsewhere:
        break;
    }
    return true;
}

bool FrameText::string(string_t& value) {
    if (_key == "data" && where() == Where::Packet) {
        _packet.data = digitsOf(value);
    } else if (_key == "data" && where() == Where::Captions) {
        _triplets = digitsOf(value);
    } else if (_key == "channel" && where() == Where::Packet) {
        const std::optional<anc::Channel> channel = anc::channelNamed(value);
        _packet.hasWrongChannel = !channel;
        _packet.channel = channel.value_or(anc::Channel::Luma);
    } else {
        _hasSplices = _hasSplices || (_key == "schema" && where() == Where::Frame && value == "qlxcc/splices/1");
        return other();
    }
    return true;
}

std::optional<Finding> FrameText::checkTime(Frame& frame) const {
    if (_time == Member::Missing) {
        return std::nullopt;
    }
    if (_time == Member::Other) {
        return error(FindingCode::JsonlPtsWrong);
    }
    if (const auto wrong = _timescale.check(FindingCode::JsonlTimescaleWrong, kGreatestJsonTimescale)) {
        return wrong;
    }
    if (_timescale.value == 0) {
        return error(FindingCode::JsonlTimescaleZero);
    }
    const auto timescale = static_cast<std::int32_t>(_timescale.value);
    // Frames that an edit list leaves out are in front of 0.
    if (_timeValue.early < 0 && _timeValue.early >= -kGreatestJsonTime) {
        frame.pts = MediaTime::make(_timeValue.early, timescale);
        return std::nullopt;
    }
    frame.pts = MediaTime::make(static_cast<std::int64_t>(_timeValue.value), timescale);
    return _timeValue.check(FindingCode::JsonlValueWrong, std::uint64_t{kGreatestJsonTime});
}

std::optional<Finding> FrameText::finish(bool isJson, std::size_t size, Frame& frame) {
    if (_isTooDeep) {
        return error(FindingCode::JsonlTooDeep, kDeepestJson);
    }
    if (!isJson) {
        const std::size_t character = std::max<std::size_t>(_position.value_or(1), 1);
        return character > size ? error(FindingCode::JsonlCut) : error(FindingCode::JsonlNotJson, character);
    }
    if (!_hasPackets) {
        Finding wrong = error(FindingCode::JsonlNoFrame);
        wrong.severity = _hasSplices ? Severity::Remark : wrong.severity;
        return wrong;
    }
    if (const auto wrong = _number.check(FindingCode::JsonlFrameWrong, kGreatestJsonFrame)) {
        return wrong;
    }
    frame = {};
    frame.number = _number.value;
    if (const auto wrong = checkTime(frame)) {
        return wrong;
    }
    if (_packetError) {
        return _packetError;
    }
    if (_captions == Member::Other) {
        return error(FindingCode::JsonlCaptionsWrong);
    }
    if (_captions == Member::Object) {
        if (!_triplets.areGood) {
            return error(FindingCode::JsonlDataWrong);
        }
        frame.triplets = Data(_triplets.bytes);
    }
    frame.packets = std::move(_packets);
    return std::nullopt;
}

}  // namespace

std::optional<Finding> readJsonFrame(std::string_view text, Frame& frame) {
    FrameText reader;
    const bool isJson = nlohmann::json::sax_parse(text, &reader);
    return reader.finish(isJson, text.size(), frame);
}

}  // namespace qlx::streams::detail
