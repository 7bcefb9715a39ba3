#include "cc/CdpStructure.h"

#include "base/Bytes.h"

#include <initializer_list>

namespace qlx::cc::detail {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// A walk over the sections with given counts.
struct Walk {
    CdpStructure structure;
    bool isStuck = false;  ///< It ended at a section that is cut or unknown.
};

/// Keeps the place of the first section of a kind.
void keepPlace(CdpStructure& structure, std::uint8_t id, std::size_t offset) noexcept {
    std::size_t* place = nullptr;
    if (isSection(id, CdpSection::CcData)) {
        place = &structure.ccDataAt;
    } else if (isSection(id, CdpSection::ServiceInformation)) {
        place = &structure.servicesAt;
    } else if (isSection(id, CdpSection::TimeCode)) {
        place = &structure.timeCodeAt;
    }
    if (place != nullptr && *place == 0) {
        *place = offset;
    }
}

Walk walk(Bytes bytes, const SectionCounts& counts) noexcept {
    Walk result;
    result.structure.counts = counts;
    std::size_t offset = kHeaderBytes;
    while (offset < bytes.size()) {
        const std::uint8_t id = bytes[offset];
        if (isSection(id, CdpSection::Footer)) {
            result.structure.footerBytes = std::min(kFooterBytes, bytes.size() - offset);
            break;
        }
        keepPlace(result.structure, id, offset);
        const std::size_t size = sectionSize(bytes.subspan(offset), counts);
        if (size == 0 || size > bytes.size() - offset) {
            result.isStuck = true;
            break;
        }
        offset += size;
    }
    result.structure.footerAt = offset;
    return result;
}

/// Whether the footer at `offset` is whole and repeats the header's counter.
bool hasHeadersCounter(Bytes bytes, std::size_t offset) noexcept {
    return bytes.size() - offset >= kFooterBytes &&
           loadBig<std::uint16_t>(&bytes[offset + 1]) == loadBig<std::uint16_t>(&bytes[kCounterOffset]);
}

/// Whether a packet may end here: with the bytes, or as its length says.
bool mayEndAt(Bytes bytes, std::size_t end) noexcept {
    return end == bytes.size() || end == bytes[kLengthOffset];
}

/// Two of three witnesses are enough for what is announced: a footer, and its counter or its place.
bool isPlausible(Bytes bytes, const CdpStructure& structure) noexcept {
    return structure.hasWholeFooter() &&
           (hasHeadersCounter(bytes, structure.footerAt) || mayEndAt(bytes, structure.end()));
}

/// All of them are needed for another count than the one that is announced.
bool isCertain(Bytes bytes, const CdpStructure& structure) noexcept {
    return structure.hasWholeFooter() && hasHeadersCounter(bytes, structure.footerAt) &&
           mayEndAt(bytes, structure.end());
}

/// What is read as triplets behind the announced ones looks like triplets.
bool haveMarkerBits(Bytes bytes, std::size_t ccDataAt, std::size_t from, std::size_t to) noexcept {
    for (std::size_t index = from; index < to; ++index) {
        const std::size_t offset = ccDataAt + kSectionHeadBytes + index * sizeof(Triplet);
        if (offset >= bytes.size() || (bytes[offset] & Triplet::kMarkerBits) != Triplet::kMarkerBits) {
            return false;
        }
    }
    return true;
}

/// The count nearest to the announced one with which `isRight(count)`.
template <class IsRight>
std::optional<std::size_t> nearestCount(std::size_t announced, std::size_t greatest, IsRight isRight) {
    for (std::size_t distance = 1; distance <= greatest; ++distance) {
        if (distance <= announced && isRight(announced - distance)) {
            return announced - distance;
        }
        if (announced + distance <= greatest && isRight(announced + distance)) {
            return announced + distance;
        }
    }
    return std::nullopt;
}

/// The counts with which the sections lead to a footer, if one of the two is another than announced.
std::optional<SectionCounts> otherCounts(Bytes bytes, const CdpStructure& announced) noexcept {
    if (announced.ccDataAt != 0 && announced.ccDataAt + 1 < bytes.size()) {
        const std::size_t count = bytes[announced.ccDataAt + 1] & kCcCountBits;
        const auto found = nearestCount(count, kGreatestTriplets, [&](std::size_t other) {
            return haveMarkerBits(bytes, announced.ccDataAt, count, other) &&
                   isCertain(bytes, walk(bytes, {other, std::nullopt}).structure);
        });
        if (found) {
            return SectionCounts{found, std::nullopt};
        }
    }
    if (announced.servicesAt != 0 && announced.servicesAt + 1 < bytes.size()) {
        const std::size_t count = bytes[announced.servicesAt + 1] & kServiceCountBits;
        const auto found = nearestCount(count, kGreatestServices, [&](std::size_t other) {
            return isCertain(bytes, walk(bytes, {std::nullopt, other}).structure);
        });
        if (found) {
            return SectionCounts{std::nullopt, found};
        }
    }
    return std::nullopt;
}

/// The footer in the last four bytes, or in the last four that the length byte counts, behind `from`.
std::optional<std::size_t> footerBehind(Bytes bytes, std::size_t from) noexcept {
    for (const std::size_t end : {bytes.size(), std::size_t{bytes[kLengthOffset]}}) {
        if (end > bytes.size() || end < from + 1 + kFooterBytes) {
            continue;
        }
        const std::size_t offset = end - kFooterBytes;
        if (isSection(bytes[offset], CdpSection::Footer) && hasHeadersCounter(bytes, offset)) {
            return offset;
        }
    }
    return std::nullopt;
}

}  // namespace

CdpStructure structureOf(Bytes all) noexcept {
    const Bytes bytes = all.first(std::min(all.size(), kGreatestCdpBytes));
    const Walk announced = walk(bytes, {});
    if (isPlausible(bytes, announced.structure)) {
        return announced.structure;
    }
    if (const auto counts = otherCounts(bytes, announced.structure)) {
        return walk(bytes, *counts).structure;
    }
    CdpStructure structure = announced.structure;
    if (announced.isStuck) {
        const auto footer = footerBehind(bytes, structure.footerAt);
        structure.footerAt = footer.value_or(bytes.size());
        structure.footerBytes = footer ? kFooterBytes : 0;
    }
    return structure;
}

}  // namespace qlx::cc::detail
