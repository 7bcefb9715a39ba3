// The CRC of MPEG-2 sections (ISO/IEC 13818-1 annex A).
#pragma once

#include <cstdint>
#include <span>

namespace qlx {

/// Bit by bit, without a table: sections are short.
[[nodiscard]] constexpr std::uint32_t sectionCRC32(std::span<const std::uint8_t> bytes) noexcept {
    constexpr std::uint32_t kPolynomial = 0x04C11DB7;
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= std::uint32_t{byte} << 24U;
        for (int bit = 0; bit < 8; ++bit) {
            crc = crc << 1U ^ (kPolynomial & (0U - (crc >> 31U)));
        }
    }
    return crc;
}

}  // namespace qlx
