// Rows of other screens as those of a teletext page.
#include "TextCues.h"

#include <qlx/subtitles/cue.h>

#include <gtest/gtest.h>

#include <cstdint>
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

}  // namespace
}  // namespace page_rows_tests
