// The Unicode characters of the CEA-608 and CEA-708 character codes.
#pragma once

#include <cstdint>
#include <span>

namespace qlx::captioncharacters {

enum class Set : std::uint8_t {
    CEA608Basic,
    CEA608Special,                 ///< By the pair's second byte.
    CEA608SpanishFrench,           ///< By the pair's second byte.
    CEA608PortugueseGermanDanish,  ///< By the pair's second byte.
    CEA708G0,
    CEA708G1,
    CEA708G2,
    CEA708G3,
};

/// The UTF-8 bytes of a code; empty when the set has no character for it. They live as long as the program.
[[nodiscard]] std::span<const std::uint8_t> utf8(Set set, std::uint8_t code) noexcept;

}  // namespace qlx::captioncharacters
