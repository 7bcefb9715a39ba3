// qlxcc convert: subtitle files into each other, what is on air into cues, times, widths, overlaps and encodings.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

namespace convert_tests {
namespace {

using namespace std::string_view_literals;
using qlxtest::converted;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

const std::string kOneCue = srt({{"00:00:01,000", "00:00:02,000", "a"}});

TEST(Convert, MakesWebVttOfSubRipAndBack) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "in.srt", srt({{"00:00:01,000", "00:00:02,500", "{\\an8}<i>a & b</i>\n<font color=\"yellow\">c</font>"}}));
    const ToolResult result = converted(file, "vtt");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "WEBVTT\n\n1\n00:00:01.000 --> 00:00:02.500 line:0\n<i>a &amp; b</i>\n"
                          "<c.yellow>c</c>\n\n");
    const ToolResult back = converted(folder.write("in.vtt", result.out), "srt");
    EXPECT_EQ(back.exitCode, 0);
    EXPECT_EQ(back.out, "1\n00:00:01,000 --> 00:00:02,500\n{\\an8}<i>a & b</i>\n"
                        "<font color=\"#ffff00\">c</font>\n\n");
}

TEST(Convert, KeepsAllOfAFormatInTheSame) {
    const TemporaryFolder folder;
    const std::string text =
        "WEBVTT title\nX-TIMESTAMP-MAP=LOCAL:00:00:00.000,MPEGTS:900000\n\n"
        "REGION\nid:r\nlines:2\n\nNOTE one\n\n"
        "intro\n00:00:01.000 --> 00:00:02.000 region:r align:start\n<v Mary>a<00:00:01.500>b</v>\n\n"
        "NOTE two\n\n2\n00:00:02.000 --> 00:00:03.000 size:50%\n<ruby>c<rt>d</rt></ruby>\n\n"
        "NOTE three\n\n";
    const ToolResult result = converted(folder.write("in.vtt", text), "vtt");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "WEBVTT title\nX-TIMESTAMP-MAP=LOCAL:00:00:00.000,MPEGTS:900000\n\n"
                          "REGION\nid:r\nlines:2\n\nNOTE one\n\n"
                          "intro\n00:00:01.000 --> 00:00:02.000 region:r align:start\n"
                          "<v Mary>a<00:00:01.500>b</v>\n\n"
                          "NOTE two\n\n2\n00:00:02.000 --> 00:00:03.000 size:50%\n<ruby>c<rt>d</rt></ruby>\n\n"
                          "NOTE three\n\n");
}

TEST(Convert, MapsTheTimesOfWebVttToThoseOfAStream) {
    const TemporaryFolder folder;
    const std::string cue = "\n1\n00:00:01.000 --> 00:00:02.000\na\n\n";
    const std::string map = "X-TIMESTAMP-MAP=LOCAL:00:00:00.000,MPEGTS:";
    const std::string file = folder.write("in.srt", kOneCue);
    EXPECT_EQ(converted(file, "vtt", {"--timestamp-map", "900000"}).out, "WEBVTT\n" + map + "900000\n" + cue);
    const std::string vtt = folder.write("in.vtt", "WEBVTT\nLanguage: en\n" + map + "7\n" + cue);
    EXPECT_EQ(converted(vtt, "vtt").out, "WEBVTT\nLanguage: en\n" + map + "7\n" + cue);
    EXPECT_EQ(converted(vtt, "vtt", {"--timestamp-map", "8589934591"}).out,
              "WEBVTT\n" + map + "8589934591\nLanguage: en\n" + cue);
    EXPECT_EQ(converted(file, "vtt", {"--timestamp-map", "8589934592"}).exitCode, 2);
    const ToolResult other = converted(file, "srt", {"--timestamp-map", "1"});
    EXPECT_EQ(other.exitCode, 2);
    EXPECT_NE(other.err.find("--timestamp-map is for WebVTT only"), std::string::npos);
}

