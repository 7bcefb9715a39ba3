#include <qlx/streams/mcc.h>

#include <qlx/base/frame_rate.h>
#include <qlx/cc/time_code.h>

#include "LeftOut.h"
#include "MccBytes.h"
#include "TimeCodeText.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <span>
#include <utility>

namespace qlx::streams {

namespace {

/// What a reader of such files looks for in front of the packets, and what a person does.
constexpr std::string_view kExplanation =
    "///////////////////////////////////////////////////////////////////////////////////\n"
    "// Ancillary data packets, one a line: its timecode, a tab, and its bytes from the\n"
    "// DID on to the lower eight bits of their sum, two hexadecimal digits each.\n"
    "// Letters stand for bytes that come often:\n"
    "//   G to O  FA 00 00, one to nine times\n"
    "//   P Q R   FB 80 80, FC 80 80, FD 80 80\n"
    "//   S T     96 69, 61 01\n"
    "//   U Z     E1 00 00 00, 00\n"
    "///////////////////////////////////////////////////////////////////////////////////\n";

std::string rateName(FrameRate rate, bool dropsFrames) {
    return std::to_string(nominalFramesPerSecond(rate)) + (dropsFrames ? "DF" : "");
}

/// Says what of a packet has no place.
void tellPlace(const Frame& frame, std::size_t place, bool hasPlaces, FindingSink& findings) {
    const anc::Packet& packet = frame.packets[place];
    const auto tell = [&](FindingCode code, std::uint64_t number) {
        findings.add({code, Severity::Warning, place, static_cast<std::int64_t>(number), 0});
    };
    if (packet.channel != anc::Channel::Luma) {
        tell(FindingCode::StreamChannelLeftOut, static_cast<std::uint64_t>(packet.channel));
    }
    if (!hasPlaces && packet.line != kUsualMccLine) {
        tell(FindingCode::StreamLineLeftOut, packet.line);
    }
    const anc::Wrapping wrapping = frame.wrappingOf(place);
    if (wrapping != anc::Wrapping::VancFrame && !(hasPlaces && wrapping == anc::Wrapping::VancField2)) {
        tell(FindingCode::StreamWrappingLeftOut, static_cast<std::uint64_t>(wrapping));
    }
}

}  // namespace

MccWriter::MccWriter(ByteSink& sink, MccHeader header) : _sink(sink), _header(std::move(header)) {
    _header.dropsFrames = _header.dropsFrames && cc::mayDropFrames(_header.rate);
    for (std::string* const text :
         {&_header.uuid, &_header.creationProgram, &_header.creationDate, &_header.creationTime}) {
        std::replace_if(
            text->begin(), text->end(), [](char character) { return character == '\n' || character == '\r'; }, ' ');
    }
}

void MccWriter::appendHeader() {
    const auto add = [this](const char* key, const std::string& value) {
        _text += key;
        _text += '=';
        _text += value;
        _text += '\n';
    };
    add("File Format", _header.version == 2 ? "MacCaption_MCC V2.0" : "MacCaption_MCC V1.0");
    _text += '\n';
    _text += kExplanation;
    _text += '\n';
    add("UUID", _header.uuid);
    add("Creation Program", _header.creationProgram);
    add("Creation Date", _header.creationDate);
    add("Creation Time", _header.creationTime);
    add("Time Code Rate", rateName(_header.rate, _header.dropsFrames));
    _text += '\n';
}

std::optional<Finding> MccWriter::send() {
    return _text.empty() ? std::nullopt
                         : _sink.write({reinterpret_cast<const std::uint8_t*>(_text.data()), _text.size()});
}

std::optional<Finding> MccWriter::write(const Frame& frame, FindingSink* findings) {
    for (std::size_t place = 0; place < frame.packets.size(); ++place) {
        if (const std::size_t size = frame.packets[place].userData.size(); size > anc::kGreatestUserData) {
            return Finding{FindingCode::AncTooManyUserDataWords, Severity::Error, place,
                           static_cast<std::int64_t>(size), static_cast<std::int64_t>(anc::kGreatestUserData)};
        }
    }
    _text.clear();
    if (!std::exchange(_isBegun, true)) {
        appendHeader();
    }
    const bool hasPlaces = _header.version == 2;
    const auto ofTime = frame.pts ? nearestFrame(*frame.pts, _header.rate) : std::nullopt;
    for (std::size_t place = 0; place < frame.packets.size(); ++place) {
        const anc::Packet& packet = frame.packets[place];
        detail::appendTimeCode(_text, ofTime.value_or(frame.number), _header.rate, _header.dropsFrames, ':');
        if (hasPlaces) {
            _text += frame.wrappingOf(place) == anc::Wrapping::VancField2 ? ".1," : ".0,";
            _text += std::to_string(packet.line);
        }
        _text += '\t';
        std::array<std::uint8_t, 3 + anc::kGreatestUserData + 1> bytes{
            packet.did, packet.sdid, static_cast<std::uint8_t>(packet.userData.size())};
        const auto end = std::copy(packet.userData.begin(), packet.userData.end(), bytes.begin() + 3);
        *end = static_cast<std::uint8_t>(std::accumulate(bytes.begin(), end, 0U));
        detail::appendMccBytes(_text, std::span(bytes).first(static_cast<std::size_t>(end - bytes.begin()) + 1));
        _text += '\n';
        if (findings != nullptr) {
            tellPlace(frame, place, hasPlaces, *findings);
        }
    }
    if (auto failure = send()) {
        return failure;
    }
    detail::tellLeftOut(frame, {.wrappings = true}, findings);
    return std::nullopt;
}

std::optional<Finding> MccWriter::finish() {
    _text.clear();
    if (!std::exchange(_isBegun, true)) {
        appendHeader();
    }
    return send();
}

}  // namespace qlx::streams
