// qlxcc convert between files of frames, which decodes nothing, and from subtitles to such files, as play sends them.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace carrier_tests {
namespace {

using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using Arguments = std::vector<std::string>;

ToolResult converted(const std::string& file, const std::string& to, const Arguments& more = {}) {
    Arguments arguments{"convert", file, "-o", to};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
}

/// Of a conversion in which nothing is lost.
void convert(const std::string& file, const std::string& to, const Arguments& more = {}) {
    const ToolResult result = converted(file, to, more);
    EXPECT_EQ(result.exitCode, 0) << to << result.err;
    EXPECT_EQ(result.err, "") << to;
}

/// A SubRip text without what says the places of its cues.
std::string withoutPlaces(std::string text) {
    for (std::size_t place = text.find("{\\"); place != std::string::npos; place = text.find("{\\")) {
        text.erase(place, text.find('}', place) + 1 - place);
    }
    return text;
}

/// Pop-on captions: two, the second one drawn while the first is shown.
constexpr std::string_view kCaptions = "Scenarist_SCC V1.0\n\n"
                                       "00:00:01;00\t9420 9420 94ae 94ae 9470 9470 c8e9 942f 942f\n\n"
                                       "00:00:02;10\t9420 9420 9470 9470 ef6b 942f 942f\n\n"
                                       "00:00:03;00\t942c 942c\n";

/// A CDP of 25 frames a second with 942c in field 1, OP-47 on line 12 and an SCTE-104 packet, in two frames.
std::string twoFrames() {
    return R"({"frame":0,"pts":{"value":0,"timescale":25,"seconds":0},"packets":[{"line":9,"did":97,"sdid":1,"type":"CEA708",)"
           R"("data":"9669103f43000072e1fc942c740000ec"},{"line":12,"did":67,"sdid":2,"type":"OP-47","data":"5115"}]})"
           "\n"
           R"({"frame":1,"pts":{"value":1,"timescale":25,"seconds":0.04},"packets":[{"line":13,"did":65,"sdid":7,"type":"SCTE104",)"
           R"("data":"08ff"}]})"
           "\n";
}

TEST(Carriers, PassOnPacketsAsTheyAre) {
    const TemporaryFolder folder;
    const std::string json = folder.write("a.jsonl", qlxtest::withSchema(twoFrames()));
    convert(json, folder.path("a.mcc"), {"--mcc-version", "2"});
    const std::string mcc = folder.read("a.mcc");
    EXPECT_NE(mcc.find("\nTime Code Rate=25\n\n00:00:00:00.0,9\tT10S103F43ZZ72E1FC942C74ZZEC72\n"), std::string::npos)
        << mcc;
    EXPECT_NE(mcc.find("\n00:00:00:00.0,12\t4302025115AD\n00:00:00:01.0,13\t41070208FF51\n"), std::string::npos) << mcc;
    convert(folder.path("a.mcc"), folder.path("b.jsonl"));
    EXPECT_EQ(folder.read("b.jsonl"), folder.read("a.jsonl"));
    convert(folder.path("a.mcc"), folder.path("b.klv"));
    convert(folder.path("b.klv"), folder.path("b.mcc"), {"--from-rate", "25", "--mcc-version", "2"});
    EXPECT_EQ(folder.read("b.mcc"), mcc);
    convert(json, folder.path("c.klv"));
    EXPECT_EQ(folder.read("c.klv"), folder.read("b.klv"));
    convert(folder.path("b.mcc"), folder.path("b.v210"), {"--lines", "9,12,13", "--width", "1920"});
    convert(folder.path("b.v210"), folder.path("c.mcc"),
            {"--lines", "9,12,13", "--from-rate", "25", "--mcc-version", "2"});
    EXPECT_EQ(folder.read("c.mcc"), mcc);
    // What version 1 has no place for.
    const ToolResult first = converted(json, folder.path("d.mcc"));
    EXPECT_EQ(first.exitCode, 0);
    EXPECT_EQ(first.err, "qlxcc: warning: " + folder.path("d.mcc") +
                             ": left out: the line number of 2 packets, first: frame 0, line 12\n");
    EXPECT_EQ(converted(json, folder.path("d.mcc"), {"--strict"}).exitCode, 1);
}

/// The timecodes of an MCC file, each with a space behind.
std::string timecodesOf(const std::string& mcc) {
    std::string timecodes;
    for (const std::string& line : qlxtest::linesOf(mcc)) {
        const std::size_t tab = line.find('\t');
        timecodes += tab == std::string::npos ? "" : line.substr(0, tab) + " ";
    }
    return timecodes;
}

// At 59.94 the first four numbers of each minute but every tenth are left out.
TEST(Carriers, CountDropFramesOf5994InMcc) {
    const TemporaryFolder folder;
    const std::string labels = "00:00:59:58 00:00:59:59 00:01:00:04 00:01:00:05 00:09:59:59 00:10:00:00 01:00:00:00 ";
    std::string text = "File Format=MacCaption_MCC V1.0\n\nTime Code Rate=60DF\n\n";
    for (std::size_t place = 0; place < labels.size(); place += 12) {
        text += labels.substr(place, 11) + "\t430201AA\n";
    }
    const std::string jsonl = folder.path("a.jsonl");
    convert(folder.write("in.mcc", text), jsonl);
    const std::vector<std::string> frames = qlxtest::linesOf(folder.read("a.jsonl"));
    const std::vector<std::int64_t> numbers{3598, 3599, 3600, 3601, 35963, 35964, 215784};
    ASSERT_EQ(frames.size(), numbers.size());
    for (std::size_t index = 0; index < numbers.size(); ++index) {
        EXPECT_TRUE(frames[index].starts_with("{\"frame\":" + std::to_string(numbers[index]) + ",\"pts\":{\"value\":" +
                                              std::to_string(numbers[index] * 1001) + ",\"timescale\":60000,"))
            << frames[index];
    }
    for (const std::string version : {"1", "2"}) {
        convert(jsonl, folder.path("drop.mcc"), {"--mcc-version", version});
        const std::string written = folder.read("drop.mcc");
        EXPECT_NE(written.find("\nTime Code Rate=60DF\n"), std::string::npos) << written;
        std::string timecodes = timecodesOf(written);
        for (std::size_t place = timecodes.find(".0,9"); place != std::string::npos; place = timecodes.find(".0,9")) {
            timecodes.erase(place, 4);
        }
        EXPECT_EQ(timecodes, labels);
    }
    convert(jsonl, folder.path("whole.mcc"), {"--non-drop"});
    const std::string whole = folder.read("whole.mcc");
    EXPECT_NE(whole.find("\nTime Code Rate=60\n"), std::string::npos) << whole;
    EXPECT_EQ(timecodesOf(whole),
              "00:00:59:58 00:00:59:59 00:01:00:00 00:01:00:01 00:09:59:23 00:09:59:24 00:59:56:24 ");
    // Cues too: the load of one is sent in the frames in front of its start.
    const std::string cues = folder.write("in.srt", srt({{"00:01:00,060", "00:01:02,062", "ab"}}));
    EXPECT_EQ(converted(cues, folder.path("cues.mcc"), {"--to-rate", "59.94", "--channel", "CC1"}).exitCode, 0);
    const std::string back = qlxtest::converted(folder.path("cues.mcc"), "srt").out;
    EXPECT_EQ(withoutPlaces(back), "1\n00:01:00,060 --> 00:01:02,062\nab\n\n");
    EXPECT_NE(timecodesOf(folder.read("cues.mcc")).find(" 00:00:59:59 00:01:00:04 "), std::string::npos);
}

TEST(Carriers, KeepTheCountingOfTimecodes) {
    const TemporaryFolder folder;
    const std::string header = "File Format=MacCaption_MCC V1.0\n\nTime Code Rate=";
    const std::string line = "01:00:00:00\tT04S074F\n";
    std::string nonDrop(kCaptions);
    std::replace(nonDrop.begin(), nonDrop.end(), ';', ':');
    folder.write("n.mcc", header + "30\n\n" + line);
    folder.write("d.mcc", header + "30DF\n\n" + line);
    folder.write("n.scc", nonDrop);
    folder.write("d.scc", kCaptions);
    const auto mccOf = [&](const std::string& file, const Arguments& more) {
        convert(folder.path(file), folder.path("o.mcc"), more);
        const std::string written = folder.read("o.mcc");
        const std::size_t rate = written.find("Time Code Rate=") + 15;
        return written.substr(rate, written.find('\n', rate) - rate) + " " + timecodesOf(written).substr(0, 12);
    };
    EXPECT_EQ(mccOf("n.mcc", {}), "30 01:00:00:00 ");
    EXPECT_EQ(mccOf("d.mcc", {}), "30DF 01:00:00:00 ");
    EXPECT_EQ(mccOf("n.mcc", {"--drop"}), "30DF 01:00:03:18 ");
    EXPECT_EQ(mccOf("d.mcc", {"--non-drop"}), "30 00:59:56:12 ");
    EXPECT_EQ(mccOf("n.scc", {}), "30 00:00:01:00 ");
    EXPECT_EQ(mccOf("d.scc", {}), "30DF 00:00:01:00 ");
    const auto sccOf = [&](const std::string& file, const Arguments& more) {
        convert(folder.path(file), folder.path("o.scc"), more);
        return folder.read("o.scc");
    };
    EXPECT_EQ(sccOf("n.scc", {}), nonDrop);
    EXPECT_EQ(sccOf("d.scc", {}), kCaptions);
    EXPECT_EQ(sccOf("n.scc", {"--drop"}), kCaptions);
}

TEST(Carriers, SayOnceThatTimecodesBeginAgainBehindMidnight) {
    const TemporaryFolder folder;
    const std::string header = "File Format=MacCaption_MCC V1.0\n\nTime Code Rate=25\n\n";
    const std::string file =
        folder.write("a.mcc", header + "00:59:59:24\t430201AA\n01:00:00:00\t430201AA\n01:00:00:01\t430201AA\n");
    const std::string output = folder.path("o.mcc");
    const Arguments moved{"--to-start", "23:00:00:00"};
    const ToolResult result = converted(file, output, moved);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "qlxcc: warning: " + output +
                              ": frame 2160000 is behind midnight: timecodes begin again at 00:00:00:00\n");
    EXPECT_EQ(timecodesOf(folder.read("o.mcc")), "23:59:59:24 00:00:00:00 00:00:00:01 ");
    EXPECT_EQ(converted(file, output, {"--to-start", "23:00:00:00", "--strict"}).exitCode, 1);
    // Timecodes that are not moved go on as they are, and what has no timecodes has no midnight.
    converted(file, output, moved);
    convert(output, folder.path("same.mcc"));
    EXPECT_EQ(timecodesOf(folder.read("same.mcc")), "23:59:59:24 00:00:00:00 00:00:00:01 ");
    convert(file, folder.path("o.jsonl"), moved);
}

