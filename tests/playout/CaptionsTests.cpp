// Cues as captions: where their text stands, what is said of the rest, and when receivers show them.
#include <qlx/playout/captions.h>

#include <qlx/base/utf8.h>
#include <qlx/cc/slots.h>
#include <qlx/cea608/receiver.h>

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using qlx::FindingCode;
using qlx::FrameRate;
using qlx::MediaTime;
using qlx::cea608::Caption;
using qlx::playout::captionOf;
using qlx::playout::CaptionPlayout;
using qlx::playout::cdpOf;
using qlx::screen::Color;
using qlx::subtitles::Alignment;
using qlx::subtitles::Cue;
using qlx::subtitles::Row;
using qlx::subtitles::Style;

using Texts = std::vector<std::string>;

Row rowOf(std::string text, Alignment alignment = Alignment::Left, std::uint64_t number = 0) {
    Row row;
    row.runs.push_back({std::move(text), {}});
    row.alignment = alignment;
    row.number = number;
    return row;
}

Cue cueOf(std::vector<Row> rows, std::int64_t start = 1000, std::int64_t end = 2000) {
    return {
        .number = 1, .start = MediaTime::make(start, 1000), .end = MediaTime::make(end, 1000), .rows = std::move(rows)};
}

Texts textsOf(const qlx::Findings& findings) {
    Texts texts;
    for (const qlx::Finding& finding : findings) {
        texts.push_back(std::to_string(finding.offset) + ": " + finding.text());
    }
    return texts;
}

/// `14,4 text`: row, column and characters.
Texts rowsOf(const Caption& caption) {
    Texts rows;
    for (const auto& row : caption.rows) {
        std::string text = std::to_string(row.row) + "," + std::to_string(row.column) + " ";
        for (const qlx::screen::Cell& cell : row.cells) {
            EXPECT_TRUE(cell.isVisible);
            qlx::appendUtf8(text, cell.character);
        }
        rows.push_back(std::move(text));
    }
    return rows;
}

/// Where the rows of a cue stand; `said` are the findings, which have the offset 4.
void expectRows(const std::vector<Row>& rows, const Texts& expected, const Texts& said = {}) {
    qlx::Findings findings;
    const auto caption = captionOf(cueOf(rows), FrameRate::Fps25, {.findingsOffset = 4}, &findings);
    ASSERT_TRUE(caption);
    EXPECT_EQ(rowsOf(*caption), expected);
    EXPECT_EQ(textsOf(findings), said);
}

TEST(CueCaptions, StandWhereTheirAlignmentSays) {
    expectRows({rowOf("left"), rowOf("middle", Alignment::Center), rowOf(" right  ", Alignment::Right),
                rowOf("  as it is", Alignment::Unchanged)},
               {"12,0 left", "13,13 middle", "14,27 right", "15,0   as it is"});
    expectRows({rowOf("\xC3\xA9t\xC3\xA9", Alignment::Center)}, {"15,14 \xC3\xA9t\xC3\xA9"});
    expectRows({}, {});
    expectRows({rowOf("   "), rowOf("")}, {});
}

TEST(CueCaptions, StandOnTheRowsOfTheCue) {
    const auto rows = [](const std::vector<std::uint64_t>& numbers) {
        std::vector<Row> result;
        for (const std::uint64_t number : numbers) {
            result.push_back(rowOf("x", Alignment::Left, number));
        }
        return result;
    };
    // 1 + (number - 1) * 14 / 10, to the nearest row.
    const std::uint64_t expected[] = {1, 2, 4, 5, 7, 8, 9, 11, 12, 14, 15};
    for (std::uint64_t number = 1; number <= 11; ++number) {
        expectRows(rows({number}), {std::to_string(expected[number - 1]) + ",0 x"});
    }
    expectRows(rows({10, 11}), {"14,0 x", "15,0 x"});
    expectRows(rows({9, 11}), {"13,0 x", "15,0 x"});
    expectRows(rows({1, 2}), {"1,0 x", "2,0 x"});
    expectRows(rows({3, 5}), {"4,0 x", "6,0 x"});
    // Texts in several places stand each in its own.
    expectRows(rows({8, 11}), {"11,0 x", "15,0 x"});
    expectRows(rows({1, 11}), {"1,0 x", "15,0 x"});
    expectRows(rows({2, 3, 10, 11}), {"2,0 x", "3,0 x", "14,0 x", "15,0 x"});
    // Not on the page, and not from the top down.
    expectRows(rows({23}), {"15,0 x"});
    expectRows(rows({11, 10}), {"13,0 x", "14,0 x"}, {"4: row 2 is moved below the one before it, its number is 10"});
    expectRows(rows({1, 200, 200, 201}), {"1,0 x", "13,0 x", "14,0 x", "15,0 x"},
               {"4: row 3 is moved below the one before it, its number is 200"});
    // A row without text keeps its place.
    expectRows({rowOf("a"), rowOf(""), rowOf("b")}, {"13,0 a", "15,0 b"});
}

