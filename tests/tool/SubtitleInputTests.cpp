// What qlxcc play says about subtitle files that it cannot use.
#include "SubtitleFiles.h"
#include "ToolRunner.h"
#include "cues/SubtitleReaders.h"
#include "io/Errors.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using qlxtest::deployedTeletextArguments;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

/// Plays a file of `content` into a file and expects the message behind `qlxcc: NAME: `.
void expectRefused(std::string_view content, const std::string& message) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", content);
    const ToolResult result = runTool(deployedTeletextArguments(file, "25", {"-o", folder.path("out.v210")}));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "qlxcc: " + file + ": " + message + "\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"in.srt"});
}

TEST(SubtitleInput, MissingFile) {
    const TemporaryFolder folder;
    const ToolResult result = runTool(playArguments(folder.path("in.srt"), "25", {"-o", folder.path("out.klv")}));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: " + folder.path("in.srt") + ": No such file or directory\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{});
}

TEST(SubtitleInput, Folder) {
    const TemporaryFolder folder;
    const ToolResult result = runTool(playArguments(folder.path(), "25"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: " + folder.path() + ": Is a directory\n");
}

TEST(SubtitleInput, NoRightToRead) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:00,000", "00:00:01,000", "Bonjour"}}));
    std::filesystem::permissions(file, std::filesystem::perms::none);
    const ToolResult result = runTool(playArguments(file, "25"), {.asNobody = true});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: " + file + ": Permission denied\n");
}

TEST(SubtitleInput, EmptyFile) {
    expectRefused("", "byte 0: the file is empty");
}

TEST(SubtitleInput, NothingButEmptyLines) {
    expectRefused("\r\n\n\n", "line 1: no cue: the file has no text");
    expectRefused("\xEF\xBB\xBF", "line 1: no cue: the file has no text");
}

TEST(SubtitleInput, NotUTF8) {
    expectRefused("1\n00:00:01,000 --> 00:00:02,000\nd\xE9j\xE0\n\n",
                  "line 3, byte 33: 0xE9 is not UTF-8 (try --encoding ISO-8859-1)");
    expectRefused("\xFF", "line 1, byte 0: 0xFF is not UTF-8 (try --encoding ISO-8859-1)");
    // The first bytes of a two-byte character, at the very end.
    expectRefused("1\n00:00:01,000 --> 00:00:02,000\nd\xC3",
                  "line 3, byte 33: 0xC3 is not UTF-8 (try --encoding ISO-8859-1)");
}

TEST(SubtitleInput, UTF16) {
    using namespace std::string_view_literals;
    expectRefused("\xFF\xFE"
                  "1\0\n\0"sv,
                  "byte 0: UTF-16, by its byte-order mark, and not UTF-8 (try --encoding UTF-16)");
    expectRefused("\xFE\xFF\0"
                  "1\0\n"sv,
                  "byte 0: UTF-16, by its byte-order mark, and not UTF-8 (try --encoding UTF-16)");
}

TEST(SubtitleInput, CarriageReturnsAlone) {
    expectRefused("1\r00:00:01,000 --> 00:00:02,000\rBonjour\r\r",
                  "line 1: no cue: lines must end in line feeds, these end in carriage returns");
}

TEST(SubtitleInput, NoValidCue) {
    expectRefused("1\n00:00:02,000 --> 00:00:02,000\nBonjour\n",
                  "line 2: no valid cue in the file: the end \"00:00:02,000\" is not later than the start "
                  "\"00:00:02,000\" (HH:MM:SS,mmm)");
    expectRefused("WEBVTT\n\n00:01.000 --> 00:02.000\nBonjour\n",
                  "line 1: no valid cue in the file: cue without a timing line");
    expectRefused("\n1\n00:00:01,000->00:00:02,000\nBonjour\n",
                  "line 3: no valid cue in the file: \"00:00:01,000->00:00:02,000\" is not a timing line "
                  "(HH:MM:SS,mmm --> HH:MM:SS,mmm)");
    // A long line is quoted in part, and what could steer a terminal is left out.
    expectRefused("1\n\x1b[31m" + std::string(200, 'x') + "\n",
                  "line 2: no valid cue in the file: \" [31m" + std::string(35, 'x') +
                      "...\" is not a timing line (HH:MM:SS,mmm --> HH:MM:SS,mmm)");
}

TEST(SubtitleInput, RandomBytes) {
    std::mt19937 random(1);
    for (const std::size_t size : {1U, 2U, 3U, 16U, 100U, 5000U, 100000U}) {
        std::string content(size, '\0');
        for (char& byte : content) {
            byte = static_cast<char>(random());
        }
        const TemporaryFolder folder;
        const std::string file = folder.write("in.srt", content);
        const ToolResult result = runTool(playArguments(file, "25", {"-o", folder.path("out.v210")}));
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(qlxtest::isOneMessage(result.err)) << result.err;
        EXPECT_EQ(folder.names(), std::vector<std::string>{"in.srt"});
    }
}

TEST(SubtitleInput, PlaysTheRestAndWarnsOfEachCueThatIsLeftOut) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", "1\n00:00:02,000 --> 00:00:01,000\nweg\n\n"
                                                    "2\n00:00:01,000 --> 00:00:02,000\nBonjour\n\n"
                                                    "stray\n");
    const ToolResult result = runTool(deployedTeletextArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "qlxcc: warning: " + file +
                              ": line 2: cue left out: the end \"00:00:01,000\" is not later "
                              "than the start \"00:00:02,000\" (HH:MM:SS,mmm)\n"
                              "qlxcc: warning: " +
                              file + ": line 9: cue left out: cue without a timing line\n");
    EXPECT_NE(result.out.find("Bonjour"), std::string::npos);
    EXPECT_EQ(result.out.find("weg"), std::string::npos);
}

