// Odd parity: what CEA-608 and teletext protect their seven-bit codes with.
//
//     const std::uint8_t sent = qlx::withOddParity(0x2C);   // ACh
//     if (qlx::hasOddParity(sent)) { use(sent & 0x7FU); }
#pragma once

#include <array>
#include <bit>
#include <cstdint>

namespace qlx {

/// Whether the number of ones is odd.
[[nodiscard]] constexpr bool hasOddParity(std::uint8_t byte) noexcept {
    return std::popcount(byte) % 2 == 1;
}

/// 7-bit values with bit 7 set where needed to make the number of ones odd.
inline constexpr std::array<std::uint8_t, 128> kOddParity = []() {
    std::array<std::uint8_t, 128> table{};
    for (unsigned value = 0; value < table.size(); ++value) {
        table[value] = static_cast<std::uint8_t>(std::popcount(value) % 2 == 0 ? value | 0x80U : value);
    }
    return table;
}();

/// The low 7 bits with odd parity.
[[nodiscard]] constexpr std::uint8_t withOddParity(unsigned value) noexcept {
    return kOddParity[value & 0x7FU];
}

}  // namespace qlx
