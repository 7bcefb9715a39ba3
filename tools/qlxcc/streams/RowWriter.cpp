#include "streams/RowWriter.h"

#include "io/Errors.h"
#include "io/Text.h"
#include "streams/PacketNames.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include <qlx/facade/packet.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace qlx::tool {

namespace {

/// The 32-bit words of a v210 row from the one that holds a packet's first luma sample to the one that holds its last.
constexpr std::uint64_t wordsOfPacket(std::uint64_t dataBytes) {
    constexpr std::array<std::uint64_t, 6> kWordOfSample{0, 1, 1, 2, 3, 3};
    const std::uint64_t last = anc::packetWords(dataBytes) - 1;
    return last / 6 * 4 + kWordOfSample[last % 6] + 1;
}

/// A blank v210 row whose padding is blank as well: 48 pixels have no padding.
std::vector<std::uint8_t> wholeBlankRow(std::size_t width) {
    constexpr std::size_t kWithoutPadding = 48;
    return anc::blankRow(anc::RowFormat::V210, (width + kWithoutPadding - 1) / kWithoutPadding * kWithoutPadding);
}

}  // namespace

V210Writer::V210Writer(OutputFile& output, RowLayout layout, RowForm form)
    : _output(output), _layout(std::move(layout)), _form(form), _blankRow(wholeBlankRow(_layout.width)) {}

void V210Writer::throwTooNarrow(const Frame& frame, const anc::Packet& packet) const {
    throw Failure(
        placeOf(frame.number, packet.line) + ": a row of " + counted(_layout.width, "pixel") +
        " is too narrow for the " + packetName(packet) + " packet, which takes " +
        counted(anc::packetWords(packet.userData.size()), std::string(channelName(packet.channel)) + " sample") +
        ": give a greater --width");
}

/// A packet without a row would be lost on the way.
void V210Writer::checkLines(const Frame& frame) const {
    for (const auto& packet : frame.packets) {
        if (std::find(_layout.lines.begin(), _layout.lines.end(), packet.line) == _layout.lines.end()) {
            throw Failure(placeOf(frame.number, packet.line) + ": there is no row for the " + packetName(packet) +
                          " packet: name its line with --lines");
        }
    }
}

/// A packet that ends behind the picture's width would be lost as well: the row must hold all of them.
void V210Writer::checkFit(const Frame& frame, std::uint64_t line) const {
    const std::uint64_t available = (std::uint64_t{_layout.width} * 2 + 2) / 3;
    std::uint64_t used = 0;
    for (const auto& packet : frame.packets) {
        used += packet.line == line ? wordsOfPacket(packet.userData.size()) : 0;
        if (used > available) {
            throwTooNarrow(frame, packet);
        }
    }
}

void V210Writer::fillAsDeployed(const Frame& frame, std::uint64_t line) {
    for (const auto& packet : frame.packets) {
        // The fixed operation would count them in eight bits.
        if (packet.userData.size() > anc::kGreatestUserData) {
            const Finding tooMany{FindingCode::AncTooManyUserDataWords, Severity::Error, 0,
                                  static_cast<std::int64_t>(packet.userData.size()),
                                  static_cast<std::int64_t>(anc::kGreatestUserData)};
            throw Failure(placeOf(frame.number, packet.line) + ": " + tooMany.text());
        }
    }
    checkFit(frame, line);
    QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
        _row.data(), facade::toVANCPackets(frame.packets), _row.size(), static_cast<std::int32_t>(line));
}

void V210Writer::put(const Frame& frame, const anc::Packet& packet) {
    const anc::RowWriteOptions options{
        .format = anc::RowFormat::V210, .channel = packet.channel, .width = _layout.width};
    const Result<std::size_t> place = anc::appendPacket(_row, packet, options);
    if (place) {
        return;
    }
    if (place.error().code == FindingCode::AncPacketDoesNotFit) {
        throwTooNarrow(frame, packet);
    }
    throw Failure(placeOf(frame.number, packet.line) + ": " + place.error().text());
}

void V210Writer::fill(const Frame& frame, std::uint64_t line) {
    bool isMultiplex = false;
    bool isApart = false;
    for (const auto& packet : frame.packets) {
        if (packet.line != line) {
            continue;
        }
        (packet.channel == anc::Channel::SdMultiplex ? isMultiplex : isApart) = true;
        if (isMultiplex && isApart) {
            throw Failure(placeOf(frame.number, line) +
                          ": packets of the multiplex have no place beside those of luma or chroma");
        }
        put(frame, packet);
    }
}

void V210Writer::write(const Frame& frame) {
    checkLines(frame);
    for (const std::uint64_t line : _layout.lines) {
        _row = _blankRow;
        if (_form == RowForm::AsDeployed) {
            fillAsDeployed(frame, line);
        } else {
            fill(frame, line);
        }
        _output.write(_row);
    }
}

}  // namespace qlx::tool
