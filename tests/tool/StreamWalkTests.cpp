// What is said of a container whose pieces do not stand one behind the other, or whose last one is not whole.
#include "ExactBuffer.h"
#include "MovBytes.h"
#include "ToolRunner.h"
#include "io/InputFile.h"
#include "streams/StreamEnd.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

using qlx::tool::InputKind;
using qlxtest::fromHex;
using qlxtest::linesOf;
using qlxtest::MovFile;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using Bytes = std::vector<std::uint8_t>;

/// What is said of a whole file, all remarks one after the other.
std::vector<std::string> remarksOn(InputKind kind, const Bytes& bytes) {
    const TemporaryFolder folder;
    qlx::tool::InputFile source(folder.write("a", bytes));
    qlx::tool::StreamCheck check(source, kind);
    check.beginReading();
    Bytes part(7);
    for (;;) {
        const std::uint64_t place = source.offset();
        const std::size_t count = source.read(part);
        if (count == 0) {
            break;
        }
        check.take(place, std::span(part).first(count));
    }
    std::vector<std::string> remarks = check.takeRemarks();
    if (const auto end = check.remarkOnEnd({})) {
        remarks.push_back(*end);
    }
    return remarks;
}

TEST(StreamCheck, KnowsThePacketsOfAProgramStream) {
    // MPEG-2 and MPEG-1 packs, a packet of 4 bytes behind its length, padding, the end code.
    for (const std::string pack :
         {"000001ba 44 0004000401 000003 f8", "000001ba 44 0004000401 000003 f9 ff", "000001ba 21 00010001800001"}) {
        Bytes stream;
        std::vector<std::size_t> ends{0};
        for (const std::string& hex : {pack, std::string("000001e0 0004 01020304"), pack,
                                       std::string("000001be 0002 ffff"), std::string("000001b9")}) {
            const Bytes part = fromHex(hex);
            stream.insert(stream.end(), part.begin(), part.end());
            ends.push_back(stream.size());
        }
        // Where the first pack is known to be one: the longest of them says its size with 14 bytes.
        for (std::size_t size = 14; size <= stream.size(); ++size) {
            const Bytes cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size));
            const std::vector<std::string> remarks = remarksOn(InputKind::ProgramStream, cut);
            const std::size_t begin = *std::prev(std::upper_bound(ends.begin(), ends.end(), size));
            ASSERT_EQ(remarks.size(), begin == size ? 0U : 1U) << pack << " " << size;
            if (begin != size) {
                EXPECT_TRUE(remarks[0].starts_with("byte " + std::to_string(begin) +
                                                   ": the last packet is cut short: " + std::to_string(size - begin)))
                    << remarks[0];
            }
        }
        // What follows the end code may fill up a medium; what is in front of the first pack may be the rest of one.
        Bytes padded = fromHex("ffff");
        padded.insert(padded.end(), stream.begin(), stream.end());
        padded.resize(padded.size() + 100);
        EXPECT_EQ(remarksOn(InputKind::ProgramStream, padded), std::vector<std::string>{});
    }
    EXPECT_EQ(remarksOn(InputKind::ProgramStream, fromHex("000001ba 21 00010001800001 ffffff")),
              std::vector<std::string>{"byte 12: not part of any packet: 3 bytes"});
    EXPECT_EQ(remarksOn(InputKind::ProgramStream,
                        fromHex("000001ba 21 00010001800001 ff 000001e0 0000 000001ba 21 00010001800001")),
              std::vector<std::string>{"byte 12: not part of any packet: 7 bytes"});
}

TEST(StreamCheck, PassesTheZeroBytesOfAVideoCD) {
    const std::string pack = "000001ba 21 00010001800001";
    const std::string sound = "000001c0 0002 ffff";
    const std::string zeros(40, '0');
    EXPECT_EQ(remarksOn(InputKind::ProgramStream, fromHex(pack + sound + zeros + pack + sound + "00" + sound + zeros)),
              std::vector<std::string>{});
    // So many are damage.
    EXPECT_EQ(remarksOn(InputKind::ProgramStream, fromHex(pack + sound + std::string(200, '0') + pack + sound)),
              std::vector<std::string>{"byte 20: not part of any packet: 100 bytes"});
    EXPECT_EQ(remarksOn(InputKind::ProgramStream, fromHex(pack + sound + zeros + "02" + pack)),
              std::vector<std::string>{"byte 20: not part of any packet: 21 bytes"});
}

TEST(StreamCheck, KnowsTripletsOfAnyLength) {
    const std::string key = "060e2b34 01020101 0d010301 17010201";
    EXPECT_EQ(remarksOn(InputKind::Mxf, fromHex(key + "01 ff" + key + "8102 ffff")), std::vector<std::string>{});
    EXPECT_EQ(remarksOn(InputKind::Mxf, fromHex(key + "01 ff" + "0102" + key + "8102 ff")),
              (std::vector<std::string>{"byte 18: not part of any triplet: 2 bytes",
                                        "byte 20: the last triplet is cut short: 19 of 20 bytes"}));
    // A length that no file has.
    EXPECT_EQ(remarksOn(InputKind::Mxf, fromHex(key + "01 ff" + key + "88fffffffffffffff0" + key + "00")),
              std::vector<std::string>{"byte 18: not part of any triplet: 25 bytes"});
}

TEST(StreamEnd, SeesThatATripletsHeaderIsCut) {
    const std::string key = "060e2b34 01020101 0d010301 17010201";
    for (const auto& [text, size] : std::vector<std::pair<std::string, std::uint64_t>>{
             {key + "03", 20}, {key + "8103", 21}, {key + "830000ff", 275}, {key + "880000000000000001", 26}}) {
        const Bytes header = fromHex(text);
        std::uint64_t found = 1;
        EXPECT_FALSE(qlx::tool::isTripletHeaderCut(header, found));
        EXPECT_EQ(found, size);
        for (std::size_t length = 0; length < header.size(); ++length) {
            EXPECT_TRUE(qlx::tool::isTripletHeaderCut(std::span(header).first(length), found)) << length;
            EXPECT_EQ(found, 0U);
        }
    }
    std::uint64_t found = 1;
    EXPECT_FALSE(qlx::tool::isTripletHeaderCut(fromHex("0102"), found));
    EXPECT_FALSE(qlx::tool::isTripletHeaderCut(fromHex(key + "89"), found));
}

#ifdef QLX_TOOL_FFMPEG

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

#endif

}  // namespace
