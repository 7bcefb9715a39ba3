// Ancillary packets on their way between the core's value and the class of the fixed operations.
#pragma once

#include <qlx/anc/packet.h>
#include <qlx/base/finding.h>
#include <qlx/base/result.h>

#include <memory>
#include <span>
#include <vector>

class QLXVANCPacket;

namespace qlx::facade {

/// A packet of the fixed operations as a value: DID, SDID, line and data. Its type, times and flags have no place there;
/// channel and horizontal offset are those of a default one.
///
///     const qlx::Result<qlx::anc::Packet> value = qlx::facade::toAncPacket(*packet);
///     if (value) {
///         use(value->userData);
///     }
///
/// A Finding when a packet of SMPTE ST 291-1 cannot be that: DID or SDID above 255 or a line number above 4,294,967,295
/// (VancPacketNumberTooGreat), or more than 255 bytes of data (AncTooManyUserDataWords).
[[nodiscard]] QLX_EXPORT Result<anc::Packet> toAncPacket(const QLXVANCPacket& packet);

/// The values of packets, in their order. `findings` is told what is passed over and why, with the packet's index for an
/// offset; null entries are passed over without a word, as by the fixed operations.
[[nodiscard]] QLX_EXPORT std::vector<anc::Packet> toAncPackets(std::span<const std::shared_ptr<QLXVANCPacket>> packets,
                                                               FindingSink* findings = nullptr);

/// A packet of the fixed operations with the DID, SDID, line and data of a value, and the type that DID and SDID say.
/// Channel and horizontal offset have no place there.
[[nodiscard]] QLX_EXPORT std::shared_ptr<QLXVANCPacket> toVANCPacket(const anc::Packet& packet);

/// The packets of values, in their order.
[[nodiscard]] QLX_EXPORT std::vector<std::shared_ptr<QLXVANCPacket>> toVANCPackets(
    std::span<const anc::Packet> packets);

}  // namespace qlx::facade