TEST(Carriers, AreReadByTheCommandsThatReadPackets) {
    const TemporaryFolder folder;
    convert(folder.write("a.scc", kCaptions), folder.path("a.mcc"));
    const std::string mcc = folder.path("a.mcc");
    const std::string shown = "00:00:01,235 - 00:00:02,503  captions CC1\n  15   Hi\n\n"
                              "00:00:02,503 - 00:00:03,003  captions CC1\n  15   ok\n";
    EXPECT_EQ(runTool({"show", folder.path("a.scc"), "--all"}).out, shown);
    EXPECT_EQ(runTool({"show", mcc, "--all"}).out, shown);
    EXPECT_EQ(runTool({"scan", mcc}).exitCode, 0);
    EXPECT_EQ(runTool({"extract", mcc, "-o", folder.path("a.txt")}).exitCode, 0);
    EXPECT_EQ(runTool({"rate", mcc, "--from", "29.97", "--to", "59.94", "-o", folder.path("a.jsonl")}).exitCode, 0);
    EXPECT_EQ(converted(mcc, folder.path("a.srt")).exitCode, 0);
    EXPECT_EQ(withoutPlaces(folder.read("a.srt")),
              srt({{"00:00:01,235", "00:00:02,503", "Hi"}, {"00:00:02,503", "00:00:03,003", "ok"}}));
}

