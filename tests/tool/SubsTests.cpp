// qlxcc subs, encodings, the limits of subtitle files, and --quiet.
#include "SubtitleFiles.h"
#include "ToolRunner.h"
#include "cues/SubtitleReaders.h"
#include "io/Errors.h"
#include "streams/Json.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

namespace {

using namespace std::string_view_literals;
using qlxtest::deployedCaptionArguments;
using qlxtest::deployedTeletextArguments;
using qlxtest::isOneMessage;
using qlxtest::linesOf;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolConditions;
using qlxtest::ToolResult;

const std::string kTwoCues =
    srt({{"00:00:01,000", "00:00:02,000", "<font color=\"#ff0000\">Bonjour</font>\n{\\an8}oben"},
         {"00:00:03,500", "00:00:04,000", "{\\an1}unten"}});

TEST(Subs, ListsTimesAsTheFileSaysThem) {
    const TemporaryFolder folder;
    // 7.8 s has no binary fraction: as a double it is a little below.
    const ToolResult listed = runTool({"subs", folder.write("in.srt", srt({{"00:00:04,200", "00:00:07,800", "a"}}))});
    EXPECT_EQ(listed.exitCode, 0) << listed.err;
    EXPECT_NE(listed.out.find("     1  00:00:04,200  00:00:07,800  "), std::string::npos) << listed.out;
}

TEST(Subs, ListsWebVttAndSubStationAlphaWhichPlayPlays) {
    const TemporaryFolder folder;
    const std::string vtt = folder.write("in.vtt", "WEBVTT\n\n00:01.000 --> 00:02.000 line:0\n<c.yellow>a</c>\n");
    const std::string ass =
        folder.write("in.ass", "[Script Info]\n[V4+ Styles]\nFormat: Name, PrimaryColour, Alignment\n"
                               "Style: Default,&H0000FFFF,8\n[Events]\nFormat: Start, End, Style, Text\n"
                               "Dialogue: 0:00:01.00,0:00:02.00,Default,a\n");
    for (const std::string& file : {vtt, ass}) {
        const ToolResult listed = runTool({"subs", file});
        EXPECT_EQ(listed.exitCode, 0) << listed.err;
        EXPECT_NE(listed.out.find("00:00:01,000"), std::string::npos) << listed.out;
        EXPECT_NE(listed.out.find("  1  yellow   center     a\n"), std::string::npos) << listed.out;
        EXPECT_EQ(runTool({"subs", file, "--mode", "cea608", "--rate", "25"}).exitCode, 0);
        const std::string played = folder.path("out.klv");
        EXPECT_EQ(runTool({"play", file, "--mode", "teletext", "--rate", "25", "-o", played}).exitCode, 0);
        const ToolResult shown = runTool({"show", played, "--rate", "25", "--page", "888", "--at", "1.5"});
        EXPECT_NE(shown.out.find("a\n"), std::string::npos) << shown.out << shown.err;
    }
}

TEST(Subs, NumbersCuesWithoutANumberByTheirOrder) {
    const TemporaryFolder folder;
    const std::string times = "00:01.000 --> 00:02.000\n";
    const std::string vtt = folder.write("in.vtt", "WEBVTT\n\n" + times + "a\n\nintro\n" + times + "b\n\n7\n" + times +
                                                       "c\n\n" + times + "d\n");
    const std::string ttml =
        folder.write("in.ttml", R"(<tt xmlns="http://www.w3.org/ns/ttml" xml:lang=""><body><div>)"
                                R"(<p begin="1s" end="2s">a</p><p begin="1s" end="2s">b</p></div></body></tt>)");
    const auto numbersOf = [](const std::string& file) {
        std::string numbers;
        for (const std::string& line : linesOf(runTool({"subs", file}).out)) {
            numbers += line.find("  00:00:01,000  ") == std::string::npos ? "" : line.substr(0, 6);
        }
        return numbers;
    };
    EXPECT_EQ(numbersOf(vtt), "     1     2     7     4");
    EXPECT_EQ(numbersOf(ttml), "     1     2");
    const ToolResult json = runTool({"subs", vtt, "--json"});
    EXPECT_NE(json.out.find(R"("index":4,)"), std::string::npos) << json.out;
    EXPECT_EQ(json.out.find(R"("index":0,)"), std::string::npos) << json.out;
}

TEST(Subs, CountsTheCuesThatAreLeftOutOfEveryText) {
    const TemporaryFolder folder;
    const std::string vtt = folder.write("in.vtt", "WEBVTT\n\n00:03.000 --> 00:02.000\nx\n\n00:03.000 --> 00:0x\ny\n\n"
                                                   "00:05.000 --> 00:06.000\nz\n");
    const std::string ass =
        folder.write("in.ass", "[Script Info]\n[Events]\nFormat: Start, End, Text\nDialogue: 0:00:03.00,0:00:02.00,x\n"
                               "Dialogue: 0:00:0x,0:00:02.00,y\nDialogue: 0:00:05.00,0:00:06.00,z\n");
    for (const std::string& file : {vtt, ass}) {
        const ToolResult listed = runTool({"subs", file});
        EXPECT_EQ(listed.exitCode, 0) << listed.err;
        EXPECT_NE(listed.out.find(": cue left out: the end, 2000 ms, is not later"), std::string::npos) << listed.out;
        EXPECT_NE(listed.out.find(": 1 cue, 2 left out\n"), std::string::npos) << listed.out;
    }
}

TEST(Subs, ListsTheRowsOfCues) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kTwoCues + "stray\n");
    const ToolResult result = runTool({"subs", file, "--as-deployed"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "   cue  start         end           row  color    alignment  text\n"
                          "     1  00:00:01,000  00:00:02,000   10  red      center     Bonjour\n"
                          "                                      2  white    center     oben\n"
                          "     2  00:00:03,500  00:00:04,000   11  white    left       unten\n"
                          "line 10: cue left out: cue without a timing line\n" +
                              file + " (SRT): 2 cues, 1 left out\n");
}

