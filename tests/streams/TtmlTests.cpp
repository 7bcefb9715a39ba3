// Timed text in XML: hand-written documents.
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/times.h>

#include "TextCues.h"
#include "TtmlDocuments.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace ttml_tests {
namespace {

using namespace qlx::streams;
using namespace qlx::subtitles;
using namespace qlxtest;
using qlx::Finding;
using qlx::FindingCode;

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
        {"<span tts:color='#12345678'>a</span>", "{#05 color=#123456 color.alpha=78}a"},
        {"<span tts:color='#ff000080'>a</span>", "{#30 color.alpha=80}a"},
        {"<span tts:color='#FF0000FF'>a</span>", "{#30}a"},
        {"<span tts:color='rgba(0,255,0, 64 )'>a</span>", "{#0c color.alpha=40}a"},
        {"<span tts:color='rgba(0,255,0,255)'>a</span>", "{#0c}a"},
        {"<span tts:color='#ff000000'>a</span>", "{#30 color.alpha=00}a"},
        {"<span tts:color='transparent'>a</span>", "{color.alpha=00}a"},
        {"<span tts:backgroundColor='blue'>a<span tts:backgroundColor='transparent'>b</span></span>", "{on03}ab"},
        {"<span tts:backgroundColor='rgba(255,0,0,0)'>a</span>", "a"},
        {"<span tts:backgroundColor='#0000ffff'>a</span>", "{on03}a"},
        {"<span tts:backgroundColor='rgba(0,0,255, 255)'>a</span>", "{on03}a"},
        {"<span tts:backgroundColor='#0000ffc2'>a</span>", "{on03 ttml.tts:backgroundColor=#0000ffc2}a"},
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
        // Of the whole screen.
        {"tts:displayAlign='before'", {1, 2}, 7, 1},
        {"tts:displayAlign='center'", {8, 9}, 4, 1},
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

TEST(Ttml, TakesPositionsInAnyOfTheirForms) {
    const auto read = [](const std::string& region) {
        return readDocument(
            documentOf(paragraphOf("a<br/>b", "region='r'"), "<layout><region xml:id='r' " + region + "/></layout>"));
    };
    // Of an extent of 60% by 40%, 40% by 60% are free: each set names one place, an origin first.
    const std::vector<std::vector<std::string>> places{
        {"tts:origin='20% 0%'", "tts:position='top'", "tts:position='center top'", "tts:position='top center'",
         "tts:position='50% 0%'"},
        {"tts:origin='40% 60%'", "tts:position='right bottom'", "tts:position='bottom right'",
         "tts:position='100% 100%'"},
        {"tts:origin='0% 30%'", "tts:position='left'", "tts:position='left center'", "tts:position='center left'",
         "tts:position='0% 50%'"},
        {"tts:origin='20% 30%'", "tts:position='center'", "tts:position='20rw 30rh'"}};
    for (const std::vector<std::string>& forms : places) {
        const auto expected = read(forms.front() + " tts:extent='60% 40%'");
        ASSERT_EQ(expected.cues.size(), 1U);
        EXPECT_NE(expected.cues[0].rows[0].number, 0U);
        for (const std::string& form : forms) {
            SCOPED_TRACE(form);
            const auto document = read(form + " tts:extent='60% 40%'");
            ASSERT_EQ(document.cues.size(), 1U);
            EXPECT_EQ(document.cues[0].rows, expected.cues[0].rows);
            EXPECT_TRUE(document.codes.empty());
        }
    }
    // Nobody knows where these are: a word too many, one length of two, what is no length, pixels of no screen, too far
    // away, and an edge that there is not.
    for (const std::string_view wrong :
         {"tts:position='left 10% top'", "tts:position=' '", "tts:origin='10%'", "tts:extent='x 10%'",
          "tts:origin='10px 10px'", "tts:origin='10000000% 0%'", "tts:displayAlign='middle'"}) {
        SCOPED_TRACE(wrong);
        EXPECT_EQ(read(std::string(wrong)).codes, std::vector{FindingCode::TtmlValueWrong});
    }
}

TEST(Ttml, ReadsTheHeadAndSaysWhatItLeavesOut) {
    using enum FindingCode;
    const std::string namespaces = "xmlns:smpte='http://www.smpte-ra.org/schemas/2052-1/2010/smpte-tt' "
                                   "xmlns:ebuttm='urn:ebu:tt:metadata' xmlns:x='urn:x'";
    const auto document = readDocument(documentOf(
        paragraphOf("a", "region='r'"),
        "<metadata><ttm:title>T</ttm:title><ttm:desc>D</ttm:desc><ttm:copyright>C</ttm:copyright>"
        "<ebuttm:documentMetadata><ebuttm:conformsToStandard>http://www.w3.org/ns/ttml/profile/imsc1/text"
        "</ebuttm:conformsToStandard></ebuttm:documentMetadata></metadata>"
        "<styling><metadata><ttm:desc>E</ttm:desc></metadata><style xml:id='s' tts:fontStyle='italic'/></styling>"
        "<layout><ttm:copyright>F</ttm:copyright><region xml:id='r' style='s'>text<style tts:color='red'/>"
        "<metadata><ttm:title>U</ttm:title></metadata><set tts:color='lime'/><smpte:image>AA</smpte:image><x:y/>"
        "</region></layout>",
        namespaces));
    ASSERT_FALSE(document.error);
    EXPECT_EQ(document.file.title, "U");
    EXPECT_EQ(document.file.description, "E");
    EXPECT_EQ(document.file.copyright, "F");
    EXPECT_EQ(document.file.kind, TtmlKind::Imsc);
    ASSERT_EQ(document.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(document.cues[0]), "{i#30}a");
    EXPECT_EQ(document.codes, (std::vector{TtmlAnimationLeftOut, TtmlImageLeftOut, TtmlElementLeftOut}));
    // Documents of before TTML 1 name their styles without a prefix.
    const auto old = readDocument(
        "<tt xmlns='http://www.w3.org/2006/10/ttaf1' xmlns:x='http://www.w3.org/2006/10/ttaf1#styling'><head><styling>"
        "<style id='s' x:color='red'/></styling></head><body><div><p begin='1s' end='2s' style='s'>a</p></div></body>"
        "</tt>");
    ASSERT_EQ(old.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(old.cues[0]), "{#30}a");
    EXPECT_TRUE(old.codes.empty());
}

}  // namespace
}  // namespace ttml_tests
