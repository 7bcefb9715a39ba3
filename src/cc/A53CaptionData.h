// Caption user data of ATSC A/53 Part 4, as it stands in coded pictures. Offsets count from the user identifier.
//
//   0  "GA94"     user_identifier
//   4  03         user_data_type_code: cc_data
//   5  flags      process_em_data_flag, process_cc_data_flag, additional_data_flag, cc_count (5 bits)
//   6  em_data
//   7  cc_count triplets
//      FF         marker_bits
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include "cc/CaptionTriplet.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::a53 {

inline constexpr std::array<std::uint8_t, 4> kUserIdentifier{'G', 'A', '9', '4'};
inline constexpr std::uint8_t kCCDataTypeCode = 0x03;

inline constexpr std::size_t kTypeCodeOffset = 4;
inline constexpr std::size_t kFlagsOffset = 5;
inline constexpr std::size_t kTripletsOffset = 7;

inline constexpr std::uint8_t kProcessEMDataFlag = 0x80;
inline constexpr std::uint8_t kProcessCCDataFlag = 0x40;
inline constexpr std::uint8_t kCountMask = 0x1F;

/// Bytes of the triplets that a flags byte announces.
[[nodiscard]] constexpr std::size_t tripletBytes(std::uint8_t flags) noexcept {
    return (flags & kCountMask) * triplet::kBytes;
}

/// The triplets of user data whose flags byte, at least, is there; none when they do not fit. A count of 0 fits always.
[[nodiscard]] Data triplets(std::span<const std::uint8_t> userData);

/// The structure from the type code on, as a video encoder takes it.
[[nodiscard]] Data ccData(std::span<const std::uint8_t> triplets);

}  // namespace qlx::a53
