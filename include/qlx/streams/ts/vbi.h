// Lines of the vertical blanking interval in PES packets: teletext (ETSI EN 300 472) and what EN 301 775 puts beside it.
//
//     qlx::streams::ts::VbiPacket vbi;
//     if (qlx::streams::ts::readVbi(pes, vbi, &findings)) {
//         for (const qlx::teletext::SdpLine& line : vbi.teletext) { use(line.line(), line.bytes); }
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/cc/triplet.h>
#include <qlx/streams/export.h>
#include <qlx/streams/ts/packet.h>
#include <qlx/streams/ts/pes.h>
#include <qlx/teletext/sdp.h>

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams::ts {

/// data_unit_id of what a PES packet of VBI data holds (EN 301 775, table 3).
enum class VbiUnit : std::uint8_t {
    Teletext = 0x02,          ///< EBU teletext that is no subtitles.
    TeletextSubtitle = 0x03,  ///< EBU teletext subtitles.
    InvertedTeletext = 0xC0,  ///< Teletext with an inverted framing code.
    Vps = 0xC3,               ///< Video programming system.
    Wss = 0xC4,               ///< Widescreen signalling.
    ClosedCaptions = 0xC5,    ///< Line 21.
    Monochrome = 0xC6,        ///< Samples of a line.
    Stuffing = 0xFF,          ///< Nothing.
};

inline constexpr std::uint8_t kTeletextDataIdentifier = 0x10;  ///< EBU data, as subtitles have it: 10h to 1Fh.
inline constexpr std::size_t kTeletextUnitBytes = 0x2C;        ///< data_unit_length of teletext.
inline constexpr std::uint8_t kTransportFramingCode = 0xE4;    ///< First transmitted bit highest.
inline constexpr std::uint8_t kVbiHeaderLength = 0x24;         ///< PES_header_data_length (EN 300 472, clause 4.2).

/// Whether PES packets with this data_identifier hold data units of VBI lines: 10h to 1Fh, 99h to 9Bh.
[[nodiscard]] constexpr bool isVbiDataIdentifier(std::uint8_t identifier) noexcept {
    return (identifier >= 0x10 && identifier <= 0x1F) || (identifier >= 0x99 && identifier <= 0x9B);
}

/// What a PES packet of VBI data holds.
struct VbiPacket {
    std::uint8_t dataIdentifier = kTeletextDataIdentifier;  ///< Its first byte.
    std::vector<teletext::SdpLine> teletext;                ///< Lines of units 02h and 03h. A line of 0 is not known.
    std::vector<cc::Triplet> captions;                      ///< Of units C5h.
    std::bitset<256> others;                                ///< Bit n: there are units n that are not read.

    /// Forgets all.
    void clear() noexcept;
};

/// Reads the data units of a PES packet. What cannot be read is passed over with a finding: TsDataUnitWrong for a unit of
/// another length, with another framing code or longer than the packet, TsDataIdentifierUnknown for no VBI data at all.
/// @param pes As PesReader gives it; of one that is cut, the units that are whole are read.
/// @param packet Gets what was read.
/// @return Whether it is VBI data.
QLX_STREAMS_EXPORT bool readVbi(const PesView& pes, VbiPacket& packet, FindingSink* findings = nullptr);

/// Whether it looks like a PES packet of VBI data from its beginning to its end, whatever a table says of it.
[[nodiscard]] QLX_STREAMS_EXPORT bool isVbi(const PesView& pes) noexcept;

/// Writes a PES packet of teletext: private_stream_1, a header of 24h bytes with the time, data_alignment_indicator,
/// data_identifier 10h, a unit for each line, and stuffing units up to N x 184 bytes.
/// @param lines In their order. Their first three bytes, run-in and framing code, are not looked at.
/// @param pts In 90 kHz; the low 33 bits count.
/// @param isSubtitle Whether units are 03h, or 02h.
/// @param pes Becomes the packet.
/// @return False, and nothing is written, for more lines than a PES packet holds (1,423).
[[nodiscard]] QLX_STREAMS_EXPORT bool writeTeletextPes(std::span<const teletext::SdpLine> lines, std::uint64_t pts,
                                                       bool isSubtitle, std::vector<std::uint8_t>& pes);

}  // namespace qlx::streams::ts
