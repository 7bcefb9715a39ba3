// qlxcc play and subs with EBU STL files.
#include "STLFiles.h"
#include "SubtitleFiles.h"
#include "TeletextBytes.h"
#include "ToolRunner.h"
#include "cues/SubtitleReaders.h"

#include "io/Errors.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <tuple>
#include <utility>

namespace {

using qlxtest::deployedCaptionArguments;
using qlxtest::deployedTeletextArguments;
using qlxtest::linesOf;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::stl;
using qlxtest::STLCue;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

/// The first rows of `play`'s schedule that name rows, such as `rows 9,10`.
std::vector<std::string> playedRows(const std::vector<STLCue>& blocks) {
    const TemporaryFolder folder;
    const ToolResult result = runTool(deployedTeletextArguments(folder.write("in.stl", stl(blocks)), "25"));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    std::vector<std::string> rows;
    for (const std::string& line : linesOf(result.out)) {
        if (const std::size_t at = line.find("  row"); at != std::string::npos) {
            rows.push_back(line.substr(at + 2, line.find("  ", at + 2) - at - 2));
        }
    }
    return rows;
}

TEST(STLSubtitles, PlayLikeTheSameSRTFile) {
    // Vertical position 23 is row (23 - 1) / 2 = 11, on which an SRT file's only line stands.
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "in.stl",
        stl({{.number = 1, .start = {0, 0, 0, 1}, .end = {0, 0, 0, 3}, .verticalPosition = 23, .text = "Bonjour"}}));
    const ToolResult result = runTool(deployedTeletextArguments(file, "25", {"--format", "jsonl"}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    ASSERT_EQ(linesOf(result.out).size(), 28U);
    EXPECT_NE(linesOf(result.out).at(3).find(qlxtest::bonjourHex(5)), std::string::npos);
    const std::string text = folder.write("in.srt", srt({{"00:00:00,040", "00:00:00,120", "Bonjour"}}));
    EXPECT_EQ(result.out, runTool(deployedTeletextArguments(text, "25", {"--format", "jsonl"})).out);
}

TEST(STLSubtitles, AppearInTimeAsCaptionsLikeAnSRTFile) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "in.stl", stl({{.start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .verticalPosition = 20, .text = "Hi\x8Aok"}}));
    const std::string text = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "Hi\nok"}}));
    const ToolResult result = runTool(deployedCaptionArguments(file, "25", {"--format", "jsonl"}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, runTool(deployedCaptionArguments(text, "25", {"--format", "jsonl"})).out);
}

TEST(STLSubtitles, KeepTheirRowsWhereATeletextPageHasThem) {
    const std::array<std::uint8_t, 4> start{0, 0, 1, 0};
    const std::array<std::uint8_t, 4> end{0, 0, 2, 0};
    const auto rows = [&](char position, std::string_view text) {
        return playedRows({{.start = start, .end = end, .verticalPosition = position, .text = text}});
    };
    using Rows = std::vector<std::string>;
    EXPECT_EQ(rows(20, "a\x8A"
                       "b"),
              Rows{"rows 9,10"});
    EXPECT_EQ(rows(3, "a\x8A"
                      "b"),
              Rows{"rows 1,2"});
    // An empty line skips a row, and takes none of the three that a packet has.
    EXPECT_EQ(rows(14, "a\x8A\x8A"
                       "b\x8A\x8A"
                       "c"),
              (Rows{"rows 6,8,10"}));
    // Row 0 is the page's header, row 12 is behind its end: such cues stand where those of an SRT file do.
    EXPECT_EQ(rows(1, "a"), Rows{"row 11"});
    EXPECT_EQ(rows(22, "a\x8A\x8A"
                       "b"),
              Rows{"rows 10,11"});
    EXPECT_EQ(rows(23, "a\x8A"
                       "b"),
              Rows{"rows 10,11"});
}

