// qlxcc convert, subs and play: where programmes begin, by labels in the counting of the file that they are of.
#include "STLFiles.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace start_time_tests {
namespace {

using qlxtest::converted;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using Arguments = std::vector<std::string>;

/// How labels count.
struct Counting {
    std::string_view name;  ///< Of the rate.
    std::int64_t nominal = 0;
    bool isFractional = false;
    bool dropsFrames = false;
};

constexpr Counting kCountings[] = {
    {"23.976", 24, true, false}, {"24", 24, false, false}, {"25", 25, false, false}, {"29.97", 30, true, false},
    {"29.97", 30, true, true},   {"30", 30, false, false}, {"50", 50, false, false}, {"59.94", 60, true, false},
    {"59.94", 60, true, true},   {"60", 60, false, false},
};

struct Label {
    std::int64_t hours = 0;
    std::int64_t minutes = 0;
    std::int64_t seconds = 0;
    std::int64_t frames = 0;
};

std::string textOf(const Label& label, char mark = ':') {
    char text[64];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d%c%02d", static_cast<int>(label.hours),
                  static_cast<int>(label.minutes), static_cast<int>(label.seconds), mark,
                  static_cast<int>(label.frames));
    return text;
}

/// The frames in front of the one with a label (SMPTE ST 12-1): of each minute but every tenth two numbers are left out,
/// at 59.94 four.
std::int64_t framesOf(const Label& label, const Counting& counting) {
    const std::int64_t minutes = label.hours * 60 + label.minutes;
    const std::int64_t numbers = (minutes * 60 + label.seconds) * counting.nominal + label.frames;
    return numbers - (counting.dropsFrames ? (minutes - minutes / 10) * (counting.nominal / 15) : 0);
}

/// Their time as SubRip files have it: n frames of 1001/30000 s are n x 1001 / 30 ms, rounded half up.
std::string timeOf(std::int64_t frames, const Counting& counting) {
    const std::int64_t numerator = frames * (counting.isFractional ? 1001 : 1000);
    const std::int64_t milliseconds = (2 * numerator + counting.nominal) / (2 * counting.nominal);
    char text[64];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d,%03d", static_cast<int>(milliseconds / 3'600'000),
                  static_cast<int>(milliseconds / 60'000 % 60), static_cast<int>(milliseconds / 1000 % 60),
                  static_cast<int>(milliseconds % 1000));
    return text;
}

/// A document whose one cue is shown from a label on, for a second.
std::string ttml(const Label& label, const Counting& counting) {
    Label end = label;
    ++end.seconds;
    return "<tt xmlns=\"http://www.w3.org/ns/ttml\" xmlns:ttp=\"http://www.w3.org/ns/ttml#parameter\" xml:lang=\"\" "
           "ttp:timeBase=\"smpte\" ttp:frameRate=\"" +
           std::to_string(counting.nominal) + "\" ttp:frameRateMultiplier=\"" +
           (counting.isFractional ? "1000 1001" : "1 1") + "\" ttp:dropMode=\"" +
           (counting.dropsFrames ? "dropNTSC" : "nonDrop") + "\"><body><div><p begin=\"" + textOf(label) + "\" end=\"" +
           textOf(end) + "\">Hi</p></div></body></tt>\n";
}

/// A Scenarist file whose caption is shown by the fifth pair behind a label.
std::string scc(const Label& label, const Counting& counting) {
    return "Scenarist_SCC V1.0\n\n" + textOf(label, counting.dropsFrames ? ';' : ':') +
           "\t9420 94ae 9470 c8e9 942f\n\n" +
           textOf({label.hours, label.minutes, label.seconds + 2, label.frames}, counting.dropsFrames ? ';' : ':') +
           "\t942c\n";
}

/// When the cue of a result begins.
std::string startOf(const ToolResult& result) {
    const std::size_t arrow = result.out.find(" --> ");
    return arrow == std::string::npos ? result.err : result.out.substr(arrow - 12, 12);
}

