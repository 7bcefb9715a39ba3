// Cues as EBU STL files: blocks by hand-worked bytes, what is lost, and random cues written and read back.
#include "StlWritten.h"
#include "TextCues.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/subtitles/stl_reader.h>
#include <qlx/subtitles/stl_writer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace stl_writer_tests {
namespace {

namespace subtitles = qlx::subtitles;
using namespace qlx::subtitles;
using namespace std::string_view_literals;
using enum qlx::FindingCode;
using qlx::FindingCode;
using qlx::MediaTime;
using qlx::screen::Color;
using qlxtest::openSubtitling;
using qlxtest::readStlBack;
using qlxtest::StlWritten;
using qlxtest::usualStl;
using qlxtest::writeStl;
using Bytes = std::vector<std::uint8_t>;
using Codes = std::vector<FindingCode>;

Run runOf(std::string text, Color color = Color::White) {
    Run run{std::move(text), {}};
    run.style.foreground = color;
    return run;
}

Cue cueOf(std::vector<Run> runs, std::int64_t start = 1000, std::int64_t end = 2000) {
    Row row;
    row.runs = std::move(runs);
    return qlxtest::cueOf(1, start, end, {std::move(row)});
}

/// The text field up to the unused space.
std::string textOf(const Tti& block) {
    const auto* const end = std::find(block.text.begin(), block.text.end(), 0x8F);
    return {block.text.begin(), end};
}

TEST(StlWriter, SaysThatAColumnIsLostWhereThePictureChanges) {
    const struct {
        Alignment alignment;
        std::uint16_t columns;
        std::uint16_t column;
        bool isLost = false;
    } cases[] = {{Alignment::Left, 32, 1},
                 {Alignment::Left, 32, 2, true},
                 {Alignment::Center, 32, 14},
                 {Alignment::Center, 32, 13, true},
                 {Alignment::Right, 32, 28},
                 {Alignment::Right, 32, 13, true},
                 // On a page a colour, double height and the box may stand in front, and two codes behind.
                 {Alignment::Left, 40, 4},
                 {Alignment::Left, 40, 5, true},
                 {Alignment::Right, 40, 34},
                 {Alignment::Right, 40, 33, true},
                 // Captions of line 21 with a solid space around them, and in the middle of a wide screen.
                 {Alignment::Left, 34, 2},
                 {Alignment::Left, 34, 3, true},
                 {Alignment::Right, 34, 29},
                 {Alignment::Right, 34, 28, true},
                 {Alignment::Left, 42, 6},
                 {Alignment::Left, 42, 7, true},
                 // Of a screen whose width nobody says.
                 {Alignment::Left, 0, 1, true}};
    for (const auto& each : cases) {
        Cue cue = cueOf({runOf("Hello")});
        cue.rows.front().alignment = each.alignment;
        cue.rows.front().column = each.column;
        cue.screenColumns = each.columns;
        EXPECT_EQ(writeStl({cue}).codes(), each.isLost ? Codes{SubtitlePlaceLost} : Codes{})
            << each.columns << " " << each.column;
    }
}

// EBU Tech 3264, JC: the columns that a cue of a screen has stand over what it says of its alignment.
TEST(StlWriter, AlignsRowsAsTheirColumnsStand) {
    const struct {
        Alignment alignment;
        std::uint16_t column;
        std::uint8_t justification;
    } cases[] = {{Alignment::Left, 15, 2},    {Alignment::Left, 29, 3},  {Alignment::Left, 2, 1},
                 {Alignment::Right, 2, 1},    {Alignment::Right, 16, 2}, {Alignment::Center, 29, 3},
                 {Alignment::Unchanged, 2, 0}};
    for (const auto& each : cases) {
        Cue cue = cueOf({runOf("Hello")});
        cue.rows.front().alignment = each.alignment;
        cue.rows.front().column = each.column;
        cue.screenColumns = 34;
        const StlWritten written = writeStl({cue});
        constexpr std::size_t kJustification = 14;
        EXPECT_EQ(written.blocks.at(kJustification), each.justification) << each.column;
        EXPECT_EQ(written.codes(), Codes{}) << each.column;
    }
}

TEST(StlWriter, WritesBlocks) {
    Cue cue = cueOf({runOf("Hi")}, 3'723'480, 3'725'000);
    cue.number = 300;
    cue.rows.front().number = 11;
    cue.rows.front().alignment = Alignment::Left;
    const StlWritten written = writeStl({cue});
    ASSERT_EQ(written.blocks.size(), kTtiBytes);
    const Bytes head(written.blocks.begin(), written.blocks.begin() + 26);
    EXPECT_EQ(head, (Bytes{0,  0x2C, 1, 0xFF, 0,    1,    2,   3,   12,   1,    2,    5,    0,
                           22, 1,    0, 0x0D, 0x0B, 0x0B, 'H', 'i', 0x0A, 0x0A, 0x8F, 0x8F, 0x8F}));
    EXPECT_EQ(written.gsi.blockCount.text(), "00001");
    EXPECT_EQ(written.gsi.subtitleCount.text(), "00001");
    EXPECT_EQ(written.gsi.firstCue.text(), "01020312");
    EXPECT_TRUE(written.findings.empty());
}

struct TextCase {
    std::vector<subtitles::Run> runs;
    std::string_view text;
    bool isOpen = false;
    Codes findings{};
    Alignment alignment = Alignment::Center;
};

TEST(StlWriter, BeginsEachRowOfOpenSubtitlingInItsOwnColor) {
    subtitles::Run onRed = runOf("x");
    onRed.style.background = Color::Red;
    Cue cue;
    cue.start = qlxtest::milliseconds(1000);
    cue.end = qlxtest::milliseconds(2000);
    for (const subtitles::Run& run : {runOf("a", Color::Yellow), runOf("b"), runOf("c"), onRed, runOf("d")}) {
        cue.rows.emplace_back().runs.push_back(run);
    }
    const auto written = qlxtest::writeStl({cue}, qlxtest::openSubtitling());
    const std::string_view expected = "\x03"
                                      "a\x8A\x07"
                                      "b\x8A"
                                      "c\x8A\x01\x1D\x07x\x8A\x1C"
                                      "d\x8F";
    ASSERT_GE(written.blocks.size(), 16 + expected.size());
    EXPECT_EQ(std::string(written.blocks.begin() + 16, written.blocks.begin() + 16 + std::ptrdiff_t(expected.size())),
              expected);
}

TEST(StlWriter, WritesLooksOfRows) {
    subtitles::Run italic = runOf("it ");
    italic.style.isItalic = true;
    subtitles::Run onRed = runOf("x");
    onRed.style.background = Color::Red;
    subtitles::Run boxed = runOf("b");
    boxed.style.background = Color::Black;
    subtitles::Run flashing = runOf("f");
    flashing.style.isFlashing = true;
    subtitles::Run bold = runOf("B");
    bold.style.isBold = true;
    subtitles::Run late = runOf("l");
    late.from = qlxtest::milliseconds(1500);
    const TextCase cases[] = {
        {{runOf("a")},
         "\x0D\x0B\x0B"
         "a\x0A\x0A"},
        {{runOf("a")}, "a", true},
        {{runOf("a", Color::Red)},
         "\x0D\x01\x0B\x0B"
         "a\x0A\x0A"},
        // The space in front of a colour becomes its cell.
        {{runOf("a "), runOf("b", Color::Yellow)},
         "a\x03"
         "b",
         true},
        {{runOf("a"), runOf(" b", Color::Yellow)},
         "a\x03"
         "b",
         true},
        {{runOf("a   "), runOf("b", Color::Yellow)},
         "a  \x03"
         "b",
         true},
        {{runOf("a"), runOf("b", Color::Yellow)},
         "a\x03"
         "b",
         true,
         {StlColorNoSpace}},
        {{italic, runOf("no")}, "\x80it \x81no", true},
        // What is switched on is switched off with the row.
        {{italic}, "\x80it\x81", true},
        {{boxed},
         "\x84"
         "b\x85",
         true},
        {{runOf("a   "), onRed}, "a\x01\x1D\x07x", true},
        {{onRed, runOf(" a")},
         "\x01\x1D\x07x\x1C"
         "a",
         true},
        {{boxed, runOf(" a")},
         "\x84"
         "b \x85"
         "a",
         true},
        {{boxed},
         "\x0D\x0B\x0B"
         "b\x0A\x0A"},
        {{runOf("a "), flashing},
         "a\x08"
         "f",
         true},
        {{bold}, "B", true, {SubtitleStylesLost}},
        {{late}, "l", true, {SubtitleRunTimeLost}},
        {{runOf("o", qlx::screen::colorOf(3, 2, 0))},
         "\x03"
         "o",
         true,
         {SubtitleColorChanged}},
        {{runOf("  a  ")}, "  a  ", true, {}, Alignment::Unchanged},
        {{runOf("  a  ")}, "a", true},
        // ISO 6937, and what it does not have.
        {{runOf("\u00E9$\u0161\u00DF\u20AC\u2026")},
         "\xC2"
         "e$\xCF"
         "s\xFB?...",
         true,
         {StlCharacterReplaced, StlCharacterMissing}},
        {{runOf("e\u0301\u1EC7\u2014")},
         "\xC2"
         "e?\xD0",
         true,
         {StlCharacterMissing}},
        {{runOf(std::string(39, 'a'))}, "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", true, {StlRowTooLong}},
    };
    for (const TextCase& each : cases) {
        Cue cue = cueOf(each.runs);
        cue.rows.front().alignment = each.alignment;
        const StlWritten written = writeStl({cue}, each.isOpen ? openSubtitling() : usualStl());
        ASSERT_EQ(written.blocks.size(), kTtiBytes);
        EXPECT_EQ(textOf(written.block(0)), each.text);
        EXPECT_EQ(written.codes(), each.findings) << each.text;
    }
}

// EBU Tech 3264, CCT: a letter of another alphabet can be read by nobody, unlike one without its mark.
TEST(StlWriter, TellsPlainCharactersFromMissingOnesAndMarks) {
    struct Case {
        std::string_view table;
        std::string text;
        std::string_view bytes;
        std::vector<qlx::Finding> findings{};
    };
    const auto said = [](FindingCode code, std::int64_t character) {
        return qlx::Finding{code, qlx::Severity::Warning, 1, 1, character};
    };
    const Case cases[] = {
        {"00", "\u0391\u03B2c", "??c", {said(StlCharacterMissing, 0x391)}},
        {"03", "\u0391\u03B2c",
         "\xC1\xE2"
         "c"},
        {"00", "A?", "A?"},
        {"00", "\u2026\u0416", "...?", {said(StlCharacterReplaced, 0x2026), said(StlCharacterMissing, 0x416)}},
        // No letter takes them: a dot below, points and a sign of direction in Hebrew.
        {"00", "x\u0323yz", "xyz", {said(StlMarkLeftOut, 0x323)}},
        {"00",
         "e\u0301\u0323",
         "\xC2"
         "e",
         {said(StlMarkLeftOut, 0x323)}},
        {"00", "a \u0301b", "a b", {said(StlMarkLeftOut, 0x301)}},
        {"04", "\u05D0\u05B8\u200F\u05EA", "\xE0\xFA", {said(StlMarkLeftOut, 0x5B8)}},
        {"04", "\u05D0\u0416\u05B8", "\xE0?", {said(StlCharacterMissing, 0x416), said(StlMarkLeftOut, 0x5B8)}},
        // As one letter the table has it; Arabic has its marks.
        {"01", "\u0438\u0306", "\xD9"},
        {"01", "\u0430\u0306", "\xD0", {said(StlMarkLeftOut, 0x306)}},
        {"02", "\u0628\u064E", "\xC8\xEE"},
        // Nothing takes no column, and no box.
        {"00",
         std::string(38, 'a') + "\u0323",
         std::string_view("aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"),
         {said(StlMarkLeftOut, 0x323)}},
        {"00", "\u0323", "", {said(StlMarkLeftOut, 0x323)}},
    };
    for (const Case& each : cases) {
        for (const bool isOpen : {true, false}) {
            StlWriterOptions options = isOpen ? openSubtitling() : usualStl();
            options.gsi.characterTable = each.table;
            const StlWritten written = writeStl({cueOf({runOf(each.text)})}, options);
            std::string text = textOf(written.block(0));
            if (!isOpen && !each.bytes.empty()) {
                ASSERT_TRUE(text.starts_with("\x0D\x0B\x0B") && text.ends_with("\x0A\x0A")) << each.text;
                text = text.substr(3, text.size() - 5);
            }
            EXPECT_EQ(text, each.bytes) << each.text;
            EXPECT_EQ(written.findings, each.findings) << each.text;
        }
    }
}

// Black letters on black are seen by nobody. On the picture of open subtitling, and on a background, they are.
TEST(StlWriter, WritesNoLettersThatAreAsTheirBackground) {
    using qlx::screen::colorOf;
    const struct {
        Color foreground;
        std::optional<Color> background;
        std::string_view teletext;  ///< The codes in front.
        std::string_view open;
        bool isTeletextChanged = true;
        bool isOpenChanged = true;
    } cases[] = {
        {Color::Black, std::nullopt, "", {"\0", 1}, true, false},
        // #000010, and #123456 with the parts 0, 1 and 1.
        {colorOf(0, 0, 1), std::nullopt, "", {"\0", 1}},
        {colorOf(0, 1, 1), Color::Black, "", "\x84"},
        {Color::Black, Color::Black, "", "\x84"},
        {Color::Black, colorOf(1, 0, 0), "", "\x84"},
        {Color::Black, Color::Yellow, {"\3\x1D\0", 3}, {"\3\x1D\0", 3}, false, false},
        // Nor are dark red letters on red seen.
        {colorOf(2, 0, 0), Color::Red, "\1", "\1\x84"},
        {Color::Red, colorOf(2, 0, 0), "\1", "\1\x84"},
        {colorOf(0, 0, 1), Color::Yellow, {"\3\x1D\0", 3}, {"\3\x1D\0", 3}},
    };
    for (const auto& each : cases) {
        subtitles::Run run = runOf("a", each.foreground);
        run.style.background = each.background;
        const StlWritten open = writeStl({cueOf({run})}, openSubtitling());
        const std::string inOpen = textOf(open.block(0));
        EXPECT_EQ(inOpen.substr(0, inOpen.find('a')), each.open);
        EXPECT_EQ(open.codes(), each.isOpenChanged ? Codes{SubtitleColorChanged} : Codes{});
        const StlWritten teletext = writeStl({cueOf({run})});
        EXPECT_EQ(textOf(teletext.block(0)), "\x0D" + std::string(each.teletext) +
                                                 "\x0B\x0B"
                                                 "a\x0A\x0A");
        EXPECT_EQ(teletext.codes(), each.isTeletextChanged ? Codes{SubtitleColorChanged} : Codes{});
        // As it is read it has a colour that is another one than its background.
        for (const StlWritten* const written : {&open, &teletext}) {
            const Style style = readStlBack(*written).front().rows.front().runs.front().style;
            EXPECT_NE(style.foreground, style.background.value_or(written == &open ? Color::White : Color::Black));
        }
    }
}

TEST(StlWriter, PlacesRows) {
    struct Case {
        std::vector<std::uint64_t> numbers;
        std::uint16_t screen = 0;
        std::uint8_t anchor = 0;
        int position = 0;
        std::string_view text = "";
        Codes findings{};
        bool isDouble = true;
        std::string_view rows{};
    };
    const Case cases[] = {
        {{10, 11},
         0,
         0,
         20,
         "a\x8A\x8A"
         "a"},
        {{9, 11},
         0,
         0,
         18,
         "a\x8A\x8A\x8A\x8A"
         "a"},
        {{0, 0},
         0,
         0,
         20,
         "a\x8A\x8A"
         "a"},
        {{0}, 0, 8, 1, "a"},
        {{0, 0},
         0,
         5,
         10,
         "a\x8A\x8A"
         "a"},
        {{20, 22},
         23,
         0,
         20,
         "a\x8A\x8A"
         "a"},
        {{20, 21},
         23,
         0,
         20,
         "a\x8A"
         "a",
         {},
         false},
        {{20, 21},
         23,
         0,
         20,
         "a\x8A\x8A"
         "a",
         {SubtitlePlaceLost}},
        {{23}, 23, 0, 22, "a", {SubtitlePlaceLost}},
        // The last rows of a screen of captions are the last pairs of rows of the page; four take more of it.
        {{15}, 15, 0, 22, "a"},
        {{14, 15},
         15,
         0,
         20,
         "a\x8A\x8A"
         "a"},
        {{12, 13, 14, 15},
         15,
         0,
         16,
         "a\x8A\x8A"
         "a\x8A\x8A"
         "a\x8A\x8A"
         "a",
         {SubtitlePlaceLost}},
        {{1, 15},
         15,
         0,
         1,
         "a\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A"
         "a",
         {},
         true,
         "15"},
    };
    for (const Case& each : cases) {
        Cue cue = cueOf({}, 1000, 2000);
        cue.rows.clear();
        cue.screenRows = each.screen;
        for (const std::uint64_t number : each.numbers) {
            Row row = qlxtest::rowOf("a");
            row.number = number;
            row.anchor = each.anchor;
            cue.rows.push_back(std::move(row));
        }
        StlWriterOptions options = each.rows.empty() ? usualStl() : openSubtitling(each.rows);
        options.isDoubleHeight = each.isDouble;
        const StlWritten written = writeStl({cue}, options);
        EXPECT_EQ(written.block(0).verticalPosition, each.position);
        std::string text = textOf(written.block(0));
        std::erase_if(text, [](char byte) { return byte == '\x0D' || byte == '\x0B' || byte == '\x0A'; });
        EXPECT_EQ(text, each.text);
        EXPECT_EQ(written.codes(), each.findings) << each.position;
    }
    Cue high = cueOf({});
    high.rows.assign(30, qlxtest::rowOf("a"));
    EXPECT_EQ(writeStl({high}).codes(), (Codes{StlRowOffScreen}));
}

TEST(StlWriter, MakesSetsOfCuesThatEndTogether) {
    const auto cue = [](std::int64_t start, std::int64_t end) { return cueOf({runOf("a")}, start, end); };
    struct Case {
        std::vector<Cue> cues;
        std::vector<int> status;
        Codes findings{};
    };
    const Case cases[] = {
        {{cue(1000, 2000), cue(2000, 3000)}, {0, 0}},
        {{cue(1000, 3000), cue(2000, 3000)}, {1, 3}},
        {{cue(1000, 4000), cue(2000, 4000), cue(3000, 4000), cue(4000, 5000)}, {1, 2, 3, 0}},
        {{cue(1000, 3000), cue(1000, 3000)}, {1, 3}},
        {{cue(1000, 3000), cue(2000, 4000)}, {0, 0}, {StlCuesOverlap}},
        {{cue(1000, 3000), cue(2000, 2400), cue(2600, 3000)}, {0, 0, 0}, {StlCuesOverlap, StlCuesOverlap}},
    };
    for (const Case& each : cases) {
        std::vector<Cue> cues = each.cues;
        for (std::size_t index = 0; index < cues.size(); ++index) {
            cues[index].number = index + 1;
        }
        const StlWritten written = writeStl(cues);
        ASSERT_EQ(written.blocks.size(), cues.size() * kTtiBytes);
        for (std::size_t index = 0; index < cues.size(); ++index) {
            EXPECT_EQ(static_cast<int>(written.block(index).status), each.status[index]);
        }
        EXPECT_EQ(written.codes(), each.findings);
        const std::vector<Cue> back = readStlBack(written);
        ASSERT_EQ(back.size(), cues.size());
        for (std::size_t index = 0; index < cues.size(); ++index) {
            EXPECT_EQ(qlx::secondsFrom(back[index].start), qlx::secondsFrom(cues[index].start));
            EXPECT_EQ(qlx::secondsFrom(back[index].end), qlx::secondsFrom(cues[index].end));
        }
    }
}

TEST(StlWriter, SplitsLongTextsAndSaysWhatHasNoRoom) {
    Cue cue = cueOf({});
    for (int row = 0; row < 3; ++row) {
        cue.rows.push_back(qlxtest::rowOf(std::string(70, static_cast<char>('a' + row))));
    }
    const StlWritten written = writeStl({cue}, openSubtitling());
    ASSERT_EQ(written.blocks.size(), 2 * kTtiBytes);
    EXPECT_EQ(written.block(0).extensionNumber, 0);
    EXPECT_EQ(written.block(1).extensionNumber, Tti::kLastExtension);
    EXPECT_EQ(written.gsi.blockCount.text(), "00002");
    EXPECT_EQ(written.gsi.subtitleCount.text(), "00001");
    EXPECT_EQ(readStlBack(written).front().rows[2].text(), std::string(70, 'c'));
    // One block has room for 112 bytes, all for 26992.
    EXPECT_EQ(writeStl({cueOf({runOf(std::string(112, 'a'))})}, openSubtitling()).blocks.size(), kTtiBytes);
    EXPECT_EQ(writeStl({cueOf({runOf(std::string(113, 'a'))})}, openSubtitling()).blocks.size(), 2 * kTtiBytes);
    const StlWritten all = writeStl({cueOf({runOf(std::string(26992, 'a'))})}, openSubtitling());
    EXPECT_EQ(all.codes(), Codes{StlRowTooLong});
    EXPECT_EQ(readStlBack(all).front().rows.front().text().size(), 26992U);
    const StlWritten more = writeStl({cueOf({runOf(std::string(26993, 'a'))})}, openSubtitling());
    EXPECT_EQ(more.codes(), (Codes{StlRowTooLong, StlTextTooLong}));
    EXPECT_EQ(readStlBack(more).front().rows.front().text().size(), 26992U);
    // No more blocks than five digits count.
    std::vector<Cue> cues(100'001, cueOf({}));
    qlx::Findings findings(200'000);
    StlWriter writer(usualStl(), &findings);
    Bytes blocks;
    for (Cue& each : cues) {
        (void)writer.write(each, blocks);
    }
    EXPECT_EQ(writer.finish(blocks).blockCount.text(), "99999");
    EXPECT_EQ(blocks.size(), 99'999 * kTtiBytes);
    EXPECT_EQ(std::count_if(findings.begin(), findings.end(),
                            [](const qlx::Finding& finding) { return finding.code == StlTooManyBlocks; }),
              2);
}

TEST(StlWriter, RoundsTimesOnce) {
    struct Case {
        std::int64_t start;
        std::int64_t end;
        StlTimeCode in;
        StlTimeCode out;
        Codes findings{};
        std::string_view format = "STL25.01";
    };
    const Case cases[] = {
        {1019, 1020, {0, 0, 1, 0}, {0, 0, 1, 1}},
        {1021, 1022, {0, 0, 1, 1}, {0, 0, 1, 2}, {SubtitleTimeEmptied}},
        {1000, 2000, {0, 0, 1, 0}, {0, 0, 2, 0}, {}, "STL30.01"},
        {0, 86'399'950, {0, 0, 0, 0}, {23, 59, 59, 24}},
        {-1000, 1000, {0, 0, 0, 0}, {0, 0, 1, 0}, {SubtitleTimeNegative}},
        {1000, 2000, {0, 0, 1, 0}, {0, 0, 2, 0}, {}, "STL99.01"},
    };
    for (const Case& each : cases) {
        StlWriterOptions options = usualStl();
        options.gsi.diskFormatCode = each.format;
        const StlWritten written = writeStl({cueOf({runOf("a")}, each.start, each.end)}, options);
        ASSERT_EQ(written.blocks.size(), kTtiBytes);
        EXPECT_EQ(written.block(0).timeCodeIn, each.in) << each.start;
        EXPECT_EQ(written.block(0).timeCodeOut, each.out) << each.start;
        EXPECT_EQ(written.codes(), each.findings) << each.start;
        EXPECT_EQ(written.gsi.diskFormatCode.text(), each.format == "STL99.01" ? "STL25.01" : each.format);
    }
    EXPECT_EQ(writeStl({cueOf({}, -2000, -1000)}).codes(), Codes{SubtitleTimeNegative});
    EXPECT_EQ(writeStl({cueOf({}, 0, 86'400'000)}).codes(), Codes{StlTimeTooLate});
}

TEST(StlWriter, KnowsLanguagesAndInformationTexts) {
    EXPECT_EQ(stlLanguageCode("en"), "09");
    EXPECT_EQ(stlLanguageCode("DE-at"), "08");
    EXPECT_EQ(stlLanguageCode("tlh"), std::nullopt);
    EXPECT_EQ(stlLanguageCode(""), std::nullopt);
    EXPECT_EQ(stlTableOfLanguage("ru"), "01");
    EXPECT_EQ(stlTableOfLanguage("ar"), "02");
    EXPECT_EQ(stlTableOfLanguage("el-GR"), "03");
    EXPECT_EQ(stlTableOfLanguage("he"), "04");
    EXPECT_EQ(stlTableOfLanguage("pl"), "00");
    EXPECT_EQ(stlInformationText("A\u00E9\u0416\u00DF\u00A0"), "A\x82?\xE1\xFF");
    EXPECT_EQ(missingInStlInformation("A\u00E9?\u00DF", 32), std::nullopt);
    EXPECT_EQ(missingInStlInformation("A\u00E9\u0416\u4E00", 3), U'\u0416');
    EXPECT_EQ(missingInStlInformation("A\u00E9\u0416", 2), std::nullopt);
}

}  // namespace
}  // namespace stl_writer_tests
