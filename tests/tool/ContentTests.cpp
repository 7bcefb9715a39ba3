// qlxcc show --service, --channel XDS, T1, and scan --list: everything that captions of a file are.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using qlxtest::linesOf;
using qlxtest::playArgumentsOfMode;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Texts = std::vector<std::string>;

/// A file of captions in both systems: three cues, the second one right behind the first.
std::string playedFile(const TemporaryFolder& folder) {
    const std::string text = srt({{"00:00:02,000", "00:00:04,000", "One"},
                                  {"00:00:04,000", "00:00:06,000", "Two\nrows"},
                                  {"00:00:07,000", "00:00:08,000", "Three"}});
    const std::string file = folder.path("out.klv");
    const ToolResult played = runTool(
        playArgumentsOfMode("captions", folder.write("in.srt", text), "25",
                            {"--language", "eng", "--program-name", "Film", "--rating", "TV-14 V", "-o", file}));
    EXPECT_EQ(played.exitCode, 0) << played.err;
    return file;
}

/// The same of a frame for each text of triplets.
std::string writtenFrames(const TemporaryFolder& folder, const Texts& frames) {
    std::string text;
    for (std::size_t number = 0; number < frames.size(); ++number) {
        text += "{\"frame\":" + std::to_string(number) + R"(,"pts":{"value":)" + std::to_string(number) +
                R"(,"timescale":25},"packets":[],"captions":{"data":")" + frames[number] + "\"}}\n";
    }
    return folder.write("in.jsonl", text);
}

TEST(FileContents, ShowAService) {
    const TemporaryFolder folder;
    const std::string file = playedFile(folder);
    const ToolResult all = runTool({"show", file, "--rate", "25", "--service", "1", "--all"});
    EXPECT_EQ(all.exitCode, 0) << all.err;
    EXPECT_EQ(all.err, "");
    const std::string left(19, ' ');
    // In the middle of 42 columns; the second of two rows stands on row 15.
    EXPECT_EQ(all.out, "00:00:02,000 - 00:00:04,000  service 1\n  15  " + left +
                           "One\n\n00:00:04,000 - 00:00:06,000  service 1\n  14  " + left + "Two\n  15  " + left +
                           "rows\n\n00:00:07,000 - 00:00:08,000  service 1\n  15  " + left.substr(1) + "Three\n");
    const ToolResult at = runTool({"show", file, "--rate", "25", "--service", "1", "--at", "2.5", "--json"});
    EXPECT_NE(at.out.find(R"("service":"1")"), std::string::npos) << at.out;
    EXPECT_NE(at.out.find(R"("text":"One")"), std::string::npos) << at.out;
#ifdef QLX_TOOL_ZVBI
    // 42 columns of 16 pixels, 15 rows of 26.
    const std::string picture = folder.path("screen.ppm");
    EXPECT_EQ(runTool({"show", file, "--rate", "25", "--service", "1", "--at", "2.5", "--png", picture}).exitCode, 0);
    EXPECT_TRUE(folder.read("screen.ppm").starts_with("P6\n672 390\n255\n"));
#endif
    // Another service, of which there is nothing.
    EXPECT_EQ(runTool({"show", file, "--rate", "25", "--service", "2", "--all"}).out,
              "service 2: never anything on air (services here: 1)\n");
}

TEST(FileContents, ShowExtendedData) {
    const TemporaryFolder folder;
    const std::string file = playedFile(folder);
    const ToolResult all = runTool({"show", file, "--rate", "25", "--channel", "xds", "--all"});
    EXPECT_EQ(all.exitCode, 0) << all.err;
    const Texts lines = linesOf(all.out);
    ASSERT_EQ(lines.size(), 2U) << all.out;
    EXPECT_NE(lines[0].find("  XDS  programme name: \"Film\""), std::string::npos) << lines[0];
    EXPECT_NE(lines[1].find("  XDS  rating: TV-14 V"), std::string::npos) << lines[1];
    const ToolResult at = runTool({"show", file, "--rate", "25", "--channel", "XDS", "--at", "5", "--json"});
    EXPECT_EQ(linesOf(at.out).size(), 2U) << at.out;
    EXPECT_NE(at.out.find(R"("text":"rating: TV-14 V")"), std::string::npos) << at.out;
    EXPECT_EQ(runTool({"show", file, "--channel", "XDS", "--at", "5", "--png", "a.png"}).exitCode, 2);
}

