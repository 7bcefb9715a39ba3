// What packets are called, and packets of one kind.
#pragma once

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <qlx/anc/packet.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace qlx::tool {

/// The name of a packet's kind, such as "OP-47"; "Unknown" for one without.
[[nodiscard]] inline std::string packetName(const anc::Packet& packet) {
    return QLXVANCPacket::nameOfPacketType(QLXVANCPacket::packetTypeWithDID_SDID(packet.did, packet.sdid));
}

/// The name of a stream of words: "luma", "chroma", "multiplex".
[[nodiscard]] inline std::string_view channelName(anc::Channel channel) noexcept {
    return channel == anc::Channel::Luma ? "luma" : channel == anc::Channel::Chroma ? "chroma" : "multiplex";
}

/// The stream of words with that name.
[[nodiscard]] inline std::optional<anc::Channel> channelNamed(std::string_view name) noexcept {
    for (const anc::Channel channel : {anc::Channel::Luma, anc::Channel::Chroma, anc::Channel::SdMultiplex}) {
        if (channelName(channel) == name) {
            return channel;
        }
    }
    return std::nullopt;
}

/// A packet with these bytes.
[[nodiscard]] inline anc::Packet packetOf(anc::PacketId id, std::span<const std::uint8_t> userData,
                                          std::uint64_t line) {
    anc::Packet packet;
    packet.did = id.did;
    packet.sdid = id.sdid;
    packet.userData.assign(userData.begin(), userData.end());
    packet.line = static_cast<std::uint32_t>(line);
    return packet;
}

}  // namespace qlx::tool