constexpr Label kShown{10, 1, 5, 7};
constexpr Label kHour{10, 0, 0, 0};
constexpr Label kMinute{10, 0, 58, 0};

/// What --from-start may say, and the label that it means.
struct Start {
    std::string text;
    Label label;
};

const Start kStarts[] = {{"auto", kHour},          {"10:00:00:00", kHour},   {"10:00:00;00", kHour},
                         {"10:00:58:00", kMinute}, {"10:00:58;00", kMinute}, {"0", {}}};

/// Reads a file with each of them.
/// @param lead Frames by which the cue is behind kShown.
void expectStarts(const std::string& file, const Counting& counting, std::int64_t lead) {
    for (const Start& start : kStarts) {
        SCOPED_TRACE(file + " " + std::string(counting.name) + (counting.dropsFrames ? " drop " : " ") + start.text);
        const ToolResult result = converted(file, "srt", {"--from-start", start.text});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(startOf(result),
                  timeOf(framesOf(kShown, counting) + lead - framesOf(start.label, counting), counting));
        const bool isOther = !counting.dropsFrames && start.text.find(';') != std::string::npos;
        EXPECT_EQ(result.err.find("--from-start: " + start.text + " is taken as a non-drop-frame timecode") !=
                      std::string::npos,
                  isOther)
            << result.err;
    }
}

TEST(StartTimes, AreLabelsInTheCountingOfTimedText) {
    const TemporaryFolder folder;
    for (const Counting& counting : kCountings) {
        expectStarts(folder.write("in.ttml", ttml(kShown, counting)), counting, 0);
    }
}

TEST(StartTimes, AreLabelsInTheCountingOfCaptionFiles) {
    const TemporaryFolder folder;
    for (const Counting& counting : kCountings) {
        // Pairs of one field have places in each frame up to 30 frames a second.
        if (counting.nominal > 30) {
            continue;
        }
        const std::string file = folder.write("in.scc", scc(kShown, counting));
        Arguments toMcc{"convert", file, "-o", folder.path("in.mcc"), "--from-rate", std::string(counting.name)};
        if (!counting.dropsFrames) {
            toMcc.emplace_back("--non-drop");
        }
        ASSERT_EQ(runTool(toMcc).exitCode, 0);
        const std::string mcc = folder.read("in.mcc");
        ASSERT_NE(mcc.find("\n" + textOf(kShown) + "\t"), std::string::npos) << mcc;
        ASSERT_NE(
            mcc.find("\nTime Code Rate=" + std::to_string(counting.nominal) + (counting.dropsFrames ? "DF\n" : "\n")),
            std::string::npos)
            << mcc;
        expectStarts(folder.path("in.mcc"), counting, 4);
        if (counting.name == "29.97") {
            expectStarts(file, counting, 4);
        }
    }
}

/// An EBU STL file of 25 or 30 frames a second.
std::string stl(std::string_view frames) {
    std::string file = qlxtest::stl({{.number = 0, .start = {10, 1, 5, 7}, .end = {10, 1, 7, 0}, .text = "Hi"}});
    return file.replace(6, 2, frames);
}

