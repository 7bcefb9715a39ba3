// Cues as teletext pages: where their text stands, what is said of the rest, and when receivers show them.
#include <qlx/playout/teletext.h>

#include "ScreenLines.h"

#include <qlx/base/utf8.h>
#include <qlx/subtitles/box.h>
#include <qlx/teletext/page.h>
#include <qlx/teletext/row_encoder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using qlx::FindingCode;
using qlx::FrameRate;
using qlx::MediaTime;
using qlx::playout::TeletextOptions;
using qlx::playout::TeletextPlayout;
using qlx::playout::TeletextPlayoutOptions;
using qlx::playout::teletextRowsOf;
using qlx::screen::Color;
using qlx::subtitles::Alignment;
using qlx::subtitles::Cue;
using qlx::subtitles::Row;
using Texts = std::vector<std::string>;

Row pageRowOf(std::string text, Alignment alignment = Alignment::Left, std::uint64_t number = 0,
              Color color = Color::White) {
    Row row;
    row.runs.push_back({std::move(text), {}});
    row.runs.back().style.foreground = color;
    row.alignment = alignment;
    row.number = number;
    return row;
}

/// Times in frames of 25 a second.
Cue pageCueOf(std::vector<Row> rows, std::int64_t start = 25, std::int64_t end = 50) {
    return {.number = 1, .start = MediaTime::make(start, 25), .end = MediaTime::make(end, 25), .rows = std::move(rows)};
}

Texts findingTexts(const qlx::Findings& findings) {
    Texts texts;
    for (const qlx::Finding& finding : findings) {
        texts.push_back(std::to_string(finding.offset) + ": " + finding.text());
    }
    return texts;
}

void expectCueRows(const Cue& cue, const Texts& expected, const Texts& said = {}, TeletextOptions options = {}) {
    qlx::Findings findings;
    options.findingsOffset = 4;
    Texts shown;
    for (const auto& row : teletextRowsOf(cue, options, &findings)) {
        std::string text = std::to_string(row.row) + "," + std::to_string(row.column) + " ";
        for (const qlx::screen::Cell& cell : row.cells) {
            EXPECT_TRUE(cell.isVisible);
            qlx::appendUtf8(text, cell.character);
        }
        EXPECT_EQ(row.isDoubleHeight, options.isDoubleHeight);
        shown.push_back(std::move(text));
    }
    EXPECT_EQ(shown, expected);
    EXPECT_EQ(findingTexts(findings), said);
}

void expectPageRows(const std::vector<Row>& rows, const Texts& expected, const Texts& said = {},
                    const TeletextOptions& options = {}) {
    expectCueRows(pageCueOf(rows), expected, said, options);
}

TEST(TeletextCueRows, StandWhereTheCueSays) {
    expectPageRows({pageRowOf("left"), pageRowOf("middle", Alignment::Center), pageRowOf("right", Alignment::Right),
                    pageRowOf("  own", Alignment::Unchanged)},
                   {"16,4 left", "18,17 middle", "20,33 right", "22,6 own"});
    for (std::uint64_t number = 1; number <= 11; ++number) {
        expectPageRows({pageRowOf("x", Alignment::Left, number)}, {std::to_string(2 * number) + ",4 x"});
    }
    expectPageRows({pageRowOf("a", Alignment::Left, 8), pageRowOf("b", Alignment::Left, 11)}, {"16,4 a", "22,4 b"});
    expectPageRows({pageRowOf("a", Alignment::Left, 1), pageRowOf("b", Alignment::Left, 1)}, {"2,4 a", "4,4 b"});
    expectPageRows({pageRowOf("a", Alignment::Left, 1), pageRowOf("b", Alignment::Left, 11)}, {"2,4 a", "22,4 b"}, {});
    // Of single height.
    expectPageRows({pageRowOf("a", Alignment::Left, 1)}, {"1,3 a"}, {}, {.isDoubleHeight = false});
    expectPageRows({pageRowOf("a", Alignment::Left, 10), pageRowOf("b", Alignment::Left, 11)}, {"22,3 a", "23,3 b"}, {},
                   {.isDoubleHeight = false});
    Row top = pageRowOf("a");
    top.anchor = 8;
    expectPageRows({top}, {"2,4 a"});
    top.anchor = 5;
    Row below = pageRowOf("b");
    below.anchor = 6;
    expectPageRows({top, below}, {"12,4 a", "14,4 b"});
}

