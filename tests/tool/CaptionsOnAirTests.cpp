// qlxcc play --mode cea608: captions as they go on air.
#include "AncBytes.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>

namespace {

using qlxtest::captionArguments;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Texts = std::vector<std::string>;

const std::string kHi = srt({{"00:00:01,010", "00:00:02,010", "Hi"}});

/// What is played of an SRT text; goes well.
ToolResult played(const std::string& text, const std::string& rate, const Texts& more) {
    const TemporaryFolder folder;
    ToolResult result = runTool(captionArguments(folder.write("in.srt", text), rate, more));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result;
}

// 1.01 s is 30.27 frames, 2.01 s 60.24. In the middle of 32 columns two letters stand in column 15: indent 12 of row 15
// (1476), three columns more (1723).
TEST(CaptionsOnAir, AreLoadedAheadAndShownOnTime) {
    const std::string head = "Scenarist_SCC V1.0\n\n";
    EXPECT_EQ(played(kHi, "29.97", {"--to-format", "scc"}).out,
              head + "00:00:00;00\t9420 9420 94ae 94ae 9476 9476 9723 9723 c8e9\n\n00:00:01;01\t942f 942f\n\n"
                     "00:00:02;01\t942c 942c\n");
    EXPECT_EQ(played(kHi, "29.97", {"--to-format", "scc", "--single-codes"}).out,
              head + "00:00:00;00\t9420 94ae 9476 9723 c8e9\n\n00:00:01;01\t942f\n\n00:00:02;01\t942c\n");
}

// The same of the first channel of field 2 (14 is 15 there), and of the second one of field 1 (1c, and 1f for tabs).
TEST(CaptionsOnAir, GoToTheChannelThatIsAskedFor) {
    const Texts once{"--to-format", "scc", "--single-codes", "--channel"};
    const auto of = [&](const std::string& channel) {
        Texts more = once;
        more.push_back(channel);
        return linesOf(played(kHi, "29.97", more).out).at(2);
    };
    EXPECT_EQ(of("CC3"), "00:00:00;00\t1520 15ae 9476 9723 c8e9");
    EXPECT_EQ(of("cc2"), "00:00:00;00\t1c20 1cae 1c76 1f23 c8e9");
}

TEST(CaptionsOnAir, AreWrittenFromTheirStartOnInOtherStyles) {
    const std::string text = srt({{"00:00:01,000", "00:00:02,000", "ab"}, {"00:00:03,000", "00:00:04,000", "cd"}});
    const auto of = [&](Texts more) {
        more.insert(more.end(), {"--to-format", "scc", "--single-codes"});
        Texts lines = linesOf(played(text, "29.97", more).out);
        std::erase(lines, "");
        lines.erase(lines.begin());
        return lines;
    };
    // Frames 30, 60, 90, 120 begin at the times or up to 4 ms behind them.
    EXPECT_EQ(of({"--style", "paint-on"}), (Texts{"00:00:01;00\t9429 9476 9723 6162", "00:00:02;00\t942c",
                                                  "00:00:03;00\t9429 9476 9723 e364", "00:00:04;00\t942c"}));
    EXPECT_EQ(
        of({"--style", "roll-up", "--roll-up-rows", "3"}),
        (Texts{"00:00:01;00\t9426 94ad 9476 9723 6162", "00:00:03;00\t9426 94ad 9476 9723 e364", "00:00:04;00\t942c"}));
    EXPECT_EQ(of({"--style", "roll-up", "--clear-after", "0"}).at(1), "00:00:02;00\t942c");
}

TEST(CaptionsOnAir, FillEveryFrameAsItsRateDoes) {
    struct Expected {
        std::string rate;
        std::size_t count;
    };
    for (const auto& [rate, count] : {Expected{"23.976", 25},
                                      {"24", 25},
                                      {"25", 24},
                                      {"29.97", 20},
                                      {"30", 20},
                                      {"50", 12},
                                      {"59.94", 10},
                                      {"60", 10}}) {
        SCOPED_TRACE(rate);
        const bool alternates = count <= 12;
        const Texts lines = linesOf(played(kHi, rate, {"--to-format", "a53"}).out);
        std::string padding;
        for (std::size_t index = alternates ? 1 : 2; index < count; ++index) {
            padding += "fa0000";
        }
        // process_em_data_flag, process_cc_data_flag and cc_count.
        const std::string head = "03" + qlxtest::toHex(std::array{static_cast<std::uint8_t>(0xC0 | count)}) + "ff";
        const std::string none = alternates ? "" : "fd8080";
        EXPECT_EQ(lines.at(0), head + "fc9420" + none + padding + "ff");
        EXPECT_EQ(lines.at(1), head + (alternates ? "fd8080" : "fc9420" + none) + padding + "ff");
        EXPECT_EQ(lines.back(),
                  head + (alternates && lines.size() % 2 == 0 ? "fd8080" : "fc8080" + none) + padding + "ff");
    }
}

TEST(CaptionsOnAir, AreTheSamePacketsInEveryForm) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kHi);
    const auto scanned = [&](const std::string& name, const Texts& more, const Texts& rows) {
        Texts arguments{"-o", folder.path(name)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_EQ(runTool(captionArguments(file, "29.97", arguments)).exitCode, 0);
        Texts scan{"scan", folder.path(name), "--json"};
        scan.insert(scan.end(), rows.begin(), rows.end());
        const ToolResult result = runTool(scan);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "");
        // Only the bytes of the packets.
        Texts data;
        for (const std::string& line : linesOf(result.out)) {
            const std::size_t place = line.find("\"data\":\"");
            data.push_back(place == std::string::npos ? "" : line.substr(place, line.find('"', place + 8) - place));
            EXPECT_TRUE(place == std::string::npos ||
                        line.find("\"line\":" + (rows.empty() ? std::string("9") : rows.at(1))) != std::string::npos);
        }
        return data;
    };
    const Texts expected = scanned("a.klv", {}, {});
    ASSERT_EQ(expected.size(), 91U);
    EXPECT_EQ(std::count(expected.begin(), expected.end(), ""), 0);
    EXPECT_EQ(scanned("a.jsonl", {}, {}), expected);
    EXPECT_EQ(scanned("a.v210", {}, {"--lines", "9"}), expected);
    EXPECT_EQ(scanned("b.v210", {"--sd", "--line", "11"}, {"--lines", "11", "--width", "720"}), expected);
    const Texts sparse = scanned("b.klv", {"--no-fill"}, {});
    EXPECT_EQ(std::count(sparse.begin(), sparse.end(), ""), 91 - 9 - 2 - 2);
    EXPECT_EQ(sparse.at(31), expected.at(31));
}