TEST(StartTimes, AreLabelsInTheCountingOfEbuStl) {
    const TemporaryFolder folder;
    for (const std::int64_t frames : {25, 30}) {
        const Counting own{"", frames, false, false};
        const std::string file = folder.write("in.stl", stl(std::to_string(frames)));
        for (const std::string_view start : {"10:00:00:00", "10:00:00;00", "10:00:00:11"}) {
            const Label label{10, 0, 0, start.ends_with("11") ? 11 : 0};
            const std::string expected = timeOf(framesOf(kShown, own) - framesOf(label, own), own);
            EXPECT_EQ(startOf(converted(file, "srt", {"--from-start", std::string(start)})), expected);
            // The rate of what is listed or sent counts nothing in the file.
            for (const Arguments& command :
                 {Arguments{"subs", file}, Arguments{"play", file, "--mode", "teletext", "--rate", "50"}}) {
                Arguments arguments = command;
                arguments.insert(arguments.end(), {"--from-start", std::string(start)});
                const ToolResult listed = runTool(arguments);
                EXPECT_EQ(listed.exitCode, 0) << listed.err;
                const std::string shown =
                    command.front() == "subs"
                        ? expected
                        : timeOf((framesOf(kShown, own) - framesOf(label, own)) * 50 / frames +
                                     ((framesOf(kShown, own) - framesOf(label, own)) * 50 % frames != 0 ? 1 : 0),
                                 {"50", 50, false, false});
                EXPECT_NE(listed.out.find(shown), std::string::npos) << shown << "\n" << listed.out;
            }
        }
    }
    // Its labels may be meant as those of 29.97 frames a second.
    const std::string file = folder.write("in.stl", stl("30"));
    for (const bool drops : {false, true}) {
        const Counting meant{"29.97", 30, true, drops};
        EXPECT_EQ(
            startOf(converted(
                file, "srt", {"--from-start", "10:00:00:00", "--from-rate", "29.97", drops ? "--drop" : "--non-drop"})),
            timeOf(framesOf(kShown, meant) - framesOf(kHour, meant), meant));
    }
}

TEST(StartTimes, OfFilesWithoutFramesCountAsOptionsSay) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"10:01:05,000", "10:01:06,000", "Hi"}}));
    const struct {
        Arguments options;
        Counting counting;
    } cases[] = {{{"10:00:00:00", "--from-rate", "29.97"}, {"29.97", 30, true, false}},
                 {{"10:00:00;00", "--from-rate", "29.97"}, {"29.97", 30, true, true}},
                 {{"10:00:00:00", "--from-rate", "29.97", "--drop"}, {"29.97", 30, true, true}},
                 {{"10:00:00;00", "--from-rate", "29.97", "--non-drop"}, {"29.97", 30, true, false}},
                 {{"10:00:00:00", "--from-rate", "59.94"}, {"59.94", 60, true, false}},
                 {{"10:00:00;00", "--from-rate", "59.94"}, {"59.94", 60, true, true}},
                 {{"10:00:00:00", "--from-rate", "23.976"}, {"23.976", 24, true, false}},
                 {{"10:00:00:00", "--from-rate", "25"}, {"25", 25, false, false}}};
    for (const auto& each : cases) {
        Arguments options{"--from-start"};
        options.insert(options.end(), each.options.begin(), each.options.end());
        // In thousandths of a frame, as the cue is on none.
        const std::int64_t start = framesOf(kHour, each.counting) * (each.counting.isFractional ? 1001 : 1000);
        const std::int64_t milliseconds =
            (2 * (36'065'000 * each.counting.nominal - start) + each.counting.nominal) / (2 * each.counting.nominal);
        EXPECT_EQ(startOf(converted(file, "srt", options)),
                  milliseconds < 0 ? "10:01:05,000" : timeOf(milliseconds, {"", 1000, false, false}))
            << each.options.front() << each.options.back();
    }
    // Of a time that is no label, seconds are seconds whatever is counted.
    EXPECT_EQ(startOf(converted(file, "srt", {"--from-start", "10:00:00,000", "--from-rate", "29.97"})),
              "00:01:05,000");
    const ToolResult from = converted(file, "srt", {"--from-start", "10:00:00:00"});
    EXPECT_EQ(from.exitCode, 2);
    EXPECT_NE(from.err.find("--from-start: --from-rate is needed"), std::string::npos) << from.err;
    const ToolResult to = converted(file, "srt", {"--from-start", "auto", "--to-start", "01:00:00:00"});
    EXPECT_EQ(to.exitCode, 2);
    EXPECT_NE(to.err.find("--to-start: --to-rate is needed"), std::string::npos) << to.err;
}