TEST(Convert, DefinesColorsOfWebVttWhereItIsAskedTo) {
    const TemporaryFolder folder;
    const std::string orange = "1\n00:00:01,000 --> 00:00:02,000\n<font color=\"#ffa500\">a</font> <i>b</i>\n\n";
    const std::string file =
        folder.write("in.srt", orange + "2\n00:00:02,000 --> 00:00:03,000\n<font color=\"#ff0000\">c</font>\n\n");
    const ToolResult nearest = converted(file, "vtt", {"--report"});
    EXPECT_EQ(nearest.out, "WEBVTT\n\n1\n00:00:01.000 --> 00:00:02.000\n<c.yellow>a</c> <i>b</i>\n\n"
                           "2\n00:00:02.000 --> 00:00:03.000\n<c.red>c</c>\n\n");
    EXPECT_NE(nearest.err.find("WebVTT does not carry: more colours"), std::string::npos);

    const ToolResult exact = converted(file, "vtt", {"--report", "--style-sheet", "--strict"});
    EXPECT_EQ(exact.exitCode, 0) << exact.err;
    EXPECT_EQ(exact.err.find("colour"), std::string::npos) << exact.err;
    EXPECT_EQ(exact.out, "WEBVTT\n\nSTYLE\n::cue(.rgbffa500) {color: #ffa500}\n\n"
                         "1\n00:00:01.000 --> 00:00:02.000\n<c.rgbffa500>a</c> <i>b</i>\n\n"
                         "2\n00:00:02.000 --> 00:00:03.000\n<c.red>c</c>\n\n");
    // Read back, the style sheet is no loss, and written again it is the same.
    const std::string vtt = folder.write("in.vtt", exact.out);
    const ToolResult back = converted(vtt, "srt", {"--strict"});
    EXPECT_EQ(back.exitCode, 0) << back.err;
    EXPECT_EQ(back.out, folder.read("in.srt"));
    const ToolResult again = converted(vtt, "vtt", {"--report", "--strict"});
    EXPECT_EQ(again.out, exact.out);
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(again.err.find("colour"), std::string::npos) << again.err;
    EXPECT_EQ(converted(vtt, "vtt", {"--style-sheet"}).out, exact.out);
    const std::string json = folder.write("in.json", converted(vtt, "json").out);
    EXPECT_EQ(converted(json, "vtt").out, exact.out);

    const ToolResult other = converted(file, "srt", {"--style-sheet"});
    EXPECT_EQ(other.exitCode, 2);
    EXPECT_NE(other.err.find("--style-sheet is for WebVTT only"), std::string::npos);
}

TEST(Convert, LooksForColorsOfWebVttInTheFirstThousandCues) {
    const TemporaryFolder folder;
    std::string text;
    for (int cue = 1; cue <= 1001; ++cue) {
        const std::string color = cue == 1000 ? "#ffa500" : cue == 1001 ? "#008080" : "#ffffff";
        const std::string time = "00:" + std::to_string(10 + cue / 60) + ":" + std::to_string(100 + cue % 60).substr(1);
        text +=
            std::to_string(cue) + "\n" + time + ",000 --> " + time + ",900\n<font color=\"" + color + "\">a</font>\n\n";
    }
    const ToolResult result = converted(folder.write("in.srt", text), "vtt", {"--style-sheet"});
    EXPECT_NE(result.out.find("::cue(.rgbffa500)"), std::string::npos);
    EXPECT_NE(result.out.find("<c.rgbffa500>a</c>"), std::string::npos);
    EXPECT_EQ(result.out.find("rgb008080"), std::string::npos);
    EXPECT_NE(result.out.find("<c.cyan>a</c>"), std::string::npos);
    EXPECT_NE(result.err.find("cue 1001"), std::string::npos) << result.err;
}

TEST(Convert, MakesCuesOfWhatIsOnAirInAllFilesThatAreWritten) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:02,000", "00:00:03,000", "<i>a</i> b"}}));
    const struct {
        std::string name;
        Arguments written;
        Arguments read;
        bool hasServices = true;
    } cases[] = {
        {"a.klv", {"--to-rate", "29.97"}, {"--from-rate", "29.97"}},
        {"a.jsonl", {"--to-rate", "29.97"}, {}},
        {"a.mcc", {"--to-rate", "29.97"}, {}},
        {"a.scc", {}, {}, false},
        {"a.v210", {"--to-rate", "29.97"}, {"--from-rate", "29.97", "--lines", "9"}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        const std::string carrier = folder.path(each.name);
        for (const std::string option : {"--channel", "--service"}) {
            if (option == "--service" && !each.hasServices) {
                continue;
            }
            const Arguments chosen{option, option == "--service" ? "1" : "CC1"};
            Arguments written{"convert", file, "-o", carrier};
            written.insert(written.end(), each.written.begin(), each.written.end());
            written.insert(written.end(), chosen.begin(), chosen.end());
            Arguments read = each.read;
            read.insert(read.end(), chosen.begin(), chosen.end());
            const ToolResult made = runTool(written);
            ASSERT_EQ(made.exitCode, 0) << made.err;
            const ToolResult back = converted(carrier, "srt", read);
            EXPECT_EQ(back.exitCode, 0) << back.err;
            EXPECT_NE(back.out.find("<i>a </i>b\n"), std::string::npos) << back.out << back.err;
            EXPECT_NE(back.out.find("00:00:0"), std::string::npos);
        }
    }
    EXPECT_EQ(converted(folder.path("a.klv"), "srt", {"--service", "1", "--page", "888"}).exitCode, 2);
    EXPECT_EQ(converted(file, "srt", {"--service", "1"}).exitCode, 2);
    const ToolResult refused =
        runTool({"convert", folder.path("a.mcc"), "-o", folder.path("b.klv"), "--encoding", "UTF-8"});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_NE(refused.err.find("--encoding is for subtitles"), std::string::npos) << refused.err;
}

