// The codes that protect teletext bytes and the French national option subset (ETSI EN 300 706).
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace qlx::teletext {

/// Hamming 8/4 code words of the values 0 to 15 (EN 300 706, clause 8.2), first transmitted bit lowest.
inline constexpr std::array<std::uint8_t, 16> kHamming84 = {0x15, 0x02, 0x49, 0x5E, 0x64, 0x73, 0x38, 0x2F,
                                                            0xD0, 0xC7, 0x8C, 0x9B, 0xA1, 0xB6, 0xFD, 0xEA};

/// The code word of the low 4 bits.
constexpr std::uint8_t hamming84(unsigned value) noexcept {
    return kHamming84[value & 15U];
}

/// 7-bit values with bit 7 set where needed to make the number of ones odd (EN 300 706, clause 8.1).
inline constexpr std::array<std::uint8_t, 128> kOddParity = []() {
    std::array<std::uint8_t, 128> table{};
    for (unsigned value = 0; value < table.size(); ++value) {
        const bool even = std::popcount(value) % 2 == 0;
        table[value] = static_cast<std::uint8_t>(even ? value | 0x80U : value);
    }
    return table;
}();

/// The low 7 bits with odd parity.
constexpr std::uint8_t withOddParity(unsigned value) noexcept {
    return kOddParity[value & 0x7FU];
}

/// Hamming 24/18 (EN 300 706, clause 8.3): the low 18 bits of `data` become 24 coded bits, first transmitted bit
/// lowest.
[[nodiscard]] std::uint32_t hamming2418(std::uint32_t data) noexcept;

/// The 7-bit code of an ISO 8859-1 character in the French national option subset (EN 300 706, clause 15.2).
/// Accented capitals, which the subset lacks, become plain ones. Any other character keeps its low 7 bits, so a letter
/// such as a acute becomes unrelated ASCII: deployed hosts send it so, and it is kept.
[[nodiscard]] std::uint8_t frenchCode(std::uint8_t character) noexcept;

}  // namespace qlx::teletext
