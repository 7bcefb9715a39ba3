// SubStation Alpha files: hand-written ones of both versions, in pieces of any size and at every shorter length.
#include <qlx/subtitles/ssa.h>

#include "TextCues.h"

#include <gtest/gtest.h>

namespace ssa_tests {
namespace {

using namespace qlx::subtitles;
using namespace std::string_view_literals;
using qlx::FindingCode;
using qlx::Severity;
using qlxtest::CuesRead;
using qlxtest::milliseconds;
using qlxtest::readCues;
using qlxtest::rowsInWords;

CuesRead read(std::string_view text, std::size_t piece = std::string_view::npos, const TextCueOptions& options = {}) {
    return readCues<SsaReader>(text, piece, options);
}

// A screen of 640 by 300: a row is 20 high, a column 20 wide.
constexpr std::string_view kHead =
    "[Script Info]\nScriptType: v4.00+\nPlayResX: 640\nPlayResY: 300\n\n[V4+ Styles]\n"
    "Format: Name, Fontname, Fontsize, PrimaryColour, SecondaryColour, OutlineColour, BackColour, Bold, Italic, "
    "Underline, StrikeOut, ScaleX, ScaleY, Spacing, Angle, BorderStyle, Outline, Shadow, Alignment, MarginL, MarginR, "
    "MarginV, Encoding\n"
    "Style: Default,Arial,20,&H00FFFFFF,&H000000FF,&H00000000,&H00000000,0,0,0,0,100,100,0,0,1,2,2,2,10,10,5,1\n"
    "Style: Yellow,Arial,20,&H0000FFFF,&H000000FF,&H00000000,&H00000000,-1,-1,-1,-1,100,100,0,0,1,2,2,8,10,10,5,1\n"
    "Style: Boxed,Arial,20,&H0000FFFF,&H000000FF,&H00FF0000,&H000000FF,0,0,0,0,100,100,0,0,3,2,2,7,10,10,5,1\n"
    "Style: Raised,Arial,20,&H00FFFFFF,&H000000FF,&H00000000,&H00000000,0,0,0,0,100,100,0,0,1,2,2,2,10,10,60,1\n"
    "Style: Clear,Arial,20,&H4000FFFF,&H000000FF,&H80FF0000,&H000000FF,0,0,0,0,100,100,0,0,3,2,2,2,10,10,5,1\n"
    "\n[Events]\nFormat: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n";

std::string event(std::string_view text, std::string_view style = "Default", std::string_view margin = "0") {
    return std::string(kHead) + "Dialogue: 0,0:00:01.00,0:00:02.50," + std::string(style) + ",,0,0," +
           std::string(margin) + ",," + std::string(text) + "\n";
}

struct TextCase {
    std::string_view text;
    std::string_view expected;  ///< See rowsInWords().
    std::vector<FindingCode> findings{};
    std::string_view style = "Default";
};

TEST(Ssa, ReadsTheTextOfEvents) {
    using enum qlx::FindingCode;
    const TextCase cases[] = {
        {"plain, with commas", "plain, with commas"},
        {" a ", " a "},
        {"a", "{#3con03 color.alpha=bf background.alpha=7f}a", {}, "Clear"},
        {"a\\Nb", "a|b"},
        {"a\\nb", "a b"},
        {"{\\q2}a\\nb", "a|b"},
        {"a\\hb", "a\u00A0b"},
        {"a\\\\b\\x", "a\\\\b\\x"},
        {"\\{a\\}", "{a}"},
        {"{\\b1}a{\\b0}b", "{b}a{}b"},
        {"{\\b700}a{\\b400}b", "{b}a{}b"},
        {"{\\i1}a{\\i}b{\\u1\\b1}c{\\r}d", "{i}a{}b{bu}c{}d"},
        {"{\\s1}a", "{strikeout=}a"},
        {"{\\i1}a\\Nb", "{i}a|{i}b"},
        {"{\\c&H0000FF&}a{\\c}b{\\1c&HFF0000&}c", "{#30}a{}b{#03}c"},
        {"{\\c&H00A5FF&}a", "{#38 color=#ffa500}a"},
        {"{\\rYellow}a{\\r}b", "{biu#3c strikeout=}a{}b"},
        {"{\\rNone}a", "a", {SsaStyleUnknown}},
        {"{\\fnCourier\\fs30}a{\\fn\\fs}b", "{font.face=Courier font.size=30}a{}b"},
        {"{\\an8}a\\N{\\an1}b", "[8]a|[8]b"},
        {"{\\an2}a", "a"},
        {"{\\a6}a", "[8]a"},
        {"{\\a11}a{\\an3}", "[6]a"},
        {"{\\fad(1,2)\\t(0,5,\\fs9\\an3)}a", "{ssa.codes=\\fad(1,2)\\t(0,5,\\fs9\\an3)}a"},
        {"{\\3c&H0000FF&\\be1\\bord2\\shad1}a", "{ssa.codes=\\3c&H0000FF&\\be1\\bord2\\shad1}a"},
        {"a{\\blur2}", "a{ssa.codes=\\blur2}"},
        {"{a note}b{more \\i1}c", "b{i}c", {SsaCommentInText}},
        {"{b", "{b"},
        {"{{a}b}c", "b}c", {SsaCommentInText}},
        {"{\\k20}a{\\kf30\\K5}b{\\ko}c", "abc", {SsaSyllables}},
        {"a{\\p1}m 0 0 l 1 1\\N{\\p0}b", "ab", {SsaDrawing}},
        {"a\xFF", "a\uFFFD", {SubtitleTextNotUtf8}},
        {"a &amp; <i>b</i>", "a &amp; <i>b</i>"},
        {"a", "[8]{biu#3c strikeout=}a", {}, "Yellow"},
        {"{\\b0\\i0\\u0\\s0}a{\\i}b", "[8]{#3c}a{i#3c}b", {}, "Yellow"},
        {"a{\\3c&H0000FF&}b{\\3c}c", "[7]{#3con03}a{#3con30}b{#3con03}c", {}, "Boxed"},
        {"a", "a", {SsaStyleUnknown}, "None"},
        {"a", "a", {}, "*Default"},
    };
    for (const TextCase& row : cases) {
        const CuesRead result = read(event(row.text, row.style));
        ASSERT_EQ(result.cues.size(), 1U) << row.text;
        EXPECT_EQ(rowsInWords(result.cues.front()), row.expected) << row.text;
        EXPECT_EQ(result.codes(), row.findings) << row.text;
        EXPECT_EQ(result.cues.front().start, milliseconds(1000));
        EXPECT_EQ(result.cues.front().end, milliseconds(2500));
    }
}

struct PlaceCase {
    std::string_view text;
    std::string_view style;
    std::string_view margin;
    std::uint64_t row;  ///< Of the first row, on a screen of 15; 0: none.
    std::uint16_t column;
    std::uint8_t anchor;
    Alignment alignment;
};

TEST(Ssa, PlacesRowsByCoordinatesAndMargins) {
    const PlaceCase cases[] = {
        {"a", "Default", "0", 0, 0, 0, Alignment::Center},
        {"a\\Nb", "Raised", "0", 11, 0, 0, Alignment::Center},  // 60 below them: rows 11 and 12 of 15.
        {"a", "Default", "100", 10, 0, 0, Alignment::Center},
        {"a", "Default", "19", 0, 0, 0, Alignment::Center},  // Less than a row of 20.
        {"a", "Default", "20", 14, 0, 0, Alignment::Center},
        {"{\\an7}a", "Default", "19", 0, 0, 7, Alignment::Left},
        {"{\\an7}a", "Default", "40", 3, 0, 0, Alignment::Left},
        {"{\\an5}a", "Default", "100", 0, 0, 5, Alignment::Center},
        {"{\\an7\\pos(0,0)}a", "Default", "0", 1, 1, 0, Alignment::Left},
        {"{\\an7\\pos(100,40)}a", "Default", "0", 3, 6, 0, Alignment::Left},
        {"{\\pos(320,300)}ab", "Default", "0", 15, 0, 0, Alignment::Center},
        {"{\\pos(320,200)}a\\Nb", "Default", "0", 9, 0, 0, Alignment::Center},
        {"{\\an5\\pos(100,150)}abcd", "Default", "0", 8, 4, 0, Alignment::Center},
        {"{\\an3\\pos(640,300)}abcd", "Default", "0", 15, 29, 0, Alignment::Right},
        // Ten columns have room around the fifth one, eleven have not.
        {"{\\an5\\pos(100,150)}abcdefghij", "Default", "0", 8, 1, 0, Alignment::Center},
        {"{\\an5\\pos(100,150)}abcdefghijk", "Default", "0", 8, 1, 0, Alignment::Left},
        {"{\\an7\\pos(-50,9999)}a", "Default", "0", 15, 1, 0, Alignment::Left},
        {"{\\pos(1e9,1)\\pos(x,2)}a", "Default", "0", 0, 0, 0, Alignment::Center},
    };
    for (const PlaceCase& place : cases) {
        const CuesRead result = read(event(place.text, place.style, place.margin));
        ASSERT_EQ(result.cues.size(), 1U) << place.text;
        const Row& row = result.cues[0].rows[0];
        EXPECT_EQ(row.number, place.row) << place.text;
        EXPECT_EQ(row.column, place.column) << place.text;
        EXPECT_EQ(row.anchor, place.anchor) << place.text;
        EXPECT_EQ(row.alignment, place.alignment) << place.text;
        EXPECT_EQ(result.cues[0].screenRows, place.row != 0 ? 15 : 0) << place.text;
        // The coordinates themselves are kept.
        const std::size_t position = place.row == 0 ? std::string_view::npos : place.text.find("\\pos(");
        const std::string_view inside = position == std::string_view::npos ? "" : place.text.substr(position + 5);
        const std::string* const kept = valueOf(result.cues[0].properties, qlx::subtitles::properties::kSsaPosition);
        EXPECT_EQ(kept == nullptr ? "" : *kept, inside.substr(0, inside.find(')'))) << place.text;
        EXPECT_EQ(result.cues[0].screenColumns,
                  place.text.find("\\pos(") != std::string_view::npos && place.row != 0 ? 32 : 0)
            << place.text;
    }
}

TEST(Ssa, HasBoxesAtCoordinates) {
    // The screen is 640 by 300; its 32 columns are 3.125 % wide each.
    const struct {
        std::string_view text;
        std::optional<Box> box;
    } cases[] = {
        {"a", std::nullopt},
        {"{\\an7}a", std::nullopt},
        {"{\\an7\\pos(160,75)}a", Box{25, 25, 75, 75, BoxEdge::Top}},
        {"{\\an1\\pos(160,225)}a", Box{25, 0, 75, 75, BoxEdge::Bottom}},
        {"{\\pos(320,270)}ab", Box{0, 0, 100, 90, BoxEdge::Bottom}},
        {"{\\an5\\pos(320,75)}ab", Box{0, 0, 100, 50, BoxEdge::Middle}},
        {"{\\an3\\pos(640,300)}abcd", Box{0, 0, 100, 100, BoxEdge::Bottom}},
        {"{\\an3\\pos(320,300)}abcd", Box{0, 0, 50, 100, BoxEdge::Bottom}},
        // Text in the middle has as much room on both sides: 10 % up to the edge.
        {"{\\pos(64,270)}abcd", Box{0, 0, 20, 90, BoxEdge::Bottom}},
        {"{\\pos(576,270)}abcd", Box{80, 0, 20, 90, BoxEdge::Bottom}},
        // Eight letters are wider than that: they begin with the first column, or the 26th, at 78.125 %.
        {"{\\pos(64,270)}abcdefgh", Box{0, 0, 100, 90, BoxEdge::Bottom}},
        {"{\\pos(576,270)}abcdefgh", Box{78.125, 0, 21.875, 90, BoxEdge::Bottom}},
        {"{\\an7\\pos(-50,9999)}a", Box{0, 100, 100, 0, BoxEdge::Top}},
    };
    for (const auto& each : cases) {
        const CuesRead result = read(event(each.text, "Default", "0"));
        ASSERT_EQ(result.cues.size(), 1U) << each.text;
        EXPECT_EQ(result.cues[0].box, each.box) << each.text;
    }
}

TEST(Ssa, ReadsColumnsInAnyOrderAndVersion4) {
    const CuesRead result =
        read("[script info]\nTitle: t\n; one\n!: two\n\n[V4 Styles]\n"
             "Format: Name, Fontname, PrimaryColour, BackColour, Bold, Italic, BorderStyle, Alignment, MarginV\n"
             "Style: A,Arial,65535,-2147418368,-1,0,3,6,0\nStyle: B,Arial,&HFF,0,0,-1,1,x,0\n"
             "[Events]\nFormat: End, Start, Marked, Style, Name, Text\n"
             "Dialogue: 0:00:02.00,0:00:01.00,Marked=0,A,Mary,a, b\n"
             "Comment: 0:00:02.00,0:00:01.00,Marked=0,A,,no\n"
             "Dialogue: 0:00:03.00,0:00:01.00,Marked=0,B,,c\n"
             "Dialogue: 0:00:09.99,0:00:09.00,Marked=0,B,,d\n"
             "Dialogue: 0:00:03.00,0:00:01.50,Marked=0,,,e\n");
    ASSERT_EQ(result.cues.size(), 4U);
    EXPECT_EQ(rowsInWords(result.cues[0]), "[8]{b#3con0c}a, b");
    EXPECT_EQ(result.cues[0].properties, (Properties{{"ssa.style", "A"}, {"ssa.name", "Mary"}}));
    EXPECT_EQ(rowsInWords(result.cues[1]), "{i#30}c");
    EXPECT_EQ(result.cues[1].start, milliseconds(1000));
    EXPECT_EQ(result.cues[2].start, milliseconds(9000));
    EXPECT_EQ(result.cues[2].end, milliseconds(9990));
    EXPECT_EQ(rowsInWords(result.cues[3]), "e");
    EXPECT_EQ(result.cues[3].number, 4U);
    using enum qlx::FindingCode;
    EXPECT_EQ(result.findings, (std::vector<qlx::Finding>{{SsaStyleWrong, Severity::Warning, 9, 25, 0},
                                                          {SsaComments, Severity::Remark, 16, 3, 0}}));
}

TEST(Ssa, ReadsFilesThatDoNotSayTheirColumns) {
    const CuesRead result = read("[V4+ Styles]\nStyle: "
                                 "Default,Arial,20,&H0000FF00,&HFF,&H0,&H0,0,-1,0,0,100,100,0,0,1,2,2,9,1,1,1,1\n"
                                 "[Events]\nDialogue: 3,0:00:01.00,0:00:02.00,Default,N,0,0,0,Banner,a\n");
    ASSERT_EQ(result.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(result.cues[0]), "[9]{i#0c}a");
    EXPECT_EQ(result.cues[0].properties, (Properties{{"ssa.layer", "3"}, {"ssa.name", "N"}, {"ssa.effect", "Banner"}}));
    EXPECT_EQ(result.codes(), (std::vector{FindingCode::SsaFormatMissing, FindingCode::SsaFormatMissing}));
}

TEST(Ssa, SaysWhatIsNotReadWithItsLine) {
    using enum qlx::FindingCode;
    const std::string text = std::string(kHead) +
                             "Dialogue: 0,0:00:xx.00,0:00:02.00,Default,,0,0,0,,a\n"            // 16
                             "Dialogue: 0,0:00:01.00,x,Default,,0,0,0,,a\n"                     // 17
                             "Dialogue: 0,0:00:01.00\n"                                         // 18
                             "Dialogue: 0,0:00:03.00,0:00:02.00,Default,,0,0,0,,a\n"            // 19
                             "Dialogue: 0,0:00:03.00,0:00:03.00,Default,,0,0,0,,b\n"            // 20
                             "Dialogue: 0,0:00:03.00,0:00:04.00,Default,,0,0,0,,{\\p1}m 0 0\n"  // 21
                             "Dialogue: 0,0:00:03,0:04.5,Default,,0,0,0,,c\n"                   // 22
                             "Picture: 0,0:00:03.00,0:00:04.00,Default,,0,0,0,,a.png\n"         // 23
                             "rubbish\n[Aegisub]\nx: y\n[Fonts]\nfontname: a.ttf\n[!!]\n";
    const CuesRead result = read(text);
    ASSERT_EQ(result.cues.size(), 2U);
    EXPECT_EQ(rowsInWords(result.cues[0]), "b");
    EXPECT_EQ(rowsInWords(result.cues[1]), "c");
    EXPECT_EQ(result.cues[1].end, milliseconds(4500));
    EXPECT_EQ(result.findings, (std::vector<qlx::Finding>{{SsaTimeWrong, Severity::Error, 16, 1, 0},
                                                          {SsaTimeWrong, Severity::Error, 17, 2, 0},
                                                          {SsaEventWrong, Severity::Error, 18, 12, 0},
                                                          {SsaEndNotLater, Severity::Error, 19, 3000, 2000},
                                                          {SsaEndNotLater, Severity::Warning, 20, 3000, 3000},
                                                          {SsaDrawing, Severity::Warning, 21, 5, 0},
                                                          {SsaEventEmpty, Severity::Remark, 21, 0, 0},
                                                          {SsaTimeUnusual, Severity::Remark, 22, 1, 3000},
                                                          {SsaTimeUnusual, Severity::Remark, 22, 2, 4500},
                                                          {SsaLinesPassed, Severity::Warning, 25, 2, 0},
                                                          {SsaLinesPassed, Severity::Remark, 27, 1, 0},
                                                          {SsaLinesPassed, Severity::Warning, 29, 2, 0}}));
    EXPECT_EQ(read("[Script Info]\nPlayResX: 0\n").codes(), (std::vector{SsaInfoWrong, SsaEventsMissing}));
    EXPECT_EQ(read("").codes(), std::vector{SsaEventsMissing});
}

TEST(Ssa, ReadsLinesThatEndInAnyWayInPiecesOfAnySize) {
    const std::string text = "\xEF\xBB\xBF" + event("{\\i1}a\\Nb{x}") + "Comment: 0\n";
    const CuesRead expected = read(text);
    ASSERT_EQ(expected.cues.size(), 1U);
    for (const std::string_view end : {"\n"sv, "\r\n"sv, "\r"sv, "\r\r\n"sv}) {
        std::string other;
        for (const char character : text) {
            other += character == '\n' ? std::string(end) : std::string(1, character);
        }
        for (const std::size_t piece : {std::size_t{1}, std::size_t{2}, std::size_t{3}, std::size_t{61}}) {
            EXPECT_EQ(read(other, piece), expected) << piece;
        }
    }
    for (std::size_t size = 0; size < text.size(); ++size) {
        EXPECT_LE(read(std::string_view(text).substr(0, size)).cues.size(), 1U);
    }
}

TEST(Ssa, KeepsItsLimits) {
    using enum qlx::FindingCode;
    const std::string two = event(std::string(1200, 'x')) + "Dialogue: 0,0:00:03.00,0:00:04.00,Default,,0,0,0,,b\n";
    const CuesRead result = read(two, 7, {.greatestCue = 1000});
    ASSERT_EQ(result.cues.size(), 1U);
    EXPECT_EQ(rowsInWords(result.cues[0]), "b");
    EXPECT_EQ(result.codes(), std::vector{SsaLineTooLong});
    EXPECT_EQ(read(event("a\\Nb\\Nc"), 7, {.mostLines = 2}).codes(), std::vector{SsaRowsTooMany});
    EXPECT_EQ(read(two, 7, {.limits = {.items = 1}}).codes(), std::vector{LimitOfItemsReached});
    EXPECT_EQ(read(two, 7, {.limits = {.bytes = 1300}}).codes(), std::vector{LimitOfBytesReached});
}

TEST(Ssa, GivesWhatTheFileSaysBesides) {
    SsaReader reader;
    const std::string text = event("a") + "Comment: 1\n;2\n";
    reader.push({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    reader.finish();
    while (reader.next() != nullptr) {
    }
    EXPECT_EQ(reader.file(),
              (SsaFile{{{"ScriptType", "v4.00+"}, {"PlayResX", "640"}, {"PlayResY", "300"}}, 640, 300, 2}));
}

}  // namespace
}  // namespace ssa_tests
