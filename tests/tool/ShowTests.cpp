// qlxcc show: what is on air, decoded from files.
#include "AncBytes.h"
#include "CaptionBytes.h"
#include "SubtitleFiles.h"
#include "TeletextBytes.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

namespace {

using qlxtest::deployedCaptionArguments;
using qlxtest::isOneMessage;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using qlxtest::withoutReturns;

const std::string kTwoCues =
    srt({{"00:00:01,000", "00:00:02,000", "Bonjour"}, {"00:00:03,000", "00:00:04,000", "L'été\nà Nîmes"}});

/// A file that play writes from two cues at 25 frames a second.
std::string played(const TemporaryFolder& folder, const std::string& name, bool isTeletext = true) {
    const std::string file = folder.write("in.srt", kTwoCues);
    const std::vector<std::string> more{"-o", folder.path(name)};
    const ToolResult result =
        runTool(isTeletext ? playArguments(file, "25", more) : deployedCaptionArguments(file, "25", more));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return folder.path(name);
}

/// `show FILE` and more, which goes well.
std::string shown(const std::string& file, const std::vector<std::string>& more) {
    std::vector<std::string> arguments{"show", file};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ToolResult result = runTool(arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
}

std::string spaces(std::size_t count) {
    return std::string(count, ' ');
}

// A cue is due with the first frame at its start: 25 (1 s) has the rows. It ends with frame 50 (2 s), in which the page
// is erased. Text stands in the middle of 40 columns.
const std::string kBonjour = "  22  " + spaces(16) + "Bonjour\n";
const std::string kNimes = "  20  " + spaces(17) + "L'été\n  22  " + spaces(16) + "à Nîmes\n";

TEST(Show, ShowsEveryChangeOfAPage) {
    const TemporaryFolder folder;
    const std::string expected = "00:00:01,000 - 00:00:02,000  teletext page 888\n" + kBonjour +
                                 "\n00:00:03,000 - 00:00:04,000  teletext page 888\n" + kNimes;
    EXPECT_EQ(shown(played(folder, "a.klv"), {"--rate", "25", "--all"}), expected);
    EXPECT_EQ(shown(played(folder, "a.jsonl"), {"--all"}), expected);
    EXPECT_EQ(shown(played(folder, "a.v210"), {"--rate", "25", "--all", "--lines", "12,575"}), expected);
    EXPECT_EQ(shown(played(folder, "a.v210"), {"--rate", "25", "--all", "--rows", "2"}), expected);
    // What scan lists as JSON is such a file as well, without times.
    const ToolResult scanned = runTool({"scan", folder.path("a.klv"), "--json"});
    EXPECT_EQ(shown(folder.write("b.jsonl", scanned.out), {"--rate", "25", "--all"}), expected);
}

TEST(Show, ShowsWhatIsOnAirAtATime) {
    const TemporaryFolder folder;
    const std::string file = played(folder, "a.klv");
    const auto at = [&file](const std::string& time) { return shown(file, {"--rate", "25", "--at", time}); };
    const std::string nothing = ": nothing on air\n";
    // Nothing has come by then, of whatever system.
    EXPECT_EQ(at("0"), "teletext page 888 at 00:00:00,000" + nothing + "captions CC1 at 00:00:00,000" + nothing);
    EXPECT_EQ(at("0.999"), "teletext page 888 at 00:00:00,999" + nothing);
    EXPECT_EQ(at("1"), "teletext page 888 at 00:00:01,000, since 00:00:01,000 (frame 25):\n" + kBonjour);
    EXPECT_EQ(at("00:00:01:02"), "teletext page 888 at 00:00:01,080, since 00:00:01,000 (frame 25):\n" + kBonjour);
    EXPECT_EQ(at("1.999"), "teletext page 888 at 00:00:01,999, since 00:00:01,000 (frame 25):\n" + kBonjour);
    EXPECT_EQ(at("2"), "teletext page 888 at 00:00:02,000" + nothing);
    EXPECT_EQ(at("00:00:03,500"), "teletext page 888 at 00:00:03,500, since 00:00:03,000 (frame 75):\n" + kNimes);
    // 1 s behind the last cue's end: 5 s, 125 frames.
    EXPECT_EQ(at("5"), "teletext page 888 at 00:00:05,000: nothing on air (the last frame is at 00:00:04,960)\n");
    EXPECT_EQ(shown(file, {"--rate", "25", "--at", "1.5", "--page", "801"}),
              "teletext page 801 at 00:00:01,500: nothing on air (pages here: 888)\n");
    EXPECT_EQ(shown(file, {"--rate", "25", "--at", "1.5", "--channel", "CC1"}),
              "captions CC1 at 00:00:01,500: nothing on air\n");
}

TEST(Show, TakesATimeFromItsOwnList) {
    // Frame 31 at 29.97 is at 1.03436 s, of which 1.034 is printed.
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:01,030", "00:00:02,000", "Bonjour"}}));
    ASSERT_EQ(runTool(playArguments(file, "29.97", {"-o", folder.path("a.klv")})).exitCode, 0);
    const std::string list = shown(folder.path("a.klv"), {"--rate", "29.97", "--all"});
    EXPECT_TRUE(list.starts_with("00:00:01,034 - 00:00:02,002  teletext page 888\n" + kBonjour)) << list;
    EXPECT_EQ(shown(folder.path("a.klv"), {"--rate", "29.97", "--at", "00:00:01,034"}),
              "teletext page 888 at 00:00:01,034, since 00:00:01,034 (frame 31):\n" + kBonjour);
}

TEST(Show, TakesAFrameFarAwayForALaterOne) {
    // 4.6e18 s are more milliseconds than 64 bits hold. The caption is erased there, and not before a time that is asked for.
    const std::vector<std::string> pairs{"9429", "9470", "c8e9", "8080", "942c"};
    std::string lines;
    for (std::size_t frame = 0; frame < pairs.size(); ++frame) {
        lines += R"({"frame":)" + std::to_string(frame) + R"(,"pts":{"value":)" +
                 (frame == 4 ? "4600000000000000000" : std::to_string(frame)) +
                 R"(,"timescale":1},"packets":[{"line":9,"did":97,"sdid":2,"data":"80)" + pairs[frame] + "\"}]}\n";
    }
    const TemporaryFolder folder;
    const std::string file = folder.write("a.jsonl", lines);
    EXPECT_EQ(shown(file, {"--at", "5"}), "captions CC1 at 00:00:05,000, since 00:00:02,000 (frame 2):\n  15   Hi\n");
    EXPECT_EQ(shown(file, {"--all"}), "00:00:02,000 - 1277777777777777:46:40,000  captions CC1\n  15   Hi\n");
}

TEST(Show, TakesATimeInFrontOfZeroFromItsOwnList) {
    // Frames at 29.97 of which the fifth is at 0: the third, with the text, is at -0.06673 s.
    const std::vector<std::string> pairs{"9429", "9470", "c8e9", "8080", "8080", "942c"};
    std::string lines;
    for (int frame = 0; frame < 6; ++frame) {
        lines += R"({"frame":)" + std::to_string(frame) + R"(,"pts":{"value":)" + std::to_string((frame - 4) * 1001) +
                 R"(,"timescale":30000},"packets":[{"line":9,"did":97,"sdid":2,"data":"80)" +
                 pairs[static_cast<std::size_t>(frame)] + "\"}]}\n";
    }
    const TemporaryFolder folder;
    const std::string file = folder.write("a.jsonl", lines);
    EXPECT_EQ(shown(file, {"--all"}), "-00:00:00,067 - 00:00:00,033  captions CC1\n  15   Hi\n");
    const std::string since = ", since -00:00:00,067 (frame 2):\n  15   Hi\n";
    EXPECT_EQ(shown(file, {"--at", "-00:00:00,067"}), "captions CC1 at -00:00:00,067" + since);
    EXPECT_EQ(shown(file, {"--at=-0.04"}), "captions CC1 at -00:00:00,040" + since);
    EXPECT_EQ(shown(file, {"--at", "-00:00:00:01", "--rate", "25"}), "captions CC1 at -00:00:00,040" + since);
    EXPECT_EQ(shown(file, {"--at", "0"}), "captions CC1 at 00:00:00,000" + since);
    EXPECT_EQ(shown(file, {"--at", "-0.068"}), "captions CC1 at -00:00:00,068: nothing on air\n");
    EXPECT_TRUE(shown(file, {"--at", "0", "--json"}).find(R"("timescale":30000,"value":-2002})") != std::string::npos);
    const std::vector<std::string> list = qlxtest::linesOf(runTool({"scan", file}).out);
    // Each packet has a line for its pair below it.
    ASSERT_GT(list.size(), 9U);
    EXPECT_TRUE(list[1].starts_with("       0 -00:00:00,133      9  61/02 ")) << list[1];
    EXPECT_TRUE(list[9].starts_with("       4  00:00:00,000      9  61/02 ")) << list[9];
}

