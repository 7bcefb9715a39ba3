#include "RowWriter.h"

#include "Errors.h"
#include "PacketNames.h"
#include "Text.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include <qlx/facade/packet.h>

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

V210Writer::V210Writer(OutputFile& output, RowLayout layout)
    : _output(output), _layout(std::move(layout)), _blankRow(wholeBlankRow(_layout.width)) {}

/// A packet that ends behind the picture's width would be lost on the way: the row must hold all of them.
void V210Writer::checkFit(const Frame& frame, std::uint64_t line) const {
    const std::uint64_t available = (std::uint64_t{_layout.width} * 2 + 2) / 3;
    std::uint64_t used = 0;
    for (const auto& packet : frame.packets) {
        if (packet.line != line) {
            continue;
        }
        const std::uint64_t dataBytes = packet.userData.size();
        used += wordsOfPacket(dataBytes);
        if (used > available) {
            throw Failure("frame " + std::to_string(frame.number) + ", line " + std::to_string(line) + ": a row of " +
                          counted(_layout.width, "pixel") + " is too narrow for the " + packetName(packet) +
                          " packet, which takes " + counted(anc::packetWords(dataBytes), "luma sample") +
                          ": give a greater --width");
        }
    }
}

void V210Writer::write(const Frame& frame) {
    const auto packets = facade::toVANCPackets(frame.packets);
    for (const std::uint64_t line : _layout.lines) {
        checkFit(frame, line);
        _row = _blankRow;
        QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
            _row.data(), packets, _row.size(), static_cast<std::int32_t>(line));
        _output.write(_row);
    }
}

}  // namespace qlx::tool