const std::vector<STLCue> kEveryKind{
    {.number = 1, .start = {1, 0, 10, 12}, .end = {1, 0, 12, 0}, .text = "\x07Hi\x8A\x01x"},
    {.number = 2,
     .start = {1, 0, 13, 0},
     .end = {1, 0, 14, 0},
     .verticalPosition = 1,
     .justification = 1,
     .text = "caf\xC2"
             "e"},
    {.number = 3, .start = {1, 0, 13, 0}, .end = {1, 0, 14, 0}, .text = "said", .comment = 1},
    {.number = 4, .start = {1, 0, 13, 0}, .end = {1, 0, 14, 0}, .text = "data", .extension = '\xFE'},
    {.number = 5, .start = {1, 0, 15, 0}, .end = {1, 0, 15, 0}, .text = "weg"},
    {.number = 6,
     .start = {1, 0, 17, 0},
     .end = {1, 0, 18, 0},
     .justification = 3,
     .text =
         "kept\x8A"
         "0123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345"
         "6"}};

const std::string kListed =
    "   cue  start         end           row  color    alignment  text\n"
    "     1  01:00:10,480  01:00:12,000   10  white    center     Hi\n"
    "                                     11  red      center     x\n"
    "     2  01:00:13,000  01:00:14,000    1  white    left       caf\xC3\xA9\n"
    "     6  01:00:17,000  01:00:18,000   10  white    right      kept\n"
    "                                     11  white    right      "
    "0123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345"
    "6\n"
    "remark: the first cue begins at 01:00:10,480: --from-start 10:00:00:00 (or auto, or 0) says where the programme "
    "does\n"
    "TTI block 4: left out: user data\n"
    "TTI block 5: cue left out: the end is not later than the start\n"
    "TTI block 3: left out: a comment: said\n";

TEST(STLSubtitles, AreListedWithWhatWasLeftOutAndWhy) {
    ASSERT_EQ(kEveryKind.back().text.size(), 112U);
    const TemporaryFolder folder;
    const std::string file = folder.write("in.stl", stl(kEveryKind));
    const ToolResult result = runTool({"subs", file});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, kListed + file + " (EBU STL, 25 frames/s): 3 cues, 3 left out\n");
}

TEST(STLSubtitles, AreKnownByTheirContent) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", stl(kEveryKind));
    EXPECT_EQ(runTool({"subs", file}).out, kListed + file + " (EBU STL, 25 frames/s): 3 cues, 3 left out\n");
    EXPECT_EQ(runTool({"subs", "-"}, {.input = stl(kEveryKind)}).out,
              kListed + "standard input (EBU STL, 25 frames/s): 3 cues, 3 left out\n");
    // And the others in spite of such a name.
    const std::string text = folder.write("a.stl", srt({{"00:00:01,000", "00:00:02,000", "Bonjour"}}));
    EXPECT_NE(runTool({"subs", text}).out.find(" (SRT): 1 cue, 0 left out\n"), std::string::npos);
    const std::string json =
        folder.write("b.stl", R"([{"start_time_seconds":0,"end_time_seconds":1,"text_lines":[{"text":"a"}]}])");
    EXPECT_NE(runTool({"subs", json}).out.find(" (JSON): 1 cue, 0 left out\n"), std::string::npos);
}

TEST(STLSubtitles, ShowTheirOwnTimecodes) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.stl", stl({kEveryKind.front()}));
    EXPECT_EQ(linesOf(runTool({"subs", file, "--rate", "25"}).out).at(1),
              "     1  01:00:10:12   01:00:12:00    10  white    center     Hi");
}

TEST(STLSubtitles, PlayWarnsOfCuesOnly) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.stl", stl(kEveryKind));
    const ToolResult result = runTool(deployedTeletextArguments(file, "25", {"--from", "01:00:10:00"}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "qlxcc: warning: " + file +
                              ": TTI block 5: cue left out: the end is not later than the start\n"
                              "qlxcc: warning: " +
                              file +
                              ": TTI block 6: the text has no end mark (8F): what stands behind its last line "
                              "break is lost\n");
}

/// What `play --as-deployed` says of a file.
std::vector<std::string> deployedWarnings(const TemporaryFolder& folder, const std::string& file) {
    const ToolResult result =
        runTool(playArguments(file, "25", {"--as-deployed", "--format", "klv", "-o", folder.path("out.klv")}));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return linesOf(result.err);
}