TEST(Show, SaysWhichOptionATimeWithFramesNeeds) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("a.jsonl", R"({"frame":0,"pts":{"value":0,"timescale":25,"seconds":0},"packets":[]})"
                                "\n");
    const ToolResult result = runTool({"show", file, "--at", "00:00:10:00"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err.substr(0, result.err.find(" (see")),
              "qlxcc: \"00:00:10:00\" counts frames: --rate is needed, which says how many a second has");
    EXPECT_EQ(runTool({"show", file, "--at", "00:00:10:00", "--rate", "29.97"}).exitCode, 0);
}

TEST(Show, ShowsCaptions) {
    const TemporaryFolder folder;
    const std::string file = played(folder, "a.klv", false);
    const ToolResult result = runTool({"show", file, "--rate", "25", "--all"});
    EXPECT_EQ(result.exitCode, 0);
    // The fixed operations leave the counter at 0.
    EXPECT_EQ(result.err,
              "qlxcc: warning: " + file + ": frame 1, line 9: counter 0 once more where 1 was expected (told once)\n");
    const std::vector<std::string> lines = qlxtest::linesOf(result.out);
    ASSERT_EQ(lines.size(), 6U) << result.out;
    EXPECT_TRUE(lines[0].ends_with("  captions CC1"));
    EXPECT_EQ(lines[1], "  12   Bonjour");
    EXPECT_EQ(lines[4], "  12   L'été");
    // The special character falls on the second byte of a pair: receivers show what is left of it, and it is sent so.
    EXPECT_EQ(lines[5].substr(0, 6), "  13  ");
}

