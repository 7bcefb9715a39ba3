// Rows of other screens as those of a teletext page.
#include "TextCues.h"

#include <qlx/subtitles/cue.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace page_rows_tests {
namespace {

using namespace qlx::subtitles;

TEST(PageRows, AreWhereTheRowsOfAnotherScreenWere) {
    struct Case {
        std::uint16_t screen;
        std::vector<std::uint64_t> rows;
        std::vector<std::uint64_t> expected;
    };
    const Case cases[] = {
        {0, {3, 9}, {3, 9}},      {11, {3, 9}, {3, 9}},     {23, {20, 22}, {10, 11}},
        {23, {20, 21}, {10, 11}}, {23, {22, 23}, {10, 11}}, {23, {2, 4}, {1, 2}},
        {23, {1}, {1}},           {23, {0, 12}, {0, 6}},    {23, {21, 22, 23}, {9, 10, 11}},
        {15, {1, 15}, {1, 11}},   {99, {50, 99}, {6, 11}},  {1, {1}, {1}},
        {25, {21, 23}, {10, 11}}, {25, {1, 2}, {1, 2}},     {25, {24, 25}, {10, 11}},
        {25, {3, 13}, {1, 6}},
    };
    for (const Case& each : cases) {
        Cue cue;
        cue.screenRows = each.screen;
        for (const std::uint64_t number : each.rows) {
            Row row = qlxtest::rowOf("a");
            row.number = number;
            cue.rows.push_back(std::move(row));
        }
        std::vector<std::uint64_t> rows;
        for (const Row& row : withPageRows(cue).rows) {
            rows.push_back(row.number);
        }
        EXPECT_EQ(rows, each.expected) << each.screen;
    }
}

TEST(PageRows, OfAWholeTeletextScreenAreThoseOfThePage) {
    // Row n of 11 is row 2n of a page, which its screen counts from the header on.
    for (std::uint64_t number = 1; number <= 11; ++number) {
        Cue cue;
        cue.screenRows = 25;
        cue.rows.push_back(qlxtest::rowOf("a"));
        cue.rows.back().number = 2 * number + 1;
        EXPECT_EQ(withPageRows(cue).rows.front().number, number);
    }
}

TEST(PageRows, WithoutTextPushNoneDown) {
    Cue cue;
    cue.screenRows = 23;
    for (const std::uint64_t number : {14U, 15U, 16U}) {
        cue.rows.push_back(number == 15 ? Row{} : qlxtest::rowOf("a"));
        cue.rows.back().number = number;
    }
    const Cue placed = withPageRows(cue);
    EXPECT_EQ(placed.rows[0].number, 7U);
    EXPECT_EQ(placed.rows[2].number, 8U);
}

/// A cue on a screen of so many columns, its rows as their columns and texts.
Cue cueOn(std::uint16_t columns, const std::vector<std::pair<std::uint16_t, std::string>>& rows) {
    Cue cue;
    cue.screenColumns = columns;
    for (const auto& [column, text] : rows) {
        cue.rows.push_back(qlxtest::rowOf(text));
        cue.rows.back().column = column;
        cue.rows.back().alignment = Alignment::Left;
    }
    return cue;
}

TEST(Sides, AreThoseAtWhichAllRowsStand) {
    using enum Alignment;
    const std::string ten(10, 'x');
    const std::string thirty(30, 'x');
    const struct {
        Cue cue;
        std::optional<Alignment> side;
    } cases[] = {
        // (34 - 10) / 2 columns in front, half a column in either way.
        {cueOn(34, {{13, ten}}), Center},
        {cueOn(34, {{12, ten}}), std::nullopt},
        {cueOn(34, {{14, ten}}), std::nullopt},
        {cueOn(34, {{13, ten + "x"}}), Center},
        {cueOn(34, {{12, ten + "x"}}), Center},
        {cueOn(34, {{13, ten}, {3, thirty}}), Center},
        {cueOn(34, {{2, ten}, {2, thirty}}), Left},
        {cueOn(34, {{24, ten}, {4, thirty}}), Right},
        {cueOn(34, {{2, ten}, {24, ten}}), std::nullopt},
        {cueOn(34, {{13, ten}, {0, ten}}), std::nullopt},
        {cueOn(0, {{13, ten}}), std::nullopt},
        {cueOn(32, {}), std::nullopt},
        {cueOn(32, {{12, ten}, {2, thirty}}), Center},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(&each - cases);
        EXPECT_EQ(sideOfColumns(each.cue), each.side);
        const auto aligned = alignedAtSide(each.cue);
        const bool isOneColumn = each.cue.rows.empty() || each.cue.rows.back().column == each.cue.rows.front().column;
        ASSERT_EQ(aligned.has_value(), each.side && !isOneColumn);
        for (std::size_t row = 0; aligned && row < each.cue.rows.size(); ++row) {
            EXPECT_EQ(aligned->rows[row].alignment, *each.side);
            EXPECT_EQ(aligned->rows[row].column, 0);
            EXPECT_EQ(aligned->rows[row].text(), each.cue.rows[row].text());
        }
    }
}

TEST(Sides, OfCaptionsHaveASpaceInFront) {
    for (std::uint16_t column = 1; column <= 40; ++column) {
        const ScreenColumn same = withoutFrame(column, 40);
        EXPECT_EQ(same.column, column);
        EXPECT_EQ(same.columns, 40);
    }
    const std::pair<std::uint16_t, std::uint16_t> framed[] = {{1, 1}, {2, 1}, {3, 2}, {33, 32}, {34, 32}, {99, 32}};
    for (const auto& [column, expected] : framed) {
        EXPECT_EQ(withoutFrame(column, 34).column, expected);
        EXPECT_EQ(withoutFrame(column, 34).columns, 32);
    }
}

}  // namespace
}  // namespace page_rows_tests