TEST(FileContents, AreListed) {
    const TemporaryFolder folder;
    const std::string file = playedFile(folder);
    const ToolResult list = runTool({"scan", file, "--list"});
    EXPECT_EQ(list.exitCode, 0) << list.err;
    const Texts lines = linesOf(list.out);
    ASSERT_EQ(lines.size(), 5U) << list.out;
    // A klv file has no times, but packets that tell the rate. At 25 frames/s: on from frames 50, 100 and 175 on, off at
    // 150 and 200.
    EXPECT_EQ(lines[1], "captions CC1        eng       00:00:02,000    00:00:07,960           3");
    EXPECT_TRUE(lines[2].starts_with("extended data       -         00:00:0")) << lines[2];
    EXPECT_TRUE(lines[2].ends_with(" (packets)")) << lines[2];
    EXPECT_EQ(lines[3], "service 1           eng       00:00:02,000    00:00:07,960           3");
    EXPECT_EQ(lines[4], "in 225 frames");
    const ToolResult json = runTool({"scan", file, "--list", "--json"});
    EXPECT_NE(json.out.find(
                  R"("captions":3,"first":{"seconds":2.0,"timescale":25,"value":50},"firstFrame":50,"kind":"captions",)"
                  R"("language":"eng","last":{"seconds":7.96,"timescale":25,"value":199},"lastFrame":199)"),
              std::string::npos)
        << json.out;
    EXPECT_EQ(runTool({"scan", file, "--list", "--to-format", "klv"}).exitCode, 2);
    // Packets of another rate behind them: no time is sure.
    const std::string other = folder.path("other.klv");
    ASSERT_EQ(runTool({"rate", file, "--from-rate", "25", "--to-rate", "50", "-o", other}).exitCode, 0);
    const std::string both = folder.write("both.klv", folder.read("out.klv") + folder.read("other.klv"));
    EXPECT_TRUE(
        linesOf(runTool({"scan", other, "--list"}).out).at(1).starts_with("captions CC1        eng       00:00:0"));
    EXPECT_TRUE(linesOf(runTool({"scan", both, "--list"}).out)
                    .at(1)
                    .starts_with("captions CC1        eng       frame 50        frame "));
}

// A Scenarist file of CC3: RCL and EOC of field 2 are 1520 and 152f.
TEST(FileContents, KnowTheFieldOfScenaristFiles) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.scc", "Scenarist_SCC V1.0\n\n00:00:01;00\t1520 9470 c8e9 152f\n");
    const Texts lines = linesOf(runTool({"scan", file, "--list"}).out);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(lines[1].starts_with("captions CC3 ")) << lines[1];
    EXPECT_NE(runTool({"show", file, "--channel", "CC3", "--all"}).out.find("Hi"), std::string::npos);
    // It goes on having those; another field is what was asked for.
    const std::string again = folder.path("out.scc");
    EXPECT_EQ(runTool({"convert", file, "-o", again}).exitCode, 0);
    EXPECT_NE(folder.read("out.scc").find("1520 9470 c8e9 152f"), std::string::npos) << folder.read("out.scc");
    EXPECT_EQ(runTool({"convert", file, "--to-format", "klv", "-o", folder.path("out.klv")}).exitCode, 0);
    EXPECT_EQ(linesOf(runTool({"scan", folder.path("out.klv"), "--list"}).out).at(1).substr(0, 13), "captions CC3 ");
}