TEST(Show, ReadsScenaristFiles) {
    const TemporaryFolder folder;
    // 942c at frame 150 is 5.005 s; row 15, "Hi", italics "you".
    const std::string file =
        folder.write("a.scc", "Scenarist_SCC V1.0\n\n00:00:01:00\t9420 9420 9470 9470 c8e9 91ae 91ae 79ef 7580 942f "
                              "942f\n\n00:00:05:00\t942c 942c\n");
    // The code that shows it is the tenth pair: frame 39, 1.3013 s.
    EXPECT_EQ(shown(file, {"--all"}), "00:00:01,301 - 00:00:05,005  captions CC1\n  15   Hi you\n");
    EXPECT_EQ(shown(file, {"--at", "00:00:02:00"}),
              "captions CC1 at 00:00:02,002, since 00:00:01,301 (frame 39):\n  15   Hi you\n");
    EXPECT_EQ(shown(file, {"--at", "100"}), "captions CC1 at 00:01:40,000: nothing on air\n");
    EXPECT_EQ(shown(file, {"--at", "0.5"}), "teletext page 888 at 00:00:00,500: nothing on air (the first frame is at "
                                            "00:00:01,001)\ncaptions CC1 at 00:00:00,500: nothing on air (the first "
                                            "frame is at 00:00:01,001)\n");
    // A file has the pairs of one field, and does not say of which: that of the channel.
    EXPECT_EQ(shown(file, {"--at", "2", "--channel", "cc2"}), "captions CC2 at 00:00:02,000: nothing on air\n");
    EXPECT_EQ(shown(file, {"--at", "2", "--channel", "cc3"}),
              "captions CC3 at 00:00:02,000, since 00:00:01,301 (frame 39):\n  15   Hi you\n");
    EXPECT_EQ(
        shown(file, {"--all", "--json"}),
        R"({"channel":"CC1","from":{"seconds":1.3013,"timescale":30000,"value":39039},"fromFrame":39,"rows":[{"column":1,"row":15,"runs":[)"
        R"({"background":"black","color":"white","text":"Hi"},)"
        R"({"background":"black","color":"white","italic":true,"text":" you"}],"text":"Hi you"}],)"
        R"("schema":"qlxcc/show/1","to":{"seconds":5.005,"timescale":30000,"value":150150},"toFrame":150})"
        "\n");
    // Without an end it stays.
    const std::string open = folder.write("b.scc", "Scenarist_SCC V1.0\n\n00:00:00:00\t9429 9470 c8e9\n");
    EXPECT_EQ(shown(open, {"--all"}), "00:00:00,067 - end  captions CC1\n  15   Hi\n");
}