/// `10:00:05;00` and the like of the pair behind which a caption of a Scenarist file is shown.
std::string labelOfEoc(const std::string& scc, const Counting& counting) {
    for (const std::string& line : linesOf(scc)) {
        const std::size_t tab = line.find('\t');
        const std::size_t eoc = line.find("942f");
        if (tab == std::string::npos || eoc == std::string::npos) {
            continue;
        }
        const auto number = [&line](std::size_t place) { return std::stoll(line.substr(place, 2)); };
        const std::int64_t frames = framesOf({number(0), number(3), number(6), number(9)}, counting) +
                                    static_cast<std::int64_t>((eoc - tab) / 5);
        return line.substr(8, 1) + timeOf(frames, counting);
    }
    return scc;
}

TEST(StartTimes, AreLabelsInTheCountingOfWhatIsWritten) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:05,005", "00:00:06,006", "Hi"}}));
    const Counting drop{"29.97", 30, true, true};
    const Counting nonDrop{"29.97", 30, true, false};
    // 5.005 s are 150 frames.
    for (const char* const start : {"10:00:00:00", "10:00:00;00"}) {
        const auto written = [&](const Arguments& more) {
            Arguments options{"--to-start", start};
            options.insert(options.end(), more.begin(), more.end());
            return options;
        };
        EXPECT_EQ(labelOfEoc(converted(file, "scc", written({})).out, drop),
                  ";" + timeOf(framesOf(kHour, drop) + 150, drop));
        EXPECT_EQ(labelOfEoc(converted(file, "scc", written({"--non-drop"})).out, nonDrop),
                  ":" + timeOf(framesOf(kHour, nonDrop) + 150, nonDrop));
        // EBU STL: the start of the programme in the head, and the labels of the cue.
        const struct {
            Arguments options;
            std::string_view timeCodes;
        } heads[] = {{{}, {"\x0A\0\x05\0\x0A\0\x06\0", 8}},
                     {{"--to-rate", "30"}, {"\x0A\0\x05\0\x0A\0\x06\0", 8}},
                     {{"--to-rate", "29.97"}, {"\x0A\0\x05\0\x0A\0\x06\0", 8}},
                     {{"--to-rate", "29.97", "--drop"}, {"\x0A\0\x05\0\x0A\0\x06\0", 8}}};
        for (const auto& each : heads) {
            const ToolResult head = converted(file, "stl", written(each.options));
            ASSERT_EQ(head.out.size(), 1152U) << head.err;
            EXPECT_EQ(head.out.substr(256, 8), "10000000");
            EXPECT_EQ(head.out.substr(1024 + 5, 8), each.timeCodes);
        }
    }
    // They need no rate that is not theirs.
    EXPECT_EQ(converted(file, "scc", {"--to-start", "10:00:00:00"}).err, "");
    EXPECT_NE(converted(file, "scc", {"--to-start", "10:00:00:00", "--from-rate", "25"})
                  .err.find("--from-rate is without effect"),
              std::string::npos);
    // Files without frames count as --to-rate says, and the label.
    EXPECT_EQ(startOf(converted(file, "srt", {"--to-start", "10:00:00:00", "--to-rate", "29.97"})), "10:00:41,005");
    EXPECT_EQ(startOf(converted(file, "srt", {"--to-start", "10:00:00;00", "--to-rate", "29.97"})), "10:00:04,969");
}

TEST(StartTimes, GoFromTheCountingOfOneFileToThatOfTheOther) {
    const TemporaryFolder folder;
    const Counting drop{"29.97", 30, true, true};
    const Counting nonDrop{"29.97", 30, true, false};
    for (const Counting& from : {drop, nonDrop}) {
        const std::string in = folder.write("in.scc", scc(kShown, from));
        Arguments toMcc{"convert", in, "-o", folder.path("in.mcc")};
        if (!from.dropsFrames) {
            toMcc.emplace_back("--non-drop");
        }
        ASSERT_EQ(runTool(toMcc).exitCode, 0);
        for (const Counting& to : {drop, nonDrop}) {
            for (const std::string& name : {std::string("in.mcc"), std::string("in.scc")}) {
                Arguments arguments{"convert",      folder.path(name), "-o",         folder.path("out.scc"),
                                    "--from-start", "10:00:00:00",     "--to-start", "01:00:00:00"};
                arguments.emplace_back(to.dropsFrames ? "--drop" : "--non-drop");
                const ToolResult result = runTool(arguments);
                EXPECT_EQ(result.exitCode, 0) << result.err;
                const std::int64_t frames = framesOf(kShown, from) - framesOf(kHour, from) + 4;
                EXPECT_EQ(labelOfEoc(folder.read("out.scc"), to),
                          (to.dropsFrames ? ";" : ":") + timeOf(framesOf({1, 0, 0, 0}, to) + frames, to))
                    << name;
            }
        }
    }
}