/// Where the rows of a cue stand that names rows and columns of a screen.
Texts rowsOnScreen(std::uint16_t screenRows, std::uint16_t screenColumns, std::vector<Row> rows,
                   const std::vector<std::uint16_t>& columns) {
    for (std::size_t index = 0; index < rows.size(); ++index) {
        rows[index].column = columns[index];
    }
    Cue cue = cueOf(std::move(rows));
    cue.screenRows = screenRows;
    cue.screenColumns = screenColumns;
    qlx::Findings findings;
    const auto caption = captionOf(cue, FrameRate::Fps25, {}, &findings);
    EXPECT_TRUE(findings.empty());
    return caption ? rowsOf(*caption) : Texts();
}

TEST(CueCaptions, StandWhereTheScreenOfTheCueHasThem) {
    for (std::uint64_t number = 1; number <= 14; ++number) {
        EXPECT_EQ(rowsOnScreen(15, 32, {rowOf("a", Alignment::Left, number), rowOf("b", Alignment::Left, number + 1)},
                               {13, 32}),
                  (Texts{std::to_string(number) + ",12 a", std::to_string(number + 1) + ",31 b"}));
    }
    EXPECT_EQ(rowsOnScreen(15, 32, {rowOf("text", Alignment::Left, 2)}, {32}), Texts{"2,28 text"});
    // Without a column its alignment counts.
    EXPECT_EQ(rowsOnScreen(15, 32, {rowOf("text", Alignment::Right, 2)}, {0}), Texts{"2,28 text"});
    // The middle stays: 20 of 40 columns are 16 of 32, and 8 are 6.4.
    EXPECT_EQ(rowsOnScreen(0, 40, {rowOf("text"), rowOf("text")}, {19, 7}), (Texts{"14,14 text", "15,4 text"}));
    // 42 have the 32 in their middle.
    EXPECT_EQ(rowsOnScreen(0, 42, {rowOf("text"), rowOf("text")}, {18, 2}), (Texts{"14,12 text", "15,0 text"}));
}

TEST(CueCaptions, HaveAColumnForEachLetterAndNoneForItsMark) {
    std::string apart;
    std::string joined;
    for (int count = 0; count < 32; ++count) {
        apart += "e\xCC\x81";
        joined += "\xC3\xA9";
    }
    expectRows({rowOf(apart)}, {"15,0 " + joined});
    // A sign of direction.
    expectRows({rowOf("a\xE2\x80\x8F"
                      "b")},
               {"15,0 ab"}, {"4: character 200f is left out: no letter takes it"});
}

TEST(CueCaptions, BeginBehindTheCodesThatAPreambleDoesNotHave) {
    Row row = rowOf("ab");
    row.runs.front().style.isFlashing = true;
    expectRows({row}, {"15,1 ab"});
    row.runs.front().style.background = Color::Blue;
    expectRows({row}, {"15,2 ab"});
    row.runs.front().text = std::string(32, 'x');
    expectRows({row}, {"15,0 " + row.runs.front().text});
}

TEST(CueCaptions, StandAtThePlaceOfTheCue) {
    const auto at = [](int anchor) {
        std::vector<Row> rows{rowOf("a"), rowOf("b")};
        for (Row& row : rows) {
            row.anchor = static_cast<std::uint8_t>(anchor);
        }
        return rows;
    };
    for (const int anchor : {0, 1, 2, 3}) {
        expectRows(at(anchor), {"14,0 a", "15,0 b"});
    }
    for (const int anchor : {4, 5, 6}) {
        expectRows(at(anchor), {"7,0 a", "8,0 b"});
    }
    for (const int anchor : {7, 8, 9}) {
        expectRows(at(anchor), {"1,0 a", "2,0 b"});
    }
    // Of cues that are shown together some stand at the bottom (2), others at the top (8) or in the middle (5).
    std::vector<Row> rows{rowOf("a"), rowOf("b"), rowOf("c"), rowOf("d")};
    const auto placed = [&rows](const std::array<std::uint8_t, 4>& anchors) {
        for (std::size_t index = 0; index < rows.size(); ++index) {
            rows[index].anchor = anchors[index];
        }
        return rows;
    };
    expectRows(placed({2, 2, 8, 8}), {"1,0 c", "2,0 d", "14,0 a", "15,0 b"});
    expectRows(placed({8, 0, 5, 8}), {"1,0 a", "2,0 d", "8,0 c", "15,0 b"});
    expectRows(placed({5, 1, 4, 6}), {"7,0 a", "8,0 c", "9,0 d", "15,0 b"});
}

