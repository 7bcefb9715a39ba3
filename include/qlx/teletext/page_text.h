// The text of a teletext page as rows of styled characters, and the codes of a row (ETSI EN 300 706, clause 12.2).
//
//     qlx::teletext::PageText text;
//     text.rows.push_back({.row = 22, .column = 4, .cells = cells});
//     for (const qlx::teletext::PageRow& row : text.rows) {
//         if (const auto coded = qlx::teletext::codeRow(row, text.designation, &findings)) { use(coded->codes); }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/screen/screen.h>
#include <qlx/teletext/enhancement.h>
#include <qlx/teletext/packet.h>
#include <qlx/teletext/page.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::teletext {

/// The last rows of a page on which subtitles stand.
inline constexpr std::uint8_t kLastTextRow = 23;
/// The last row on which characters of double height begin.
inline constexpr std::uint8_t kLastTallRow = 22;

/// A row of text. Of a letter its character, both colours, whether it flashes and whether it is visible are used; the
/// picture shows through cells that are not. The other attributes have no form in teletext subtitles: letters and what
/// is behind them are solid. Of a blank cell nothing counts: it is as a letter beside it.
struct PageRow {
    std::uint8_t row = kLastTallRow;    ///< 1 to 22, of single height 1 to 23.
    std::uint8_t column = 0;            ///< Of the first cell, 0 to 39.
    bool isDoubleHeight = true;         ///< Characters stand on this row and the next one.
    std::vector<screen::Cell> cells{};  ///< One a column.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const PageRow&, const PageRow&) = default;
};

/// A row as it is sent.
struct CodedRow {
    std::uint8_t row = kLastTallRow;               ///< 1 to 23.
    bool isDoubleHeight = true;                    ///< The row below it is hidden.
    std::array<std::uint8_t, kDataBytes> codes{};  ///< Seven bits each.
    std::vector<Placement> placements{};           ///< What X/26 puts over it, by column.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const CodedRow&, const CodedRow&) = default;
};

/// The nearest colour that letters have: the basic ones without black.
[[nodiscard]] constexpr screen::Color letterColor(screen::Color color) noexcept {
    const std::size_t index = screen::basicIndex(color);
    return index == 0 ? screen::Color::White : screen::kBasicColors[index];
}

/// Codes that stand in front of a row's text: its colour, unless that is white, double height, and the beginning of the
/// box twice. The text may begin at this column, and has the columns from there on.
[[nodiscard]] constexpr std::size_t leadingCodes(bool isDoubleHeight, screen::Color first) noexcept {
    return 2U + (isDoubleHeight ? 1U : 0U) + (letterColor(first) == screen::Color::White ? 0U : 1U);
}

/// The same with the codes of what is behind the first letter, unless that is black, and of flashing, as far as a row
/// of so many cells has room for them.
/// @param size Cells of the row.
[[nodiscard]] QLX_EXPORT std::size_t leadingCodes(bool isDoubleHeight, const screen::Cell& first,
                                                  std::size_t size) noexcept;

/// The codes of a row. Its text stands in a box that has one blank cell more on each side, where the row has room for
/// it; cells that are not visible end a box and begin another where there are four of them (and one for each code of a
/// new look), and are spaces of the box otherwise. Codes stand in front of the box, and then take the places of
/// spaces: a colour one, a background up to two more (its colour as that of letters, and 1/D; black one, 1/C),
/// flashing and its end one. Where there are too few flashing gives way first, then the background, then the colour,
/// and the old look stays up to the next space (TeletextFlashKept, TeletextBackgroundKept, TeletextColorKept); at the
/// beginning letters are white on black, and do not flash. A background of the letters' own colour is left out.
/// Characters stand as they are shown: displayCells() gives those of a text. One that the set lacks is put over its
/// nearest letter by X/26, if that has it (TeletextCharacterReplaced, TeletextCharacterMissing).
///
/// Text that begins in front of the codes that it needs, or would end behind the row, is moved (TeletextRowMoved), and
/// what still has no room is cut off (TeletextRowCut). Colours of letters that are none of the seven, and of
/// backgrounds that are none of the eight, become the nearest (TeletextColorChanged), and all attributes that have no
/// form are left out (TeletextStyleLeftOut).
/// @param row What it shows.
/// @param designation The character set, as in PageText.
/// @param findings What is not shown as it was asked for; may be null.
/// @param offset What findings have as their offset.
/// @return None when nothing of it is visible, or the page does not have such a row (TeletextRowLeftOut).
[[nodiscard]] QLX_EXPORT std::optional<CodedRow> codeRow(const PageRow& row, std::uint8_t designation,
                                                         FindingSink* findings = nullptr, std::uint64_t offset = 0);

/// What a page shows for a while.
struct PageText {
    std::uint16_t page = kSubtitlePage;  ///< 0x100 to 0x899; its digits are decimal ones.
    std::uint16_t subcode = 0;           ///< As in PageHeader.
    std::uint64_t start = 0;             ///< The frame from which on it is shown.
    std::uint64_t end = 0;               ///< The frame from which on it is not, behind `start`.
    std::uint8_t designation = 0;        ///< Of the character set: 0 to 7Fh (characterSetOf).
    std::vector<PageRow> rows{};         ///< In any order.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const PageText&, const PageText&) = default;
};

/// The same with coded rows.
struct CodedPage {
    std::uint16_t page = kSubtitlePage;  ///< As in PageText, as all other fields.
    std::uint16_t subcode = 0;           ///< The same.
    std::uint64_t start = 0;             ///< The same.
    std::uint64_t end = 0;               ///< The same.
    std::uint8_t designation = 0;        ///< The same.
    std::vector<CodedRow> rows{};        ///< In ascending order, none twice, none below one of double height.
    std::uint64_t findingsOffset = 0;    ///< What findings have as their offset.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const CodedPage&, const CodedPage&) = default;
};

/// Puts a row among the others of a page: false, and nothing is changed, when it, or one of double height, has its place.
QLX_EXPORT bool insertRow(std::vector<CodedRow>& rows, const CodedRow& row);

}  // namespace qlx::teletext