TEST(TeletextCueRows, StandAtSeveralEdgesWhereCuesAreShownTogether) {
    const auto placed = [](const std::vector<std::uint8_t>& anchors) {
        std::vector<Row> rows;
        for (const std::uint8_t anchor : anchors) {
            rows.push_back(pageRowOf(std::string(1, static_cast<char>('a' + rows.size()))));
            rows.back().anchor = anchor;
        }
        return rows;
    };
    expectPageRows(placed({8, 2}), {"2,4 a", "22,4 b"});
    expectPageRows(placed({0, 9}), {"2,4 b", "22,4 a"});
    expectPageRows(placed({2, 7, 5, 8, 1}), {"2,4 b", "4,4 d", "12,4 c", "20,4 a", "22,4 e"});
    expectPageRows(placed({8, 2, 2}), {"1,3 a", "22,3 b", "23,3 c"}, {}, {.isDoubleHeight = false});
    // Five of eleven in the middle are 4 to 8: those above and below move them.
    expectPageRows(placed({7, 7, 7, 7, 4, 4, 4, 4, 4, 1}),
                   {"2,4 a", "4,4 b", "6,4 c", "8,4 d", "10,4 e", "12,4 f", "14,4 g", "16,4 h", "18,4 i", "22,4 j"});
    expectPageRows(placed({7, 4, 4, 4, 4, 4, 1, 1, 1, 1}),
                   {"2,4 a", "6,4 b", "8,4 c", "10,4 d", "12,4 e", "14,4 f", "16,4 g", "18,4 h", "20,4 i", "22,4 j"});
}

/// Rows of a screen of that many.
Cue screenCueOf(std::uint16_t screenRows, std::vector<Row> rows) {
    Cue cue = pageCueOf(std::move(rows));
    cue.screenRows = screenRows;
    return cue;
}

TEST(TeletextCueRows, StandOnTheRowsOfThePageThatTheCueNames) {
    const TeletextOptions single{.isDoubleHeight = false};
    for (std::uint64_t number = 1; number <= 23; ++number) {
        const std::string name = std::to_string(number);
        const Texts said = number < 23 ? Texts{}
                                       : Texts{"4: text of row 23 of the page stands on row 22: there is no room for "
                                               "it on that row"};
        expectCueRows(screenCueOf(23, {pageRowOf("x", Alignment::Left, number)}),
                      {(number < 23 ? name : "22") + ",4 x"}, said);
        expectCueRows(screenCueOf(23, {pageRowOf("x", Alignment::Left, number)}), {name + ",3 x"}, {}, single);
        // Those of a whole screen are counted from 1 as well, and the header is the first.
        expectCueRows(screenCueOf(25, {pageRowOf("x", Alignment::Left, number + 1)}), {name + ",3 x"}, {}, single);
    }
    expectCueRows(screenCueOf(23, {pageRowOf("a", Alignment::Left, 3), pageRowOf("b", Alignment::Left, 19),
                                   pageRowOf("c", Alignment::Left, 21)}),
                  {"3,4 a", "19,4 b", "21,4 c"});
    // Rows of single height that become ones of double height.
    const auto moved = [](int from, int to) {
        return "4: text of row " + std::to_string(from) + " of the page stands on row " + std::to_string(to) +
               ": there is no room for it on that row";
    };
    expectCueRows(screenCueOf(23, {pageRowOf("a", Alignment::Left, 10), pageRowOf("b", Alignment::Left, 11)}),
                  {"10,4 a", "12,4 b"}, {moved(11, 12)});
    expectCueRows(screenCueOf(23, {pageRowOf("a", Alignment::Left, 22), pageRowOf("b", Alignment::Left, 23)}),
                  {"20,4 a", "22,4 b"}, {moved(22, 20), moved(23, 22)});
    expectCueRows(screenCueOf(23, {pageRowOf("a", Alignment::Left, 22), pageRowOf("b", Alignment::Left, 23)}),
                  {"22,3 a", "23,3 b"}, {}, single);
    // The header and what stands below the rows of a page are for no subtitles.
    expectCueRows(screenCueOf(25, {pageRowOf("a", Alignment::Left, 1), pageRowOf("b", Alignment::Left, 25)}),
                  {"1,3 a", "23,3 b"}, {moved(0, 1), moved(24, 23)}, single);
    // What is broken takes the rows below, or pushes the others up.
    const std::string thirtySix(36, 'x');
    const std::string broken = "4: row 1 is broken behind 37 characters";
    expectCueRows(screenCueOf(23, {pageRowOf(thirtySix + " y", Alignment::Left, 13)}), {"13,4 " + thirtySix, "15,4 y"},
                  {broken});
    expectCueRows(screenCueOf(23, {pageRowOf(thirtySix + " y", Alignment::Left, 22)}), {"20,4 " + thirtySix, "22,4 y"},
                  {broken, moved(22, 20)});
    // Whatever the number is.
    constexpr std::uint64_t kGreatest = std::numeric_limits<std::uint64_t>::max();
    const std::string farBelow =
        "4: text of row 9223372036854775807 of the page stands on row 20: there is no room for "
        "it on that row";
    expectCueRows(screenCueOf(23, {pageRowOf("a", Alignment::Left, kGreatest), pageRowOf("b", Alignment::Left, 5)}),
                  {"20,4 a", "22,4 b"}, {farBelow, moved(5, 22)});
    expectCueRows(screenCueOf(25, {pageRowOf("a", Alignment::Left, kGreatest), pageRowOf("b")}), {"20,4 a", "22,4 b"},
                  {farBelow});
    // A row without a number stands below the one in front of it, as do rows that have no text.
    expectCueRows(screenCueOf(23, {pageRowOf("a", Alignment::Left, 5), Row(), pageRowOf("b")}), {"5,4 a", "9,4 b"});
}

