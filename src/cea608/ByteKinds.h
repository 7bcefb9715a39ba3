// What the first byte of a pair begins, without its parity (CTA-608-E).
#pragma once

#include <cstdint>

namespace qlx::cea608 {

/// Of extended data services, below.
inline constexpr std::uint8_t kFirstControl = 0x10;
/// The end of a packet of extended data services.
inline constexpr std::uint8_t kEndOfExtendedData = 0x0F;
/// Control codes, below.
inline constexpr std::uint8_t kFirstCharacter = 0x20;

}  // namespace qlx::cea608
