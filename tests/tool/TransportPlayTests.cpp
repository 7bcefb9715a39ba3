// qlxcc play into a transport stream, and what show and scan read of it.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

const std::string kTransportCues = "1\n00:00:01,000 --> 00:00:02,000\nBonjour\n\n"
                                   "2\n00:00:03,000 --> 00:00:04,500\nDeux\nlignes\n\n";

#ifdef QLX_STREAMS_FFMPEG
TEST(TransportPlay, ShowsWhatItWouldInOtherFiles) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.srt", kTransportCues);
    for (const std::string rate : {"25", "50"}) {
        const std::string stream = folder.path("out" + rate + ".ts");
        const std::string other = folder.path("out" + rate + ".klv");
        const ToolResult played =
            runTool(playArguments(cues, rate, {"-o", stream, "--service-name", "Eins", "--language", "fra"}));
        ASSERT_EQ(played.exitCode, 0) << played.err;
        EXPECT_EQ(played.err, "");
        ASSERT_EQ(runTool(playArguments(cues, rate, {"-o", other})).exitCode, 0);
        const ToolResult shown = runTool({"show", stream, "--all", "--page", "888"});
        const ToolResult expected = runTool({"show", other, "--all", "--page", "888", "--rate", rate});
        ASSERT_EQ(shown.exitCode, 0) << shown.err;
        EXPECT_EQ(shown.err, "");
        EXPECT_NE(expected.out.find("Bonjour"), std::string::npos);
        EXPECT_EQ(shown.out, expected.out);
        const ToolResult scanned = runTool({"scan", stream});
        ASSERT_EQ(scanned.exitCode, 0) << scanned.err;
        EXPECT_NE(scanned.out.find("page 888, erased, subtitle\n"), std::string::npos) << scanned.out;
        EXPECT_NE(scanned.out.find(": Bonjour\n"), std::string::npos);
        EXPECT_NE(scanned.out.find("frames with teletext in a transport stream\n"), std::string::npos);
        const ToolResult json = runTool({"scan", stream, "--json"});
        EXPECT_EQ(json.exitCode, 0);
        EXPECT_NE(json.err.find("left out: teletext of "), std::string::npos) << json.err;
    }
}

TEST(TransportPlay, NamesTheLanguageOfTheMapAndReadsAnotherPid) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.srt", kTransportCues);
    const std::string stream = folder.path("out.ts");
    // The set of Danish is that of other languages too: the map says which.
    ASSERT_EQ(runTool(playArguments(cues, "25", {"-o", stream, "--language", "da", "--pid", "300"})).exitCode, 0);
    const ToolResult list = runTool({"scan", stream, "--list"});
    ASSERT_EQ(list.exitCode, 0) << list.err;
    EXPECT_NE(list.out.find("teletext page 888   dan "), std::string::npos) << list.out;
    EXPECT_NE(runTool({"scan", stream, "--list", "--json"}).out.find("\"language\":\"dan\""), std::string::npos);
    // A PID that is named is read, and another one has nothing.
    for (const std::string pid : {"300", "0x12c"}) {
        const ToolResult shown = runTool({"show", stream, "--all", "--page", "888", "--teletext-pid", pid});
        EXPECT_EQ(shown.exitCode, 0) << shown.err;
        EXPECT_NE(shown.out.find("Bonjour"), std::string::npos) << shown.out;
    }
    EXPECT_EQ(runTool({"scan", stream, "--teletext-pid", "301"}).out.find("Bonjour"), std::string::npos);
    for (const std::string pid : {"8191", "0x", "x"}) {
        const ToolResult refused = runTool({"scan", stream, "--teletext-pid", pid});
        EXPECT_EQ(refused.exitCode, 2);
        EXPECT_NE(refused.err.find("--teletext-pid: \"" + pid + "\" is not a number from 0 to 8190"),
                  std::string::npos);
    }
    EXPECT_NE(runTool({"scan", cues, "--format", "jsonl", "--teletext-pid", "300"})
                  .err.find("--teletext-pid is for the format ts"),
              std::string::npos);
}
#endif

TEST(TransportPlay, RefusesWhatDoesNotGoTogether) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.srt", kTransportCues);
    const std::string stream = folder.path("out.ts");
    struct Refusal {
        std::vector<std::string> arguments;
        std::string words;
    };
    const std::vector<Refusal> refusals{
        {{"play", cues, "--mode", "teletext", "--rate", "29.97", "-o", stream},
         "--to-format ts: 30 frames a second: teletext in a transport stream has 25 or 50"},
        {{"play", cues, "--mode", "cea608", "--rate", "25", "-o", stream},
         "--to-format ts is for --mode teletext only"},
        {{"play", cues, "--mode", "teletext", "--rate", "25", "-o", stream, "--pid", "256"},
         "--to-format ts: PID 0x0100 is reserved, or is there twice"},
        {{"play", cues, "--mode", "teletext", "--rate", "25", "-o", folder.path("a.klv"), "--bitrate", "200000"},
         "--bitrate is for the format ts only"},
        {{"play", cues, "--mode", "teletext", "--rate", "25", "-o", stream, "--as-deployed"},
         "--as-deployed is for the formats v210 and klv only"}};
    for (const Refusal& refusal : refusals) {
        const ToolResult result = runTool(refusal.arguments);
        EXPECT_EQ(result.exitCode, 2) << refusal.words;
        EXPECT_NE(result.err.find(refusal.words), std::string::npos) << result.err;
    }
}

}  // namespace
