// A subtitle as a value: what is shown from one moment to another, whatever file it came from.
//
//     for (const qlx::subtitles::Row& row : cue.rows) {
//         for (const qlx::subtitles::Run& run : row.runs) {
//             draw(run.text, run.style.foreground);
//         }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <qlx/screen/screen.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::subtitles {

/// Where the text of a row stands on it. The numbers are those of EBU STL (EBU Tech 3264, justification code); another
/// number that a file has is kept.
enum class Alignment : std::uint8_t {
    Unchanged,  ///< As the spaces of the text place it.
    Left,
    Center,
    Right,
};

/// How characters look.
struct Style {
    screen::Color foreground = screen::Color::White;  ///< Of the characters.
    std::optional<screen::Color> background;          ///< Behind them; none: what the receiver puts there.
    bool isBold = false;                              ///< Heavy.
    bool isItalic = false;                            ///< Slanted.
    bool isUnderlined = false;                        ///< With a line below.
    bool isFlashing = false;                          ///< On and off in turn.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Style&, const Style&) noexcept = default;
};

/// Something that a format says of a run or a cue and that has no field here. Whoever writes the same format puts it
/// back. What belongs to one format alone begins with its name: `srt.coordinates`, `vtt.v`.
struct Property {
    std::string name;   ///< What it is.
    std::string value;  ///< UTF-8, without line ends where a reader does not say otherwise.

    /// Whether both are equal.
    [[nodiscard]] friend bool operator==(const Property&, const Property&) = default;
};

/// All of a run or cue, in their order; a name may stand several times.
using Properties = std::vector<Property>;

/// The value of the first property called `name`; null when there is none.
[[nodiscard]] inline const std::string* valueOf(const Properties& properties, std::string_view name) noexcept {
    for (const Property& property : properties) {
        if (property.name == name) {
            return &property.value;
        }
    }
    return nullptr;
}

/// Properties that several formats have.
namespace properties {
/// Of a run: the colour of its characters as `#rrggbb`, where Style::foreground is only the one that is nearest to it.
inline constexpr std::string_view kColor = "color";
/// Of a run: how much of its characters hides the picture, `00` (they are not seen) to `fe`, two hexadecimal digits; all
/// without it.
inline constexpr std::string_view kColorAlpha = "color.alpha";
inline constexpr std::string_view kBackgroundAlpha = "background.alpha";  ///< The same of Style::background.
inline constexpr std::string_view kFontFace = "font.face";                ///< Of a run: the name of a font.
inline constexpr std::string_view kFontSize = "font.size";   ///< Of a run: a size, as the format writes it.
inline constexpr std::string_view kStruckOut = "strikeout";  ///< Of a run: there is a line through it.
}  // namespace properties

/// Characters that look alike.
struct Run {
    std::string text;         ///< UTF-8, without line ends.
    Style style;              ///< Of all of it.
    MediaTime from{};         ///< When it appears; not valid: with the cue, or with the run in front of it.
    Properties properties{};  ///< What the file says of it besides.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Run&, const Run&) = default;
};

/// The 24 bits of the colour of a run's characters: those of properties::kColor, as long as Style::foreground is the one
/// that is nearest to them, else its own.
[[nodiscard]] QLX_EXPORT std::uint32_t exactColorOf(const Run& run);
/// Gives a run a colour of 24 bits: the nearest one of a screen, and the exact one as a property where it is another.
QLX_EXPORT void setColor(Run& run, std::uint32_t color);

/// What properties::kColorAlpha or properties::kBackgroundAlpha says, 0 to 255; 255 where nothing does that can be
/// read.
[[nodiscard]] QLX_EXPORT std::uint8_t alphaOf(const Properties& properties, std::string_view name) noexcept;
/// Adds one of them to those of a run, unless it is 255.
QLX_EXPORT void setAlpha(Properties& properties, std::string_view name, std::uint8_t alpha);

/// A row of a cue. It may have no text, and then keeps a row of the screen free.
struct Row {
    std::vector<Run> runs;  ///< From left to right.
    /// On the screen, from the top, in rows as high as the text: 1 to 11 on a teletext page; 0: none is given, or none
    /// that there is.
    std::uint64_t number = 0;
    /// The place of the cue that the row belongs to, as on a numeric keypad: 1 bottom left, 5 middle, 9 top right; 0:
    /// none is given.
    std::uint8_t anchor = 0;
    Alignment alignment = Alignment::Center;  ///< On the row.
    std::uint16_t column = 0;  ///< Of its first character on the screen, counted from 1; 0: none is given.

    /// The text of all runs.
    [[nodiscard]] std::string text() const {
        std::string text;
        for (const Run& run : runs) {
            text += run.text;
        }
        return text;
    }

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Row&, const Row&) = default;
};