TEST(CueCaptions, BreakLongRowsAtSpaces) {
    const std::string thirty(30, 'x');
    expectRows({rowOf(thirty + " y")}, {"15,0 " + thirty + " y"});
    expectRows({rowOf(thirty + " y z", Alignment::Right)}, {"14,0 " + thirty + " y", "15,31 z"},
               {"4: row 1 is broken behind 33 characters"});
    expectRows({rowOf("a " + thirty + "yy  z")}, {"13,0 a", "14,0 " + thirty + "yy", "15,0 z"},
               {"4: row 1 is broken behind 2 characters", "4: row 1 is broken behind 36 characters"});
    // No space: behind the 32nd character, and nothing is lost.
    expectRows({rowOf(thirty + thirty)}, {"14,0 " + thirty + "xx", "15,0 " + std::string(28, 'x')},
               {"4: row 1 is broken behind 32 characters"});
    expectRows({rowOf("          " + thirty, Alignment::Unchanged)},
               {"14,0           " + std::string(22, 'x'), "15,0 xxxxxxxx"},
               {"4: row 1 is broken behind 32 characters"});
}

TEST(CueCaptions, HaveFourRows) {
    expectRows({rowOf("a"), rowOf("b"), rowOf("c"), rowOf(std::string(33, 'd')), rowOf("ef")},
               {"12,0 a", "13,0 b", "14,0 c", "15,0 " + std::string(32, 'd')},
               {"4: row 4 is broken behind 32 characters",
                "4: row 4: 1 characters are left out, the caption has its four rows",
                "4: row 5: 2 characters are left out, the caption has its four rows"});
}

TEST(CueCaptions, AskForTheStylesOfTheRuns) {
    Row row;
    row.runs.push_back({"a", {.foreground = Color::Cyan, .background = Color::Blue}});
    row.runs.push_back({"bc", {.background = std::nullopt, .isBold = true, .isItalic = true, .isUnderlined = true}});
    row.runs.push_back({"d", {.background = std::nullopt, .isFlashing = true}});
    row.alignment = Alignment::Left;
    qlx::Findings findings;
    const auto caption = captionOf(cueOf({row}), FrameRate::Fps25, {}, &findings);
    ASSERT_TRUE(caption);
    using qlx::screen::Cell;
    EXPECT_EQ(
        caption->rows.front().cells,
        (std::vector<Cell>{{.character = U'a', .foreground = Color::Cyan, .background = Color::Blue, .isVisible = true},
                           {.character = U'b', .isVisible = true, .isItalic = true, .isUnderlined = true},
                           {.character = U'c', .isVisible = true, .isItalic = true, .isUnderlined = true},
                           {.character = U'd', .isVisible = true, .isFlashing = true}}));
    EXPECT_EQ(textsOf(findings), Texts{"0: row 1: 2 characters are not bold"});
}

TEST(CueCaptions, TakeTimesThatFramesHave) {
    const auto caption =
        captionOf(cueOf({rowOf("x")}, 1001, 1002), FrameRate::Fps2997,
                  {.channel = qlx::cea608::kCC3, .style = qlx::cea608::CaptionStyle::RollUp, .rollUpRows = 3});
    ASSERT_TRUE(caption);
    EXPECT_EQ(caption->start, 30U);
    EXPECT_EQ(caption->end, 31U);
    EXPECT_EQ(caption->channel, qlx::cea608::kCC3);
    EXPECT_EQ(caption->style, qlx::cea608::CaptionStyle::RollUp);
    EXPECT_EQ(caption->rollUpRows, 3);
    Cue cue = cueOf({rowOf("x")}, -1);
    EXPECT_EQ(captionOf(cue, FrameRate::Fps25, {.findingsOffset = 6}).error(),
              (qlx::Finding{FindingCode::PlayoutTimeWrong, qlx::Severity::Error, 6, 1, 0}));
    cue = cueOf({rowOf("x")});
    cue.end = MediaTime();
    EXPECT_EQ(captionOf(cue, FrameRate::Fps25).error(),
              (qlx::Finding{FindingCode::PlayoutTimeWrong, qlx::Severity::Error, 0, 2, 0}));
}

