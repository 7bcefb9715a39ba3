// What a caption distribution packet (CDP, SMPTE ST 334-2) and its triplets hold, in words.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <qlx/cc/cdp.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// What a triplet is, by cc_valid and cc_type: `field 1`, `field 2`, `DTVCC data`, `DTVCC start`, `padding`.
[[nodiscard]] std::string_view nameOf(const cc::Triplet& triplet) noexcept;

/// A CDP, and what listings and conversions say of it. What is not there, or not as the standard has it, is said and
/// never refused.
struct ReadCdp {
    cc::Cdp cdp;
    std::string_view rate;                 ///< `29.97`; empty for a code without a rate.
    std::optional<std::size_t> ccCount;    ///< As it is announced; none without a cc_data section.
    std::optional<Finding> length;         ///< CdpLengthWrong.
    std::optional<Finding> checksum;       ///< CdpChecksumWrong, or that there is no whole footer.
    std::optional<Finding> contradiction;  ///< Another number of triplets than announced, or no such section.
    std::optional<Finding> otherSection;   ///< A section that is none, where the triplets are announced.
};

/// The triplets of cc_data, three bytes each; what is left behind the last whole one is not looked at.
[[nodiscard]] std::vector<cc::Triplet> readTriplets(std::span<const std::uint8_t> triplets);

/// A line: `20 triplets: field 1 942c, 19 padding`.
[[nodiscard]] std::string tripletsInWords(std::span<const std::uint8_t> triplets);

/// Reads a packet's data; none when they do not begin as a CDP does, or end inside its header.
[[nodiscard]] std::optional<ReadCdp> readCdp(std::span<const std::uint8_t> data);

/// What contradicts itself in a packet's cc_data section: `cc_count 20, of which 1 is there`, `cc_count 2, but 3 are
/// there`, `section 55 where cc_data (72) is announced`, `cc_data (72) is announced, but not there`. Empty without a
/// contradiction.
[[nodiscard]] std::string contradictionIn(const ReadCdp& packet);

/// A line: `CDP: 29.97 frames/s, counter 0, 20 triplets: field 1 942c, 19 padding; length and checksum as in the
/// standard`.
[[nodiscard]] std::string cdpInWords(std::span<const std::uint8_t> data);

/// The byte pairs of field 1 that are valid, without null pairs behind the first one.
[[nodiscard]] Data fieldOnePairs(std::span<const cc::Triplet> triplets);

}  // namespace qlx::tool
