// Subtitling data packets (SDP, SMPTE RDD 8) and the teletext packets in them (ETSI EN 300 706).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qlx::tool {

inline constexpr std::size_t kTeletextDataSize = 40;
inline constexpr std::uint8_t kHighestTeletextRow = 24;

using TeletextBytes = std::span<const std::uint8_t, kTeletextDataSize>;

/// The four bits of a Hamming 8/4 byte (EN 300 706, clause 8.2), with one wrong bit put right; none for two wrong ones.
[[nodiscard]] std::optional<std::uint8_t> nibbleOf(std::uint8_t byte) noexcept;

/// The seven bits of a byte with odd parity (EN 300 706, clause 8.1); none when the parity is even.
[[nodiscard]] std::optional<std::uint8_t> withoutParity(std::uint8_t byte) noexcept;

/// One teletext packet.
struct TeletextPacket {
    std::uint8_t magazine = 8;           ///< 1 to 8.
    std::uint8_t address = 0;            ///< The row (0 is the page header), as the standard and its receivers read it.
    std::uint8_t firstAddress = 0;       ///< The four bits of the first address byte,
    std::uint8_t lastAddress = 0;        ///< and of the second.
    std::span<const std::uint8_t> data;  ///< 40 bytes as they were sent.

    /// Whether it only fills its place: packet 31 of magazine 8.
    [[nodiscard]] bool isFilling() const noexcept { return magazine == 8 && address == 31; }
};

/// A subtitling data packet: its teletext packets, of which those whose framing code or address is damaged are none.
struct SubtitlingPacket {
    std::vector<std::optional<TeletextPacket>> packets;
};

/// Reads an SDP: as many teletext packets (at most five) as its descriptors announce and its bytes hold.
/// @return None when the bytes do not begin as an SDP with teletext does. The result refers to `bytes`.
[[nodiscard]] std::optional<SubtitlingPacket> readSubtitlingPacket(std::span<const std::uint8_t> bytes);

/// A page header (EN 300 706, clause 9.3.1).
struct TeletextHeader {
    std::uint16_t page = 0;  ///< Magazine, tens and units as hexadecimal digits: 0x888.
    std::uint16_t subcode = 0;
    bool erasesPage = false;          ///< C4
    bool isNewsflash = false;         ///< C5: only what is boxed is shown.
    bool isSubtitle = false;          ///< C6: only what is boxed is shown.
    bool suppressesHeader = false;    ///< C7: row 0 is not shown.
    bool inhibitsDisplay = false;     ///< C10: nothing is shown.
    bool isSerial = false;            ///< C11: a header of any magazine ends the page.
    std::uint8_t nationalOption = 0;  ///< C12, C13, C14, the first of them highest.
};

/// `888`: the digits of a page number.
[[nodiscard]] std::string teletextPageName(std::uint16_t page);

/// Reads the data of a packet with address 0; none when a protected byte is damaged.
[[nodiscard]] std::optional<TeletextHeader> readTeletextHeader(const TeletextPacket& packet) noexcept;

/// The Unicode character of a code 0x20 to 0x7F of the Latin G0 set with a national option subset (EN 300 706, tables
/// 32, 35 and 36).
/// @param nationalOption 0 English, 1 German, 2 Swedish, Finnish and Hungarian, 3 Italian, 4 French, 5 Portuguese and
///   Spanish, 6 Czech and Slovak; 7, which the table leaves open, counts as English.
[[nodiscard]] char32_t teletextCharacter(std::uint8_t code, std::uint8_t nationalOption) noexcept;

/// The Unicode character (block element or sextant) of a mosaic code 0x20 to 0x3F or 0x60 to 0x7F.
[[nodiscard]] char32_t teletextMosaic(std::uint8_t code) noexcept;

}  // namespace qlx::tool
