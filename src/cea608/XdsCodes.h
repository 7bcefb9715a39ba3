// The codes of packets of extended data services (CTA-608-E).
#pragma once

#include <qlx/cea608/xds.h>

#include <cstdint>

namespace qlx::cea608 {

/// The code that begins a packet; the next one goes on with it.
[[nodiscard]] inline std::uint8_t startCode(const XdsPacket& packet) noexcept {
    return static_cast<std::uint8_t>(2 * static_cast<unsigned>(packet.xdsClass) + 1);
}

/// What findings call a packet: its start code and type as a number.
[[nodiscard]] inline std::int64_t nameOfPacket(const XdsPacket& packet) noexcept {
    return startCode(packet) << 8U | packet.type;
}

}  // namespace qlx::cea608