TEST(TeletextCueRows, StandInTheColumnsThatTheCueNames) {
    const auto cue = [](std::uint16_t column, Color color = Color::White) {
        Cue named = screenCueOf(23, {pageRowOf("text", Alignment::Left, 22, color)});
        named.rows.front().column = column;
        named.screenColumns = 40;
        return named;
    };
    expectCueRows(cue(0), {"22,4 text"});
    expectCueRows(cue(4), {"22,3 text"});
    expectCueRows(cue(21), {"22,20 text"});
    expectCueRows(cue(40), {"22,39 text"});
    Cue other = cue(21);
    // Its middle is behind 22 of 32, and so behind 27.5 of 40.
    other.screenColumns = 32;
    expectCueRows(other, {"22,26 text"});
    other.rows.front().column = 1;
    expectCueRows(other, {"22,3 text"});
}

/// As readers of formats that have boxes give it.
Cue boxCueOf(std::vector<Row> rows, const qlx::subtitles::Box& box) {
    Cue cue = pageCueOf(std::move(rows));
    cue.box = box;
    placeRows(cue, box);
    return cue;
}

// Row n of the page is n of 25 below the upper edge of the inner 80 %, column n is n of 40 behind the left one.
TEST(TeletextCueRows, StandOnTheRowsOfThePageThatAreWhereTheBoxIs) {
    using qlx::subtitles::BoxEdge;
    const TeletextOptions single{.isDoubleHeight = false};
    const auto boxAt = [](unsigned row, unsigned column, BoxEdge edge) {
        const double left = 10 + 2.0 * column;
        const double y = 10 + 3.2 * row;
        return edge == BoxEdge::Top ? qlx::subtitles::Box{left, y, 90 - left, 90 - y, edge}
                                    : qlx::subtitles::Box{left, 10, 90 - left, y - 10, edge};
    };
    for (unsigned row = 1; row <= 22; ++row) {
        const std::string place = std::to_string(row) + "," + std::to_string(row + 3) + " ";
        expectCueRows(boxCueOf({pageRowOf("x")}, boxAt(row, row + 3, BoxEdge::Top)), {place + "x"});
        expectCueRows(boxCueOf({pageRowOf("x")}, boxAt(row, row + 3, BoxEdge::Top)), {place + "x"}, {}, single);
        // The lower edge is that of the second of its two rows.
        expectCueRows(boxCueOf({pageRowOf("x")}, boxAt(row + 2, row + 3, BoxEdge::Bottom)), {place + "x"});
        expectCueRows(boxCueOf({pageRowOf("x")}, boxAt(row + 1, row + 3, BoxEdge::Bottom)), {place + "x"}, {}, single);
    }
    // Of two rows: those below one another, and with a free one between them.
    expectCueRows(boxCueOf({pageRowOf("a"), pageRowOf("b")}, boxAt(7, 9, BoxEdge::Top)), {"7,9 a", "9,9 b"});
    expectCueRows(boxCueOf({pageRowOf("a"), Row(), pageRowOf("b")}, boxAt(7, 9, BoxEdge::Top)), {"7,9 a", "11,9 b"});
    expectCueRows(boxCueOf({Row(), pageRowOf("a")}, boxAt(7, 9, BoxEdge::Top)), {"9,9 a"});
    expectCueRows(boxCueOf({pageRowOf("a"), Row()}, boxAt(21, 9, BoxEdge::Bottom)), {"17,9 a"});
    // The middle of the picture is in the midst of row 12.
    const qlx::subtitles::Box middle{28, 0, 62, 100, BoxEdge::Middle};
    expectCueRows(boxCueOf({pageRowOf("a")}, middle), {"12,9 a"}, {}, single);
    expectCueRows(boxCueOf({pageRowOf("a"), pageRowOf("b"), pageRowOf("c")}, middle), {"11,9 a", "12,9 b", "13,9 c"},
                  {}, single);
    // What is broken goes on in its column, and up from a lower edge.
    const std::string twenty(20, 'x');
    expectCueRows(boxCueOf({pageRowOf(twenty + " " + twenty)}, boxAt(16, 9, BoxEdge::Bottom)),
                  {"12,9 " + twenty, "14,9 " + twenty}, {"4: row 1 is broken behind 21 characters"});
    // Neither the header nor what is below the rows is for text; codes stand in front of it, and it ends with the page.
    const qlx::subtitles::Box above{2, 0.4, 98, 99.6, BoxEdge::Top};
    const qlx::subtitles::Box below{2, 0, 98, 96.4, BoxEdge::Bottom};
    expectCueRows(boxCueOf({pageRowOf("x")}, above), {"1,3 x"});
    expectCueRows(boxCueOf({pageRowOf("a"), pageRowOf("b")}, below), {"20,3 a", "22,3 b"});
    expectCueRows(boxCueOf({pageRowOf("x")}, below), {"23,2 x"}, {}, single);
    expectCueRows(boxCueOf({pageRowOf("text")}, boxAt(5, 39, BoxEdge::Top)), {"5,36 text"});
    // Rows that are aligned otherwise have no column of the box.
    expectCueRows(boxCueOf({pageRowOf("text", Alignment::Center)}, boxAt(6, 12, BoxEdge::Top)), {"6,18 text"});
    expectCueRows(boxCueOf({pageRowOf("left"), pageRowOf("text", Alignment::Right)}, boxAt(6, 12, BoxEdge::Top)),
                  {"6,12 left", "8,34 text"});
    // Rows that say something else count: 24 of 80 are column 11 of 32, whose middle is 10.5 columns behind the edge, and
    // so 13.125 of 40.
    Cue other = boxCueOf({pageRowOf("x")}, boxAt(5, 12, BoxEdge::Top));
    other.rows.front().number = 15;
    expectCueRows(other, {"22,13 x"});
}

