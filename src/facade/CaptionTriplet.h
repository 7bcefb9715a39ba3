// What the fixed operations make of the cc_data construct of CTA-708 (<qlx/cc/triplet.h>).
#pragma once

#include <qlx/cc/slots.h>
#include <qlx/cc/triplet.h>

#include <cstddef>
#include <cstdint>

namespace qlx::triplet {

using cc::CcType;
using cc::Triplet;

inline constexpr std::size_t kBytes = sizeof(Triplet);
inline constexpr std::size_t kPairBytes = 2;

/// First byte of a triplet.
[[nodiscard]] constexpr std::uint8_t header(CcType type) noexcept {
    return Triplet::make(type, 0, 0).header;
}

inline constexpr std::uint8_t kField1 = header(CcType::Field1);
inline constexpr std::uint8_t kField2 = header(CcType::Field2);
inline constexpr std::uint8_t kDTVCCData = header(CcType::DtvccData);
inline constexpr std::uint8_t kDTVCCStart = header(CcType::DtvccStart);

inline constexpr Triplet kNullField2 = cc::idlePair(CcType::Field2);
/// A CEA-608 null byte with its parity bit.
inline constexpr std::uint8_t kNull608 = kNullField2.first;

/// A field without a pair is not valid in the packets of the fixed operations; the core's are null pairs.
inline constexpr Triplet kEmptyField1 = Triplet::make(CcType::Field1, kNull608, kNull608, false);
inline constexpr Triplet kEmptyField2 = Triplet::make(CcType::Field2, kNull608, kNull608, false);
inline constexpr Triplet kPadding{};

}  // namespace qlx::triplet
