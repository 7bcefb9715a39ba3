// qlxcc play --mode cea608: which byte pair and which packet goes with which frame.
#include "AncBytes.h"
#include "CaptionBytes.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"
#include "io/Times.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using qlx::tool::timecodeAt2997;
using qlxtest::deployedCaptionArguments;
using qlxtest::emptyCdpHex;
using qlxtest::linesOf;
using qlxtest::pairCdpHex;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

// "Hi" and "ok": load, erase, load, row 12, Hi, row 13, ok, clear the screen, show. The reader counts
// (2 + 2 + 2 + 2 + 4) / 2 = 6 pairs and starts the cue 6 frames early; it ends one frame early.
const std::string kTwoLines = srt({{"00:00:01,010", "00:00:02,010", "Hi\nok"}});
const std::vector<std::string> kTwoLinesPairs{"9420", "94ae", "9420", "1340", "c8e9", "13e0", "ef6b", "942c", "942f"};
const std::vector<std::string> kClearingPairs{"9420", "94ae", "9420", "942c", "942f"};

/// The JSON line of a caption frame at 25 frames a second; without a packet when `data` is empty.
std::string frameLine(std::size_t frame, const std::string& data) {
    const std::string number = std::to_string(frame);
    return R"({"frame":)" + number + R"(,"pts":)" + qlxtest::jsonTime(static_cast<std::int64_t>(frame), 25) +
           R"(,"packets":[)" +
           (data.empty() ? "" : R"({"line":9,"did":97,"sdid":1,"type":"CEA708","data":")" + data + R"("})") + "]}";
}

/// The CDP of each frame at 25 frames a second: 0.77 s is first passed by frame 20, 1.97 s by frame 50, and 2.97 s, a
/// second behind the cue's end, by frame 75.
std::vector<std::string> expectedPackets(const std::string& empty) {
    std::vector<std::string> packets(75, empty);
    for (std::size_t index = 0; index < kTwoLinesPairs.size(); ++index) {
        packets[20 + index] = pairCdpHex(3, 24, kTwoLinesPairs[index]);
    }
    for (std::size_t index = 0; index < kClearingPairs.size(); ++index) {
        packets[50 + index] = pairCdpHex(3, 24, kClearingPairs[index]);
    }
    return packets;
}

std::string jsonLines(const std::vector<std::string>& packets) {
    std::string text;
    for (std::size_t frame = 0; frame < packets.size(); ++frame) {
        text +=
            (frame == 0 ? qlxtest::withSchema(frameLine(frame, packets[frame])) : frameLine(frame, packets[frame])) +
            "\n";
    }
    return text;
}

TEST(PlayCaptions, GivesEveryByteOfEveryFrame) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kTwoLines);
    const ToolResult result = runTool(deployedCaptionArguments(file, "25", {"--format", "jsonl"}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, jsonLines(expectedPackets(emptyCdpHex(3, 24))));
}

