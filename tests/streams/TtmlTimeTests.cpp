// Timed text in XML: when its parts are shown.
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/times.h>

#include "TextCues.h"
#include "TtmlDocuments.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace ttml_time_tests {
namespace {

using namespace qlx::streams;
using namespace qlx::subtitles;
using namespace qlxtest;
using qlx::FindingCode;

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
        {frames + "ttp:timeBase=\"smpte\" ttp:dropMode=\"dropNTSC\"", "00:01:00;02", 1800 * 1001, 30'000},
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
    for (const std::string time :
         {"", "s", "1x", "1:2:3", "00:60:00", "00:00:61", "00:00:01:30", "00:00:01.", "-1s", "1.5t", "1 s",
          "00:00:01:", "12345678901s", ".5s", "00:00:01.5:3", "00:00:01;12", "00;00;01;12"}) {
        SCOPED_TRACE(time);
        const auto document =
            readDocument(documentOf("<body><div>\n<p begin=\"" + time + "\" end=\"2s\">a</p></div></body>"));
        ASSERT_EQ(document.codes, std::vector{FindingCode::TtmlTimeWrong});
        EXPECT_EQ(document.findings[0].offset, 2U);
        EXPECT_EQ(cuesInWords(document.cues), "0-2000 a");
    }
}

TEST(Ttml, TakesNumbersWithoutAMetricForSeconds) {
    using enum FindingCode;
    const auto document =
        readDocument(documentOf("<body><div>\n<p begin='1' end='2.5'>a</p>\n"
                                "<p begin='3s' dur='00.250'>b</p>\n<p begin='10' end='11s'>c</p></div></body>"));
    EXPECT_EQ(cuesInWords(document.cues), "1000-2500 a\n3000-3250 b\n10000-11000 c");
    const std::vector<qlx::Finding> expected{{TtmlTimeMetricMissing, qlx::Severity::Warning, 2, 1, 1000},
                                             {TtmlTimeMetricMissing, qlx::Severity::Warning, 2, 2, 2500},
                                             {TtmlTimeMetricMissing, qlx::Severity::Warning, 3, 3, 250},
                                             {TtmlTimeMetricMissing, qlx::Severity::Warning, 4, 1, 10000}};
    EXPECT_EQ(document.findings, expected);
}

// SMPTE ST 12-1: the first two numbers of each minute are left out, but not of every tenth one.
TEST(Ttml, TakesLabelsThatAreLeftOutForTheNext) {
    using enum FindingCode;
    const std::string body = "<body><div>\n<p begin='00:01:00:00' end='00:01:00:02'>a</p>\n"
                             "<p begin='00:01:00:01' end='00:01:01:00'>b</p>\n"
                             "<p begin='00:10:00:00' end='00:10:00:01'>c</p></div></body>";
    const std::string head = "<tt xmlns='http://www.w3.org/ns/ttml' xmlns:ttp='http://www.w3.org/ns/ttml#parameter' "
                             "ttp:timeBase='smpte' ttp:frameRate='30' ttp:frameRateMultiplier='1000 1001'";
    const auto document = readDocument(head + " ttp:dropMode='dropNTSC'>" + body + "</tt>");
    // Frame 1800 is at 60.06 s, 17982 at 599.9994 s.
    const std::vector<qlx::Finding> expected{{TtmlTimeLabelNone, qlx::Severity::Warning, 2, 1, 60060},
                                             {TtmlNeverShown, qlx::Severity::Warning, 2, 60060, 60060},
                                             {TtmlTimeLabelNone, qlx::Severity::Warning, 3, 1, 60060}};
    EXPECT_EQ(document.findings, expected);
    EXPECT_EQ(cuesInWords(document.cues), "60060-60994 b\n599999-600033 c");
    EXPECT_TRUE(readDocument(head + ">" + body + "</tt>").findings.empty());
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

TEST(Ttml, SaysHowLabelsCount) {
    using qlx::FrameRate;
    using qlx::cc::TimeCodeCounting;
    const auto countingOf = [](const std::string& parameters, const qlx::streams::TtmlReadOptions& options = {}) {
        return readDocument(documentOf("<body><div><p begin='0s' end='1s'>a</p></div></body>", "", parameters), options)
            .file.counting;
    };
    const std::string smpte = "ttp:timeBase='smpte' ";
    const std::string fractional = "ttp:frameRate='30' ttp:frameRateMultiplier='1000 1001' ";
    EXPECT_EQ(countingOf(""), std::nullopt);
    EXPECT_EQ(countingOf(fractional), std::nullopt);
    EXPECT_EQ(countingOf(smpte), (TimeCodeCounting{FrameRate::Fps30, false}));
    EXPECT_EQ(countingOf(smpte + fractional), (TimeCodeCounting{FrameRate::Fps2997, false}));
    EXPECT_EQ(countingOf(smpte + fractional + "ttp:dropMode='dropNTSC'"), (TimeCodeCounting{FrameRate::Fps2997, true}));
    EXPECT_EQ(countingOf(smpte + "ttp:frameRate='60' ttp:frameRateMultiplier='1000:1001' ttp:dropMode='dropNTSC'"),
              (TimeCodeCounting{FrameRate::Fps5994, true}));
    EXPECT_EQ(countingOf(smpte + "ttp:frameRate='25'"), (TimeCodeCounting{FrameRate::Fps25, false}));
    EXPECT_EQ(countingOf(smpte, {.rate = FrameRate::Fps5994, .isDrop = true}),
              (TimeCodeCounting{FrameRate::Fps5994, true}));
    // What time codes do not do.
    EXPECT_EQ(countingOf(smpte + "ttp:frameRate='30' ttp:dropMode='dropNTSC'"), std::nullopt);
    EXPECT_EQ(countingOf(smpte + fractional + "ttp:dropMode='dropPAL'"), std::nullopt);
    EXPECT_EQ(countingOf(smpte + "ttp:frameRate='10'"), std::nullopt);
    EXPECT_EQ(countingOf(smpte + "ttp:frameRate='60' ttp:frameRateMultiplier='1 2'"), std::nullopt);
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

}  // namespace
}  // namespace ttml_time_tests