// What is placed on the rows of captions, or anywhere, has two rows of the page for each of them, so that neighbours have
// room below each other.
TEST(TeletextCueRows, StandOnEverySecondRowWhereTheBoxIsNoneOfAPage) {
    using qlx::subtitles::Box;
    using qlx::subtitles::BoxEdge;
    const auto rowsOf = [](Cue cue, const Box& box) {
        cue.box = box;
        placeRows(cue, box);
        const auto placed = teletextRowsOf(cue);
        cue.box.reset();
        EXPECT_EQ(teletextRowsOf(cue), placed) << box.top << " " << box.left;
        return placed.empty() ? 0U : unsigned{placed.front().row};
    };
    for (unsigned number = 0; number < 15; ++number) {
        const double top = 10 + number * 80.0 / 15;
        for (const double left : {10.0, 15.0, 32.5, 60.0}) {
            EXPECT_EQ(rowsOf(pageCueOf({pageRowOf("x")}), {left, top, 90 - left, 90 - top, BoxEdge::Top}) % 2, 0U);
        }
        EXPECT_EQ(rowsOf(pageCueOf({pageRowOf("x", Alignment::Center)}), {0, top, 100, 90 - top, BoxEdge::Top}) % 2,
                  0U);
    }
    for (const Box& box : {Box{10, 70, 80, 20, BoxEdge::Top}, Box{25, 0, 50, 85, BoxEdge::Bottom},
                           Box{12, 13.2, 78, 50, BoxEdge::Middle}, Box{33, 13.2, 50, 50, BoxEdge::Top}}) {
        EXPECT_EQ(rowsOf(pageCueOf({pageRowOf("x")}), box) % 2, 0U);
    }
}

