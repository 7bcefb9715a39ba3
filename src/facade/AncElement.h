// The MXF ANC data element (SMPTE ST 436-1) in the forms that the fixed operations read and write; qlx/anc/element.h has
// the standard's.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::ancelement {

/// A packet of an element; the data refer to somebody else's buffer.
struct Packet {
    std::uint64_t lineNumber = 0;
    std::uint8_t did = 0;
    std::uint8_t sdid = 0;
    std::span<const std::uint8_t> userData;
};

/// Walks the packets of an element. Nothing behind its bytes is read.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> element) noexcept;

    /// The next packet; none at the end, or at the first packet that cannot be read: another sample coding, no data, or
    /// data that run past the element.
    [[nodiscard]] std::optional<Packet> next() noexcept;

private:
    std::span<const std::uint8_t> _element;
    std::uint64_t _position;
    std::uint32_t _left;  ///< Packets that the count still announces.
};

/// Bytes of a packet with `dataSize` bytes of data, as writePacket() writes it.
[[nodiscard]] std::size_t packetSize(std::size_t dataSize) noexcept;

/// Writes one packet into the packetSize() bytes at `bytes`; data that do not fit this size are left out.
void writePacket(std::uint8_t* bytes, const Packet& packet) noexcept;

/// A whole element: the count (low 16 bits) and every packet.
[[nodiscard]] Data element(std::span<const Packet> packets);

/// A count, the line number and the DID, SDID, DC and data of one packet; the other fields are 0, and nothing pads the
/// data: the form in which an OP-47 packet is handed on.
[[nodiscard]] std::vector<std::uint8_t> bareElement(std::uint16_t count, const Packet& packet);

/// One packet of the old form, which combines several packets of a line.
[[nodiscard]] std::vector<std::uint8_t> combinedPacket(std::uint64_t lineNumber, std::span<const Packet> packets);

}  // namespace qlx::ancelement
