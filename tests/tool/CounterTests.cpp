// The counters of caption packets, wherever these are read.
#include "CaptionBytes.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace {

using qlxtest::linesOf;
using qlxtest::pairCdpHex;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Texts = std::vector<std::string>;

/// A line of a file of frames: the packets of lines.
std::string frameLine(std::size_t frame, const std::vector<std::pair<int, std::string>>& packets) {
    std::string text = R"({"frame":)" + std::to_string(frame) + R"(,"pts":{"value":)" + std::to_string(frame) +
                       R"(,"timescale":25},"packets":[)";
    for (const auto& [line, data] : packets) {
        text += (text.ends_with('[') ? "" : ",") + std::string(R"({"line":)") + std::to_string(line) +
                R"(,"did":97,"sdid":1,"data":")" + data + "\"}";
    }
    return text + "]}\n";
}

/// Every command that reads caption packets.
std::vector<Texts> commandsOn(const std::string& file, const TemporaryFolder& folder) {
    return {{"show", file, "--all"},
            {"show", file, "--all", "--channel", "CC3"},
            {"show", file, "--all", "--service", "2"},
            {"show", file, "--all", "--channel", "CC1", "--service", "1"},
            {"show", file, "--at", "3600", "--channel", "CC1"},
            {"show", file, "--all", "--channel", "xds"},
            {"convert", file, "-o", folder.path("out.srt"), "--channel", "CC1"},
            {"convert", file, "-o", folder.path("out.vtt"), "--service", "1"},
            {"rate", file, "--from-rate", "25", "--to-rate", "50", "-o", folder.path("out.klv")},
            {"scan", file},
            {"scan", file, "--json"},
            {"scan", file, "--list"},
            {"scan", file, "-o", folder.path("out.jsonl")},
            {"extract", file}};
}

/// The lines about counters.
Texts toldOfCounters(const std::string& text) {
    Texts told;
    for (const std::string& line : linesOf(text)) {
        if (line.find(" counter ") != std::string::npos || line.find("\"counter ") != std::string::npos) {
            told.push_back(line);
        }
    }
    return told;
}

// The counter goes on at 65535, jumps twice, and stands still three times; that of another line goes on.
TEST(CaptionCounters, AreFollowedByEveryCommand) {
    const TemporaryFolder folder;
    std::string text;
    const std::vector<unsigned> counters{65535, 0, 5, 6, 6, 6, 7, 7, 3};
    for (std::size_t frame = 0; frame < counters.size(); ++frame) {
        text += frameLine(frame, {{9, pairCdpHex(3, 24, "8080", counters[frame])},
                                  {10, pairCdpHex(3, 24, "8080", 100 + static_cast<unsigned>(frame))}});
    }
    const std::string file = folder.write("a.jsonl", text);
    const std::string name = "qlxcc: warning: " + file + ": ";
    const Texts expected{name + "frame 2, line 9: counter 5 where 1 was expected",
                         name + "frame 4, line 9: counter 6 once more where 7 was expected (told once)",
                         name + "frame 8, line 9: counter 3 where 8 was expected"};
    for (const Texts& command : commandsOn(file, folder)) {
        const ToolResult result = runTool(command);
        EXPECT_EQ(toldOfCounters(result.err), expected) << command[0] << " " << command[2] << "\n" << result.err;
    }
}

// Frames that a file leaves out take their packets with them.
TEST(CaptionCounters, MayGoOnByTheFramesThatAreLeftOut) {
    const TemporaryFolder folder;
    std::string text;
    for (const std::size_t frame : {0U, 1U, 9U, 10U, 30U}) {
        text += frameLine(
            frame, {{9, pairCdpHex(3, 24, "8080", 65530 + static_cast<unsigned>(frame) - (frame > 5 ? 65536U : 0U))}});
    }
    text += frameLine(40, {{9, pairCdpHex(3, 24, "8080", 36)}});
    const std::string file = folder.write("a.jsonl", text);
    for (const Texts& command : commandsOn(file, folder)) {
        const ToolResult result = runTool(command);
        EXPECT_EQ(toldOfCounters(result.err),
                  Texts{"qlxcc: warning: " + file + ": frame 40, line 9: counter 36 where 25 was expected"})
            << command[0] << "\n"
            << result.err;
    }
}