TEST(TeletextCueRows, BeginBehindTheCodesOfTheirLooks) {
    Row row = pageRowOf("ab");
    row.runs.front().style.background = Color::Blue;
    expectPageRows({row}, {"22,6 ab"});
    row.runs.front().style.isFlashing = true;
    expectPageRows({row}, {"22,7 ab"});
    // Beside 36 letters a row has room for the code of flashing alone.
    row.runs.front().text = std::string(36, 'x');
    expectPageRows({row}, {"22,4 " + std::string(36, 'x')});
}

TEST(TeletextCueRows, BreakWhereThePageHasNoMoreColumns) {
    const std::string thirtySix(36, 'x');
    expectPageRows({pageRowOf(thirtySix + "y")}, {"22,3 " + thirtySix + "y"});
    expectPageRows({pageRowOf(thirtySix + "y", Alignment::Left, 0, Color::Red)}, {"20,4 " + thirtySix, "22,4 y"},
                   {"4: row 1 is broken behind 36 characters"});
    expectPageRows({pageRowOf(thirtySix + "yz", Alignment::Center)}, {"20,3 " + thirtySix + "y", "22,19 z"},
                   {"4: row 1 is broken behind 37 characters"});
    expectPageRows({pageRowOf(thirtySix + "yz", Alignment::Center)}, {"23,2 " + thirtySix + "yz"}, {},
                   {.isDoubleHeight = false});
    expectPageRows({pageRowOf("a b " + thirtySix)}, {"20,4 a b", "22,4 " + thirtySix},
                   {"4: row 1 is broken behind 4 characters"});
    // Spaces that fill a row of the page take none.
    expectPageRows({pageRowOf(std::string(40, ' ') + "x", Alignment::Unchanged)}, {"22,4 x"},
                   {"4: row 1 is broken behind 40 characters"});
    Texts expected;
    std::vector<Row> rows;
    for (int row = 1; row <= 11; ++row) {
        rows.push_back(pageRowOf("x"));
        expected.push_back(std::to_string(2 * row) + ",4 x");
    }
    rows.push_back(pageRowOf("last"));
    expectPageRows(rows, expected, {"4: row 12: 4 characters are left out, the page has no more rows"});
}

TEST(TeletextCueRows, LeaveRoomForTheColourThatComesFirstOnTheScreen) {
    // Black letters are white ones; from the right to the left red ones come first on the screen.
    Row row = pageRowOf("\u05D0", Alignment::Left, 0, Color::Black);
    Row red = pageRowOf("", Alignment::Left, 0, Color::Red);
    for (int letter = 0; letter < 36; ++letter) {
        red.runs.front().text += "\u05D1";
    }
    row.runs.push_back(red.runs.front());
    std::string first;
    for (int letter = 0; letter < 35; ++letter) {
        first += "\u05D1";
    }
    expectPageRows({row}, {"20,4 " + first + "\u05D0", "22,4 \u05D1"}, {"4: row 1 is broken behind 36 characters"},
                   {.designation = *qlx::teletext::designationOf("he")});
}

