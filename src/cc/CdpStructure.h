// Where the sections of a caption distribution packet begin and end, found from what stands there.
#pragma once

#include "cc/CdpLayout.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::cc::detail {

/// How many triplets and services there are where it is not what the packet announces.
struct SectionCounts {
    std::optional<std::size_t> triplets;
    std::optional<std::size_t> services;
};

struct CdpStructure {
    SectionCounts counts;
    std::size_t footerAt = 0;     ///< Offset at which the footer begins, or the bytes of sections end.
    std::size_t footerBytes = 0;  ///< As many of it are there: 0 to 4.
    // Offsets of the first section of a kind; 0: there is none.
    std::size_t timeCodeAt = 0;
    std::size_t ccDataAt = 0;
    std::size_t servicesAt = 0;

    [[nodiscard]] constexpr std::size_t end() const noexcept { return footerAt + footerBytes; }
    [[nodiscard]] constexpr bool hasWholeFooter() const noexcept { return footerBytes == kFooterBytes; }
    /// Where sections are to be read no further: a packet that is written again needs room for its footer.
    [[nodiscard]] constexpr std::size_t sectionsEnd() const noexcept {
        return std::min(footerAt, kGreatestCdpBytes - kFooterBytes);
    }
};

/// Bytes of the section that begins here, its identifier included, also when there are fewer. 0 when the identifier, or
/// a missing byte behind it, does not tell.
[[nodiscard]] inline std::size_t sectionSize(std::span<const std::uint8_t> section,
                                             const SectionCounts& counts) noexcept {
    const std::uint8_t id = section[0];
    if (isSection(id, CdpSection::TimeCode)) {
        return kTimeCodeSectionBytes;
    }
    if (section.size() < kSectionHeadBytes) {
        return 0;
    }
    if (isSection(id, CdpSection::CcData)) {
        const std::size_t announced = section[1] & kCcCountBits;
        return kSectionHeadBytes + counts.triplets.value_or(announced) * sizeof(Triplet);
    }
    if (isSection(id, CdpSection::ServiceInformation)) {
        const std::size_t announced = section[1] & kServiceCountBits;
        return kSectionHeadBytes + counts.services.value_or(announced) * CaptionService::kBytes;
    }
    return isFutureSection(id) ? kSectionHeadBytes + section[1] : 0;
}

/// The structure of a packet whose header is whole. Of two readings the one is taken that leads to a footer: with the
/// counts that are announced, else with another count of triplets or services, else the last four bytes, if they are
/// a footer with the header's counter.
[[nodiscard]] CdpStructure structureOf(std::span<const std::uint8_t> bytes) noexcept;

}  // namespace qlx::cc::detail