TEST(Subs, ShowsTimecodesOfARate) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:03,500", "00:01:00,060", "a"}}));
    // 3.5 s are frame 87.5 at 25/s; at 29.97 frame 104.9, and 60.06 s are frame 1800, the first one of minute 1.
    EXPECT_EQ(linesOf(runTool({"subs", file, "--rate", "25"}).out).at(1).substr(8, 25), "00:00:03:13   00:01:00:02");
    EXPECT_EQ(linesOf(runTool({"subs", file, "--rate", "30000/1001"}).out).at(1).substr(8, 25),
              "00:00:03;15   00:01:00;02");
}

TEST(Subs, ShowsTheTimesAndRowsOfAMode) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "Hi\nok"}}));
    // Two lines of two characters take (2 + 2 + 2 + 2 + 4) / 2 = 6 pairs: 0.24 s; captions are sent to rows 12 and 13.
    const auto lines = linesOf(runTool({"subs", file, "--mode", "cea608", "--rate", "25"}).out);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[1], "     1  00:00:00:19   00:00:01:24    12  white    center     Hi");
    EXPECT_EQ(lines[2], "                                     13  white    center     ok");
    EXPECT_EQ(lines[3], file + " (SRT): 1 cue, 0 left out, 0 not shown as written");
}

TEST(Subs, WritesJsonThatPlayReads) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kTwoCues + "stray\n");
    const std::string json = folder.path("out.json");
    const ToolResult result = runTool({"subs", file, "--as-deployed", "--json", "-o", json});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(folder.read("out.json"),
              "{\"schema\":\"qlxcc/subs/1\",\n\"cues\":[\n"
              R"({"end_time_seconds":2.0,"end_timecode":"00:00:02,000","index":1,"start_time_seconds":1.0,)"
              R"("start_timecode":"00:00:01,000","text_lines":[)"
              R"({"alignment":"center","color":"#ff0000","text":"Bonjour","vertical_position":10},)"
              R"({"alignment":"center","color":"#ffffff","text":"oben","vertical_position":2}]},)"
              "\n"
              R"({"end_time_seconds":4.0,"end_timecode":"00:00:04,000","index":2,"start_time_seconds":3.5,)"
              R"("start_timecode":"00:00:03,500","text_lines":[)"
              R"({"alignment":"left","color":"#ffffff","text":"unten","vertical_position":11}]})"
              "\n],\n\"file\":\"" +
                  file +
                  "\",\n\"format\":\"SRT\",\n\"cueCount\":2,\n\"leftOut\":1,\n\"problemCount\":1,\n\"problems\":[\n"
                  R"({"effect":"cue left out","line":10,"what":"cue without a timing line"}]})"
                  "\n");
    const ToolResult played = runTool(deployedTeletextArguments(json, "25", {"--format", "jsonl"}));
    EXPECT_EQ(played.exitCode, 0);
    EXPECT_EQ(played.err, "");
    EXPECT_EQ(played.out, runTool(deployedTeletextArguments(file, "25", {"--format", "jsonl"})).out);
}

