// The register of ancillary data packets (SMPTE ST 291-1): what each DID and SDID stands for, who defines it, and where
// such packets are.
//
//     if (const auto kind = qlx::anc::registeredPacket(packet.did, packet.sdid)) {
//         use(kind->name, kind->standard);
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/anc/packet.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace qlx::anc {

/// Where packets of a kind are.
enum class Space : std::uint8_t {
    Either,      ///< The register does not say one.
    Vertical,    ///< VANC: in lines of the vertical interval.
    Horizontal,  ///< HANC: between the end and the start of a line's picture.
    Active,      ///< In the lines of the picture itself.
};

/// A kind of packet.
struct RegisteredPacket {
    PacketId id;                  ///< Of a type 1 packet the SDID is 0.
    std::string_view name;        ///< A few words, at most 17 characters.
    std::string_view standard;    ///< The document that defines it: `SMPTE ST 2016-3`, `ARIB STD-B37`.
    Space space = Space::Either;  ///< Where it is.

    /// Whether its second word is a data block number.
    [[nodiscard]] constexpr bool isType1() const noexcept { return anc::isType1(id.did); }
};

/// All kinds, by DID and SDID: the 81 assignments that SMPTE's register of identifications has in 2026 (47 pairs of
/// type 2, and 34 DIDs without a second word: 33 of type 1, and 00h, which stands here with the SDID 00h), and the five
/// pairs of ARIB that are not in it (5F/DC to 5F/DF of STD-B37, 5F/FE of STD-B39).
[[nodiscard]] QLX_EXPORT std::span<const RegisteredPacket> registeredPackets() noexcept;

/// The kind of a packet with these two words (the second one as it stands there, also of type 1); none for a pair that
/// nobody has registered.
[[nodiscard]] QLX_EXPORT std::optional<RegisteredPacket> registeredPacket(std::uint8_t did,
                                                                          std::uint8_t sdidOrDbn) noexcept;

}  // namespace qlx::anc
