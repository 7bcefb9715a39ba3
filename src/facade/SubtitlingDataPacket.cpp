#include "facade/SubtitlingDataPacket.h"

#include <algorithm>

namespace qlx::facade::sdp {

namespace {

constexpr std::uint8_t kTestPacketLength = 0x3A;

}  // namespace

Builder::Builder(std::uint8_t firstLine, bool oddField) noexcept : _block(kFillingBlocks[oddField ? 1 : 0]) {
    const auto bytes = header(firstLine, oddField);
    std::copy(bytes.begin(), bytes.end(), _block.begin());
}

Data Builder::finish(std::uint16_t counter) {
    const auto bytes = teletext::sdpFooter(counter);
    std::copy(bytes.begin(), bytes.end(), _block.begin() + kPacketsEnd);
    _block.back() = teletext::sdpChecksum(std::span(_block).first<kSize - kChecksumSize>());
    return Data(_block);
}

Data filling(bool oddField, std::uint16_t counter) {
    const Block& block = kFillingBlocks[oddField ? 1 : 0];
    return Data::make(kSize, [&block, counter](std::uint8_t* bytes) {
        std::copy(block.begin(), block.end(), bytes);
        const auto high = static_cast<std::uint8_t>(counter >> 8U);
        const auto low = static_cast<std::uint8_t>(counter & 0xFFU);
        bytes[kPacketsEnd + 1] = high;
        bytes[kPacketsEnd + 2] = low;
        // The template's checksum is that of counter 0.
        bytes[kSize - 1] = static_cast<std::uint8_t>(block.back() - high - low);
    });
}

Data testPacket(std::span<const std::uint8_t, teletext::kLineBytes> packet) {
    return Data::make(kTestPacketSize, [packet](std::uint8_t* bytes) {
        const auto start = header(kFirstLine, true);
        auto* const end = std::copy(start.begin(), start.end(), bytes);
        bytes[teletext::kSdpLengthOffset] = kTestPacketLength;
        std::copy(packet.begin(), packet.end(), end);
    });
}

}  // namespace qlx::facade::sdp
