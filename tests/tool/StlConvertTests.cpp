// qlxcc convert: EBU STL from and to other subtitle files.
#include "STLFiles.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace stl_convert_tests {
namespace {

using qlxtest::converted;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

std::string timeCodesOf(const std::string& stl, std::size_t block = 0) {
    std::string text;
    for (std::size_t place = 0; place < 8; ++place) {
        const auto number = static_cast<unsigned>(static_cast<unsigned char>(stl.at(1024 + block * 128 + 5 + place)));
        text += (place == 0 ? "" : place == 4 ? " " : ":") + std::to_string(number);
    }
    return text;
}

TEST(ConvertStl, HasACompleteHead) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "a"}}));
    const Arguments options{"--title",     "Caf\u00E9", "--episode",  "One",         "--publisher", "Us",
                            "--country",   "DEU",       "--language", "de",          "--date",      "261122",
                            "--reference", "L1",        "--to-start", "10:00:00:00", "--to-rate",   "25"};
    const ToolResult result = converted(file, "stl", options);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    ASSERT_EQ(result.out.size(), 1152U);
    const struct {
        std::size_t place;
        std::string_view text;
    } fields[] = {{0, "850STL25.0110008Caf\x82 "},
                  {48, "One  "},
                  {208, "L1  "},
                  {224, "261122261122000000100001001382"
                        "31"},
                  {256, "1000000010000100"},
                  {272, "11DEUUs "}};
    for (const auto& field : fields) {
        EXPECT_EQ(result.out.substr(field.place, field.text.size()), field.text) << field.place;
    }
    EXPECT_EQ(timeCodesOf(result.out), "10:0:1:0 10:0:2:0");
    // Never the clock: without a date there is always the same.
    EXPECT_EQ(converted(file, "stl").out.substr(224, 12), "700101700101");
    EXPECT_EQ(converted(file, "stl", options).out, result.out);
    // And back, from where the programme starts.
    const std::string stl = folder.write("out.stl", result.out);
    EXPECT_EQ(converted(stl, "srt", {"--from-start", "auto"}).out, "1\n00:00:01,000 --> 00:00:02,000\na\n\n");
    EXPECT_EQ(converted(stl, "srt", {"--from-start", "auto"}).err, "");
    EXPECT_EQ(converted(stl, "srt", {"--from-start", "0"}).out, "1\n10:00:01,000 --> 10:00:02,000\na\n\n");
    EXPECT_EQ(converted(stl, "srt", {"--from-start", "10:00:00:10", "--from-rate", "25"}).out,
              "1\n00:00:00,600 --> 00:00:01,600\na\n\n");
    EXPECT_EQ(runTool({"convert", stl, "-o", folder.path("same.stl")}).exitCode, 0);
    EXPECT_EQ(folder.read("same.stl"), result.out);
}

TEST(ConvertStl, CountsFramesOfItsRates) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:01:00,060", "00:10:00,000", "a"}}));
    const struct {
        Arguments options;
        std::string_view code;
        std::string_view timeCodes;
    } cases[] = {{{}, "STL25.01", "0:1:0:2 0:10:0:0"},
                 {{"--to-rate", "25"}, "STL25.01", "0:1:0:2 0:10:0:0"},
                 {{"--to-rate", "30"}, "STL30.01", "0:1:0:2 0:10:0:0"},
                 {{"--from-rate", "30"}, "STL30.01", "0:1:0:2 0:10:0:0"},
                 {{"--from-rate", "24"}, "STL25.01", "0:1:0:2 0:10:0:0"},
                 // 60.06 s are 1800 frames, 600 s 17982: 18 of which are dropped numbers.
                 {{"--to-rate", "29.97"}, "STL30.01", "0:1:0:0 0:9:59:12"},
                 {{"--to-rate", "29.97", "--drop"}, "STL30.01", "0:1:0:2 0:10:0:0"}};
    for (const auto& each : cases) {
        const ToolResult result = converted(file, "stl", each.options);
        ASSERT_EQ(result.out.size(), 1152U) << result.err;
        EXPECT_EQ(result.out.substr(3, 8), each.code);
        EXPECT_EQ(timeCodesOf(result.out), each.timeCodes) << each.code;
    }
    // And as they are read.
    const std::string drop = folder.write("d.stl", converted(file, "stl", {"--to-rate", "29.97", "--drop"}).out);
    EXPECT_EQ(converted(drop, "srt", {"--from-rate", "29.97", "--drop"}).out,
              "1\n00:01:00,060 --> 00:09:59,999\na\n\n");
    EXPECT_EQ(converted(drop, "srt").out, "1\n00:01:00,067 --> 00:10:00,000\na\n\n");
    EXPECT_NE(converted(drop, "srt", {"--from-rate", "25"}).err.find("--from-rate is without effect"),
              std::string::npos);
}