TEST(Show, TakesCodesOfDistantFramesAsTwo) {
    const TemporaryFolder folder;
    // Two rows that roll up, each code sent once: the return at the end of a line and the one that begins the next.
    const std::string file =
        folder.write("a.scc", "Scenarist_SCC V1.0\n\n00:00:00:00\t9425 9470 c8e9 94ad\n\n00:00:02:00\t94ad\n");
    // Frames 2 and 3 show the text and move it to row 14; frame 60 (2.002 s) moves it out.
    EXPECT_EQ(shown(file, {"--all"}), "00:00:00,067 - 00:00:00,100  captions CC1\n  15   Hi\n"
                                      "\n00:00:00,100 - 00:00:02,002  captions CC1\n  14   Hi\n");
    // A pair that travels in every other frame has its repetition there.
    const auto frame = [](int number, const std::string& pair) {
        return R"({"frame":)" + std::to_string(number) + R"(,"packets":[{"line":9,"did":97,"sdid":2,"data":"80)" +
               pair + "\"}]}\n";
    };
    const std::string fast = folder.write("a.jsonl", frame(0, "9425") + frame(2, "9470") + frame(4, "c8e9") +
                                                         frame(6, "94ad") + frame(8, "94ad") + frame(11, "94ad"));
    EXPECT_EQ(shown(fast, {"--rate", "50", "--all"}), "00:00:00,080 - 00:00:00,120  captions CC1\n  15   Hi\n"
                                                      "\n00:00:00,120 - 00:00:00,220  captions CC1\n  14   Hi\n");
}

TEST(Show, SaysTheTimeOfAFrameAsItsListDoes) {
    const TemporaryFolder folder;
    // Frame 32 at 29.97 is at 1.06773 s.
    const std::string file = folder.write("a.scc", "Scenarist_SCC V1.0\n\n00:00:01:00\t9429 9470 c8e9\n");
    EXPECT_EQ(shown(file, {"--at", "00:00:01:02"}),
              "captions CC1 at 00:00:01,068, since 00:00:01,068 (frame 32):\n  15   Hi\n");
    // That time leads back to it, although it is rounded up; one behind which the frame is does not.
    EXPECT_EQ(shown(file, {"--at", "00:00:01,068"}), shown(file, {"--at", "00:00:01:02"}));
    EXPECT_TRUE(shown(file, {"--at", "00:00:01,067"}).starts_with("captions CC1 at 00:00:01,067: nothing on air"));
}

