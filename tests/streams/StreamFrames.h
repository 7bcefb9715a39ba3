// Packets for frames.
#pragma once

#include <qlx/streams/frame.h>

#include <cstdint>
#include <span>

namespace qlxtest {

/// A packet with these bytes.
inline qlx::anc::Packet packetOf(qlx::anc::PacketId id, std::span<const std::uint8_t> userData, std::uint32_t line) {
    qlx::anc::Packet packet;
    packet.did = id.did;
    packet.sdid = id.sdid;
    packet.userData.assign(userData.begin(), userData.end());
    packet.line = line;
    return packet;
}

}  // namespace qlxtest
