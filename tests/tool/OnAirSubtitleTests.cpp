// qlxcc subs and play of files in which subtitles are on air.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

using qlxtest::captionArguments;
using qlxtest::linesOf;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Texts = std::vector<std::string>;

// "Hi" on row 15 in column 15 of CC1, from the frame of EOC, 30, to that of EDM, 60: a frame takes 1001/30000 s.
constexpr std::string_view kHi = "Scenarist_SCC V1.0\n\n00:00:00;00\t9420 94ae 9476 9723 c8e9\n\n00:00:01;00\t942f\n\n"
                                 "00:00:02;00\t942c\n";
// The same of CC3, of field 2.
constexpr std::string_view kHiOfField2 =
    "Scenarist_SCC V1.0\n\n00:00:00;00\t1520 15ae 9476 9723 c8e9\n\n00:00:01;00\t152f\n\n00:00:02;00\t152c\n";

/// `qlxcc subs FILE` goes well, with the times and text of these as its only cue.
void expectHi(const Texts& arguments, std::string_view format, std::string_view start = "00:00:01,001",
              std::string_view end = "00:00:02,002") {
    const ToolResult listed = runTool(arguments);
    ASSERT_EQ(listed.exitCode, 0) << listed.err;
    const Texts lines = linesOf(listed.out);
    ASSERT_GE(lines.size(), 3U) << listed.out;
    EXPECT_TRUE(lines[1].starts_with("     1  " + std::string(start) + "  " + std::string(end) + "  ")) << lines[1];
    EXPECT_TRUE(lines[1].ends_with("  Hi")) << lines[1];
    EXPECT_NE(lines.back().find(" (" + std::string(format) + "): 1 cue, 0 left out"), std::string::npos) << listed.out;
}

TEST(OnAirSubtitles, OfCaptionFilesAreListed) {
    const TemporaryFolder folder;
    expectHi({"subs", folder.write("a.scc", kHi)}, "captions CC1");
    // Content comes before names.
    expectHi({"subs", folder.write("a.srt", kHi)}, "captions CC1");
    expectHi({"subs", folder.write("b.scc", kHiOfField2), "--channel", "cc3"}, "captions CC3");
    // The same labels at 24 frames a second.
    std::string ofFilm(kHi);
    std::replace(ofFilm.begin(), ofFilm.end(), ';', ':');
    expectHi({"subs", folder.write("c.scc", ofFilm), "--from-rate", "24"}, "captions CC1", "00:00:01,000",
             "00:00:02,000");
    const ToolResult piped = runTool({"subs", "-"}, {.input = std::string(kHi)});
    EXPECT_EQ(piped.exitCode, 0) << piped.err;
    EXPECT_NE(piped.out.find("  Hi\n"), std::string::npos);
    ASSERT_EQ(runTool({"convert", folder.path("a.scc"), "-o", folder.path("a.mcc")}).exitCode, 0);
    expectHi({"subs", folder.path("a.mcc")}, "captions CC1");
    // As captions they are sent early: the list is in frames of 29.97, by the pairs of the deployed writer.
    const ToolResult early = runTool({"subs", folder.path("a.mcc"), "--mode", "cea608", "--rate", "29.97"});
    EXPECT_EQ(early.exitCode, 0) << early.err;
    EXPECT_NE(early.out.find("  Hi\n"), std::string::npos) << early.out;
}

