#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include "anc/AncWord.h"
#include "anc/PacketKinds.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

using qlx::anc::detail::kPacketKinds;
using qlx::anc::detail::PacketKind;

/// Bytes in front of the text of an Apple Metadata packet, and the fewest that a packet with text has.
constexpr std::size_t kMetadataHeaderBytes = 8;
constexpr std::size_t kMetadataMinBytes = 10;

/// The text of an Apple Metadata packet; none when it is not UTF-8.
std::optional<std::string> metadataText(const qlx::Data& data) {
    if (data.size() < kMetadataMinBytes) {
        return "(no text)";
    }
    std::string text(data.begin() + kMetadataHeaderBytes, data.end());
    return qlx::firstInvalidUTF8Byte(text) ? std::nullopt : std::optional(std::move(text));
}

/// Camera start/stop: nine reserved bytes, the command group, the command.
constexpr std::uint64_t kCameraControlLine = 9;
constexpr std::uint8_t kCameraCommandGroup = 0x20;
constexpr std::uint8_t kCameraStart = 0x02;
constexpr std::uint8_t kCameraStop = 0x00;

}  // namespace

std::shared_ptr<QLXVANCPacket> QLXVANCPacket::make(QLXVANCPacketType type, std::uint64_t did, std::uint64_t sdid,
                                                   std::uint64_t lineNumber, qlx::Data data) {
    auto packet = std::make_shared<QLXVANCPacket>();
    packet->_lineNumber.store(lineNumber, std::memory_order_relaxed);
    packet->_packetData = std::move(data);
    packet->_packetType.store(type, std::memory_order_relaxed);
    packet->_packetDID.store(did, std::memory_order_relaxed);
    packet->_packetSDID.store(sdid, std::memory_order_relaxed);
    return packet;
}

std::shared_ptr<QLXVANCPacket> QLXVANCPacket::make(QLXVANCPacketType type, std::uint64_t lineNumber, qlx::Data data) {
    const qlx::anc::PacketId words = kPacketKinds[static_cast<std::size_t>(type - 1)].words;
    return make(type, words.did, words.sdid, lineNumber, std::move(data));
}

std::string QLXVANCPacket::description() const {
    const QLXVANCPacketType type = packetType();
    const std::string header =
        qlx::formatted("%02lx.%02lx (%@) Packet", packetDID(), packetSDID(), nameOfPacketType(type));
    const std::string line = qlx::formatted("line %lu", lineNumber());
    const qlx::Data data = packetData();
    if (type == QLXVANCPacketTypeAppleMetadata) {
        return qlx::formatted("%@ (%@) %@", header, line, metadataText(data));
    }
    return qlx::formatted("%@ (%@) %@", header, line, data);
}

qlx::Data QLXVANCPacket::packetDataWithEncodedBytes() const {
    const qlx::Data data = packetData();
    return qlx::Data::make(data.size() * 2, [&data](std::uint8_t* words) {
        for (const std::uint8_t byte : data) {
            const std::uint16_t word = qlx::anc::word(byte);
            *words++ = static_cast<std::uint8_t>(word);
            *words++ = static_cast<std::uint8_t>(word >> 8U);
        }
    });
}

QLXVANCPacketType QLXVANCPacket::packetTypeWithDID_SDID(std::uint64_t did, std::uint64_t sdid) noexcept {
    // The table's rows stand in the order of the type numbers, which begin with 1.
    const auto* const kind = std::find_if(kPacketKinds.begin(), kPacketKinds.end(), [=](const PacketKind& one) {
        return one.words.did == did && one.words.sdid == sdid;
    });
    return kind == kPacketKinds.end() ? QLXVANCPacketTypeUnknown
                                      : static_cast<QLXVANCPacketType>(kind - kPacketKinds.begin() + 1);
}

std::string QLXVANCPacket::nameOfPacketType(QLXVANCPacketType type) {
    return std::string(type >= 1 && type <= kPacketKinds.size() ? kPacketKinds[static_cast<std::size_t>(type - 1)].name
                                                                : qlx::anc::detail::kUnknownKind);
}

std::set<std::uint64_t> QLXVANCPacket::linesInVANCPackets(const std::vector<std::shared_ptr<QLXVANCPacket>>& packets) {
    std::set<std::uint64_t> lines;
    for (const auto& packet : packets) {
        if (packet) {
            lines.insert(packet->lineNumber());
        }
    }
    return lines;
}

std::shared_ptr<QLXVANCPacket> QLXVANCPacket::CEA708VANCPacketWithData_lineNumber(qlx::Data data,
                                                                                  std::uint64_t lineNumber) {
    return make(QLXVANCPacketTypeCEA708, lineNumber, std::move(data));
}

std::shared_ptr<QLXVANCPacket> QLXVANCPacket::CEA608VANCPacketWithData_lineNumber(qlx::Data data,
                                                                                  std::uint64_t lineNumber) {
    return make(QLXVANCPacketTypeCEA608, lineNumber, std::move(data));
}

std::shared_ptr<QLXVANCPacket> QLXVANCPacket::OP47VANCPacketWithData_lineNumber(qlx::Data data,
                                                                                std::uint64_t lineNumber) {
    return make(QLXVANCPacketTypeOP47, lineNumber, std::move(data));
}

std::shared_ptr<QLXVANCPacket> QLXVANCPacket::appleMetadataVANCPacketWithData_lineNumber(qlx::Data data,
                                                                                         std::uint64_t lineNumber) {
    return make(QLXVANCPacketTypeAppleMetadata, lineNumber, std::move(data));
}

std::shared_ptr<QLXVANCPacket> QLXVANCPacket::cameraRecordControlPacketWithStart(bool start) {
    return make(QLXVANCPacketTypeCameraStartStop, kCameraControlLine,
                {0, 0, 0, 0, 0, 0, 0, 0, 0, kCameraCommandGroup, start ? kCameraStart : kCameraStop});
}