TEST(Convert, ComposesNoMoreThanFiftyCues) {
    const TemporaryFolder folder;
    std::string text;
    for (int number = 1; number <= 60; ++number) {
        text += std::to_string(number) + "\n00:00:" + std::to_string(number / 10) +
                std::to_string(number % 10 / 2 * 2) + ",000 --> 00:10:00,000\na\n\n";
    }
    const ToolResult result = converted(folder.write("in.srt", text), "srt", {"--overlap", "compose"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.err.find("10 cues not composed: 50 others"), std::string::npos) << result.err;
}

TEST(Convert, SaysWhatIsLostAndIsStrictWhereAsked) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.vtt", "WEBVTT\n\n00:00:01.000 --> 00:00:02.000 size:50%\n<v Mary><c.bg_red>a</c>\n\n");
    const ToolResult result = converted(file, "srt");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "1\n00:00:01,000 --> 00:00:02,000\na\n\n");
    EXPECT_EQ(result.err, "qlxcc: warning: " + file + ": cue 1: row 0: lost properties: 1\n" +
                              "qlxcc: warning: " + file + ": cue 1: row 1: styles of 1 part are lost\n" +
                              "qlxcc: warning: " + file + ": cue 1: row 1: lost properties: 1\n");
    EXPECT_EQ(converted(file, "srt", {"--strict"}).exitCode, 1);
    EXPECT_EQ(converted(file, "vtt", {"--strict"}).exitCode, 0);
}

TEST(Convert, GivesExitCodeOneWhenSomethingCouldNotBeRead) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kOneCue + "2\n00:00:xx,000 --> 00:00:05,000\nlost\n");
    const ToolResult result = converted(file, "vtt");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "WEBVTT\n\n1\n00:00:01.000 --> 00:00:02.000\na\n\n");
    EXPECT_EQ(result.err, "qlxcc: warning: " + file + ": line 6: time 1 of 2 cannot be read\n");
}

std::string times(const ToolResult& result) {
    std::string all;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
        all += line.find("-->") != std::string::npos ? line + ";" : "";
    }
    return all;
}

TEST(Convert, ChangesTimesInTheirOrderAndRoundsOnce) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"10:00:36,000", "10:00:37,001", "a"}}));
    const struct {
        Arguments options;
        std::string_view expected;
    } cases[] = {
        {{"--from-start", "10:00:00:00", "--from-rate", "25"}, "00:00:36,000 --> 00:00:37,001;"},
        // 10:00:00:00 of 29.97 frames/s, non-drop, is at 36036 s; drop-frame at 35999.964 s.
        {{"--from-start", "10:00:00:00", "--from-rate", "29.97"}, "00:00:00,000 --> 00:00:01,001;"},
        {{"--from-start", "10:00:00:00", "--from-rate", "29.97", "--drop"}, "00:00:36,036 --> 00:00:37,037;"},
        {{"--from-start", "10:00:00;00", "--from-rate", "29.97", "--non-drop"}, "00:00:00,000 --> 00:00:01,001;"},
        {{"--from-start", "10:00:00:00", "--from-rate", "59.94"}, "00:00:00,000 --> 00:00:01,001;"},
        {{"--from-start", "10:00:00:00", "--from-rate", "59.94", "--drop"}, "00:00:36,036 --> 00:00:37,037;"},
        {{"--from-start", "auto"}, "00:00:36,000 --> 00:00:37,001;"},
        {{"--from-start", "0"}, "10:00:36,000 --> 10:00:37,001;"},
        {{"--from-start", "10:00:00,000", "--scale", "1/2"}, "00:00:18,000 --> 00:00:18,501;"},
        {{"--from-start", "auto", "--scale", "25025/24000", "--offset", "-1", "--to-start", "01:00:00,000"},
         "01:00:36,538 --> 01:00:37,581;"},
        {{"--from-start", "auto", "--to-start", "10:00:00:00", "--to-rate", "29.97"}, "10:01:12,000 --> 10:01:13,001;"},
    };
    for (const auto& each : cases) {
        const ToolResult result = converted(file, "srt", each.options);
        EXPECT_EQ(times(result), each.expected) << each.options.back();
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.exitCode, 0);
    }
    const ToolResult late = converted(file, "srt");
    EXPECT_NE(late.err.find("the first cue begins at 10:00:36,000"), std::string::npos) << late.err;
    const ToolResult before = converted(file, "srt", {"--from-start", "11:00:00,000"});
    EXPECT_EQ(times(before), "10:00:36,000 --> 10:00:37,001;");
    EXPECT_NE(before.err.find("1 cue before the start, which is not subtracted"), std::string::npos) << before.err;
}

