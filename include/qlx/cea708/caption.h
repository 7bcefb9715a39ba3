// A caption of CTA-708 as rows of styled characters, and the commands that write it.
//
//     qlx::cea708::Caption caption;
//     caption.rows.push_back({15, qlx::cea708::columnOfLine21(4), cells});
//     std::vector<std::uint8_t> bytes;
//     qlx::cea708::encodeCaption(caption, {}, bytes);
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/cea708/commands.h>
#include <qlx/cea708/window.h>
#include <qlx/screen/screen.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace qlx::cea708 {

/// How captions come to the screen.
enum class CaptionStyle : std::uint8_t {
    PopOn,    ///< Loaded into a hidden window, which is shown at once.
    RollUp,   ///< Written into the lowest row of a window, whose rows move up for it.
    PaintOn,  ///< Written into a window that is shown.
};

/// A row of a caption. Of a cell its character, its colours, opacities and edge, font, size and offset, italics and
/// underline, and whether it is visible and flashes are used; the picture shows through cells that are not visible.
/// A letter flashes where either the cell or its opacity says so. Second halves of letters of double width or height,
/// and concealed letters, are spaces, with a finding.
struct CaptionRow {
    std::uint8_t row = kRows;           ///< 1 to 15.
    std::uint8_t column = 0;            ///< Of the first cell, from 0 on: columns of the screen (columnsOf()).
    std::vector<screen::Cell> cells{};  ///< One a column.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const CaptionRow&, const CaptionRow&) = default;
};

/// What is shown for a while.
struct Caption {
    std::uint64_t start = 0;                      ///< The frame from which on it is shown.
    std::uint64_t end = 0;                        ///< The frame from which on it is not, behind `start`.
    std::uint8_t service = 1;                     ///< 1 to 63.
    CaptionStyle style = CaptionStyle::PopOn;     ///< How it comes to the screen.
    std::uint8_t rollUpRows = 2;                  ///< RollUp: 2 to 4; the last of `rows` says where the lowest is.
    AnchorPoint anchor = AnchorPoint::LowerLeft;  ///< What stays where it is when a receiver uses another font size.
    std::vector<CaptionRow> rows{};               ///< From the top down, at most 15.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Caption&, const Caption&) = default;
};

/// The column that has the place of one of the 32 of CEA-608: the same at 4:3, five to the right of it at 16:9, where
/// the 32 stand in the middle of 42.
[[nodiscard]] constexpr std::uint8_t columnOfLine21(std::size_t column,
                                                    AspectRatio ratio = AspectRatio::Wide) noexcept {
    return static_cast<std::uint8_t>(column + (columnsOf(ratio) - kStandardColumns) / 2);
}

/// How captions are encoded.
struct EncodeOptions {
    AspectRatio aspectRatio = AspectRatio::Wide;  ///< Of the picture: it says how many columns there are.
    bool usesWideCharacters = false;              ///< What G0 to G3 do not have is sent behind P16.
    std::uint8_t window = 0;                      ///< The window that it is written into.
    std::uint64_t findingsOffset = 0;             ///< What findings have as their offset.
    /// With usesWideCharacters: the 16-bit code of a character, none for one without. Where it is empty they are
    /// UTF-16.
    std::function<std::optional<std::uint16_t>(char32_t character)> wideCode{};
    /// The window of the lower rows, where they have one of their own; where it is `window`, all rows are in that one.
    std::uint8_t lowerWindow = 3;
};

/// So many blank rows between two rows of a caption are the fewest where the lower ones have a window of their own.
inline constexpr std::size_t kRowsBetweenWindows = 3;

/// Appends the commands that write a caption: the definition of its window, hidden for pop-on captions, then its text,
/// and ETX. Those that show, hide or delete windows are not among them: they have times.
///
/// The window of a pop-on or paint-on caption is as large as its text, that of a roll-up one has all columns, and
/// begins with CR for each row of text. Rows far from one another (kRowsBetweenWindows) are two such windows, so that
/// neither covers the picture between them, and each stays where it is when a receiver uses another font size: one in
/// the upper half of the screen is held at its top, one in the lower half at its bottom, each at the side of the
/// caption's anchor. They are parted at the widest gap, the lowest of equal ones. Where no text is the picture shows. A
/// row that does not fit is moved to the left, and cut where it has more columns than the screen; rows that do not
/// stand one below the other are moved.
///
/// Findings of styles name columns of the screen; those of roll-up captions, whose text is all written into one row,
/// name the row and columns that are asked for.
/// @param bytes Where they are appended; nothing is when no cell is visible.
/// @param findings What is not shown as it was asked for; may be null.
/// @return The windows that it has: bit n for window n; 0 when nothing is appended.
QLX_EXPORT std::uint8_t encodeCaption(const Caption& caption, const EncodeOptions& options,
                                      std::vector<std::uint8_t>& bytes, FindingSink* findings = nullptr);

}  // namespace qlx::cea708
