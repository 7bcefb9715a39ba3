// What a caption distribution packet (CDP, SMPTE ST 334-2) holds, for listings and conversions.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// What a cc_data triplet is (CTA-708): a pair for a field of line 21, a DTVCC packet's start or data, or padding.
enum class TripletKind { Field1, Field2, DtvccData, DtvccStart, Padding };

/// `field 1`, `field 2`, `DTVCC data`, `DTVCC start`, `padding`.
[[nodiscard]] std::string_view nameOf(TripletKind kind) noexcept;

struct CaptionTriplet {
    TripletKind kind = TripletKind::Padding;
    std::array<std::uint8_t, 2> data{};
};

/// A CDP. What is not there, or not as the standard has it, is said and never refused.
struct Cdp {
    std::uint8_t rateCode = 0;
    std::string_view rate;                ///< The rate of `rateCode`, such as "29.97"; empty for a code without one.
    std::uint16_t counter = 0;            ///< The header's sequence counter.
    std::optional<std::uint8_t> ccCount;  ///< None without a cc_data section.
    /// What follows the header and time code, where the header announces cc_data and this is another section.
    std::optional<std::uint8_t> otherSection;
    /// What follows as many triplets as `ccCount` says, where that begins no section: there are more of them, or fewer.
    std::optional<std::uint8_t> behindTriplets;
    std::vector<CaptionTriplet> triplets;  ///< As many whole ones as there are, at most `ccCount`.
    std::size_t timeCodeBytes = 0;         ///< Size of the time code section: 0 or 5.
    std::size_t size = 0;
    std::uint8_t length = 0;            ///< The length that the packet says.
    std::uint8_t checksum = 0;          ///< The last byte.
    std::uint8_t standardChecksum = 0;  ///< What it would have to be for all bytes to sum to 0.

    [[nodiscard]] bool hasStandardLength() const noexcept { return length == size; }
    [[nodiscard]] bool hasStandardChecksum() const noexcept { return checksum == standardChecksum; }
};

/// The triplets of cc_data, three bytes each; what is left behind the last whole one is not looked at.
[[nodiscard]] std::vector<CaptionTriplet> readTriplets(std::span<const std::uint8_t> triplets);

/// A line: `20 triplets: field 1 942c, 19 padding`.
[[nodiscard]] std::string tripletsInWords(std::span<const std::uint8_t> triplets);

/// Reads a packet's data; none when they do not begin as a CDP does, or end inside its header.
[[nodiscard]] std::optional<Cdp> readCdp(std::span<const std::uint8_t> data);

/// What contradicts itself in a packet's cc_data section: `cc_count 20, of which 1 is there`, `cc_count 2, behind which fa
/// begins no section`, `section 55 where cc_data (72) is announced`. Empty without a contradiction.
[[nodiscard]] std::string contradictionIn(const Cdp& cdp);

/// A line: `CDP: 29.97 frames/s, counter 0, 20 triplets: field 1 942c, 19 padding; length and checksum as in the
/// standard`.
[[nodiscard]] std::string cdpInWords(std::span<const std::uint8_t> data);

/// The field 1 byte pairs of a CDP, as the library sorts them.
[[nodiscard]] Data fieldOnePairs(const Data& packet);

}  // namespace qlx::tool
