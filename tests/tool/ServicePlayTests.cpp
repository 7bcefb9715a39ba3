// qlxcc play --mode cea708 and captions: caption services as they go on air, alone and beside line 21.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using qlxtest::linesOf;
using qlxtest::playArgumentsOfMode;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

ToolResult playedServices(const std::string& mode, const std::string& rate, const Arguments& more) {
    const TemporaryFolder folder;
    return runTool(
        playArgumentsOfMode(mode, folder.write("in.srt", srt({{"00:00:01,010", "00:00:02,010", "Hi"}})), rate, more));
}

// The window of two columns in the middle of row 15, hidden; its lower edge at line 74, its middle at column 105.
const std::string kLoad = "ff082efe9818fe4a69fe7001fe1191fe3f00fe0048fe6903fa0000";

bool hasPart(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// 1.01 s is 30.27 frames, 2.01 s 60.24.
TEST(ServicesOnAir, AreLoadedAheadAndShownOnTime) {
    const ToolResult result = playedServices("cea708", "29.97", {"--to-format", "a53"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Arguments lines = linesOf(result.out);
    ASSERT_GT(lines.size(), 61U);
    EXPECT_TRUE(hasPart(lines[0], "fc8080fd8080" + kLoad)) << lines[0];
    EXPECT_TRUE(hasPart(lines[31], "fc8080fd8080ff4222fe8901fa0000")) << lines[31];
    EXPECT_TRUE(hasPart(lines[61], "fc8080fd8080ff8222fe8c01fa0000")) << lines[61];
    EXPECT_FALSE(hasPart(lines[60], "fe"));
    // Another service: 2 in the block's header.
    EXPECT_TRUE(hasPart(linesOf(playedServices("cea708", "29.97", {"--to-format", "a53", "--service", "2"}).out).at(0),
                        "ff084efe9818"));
}

TEST(ServicesOnAir, StandBesideLine21) {
    const ToolResult result = playedServices("captions", "29.97", {"--to-format", "a53"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Arguments lines = linesOf(result.out);
    ASSERT_GT(lines.size(), 61U);
    EXPECT_TRUE(hasPart(lines[0], "fc9420fd8080" + kLoad)) << lines[0];
    EXPECT_TRUE(hasPart(lines[31], "fc942ffd8080ff4222fe8901")) << lines[31];
    EXPECT_TRUE(hasPart(lines[61], "fc942cfd8080ff8222fe8c01")) << lines[61];
}

TEST(ServicesOnAir, SayOnceWhatIsFoundInBothSystems) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "in.srt", srt({{"00:00:01,000", "00:00:03,000", "One"}, {"00:00:02,000", "00:00:04,000", "\u2122 \u4e2d"}}));
    const auto errorsOf = [&](const std::string& mode) {
        return runTool(playArgumentsOfMode(mode, file, "25", {"--to-format", "a53"})).err;
    };
    const std::string overlap = "cue 2: caption begins at frame 50, before the one in front of it ends at 75\n";
    const std::string both = errorsOf("captions");
    EXPECT_TRUE(hasPart(both, overlap)) << both;
    EXPECT_FALSE(hasPart(both, "CEA-608: caption begins")) << both;
    EXPECT_FALSE(hasPart(both, "CEA-708: caption begins")) << both;
    EXPECT_EQ(both.find(overlap), both.rfind(overlap));
    // The services of one system are told by the mode.
    EXPECT_TRUE(hasPart(errorsOf("cea708"), overlap));
}

TEST(ServicesOnAir, ArePlayedToTheirEndWhenTheyAreLate) {
    const TemporaryFolder folder;
    // 64 letters are 32 pairs at least: they are loaded when the cue, and a second behind it, are over. 30 frames.
    const std::string text = std::string(32, 'x') + "\n" + std::string(32, 'y');
    const std::string file = folder.write("in.srt", srt({{"00:00:00,000", "00:00:00,200", text}}));
    const auto played = [&](Arguments more) {
        more.insert(more.end(), {"--to-format", "a53"});
        return runTool(playArgumentsOfMode("cea608", file, "25", more));
    };
    const ToolResult result = played({});
    const std::size_t frames = linesOf(result.out).size();
    EXPECT_GT(frames, 32U);
    EXPECT_TRUE(hasPart(result.err, "remark: standard output: " + std::to_string(frames - 30) +
                                        " more frames for cues that are late\n"))
        << result.err;
    const ToolResult cut = played({"--duration", "1.2"});
    EXPECT_EQ(linesOf(cut.out).size(), 30U);
    EXPECT_FALSE(hasPart(cut.err, "more frames")) << cut.err;
}

TEST(ServicesOnAir, AreNamedInEveryPacket) {
    const auto isInAll = [](const ToolResult& result, const std::string& part) {
        const Arguments lines = linesOf(result.out);
        return result.exitCode == 0 && lines.size() > 60 &&
               std::all_of(lines.begin(), lines.end(),
                           [&](const std::string& line) { return hasPart(line, part) || !hasPart(line, "9669"); });
    };
    // Field 1 of line 21 and service 1, English, for 16:9.
    EXPECT_TRUE(isInAll(playedServices("captions", "59.94", {"--to-format", "jsonl", "--language", "eng"}),
                        "73d2e0656e677e3fffe1656e67c17fff"));
    EXPECT_TRUE(
        isInAll(playedServices("cea708", "25", {"--to-format", "jsonl", "--service", "33"}), "73d1a1756e64e17fff"));
    EXPECT_TRUE(
        isInAll(playedServices("cea608", "25", {"--to-format", "jsonl", "--channel", "CC3", "--language", "fra"}),
                "73d1e06672617f3fff"));
}

TEST(ServicesOnAir, RefuseWhatTheyDoNotHave) {
    const auto refused = [](const std::string& mode, const Arguments& more) {
        const ToolResult result = playedServices(mode, "29.97", more);
        EXPECT_EQ(result.exitCode, 2) << mode;
        return result.err;
    };
    EXPECT_TRUE(hasPart(refused("cea608", {"--service", "2"}), "--service is for --mode cea708 and captions only"));
    EXPECT_TRUE(hasPart(refused("cea708", {"--channel", "CC2"}), "--channel is for --mode cea608 and captions"));
    EXPECT_TRUE(hasPart(refused("captions", {"--language", "English"}), "no code of ISO 639-2"));
    EXPECT_TRUE(
        hasPart(refused("captions", {"--as-deployed"}), "--as-deployed is for --mode cea608 and teletext only"));
    EXPECT_TRUE(hasPart(refused("captions", {"--to-format", "scc"}), "--to-format scc is for --mode cea608 only"));
    EXPECT_TRUE(hasPart(refused("cea608", {"--page", "801"}), "--page is for --mode teletext"));
    EXPECT_TRUE(hasPart(refused("cea608", {"--as-deployed", "--language", "eng"}), "without --as-deployed"));
    EXPECT_TRUE(hasPart(refused("cea708", {"--service", "64"}), "--service"));
    // Rows of 720 pixels are those of the two interlaced rates.
    for (const std::string rate : {"23.976", "24", "25", "29.97", "30", "50", "59.94", "60"}) {
        const bool isTaken = rate == "25" || rate == "29.97";
        const ToolResult result =
            playedServices("captions", rate, {"--to-format", "v210", "--sd", "--line", "11", "--duration", "0.2"});
        EXPECT_EQ(result.exitCode, isTaken ? 0 : 2) << rate;
        EXPECT_EQ(hasPart(result.err, "is for --rate 25 and 29.97 only"), !isTaken) << rate << ": " << result.err;
    }
}

}  // namespace
