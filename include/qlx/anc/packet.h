// The ancillary data packet of SMPTE ST 291-1: what it is called, and the value that owns its contents.
//
//     const qlx::anc::Packet packet{.did = 0x61, .sdid = 0x01, .userData = {0x96, 0x69}, .line = 9};
//     std::array<std::uint16_t, qlx::anc::kGreatestPacketWords> words;
//     const qlx::Result<std::size_t> count = qlx::anc::writeWords(packet, words);
//     if (count) { use(std::span(words).first(*count)); }
#pragma once

#include <qlx/base/result.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace qlx::anc {

/// Most user data words of a packet: the data count has eight bits.
inline constexpr std::size_t kGreatestUserData = 255;

/// Most words of a packet: flag, DID, SDID (or DBN), data count, user data and checksum.
inline constexpr std::size_t kGreatestPacketWords = 3 + 3 + kGreatestUserData + 1;

/// DID and SDID of a packet. A type 1 packet (DID from 80h on) has a data block number in place of the SDID, which
/// does not say what it is: its SDID is 0 here.
struct PacketId {
    std::uint8_t did = 0;   ///< Data identifier.
    std::uint8_t sdid = 0;  ///< Secondary data identifier.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const PacketId&, const PacketId&) noexcept = default;
};

/// True for the DID of a type 1 packet, whose second word is a data block number (DBN).
[[nodiscard]] constexpr bool isType1(std::uint8_t did) noexcept {
    return did >= 0x80;
}

/// The identification of a packet with these two words.
[[nodiscard]] constexpr PacketId packetId(std::uint8_t did, std::uint8_t sdidOrDbn) noexcept {
    return {did, isType1(did) ? std::uint8_t{0} : sdidOrDbn};
}

/// Packets of captions, subtitles and triggers, and those that describe a frame, by the register of SMPTE ST 291-1.
namespace ids {
inline constexpr PacketId kCdp{0x61, 0x01};         ///< Caption distribution packet (SMPTE ST 334-1).
inline constexpr PacketId kCea608{0x61, 0x02};      ///< One CEA-608 pair (SMPTE ST 334-1).
inline constexpr PacketId kOp47{0x43, 0x02};        ///< Subtitling distribution packet (SMPTE RDD 8).
inline constexpr PacketId kScte104{0x41, 0x07};     ///< SCTE-104 message (SMPTE ST 2010).
inline constexpr PacketId kAfdBarData{0x41, 0x05};  ///< Active format description and bar data (SMPTE ST 2016-3).
inline constexpr PacketId kPanScan{0x41, 0x06};     ///< Pan-scan information (SMPTE ST 2016-4).
inline constexpr PacketId kAtc{0x60, 0x60};         ///< Ancillary time code (SMPTE ST 12-2).
inline constexpr PacketId kPayloadIdentifier{0x41, 0x01};     ///< Payload identifier (SMPTE ST 352).
inline constexpr PacketId kStereoscopic{0x41, 0x0A};          ///< Frame-compatible packing of 3D (SMPTE ST 2068).
inline constexpr PacketId kHdrMetadata{0x41, 0x0C};           ///< HDR and WCG metadata (SMPTE ST 2108-1).
inline constexpr PacketId kHdrMetadataKlv{0x41, 0x0D};        ///< The same as KLV (SMPTE ST 2108-2).
inline constexpr PacketId kKlvMetadata{0x44, 0x04};           ///< KLV metadata in the vertical interval (SMPTE RP 214).
inline constexpr PacketId kTwoFrameMarker{0x46, 0x01};        ///< Two-frame marker (SMPTE ST 2051).
inline constexpr PacketId kWideScreenSignalling{0x50, 0x01};  ///< Wide-screen signalling (SMPTE RDD 8).
inline constexpr PacketId kHighFrameRateTimeCode{0x60, 0x61};  ///< Time code of high frame rates (SMPTE ST 12-3).
inline constexpr PacketId kTimeCodeOfHanc{0x64, 0x64};         ///< Time code in horizontal data (SMPTE RP 196).
inline constexpr PacketId kVitcOfHanc{0x64, 0x7F};             ///< VITC in horizontal data (SMPTE RP 196).
inline constexpr PacketId kErrorDetection{0xF4, 0x00};         ///< Checks of the picture (SMPTE RP 165); of type 1.
}  // namespace ids

/// What people call packets with these two words (the second one as it stands there, also of type 1): `CEA608`, `CEA708`,
/// `OP-47`, `SCTE104`, `Timecode`, `AFD/Bar Data` ...; `Unknown` for others.
[[nodiscard]] QLX_EXPORT std::string_view kindName(std::uint8_t did, std::uint8_t sdidOrDbn) noexcept;

/// The stream of words that a packet stands in.
enum class Channel : std::uint8_t {
    Luma,         ///< Y samples.
    Chroma,       ///< Cb and Cr samples in turn.
    SdMultiplex,  ///< All samples as one stream (Cb Y Cr Y ...), as in standard definition.
};

/// The name of a stream of words: `luma`, `chroma`, `multiplex`.
[[nodiscard]] constexpr std::string_view nameOf(Channel channel) noexcept {
    return channel == Channel::Luma ? "luma" : channel == Channel::Chroma ? "chroma" : "multiplex";
}

/// The stream of words with that name; none with any other.
[[nodiscard]] constexpr std::optional<Channel> channelNamed(std::string_view name) noexcept {
    for (const Channel channel : {Channel::Luma, Channel::Chroma, Channel::SdMultiplex}) {
        if (nameOf(channel) == name) {
            return channel;
        }
    }
    return std::nullopt;
}

/// What is known of a packet's check bits.
enum class Status : std::uint8_t {
    Right,
    Wrong,
    NotCarried,  ///< The row has no room for it, or its writer left it out.
};

/// What a packet says. The user data are somebody else's bytes.
struct PacketContentView {
    std::uint8_t did = 0;                    ///< Data identifier.
    std::uint8_t sdid = 0;                   ///< DBN for type 1.
    std::span<const std::uint8_t> userData;  ///< At most kGreatestUserData bytes.
};

/// A packet with its own user data, and the place where it was.
struct Packet {
    std::uint8_t did = 0;                ///< Data identifier.
    std::uint8_t sdid = 0;               ///< DBN for type 1.
    std::vector<std::uint8_t> userData;  ///< At most kGreatestUserData bytes.
    std::uint32_t line = 0;              ///< Line number.
    std::uint32_t horizontalOffset = 0;  ///< Words of the channel in front of the flag.
    Channel channel = Channel::Luma;     ///< The stream of words that it stood in.

    /// What the packet is.
    [[nodiscard]] PacketId id() const noexcept { return packetId(did, sdid); }
    /// What it says, without its place.
    [[nodiscard]] PacketContentView content() const noexcept { return {did, sdid, userData}; }
    /// The same, where a content is wanted.
    operator PacketContentView() const noexcept { return content(); }

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Packet&, const Packet&) = default;
};

/// Words of a packet with `userData` user data words.
[[nodiscard]] constexpr std::size_t packetWords(std::size_t userData) noexcept {
    return userData + kGreatestPacketWords - kGreatestUserData;
}

/// Writes a packet as 10-bit words, from the flag to the checksum, with the parity of bit 8 and its inverse in bit 9
/// (SMPTE ST 291-1). Gives the words written; a Finding when there are more than 255 user data words
/// (AncTooManyUserDataWords) or `room` is too small (OutputTooSmall, in bytes).
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeWords(const PacketContentView& packet, std::span<std::uint16_t> room);

}  // namespace qlx::anc