TEST(Show, GivesAPageAsJSON) {
    const TemporaryFolder folder;
    EXPECT_EQ(
        shown(played(folder, "a.klv"), {"--rate", "25", "--at", "1.5", "--json", "--page", "888"}),
        R"({"at":{"seconds":1.5,"timescale":1000,"value":1500},"from":{"seconds":1.0,"timescale":25,"value":25},"fromFrame":25,"page":"888","rows":[)"
        R"({"column":16,"doubleHeight":true,"row":22,"runs":[)"
        R"({"background":"black","color":"white","text":"Bonjour"}],"text":"Bonjour"}],"schema":"qlxcc/show/1"})"
        "\n");
    EXPECT_EQ(shown(folder.path("a.klv"), {"--rate", "25", "--at", "0", "--json", "--page", "888"}),
              R"({"at":{"seconds":0.0,"timescale":1000,"value":0},"from":null,"fromFrame":null,"page":"888","rows":[],)"
              R"("schema":"qlxcc/show/1"})"
              "\n");
}

TEST(Show, ReadsPairsFromCea608Packets) {
    // On lines 21 and 284: the field in the first byte's highest bit, then the pair. Paint-on, row 15, "Hi" and "Yo".
    const auto frame = [](int number, const std::string& first, const std::string& second) {
        return R"({"frame":)" + std::to_string(number) + R"(,"packets":[{"line":9,"did":97,"sdid":2,"data":"80)" +
               first + R"("},{"line":571,"did":97,"sdid":2,"data":"00)" + second + "\"}]}\n";
    };
    const TemporaryFolder folder;
    const std::string file = folder.write("a.jsonl", frame(0, "9429", "1529") + frame(1, "9470", "9470") +
                                                         frame(2, "c8e9", "d9ef") + frame(3, "942c", "152c"));
    EXPECT_EQ(shown(file, {"--rate", "25", "--all"}), "00:00:00,080 - 00:00:00,120  captions CC1\n  15   Hi\n");
    EXPECT_EQ(shown(file, {"--rate", "25", "--all", "--channel", "CC3"}),
              "00:00:00,080 - 00:00:00,120  captions CC3\n  15   Yo\n");
}

TEST(Show, SaysWhenThereIsNever) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.jsonl", "{\"frame\":0,\"packets\":[]}\n");
    EXPECT_EQ(shown(file, {"--rate", "25", "--all"}),
              "teletext page 888: never anything on air\ncaptions CC1: never anything on air\n");
    EXPECT_EQ(shown(file, {"--rate", "25", "--at", "0"}),
              "teletext page 888 at 00:00:00,000: nothing on air\ncaptions CC1 at 00:00:00,000: nothing on air\n");
}

TEST(Show, KnowsWrongUsage) {
    const TemporaryFolder folder;
    const std::string file = played(folder, "a.klv");
    const std::string rows = folder.write("a.v210", std::string(128, '\0'));
    const std::string scc = folder.write("a.scc", "Scenarist_SCC V1.0\n");
    const std::vector<std::vector<std::string>> wrong{
        {"show", file},
        {"show", file, "--all", "--at", "1", "--rate", "25"},
        {"show", file, "--all"},
        {"show", file, "--at", "1"},
        {"show", file, "--at", "00:00:01:02"},
        {"show", file, "--at", "00:00:01:25", "--rate", "25"},
        {"show", file, "--all", "--rate", "25", "--png", folder.path("a.png")},
        {"show", file, "--at", "1", "--rate", "25", "--png", "-"},
        {"show", file, "--at", "1", "--rate", "26"},
        {"show", file, "--at", "1", "--rate", "25", "--page", "900"},
        {"show", file, "--at", "1", "--rate", "25", "--page", "88"},
        {"show", file, "--at", "1", "--rate", "25", "--channel", "CC5"},
        {"show", file, "--at", "1", "--rate", "25", "--rows", "2"},
        {"show", rows, "--at", "1", "--rate", "25"},
        {"show", scc, "--at", "1", "--rate", "25"},
    };
    for (const auto& arguments : wrong) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 2) << arguments.back();
        EXPECT_EQ(result.out, "") << arguments.back();
        EXPECT_TRUE(isOneMessage(result.err)) << result.err;
    }
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.klv", "a.scc", "a.v210", "in.srt"}));
}

