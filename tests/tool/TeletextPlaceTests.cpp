// The rows of teletext that cues name, from EBU STL and teletext to teletext again; rows of single height; where a programme
// begins in EBU STL; what a transport stream is made with.
#include "STLFiles.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace teletext_place_test {

using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::stl;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

/// Rows 3; 19 and 21; 22; 1, of double height.
std::string placedStl() {
    return stl({{.number = 0, .start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .verticalPosition = 3, .text = "\x0DThree"},
                {.number = 1,
                 .start = {0, 0, 3, 0},
                 .end = {0, 0, 4, 0},
                 .verticalPosition = 19,
                 .text = "\x0DNineteen\x8A\x8A\x0DTwenty-one"},
                {.number = 2, .start = {0, 0, 5, 0}, .end = {0, 0, 6, 0}, .verticalPosition = 22, .text = "\x0DLast"},
                {.number = 3, .start = {0, 0, 7, 0}, .end = {0, 0, 8, 0}, .verticalPosition = 1, .text = "\x0DTop"}});
}

/// The rows of OP-47 packets, in their order, as scan names them.
std::vector<std::string> scannedRows(const std::string& file) {
    const ToolResult result = runTool({"scan", file});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    std::vector<std::string> rows;
    const std::string kRow = " row ";
    for (const std::string& line : qlxtest::linesOf(result.out)) {
        const std::size_t place = line.find(kRow);
        if (place != std::string::npos) {
            rows.push_back(line.substr(place + kRow.size(), line.find(':', place) - place - kRow.size()));
        }
    }
    return rows;
}

ToolResult converted(const std::string& from, const std::string& to, Arguments more = {}) {
    more.insert(more.begin(), {"convert", from, "-o", to});
    const ToolResult result = runTool(more);
    EXPECT_EQ(result.exitCode, 0) << from << " to " << to << ": " << result.err;
    return result;
}

TEST(TeletextPlaces, AreTheRowsThatStlNames) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.stl", placedStl());
    const std::vector<std::string> expected{"3", "19", "21", "22", "1"};
    const std::string packets = folder.path("a.klv");
    const ToolResult played = runTool(playArguments(cues, "25", {"-o", packets}));
    ASSERT_EQ(played.exitCode, 0) << played.err;
    EXPECT_EQ(played.err, "");
    EXPECT_EQ(scannedRows(packets), expected);
    // From packets to cues and back they are the same packets.
    const Arguments read{"--page", "888", "--from-rate", "25"};
    const Arguments write{"--page", "888", "--to-rate", "25"};
    converted(packets, folder.path("b.json"), read);
    converted(folder.path("b.json"), folder.path("b.klv"), write);
    EXPECT_TRUE(folder.read("a.klv").starts_with(folder.read("b.klv")));
    EXPECT_EQ(scannedRows(folder.path("b.klv")), expected);
    // The same by way of EBU STL.
    converted(packets, folder.path("c.stl"), read);
    converted(folder.path("c.stl"), folder.path("c.klv"), write);
    EXPECT_EQ(scannedRows(folder.path("c.klv")), expected);
#ifdef QLX_STREAMS_FFMPEG
    converted(cues, folder.path("d.ts"), write);
    converted(folder.path("d.ts"), folder.path("d.json"), {"--page", "888"});
    converted(folder.path("d.json"), folder.path("d.klv"), write);
    EXPECT_TRUE(folder.read("a.klv").starts_with(folder.read("d.klv")));
#endif
}

// Rows and columns of a page are places of the picture in text formats, and are the same when they are read.
TEST(TeletextPlaces, ComeBackFromTextFormats) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.stl", placedStl());
    const ToolResult played = runTool(playArguments(cues, "25", {"-o", folder.path("a.klv")}));
    ASSERT_EQ(played.exitCode, 0) << played.err;
    for (const std::string format : {"vtt", "ttml"}) {
        const std::string text = folder.path("b." + format);
        converted(folder.path("a.klv"), text, {"--page", "888", "--from-rate", "25"});
        const std::string packets = folder.path(format + ".klv");
        converted(text, packets, {"--page", "888", "--to-rate", "25"});
        EXPECT_EQ(scannedRows(packets), (std::vector<std::string>{"3", "19", "21", "22", "1"})) << format;
        EXPECT_TRUE(folder.read("a.klv").starts_with(folder.read(format + ".klv"))) << format;
    }
}

