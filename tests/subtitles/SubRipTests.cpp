// SubRip files as receivers read them: hand-written files, in pieces of any size, and written and read back.
#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/times.h>

#include "TextCues.h"

#include <gtest/gtest.h>

namespace subrip_tests {
namespace {

using namespace qlx::subtitles;
using namespace std::string_view_literals;
using qlx::FindingCode;
using qlx::screen::Color;
using qlxtest::cueOf;
using qlxtest::CuesRead;
using qlxtest::milliseconds;
using qlxtest::randomCue;
using qlxtest::readCues;
using qlxtest::rowOf;
using qlxtest::rowsInWords;

CuesRead read(std::string_view text, std::size_t piece = std::string_view::npos, const TextCueOptions& options = {}) {
    return readCues<SubRipReader>(text, piece, options);
}

constexpr std::string_view kHead = "1\n00:00:01,000 --> 00:00:02,000\n";

struct RowCase {
    std::string_view text;
    std::string_view expected;  ///< See rowsInWords().
    std::vector<FindingCode> findings{};
};

TEST(SubRip, ReadsTheMarkupOfRows) {
    using enum qlx::FindingCode;
    const RowCase cases[] = {
        {"plain", "plain"},
        {"a\nb", "a|b"},
        {"<b>a</b>b", "{b}a{}b"},
        {"<I>a</I><U>b</U>", "{i}a{u}b"},
        {"< i >a</ i >", "{i}a"},
        {"<i>a\nb</i>\nc", "{i}a|{i}b|c"},
        {"<b>a<i>b</b>c</i>", "{b}a{bi}b{i}c"},
        {"<i>a", "{i}a", {SubRipTagUnclosed}},
        {"a</i>", "a", {SubRipTagWithoutStart}},
        {"<font color=\"red\">a</font>b", "{#30}a{}b"},
        {"<FONT COLOR='#00FF00'>a</FONT>", "{#0c}a"},
        {"<font color=#0000ff>a\nb</font>", "{#03}a|{#03}b"},
        {"<font color=\"#ff0\">a</font>", "{#3c}a"},
        {"<font color=\"rgb(255, 0, 255)\">a</font>", "{#33}a"},
        {"<font color=00FFFF>a</font>", "{#0f}a"},
        {"<font color=\"white\">a</font>", "a"},
        {"<font color=\"orange\">a</font>", "{#38 color=#ffa500}a"},
        {"<font color=\"nothing\">a</font>", "a", {SrtColorUnknown}},
        {"<font face=\"Arial\" size=20 color=\"yellow\">a</font>", "{#3c font.face=Arial font.size=20}a"},
        {"<font color=red>a<font color=blue>b</font>c</font>", "{#30}a{#03}b{#30}c"},
        {"<s>a</s>", "{strikeout=}a"},
        {"a<br>b<BR/>c", "a|b|c"},
        {"<foo>a", "<foo>a", {SubRipTagUnknown}},
        {"1 < 2 and 3 > 2", "1 < 2 and 3 > 2"},
        {"<3 a -> b", "<3 a -> b"},
        {"a &amp; b &lt;i&gt; &#233;&#xE9;&nbsp;", "a & b <i> \u00E9\u00E9\u00A0", {SubRipEntities}},
        {"AT&T; a&b", "AT&T; a&b"},
        {"&eacute;t&eacute;&hellip; &#146;&#x110000;", "\u00E9t\u00E9\u2026 \u2019&#x110000;", {SubRipEntities}},
        {"&eacute &lt", "&eacute &lt"},
        {"{\\an8}a\nb", "[8]a|[8]b"},
        {"a\n{\\an1}b", "[1]a|[1]b"},
        {"{\\a6}a", "[8]a"},
        {"{\\a11}a{\\an6}", "[6]a"},
        {"{\\a11}a{\\an2}", "[6]a{srt.codes=\\an2}"},
        {"{\\an0}a{\\a4}b", "{srt.codes=\\an0}a{srt.codes=\\a4}b"},
        {"<font color=red foo=bar>a</font>", "{#30}a", {SubRipAttributePassed}},
        {"{\\i1}a{\\i0}b{\\b1\\u1}c{\\r}d", "{i}a{}b{bu}c{}d"},
        {"<i>a{\\i0}b{\\i}c</i>", "{i}a{}b{i}c"},
        {"{\\c&H0000FF&}a{\\c}b", "{#30}a{}b"},
        {"<b>{\\b0}a{\\b}b</b>", "a{b}b"},
        {"{\\b700}a{\\b0}b", "{b srt.codes=\\b700}a{}b"},
        {"{\\b300}a", "{srt.codes=\\b300}a"},
        {"{\\pos(10,20)}a", "{srt.codes=\\pos(10,20)}a"},
        {"{\\an8\\fad(1,2)\\t(0,5,\\fs9)}a", "[8]{srt.codes=\\fad(1,2)\\t(0,5,\\fs9)}a"},
        {"a{\\k20}", "a{srt.codes=\\k20}"},
        // An open bracket takes in what follows it up to the end of its braces.
        {"{\\fad(1\\i1}{\\pos(1,2)}a", "{srt.codes=\\fad(1\\i1}{\\pos(1,2)}a"},
        {"{\\fad(1}{\\i1\\k1}{\\k2}a", "{i srt.codes=\\fad(1}{\\k1\\k2}a"},
        {"{\\an8 a", "{\\an8 a"},
        {"{a}", "{a}"},
        {"a\n\u00A0\nb", "a||b"},
        {"a\n \t\nb", "a||b"},
        {"a\n\nb", "a||b", {SubRipEmptyRow}},
        {"a\n12", "a|12"},
        {"12\n", "12"},
        {"a\xFF", "a\uFFFD", {SubtitleTextNotUtf8}},
    };
    for (const RowCase& row : cases) {
        const CuesRead result = read(std::string(kHead) + std::string(row.text) + "\n\n");
        ASSERT_EQ(result.cues.size(), 1U) << row.text;
        EXPECT_EQ(rowsInWords(result.cues.front()), row.expected) << row.text;
        EXPECT_EQ(result.codes(), row.findings) << row.text;
    }
}

struct TimeCase {
    std::string_view line;
    std::int64_t start;
    std::int64_t end;
    std::vector<FindingCode> findings{};
};

TEST(SubRip, ReadsTimesInTheFormsThatThereAre) {
    using enum qlx::FindingCode;
    const TimeCase cases[] = {
        {"00:00:01,000 --> 00:00:02,500", 1000, 2500},
        {"00:00:01.000 --> 00:00:02.500", 1000, 2500, {SrtTimeUnusual, SrtTimeUnusual}},
        {"00:00:01,000-->00:00:02,500", 1000, 2500},
        {"\t00:00:01,000  -->  00:00:02,500 ", 1000, 2500},
        {"00:01:39 --> 00:01:40", 99'000, 100'000, {SrtTimeUnusual, SrtTimeUnusual}},
        {"1:39,5 --> 01:40,25", 99'500, 100'250, {SrtTimeUnusual, SrtTimeUnusual}},
        {"0:00:01,000 --> 123:00:00,000", 1000, 442'800'000, {SrtTimeUnusual}},
        {"00:00:01,0004 --> 00:00:01,9995", 1000, 2000, {SrtTimeUnusual, SrtTimeUnusual}},
        {"00:75:00,000 --> 01:15:01,000", 4'500'000, 4'501'000, {SrtTimeUnusual}},
        {"00:00:01,000 --> 00:00:01,000", 1000, 1000, {SrtEndNotLater}},
    };
    for (const TimeCase& time : cases) {
        const CuesRead result = read("1\n" + std::string(time.line) + "\na\n");
        ASSERT_EQ(result.cues.size(), 1U) << time.line;
        EXPECT_EQ(result.cues.front().start, milliseconds(time.start)) << time.line;
        EXPECT_EQ(result.cues.front().end, milliseconds(time.end)) << time.line;
        EXPECT_EQ(result.codes(), time.findings) << time.line;
    }
    EXPECT_EQ(read("1\n00:00:02,000 --> 00:00:01,000\na\n").codes(), std::vector{SrtEndNotLater});
    EXPECT_EQ(read("1\n00:00:xx,000 --> 00:00:01,000\na\n").codes(), std::vector{SrtTimeWrong});
}

TEST(SubRip, KeepsWhatStandsBehindTheTimes) {
    const CuesRead result = read("1\n00:00:01,000 --> 00:00:02,000  X1:117 X2:619 Y1:042 Y2:428\na\n");
    ASSERT_EQ(result.cues.size(), 1U);
    EXPECT_EQ(result.cues[0].properties, (Properties{{"srt.coordinates", "X1:117 X2:619 Y1:042 Y2:428"}}));
    EXPECT_TRUE(result.findings.empty());
    EXPECT_EQ(read("1\n00:00:01,000 --> 00:00:02,000 X1:\xFF\na\n").codes(),
              std::vector{FindingCode::SubtitleTextNotUtf8});
}

TEST(SubRip, ReadsLinesThatEndInAnyWayInPiecesOfAnySize) {
    const std::string text = "\xEF\xBB\xBF"
                             "1\n00:00:01,000 --> 00:00:02,000\na\nb\n\n7\n00:00:02,000 --> 00:00:03,000\nc\n";
    const CuesRead expected = read(text);
    ASSERT_EQ(expected.cues.size(), 2U);
    EXPECT_EQ(expected.cues[0], cueOf(1, 1000, 2000, {rowOf("a"), rowOf("b")}));
    EXPECT_EQ(expected.cues[1], cueOf(7, 2000, 3000, {rowOf("c")}));
    EXPECT_TRUE(expected.findings.empty());
    for (const std::string_view end : {"\n"sv, "\r\n"sv, "\r"sv, "\r\r\n"sv}) {
        std::string other;
        for (const char character : text) {
            other += character == '\n' ? std::string(end) : std::string(1, character);
        }
        for (std::size_t piece = 1; piece < other.size(); ++piece) {
            EXPECT_EQ(read(other, piece), expected) << piece;
        }
    }
}

TEST(SubRip, TakesCuesWithoutNumbersAndWithoutEmptyLines) {
    using enum qlx::FindingCode;
    const CuesRead result = read("00:00:01,000 --> 00:00:02,000\na\n\n00:00:02,000 --> 00:00:03,000\nb\n"
                                 "9\n00:00:04,000 --> 00:00:05,000\nc");
    ASSERT_EQ(result.cues.size(), 3U);
    EXPECT_EQ(result.cues[0], cueOf(1, 1000, 2000, {rowOf("a")}));
    EXPECT_EQ(result.cues[1], cueOf(2, 2000, 3000, {rowOf("b")}));
    EXPECT_EQ(result.cues[2], cueOf(9, 4000, 5000, {rowOf("c")}));
    EXPECT_EQ(result.codes(), (std::vector{SrtNumberWrong, SrtNumberWrong, SrtTimingInsideCue}));
}

TEST(SubRip, KeepsNumbersAsTheyAreWritten) {
    const struct {
        std::string_view digits;
        std::uint64_t number;
        std::string_view identifier;
        std::vector<FindingCode> findings;
    } cases[] = {
        {"1", 1, "", {}},
        {"18446744073709551615", 18'446'744'073'709'551'615U, "", {}},
        {"0", 0, "0", {}},
        {"007", 7, "007", {}},
        {"18446744073709551616", 18'446'744'073'709'551'615U, "18446744073709551616", {FindingCode::SrtNumberTooGreat}},
    };
    for (const auto& each : cases) {
        const std::string file = std::string(each.digits) + "\n00:00:01,000 --> 00:00:02,000\na\n\n";
        const CuesRead result = read(file);
        ASSERT_EQ(result.cues.size(), 1U) << each.digits;
        EXPECT_EQ(result.cues[0].number, each.number);
        EXPECT_EQ(result.cues[0].identifier, each.identifier);
        EXPECT_EQ(result.codes(), each.findings);
        std::string text;
        qlx::Findings findings;
        SubRipWriter writer(&findings);
        EXPECT_TRUE(writer.write(result.cues[0], text));
        EXPECT_EQ(text, file);
        EXPECT_TRUE(findings.empty()) << each.digits;
        // A cue without a number counts on, and not beyond the greatest number.
        EXPECT_TRUE(writer.write(cueOf(0, 1000, 2000, {rowOf("b")}), text));
        const std::string next = each.number + 1 == 0 ? "18446744073709551615" : std::to_string(each.number + 1);
        EXPECT_EQ(text, file + next + "\n00:00:01,000 --> 00:00:02,000\nb\n\n");
    }
}

TEST(SubRip, LeavesOutWhatIsNoCueWithItsLine) {
    const CuesRead result = read("title\n\n1\n00:00:01,000 --> 00:00:02,000\na\n\n2\n");
    ASSERT_EQ(result.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(result.cues[0]), "a");
    ASSERT_EQ(result.findings.size(), 2U);
    EXPECT_EQ(result.findings[0], (qlx::Finding{FindingCode::SubRipTextInFront, qlx::Severity::Error, 1, 5, 0}));
    EXPECT_EQ(result.findings[1], (qlx::Finding{FindingCode::SrtTimingMissing, qlx::Severity::Error, 7, 0, 0}));
}

TEST(SubRip, LeavesOutCuesThatAreTooLong) {
    const std::string text = std::string(kHead) + std::string(200, 'x') + "\n\n2\n00:00:03,000 --> 00:00:04,000\nb\n";
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, std::string_view::npos}) {
        const CuesRead result = read(text, piece, {.greatestCue = 100});
        ASSERT_EQ(result.cues.size(), 1U);
        EXPECT_EQ(result.cues[0].number, 2U);
        EXPECT_EQ(result.codes(), std::vector{FindingCode::SrtCueTooLong});
    }
}