TEST(Subs, ListsWhatBothReadAlikeAsDeployedAndElse) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "<font color=\"#ff0000\">Bonjour</font>\noben"},
                                    {"00:00:03,500", "00:00:04,000", "{\\an1}unten"},
                                    {"00:00:05,000", "00:00:06,000", "eins\nzwei\ndrei"}}));
    for (const std::vector<std::string>& more :
         {std::vector<std::string>{"--mode", "teletext"}, {"--mode", "cea608", "--rate", "25"}, {"--json"}}) {
        std::vector<std::string> arguments{"subs", file};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const std::string listed = runTool(arguments).out;
        EXPECT_NE(listed.find("zwei"), std::string::npos);
        arguments.emplace_back("--as-deployed");
        EXPECT_EQ(runTool(arguments).out, listed) << more.front();
    }
}

TEST(Subs, ListsAsDeployedOnlyWhatTheFixedOperationsRead) {
    const TemporaryFolder folder;
    const std::string vtt = folder.write("in.vtt", "WEBVTT\n\n00:01.000 --> 00:02.000\na\n");
    EXPECT_EQ(runTool({"subs", vtt, "--as-deployed"}).exitCode, 1);
    const std::string points = folder.write("in.srt", srt({{"00:00:01.000", "00:00:02.000", "a &amp; b"}}));
    EXPECT_EQ(runTool({"subs", points, "--as-deployed"}).exitCode, 1);
    EXPECT_NE(runTool({"subs", points}).out.find("  a & b\n"), std::string::npos);
    const std::string commas = folder.write("b.srt", srt({{"00:00:01,000", "00:00:02,000", "a &amp; b"}}));
    EXPECT_NE(runTool({"subs", commas, "--as-deployed"}).out.find("  a &amp; b\n"), std::string::npos);
    for (const std::vector<std::string>& more : {std::vector<std::string>{"--track", "1"},
                                                 {"--from-start", "auto"},
                                                 {"--channel", "CC1"},
                                                 {"--from-rate", "25"}}) {
        std::vector<std::string> arguments{"subs", commas, "--as-deployed"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_EQ(runTool(arguments).exitCode, 2) << more.front();
    }
}

TEST(Subs, SaysThatAFileHasNoText) {
    const TemporaryFolder folder;
    for (const std::string& bytes : {std::string("\xEF\xBB\xBF"), std::string("\xFF\xFE"), std::string("\r\n\n")}) {
        const std::string file = folder.write("in.srt", bytes);
        const ToolResult listed = runTool({"subs", file});
        EXPECT_EQ(listed.exitCode, 1);
        EXPECT_EQ(listed.err, "qlxcc: " + file + ": no cue in the file: the file has no text\n");
        const ToolResult converted = qlxtest::converted(file, "vtt");
        EXPECT_EQ(converted.exitCode, 1);
        EXPECT_NE(converted.err.find("qlxcc: warning: " + file + ": the file has no text\n"), std::string::npos)
            << converted.err;
    }
    const ToolResult head = qlxtest::converted(folder.write("in.vtt", "WEBVTT\n\n"), "srt");
    EXPECT_EQ(head.exitCode, 0);
    EXPECT_NE(head.err.find(": the file has no cue\n"), std::string::npos) << head.err;
}

TEST(Subs, ShowsColoursOnATerminal) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "<font color=\"#ff0000\">Bonjour</font>\noben"}}));
    const std::string row = "     1  00:00:01,000  00:00:02,000   10  red      center     ";
    EXPECT_EQ(linesOf(runTool({"subs", file}, {.outputIsTerminal = true}).out).at(1), row + "\x1b[31mBonjour\x1b[0m\r");
    EXPECT_EQ(linesOf(runTool({"subs", file}, {.outputIsTerminal = true, .environment = {"NO_COLOR=1"}}).out).at(1),
              row + "Bonjour\r");
}