TEST(TeletextCueRows, HaveNoCellsForMarks) {
    const auto repeated = [](std::string_view text, std::size_t count) {
        std::string result;
        for (; count > 0; --count) {
            result += text;
        }
        return result;
    };
    // Decomposed letters take a cell each, and no break comes between a letter and its mark.
    expectPageRows({pageRowOf(repeated("e\u0301", 37))}, {"22,3 " + repeated("\u00E9", 37)});
    expectPageRows({pageRowOf(repeated("e\u0301", 38))}, {"20,3 " + repeated("\u00E9", 37), "22,4 \u00E9"},
                   {"4: row 1 is broken behind 37 characters"});
    // Signs of direction, and points of letters, are none of the characters of a row.
    const std::string shalom = "\u202B\u05E9\u05B8\u05C1\u05DC\u05D5\u05B9\u05DD \u200F";
    const auto leftOut = [](const std::string& character) {
        return "4: character " + character + " is left out: no letter takes it";
    };
    expectPageRows({pageRowOf(shalom)}, {"22,4 \u05DD\u05D5\u05DC\u05E9"},
                   {leftOut("202b"), leftOut("5b8"), leftOut("5c1"), leftOut("5b9"), leftOut("200f")},
                   {.designation = *qlx::teletext::designationOf("he")});
    expectPageRows({pageRowOf(std::string(36, 'x') + "\u200E")}, {"22,4 " + std::string(36, 'x')}, {leftOut("200e")});
    expectPageRows({pageRowOf("\u0301")}, {}, {leftOut("301")});
}

TEST(TeletextCueRows, SpellEllipsesThatTheSetLacks) {
    const Texts said{"4: character 2026 is shown as 2e"};
    expectPageRows({pageRowOf("Et\u2026 puis\u2026")}, {"22,4 Et... puis..."}, said);
    expectPageRows({pageRowOf(std::string(34, 'x') + "\u2026")}, {"22,3 " + std::string(34, 'x') + "..."}, said);
    // No room for all of it: the writer says how it is shown.
    expectPageRows({pageRowOf(std::string(35, 'x') + "\u2026")}, {"22,4 " + std::string(35, 'x') + "\u2026"});
}

/// `24: 888 22 text, 20 other`: what pages show from a frame on.
Texts shownBy(TeletextPlayout& playout, qlx::Findings& findings, const std::vector<std::uint16_t>& pages = {0x888}) {
    Texts texts;
    std::vector<qlx::teletext::PageReader> readers(pages.begin(), pages.end());
    std::vector<Texts> before(pages.size());
    while (!playout.isDone() && playout.frame() < 10000) {
        const std::uint64_t frame = playout.frame();
        for (const qlx::anc::Packet& packet : playout.next(&findings)) {
            EXPECT_EQ(packet.id(), qlx::anc::ids::kOp47);
            const auto sdp = qlx::teletext::parseSdp(packet.userData, &findings);
            EXPECT_TRUE(sdp);
            for (std::size_t index = 0; sdp && index < pages.size(); ++index) {
                (void)readers[index].receive(*sdp, &findings);
            }
        }
        for (std::size_t index = 0; index < pages.size(); ++index) {
            Texts rows = qlxtest::linesOf(readers[index].screen());
            if (rows != before[index]) {
                std::string text = std::to_string(frame) + ": " + qlx::teletext::pageName(pages[index]);
                for (const std::string& row : rows) {
                    const std::size_t start = row.find_first_not_of(' ', 6);
                    text += " " + std::to_string(std::stoi(row)) + " " + row.substr(start);
                }
                texts.push_back(text);
                before[index] = std::move(rows);
            }
        }
    }
    EXPECT_TRUE(playout.isDone());
    return texts;
}

Texts shown(const std::vector<Cue>& cues, const Texts& said = {}, FrameRate rate = FrameRate::Fps25) {
    TeletextPlayout playout(rate);
    qlx::Findings findings;
    for (const Cue& cue : cues) {
        (void)playout.add(cue, {}, &findings);
    }
    const Texts result = shownBy(playout, findings);
    EXPECT_EQ(findingTexts(findings), said);
    return result;
}