/// A file of each format, whose cue begins at 10:01:05 and a second later another one at 09:59.
struct TimedFile {
    std::string name;
    std::string text;
};

std::vector<TimedFile> timedFiles() {
    return {
        {"a.srt", srt({{"10:01:05,000", "10:01:06,000", "Hi"}, {"09:59:00,000", "09:59:01,000", "Hi"}})},
        {"a.vtt", "WEBVTT\n\n10:01:05.000 --> 10:01:06.000\nHi\n\n09:59:00.000 --> 09:59:01.000\nHi\n"},
        {"a.ass", "[Script Info]\nScriptType: v4.00+\n\n[Events]\nFormat: Layer, Start, End, Style, Text\n"
                  "Dialogue: 0,10:01:05.00,10:01:06.00,Default,Hi\nDialogue: 0,09:59:00.00,09:59:01.00,Default,Hi\n"},
        {"a.ttml",
         "<tt xmlns=\"http://www.w3.org/ns/ttml\" xml:lang=\"\"><body><div><p begin=\"10:01:05\" end=\"10:01:06\">"
         "Hi</p><p begin=\"09:59:00\" end=\"09:59:01\">Hi</p></div></body></tt>\n"},
        {"a.json",
         "[{\"start_timecode\":\"10:01:05,000\",\"end_timecode\":\"10:01:06,000\",\"text_lines\":[{\"text\":\"Hi\"}]},"
         "{\"start_timecode\":\"09:59:00,000\",\"end_timecode\":\"09:59:01,000\",\"text_lines\":[{\"text\":\"Hi\"}]}]"},
        {"a.stl", qlxtest::stl({{.number = 0, .start = {10, 1, 5, 0}, .end = {10, 1, 6, 0}, .text = "Hi"},
                                {.number = 1, .start = {9, 59, 0, 0}, .end = {9, 59, 1, 0}, .text = "Hi"}})}};
}

TEST(StartTimes, AreSubtractedInAllFormatsByAllThatReadCues) {
    const TemporaryFolder folder;
    const std::string before = ": 1 cue before the start, which is not subtracted from them";
    for (const TimedFile& each : timedFiles()) {
        SCOPED_TRACE(each.name);
        const std::string file = folder.write(each.name, each.text);
        const struct {
            std::string start;
            std::string first;   ///< Of the first cue.
            std::string second;  ///< Of the other one, at 35,940 s.
            bool isBefore = true;
        } cases[] = {{"10:00:58:00", "00:00:07,000", "09:59:00,000"},
                     {"36000.5", "00:01:04,500", "09:59:00,000"},
                     {"0", "10:01:05,000", "09:59:00,000", false}};
        for (const auto& start : cases) {
            SCOPED_TRACE(start.start);
            const ToolResult listed = runTool({"subs", file, "--from-start", start.start, "--rate", "25", "--json"});
            EXPECT_EQ(listed.exitCode, 0) << listed.err;
            const auto inTimecode = [](const std::string& time) { return "\"start_timecode\":\"" + time + "\""; };
            EXPECT_NE(listed.out.find(inTimecode(start.first)), std::string::npos) << listed.out;
            EXPECT_NE(listed.out.find(inTimecode(start.second)), std::string::npos) << listed.out;
            EXPECT_EQ(listed.out.find(before.substr(2)) != std::string::npos, start.isBefore) << listed.out;
            EXPECT_EQ(listed.out.find("the first cue begins"), std::string::npos) << listed.out;
            const std::string rate = each.name == "a.stl" || start.start != "10:00:58:00" ? "" : "25";
            Arguments convert{"--from-start", start.start};
            if (!rate.empty()) {
                convert.insert(convert.end(), {"--from-rate", rate});
            }
            EXPECT_NE(converted(file, "srt", convert).out.find(start.first + " --> "), std::string::npos);
            const ToolResult played = runTool({"play", file, "--mode", "teletext", "--rate", "25", "--from-start",
                                               start.start, "--from", "1", "--duration", "80"});
            EXPECT_EQ(played.exitCode, 0) << played.err;
            EXPECT_EQ(played.err.find(before) != std::string::npos, start.isBefore) << played.err;
        }
        const std::string late = "the first cue begins at 10:01:05,000: --from-start 10:00:00:00";
        EXPECT_NE(runTool({"subs", file}).out.find("remark: " + late), std::string::npos);
        const ToolResult played = runTool({"play", file, "--mode", "cea608", "--rate", "25", "--duration", "1"});
        EXPECT_NE(played.err.find("warning: " + file + ": " + late), std::string::npos) << played.err;
    }
}