TEST(CaptionPackets, HaveTheTripletsOfTheRate) {
    // 96 69 length, rate and 1111, flags (triplets, service active, reserved), counter, 72, 111 and count, triplets, 74,
    // counter, checksum.
    const qlx::cea608::FramePairs pairs{qlx::cea608::Pair{0x94, 0x2C}, qlx::cea608::Pair{0x80, 0x80}};
    const std::size_t counts[] = {25, 25, 24, 20, 20, 12, 10, 10};
    for (const FrameRate rate : qlx::kFrameRates) {
        const std::size_t count = counts[static_cast<std::size_t>(rate) - 1];
        std::vector<std::uint8_t> expected{0x96,
                                           0x69,
                                           static_cast<std::uint8_t>(9 + 3 * count + 4),
                                           static_cast<std::uint8_t>(static_cast<unsigned>(rate) << 4U | 0xFU),
                                           0x43,
                                           0x12,
                                           0x34,
                                           0x72,
                                           static_cast<std::uint8_t>(0xE0 | count),
                                           0xFC,
                                           0x94,
                                           0x2C,
                                           0xFD,
                                           0x80,
                                           0x80};
        for (std::size_t index = 2; index < count; ++index) {
            expected.insert(expected.end(), {0xFA, 0, 0});
        }
        expected.insert(expected.end(), {0x74, 0x12, 0x34});
        unsigned sum = 0;
        for (const std::uint8_t byte : expected) {
            sum += byte;
        }
        expected.push_back(static_cast<std::uint8_t>(0U - sum));
        EXPECT_EQ(*qlx::cc::writeCdp(cdpOf(pairs, rate, 0x1234)), qlx::Data(expected));
    }
}

TEST(CaptionPlayout, HasNoRowOfSpacesInPlaceOfText) {
    qlx::Findings findings;
    const Row wide = rowOf(std::string(33, ' ') + "x", Alignment::Unchanged);
    const auto caption = captionOf(cueOf({wide, rowOf("2"), rowOf("3"), rowOf("4")}), FrameRate::Fps25, {}, &findings);
    ASSERT_TRUE(caption);
    ASSERT_EQ(caption->rows.size(), 4U);
    EXPECT_EQ(caption->rows[0].cells.size(), 1U);
    EXPECT_EQ(textsOf(findings), Texts{"0: row 1 is broken behind 33 characters"});
}

TEST(CaptionPlayout, SaysWhatIsLeftOut) {
    CaptionPlayout playout(FrameRate::Fps25);
    qlx::Findings findings;
    Cue none = cueOf({rowOf("x")});
    none.start = MediaTime();
    EXPECT_FALSE(playout.add(none, {}, &findings));
    EXPECT_FALSE(playout.add(cueOf({rowOf(" ")}), {.findingsOffset = 99}, &findings));
    EXPECT_FALSE(playout.add(cueOf({rowOf("x")}, 1001, 1002), {}, &findings));
    EXPECT_TRUE(playout.isDone());
    EXPECT_TRUE(playout.add(cueOf({rowOf("\xE2\x82\xAC")}), {}, &findings));
    EXPECT_FALSE(playout.isDone());
    EXPECT_EQ(textsOf(findings),
              (Texts{"0: time 1 of 2 is none that a frame has", "1: caption without text is left out",
                     "2: caption from frame 26 to 26 is left out: it has no duration, does not begin behind "
                     "the last one, or is too far off",
                     "3: character 20ac is sent as 45"}));
}

// What receivers show

/// The rows of a screen with text, without the spaces at both ends: `15,4 text`.
Texts shownRows(const qlx::screen::Screen& screen) {
    Texts rows;
    for (std::size_t row = 0; row < screen.rows(); ++row) {
        const auto cells = screen.row(row);
        std::size_t first = cells.size();
        std::size_t end = 0;
        for (std::size_t column = 0; column < cells.size(); ++column) {
            if (cells[column].hasText()) {
                first = std::min(first, column);
                end = column + 1;
            }
        }
        if (first >= end) {
            continue;
        }
        // The screen has a column in front of the first one of captions.
        std::string text = std::to_string(row + screen.firstRow) + "," + std::to_string(first - 1) + " ";
        for (std::size_t column = first; column < end; ++column) {
            qlx::appendUtf8(text, cells[column].character);
        }
        rows.push_back(std::move(text));
    }
    return rows;
}

