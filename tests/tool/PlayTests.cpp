// qlxcc play: which packets the fixed operations put on air with which frame.
#include "Places.h"
#include "SubtitleFiles.h"
#include "TeletextBytes.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

namespace {

using qlxtest::bonjourHex;
using qlxtest::closeHex;
using qlxtest::deployedTeletextArguments;
using qlxtest::eraseHex;
using qlxtest::fillingHex;
using qlxtest::kEvenLines;
using qlxtest::kOddLines;
using qlxtest::linesOf;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

/// The JSON line of a teletext frame at 25 frames a second.
std::string frameLine(int frame, int line1, const std::string& field1, int line2, const std::string& field2) {
    const std::string number = std::to_string(frame);
    const auto packet = [](int line, const std::string& data) {
        return R"({"line":)" + std::to_string(line) + R"(,"did":67,"sdid":2,"type":"OP-47","data":")" + data + R"("})";
    };
    return R"({"frame":)" + number + R"(,"pts":)" + qlxtest::jsonTime(frame, 25) + R"(,"packets":[)" +
           packet(line1, field1) + "," + packet(line2, field2) + "]}";
}

/// Runs `play ... --format jsonl` and gives the lines.
std::vector<std::string> playedLines(const std::string& srtText, const std::string& rate,
                                     std::vector<std::string> more = {}) {
    const TemporaryFolder folder;
    more.insert(more.end(), {"--format", "jsonl"});
    const ToolResult result = runTool(deployedTeletextArguments(folder.write("in.srt", srtText), rate, more));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return linesOf(qlxtest::withoutSchema(result.out));
}

/// The numbers of the frames whose packets hold `hex`.
std::vector<int> framesWith(const std::vector<std::string>& lines, const std::string& hex) {
    std::vector<int> frames;
    for (const std::string& line : lines) {
        if (line.find(hex) != std::string::npos) {
            int frame = -1;
            EXPECT_EQ(std::sscanf(line.c_str(), "{\"frame\":%d,", &frame), 1) << line;
            frames.push_back(frame);
        }
    }
    return frames;
}

const std::string kErase = qlxtest::pageHeaderHex("d0d0", true);
const std::string kClose = qlxtest::pageHeaderHex("d0ea", false);

TEST(Play, GivesEveryByteOfTheFirstFramesOfOneCue) {
    // The cue starts at the time of frame 1 and is due on the first later frame. It ends at the time of frame 3, whose
    // fields are taken by its own rows, so that frame 4 clears the page.
    const auto lines = playedLines(srt({{"00:00:00,040", "00:00:00,120", "Bonjour"}}), "25");
    // The end is 1.12 s: frames 0 to 27.
    ASSERT_EQ(lines.size(), 28U);
    EXPECT_EQ(lines[0], frameLine(0, 12, fillingHex(kOddLines, 0), 575, fillingHex(kEvenLines, 1)));
    EXPECT_EQ(lines[1], frameLine(1, 12, fillingHex(kOddLines, 2), 575, fillingHex(kEvenLines, 3)));
    // The blocks for the next frame take their numbers, 5 and 6, before the filling of field 1 takes 7.
    EXPECT_EQ(lines[2], frameLine(2, 12, fillingHex(kOddLines, 7), 575, eraseHex(4)));
    EXPECT_EQ(lines[3], frameLine(3, 12, bonjourHex(5), 575, closeHex(6)));
    EXPECT_EQ(lines[4], frameLine(4, 12, fillingHex(kOddLines, 11), 575, eraseHex(8)));
    EXPECT_EQ(lines[5], frameLine(5, 12, fillingHex(kOddLines, 9), 575, closeHex(10)));
    EXPECT_EQ(lines[6], frameLine(6, 12, fillingHex(kOddLines, 12), 575, fillingHex(kEvenLines, 13)));
    EXPECT_EQ(lines[27], frameLine(27, 12, fillingHex(kOddLines, 54), 575, fillingHex(kEvenLines, 55)));
}

TEST(Play, UsesTheLinesOfStandardDefinition) {
    const auto lines = playedLines(srt({{"00:00:00,040", "00:00:00,120", "Bonjour"}}), "25", {"--sd"});
    ASSERT_EQ(lines.size(), 28U);
    EXPECT_EQ(lines[0], frameLine(0, 21, fillingHex(kOddLines, 0), 334, fillingHex(kEvenLines, 1)));
    EXPECT_EQ(lines[3], frameLine(3, 21, bonjourHex(5), 334, closeHex(6)));
}

TEST(Play, PutsNothingOnAirBeforeTheFirstCueIsDue) {
    const auto lines = playedLines(srt({{"00:00:01,000", "00:00:02,000", "Bonjour"}}), "25");
    // 3 s are 75 frames. Frame 25 is at the start itself, which is not yet later than it.
    ASSERT_EQ(lines.size(), 75U);
    EXPECT_EQ(framesWith(lines, kErase), (std::vector<int>{26, 50}));
    EXPECT_EQ(framesWith(lines, kClose), (std::vector<int>{27, 51}));
    EXPECT_EQ(framesWith(lines, qlxtest::bonjourRowHex()), std::vector<int>{27});
}

TEST(Play, TreatsACueAtZeroLikeEveryOther) {
    const auto lines = playedLines(srt({{"00:00:00,000", "00:00:01,000", "Bonjour"}}), "25");
    EXPECT_EQ(lines[0], frameLine(0, 12, fillingHex(kOddLines, 0), 575, fillingHex(kEvenLines, 1)));
    EXPECT_EQ(framesWith(lines, kErase), (std::vector<int>{1, 25}));
    EXPECT_EQ(framesWith(lines, qlxtest::bonjourRowHex()), std::vector<int>{2});
}

TEST(Play, GivesEveryRateItsExactTimes) {
    struct Expected {
        std::string rate;
        std::int64_t value;
        int timescale;
        std::size_t framesInOneSecond;
    };
    // The frames of a second are those whose times are below 1: with the fractional rates one begins just before it.
    const std::vector<Expected> all{{"23.976", 1001, 24000, 24}, {"24", 1, 24, 24}, {"25", 1, 25, 25},
                                    {"29.97", 1001, 30000, 30},  {"30", 1, 30, 30}, {"50", 1, 50, 50},
                                    {"59.94", 1001, 60000, 60},  {"60", 1, 60, 60}};
    const std::string text = srt({{"00:00:00,000", "00:00:05,000", "Bonjour"}});
    for (const Expected& expected : all) {
        const auto lines = playedLines(text, expected.rate, {"--duration", "1"});
        ASSERT_EQ(lines.size(), expected.framesInOneSecond) << expected.rate;
        for (std::size_t frame = 0; frame < lines.size(); ++frame) {
            const std::string start =
                R"({"frame":)" + std::to_string(frame) + R"(,"pts":)" +
                qlxtest::jsonTime(static_cast<std::int64_t>(frame) * expected.value, expected.timescale) +
                R"(,"packets":[{)";
            EXPECT_TRUE(lines[frame].starts_with(start)) << lines[frame].substr(0, 80);
        }
    }
}

TEST(Play, StartsAtTheFirstFrameAtOrAfterFrom) {
    const std::string text =
        srt({{"00:00:00,500", "00:00:01,000", "Bonjour"}, {"00:00:02,000", "00:00:03,000", "Bonjour"}});
    for (const std::string& from : std::vector<std::string>{"1", "1.0", "0.97", "00:00:01,000", "00:00:01"}) {
        const auto lines = playedLines(text, "25", {"--from", from});
        ASSERT_FALSE(lines.empty());
        EXPECT_TRUE(lines.front().starts_with(R"({"frame":25,"pts":{"value":25,"timescale":25,"seconds":1},)")) << from;
        // To 4 s, the end of the last cue and a second.
        EXPECT_EQ(lines.size(), 75U) << from;
        EXPECT_EQ(framesWith(lines, qlxtest::bonjourRowHex()), std::vector<int>{52}) << from;
    }
    const auto lines = playedLines(text, "25", {"--from", "1.001"});
    EXPECT_TRUE(lines.front().starts_with(R"({"frame":26,)"));
}

TEST(Play, ShowsACueThatIsRunningAtFromAtOnce) {
    const std::string text = srt({{"00:00:00,500", "00:00:01,000", "Bonjour"}});
    // Frame 24 is at 0.96 s: the cue is on. Its own end clears the page as in a whole playout.
    const auto lines = playedLines(text, "25", {"--from", "0.96"});
    EXPECT_EQ(framesWith(lines, kErase), (std::vector<int>{24, 26}));
    EXPECT_EQ(framesWith(lines, qlxtest::bonjourRowHex()), std::vector<int>{25});
    // Frame 25 is at 1.0 s: over.
    for (const std::string& from : std::vector<std::string>{"0.97", "1"}) {
        const auto late = playedLines(text, "25", {"--from", from, "--quiet"});
        EXPECT_EQ(late.size(), 25U) << from;
        EXPECT_EQ(framesWith(late, kErase), std::vector<int>{}) << from;
        EXPECT_EQ(framesWith(late, qlxtest::bonjourRowHex()), std::vector<int>{}) << from;
    }
}

TEST(Play, DurationCountsFromTheFirstFrame) {
    const std::string text = srt({{"00:00:00,000", "00:00:05,000", "Bonjour"}});
    EXPECT_EQ(playedLines(text, "25", {"--duration", "2"}).size(), 50U);
    EXPECT_EQ(playedLines(text, "25", {"--duration", "00:00:02,000"}).size(), 50U);
    EXPECT_EQ(playedLines(text, "25", {"--duration", "2.001"}).size(), 51U);
    EXPECT_EQ(playedLines(text, "25", {"--duration", "0.001", "--quiet"}).size(), 1U);
    const auto lines = playedLines(text, "25", {"--from", "1.01", "--duration", "2"});
    EXPECT_EQ(lines.size(), 50U);
    EXPECT_TRUE(lines.front().starts_with(R"({"frame":26,)"));
    EXPECT_TRUE(lines.back().starts_with(R"({"frame":75,)"));
    // Longer than the subtitles: filling.
    EXPECT_EQ(playedLines(text, "50", {"--duration", "10"}).size(), 500U);
}

TEST(Play, SaysWhenNothingIsLeftToPlay) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:00,000", "00:00:05,000", "Bonjour"}}));
    const ToolResult result = runTool(playArguments(file, "25", {"--from", "6", "-o", folder.path("out.klv")}));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: " + file + ": nothing to play: the last cue ends at 00:00:05,000, before --from\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"in.srt"});
    // With a duration there is filling to play.
    EXPECT_EQ(runTool(playArguments(file, "25", {"--from", "6", "--duration", "1", "--format", "klv"})).exitCode, 0);
}

