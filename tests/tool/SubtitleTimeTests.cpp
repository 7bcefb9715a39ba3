// The times of SRT and JSON files that are none, or are read as something else than they look like.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using qlxtest::deployedTeletextArguments;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using Lines = std::vector<std::string>;

/// The lines of `subs` behind the title: the cues as `start text`, and what was left out.
Lines listed(const std::string& content, const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"subs", "-"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ToolResult result = runTool(arguments, {.input = content});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    Lines lines;
    for (const std::string& line : linesOf(result.out)) {
        if (line.starts_with("   cue")) {
            continue;
        }
        const bool isCue = line.starts_with("    ");
        lines.push_back(isCue ? line.substr(8, 12) + " " + line.substr(line.rfind(' ') + 1) : line);
    }
    return lines;
}

TEST(SubtitleTimes, LeaveOutTheSRTCuesWhoseTimesAreNone) {
    // A cue between others, so that they must stay what they are; with `abc` the library would play one from 0 on.
    EXPECT_EQ(listed(srt({{"00:00:01,000", "00:00:02,000", "first"},
                          {"0:00:01.5", "0:00:03.5", "points"},
                          {"00:00:01:00", "00:00:03:00", "frames"},
                          {"abc", "00:00:02,000", "letters"},
                          {"00:00:03,000", "00:00:04,000", "between"},
                          {"00:00:01,000", "", "nothing"},
                          {"-00:00:01,000", "00:00:02,000", "negative"},
                          {"00:00:01,000", "00:00:02,000 X1:1,Y2:2", "commas"},
                          {"00:00:05,000", "00:00:06,000", "last"}}),
                     {"--as-deployed"}),
              (Lines{"00:00:01,000 first", "00:00:03,000 between", "00:00:05,000 last",
                     "line 6: cue left out: the start \"0:00:01.5\" is no time (HH:MM:SS,mmm)",
                     "line 10: cue left out: the start \"00:00:01:00\" is no time (HH:MM:SS,mmm)",
                     "line 14: cue left out: the start \"abc\" is no time (HH:MM:SS,mmm)",
                     "line 22: cue left out: the end \"\" is no time (HH:MM:SS,mmm)",
                     "line 26: cue left out: the start \"-00:00:01,000\" is no time (HH:MM:SS,mmm)",
                     "line 30: cue left out: the end \"00:00:02,000 X1:1,Y2:2\" is no time (HH:MM:SS,mmm)",
                     "standard input (SRT): 3 cues, 6 left out"}));
}

TEST(SubtitleTimes, KeepTheSRTCuesWhoseTimesAreWrittenInAnotherWay) {
    EXPECT_EQ(listed(srt({{"0:00:01,000", "0:00:02,000", "short"},
                          {" 00:00:02,000", " 00:00:03,000 ", "blanks"},
                          {"00:00:03,000", "00:00:04,000 X1:117 X2:612", "place"},
                          {"00:00:04,000", "00:00:05,000\u00A0", "unbroken"}})),
              (Lines{"00:00:01,000 short", "00:00:02,000 blanks", "00:00:03,000 place", "00:00:04,000 unbroken",
                     "standard input (SRT): 4 cues, 0 left out"}));
}

TEST(SubtitleTimes, SayHowSRTTimesBeyondAClockAreRead) {
    EXPECT_EQ(listed(srt({{"00:75:00,000", "00:76:00,000", "minutes"},
                          {"00:00:01,50", "00:00:60,000", "few"},
                          {"00:00:01,500000", "00:00:03,000", "many"}}),
                     {"--as-deployed"}),
              (Lines{"01:15:00,000 minutes", "00:00:01,050 few",
                     "line 2: remark: the start \"00:75:00,000\" is read as 01:15:00,000",
                     "line 2: remark: the end \"00:76:00,000\" is read as 01:16:00,000",
                     "line 6: remark: the start \"00:00:01,50\" is read as 00:00:01,050",
                     "line 6: remark: the end \"00:00:60,000\" is read as 00:01:00,000",
                     "line 10: cue left out: the end \"00:00:03,000\" is not later than the start \"00:00:01,500000\" "
                     "(HH:MM:SS,mmm); the start \"00:00:01,500000\" is read as 00:08:21,000",
                     "standard input (SRT): 2 cues, 1 left out"}));
}

