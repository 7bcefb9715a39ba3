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

/// All kinds that SMPTE's register has, and the captions of ARIB STD-B37, which are not in it; by DID and SDID.
[[nodiscard]] QLX_EXPORT std::span<const RegisteredPacket> registeredPackets() noexcept;

/// The kind of a packet with these two words (the second one as it stands there, also of type 1); none for a pair that
/// nobody has registered.
[[nodiscard]] QLX_EXPORT std::optional<RegisteredPacket> registeredPacket(std::uint8_t did,
                                                                          std::uint8_t sdidOrDbn) noexcept;

}  // namespace qlx::anc