TEST(Show, ReportsBrokenFiles) {
    const TemporaryFolder folder;
    const std::string file = played(folder, "a.klv");
    const std::string whole = folder.read("a.klv");
    // Cut within the first cue's time: what was on air is shown, and then what is wrong.
    const std::string cut = folder.write("cut.klv", whole.substr(0, whole.size() * 3 / 8));
    const ToolResult result = runTool({"show", cut, "--rate", "25", "--all"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "00:00:01,000 - end  teletext page 888\n" + kBonjour);
    EXPECT_TRUE(isOneMessage(result.err)) << result.err;
    const ToolResult behind = runTool({"show", cut, "--rate", "25", "--at", "3"});
    EXPECT_EQ(behind.exitCode, 1);
    EXPECT_TRUE(
        behind.out.starts_with("teletext page 888 at 00:00:03,000: nothing on air (the last frame is at 00:00:01,"))
        << behind.out;
    EXPECT_NE(behind.err.find("cut"), std::string::npos) << behind.err;
    for (const std::string& content : {std::string(), std::string("rubbish\n")}) {
        for (const char* const format : {"klv", "jsonl", "scc"}) {
            const ToolResult bad =
                runTool({"show", folder.write("bad", content), "--format", format, "--rate", "29.97", "--all"});
            EXPECT_EQ(bad.exitCode, 1) << format;
            EXPECT_TRUE(isOneMessage(bad.err)) << bad.err;
        }
    }
    EXPECT_EQ(runTool({"show", folder.path("none.klv"), "--rate", "25", "--all"}).exitCode, 1);
}

TEST(Show, DrawsAPicture) {
    const TemporaryFolder folder;
    const std::string file = played(folder, "a.klv");
    const std::string picture = folder.path("a.ppm");
    const ToolResult result = runTool({"show", file, "--rate", "25", "--at", "1.5", "--png", picture});
    if (result.err.find("libzvbi") != std::string::npos) {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(isOneMessage(result.err));
        GTEST_SKIP() << "the tool was built without libzvbi";
    }
    EXPECT_EQ(result.exitCode, 0) << result.err;
    // 40 x 25 cells of 12 x 20 pixels.
    const std::string content = folder.read("a.ppm");
    const std::string head = "P6\n480 500\n255\n";
    ASSERT_EQ(content.substr(0, head.size()), head);
    ASSERT_EQ(content.size(), head.size() + 480U * 500 * 3);
    const auto pixel = [&](std::size_t x, std::size_t y) { return content.substr(head.size() + (y * 480 + x) * 3, 3); };
    // The box is black from column 15 to 23 in the rows 22 and 23, with white letters in it, on a grey picture.
    const std::string black(3, '\0');
    const std::string white(3, '\xFF');
    const std::string grey = pixel(0, 0);
    EXPECT_NE(grey, black);
    std::size_t whites = 0;
    for (std::size_t y = 0; y < 500; ++y) {
        for (std::size_t x = 0; x < 480; ++x) {
            const bool isInBox = x >= 15 * 12 && x < 24 * 12 && y >= 22 * 20 && y < 24 * 20;
            const std::string colour = pixel(x, y);
            EXPECT_TRUE(isInBox ? colour == black || colour == white : colour == grey) << x << "," << y;
            whites += colour == white ? 1 : 0;
        }
    }
    EXPECT_GT(whites, 500U);
    // Captions: 34 x 15 cells of 16 x 26 pixels.
    const std::string captions = folder.write("a.scc", "Scenarist_SCC V1.0\n\n00:00:00:00\t9429 9470 c8e9 9230\n");
    ASSERT_EQ(runTool({"show", captions, "--at", "1", "--png", picture}).exitCode, 0);
    EXPECT_TRUE(folder.read("a.ppm").starts_with("P6\n544 390\n255\n"));
    // An empty screen is a picture as well; the input is never replaced.
    EXPECT_EQ(runTool({"show", file, "--rate", "25", "--at", "0", "--png", picture}).exitCode, 0);
    const std::string input = folder.write("input", folder.read("a.klv"));
    EXPECT_EQ(runTool({"show", input, "--rate", "25", "--at", "1.5", "--png", input}).err,
              "qlxcc: " + input + ": is the input: the result would replace it\n");
    // Beside a list in a file there is a picture when the list is whole, and else neither of them.
    const auto toFiles = [&](const std::string& name) {
        return runTool({"show", folder.path(name), "--rate", "25", "--at", "0", "-o", folder.path(name + ".txt"),
                        "--png", folder.path(name + ".ppm")});
    };
    EXPECT_EQ(toFiles("a.klv").exitCode, 0);
    EXPECT_EQ(folder.read("a.klv.txt"),
              "teletext page 888 at 00:00:00,000: nothing on air\ncaptions CC1 at 00:00:00,000: nothing on air\n");
    EXPECT_TRUE(folder.read("a.klv.ppm").starts_with("P6\n480 500\n"));
    // An element that announces two packets and has one.
    folder.write("bad.klv", qlxtest::joined({qlxtest::kAncKeyHex, "18 0002",
                                             "0015 01 04 0006 00000008 00000001 61 02 03 8094ae 0000"}));
    const ToolResult bad = toFiles("bad.klv");
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.out, "");
    EXPECT_TRUE(bad.err.ends_with(": 1 problem: not every packet could be read; " + folder.path("bad.klv.txt") +
                                  " is not written\n"))
        << bad.err;
    EXPECT_FALSE(std::filesystem::exists(folder.path("bad.klv.txt")));
    EXPECT_FALSE(std::filesystem::exists(folder.path("bad.klv.ppm")));
    if (runTool({"show", file, "--rate", "25", "--at", "1.5", "--png", folder.path("a.png")}).exitCode == 0) {
        EXPECT_EQ(folder.read("a.png").substr(1, 3), "PNG");
    }
}

