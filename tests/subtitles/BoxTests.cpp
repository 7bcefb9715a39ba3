// Boxes of cues: of WebVTT settings and regions (W3C WebVTT, 7.2), and as rows.
#include "TextCues.h"

#include <gtest/gtest.h>
#include <qlx/subtitles/box.h>
#include <qlx/subtitles/webvtt.h>

#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace {
namespace box_tests {

using namespace qlx::subtitles;
using qlxtest::cueOf;
using qlxtest::rowOf;

constexpr std::string_view kRegion =
    "REGION\nid:fred\nwidth:40%\nlines:3\nregionanchor:25%,50%\nviewportanchor:30%,80%\nscroll:up\n\n";

std::optional<Cue> cueWith(std::string_view settings) {
    const std::string text =
        "WEBVTT\n\n" + std::string(kRegion) + "00:00:01.000 --> 00:00:02.000 " + std::string(settings) + "\na\nb\n\n";
    WebVttReader reader;
    reader.push({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    reader.finish();
    const Cue* const cue = reader.next();
    return cue == nullptr ? std::nullopt : std::optional(*cue);
}

TEST(Box, IsThatOfWebVttSettings) {
    using enum BoxEdge;
    const struct {
        std::string_view settings;
        std::optional<Box> box;
    } cases[] = {
        {"", std::nullopt},
        {"align:left", std::nullopt},
        {"line:0", std::nullopt},
        {"line:50%,center align:right", std::nullopt},
        // The size is no more than there is room for on both sides of the position.
        {"position:30%", Box{0, 10, 60, 80, Bottom}},
        {"position:30% size:40%", Box{10, 10, 40, 80, Bottom}},
        {"position:30% align:left", Box{30, 10, 70, 80, Bottom}},
        {"position:30% size:40% align:left", Box{30, 10, 40, 80, Bottom}},
        {"position:70%,line-right size:40%", Box{30, 10, 40, 80, Bottom}},
        {"position:70%,line-right align:left", Box{0, 10, 70, 80, Bottom}},
        {"position:20%,line-left size:90% align:right", Box{20, 10, 80, 80, Bottom}},
        {"size:80%", Box{10, 10, 80, 80, Bottom}},
        {"size:80% align:start", Box{0, 10, 80, 80, Bottom}},
        {"size:80% align:end", Box{20, 10, 80, 80, Bottom}},
        {"line:20%", Box{0, 20, 100, 80, Top}},
        {"line:20%,start size:50%", Box{25, 20, 50, 80, Top}},
        {"line:84.5%,end", Box{0, 0, 100, 84.5, Bottom}},
        {"line:30%,center", Box{0, 0, 100, 60, Middle}},
        {"line:75%,center", Box{0, 50, 100, 50, Middle}},
        {"line:0 size:50%", Box{25, 0, 50, 100, Top}},
        {"line:2", Box{0, 12, 100, 88, Top}},
        {"line:-1", Box{0, 0, 100, 100, Bottom}},
        // The first of two rows is on that line (WebVTT, 7.2), the other one below, of lines of 6 %.
        {"line:-2", Box{0, 0, 100, 100, Bottom}},
        {"line:-3", Box{0, 0, 100, 94, Bottom}},
        {"line:1000", Box{0, 94, 100, 6, Top}},
        {"vertical:rl line:20%", std::nullopt},
        // A quarter of 40 % to the left of 30 %; half of three lines of 6 % above 80 %.
        {"region:fred", Box{20, 71, 40, 18, Bottom}},
        {"region:fred align:right", Box{20, 71, 40, 18, Bottom}},
        {"region:fred position:25% align:left", Box{30, 71, 30, 18, Bottom}},
        {"region:other", std::nullopt},
    };
    for (const auto& each : cases) {
        const auto cue = cueWith(each.settings);
        ASSERT_TRUE(cue) << each.settings;
        EXPECT_EQ(cue->box.has_value(), each.box.has_value()) << each.settings;
        const Box got = cue->box.value_or(Box());
        const Box expected = each.box.value_or(Box());
        EXPECT_DOUBLE_EQ(got.left, expected.left) << each.settings;
        EXPECT_DOUBLE_EQ(got.top, expected.top) << each.settings;
        EXPECT_DOUBLE_EQ(got.width, expected.width) << each.settings;
        EXPECT_DOUBLE_EQ(got.height, expected.height) << each.settings;
        EXPECT_EQ(got.edge, expected.edge) << each.settings;
    }
}

TEST(Box, IsWrittenAsWebVttSettings) {
    using enum BoxEdge;
    const struct {
        Box box;
        Alignment alignment;
        std::string_view settings;
    } cases[] = {
        {{10, 10, 80, 80, Bottom}, Alignment::Center, " line:90%,end size:80%"},
        {{10, 10, 80, 80, Top}, Alignment::Left, " line:10% position:10% size:80% align:left"},
        {{10, 10, 80, 80, Middle}, Alignment::Right, " line:50%,center position:90% size:80% align:right"},
        {{0, 0, 100, 100, Bottom}, Alignment::Center, " line:100%,end"},
        {{0, 0, 100, 100, Top}, Alignment::Left, " line:0% align:left"},
        {{20, 0, 40, 33.3336, Bottom}, Alignment::Center, " line:33.334%,end position:40% size:40%"},
        {{-20, 120, 40, 50, Top}, Alignment::Left, " line:100% position:0% size:40% align:left"},
    };
    for (const auto& each : cases) {
        Cue cue = cueOf(0, 1000, 2000, {rowOf("a")});
        cue.box = each.box;
        cue.rows[0].alignment = each.alignment;
        std::string text;
        WebVttWriter writer;
        EXPECT_TRUE(writer.write(cue, text));
        EXPECT_EQ(text, "00:00:01.000 --> 00:00:02.000" + std::string(each.settings) + "\na\n\n");
    }
}

TEST(Box, KeepsTheSettingsOfItsOwnFormat) {
    for (const std::string_view settings :
         {"line:2 position:30% size:40% align:start", "line:0", "position:70%,line-right", "region:fred position:25%",
          "line:84.50%,end size:050%", "vertical:rl line:20%"}) {
        const auto cue = cueWith(settings);
        ASSERT_TRUE(cue) << settings;
        std::string text;
        WebVttWriter writer;
        EXPECT_TRUE(writer.write(*cue, text));
        EXPECT_EQ(text, "00:00:01.000 --> 00:00:02.000 " + std::string(settings) + "\na\nb\n\n");
    }
}

TEST(Box, GivesRowsTheirPlaceOnAScreen) {
    // The inner 80 % of the picture are 15 rows of 5 1/3 % and 32 columns of 2.5 %.
    const auto below = cueWith("line:90%,end");
    ASSERT_TRUE(below);
    EXPECT_EQ(below->screenRows, 15);
    EXPECT_EQ(below->rows.at(0).number, 14U);
    EXPECT_EQ(below->rows.at(1).number, 15U);
    const auto above = cueWith("line:26% position:30% align:left");
    ASSERT_TRUE(above);
    EXPECT_EQ(above->rows.at(0).number, 4U);
    EXPECT_EQ(above->rows.at(1).number, 5U);
    EXPECT_EQ(above->rows.at(0).column, 9);
    EXPECT_EQ(above->screenColumns, 32);
    const auto region = cueWith("region:fred align:left");
    ASSERT_TRUE(region);
    // It ends at 89 %, 14.8 rows down, and begins at 20 %.
    EXPECT_EQ(region->rows.at(1).number, 15U);
    EXPECT_EQ(region->rows.at(1).column, 5);
}

TEST(Box, GivesRowsTheirPlaceOnAScreenOfOtherRows) {
    // 20 rows of 4 %, of which 3 to 18 have text, and 40 columns of 2 %.
    const qlx::subtitles::ScreenGrid grid{.rows = 20, .columns = 40, .first = 3, .last = 18, .height = 2};
    struct Case {
        Box box;
        std::vector<std::uint64_t> numbers;
        bool isOnGrid;
    };
    const Case cases[] = {
        {{20, 26, 50, 64, BoxEdge::Top}, {5, 7}, true},      {{20, 27, 50, 63, BoxEdge::Top}, {5, 7}, false},
        {{21, 26, 50, 64, BoxEdge::Top}, {5, 7}, false},     {{20, 10, 50, 40, BoxEdge::Bottom}, {7, 9}, true},
        {{20, 30, 50, 40, BoxEdge::Middle}, {9, 11}, true},  {{20, 10, 50, 80, BoxEdge::Top}, {3, 5}, true},
        {{20, 10, 50, 80, BoxEdge::Bottom}, {15, 17}, true},
    };
    for (const Case& each : cases) {
        Cue cue = cueOf(1, 0, 1000, {rowOf("a"), rowOf("b")});
        for (Row& row : cue.rows) {
            row.alignment = Alignment::Left;
        }
        placeRows(cue, each.box, grid);
        EXPECT_EQ((std::vector{cue.rows[0].number, cue.rows[1].number}), each.numbers) << each.box.top;
        EXPECT_EQ(cue.screenRows, 20);
        EXPECT_EQ(cue.screenColumns, 40);
        EXPECT_NEAR(cue.rows[0].column, 6, 1);
        EXPECT_EQ(isOnGrid(each.box, grid, true), each.isOnGrid) << each.box.top;
    }
    EXPECT_TRUE(isOnGrid({21, 26, 50, 64, BoxEdge::Top}, grid, false));
    // Eight rows of text have room.
    std::vector<Row> rows(8, rowOf("a"));
    Cue full = cueOf(1, 0, 1000, rows);
    placeRows(full, Box(), grid);
    EXPECT_EQ(full.rows.front().number, 3U);
    EXPECT_EQ(full.rows.back().number, 17U);
    rows.push_back(rowOf("a"));
    Cue more = cueOf(1, 0, 1000, rows);
    placeRows(more, Box(), grid);
    EXPECT_EQ(more.screenRows, 0);
    EXPECT_EQ(more.rows.front().number, 0U);
}

TEST(Box, GivesRowsAPlaceWhateverItsNumbersAre) {
    const double beyond = std::numeric_limits<double>::max();
    const double none = std::numeric_limits<double>::quiet_NaN();
    for (const BoxEdge edge : {BoxEdge::Top, BoxEdge::Middle, BoxEdge::Bottom}) {
        for (const double number : {beyond, -beyond, std::numeric_limits<double>::infinity(), none, 1e6}) {
            Cue cue = cueOf(1, 0, 1000, {rowOf("a"), rowOf("b")});
            cue.rows[0].alignment = Alignment::Left;
            placeRows(cue, {number, number, number, number, edge});
            EXPECT_GE(cue.rows[0].number, 1U);
            EXPECT_EQ(cue.rows[1].number, cue.rows[0].number + 1);
            EXPECT_LE(cue.rows[1].number, 15U);
            EXPECT_GE(cue.rows[0].column, 1U);
            EXPECT_LE(cue.rows[0].column, 32U);
        }
    }
}

}  // namespace box_tests
}  // namespace