TEST(TeletextPlayout, ShowsCuesThatOverlap) {
    const Row a = pageRowOf("a");
    const Row b = pageRowOf("b");
    const Row c = pageRowOf("c", Alignment::Left, 9);
    EXPECT_EQ(shown({pageCueOf({a}, 25, 50), pageCueOf({b}, 50, 75)}),
              (Texts{"25: 888 22 a", "49: 888", "50: 888 22 b", "75: 888"}));
    EXPECT_EQ(shown({pageCueOf({a}, 25, 50), pageCueOf({c}, 30, 60)}),
              (Texts{"25: 888 22 a", "30: 888 18 c 22 a", "49: 888", "50: 888 18 c", "60: 888"}));
    EXPECT_EQ(shown({pageCueOf({a}, 25, 90), pageCueOf({b}, 40, 60), pageCueOf({a, b}, 45, 70)},
                    {"1: text is moved from row 22 up to 20, another one is on air",
                     "2: text is moved from row 20 up to 16, another one is on air"}),
              (Texts{"25: 888 22 a", "40: 888 20 b 22 a", "45: 888 16 a 18 b 20 b 22 a", "59: 888",
                     "60: 888 16 a 18 b 22 a", "69: 888", "70: 888 22 a", "90: 888"}));
    std::vector<Row> all;
    for (int row = 0; row < 11; ++row) {
        all.push_back(a);
    }
    EXPECT_EQ(shown({pageCueOf({a}, 25, 90), pageCueOf(all, 40, 60)},
                    {"1: text of row 2 is left out, another one is on air and no rows are free above it"}),
              (Texts{"25: 888 22 a", "90: 888"}));
    // Both from the first frame on.
    EXPECT_EQ(shown({pageCueOf({a}, 25, 30), pageCueOf({c}, 25, 30)}), (Texts{"25: 888 18 c 22 a", "30: 888"}));
}

TEST(TeletextPlayout, SaysWhatIsLeftOut) {
    Cue none = pageCueOf({pageRowOf("x")});
    none.start = MediaTime();
    EXPECT_EQ(
        shown({none, pageCueOf({pageRowOf(" ")}), pageCueOf({pageRowOf("x")}, 30, 30),
               pageCueOf({pageRowOf("x")}, 30, 40), pageCueOf({pageRowOf("y")}, 29, 40)},
              {"0: time 1 of 2 is none that a frame has", "1: text without letters is left out",
               "2: text from frame 30 to 30 is left out: it has no duration, or does not begin behind the last one",
               "4: cue is left out: it starts at frame 29, and the one before it at 30"}),
        (Texts{"30: 888 22 x", "40: 888"}));
    EXPECT_EQ(shown({pageCueOf({pageRowOf("x")}, 25, 50)},
                    {"0: teletext is made for 25 and 50 frames a second, not for 30"}, FrameRate::Fps2997),
              (Texts{"30: 888 22 x", "60: 888"}));
    TeletextPlayout playout(FrameRate::Fps50);
    qlx::Findings findings;
    EXPECT_FALSE(playout.add(pageCueOf({pageRowOf("x")}), {.page = 0x8FF}, &findings));
    EXPECT_EQ(findingTexts(findings), Texts{"0: page 8ff with subcode 00 is left out: viewers cannot call it"});
}

TEST(TeletextPlayout, TakesCuesWhileItSends) {
    TeletextPlayout playout(FrameRate::Fps25);
    qlx::Findings findings;
    EXPECT_TRUE(playout.add(pageCueOf({pageRowOf("a")}, 2, 100), {}, &findings));
    for (int frame = 0; frame < 10; ++frame) {
        (void)playout.next(&findings);
    }
    // The text that is on air goes on.
    EXPECT_TRUE(playout.add(pageCueOf({pageRowOf("b", Alignment::Left, 9)}, 20, 30), {}, &findings));
    EXPECT_EQ(shownBy(playout, findings), (Texts{"20: 888 18 b", "29: 888", "30: 888 22 a", "100: 888"}));
    EXPECT_EQ(findingTexts(findings), Texts{});
}