TEST(TeletextPlaces, SayWhichCueHasThePlaceOfAnother) {
    const TemporaryFolder folder;
    const std::string cues = folder.write(
        "in.stl",
        stl({{.number = 0, .start = {0, 0, 1, 0}, .end = {0, 0, 3, 0}, .verticalPosition = 19, .text = "\x0DOne"},
             {.number = 1, .start = {0, 0, 2, 0}, .end = {0, 0, 4, 0}, .verticalPosition = 20, .text = "\x0DTwo"}}));
    const ToolResult played = runTool(playArguments(cues, "25", {"-o", folder.path("a.klv")}));
    EXPECT_NE(played.err.find("text is moved from row 20 up to 17, another one is on air"), std::string::npos)
        << played.err;
    EXPECT_EQ(scannedRows(folder.path("a.klv")), (std::vector<std::string>{"19", "17", "17"}));
}

TEST(TeletextPlaces, AreOfSingleHeightWhenAsked) {
    const TemporaryFolder folder;
    const std::string thirtyEight(38, 'x');
    const std::string cues = folder.write("in.srt", "1\n00:00:01,000 --> 00:00:02,000\n" + thirtyEight +
                                                        "\n\n"
                                                        "2\n00:00:03,000 --> 00:00:04,000\n<font color=\"#ffff00\">" +
                                                        thirtyEight.substr(1) + "</font>\n\n");
    const ToolResult played = runTool(playArguments(cues, "25", {"-o", folder.path("a.klv"), "--single-height"}));
    EXPECT_EQ(played.exitCode, 0);
    EXPECT_EQ(played.err, "");
    EXPECT_EQ(scannedRows(folder.path("a.klv")), (std::vector<std::string>{"23", "23"}));
    // Of double height one character less has room.
    const ToolResult tall = runTool(playArguments(cues, "25", {"-o", folder.path("b.klv")}));
    EXPECT_NE(tall.err.find("row 1 is broken behind 37 characters"), std::string::npos) << tall.err;
    EXPECT_NE(tall.err.find("row 1 is broken behind 36 characters"), std::string::npos) << tall.err;
    converted(cues, folder.path("c.klv"), {"--page", "888", "--to-rate", "25", "--single-height"});
    EXPECT_TRUE(folder.read("a.klv").starts_with(folder.read("c.klv")));
    for (const Arguments& wrong :
         {Arguments{"convert", cues, "-o", folder.path("x.vtt"), "--single-height"},
          Arguments{"play", cues, "--mode", "cea608", "--rate", "25", "--single-height"},
          Arguments{"convert", folder.path("a.klv"), "-o", folder.path("x.jsonl"), "--single-height"}}) {
        const ToolResult refused = runTool(wrong);
        EXPECT_EQ(refused.exitCode, 2);
        EXPECT_NE(refused.err.find("--single-height is for "), std::string::npos) << refused.err;
    }
}

TEST(TeletextPlaces, FollowTheProgrammeOfStl) {
    const TemporaryFolder folder;
    std::string file = stl({{.number = 0, .start = {10, 0, 30, 0}, .end = {10, 0, 31, 0}, .text = "Cue"},
                            {.number = 1, .start = {9, 59, 59, 0}, .end = {10, 0, 0, 0}, .text = "Early"}});
    file.replace(256, 8, "10002000");  // Its programme starts at 10:00:20:00.
    const std::string cues = folder.write("in.stl", file);
    struct Start {
        std::string option;
        std::string start;
    };
    for (const Start& each : {Start{"auto", "00:00:10,000"}, Start{"0", "10:00:30,000"},
                              Start{"10:00:25:00", "00:00:05,000"}, Start{"36029", "00:00:01,000"}}) {
        const Arguments list{"subs", cues, "--from-start", each.option};
        const ToolResult listed = runTool(list);
        EXPECT_EQ(listed.exitCode, 0) << listed.err;
        EXPECT_NE(listed.out.find(each.start), std::string::npos) << listed.out;
        const bool hasEarly = each.option != "0";
        EXPECT_EQ(listed.out.find("1 cue before the start, which is not subtracted from them") != std::string::npos,
                  hasEarly)
            << listed.out;
        const ToolResult played = runTool(playArguments(
            cues, "25",
            {"--from-start", each.option, "--duration", "60", "--from", each.option == "0" ? "36000" : "0"}));
        EXPECT_EQ(played.exitCode, 0) << played.err;
        EXPECT_NE(played.out.find(each.start), std::string::npos) << played.out;
    }
    const std::string text = folder.write("in.srt", qlxtest::srt({{"00:00:01,000", "00:00:02,000", "Text"}}));
    for (const Arguments& wrong :
         {Arguments{"subs", text, "--from-start", "10:00:00:00"}, Arguments{"subs", text, "--from-rate", "25"},
          playArguments(cues, "25", {"--from-start", "auto", "--as-deployed"}),
          Arguments{"subs", cues, "--from-start", "10:00:00:25"}}) {
        const ToolResult refused = runTool(wrong);
        EXPECT_EQ(refused.exitCode, 2);
        EXPECT_NE(refused.err.find("--from-start"), std::string::npos) << refused.err;
    }
}

