// The caption distribution packet (CDP) of SMPTE ST 334-2, as this system writes and reads it.
//
//   0  96 69          identifier
//   2  length
//   3  rate << 4 | F  frame rate
//   4  7F             flags: cc data and service information present
//   5  counter        2 bytes
//   7  72             cc data section
//   8  E0 | n         triplet count
//   9  n triplets
//      16 bytes       service information (not in the bare form)
//      74 counter     footer, 3 bytes
//      checksum
//
// The three writers differ in length byte, service section and checksum. Deployed receivers take their packets as they
// are: the differences stand here, in one table, and are kept.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::cdp {

inline constexpr std::size_t kTripletsOffset = 9;

/// What every writer puts into header and footer.
struct Header {
    std::uint8_t frameRateCode = 0;
    std::uint16_t sequenceCounter = 0;
};

/// The CDP of an ANC packet with one field-1 pair: `ccCount` triplets, of which the first carries the pair (none: an
/// empty field-1 triplet), the second an empty field-2 one, and the others padding. The length byte is 8 short and
/// the checksum leaves out the first eight bytes.
[[nodiscard]] Data onePairPacket(const Header& header, std::uint8_t ccCount, const std::uint8_t* cea608Pair);

/// A CDP of ready triplets without service section; its length byte is 11 above the true length.
[[nodiscard]] Data barePacket(const Header& header, std::span<const std::uint8_t> triplets);

/// Bytes of the CDP that writePayloadPacket() writes for a count.
[[nodiscard]] constexpr std::size_t payloadPacketSize(std::uint8_t ccCount) noexcept {
    return std::size_t{ccCount} * 3 + 29;
}

/// The largest count that writePayloadPacket() takes.
inline constexpr std::uint8_t kMaxPayloadCount = 72;

/// Writes a CDP whose triplets come from a CEA-608 payload (none, pairs, or ready triplets) into the
/// payloadPacketSize(ccCount) zero bytes at `bytes`. Length byte and checksum are the standard's.
void writePayloadPacket(std::span<std::uint8_t> bytes, const Header& header, std::uint8_t ccCount, const Data& payload);

/// Bytes of the CDP that writeTripletPacket() writes for as many bytes of triplets (low 8 bits).
[[nodiscard]] constexpr std::size_t tripletPacketSize(std::size_t tripletBytes) noexcept {
    return (tripletBytes & 0xFFU) + 29;
}

/// Writes a CDP of ready triplets with service section into the tripletPacketSize() zero bytes at `bytes`. Its length
/// byte is 13 short; the checksum is the standard's.
void writeTripletPacket(std::span<std::uint8_t> bytes, const Header& header, std::span<const std::uint8_t> triplets);

/// True for at least ten bytes that begin with the identifier.
[[nodiscard]] bool isPacket(std::span<const std::uint8_t> bytes) noexcept;

/// The triplets of a CDP whose cc data section stands at offset 7; empty when there are fewer than its count says.
[[nodiscard]] std::span<const std::uint8_t> triplets(std::span<const std::uint8_t> bytes) noexcept;

/// Triplets sorted by kind.
struct SortedTriplets {
    Data dtvcc;   ///< Whole triplets.
    Data field1;  ///< Pairs.
    Data field2;  ///< Pairs.
};

/// Sorts the triplets from `offset` on. The walk stops `offset` bytes before the end, which in a CDP steps over the
/// service section; null pairs behind a field's first pair are dropped, in field 2 already when one byte is null.
[[nodiscard]] SortedTriplets sortedTriplets(std::span<const std::uint8_t> bytes, std::uint64_t offset);

}  // namespace qlx::cdp
