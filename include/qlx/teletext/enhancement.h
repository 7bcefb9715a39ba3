// What packets X/26 put over the rows of a page at level 1.5, and packets X/28/0 and M/29/0 that designate its sets
// (ETSI EN 300 706, clauses 9.4 and 12.3).
//
//     const std::array<qlx::teletext::Placement, 1> placements{{{.row = 20, .column = 5, .mode = 0x0F, .code = 0x55}}};
//     std::array<qlx::teletext::Packet, qlx::teletext::kEnhancementPackets> room;
//     const std::size_t count = qlx::teletext::enhancementPackets(placements, 8, room, &findings);
//     for (const auto& packet : std::span(room).first(count)) { send(packet); }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/result.h>
#include <qlx/teletext/packet.h>
#include <qlx/teletext/sets.h>

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::teletext {

/// Packets X/26 of a page: designations 0 to 15.
inline constexpr std::size_t kEnhancementPackets = 16;

/// Modes of row triplets (EN 300 706, table 27).
enum class RowMode : std::uint8_t {
    SetActivePosition = 0x04,
    AddressRowZero = 0x07,
    Termination = 0x1F,
};

/// Modes of column triplets that put a character over a cell at level 1.5 (EN 300 706, table 29).
enum class ColumnMode : std::uint8_t {
    G3Character = 0x02,  ///< A line drawing or smoothed mosaic.
    G2Character = 0x0F,  ///< Of the page's supplementary set.
    PlainLetter = 0x10,  ///< Of the Latin set without a national option; code 2Ah is the commercial at.
    LastMark = 0x1F,     ///< From 11h on: such a letter with mark 1 to 15.
};

/// The number of a mode in a triplet.
[[nodiscard]] constexpr std::uint8_t modeOf(ColumnMode mode) noexcept {
    return static_cast<std::uint8_t>(mode);
}
/// The same.
[[nodiscard]] constexpr std::uint8_t modeOf(RowMode mode) noexcept {
    return static_cast<std::uint8_t>(mode);
}

/// A character that stands over a cell. They are ordered as they are sent.
struct Placement {
    std::uint8_t row = 1;                                 ///< 0 to 24.
    std::uint8_t column = 0;                              ///< 0 to 39.
    std::uint8_t mode = modeOf(ColumnMode::G2Character);  ///< 02h, 0Fh, or 10h to 1Fh: 10h and the number of a mark.
    std::uint8_t code = kFirstCharacterCode;              ///< 20h to 7Fh.

    /// By row, column, mode and code.
    [[nodiscard]] friend constexpr auto operator<=>(const Placement&, const Placement&) noexcept = default;
};

/// Packs placements into packets X/26: rows and columns ascending, a row triplet in front of each row's, terminators
/// behind the last. Of several at one place the last one given is sent. Allocates nothing for up to 208 placements.
/// @param placements In any order.
/// @param magazine 1 to 8.
/// @param packets Room for them; sixteen are as many as there can be.
/// @param findings TeletextPlacementLeftOut for each that has no place in the packets or is none (row, column).
/// @return How many packets there are; 0 without placements.
QLX_EXPORT std::size_t enhancementPackets(std::span<const Placement> placements, std::uint8_t magazine,
                                          std::span<Packet> packets, FindingSink* findings = nullptr);

/// The packet X/28/0, format 1 (EN 300 706, clause 9.4.2), of a page of level 1 whose set is designated; colours and
/// the rest are those that receivers have without it. TeletextFieldTooGreat for a magazine that is not 1 to 8, and for a
/// designation above 7Fh.
[[nodiscard]] QLX_EXPORT Result<Packet> designationPacket(std::uint8_t magazine, std::uint8_t designation);
/// The packet M/29/0 that says the same for all pages of a magazine (EN 300 706, clause 9.5).
[[nodiscard]] QLX_EXPORT Result<Packet> magazineDesignationPacket(std::uint8_t magazine, std::uint8_t designation);

/// The designation of packets X/28/0 and M/29/0; none for another packet, for one of a page that is not of level 1, and
/// for one that is damaged there.
[[nodiscard]] QLX_EXPORT std::optional<std::uint8_t> designationIn(const TripletPacket& packet) noexcept;

}  // namespace qlx::teletext