TEST(CaptionsOnAir, AreListedWithTheirTimes) {
    // EOC of the first cue in frames 50 and 51; it stays, for its own end is behind that. Nine pairs of the second cue
    // in 52 to 60, EOC in 61 and 62. The last two begin in one frame and are one caption: fourteen pairs up to 76, EOC
    // in 77.
    const std::string text = srt({{"00:00:02,000", "00:00:02,500", "Hi"},
                                  {"00:00:02,100", "00:00:04,000", "A"},
                                  {"00:00:03,000", "00:00:04,500", "B"},
                                  {"00:00:03,000", "00:00:04,500", "C"}});
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", text);
    const ToolResult result = runTool(captionArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, file + ": 4 cues as CEA-608 captions on CC1, 25 frames/s\n\n"
                                 "   cue  sent from     due           on air           frame  late  subtitle\n"
                                 "     1  00:00:00,000  00:00:02,000  00:00:02,000        50     0  Hi\n"
                                 "     2  00:00:02,080  00:00:02,120  00:00:02,440        61     8  A\n"
                                 "     3  00:00:02,520  00:00:03,000  00:00:03,080        77     2  B / C\n");
    const std::string place = "qlxcc: warning: " + file + ": ";
    EXPECT_EQ(result.err, place + "1 cue shown together with the one before, which is due in the same frame\n" + place +
                              "cue 2: caption begins at frame 53, before the one in front of it ends at 63\n" + place +
                              "cue 3: caption begins at frame 75, before the one in front of it ends at 100\n" + place +
                              "cue 1: caption ends 8 frames late\n" + place +
                              "cue 2: caption is shown 8 frames late, 8 pairs short\n" + place +
                              "cue 2: caption ends 2 frames late\n" + place +
                              "cue 3: caption is shown 2 frames late, 2 pairs short\n");
    // What is cut off is said.
    const ToolResult cut = runTool(captionArguments(file, "25", {"--duration", "2.4"}));
    EXPECT_EQ(linesOf(cut.out).back(), "     2  00:00:02,080  00:00:02,120  not yet              -     -  A");
    EXPECT_EQ(linesOf(cut.err).back(), "qlxcc: warning: " + file + ": 1 cue not on air by the end, the first is cue 2");
}