/// The frames with headers that are of a repetition: neither C4 nor C8.
std::vector<std::uint64_t> repetitions(TeletextPlayout& playout, std::uint64_t until) {
    std::vector<std::uint64_t> frames;
    while (playout.frame() < until) {
        const std::uint64_t frame = playout.frame();
        for (const qlx::anc::Packet& packet : playout.next()) {
            const auto sdp = qlx::teletext::parseSdp(packet.userData);
            for (const auto& line : sdp->lines) {
                const auto sent = qlx::teletext::parsePacket(line.bytes);
                if (!sent->isHeader()) {
                    continue;
                }
                const auto header = qlx::teletext::parseHeader(*sent);
                if (header && header->isCallable() && !header->isUpdate && !header->erasesPage) {
                    frames.push_back(frame);
                }
            }
        }
    }
    return frames;
}

TEST(TeletextPlayout, RepeatsPagesAwayFromWhatIsDue) {
    using Frames = std::vector<std::uint64_t>;
    // 25 frames behind the header of the start, and again; frame 98 is within half a second of the end.
    TeletextPlayout playout(FrameRate::Fps25, {.repeatAfter = 1});
    EXPECT_TRUE(playout.add(pageCueOf({pageRowOf("a")}, 25, 110)));
    EXPECT_EQ(repetitions(playout, 60), Frames{49});
    // A cue that is added while others are on air keeps its own half second free, also of pages of other magazines.
    EXPECT_TRUE(playout.add(pageCueOf({pageRowOf("b")}, 84, 100), {.page = 0x150}));
    EXPECT_EQ(repetitions(playout, 200), Frames{});
    TeletextPlayout alone(FrameRate::Fps25, {.repeatAfter = 1});
    EXPECT_TRUE(alone.add(pageCueOf({pageRowOf("a")}, 25, 111)));
    EXPECT_EQ(repetitions(alone, 200), (Frames{49, 74}));
}

TEST(TeletextPlayout, SaysWhatHasBecomeOfCues) {
    TeletextPlayout playout(FrameRate::Fps25);
    EXPECT_TRUE(playout.add(pageCueOf({pageRowOf("a")}, 25, 50)));
    EXPECT_TRUE(playout.add(pageCueOf({pageRowOf("b")}, 30, 60)));
    Texts texts;
    while (!playout.isDone()) {
        const std::uint64_t frame = playout.frame();
        (void)playout.next();
        for (const qlx::teletext::TextEvent& event : playout.events()) {
            texts.push_back(std::to_string(frame) + ": " + std::to_string(event.number) +
                            (event.step == qlx::teletext::TextEvent::Step::Begun ? " begun" : " shown"));
        }
    }
    // The last two are of the page without the first cue.
    EXPECT_EQ(texts, (Texts{"24: 0 begun", "25: 0 shown", "29: 1 begun", "30: 1 shown", "49: 1 begun", "50: 1 shown"}));
}

TEST(TeletextPlayout, PutsPacketsOnItsLines) {
    const auto linesOf = [](FrameRate rate, const TeletextPlayoutOptions& options) {
        TeletextPlayout playout(rate, options);
        EXPECT_TRUE(playout.add(pageCueOf({pageRowOf("a")}, 1, 2)));
        Texts texts;
        for (int frame = 0; frame < 4; ++frame) {
            std::string text;
            for (const qlx::anc::Packet& packet : playout.next()) {
                const auto sdp = qlx::teletext::parseSdp(packet.userData);
                text += std::to_string(packet.line) + ":";
                for (const auto& line : sdp->lines) {
                    text += std::to_string(line.line()) + (line.isOddField() ? "o" : "e");
                }
                text += "#" + std::to_string(sdp->counter) + " ";
            }
            texts.push_back(text);
        }
        return texts;
    };
    EXPECT_EQ(linesOf(FrameRate::Fps25, {}), (Texts{"575:10e#0 ", "12:10o11o#1 ", "12:10o11o#2 ", ""}));
    EXPECT_EQ(linesOf(FrameRate::Fps50, {.firstLine = 9}), (Texts{"", "9:10e#0 ", "9:10o11o#1 ", ""}));
    EXPECT_EQ(linesOf(FrameRate::Fps25, {.fillsFields = true, .firstLine = 21, .secondLine = 334}),
              (Texts{"21:10o11o12o#0 334:10e#1 ", "21:10o11o#2 334:10e11e12e#3 ", "21:10o11o#4 334:10e11e12e#5 ",
                     "21:10o11o12o#6 334:10e11e12e#7 "}));
}

}  // namespace