TEST(STLSubtitles, LoseLooksAsDeployedAlone) {
    // Start box twice, end box twice, which are made anew; italics on and off; a colour and a line break are read.
    const std::vector<STLCue> blocks{{.number = 1,
                                      .start = {0, 0, 1, 0},
                                      .end = {0, 0, 2, 0},
                                      .text = "\x0B\x0B\x03"
                                              "boxed\x0A\x0A"},
                                     {.number = 2,
                                      .start = {0, 0, 3, 0},
                                      .end = {0, 0, 4, 0},
                                      .text = "\x80it\x81\x8A"
                                              "plain"},
                                     {.number = 3, .start = {0, 0, 5, 0}, .end = {0, 0, 6, 0}, .text = "\x82under"}};
    const std::string lost = "): italics, underline and boxes are lost";
    const TemporaryFolder folder;
    const std::string file = folder.write("in.stl", stl(blocks));
    EXPECT_EQ(
        deployedWarnings(folder, file),
        (std::vector<std::string>{"qlxcc: warning: " + file +
                                      ": TTI block 2: the text has 2 codes that nothing is made of (first 80" + lost,
                                  "qlxcc: warning: " + file +
                                      ": TTI block 3: the text has 1 code that nothing is made of (first 82" + lost}));
    EXPECT_EQ(linesOf(runTool({"subs", file}).out).back(), file + " (EBU STL, 25 frames/s): 3 cues, 0 left out");
    EXPECT_EQ(linesOf(runTool({"subs", file}).out).size(), 6U);
    EXPECT_EQ(runTool({"convert", file, "-o", "-", "--to-format", "srt"}).out,
              "1\n00:00:01,000 --> 00:00:02,000\n<font color=\"#ffff00\">boxed</font>\n\n"
              "2\n00:00:03,000 --> 00:00:04,000\n<i>it</i>\nplain\n\n"
              "3\n00:00:05,000 --> 00:00:06,000\n<u>under</u>\n\n");
}

void expectRefused(const std::string& content, const std::string& message) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.stl", content);
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"subs", file, "-o", folder.path("out.txt")},
          playArguments(file, "25", {"-o", folder.path("out.klv")})}) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "qlxcc: " + file + ": " + message + "\n");
        EXPECT_EQ(folder.names(), std::vector<std::string>{"in.stl"});
    }
}

TEST(STLSubtitles, AreRefusedWhereNothingCanBeRead) {
    const std::string whole = stl(kEveryKind);
    expectRefused(whole.substr(0, 1023), "byte 1023: the file ends inside of its header of 1024 bytes");
    expectRefused(stl({kEveryKind[2]}), "no cue in the file: TTI block 1: a comment: said");
    expectRefused(stl({}), "no cue in the file");
    const std::string codes = " and none of STL23.01, STL24.01, STL25.01, STL30.01 and STL50.01";
    expectRefused(std::string(whole).replace(7, 1, "6"),
                  "byte 3: not EBU STL: the disk format code is \"STL26.01\"" + codes);
    expectRefused("hello", "byte 3: not EBU STL: the disk format code is \"lo\"" + codes);
}

TEST(STLSubtitles, AreReadAsFarAsTheyGo) {
    const auto listed = [](const std::string& content) {
        const auto lines = linesOf(runTool({"subs", "-"}, {.input = content}).out);
        return std::pair(lines.back(), lines[lines.size() - 6]);
    };
    const std::string whole = stl(kEveryKind);
    const std::string all = "standard input (EBU STL, 25 frames/s): 3 cues, 3 left out";
    EXPECT_EQ(listed(stl(kEveryKind, 0)),
              std::pair(all, std::string("remark: header byte 238: 0 blocks announced, 6 are there")));
    EXPECT_EQ(listed(stl(kEveryKind, 9)),
              std::pair(all, std::string("remark: header byte 238: 9 blocks announced, 6 are there")));
    const auto cut = linesOf(runTool({"subs", "-"}, {.input = whole.substr(0, whole.size() - 1)}).out);
    EXPECT_EQ(cut.back(), "standard input (EBU STL, 25 frames/s): 2 cues, 4 left out");
    EXPECT_EQ(std::count(cut.begin(), cut.end(), "TTI block 6: left out: block of 128 bytes, of which 127 are there"),
              1);
    for (const std::string_view rate : {"23", "24", "30", "50"}) {
        const std::string other = std::string(whole).replace(6, 2, rate);
        EXPECT_NE(runTool({"subs", "-"}, {.input = other}).out.find(": 3 cues, 3 left out"), std::string::npos) << rate;
    }
}

