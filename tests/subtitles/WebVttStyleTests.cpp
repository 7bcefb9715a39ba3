// Style sheets of WebVTT files (W3C WebVTT, 8.2).
#include "TextCues.h"

#include <gtest/gtest.h>
#include <qlx/base/finding.h>
#include <qlx/subtitles/webvtt.h>

#include <string>
#include <string_view>
#include <vector>

namespace {
namespace webvtt_style_tests {

using namespace qlx::subtitles;
using qlx::FindingCode;
using qlxtest::rowsInWords;

struct Read {
    std::vector<Cue> cues;
    WebVttFile file;
    qlx::Findings findings;
};

Read readAll(const std::string& text) {
    Read result;
    WebVttReader reader({}, &result.findings);
    reader.push({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    reader.finish();
    while (const Cue* const cue = reader.next()) {
        result.cues.push_back(*cue);
    }
    result.file = reader.file();
    return result;
}

std::string written(const Read& read) {
    std::string text;
    WebVttWriter writer;
    writer.begin(read.file, text);
    for (const Cue& cue : read.cues) {
        EXPECT_TRUE(writer.write(cue, text));
    }
    writer.finish(read.file, text);
    return text;
}

std::string fileWith(std::string_view rules, std::string_view row) {
    return "WEBVTT\n\nSTYLE\n" + std::string(rules) + "\n\nintro\n00:00:01.000 --> 00:00:02.000\n" + std::string(row) +
           "\n\n";
}

struct StyleCase {
    std::string_view rules;
    std::string_view row;
    std::string_view expected;
};

// The numbers are those of the colours of a screen: two bits each of red, green, blue.
constexpr StyleCase kCases[] = {
    {"::cue(.loud) { color: red; font-style: italic }", "a<c.loud>b</c>", "a{i#30 vtt.c=loud}b"},
    {"::cue(.loud) { background-color: blue; font-weight: bold }", "<c.loud>b</c>", "{bon03 vtt.c=loud}b"},
    {"::cue(.loud) { background: #0000ff }", "<c.loud>b</c>", "{on03 vtt.c=loud}b"},
    {"::cue(.loud) { text-decoration: underline }", "<c.loud>b</c>", "{u vtt.c=loud}b"},
    {"::cue(b) { color: lime }", "a<b>b</b>", "a{b#0c}b"},
    {"::cue(i) { color: cyan; font-style: normal }", "<i>b</i>", "{#0f}b"},
    {"::cue(v[voice=\"Mary\"]) { color: yellow }", "<v Mary>a</v><v Bob>b</v>", "{#3c vtt.v=Mary}a{vtt.v=Bob}b"},
    {"::cue(v[voice='Mary Ann']) { color: yellow }", "<v Mary Ann>a</v>", "{#3c vtt.v=Mary Ann}a"},
    {"::cue([voice]) { color: yellow }", "<v Mary>a</v>b", "{#3c vtt.v=Mary}a{}b"},
    {"::cue(v.loud) { color: yellow }", "<v.loud Mary>a</v><v Mary>b</v>",
     "{#3c vtt.v.c=loud vtt.v=Mary}a{vtt.v=Mary}b"},
    {"::cue(lang[lang=\"fr\"]) { color: red }", "<lang fr>a</lang>", "{#30 vtt.lang=fr}a"},
    {"::cue(:lang(en)) { color: red }", "<lang en-GB>a</lang><lang english>b</lang>",
     "{#30 vtt.lang=en-GB}a{vtt.lang=english}b"},
    {"::cue { color: lime }", "a", "{#0c}a"},
    {"::cue(:root) { color: lime }", "a", "{#0c}a"},
    {"video::cue(#intro) { color: lime }", "a", "{#0c}a"},
    {"::cue(#other) { color: lime }", "a", "a"},
    {"::cue(#\\69 ntro) { color: lime }", "a", "{#0c}a"},
    {"::cue(c.loud, b) { color: red }", "<c.loud>a</c><b>b</b><i.loud>c</i>",
     "{#30 vtt.c=loud}a{b#30}b{i vtt.c=loud}c"},
    {"::cue(.a), ::cue(.b) { color: red }", "<c.a>a</c><c.b>b</c>", "{#30 vtt.c=a}a{#30 vtt.c=b}b"},
    // Specificity counts before place, importance before both.
    {"::cue(c.a) { color: red } ::cue(.a) { color: lime }", "<c.a>a</c>", "{#30 vtt.c=a}a"},
    {"::cue(.a) { color: red } ::cue(.b) { color: lime }", "<c.b.a>a</c>", "{#0c vtt.c=b.a}a"},
    {"::cue(.a.b) { color: red } ::cue(.b) { color: lime }", "<c.b.a>a</c>", "{#30 vtt.c=b.a}a"},
    {"::cue(c.a) { color: red } ::cue(.a) { color: lime !important }", "<c.a>a</c>", "{#0c vtt.c=a}a"},
    // What is within stands over what is around.
    {"::cue(.a) { color: red } ::cue { color: lime; font-style: italic }", "<c.a>a</c>b", "{i#30 vtt.c=a}a{i#0c}b"},
    {"::cue(.a) { color: red }", "<c.a>a<c.yellow>b</c></c>", "{#30 vtt.c=a}a{#3c vtt.c=a}b"},
    {"::cue(.a) { font-weight: 700 } ::cue(.b) { font-weight: 400 }", "<c.a>a<c.b>b</c></c>",
     "{b vtt.c=a}a{vtt.c=a vtt.c=b}b"},
    // The classes that receivers know are no more than the style of a browser.
    {"::cue(.yellow) { color: cyan }", "<c.yellow>a</c>", "{#0f vtt.c=yellow}a"},
    {"::cue(.yellow) { font-style: italic }", "<c.yellow>a</c>", "{i#3c vtt.c=yellow}a"},
    {"/* } */ ::cue(.a) { color: /* x */ red } /* end", "<c.a>a</c>", "{#30 vtt.c=a}a"},
    {"::cue(.a) { color: rgb(255, 0, 0); background-color: rgba(0, 0, 0, 0) }", "<c.a>a</c>", "{#30 vtt.c=a}a"},
    {"::cue(.a) { color: RED }", "<c.a>a</c>", "{#30 vtt.c=a}a"},
};

TEST(WebVttStyles, AreThoseOfRuns) {
    for (const StyleCase& each : kCases) {
        const Read read = readAll(fileWith(each.rules, each.row));
        ASSERT_EQ(read.cues.size(), 1U) << each.rules;
        EXPECT_EQ(rowsInWords(read.cues[0]), each.expected) << each.rules;
        EXPECT_TRUE(read.findings.empty()) << each.rules;
        EXPECT_TRUE(isAppliedSheet(read.file.blocks.at(0))) << each.rules;
    }
}

TEST(WebVttStyles, AreNotWrittenAgainInTheText) {
    for (const StyleCase& each : kCases) {
        // What means the same in another form is written in the usual one.
        const bool isUsual = each.row.find("<i") == std::string_view::npos;
        const std::string text = fileWith(each.rules, each.row);
        const Read read = readAll(text);
        EXPECT_EQ(written(read) == text, isUsual) << written(read);
        // It looks the same in any case.
        const Read again = readAll(written(read));
        EXPECT_EQ(again.cues.at(0).rows, read.cues.at(0).rows) << written(read);
    }
}

TEST(WebVttStyles, WritesWhatTheSheetDoesNotSay) {
    Read read = readAll(fileWith("::cue(.a) { color: red }", "<c.a>a</c>"));
    qlx::subtitles::Run& run = read.cues.at(0).rows.at(0).runs.at(0);
    run.style.isBold = true;
    EXPECT_NE(written(read).find("\n<c.a><b>a</b></c>\n"), std::string::npos) << written(read);
    run.style.foreground = qlx::screen::Color::White;
    EXPECT_NE(written(read).find("\n<c.a><b><c.white>a</c></b></c>\n"), std::string::npos) << written(read);
    // Nothing within a span takes the look of the one around from it.
    Read slanted = readAll(fileWith("::cue(.a) { font-style: italic }", "<c.a>a</c>"));
    slanted.cues.at(0).rows.at(0).runs.at(0).style.isItalic = false;
    qlx::Findings findings;
    WebVttWriter writer(&findings);
    std::string text;
    writer.begin(slanted.file, text);
    EXPECT_TRUE(writer.write(slanted.cues[0], text));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::SubtitleStylesLost);
}

TEST(WebVttStyles, SaysWhichColorsItHasNoClassFor) {
    const std::string_view rules[] = {"::cue(.red) { color: lime }", "::cue(c) { color: lime }"};
    for (const std::string_view rule : rules) {
        Read read = readAll(fileWith(rule, "a"));
        read.cues.at(0).rows.at(0).runs.at(0).style.foreground = qlx::screen::Color::Red;
        qlx::Findings findings;
        WebVttWriter writer(&findings);
        std::string text;
        writer.begin(read.file, text);
        EXPECT_TRUE(writer.write(read.cues[0], text));
        ASSERT_EQ(findings.size(), 1U) << text;
        EXPECT_EQ(findings[0].code, FindingCode::SubtitleColorChanged);
    }
}

TEST(WebVttStyles, TakesColorsThatHideAllOrNothingBehind) {
    for (const std::string_view rules :
         {"::cue(.a) { color: rgba(255, 0, 0, 1); background-color: rgba(0, 0, 255, 100%) }",
          "::cue(.a) { color: #FF0000FF; background-color: #0000ffff }",
          "::cue(.a) { color: rgba(255, 0, 0, 1.0); background-color: transparent }"}) {
        const Read read = readAll(fileWith(rules, "a<c.a>b</c>"));
        EXPECT_TRUE(read.findings.empty()) << rules;
        EXPECT_TRUE(isAppliedSheet(read.file.blocks.at(0))) << rules;
    }
}

TEST(WebVttStyles, SaysOnceWhatOfASheetIsNotApplied) {
    const struct {
        std::string_view rules;
        std::int64_t selectors;
        std::int64_t declarations;
    } cases[] = {
        {"::cue(.a) { font-size: 2em; color: red; opacity: 0.5 }", 0, 2},
        {"::cue(.a) { color: hsl(0 50% 50%) }", 0, 1},
        {"::cue(.a b) { color: red }", 1, 0},
        {"::cue(.a > b), ::cue(b) { color: red }", 1, 0},
        {"::cue(:past) { color: red }", 1, 0},
        {"::cue(*:not(:root)) { color: red }", 1, 0},
        {"::cue-region { color: red }", 1, 0},
        {"p { color: red }", 1, 0},
        {"@media screen { ::cue { color: red } ::cue(b) { color: red } } ::cue(.a) { color: red }", 1, 0},
        {"@import url(x.css); ::cue(.a) { color: red }", 1, 0},
        {"::cue(v[title=\"x\"]) { color: red }", 1, 0},
        {"::cue() { color: red }", 1, 0},
        {"::cue(.a) { color: red; x", 0, 1},
        {"::cue(.a) { color: rgba(255, 0, 0, 0.5); background-color: rgba(0, 0, 0, 80%) }", 0, 2},
        {"::cue(.a) { color: #ff000080; background: rgba(0, 0, 0, 10%) }", 0, 2},
    };
    for (const auto& each : cases) {
        const Read read = readAll(fileWith(each.rules, "a<c.a>b</c>"));
        ASSERT_EQ(read.findings.size(), 1U) << each.rules;
        EXPECT_EQ(read.findings[0].code, FindingCode::WebVttStyleNotApplied);
        EXPECT_EQ(read.findings[0].severity, qlx::Severity::Remark);
        EXPECT_EQ(read.findings[0].first, each.selectors) << each.rules;
        EXPECT_EQ(read.findings[0].second, each.declarations) << each.rules;
        EXPECT_FALSE(isAppliedSheet(read.file.blocks.at(0)));
    }
}

TEST(WebVttStyles, TakesAtMost256Selectors) {
    std::string rules;
    for (int number = 0; number < 300; ++number) {
        rules += "::cue(.c" + std::to_string(number) + ") { color: red }\n";
    }
    const Read read = readAll(fileWith(rules, "<c.c255>a</c><c.c256>b</c>"));
    ASSERT_EQ(read.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(read.cues[0]), "{#30 vtt.c=c255}a{vtt.c=c256}b");
    ASSERT_EQ(read.findings.size(), 1U);
    EXPECT_EQ(read.findings[0].first, 44);
}

}  // namespace webvtt_style_tests
}  // namespace
