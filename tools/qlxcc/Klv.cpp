#include "Klv.h"

#include "Errors.h"
#include "Text.h"

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <qlx/facade/packet.h>

#include <algorithm>
#include <span>

namespace qlx::tool {

namespace {

// What every universal label, and so every key, begins with.
constexpr std::array<std::uint8_t, 4> kLabelStart{0x06, 0x0E, 0x2B, 0x34};

constexpr std::size_t kReadChunk = std::size_t{64} * 1024;

std::string ofBytes(std::uint64_t have, std::uint64_t wanted) {
    return std::to_string(have) + " of " + counted(wanted, "byte");
}

}  // namespace

void readAncFrameElement(std::span<const std::uint8_t> element, const std::string& place, Frame& frame,
                         std::vector<std::string>& problems) {
    if (element.size() < 2) {
        problems.push_back(place + ": element of " + counted(element.size(), "byte") + " without a packet count");
        return;
    }
    const auto packets = facade::toAncPackets(
        QLXVANCPacket::VANCPacketsWithMXFBuffer_size_bufferFormat(element.data(), element.size(), kPixelFormat2vuy));
    frame.packets.insert(frame.packets.end(), packets.begin(), packets.end());
    const std::uint64_t announced = std::uint64_t{element[0]} << 8U | element[1];
    if (packets.size() < announced) {
        problems.push_back(place + ": " + std::to_string(packets.size()) + " of " +
                           counted(announced, "announced packet") +
                           " read; the next one is damaged, empty or not in 8-bit luma samples");
    }
}

/// Refuses a file that begins with anything but a universal label, and one of which nothing follows but other bytes: they
/// can be walked as triplets all the same, of 17 bytes each where they are zeros.
void KlvReader::checkKey(std::uint64_t start) {
    constexpr std::uint64_t kMostForeignKeys = 1000;
    if (isLabel()) {
        _foreignKeys = 0;
        return;
    }
    if (start == 0) {
        throw failureAtByte(_source.name(), 0, "no SMPTE key (06 0E 2B 34 ...): this is no KLV file");
    }
    if (++_foreignKeys > kMostForeignKeys) {
        throw failureAtByte(_source.name(), start,
                            "no SMPTE key (06 0E 2B 34 ...) in " + counted(kMostForeignKeys, "triplet"));
    }
}

/// Whether as much as there is of the last key begins a universal label.
bool KlvReader::isLabel() const {
    const std::size_t compared = std::min(_keyBytes, kLabelStart.size());
    return std::equal(_key.begin(), _key.begin() + static_cast<std::ptrdiff_t>(compared), kLabelStart.begin());
}

/// A few words for a message when the last key is none of SMPTE's, which most probably is what is wrong.
std::string KlvReader::keyHint() const {
    return isLabel() ? "" : " (no SMPTE key here: is this a KLV file?)";
}

void KlvReader::throwCutShort(std::uint64_t start, std::string_view what) const {
    throw failureAtByte(_source.name(), start, "KLV triplet cut short: " + std::string(what) + keyHint());
}

/// Reads a BER length (SMPTE ST 336): one byte below 0x80, or 0x80 + n followed by n bytes.
std::uint64_t KlvReader::readLength(std::uint64_t start) {
    const std::uint64_t lengthOffset = _source.offset();
    std::uint8_t first = 0;
    if (_source.read(std::span(&first, 1)) == 0) {
        throwCutShort(start, "no length behind the key");
    }
    if (first < 0x80) {
        return first;
    }
    const std::size_t count = first & 0x7FU;
    if (count == 0) {
        throw failureAtByte(_source.name(), lengthOffset,
                            "KLV triplet of indefinite length (80), which has no end" + keyHint());
    }
    std::array<std::uint8_t, 8> bytes{};
    if (count > bytes.size()) {
        throw failureAtByte(_source.name(), lengthOffset,
                            "KLV length of " + std::to_string(count) + " bytes (at most 8 are possible)" + keyHint());
    }
    const std::size_t got = _source.read(std::span(bytes).first(count));
    if (got < count) {
        throwCutShort(start, ofBytes(got, count) + " of the length");
    }
    std::uint64_t length = 0;
    for (std::size_t index = 0; index < count; ++index) {
        length = length << 8U | bytes[index];
    }
    return length;
}

/// Reads the element's value; memory grows with what is there, not with what the length says.
void KlvReader::readElement(std::uint64_t start, std::uint64_t length) {
    if (length > kLongestAncFrameElement) {
        throw failureAtByte(_source.name(), start,
                            "ANC frame element of " + counted(length, "byte") + ": no frame has that much");
    }
    _element.clear();
    while (_element.size() < length) {
        const std::size_t had = _element.size();
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(length - had, kReadChunk));
        _element.resize(had + wanted);
        const std::size_t got = _source.read(std::span(_element).subspan(had));
        if (got < wanted) {
            throwCutShort(start, ofBytes(had + got, length) + " of the value");
        }
    }
}

bool KlvReader::next(Frame& frame, std::vector<std::string>& problems) {
    for (;;) {
        const std::uint64_t start = _source.offset();
        _keyBytes = _source.read(_key);
        if (_keyBytes == 0) {
            if (_frames == 0) {
                throw failureAtByte(_source.name(), start,
                                    start == 0 ? "the file is empty" : "the file ends without an ANC frame element");
            }
            return false;
        }
        checkKey(start);
        if (_keyBytes < _key.size()) {
            throwCutShort(start, ofBytes(_keyBytes, _key.size()) + " of the key");
        }
        const std::uint64_t length = readLength(start);
        if (_key != kAncFrameElementKey) {
            const std::uint64_t skipped = _source.skip(length);
            if (skipped < length) {
                throwCutShort(start, ofBytes(skipped, length) + " of the value");
            }
            continue;
        }
        const std::uint64_t elementOffset = _source.offset();
        readElement(start, length);
        frame = {};
        frame.number = _frames++;
        readAncFrameElement(_element,
                            "frame " + std::to_string(frame.number) + ", byte " + std::to_string(elementOffset), frame,
                            problems);
        return true;
    }
}

void KlvWriter::write(const Frame& frame) {
    const Data element = QLXVANCPacket::MXFDataPacketWithVANCPackets(facade::toVANCPackets(frame.packets));
    const std::size_t length = element.size();
    if (length > 0xFFFFFF) {
        throw Failure("frame " + std::to_string(frame.number) + ": too many packets for a KLV triplet");
    }
    _output.write(kAncFrameElementKey);
    const std::array<std::uint8_t, 4> lengthField{0x83, static_cast<std::uint8_t>(length >> 16U),
                                                  static_cast<std::uint8_t>(length >> 8U),
                                                  static_cast<std::uint8_t>(length)};
    _output.write(lengthField);
    _output.write(element);
}

}  // namespace qlx::tool