/// At which edge of a box its rows are.
enum class BoxEdge : std::uint8_t { Top, Middle, Bottom };

/// A part of the picture in which rows stand, in per cent of its width and height. Where they stand from left to right in
/// it is their Row::alignment.
struct Box {
    double left = 0;                 ///< Of its left edge.
    double top = 0;                  ///< Of its upper edge.
    double width = 100;              ///< Of it.
    double height = 100;             ///< Of it.
    BoxEdge edge = BoxEdge::Bottom;  ///< Where the rows begin, or end.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Box&, const Box&) noexcept = default;
};

/// A subtitle.
struct Cue {
    std::uint64_t number = 0;  ///< That the file gives it; it need not be unique.
    MediaTime start;           ///< When it appears.
    MediaTime end;             ///< When it goes.
    std::vector<Row> rows;     ///< From top to bottom.
    /// The rows of the screen that Row::number counts; 0: the kTallTeletextRows of a teletext page. A page itself has
    /// kTeletextRows or, counted with its header, kTeletextScreenRows.
    std::uint16_t screenRows = 0;
    std::uint16_t screenColumns = 0;  ///< The columns that Row::column counts; 0: not known.
    /// A name that the file gives it; of digits only for a number that Cue::number cannot say (`0`, `007`); or empty.
    std::string identifier{};
    std::string language{};   ///< Of the text, as in RFC 5646; empty: not known.
    std::string region{};     ///< The name of the region of the screen that it stands in; or empty.
    Properties properties{};  ///< What the file says of it besides.
    /// Where formats that have boxes (WebVTT, TTML, positions of SubStation Alpha) put it; none: as its rows say. Those
    /// that count rows go by the rows; teletext and wide captions by the box, where that came from them.
    std::optional<Box> box{};

    /// Whether all fields are equal: the same time in other terms is another value.
    [[nodiscard]] friend bool operator==(const Cue&, const Cue&) = default;
};

/// The rows of a teletext page on which subtitles stand, 1 to 23, as EBU STL counts them.
inline constexpr std::uint16_t kTeletextRows = 23;
/// The rows of double height that they make, each on two of these.
inline constexpr std::uint16_t kTallTeletextRows = 11;
/// All rows of a teletext page, 0 to 24, as its screen counts them (from 1).
inline constexpr std::uint16_t kTeletextScreenRows = 25;

/// The row of a teletext page, 0 to 24, on which a row of the cue stands; none where the cue counts those of another
/// screen, or the row has no number.
[[nodiscard]] constexpr std::optional<std::uint64_t> teletextRowOf(std::uint16_t screenRows,
                                                                   std::uint64_t number) noexcept {
    if (number == 0 || (screenRows != kTeletextRows && screenRows != kTeletextScreenRows)) {
        return std::nullopt;
    }
    return screenRows == kTeletextRows ? number : number - 1;
}

/// The columns of captions of line 21 with the solid space at both ends of a row, which receivers show around text
/// (cea608::Receiver::screen()): the 32 between fill the width that other screens do.
inline constexpr std::uint16_t kFramedColumns = 34;

/// A column of a screen.
struct ScreenColumn {
    std::uint16_t column = 1;   ///< Counted from 1.
    std::uint16_t columns = 0;  ///< Those of the screen.
};

/// The same column counted without the spaces at both ends of kFramedColumns; one of another screen as it is.
[[nodiscard]] constexpr ScreenColumn withoutFrame(std::uint16_t column, std::uint16_t columns) noexcept {
    constexpr std::uint16_t kWithin = kFramedColumns - 2;
    if (columns != kFramedColumns) {
        return {column, columns};
    }
    return {static_cast<std::uint16_t>(column < 2 ? 1 : column - 1 < kWithin ? column - 1 : kWithin), kWithin};
}

/// The same cue with its rows on the 11 of a teletext page: those of another screen (Cue::screenRows) stand as high there,
/// each below the one in front of it as long as there is room. A cue whose rows are those of a page stays as it is.
[[nodiscard]] QLX_EXPORT Cue withPageRows(Cue cue);

/// Where the rows of a cue stand by their columns: aligned there they are where they were, in the middle to half a column.
/// Left, Center or Right; none where a row is elsewhere, or has no column.
[[nodiscard]] QLX_EXPORT std::optional<Alignment> sideOfColumns(const Cue& cue) noexcept;

/// The same cue with its rows aligned as sideOfColumns() says, and without columns; none where it says none, and where the
/// rows begin in one column, which says more.
[[nodiscard]] QLX_EXPORT std::optional<Cue> alignedAtSide(const Cue& cue);

}  // namespace qlx::subtitles