TEST(ConvertStl, WritesTablesAndLooks) {
    const TemporaryFolder folder;
    const auto rowOf = [&](const std::string& text, const Arguments& options) {
        const std::string stl =
            converted(folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", text}})), "stl", options).out;
        const std::string field = stl.substr(1024 + 16, 112);
        return field.substr(0, field.find('\x8F'));
    };
    EXPECT_EQ(rowOf("\u0416", {"--language", "ru"}), "\x0D\x0B\x0B\xB6\x0A\x0A");
    EXPECT_EQ(rowOf("\u05D0", {"--table", "04"}), "\x0D\x0B\x0B\xE0\x0A\x0A");
    EXPECT_EQ(rowOf("a <font color=\"yellow\">b</font>", {"--single-height"}), "\x0B\x0B"
                                                                               "a\x03"
                                                                               "b\x0A\x0A");
    EXPECT_EQ(rowOf("<i>a</i> b", {"--open"}), "\x80"
                                               "a \x81"
                                               "b");
    const ToolResult lost =
        converted(folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "\u4E00"}})), "stl", {"--strict"});
    EXPECT_EQ(lost.exitCode, 1);
    EXPECT_NE(lost.err.find("cue 1: row 1: the code table has nothing for character 4e00 "), std::string::npos)
        << lost.err;
    // What helps is said once, and only where it may help.
    const auto counted = [&](const std::string& text, const Arguments& options) {
        const std::vector<qlxtest::Cue> cues(20, {"00:00:01,000", "00:00:02,000", text});
        const std::string err = converted(folder.write("in.srt", srt(cues)), "stl", options).err;
        std::size_t count = 0;
        for (std::size_t place = err.find("--table"); place != std::string::npos;
             place = err.find("--table", place + 1)) {
            ++count;
        }
        return count;
    };
    EXPECT_EQ(counted("\u0391\u03B2", {}), 1U);
    EXPECT_EQ(counted("\u0391\u03B2", {"--table", "03"}), 0U);
    EXPECT_EQ(counted("\u2026", {}), 0U);
}

// Findings of offset 0 are of the file, not of a cue.
TEST(ConvertStl, NamesEachFieldThatIsCutOrLosesCharacters) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "a"}}));
    const ToolResult result =
        converted(file, "stl",
                  {"--title", "\u0416\u4E00 one", "--episode", std::string(40, 'e'), "--publisher",
                   "\u20AC" + std::string(31, 'p') + "\u0416", "--reference", "caf\u00E9?", "--strict"});
    EXPECT_EQ(result.exitCode, 1);
    const std::string front = "warning: " + file + ": ";
    for (const std::string_view said : {"original programme title (OPT): code page 850 has nothing for character 416 ",
                                        "original episode title (OET): text of 40 characters is cut\n",
                                        "publisher (PUB): text of 33 characters is cut\n",
                                        "publisher (PUB): code page 850 has nothing for character 20ac "}) {
        EXPECT_NE(result.err.find(front + std::string(said)), std::string::npos) << said << "\n" << result.err;
    }
    for (const std::string_view other :
         {"cue ", "(SLR)", "character 4e00", "(PUB): code page 850 has nothing for character 416"}) {
        EXPECT_EQ(result.err.find(other), std::string::npos) << other << "\n" << result.err;
    }
    EXPECT_EQ(result.out.substr(16, 7), "?? one ");
}

