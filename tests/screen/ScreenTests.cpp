// Screens, their cells and colours.
#include <qlx/screen/screen.h>

#include <gtest/gtest.h>

#include <utility>

namespace {

using namespace qlx::screen;

TEST(Color, HasTwoBitsOfEachPart) {
    EXPECT_EQ(colorOf(3, 0, 0), Color::Red);
    EXPECT_EQ(colorOf(0, 3, 0), Color::Green);
    EXPECT_EQ(colorOf(0, 0, 3), Color::Blue);
    EXPECT_EQ(colorOf(3, 3, 0), Color::Yellow);
    EXPECT_EQ(colorOf(3, 0, 3), Color::Magenta);
    EXPECT_EQ(colorOf(0, 3, 3), Color::Cyan);
    EXPECT_EQ(colorOf(3, 3, 3), Color::White);
    EXPECT_EQ(colorOf(4, 8, 12), Color::Black);
    for (unsigned bits = 0; bits < 64; ++bits) {
        const ColorParts parts = partsOf(static_cast<Color>(bits));
        EXPECT_EQ(static_cast<unsigned>(colorOf(parts.red, parts.green, parts.blue)), bits);
    }
    EXPECT_EQ(partsOf(colorOf(1, 2, 3)), (ColorParts{1, 2, 3}));
}

TEST(Color, HasAPlaceAmongTheEight) {
    for (std::size_t index = 0; index < kBasicColors.size(); ++index) {
        EXPECT_EQ(basicIndex(kBasicColors[index]), index);
    }
    // Red 1, green 2, blue 4 with parts of 0 and 1 near nothing, of 2 and 3 near all.
    EXPECT_EQ(basicIndex(colorOf(2, 1, 0)), 1U);
    EXPECT_EQ(basicIndex(colorOf(1, 2, 2)), 6U);
    EXPECT_EQ(basicIndex(colorOf(1, 1, 1)), 0U);
}

TEST(Cell, HasTextWhereThereIsSomethingToRead) {
    Cell cell;
    cell.character = U'a';
    EXPECT_FALSE(cell.hasText());
    cell.isVisible = true;
    EXPECT_TRUE(cell.hasText());
    cell.isConcealed = true;
    EXPECT_FALSE(cell.hasText());
    EXPECT_EQ(cell.shownCharacter(), U' ');
    cell.isConcealed = false;
    EXPECT_EQ(cell.shownCharacter(), U'a');
    cell.part = CellPart::UpperHalf;
    EXPECT_TRUE(cell.hasText());
    cell.part = CellPart::LowerHalf;
    EXPECT_FALSE(cell.hasText());
    cell.part = CellPart::Whole;
    cell.side = CellSide::RightHalf;
    EXPECT_FALSE(cell.hasText());
    cell.side = CellSide::LeftHalf;
    EXPECT_TRUE(cell.hasText());
    for (const char32_t blank : {U' ', U'\u00A0'}) {
        cell.character = blank;
        EXPECT_FALSE(cell.hasText());
    }
}

TEST(Screen, HasRowsOfCells) {
    const Screen none;
    EXPECT_EQ(none.rows(), 0U);
    EXPECT_FALSE(none.hasText());
    Screen screen = Screen::blank(System::Cea608, 15, 34, 1);
    EXPECT_EQ(screen.rows(), 15U);
    EXPECT_EQ(screen.cells.size(), 510U);
    EXPECT_EQ(screen.firstRow, 1U);
    EXPECT_FALSE(screen.hasText());
    const Screen before = screen;
    screen.row(14)[33] = {.character = U'x', .isVisible = true};
    EXPECT_EQ(screen.cells.back().character, U'x');
    EXPECT_EQ(std::as_const(screen).row(14).size(), 34U);
    EXPECT_EQ(std::as_const(screen).row(14)[33].character, U'x');
    EXPECT_TRUE(screen.hasText());
    EXPECT_NE(screen, before);
}

}  // namespace
