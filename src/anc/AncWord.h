// The 10-bit ancillary data word of SMPTE ST 291-1.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace qlx::anc {

/// The ancillary data flag (ADF) in front of every packet.
inline constexpr std::array<std::uint16_t, 3> kDataFlag{0x000, 0x3FF, 0x3FF};

/// Words of a packet beside its user data words: flag, DID, SDID, DC and checksum.
inline constexpr std::size_t kWordsAroundData = 7;

/// Sets bit 9 to the inverse of bit 8 and clears everything above.
[[nodiscard]] constexpr std::uint16_t withInverseOfBit8(std::uint32_t nineBits) noexcept {
    return static_cast<std::uint16_t>((nineBits & 0x1FFU) | (~nineBits & 0x100U) << 1U);
}

/// All 256 parity-coded words: bits 0 to 7 the byte, bit 8 its even parity, bit 9 the inverse of bit 8.
inline constexpr std::array<std::uint16_t, 256> kWords = []() {
    std::array<std::uint16_t, 256> words{};
    for (std::uint32_t byte = 0; byte < words.size(); ++byte) {
        const std::uint32_t parity = static_cast<std::uint32_t>(std::popcount(byte)) & 1U;
        words[byte] = withInverseOfBit8(byte | parity << 8U);
    }
    return words;
}();

/// The parity-coded word of a byte.
[[nodiscard]] constexpr std::uint16_t word(std::uint8_t byte) noexcept {
    return kWords[byte];
}

/// The checksum word of a sum of parity-coded words (DID to the last user data word): its low nine bits.
[[nodiscard]] constexpr std::uint16_t checksumWord(std::uint32_t sumOfWords) noexcept {
    return withInverseOfBit8(sumOfWords);
}

}  // namespace qlx::anc