TEST(Carriers, GiveAScenaristFileItsPairs) {
    const TemporaryFolder folder;
    const std::string scc = folder.write("a.scc", kCaptions);
    // Captions in every frame between the first and the last pair: frames 30 to 91.
    for (const std::string name : {"a.mcc", "a.klv", "a.jsonl"}) {
        convert(scc, folder.path(name));
        convert(folder.path(name), folder.path("b.scc"), {"--from-rate", "29.97"});
        EXPECT_EQ(folder.read("b.scc"), kCaptions) << name;
    }
    const std::string mcc = folder.read("a.mcc");
    std::size_t lines = 0;
    for (std::size_t place = mcc.find("\n00:00:"); place != std::string::npos;
         place = mcc.find("\n00:00:", place + 1)) {
        ++lines;
    }
    EXPECT_EQ(lines, 62U) << mcc;
    // Through 59.94 frames a second, whose even frames have the pairs of field 1, and back.
    ASSERT_EQ(runTool({"rate", folder.path("a.klv"), "--from", "29.97", "--to", "59.94", "-o", folder.path("c.klv")})
                  .exitCode,
              0);
    convert(folder.path("c.klv"), folder.path("c.scc"), {"--from-rate", "59.94"});
    EXPECT_EQ(folder.read("c.scc"), kCaptions);
    convert(scc, folder.path("d.scc"), {"--non-drop"});
    std::string nonDrop(kCaptions);
    std::replace(nonDrop.begin(), nonDrop.end(), ';', ':');
    EXPECT_EQ(folder.read("d.scc"), nonDrop);
    // The other field.
    const ToolResult other =
        converted(folder.path("a.klv"), folder.path("e.scc"), {"--from-rate", "29.97", "--channel", "CC3"});
    EXPECT_EQ(other.exitCode, 0);
    EXPECT_EQ(folder.read("e.scc"), "Scenarist_SCC V1.0\n");
    EXPECT_TRUE(other.err.find("of another field or a caption service, first: frame 30") != std::string::npos)
        << other.err;
}