TEST(Convert, SetsWideCuesAnew) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "one <i>two three four</i> five six"},
                                    {"00:00:03,000", "00:00:04,000", "short\nrows"},
                                    {"00:00:05,000", "00:00:06,000", "\u4E00\u4E01\u4E02 \u4E03\u4E04\u4E05"}}));
    const ToolResult result = converted(file, "srt", {"--wrap", "10", "--wrap-rows", "2"});
    // 27 columns take three rows of at most ten; two cannot hold them.
    EXPECT_EQ(result.out, "1\n00:00:01,000 --> 00:00:02,000\none <i>two</i>\n<i>three four</i>\nfive six\n\n"
                          "2\n00:00:03,000 --> 00:00:04,000\nshort\nrows\n\n"
                          "3\n00:00:05,000 --> 00:00:06,000\n\u4E00\u4E01\u4E02\n\u4E03\u4E04\u4E05\n\n");
    EXPECT_NE(result.err.find("1 cue wider or higher than asked for"), std::string::npos) << result.err;
    // Rows are about as wide as each other.
    EXPECT_EQ(converted(folder.write("b.srt", srt({{"00:00:01,000", "00:00:02,000", "aaaa bbbb cccc dddd"}})), "srt",
                        {"--wrap", "15"})
                  .out,
              "1\n00:00:01,000 --> 00:00:02,000\naaaa bbbb\ncccc dddd\n\n");
    // Marks take no column, and joined signs those of one: both rows have eight.
    const std::string marks =
        srt({{"00:00:01,000", "00:00:02,000", "a\u0301b\u0301c\u0301d\u0301 e\u0301f\u0301g"},
             {"00:00:03,000", "00:00:04,000", "\U0001F469\u200D\U0001F469\u200D\U0001F467 abcde"}});
    const std::string marked = folder.write("c.srt", marks);
    EXPECT_EQ(converted(marked, "srt", {"--wrap", "8"}).out, marks);
    const std::string wide = folder.write("d.srt", srt({{"00:00:01,000", "00:00:02,000",
                                                         "a\u0301b\u0301c\u0301d\u0301 "
                                                         "e\u0301f\u0301gh"}}));
    EXPECT_EQ(converted(wide, "srt", {"--wrap", "8"}).out,
              "1\n00:00:01,000 --> 00:00:02,000\na\u0301b\u0301c\u0301d\u0301\ne\u0301f\u0301gh\n\n");
}

TEST(Convert, PutsCuesInOrderAndApart) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:03,000", "00:00:05,000", "b"},
                                                         {"00:00:01,000", "00:00:04,000", "a"},
                                                         {"00:00:07,000", "00:00:08,000", "c"}}));
    EXPECT_EQ(times(converted(file, "srt")), "00:00:01,000 --> 00:00:04,000;00:00:03,000 --> 00:00:05,000;"
                                             "00:00:07,000 --> 00:00:08,000;");
    EXPECT_EQ(times(converted(file, "srt", {"--overlap", "cut"})),
              "00:00:01,000 --> 00:00:03,000;00:00:03,000 --> 00:00:05,000;00:00:07,000 --> 00:00:08,000;");
    const ToolResult composed = converted(file, "srt", {"--overlap", "compose"});
    EXPECT_EQ(times(composed), "00:00:01,000 --> 00:00:03,000;00:00:03,000 --> 00:00:04,000;"
                               "00:00:04,000 --> 00:00:05,000;00:00:07,000 --> 00:00:08,000;");
    EXPECT_NE(composed.out.find("\na\nb\n"), std::string::npos);
}