TEST(Show, DrawsTheSignsOfCaptions) {
    // Left of row 15, in cells of 16 x 26 pixels: the characters of the codes 0x12 and 0x13, and basic ones.
    const TemporaryFolder folder;
    const auto drawn = [&folder](const std::string& pairs) {
        const std::string file = folder.write("a.scc", "Scenarist_SCC V1.0\n\n00:00:00:00\t9429 9470 " + pairs + "\n");
        if (runTool({"show", file, "--at", "1", "--png", folder.path("a.ppm")}).exitCode != 0) {
            return std::string();
        }
        const std::string content = folder.read("a.ppm");
        const std::size_t head = content.size() - std::size_t{544} * 390 * 3;
        std::string cell;
        for (std::size_t y = 14 * 26; y < 15 * 26; ++y) {
            cell += content.substr(head + (y * 544 + 16) * 3, std::size_t{16} * 3);
        }
        return cell;
    };
    const std::string cedilla = drawn("fb80");
    if (cedilla.empty()) {
        GTEST_SKIP() << "the tool was built without libzvbi";
    }
    // The left brace (13 29) has the ASCII code that CEA-608 gives to this letter; so has the asterisk (12 28) to a acute.
    EXPECT_NE(drawn("1329"), cedilla);
    EXPECT_NE(drawn("92a8"), drawn("2a80"));
    // Neither a bullet (12 2d) nor a corner (13 bc) is what is drawn for an unknown character (12 2c, the service mark).
    const std::string unknown = drawn("922c");
    EXPECT_NE(drawn("92ad"), unknown);
    EXPECT_EQ(drawn("13bc"), drawn("ab80"));
}