TEST(SubtitleTimes, OfSRTCuesAreReadAsTheyAreSeenInFiles) {
    EXPECT_EQ(listed(srt({{"0:00:01.5", "0:00:03.5", "point"},
                          {"00:02,5", "01:39", "short"},
                          {"abc", "00:00:02,000", "letters"},
                          {"00:00:06,000", "00:00:05,000", "backwards"},
                          {"00:75:00,000", "00:76:00,000", "minutes"}})),
              (Lines{"00:00:01,500 point", "00:00:02,500 short", "01:15:00,000 minutes",
                     "line 10: cue left out: time 1 of 2 cannot be read",
                     "line 14: cue left out: the end, 5000 ms, is not later than the start, 6000 ms",
                     "standard input (SRT): 3 cues, 2 left out"}));
}

TEST(SubtitleTimes, PlayNoSRTCueFromTheBeginningWhoseStartIsNoTime) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.srt", srt({{"0:00:03.5", "00:00:05,000", "weg"}, {"00:00:01,000", "00:00:02,000", "da"}}));
    const ToolResult result = runTool(deployedTeletextArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "qlxcc: warning: " + file +
                              ": line 2: cue left out: the start \"0:00:03.5\" is no time (HH:MM:SS,mmm)\n");
    EXPECT_EQ(result.out.find("weg"), std::string::npos);
    EXPECT_NE(result.out.find("da"), std::string::npos);
}

/// The keys of an element, and what `subs` says of it when it leaves it out.
using LeftOut = std::vector<std::pair<std::string, std::string>>;

/// Checks that elements behind a good cue are left out, each with its remark, and that the cue is there.
void expectLeftOut(const LeftOut& elements) {
    std::string file = R"([{"start_time_seconds":1,"end_time_seconds":2,"text_lines":[{"text":"ok"}]})";
    Lines expected{"00:00:01,000 ok"};
    std::size_t number = 1;
    for (const auto& [keys, said] : elements) {
        file += ",{" + keys + R"(,"text_lines":[{"text":"x"}]})";
        expected.push_back("element " + std::to_string(++number) + ": cue left out: " + said);
    }
    expected.push_back("standard input (JSON): 1 cue, " + std::to_string(elements.size()) + " left out");
    EXPECT_EQ(listed(file + "]"), expected);
}