TEST(CaptionsOnAir, BeginWithTheFirstFrameThatIsPlayed) {
    const std::string text = srt({{"00:00:01,000", "00:00:09,000", "Hi"}, {"00:00:06,000", "00:00:09,000", "A"}});
    // At 59.94 frame 300 is the first one at 5 s or later; the cue that is on air then is loaded from there on, 9 pairs
    // in every second frame, and shown behind them, in frame 318. The next one is loaded behind both of its EOC.
    const Texts lines = linesOf(played(text, "59.94", {"--from", "5"}).out);
    EXPECT_EQ(lines.at(3), "     1  00:00:05,005  00:00:05,005  00:00:05,305       318    18  Hi");
    EXPECT_EQ(lines.at(4), "     2  00:00:05,372  00:00:06,006  00:00:06,006       360     0  A");
    // From an odd frame on field 2 comes first.
    EXPECT_EQ(linesOf(played(text, "59.94", {"--from", "5.01", "--to-format", "a53"}).out).at(0).substr(6, 6),
              "fd8080");
}

// What is shown of cues that overlap is what a player shows that has played the frames in front as well: at 10.5 s
// nothing, as the second cue has cut the first one and is over; at 22 s both cues of one start, as long as the longer
// one.
TEST(CaptionsOnAir, BeginAmongOverlappingCuesAsIfAllHadBeenPlayed) {
    const std::string text = srt({{"00:00:01,000", "00:00:19,000", "whole"},
                                  {"00:00:05,000", "00:00:10,000", "short"},
                                  {"00:00:14,000", "00:00:18,000", "third"},
                                  {"00:00:15,000", "00:00:15,000", "none"},
                                  {"00:00:20,000", "00:00:21,000", "upper"},
                                  {"00:00:20,000", "00:00:28,000", "lower"}});
    const auto textsFrom = [&](const std::string& from, const std::string& mode) {
        const TemporaryFolder folder;
        const ToolResult result = runTool(qlxtest::playArgumentsOfMode(mode, folder.write("in.srt", text), "25",
                                                                       {"--from", from, "--duration", "3"}));
        EXPECT_EQ(result.exitCode, 0) << result.err;
        std::string texts;
        const Texts lines = linesOf(result.out);
        for (std::size_t index = 3; index < lines.size(); ++index) {
            texts += lines[index].substr(lines[index].rfind("  ") + 2) + ";";
        }
        return texts;
    };
    for (const char* mode : {"cea608", "cea708", "captions"}) {
        EXPECT_EQ(textsFrom("3", mode), "whole;short;") << mode;
        EXPECT_EQ(textsFrom("7", mode), "short;") << mode;
        EXPECT_EQ(textsFrom("10.5", mode), "") << mode;
        // What has no duration is not shown, and ends nothing.
        EXPECT_EQ(textsFrom("16", mode), "third;") << mode;
        EXPECT_EQ(textsFrom("22", mode), "upper / lower;") << mode;
    }
    // A page of teletext shows all that is on air.
    EXPECT_EQ(textsFrom("10.5", "teletext"), "whole;");
}

TEST(CaptionsOnAir, HaveExtendedDataBesideThem) {
    // Name (start code 01, type 03), rating (01 05; TV-14 is 5, V 20h: 48 50 65) and network (05 01); the end code 0f.
    const Texts lines = linesOf(played(kHi, "29.97",
                                       {"--to-format", "scc", "--channel", "CC3", "--program-name", "Show", "--rating",
                                        "tv-14 v", "--network", "QLX", "--single-codes"})
                                    .out);
    // Captions go first, and behind them the packets: their bytes, the end code 0f, and what makes the sum 0 in 7 bits.
    EXPECT_EQ(lines.at(2),
              "00:00:00;00\t1520 15ae 9476 9723 c8e9 0183 d368 eff7 8f4c 0185 c8e5 8f3e 8501 514c 5880 8f76");
    const ToolResult refused = runTool({"play", "a.srt", "--mode", "cea608", "--rate", "29.97", "--rating", "XXX"});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_EQ(refused.err.find("qlxcc: --rating: \"XXX\" is no rating"), 0U) << refused.err;
}

TEST(CaptionsOnAir, ShowHowTheyDifferFromTheCue) {
    const TemporaryFolder folder;
    const std::string longest(40, 'x');
    const std::string file = folder.write("in.srt", srt({{"00:00:04,000", "00:00:05,000", "a \xE2\x82\xAC"},
                                                         {"00:00:06,000", "00:00:07,000", longest},
                                                         {"00:00:08,000", "00:00:09,000", "1\n2\n3\n4\n5"}}));
    const ToolResult result = runTool(captionArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 0);
    const std::string name = file + ": cue ";
    EXPECT_EQ(result.err, "qlxcc: warning: " + name + "1: character 20ac is sent as 45\nqlxcc: remark: " + name +
                              "2: row 1 is broken behind 32 characters\nqlxcc: warning: " + name +
                              "3: row 5: 1 characters are left out, the caption has its four rows\n");
    EXPECT_EQ(runTool(captionArguments(file, "25", {"--quiet"})).err, "");
}

}  // namespace
