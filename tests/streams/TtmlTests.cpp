// Timed text in XML: hand-written documents.
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/times.h>

#include "Sanitized.h"
#include "TextCues.h"
#include "TtmlDocuments.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace ttml_tests {
namespace {

using namespace qlx::streams;
using namespace qlx::subtitles;
using namespace qlxtest;
using qlx::Finding;
using qlx::FindingCode;
using qlx::screen::Color;

TEST(Ttml, ReadsEachFormOfTime) {
    struct Case {
        std::string parameters;
        std::string begin;
        std::int64_t value;  ///< What it is as a fraction of a second.
        std::int32_t timescale;
    };
    const std::string frames = R"(ttp:frameRate="30" ttp:frameRateMultiplier="1000 1001" )";
    const Case cases[] = {
        {"", "00:00:01", 1, 1},
        {"", "00:00:01.5", 3, 2},
        {"", "01:02:03.040", 93'076, 25},
        {"", "100:00:00", 360'000, 1},
        {"", "1.5s", 3, 2},
        {"", "250ms", 1, 4},
        {"", "0.5ms", 1, 2000},
        {"", "1.5m", 90, 1},
        {"", "2h", 7200, 1},
        {"", "45f", 3, 2},
        {"ttp:tickRate=\"10000000\"", "12345678t", 6'172'839, 5'000'000},
        {"ttp:frameRate=\"25\"", "00:00:01:12", 37, 25},
        {"ttp:frameRate=\"25\"", "25t", 1, 1},
        {"ttp:frameRate=\"25\" ttp:subFrameRate=\"2\"", "00:00:01:12.1", 75, 50},
        {frames, "00:00:10:15", 10'000 * 3 + 1001 + 500, 3000},
        {frames + "ttp:timeBase=\"smpte\"", "00:00:10:15", 315 * 1001, 30'000},
        {frames + "ttp:timeBase=\"smpte\" ttp:dropMode=\"nonDrop\"", "00:10:00:00", 18'000 * 1001, 30'000},
        {frames + "ttp:timeBase=\"smpte\" ttp:dropMode=\"dropNTSC\"", "00:01:00:02", 1800 * 1001, 30'000},
        {frames + "ttp:timeBase=\"smpte\" ttp:dropMode=\"dropNTSC\"", "00:10:00:00", 17'982 * 1001, 30'000},
        {frames + "ttp:timeBase=\"smpte\" ttp:dropMode=\"dropPAL\"", "00:02:00:04", 3600 * 1001, 30'000},
        {R"(ttp:frameRate="30" ttp:frameRateMultiplier="1000:1001" ttp:timeBase="smpte")", "00:00:01:00", 1001, 1000},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.parameters + " " + one.begin);
        const auto document = readDocument(
            documentOf("<body><div><p begin=\"" + one.begin + "\" dur=\"1s\">a</p></div></body>", "", one.parameters));
        ASSERT_FALSE(document.error);
        ASSERT_EQ(document.cues.size(), 1U);
        EXPECT_TRUE(document.codes.empty());
        const qlx::MediaTime start = document.cues[0].start;
        // The fifteen frames of a document of media time are 15 x 1001 / 30,000 s.
        const bool isExact = one.begin == "00:00:10:15" && one.timescale == 3000;
        if (!isExact) {
            EXPECT_EQ(start.value * one.timescale, one.value * start.timescale);
        } else {
            EXPECT_EQ(start.value * 30'000, (300'000 + 15'015) * std::int64_t{start.timescale});
        }
    }
}

// Receivers present what is in a region, where a document has any.
TEST(Ttml, ReadsTextInNoRegionAndSaysSo) {
    using enum FindingCode;
    struct Case {
        std::string head;
        std::string body;
        std::vector<FindingCode> codes;
    };
    const std::string one = "<layout><region xml:id='r'/></layout>";
    const Case cases[] = {
        {"", "<body><div><p dur='1s'>a</p></div></body>", {}},
        {"<layout/>", "<body><div><p dur='1s'>a</p></div></body>", {}},
        {one, "<body><div><p dur='1s'>a</p></div></body>", {TtmlRegionNone}},
        {one,
         "<body><div><p dur='1s'>a</p><p region='r' dur='1s'>b</p><p dur='1s'>c</p></div></body>",
         {TtmlRegionNone, TtmlRegionNone}},
        {one, "<body><div><p dur='1s'/></div></body>", {}},
        {one, "<body region='r'><div><p dur='1s'>a</p></div></body>", {}},
        {one, "<body><div region='r'><p dur='1s'>a</p></div></body>", {}},
        {one, "<body><div region='x'><p dur='1s'>a</p></div></body>", {TtmlRegionUnknown}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.head + each.body);
        const auto document = readDocument(documentOf(each.body, each.head));
        ASSERT_FALSE(document.error);
        EXPECT_EQ(document.cues.size(), each.body.find("'/>") != std::string::npos   ? 0U
                                        : each.body.find(">c<") != std::string::npos ? 3U
                                                                                     : 1U);
        EXPECT_EQ(document.codes, each.codes);
    }
}

// A cue for each look; what appears is a time within its cue.
TEST(Ttml, FollowsWhatSetsChange) {
    using enum FindingCode;
    struct Case {
        std::string body;  ///< The times of its paragraph are 0 to 10 s.
        std::string expected;
        std::vector<FindingCode> codes{};
    };
    const Case cases[] = {
        {"a<set begin='2s' tts:color='red'/>", "0-2000 a\n2000-10000 {#30}a"},
        {"a<set begin='2s' end='5s' tts:color='red'/>", "0-2000 a\n2000-5000 {#30}a\n5000-10000 a"},
        {"<set begin='2s' dur='5s' tts:visibility='hidden'/>a", "0-2000 a\n7000-10000 a"},
        {"<set tts:visibility='hidden'/>a", "", {TtmlHidden}},
        {"a<span tts:visibility='hidden'>b<set begin='3s' tts:visibility='visible'/></span>", "0-10000 a{@3}b"},
        {"a<span begin='1s'>b<set begin='2s' tts:fontStyle='italic'/></span>",
         "0-1000 a\n1000-3000 ab\n3000-10000 a{i}b"},
        {"a<set begin='2s' tts:color='red'/><set begin='4s' tts:fontWeight='bold' tts:color='lime'/>",
         "0-2000 a\n2000-4000 {#30}a\n4000-10000 {b#0c}a"},
        {"a<set begin='20s' tts:color='red'/>", "0-10000 a"},
        // What is within has its own.
        {"<set begin='2s' tts:color='red'/>a<span tts:color='lime'>b</span>",
         "0-2000 a{#0c}b\n2000-10000 {#30}a{#0c}b"},
        {"<set begin='2s' tts:color='red'/>a<span tts:color='lime'>b<set begin='4s' tts:color='yellow'/></span>",
         "0-2000 a{#0c}b\n2000-4000 {#30}a{#0c}b\n4000-10000 {#30}a{#3c}b"},
        {"<set end='2s' tts:visibility='hidden'/>a<span tts:visibility='visible'>b</span>", "0-2000 b\n2000-10000 ab"},
        {"<set end='2s' tts:display='none'/>a<span tts:display='auto'>b</span>", "2000-10000 ab"},
        {"<set begin='2s' tts:backgroundColor='blue'/>a<span tts:backgroundColor='red'>b</span>",
         "0-2000 a{on30}b\n2000-10000 {on03}a{on30}b"},
        {"a<set begin='2s' tts:backgroundColor='blue'/>", "0-2000 a\n2000-10000 {on03}a"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.body);
        const auto document =
            readDocument(documentOf("<body><div><p begin='0s' end='10s'>" + one.body + "</p></div></body>"));
        ASSERT_FALSE(document.error);
        EXPECT_EQ(cuesInWords(document.cues), one.expected);
        EXPECT_EQ(document.codes, one.codes);
    }
    // Around the paragraph, too.
    const auto around = readDocument(
        documentOf("<body><set begin='1s' tts:color='red'/><div><p begin='0s' end='2s'>a</p></div></body>"));
    ASSERT_EQ(around.cues.size(), 2U);
    EXPECT_EQ(rowsInWords(around.cues[1]), "{#30}a");
    // Where there are too many moments each text is there once.
    std::string many;
    for (int count = 0; count < 60; ++count) {
        many += "<set begin='" + std::to_string(count) + "ms' tts:color='red'/>";
    }
    qlx::streams::TtmlReadOptions options;
    options.mostTimes = 5;
    const auto cut = readDocument(documentOf("<body><div><p end='1s'>" + many + "a</p></div></body>"), options);
    ASSERT_EQ(cut.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(cut.cues[0]), "{#30}a");
    EXPECT_EQ(std::count(cut.codes.begin(), cut.codes.end(), TtmlAnimationLeftOut), 10);
    EXPECT_EQ(std::count(cut.codes.begin(), cut.codes.end(), TtmlTimesTooMany), 1);
}

TEST(Ttml, SaysWhichTimesItCannotRead) {
    for (const std::string time : {"1", "s", "1x", "1:2:3", "00:60:00", "00:00:61", "00:00:01:30", "00:00:01.", "-1s",
                                   "1.5t", "1 s", "00:00:01:", "12345678901s", ".5s", "00:00:01.5:3"}) {
        SCOPED_TRACE(time);
        const auto document =
            readDocument(documentOf("<body><div>\n<p begin=\"" + time + "\" end=\"2s\">a</p></div></body>"));
        ASSERT_EQ(document.codes, std::vector{FindingCode::TtmlTimeWrong});
        EXPECT_EQ(document.findings[0].offset, 2U);
        EXPECT_EQ(cuesInWords(document.cues), "0-2000 a");
    }
}

TEST(Ttml, AddsUpTheTimesAround) {
    struct Case {
        std::string body;
        std::string expected;
        std::vector<FindingCode> codes{};
    };
    using enum FindingCode;
    const Case cases[] = {
        {"<body begin='10s'><div begin='1s'><p begin='1s' end='2s'>a</p><p begin='2s' dur='500ms'>b</p></div></body>",
         "12000-13000 a\n13000-13500 b"},
        {"<body><div begin='1s' end='3s'><p begin='1s' end='9s'>a</p></div></body>", "2000-3000 a"},
        {"<body><div begin='1s' end='3s'><p>a</p></div></body>", "1000-3000 a"},
        {"<body><div begin='1s' timeContainer='seq'><p dur='1s'>a</p><p begin='500ms' dur='1s'>b</p></div></body>",
         "1000-2000 a\n2500-3500 b"},
        {"<body timeContainer='seq'><div><p begin='1s' end='2s'>a</p><p begin='1s' end='3s'>b</p></div>"
         "<div><p begin='1s' end='2s'>c</p></div></body>",
         "1000-2000 a\n1000-3000 b\n4000-5000 c"},
        {"<body timeContainer='seq'><div><p>a</p></div><div><p dur='1s'>b</p></div></body>",
         "0-5000 a",
         {TtmlEndMissing, TtmlElementLeftOut}},
        // A paragraph ends with its spans, and the next one of a sequence begins there.
        {"<body><div timeContainer='seq'><p><span begin='1s' end='2s'>a</span></p><p dur='1s'>b</p></div></body>",
         "1000-2000 a\n2000-3000 b"},
        // What is around ends neither of the two, so that the second one begins where the first one ends itself.
        {"<body end='9s'><div timeContainer='seq'><p><span dur='2s'>a</span></p><p dur='1s'>b</p></div></body>",
         "0-2000 a\n2000-3000 b"},
        {"<body timeContainer='seq' dur='9s'><div><p dur='1s'>a</p></div><div/><div><p dur='1s'>b</p></div></body>",
         "0-1000 a\n1000-2000 b"},
        {"<body><div timeContainer='seq' dur='9s'><p>a</p><p dur='1s'>b</p></div></body>",
         "0-9000 a",
         {TtmlNeverShown}},
        // Text lasts no time in a sequence, and what is behind it begins at once.
        {"<body><div timeContainer='seq'><p begin='1s' timeContainer='seq'>a</p><p dur='1s'>b</p></div></body>",
         "1000-2000 b",
         {TtmlHidden}},
        {"<body><div><p begin='3s'>a</p></div></body>", "3000-8000 a", {TtmlEndMissing}},
        {"<body><div><p begin='3s' end='3s'>a</p></div></body>", "", {TtmlNeverShown}},
        {"<body><div end='2s'><p begin='3s' end='4s'>a</p></div></body>", "", {TtmlNeverShown}},
        {"<body><div><p begin='3s' dur='2s' end='4s'>a</p></div></body>", "3000-4000 a"},
        // Spans: one behind the other, each in its own time, and both.
        {"<body><div><p begin='1s' end='5s'>a<span begin='1s'>b</span></p></div></body>", "1000-5000 a{@2}b"},
        {"<body><div><p><span begin='1s' end='2s'>a</span><br/><span begin='1s' end='2s'>b</span></p></div></body>",
         "1000-2000 a|b"},
        {"<body><div><p begin='1s' end='5s'>a<span begin='1s' end='2s'>b</span></p></div></body>",
         "1000-2000 a\n2000-3000 ab\n3000-5000 a"},
        {"<body><div><p><span begin='1s' end='2s'>a</span><span begin='2s' end='3s'>b</span></p></div></body>",
         "1000-2000 a\n2000-3000 b"},
        {"<body><div><p begin='1s' timeContainer='seq'><span dur='1s'>a</span><span dur='1s'>b</span></p></div></body>",
         "1000-2000 a\n2000-3000 b"},
        {"<body><div><p begin='1s' end='9s'><span begin='2s'>b</span>a</p></div></body>", "1000-3000 a\n3000-9000 ba"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.body);
        const auto document = readDocument(documentOf(one.body));
        EXPECT_EQ(cuesInWords(document.cues), one.expected);
        if (one.codes != std::vector{TtmlEndMissing, TtmlElementLeftOut}) {
            EXPECT_EQ(document.codes, one.codes);
        } else {
            EXPECT_EQ(document.codes, (std::vector{TtmlEndMissing, TtmlNeverShown}));
        }
    }
}

TEST(Ttml, ShowsTextWhileItsRegionIsThere) {
    struct Case {
        std::string region;
        std::string paragraph;
        std::string expected;
        std::vector<FindingCode> codes{};
    };
    using enum FindingCode;
    const Case cases[] = {
        {"begin='2s' end='4s'", "<p region='r' begin='1s' end='9s'>a</p>", "2000-4000 a"},
        {"begin='2s' dur='4s' end='9s'", "<p region='r' begin='3s' end='5s'>a</p>", "3000-5000 a"},
        {"begin='2s' dur='4s' end='9s'", "<p region='r' begin='3s' end='8s'>a</p>", "3000-6000 a"},
        {"end='4s'", "<p region='r'>a</p>", "0-4000 a"},
        {"begin='2s'", "<p region='r' begin='1s'>a</p>", "2000-7000 a", {TtmlEndMissing}},
        {"begin='2s' end='4s'", "<p region='r' begin='4s' end='9s'>a</p>", "", {TtmlNeverShown}},
        {"begin='2s' end='4s'", "<p region='r' begin='1s' end='2s'>a</p>", "", {TtmlNeverShown}},
        {"begin='2s' end='4s'", "<p region='r'>a<span end='1s'>b</span><br/><span end='3s'>c</span></p>",
         "2000-3000 a|c\n3000-4000 a|"},
        {"begin='2s' end='4s'", "<p region='r' xml:space='preserve' end='1s'> a </p>", "", {TtmlNeverShown}},
        // A region does not end what it shows: the next one of a sequence begins behind the whole.
        {"end='1s'",
         "<div timeContainer='seq'><p region='r' dur='3s'>a</p><p dur='1s'>b</p></div>",
         "0-1000 a\n3000-4000 b",
         {TtmlRegionNone}},
        {"begin='x' end='4s'", "<p region='r' end='9s'>a</p>", "0-4000 a", {TtmlTimeWrong}},
        {"end='4s'", "<p end='3s'>a<span region='r'>b</span></p>", "0-3000 ab", {TtmlAttributesLeftOut}},
        {"end='4s'", "<p region='r' end='3s'>a<span region='r'>b</span></p>", "0-3000 ab"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.region + " / " + one.paragraph);
        const auto document = readDocument(documentOf("<body><div>" + one.paragraph + "</div></body>",
                                                      "<layout><region xml:id='r' " + one.region + "/></layout>"));
        EXPECT_EQ(cuesInWords(document.cues), one.expected);
        EXPECT_EQ(document.codes, one.codes);
    }
}

TEST(Ttml, TreatsWhiteSpaceAsAsked) {
    const std::pair<std::string, std::string> cases[] = {
        {"  a \n  b  ", "a b"},
        {" a <span> b </span> c ", "a b c"},
        {"a <br/> b", "a|b"},
        {"a<br/><br/>b", "a||b"},
        {"<span xml:space='preserve'> a  b </span>", " a  b "},
        {"<span xml:space='preserve'>a\nb</span>", "a|b"},
        {"a &amp; b &lt;i&gt; &#233; <![CDATA[<c>]]>", "a & b <i> \u00E9 <c>"},
        {"a<!-- x -->b", "ab"},
    };
    for (const auto& [text, expected] : cases) {
        SCOPED_TRACE(text);
        const auto document = readDocument(documentOf(paragraphOf(text)));
        ASSERT_EQ(document.cues.size(), 1U);
        EXPECT_EQ(rowsInWords(document.cues[0]), expected);
    }
    EXPECT_TRUE(readDocument(documentOf(paragraphOf(" \n "))).cues.empty());
}

TEST(Ttml, ResolvesStyles) {
    struct Case {
        std::string text;
        std::string expected;
        std::vector<FindingCode> codes{};
    };
    using enum FindingCode;
    const std::string head =
        "<styling><style xml:id='y' tts:color='yellow'/><style xml:id='i' style='y' tts:fontStyle='italic'/>"
        "<style xml:id='c1' style='c2'/><style xml:id='c2' style='c1' tts:fontWeight='bold'/></styling>";
    const Case cases[] = {
        {"<span tts:color='#ff0000'>a</span>b", "{#30}a{}b"},
        {"<span tts:color='rgb(0, 255, 255)'>a</span>", "{#0f}a"},
        {"<span tts:color='#12345678'>a</span>", "{#05 color=#123456}a"},
        {"<span tts:backgroundColor='blue'>a<span tts:backgroundColor='transparent'>b</span></span>", "{on03}ab"},
        {"<span tts:backgroundColor='rgba(255,0,0,0)'>a</span>", "a"},
        {"<span style='y'>a</span>", "{#3c}a"},
        {"<span style='i'>a</span>", "{i#3c}a"},
        {"<span style='i' tts:color='red' tts:fontStyle='normal'>a</span>", "{#30}a"},
        {"<span style='y i'>a</span>", "{i#3c}a"},
        {"<span style='none'>a</span>", "a", {TtmlStyleUnknown}},
        {"<span style='c1'>a</span>", "{b}a", {TtmlStyleCircular}},
        {"<span tts:color='colourful'>a</span>", "a", {TtmlValueWrong}},
        {"<span tts:textDecoration='underline'>a<span tts:textDecoration='noUnderline'>b</span></span>", "{u}a{}b"},
        {"<span tts:textDecoration='lineThrough'>a</span>", "{strikeout=}a"},
        {"<span xml:lang='fr'>a<br/>b</span>c", "{vtt.lang=fr}a|{vtt.lang=fr}b{}c"},
        {"<span tts:fontFamily='serif' tts:fontSize='50%'>a</span>", "{font.face=serif font.size=50%}a"},
        {"<span tts:ruby='container'><span tts:ruby='base'>a</span><span tts:ruby='delimiter'>(</span>"
         "<span tts:ruby='text'>b</span></span>c",
         "{vtt.ruby=}a{ttml.tts:ruby=delimiter}({vtt.ruby= vtt.rt=}b{}c"},
        {"<span tts:ruby='container'> <span tts:ruby='base'>a</span>\n<span tts:ruby='text'>b</span> </span>c",
         "{vtt.ruby=}a{vtt.ruby= vtt.rt=}b{}c"},
        {"a<span xml:lang='fr'>b<span xml:lang=''>c</span></span>", "a{vtt.lang=fr}b{vtt.lang=}c"},
        {"a<span tts:visibility='hidden'>b</span>", "a", {TtmlHidden}},
        {"a<animate tts:color='red;lime'/>", "a", {TtmlAnimationLeftOut}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.text);
        const auto document = readDocument(documentOf(paragraphOf(one.text), head));
        ASSERT_EQ(document.cues.size(), 1U);
        EXPECT_EQ(rowsInWords(document.cues[0]), one.expected);
        EXPECT_EQ(document.codes, one.codes);
    }
    const auto inherited = readDocument(documentOf(
        "<body tts:color='red'><div tts:fontStyle='italic'><p begin='1s' end='2s' tts:lineHeight='125%' ttm:role='x'>a"
        "</p></div></body>"));
    ASSERT_EQ(inherited.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(inherited.cues[0]), "{i#30}a");
    EXPECT_EQ(inherited.cues[0].properties, (Properties{{"ttml.tts:lineHeight", "125%"}, {"ttml.ttm:role", "x"}}));
    EXPECT_EQ(inherited.cues[0].language, "en");
}

TEST(Ttml, TakesWhatInitialsAndRegionsSayOfText) {
    struct Case {
        std::string initial;
        std::string region;
        std::string text;
        std::string expected;
        std::vector<FindingCode> codes{};
    };
    using enum FindingCode;
    const std::string underlined = "tts:textDecoration='underline'";
    const Case cases[] = {
        {underlined, "", "a", "{u}a"},
        {"", underlined, "a", "{u}a"},
        {underlined, "tts:textDecoration='none'", "a", "a"},
        {"", underlined, "a<span tts:textDecoration='noUnderline'>b</span>", "{u}a{}b"},
        {"", underlined, "<span tts:textDecoration='lineThrough'>a</span>", "{u strikeout=}a"},
        {"tts:backgroundColor='red'", "", "a", "{on30}a"},
        {"tts:backgroundColor='red'", "tts:backgroundColor='blue'", "a", "{on03}a"},
        {"", "tts:backgroundColor='blue'", "a<span tts:backgroundColor='red'>b</span>", "{on03}a{on30}b"},
        {"", "tts:backgroundColor='#0000ff00'", "a", "a"},
        {"", "tts:visibility='hidden'", "a", "", {TtmlHidden}},
        {"tts:visibility='hidden'", "", "a", "", {TtmlHidden}},
        {"", "tts:visibility='hidden'", "a<span tts:visibility='visible'>b</span>", "b", {TtmlHidden}},
        {"", "tts:display='none'", "a<span tts:display='inline'>b</span>", "", {TtmlHidden}},
        {"tts:display='none'", "", "a", "", {TtmlHidden}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.initial + " / " + one.region + " / " + one.text);
        const auto document =
            readDocument(documentOf(paragraphOf(one.text, "region='r'"), "<styling><initial " + one.initial +
                                                                             "/></styling><layout><region xml:id='r' " +
                                                                             one.region + "/></layout>"));
        EXPECT_EQ(document.codes, one.codes);
        ASSERT_EQ(document.cues.size(), one.expected.empty() ? 0U : 1U);
        if (!document.cues.empty()) {
            EXPECT_EQ(rowsInWords(document.cues[0]), one.expected);
        }
    }
}

TEST(Ttml, FollowsStylesAsFarAsAnyoneWritesThem) {
    const auto chainOf = [](int length) {
        std::string styles = "<style xml:id='s0' tts:color='red'/>";
        for (int each = 1; each < length; ++each) {
            styles += "<style xml:id='s" + std::to_string(each) + "' style='s" + std::to_string(each - 1) + "'/>";
        }
        return readDocument(documentOf(paragraphOf("<span style='s" + std::to_string(length - 1) + "'>a</span>"),
                                       "<styling>" + styles + "</styling>"));
    };
    const auto whole = chainOf(64);
    EXPECT_TRUE(whole.codes.empty());
    ASSERT_EQ(whole.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(whole.cues[0]), "{#30}a");
    EXPECT_EQ(chainOf(66).codes, std::vector{FindingCode::TtmlStyleChainTooLong});
}

TEST(Ttml, CountsFramesAsTheCallerSaysWhereTheDocumentDoesNot) {
    const auto startOf = [](const std::string& parameters, qlx::streams::TtmlReadOptions options) {
        std::optional<TtmlFile> head;
        options.takeHead = [&head](const TtmlFile& file) { head = file; };
        const auto document = readDocument(
            documentOf("<body><div><p begin='00:01:00:04' dur='1s'>a</p></div></body>", "", parameters), options);
        EXPECT_TRUE(head && *head == document.file);
        EXPECT_EQ(document.cues.size(), 1U);
        const qlx::MediaTime start = document.cues.at(0).start;
        return std::pair(qlx::secondsFrom(start) * 30'000, document.file.hasFrameRate);
    };
    using qlx::FrameRate;
    const std::string smpte = "ttp:timeBase='smpte' ";
    EXPECT_EQ(startOf(smpte, {}), std::pair(1804 * 1000.0, false));
    EXPECT_EQ(startOf(smpte, {.rate = FrameRate::Fps25}), std::pair(1504 * 1200.0, false));
    EXPECT_EQ(startOf(smpte, {.rate = FrameRate::Fps2997}), std::pair(1804 * 1001.0, false));
    EXPECT_EQ(startOf(smpte, {.rate = FrameRate::Fps2997, .isDrop = true}), std::pair(1802 * 1001.0, false));
    EXPECT_EQ(startOf(smpte + "ttp:dropMode='nonDrop'", {.rate = FrameRate::Fps2997, .isDrop = true}),
              std::pair(1804 * 1001.0, false));
    EXPECT_EQ(startOf(smpte + "ttp:frameRate='25'", {.rate = FrameRate::Fps2997, .isDrop = true}),
              std::pair(1504 * 1200.0, true));
    EXPECT_EQ(startOf(smpte + "ttp:frameRateMultiplier='1000 1001' ttp:frameRate='30'", {.rate = FrameRate::Fps25}),
              std::pair(1804 * 1001.0, true));
}

TEST(Ttml, PlacesRowsByTheirRegions) {
    struct Case {
        std::string region;
        std::vector<std::uint64_t> rows;  ///< Of two rows; empty: none.
        int anchor;
        std::uint16_t column;
        Alignment alignment = Alignment::Left;
    };
    const Case cases[] = {
        {"tts:origin='10% 10%' tts:extent='80% 80%' tts:displayAlign='after'", {14, 15}, 1, 1},
        {"tts:origin='10% 10%' tts:extent='80% 80%' tts:displayAlign='after' tts:textAlign='center'",
         {14, 15},
         2,
         0,
         Alignment::Center},
        {"tts:origin='10% 10%' tts:extent='80% 80%' tts:textAlign='end'", {1, 2}, 9, 0, Alignment::Right},
        {"tts:origin='10% 10%' tts:extent='80% 80%' tts:displayAlign='center'", {8, 9}, 4, 1},
        {"tts:origin='30% 20%' tts:extent='60% 20%'", {3, 4}, 7, 9},
        {"tts:origin='0% 0%' tts:extent='100% 100%' tts:displayAlign='after'", {14, 15}, 1, 1},
        {"tts:origin='8c 3c' tts:extent='24c 3c'", {3, 4}, 7, 7},
        {"tts:origin='192px 108px' tts:extent='1536px 864px' tts:displayAlign='after'", {14, 15}, 1, 1},
        {"tts:position='center bottom' tts:extent='80% 20%'", {14, 15}, 1, 1},
        {"tts:color='red'", {}, 0, 0},
        {"tts:origin='1em 2em'", {}, 0, 0},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.region);
        const auto document = readDocument(documentOf(paragraphOf("a<br/>b", "region='r'"),
                                                      "<layout><region xml:id='r' " + one.region + "/></layout>",
                                                      "tts:extent='1920px 1080px'"));
        ASSERT_EQ(document.cues.size(), 1U);
        const Cue& cue = document.cues[0];
        EXPECT_EQ(cue.region, "r");
        ASSERT_EQ(cue.rows.size(), 2U);
        for (std::size_t index = 0; index < 2; ++index) {
            EXPECT_EQ(cue.rows[index].number, one.rows.empty() ? 0 : one.rows[index]);
            EXPECT_EQ(cue.rows[index].anchor, one.anchor);
            EXPECT_EQ(cue.rows[index].column, one.column);
            EXPECT_EQ(cue.rows[index].alignment, one.alignment);
        }
    }
}

TEST(Ttml, ReadsTheKindsOfTheFamily) {
    const auto dfxp =
        readDocument("<tt xmlns='http://www.w3.org/2006/10/ttaf1' xmlns:x='http://www.w3.org/2006/10/ttaf1#styling'"
                     "><body><div><p begin='1s' end='2s' x:color='red'>a</p></div></body></tt>");
    ASSERT_EQ(dfxp.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(dfxp.cues[0]), "{#30}a");
    EXPECT_EQ(dfxp.file.kind, TtmlKind::Dfxp);

    const auto prefixed = readDocument("<q:tt xmlns:q='http://www.w3.org/ns/ttml' xmlns='urn:x'><q:body><q:div>"
                                       "<q:p begin='1s' end='2s'>a<p>b</p><q:br/>c</q:p></q:div></q:body></q:tt>");
    ASSERT_EQ(prefixed.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(prefixed.cues[0]), "a|c");
    EXPECT_EQ(prefixed.codes, std::vector{FindingCode::TtmlElementLeftOut});

    const auto bare = readDocument("<tt><body><p begin='1s' end='2s'>a</p></body></tt>");
    EXPECT_EQ(cuesInWords(bare.cues), "1000-2000 a");

    const auto smpte = readDocument(
        "<tt xmlns='http://www.w3.org/ns/ttml' xmlns:smpte='http://www.smpte-ra.org/schemas/2052-1/2010/smpte-tt'>"
        "<head><metadata><smpte:data datatype='x'>AAAA</smpte:data><smpte:image xml:id='i'>AA</smpte:image></metadata>"
        "</head><body><div smpte:backgroundImage='#i'><p begin='1s' end='2s'>a</p></div></body></tt>");
    EXPECT_EQ(smpte.codes, (std::vector{FindingCode::TtmlDataLeftOut, FindingCode::TtmlImageLeftOut,
                                        FindingCode::TtmlImageLeftOut}));
    EXPECT_EQ(smpte.file.kind, TtmlKind::SmpteTt);
    EXPECT_EQ(smpte.cues.size(), 1U);
}

TEST(Ttml, RefusesWhatIsNone) {
    struct Case {
        std::string text;
        FindingCode code;
        std::uint64_t line;
    };
    using enum FindingCode;
    const Case cases[] = {
        {"", TtmlNotWellFormed, 1},
        {"hello", TtmlNotWellFormed, 1},
        {"<tt>\n<body></tt>", TtmlNotWellFormed, 2},
        {"<html/>", TtmlNotTtml, 1},
        {"\n<!DOCTYPE tt [<!ENTITY a 'aaaa'>]>\n<tt/>", TtmlDocumentType, 2},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.text);
        const auto document = readDocument(one.text);
        ASSERT_TRUE(document.error);
        EXPECT_EQ(document.error->code, one.code);
        EXPECT_EQ(document.error->offset, one.line);
    }
    std::string deep = "<tt><body>";
    for (int level = 0; level < 199; ++level) {
        deep += "<div>";
    }
    const auto closed = [](std::string text, int levels) {
        for (int level = 0; level < levels; ++level) {
            text += "</div>";
        }
        return text + "</body></tt>";
    };
    const auto codeOf = [](const std::string& text, const TtmlReadOptions& options) {
        return readDocument(text, options).error.value_or(Finding{}).code;
    };
    EXPECT_FALSE(readDocument(closed(deep.substr(0, deep.size() - 10), 197)).error);
    EXPECT_EQ(codeOf(closed(deep, 199), {}), TtmlTooDeep);
    EXPECT_EQ(codeOf("<tt/>", {.greatestFile = 4}), TtmlTooLong);
    const auto mended = readDocument("\xEF\xBB\xBF<tt><body>\n<p begin='1s' end='2s'>a\xFF</p></body></tt>");
    EXPECT_EQ(mended.codes, std::vector{TtmlTextNotUtf8});
    EXPECT_EQ(cuesInWords(mended.cues), "1000-2000 a\uFFFD");
}

TEST(Ttml, BoundsTheTimesOfSpans) {
    std::string text;
    for (int index = 0; index < 20; ++index) {
        text += "<span begin='" + std::to_string(index * 10) + "ms' end='" + std::to_string(index * 10 + 5) +
                "ms'>a</span>";
    }
    EXPECT_EQ(readDocument(documentOf(paragraphOf(text))).cues.size(), 20U);
    const auto bounded = readDocument(documentOf(paragraphOf(text)), {.mostTimes = 10});
    EXPECT_EQ(bounded.cues.size(), 1U);
    EXPECT_EQ(bounded.codes, std::vector{FindingCode::TtmlTimesTooMany});
}

TEST(Ttml, PassesOverParametersThatAreNone) {
    using enum FindingCode;
    // TTML2, 7.2: what each may be. What is none leaves the document as it would be without.
    const std::vector<std::pair<std::string, std::vector<FindingCode>>> cases{
        {"ttp:timeBase='media'", {}},
        {"ttp:timeBase='clock'", {TtmlTimesOfDay}},
        {"ttp:timeBase='sundial'", {TtmlParameterWrong}},
        {"ttp:frameRate='0'", {TtmlParameterWrong}},
        {"ttp:frameRate='25.5'", {TtmlParameterWrong}},
        {"ttp:subFrameRate='two'", {TtmlParameterWrong}},
        {"ttp:tickRate='-1'", {TtmlParameterWrong}},
        {"ttp:frameRate='30' ttp:frameRateMultiplier='1000 1001'", {}},
        {"ttp:frameRateMultiplier='1000 no'", {TtmlParameterWrong}},
        {"ttp:dropMode='nonDrop'", {}},
        {"ttp:dropMode='dropPAL'", {}},
        {"ttp:dropMode='dropEggs'", {TtmlParameterWrong}},
        {"ttp:cellResolution='40 24'", {}},
        {"ttp:cellResolution='40 -24'", {TtmlParameterWrong}},
        {"somebodys='own'", {TtmlAttributesLeftOut}},
    };
    for (const auto& [parameters, codes] : cases) {
        const auto document = readDocument(documentOf(paragraphOf("a"), "", parameters));
        EXPECT_EQ(document.codes, codes) << parameters;
        EXPECT_EQ(cuesInWords(document.cues), "1000-2000 a") << parameters;
    }
}

TEST(Ttml, BoundsThePartsOfAParagraph) {
    const std::string text = documentOf(paragraphOf("a<br/>b<span><br/>c</span>"));
    const auto whole = readDocument(text, {.mostPieces = 5});
    EXPECT_EQ(cuesInWords(whole.cues), "1000-2000 a|b|c");
    EXPECT_EQ(whole.codes, std::vector<FindingCode>{});
    const auto cut = readDocument(text, {.mostPieces = 3});
    EXPECT_EQ(cuesInWords(cut.cues), "1000-2000 a|b");
    EXPECT_EQ(cut.codes, std::vector{FindingCode::TtmlParagraphTooLong});
}

TEST(Ttml, RefusesATreeThatTakesMuchMoreThanItsText) {
    const auto errorOf = [](std::size_t count) {
        std::string text = "<tt><body><div>";
        for (std::size_t index = 0; index < count; ++index) {
            text += "<p/>";
        }
        return readDocument(text + "</div></body></tt>").error;
    };
    // 128 bytes each, of which nine times their four bytes are given beside the 32 MiB that all may take.
    constexpr std::size_t kMost = 32 * 1024 * 1024 / (128 - 9 * 4);
    EXPECT_FALSE(errorOf(kMost - 10));
    const auto error = errorOf(kMost + 10);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, FindingCode::TtmlTooManyElements);
    EXPECT_GT(error->first, error->second);
}

TEST(Ttml, BoundsWhatIsHandedOutMoreThanOnce) {
    // A name of a megabyte that two hundred spans refer to, and as many paragraphs.
    const std::string head = "<styling><style xml:id='s' tts:fontFamily='" + std::string(1'000'000, 'f') +
                             "' tts:textShadow='" + std::string(1'000'000, 's') + "'/></styling>";
    std::string spans;
    std::string paragraphs;
    std::string timed;
    for (int index = 0; index < 200; ++index) {
        spans += "<span style='s'>a</span>";
        paragraphs += "<p begin='1s' end='2s' style='s'>a</p>";
        timed += "<span begin='" + std::to_string(index) + "ms' end='" + std::to_string(400 + index) + "ms'>" +
                 std::string(2000, 'a') + "</span>";
    }
    for (const std::string& body : {paragraphOf(spans), "<body><div>" + paragraphs + "</div></body>"}) {
        std::size_t bytes = 0;
        const auto document = readDocument(documentOf(body, head));
        EXPECT_EQ(document.cues.size(), body.find("<span") == std::string::npos ? 200U : 1U);
        for (const Cue& cue : document.cues) {
            for (const Property& property : cue.properties) {
                bytes += property.value.size();
            }
            for (const qlx::subtitles::Run& run : cue.rows[0].runs) {
                for (const Property& property : run.properties) {
                    bytes += property.value.size();
                }
            }
        }
        EXPECT_GE(bytes, 2'000'000U);
        EXPECT_LE(bytes, 32U * 2'100'000U + 16'000'000U);
        EXPECT_GE(std::count(document.codes.begin(), document.codes.end(), FindingCode::TtmlValueWrong), 100);
    }
    // Two hundred times four hundred thousand characters.
    const auto split = readDocument(documentOf(paragraphOf(timed)));
    EXPECT_EQ(split.cues.size(), 1U);
    EXPECT_EQ(split.codes, std::vector{FindingCode::TtmlTimesTooMany});
}

TEST(Ttml, TakesInitialValuesWhereNobodySaysAny) {
    const std::string head = "<styling><initial tts:color='yellow' tts:fontStyle='italic'/></styling>"
                             "<layout><region xml:id='r' tts:color='red'/></layout>";
    const std::pair<std::string, std::string> cases[] = {
        {"", "{i#3c}a"}, {"region='r'", "{i#30}a"}, {"region='r' tts:color='blue' tts:fontStyle='normal'", "{#03}a"}};
    for (const auto& [attributes, expected] : cases) {
        const auto document = readDocument(documentOf(paragraphOf("a", attributes), head));
        ASSERT_EQ(document.cues.size(), 1U);
        EXPECT_EQ(rowsInWords(document.cues[0]), expected);
    }
}

TEST(Ttml, GivesRegionsInPixelsAsPartsOfTheScreen) {
    const auto document = readDocument(
        documentOf("<body/>", "<layout><region xml:id='r' tts:origin='192px 108px' tts:extent='50% 540px'/></layout>",
                   "tts:extent='1920px 1080px'"));
    ASSERT_EQ(document.file.regions.size(), 1U);
    EXPECT_EQ(document.file.regions[0].attributes, (Properties{{"tts:extent", "50% 50%"}, {"tts:origin", "10% 10%"}}));
}

}  // namespace
}  // namespace ttml_tests