TEST(Convert, ReportsEachCueThatIsChanged) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:03,000", "00:00:05,000", "one-two-three"},
                                                         {"00:00:01,000", "00:00:04,000", "a"},
                                                         {"00:00:07,010", "00:00:07,030", "c"}}));
    const auto reported = [&](const Arguments& more, const std::string& format = "srt") {
        Arguments arguments = more;
        arguments.emplace_back("--report");
        std::string all;
        const std::string remark = "qlxcc: remark: " + file + ": the cue of ";
        for (const std::string& line : linesOf(converted(file, format, arguments).err)) {
            all += line.starts_with(remark) ? line.substr(remark.size()) + "\n" : "";
        }
        return all;
    };
    const std::string moved = "00:00:01,000: moved in front of cues that begin later\n";
    EXPECT_EQ(reported({}), moved);
    EXPECT_EQ(reported({"--overlap", "cut"}), moved + "00:00:01,000: cut at the start of the next one\n");
    EXPECT_EQ(reported({"--overlap", "compose"}), moved + "00:00:03,000: made of several that are shown together\n");
    EXPECT_EQ(reported({"--wrap", "8"}), moved + "00:00:03,000: wider or higher than asked for\n");
    EXPECT_EQ(reported({"--from-start", "00:00:02,000"}),
              "00:00:01,000: before the start, which is not subtracted from them\n");
    EXPECT_EQ(reported({"--to-rate", "25", "--channel", "CC1"}, "klv"),
              moved + "00:00:07,040: shorter than a frame, which last one\n");
    const ToolResult plain = converted(file, "srt", {"--overlap", "cut"});
    EXPECT_EQ(plain.err, "qlxcc: warning: " + file + ": 1 cue moved in front of cues that begin later\n" +
                             "qlxcc: warning: " + file + ": 1 cue cut at the start of the next one\n");
}

TEST(Convert, ComposesCuesThatLastNoTimeAndCountsThePieces) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:04,000", "a"},
                                                         {"00:00:02,000", "00:00:02,000", "flash"},
                                                         {"00:00:03,000", "00:00:05,000", "b"},
                                                         {"00:00:07,000", "00:00:08,000", "c"}}));
    EXPECT_EQ(converted(file, "srt", {"--overlap", "compose"}).out, "1\n00:00:01,000 --> 00:00:02,000\na\n\n"
                                                                    "2\n00:00:02,000 --> 00:00:02,001\nflash\n\n"
                                                                    "3\n00:00:02,000 --> 00:00:03,000\na\n\n"
                                                                    "4\n00:00:03,000 --> 00:00:04,000\na\nb\n\n"
                                                                    "5\n00:00:04,000 --> 00:00:05,000\nb\n\n"
                                                                    "6\n00:00:07,000 --> 00:00:08,000\nc\n\n");
    // Names are those of the first pieces.
    const std::string named =
        folder.write("in.vtt", "WEBVTT\n\nx\n00:01.000 --> 00:03.000\na\n\ny\n00:02.000 --> 00:04.000\nb\n");
    const std::string composed = converted(named, "vtt", {"--overlap", "compose"}).out;
    EXPECT_NE(composed.find("\n\nx\n00:00:01.000"), std::string::npos) << composed;
    EXPECT_NE(composed.find("\n\n00:00:02.000"), std::string::npos) << composed;
    EXPECT_NE(composed.find("\n\ny\n00:00:03.000"), std::string::npos) << composed;
    // Also with others between the pieces, and where two cues have one name.
    const std::string apart = folder.write("apart.vtt", "WEBVTT\n\nx\n00:01.000 --> 00:04.000 line:0\na\n\n"
                                                        "y\n00:02.000 --> 00:03.000\nb\n\n"
                                                        "x\n00:05.000 --> 00:06.000\nc\n\n");
    EXPECT_EQ(converted(apart, "vtt", {"--overlap", "compose"}).out,
              "WEBVTT\n\nx\n00:00:01.000 --> 00:00:02.000 line:0\na\n\n"
              "00:00:02.000 --> 00:00:03.000 line:0\na\n\ny\n00:00:02.000 --> 00:00:03.000\nb\n\n"
              "00:00:03.000 --> 00:00:04.000 line:0\na\n\nx\n00:00:05.000 --> 00:00:06.000\nc\n\n");
}