const std::vector<STLCue> kOneCue{{.number = 1, .start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .text = "a"}};

/// A file of one cue whose header has `field` at `offset`.
std::string stlWithField(std::size_t offset, std::string_view field) {
    return stl(kOneCue).replace(offset, field.size(), field);
}

TEST(STLSubtitles, AreReadByTheirCharacterTable) {
    const TemporaryFolder folder;
    const std::string text = stl({{.number = 1, .start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .text = "\xE1"}});
    for (const auto& [table, character, named] : std::vector<std::tuple<std::string_view, std::string, std::string>>{
             {"01", "\u0441", "\"01\" (Latin/Cyrillic)"},
             {"02", "\u0641", "\"02\" (Latin/Arabic)"},
             {"03", "\u03B1", "\"03\" (Latin/Greek)"},
             {"04", "\u05D1", "\"04\" (Latin/Hebrew)"},
             {"05", "\u00C6", "\"05\" (undefined)"},
             {"\x01\xFF", "\u00C6", "01ff (undefined)"}}) {
        const std::string file = folder.write("in.stl", std::string(text).replace(12, 2, table));
        const auto listed = linesOf(runTool({"subs", file}).out);
        EXPECT_TRUE(listed.at(1).ends_with(" " + character)) << listed.at(1);
        const bool isKnown = named.find("undefined") == std::string::npos;
        ASSERT_EQ(listed.size(), isKnown ? 3U : 4U);
        EXPECT_TRUE(isKnown || listed.at(2).starts_with("remark: header byte 12: unknown code "));
        EXPECT_EQ(deployedWarnings(folder, file),
                  (std::vector<std::string>{"qlxcc: warning: " + file + ": the character code table is " + named +
                                                ": the text is read as Latin all the same",
                                            "qlxcc: warning: " + file + ": cue 1: \u00C6 as F"}));
    }
}

TEST(STLSubtitles, SayWhichFactsOfTheHeaderAreNotObserved) {
    const auto remark = [](const std::string& content) {
        const auto lines = linesOf(runTool({"subs", "-"}, {.input = content}).out);
        return lines.size() == 4 ? lines[2] : "no remark";
    };
    EXPECT_EQ(remark(stlWithField(255, "0")),
              "remark: the time codes are marked as not intended for use: they are used all the same");
    EXPECT_EQ(remark(stlWithField(255, "1")), "no remark");
    // The rows of open subtitling are observed, but as deployed.
    const TemporaryFolder folder;
    const std::string open = folder.write("in.stl", stlWithField(11, "0").replace(253, 2, "40"));
    EXPECT_EQ(linesOf(runTool({"subs", open}).out).at(1),
              "     1  00:00:01,000  00:00:02,000    6  white    center     a");
    EXPECT_EQ(deployedWarnings(folder, open),
              std::vector<std::string>{"qlxcc: warning: " + open +
                                       ": the rows are those of open subtitling, \"40\" on the screen: they are read "
                                       "as the 23 of teletext"});
}

TEST(STLSubtitles, NameTheTimeCodesThatThereAreNot) {
    // 30 frames at 25 a second are 1.2 s.
    const std::string content = stl({{.number = 1, .start = {0, 0, 1, 30}, .end = {0, 0, 4, 0}, .text = "frame"},
                                     {.number = 2, .start = {0, 75, 0, 0}, .end = {1, 16, 0, 25}, .text = "both"},
                                     {.number = 3, .start = {24, 0, 0, 0}, .end = {0, 0, 60, 0}, .text = "weg"},
                                     {.number = 4, .start = {0, 0, 8, 30}, .end = {0, 0, 9, 5}, .text = "same"},
                                     {.number = 5, .start = {23, 59, 59, 23}, .end = {23, 59, 59, 24}, .text = "ok"}});
    const std::string none = ": remark: no such time code at 25 frames/s: ";
    const std::vector<std::string> expected{"TTI block 1" + none + "00:00:01:30",
                                            "TTI block 2" + none + "00:75:00:00",
                                            "TTI block 2" + none + "01:16:00:25",
                                            "TTI block 3" + none + "24:00:00:00",
                                            "TTI block 3" + none + "00:00:60:00",
                                            "TTI block 3: cue left out: the end is not later than the start",
                                            "TTI block 4" + none + "00:00:08:30",
                                            "TTI block 4: cue left out: the end is not later than the start",
                                            "standard input (EBU STL, 25 frames/s): 3 cues, 2 left out"};
    const auto lines = linesOf(runTool({"subs", "-"}, {.input = content}).out);
    ASSERT_EQ(lines.size(), 13U);
    EXPECT_EQ(std::vector<std::string>(lines.begin() + 4, lines.end()), expected);
    EXPECT_TRUE(lines[1].starts_with("     1  00:00:02,200  00:00:04,000")) << lines[1];
    // At 30 frames a second there are 30 of them.
    const std::string other = stl({{.number = 1, .start = {0, 0, 1, 29}, .end = {0, 0, 4, 30}, .text = "a"}});
    EXPECT_EQ(linesOf(runTool({"subs", "-"}, {.input = std::string(other).replace(3, 8, "STL30.01")}).out).at(2),
              "TTI block 1: remark: no such time code at 30 frames/s: 00:00:04:30");
}

