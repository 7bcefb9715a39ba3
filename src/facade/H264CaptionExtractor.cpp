#include "facade/H264CaptionExtractor.h"

#include "base/Bytes.h"
#include "cc/A53Layout.h"

#include <qlx/video/start_code.h>

#include <algorithm>
#include <array>
#include <utility>

namespace qlx::h264 {

namespace {

constexpr std::array<std::uint8_t, 4> kLongStartCode{0x00, 0x00, 0x00, 0x01};
constexpr std::size_t kLengthBytes = 4;

constexpr std::uint8_t kUnitTypeMask = 0x1F;
constexpr std::uint8_t kSEI = 6;

/// The user identifier is looked for from this offset of a unit on.
constexpr std::size_t kFirstIdentifier = 5;
/// Shorter units (from the header byte, and with the length in front) are not searched.
constexpr std::uint64_t kMinimumUnit = 13;
constexpr std::uint64_t kMinimumPrefixedUnit = 21;
/// No unit that begins in the last bytes of an Annex B access unit is looked at.
constexpr std::size_t kAnnexBTail = 5;

bool isSEI(std::uint8_t header) {
    return (header & kUnitTypeMask) == kSEI;
}

struct SearchResult {
    bool identifierSeen = false;
    Data triplets;
};

/// Searches a unit of `unitSize` bytes, at least kMinimumUnit, at the front of `bytes`, which may hold fewer than that.
/// Triplets count as long as at least one byte of the unit follows them.
SearchResult searchUnit(Bytes bytes, std::uint64_t unitSize, const videostream::Kernels& kernels) {
    SearchResult result;
    if (bytes.size() <= a53::kFlagsOffset) {
        return result;
    }
    const auto end = static_cast<std::size_t>(
        std::min<std::uint64_t>(unitSize - a53::kTripletsOffset, bytes.size() - a53::kFlagsOffset));
    std::size_t position = kFirstIdentifier;
    while ((position = kernels.findUserIdentifier(bytes.data(), position, end)) < end) {
        result.identifierSeen = true;
        const Bytes userData = bytes.subspan(position);
        const std::uint8_t flags = userData[a53::kFlagsOffset];
        // Deployed hosts compare the whole flags byte, so that process_em_data_flag alone is enough; it is kept.
        if (userData[a53::kTypeCodeOffset] == a53::kCCDataTypeCode && flags >= a53::kProcessCCDataFlag &&
            unitSize - position > a53::kTripletsOffset + a53::tripletBytes(flags)) {
            result.triplets = a53::triplets(userData);
            if (result.triplets) {
                return result;
            }
        }
        ++position;
    }
    return result;
}

/// Linear: units do not overlap, and each is searched once for its end and once for captions.
Data tripletsBehindStartCodes(Bytes bytes, const videostream::Kernels& kernels) {
    const std::size_t end = bytes.size() - kAnnexBTail;
    const std::size_t lastStartCode = bytes.size() - video::kStartCodeBytes + 1;
    std::size_t position = 0;
    while ((position = kernels.findStartCode(bytes.data(), position, end)) < end) {
        const std::size_t header = position + video::kStartCodeBytes;
        if (!isSEI(bytes[header])) {
            position = header + 1;
            continue;
        }
        const std::size_t next = kernels.findStartCode(bytes.data(), header, lastStartCode);
        const std::size_t unitEnd = next == lastStartCode ? bytes.size() : next;
        const std::size_t unitSize = unitEnd - header;
        if (unitSize >= kMinimumUnit) {
            if (Data triplets = searchUnit(bytes.subspan(header), unitSize, kernels).triplets) {
                return triplets;
            }
        }
        position = unitEnd;
    }
    return {};
}

/// The whole length (with its own four bytes) of the unit at the front of `bytes`; 64 bits, so that it does not wrap.
std::uint64_t prefixedUnitSize(Bytes bytes) {
    return std::uint64_t{loadBig<std::uint32_t>(bytes.data())} + kLengthBytes;
}

/// Takes the first length byte for the unit's header, as deployed hosts do; it is kept.
Data tripletsBehindLengthsAsHeaders(Bytes bytes, const videostream::Kernels& kernels) {
    while (bytes.size() > kAnnexBTail) {
        const std::uint64_t unitSize = prefixedUnitSize(bytes);
        if (isSEI(bytes[0]) && unitSize >= kMinimumUnit) {
            if (Data triplets = searchUnit(bytes, unitSize, kernels).triplets) {
                return triplets;
            }
        }
        if (unitSize >= bytes.size()) {
            break;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(unitSize));
    }
    return {};
}

}  // namespace

bool beginsWithLongStartCode(Bytes accessUnit) noexcept {
    return accessUnit.size() > kLongStartCode.size() &&
           std::equal(kLongStartCode.begin(), kLongStartCode.end(), accessUnit.begin());
}

Data tripletsInAnnexB(Bytes accessUnit, const videostream::Kernels& kernels) {
    if (accessUnit.size() <= kAnnexBTail) {
        return {};
    }
    return beginsWithLongStartCode(accessUnit) ? tripletsBehindStartCodes(accessUnit, kernels)
                                               : tripletsBehindLengthsAsHeaders(accessUnit, kernels);
}

Data tripletsInLengthPrefixed(Bytes accessUnit, const videostream::Kernels& kernels) {
    // A unit's header byte must be there. The walk ends at the first unit behind which no other begins, so that the
    // last one is never searched, and at one whose identifier leads to no triplets. Deployed hosts expect both.
    while (accessUnit.size() > kLengthBytes) {
        const std::uint64_t unitSize = prefixedUnitSize(accessUnit);
        if (unitSize >= kMinimumPrefixedUnit && unitSize < accessUnit.size() && accessUnit[kLengthBytes] == kSEI) {
            SearchResult found = searchUnit(accessUnit, unitSize, kernels);
            if (found.identifierSeen) {
                return std::move(found.triplets);
            }
        }
        if (unitSize >= accessUnit.size()) {
            break;
        }
        accessUnit = accessUnit.subspan(static_cast<std::size_t>(unitSize));
    }
    return {};
}

}  // namespace qlx::h264
