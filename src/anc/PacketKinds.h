// The kinds of packets that have a name.
#pragma once

#include <qlx/anc/packet.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace qlx::anc::detail {

/// A kind of packet, told by its two words.
struct PacketKind {
    PacketId words;  ///< Both as they stand in the packet, also of type 1.
    std::string_view name;
};

/// In the order of their numbers among the fixed operations, which begin with 1.
inline constexpr std::array<PacketKind, 10> kPacketKinds{{
    {ids::kCea608, "CEA608"},
    {ids::kCdp, "CEA708"},
    {ids::kOp47, "OP-47"},
    {ids::kScte104, "SCTE104"},
    {ids::kKlvMetadata, "Arri Metadata"},
    {{0x52, 0x4D}, "Camera Start/Stop"},
    {ids::kAtc, "Timecode"},
    {ids::kAfdBarData, "AFD/Bar Data"},
    {{0xF4, 0x68}, "Sony Metadata"},
    {{0x50, 0x02}, "Apple Metadata"},
}};

/// The name of any other packet.
inline constexpr std::string_view kUnknownKind = "Unknown";

/// The kind of packets with these two words; the table's end for any others.
[[nodiscard]] constexpr const PacketKind* findPacketKind(PacketId words) noexcept {
    return std::find_if(kPacketKinds.begin(), kPacketKinds.end(),
                        [words](const PacketKind& kind) { return kind.words == words; });
}

/// The name of packets with these two words.
[[nodiscard]] constexpr std::string_view nameOfPacketKind(PacketId words) noexcept {
    const auto* const kind = findPacketKind(words);
    return kind == kPacketKinds.end() ? kUnknownKind : kind->name;
}

}  // namespace qlx::anc::detail
