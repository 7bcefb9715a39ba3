// The cc_data construct of CTA-708: a byte of marker bits, cc_valid and cc_type, then two data bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qlx::triplet {

inline constexpr std::size_t kBytes = 3;
inline constexpr std::size_t kPairBytes = 2;

/// First bytes (marker bits all ones).
inline constexpr std::uint8_t kField1 = 0xFC;             ///< Valid CEA-608 pair of field 1.
inline constexpr std::uint8_t kField2 = 0xFD;             ///< Valid CEA-608 pair of field 2.
inline constexpr std::uint8_t kDTVCCData = 0xFE;          ///< Valid DTVCC packet data.
inline constexpr std::uint8_t kDTVCCStart = 0xFF;         ///< Valid DTVCC packet start.
inline constexpr std::uint8_t kInvalidField1 = 0xF8;      ///< Not valid, field 1.
inline constexpr std::uint8_t kInvalidField2 = 0xF9;      ///< Not valid, field 2.
inline constexpr std::uint8_t kInvalidDTVCCData = 0xFA;   ///< Not valid, DTVCC packet data: padding.
inline constexpr std::uint8_t kInvalidDTVCCStart = 0xFB;  ///< Not valid, DTVCC packet start.

/// A CEA-608 null byte with its parity bit.
inline constexpr std::uint8_t kNull608 = 0x80;

using Triplet = std::array<std::uint8_t, kBytes>;

inline constexpr Triplet kEmptyField1{kInvalidField1, kNull608, kNull608};
inline constexpr Triplet kEmptyField2{kInvalidField2, kNull608, kNull608};
inline constexpr Triplet kNullField2{kField2, kNull608, kNull608};
inline constexpr Triplet kPadding{kInvalidDTVCCData, 0x00, 0x00};

}  // namespace qlx::triplet
