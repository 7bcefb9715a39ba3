// What packets are called, and packets of one kind.
#pragma once

#include <qlx/anc/packet.h>
#include <qlx/anc/registry.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace qlx::tool {

/// The name of a packet's kind, such as "OP-47": the library's, or else the register's; "Unknown" for one without.
[[nodiscard]] inline std::string packetName(const anc::Packet& packet) {
    const std::string_view name = anc::kindName(packet.did, packet.sdid);
    const auto registered = anc::registeredPacket(packet.did, packet.sdid);
    return std::string(name == anc::kindName(0, 0) && registered ? registered->name : name);
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
