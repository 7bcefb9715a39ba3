// What the tool says of a container whose pieces do not stand one behind the other, or whose last one is not whole.
#include "ExactBuffer.h"
#include "MovBytes.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

using qlxtest::fromHex;
using qlxtest::linesOf;
using qlxtest::MovFile;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using Bytes = std::vector<std::uint8_t>;

TEST(DamagedStream, NamesWhatIsNoPacketOfAProgramStream) {
    const TemporaryFolder folder;
    const std::string path = folder.path("a.mpg");
    const std::string command = "ffmpeg -v quiet -f lavfi -i testsrc=s=160x128:r=25 -t 4 -c:v mpeg2video -b:v 400k "
                                "-f vob " +
                                path + " > " + folder.path("log") + " 2>&1";
    if (std::system(command.c_str()) != 0) {
        GTEST_SKIP() << "no FFmpeg to make a file with";
    }
    const std::string whole = folder.read("a.mpg");
    // Packs of 2048 bytes each.
    constexpr std::size_t kPack = 2048;
    ASSERT_GT(whole.size(), 40 * kPack);
    const auto pictures = [](const ToolResult& result) { return linesOf(result.out).size(); };
    const ToolResult good = runTool({"extract", path, "--json"});
    EXPECT_EQ(good.exitCode, 0);
    EXPECT_EQ(good.err, "");
    EXPECT_EQ(pictures(good), 100U);
    // 1000 bytes too many, in front of the eleventh pack.
    const std::string text = whole.substr(0, 10 * kPack) + std::string(1000, 'j') + whole.substr(10 * kPack);
    const std::string file = folder.write("b.mpg", text);
    const std::string means = ": byte " + std::to_string(10 * kPack) + ": not part of any packet: 1000 bytes\n";
    const ToolResult damaged = runTool({"extract", file, "--json"});
    EXPECT_EQ(damaged.exitCode, 1);
    EXPECT_EQ(damaged.err, "qlxcc: " + file + means);
    const ToolResult piped = runTool({"extract", "-", "--json"}, {.input = text});
    EXPECT_EQ(piped.exitCode, 1);
    EXPECT_EQ(piped.err, "qlxcc: standard input" + means);
    // Five packs of pictures are missing, and 100 bytes of the next one: the times behind are those of the whole file.
    const std::string holed = folder.write("c.mpg", whole.substr(0, 10 * kPack) + whole.substr(15 * kPack + 100));
    const ToolResult shorter = runTool({"extract", holed, "--json"});
    EXPECT_EQ(shorter.exitCode, 1);
    EXPECT_LT(pictures(shorter), 100U);
    const auto lastTime = [](const ToolResult& result) {
        const std::string line = linesOf(result.out).back();
        return line.substr(line.find("\"pts\""));
    };
    EXPECT_EQ(lastTime(shorter), lastTime(good));
    // The end of a pipe is looked at as well.
    const ToolResult cut = runTool({"extract", "-", "--json"}, {.input = whole.substr(0, 20 * kPack + 1000)});
    EXPECT_EQ(cut.exitCode, 1);
    EXPECT_NE(cut.err.find(": the last packet is cut short: "), std::string::npos) << cut.err;
}

TEST(DamagedStream, SaysThatTheIndexOfAPipedFileIsCut) {
    const std::string sample = MovFile::atom("ccdp", "0102");
    const Bytes whole = MovFile::withCaptionTrack({sample, sample}, true);
    // Behind ftyp (20 bytes) comes the index, and behind that mdat (8 and two samples of 10).
    constexpr std::size_t kIndex = 20;
    const std::size_t indexSize = whole.size() - kIndex - 8 - 20;
    for (const std::size_t there : {std::size_t{9}, std::size_t{200}, indexSize - 1}) {
        const std::string text(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(kIndex + there));
        const ToolResult result = runTool({"scan", "-"}, {.input = text});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "qlxcc: standard input: byte " + std::to_string(kIndex + there) +
                                  ": the file is cut short: " + std::to_string(there) + " of " +
                                  std::to_string(indexSize) + " bytes of the index (moov) are there\n");
    }
}

TEST(DamagedStream, SaysWhereTheFragmentsAreNotFollowedAnyMore) {
    const std::string sample = MovFile::atom("ccdp", "0102");
    const Bytes whole = MovFile::withCaptionTrack({sample}, true);
    const TemporaryFolder folder;
    for (const std::string& damage : {std::string("00000fff ffffffff 00000000"), std::string("7fffffff 6a6a6a6a 0000"),
                                      std::string("00000002 6d6f6f66 00000000")}) {
        Bytes bytes = whole;
        const Bytes more = fromHex(MovFile::atom("moof", "") + damage);
        bytes.insert(bytes.end(), more.begin(), more.end());
        const std::string file = folder.write("a.mov", bytes);
        const std::string means = ": byte " + std::to_string(whole.size() + 8) +
                                  ": the file is damaged: an atom should begin here, and does not; what follows "
                                  "cannot be read\n";
        const ToolResult result = runTool({"extract", file, "--json"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.err.ends_with("qlxcc: " + file + means)) << result.err;
        const ToolResult piped = runTool({"extract", "-", "--json"}, {.input = folder.read("a.mov")});
        EXPECT_EQ(piped.exitCode, 1);
        EXPECT_TRUE(piped.err.ends_with("qlxcc: standard input" + means)) << piped.err;
    }
}

}  // namespace
