// What a viewer sees of captions and subtitles: a grid of characters with colours and styles, whatever system brought
// them (CEA-608, CEA-708, teletext).
//
//     const qlx::screen::Screen seen = page.screen();
//     for (std::size_t row = 0; row < seen.rows(); ++row) {
//         for (const qlx::screen::Cell& cell : seen.row(row)) {
//             if (cell.hasText()) { use(cell); }
//         }
//     }
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qlx::screen {

/// A colour of two bits each of red, green and blue, as CTA-708 numbers its 64 colours: red highest. The eight that
/// teletext and CEA-608 have are named; any other is made by colorOf().
enum class Color : std::uint8_t {
    Black = 0x00,
    Red = 0x30,
    Green = 0x0C,
    Yellow = 0x3C,
    Blue = 0x03,
    Magenta = 0x33,
    Cyan = 0x0F,
    White = 0x3F,
};

/// The eight named ones in the order of teletext's codes (ETSI EN 300 706, clause 12.2): bit 0 red, bit 1 green, bit 2
/// blue.
inline constexpr std::array<Color, 8> kBasicColors{Color::Black, Color::Red,     Color::Green, Color::Yellow,
                                                   Color::Blue,  Color::Magenta, Color::Cyan,  Color::White};

/// The colour with these parts, 0 to 3 each; of a greater number the low two bits.
[[nodiscard]] constexpr Color colorOf(unsigned red, unsigned green, unsigned blue) noexcept {
    return static_cast<Color>((red & 3U) << 4U | (green & 3U) << 2U | (blue & 3U));
}

/// A colour's parts, 0 to 3 each.
struct ColorParts {
    std::uint8_t red = 0;    ///< 3 is full.
    std::uint8_t green = 0;  ///< The same.
    std::uint8_t blue = 0;   ///< The same.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const ColorParts&, const ColorParts&) noexcept = default;
};

/// The parts of a colour.
[[nodiscard]] constexpr ColorParts partsOf(Color color) noexcept {
    const unsigned bits = static_cast<unsigned>(color);
    return {static_cast<std::uint8_t>(bits >> 4U & 3U), static_cast<std::uint8_t>(bits >> 2U & 3U),
            static_cast<std::uint8_t>(bits & 3U)};
}

/// The place in kBasicColors of the colour, or of the one that is nearest to it.
[[nodiscard]] constexpr std::size_t basicIndex(Color color) noexcept {
    const ColorParts parts = partsOf(color);
    return std::size_t{parts.red} >> 1U | std::size_t{parts.green} >> 1U << 1U | std::size_t{parts.blue} >> 1U << 2U;
}

/// How much of the picture shows through, in the order of CTA-708.
enum class Opacity : std::uint8_t {
    Solid,
    Flash,        ///< Solid and transparent in turn.
    Translucent,  ///< The semi-transparent of CEA-608.
    Transparent,
};

/// The part of a character of double height that a cell shows.
enum class CellPart : std::uint8_t { Whole, UpperHalf, LowerHalf };

/// The part of a character of double width that a cell shows.
enum class CellSide : std::uint8_t { Whole, LeftHalf, RightHalf };

/// What surrounds the strokes of a character, numbered as in CTA-708.
enum class Edge : std::uint8_t { None, Raised, Depressed, Uniform, LeftDropShadow, RightDropShadow };

/// The font that is asked for, numbered as in CTA-708.
enum class Font : std::uint8_t {
    Default,
    MonospacedSerif,
    ProportionalSerif,
    MonospacedSansSerif,
    ProportionalSansSerif,
    Casual,
    Cursive,
    SmallCapitals,
};

/// The size that is asked for, numbered as in CTA-708.
enum class FontSize : std::uint8_t { Small, Standard, Large };

/// Whether a character stands on the line, numbered as in CTA-708.
enum class Offset : std::uint8_t { Subscript, Normal, Superscript };

/// One place of the grid. A default-made one shows the picture.
struct Cell {
    char32_t character = U' ';                   ///< Unicode; a space where there is none.
    Color foreground = Color::White;             ///< Of the character.
    Color background = Color::Black;             ///< Behind it.
    Opacity backgroundOpacity = Opacity::Solid;  ///< Of a cell that is visible.
    CellPart part = CellPart::Whole;             ///< Double height.
    CellSide side = CellSide::Whole;             ///< Double width.
    bool isVisible = false;                      ///< Otherwise the picture shows, whatever else the cell says.
    bool isItalic = false;                       ///< Slanted.
    bool isUnderlined = false;                   ///< With a line below.
    bool isFlashing = false;                     ///< On and off in turn.
    bool isConcealed = false;                    ///< Shown as a space until the viewer reveals it.
    Opacity foregroundOpacity = Opacity::Solid;  ///< Of the character.
    Edge edge = Edge::None;                      ///< Around the character.
    Color edgeColor = Color::Black;              ///< Of the edge.
    Font font = Font::Default;                   ///< Its font.
    FontSize size = FontSize::Standard;          ///< Its size; it takes one cell whatever that is.
    Offset offset = Offset::Normal;              ///< Above or below the line.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Cell&, const Cell&) noexcept = default;

    /// What a viewer reads here who has revealed nothing: a space for a concealed character.
    [[nodiscard]] constexpr char32_t shownCharacter() const noexcept { return isConcealed ? U' ' : character; }

    /// Whether there is something to read. The second halves of a character are not read once more.
    [[nodiscard]] constexpr bool hasText() const noexcept {
        return isVisible && shownCharacter() != U' ' && shownCharacter() != U'\u00A0' && part != CellPart::LowerHalf &&
               side != CellSide::RightHalf;
    }
};

/// A place in a caption or on the screen as findings name it: the row, and the column in three digits.
[[nodiscard]] constexpr std::int64_t placeOf(std::size_t row, std::size_t column) noexcept {
    constexpr std::size_t kGreatestColumn = 999;
    return static_cast<std::int64_t>(row * (kGreatestColumn + 1) +
                                     (column < kGreatestColumn ? column : kGreatestColumn));
}

/// The system that a screen is of.
enum class System : std::uint8_t { Teletext, Cea608, Cea708 };

/// A grid of cells.
struct Screen {
    System system = System::Teletext;  ///< What it is of.
    std::size_t columns = 0;           ///< Cells of a row.
    std::size_t firstRow = 0;          ///< The number that the system gives the uppermost row.
    std::vector<Cell> cells;           ///< Row by row.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Screen&, const Screen&) = default;

    /// A screen of cells that show the picture.
    [[nodiscard]] static Screen blank(System system, std::size_t rows, std::size_t columns, std::size_t firstRow) {
        return {system, columns, firstRow, std::vector<Cell>(rows * columns)};
    }

    /// How many rows there are.
    [[nodiscard]] std::size_t rows() const noexcept { return columns == 0 ? 0 : cells.size() / columns; }
    /// A row; `index` counts from 0 and is below rows().
    [[nodiscard]] std::span<const Cell> row(std::size_t index) const noexcept {
        return std::span(cells).subspan(index * columns, columns);
    }
    /// The same, to be changed.
    [[nodiscard]] std::span<Cell> row(std::size_t index) noexcept {
        return std::span(cells).subspan(index * columns, columns);
    }

    /// Whether there is anything to read.
    [[nodiscard]] bool hasText() const noexcept {
        return std::any_of(cells.begin(), cells.end(), [](const Cell& cell) { return cell.hasText(); });
    }
};

/// In which ways a receiver has changed what is shown.
struct Change {
    bool isWritten = false;   ///< Characters came to it, or the last ones were taken back.
    bool isRolled = false;    ///< Rows were moved as they are, for the next row or to another place.
    bool isReplaced = false;  ///< Something was erased, or shown that had been prepared.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Change&, const Change&) noexcept = default;
};

}  // namespace qlx::screen