TEST(Carriers, SayWhatAScenaristFileHasNoPlaceFor) {
    const TemporaryFolder folder;
    const std::string json = folder.write("a.jsonl", qlxtest::withSchema(twoFrames()));
    const ToolResult result = converted(json, folder.path("a.scc"), {"--to-rate", "25"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(folder.read("a.scc"), "Scenarist_SCC V1.0\n\n00:00:00:00\t942c\n");
    EXPECT_EQ(result.err, "qlxcc: warning: " + folder.path("a.scc") +
                              ": left out: 2 packets of which such a file carries nothing, first: frame 0, line 12\n");
    EXPECT_EQ(converted(json, folder.path("a.scc"), {"--strict"}).exitCode, 1);
}

TEST(Carriers, BeginWhereTheyAreAskedTo) {
    const TemporaryFolder folder;
    const std::string scc = folder.write("a.scc", "Scenarist_SCC V1.0\n\n01:00:00;00\t9420 942f\n");
    convert(scc, folder.path("b.scc"), {"--from-start", "01:00:00;00", "--from-rate", "29.97"});
    EXPECT_EQ(folder.read("b.scc"), "Scenarist_SCC V1.0\n\n00:00:00;00\t9420 942f\n");
    convert(scc, folder.path("c.scc"), {"--from-start", "auto", "--to-start", "00:00:10;00", "--to-rate", "29.97"});
    EXPECT_EQ(folder.read("c.scc"), "Scenarist_SCC V1.0\n\n00:00:10;00\t9420 942f\n");
    const ToolResult before =
        converted(scc, folder.path("d.scc"), {"--offset", "-01:00:00;01", "--from-rate", "29.97"});
    EXPECT_EQ(folder.read("d.scc"), "Scenarist_SCC V1.0\n\n00:00:00;00\t942f\n");
    EXPECT_EQ(before.err, "qlxcc: warning: " + scc + ": left out: 1 frame in front of the start\n");
    // A klv file has no times: its frames are those of the file from the beginning.
    convert(scc, folder.path("e.klv"), {"--from-start", "auto"});
    const ToolResult list = runTool({"scan", folder.path("e.klv"), "--json"});
    EXPECT_TRUE(list.out.starts_with("{\"frame\":0,\"packets\":[{\"line\":9,")) << list.out;
    EXPECT_EQ(std::count(list.out.begin(), list.out.end(), '\n'), 2);
}

TEST(Carriers, AreNotWrittenWhereTheStartIsBehindAllFrames) {
    const TemporaryFolder folder;
    const std::string scc = folder.write("a.scc", "Scenarist_SCC V1.0\n\n01:00:00:00\t9420 942f\n");
    const std::string json = folder.write("a.jsonl", qlxtest::withSchema(twoFrames()));
    for (const char* const to : {"b.scc", "b.mcc", "b.klv", "b.jsonl"}) {
        // Two frames of 1001/30000 s from 3603.6 s on.
        const ToolResult late = converted(scc, folder.path(to), {"--from-start", "01:00:00:02"});
        EXPECT_EQ(late.exitCode, 1) << to;
        EXPECT_EQ(late.err, "qlxcc: " + scc +
                                ": nothing to write: all 2 frames are in front of the start, the last one at "
                                "01:00:03,633\n");
        EXPECT_EQ(converted(scc, folder.path(to), {"--from-start", "auto", "--offset", "-1"}).exitCode, 1) << to;
        EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.jsonl", "a.scc"}));
        // One that is left is written.
        const ToolResult one = converted(scc, folder.path(to), {"--from-start", "01:00:00:01"});
        EXPECT_EQ(one.exitCode, 0) << one.err;
        EXPECT_EQ(one.err, "qlxcc: warning: " + scc + ": left out: 1 frame in front of the start\n");
        std::filesystem::remove(folder.path(to));
    }
    const ToolResult out = runTool({"convert", json, "-o", "-", "--to-format", "jsonl", "--from-start", "5"});
    EXPECT_EQ(out.exitCode, 1);
    EXPECT_EQ(out.out, "");
}

TEST(Carriers, HaveTheBytesOfPlayFromSubtitles) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "a.srt", srt({{"00:00:02,000", "00:00:03,500", "Hi"}, {"00:00:04,000", "00:00:05,000", "you\nall"}}));
    struct Case {
        const char* name;
        Arguments converted;
        Arguments played;
    };
    for (const Case& one : std::vector<Case>{
             {"a.scc", {"--channel", "CC3"}, {"--mode", "cea608", "--rate", "29.97", "--channel", "CC3"}},
             {"a.mcc",
              {"--to-rate", "59.94", "--service", "2"},
              {"--mode", "cea708", "--rate", "59.94", "--service", "2"}},
             {"a.klv",
              {"--to-rate", "25", "--service", "1", "--channel", "CC1", "--style", "roll-up", "--line", "11"},
              {"--mode", "captions", "--rate", "25", "--style", "roll-up", "--line", "11"}},
             {"a.jsonl", {"--to-rate", "25", "--page", "888"}, {"--mode", "teletext", "--rate", "25"}}}) {
        ASSERT_EQ(converted(file, folder.path(one.name), one.converted).exitCode, 0) << one.name;
        Arguments arguments{"play", file, "-o", folder.path("b")};
        arguments.insert(arguments.end(), {"--to-format", std::string(one.name).substr(2)});
        arguments.insert(arguments.end(), one.played.begin(), one.played.end());
        ASSERT_EQ(runTool(arguments).exitCode, 0) << one.name;
        EXPECT_EQ(folder.read(one.name), folder.read("b")) << one.name;
    }
    // Another start, and a format that play does not read.
    ASSERT_EQ(converted(file, folder.path("c.vtt"), {"--offset", "10"}).exitCode, 0);
    ASSERT_EQ(converted(folder.path("c.vtt"), folder.path("c.scc"), {"--from-start", "10"}).exitCode, 0);
    ASSERT_EQ(converted(file, folder.path("d.scc")).exitCode, 0);
    EXPECT_EQ(folder.read("c.scc"), folder.read("d.scc"));
    EXPECT_EQ(converted(file, folder.path("e.klv")).exitCode, 2);
    EXPECT_EQ(converted(file, folder.path("e.scc"), {"--page", "801"}).exitCode, 2);
    // A pipe is read once, also one with a name: what tells its format is not taken away.
    const std::string out = folder.path("f.klv");
    Arguments named{"convert", "/dev/stdin", "-o", out, "--to-rate", "25"};
    ASSERT_EQ(converted(file, folder.path("g.klv"), {"--to-rate", "25"}).exitCode, 0);
    for (const Arguments& more : {Arguments(), Arguments{"--from-format", "srt"}}) {
        named.insert(named.end(), more.begin(), more.end());
        EXPECT_EQ(runTool(named, {.input = folder.read("a.srt"), .inputRestsAt = 10}).exitCode, 0);
        EXPECT_EQ(folder.read("f.klv"), folder.read("g.klv"));
    }
}