#ifdef QLX_STREAMS_FFMPEG
TEST(TeletextPlaces, AreInStreamsMadeByOptionsOfPlay) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.srt", qlxtest::srt({{"00:00:01,000", "00:00:02,000", "Text"}}));
    const Arguments options{"--pid",     "300",    "--map-pid",      "301",  "--pcr-pid",         "302",
                            "--bitrate", "600000", "--service-name", "Eins", "--hearing-impaired"};
    Arguments more = options;
    more.insert(more.end(), {"--page", "888", "--to-rate", "25"});
    converted(cues, folder.path("a.ts"), more);
    const Arguments play = playArguments(cues, "25", options);
    Arguments played = play;
    played.insert(played.end(), {"-o", folder.path("b.ts"), "--duration", "2.04"});
    ASSERT_EQ(runTool(played).exitCode, 0);
    const ToolResult packets = runTool(playArguments(cues, "25", {"-o", folder.path("c.klv"), "--duration", "2.04"}));
    ASSERT_EQ(packets.exitCode, 0) << packets.err;
    more = options;
    more.insert(more.end(), {"--from-rate", "25"});
    converted(folder.path("c.klv"), folder.path("c.ts"), more);
    for (const std::string name : {"a.ts", "b.ts", "c.ts"}) {
        const std::string stream = folder.read(name);
        ASSERT_EQ(stream.size() % 188, 0U);
        bool hasTeletext = false;
        bool hasMap = false;
        bool hasClock = false;
        for (std::size_t place = 0; place < stream.size(); place += 188) {
            const int pid = (static_cast<unsigned char>(stream[place + 1]) & 0x1F) << 8 |
                            static_cast<unsigned char>(stream[place + 2]);
            hasTeletext = hasTeletext || pid == 300;
            hasMap = hasMap || pid == 301;
            hasClock = hasClock || pid == 302;
            EXPECT_TRUE(pid <= 17 || (pid >= 300 && pid <= 302) || pid == 0x1FFF) << pid;
        }
        EXPECT_TRUE(hasTeletext && hasMap && hasClock) << name;
        EXPECT_NE(stream.find("Eins"), std::string::npos) << name;
        // Type 5 of magazine 8, page 88 (EN 300 468, 6.2.43).
        EXPECT_NE(stream.find("\x28\x88"), std::string::npos) << name;
    }
    // 600,000 bits a second: 750 bytes are 10 ms.
    const std::size_t bytes = folder.read("b.ts").size();
    EXPECT_NEAR(static_cast<double>(bytes), 600'000.0 / 8 * 2.04, 600'000.0 / 8 * 0.3);
    for (const std::string& option : options) {
        if (option.starts_with("--")) {
            Arguments wrong{"convert", cues, "-o", folder.path("x.vtt"), option};
            if (option != "--hearing-impaired") {
                wrong.push_back(option == "--service-name" ? "x" : option == "--bitrate" ? "600000" : "300");
            }
            const ToolResult refused = runTool(wrong);
            EXPECT_EQ(refused.exitCode, 2);
            EXPECT_NE(refused.err.find(option + " is for the format ts only"), std::string::npos) << refused.err;
        }
    }
}
#endif

}  // namespace teletext_place_test