// A packet of service 1 that announces 14 bytes, of which 12 come (DF0 visible, "Hi"), and a programme's name without an
// end.
TEST(FileContents, SayWhatHasNoEnd) {
    const TemporaryFolder folder;
    const std::string service = writtenFrames(folder, {"ff0729fe9820fe0000fe0001fe1148fe6900"});
    const ToolResult shown = runTool({"show", service, "--service", "1", "--all"});
    EXPECT_NE(shown.out.find("Hi"), std::string::npos) << shown.out;
    EXPECT_NE(shown.err.find("14 bytes"), std::string::npos) << shown.err;
    const ToolResult cues = runTool({"convert", service, "--service", "1", "--to-format", "vtt", "-o", "-"});
    EXPECT_NE(cues.out.find("Hi"), std::string::npos) << cues.out;
    EXPECT_NE(cues.err.find("14 bytes"), std::string::npos) << cues.err;
    EXPECT_TRUE(linesOf(runTool({"scan", service, "--list"}).out).at(1).starts_with("service 1 "));
    const std::string name = writtenFrames(folder, {"fd0183", "fdc1c2"});
    const ToolResult data = runTool({"show", name, "--channel", "XDS", "--all"});
    EXPECT_NE(data.err.find("has no end"), std::string::npos) << data.err;
    // Where it is read up to a time, more may come.
    const ToolResult at = runTool({"show", name, "--channel", "XDS", "--at", "0"});
    EXPECT_EQ(at.err.find("has no end"), std::string::npos) << at.err;
}

// A programme that starts in minute 61, and a rating of one byte.
TEST(FileContents, SayWhatExtendedDataAreNoneOfTheirType) {
    const TemporaryFolder folder;
    const std::string file =
        writtenFrames(folder, {"fd0101", "fdfdc1", "fdc1c1", "fd8f2f", "fd0185", "fdc880", "fd8f23"});
    const ToolResult shown = runTool({"show", file, "--channel", "XDS", "--all"});
    const Texts lines = linesOf(shown.out);
    ASSERT_EQ(lines.size(), 2U) << shown.out;
    EXPECT_NE(lines[0].find("type 01: 7d414141 (none of its type)"), std::string::npos) << lines[0];
    EXPECT_NE(lines[1].find("type 05: 48 (none of its type)"), std::string::npos) << lines[1];
    for (const ToolResult& result : {shown, runTool({"scan", file, "--list"})}) {
        EXPECT_NE(result.err.find("frame 3: extended data: 4 bytes are none of packet 101"), std::string::npos)
            << result.err;
        EXPECT_NE(result.err.find("frame 6: extended data: 1 bytes are none of packet 105"), std::string::npos)
            << result.err;
    }
}

TEST(FileContents, SayOnceThatExtendedDataHaveNoParity) {
    const TemporaryFolder folder;
    Texts frames;
    for (int count = 0; count < 40; ++count) {
        for (const std::string_view pair : {"fd0103", "fd4e65", "fd7773", "fd0f50"}) {
            frames.emplace_back(pair);
        }
    }
    const std::string file = writtenFrames(folder, frames);
    for (const Texts& arguments : {Texts{"show", file, "--channel", "XDS", "--all"}, Texts{"scan", file, "--list"}}) {
        const std::string text = runTool(arguments).err;
        const std::size_t place = text.find("frame 64: no parity bit in 64 pairs");
        ASSERT_NE(place, std::string::npos) << text;
        EXPECT_EQ(text.find("no parity", place + 20), std::string::npos) << text;
        EXPECT_EQ(text.find("frame 68: "), std::string::npos) << text;
    }
    EXPECT_NE(runTool({"show", file, "--channel", "XDS", "--all", "--no-parity"}).out.find("\"News\""),
              std::string::npos);
}

// TR, "Hi"; resumed captions say nothing of it.
TEST(FileContents, ShowTexts) {
    const TemporaryFolder folder;
    const std::string file = writtenFrames(folder, {"fc942a", "fc942a", "fcc8e9", "fc9420"});
    EXPECT_EQ(runTool({"show", file, "--channel", "T1", "--all"}).out, "00:00:00,080 - end  text T1\n   1   Hi\n");
    const Texts lines = linesOf(runTool({"scan", file, "--list"}).out);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1], "text T1             -         00:00:00,080    00:00:00,120           1");
    // The same facts, with their exact times.
    EXPECT_EQ(runTool({"scan", file, "--list", "--json"}).out,
              R"({"contents":[{"captions":1,"first":{"seconds":0.08,"timescale":25,"value":2},"firstFrame":2,)"
              R"("kind":"text","language":null,"last":{"seconds":0.12,"timescale":25,"value":3},"lastFrame":3,)"
              R"("name":"T1"}],"frames":4,"schema":"qlxcc/contents/1"})"
              "\n");
}