TEST(Carriers, KeepTheNumbersOfFramesBetweenWhichAreOthersWithoutPackets) {
    const TemporaryFolder folder;
    const std::string mcc = "Time Code Rate=50\n\n00:00:00:00\t4302025115AD\n00:00:00:02\t4302025115AD\n"
                            "00:00:00:05\t4302025115AD\n";
    convert(folder.write("a.mcc", "File Format=MacCaption_MCC V1.0\n" + mcc), folder.path("a.jsonl"));
    convert(folder.path("a.jsonl"), folder.path("b.mcc"));
    EXPECT_TRUE(folder.read("b.mcc").ends_with(mcc)) << folder.read("b.mcc");
}

TEST(Carriers, RefuseTimesBehindAllFrames) {
    const TemporaryFolder folder;
    const struct {
        const char* time;
        const char* to;
        const char* said;
    } cases[] = {
        {R"(0,"pts":{"value":4000000000000000000,"timescale":1,"seconds":4e+18})", "a.mcc", "its time is too great"},
        {R"(0,"pts":{"value":4000000000000000000,"timescale":1,"seconds":4e+18})", "a.klv", "its time is too great"},
        {"4294967295", "a.klv", "more than a day is missing in front of it"}};
    for (const auto& each : cases) {
        const std::string json = folder.write(
            "a.jsonl", std::string(R"({"frame":)") + each.time +
                           R"(,"packets":[{"line":9,"did":67,"sdid":2,"type":"OP-47","data":"5115"}]})" + "\n");
        const ToolResult result = converted(json, folder.path(each.to), {"--from-rate", "25"});
        EXPECT_EQ(result.exitCode, 1) << each.time;
        EXPECT_NE(result.err.find(each.said), std::string::npos) << result.err;
    }
}

