#include "RowFile.h"

#include "Errors.h"
#include "PacketNames.h"
#include "Text.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <qlx/facade/packet.h>

#include <algorithm>
#include <array>
#include <utility>

namespace qlx::tool {

namespace {

// A v210 group of six pixels: four words of three 10-bit samples, Cb Y Cr, Y Cb Y, Cr Y Cb, Y Cr Y. In blanking all
// luma is 0x040 and all chroma 0x200, so that two kinds of word alternate: C Y C = 20010200, Y C Y = 04080040.
constexpr std::array<std::uint8_t, 8> kBlankingV210{0x00, 0x02, 0x01, 0x20, 0x40, 0x00, 0x08, 0x04};
constexpr std::array<std::uint8_t, 2> kBlanking2vuy{0x80, 0x10};

// Samples of a packet beside its data: the flag (3), DID, SDID, data count and checksum.
constexpr std::uint64_t kPacketOverhead = 7;

/// The 32-bit words of a v210 row from the one that holds a packet's first luma sample to the one that holds its last.
constexpr std::uint64_t wordsOfPacket(std::uint64_t dataBytes) {
    constexpr std::array<std::uint64_t, 6> kWordOfSample{0, 1, 1, 2, 3, 3};
    const std::uint64_t last = dataBytes + kPacketOverhead - 1;
    return last / 6 * 4 + kWordOfSample[last % 6] + 1;
}

void repeat(std::span<const std::uint8_t> pattern, std::span<std::uint8_t> row) {
    for (std::size_t index = 0; index < row.size(); ++index) {
        row[index] = pattern[index % pattern.size()];
    }
}

}  // namespace

std::size_t rowBytes(std::uint32_t pixelFormat, std::uint32_t width) {
    const std::size_t pixels = width;
    return pixelFormat == kPixelFormatV210 ? (pixels + 47) / 48 * 128 : pixels * 2;
}

void fillWithBlanking(std::uint32_t pixelFormat, std::span<std::uint8_t> row) {
    if (pixelFormat == kPixelFormatV210) {
        repeat(kBlankingV210, row);
    } else {
        repeat(kBlanking2vuy, row);
    }
}

RowReader::RowReader(ByteSource& source, RowLayout layout) : _source(source), _layout(std::move(layout)) {
    _row.resize(rowBytes(_layout.pixelFormat, _layout.width));
}

void RowReader::readRow(Frame& frame, std::uint64_t line, std::vector<std::string>& problems) const {
    std::optional<std::string> problem;
    const auto packets =
        facade::toAncPackets(QLXVANCPacket::VANCPacketsWithSDIBuffer_size_bufferFormat_lineNumber_errorString(
            _row.data(), _row.size(), _layout.pixelFormat, line, &problem));
    frame.packets.insert(frame.packets.end(), packets.begin(), packets.end());
    if (problem) {
        problems.push_back("frame " + std::to_string(frame.number) + ", line " + std::to_string(line) + ": " +
                           *problem);
    }
}

bool RowReader::next(Frame& frame, std::vector<std::string>& problems) {
    if (_failure) {
        throw failureAtByte(_source.name(), _failureOffset, *_failure);
    }
    frame = {};
    frame.number = _frames;
    std::size_t rows = 0;
    for (; rows < _layout.lines.size(); ++rows) {
        const std::uint64_t start = _source.offset();
        const std::size_t got = _source.read(_row);
        if (got < _row.size()) {
            _failureOffset = start;
            if (got > 0) {
                _failure = "the last row is cut short: " + std::to_string(got) + " of " + counted(_row.size(), "byte");
            } else if (rows > 0) {
                _failure = "the last frame is cut short: " + std::to_string(rows) + " of " +
                           counted(_layout.lines.size(), "row");
            } else if (_frames == 0) {
                _failure = "the file is empty";
            }
            break;
        }
        readRow(frame, _layout.lines[rows], problems);
    }
    if (rows == 0 && _failure) {
        throw failureAtByte(_source.name(), _failureOffset, *_failure);
    }
    if (rows > 0) {
        ++_frames;
    }
    return rows > 0;
}

V210Writer::V210Writer(OutputFile& output, RowLayout layout) : _output(output), _layout(std::move(layout)) {
    _blankRow.resize(rowBytes(_layout.pixelFormat, _layout.width));
    fillWithBlanking(_layout.pixelFormat, _blankRow);
}

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
                          " packet, which takes " + counted(dataBytes + kPacketOverhead, "luma sample") +
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
