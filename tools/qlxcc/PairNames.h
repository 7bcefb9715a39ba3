// What CEA-608 byte pairs are called.
#pragma once

#include <cstdint>
#include <string>

namespace qlx::tool {

/// Whether a byte has odd parity, as CEA-608 demands.
[[nodiscard]] bool hasOddParity(std::uint8_t byte) noexcept;

/// The name of a byte pair, whatever its parity (CTA-608): `null`, `text "ab"`, `end of caption`, `preamble row 15`,
/// and `nothing` for two bytes of 0.
/// Codes of the second channel of a field are marked with `(channel 2)`.
[[nodiscard]] std::string nameOfPair(std::uint8_t first, std::uint8_t second);

}  // namespace qlx::tool