TEST(Carriers, SayWhichDamagedCaptionsAScenaristFileHasNot) {
    const TemporaryFolder folder;
    // The packet's identifier is wrong.
    std::string text = twoFrames();
    text.replace(text.find("9669"), 4, "9660");
    const ToolResult result = converted(folder.write("a.jsonl", text), folder.path("a.scc"), {"--to-rate", "25"});
    EXPECT_EQ(folder.read("a.scc"), "Scenarist_SCC V1.0\n");
    EXPECT_NE(result.err.find("left out, 1 time: "), std::string::npos) << result.err;
    EXPECT_NE(result.err.find(", first: frame 0\n"), std::string::npos) << result.err;
}

TEST(Carriers, FailForDamagedSubtitlesAndWhereAskedForLosses) {
    const TemporaryFolder folder;
    const std::string good = srt({{"00:00:02,000", "00:00:03,500", "Hi"}, {"00:00:04,000", "00:00:05,000", "you"}});
    const std::string damaged = folder.write("a.srt", good + "9\nxx --> yy\nbad\n");
    const std::string lossy = folder.write("b.srt", srt({{"00:00:02,000", "00:00:03,500", "\xE4\xB8\xAD"}}));
    for (const Arguments& to : {Arguments{"--channel", "CC1"}, Arguments{"--page", "888"}}) {
        Arguments arguments = to;
        arguments.insert(arguments.end(), {"--to-rate", "25", "--to-format", "klv"});
        convert(folder.write("c.srt", good), folder.path("c"), arguments);
        EXPECT_EQ(converted(damaged, folder.path("c"), arguments).exitCode, 1);
        EXPECT_EQ(converted(lossy, folder.path("c"), arguments).exitCode, 0);
        arguments.emplace_back("--strict");
        convert(folder.path("c.srt"), folder.path("c"), arguments);
        EXPECT_EQ(converted(lossy, folder.path("c"), arguments).exitCode, 1);
    }
    // Nothing is said of options that such a file needs, only of one that it does not.
    convert(folder.path("c.srt"), folder.path("c.mcc"), {"--to-rate", "29.97", "--channel", "CC1", "--non-drop"});
    EXPECT_NE(converted(folder.path("c.srt"), folder.path("c.klv"), {"--to-rate", "29.97", "--drop"})
                  .err.find("--drop is without effect"),
              std::string::npos);
}

