#include "facade/AncElement.h"

#include "base/Bytes.h"

#include <algorithm>
#include <cstring>

namespace qlx::ancelement {

namespace {

constexpr std::size_t kCountBytes = 2;
constexpr std::size_t kMinElementBytes = 19;

// Offsets within a packet.
constexpr std::size_t kLine = 0;
constexpr std::size_t kWrapping = 2;
constexpr std::size_t kSampleCoding = 3;
constexpr std::size_t kSampleCount = 4;
constexpr std::size_t kArrayCount = 6;
constexpr std::size_t kElementSize = 10;
constexpr std::size_t kDID = 14;
constexpr std::size_t kSDID = 15;
constexpr std::size_t kDC = 16;
constexpr std::size_t kUserData = 17;

constexpr std::size_t kPayload = kDID;                    ///< Where the bytes counted by the array count begin.
constexpr std::size_t kPayloadHeader = kUserData - kDID;  ///< DID, SDID, DC.
constexpr std::uint8_t kInterlacedVANC = 0x01;
constexpr std::uint8_t kLumaSamples8Bit = 0x04;

/// Everything in front of DID.
void writeHeader(std::uint8_t* bytes, std::uint64_t lineNumber, std::size_t sampleCount, std::size_t arrayCount,
                 std::size_t elementSize) {
    storeBig(bytes + kLine, static_cast<std::uint16_t>(lineNumber));
    bytes[kWrapping] = kInterlacedVANC;
    bytes[kSampleCoding] = kLumaSamples8Bit;
    storeBig(bytes + kSampleCount, static_cast<std::uint16_t>(sampleCount));
    storeBig(bytes + kArrayCount, static_cast<std::uint32_t>(arrayCount));
    storeBig(bytes + kElementSize, static_cast<std::uint32_t>(elementSize));
}

/// DID, SDID, DC and as much of the data as `room` bytes hold.
void writePayload(std::uint8_t* bytes, const Packet& packet, std::size_t room) {
    bytes[0] = packet.did;
    bytes[1] = packet.sdid;
    bytes[2] = static_cast<std::uint8_t>(packet.userData.size());
    std::copy_n(packet.userData.begin(), std::min(packet.userData.size(), room - kPayloadHeader),
                bytes + kPayloadHeader);
}

}  // namespace

Reader::Reader(std::span<const std::uint8_t> element) noexcept
    : _element(element), _position(kCountBytes),
      _left(element.size() < kMinElementBytes ? 0 : loadBig<std::uint16_t>(element.data())) {}

std::optional<Packet> Reader::next() noexcept {
    if (_left == 0 || _position + kUserData > _element.size()) {
        return std::nullopt;
    }
    const std::uint8_t* const bytes = _element.data() + _position;
    const std::uint8_t dataCount = bytes[kDC];
    // A packet that cannot be read is not stepped over: it ends the list, as writers of these files expect.
    if (bytes[kSampleCoding] != kLumaSamples8Bit || dataCount == 0 ||
        _position + kUserData + dataCount > _element.size()) {
        _left = 0;
        return std::nullopt;
    }
    --_left;
    _position += std::uint64_t{loadBig<std::uint32_t>(bytes + kArrayCount)} + kPayload;
    return Packet{loadBig<std::uint16_t>(bytes + kLine), bytes[kDID], bytes[kSDID], {bytes + kUserData, dataCount}};
}

std::size_t packetSize(std::size_t dataSize) noexcept {
    const std::size_t samples = (dataSize & 0xFFU) + kPayloadHeader;
    return (samples & ~std::size_t{3}) + 4 + kPayload;
}

void writePacket(std::uint8_t* bytes, const Packet& packet) noexcept {
    const std::size_t size = packetSize(packet.userData.size());
    std::memset(bytes, 0, size);
    writeHeader(bytes, packet.lineNumber, (packet.userData.size() & 0xFFU) + kPayloadHeader, size - kPayload, 1);
    writePayload(bytes + kPayload, packet, size - kPayload);
}

Data element(std::span<const Packet> packets) {
    std::size_t size = kCountBytes;
    for (const Packet& packet : packets) {
        size += packetSize(packet.userData.size());
    }
    return Data::make(size, [packets](std::uint8_t* bytes) {
        storeBig(bytes, static_cast<std::uint16_t>(packets.size()));
        bytes += kCountBytes;
        for (const Packet& packet : packets) {
            writePacket(bytes, packet);
            bytes += packetSize(packet.userData.size());
        }
    });
}

std::vector<std::uint8_t> bareElement(std::uint16_t count, const Packet& packet) {
    std::vector<std::uint8_t> element(kCountBytes + kUserData + packet.userData.size());
    storeBig(element.data(), count);
    std::uint8_t* const bytes = element.data() + kCountBytes;
    storeBig(bytes + kLine, static_cast<std::uint16_t>(packet.lineNumber));
    writePayload(bytes + kPayload, packet, element.size() - kCountBytes - kPayload);
    return element;
}

std::vector<std::uint8_t> combinedPacket(std::uint64_t lineNumber, std::span<const Packet> packets) {
    std::size_t room = kUserData + 2;
    std::size_t sampleCount = 0;
    for (const Packet& packet : packets) {
        room += packet.userData.size() + kPayloadHeader;
        sampleCount += packet.userData.size() & 0xFFU;
    }
    std::vector<std::uint8_t> bytes(room);
    std::uint32_t offset = 0;
    for (const Packet& packet : packets) {
        writePayload(bytes.data() + kPayload + offset, packet, room - kPayload - offset);
        // Shorter than the packet unless its length is a multiple of 4: the next one overwrites its last bytes. Readers
        // of the old form take the packets from these places; it is kept.
        const auto length = static_cast<std::uint32_t>(packet.userData.size());
        offset += ((length - 1U) & 3U) + (length & 0xFFU);
    }
    writeHeader(bytes.data(), lineNumber, sampleCount, offset, packets.size());
    bytes.resize(kUserData + std::size_t{offset});
    return bytes;
}

}  // namespace qlx::ancelement