TEST(StartTimes, AreSubtractedFromWhatIsOnAirWhenItIsListedOrPlayed) {
    const TemporaryFolder folder;
    const Counting drop{"29.97", 30, true, true};
    const std::string file = folder.write("in.scc", scc(kShown, drop));
    for (const Start& start : kStarts) {
        SCOPED_TRACE(start.text);
        const std::string expected = timeOf(framesOf(kShown, drop) + 4 - framesOf(start.label, drop), drop);
        const ToolResult listed = runTool({"subs", file, "--from-start", start.text});
        EXPECT_NE(listed.out.find("  " + expected + "  "), std::string::npos) << expected << listed.out;
        // The frames that are sent are those that were read.
        const ToolResult played = runTool({"play", file, "--mode", "cea608", "--rate", "29.97", "--from-start",
                                           start.text, "--from", start.text == "0" ? "36000" : "0"});
        EXPECT_EQ(played.exitCode, 0) << played.err;
        EXPECT_NE(played.out.find(expected), std::string::npos) << expected << played.out;
    }
}

TEST(StartTimes, AreNotSubtractedFromWhatIsInFrontOfThem) {
    const TemporaryFolder folder;
    const Counting nonDrop{"29.97", 30, true, false};
    const std::string file = folder.write("in.ttml", ttml(kShown, nonDrop));
    const ToolResult before = converted(file, "srt", {"--from-start", "10:01:05:08"});
    EXPECT_EQ(startOf(before), timeOf(framesOf(kShown, nonDrop), nonDrop));
    EXPECT_NE(before.err.find("1 cue before the start, which is not subtracted"), std::string::npos) << before.err;
    EXPECT_EQ(startOf(converted(file, "srt", {"--from-start", "10:01:05:07"})), "00:00:00,000");
    const ToolResult late = converted(file, "srt");
    EXPECT_EQ(late.exitCode, 0);
    EXPECT_NE(late.err.find("the first cue begins at 10:01:41,"), std::string::npos) << late.err;
    // A label that drop-frame counting leaves out names no frame of such a file, however it is written.
    const std::string drop = folder.write("in.scc", scc(kShown, {"29.97", 30, true, true}));
    for (const char* const label : {"10:01:00:00", "10:01:00;01", "10:00:00:30"}) {
        const ToolResult wrong = converted(drop, "srt", {"--from-start", label});
        EXPECT_EQ(wrong.exitCode, 2) << label;
        EXPECT_NE(wrong.err.find("--from-start: \"" + std::string(label) + "\" is no TIME"), std::string::npos)
            << wrong.err;
    }
}

}  // namespace
}  // namespace start_time_tests
