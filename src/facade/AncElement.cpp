#include "facade/AncElement.h"

#include <qlx/anc/element.h>

#include "anc/ElementLayout.h"
#include "base/Bytes.h"

#include <algorithm>
#include <cstring>

namespace qlx::ancelement {

namespace {

namespace layout = anc::elementlayout;

constexpr std::size_t kMinElementBytes = 19;

// Offsets within a packet whose samples have eight bits.
constexpr std::size_t kDID = layout::kArray;
constexpr std::size_t kSDID = kDID + 1;
constexpr std::size_t kDC = kDID + 2;
constexpr std::size_t kUserData = kDID + layout::kSamplesInFront;

/// Everything in front of DID.
void writeHeader(std::uint8_t* bytes, std::uint64_t lineNumber, std::size_t sampleCount, std::size_t arrayCount,
                 std::size_t elementLength) {
    layout::storeHeader(bytes,
                        {static_cast<std::uint16_t>(lineNumber), static_cast<std::uint8_t>(anc::Wrapping::VancFrame),
                         static_cast<std::uint8_t>(anc::SampleCoding::Luma8), static_cast<std::uint16_t>(sampleCount),
                         static_cast<std::uint32_t>(arrayCount), static_cast<std::uint32_t>(elementLength)});
}

/// DID, SDID, DC and as much of the data as `room` bytes hold.
void writePayload(std::uint8_t* bytes, const Packet& packet, std::size_t room) {
    bytes[0] = packet.did;
    bytes[1] = packet.sdid;
    bytes[2] = static_cast<std::uint8_t>(packet.userData.size());
    std::copy_n(packet.userData.begin(), std::min(packet.userData.size(), room - layout::kSamplesInFront),
                bytes + layout::kSamplesInFront);
}

}  // namespace

Reader::Reader(std::span<const std::uint8_t> element) noexcept
    : _element(element), _position(layout::kCountBytes),
      _left(element.size() < kMinElementBytes ? 0 : loadBig<std::uint16_t>(element.data())) {}

std::optional<Packet> Reader::next() noexcept {
    if (_left == 0 || _position + kUserData > _element.size()) {
        return std::nullopt;
    }
    const std::uint8_t* const bytes = _element.data() + _position;
    const std::uint8_t dataCount = bytes[kDC];
    // A packet that cannot be read is not stepped over: it ends the list, as writers of these files expect.
    const layout::Header header = layout::loadHeader(bytes);
    if (header.coding != static_cast<std::uint8_t>(anc::SampleCoding::Luma8) || dataCount == 0 ||
        _position + kUserData + dataCount > _element.size()) {
        _left = 0;
        return std::nullopt;
    }
    --_left;
    _position += std::uint64_t{header.arrayCount} + layout::kArray;
    return Packet{header.line, bytes[kDID], bytes[kSDID], {bytes + kUserData, dataCount}};
}

std::size_t packetSize(std::size_t dataSize) noexcept {
    const std::size_t samples = (dataSize & 0xFFU) + layout::kSamplesInFront;
    // From one to four bytes of padding, where a multiple of four needs none: receivers get them; it is kept.
    return samples / layout::kAlignment * layout::kAlignment + layout::kAlignment + layout::kArray;
}

void writePacket(std::uint8_t* bytes, const Packet& packet) noexcept {
    const std::size_t size = packetSize(packet.userData.size());
    std::memset(bytes, 0, size);
    writeHeader(bytes, packet.lineNumber, (packet.userData.size() & 0xFFU) + layout::kSamplesInFront,
                size - layout::kArray, 1);
    writePayload(bytes + layout::kArray, packet, size - layout::kArray);
}

Data element(std::span<const Packet> packets) {
    std::size_t size = layout::kCountBytes;
    for (const Packet& packet : packets) {
        size += packetSize(packet.userData.size());
    }
    return Data::make(size, [packets](std::uint8_t* bytes) {
        storeBig(bytes, static_cast<std::uint16_t>(packets.size()));
        bytes += layout::kCountBytes;
        for (const Packet& packet : packets) {
            writePacket(bytes, packet);
            bytes += packetSize(packet.userData.size());
        }
    });
}

std::vector<std::uint8_t> bareElement(std::uint16_t count, const Packet& packet) {
    std::vector<std::uint8_t> element(layout::kCountBytes + kUserData + packet.userData.size());
    storeBig(element.data(), count);
    std::uint8_t* const bytes = element.data() + layout::kCountBytes;
    storeBig(bytes + layout::kLine, static_cast<std::uint16_t>(packet.lineNumber));
    writePayload(bytes + layout::kArray, packet, element.size() - layout::kCountBytes - layout::kArray);
    return element;
}

std::vector<std::uint8_t> combinedPacket(std::uint64_t lineNumber, std::span<const Packet> packets) {
    std::size_t room = kUserData + 2;
    std::size_t sampleCount = 0;
    for (const Packet& packet : packets) {
        room += packet.userData.size() + layout::kSamplesInFront;
        sampleCount += packet.userData.size() & 0xFFU;
    }
    std::vector<std::uint8_t> bytes(room);
    std::uint32_t offset = 0;
    for (const Packet& packet : packets) {
        writePayload(bytes.data() + layout::kArray + offset, packet, room - layout::kArray - offset);
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