TEST(Subs, RefusesToWriteOverItsInput) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kTwoCues);
    const ToolResult result = runTool({"subs", file, "-o", file});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(isOneMessage(result.err)) << result.err;
    EXPECT_EQ(folder.read("in.srt"), kTwoCues);
}

TEST(Encoding, OfAFileIsNamedByTheCaller) {
    const TemporaryFolder folder;
    const std::string expected =
        runTool({"subs", "-"}, {.input = srt({{"00:00:01,000", "00:00:02,000", "d\xC3\xA9j\xC3\xA0"}})}).out;
    EXPECT_NE(expected.find("d\xC3\xA9j\xC3\xA0\n"), std::string::npos);
    const std::string latin = srt({{"00:00:01,000", "00:00:02,000", "d\xE9j\xE0"}});
    // It is said what that name is read as.
    const std::string remark = "remark: the text is read as windows-1252, which stands for ISO-8859-1\n";
    std::string latinList = runTool({"subs", "-", "--encoding", "ISO-8859-1"}, {.input = latin}).out;
    const std::size_t place = latinList.find(remark);
    ASSERT_NE(place, std::string::npos) << latinList;
    EXPECT_EQ(latinList.erase(place, remark.size()), expected);
    EXPECT_EQ(runTool({"subs", "-", "--encoding", "windows-1252"}, {.input = latin}).out, expected);
    // All names of ISO-8859-1 mean windows-1252, which has a euro sign in the place of a control code.
    const std::string euro = srt({{"00:00:01,000", "00:00:02,000", "\x80"}});
    for (const std::string name : {"latin1", "ISO-8859-1", "windows-1252"}) {
        EXPECT_NE(runTool({"subs", "-", "--encoding", name}, {.input = euro}).out.find("\u20AC\n"), std::string::npos);
    }
    // UTF-16, little-endian behind its mark.
    std::string wide = "\xFF\xFE";
    for (const char character : latin) {
        wide += character;
        wide += '\0';
    }
    EXPECT_EQ(runTool({"subs", "-", "--encoding", "UTF-16"}, {.input = wide}).out, expected);
    const ToolResult played = runTool(playArguments("-", "25", {"--encoding", "ISO-8859-1"}), {.input = latin});
    EXPECT_EQ(played.exitCode, 0) << played.err;
    EXPECT_NE(played.out.find("d\xC3\xA9j\xC3\xA0\n"), std::string::npos);
    const std::string json = "[{\"start_time_seconds\":0,\"end_time_seconds\":1,\"text_lines\":[{\"text\":\"\xE9\"}]}]";
    EXPECT_NE(runTool({"subs", "-", "--encoding", "ISO-8859-1"}, {.input = json}).out.find("  \xC3\xA9\n"),
              std::string::npos);
}