TEST(PlayCaptions, SaysWhatHasNoPlaceInACaption) {
    const TemporaryFolder folder;
    const std::string longest(31, 'x');
    const std::string file =
        folder.write("in.srt", srt({{"00:00:04,000", "00:00:05,000", longest + "\n" + longest},
                                    {"00:00:06,000", "00:00:07,000", "one\ntwo\nthree"},
                                    {"00:00:08,000", "00:00:09,000", longest + "yz\n\xC3\xA9" + longest},
                                    {"00:00:10,000", "00:00:11,000", longest + "y\ntwo\nthree\nfour"}}));
    const std::string begin = "qlxcc: warning: " + file + ": cue ";
    const std::string end = " left out: a caption has 2 rows of 31 characters\n";
    const ToolResult result = runTool(deployedCaptionArguments(file, "25", {"--format", "jsonl"}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err,
              begin + "2: 1 row" + end + begin + "3: 3 characters" + end + begin + "4: 2 rows and 1 character" + end);
    EXPECT_EQ(runTool(deployedCaptionArguments(file, "25", {"--format", "jsonl", "--quiet"})).err, "");
    // Only of what is played.
    EXPECT_EQ(runTool(deployedCaptionArguments(file, "25", {"--format", "jsonl", "--from", "9.5"})).err,
              begin + "4: 2 rows and 1 character" + end);
}

TEST(PlayCaptions, DoesNotRepeatItselfForEveryCue) {
    std::vector<qlxtest::Cue> cues(13, {"00:00:04,000", "00:00:05,000", "one\ntwo\nthree"});
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt(cues));
    const ToolResult result = runTool(deployedCaptionArguments(file, "25", {"--format", "jsonl"}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(linesOf(result.err).size(), 11U);
    EXPECT_EQ(linesOf(result.err).back(),
              "qlxcc: warning: " + file +
                  ": 3 more cues not shown as written (see qlxcc subs --mode cea608 --rate 25)");
    const ToolResult more = runTool({"subs", file, "--mode", "cea608", "--rate", "25"});
    EXPECT_EQ(more.exitCode, 0) << more.err;
    EXPECT_EQ(linesOf(more.out).back(), file + " (SRT): 13 cues, 0 left out, 13 not shown as written");
}

TEST(PlayCaptions, LeavesFramesEmptyOnRequest) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kTwoLines);
    const ToolResult result = runTool(deployedCaptionArguments(file, "25", {"--format", "jsonl", "--no-fill"}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, jsonLines(expectedPackets("")));
}

TEST(PlayCaptions, SizesThePacketByTheRate) {
    struct Expected {
        std::string rate;
        unsigned code;
        int count;
    };
    const std::vector<Expected> all{{"23.976", 1, 25}, {"24", 2, 25}, {"25", 3, 24},    {"29.97", 4, 20},
                                    {"30", 5, 20},     {"50", 6, 12}, {"59.94", 7, 10}, {"60", 8, 10}};
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kTwoLines);
    for (const Expected& expected : all) {
        const ToolResult result = runTool(deployedCaptionArguments(file, expected.rate, {"--format", "jsonl"}));
        const std::string start = R"("data":")";
        EXPECT_EQ(result.out.find(start + emptyCdpHex(expected.code, expected.count) + "\""), result.out.find(start))
            << expected.rate;
        for (const std::string& pair : kTwoLinesPairs) {
            EXPECT_NE(result.out.find(start + pairCdpHex(expected.code, expected.count, pair) + "\""),
                      std::string::npos)
                << expected.rate << " " << pair;
        }
    }
}

/// Plays to a file, scans it, and gives the scan's JSON lines.
std::string playedAndScanned(const std::string& name, const std::vector<std::string>& more,
                             std::vector<std::string> scanMore) {
    const TemporaryFolder folder;
    std::vector<std::string> all = more;
    all.insert(all.end(), {"-o", folder.path(name)});
    EXPECT_EQ(runTool(deployedCaptionArguments(folder.write("in.srt", kTwoLines), "25", all)).exitCode, 0);
    scanMore.insert(scanMore.begin(), {"scan", folder.path(name), "--json"});
    const ToolResult result = runTool(scanMore);
    EXPECT_EQ(result.exitCode, 0);
    // The counter of the fixed operations stays at 0.
    EXPECT_TRUE(result.err.ends_with(", line 9: counter 0 once more where 1 was expected (told once)\n")) << result.err;
    EXPECT_EQ(qlxtest::linesOf(result.err).size(), 1U) << result.err;
    return result.out;
}

/// `text` without the times and without what is said about each caption packet.
std::string plain(std::string text) {
    const auto remove = [&text](const std::string& begin, const std::string& end) {
        for (std::size_t start = text.find(begin); start != std::string::npos; start = text.find(begin, start)) {
            text.erase(start, text.find(end, start) + end.size() - start);
        }
    };
    remove(R"(,"pts":{)", "}");
    remove(R"(,"cdp":{)", R"("checksumOk":true})");
    return text;
}

TEST(PlayCaptions, RowsAndElementsGiveBackTheSamePackets) {
    const std::string filled = plain(jsonLines(expectedPackets(emptyCdpHex(3, 24))));
    const std::string sparse = plain(jsonLines(expectedPackets("")));
    EXPECT_EQ(plain(playedAndScanned("a.v210", {}, {"--lines", "9"})), filled);
    EXPECT_EQ(plain(playedAndScanned("a.v210", {"--sd"}, {"--lines", "9", "--width", "720"})), filled);
    EXPECT_EQ(plain(playedAndScanned("a.klv", {}, {})), filled);
    EXPECT_EQ(plain(playedAndScanned("a.v210", {"--no-fill"}, {"--lines", "9"})), sparse);
    EXPECT_EQ(plain(playedAndScanned("a.klv", {"--no-fill"}, {})), sparse);
}

