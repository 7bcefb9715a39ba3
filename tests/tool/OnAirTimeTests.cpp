// qlxcc convert and play: the same bytes of the same subtitles, at every rate and in every mode.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace on_air_time_tests {
namespace {

using qlxtest::converted;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using Arguments = std::vector<std::string>;

struct Rate {
    const char* name;
    std::int64_t frames;  ///< In so many thousandths of a second:
    std::int64_t seconds;
};

/// Frames of each begin at n x `seconds` / `frames` ms.
constexpr Rate kRates[] = {{"23.976", 24, 1001}, {"24", 24, 1000}, {"25", 25, 1000},    {"29.97", 30, 1001},
                           {"30", 30, 1000},     {"50", 50, 1000}, {"59.94", 60, 1001}, {"60", 60, 1000}};

std::string timeText(std::int64_t milliseconds) {
    char text[64];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d,%03d", static_cast<int>(milliseconds / 3'600'000),
                  static_cast<int>(milliseconds / 60'000 % 60), static_cast<int>(milliseconds / 1000 % 60),
                  static_cast<int>(milliseconds % 1000));
    return text;
}

/// The time of a frame in milliseconds, rounded half up.
std::int64_t millisecondsOf(std::int64_t frame, const Rate& rate) {
    return (2 * frame * rate.seconds + rate.frames) / (2 * rate.frames);
}

/// Cues about three seconds apart: on frames, a millisecond before and behind them, in the middle between two, and
/// anywhere; some begin as the one before ends, some last less than a frame.
std::string cuesFor(const Rate& rate, unsigned seed) {
    std::mt19937 random(seed);
    const auto upTo = [&random](std::int64_t most) {
        return static_cast<std::int64_t>(random() % static_cast<std::uint32_t>(most + 1));
    };
    std::string text;
    std::int64_t start = 0;
    std::int64_t last = 0;
    for (int number = 1; number <= 16; ++number) {
        const std::int64_t frame = (last + 1500 + upTo(2500)) * rate.frames / rate.seconds;
        const std::int64_t half = (2 * frame + 1) * rate.seconds / (2 * rate.frames);
        const std::int64_t choices[] = {millisecondsOf(frame, rate),
                                        millisecondsOf(frame, rate) - 1,
                                        millisecondsOf(frame, rate) + 1,
                                        half,
                                        half + 1,
                                        last + 1500 + upTo(2500)};
        const bool touches = number > 1 && upTo(4) == 0;
        start = touches ? last : choices[upTo(5)];
        const std::int64_t length = upTo(6) == 0 ? 1 + upTo(20) : 1200 + upTo(1500);
        last = start + length;
        text += std::to_string(number) + "\n" + timeText(start) + " --> " + timeText(last) + "\ncue " +
                std::to_string(number) + "\n\n";
    }
    return text;
}

struct Mode {
    Arguments played;
    Arguments converted;
    const char* format;
};

const Mode kModes[] = {
    {{"--mode", "cea608"}, {"--channel", "CC1"}, "klv"},
    {{"--mode", "cea608", "--channel", "CC3"}, {"--channel", "CC3"}, "jsonl"},
    {{"--mode", "cea608", "--style", "roll-up"}, {"--channel", "CC1", "--style", "roll-up"}, "klv"},
    {{"--mode", "cea608", "--style", "paint-on"}, {"--channel", "CC1", "--style", "paint-on"}, "mcc"},
    {{"--mode", "cea708"}, {"--service", "1"}, "klv"},
    {{"--mode", "captions"}, {"--channel", "CC1", "--service", "1"}, "mcc"},
    {{"--mode", "teletext"}, {"--page", "888"}, "klv"},
};

TEST(OnAirTimes, AreThoseOfPlayWhenConverted) {
    const TemporaryFolder folder;
    unsigned seed = 1;
    for (const Rate& rate : kRates) {
        for (const Mode& mode : kModes) {
            SCOPED_TRACE(std::string(rate.name) + " " + mode.played[1] + " " + mode.played.back());
            const std::string file = folder.write("in.srt", cuesFor(rate, seed++));
            Arguments play{"play", file, "--rate", rate.name, "--to-format", mode.format, "-o", folder.path("played")};
            play.insert(play.end(), mode.played.begin(), mode.played.end());
            const ToolResult played = runTool(play);
            ASSERT_EQ(played.exitCode, 0) << played.err;
            Arguments convert{"convert",     file,        "--to-rate", rate.name,
                              "--to-format", mode.format, "-o",        folder.path("converted")};
            convert.insert(convert.end(), mode.converted.begin(), mode.converted.end());
            const ToolResult result = runTool(convert);
            ASSERT_EQ(result.exitCode, 0) << result.err;
            EXPECT_TRUE(folder.read("played") == folder.read("converted"));
        }
    }
    const std::string file = folder.write("in.srt", cuesFor(kRates[3], seed));
    EXPECT_EQ(converted(file, "scc").out,
              runTool({"play", file, "--mode", "cea608", "--rate", "29.97", "--to-format", "scc"}).out);
}

/// The line of a schedule that has the only cue.
std::string lineOfCue(const std::string& schedule) {
    for (const std::string& line : linesOf(schedule)) {
        if (line.starts_with("     1  ")) {
            return line;
        }
    }
    return schedule;
}

/// The frame with which a time in milliseconds is on air.
std::int64_t frameOf(std::int64_t milliseconds, const Rate& rate) {
    const std::int64_t next = (milliseconds * rate.frames + rate.seconds - 1) / rate.seconds;
    return next > 0 && millisecondsOf(next - 1, rate) == milliseconds ? next - 1 : next;
}

TEST(OnAirTimes, AreFirstFramesAtOrBehindTheTime) {
    const TemporaryFolder folder;
    for (const Rate& rate : kRates) {
        for (const std::int64_t frame : {100, 101, 102, 103, 104, 107}) {
            const std::int64_t exact = millisecondsOf(frame, rate);
            const std::int64_t half = (2 * frame + 1) * rate.seconds / (2 * rate.frames);
            for (const std::int64_t start : {exact - 1, exact, exact + 1, half, half + 1}) {
                const std::string file =
                    folder.write("in.srt", srt({{timeText(start), timeText(start + 1700), "cue 1"}}));
                // On a page of teletext every frame has a place.
                const ToolResult shown = runTool({"subs", file, "--rate", rate.name, "--json"});
                ASSERT_EQ(shown.exitCode, 0) << shown.err;
                const ToolResult played = runTool({"play", file, "--mode", "cea708", "--rate", rate.name});
                ASSERT_EQ(played.exitCode, 0) << played.err;
                // It is due, and on air, with a frame that is not late.
                const std::int64_t due = frameOf(start, rate);
                const std::string time = timeText(millisecondsOf(due, rate));
                const std::string line = lineOfCue(played.out);
                EXPECT_NE(line.find("  " + time + "  " + time + "       " + std::to_string(due) + "     0  cue 1"),
                          std::string::npos)
                    << start << line;
                // Not above a minute, where no number is left out.
                char label[64];
                std::snprintf(label, sizeof label, "00:00:%02d%s%02d", static_cast<int>(due / rate.frames),
                              rate.seconds == 1001 && rate.frames != 24 ? ";" : ":",
                              static_cast<int>(due % rate.frames));
                EXPECT_NE(shown.out.find("\"start_frame_timecode\":\"" + std::string(label)), std::string::npos)
                    << label << shown.out;
            }
        }
    }
}

/// The timecodes of the lines of packets or pairs.
std::vector<std::string> timecodesOf(const std::string& text) {
    std::vector<std::string> timecodes;
    for (const std::string& line : linesOf(text)) {
        if (line.size() > 11 && line[2] == ':' && line[11] == '\t') {
            timecodes.push_back(line.substr(0, 11));
        }
    }
    return timecodes;
}

TEST(OnAirTimes, StayWhereAScenaristFileHasThem) {
    const TemporaryFolder folder;
    // One cue on each frame of a second, in as many seconds, and more.
    std::string text;
    for (std::int64_t number = 1; number <= 40; ++number) {
        const std::int64_t start = millisecondsOf(91 * number, kRates[3]);
        const std::int64_t end = millisecondsOf(91 * number + 50 + number % 7, kRates[3]);
        text += std::to_string(number) + "\n" + timeText(start) + " --> " + timeText(end) + "\n{\\an2}cue\n\n";
    }
    const std::string first = converted(folder.write("in.srt", text), "scc").out;
    const std::string file = folder.write("a.scc", first);
    ASSERT_EQ(timecodesOf(first).size(), 81U) << first;
    EXPECT_EQ(timecodesOf(first).at(1), "00:00:03;01");
    EXPECT_EQ(timecodesOf(first).at(3), "00:00:06;02");
    // As they are, and through files that state milliseconds.
    EXPECT_EQ(runTool({"play", file, "--mode", "cea608", "--rate", "29.97", "--to-format", "scc"}).out, first);
    for (const std::string format : {"srt", "vtt", "ttml", "json"}) {
        const std::string cues = folder.path("b." + format);
        ASSERT_EQ(runTool({"convert", file, "-o", cues}).exitCode, 0);
        EXPECT_EQ(timecodesOf(converted(cues, "scc").out), timecodesOf(first)) << format;
    }
}

TEST(OnAirTimes, LastAFrameWhereTheyWouldBeOverAsTheyBegin) {
    const TemporaryFolder folder;
    // Frames of 25 a second begin at 1.000 and 1.040 s.
    const std::string file = folder.write("in.srt", srt({{"00:00:01,010", "00:00:01,030", "cue"}}));
    for (const std::string mode : {"cea608", "cea708", "teletext"}) {
        Arguments play{"play", file, "--rate", "25", "--to-format", "jsonl", "-o", folder.path("a.jsonl"), "--mode"};
        play.push_back(mode);
        const ToolResult played = runTool(play);
        EXPECT_EQ(played.exitCode, 0);
        EXPECT_NE(played.err.find("in.srt: 1 cue shorter than a frame, which lasts one\n"), std::string::npos)
            << played.err;
        Arguments show{"show", folder.path("a.jsonl"), "--all"};
        if (mode == "cea708") {
            show.insert(show.end(), {"--service", "1"});
        }
        const ToolResult shown = runTool(show);
        // EOC is sent twice, and then EDM.
        const std::string end = mode == "cea608" ? "00:00:01,120" : "00:00:01,080";
        EXPECT_NE(shown.out.find("00:00:01,040 - " + end), std::string::npos) << mode << shown.out;
    }
    const ToolResult lossy = converted(file, "klv", {"--to-rate", "25", "--strict"});
    EXPECT_EQ(lossy.exitCode, 1);
    EXPECT_NE(lossy.err.find("1 cue shorter than a frame, which last one"), std::string::npos) << lossy.err;
}

TEST(OnAirTimes, BeginWithTheProgrammeAlsoWhereNothingSaysIt) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:05,000", "00:00:07,000", "cue"}}));
    const std::string later = folder.write("later.srt", srt({{"10:00:05,000", "10:00:07,000", "cue"}}));
    for (const std::string format : {"klv", "v210", "ts"}) {
        SCOPED_TRACE(format);
        const bool isTeletext = format == "ts";
        const std::string made = folder.path("a." + format);
        const std::string played = folder.path("b." + format);
        Arguments convert{"convert", file, "-o", made, "--to-rate", "25", "--to-start", "10:00:00:00"};
        if (isTeletext) {
            convert.insert(convert.end(), {"--page", "888"});
        }
        const ToolResult result = runTool(convert);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, isTeletext ? ""
                                         : "qlxcc: remark: " + made +
                                               ": such a file says no times: its first frame is that of --to-start "
                                               "10:00:00:00\n");
        ASSERT_EQ(runTool({"play", later, "--rate", "25", "--from", "10:00:00:00", "--mode",
                           isTeletext ? "teletext" : "cea608", "-o", played})
                      .exitCode,
                  0);
        EXPECT_EQ(folder.read("a." + format), folder.read("b." + format));
    }
    // Seven seconds and one behind them, a row of 1920 pixels each.
    EXPECT_EQ(folder.read("a.v210").size(), std::size_t{200} * 5120);
    EXPECT_EQ(linesOf(runTool({"scan", folder.path("a.klv"), "--json"}).out).size(), 200U);
    const ToolResult shown = runTool({"show", folder.path("a.ts"), "--page", "888", "--all"});
    EXPECT_NE(shown.out.find("10:00:05,000 - 10:00:07,000"), std::string::npos) << shown.out;
    // Frames that come from other files of frames have the same beginning: two seconds behind it is frame 50.
    const std::string frames =
        folder.write("in.jsonl", qlxtest::withSchema(
                                     "{\"frame\":50,\"pts\":{\"value\":50,\"timescale\":25,\"seconds\":2},\"packets\":"
                                     "[{\"line\":9,\"did\":67,\"sdid\":2,\"type\":\"OP-47\",\"data\":\"5115\"}]}\n"));
    for (const std::string start : {"10:00:00:00", "00:00:00:00"}) {
        const ToolResult passed =
            runTool({"convert", frames, "-o", folder.path("c.klv"), "--from-rate", "25", "--to-start", start});
        EXPECT_EQ(passed.exitCode, 0) << passed.err;
        EXPECT_NE(passed.err.find("its first frame is that of --to-start " + start), std::string::npos) << passed.err;
        const std::string listed = runTool({"scan", folder.path("c.klv"), "--json"}).out;
        EXPECT_NE(listed.find("\"frame\":50,"), std::string::npos) << start << listed;
    }
}

