// WebVTT files: hand-written files, in pieces of any size, and written and read back.
#include <qlx/subtitles/colors.h>
#include <qlx/subtitles/webvtt.h>

#include "Sanitized.h"
#include "TextCues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>
#include <string>

namespace webvtt_tests {
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
    return readCues<WebVttReader>(text, piece, options);
}

WebVttFile fileOf(std::string_view text) {
    WebVttReader reader;
    reader.push({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    reader.finish();
    while (reader.next() != nullptr) {
    }
    return reader.file();
}

struct TextCase {
    std::string_view text;
    std::string_view expected;  ///< See rowsInWords().
    std::vector<FindingCode> findings{};
};

TEST(WebVtt, ReadsTheSpansOfText) {
    using enum qlx::FindingCode;
    const TextCase cases[] = {
        {"plain", "plain"},
        {"a\nb", "a|b"},
        {"<b>a</b><i>b</i><u>c</u>", "{b}a{i}b{u}c"},
        {"<i>a\nb</i>c", "{i}a|{i}b{}c"},
        {"<v Mary>a\n<b>b\nc</b></v>\nd", "{vtt.v=Mary}a|{b vtt.v=Mary}b|{b vtt.v=Mary}c|d"},
        {"<v Mary\n\t  Ann >a</v\n>b", "{vtt.v=Mary Ann}ab", {WebVttTagWrong}},
        {"a<c.red\n\n>b", "a", {WebVttTagWrong, WebVttTagUnclosed, WebVttBlockPassed}},
        {"a<c.red\n>b</c>\nc", "a{#30}b|c"},
        {"<v\fMary>a", "{vtt.v=Mary}a"},
        {"<v A&#32;&#10; &#9;B&#32;>a", "{vtt.v=A B}a"},
        {"<i.loud>a</i>", "{i vtt.c=loud}a"},
        {"<c.red>a</c><c.yellow.bg_blue>b</c>", "{#30}a{#3con03}b"},
        {"<c.lime.loud.x>a</c>", "{#0c vtt.c=loud.x}a"},
        {"<c.red>a<c.white>b</c>c</c>", "{#30}a{}b{#30}c"},
        {"<v Mary &amp; Bob>a", "{vtt.v=Mary & Bob}a"},
        {"<v.loud Mary>a</v>b", "{vtt.v.c=loud vtt.v=Mary}a{}b"},
        {"<lang en-GB>a</lang>", "{vtt.lang=en-GB}a"},
        {"<ruby>a<rt>b</rt>c<rt>d</ruby>e", "{vtt.ruby=}a{vtt.ruby= vtt.rt=}b{vtt.ruby=}c{vtt.ruby= vtt.rt=}d{}e"},
        {"a<00:00:01.500>b<00:00:01.750>c", "a{@1500}b{@1750}c"},
        {"a<00:01.500>b\nc", "a{@1500}b|{@1500}c"},
        {"a<00:00:00.500>b", "a{@500}b", {WebVttInnerTimeWrong}},
        {"a<0:00:01.500>b<00:01,6>c<00:00:01.70>d",
         "a{@1500}b{@1600}c{@1700}d",
         {WebVttInnerTimeUnusual, WebVttInnerTimeUnusual, WebVttInnerTimeUnusual}},
        {"a &amp; &lt;b&gt; &nbsp;&lrm;&rlm;&#233;", "a & <b> \u00A0\u200E\u200F\u00E9"},
        {"AT&T", "AT&T", {WebVttEntityUnknown}},
        {"&eacute;&hellip;&hearts;&thetasym;&apos;&#150;", "\u00E9\u2026\u2665\u03D1'\u2013"},
        {"&lt&ampx &nbspy &eacute &frac12", "<&x \u00A0y \u00E9 \u00BD"},
        {"&hellip &apos &#x &# &#1114112", "&hellip &apos &#x &# &#1114112", {WebVttEntityUnknown}},
        {"&#65 &#xe9g&#x41&#0000000000065;&#150", "A \u00E9gAA\u2013"},
        {"a<foo>b</foo>", "ab", {WebVttTagWrong, WebVttTagWrong}},
        {"<b>a</i>b</b>", "{b}ab", {WebVttTagWrong}},
        {"<b>a", "{b}a", {WebVttTagUnclosed}},
        {"a<b", "a", {WebVttTagWrong, WebVttTagUnclosed}},
        {"<rt>a</rt>", "a", {WebVttTagWrong, WebVttTagWrong}},
        {"a\n&nbsp;\nb", "a||b"},
        {"a\xC3", "a\uFFFD", {SubtitleTextNotUtf8}},
    };
    for (const TextCase& row : cases) {
        const CuesRead result = read("WEBVTT\n\n00:00:01.000 --> 00:00:02.000\n" + std::string(row.text) + "\n\n");
        ASSERT_EQ(result.cues.size(), 1U) << row.text;
        EXPECT_EQ(rowsInWords(result.cues.front()), row.expected) << row.text;
        EXPECT_EQ(result.codes(), row.findings) << row.text;
    }
}

struct SettingCase {
    std::string_view settings;
    Properties properties;
    std::uint8_t anchor = 0;
    Alignment alignment = Alignment::Center;
    std::vector<FindingCode> findings{};
};

TEST(WebVtt, ReadsSettings) {
    using enum qlx::FindingCode;
    const SettingCase cases[] = {
        {"", {}},
        {" align:left", {}, 0, Alignment::Left},
        {" align:end", {{"vtt.align", "end"}}, 0, Alignment::Right},
        {" line:0", {}, 8},
        {"line:0", {}, 8},  // without the blank that should be there
        {" line:50%,center align:right", {}, 6, Alignment::Right},
        {" line:-1", {{"vtt.line", "-1"}}, 2},
        {" line:84.5%,end", {{"vtt.line", "84.5%,end"}}, 2},
        {" position:10%,line-left size:35%", {{"vtt.position", "10%,line-left"}, {"vtt.size", "35%"}}},
        {" align:start align:end", {{"vtt.align", "end"}}, 0, Alignment::Right},
        {" align:start line:0 align:right line:1", {{"vtt.line", "1"}}, 9, Alignment::Right},
        {" vertical:rl\tline:1", {{"vtt.vertical", "rl"}, {"vtt.line", "1"}}, 8},
        {"\fvertical:rl\f \fline:1\f", {{"vtt.vertical", "rl"}, {"vtt.line", "1"}}, 8},
        {" line:x size:101% align:middle foo:bar size",
         {},
         0,
         Alignment::Center,
         {WebVttSettingWrong, WebVttSettingWrong, WebVttSettingWrong, WebVttSettingWrong, WebVttSettingWrong}},
    };
    for (const SettingCase& setting : cases) {
        const CuesRead result = read("WEBVTT\n\n00:01.000 --> 00:02.000" + std::string(setting.settings) + "\na\n");
        ASSERT_EQ(result.cues.size(), 1U) << setting.settings;
        EXPECT_EQ(result.cues[0].properties, setting.properties) << setting.settings;
        ASSERT_EQ(result.cues[0].rows.size(), 1U);
        EXPECT_EQ(result.cues[0].rows[0].anchor, setting.anchor) << setting.settings;
        EXPECT_EQ(result.cues[0].rows[0].alignment, setting.alignment) << setting.settings;
        EXPECT_EQ(result.codes(), setting.findings) << setting.settings;
    }
}

constexpr std::string_view kWhole = "WEBVTT - a title\n"
                                    "X-TIMESTAMP-MAP=LOCAL:00:00:00.000,MPEGTS:900000\n"
                                    "Language: en\n"
                                    "\n"
                                    "STYLE\n"
                                    "::cue { color: lime }\n"
                                    "\n"
                                    "REGION\n"
                                    "id:fred width:40%\n"
                                    "lines:3\n"
                                    "\n"
                                    "NOTE in front\n"
                                    "\n"
                                    "intro\n"
                                    "00:01.000 --> 00:00:02.000 region:fred position:10%\n"
                                    "a\n"
                                    "\n"
                                    "NOTE\n"
                                    "between\n"
                                    "\n"
                                    "2\n"
                                    "00:00:02.000 --> 00:00:03.000\n"
                                    "b\n"
                                    "\n"
                                    "NOTE behind\n";

TEST(WebVtt, KeepsWhatStandsAroundCues) {
    const CuesRead result = read(kWhole);
    EXPECT_EQ(result.codes(), std::vector<FindingCode>());
    ASSERT_EQ(result.cues.size(), 2U);
    Cue first = cueOf(0, 1000, 2000, {rowOf("a")});
    first.identifier = "intro";
    first.region = "fred";
    first.language = "en";
    first.properties = {{"vtt.position", "10%"}};
    // A region of 40 % and three lines of 6 % at the lower left; a cue in its middle moves to the left by 40 % of it.
    first.box = Box{0, 82, 24, 18, BoxEdge::Bottom};
    first.screenRows = 15;
    first.rows[0].number = 15;
    first.rows[0].runs[0].style.foreground = qlx::screen::Color::Green;
    EXPECT_EQ(result.cues[0], first);
    Cue second = cueOf(2, 2000, 3000, {rowOf("b")});
    second.language = "en";
    second.properties = {{"vtt.note", "NOTE\nbetween"}};
    second.rows[0].runs[0].style.foreground = qlx::screen::Color::Green;
    EXPECT_EQ(result.cues[1], second);
    const WebVttFile file = fileOf(kWhole);
    EXPECT_EQ(file.title, "- a title");
    EXPECT_EQ(file.header,
              (std::vector<std::string>{"X-TIMESTAMP-MAP=LOCAL:00:00:00.000,MPEGTS:900000", "Language: en"}));
    EXPECT_EQ(file.blocks, (std::vector<std::string>{"STYLE\n::cue { color: lime }",
                                                     "REGION\nid:fred width:40%\nlines:3", "NOTE in front"}));
    EXPECT_EQ(file.notes, std::vector<std::string>{"NOTE behind"});
    // What is written is read as the same.
    std::string text;
    WebVttWriter writer;
    writer.begin(file, text);
    for (const Cue& cue : result.cues) {
        EXPECT_TRUE(writer.write(cue, text));
    }
    writer.finish(file, text);
    EXPECT_EQ(read(text), result);
    EXPECT_EQ(fileOf(text), file);
}

TEST(WebVtt, NamesTheRegionsOfAHead) {
    const WebVttFile file =
        readWebVttHead("WEBVTT\n\nNOTE id:note\n\nREGION\nid:one lines:3\n\nSTYLE\nid:style\n\n"
                       "REGION\nwidth:40%\nxid:none\fid:two\tid:three\nid:\n\n00:01.000 --> 00:02.000\nx\n\n"
                       "REGION\nid:late\n");
    EXPECT_EQ(regionsOf(file), (std::set<std::string, std::less<>>{"", "one", "three", "two"}));
    EXPECT_TRUE(regionsOf({}).empty());
}

TEST(WebVtt, KeepsAMebibyteBesidesCues) {
    using enum qlx::FindingCode;
    const auto many = [](std::string_view part) {
        std::string text;
        while (text.size() < qlxtest::countFor(std::size_t{4}, std::size_t{1}) << 20U) {
            text += part;
        }
        return text;
    };
    const std::string cue = "\n00:01.000 --> 00:02.000\na\n\n";
    for (const std::string& text :
         {"WEBVTT\n" + many("x\n") + cue, "WEBVTT\n" + many("\nNOTE\n") + cue,
          "WEBVTT\n" + many("\nREGION\nid:a\n") + cue, "WEBVTT\n" + cue + many("NOTE x\n\n")}) {
        const CuesRead result = read(text);
        EXPECT_EQ(result.cues.size(), 1U);
        EXPECT_EQ(result.codes(), std::vector{WebVttRestTooLong});
        const WebVttFile file = fileOf(text);
        std::size_t kept = 0;
        for (const auto* const lines : {&file.header, &file.blocks, &file.notes}) {
            for (const std::string& line : *lines) {
                kept += sizeof(std::string) + line.size();
            }
        }
        EXPECT_GT(kept, 100'000U);
        EXPECT_LE(kept, std::size_t{1} << 20U);
    }
    // Comments between cues go with them.
    std::string between = "WEBVTT\n";
    for (int number = 0; number < 40; ++number) {
        between += cue + "NOTE " + std::string(50'000, 'x') + "\n\n";
    }
    EXPECT_TRUE(read(between).findings.empty());
}

TEST(WebVtt, IgnoresSettingsOfPlaceInARegion) {
    using enum qlx::FindingCode;
    const CuesRead result =
        read("WEBVTT\n\nREGION\nid:r\n\n00:01.000 --> 00:02.000 line:0 region:r size:50% vertical:lr\na\n"
             "\n00:02.000 --> 00:03.000 region:other line:5 size:40%\nb\n");
    ASSERT_EQ(result.cues.size(), 2U);
    // A name that no region has is none.
    EXPECT_EQ(result.cues[1].region, "other");
    EXPECT_EQ(result.cues[1].properties, (Properties{{"vtt.line", "5"}, {"vtt.size", "40%"}}));
    ASSERT_TRUE(result.cues[1].box);
    EXPECT_DOUBLE_EQ(result.cues[1].box->width, 40);
    EXPECT_EQ(result.cues[0].region, "r");
    EXPECT_EQ(result.cues[0].properties, Properties());
    EXPECT_EQ(result.cues[0].rows[0].anchor, 0);
    EXPECT_EQ(result.codes(),
              (std::vector{WebVttSettingInRegion, WebVttSettingInRegion, WebVttSettingInRegion, WebVttRegionUnknown}));
}

TEST(WebVtt, TakesWhatIsSeenWithFindings) {
    using enum qlx::FindingCode;
    using namespace std::string_view_literals;
    const struct {
        std::string_view text;
        std::vector<std::string_view> rows;
        std::vector<FindingCode> findings;
    } cases[] = {
        {"00:01.000 --> 00:02.000\na\n", {"a"}, {WebVttSignatureMissing}},
        {"WEBVTT\n00:01.000 --> 00:02.000\na\n", {"a"}, {}},
        {"\xEF\xBB\xBFWEBVTT\r\r00:01.000 --> 00:02.000\ra\r", {"a"}, {}},
        {"\xEF\xBB\xBFWEBVTT", {}, {}},
        {"WEBVTT\n\n00:00:01,000 --> 0:2.5\na\n", {"a"}, {WebVttTimeUnusual, WebVttTimeUnusual}},
        {"WEBVTT\n\n00:02.000 --> 00:02.000\na\n\n00:03.000 --> 00:04.000\nb", {"b"}, {WebVttEndNotLater}},
        {"WEBVTT\n\nx --> y\na\n\n00:03.000 --> 00:04.000\nb", {"b"}, {WebVttTimingWrong}},
        {"WEBVTT\n\nnobody\nknows\n\n00:03.000 --> 00:04.000\nb", {"b"}, {WebVttBlockPassed}},
        {"WEBVTT\n\n00:03.000 --> 00:04.000\na\n\nSTYLE\n::cue{}\n", {"a"}, {WebVttBlockPassed}},
        {"WEBVTT\n\n00:03.000 --> 00:04.000\na\n00:04.000 --> 00:05.000\nb\n", {"a", "b"}, {}},
        {"WEBVTT\n\n00:03.000 --> 00:04.000\n\n", {""}, {}},
        {"WEBVTT\n\n\f00:03.000\f-->\f00:04.000\f\na\n", {"a"}, {}},
        {"WEBVTT\n\n00:03.000 --> 00:04.000\n\0a\0\0b\n"sv, {"\uFFFDa\uFFFD\uFFFDb"}, {}},
        {"WEBVTTX\n\n", {}, {WebVttSignatureMissing, WebVttBlockPassed}},
    };
    for (const auto& file : cases) {
        for (const std::size_t piece : {std::size_t{1}, std::size_t{3}, std::string_view::npos}) {
            const CuesRead result = read(file.text, piece);
            std::vector<std::string> rows;
            for (const Cue& cue : result.cues) {
                rows.push_back(rowsInWords(cue));
            }
            EXPECT_EQ(rows, std::vector<std::string>(file.rows.begin(), file.rows.end())) << file.text;
            EXPECT_EQ(result.codes(), file.findings) << file.text;
        }
    }
    const CuesRead large =
        read("WEBVTT\n\n00:01.000 --> 00:02.000\n" + std::string(200, 'x') + "\n\n00:03.000 --> 00:04.000\nb\n", 7,
             {.greatestCue = 100});
    ASSERT_EQ(large.cues.size(), 1U);
    EXPECT_EQ(large.codes(), std::vector{WebVttTextTooLong});
    const CuesRead note = read("WEBVTT\n\nNOTE\n" + std::string(200, 'x') + "\n" + std::string(200, 'y') +
                                   "\n\n00:03.000 --> 00:04.000\nb\n",
                               7, {.greatestCue = 100});
    ASSERT_EQ(note.cues.size(), 1U);
    EXPECT_EQ(note.codes(), std::vector{WebVttRestTooLong});
}

TEST(WebVtt, WritesPlacesOfOtherFormats) {
    Cue cue = cueOf(1, 1000, 2000, {rowOf("a --> <b> & c"), Row{}});
    cue.screenRows = 15;
    cue.screenColumns = 32;
    cue.rows[0].number = 4;
    cue.rows[0].column = 9;
    cue.rows[0].runs[0].style.foreground = qlx::screen::colorOf(3, 2, 0);
    qlx::Findings findings;
    WebVttWriter writer(&findings);
    std::string text;
    EXPECT_TRUE(writer.write(cue, text));
    // Row 4 of 15: 10 % and 3/15 of 80 %; column 9 of 32: 10 % and 8/32 of 80 %. Orange is nearest to yellow.
    EXPECT_EQ(text, "1\n00:00:01.000 --> 00:00:02.000 line:26% position:30%,line-left align:left\n"
                    "<c.yellow>a --&gt; &lt;b&gt; &amp; c</c>\n&nbsp;\n\n");
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].code, FindingCode::SubtitleColorChanged);
    EXPECT_EQ(findings[1].code, FindingCode::SubtitlePlaceLost);
    EXPECT_EQ(findings[1].first, 2);
}

TEST(WebVtt, SaysThatAColumnIsLostWhereThePictureChanges) {
    const struct {
        std::uint64_t number;
        std::uint16_t first;   ///< Column of the first row, of five characters.
        std::uint16_t second;  ///< Of the other one, of three.
        std::size_t lost = 0;  ///< Rows of which it is said.
    } cases[] = {{14, 9, 9}, {14, 9, 10, 1}, {14, 0, 0}, {14, 0, 15}, {14, 0, 14, 1}, {0, 14, 15}, {0, 9, 9, 2}};
    for (const auto& each : cases) {
        Cue cue = cueOf(1, 1000, 2000, {rowOf("Hello"), rowOf("you")});
        cue.screenRows = 15;
        cue.screenColumns = 32;
        cue.rows[0].column = each.first;
        cue.rows[1].column = each.second;
        cue.rows[0].number = each.number;
        cue.rows[1].number = each.number == 0 ? 0 : each.number + 1;
        qlx::Findings findings;
        WebVttWriter writer(&findings);
        std::string text;
        EXPECT_TRUE(writer.write(cue, text));
        EXPECT_EQ(findings.size(), each.lost) << each.number << " " << each.first << " " << each.second << text;
    }
}

TEST(WebVtt, SaysWhatOfTheRestIsWrittenOtherwise) {
    WebVttFile file;
    file.title = "a --> b";
    file.header = {"Kind: x\ny"};
    file.blocks = {"NOTE\n1 --> 2 --> 3\n\nrest", "STYLE\r\n::cue {}\r\n"};
    file.notes = {"NOTE -->"};
    Cue cue = cueOf(1, 1000, 2000, {rowOf("a")});
    cue.properties = {{"vtt.note", "NOTE\n\nb"}};
    qlx::Findings findings;
    WebVttWriter writer(&findings);
    std::string text;
    writer.begin(file, text);
    EXPECT_TRUE(writer.write(cue, text));
    writer.finish(file, text);
    EXPECT_EQ(text, "WEBVTT a -- > b\nKind: x y\n\nNOTE\n1 -- > 2 -- > 3\nrest\n\nSTYLE\n::cue {}\n\n"
                    "NOTE\nb\n\n1\n00:00:01.000 --> 00:00:02.000\na\n\nNOTE -- >\n\n");
    using enum FindingCode;
    const auto of = [](std::uint64_t cueNumber, std::int64_t arrows, std::int64_t lines) {
        return qlx::Finding{SubtitleRestChanged, qlx::Severity::Warning, cueNumber, arrows, lines};
    };
    EXPECT_EQ(std::vector(findings.begin(), findings.end()), (std::vector{of(0, 3, 1), of(1, 0, 1), of(1, 1, 0)}));
}

TEST(WebVtt, DefinesTheColorsOfItsFile) {
    Cue cue = cueOf(1, 1000, 2000, {rowOf("a"), rowOf("b"), rowOf("c")});
    cue.rows[0].runs[0].style.foreground = qlx::screen::colorOf(3, 2, 0);
    cue.rows[0].runs[0].properties = {{"color", "#ffa501"}};
    cue.rows[1].runs[0].style.background = qlx::screen::colorOf(1, 1, 1);
    cue.rows[2].runs[0].style.foreground = qlx::screen::Color::Red;
    WebVttFile file;
    addColorsOf(cue, file);
    addColorsOf(cue, file);
    EXPECT_EQ(file.colors, (std::vector<std::uint32_t>{0x555555, 0xFFA501}));
    qlx::Findings findings;
    WebVttWriter writer(&findings);
    std::string text;
    writer.begin(file, text);
    EXPECT_TRUE(writer.write(cue, text));
    EXPECT_TRUE(findings.empty());
    EXPECT_EQ(text, "WEBVTT\n\nSTYLE\n"
                    "::cue(.rgb555555) {color: #555555}\n::cue(.bg_rgb555555) {background-color: #555555}\n"
                    "::cue(.rgbffa501) {color: #ffa501}\n\n"
                    "1\n00:00:01.000 --> 00:00:02.000\n"
                    "<c.rgbffa501>a</c>\n<c.bg_rgb555555>b</c>\n<c.red>c</c>\n\n");
    const CuesRead back = read(text);
    ASSERT_EQ(back.cues.size(), 1U);
    EXPECT_EQ(back.cues[0], cue);
    // As a block it is written again, and no colour twice.
    WebVttFile again = fileOf(text);
    EXPECT_TRUE(again.colors.empty());
    ASSERT_EQ(again.blocks.size(), 1U);
    EXPECT_TRUE(isColorSheet(again.blocks[0]));
    again.colors = file.colors;
    WebVttWriter secondWriter(&findings);
    std::string written;
    secondWriter.begin(again, written);
    EXPECT_TRUE(secondWriter.write(back.cues[0], written));
    EXPECT_EQ(written, text);
    EXPECT_TRUE(findings.empty());
}

TEST(WebVtt, DefinesNoMoreColorsThanThereIsRoomFor) {
    WebVttFile file;
    for (std::uint32_t color = 0; color < 2 * kMostWebVttColors; ++color) {
        Cue cue = cueOf(1, 1000, 2000, {rowOf("a")});
        cue.rows[0].runs[0].style.foreground = qlx::screen::Color::Black;
        cue.rows[0].runs[0].properties = {{"color", qlx::subtitles::hexColorText(color % 32 * 0x100 + color / 32 + 1)}};
        addColorsOf(cue, file);
    }
    EXPECT_EQ(file.colors.size(), kMostWebVttColors);
    EXPECT_TRUE(std::is_sorted(file.colors.begin(), file.colors.end()));
}

TEST(WebVtt, SaysWhatOfAColorIsNotWritten) {
    using enum FindingCode;
    const struct {
        std::string_view value;
        std::vector<FindingCode> codes;
    } cases[] = {
        {"#ffa500", {}},
        {"#ffa50080", {SubtitlePropertiesLost}},
        {"orange", {SubtitlePropertiesLost}},
        {"#00ff00", {SubtitleColorChanged, SubtitlePropertiesLost}},
        {"?", {SubtitleColorChanged, SubtitlePropertiesLost}},
    };
    for (const auto& each : cases) {
        Cue cue = cueOf(1, 1000, 2000, {rowOf("a")});
        cue.rows[0].runs[0].style.foreground = qlx::screen::colorOf(3, 2, 0);
        cue.rows[0].runs[0].properties = {{"color", std::string(each.value)}};
        WebVttFile file;
        file.colors = {0xFFA500};
        qlx::Findings findings;
        WebVttWriter writer(&findings);
        std::string text;
        writer.begin(file, text);
        EXPECT_TRUE(writer.write(cue, text));
        std::vector<FindingCode> codes;
        for (const qlx::Finding& finding : findings) {
            codes.push_back(finding.code);
        }
        EXPECT_EQ(codes, each.codes) << each.value;
    }
}

TEST(WebVtt, LeavesStyleSheetsOfOthersAsTheyAre) {
    const struct {
        std::string_view block;
        std::string_view expected;
    } cases[] = {
        {"STYLE\n::cue(.rgbffa501) {color: #ffa502}", "{#38 vtt.c=rgbffa501 color=#ffa502}a"},
        {"STYLE\n::cue(.rgbffa501) { color: purple; }", "{#22 vtt.c=rgbffa501 color=#800080}a"},
        {"STYLE\n::cue(.rgbFFA501) {color: #FFA501}", "{vtt.c=rgbffa501}a"},
        {"STYLE\n::cue(.rgbffa501) {color: #ffa501}\n::cue(.bg_rgbffa501) {background-color: #ffa501}",
         "{#38 vtt.c=rgbffa501 color=#ffa501}a"},
        {"STYLE\n::cue(.rgbffa501) {color: #ffa501}\n::cue {}", "{#38 vtt.c=rgbffa501 color=#ffa501}a"},
        {"STYLE\n::cue(.yellow) {color: #ffff00}", "{vtt.c=rgbffa501}a"},
        {"STYLE\n)", "{vtt.c=rgbffa501}a"},
        {"STYLE", "{vtt.c=rgbffa501}a"},
    };
    for (const auto& [block, expected] : cases) {
        const std::string text =
            "WEBVTT\n\n" + std::string(block) + "\n\n1\n00:00:01.000 --> 00:00:02.000\n<c.rgbffa501>a</c>\n\n";
        WebVttFile file = fileOf(text);
        EXPECT_EQ(file.blocks, std::vector{std::string(block)}) << block;
        EXPECT_FALSE(isColorSheet(block));
        const CuesRead result = read(text);
        ASSERT_EQ(result.cues.size(), 1U);
        EXPECT_EQ(rowsInWords(result.cues[0]), expected) << block;
        // What it says of a class holds.
        file.colors = {0xFFA501};
        WebVttWriter writer;
        std::string written;
        writer.begin(file, written);
        EXPECT_TRUE(writer.write(result.cues[0], written));
        EXPECT_EQ(written.find("STYLE", written.find("STYLE") + 1) == std::string::npos,
                  block.find("rgbffa501") != std::string_view::npos)
            << block;
        EXPECT_NE(written.find("\n<c.rgbffa501>a</c>\n"), std::string::npos) << written;
    }
}

TEST(WebVtt, ReadsTheColorsOfSeveralSheets) {
    const std::string text = "WEBVTT\n\nSTYLE\n::cue(.rgb123456) {color: #123456}\n\n"
                             "STYLE\n::cue(.rgb555500) {color: #555500}\n"
                             "::cue(.bg_rgb555500) {background-color: #555500}\n\n"
                             "1\n00:00:01.000 --> 00:00:02.000\n"
                             "<c.rgb123456.bg_rgb555500>a</c><c.rgb555500>b</c><c.bg_rgb123456>c</c>\n\n";
    const CuesRead result = read(text);
    ASSERT_EQ(result.cues.size(), 1U);
    const auto& runs = result.cues[0].rows[0].runs;
    ASSERT_EQ(runs.size(), 3U);
    EXPECT_EQ(exactColorOf(runs[0]), 0x123456U);
    EXPECT_EQ(runs[0].style.background, qlx::screen::colorOf(1, 1, 0));
    EXPECT_EQ(exactColorOf(runs[1]), 0x555500U);
    // Nothing behind characters has this colour.
    EXPECT_EQ(runs[2].properties, (Properties{{"vtt.c", "bg_rgb123456"}}));
    WebVttWriter writer;
    std::string written;
    writer.begin(fileOf(text), written);
    EXPECT_TRUE(writer.write(result.cues[0], written));
    EXPECT_EQ(written, text);
}

TEST(WebVtt, LeavesOutCuesWhoseNamesTakeMuchMoreThanTheirText) {
    const std::string many = "<c." + std::string(1000, 'x') + ">";
    const auto fileOfRuns = [&](int runs) {
        std::string text = "WEBVTT\n\n00:01.000 --> 00:02.000\n" + many;
        for (int run = 0; run < runs; ++run) {
            text += "<b>a</b>b";
        }
        return text + "\n\n00:03.000 --> 00:04.000\nc\n";
    };
    EXPECT_EQ(read(fileOfRuns(5)).cues.size(), 2U);
    const CuesRead result = read(fileOfRuns(500));
    ASSERT_EQ(result.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(result.cues[0]), "c");
    const std::vector<FindingCode> codes = result.codes();
    EXPECT_EQ(std::count(codes.begin(), codes.end(), FindingCode::WebVttTextTooLong), 1);
}

TEST(WebVtt, WritesTimesInsideThatAreWithinTheCueAndRise) {
    const struct {
        std::vector<std::int64_t> times;
        std::string_view text;
        std::int64_t lost;
    } cases[] = {
        {{0, 1500, 1700}, "a<00:00:01.500>b<00:00:01.700>c", 0},
        {{1000, 1500, 1500}, "a<00:00:01.500>bc", 0},
        {{500, 1500, 0}, "a<00:00:01.500>bc", 0},
        {{1500, 1200, 0}, "<00:00:01.500>abc", 1},
        {{1200, 2000, 2500}, "<00:00:01.200>abc", 2},
    };
    for (const auto& each : cases) {
        Cue cue = cueOf(1, 1000, 2000, {rowOf("a")});
        cue.rows[0].runs = {{"a", {}}, {"b", {}}, {"c", {}}};
        for (std::size_t index = 0; index < 3; ++index) {
            cue.rows[0].runs[index].from = each.times[index] == 0 ? qlx::MediaTime() : milliseconds(each.times[index]);
        }
        qlx::Findings findings;
        WebVttWriter writer(&findings);
        std::string text;
        EXPECT_TRUE(writer.write(cue, text));
        EXPECT_EQ(text, "1\n00:00:01.000 --> 00:00:02.000\n" + std::string(each.text) + "\n\n");
        EXPECT_EQ(findings.size(), each.lost == 0 ? 0U : 1U) << each.text;
        EXPECT_TRUE(each.lost == 0 ||
                    (findings[0].code == FindingCode::SubtitleRunTimeLost && findings[0].second == each.lost));
    }
}

TEST(WebVtt, WritesNoClassThatWouldEndItsTag) {
    Cue cue = cueOf(1, 1000, 2000, {rowOf("a")});
    cue.rows[0].runs[0].properties = {{"vtt.c", "x>y z"}};
    qlx::Findings findings;
    WebVttWriter writer(&findings);
    std::string text;
    EXPECT_TRUE(writer.write(cue, text));
    EXPECT_EQ(text, "1\n00:00:01.000 --> 00:00:02.000\n<c.xyz>a</c>\n\n");
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::SubtitlePropertiesLost);
}

TEST(WebVtt, WritesClassesOfRubyTextInItsTag) {
    const std::string_view text = "1\n00:00:01.000 --> 00:00:02.000\n<c.x><ruby>a<rt.y.z>b</rt></ruby></c>\n\n";
    const CuesRead result = read("WEBVTT\n\n" + std::string(text));
    ASSERT_EQ(result.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(result.cues[0]), "{vtt.c=x vtt.ruby=}a{vtt.c=x vtt.ruby= vtt.c=y.z vtt.rt=}b");
    WebVttWriter writer(nullptr);
    std::string written;
    EXPECT_TRUE(writer.write(result.cues[0], written));
    EXPECT_EQ(written, text);
}

TEST(WebVtt, IsReadBackAsItWasWritten) {
    std::mt19937 random(11);
    std::string text;
    std::vector<Cue> cues;
    qlx::Findings findings;
    WebVttWriter writer(&findings);
    writer.begin({}, text);
    for (std::uint64_t number = 1; number <= 10'000; ++number) {
        cues.push_back(randomCue(random, number, qlxtest::CueFormat::WebVtt));
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

}  // namespace
}  // namespace webvtt_tests