TEST(PlayCaptions, WritesOneRowAFrameWhichIsBlankWithoutAPacket) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kTwoLines);
    ASSERT_EQ(runTool(deployedCaptionArguments(file, "25", {"--no-fill", "-o", folder.path("a.v210")})).exitCode, 0);
    const std::string rows = folder.read("a.v210");
    ASSERT_EQ(rows.size(), 75U * 5120);
    const auto row = [&rows](std::size_t index) {
        return qlxtest::toHex(
            std::span(reinterpret_cast<const std::uint8_t*>(rows.data()) + index * 5120, std::size_t{5120}));
    };
    EXPECT_EQ(row(19), qlxtest::toHex(qlxtest::v210Row(320, {})));
    EXPECT_EQ(row(20), qlxtest::toHex(qlxtest::v210Row(
                           320, qlxtest::ancSamples(0x61, 0x01, qlxtest::fromHex(pairCdpHex(3, 24, "9420"))))));
}

TEST(PlayCaptions, PrintsTheFramesInWhichEachCueTravels) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "in.srt", srt({{"00:00:01,010", "00:00:02,010", "Hi\nok"}, {"00:00:02,010", "00:00:03,010", "Hi"}}));
    const ToolResult result = runTool(deployedCaptionArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    // The second cue wants to start at 2.01 - 4 x 0.04 = 1.85 s, while the first is on: frame 50 is the first later
    // than its end, 1.97 s. It ends at 2.97 s: frame 75.
    EXPECT_EQ(result.out, file + ": 2 cues as CEA-608 captions on field 1, 25 frames/s\n"
                                 "\n"
                                 "sent from        first      last  pairs  shown at      subtitle\n"
                                 "00:00:00,800        20        28      9  00:00:01,120  Hi / ok\n"
                                 "00:00:02,000        50        56      7  00:00:02,240  Hi\n"
                                 "00:00:03,000        75        79      5  00:00:03,160  -\n");
    const ToolResult cut = runTool(deployedCaptionArguments(file, "25", {"--duration", "2.08"}));
    EXPECT_EQ(linesOf(cut.out).back(), "00:00:02,000        50        51      2  not yet       Hi");
}

TEST(PlayCaptions, StartsBetweenCuesWithFrom) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kTwoLines);
    // Frame 25: the cue is due, and is sent from there.
    const ToolResult result = runTool(deployedCaptionArguments(file, "25", {"--from", "1"}));
    EXPECT_EQ(linesOf(result.out).at(3), "00:00:01,000        25        33      9  00:00:01,320  Hi / ok");
}

TEST(Scc, WritesALineForEachRunOfPairs) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kTwoLines);
    // 1.01 s - 6 frames of 1001/30000 s is 0.8098 s: frame 25. 2.01 s - 1 frame is 1.9766 s: frame 60.
    const std::string drop = "Scenarist_SCC V1.0\n"
                             "\n"
                             "00:00:00;25\t9420 94ae 9420 1340 c8e9 13e0 ef6b 942c 942f\n"
                             "\n"
                             "00:00:02;00\t9420 94ae 9420 942c 942f\n";
    const ToolResult result = runTool(deployedCaptionArguments(file, "29.97", {"--format", "scc"}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, drop);
    ASSERT_EQ(runTool(deployedCaptionArguments(file, "29.97", {"-o", folder.path("a.scc")})).exitCode, 0);
    EXPECT_EQ(folder.read("a.scc"), drop);
    std::string nonDrop = drop;
    std::replace(nonDrop.begin(), nonDrop.end(), ';', ':');
    EXPECT_EQ(runTool(deployedCaptionArguments(file, "29.97", {"--format", "scc", "--non-drop"})).out, nonDrop);
}

TEST(Scc, KeepsOneLineForCaptionsWithoutAFrameBetween) {
    const TemporaryFolder folder;
    // The second cue becomes due while the first one's nine pairs, from frame 25 on, are on their way.
    const std::string file = folder.write(
        "in.srt", srt({{"00:00:01,010", "00:00:01,040", "Hi\nok"}, {"00:00:01,040", "00:00:02,010", "Hi"}}));
    const ToolResult result = runTool(deployedCaptionArguments(file, "29.97", {"--format", "scc"}));
    EXPECT_EQ(result.out, "Scenarist_SCC V1.0\n"
                          "\n"
                          "00:00:00;25\t9420 94ae 9420 1340 c8e9 13e0 ef6b 942c 942f "
                          "9420 94ae 9420 1340 c8e9 942c 942f\n"
                          "\n"
                          "00:00:02;00\t9420 94ae 9420 942c 942f\n");
}

