// The kinds of packets that have a name.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace qlx::anc::detail {

/// A kind of packet, told by its two words.
struct PacketKind {
    std::uint8_t did;
    std::uint8_t sdid;
    std::string_view name;
};

/// In the order of their numbers among the fixed operations, which begin with 1.
inline constexpr std::array<PacketKind, 10> kPacketKinds{{
    {0x61, 0x02, "CEA608"},
    {0x61, 0x01, "CEA708"},
    {0x43, 0x02, "OP-47"},
    {0x41, 0x07, "SCTE104"},
    {0x44, 0x04, "Arri Metadata"},
    {0x52, 0x4D, "Camera Start/Stop"},
    {0x60, 0x60, "Timecode"},
    {0x41, 0x05, "AFD/Bar Data"},
    {0xF4, 0x68, "Sony Metadata"},
    {0x50, 0x02, "Apple Metadata"},
}};

/// The name of any other packet.
inline constexpr std::string_view kUnknownKind = "Unknown";

}  // namespace qlx::anc::detail