TEST(CaptionCounters, AreToldTenTimes) {
    const TemporaryFolder folder;
    std::string text;
    for (unsigned frame = 0; frame < 15; ++frame) {
        text += frameLine(frame, {{9, pairCdpHex(3, 24, "8080", 2 * frame)}});
    }
    const std::string file = folder.write("a.jsonl", text);
    for (const Texts& command : commandsOn(file, folder)) {
        const ToolResult result = runTool(command);
        const Texts told = toldOfCounters(result.err);
        ASSERT_EQ(told.size(), 11U) << command[0] << "\n" << result.err;
        EXPECT_EQ(told[9], "qlxcc: warning: " + file + ": frame 10, line 9: counter 20 where 19 was expected");
        // A conversion says where the first one is as well.
        EXPECT_NE(told[10].find("4 more like \""), std::string::npos) << told[10];
        EXPECT_TRUE(told[10].ends_with("counter 2 where 1 was expected\"")) << told[10];
    }
}

// A packet that is cut, one that announces 24 triplets and has one, one with a wrong checksum, and one of CEA-608 without
// a pair: none of them ends a command, and what they miss is said.
TEST(CaptionPackets, AreToldWhereTheyAreDamaged) {
    const TemporaryFolder folder;
    std::string wrong = pairCdpHex(3, 24, "8080", 3);
    wrong.back() = wrong.back() == '0' ? '1' : '0';
    std::string few = qlxtest::cdpHex(3, "fc8080", 2);
    few.replace(few.find("72e1"), 4, "72f8");
    const std::string file =
        folder.write("a.jsonl", frameLine(0, {{9, pairCdpHex(3, 24, "8080", 0)}}) + frameLine(1, {{9, "96690b3f43"}}) +
                                    frameLine(2, {{9, few}}) + frameLine(3, {{9, wrong}}) +
                                    R"({"frame":4,"pts":{"value":4,"timescale":25},"packets":[)" +
                                    R"({"line":10,"did":97,"sdid":2,"data":"80"}]})" + "\n");
    const std::string name = "qlxcc: warning: " + file + ": ";
    for (const Texts& command :
         {Texts{"show", file, "--all"}, Texts{"convert", file, "-o", folder.path("out.srt"), "--channel", "CC1"},
          Texts{"extract", file}, Texts{"scan", file, "--list"}}) {
        const Texts told = linesOf(runTool(command).err);
        const auto isTold = [&](const std::string& begin, const std::string& end) {
            return std::any_of(told.begin(), told.end(), [&](const std::string& line) {
                return line.starts_with(name + begin) && line.find(end) != std::string::npos;
            });
        };
        EXPECT_TRUE(isTold("frame 1, line 9: ", "caption packet of 5 bytes, 7 are needed")) << command[0];
        EXPECT_TRUE(isTold("frame 2, line 9: ", "24 triplets announced, 1 are there")) << command[0];
        EXPECT_TRUE(isTold("frame 3, line 9: ", "checksum")) << command[0];
        EXPECT_TRUE(isTold("frame 4, line 10: ", "CEA-608 packet of 1 byte, a pair needs 3")) << command[0];
        EXPECT_FALSE(isTold("frame 0", "")) << command[0];
    }
}

// cdp_frame_rate 9 is none of the standard's.
TEST(CaptionCounters, ComeWithRatesThatAreKnown) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.jsonl", frameLine(0, {{9, pairCdpHex(9, 24, "8080")}}));
    const std::string line = "qlxcc: warning: " + file + ": frame 0, line 9: unknown frame rate code 9";
    for (const Texts& command : {Texts{"show", file, "--all"}, Texts{"show", file, "--all", "--service", "1"},
                                 Texts{"convert", file, "-o", folder.path("out.srt"), "--channel", "CC1"},
                                 Texts{"extract", file}, Texts{"scan", file, "--list"}}) {
        const Texts told = linesOf(runTool(command).err);
        EXPECT_EQ(std::count(told.begin(), told.end(), line), 1) << command[0];
    }
}

}  // namespace
