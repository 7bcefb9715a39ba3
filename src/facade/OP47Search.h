// The first OP-47 packet (SMPTE RDD 8: DID 0x43, SDID 0x02) in the ancillary lines of a picture.
//
// Nothing outside the given lines is read: what lies behind them is 0. Bytes of a result that nothing was copied into
// are 0 too.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <cstdint>
#include <span>

namespace qlx::op47 {

/// In 10-bit (`v210`) lines: the packet as an MXF ANC data element of 19 + DC bytes; none without a packet. Its user
/// data words are taken from word 4 of the row on, wherever in the row the packet stands, as hosts expect.
/// @param bytesPerRow 1 to the size of `lines`.
[[nodiscard]] Data find10Bit(std::span<const std::uint8_t> lines, std::uint64_t bytesPerRow, std::int32_t lineNumber);

/// In 8-bit (`2vuy`) lines: the packet's user data words (a subtitling data packet), as many as the chroma byte in
/// front of the flag says, as hosts expect; none without a packet.
/// @param bytesPerRow 1 to the size of `lines`.
[[nodiscard]] Data find8Bit(std::span<const std::uint8_t> lines, std::uint64_t bytesPerRow);

}  // namespace qlx::op47
