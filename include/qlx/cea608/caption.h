// A caption of CEA-608 (CTA-608-E; 47 CFR 15.119) as rows of styled characters, and the byte pairs that write it.
//
//     qlx::cea608::Caption caption;
//     caption.rows.push_back({15, 4, cells});
//     std::vector<qlx::cea608::CodePair> pairs;
//     qlx::cea608::encodeCaption(caption, {}, pairs);
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/cea608/codes.h>
#include <qlx/screen/screen.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qlx::cea608 {

/// Rows that a caption has at most.
inline constexpr std::size_t kGreatestCaptionRows = 4;

/// How captions come to the screen.
enum class CaptionStyle : std::uint8_t {
    PopOn,    ///< Loaded unseen, and shown at once.
    RollUp,   ///< Written letter by letter into the lowest of some rows, which move up for it.
    PaintOn,  ///< Written letter by letter where it stands.
};

/// A row of a caption. Of a cell its character, both colours, the opacity of its background, its italics, its
/// underline, whether it flashes and whether it is visible are used; the picture shows through cells that are not.
/// Letters are solid, and backgrounds do not flash: there is a finding where something else is asked for. Second halves
/// of letters of double width or height, and concealed letters, are spaces, with a finding. Of a space only the
/// background counts: it has the other attributes of a character beside it.
struct CaptionRow {
    std::uint8_t row = kRows;           ///< 1 to 15.
    std::uint8_t column = 0;            ///< Of the first cell, 0 to 31.
    std::vector<screen::Cell> cells{};  ///< One a column.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const CaptionRow&, const CaptionRow&) = default;
};

/// What is shown for a while.
struct Caption {
    std::uint64_t start = 0;                   ///< The frame from which on it is shown.
    std::uint64_t end = 0;                     ///< The frame from which on it is not, behind `start`.
    Channel channel = kCC1;                    ///< Where it is sent, whether or not it is that of text.
    CaptionStyle style = CaptionStyle::PopOn;  ///< How it comes to the screen.
    std::uint8_t rollUpRows = 2;     ///< RollUp: 2 to 4. Its lowest row stands where the last one of `rows` does.
    std::vector<CaptionRow> rows{};  ///< From the top down, at most four.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Caption&, const Caption&) = default;
};

/// Rows for the text mode of a channel. Each begins a row of the box, and of a row only the column and cells count.
struct TextMessage {
    std::uint64_t start = 0;         ///< The frame from which on it is sent, when there is room.
    Channel channel = kT1;           ///< Where, whether or not it is that of captions.
    bool restarts = true;            ///< It begins at the top of an empty box (TR), and not below what is there (RTD).
    std::vector<CaptionRow> rows{};  ///< As many as there are; one without a visible cell stays blank.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const TextMessage&, const TextMessage&) = default;
};

/// A pair to be sent, without parity bits.
struct CodePair {
    Pair pair;              ///< Its bytes.
    bool isJoined = false;  ///< Nothing else of its field may stand between the pair before it and this one.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const CodePair&, const CodePair&) noexcept = default;
};

/// How captions are encoded.
struct EncodeOptions {
    bool doublesCodes = true;          ///< Each pair whose first byte is 10h to 1Fh is sent twice.
    std::uint64_t findingsOffset = 0;  ///< What findings have as their offset.
};

/// The code that begins a caption of a style, and takes up again what another channel interrupted: RCL, RU2 to RU4 (of
/// any other number of rows the nearest), RDC.
[[nodiscard]] QLX_EXPORT Code modeCode(Channel channel, CaptionStyle style, std::uint8_t rollUpRows) noexcept;

/// The code behind which a text goes on that something else has interrupted: RTD.
[[nodiscard]] QLX_EXPORT Code textCode(Channel channel) noexcept;

/// Appends the pairs of a text: TR or RTD, then its rows, each but the first one behind TR with CR in front of it. Rows
/// are encoded as those of captions. The row of a finding's place is that of the box,
/// 15 from there on and behind RTD.
QLX_EXPORT void encodeText(const TextMessage& text, const EncodeOptions& options, std::vector<CodePair>& pairs,
                           FindingSink* findings = nullptr);

/// Appends the pairs of a caption: its mode code; in pop-on captions the one that erases the memory which is not shown;
/// then its rows. Those that show a pop-on caption (EOC) and erase it (EDM) are not among them: they have times.
///
/// A change of style takes the place of a space in front of it, or of the columns in front of text that begins behind
/// the third one. Where there are too few columns flashing gives way first, then italics, the background, and the
/// colour, and the old style stays up to the next space. Text keeps the place that is asked for: what begins on the
/// columns 0 to 3 has no more than its preamble says, a colour but black, or italics in white. Characters of the two
/// extended sets have one of the basic set in front of them for receivers that do not know them. Rows of more than 32
/// columns are broken at spaces.
///
/// Findings of styles name columns of the screen; those of roll-up captions, whose text is all written into one row,
/// name the row that is asked for, and the column that the cell would have in it.
/// @param pairs Where they are appended; nothing is when no cell is visible.
/// @param findings What is not shown as it was asked for; may be null.
QLX_EXPORT void encodeCaption(const Caption& caption, const EncodeOptions& options, std::vector<CodePair>& pairs,
                              FindingSink* findings = nullptr);

}  // namespace qlx::cea608
