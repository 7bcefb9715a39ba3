// Ancillary packets in a luma buffer: one byte a sample, the low 8 bits of each 10-bit word.
//
//   00 FF FF  DID  SDID  DC  DC user data bytes  checksum
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::anc {

/// The fewest bytes in which a packet is looked for: one without data is seven, and one more must follow.
inline constexpr std::size_t kMinLumaBytes = 8;

/// A packet in a luma buffer; its data refer to that buffer.
struct LumaPacket {
    std::uint8_t did = 0;
    std::uint8_t sdid = 0;
    std::uint8_t dataCount = 0;
    std::size_t remaining = 0;               ///< Bytes of the buffer behind the header.
    std::span<const std::uint8_t> userData;  ///< Empty when the data run past the buffer.

    [[nodiscard]] bool isWhole() const noexcept { return dataCount <= remaining; }
};

/// Walks the packets of a luma buffer. Checksums are stepped over, not verified.
class LumaPackets {
public:
    explicit LumaPackets(std::span<const std::uint8_t> luma) noexcept : _luma(luma) {}

    /// The next packet header, whole or not; none at the end. The seven bytes of a header and checksum must end before
    /// the buffer's last byte, as every receiver of these rows has it.
    [[nodiscard]] std::optional<LumaPacket> next() noexcept;

private:
    std::span<const std::uint8_t> _luma;
    std::size_t _position = 0;
};

}  // namespace qlx::anc