TEST(Scc, EndsAt24Hours) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"24:00:00,500", "24:00:02,010", "Hi"}}));
    const ToolResult result =
        runTool(deployedCaptionArguments(file, "29.97", {"-o", folder.path("a.scc"), "--from", "23:59:59,000"}));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(qlxtest::isOneMessage(result.err)) << result.err;
    EXPECT_NE(result.err.find(": a Scenarist caption file holds 24 hours only\n"), std::string::npos) << result.err;
    EXPECT_EQ(folder.names(), std::vector<std::string>{"in.srt"});
}

TEST(Timecode, DropsTwoNumbersAMinuteButEachTenth) {
    EXPECT_EQ(timecodeAt2997(0, true), "00:00:00;00");
    EXPECT_EQ(timecodeAt2997(1, true), "00:00:00;01");
    EXPECT_EQ(timecodeAt2997(1799, true), "00:00:59;29");
    EXPECT_EQ(timecodeAt2997(1800, true), "00:01:00;02");
    EXPECT_EQ(timecodeAt2997(3597, true), "00:01:59;29");
    EXPECT_EQ(timecodeAt2997(3598, true), "00:02:00;02");
    EXPECT_EQ(timecodeAt2997(17981, true), "00:09:59;29");
    EXPECT_EQ(timecodeAt2997(17982, true), "00:10:00;00");
    EXPECT_EQ(timecodeAt2997(17983, true), "00:10:00;01");
    EXPECT_EQ(timecodeAt2997(17982 + 1800, true), "00:11:00;02");
    // An hour has 6 x 17982 frames.
    EXPECT_EQ(timecodeAt2997(107892, true), "01:00:00;00");
    EXPECT_EQ(timecodeAt2997(24 * 107892 - 1, true), "23:59:59;29");
    EXPECT_EQ(timecodeAt2997(24 * 107892, true), std::nullopt);
}

TEST(Timecode, CountsOnWithoutDropping) {
    EXPECT_EQ(timecodeAt2997(0, false), "00:00:00:00");
    EXPECT_EQ(timecodeAt2997(1800, false), "00:01:00:00");
    EXPECT_EQ(timecodeAt2997(108000, false), "01:00:00:00");
    EXPECT_EQ(timecodeAt2997(24 * 108000 - 1, false), "23:59:59:29");
    EXPECT_EQ(timecodeAt2997(24 * 108000, false), std::nullopt);
}

TEST(PlayCaptions, SaysThatTimecodesOfMccBeginAgainBehindMidnight) {
    const TemporaryFolder folder;
    const std::string input = folder.write("in.srt", srt({{"23:59:59,000", "24:00:01,000", "Hi"}}));
    const std::string output = folder.path("o.mcc");
    const auto play = [&](const std::string& duration, const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{"play",   input,      "--mode", "captions", "--rate",     "25",
                                           "--from", "23:59:58", "-o",     output,     "--duration", duration};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runTool(arguments);
    };
    const std::string said = output + ": timecodes begin again at 00:00:00:00 behind midnight";
    const ToolResult within = play("00:00:02");
    EXPECT_EQ(within.exitCode, 0) << within.err;
    EXPECT_EQ(within.err.find("midnight"), std::string::npos) << within.err;
    const ToolResult behind = play("00:00:03");
    EXPECT_EQ(behind.exitCode, 0) << behind.err;
    EXPECT_NE(behind.err.find(said), std::string::npos) << behind.err;
    const std::string written = folder.read("o.mcc");
    EXPECT_NE(written.find("\n23:59:59:24\t"), std::string::npos);
    EXPECT_NE(written.find("\n00:00:00:00\t"), std::string::npos);
    EXPECT_EQ(play("00:00:03", {"--strict"}).exitCode, 1);
    EXPECT_EQ(play("00:00:03", {"--to-format", "klv"}).err.find("midnight"), std::string::npos);
}

}  // namespace