TEST(Encoding, NamesTheByteThatItDoesNotHave) {
    const auto refusal = [](const std::string& encoding, std::string_view content) {
        const ToolResult result =
            runTool({"subs", "-", "--encoding", encoding, "--as-deployed"}, {.input = std::string(content)});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        return result.err;
    };
    // 0x81 stands for nothing in windows-1252, 0xE9 for nothing in ASCII.
    EXPECT_EQ(refusal("windows-1252", "1\na\x81"), "qlxcc: standard input: line 2, byte 3: 0x81 is not windows-1252\n");
    EXPECT_EQ(refusal("ASCII", "\xE9"), "qlxcc: standard input: line 1, byte 0: 0xE9 is not ASCII\n");
    EXPECT_EQ(refusal("UTF-8", "1\n\n\xC3("), "qlxcc: standard input: line 3, byte 3: 0xC3 is not UTF-8\n");
    EXPECT_EQ(refusal("UTF-16LE", "1\0\n\0a"sv),
              "qlxcc: standard input: line 2, byte 4: 0x61 is the start of a character that the file's end cuts\n");
    // Behind more than what is converted at once: 300000 lines of 3 bytes.
    std::string text;
    for (int line = 0; line < 300000; ++line) {
        text += "\xE9z\n";
    }
    EXPECT_EQ(refusal("windows-1252", text + "\x81"),
              "qlxcc: standard input: line 300001, byte 900000: 0x81 is not windows-1252\n");
}