TEST(ConvertStl, RefusesWhatItHasNoPlaceFor) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "a"}}));
    const struct {
        std::string format;
        Arguments options;
        std::string_view message;
    } cases[] = {{"stl", {"--date", "2026"}, "--date: \"2026\" is not YYMMDD"},
                 {"stl", {"--language", "tlh"}, "--language: EBU STL has no code for \"tlh\""},
                 {"stl", {"--country", "DE"}, "--country: \"DE\" is not three letters"},
                 {"stl", {"--to-rate", "24"}, "--to-rate: EBU STL has 25, 29.97 and 30"},
                 {"srt", {"--title", "x"}, "--title is for EBU STL only"},
                 {"vtt", {"--open"}, "--open is for EBU STL only"}};
    for (const auto& each : cases) {
        const ToolResult result = converted(file, each.format, each.options);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_NE(result.err.find(each.message), std::string::npos) << result.err;
    }
}

TEST(ConvertStl, SaysWhatOfAFileIsNoCue) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "in.stl", qlxtest::stl({{.start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .text = "who", .comment = 1},
                                {.start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .text = "half", .extension = 0},
                                {.number = 1, .start = {0, 0, 3, 0}, .end = {0, 0, 4, 0}, .text = "b\xC0"}},
                               5));
    const ToolResult result = converted(file, "srt", {"--report"});
    EXPECT_EQ(result.out, "1\n00:00:01,000 --> 00:00:02,000\nhalf\n\n2\n00:00:03,000 --> 00:00:04,000\nb\uFFFD\n\n");
    // Numbers that count from 0 count from 1 there, others stay.
    EXPECT_NE(converted(file, "vtt").out.find("\n2\n00:00:03.000"), std::string::npos);
    const std::string fifth = folder.write(
        "b.stl", qlxtest::stl({{.number = 5, .start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .text = "five"}}));
    EXPECT_EQ(converted(fifth, "srt").out, "5\n00:00:01,000 --> 00:00:02,000\nfive\n\n");
    EXPECT_EQ(result.exitCode, 1);
    for (const std::string_view said : {"comment left out: who", "TTI block 2: extension block 1 is missing",
                                        "TTI block 3: byte ", "header byte 238: 5 blocks announced, 3 are there"}) {
        EXPECT_NE(result.err.find(said), std::string::npos) << said << "\n" << result.err;
    }
}

TEST(ConvertStl, OfFewerBlocksThanAreAnnouncedIsDamaged) {
    const TemporaryFolder folder;
    const std::vector<qlxtest::STLCue> blocks{{.start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .text = "a"},
                                              {.number = 1, .start = {0, 0, 3, 0}, .end = {0, 0, 3, 0}, .text = "b"}};
    const std::string said = "header byte 238: 6 blocks announced, 1 are there";
    const ToolResult cut = converted(folder.write("cut.stl", qlxtest::stl({blocks[0]}, 6)), "srt");
    EXPECT_EQ(cut.exitCode, 1);
    EXPECT_NE(cut.err.find(said), std::string::npos) << cut.err;
    // More than are announced are only said.
    const ToolResult more = converted(folder.write("more.stl", qlxtest::stl({blocks[0], blocks[0]}, 1)), "srt");
    EXPECT_EQ(more.exitCode, 0);
    EXPECT_NE(more.err.find("1 blocks announced, 2 are there"), std::string::npos) << more.err;
    const ToolResult late = converted(folder.write("late.stl", qlxtest::stl(blocks)), "srt");
    EXPECT_NE(late.err.find("time code out 00:00:03:00 is not later than time code in 00:00:03:00"), std::string::npos)
        << late.err;
}