TEST(Show, WritesAPictureOfOneScreenOnly) {
    const TemporaryFolder folder;
    // Both systems in each frame: the page's header and row, and paint-on captions.
    const auto packet = [](int line, int sdid, int did, const std::string& data) {
        return R"({"line":)" + std::to_string(line) + R"(,"did":)" + std::to_string(did) + R"(,"sdid":)" +
               std::to_string(sdid) + R"(,"data":")" + data + "\"}";
    };
    std::string lines;
    for (const char* const pair : {"9429", "9470", "c8e9"}) {
        const std::size_t frame = qlxtest::linesOf(lines).size();
        const auto counter = static_cast<std::uint16_t>(2 * frame);
        const auto next = static_cast<std::uint16_t>(counter + 1);
        lines += R"({"frame":)" + std::to_string(frame) + R"(,"packets":[)" +
                 packet(575, 2, 67, qlxtest::bonjourHex(next)) + "," + packet(12, 2, 67, qlxtest::eraseHex(counter)) +
                 "," + packet(9, 1, 97, qlxtest::pairCdpHex(3, 24, pair, static_cast<unsigned>(frame))) + "]}\n";
    }
    const std::string file = folder.write("a.jsonl", lines);
    EXPECT_EQ(shown(file, {"--rate", "25", "--at", "0.08"}),
              "teletext page 888 at 00:00:00,080, since 00:00:00,000 (frame 0):\n  22  " + spaces(17) + "Bonjour\n" +
                  "captions CC1 at 00:00:00,080, since 00:00:00,080 (frame 2):\n  15   Hi\n");
    const ToolResult result = runTool({"show", file, "--rate", "25", "--at", "0.08", "--png", folder.path("a.ppm")});
    EXPECT_NE(result.exitCode, 0);
    EXPECT_TRUE(isOneMessage(result.err)) << result.err;
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.jsonl"});
}

TEST(Show, HasColoursOnATerminalOnly) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "<font color=\"#FFFF00\">Jaune</font>"}}));
    ASSERT_EQ(runTool(playArguments(file, "25", {"-o", folder.path("a.klv")})).exitCode, 0);
    const std::vector<std::string> arguments{"show", folder.path("a.klv"), "--rate", "25", "--at", "1.5"};
    const std::string title = "teletext page 888 at 00:00:01,500, since 00:00:01,000 (frame 25):\n";
    // 13 spaces, yellow, double height, two box codes; a space of the box stands in front of the text and behind it.
    const std::string plain = title + "  22  " + spaces(17) + "Jaune\n";
    const std::string coloured = title + "  22  " + spaces(16) + "\x1b[0;33;40m Jaune \x1b[0m\n";
    EXPECT_EQ(runTool(arguments).out, plain);
    EXPECT_EQ(withoutReturns(runTool(arguments, {.outputIsTerminal = true}).out), coloured);
    EXPECT_EQ(withoutReturns(runTool(arguments, {.outputIsTerminal = true, .environment = {"NO_COLOR="}}).out),
              coloured);
    EXPECT_EQ(withoutReturns(runTool(arguments, {.outputIsTerminal = true, .environment = {"NO_COLOR=1"}}).out), plain);
    EXPECT_EQ(withoutReturns(runTool(arguments, {.outputIsTerminal = true, .environment = {"TERM=dumb"}}).out), plain);
    std::vector<std::string> toFile = arguments;
    toFile.insert(toFile.end(), {"-o", folder.path("screen")});
    EXPECT_EQ(runTool(toFile, {.outputIsTerminal = true}).out, "");
    EXPECT_EQ(folder.read("screen"), plain);
}

TEST(Show, CountsAllThatIsWrongInAFrame) {
    const std::string packet = R"({"line":12,"did":67,"sdid":2,"data":"5115"})";
    std::string packets = packet;
    for (int count = 1; count < 1100; ++count) {
        packets += "," + packet;
    }
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "a.jsonl", R"({"frame":0,"pts":{"value":0,"timescale":25,"seconds":0},"packets":[)" + packets + "]}\n");
    const ToolResult result = runTool({"show", file, "--all"});
    EXPECT_EQ(result.exitCode, 0);
    const auto lines = qlxtest::linesOf(result.err);
    ASSERT_EQ(lines.size(), 11U) << result.err;
    const std::string begin = "qlxcc: warning: " + file + ": ";
    EXPECT_EQ(lines[0], begin + "frame 0, line 12: subtitling packet of 2 bytes, 9 are needed");
    EXPECT_EQ(lines[10], begin + "1090 more like \"subtitling packet of 2 bytes, 9 are needed\"");
}

}  // namespace