// Nobody is left with an exit code alone.
TEST(Carriers, SayWhyTheyFailAlsoQuietly) {
    const TemporaryFolder folder;
    const std::string lossy = folder.write("a.srt", srt({{"00:00:02,000", "00:00:03,500", "\xE4\xB8\xAD"}}));
    const Arguments strict{"--to-rate", "25", "--to-format", "klv", "--channel", "CC1", "--strict", "--quiet"};
    const ToolResult played = converted(lossy, folder.path("a.klv"), strict);
    EXPECT_EQ(played.exitCode, 1);
    EXPECT_EQ(played.err, "qlxcc: " + folder.path("a.klv") + ": changes or losses (said without --quiet)\n");
    const std::string frames = folder.write("a.jsonl", twoFrames());
    const ToolResult passed = converted(frames, folder.path("a.scc"), {"--strict", "--quiet"});
    EXPECT_EQ(passed.exitCode, 1);
    EXPECT_EQ(passed.err, "qlxcc: " + frames + ": 0 problems, changes or losses (said without --quiet)\n");
    EXPECT_EQ(converted(frames, folder.path("a.scc"), {"--quiet"}).err, "");
    EXPECT_EQ(converted(frames, folder.path("a.klv"), {"--strict", "--quiet"}).err, "");
}

TEST(Carriers, HaveLinesOfPlayInVersion2OnlyAndSaySoElsewhere) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.srt", srt({{"00:00:02,000", "00:00:03,500", "Hi"}}));
    convert(file, folder.path("a.mcc"), {"--to-rate", "25", "--channel", "CC1", "--line", "11", "--mcc-version", "2"});
    EXPECT_NE(folder.read("a.mcc").find(".0,11\t"), std::string::npos);
    EXPECT_EQ(converted(file, folder.path("b.mcc"), {"--to-rate", "25", "--line", "11"}).exitCode, 2);
    const ToolResult teletext = converted(file, folder.path("c.mcc"), {"--to-rate", "25", "--page", "888"});
    EXPECT_EQ(teletext.exitCode, 0);
    EXPECT_NE(teletext.err.find("left out: the line number of "), std::string::npos) << teletext.err;
    EXPECT_EQ(converted(file, folder.path("c.mcc"), {"--to-rate", "25", "--page", "888", "--strict"}).exitCode, 1);
    // What a Scenarist file has not, in the words of this command.
    EXPECT_NE(converted(file, folder.path("d.scc"), {"--service", "1"}).err.find("captions of line 21 only"),
              std::string::npos);
    EXPECT_NE(converted(file, folder.path("d.scc"), {"--to-rate", "25"}).err.find("--to-rate: "), std::string::npos);
}

/// The time of a frame at 29.97 to the nearest millisecond, as SubRip has it.
std::string timeOf(std::uint64_t frame) {
    const std::uint64_t milliseconds = (frame * 1001 * 2 + 30) / 60;
    const auto digits = [](std::uint64_t number, std::size_t count) {
        std::string text = std::to_string(number);
        return std::string(count - text.size(), '0') + text;
    };
    return digits(milliseconds / 3'600'000, 2) + ":" + digits(milliseconds / 60'000 % 60, 2) + ":" +
           digits(milliseconds / 1000 % 60, 2) + "," + digits(milliseconds % 1000, 3);
}

TEST(Carriers, BringCuesBackFromAScenaristFile) {
    const TemporaryFolder folder;
    std::mt19937 random(15);
    std::string given;
    std::uint64_t frame = 120;
    for (int number = 1; number <= 200; ++number) {
        // Rows of letters, apart by more than it takes to send them.
        std::string rows;
        for (std::size_t row = random() % 3 + 1; row > 0; --row) {
            for (std::size_t size = 3 + random() % 20; size > 0; --size) {
                rows += static_cast<char>('a' + random() % 26);
            }
            rows += '\n';
        }
        const std::uint64_t end = frame + 60 + random() % 60;
        given += std::to_string(number) + "\n" + timeOf(frame) + " --> " + timeOf(end) + "\n" + rows + "\n";
        frame = end + 60 + random() % 100;
    }
    ASSERT_EQ(converted(folder.write("a.srt", given), folder.path("a.scc")).exitCode, 0);
    ASSERT_EQ(converted(folder.path("a.scc"), folder.path("b.srt")).exitCode, 0);
    // A caption is shown with the frame of its start, and erased with that of its end: those nearest to their times, of
    // which half are a little later than the milliseconds.
    EXPECT_EQ(withoutPlaces(folder.read("b.srt")), given);
}

TEST(Carriers, SayPacketByPacketWhatIsLostWhereThatIsAskedFor) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.jsonl", twoFrames());
    const std::string out = folder.path("out.scc");
    const Arguments toRate{"--to-rate", "25"};
    const ToolResult counts = converted(file, out, toRate);
    EXPECT_EQ(counts.err.find("remark: "), std::string::npos) << counts.err;
    const ToolResult result = converted(file, out, {"--to-rate", "25", "--report"});
    EXPECT_EQ(result.exitCode, 0);
    // The counts stay behind them.
    const std::string name = "qlxcc: remark: " + out + ": ";
    EXPECT_EQ(result.err, name + "frame 0, line 12: packet with DID 43 and SDID 02 left out\n" + name +
                              "frame 1, line 13: packet with DID 41 and SDID 07 left out\n" + counts.err);
    // Fourteen frames with the same are all said.
    std::string many;
    for (int frame = 0; frame < 14; ++frame) {
        many +=
            R"({"frame":)" + std::to_string(frame) + R"(,"pts":{"value":)" + std::to_string(frame) +
            R"(,"timescale":25,"seconds":0},"packets":[{"line":12,"did":67,"sdid":2,"type":"OP-47","data":"5115"}]})"
            "\n";
    }
    const ToolResult all = converted(folder.write("many.jsonl", many), out, {"--to-rate", "25", "--report"});
    for (int frame = 0; frame < 14; ++frame) {
        EXPECT_NE(all.err.find(name + "frame " + std::to_string(frame) + ", line 12: "), std::string::npos) << all.err;
    }
}

