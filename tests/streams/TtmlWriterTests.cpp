// Timed text in XML: cues that are written and read back.
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/times.h>

#include "Sanitized.h"
#include "TextCues.h"
#include "TtmlDocuments.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>

namespace ttml_writer_tests {
namespace {

using namespace qlx::streams;
using namespace qlx::subtitles;
using namespace qlxtest;
using qlx::Finding;
using qlx::FindingCode;
using qlx::screen::Color;

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
            if (below(8) == 0) {
                one.properties.push_back({"vtt.lang", below(2) == 0 ? "fr" : "it"});
            }
            if (!row.runs.empty() && row.runs.back().style == one.style &&
                row.runs.back().properties == one.properties) {
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

/// What the attributes of a region say.
std::optional<Box> boxOfRegion(const TtmlFile& file, const std::string& name) {
    for (const TtmlRegion& region : file.regions) {
        if (region.name == name) {
            Box box;
            std::istringstream extent(*valueOf(region.attributes, "tts:extent"));
            std::istringstream origin(*valueOf(region.attributes, "tts:origin"));
            char percent = 0;
            extent >> box.width >> percent >> box.height;
            origin >> box.left >> percent >> box.top;
            const std::string& edge = *valueOf(region.attributes, "tts:displayAlign");
            box.edge = edge == "before" ? BoxEdge::Top : edge == "after" ? BoxEdge::Bottom : BoxEdge::Middle;
            return box;
        }
    }
    return std::nullopt;
}

// Rows of double height of a teletext page stand below each other where their numbers are two apart. One alone is taken
// for such a row where the page has one more below it.
TEST(TtmlWriter, PlacesRowsOfDoubleHeight) {
    Cue cue;
    cue.start = milliseconds(0);
    cue.end = milliseconds(1000);
    cue.screenRows = 25;
    for (const std::uint64_t number : {21U, 23U}) {
        Row row;
        row.number = number;
        row.runs.push_back({"a", {}, {}, {}});
        cue.rows.push_back(row);
    }
    const auto written = [](const Cue& one, qlx::Findings& findings) {
        TtmlWriter writer({}, {}, &findings);
        EXPECT_TRUE(writer.write(one));
        return writer.finish();
    };
    qlx::Findings findings;
    // The lower half of the last one is row 24 of 25: 10 % and 24/25 of 80 %.
    EXPECT_NE(written(cue, findings).find("tts:displayAlign=\"after\" tts:extent=\"80% 76.8%\" tts:origin=\"10% 10%\""),
              std::string::npos);
    EXPECT_EQ(findings.size(), 0U);
    // Rows 20 and 21 of the page, and its last row, below which there is none.
    for (const auto& [number, extent] : {std::pair<std::uint64_t, std::string_view>{21, "70.4%"}, {24, "76.8%"}}) {
        Cue one = cue;
        one.rows.pop_back();
        one.rows[0].number = number;
        EXPECT_NE(written(one, findings).find("tts:extent=\"80% " + std::string(extent)), std::string::npos) << number;
    }
    EXPECT_EQ(findings.size(), 0U);
    // Of another screen, or with a row between, one of them is not where it was.
    for (const auto& [rows, number] : {std::pair<std::uint16_t, std::uint64_t>{15, 13}, {25, 24}}) {
        Cue other = cue;
        other.screenRows = rows;
        other.rows[0].number = rows == 15 ? 11 : 21;
        other.rows[1].number = number;
        qlx::Findings lost;
        (void)written(other, lost);
        EXPECT_EQ(lost.size(), 1U) << rows;
    }
}

TEST(TtmlWriter, WritesTheBoxOfACue) {
    const struct {
        Box box;
        std::string_view displayAlign;
        std::string_view extent;
        std::string_view origin;
    } cases[] = {
        {{30, 20, 40, 80, BoxEdge::Top}, "before", "40% 80%", "30% 20%"},
        {{0, 0, 100, 84.5, BoxEdge::Bottom}, "after", "100% 84.5%", "0% 0%"},
        {{10, 25, 33.3336, 50, BoxEdge::Middle}, "center", "33.334% 50%", "10% 25%"},
        // What is beyond the screen is no part of a region; what is all beyond it is where text usually stands.
        {{-20, 90, 140, 18, BoxEdge::Bottom}, "after", "100% 10%", "0% 90%"},
        {{100, 0, 40, 18, BoxEdge::Top}, "after", "80% 80%", "10% 10%"},
    };
    for (const auto& each : cases) {
        TtmlWriter writer;
        Cue cue = cueOf(0, 1000, 2000, {rowOf("a")});
        cue.box = each.box;
        ASSERT_TRUE(writer.write(cue));
        const auto document = readDocument(writer.finish());
        ASSERT_EQ(document.file.regions.size(), 1U);
        const Properties expected{{"tts:displayAlign", std::string(each.displayAlign)},
                                  {"tts:extent", std::string(each.extent)},
                                  {"tts:origin", std::string(each.origin)}};
        EXPECT_EQ(document.file.regions[0].attributes, expected);
        EXPECT_EQ(document.cues.at(0).box, boxOfRegion(document.file, document.cues[0].region));
    }
}

TEST(TtmlWriter, ComesBackAsWritten) {
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
        const auto document = readDocument(writer.finish());
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
            expected.box = boxOfRegion(document.file, back.region);
            ASSERT_EQ(unitsOf(back.start, 1000), cues[index].start.value);
            ASSERT_EQ(unitsOf(back.end, 1000), cues[index].end.value);
            ASSERT_EQ(back, expected) << index << ": " << rowsInWords(back) << " for " << rowsInWords(expected);
        }
    }
}

TEST(TtmlWriter, SaysWhatAProfileCannotSay) {
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
        {changed([](Cue& cue) { cue.region = "r"; }), {SubtitleRegionLost}, {SubtitleRegionLost}},
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

TEST(TtmlWriter, WritesOnlyAttributesThatAProfileHas) {
    const Properties any{{"ttml.tts:x y='1' tts:z", "1"}, {"ttml.tts:none", "1"},
                         {"ttml.tts:textAlign", "end"},   {"ttml.tts:fontSize", "20px"},
                         {"ttml.tts:lineHeight", "2c"},   {"ttml.tts:border", "none"},
                         {"ttml.tts:wrapOption", "wrap"}, {"ttml.tts:wrapOption", "noWrap"}};
    for (const TtmlProfile profile : {TtmlProfile::Imsc11Text, TtmlProfile::EbuTtD}) {
        for (const bool isOfRun : {false, true}) {
            SCOPED_TRACE(isOfRun);
            const std::string text = writtenWith(isOfRun ? Properties{} : any, isOfRun ? any : Properties{}, profile);
            EXPECT_FALSE(readDocument(text).error);
            for (const std::string_view part : {"tts:x", "tts:z", "tts:none", "20px", "border", "noWrap"}) {
                EXPECT_EQ(text.find(part), std::string::npos) << part;
            }
            EXPECT_EQ(countOf(text, "tts:wrapOption=\"wrap\""), 1U);
            EXPECT_EQ(countOf(text, "2c"), 0U);
        }
        EXPECT_EQ(countOf(writtenWith({{"ttml.tts:textAlign", "end"}}, {}, profile), "tts:textAlign"), 1U);
    }
}

// IMSC 1.1 asks for an extent (8.4.2) and has no cells here (7.12.8); EBU-TT-D asks for an origin, too, in per cent.
TEST(TtmlWriter, SaysWhereRegionsAreInTheUnitsOfAProfile) {
    struct Case {
        Properties given;
        std::string imsc;
        std::string ebu;
        bool isLost = false;
    };
    const Case cases[] = {
        {{{"tts:origin", "10% 20%"}, {"tts:extent", "30% 40%"}},
         R"(tts:origin="10% 20%" tts:extent="30% 40%")",
         R"(tts:origin="10% 20%" tts:extent="30% 40%")"},
        {{{"tts:extent", "50% 20%"}, {"tts:position", "center"}},
         R"(tts:extent="50% 20%" tts:position="center")",
         R"(tts:extent="50% 20%" tts:origin="25% 40%")"},
        {{{"tts:extent", "16c 3c"}, {"tts:origin", "3.2c 1.5c"}},
         R"(tts:extent="50% 20%" tts:origin="10% 10%")",
         R"(tts:extent="50% 20%" tts:origin="10% 10%")"},
        {{{"tts:extent", "50rw 20rh"}, {"tts:origin", "10rw 10rh"}},
         R"(tts:extent="50rw 20rh" tts:origin="10rw 10rh")",
         R"(tts:extent="50% 20%" tts:origin="10% 10%")"},
        {{{"tts:extent", "50% 20%"}}, R"(tts:extent="50% 20%")", R"(tts:extent="50% 20%" tts:origin="0% 0%")"},
        {{{"tts:origin", "10% 20%"}},
         R"(tts:extent="90% 80%" tts:origin="10% 20%")",
         R"(tts:extent="90% 80%" tts:origin="10% 20%")"},
        {{{"tts:displayAlign", "after"}},
         R"(tts:displayAlign="after" tts:extent="100% 100%" tts:origin="0% 0%")",
         R"(tts:displayAlign="after" tts:extent="100% 100%" tts:origin="0% 0%")"},
        {{{"tts:extent", "5px 6px"}},
         R"(tts:extent="100% 100%" tts:origin="0% 0%")",
         R"(tts:extent="100% 100%" tts:origin="0% 0%")",
         true},
    };
    for (const Case& one : cases) {
        for (const TtmlProfile profile : {TtmlProfile::Imsc11Text, TtmlProfile::EbuTtD}) {
            TtmlFile file;
            file.regions.push_back({"r", one.given});
            qlx::Findings findings;
            TtmlWriter writer(file, {.profile = profile}, &findings);
            EXPECT_NE(writer.finish().find("<region xml:id=\"r\" " +
                                           (profile == TtmlProfile::EbuTtD ? one.ebu : one.imsc) + "/>"),
                      std::string::npos)
                << one.imsc << "\n"
                << writer.finish();
            EXPECT_EQ(findings.empty(), !one.isLost) << one.imsc;
        }
    }
    // Letters of colours and fonts are no units.
    for (const std::string value : {"#00c00c 5%", "rgb(0,1,2) 5%"}) {
        EXPECT_EQ(countOf(writtenWith({{"ttml.tts:textOutline", value}}, {}, TtmlProfile::Imsc11Text), value), 1U);
    }
}

TEST(TtmlWriter, WritesEachNameOnce) {
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

TEST(TtmlWriter, WritesNamesInAllLettersThatXmlHas) {
    const auto isWritten = [](std::string_view name) {
        Cue cue;
        cue.start = milliseconds(1000);
        cue.end = milliseconds(2000);
        cue.identifier = name;
        cue.rows.push_back(qlxtest::rowOf("x"));
        qlx::Findings findings;
        TtmlWriter writer({}, {}, &findings);
        EXPECT_TRUE(writer.write(cue));
        const auto document = readDocument(writer.finish());
        EXPECT_EQ(document.cues.size(), 1U);
        const bool isThere = !document.cues.empty() && document.cues[0].identifier == name;
        EXPECT_EQ(findings.empty(), isThere) << name;
        return isThere;
    };
    for (const std::string_view name : {"a", "_1", "gr\u00FCn", "\u0441\u0442\u0440-1.2", "\u5B57\u5E55", "a\u00B7"}) {
        EXPECT_TRUE(isWritten(name)) << name;
    }
    for (const std::string_view name : {"1", "-a", "a b", "a:b", "\u00D7", "\u2013", "\uFFFD", "\u00B7a"}) {
        EXPECT_FALSE(isWritten(name)) << name;
    }
}

TEST(TtmlWriter, KeepsRegionsNamesAndTimesOfParts) {
    const std::string text = documentOf(
        "<body><div><p xml:id='x' begin='1s' end='5s' region='r2'>a<br/><span begin='1s'>b</span></p></div></body>",
        "<layout><region xml:id='r1' tts:origin='10% 10%' tts:extent='80% 20%' tts:opacity='0.5'/>"
        "<region xml:id='r2' tts:origin='10% 70%' tts:extent='80% 20%' tts:displayAlign='after' "
        "tts:padding='1%'/></layout>");
    const auto first = readDocument(text);
    ASSERT_EQ(first.cues.size(), 1U);
    TtmlWriter writer(first.file);
    ASSERT_TRUE(writer.write(first.cues[0]));
    const auto second = readDocument(writer.finish());
    EXPECT_EQ(second.file.regions, first.file.regions);
    ASSERT_EQ(second.cues.size(), 1U);
    EXPECT_EQ(cuesInWords(second.cues), "1000-5000 " + rowsInWords(first.cues[0]));
    EXPECT_EQ(second.cues[0].region, "r2");
    EXPECT_EQ(second.cues[0].identifier, "x");
    EXPECT_EQ(second.cues[0].rows, first.cues[0].rows);
}

}  // namespace
}  // namespace ttml_writer_tests