TEST(Encoding, MustBeKnown) {
    const ToolResult result = runTool({"subs", "a.srt", "--encoding", "latin-nowhere"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err,
              "qlxcc: --encoding: \"latin-nowhere\" is no encoding that is known here (iconv -l lists them) "
              "(see qlxcc subs --help)\n");
}

TEST(SubtitleLimits, RefuseALongFileBeforeItIsRead) {
    const TemporaryFolder folder;
    for (const std::string& name : std::vector<std::string>{"a.srt", "a.stl", "a.json"}) {
        const std::string file = folder.write(name, "1\n");
        std::filesystem::resize_file(file, std::uintmax_t{4} << 30U);
        for (const std::vector<std::string>& arguments :
             {std::vector<std::string>{"subs", file}, playArguments(file, "25"), deployedCaptionArguments(file, "25"),
              std::vector<std::string>{"subs", file, "--encoding", "UTF-16"}}) {
            const ToolResult result = runTool(arguments);
            EXPECT_EQ(result.exitCode, 1);
            EXPECT_EQ(result.err, "qlxcc: " + file + ": longer than 64 MiB: no subtitle file\n");
        }
    }
    const ToolResult endless = runTool({"subs", "/dev/zero"});
    EXPECT_EQ(endless.exitCode, 1);
    EXPECT_EQ(endless.err, "qlxcc: /dev/zero: longer than 64 MiB: no subtitle file\n");
}

TEST(SubtitleLimits, RefuseTextsThatAreNoCues) {
    const auto refusal = [](const std::string& content) {
        const ToolResult result = runTool({"subs", "-", "--as-deployed"}, {.input = content});
        EXPECT_EQ(result.exitCode, 1);
        return result.err;
    };
    const std::string start = "1\n00:00:00,000 --> 00:00:01,000\n";
    const std::string what = "a cue of more than 1 MiB or 10000 lines\n";
    EXPECT_EQ(refusal("\n" + start + std::string(1U << 20U, 'a')), "qlxcc: standard input: line 2: " + what);
    std::string lines = start;
    for (int line = 0; line < 10000; ++line) {
        lines += "a\n";
    }
    EXPECT_EQ(refusal(lines), "qlxcc: standard input: line 1: " + what);
    const std::string texts = R"([{"start_time_seconds":0,"end_time_seconds":1,"text_lines":[{"text":"a"}]},)"
                              "\n"
                              R"({"text_lines":[)";
    EXPECT_EQ(refusal(texts + "\"" + std::string((1U << 20U) + 2, 'a') + "\"]}]"),
              "qlxcc: standard input: line 2: a JSON text longer than 1 MiB\n");
    std::string values;
    for (int value = 0; value < 20000; ++value) {
        values += "0,";
    }
    EXPECT_EQ(refusal(texts + values + "0]}]"), "qlxcc: standard input: element 2: larger than any subtitle (1 MiB)\n");
}

TEST(SubtitleLimits, KeepTheFirstThousandProblems) {
    std::string content = srt({{"00:00:01,000", "00:00:02,000", "Bonjour"}});
    for (int index = 0; index < 1003; ++index) {
        content += "stray\n\n";
    }
    const auto lines = linesOf(runTool({"subs", "-", "--as-deployed"}, {.input = content}).out);
    ASSERT_EQ(lines.size(), 1004U);
    EXPECT_EQ(lines[2], "line 5: cue left out: cue without a timing line");
    EXPECT_EQ(lines[1002], "and 3 more problems");
    EXPECT_EQ(lines[1003], "standard input (SRT): 1 cue, 1003 left out");
}

TEST(SubtitlePieces, GiveTheCuesOfTheWholeFile) {
    // More than is handed to the library at once, with blank lines of every kind between the cues.
    std::string content = "\xEF\xBB\xBF";
    for (int number = 0; number < 20000; ++number) {
        content += std::to_string(number) + "\n00:00:01,000 --> 00:00:02,000\r\nBonjour " + std::to_string(number) +
                   (number % 3 == 0   ? "\n\n"
                    : number % 3 == 1 ? "\r\n\r\n\n\n"
                                      : "\n\r\n");
    }
    qlx::tool::Subtitles subtitles;
    int next = 0;
    qlx::tool::readSRT(subtitles, content, {"memory"},
                       {[&](const auto& record) {
                            ASSERT_EQ(qlx::tool::subtitleText(*record), "Bonjour " + std::to_string(next));
                            ++next;
                        },
                        {}});
    EXPECT_EQ(next, 20000);
    EXPECT_EQ(subtitles.cues, 20000U);
    EXPECT_EQ(subtitles.problems.count(), 0U);
}

TEST(Quiet, LeavesWarningsOut) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kTwoCues + "stray\n");
    EXPECT_TRUE(isOneMessage(runTool(deployedTeletextArguments(file, "25")).err));
    const std::string expected = runTool(deployedTeletextArguments(file, "25")).out;
    for (const char* option : {"-q", "--quiet"}) {
        std::vector<std::string> arguments = deployedTeletextArguments(file, "25", {option});
        EXPECT_EQ(runTool(arguments).err, "");
        EXPECT_EQ(runTool(arguments).out, expected);
        arguments.pop_back();
        arguments.insert(arguments.begin(), option);
        EXPECT_EQ(runTool(arguments).err, "");
    }
}

TEST(Quiet, StillSaysErrors) {
    const ToolResult result = runTool({"-q", "subs", "/nowhere/a.srt"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: /nowhere/a.srt: No such file or directory\n");
}

TEST(Quiet, ShowsNoProgressOnATerminal) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kTwoCues);
    // The frames in front of the rest are more than what is read to tell the kind of file.
    const std::string klv =
        runTool(deployedTeletextArguments(file, "25", {"--format", "klv", "--duration", "00:03:00", "-o", "-"})).out;
    const ToolConditions conditions{.input = klv, .inputRestsAt = klv.size() / 2, .waitForText = "frames"};
    ASSERT_GT(klv.size(), 1'500'000U);
    const std::vector<std::string> arguments{"scan", "-", "--format", "klv", "-o", "/dev/null"};
    const ToolResult usual = runTool(arguments, conditions);
    EXPECT_EQ(usual.exitCode, 0);
    EXPECT_NE(usual.err.find(" frames, "), std::string::npos) << usual.err;
    std::vector<std::string> quiet{"-q"};
    quiet.insert(quiet.end(), arguments.begin(), arguments.end());
    const ToolResult result = runTool(quiet, conditions);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
}

}  // namespace