TEST(OnAirTimes, BeginWithTheProgrammeThatIsWritten) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:05,000", "00:00:07,000", "cue"}}));
    for (const char* const rate : {"23.976", "25", "29.97", "50", "59.94"}) {
        for (const char* const start : {"10:00:00:00", "01:00:00:12"}) {
            const ToolResult mcc = converted(file, "mcc", {"--to-rate", rate, "--to-start", start});
            EXPECT_EQ(mcc.err, "");
            const auto timecodes = timecodesOf(mcc.out);
            ASSERT_FALSE(timecodes.empty());
            EXPECT_EQ(timecodes.front(), start) << rate;
            // Seven seconds, and one behind them.
            EXPECT_LT(timecodes.size(), 8U * 60 + 3);
        }
    }
    EXPECT_EQ(timecodesOf(converted(file, "scc", {"--to-start", "10:00:00:00"}).out).front(), "10:00:00;00");
    const ToolResult json = converted(file, "jsonl", {"--to-rate", "25", "--to-start", "10:00:00:00"});
    EXPECT_TRUE(json.out.starts_with("{\"frame\":900000,\"pts\":{\"value\":900000,\"timescale\":25,"))
        << json.out.substr(0, 80);
    EXPECT_EQ(linesOf(json.out).size(), 200U);
    // Without a start it is the hour of the first caption, unless its pairs need more: 15 with two letters.
    const auto shownAt = [&](const char* from, const char* to) {
        return timecodesOf(converted(folder.write("b.srt", srt({{from, to, "{\\an1}ab"}})), "scc", {"--non-drop"}).out);
    };
    // 3603.6 s are 01:00:00:00; 3603.767 s five frames more, and the load takes seven: RCL, ENM and PAC twice, and "ab".
    EXPECT_EQ(shownAt("01:00:08,605", "01:00:10,000").front(), "01:00:00:00");
    EXPECT_EQ(shownAt("01:00:03,767", "01:00:06,000").front(), "00:59:59:28");
    // EDM: 3606 s are two seconds and 12 frames behind that hour.
    EXPECT_EQ(shownAt("01:00:03,767", "01:00:06,000").at(1), "01:00:02:12");
    EXPECT_EQ(shownAt("00:00:05,005", "00:00:06,000").front(), "00:00:00:00");
    // Where the start leaves no room it is said.
    const std::string early = folder.write("c.srt", srt({{"00:00:00,100", "00:00:02,000", "{\\an1}ab"}}));
    const ToolResult tight = converted(early, "scc", {"--to-start", "10:00:00:00"});
    EXPECT_EQ(timecodesOf(tight.out).front(), "10:00:00;00");
    EXPECT_NE(tight.err.find("caption is shown 4 frames late, 4 pairs short"), std::string::npos) << tight.err;
    // And what is in front of it.
    const ToolResult cut = converted(file, "scc", {"--to-start", "10:00:00:00", "--offset", "-6"});
    EXPECT_NE(cut.err.find("1 cue in front of the start of what is written, where nothing is"), std::string::npos)
        << cut.err;
    EXPECT_EQ(converted(file, "scc", {"--to-start", "10:00:00:00", "--offset", "-6", "--strict"}).exitCode, 1);
    // What may be missing is said once.
    const std::string asked = folder.write("d.srt", srt({{"02:00:00,000", "02:00:02,000", "ab"}}));
    const Arguments play{"play", asked, "--mode", "cea608", "--rate", "29.97", "--to-format", "scc"};
    const std::string late = asked + ": the first cue begins at 02:00:00,000";
    for (const ToolResult& far : {converted(asked, "scc"), runTool(play)}) {
        EXPECT_EQ(far.err, "qlxcc: warning: " + late +
                               ": --from-start 10:00:00:00 (or auto, or 0) says where the programme does\n");
    }
    Arguments kept = play;
    kept.insert(kept.end(), {"--from-start", "0"});
    for (const auto& [far, option] : {std::pair(converted(asked, "scc", {"--from-start", "0"}), "--from-start"),
                                      std::pair(runTool(kept), "--from")}) {
        // Frame 215,785 is the first one at that time or later.
        EXPECT_EQ(far.err, "qlxcc: warning: " + asked +
                               ": the first cue begins at 02:00:00,026, more than an hour behind the first frame: is " +
                               option + " missing?\n");
    }
}

}  // namespace
}  // namespace on_air_time_tests
