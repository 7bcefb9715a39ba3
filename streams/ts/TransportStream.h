// The packets of an MPEG-2 transport stream (ISO/IEC 13818-1), told by their sync bytes: bare ones of 188 bytes, with a
// time in front (192), or with parity behind (204).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::streams::detail {

/// The greatest distance of two sync bytes.
inline constexpr std::size_t kLongestTransportPacket = 204;

/// The distance of the sync bytes of a transport stream that begins with a whole packet: 188, 192 or 204; 0 for other
/// bytes.
[[nodiscard]] std::size_t transportPacketSize(std::span<const std::uint8_t> first) noexcept;

/// A packet whose end is missing.
struct CutPacket {
    std::size_t begin = 0;  ///< Where it begins.
    std::size_t there = 0;  ///< Bytes that are there.
    std::size_t size = 0;   ///< Bytes that it would have.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const CutPacket&, const CutPacket&) noexcept = default;
};

/// The last packet of a transport stream when its end is missing. The sync bytes in front of it tell where it begins,
/// wherever the stream itself does.
/// @param tail The stream's last bytes: all of it, or those of twenty packets or so.
/// @param packetSize The distance of the sync bytes; 0 when it is not known.
[[nodiscard]] std::optional<CutPacket> cutTransportPacket(std::span<const std::uint8_t> tail,
                                                          std::size_t packetSize) noexcept;

}  // namespace qlx::streams::detail