TEST(Play, PrintsTheScheduleOfWhatChanges) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "Bonjour\n{\\an8}\xC3\xA0 tous"},
                                    {"00:00:02,000", "00:00:03,000", "{\\an8}En haut"}}));
    const ToolResult result = runTool(deployedTeletextArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    // The second cue touches the first: there is a gap of one frame (50), whose blocks take two frames, then comes 52.
    EXPECT_EQ(result.out, file + ": 2 cues as OP-47 teletext, 25 frames/s, HD\n"
                                 "\n"
                                 "time             frame  F1 line 12        F2 line 575       subtitle\n"
                                 "00:00:00,000         0  filling           filling           -\n"
                                 "00:00:01,040        26  filling           page 888 erase    Bonjour / \xC3\xA0 tous\n"
                                 "00:00:01,080        27  rows 10,2         page 8F8 close    Bonjour / \xC3\xA0 tous\n"
                                 "00:00:01,120        28  filling           filling           Bonjour / \xC3\xA0 tous\n"
                                 "00:00:02,000        50  filling           page 888 erase    -\n"
                                 "00:00:02,040        51  filling           page 8F8 close    -\n"
                                 "00:00:02,080        52  filling           page 888 erase    En haut\n"
                                 "00:00:02,120        53  row 1             page 8F8 close    En haut\n"
                                 "00:00:02,160        54  filling           filling           En haut\n"
                                 "00:00:03,000        75  filling           page 888 erase    -\n"
                                 "00:00:03,040        76  filling           page 8F8 close    -\n"
                                 "00:00:03,080        77  filling           filling           -\n");
}

