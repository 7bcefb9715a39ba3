// What play makes captions of, and what extract takes for video.
#include "ExactBuffer.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using qlxtest::captionArguments;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Texts = std::vector<std::string>;

/// The line of the bytes of field 1 of a text that is played at 29.97 frames/s.
std::string playedLine(const std::string& name, const std::string& text, Texts more = {}) {
    const TemporaryFolder folder;
    more.insert(more.end(), {"--to-format", "scc", "--single-codes"});
    const ToolResult result = runTool(captionArguments(folder.write(name, text), "29.97", more));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const Texts lines = linesOf(result.out);
    return lines.size() > 2 ? lines[2] : std::string();
}

TEST(CaptionInput, KeepsAnItalicWord) {
    const std::string line = playedLine("in.srt", srt({{"00:00:01,010", "00:00:02,010", "a <i>b</i>"}}));
    // RCL, ENM, row 15 indent 12, two columns more, a (e1 80), italics, b.
    EXPECT_EQ(line, "00:00:00;00\t9420 94ae 9476 97a2 6180 91ae 6280");
}

TEST(CaptionInput, MayBeWebVtt) {
    const std::string text = "WEBVTT\n\n00:01.010 --> 00:02.010\na <i>b</i>\n";
    EXPECT_EQ(playedLine("in.vtt", text), "00:00:00;00\t9420 94ae 9476 97a2 6180 91ae 6280");
}

// Those of WebVTT need no identifiers.
TEST(CaptionInput, CountsCuesWithoutNumbers) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.vtt", "WEBVTT\n\n00:01.000 --> 00:02.000\na\n\n00:03.000 --> 00:04.000\nb\n");
    for (const char* const mode : {"cea608", "teletext"}) {
        const Texts lines = linesOf(runTool(qlxtest::playArgumentsOfMode(mode, file, "25", {})).out);
        ASSERT_GE(lines.size(), 2U);
        EXPECT_TRUE(lines[lines.size() - 2].starts_with("     1 ")) << lines[lines.size() - 2];
        EXPECT_TRUE(lines.back().starts_with("     2 ")) << lines.back();
    }
}

TEST(CaptionInput, ShowsCuesThatBeginTogetherTogether) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "One"},
                                                         {"00:00:01,000", "00:00:03,000", "Two"},
                                                         {"00:00:05,000", "00:00:06,000", "Three"}}));
    const std::string played = folder.path("out.klv");
    for (const char* const from : {"0", "1.5"}) {
        const ToolResult result = runTool(captionArguments(file, "25", {"--from", from, "-o", played}));
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_NE(result.err.find("1 cue shown together with the one before"), std::string::npos) << result.err;
        const Texts lines = linesOf(runTool({"show", played, "--rate", "25", "--channel", "CC1", "--all"}).out);
        ASSERT_GT(lines.size(), 2U);
        EXPECT_NE(lines[1].find("One"), std::string::npos) << lines[1];
        EXPECT_NE(lines[2].find("Two"), std::string::npos) << lines[2];
    }
}

// Paragraphs of regions that begin at 40 % and at 80 % of the picture, the lower one first.
TEST(CaptionInput, ShowsCuesThatBeginTogetherFromTheTopDown) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "in.ttml",
        "<tt xmlns=\"http://www.w3.org/ns/ttml\" xmlns:tts=\"http://www.w3.org/ns/ttml#styling\"><head><layout>"
        "<region xml:id=\"a\" tts:origin=\"10% 40%\" tts:extent=\"60% 15%\"/>"
        "<region xml:id=\"b\" tts:origin=\"10% 80%\" tts:extent=\"60% 15%\"/></layout></head><body><div>"
        "<p region=\"b\" begin=\"1s\" end=\"2s\">Low</p><p region=\"a\" begin=\"1s\" end=\"2s\">High</p>"
        "</div></body></tt>");
    const std::string played = folder.path("out.klv");
    const ToolResult result = runTool(qlxtest::playArgumentsOfMode("captions", file, "25", {"-o", played}));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    for (const char* const target : {"--channel=CC1", "--service=1"}) {
        const Texts lines = linesOf(runTool({"show", played, "--rate", "25", target, "--at", "1.5"}).out);
        ASSERT_EQ(lines.size(), 3U) << target;
        EXPECT_EQ(lines[1].substr(0, 4), "   7") << lines[1];
        EXPECT_NE(lines[1].find("High"), std::string::npos) << lines[1];
        EXPECT_EQ(lines[2].substr(0, 4), "  14") << lines[2];
        EXPECT_NE(lines[2].find("Low"), std::string::npos) << lines[2];
    }
}

// Texts of T2 (data channel 2: 1c2a for TR, 1c2b for RTD, 1cad for CR), each behind the one before it.
TEST(CaptionInput, MayBecomeTexts) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "One"}, {"00:00:03,000", "00:00:04,000", "Two"}}));
    const std::string played = folder.path("out.klv");
    const ToolResult result = runTool(captionArguments(file, "25", {"--channel", "T2", "-o", played}));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const ToolResult shown = runTool({"show", played, "--rate", "25", "--channel", "T2", "--at", "4"});
    const Texts lines = linesOf(shown.out);
    ASSERT_EQ(lines.size(), 3U) << shown.out;
    EXPECT_EQ(lines[1], "   1  " + std::string(15, ' ') + "One");
    EXPECT_EQ(lines[2], "   2  " + std::string(15, ' ') + "Two");
    EXPECT_EQ(linesOf(runTool({"show", played, "--rate", "25", "--channel", "T1", "--at", "4"}).out).size(), 1U);
    EXPECT_EQ(runTool(captionArguments(file, "25", {"--channel", "T2", "--style", "pop-on"})).exitCode, 2);
}