TEST(SubRip, IsReadAtEveryLengthWithoutMoreCuesThanThereAre) {
    const std::string text = std::string(kHead) + "{\\an8}<font color=\"red\">a &amp; b</font>\n\n2\n"
                                                  "00:00:03,000 --> 00:00:04,000\n<i>b</i>\n";
    for (std::size_t size = 0; size <= text.size(); ++size) {
        EXPECT_LE(read(std::string_view(text).substr(0, size)).cues.size(), 2U);
    }
}

std::string written(const Cue& cue, qlx::Findings* findings = nullptr) {
    std::string text;
    SubRipWriter writer(findings);
    (void)writer.write(cue, text);
    return text;
}

TEST(SubRip, WritesCues) {
    Cue cue = cueOf(3, 1000, 2500, {rowOf("a & b"), Row{}, rowOf("c")});
    cue.rows[0].runs.push_back({"d", {}});
    cue.rows[0].runs[1].style.foreground = Color::Yellow;
    cue.rows[0].runs[1].style.isItalic = true;
    cue.properties = {{"srt.coordinates", "X1:1"}};
    for (Row& row : cue.rows) {
        row.anchor = 8;
    }
    qlx::Findings findings;
    EXPECT_EQ(written(cue, &findings), "3\n00:00:01,000 --> 00:00:02,500 X1:1\n"
                                       "{\\an8}a & b<font color=\"#ffff00\"><i>d</i></font>\n\u00A0\nc\n\n");
    EXPECT_TRUE(findings.empty());
}

