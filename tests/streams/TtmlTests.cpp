// Timed text in XML: hand-written documents, and cues that are written and read back.
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/times.h>

#include "Sanitized.h"
#include "TextCues.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace ttml_tests {
namespace {

using namespace qlx::streams;
using namespace qlx::subtitles;
using qlx::Finding;
using qlx::FindingCode;
using qlx::screen::Color;
using qlxtest::milliseconds;
using qlxtest::rowsInWords;

struct DocumentRead {
    std::vector<Cue> cues;
    std::vector<FindingCode> codes;
    std::vector<Finding> findings;
    TtmlFile file;
    std::optional<Finding> error;
};

DocumentRead read(const std::string& text, const TtmlReadOptions& options = {}) {
    DocumentRead document;
    qlx::Findings findings(100'000);
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    auto file = readTtml(
        bytes, [&](Cue cue) { document.cues.push_back(std::move(cue)); }, options, &findings);
    if (file) {
        document.file = std::move(*file);
    } else {
        document.error = file.error();
    }
    for (const Finding& finding : findings) {
        document.codes.push_back(finding.code);
        document.findings.push_back(finding);
    }
    return document;
}

/// A document with this body; in its head what is given.
std::string documentOf(const std::string& body, const std::string& head = "", const std::string& parameters = "") {
    return R"(<?xml version="1.0"?><tt xmlns="http://www.w3.org/ns/ttml" xmlns:tts="http://www.w3.org/ns/ttml#styling")"
           R"( xmlns:ttp="http://www.w3.org/ns/ttml#parameter" xmlns:ttm="http://www.w3.org/ns/ttml#metadata" xml:lang="en" )" +
           parameters + "><head>" + head + "</head>" + body + "</tt>";
}

std::string paragraphOf(const std::string& text, const std::string& attributes = "") {
    return "<body><div><p begin=\"1s\" end=\"2s\" " + attributes + ">" + text + "</p></div></body>";
}

/// `1000-2000 text`, a line a cue.
std::string inWords(const std::vector<Cue>& cues) {
    std::string text;
    for (const Cue& cue : cues) {
        text += text.empty() ? "" : "\n";
        text += std::to_string(unitsOf(cue.start, 1000)) + "-" + std::to_string(unitsOf(cue.end, 1000)) + " " +
                rowsInWords(cue);
    }
    return text;
}

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
        const auto document = read(
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

TEST(Ttml, SaysWhichTimesItCannotRead) {
    for (const std::string time : {"1", "s", "1x", "1:2:3", "00:60:00", "00:00:61", "00:00:01:30", "00:00:01.", "-1s",
                                   "1.5t", "1 s", "00:00:01:", "12345678901s", ".5s", "00:00:01.5:3"}) {
        SCOPED_TRACE(time);
        const auto document = read(documentOf("<body><div>\n<p begin=\"" + time + "\" end=\"2s\">a</p></div></body>"));
        ASSERT_EQ(document.codes, std::vector{FindingCode::TtmlTimeWrong});
        EXPECT_EQ(document.findings[0].offset, 2U);
        EXPECT_EQ(inWords(document.cues), "0-2000 a");
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
        const auto document = read(documentOf(one.body));
        EXPECT_EQ(inWords(document.cues), one.expected);
        if (one.codes != std::vector{TtmlEndMissing, TtmlElementLeftOut}) {
            EXPECT_EQ(document.codes, one.codes);
        } else {
            EXPECT_EQ(document.codes, (std::vector{TtmlEndMissing, TtmlNeverShown}));
        }
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
        const auto document = read(documentOf(paragraphOf(text)));
        ASSERT_EQ(document.cues.size(), 1U);
        EXPECT_EQ(rowsInWords(document.cues[0]), expected);
    }
    EXPECT_TRUE(read(documentOf(paragraphOf(" \n "))).cues.empty());
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
        {"<span tts:fontFamily='serif' tts:fontSize='50%'>a</span>", "{font.face=serif font.size=50%}a"},
        {"<span tts:ruby='base'>a</span>", "{ttml.tts:ruby=base}a"},
        {"a<span tts:visibility='hidden'>b</span>", "a", {TtmlHidden}},
        {"a<set begin='1s' tts:color='red'/>", "a", {TtmlElementLeftOut}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.text);
        const auto document = read(documentOf(paragraphOf(one.text), head));
        ASSERT_EQ(document.cues.size(), 1U);
        EXPECT_EQ(rowsInWords(document.cues[0]), one.expected);
        EXPECT_EQ(document.codes, one.codes);
    }
    const auto inherited = read(documentOf(
        "<body tts:color='red'><div tts:fontStyle='italic'><p begin='1s' end='2s' tts:lineHeight='125%' ttm:role='x'>a"
        "</p></div></body>"));
    ASSERT_EQ(inherited.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(inherited.cues[0]), "{i#30}a");
    EXPECT_EQ(inherited.cues[0].properties, (Properties{{"ttml.tts:lineHeight", "125%"}, {"ttml.ttm:role", "x"}}));
    EXPECT_EQ(inherited.cues[0].language, "en");
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
        const auto document =
            read(documentOf(paragraphOf("a<br/>b", "region='r'"),
                            "<layout><region xml:id='r' " + one.region + "/></layout>", "tts:extent='1920px 1080px'"));
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
        read("<tt xmlns='http://www.w3.org/2006/10/ttaf1' xmlns:x='http://www.w3.org/2006/10/ttaf1#styling'"
             "><body><div><p begin='1s' end='2s' x:color='red'>a</p></div></body></tt>");
    ASSERT_EQ(dfxp.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(dfxp.cues[0]), "{#30}a");
    EXPECT_EQ(dfxp.file.kind, TtmlKind::Dfxp);

    const auto prefixed = read("<q:tt xmlns:q='http://www.w3.org/ns/ttml' xmlns='urn:x'><q:body><q:div>"
                               "<q:p begin='1s' end='2s'>a<p>b</p><q:br/>c</q:p></q:div></q:body></q:tt>");
    ASSERT_EQ(prefixed.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(prefixed.cues[0]), "a|c");
    EXPECT_EQ(prefixed.codes, std::vector{FindingCode::TtmlElementLeftOut});

    const auto bare = read("<tt><body><p begin='1s' end='2s'>a</p></body></tt>");
    EXPECT_EQ(inWords(bare.cues), "1000-2000 a");

    const auto smpte = read(
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
        const auto document = read(one.text);
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
        return read(text, options).error.value_or(Finding{}).code;
    };
    EXPECT_FALSE(read(closed(deep.substr(0, deep.size() - 10), 197)).error);
    EXPECT_EQ(codeOf(closed(deep, 199), {}), TtmlTooDeep);
    EXPECT_EQ(codeOf("<tt/>", {.greatestFile = 4}), TtmlTooLong);
    const auto mended = read("\xEF\xBB\xBF<tt><body>\n<p begin='1s' end='2s'>a\xFF</p></body></tt>");
    EXPECT_EQ(mended.codes, std::vector{TtmlTextNotUtf8});
    EXPECT_EQ(inWords(mended.cues), "1000-2000 a\uFFFD");
}

TEST(Ttml, BoundsTheTimesOfSpans) {
    std::string text;
    for (int index = 0; index < 20; ++index) {
        text += "<span begin='" + std::to_string(index * 10) + "ms' end='" + std::to_string(index * 10 + 5) +
                "ms'>a</span>";
    }
    EXPECT_EQ(read(documentOf(paragraphOf(text))).cues.size(), 20U);
    const auto bounded = read(documentOf(paragraphOf(text)), {.mostTimes = 10});
    EXPECT_EQ(bounded.cues.size(), 1U);
    EXPECT_EQ(bounded.codes, std::vector{FindingCode::TtmlTimesTooMany});
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
        const auto document = read(documentOf(body, head));
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
    const auto split = read(documentOf(paragraphOf(timed)));
    EXPECT_EQ(split.cues.size(), 1U);
    EXPECT_EQ(split.codes, std::vector{FindingCode::TtmlTimesTooMany});
}

TEST(Ttml, TakesInitialValuesWhereNobodySaysAny) {
    const std::string head = "<styling><initial tts:color='yellow' tts:fontStyle='italic'/></styling>"
                             "<layout><region xml:id='r' tts:color='red'/></layout>";
    const std::pair<std::string, std::string> cases[] = {
        {"", "{i#3c}a"}, {"region='r'", "{i#30}a"}, {"region='r' tts:color='blue' tts:fontStyle='normal'", "{#03}a"}};
    for (const auto& [attributes, expected] : cases) {
        const auto document = read(documentOf(paragraphOf("a", attributes), head));
        ASSERT_EQ(document.cues.size(), 1U);
        EXPECT_EQ(rowsInWords(document.cues[0]), expected);
    }
}

TEST(Ttml, GivesRegionsInPixelsAsPartsOfTheScreen) {
    const auto document = read(
        documentOf("<body/>", "<layout><region xml:id='r' tts:origin='192px 108px' tts:extent='50% 540px'/></layout>",
                   "tts:extent='1920px 1080px'"));
    ASSERT_EQ(document.file.regions.size(), 1U);
    EXPECT_EQ(document.file.regions[0].attributes, (Properties{{"tts:extent", "50% 50%"}, {"tts:origin", "10% 10%"}}));
}

/// What a cue becomes when it is written and read: its times in milliseconds, runs that look alike as one, and a region.
Cue asRead(Cue cue, const Cue& back, std::uint64_t number) {
    cue.number = number;
    cue.region = back.region;
    cue.start = back.start;
    cue.end = back.end;
    return cue;
}

/// A cue that a profile can say.
Cue randomCue(std::mt19937& random, std::int64_t start) {
    const auto below = [&random](std::uint32_t count) { return static_cast<std::uint32_t>(random() % count); };
    static constexpr std::string_view kWords[] = {"Hello",        "a & b", "<i>", "\u00C5ngstr\u00F6m",
                                                  "\u4F60\u597D", "\"x\"", "]]>", "1"};
    Cue cue;
    cue.start = milliseconds(start);
    cue.end = milliseconds(start + 1 + below(5000));
    const std::uint32_t rows = 1 + below(3);
    const auto alignment = static_cast<Alignment>(1 + below(3));
    const std::uint32_t first = 1 + below(16 - rows);
    const std::uint32_t last = first + rows - 1;
    const bool isUpper = first * 3 <= 15;
    const bool isLower = last > 10;
    for (std::uint32_t index = 0; index < rows; ++index) {
        Row row;
        row.alignment = alignment;
        row.number = first + index;
        const int side = alignment == Alignment::Left ? 0 : alignment == Alignment::Right ? 2 : 1;
        row.anchor = static_cast<std::uint8_t>((isUpper ? 7 : isLower ? 1 : 4) + side);
        const std::uint32_t runs = 1 + below(3);
        for (std::uint32_t run = 0; run < runs; ++run) {
            Run one;
            one.text = std::string(kWords[below(std::size(kWords))]);
            one.text += below(4) == 0 ? "  " : "";
            one.style.foreground = qlx::screen::kBasicColors[1 + below(7)];
            if (below(3) == 0) {
                one.style.background = qlx::screen::kBasicColors[below(8)];
            }
            one.style.isItalic = below(3) == 0;
            one.style.isBold = below(3) == 0;
            one.style.isUnderlined = below(3) == 0;
            if (!row.runs.empty() && row.runs.back().style == one.style) {
                row.runs.back().text += one.text;
            } else {
                row.runs.push_back(one);
            }
        }
        cue.rows.push_back(row);
    }
    cue.screenRows = 15;
    cue.language = below(2) == 0 ? "en" : "de";
    if (alignment == Alignment::Left) {
        cue.screenColumns = 32;
        const auto column = static_cast<std::uint16_t>(1 + below(20));
        for (Row& row : cue.rows) {
            row.column = column;
        }
    }
    return cue;
}

TEST(Ttml, ComesBackAsWritten) {
    for (const TtmlProfile profile : {TtmlProfile::Imsc11Text, TtmlProfile::EbuTtD}) {
        std::mt19937 random(20261122);
        qlx::Findings findings;
        TtmlFile file;
        file.language = "en";
        file.title = "Title & more";
        TtmlWriter writer(file, {.profile = profile}, &findings);
        std::vector<Cue> cues;
        for (int index = 0; index < (qlxtest::kIsSanitized ? 500 : 10'000); ++index) {
            cues.push_back(randomCue(random, index * 1000 + static_cast<int>(random() % 500)));
            // Where rows stand in the middle the region says it for all of them alike.
            ASSERT_TRUE(writer.write(cues.back()));
        }
        ASSERT_TRUE(findings.empty()) << findings[0].text();
        const auto document = read(writer.finish());
        ASSERT_FALSE(document.error);
        EXPECT_TRUE(document.codes.empty());
        EXPECT_EQ(document.file.title, file.title);
        EXPECT_EQ(document.file.kind, profile == TtmlProfile::EbuTtD ? TtmlKind::EbuTt : TtmlKind::Imsc);
        ASSERT_EQ(document.cues.size(), cues.size());
        for (std::size_t index = 0; index < cues.size(); ++index) {
            const Cue& back = document.cues[index];
            Cue expected = asRead(cues[index], back, index + 1);
            if (profile == TtmlProfile::EbuTtD) {
                // The file says it for all of them.
                expected.properties = {{"ttml.ebutts:linePadding", "0.5c"}};
            }
            expected.identifier = profile == TtmlProfile::EbuTtD ? "c" + std::to_string(index + 1) : "";
            ASSERT_EQ(unitsOf(back.start, 1000), cues[index].start.value);
            ASSERT_EQ(unitsOf(back.end, 1000), cues[index].end.value);
            ASSERT_EQ(back, expected) << index << ": " << rowsInWords(back) << " for " << rowsInWords(expected);
        }
    }
}

TEST(Ttml, SaysWhatAProfileCannotSay) {
    using enum FindingCode;
    const auto losses = [](const Cue& cue, TtmlProfile profile) {
        qlx::Findings findings;
        TtmlWriter writer({}, {.profile = profile}, &findings);
        (void)writer.write(cue);
        (void)writer.finish();
        std::vector<FindingCode> codes;
        for (const Finding& finding : findings) {
            codes.push_back(finding.code);
        }
        return codes;
    };
    const auto changed = [](const auto& change) {
        Cue cue;
        cue.start = milliseconds(1000);
        cue.end = milliseconds(2000);
        cue.rows.push_back(qlxtest::rowOf("a"));
        change(cue);
        return cue;
    };
    struct Case {
        Cue cue;
        std::vector<FindingCode> imsc;
        std::vector<FindingCode> ebu;
    };
    const Case cases[] = {
        {changed([](Cue&) {}), {}, {}},
        {changed([](Cue& cue) { cue.rows[0].runs[0].style.isFlashing = true; }),
         {SubtitleStylesLost},
         {SubtitleStylesLost}},
        {changed([](Cue& cue) {
             cue.rows[0].runs[0].properties = {{"strikeout", ""}};
         }),
         {},
         {SubtitlePropertiesLost}},
        {changed([](Cue& cue) {
             cue.rows[0].runs[0].properties = {{"vtt.v", "x"}};
         }),
         {SubtitlePropertiesLost},
         {SubtitlePropertiesLost}},
        {changed([](Cue& cue) { cue.rows[0].runs[0].text = "a\x01"; }),
         {TtmlCharacterReplaced},
         {TtmlCharacterReplaced}},
        {changed([](Cue& cue) { cue.identifier = "1 a"; }), {SubtitleNameLost}, {SubtitleNameLost}},
        {changed([](Cue& cue) { cue.region = "r"; }), {SubtitleNameLost}, {SubtitleNameLost}},
        {changed([](Cue& cue) {
             cue.properties = {{"ttml.ttm:role", "x"}};
         }),
         {},
         {SubtitlePropertiesLost}},
        {changed([](Cue& cue) {
             cue.properties = {{"ttml.tts:lineHeight", "120%"}};
         }),
         {},
         {}},
        {changed([](Cue& cue) { cue.end = cue.start; }), {SubtitleTimeEmptied}, {SubtitleTimeEmptied}},
        {changed([](Cue& cue) { cue.start = milliseconds(-5); }), {SubtitleTimeNegative}, {SubtitleTimeNegative}},
        {changed([](Cue& cue) {
             cue.rows.push_back(cue.rows[0]);
             cue.rows[1].alignment = Alignment::Left;
         }),
         {SubtitlePlaceLost},
         {SubtitlePlaceLost}},
    };
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        SCOPED_TRACE(index);
        EXPECT_EQ(losses(cases[index].cue, TtmlProfile::Imsc11Text), cases[index].imsc);
        EXPECT_EQ(losses(cases[index].cue, TtmlProfile::EbuTtD), cases[index].ebu);
    }
}

/// What a writer makes of a paragraph with these properties, and of the regions of a file.
std::string writtenWith(const Properties& ofCue, const Properties& ofRun, TtmlProfile profile, TtmlFile file = {}) {
    Cue cue;
    cue.end = milliseconds(1000);
    cue.region = "r";
    cue.properties = ofCue;
    cue.rows.push_back(qlxtest::rowOf("a"));
    cue.rows[0].runs[0].properties = ofRun;
    TtmlWriter writer(std::move(file), {.profile = profile});
    (void)writer.write(cue);
    return writer.finish();
}

std::size_t countOf(const std::string& text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST(Ttml, WritesOnlyAttributesThatAProfileHas) {
    const Properties any{{"ttml.tts:x y='1' tts:z", "1"}, {"ttml.tts:none", "1"},
                         {"ttml.tts:textAlign", "end"},   {"ttml.tts:fontSize", "20px"},
                         {"ttml.tts:lineHeight", "2c"},   {"ttml.tts:border", "none"},
                         {"ttml.tts:wrapOption", "wrap"}, {"ttml.tts:wrapOption", "noWrap"}};
    for (const TtmlProfile profile : {TtmlProfile::Imsc11Text, TtmlProfile::EbuTtD}) {
        const bool isEbu = profile == TtmlProfile::EbuTtD;
        for (const bool isOfRun : {false, true}) {
            SCOPED_TRACE(isOfRun);
            const std::string text = writtenWith(isOfRun ? Properties{} : any, isOfRun ? any : Properties{}, profile);
            EXPECT_FALSE(read(text).error);
            for (const std::string_view part : {"tts:x", "tts:z", "tts:none", "20px", "border", "noWrap"}) {
                EXPECT_EQ(text.find(part), std::string::npos) << part;
            }
            EXPECT_EQ(countOf(text, "tts:wrapOption=\"wrap\""), 1U);
            EXPECT_EQ(countOf(text, "tts:lineHeight=\"2c\""), isEbu ? 0U : 1U);
        }
        EXPECT_EQ(countOf(writtenWith({{"ttml.tts:textAlign", "end"}}, {}, profile), "tts:textAlign"), 1U);
    }
}

TEST(Ttml, WritesEachNameOnce) {
    TtmlFile file;
    for (const std::string name : {"r", "r", "base", "", "a b", "style1"}) {
        file.regions.push_back({name, {{"tts:origin", "10% 10%"}, {"tts:origin", "20% 20%"}}});
    }
    const std::string text = writtenWith({}, {}, TtmlProfile::Imsc11Text, file);
    for (const std::string_view name : {"r", "base", "style1", "style2"}) {
        EXPECT_EQ(countOf(text, "xml:id=\"" + std::string(name) + "\""), 1U) << name;
    }
    EXPECT_EQ(countOf(text, "xml:id="), 4U);
    EXPECT_EQ(countOf(text, "20% 20%"), 0U);
    EXPECT_EQ(countOf(text, "region=\"r\""), 1U);
}

TEST(Ttml, KeepsRegionsNamesAndTimesOfParts) {
    const std::string text = documentOf(
        "<body><div><p xml:id='x' begin='1s' end='5s' region='r2'>a<br/><span begin='1s'>b</span></p></div></body>",
        "<layout><region xml:id='r1' tts:origin='10% 10%' tts:extent='80% 20%' tts:opacity='0.5'/>"
        "<region xml:id='r2' tts:origin='10% 70%' tts:extent='80% 20%' tts:displayAlign='after' "
        "tts:padding='1%'/></layout>");
    const auto first = read(text);
    ASSERT_EQ(first.cues.size(), 1U);
    TtmlWriter writer(first.file);
    ASSERT_TRUE(writer.write(first.cues[0]));
    const auto second = read(writer.finish());
    EXPECT_EQ(second.file.regions, first.file.regions);
    ASSERT_EQ(second.cues.size(), 1U);
    EXPECT_EQ(inWords(second.cues), "1000-5000 " + rowsInWords(first.cues[0]));
    EXPECT_EQ(second.cues[0].region, "r2");
    EXPECT_EQ(second.cues[0].identifier, "x");
    EXPECT_EQ(second.cues[0].rows, first.cues[0].rows);
}

}  // namespace
}  // namespace ttml_tests