TEST(Carriers, AreMadeOfPipesWhoseContentTellsTheFormat) {
    const TemporaryFolder folder;
    const std::string cues = srt({{"00:00:01,000", "00:00:02,000", "Hi"}});
    const std::string frames = twoFrames();
    for (const auto& [name, content] :
         {std::pair(std::string("in.srt"), cues), {"in.scc", std::string(kCaptions)}, {"in.jsonl", frames}}) {
        for (const char* const format : {"klv", "jsonl"}) {
            const Arguments how{"--to-format", format, "--to-rate", name == "in.jsonl" ? "25" : "29.97"};
            Arguments piped{"convert", "-", "-o", "-"};
            piped.insert(piped.end(), how.begin(), how.end());
            const ToolResult fromPipe = runTool(piped, {.input = content});
            EXPECT_EQ(fromPipe.exitCode, 0) << name << fromPipe.err;
            EXPECT_FALSE(fromPipe.out.empty());
            piped[1] = folder.write(name, content);
            EXPECT_EQ(runTool(piped).out, fromPipe.out) << name;
        }
    }
    const ToolResult untold = runTool({"convert", "-", "-o", "-", "--to-format", "klv"}, {.input = "rubbish"});
    EXPECT_EQ(untold.exitCode, 2);
    EXPECT_NE(untold.err.find("--from-format is needed: "), std::string::npos) << untold.err;
}

// What packets cannot carry has changed as much as what a file of cues cannot.
TEST(Carriers, CountWhatTheyCannotCarryAsLost) {
    const TemporaryFolder folder;
    const std::string plain = folder.write("plain.srt", srt({{"00:00:01,000", "00:00:02,000", "Hello"}}));
    const std::string bold = folder.write(
        "bold.srt", srt({{"00:00:01,000", "00:00:02,000", "<b>Hello</b>"}, {"00:00:03,000", "00:00:04,000", "x"}}));
    const std::string struck = folder.write("struck.srt", srt({{"00:00:01,000", "00:00:02,000", "<s>Hello</s>"}}));
    const std::pair<Arguments, std::string> carriers[] = {
        {{"--to-rate", "29.97", "--channel", "CC1"}, "CEA-608"},
        {{"--to-rate", "29.97", "--service", "1"}, "CEA-708"},
        {{"--to-rate", "25", "--page", "888"}, "teletext"},
    };
    for (const auto& [arguments, name] : carriers) {
        SCOPED_TRACE(name);
        Arguments strict = arguments;
        strict.emplace_back("--strict");
        EXPECT_EQ(converted(plain, folder.path("a.klv"), strict).exitCode, 0);
        const ToolResult lossy = converted(bold, folder.path("a.klv"), strict);
        EXPECT_EQ(lossy.exitCode, 1);
        EXPECT_NE(lossy.err.find("bold.srt: 1 cue loses what " + name + " does not carry: bold (1 cue)"),
                  std::string::npos)
            << lossy.err;
        EXPECT_EQ(converted(bold, folder.path("a.klv"), arguments).exitCode, 0);
        EXPECT_EQ(converted(struck, folder.path("a.klv"), strict).exitCode, 1);
    }
}

}  // namespace
}  // namespace carrier_tests