TEST(SubRip, WritesCodesInTheirBraces) {
    // The first one would take in the others in one pair of braces.
    const std::string file = std::string(kHead) + "{\\fad(1}{\\pos(1,2)\\k1}a{\\k2}b\n\n";
    qlx::Findings findings;
    EXPECT_EQ(written(read(file).cues.at(0), &findings), file);
    EXPECT_TRUE(findings.empty());
}

TEST(SubRip, WritesNoRowOfBlanks) {
    // For many readers it ends the cue.
    EXPECT_EQ(written(cueOf(1, 1000, 2000, {rowOf("a"), rowOf(" \t"), rowOf(" b")})),
              "1\n00:00:01,000 --> 00:00:02,000\na\n\u00A0\n b\n\n");
}

TEST(SubRip, WritesNoPlaceThatIsNone) {
    for (const int anchor : {10, 255}) {
        Cue cue = cueOf(1, 1000, 2000, {rowOf("a")});
        cue.rows[0].anchor = static_cast<std::uint8_t>(anchor);
        qlx::Findings findings;
        EXPECT_EQ(written(cue, &findings), "1\n00:00:01,000 --> 00:00:02,000\na\n\n") << anchor;
        ASSERT_EQ(findings.size(), 1U) << anchor;
        EXPECT_EQ(findings.begin()->code, qlx::FindingCode::SubtitlePlaceLost);
    }
}