TEST(SubtitleTimes, LeaveOutTheJsonCuesWhoseTimecodesAreNone) {
    const std::vector<std::string> values{R"("abc")",
                                          R"("00:00:01:12")",
                                          R"("00:00:01.500")",
                                          R"("NaN")",
                                          R"("")",
                                          R"("-00:00:01,000")",
                                          R"("00:00:01,500,3")",
                                          "5",
                                          "-1",
                                          "1.5",
                                          "true",
                                          "[]",
                                          "{}"};
    LeftOut elements;
    for (const std::string& value : values) {
        elements.push_back({R"("start_timecode":)" + value + R"(,"end_timecode":"00:00:09,000")",
                            R"("start_timecode" is no time (HH:MM:SS,mmm): )" + value});
        elements.push_back({R"("start_timecode":"00:00:01,000","end_timecode":)" + value,
                            R"("end_timecode" is no time (HH:MM:SS,mmm): )" + value});
    }
    elements.push_back({R"("start_timecode":"00:00:01.500","end_timecode":"00:00:03.250")",
                        R"("start_timecode" is no time (HH:MM:SS,mmm): "00:00:01.500")"});
    elements.push_back({R"("start_timecode":")" + std::string(60, 'x') + R"(","end_timecode":"00:00:09,000")",
                        R"("start_timecode" is no time (HH:MM:SS,mmm): ")" + std::string(39, 'x') + "..."});
    expectLeftOut(elements);
}

TEST(SubtitleTimes, LeaveOutTheJsonCuesWhoseSecondsAreNone) {
    const std::vector<std::string> values{R"("abc")", R"("NaN")", R"("inf")", R"("")",      R"("-1")",
                                          R"("1,5")", R"("1 s")", R"("1:5")", R"("1e999")", "-1",
                                          "-0.5",     "true",     "false",    "[1]",        R"({"a":1})"};
    LeftOut elements;
    for (const std::string& value : values) {
        // The library reads a timecode only where there are no seconds.
        elements.push_back(
            {R"("start_time_seconds":)" + value + R"(,"start_timecode":"00:00:01,000","end_time_seconds":9)",
             R"("start_time_seconds" is no time in seconds: )" + value});
        elements.push_back({R"("start_time_seconds":1,"end_time_seconds":)" + value,
                            R"("end_time_seconds" is no time in seconds: )" + value});
    }
    expectLeftOut(elements);
}

TEST(SubtitleTimes, LeaveOutTheJsonCuesThatLackATime) {
    const std::string noStart = R"(no start: neither "start_time_seconds" nor "start_timecode")";
    const std::string noEnd = R"(no end: neither "end_time_seconds" nor "end_timecode")";
    expectLeftOut({{R"("end_time_seconds":9)", noStart},
                   {R"("start_time_seconds":null,"start_timecode":null,"end_time_seconds":9)", noStart},
                   {R"("start_frame_timecode":"00:00:01:00","end_time_seconds":9)", noStart},
                   {R"("start_time_seconds":1)", noEnd},
                   {R"("start_time_seconds":1,"end_timecode":null)", noEnd}});
}

TEST(SubtitleTimes, KeepTheJsonCuesWhoseTimesAreThere) {
    const auto start = [](const std::string& keys) {
        return listed("[{" + keys + R"(,"end_time_seconds":9,"text_lines":[{"text":"x"}]}])").at(0);
    };
    for (const std::string keys :
         {R"("start_time_seconds":1.5)", R"("start_time_seconds":"1.5")", R"("start_time_seconds":" +1.5 ")",
          R"("start_time_seconds":"15e-1")", R"("start_time_seconds":1.5,"start_timecode":"abc")",
          R"("start_timecode":"00:00:01,500")", R"("start_time_seconds":null,"start_timecode":"0:0:1,500")"}) {
        EXPECT_EQ(start(keys), "00:00:01,500 x") << keys;
    }
    EXPECT_EQ(start(R"("start_time_seconds":0)"), "00:00:00,000 x");
}

TEST(SubtitleTimes, SayHowJsonTimesBeyondAClockAreRead) {
    const std::string cue = R"({"start_timecode":"00:00:61,000","end_timecode":"00:02:00,000",)"
                            R"("text_lines":[{"text":"x"}]})";
    const std::string never = R"({"start_timecode":"00:00:01,500000","end_timecode":"00:00:09,000",)"
                              R"("text_lines":[{"text":"y"}]})";
    EXPECT_EQ(listed("[" + cue + "," + never + "]"),
              (Lines{"00:01:01,000 x", R"(element 1: remark: "start_timecode" "00:00:61,000" is read as 00:01:01,000)",
                     R"(element 2: cue left out: the end is not later than the start; )"
                     R"("start_timecode" "00:00:01,500000" is read as 00:08:21,000)",
                     "standard input (JSON): 1 cue, 1 left out"}));
}

TEST(SubtitleTimes, FailOfAFileNameTheTime) {
    const ToolResult result = runTool(
        {"subs", "-"}, {.input = R"([{"start_timecode":"abc","end_time_seconds":9,"text_lines":[{"text":"a"}]}])"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: standard input: no valid subtitle in the file: element 1: \"start_timecode\" is no "
                          "time (HH:MM:SS,mmm): \"abc\"\n");
}

TEST(SubtitleTimes, OfManySRTCuesAreAllLeftOut) {
    // Every second cue, in more than is handed to the library at once.
    std::string content;
    for (int number = 0; number < 10000; ++number) {
        content += std::to_string(number) + (number % 2 == 0 ? "\n00:00:01,000" : "\n00:00:01.000") +
                   " --> 00:00:02,000\nBonjour " + std::to_string(number) + "\n\n";
    }
    const Lines lines = linesOf(runTool({"subs", "-", "--as-deployed"}, {.input = content}).out);
    ASSERT_EQ(lines.size(), 1 + 5000 + 1000 + 2U);
    EXPECT_TRUE(lines[5000].ends_with("Bonjour 9998")) << lines[5000];
    EXPECT_EQ(lines.back(), "standard input (SRT): 5000 cues, 5000 left out");
}

}  // namespace