TEST(STLSubtitles, CountWhatStandsBehindTheLastBlock) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.stl", stl({kEveryKind.front()}) + "abc");
    EXPECT_EQ(linesOf(runTool({"subs", file}).out).at(3),
              "TTI block 2: left out: block of 128 bytes, of which 3 are there");
}

TEST(STLSubtitles, HaveNoEncodingOfTheCallersChoice) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", stl(kEveryKind));
    for (const auto& [more, files] : {std::pair("--json", "texts"), std::pair("--as-deployed", "SRT and JSON files")}) {
        const ToolResult result = runTool({"subs", file, "--encoding", "ISO-8859-1", more});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.err.find("qlxcc: --encoding is for " + std::string(files) + ": " + file + " is EBU STL"), 0U)
            << result.err;
        EXPECT_TRUE(qlxtest::isOneMessage(result.err));
    }
}

TEST(STLSubtitles, AreReadAcrossManyBlocks) {
    // More than the reader hands to the library at once; cue n starts at second n.
    std::vector<STLCue> blocks;
    for (int number = 0; number < 300; ++number) {
        const auto minute = static_cast<std::uint8_t>(number / 60);
        const auto second = static_cast<std::uint8_t>(number % 60);
        blocks.push_back({.number = static_cast<std::uint8_t>(number),
                          .start = {0, minute, second, 0},
                          .end = {0, minute, second, 10},
                          .text = "a",
                          .comment = static_cast<char>(number % 100 == 7)});
    }
    qlx::tool::Subtitles subtitles;
    std::vector<double> starts;
    qlx::tool::readSTL(subtitles, stl(blocks), {"memory"},
                       {[&](const auto& record) { starts.push_back(record->startTimeInSeconds()); }, {}});
    std::vector<double> expected;
    for (int number = 0; number < 300; ++number) {
        if (number % 100 != 7) {
            expected.push_back(number);
        }
    }
    EXPECT_EQ(starts, expected);
    ASSERT_EQ(subtitles.problems.count(), 3U);
    EXPECT_EQ(subtitles.problems.first()[1].place, 108U);
}

TEST(STLSubtitles, EndCalmlyAtEveryLengthAndWithEveryByte) {
    const std::string whole = stl(kEveryKind);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        qlx::tool::Subtitles subtitles;
        const std::vector<char> part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_THROW(qlx::tool::readSTL(subtitles, {part.data(), part.size()}, {"memory"}, {[](const auto&) {}, {}}),
                     qlx::tool::Failure)
            << length;
    }
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        std::string changed = whole;
        for (std::size_t at = 1024; at < changed.size(); ++at) {
            changed[at] = static_cast<char>(random());
        }
        qlx::tool::Subtitles subtitles;
        std::uint64_t cues = 0;
        try {
            qlx::tool::readSTL(subtitles, changed, {"memory"}, {[&](const auto&) { ++cues; }, {}});
            EXPECT_GT(cues, 0U);
        } catch (const qlx::tool::Failure&) {
            EXPECT_EQ(cues, 0U);
        }
        EXPECT_EQ(cues, subtitles.cues);
    }
}

}  // namespace