/// A row on a screen of 15 by 32, its text five characters wide.
struct PlacedRow {
    std::uint64_t number = 15;
    std::uint16_t column = 0;
    std::string_view anchor;  ///< As it is written.
    bool isLost = false;
};

TEST(SubRip, SaysThatThePlaceIsLostWhereThePictureChanges) {
    const PlacedRow cases[] = {
        // Below, in the middle: 13 or 14 columns in front, and 14 or 13 behind.
        {15, 0, ""},
        {15, 14, ""},
        {15, 15, ""},
        {15, 13, "", true},
        {15, 16, "", true},
        {14, 14, "", true},
        // At the edges.
        {15, 1, "{\\an1}"},
        {15, 2, "{\\an1}", true},
        {15, 28, "{\\an3}"},
        {15, 27, "{\\an3}", true},
        // At the top, and with seven rows above and below.
        {1, 14, "{\\an8}"},
        {2, 14, "{\\an8}", true},
        {8, 1, "{\\an4}"},
        {7, 1, "{\\an4}", true},
        {10, 28, "{\\an6}", true},
    };
    for (const PlacedRow& place : cases) {
        SCOPED_TRACE(place.number);
        SCOPED_TRACE(place.column);
        Cue cue = cueOf(1, 1000, 2000, {rowOf("Hello")});
        cue.screenRows = 15;
        cue.screenColumns = 32;
        cue.rows[0].number = place.number;
        cue.rows[0].column = place.column;
        qlx::Findings findings;
        EXPECT_EQ(written(cue, &findings),
                  "1\n00:00:01,000 --> 00:00:02,000\n" + std::string(place.anchor) + "Hello\n\n");
        EXPECT_EQ(findings.size(), place.isLost ? 1U : 0U);
        for (const auto& finding : findings) {
            EXPECT_EQ(finding.code, qlx::FindingCode::SubtitlePlaceLost);
        }
    }
    // Two rows that are in the middle, each of them, on the last rows of a page of double height; and one of them aside.
    for (const std::uint16_t column : std::initializer_list<std::uint16_t>{19, 18, 16}) {
        Cue cue = cueOf(1, 1000, 2000, {rowOf("Hello"), rowOf("you")});
        cue.screenRows = 23;
        cue.screenColumns = 40;
        cue.rows[0].number = 20;
        cue.rows[0].column = 18;
        cue.rows[1].number = 22;
        cue.rows[1].column = static_cast<std::uint16_t>(column + 1);
        qlx::Findings findings;
        EXPECT_EQ(written(cue, &findings), "1\n00:00:01,000 --> 00:00:02,000\nHello\nyou\n\n");
        EXPECT_EQ(findings.size(), column == 16 ? 1U : 0U) << column;
    }
}