TEST(SubtitleInput, EndsALongListOfWarningsWithTheirNumber) {
    std::string content = srt({{"00:00:01,000", "00:00:02,000", "Bonjour"}});
    for (int index = 0; index < 25; ++index) {
        content += "stray\n\n";
    }
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", content);
    const ToolResult result = runTool(deployedTeletextArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 0);
    const auto lines = qlxtest::linesOf(result.err);
    ASSERT_EQ(lines.size(), 11U);
    EXPECT_EQ(lines.back(), "qlxcc: warning: " + file + ": 15 more problems");
}

TEST(SubtitleInput, WarnsOfATimingLineInsideACue) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", "1\n00:00:01,000 --> 00:00:02,000\nfirst\n"
                                                    "2\n00:00:03,000 --> 00:00:04,000\nsecond\n\n");
    const ToolResult result = runTool(deployedTeletextArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "qlxcc: warning: " + file +
                              ": line 5: a timing line inside a cue: is a blank line missing?\n"
                              "qlxcc: warning: " +
                              file + ": cue 1: 1 row left out: a teletext subtitle has 3 rows of 34 characters\n");
    EXPECT_NE(result.out.find("first"), std::string::npos);
}

/// The lines at which readSRT() finds something, also in a text without a cue.
std::vector<std::uint64_t> problemLines(std::string_view text) {
    qlx::tool::Subtitles subtitles;
    try {
        qlx::tool::readSRT(subtitles, text, {}, {[](const auto& /*record*/) {}, {}});
    } catch (const qlx::tool::Failure&) {
        EXPECT_EQ(subtitles.cues, 0U);
    }
    std::vector<std::uint64_t> lines;
    for (const auto& problem : subtitles.problems.first()) {
        lines.push_back(problem.place);
    }
    return lines;
}

TEST(SRTProblems, FindsNoneInAGoodFile) {
    EXPECT_EQ(problemLines(""), std::vector<std::uint64_t>{});
    EXPECT_EQ(problemLines("1\n00:00:01,000 --> 00:00:02,000\na\n"), std::vector<std::uint64_t>{});
    EXPECT_EQ(
        problemLines("1\r\n00:00:01,000 --> 00:00:02,000\r\na\r\n\r\n2\r\n00:00:01,000 --> 00:00:02,000 X1:1\r\n"),
        std::vector<std::uint64_t>{});
    EXPECT_EQ(problemLines("\xEF\xBB\xBF\n\n1\n00:00:01,000 --> 00:00:02,000"), std::vector<std::uint64_t>{});
}

TEST(SRTProblems, TakesOnlyWholeTimingLinesForMissingBlankLines) {
    const std::string cue = "1\n00:00:01,000 --> 00:00:02,000\n";
    EXPECT_EQ(problemLines(cue + "00:00:03,000 --> 00:00:04,000\n"), std::vector<std::uint64_t>{3});
    EXPECT_EQ(problemLines(cue + "a\n2\n00:00:03,000 --> 00:00:04,000 X1:1\n3\n00:00:05,000 --> 00:00:06,000"),
              (std::vector<std::uint64_t>{5, 7}));
    EXPECT_EQ(problemLines(cue + "a --> b\n00:00:03,000\n00:00:04,000 --> 00:00:03,000\n0:00:03,000 --> 0:00:04,000\n"
                                 "at 00:00:03,000 --> 00:00:04,000\n"),
              std::vector<std::uint64_t>{});
}

TEST(SRTProblems, NamesTheLineOfEach) {
    EXPECT_EQ(problemLines("1"), std::vector<std::uint64_t>{1});
    EXPECT_EQ(problemLines("1\n"), std::vector<std::uint64_t>{1});
    EXPECT_EQ(problemLines("1\n\n2\n\n"), (std::vector<std::uint64_t>{1, 3}));
    EXPECT_EQ(problemLines("1\nx\ny\n\n\n2\n00:00:01,000 --> 00:00:01,000"), (std::vector<std::uint64_t>{2, 7}));
    EXPECT_EQ(problemLines("1\n00:00:01,000 --> 00:00:02,000 --> 00:00:03,000\n"), std::vector<std::uint64_t>{2});
}

}  // namespace