TEST(Play, SaysInTheScheduleThatACueHasNoText) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", "1\n00:00:00,000 --> 00:00:02,000\n\n");
    const ToolResult result = runTool(deployedTeletextArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const auto lines = qlxtest::linesOf(result.out);
    ASSERT_GT(lines.size(), 4U);
    EXPECT_TRUE(lines[4].starts_with("00:00:00,040         1  ")) << lines[4];
    EXPECT_TRUE(lines[4].ends_with("  (no text)")) << lines[4];
}

TEST(Play, KeepsControlCharactersOutOfTheSchedule) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:00,000", "00:00:02,000",
                                                          "a\x1b[31mb\tc\xC2\x9B"
                                                          "d"}}));
    const ToolResult result = runTool(deployedTeletextArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.out.find("  a [31mb c d\n"), std::string::npos) << result.out;
    EXPECT_EQ(result.out.find('\x1b'), std::string::npos);
}

TEST(Play, SaysWhatTheDemonstrationFileLosesAsTeletext) {
    const ToolResult result = runTool(deployedTeletextArguments(qlxtest::demoSubtitles(), "25"));
    EXPECT_EQ(result.exitCode, 0);
    // In the French set the codes of the brackets, 5B and 5D, are e with diaeresis and u with grave; capital letters have
    // no accents. "Larguez tout ! Les canots \xC3\xA0 l'eau !" has 35 characters, the first row of cue 45 has 62.
    const std::string cue = "qlxcc: warning: " + qlxtest::demoSubtitles() + ": cue ";
    const std::string brackets = ": [ as \xC3\xAB; ] as \xC3\xB9\n";
    const std::string rows = " left out: a teletext subtitle has 3 rows of 34 characters";
    EXPECT_EQ(result.err, cue + "6" + brackets + cue + "14: \xC3\x80 as A\n" + cue + "23" + brackets + cue +
                              "27: \xC3\x89 as E\n" + cue + "28" + brackets + cue + "33: \xC3\x87 as C\n" + cue + "35" +
                              brackets + cue + "37: 1 character" + rows + "\n" + cue + "45: 28 characters" + rows +
                              "; \xC3\x80 as A\n");
    // At least 40 cues, each with a line for its rows.
    const auto lines = linesOf(result.out);
    EXPECT_GE(std::count_if(lines.begin(), lines.end(),
                            [](const std::string& line) { return line.find("  row") != std::string::npos; }),
              40);
}

TEST(Play, ReadsStandardInput) {
    const ToolResult result = runTool(deployedTeletextArguments("-", "25", {"--format", "jsonl"}),
                                      {.input = srt({{"00:00:00,040", "00:00:00,120", "Bonjour"}})});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const auto lines = linesOf(result.out);
    ASSERT_EQ(lines.size(), 28U);
    EXPECT_EQ(lines[3], frameLine(3, 12, bonjourHex(5), 575, closeHex(6)));
}

TEST(Play, RefusesAnEndWithoutEndUnlessADurationIsGiven) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:00,000", "99999999:00:00,000", "Bonjour"}}));
    const ToolResult result = runTool(playArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(qlxtest::isOneMessage(result.err)) << result.err;
    EXPECT_NE(result.err.find("--duration"), std::string::npos) << result.err;
    EXPECT_EQ(linesOf(runTool(playArguments(file, "25", {"--duration", "1", "--format", "jsonl"})).out).size(), 25U);
}

}  // namespace