// What stands beside the text is written once, or said to be lost.
TEST(Convert, ComposesWhatCuesSayBesideTheirText) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.vtt", "WEBVTT\n\nNOTE one\n\nx\n00:01.000 --> 00:04.000\na\n\n"
                               "NOTE two\n\ny\n00:02.000 --> 00:03.000\nb\n\n00:03.500 --> 00:04.000\nc\n");
    const ToolResult composed = converted(file, "vtt", {"--overlap", "compose"});
    EXPECT_EQ(composed.out, "WEBVTT\n\nNOTE one\n\nx\n00:00:01.000 --> 00:00:02.000\na\n\n"
                            "NOTE two\n\n00:00:02.000 --> 00:00:03.000\na\nb\n\n"
                            "00:00:03.000 --> 00:00:03.500\na\n\n00:00:03.500 --> 00:00:04.000\na\nc\n\n");
    EXPECT_EQ(composed.err, "qlxcc: warning: " + file + ": 2 cues made of several that are shown together\n" +
                                "qlxcc: warning: " + file +
                                ": 1 cue shown with others, as one of which their name, language, group and settings "
                                "are lost\n");
    // The group of the second is that of the first, the group of the third is not.
    const auto cue = [](int start, int end, int group, const std::string& comment) {
        const auto time = [](int seconds) { return R"({"value":)" + std::to_string(seconds) + R"(,"timescale":1})"; };
        return R"({"start":)" + time(start) + R"(,"end":)" + time(end) +
               R"(,"properties":[{"name":"stl.group","value":")" + std::to_string(group) + R"("})" + comment +
               R"(],"rows":[{"runs":[{"text":"x"}]}]})";
    };
    // A block of comment: 128 bytes, code 01 in the sixteenth.
    std::string block = "before 0 0 1000 00000000000000000000000000000001";
    for (int byte = 16; byte < 128; ++byte) {
        block += byte == 16 ? "43" : "8f";
    }
    const std::string comment = R"(,{"name":"stl.comment","value":")" + block + R"("})";
    const std::string json =
        folder.write("in.json", R"({"schema":"qlxcc/subtitles/1","cues":[)" + cue(1, 5, 3, "") + "," +
                                    cue(2, 3, 3, comment) + "," + cue(3, 4, 4, comment) + "]}");
    const std::string stl = folder.path("out.stl");
    const ToolResult groups = runTool({"convert", json, "-o", stl, "--overlap", "compose"});
    EXPECT_EQ(groups.exitCode, 0);
    EXPECT_NE(groups.err.find(": 1 cue shown with others, as one of"), std::string::npos) << groups.err;
    // Four pieces of group 3, and two comments.
    const std::string bytes = folder.read("out.stl");
    ASSERT_EQ(bytes.size(), 1024U + 6 * 128);
    std::string kinds;
    for (std::size_t place = 1024; place < bytes.size(); place += 128) {
        kinds += bytes[place + 15] == 1 ? "C" : std::to_string(static_cast<int>(bytes[place]));
    }
    EXPECT_EQ(kinds, "3C3C33");
}

TEST(Convert, KeepsCodesOfRunsWithoutLettersWhenItWraps) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "in.srt", srt({{"00:00:01,000", "00:00:02,000", "aaaa {\\k20} bbbb {\\fad(1,2)}cccc dddd{\\k30}"}}));
    const std::string wrapped = converted(file, "srt", {"--wrap", "10"}).out;
    for (const std::string_view code : {"{\\k20}", "{\\fad(1,2)}", "{\\k30}"}) {
        EXPECT_NE(wrapped.find(code), std::string::npos) << wrapped;
    }
}

TEST(Convert, SaysWhatHasNoEffectAndWhatOfAFileIsLost) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kOneCue);
    const auto said = [&](const Arguments& more) { return converted(file, "srt", more).err; };
    EXPECT_EQ(said({}), "");
    EXPECT_NE(said({"--from-rate", "25"}).find("--from-rate is without effect"), std::string::npos);
    EXPECT_NE(said({"--to-rate", "25"}).find("--to-rate is without effect"), std::string::npos);
    EXPECT_NE(said({"--drop"}).find("--drop is without effect"), std::string::npos);
    EXPECT_EQ(said({"--from-rate", "29.97", "--drop", "--to-start", "01:00:00;00"}), "");
    // A name that says nothing may be that of timed text that counts frames.
    EXPECT_EQ(converted(folder.write("nameless", kOneCue), "srt", {"--drop"}).err, "");
    const std::string vtt =
        folder.write("in.vtt", "WEBVTT - title\nX-TIMESTAMP-MAP=LOCAL:00:00:00.000,MPEGTS:900000\n\n"
                               "STYLE\n::cue { opacity: 0.5 }\n\n"
                               "00:01.000 --> 00:02.000\na\n\nNOTE behind\n");
    const ToolResult lost = converted(vtt, "srt", {"--strict"});
    EXPECT_EQ(lost.exitCode, 1);
    EXPECT_NE(
        lost.err.find("4 parts of the file besides cues are lost: 2 lines of the header (X-TIMESTAMP-MAP, which is "
                      "not applied), 2 blocks"),
        std::string::npos)
        << lost.err;
    EXPECT_EQ(converted(vtt, "vtt", {"--strict"}).exitCode, 0);
    // One part, and none of the other kind.
    for (const auto& [head, words] :
         {std::pair{"WEBVTT - title\n\n", "1 part of the file besides cues is lost: 1 line of the header\n"},
          std::pair{"WEBVTT\n\nNOTE here\n\n",
                    "1 part of the file besides cues is lost: 1 block (STYLE, REGION, NOTE)\n"},
          std::pair{"WEBVTT\n\nNOTE a\n\nNOTE b\n\n",
                    "2 parts of the file besides cues are lost: 2 blocks (STYLE, REGION, NOTE)\n"}}) {
        const std::string one = folder.write("one.vtt", std::string(head) + "00:01.000 --> 00:02.000\na\n");
        EXPECT_EQ(converted(one, "srt").err, "qlxcc: warning: " + one + ": " + words);
    }
}