// U+AC00 is B0A1 in EUC-KR. P16 (18h) ends a triplet here, the two bytes are the next one.
TEST(CaptionInput, MayHaveCharactersOfSixteenBits) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "\uAC00"}}));
    const auto played = [&](Texts more) {
        more.insert(more.end(), {"--to-format", "a53"});
        return runTool(qlxtest::playArgumentsOfMode("cea708", file, "25", more)).out;
    };
    EXPECT_NE(linesOf(played({"--p16", "euc-kr"})).at(0).find("18feb0a1"), std::string::npos);
    EXPECT_NE(linesOf(played({"--p16", "utf-16"})).at(0).find("18feac00"), std::string::npos);
    EXPECT_EQ(linesOf(played({})).at(0).find("0018fe"), std::string::npos);
}

TEST(CaptionInput, OfAnotherFileIsNoVideo) {
    const TemporaryFolder folder;
    std::string sound = "RIFF";
    sound += std::string("\x24\x10\0\0WAVEfmt \x10\0\0\0\1\0\1\0", 20);
    for (int count = 0; count < 100; ++count) {
        sound += std::string("\0\0\1\0\xFF\7", 6);
    }
    const std::string file = folder.write("film.wav", sound);
    const ToolResult refused = runTool({"extract", file});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.err.find("no sequence header and no parameter set of video"), std::string::npos) << refused.err;
    EXPECT_EQ(refused.out, "");
    // Whoever says that it is video gets what it would be.
    EXPECT_EQ(runTool({"extract", file, "--codec", "mpeg2"}).exitCode, 0);
}

// Parameter sets of a stream of H.265 (64 x 64; ITU-T H.265, 7.3.2.2.1), and a slice with captions in a message in
// front of it and in one behind it.
TEST(CaptionInput, MayBeInH265) {
    const TemporaryFolder folder;
    const std::string captions("\xB5\0\x31GA94\3\xC1\xFF\xFC\x94\x2C\xFF", 14);
    const std::string start("\0\0\1", 3);
    const auto parameters =
        qlxtest::fromHex("000001 40010c 000001 4201 01 ffffffffffffffffffffff 5d a0200101e0 000001 4401 c1");
    const std::string video = std::string(parameters.begin(), parameters.end()) + start + "\x4E\1\4\x0E" + captions +
                              "\x80" + start + "\x26\1\xAE" + start + "\x50\1\4\x0E" + captions + "\x80";
    const std::string file = folder.write("film.265", video);
    const ToolResult result = runTool({"extract", file});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find("fc942cfc942c"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("1 access unit of H.265, 1 with caption data"), std::string::npos) << result.out;
    EXPECT_EQ(runTool({"extract", file, "--codec", "h265"}).out, result.out);
    EXPECT_NE(runTool({"scan", file}).out.find("fc942cfc942c"), std::string::npos);
}

// I0 P8 b4 of H.264, each with a pair in front of it: brought to another rate they come in the order of presentation,
// as they do from the frames that scan writes. An SEI unit with nal_ref_idc is read as any other.
TEST(CaptionInput, ChangesItsRateInTheOrderOfPresentation) {
    const auto message = [](const std::string& pair) {
        return qlxtest::fromHex("000001 66 04 0e b50031 47413934 03 c1 ff fc" + pair + " ff 80 000001");
    };
    std::string video;
    for (const auto& [pair, slice] :
         {std::pair("6162", "65e108"), std::pair("e5e6", "41e110"), std::pair("e364", "01e090")}) {
        const auto sei = message(pair);
        const auto picture = qlxtest::fromHex(slice);
        const auto parameters = qlxtest::fromHex(video.empty() ? "00000001 67 42001e f4f0 00000001 68 e0" : "");
        video.append(parameters.begin(), parameters.end());
        video.append(sei.begin(), sei.end());
        video.append(picture.begin(), picture.end());
    }
    const TemporaryFolder folder;
    const std::string file = folder.write("film.h264", video);
    const auto changed = [&](const std::string& in) {
        const ToolResult result =
            runTool({"rate", in, "--from-rate", "25", "--to-rate", "50", "-o", "-", "--to-format", "jsonl"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.out;
    };
    const std::string out = changed(file);
    const std::size_t first = out.find("fc6162");
    const std::size_t second = out.find("fce364");
    const std::size_t third = out.find("fce5e6");
    EXPECT_LT(first, second) << out;
    EXPECT_LT(second, third) << out;
    EXPECT_NE(third, std::string::npos) << out;
    ASSERT_EQ(runTool({"scan", file, "-o", folder.path("film.jsonl")}).exitCode, 0);
    EXPECT_EQ(changed(folder.path("film.jsonl")), out);
    // The fixed operations know frames of packets alone.
    const ToolResult refused =
        runTool({"rate", file, "--from-rate", "25", "--to-rate", "50", "-o", folder.path("a.klv"), "--as-deployed"});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_NE(refused.err.find("which has no frames with packets"), std::string::npos) << refused.err;
}

}  // namespace
