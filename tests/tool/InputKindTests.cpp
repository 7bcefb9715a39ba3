// What a file is, and reading it from its beginning after that has been looked at.
#include "AncBytes.h"
#include "ExactBuffer.h"
#include "ToolRunner.h"
#include "io/InputFile.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using qlx::tool::InputFile;
using qlxtest::fromHex;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using Bytes = std::vector<std::uint8_t>;

TEST(InputFile, LooksAheadWithoutLosingAByte) {
    const TemporaryFolder folder;
    Bytes content(600000);
    for (std::size_t index = 0; index < content.size(); ++index) {
        content[index] = static_cast<std::uint8_t>(index * 7 + index / 251);
    }
    InputFile file(folder.write("a", content));
    std::size_t place = 0;
    for (const std::size_t step : {std::size_t{0}, std::size_t{3}, std::size_t{262140}, std::size_t{100},
                                   std::size_t{262144}, std::size_t{75000}}) {
        Bytes read(step);
        ASSERT_EQ(file.read(read), step);
        EXPECT_TRUE(std::equal(read.begin(), read.end(), content.begin() + static_cast<std::ptrdiff_t>(place)));
        place += step;
        const std::size_t expected = std::min(qlx::tool::kLongestPeek, content.size() - place);
        const auto ahead = file.peek(100000);
        ASSERT_EQ(ahead.size(), expected);
        EXPECT_TRUE(std::equal(ahead.begin(), ahead.end(), content.begin() + static_cast<std::ptrdiff_t>(place)));
        EXPECT_EQ(file.offset(), place);
    }
    EXPECT_EQ(file.skip(1000000), content.size() - place);
    EXPECT_TRUE(file.peek(1).empty());
}

TEST(InputFile, GoesBackAndForth) {
    const TemporaryFolder folder;
    Bytes content(900000);
    for (std::size_t index = 0; index < content.size(); ++index) {
        content[index] = static_cast<std::uint8_t>(index / 1000);
    }
    InputFile file(folder.write("a", content));
    EXPECT_EQ(file.skip(700000), 700000U);
    for (const std::uint64_t place : {std::uint64_t{5000}, std::uint64_t{6000}, std::uint64_t{899999},
                                      std::uint64_t{900000}, std::uint64_t{0}, std::uint64_t{300000}}) {
        ASSERT_TRUE(file.seek(place));
        EXPECT_EQ(file.offset(), place);
        Bytes one(1);
        ASSERT_EQ(file.read(one), place == content.size() ? 0U : 1U);
        if (place < content.size()) {
            EXPECT_EQ(one[0], content[place]);
        }
    }
    EXPECT_FALSE(file.seek(900001));
    EXPECT_EQ(file.offset(), 300001U);
}

TEST(InputKind, TellsScanWhatAFileIs) {
    const TemporaryFolder folder;
    const Bytes klv = qlxtest::joined({qlxtest::kAncKeyHex, "18", qlxtest::kCaptionElementHex});
    const std::string expected = "   frame   line  DID/SDID  name               bytes  data\n"
                                 "       0     21  61/02     CEA608                 3  8094ae\n"
                                 "                 line offset 0: 1 triplet: field 1 94ae\n"
                                 "1 packet in 1 frame\n";
    EXPECT_EQ(runTool({"scan", folder.write("noname", klv)}).out, expected);
    EXPECT_EQ(runTool({"scan", "-"}, {.input = folder.read("noname")}).out, expected);
    const std::string other = folder.write("other", Bytes(5000, 0x55));
    const auto unknown = runTool({"scan", other});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_EQ(unknown.out, "");
    EXPECT_TRUE(unknown.err.starts_with("qlxcc: --from-format is needed: neither the content nor the name of " + other +
                                        " tells the format"))
        << unknown.err;
    const auto empty = runTool({"scan", "-"});
    EXPECT_EQ(empty.exitCode, 1);
    EXPECT_EQ(empty.err, "qlxcc: standard input: byte 0: the file is empty\n");
    const auto picture = runTool({"scan", folder.write("a.png", fromHex("89504e470d0a1a0a"))});
    EXPECT_EQ(picture.exitCode, 2);
    const auto rows = runTool({"scan", folder.write("klv", klv), "--width", "720"});
    EXPECT_EQ(rows.exitCode, 2);
    EXPECT_TRUE(rows.err.find("a klv file says its lines") != std::string::npos) << rows.err;
}

TEST(InputKind, SaysThatTheCaptionsOfAFileAreInNoPicture) {
    const TemporaryFolder folder;
    const auto result =
        runTool({"scan", folder.write("a.scc", std::string_view("Scenarist_SCC V1.0\n\n00:00:00:00\t94ae 94ae\n"))});
    const auto lines = linesOf(result.out);
    ASSERT_GE(lines.size(), 3U) << result.out;
    EXPECT_NE(lines[1].find("  caption track          3  fc94ae"), std::string::npos) << lines[1];
    EXPECT_EQ(lines.back(), "0 packets in 2 frames, 2 frames with captions in a track");
    EXPECT_EQ(result.out.find("picture"), std::string::npos) << result.out;
}

// A name and start codes do not make video of a file: other files have these too.
TEST(InputKind, RefusesVideoWithoutParametersUnlessItIsSaidToBeVideo) {
    const TemporaryFolder folder;
    const Bytes stream = fromHex("000001b8 00000000 00000100 0048 000001b2 47413934 03 c1 ff fc9420 ff 00000101 55");
    const std::string file = folder.write("a.m2v", stream);
    const std::vector<std::vector<std::string>> commands{
        {"scan", file},
        {"scan", file, "--list"},
        {"show", file, "--all", "--rate", "25"},
        {"rate", file, "--from-rate", "25", "--to-rate", "50", "-o", folder.path("a.klv")},
        {"convert", file, "--from-rate", "25", "-o", folder.path("a.jsonl")}};
    for (std::vector<std::string> command : commands) {
        const auto refused = runTool(command);
        EXPECT_EQ(refused.exitCode, 1) << command[0];
        EXPECT_EQ(refused.err,
                  "qlxcc: " + file + ": byte 0: no sequence header and no parameter set of video in the first " +
                      std::to_string(stream.size()) + " bytes: --from-format says that it is video all the same\n");
        command.insert(command.end(), {"--from-format", "mpeg2"});
        EXPECT_EQ(runTool(command).exitCode, 0) << command[0];
    }
}

TEST(InputKind, GivesThePicturesOfAnElementaryStreamInOrder) {
    // MPEG-2: I (temporal reference 1), then B (0), each with its own field 1 pair.
    const std::string userData = "000001b2 47413934 03 c1 ff fc";
    const Bytes stream = fromHex("000001b3 2d01e0 33 ffff e0 000001b8 00000000 00000100 0048" + userData +
                                 "9420 ff 00000101 55" + "00000100 0018" + userData + "9429 ff 00000101 55");
    const TemporaryFolder folder;
    const auto result = runTool({"scan", folder.write("a.m2v", stream), "--json"});
    EXPECT_EQ(qlxtest::withoutSchema(result.out),
              R"({"frame":0,"packets":[],"captions":{"data":"fc9429","triplets":[{"kind":"field 1","data":"9429"}]}})"
              "\n"
              R"({"frame":1,"packets":[],"captions":{"data":"fc9420","triplets":[{"kind":"field 1","data":"9420"}]}})"
              "\n");
}

}  // namespace