TEST(Convert, TellsTheEncodingOfATextAndSaysIt) {
    const TemporaryFolder folder;
    const std::string head = "1\n00:00:01,000 --> 00:00:02,000\n";
    const auto wide = [](std::string_view text, bool isBig) {
        std::string result;
        for (const char character : text) {
            result += isBig ? std::string{'\0', character} : std::string{character, '\0'};
        }
        return result;
    };
    const struct {
        std::string bytes;
        Arguments options;
        std::string_view row;
        std::string_view said;
        int exitCode = 0;
    } cases[] = {
        {head + "\u00E9\n", {}, "\u00E9", ""},
        {"\xEF\xBB\xBF" + head + "\u00E9\n", {}, "\u00E9", ""},
        {head + "\xE9\x80\n", {}, "\u00E9\u20AC", "read as windows-1252"},
        {head + std::string(70'000, 'x') + "\n\n" + "2\n00:00:03,000 --> 00:00:04,000\n\xE9\n",
         {},
         "\u00E9",
         "read as windows-1252"},
        {"\xFF\xFE" + wide(head + "e\n", false), {}, "e", "read as UTF-16: its byte order mark says so"},
        {wide(head + "e\n", false), {}, "e", "read as UTF-16LE: its zero bytes say so"},
        {wide(head + "e\n", true), {}, "e", "read as UTF-16BE: its zero bytes say so"},
#ifdef QLX_TOOL_UCHARDET
        {head + "Za\xBF\xF3\xB3\xE6 g\xEA\x9Cl\xB9 ja\x9F\xF1. To polski tekst: \x9Cwiat\xB3o, \xBFycie, "
                "mi\xB3o\x9C\xE6.\n",
         {},
         "Zażółć gęślą jaźń. To polski tekst: światło, życie, miłość.",
         "read as windows-1250: libuchardet takes it for that"},
#endif
        {head + "\xE1\n", {"--encoding", "windows-1250"}, "\u00E1", ""},
        {head + "\xB9\n", {"--encoding", "windows-1250"}, "\u0105", ""},
        {head + "\x93"
                "a\n",
         {"--encoding", "ISO-8859-1"},
         "\u201C"
         "a",
         "read as windows-1252, which stands for ISO-8859-1\n"},
        {head + "\x80\n", {"--encoding", "latin1"}, "\u20AC", "read as windows-1252, which stands for latin1\n"},
        {head + "\x80\n", {"--encoding", "ISO_8859-1"}, "\u20AC", "windows-1252, which stands for ISO_8859-1\n"},
        // The first half of a pair alone, and a number that is no character: what is behind them is read.
        {"\xFF\xFE" + wide(head + "a", false) + std::string("\x01\xD8") + wide("b\n", false),
         {},
         "a\uFFFDb",
         "0x01 is not UTF-16",
         1},
        {"\xFE\xFF" + wide(head + "a", true) + std::string("\xDC\x01") + wide("b\n", true),
         {},
         "a\uFFFDb",
         "0xDC is not UTF-16",
         1},
        {head + "a\x81"
                "b\n",
         {"--encoding", "windows-1252"},
         "a\uFFFD"
         "b",
         "byte 33: 0x81 is not windows-1252",
         1},
    };
    for (const auto& each : cases) {
        const ToolResult result = converted(folder.write("in.srt", each.bytes), "srt", each.options);
        EXPECT_EQ(result.exitCode, each.exitCode) << each.row << result.err;
        EXPECT_NE(result.out.find("\n" + std::string(each.row) + "\n\n"), std::string::npos) << each.row << result.out;
        EXPECT_EQ(each.said.empty(), result.err.empty()) << result.err;
        EXPECT_NE(result.err.find(each.said), std::string::npos) << result.err;
        // The other commands read it alike.
        Arguments list{"subs", folder.path("in.srt")};
        Arguments play = qlxtest::playArguments(folder.path("in.srt"), "25");
        list.insert(list.end(), each.options.begin(), each.options.end());
        play.insert(play.end(), each.options.begin(), each.options.end());
        const ToolResult listed = runTool(list);
        EXPECT_NE(listed.out.find("  " + std::string(each.row) + "\n"), std::string::npos) << listed.out << listed.err;
        EXPECT_NE(listed.out.find(each.said), std::string::npos) << listed.out;
        EXPECT_EQ(each.said.empty(), listed.out.find("remark: ") == std::string::npos) << listed.out;
        const ToolResult played = runTool(play);
        EXPECT_NE(played.out.find("  " + std::string(each.row) + "\n"), std::string::npos) << played.out << played.err;
        EXPECT_NE(played.err.find(each.said), std::string::npos) << played.err;
    }
}

TEST(Convert, MakesCuesOfCaptionsOnAir) {
    const TemporaryFolder folder;
    // Pop-on: "Hi" on row 14, column 5 (an indent of 4), shown with EOC in the frame of its pair, cleared with EDM.
    const std::string scc = folder.write("in.scc", "Scenarist_SCC V1.0\n\n"
                                                   "00:00:01:00\t9420 9420 94d0 94d0 9452 9452 c8e9 942f 942f\n\n"
                                                   "00:00:03:00\t942c 942c\n\n");
    const ToolResult result = converted(scc, "vtt");
    EXPECT_EQ(result.exitCode, 0);
    // The 32 columns of captions fill the inner 80 % of the picture: the fifth begins at 10 % and 4/32 of these.
    // EOC is the eighth pair: frame 37 of 1001/30000 s is 1.2346 s; EDM is frame 90, 3.003 s.
    EXPECT_EQ(result.out, "WEBVTT\n\n1\n00:00:01.235 --> 00:00:03.003 line:79.33% position:20%,line-left align:left\n"
                          "Hi\n\n");
}

// Rows at both edges of the screen, in its middle and between, and two of which neither begins where the other one does.
TEST(Convert, PutsCaptionsBackOnTheirColumns) {
    const TemporaryFolder folder;
    const std::string srt =
        folder.write("in.srt", "1\n00:00:02,000 --> 00:00:04,000\nHello there you\nsecond row is longer\n\n"
                               "2\n00:00:05,000 --> 00:00:07,000\n{\\an7}Top left\n\n3\n00:00:08,000 --> "
                               "00:00:10,000\n{\\an3}Right\nmore of it\n\n"
                               "4\n00:00:11,000 --> 00:00:12,000\n{\\an1}Left\nsome rows of twenty-eight let\n\n"
                               "5\n00:00:13,000 --> 00:00:14,000\n{\\an5}Mid\n\n");
    const std::string scc = folder.path("a.scc");
    ASSERT_EQ(runTool({"convert", srt, "-o", scc, "--channel", "CC1"}).exitCode, 0);
    for (const std::string name : {"a.srt", "a.vtt", "a.ttml", "a.json", "a.stl"}) {
        SCOPED_TRACE(name);
        const ToolResult there = runTool({"convert", scc, "-o", folder.path(name), "--strict", "--report"});
        EXPECT_EQ(there.exitCode, 0) << there.err;
        EXPECT_EQ(there.err.find("does not carry"), std::string::npos) << there.err;
        EXPECT_EQ(runTool({"convert", folder.path(name), "-o", folder.path("b.scc"), "--channel", "CC1"}).exitCode, 0);
        EXPECT_EQ(folder.read("b.scc"), folder.read("a.scc"));
    }
}

TEST(Convert, RefusesWhatMakesNoSense) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kOneCue);
    const struct {
        Arguments options;
        std::string_view said;
    } cases[] = {
        {{"--channel", "CC1"}, "has cues"},
        {{"--scale", "1"}, "--scale"},
        {{"--scale", "0/1"}, "--scale"},
        {{"--drop", "--non-drop"}, "cannot be given together"},
        {{"--from-start", "10:00:00:00"}, "--from-rate is needed"},
        {{"--to-start", "10:00:00:00"}, "--to-start: --to-rate is needed"},
        {{"--offset", "00:00:01:00"}, "--offset: --from-rate is needed"},
        {{"--offset", "-00:00:01:00"}, "--offset: --from-rate is needed"},
        {{"--encoding", "nothing"}, "no encoding"},
        {{"--page", "999"}, "not a page"},
    };
    for (const auto& each : cases) {
        const ToolResult result = converted(file, "srt", each.options);
        EXPECT_EQ(result.exitCode, 2) << each.said;
        EXPECT_NE(result.err.find(each.said), std::string::npos) << result.err;
    }
    EXPECT_EQ(runTool({"convert", file, "-o", "-"}).exitCode, 2);
    EXPECT_EQ(runTool({"convert", file, "-o", file, "--to-format", "srt"}).exitCode, 1);
}

}  // namespace
}  // namespace convert_tests
