// The QuickTime caption atom: 4-byte big-endian size (header included), 4-byte type, payload.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace qlx::captionatom {

enum class Kind {
    CEA608,  ///< `cdat`: byte pairs.
    CEA708,  ///< `ccdp`: a caption distribution packet.
};

struct Atom {
    Kind kind;
    std::span<const std::uint8_t> payload;
};

/// The atom at the start of `buffer`. The buffer's size decides which type is accepted: `cdat` below 10 bytes, `ccdp`
/// from there on, as writers of these tracks hand them over. None for any other type, or a size that is below the
/// header's or above the buffer's.
[[nodiscard]] std::optional<Atom> parse(std::span<const std::uint8_t> buffer) noexcept;

}  // namespace qlx::captionatom
