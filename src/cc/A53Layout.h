// Caption user data of ATSC A/53 Part 4, as it stands in coded pictures. In an SEI message B5 00 31 (ITU-T T.35) stands
// in front. Offsets count from the user identifier.
//
//   0  "GA94"     user_identifier
//   4  03         user_data_type_code: cc_data
//   5  flags      process_em_data_flag, process_cc_data_flag, additional_data_flag, cc_count (5 bits)
//   6  em_data
//   7  cc_count triplets
//      FF         marker_bits
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <qlx/cc/triplet.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::a53 {

inline constexpr std::array<std::uint8_t, 4> kUserIdentifier{'G', 'A', '9', '4'};
inline constexpr std::uint8_t kCCDataTypeCode = 0x03;

/// itu_t_t35_country_code (United States) and itu_t_t35_provider_code (ATSC).
inline constexpr std::size_t kT35Bytes = 3;
/// All that stands in front of the flags.
inline constexpr std::array<std::uint8_t, 8> kCodes{
    0xB5, 0x00, 0x31, kUserIdentifier[0], kUserIdentifier[1], kUserIdentifier[2], kUserIdentifier[3], kCCDataTypeCode};

inline constexpr std::size_t kTypeCodeOffset = 4;
inline constexpr std::size_t kFlagsOffset = 5;
inline constexpr std::size_t kTripletsOffset = 7;
/// Flags, em_data and marker_bits.
inline constexpr std::size_t kBytesAroundTriplets = 3;

inline constexpr std::uint8_t kProcessEMDataFlag = 0x80;
inline constexpr std::uint8_t kProcessCCDataFlag = 0x40;
inline constexpr std::uint8_t kAdditionalDataFlag = 0x20;
inline constexpr std::uint8_t kCountMask = 0x1F;
inline constexpr std::uint8_t kMarkerBits = 0xFF;

/// Bytes of the triplets that a flags byte announces.
[[nodiscard]] constexpr std::size_t tripletBytes(std::uint8_t flags) noexcept {
    return (flags & kCountMask) * sizeof(cc::Triplet);
}

/// The triplets of user data whose flags byte, at least, is there; none when they do not fit. A count of 0 fits always.
[[nodiscard]] inline Data triplets(std::span<const std::uint8_t> userData) {
    const std::size_t size = tripletBytes(userData[kFlagsOffset]);
    if (size == 0) {
        return Data(std::span<const std::uint8_t>());
    }
    if (userData.size() < kTripletsOffset + size) {
        return {};
    }
    return userData.subspan(kTripletsOffset, size);
}

}  // namespace qlx::a53
