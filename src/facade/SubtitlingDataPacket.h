// The subtitling data packet (SDP) of SMPTE RDD 8: header, three teletext packets, footer, checksum.
#pragma once

#include "facade/TeletextPacket.h"
#include "teletext/SdpLayout.h"

#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <qlx/teletext/sdp.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::facade::sdp {

/// Packets of a block, used or not.
inline constexpr std::size_t kPacketCount = 3;
inline constexpr std::size_t kHeaderSize = teletext::kSdpHeaderBytes;
inline constexpr std::size_t kFooterSize = 3;
inline constexpr std::size_t kChecksumSize = 1;
static_assert(kFooterSize + kChecksumSize == teletext::kSdpFooterBytes);
inline constexpr std::size_t kPacketsEnd = kHeaderSize + kPacketCount * teletext::kLineBytes;
/// Bytes of a whole SDP.
inline constexpr std::size_t kSize = teletext::sdpSize(kPacketCount);
static_assert(kSize == 148);

/// Bytes of a test packet: the header and one teletext packet.
inline constexpr std::size_t kTestPacketSize = kHeaderSize + teletext::kLineBytes;

/// First VBI line of the page headers and filling packets.
inline constexpr std::uint8_t kFirstLine = 10;

/// Of a packet with descriptors for three lines; two stay unused.
constexpr std::array<std::uint8_t, kHeaderSize> header(std::uint8_t firstLine, bool oddField) noexcept {
    return teletext::sdpHeader(kSize, {teletext::sdpDescriptor(firstLine, oddField),
                                       teletext::sdpDescriptor(firstLine + 1U, oddField),
                                       teletext::sdpDescriptor(firstLine + 2U, oddField)});
}

using Block = std::array<std::uint8_t, kSize>;

/// The SDP of three filling packets of one field, with counter 0.
constexpr Block fillingBlock(bool oddField) noexcept {
    Block block{};
    std::size_t position = 0;
    const auto put = [&block, &position](const auto& bytes) {
        for (const std::uint8_t byte : bytes) {
            block[position++] = byte;
        }
    };
    put(header(kFirstLine, oddField));
    for (std::size_t index = 0; index < kPacketCount; ++index) {
        put(kFillingPacket);
    }
    put(teletext::sdpFooter(0));
    block[position] = teletext::sdpChecksum(std::span(block).first(position));
    return block;
}

/// Filling blocks of the even [0] and the odd [1] field: what every other block starts from.
inline constexpr std::array<Block, 2> kFillingBlocks = {fillingBlock(false), fillingBlock(true)};

/// An SDP being built: filling packets until they are replaced.
class Builder {
public:
    Builder(std::uint8_t firstLine, bool oddField) noexcept;

    /// The place of teletext packet `index` (0 to 2).
    [[nodiscard]] PacketSpan packet(std::size_t index) noexcept {
        return PacketSpan(_block.data() + kHeaderSize + index * teletext::kLineBytes, teletext::kLineBytes);
    }

    /// The SDP, with its footer and checksum.
    [[nodiscard]] Data finish(std::uint16_t counter);

private:
    Block _block;
};

/// The whole SDP of three filling packets.
[[nodiscard]] Data filling(bool oddField, std::uint16_t counter);

/// A test packet. Its length byte, 0x3A, counts a footer and a checksum that are not there; line test set-ups expect
/// it so, and it is kept.
[[nodiscard]] Data testPacket(std::span<const std::uint8_t, teletext::kLineBytes> packet);

}  // namespace qlx::facade::sdp