TEST(ConvertStl, KeepsCommentsAndUserDataInTheSameFormatAndJson) {
    const TemporaryFolder folder;
    const std::string text = "\x0B\x0B"
                             "a\x0A\x0A";
    const std::string content =
        qlxtest::stl({{.number = 5, .start = {0, 0, 0, 5}, .end = {0, 0, 0, 9}, .text = "who", .comment = 1},
                      {.number = 1, .start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .text = text},
                      {.number = 1, .text = "their own", .extension = '\xFE'}});
    const std::string file = folder.write("in.stl", content);
    const std::string json = folder.path("a.json");
    const auto keep = [](const std::string& in, const std::string& out, const std::string& more) {
        const ToolResult kept = runTool({"convert", in, "-o", out, "--strict", more});
        EXPECT_EQ(kept.exitCode, 0) << kept.err;
    };
    keep(file, folder.path("a.stl"), "--single-height");
    keep(file, json, "--report");
    keep(json, folder.path("b.stl"), "--single-height");
    EXPECT_EQ(folder.read("b.stl"), folder.read("a.stl"));
    const auto blocks = [](const std::string& bytes) {
        return bytes.substr(std::min<std::size_t>(1024, bytes.size()));
    };
    // Three blocks (TNB), of which one is a subtitle (TNS).
    EXPECT_EQ(folder.read("a.stl").substr(238, 10), "0000300001");
    const std::string back = blocks(folder.read("a.stl"));
    const std::string had = blocks(content);
    ASSERT_EQ(back.size(), had.size());
    EXPECT_EQ(back.substr(0, 128), had.substr(0, 128));
    EXPECT_EQ(back.substr(256), had.substr(256));
    // Other formats lose them: that is said, and counts.
    for (const std::string& in : {file, json}) {
        const ToolResult lost = converted(in, "srt", {"--strict"});
        EXPECT_EQ(lost.exitCode, 1) << lost.err;
        EXPECT_NE(lost.err.find(in == json ? "lost properties: 2" : "comment left out: who"), std::string::npos)
            << lost.err;
    }
    EXPECT_NE(converted(file, "vtt").err.find("TTI block 3: user data left out"), std::string::npos);
}

// EBU Tech 3264, CPN: bytes of texts that are kept are those of the code page that they were written in.
TEST(ConvertStl, KeepsTheCodePageOfTextsThatItKeeps) {
    const TemporaryFolder folder;
    std::string content = qlxtest::stl({{.number = 1, .start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .text = "a"}});
    // The sign of the cent and o with a stroke, of which 850 has the other one at this byte.
    content.replace(0, 3, "437");
    content.replace(16, 4, "5\x9B  ");
    const std::string file = folder.write("in.stl", content);
    EXPECT_EQ(converted(file, "stl").out.substr(0, 3), "437");
    EXPECT_EQ(converted(file, "stl").out.substr(16, 4), "5\x9B  ");
    EXPECT_EQ(converted(file, "stl", {"--language", "de", "--date", "261124"}).out.substr(0, 3), "437");
    const std::string published = converted(file, "stl", {"--publisher", "Abc"}).out;
    EXPECT_EQ(published.substr(0, 3), "437");
    EXPECT_EQ(published.substr(16, 4), "5\x9B  ");
    const std::string titled = converted(file, "stl", {"--title", "\u00F8"}).out;
    EXPECT_EQ(titled.substr(0, 3), "850");
    EXPECT_EQ(titled.substr(16, 4), "\x9B   ");
    content.replace(0, 3, "   ");
    EXPECT_EQ(converted(folder.write("b.stl", content), "stl").out.substr(0, 3), "850");
}

TEST(ConvertStl, KeepsGroupsInTheSameFormatAndJson) {
    const TemporaryFolder folder;
    std::string content = qlxtest::stl({{.number = 1, .start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .text = "a"},
                                        {.number = 1, .start = {0, 0, 3, 0}, .end = {0, 0, 4, 0}, .text = "b"}});
    content[1024 + 128] = 3;
    const std::string file = folder.write("in.stl", content);
    const std::string json = folder.path("a.json");
    const auto groupsOf = [&](const std::string& in) {
        const std::string stl = folder.path("out.stl");
        const ToolResult result = runTool({"convert", in, "-o", stl, "--strict", "--report"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        // TNG and both groups, behind which are the numbers.
        const std::string bytes = folder.read("out.stl");
        return bytes.size() == 1280 ? bytes.substr(248, 3) + bytes.substr(1024, 3) + bytes.substr(1152, 3) : bytes;
    };
    const std::string expected("002\0\1\0\3\1\0", 9);
    EXPECT_EQ(groupsOf(file), expected);
    EXPECT_EQ(runTool({"convert", file, "-o", json, "--strict"}).exitCode, 0);
    EXPECT_EQ(groupsOf(json), expected);
    // Other formats have none, and say what they lose of a file that has them.
    const ToolResult lost = converted(json, "vtt", {"--strict"});
    EXPECT_EQ(lost.exitCode, 1);
    EXPECT_NE(lost.err.find("lost properties: 1"), std::string::npos) << lost.err;
}

}  // namespace
}  // namespace stl_convert_tests