struct Script {
    std::vector<Cue> cues;
    std::vector<Texts> rows;  ///< What of each cue is to be seen.
};

/// Cues that fit: each takes at most 100 pairs, and is shown for more than four seconds.
Script randomScript(std::mt19937& random, std::int64_t start) {
    const auto below = [&random](std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); };
    Script script;
    for (int count = 0; count < 15; ++count) {
        std::vector<Row> rows(1 + below(3));
        Texts texts;
        for (std::size_t index = 0; index < rows.size(); ++index) {
            std::string text;
            for (std::uint32_t size = 3 + below(28); size > 0; --size) {
                text += size % 7 == 3 && !text.empty() ? ' ' : static_cast<char>('a' + below(26));
            }
            text.back() = 'z';
            const auto alignment = static_cast<Alignment>(1 + below(3));
            const std::size_t room = 32 - text.size();
            const std::size_t column = alignment == Alignment::Left     ? 0
                                       : alignment == Alignment::Center ? room / 2
                                                                        : room;
            texts.push_back(std::to_string(16 - rows.size() + index) + "," + std::to_string(column) + " " + text);
            rows[index] = rowOf(std::move(text), alignment);
        }
        const std::int64_t end = start + 5000 + below(2000);
        script.cues.push_back(cueOf(std::move(rows), start, end));
        script.rows.push_back(std::move(texts));
        start = end + (below(3) == 0 ? 0 : 500 + below(3000));
    }
    return script;
}

/// The first frame at or after a time of a cue in which its field has a pair, by hand.
std::uint64_t frameOf(const MediaTime& time, FrameRate rate, std::uint8_t field) {
    const MediaTime frame = qlx::frameDuration(rate);
    std::uint64_t number = 0;
    while (static_cast<std::int64_t>(number) * frame.value * 1000 < time.value * frame.timescale) {
        ++number;
    }
    const auto code = static_cast<unsigned>(rate);
    const bool alternates = code >= 6;
    return alternates && number % 2 != (field == 2 ? 1U : 0U) ? number + 1 : number;
}

TEST(CaptionPlayout, ShowsEveryCueFromItsStartToItsEnd) {
    std::mt19937 random(608);
    for (const FrameRate rate : qlx::kFrameRates) {
        const std::map<std::uint8_t, Script> scripts{{1, randomScript(random, 6000)}, {2, randomScript(random, 7300)}};
        CaptionPlayout playout(rate);
        std::map<std::uint8_t, std::map<std::uint64_t, Texts>> expected;
        qlx::Findings findings;
        for (const auto& [field, script] : scripts) {
            for (std::size_t index = 0; index < script.cues.size(); ++index) {
                const Cue& cue = script.cues[index];
                ASSERT_TRUE(playout.add(cue, {.channel = {field, 1}}, &findings));
                expected[field][frameOf(cue.start, rate, field)] = script.rows[index];
                expected[field].try_emplace(frameOf(cue.end, rate, field));
            }
        }
        std::map<std::uint8_t, qlx::cea608::Receiver> receivers;
        receivers.try_emplace(1, qlx::cea608::kCC1);
        receivers.try_emplace(2, qlx::cea608::kCC3);
        std::map<std::uint8_t, std::map<std::uint64_t, Texts>> shown;
        std::map<std::uint8_t, Texts> last;
        std::array<std::uint8_t, qlx::cc::kGreatestCdpBytes> room{};
        for (std::uint64_t frame = 0; !playout.isDone(); ++frame) {
            ASSERT_EQ(playout.frame(), frame);
            const auto size = writeCdp(playout.next(&findings), room);
            ASSERT_TRUE(size);
            const auto cdp = qlx::cc::parseCdp(std::span(room).first(*size), &findings);
            ASSERT_TRUE(cdp);
            EXPECT_EQ(cdp->sequenceCounter(), frame % 0x10000);
            for (const qlx::cc::Triplet& triplet : cdp->triplets()) {
                if (!triplet.valid()) {
                    continue;
                }
                const auto field = static_cast<std::uint8_t>(triplet.type() == qlx::cc::CcType::Field1 ? 1 : 2);
                if (receivers.at(field).receive(triplet.first, triplet.second)) {
                    Texts rows = shownRows(receivers.at(field).screen());
                    if (rows != last[field]) {
                        last[field] = rows;
                        shown[field][frame] = std::move(rows);
                    }
                }
            }
        }
        EXPECT_EQ(textsOf(findings), Texts{});
        EXPECT_EQ(shown, expected) << static_cast<int>(rate);
    }
}

}  // namespace
