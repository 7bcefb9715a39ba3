#include "cc/A53CaptionData.h"

#include <algorithm>

namespace qlx::a53 {

namespace {

constexpr std::uint8_t kEMData = 0xFF;
constexpr std::uint8_t kMarkerBits = 0xFF;

/// Bytes of the structure from the type code on, besides the triplets.
constexpr std::size_t kBytesAroundTriplets = kTripletsOffset - kTypeCodeOffset + 1;

}  // namespace

Data triplets(std::span<const std::uint8_t> userData) {
    const std::size_t size = tripletBytes(userData[kFlagsOffset]);
    if (size == 0) {
        return Data(std::span<const std::uint8_t>());
    }
    if (userData.size() < kTripletsOffset + size) {
        return {};
    }
    return userData.subspan(kTripletsOffset, size);
}

Data ccData(std::span<const std::uint8_t> triplets) {
    return Data::make(triplets.size() + kBytesAroundTriplets, [triplets](std::uint8_t* next) {
        const auto count = static_cast<std::uint8_t>(triplets.size() / triplet::kBytes & kCountMask);
        *next++ = kCCDataTypeCode;
        *next++ = static_cast<std::uint8_t>(kProcessEMDataFlag | kProcessCCDataFlag | count);
        *next++ = kEMData;
        next = std::copy(triplets.begin(), triplets.end(), next);
        *next = kMarkerBits;
    });
}

}  // namespace qlx::a53