TEST(SubRip, SaysWhatItCannotWrite) {
    using enum qlx::FindingCode;
    Cue cue = cueOf(1, 1000, 1000, {rowOf("<b>"), rowOf("x")});
    cue.rows[1].runs[0].style.background = Color::Blue;
    cue.rows[1].runs[0].from = milliseconds(1500);
    cue.rows[1].runs[0].properties = {{"vtt.v", "Bob"}};
    cue.rows[1].number = 4;
    cue.identifier = "intro";
    qlx::Findings findings;
    EXPECT_EQ(written(cue, &findings), "1\n00:00:01,000 --> 00:00:01,001\n<b>\nx\n\n");
    std::vector<FindingCode> codes;
    for (const auto& finding : findings) {
        codes.push_back(finding.code);
    }
    EXPECT_EQ(codes, (std::vector{SubtitleTimeEmptied, SubtitleNameLost, SubtitleTextAmbiguous, SubtitleStylesLost,
                                  SubtitlePropertiesLost, SubtitleRunTimeLost, SubtitlePlaceLost}));
    cue.language = "fr";
    cue.region = "low";
    qlx::Findings names;
    (void)written(cue, &names);
    std::vector<std::string> texts;
    for (const auto& finding : names) {
        texts.push_back(finding.text());
    }
    EXPECT_EQ(
        (std::vector<std::string>(texts.begin() + 1, texts.begin() + 4)),
        (std::vector<std::string>{"its name, of 5 bytes, is lost", "the name of its language, of 2 bytes, is lost",
                                  "the name of a region, of 3 bytes, is lost"}));
    EXPECT_EQ(written(cueOf(1, -2000, -1000, {rowOf("a")})), "");
    EXPECT_EQ(written(cueOf(1, -2000, 1000, {rowOf("a")})), "1\n00:00:00,000 --> 00:00:01,000\na\n\n");
}

TEST(SubRip, WritesNoPropertyThatWouldEndItsTagOrRow) {
    const Property cases[] = {
        {"srt.codes", "\\fad(1,2)}x"},    {"srt.codes", "\\fad(1}{x"},
        {"srt.codes", "\\fad(1}"},        {"srt.codes", "\\k1\n\n2\n00:00:05,000 --> 00:00:06,000"},
        {"font.face", "A\" color=\"red"}, {"font.face", "A>"},
        {"font.size", "9\r\n"},
    };
    for (const Property& property : cases) {
        Cue cue = cueOf(1, 1000, 2000, {rowOf("a")});
        cue.rows[0].runs[0].properties = {property};
        qlx::Findings findings;
        EXPECT_EQ(written(cue, &findings), "1\n00:00:01,000 --> 00:00:02,000\na\n\n") << property.value;
        ASSERT_EQ(findings.size(), 1U) << property.value;
        EXPECT_EQ(findings[0].code, FindingCode::SubtitlePropertiesLost);
    }
}

