// The bytes that the packetizer sends for the characters of a subtitle.
#pragma once

#include <cstdint>

namespace qlx::facade {

/// The 7-bit code of an ISO 8859-1 character in the French national option subset (EN 300 706, clause 15.2).
/// Accented capitals, which the subset lacks, become plain ones. Any other character keeps its low 7 bits, so a letter
/// such as a acute becomes unrelated ASCII: deployed hosts send it so, and it is kept.
[[nodiscard]] std::uint8_t frenchCode(std::uint8_t character) noexcept;

}  // namespace qlx::facade
