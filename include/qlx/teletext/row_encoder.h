// Texts as the codes of a page's rows, with what packets X/26 put over them where the set lacks a character.
//
//     const auto set = qlx::teletext::characterSetOf(qlx::teletext::designationOf("fr").value());
//     std::array<std::uint8_t, qlx::teletext::kDataBytes> codes;
//     codes.fill(0x20);
//     std::vector<qlx::teletext::Placement> placements;
//     const auto cells = qlx::teletext::displayCells(U"\u00C9t\u00E9", *set, &findings);
//     qlx::teletext::encodeCells(cells, *set, 20, 2, codes, placements, &findings);   // E, and E acute over it
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/teletext/enhancement.h>
#include <qlx/teletext/sets.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::teletext {

/// A character as it stands on the screen, and where in the text it is from.
struct DisplayCell {
    char32_t character = U' ';  ///< One character; an Arabic letter in the form that its place asks for.
    std::size_t source = 0;     ///< Place of its (first) character in the text.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const DisplayCell&, const DisplayCell&) noexcept = default;
};

/// The cells of one row's text, from the left to the right of the screen. Letters are joined with the combining marks
/// behind them. In a set that is written from the right to the left, the text is put into display order: its direction
/// is that of its first letter, runs of Latin letters and digits keep their order, brackets are mirrored, Arabic letters
/// take their forms, and lam with alef takes one cell.
/// @param text One row, in the order in which it is read.
/// @param findings TeletextMarkLeftOut for a mark that no letter takes: its character, its place.
[[nodiscard]] QLX_EXPORT std::vector<DisplayCell> displayCells(std::u32string_view text, const CharacterSet& set,
                                                               FindingSink* findings = nullptr);

/// How a character is sent.
struct CellCode {
    /// How much of the character it keeps.
    enum class Fit : std::uint8_t {
        Exact,     ///< It is shown as it is.
        Replaced,  ///< Another one is shown, which is much like it.
        Missing,   ///< It has no place; what is nearest is shown, or a question mark.
    };

    std::uint8_t code = kFirstCharacterCode;  ///< In the row: what receivers of level 1 show.
    std::uint8_t mode = 0;                    ///< Of the placement over it (Placement::mode); 0 for none.
    std::uint8_t placedCode = 0;              ///< Of the placement.
    char32_t shown = U' ';                    ///< What a receiver of level 1.5 shows.
    Fit fit = Fit::Exact;                     ///< Whether that is what was asked for.

    /// Whether X/26 puts something over it.
    [[nodiscard]] constexpr bool isPlaced() const noexcept { return mode != 0; }
    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const CellCode&, const CellCode&) noexcept = default;
};

/// How one character is sent in a set.
[[nodiscard]] QLX_EXPORT CellCode encodeCharacter(char32_t character, const CharacterSet& set) noexcept;

/// Encodes cells that stand side by side in a row.
/// @param cells From displayCells(), or a part of them.
/// @param row 1 to 24, for the placements.
/// @param column Of the first cell.
/// @param codes Of the whole row; those of the cells are set.
/// @param placements Those of the cells are added.
/// @param findings TeletextCharacterReplaced (Remark) and TeletextCharacterMissing (Error): Unicode character there,
/// one that is shown for it. Their offset is the place in the text.
/// @return How many cells there was room for, up to column 39.
QLX_EXPORT std::size_t encodeCells(std::span<const DisplayCell> cells, const CharacterSet& set, std::uint8_t row,
                                   std::size_t column, std::span<std::uint8_t, kDataBytes> codes,
                                   std::vector<Placement>& placements, FindingSink* findings = nullptr);

/// Finds the set for texts: the one that loses the fewest characters, of these the one that needs the fewest placements,
/// of these that of the Western region, of these the lowest.
class SetChoice {
public:
    /// Counts the characters of a row.
    QLX_EXPORT void add(std::u32string_view text);
    /// The designation that is best for what was added: the one with the fewest characters that are lost, then with the
    /// fewest that X/26 must place, then one that receivers of the region have, then the lowest.
    /// @param region As in needsDesignationPacket().
    [[nodiscard]] QLX_EXPORT std::uint8_t designation(std::uint8_t region = 0) const;

private:
    std::map<char32_t, std::uint64_t> _counts;
};

}  // namespace qlx::teletext