TEST(SubRip, SaysWhichTextIsReadAsMarkup) {
    const std::pair<std::string_view, bool> cases[] = {
        {"a < b", false}, {"<te]", false},  {"<te> ]", true}, {"< i >", true},   {"</i>", true},    {"a &amp; b", true},
        {"AT&T", false},  {"{\\i1}", true}, {"{i1}", false},  {"a --> b", true}, {"a -> b", false},
    };
    for (const auto& [text, isAmbiguous] : cases) {
        qlx::Findings findings;
        (void)written(cueOf(1, 0, 1000, {rowOf(std::string(text))}), &findings);
        EXPECT_EQ(!findings.empty(), isAmbiguous) << text;
    }
}

TEST(SubRip, SaysThatARowHasAnArrow) {
    Cue cue = cueOf(1, 0, 1000, {rowOf("00"), rowOf("n")});
    cue.rows[1].runs[0].properties = {{"srt.codes", "\\a --> 2"}};
    qlx::Findings findings;
    EXPECT_EQ(written(cue, &findings), "1\n00:00:00,000 --> 00:00:01,000\n00\n{\\a --> 2}n\n\n");
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::SubtitleTextAmbiguous);
    findings.clear();
    cue = cueOf(1, 0, 1000, {rowOf("--")});
    cue.rows[0].runs.push_back({"> you", {}, {}, {}});
    EXPECT_EQ(written(cue, &findings), "1\n00:00:00,000 --> 00:00:01,000\n--> you\n\n");
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::SubtitleTextAmbiguous);
}

TEST(SubRip, IsReadBackAsItWasWritten) {
    std::mt19937 random(7);
    std::string text;
    std::vector<Cue> cues;
    qlx::Findings findings;
    SubRipWriter writer(&findings);
    for (std::uint64_t number = 1; number <= 10'000; ++number) {
        cues.push_back(randomCue(random, number, qlxtest::CueFormat::SubRip));
        EXPECT_TRUE(writer.write(cues.back(), text));
    }
    EXPECT_TRUE(findings.empty());
    const CuesRead back = read(text, 1000);
    EXPECT_TRUE(back.findings.empty());
    ASSERT_EQ(back.cues.size(), cues.size());
    for (std::size_t index = 0; index < cues.size(); ++index) {
        ASSERT_EQ(back.cues[index], cues[index]) << rowsInWords(back.cues[index]) << "\n" << rowsInWords(cues[index]);
    }
}

TEST(CueTimes, AreRoundedHalfUpAndTouchingOnesStayTouching) {
    using qlx::MediaTime;
    EXPECT_EQ(unitsOf(MediaTime::make(1, 2000), 1000), 1);
    EXPECT_EQ(unitsOf(MediaTime::make(-1, 2000), 1000), 0);
    EXPECT_EQ(unitsOf(MediaTime::make(-3, 2000), 1000), -1);
    EXPECT_EQ(unitsOf(MediaTime::make(1001, 30000), 1000), 33);
    EXPECT_EQ(unitsOf(MediaTime::make(36'000, 1), 1000), 36'000'000);
    EXPECT_EQ(unitsOf(MediaTime{}, 1000), 0);
    EXPECT_EQ(unitsOf(MediaTime::make(std::numeric_limits<std::int64_t>::max(), 1), 1000),
              std::numeric_limits<std::int64_t>::max());
    // 24 frames of 1001/24000 s are 1001 ms; each end is the start of the next one.
    Cue cue;
    std::int64_t before = 0;
    for (std::int64_t frame = 0; frame < 100; ++frame) {
        cue.start = MediaTime::make(frame * 1001, 24000);
        cue.end = MediaTime::make((frame + 1) * 1001, 24000);
        const UnitSpan span = spanIn(cue, 1000);
        EXPECT_EQ(span.start, before);
        EXPECT_FALSE(span.isLengthened);
        before = span.end;
    }
    cue.end = cue.start;
    EXPECT_EQ(spanIn(cue, 1000), (UnitSpan{4129, 4130, true}));
}

}  // namespace
}  // namespace subrip_tests