TEST(OnAirSubtitles, OfOtherFilesAreListedWhereItIsSaidWhatIsMeant) {
    const TemporaryFolder folder;
    const std::string text = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "Hi"}}));
    ASSERT_EQ(runTool(playArguments(text, "25", {"-o", folder.path("page.klv")})).exitCode, 0);
    ASSERT_EQ(runTool(playArguments(text, "25", {"-o", folder.path("page.ts")})).exitCode, 0);
    ASSERT_EQ(runTool(playArguments(text, "25", {"-o", folder.path("page.v210")})).exitCode, 0);
    ASSERT_EQ(
        runTool({"play", text, "--mode", "cea708", "--rate", "25", "--service", "2", "-o", folder.path("s.jsonl")})
            .exitCode,
        0);
    expectHi({"subs", folder.path("page.klv"), "--page", "888", "--from-rate", "25"}, "teletext page 888",
             "00:00:01,000", "00:00:02,000");
    expectHi({"subs", folder.path("page.ts"), "--page", "888"}, "teletext page 888", "00:00:01,000", "00:00:02,000");
    expectHi({"subs", folder.path("s.jsonl"), "--service", "2"}, "captions 2", "00:00:01,000", "00:00:02,000");
    const auto refused = [&](const Texts& arguments, const std::string& words) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 2) << result.out;
        EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
    };
    refused({"subs", folder.path("page.klv"), "--page", "888"}, "--from-rate is needed: ");
    refused({"subs", folder.path("page.klv")}, " unless --channel, --service or --page says what is on air");
    // How rows lie is said to convert alone.
    refused({"subs", folder.path("page.v210"), "--page", "888", "--from-rate", "25"},
            "rate, convert and scte104 parse");
    refused({"subs", text, "--page", "888"}, "--channel, --service or --page says what is on air: ");
    refused({"subs", text, "--from-rate", "25"},
            "--from-rate is for what is on air, for TTML and for a timecode of --from-start");
    refused({"subs", folder.path("page.ts"), "--page", "888", "--channel", "CC1"}, "at a time");
    refused({"subs", folder.path("page.ts"), "--page", "99"}, "is not a page");
    // The first frame of teletext alone is the one that sends the page, which is shown with the next one.
    expectHi({"subs", folder.path("page.ts"), "--page", "888", "--from-start", "auto"}, "teletext page 888",
             "00:00:00,040", "00:00:01,040");
    refused({"subs", folder.path("page.ts"), "--page", "888", "--encoding", "UTF-8"}, "--encoding is for texts");
    refused({"subs", folder.path("page.ts"), "--page", "888", "--track", "1"}, "--track is for text tracks");
}

TEST(OnAirSubtitles, AreMissedByWhatIsOnAir) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.scc", kHi);
    const ToolResult result = runTool({"subs", file, "--channel", "CC2"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("nothing is on air: captions CC2"), std::string::npos) << result.err;
}

// A pair with a byte of wrong parity (48 for c8) in frame 3.
TEST(OnAirSubtitles, SayWhatIsWrongWithTheirPlaces) {
    const TemporaryFolder folder;
    const std::string damaged = "Scenarist_SCC V1.0\n\n00:00:00;00\t9420 94ae 9476 48e9\n\n00:00:01;00\t942f\n\n"
                                "00:00:02;00\t942c\n";
    const ToolResult listed = runTool({"subs", folder.write("a.scc", damaged)});
    EXPECT_EQ(listed.exitCode, 0) << listed.err;
    EXPECT_NE(listed.out.find("\nremark: frame 3"), std::string::npos) << listed.out;
    EXPECT_NE(listed.out.find("parity"), std::string::npos) << listed.out;
}

TEST(OnAirSubtitles, ArePlayed) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.scc", kHi);
    const ToolResult captions =
        runTool(captionArguments(file, "29.97", {"--to-format", "scc", "--single-codes", "--quiet"}));
    EXPECT_EQ(captions.exitCode, 0) << captions.err;
    // In the same place, shown and taken away with the same frames.
    EXPECT_EQ(captions.out, kHi);
    const ToolResult page = runTool(playArguments(file, "25", {"-o", folder.path("a.klv")}));
    EXPECT_EQ(page.exitCode, 0) << page.err;
    // 1.001 s are due with frame 26, 2.002 s with frame 51.
    expectHi({"subs", folder.path("a.klv"), "--page", "888", "--from-rate", "25"}, "teletext page 888", "00:00:01,040",
             "00:00:02,040");
    const ToolResult other = runTool({"play", folder.path("a.klv"), "--from-page", "888", "--from-rate", "25", "--mode",
                                      "cea608", "--rate", "29.97", "-o", folder.path("b.scc")});
    EXPECT_EQ(other.exitCode, 0) << other.err;
    // 1.04 s are 31.2 frames of 29.97, 2.04 s 61.1.
    EXPECT_NE(folder.read("b.scc").find("00:00:01;02\t942f 942f\n\n00:00:02;02\t942c 942c\n"), std::string::npos)
        << folder.read("b.scc");
    const ToolResult third = runTool(
        captionArguments(folder.write("c.scc", kHiOfField2), "29.97", {"--from-channel", "CC3", "--to-format", "scc"}));
    EXPECT_NE(third.out.find(" c8e9\n"), std::string::npos) << third.err;
}

TEST(OnAirSubtitles, AreNotForTheFixedOperations) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.scc", kHi);
    for (const Texts& more : {Texts{}, Texts{"--from-channel", "CC1"}, Texts{"--from-rate", "29.97"}}) {
        Texts arguments = captionArguments(file, "29.97", {"--as-deployed"});
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 2) << result.out;
        EXPECT_NE(result.err.find(more.empty() ? "the fixed operations do not read" : "without --as-deployed"),
                  std::string::npos)
            << result.err;
    }
}

}  // namespace