// RDC, preamble of row 15, "Hi" without parity bits.
TEST(FileContents, AreReadWithoutParity) {
    const TemporaryFolder folder;
    const std::string file = writtenFrames(folder, {"fc1429", "fc1470", "fc4869"});
    EXPECT_EQ(runTool({"show", file, "--channel", "CC1", "--at", "0.1", "--no-parity"}).out,
              "captions CC1 at 00:00:00,100, since 00:00:00,080 (frame 2):\n  15   Hi\n");
    EXPECT_EQ(linesOf(runTool({"scan", file, "--list"}).out).at(0), "no captions in 3 frames");
    EXPECT_EQ(linesOf(runTool({"scan", file, "--list", "--no-parity"}).out).size(), 3U);
    const ToolResult converted = runTool({"convert", file, "--to-format", "vtt", "-o", "-", "--no-parity"});
    EXPECT_NE(converted.out.find("\nHi\n"), std::string::npos) << converted.out;
    EXPECT_EQ(runTool({"convert", file, "--to-format", "vtt", "-o", "-"}).out.find("Hi"), std::string::npos);
}

// A visible window of one row and eight columns whose fill is translucent and blue (SWA). "H" is translucent on translucent
// black (SPC), "i" solid on nothing, so that it has the fill behind it. Of CEA-608: "H", then "i" on translucent blue.
TEST(FileContents, SayWhatThePictureShowsThrough) {
    const TemporaryFolder folder;
    const std::string service =
        writtenFrames(folder, {"ff0c36fe9820fe0000fe0007fe1197fe8300fe0000fe91bffe8000fe4891fe3fc0fe0069"});
    const std::string shown = runTool({"show", service, "--service", "1", "--at", "0", "--json"}).out;
    EXPECT_NE(shown.find(R"("runs":[{"background":"black","backgroundOpacity":"translucent","color":"white",)"
                         R"("colorOpacity":"translucent","text":"H"},{"background":"blue",)"
                         R"("backgroundOpacity":"translucent","color":"white","text":"i"}])"),
              std::string::npos)
        << shown;
    const std::string channel = writtenFrames(folder, {"fc9429", "fc9470", "fcc820", "fc1025", "fce980"});
    const std::string captions = runTool({"show", channel, "--channel", "CC1", "--at", "0.16", "--json"}).out;
    EXPECT_NE(captions.find(R"("runs":[{"background":"black","color":"white","text":"H"},{"background":"blue",)"
                            R"("backgroundOpacity":"translucent","color":"white","text":" i"}])"),
              std::string::npos)
        << captions;
}

// A packet with one block of service 1: a visible window of one row and eight columns, then P16 B0A1 (EUC-KR: U+AC00).
TEST(FileContents, ReadCharactersOfSixteenBits) {
    const TemporaryFolder folder;
    const std::string file = writtenFrames(folder, {"ff062afe9820fe0000fe0007fe1118feb0a1"});
    const auto shown = [&](const std::string& encoding) {
        const ToolResult result = runTool({"show", file, "--service", "1", "--at", "0", "--p16", encoding, "--json"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.out;
    };
    EXPECT_NE(shown("euc-kr").find("\"text\":\"\uAC00\""), std::string::npos) << shown("euc-kr");
    EXPECT_NE(shown("utf-16").find("\"text\":\"\uB0A1\""), std::string::npos) << shown("utf-16");
    EXPECT_NE(runTool({"scan", file, "--p16", "euc-kr"}).out.find("service 1: DF0 visible, \"\uAC00\""),
              std::string::npos);
    EXPECT_EQ(runTool({"show", file, "--at", "0", "--p16", "euc-kr"}).exitCode, 2);
    const std::vector<std::string> convert{"convert", file, "--to-format", "srt", "-o", "-", "--p16", "euc-kr"};
    EXPECT_EQ(runTool(convert).exitCode, 2);
    std::vector<std::string> ofService = convert;
    ofService.insert(ofService.end(), {"--service", "1"});
    EXPECT_NE(runTool(ofService).out.find("\uAC00"), std::string::npos);
}

}  // namespace
