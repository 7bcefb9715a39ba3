#include <qlx/streams/jsonl.h>

#include "HexText.h"
#include "JsonFrame.h"
#include "LeftOut.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <span>
#include <string_view>

namespace qlx::streams {

namespace {

using detail::appendHex;

template <class Number>
void appendNumber(std::string& text, Number number) {
    std::array<char, 32> digits{};
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    text.append(digits.data(), result.ptr);
}

/// What a packet is and holds, without the braces around it.
void appendPacket(std::string& text, const anc::Packet& packet) {
    text += "\"line\":";
    appendNumber(text, packet.line);
    text += ",\"did\":";
    appendNumber(text, unsigned{packet.did});
    text += ",\"sdid\":";
    appendNumber(text, unsigned{packet.sdid});
    if (packet.channel != anc::Channel::Luma) {
        text += ",\"channel\":\"";
        text += nameOf(packet.channel);
        text += '"';
    }
    if (packet.horizontalOffset != 0) {
        text += ",\"horizontalOffset\":";
        appendNumber(text, packet.horizontalOffset);
    }
    text += ",\"type\":\"";
    text += anc::kindName(packet.did, packet.sdid);
    text += "\",\"data\":\"";
    appendHex(text, packet.userData);
    text += '"';
}

/// What no reader of such files takes.
std::optional<Finding> checkNumbers(const Frame& frame) {
    const auto refuse = [](FindingCode code, std::uint64_t place, std::uint64_t greatest) {
        return Finding{code, Severity::Error, place, static_cast<std::int64_t>(greatest), 0};
    };
    const std::uint64_t none = frame.packets.size();
    if (frame.number > detail::kGreatestJsonFrame) {
        return refuse(FindingCode::JsonlFrameWrong, none, detail::kGreatestJsonFrame);
    }
    if (frame.pts && frame.pts->timescale == 0) {
        return refuse(FindingCode::JsonlTimescaleZero, none, 0);
    }
    if (frame.pts && (frame.pts->timescale < 0 ||
                      static_cast<std::uint64_t>(frame.pts->timescale) > detail::kGreatestJsonTimescale)) {
        return refuse(FindingCode::JsonlTimescaleWrong, none, detail::kGreatestJsonTimescale);
    }
    if (frame.pts && (frame.pts->value > detail::kGreatestJsonTime || frame.pts->value < -detail::kGreatestJsonTime)) {
        return refuse(FindingCode::JsonlValueWrong, none, detail::kGreatestJsonTime);
    }
    for (std::size_t place = 0; place < frame.packets.size(); ++place) {
        if (frame.packets[place].line > detail::kGreatestJsonWord) {
            return refuse(FindingCode::JsonlLineWrong, place, detail::kGreatestJsonWord);
        }
        if (frame.packets[place].horizontalOffset > detail::kGreatestJsonWord) {
            return refuse(FindingCode::JsonlHorizontalOffsetWrong, place, detail::kGreatestJsonWord);
        }
    }
    return std::nullopt;
}

}  // namespace

void appendJsonLine(std::string& text, const Frame& frame, const JsonlMembers* members) {
    // Nothing in it needs an escape.
    text += "{\"frame\":";
    appendNumber(text, frame.number);
    if (frame.pts) {
        text += ",\"pts\":{\"value\":";
        appendNumber(text, frame.pts->value);
        text += ",\"timescale\":";
        appendNumber(text, frame.pts->timescale);
        // A timescale of 0 gives no number, and is refused where frames are written to a file.
        if (frame.pts->timescale != 0) {
            text += ",\"seconds\":";
            appendNumber(text, secondsFrom(*frame.pts));
        }
        text += '}';
    }
    text += ",\"packets\":[";
    for (const anc::Packet& packet : frame.packets) {
        text += &packet == frame.packets.data() ? "{" : ",{";
        appendPacket(text, packet);
        if (members != nullptr) {
            members->appendOfPacket(text, packet);
        }
        text += '}';
    }
    text += ']';
    if (frame.triplets) {
        text += ",\"captions\":{\"data\":\"";
        appendHex(text, frame.triplets);
        text += '"';
        if (members != nullptr) {
            members->appendOfCaptions(text, frame.triplets);
        }
        text += '}';
    }
    text += '}';
}

std::optional<Finding> JsonlWriter::write(const Frame& frame, FindingSink* findings) {
    if (const auto wrong = checkNumbers(frame)) {
        return wrong;
    }
    _line.clear();
    appendJsonLine(_line, frame, _members);
    if (_isFirst) {
        // At the end: whoever looks at how a line begins finds its frame.
        _line.pop_back();
        _line += ",\"schema\":\"";
        _line += kFramesSchema;
        _line += "\"}";
    }
    _line += '\n';
    if (const auto failure = _sink.write({reinterpret_cast<const std::uint8_t*>(_line.data()), _line.size()})) {
        return failure;
    }
    _isFirst = false;
    detail::tellLeftOut(frame, {.captions = true, .horizontalOffsets = true}, findings);
    return std::nullopt;
}

}  // namespace qlx::streams
