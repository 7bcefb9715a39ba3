// Which packets of its PID a reader takes.
#pragma once

#include "TsFinding.h"

#include <qlx/base/finding.h>
#include <qlx/streams/ts/packet.h>

#include <cstdint>
#include <optional>

namespace qlx::streams::ts::detail {

/// Looks at the next packet: where no PID is set its own one is the reader's from then on.
/// @param end Called where what was begun before has no end: the packet is damaged or scrambled, or some are missing.
/// @return Whether its payload is to be used.
template <class End>
[[nodiscard]] bool admits(const PacketView& packet, std::optional<std::uint16_t>& pid, ContinuityCheck& continuity,
                          UnusablePackets& unusable, FindingSink* findings, const End& end) {
    if (packet.pid != pid.value_or(packet.pid)) {
        return false;
    }
    pid = packet.pid;
    if (packet.hasError || packet.scrambling != 0) {
        unusable.add(packet.offset, packet.pid,
                     packet.hasError ? FindingCode::TsPacketDamaged : FindingCode::TsPacketScrambled, findings);
        end();
        continuity.reset();
        return false;
    }
    unusable.end(findings);
    const bool isUsed = continuity.receive(packet, findings);
    if (continuity.isBroken()) {
        end();
    }
    return isUsed;
}

}  // namespace qlx::streams::ts::detail
