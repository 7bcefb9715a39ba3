// Cues that are shown at the same time: which rows their text has.
#include "TextCues.h"

#include <qlx/subtitles/shown_together.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace shown_together_tests {
namespace {

using namespace qlx::subtitles;

struct Placed {
    std::string text;
    std::uint64_t number = 0;
    std::uint8_t anchor = 0;
    std::uint16_t column = 0;
};

Cue cueOf(const std::vector<Placed>& rows, std::uint16_t screenRows = 0, std::uint16_t screenColumns = 0) {
    Cue cue;
    cue.start = qlx::MediaTime::make(1, 1);
    cue.end = qlx::MediaTime::make(2, 1);
    cue.screenRows = screenRows;
    cue.screenColumns = screenColumns;
    for (const Placed& placed : rows) {
        Row row = qlxtest::rowOf(placed.text);
        row.number = placed.number;
        row.anchor = placed.anchor;
        row.column = placed.column;
        cue.rows.push_back(row);
    }
    return cue;
}

/// `7 a`: number and text, and behind a comma a column.
std::vector<std::string> shownOf(const std::vector<Cue>& cues) {
    std::vector<std::string> rows;
    for (const Row& row : shownTogether(cues).rows) {
        const std::string column = row.column == 0 ? "" : "," + std::to_string(row.column);
        rows.push_back(std::to_string(row.number) + column + " " + row.text());
    }
    return rows;
}

using Rows = std::vector<std::string>;

TEST(ShownTogether, StandFromTheTopDown) {
    EXPECT_EQ(shownOf({cueOf({{"low", 11}}), cueOf({{"high", 3}})}), (Rows{"3 high", "11 low"}));
    EXPECT_EQ(shownOf({cueOf({{"c", 10}, {"d", 11}}), cueOf({{"a", 1}, {"b", 2}}), cueOf({{"m", 6}})}),
              (Rows{"1 a", "2 b", "6 m", "10 c", "11 d"}));
    // Those of one cue around that of the other.
    EXPECT_EQ(shownOf({cueOf({{"a", 3}, {"", 0}, {"c", 11}}), cueOf({{"b", 5}})}), (Rows{"3 a", "5 b", "11 c"}));
    EXPECT_EQ(shownOf({cueOf({{"low", 15}}, 15), cueOf({{"high", 14}}, 15)}), (Rows{"14 high", "15 low"}));
    EXPECT_EQ(shownTogether(std::vector{cueOf({{"low", 15}}, 15), cueOf({{"high", 14}}, 15)}).screenRows, 15);
}

TEST(ShownTogether, KeepTheRowsOfACueTogetherWhereTwoNameTheSame) {
    EXPECT_EQ(shownOf({cueOf({{"a", 10}, {"b", 11}}), cueOf({{"c", 10}, {"d", 11}})}),
              (Rows{"10 a", "11 b", "10 c", "11 d"}));
    EXPECT_EQ(shownOf({cueOf({{"c", 11}}), cueOf({{"a", 10}, {"b", 11}})}), (Rows{"10 a", "11 b", "11 c"}));
    EXPECT_EQ(shownOf({cueOf({{"c", 14}, {"d", 15}}, 15), cueOf({{"a", 13}, {"b", 14}}, 15)}),
              (Rows{"13 a", "14 b", "14 c", "15 d"}));
}

TEST(ShownTogether, GiveRowsToThoseThatNameNone) {
    // At the bottom, unless their place (as on a numeric keypad) is another one.
    EXPECT_EQ(shownOf({cueOf({{"bottom"}}), cueOf({{"named", 4}})}), (Rows{"4 named", "11 bottom"}));
    EXPECT_EQ(shownOf({cueOf({{"named", 9}}), cueOf({{"a", 0, 8}, {"b", 0, 8}})}), (Rows{"1 a", "2 b", "9 named"}));
    EXPECT_EQ(shownOf({cueOf({{"named", 9}}), cueOf({{"middle", 0, 5}})}), (Rows{"6 middle", "9 named"}));
    EXPECT_EQ(shownOf({cueOf({{"a", 0, 2}, {"b", 0, 2}}), cueOf({{"named", 3}}, 15)}),
              (Rows{"3 named", "14 a", "15 b"}));
    // Teletext has its text in double height: 3 of 23 is 2 of 11.
    EXPECT_EQ(shownOf({cueOf({{"bottom"}}), cueOf({{"named", 3}}, 23)}), (Rows{"2 named", "11 bottom"}));
    // A row without text keeps one free.
    EXPECT_EQ(shownOf({cueOf({{"a"}, {""}, {"b"}}), cueOf({{"named", 1}})}), (Rows{"1 named", "9 a", "11 b"}));
    // More than a screen has.
    std::vector<Placed> many(13, Placed{"x"});
    const Rows rows = shownOf({cueOf({{"named", 3}}), cueOf(many)});
    ASSERT_EQ(rows.size(), 14U);
    EXPECT_EQ(rows.front(), "1 x");
    EXPECT_EQ(rows[12], "11 x");
    EXPECT_EQ(rows.back(), "3 named");
    // Each in its own place, as long as none of them names rows.
    EXPECT_EQ(shownOf({cueOf({{"bottom", 0, 2}}), cueOf({{"top", 0, 8}}), cueOf({{"middle", 0, 5}})}),
              (Rows{"0 top", "0 middle", "0 bottom"}));
    EXPECT_EQ(shownOf({cueOf({{"a"}}), cueOf({{"top", 0, 9}}), cueOf({{"b", 0, 1}})}), (Rows{"0 top", "0 a", "0 b"}));
}

TEST(ShownTogether, StandOnOneScreen) {
    // 15 of 15 is 11 of 11; 3 of 23 is 2.
    const std::vector<Cue> cues{cueOf({{"low", 15}}, 15), cueOf({{"high", 3}}, 23)};
    EXPECT_EQ(shownOf(cues), (Rows{"2 high", "11 low"}));
    EXPECT_EQ(shownTogether(cues).screenRows, 0);
    // Columns 1 and 17 of 32 are 1 and 21 of 40.
    EXPECT_EQ(shownOf({cueOf({{"a", 1, 0, 1}, {"b", 2, 0, 17}}, 0, 32), cueOf({{"c", 5, 0, 40}, {"d", 6}}, 0, 40)}),
              (Rows{"1,1 a", "2,21 b", "5,40 c", "6 d"}));
    EXPECT_EQ(shownOf({cueOf({{"a", 1}}), cueOf({{"c", 5, 0, 40}}, 0, 40)}), (Rows{"1 a", "5,40 c"}));
    // A column beyond its screen is at its end.
    EXPECT_EQ(shownOf({cueOf({{"a", 1, 0, 65535}}, 0, 2), cueOf({{"c", 5, 0, 3}}, 0, 40)}), (Rows{"1,40 a", "5,3 c"}));
}

TEST(ShownTogether, LastUntilTheLastOfThem) {
    Cue first = cueOf({{"a"}});
    first.number = 4;
    first.language = "en";
    first.region = "r";
    Cue second = cueOf({{"b"}});
    second.start = qlx::MediaTime::make(3, 2);
    second.end = qlx::MediaTime::make(5001, 1000);
    second.language = "en";
    second.region = "s";
    const Cue shown = shownTogether(std::vector{first, second, first});
    EXPECT_EQ(shown.start, first.start);
    EXPECT_EQ(shown.end, second.end);
    EXPECT_EQ(shown.number, 4U);
    EXPECT_EQ(shown.language, "en");
    EXPECT_EQ(shown.region, "");
    EXPECT_EQ(shown.rows.size(), 3U);
    EXPECT_EQ(shownTogether(std::vector{second}), second);
    EXPECT_EQ(shownTogether({}), Cue());
}

}  // namespace
}  // namespace shown_together_tests
