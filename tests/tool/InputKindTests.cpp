// What a file is, and reading it from its beginning after that has been looked at.
#include "streams/InputKind.h"

#include "AncBytes.h"
#include "ExactBuffer.h"
#include "ToolRunner.h"
#include "io/InputFile.h"
#include "streams/FrameSource.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

using qlx::tool::InputFile;
using qlx::tool::InputKind;
using qlx::tool::inputKind;
using qlx::tool::inputKindOfBytes;
using qlx::tool::inputKindOfName;
using qlxtest::fromHex;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

Bytes repeatedPacket(std::size_t lead, std::size_t size, int count) {
    Bytes bytes;
    for (int index = 0; index < count; ++index) {
        Bytes packet(size, 0x10);
        packet[lead] = 0x47;
        bytes.insert(bytes.end(), packet.begin(), packet.end());
    }
    return bytes;
}

TEST(InputKind, IsToldByTheFirstBytes) {
    const auto kind = [](const Bytes& bytes) { return inputKindOfBytes(bytes); };
    EXPECT_EQ(kind(fromHex("060e2b34 02050101 0d010201 01020400 83000068")), InputKind::Mxf);
    EXPECT_EQ(kind(fromHex("060e2b34 02050101 0d010201 01")), InputKind::Mxf);
    EXPECT_EQ(kind(fromHex("060e2b34 01020101 0d010301 17010201 8102")), InputKind::Klv);
    EXPECT_EQ(kind(fromHex("060e2b34")), InputKind::Klv);
    EXPECT_EQ(kind(fromHex("00000014 66747970 71742020")), InputKind::Mov);
    EXPECT_EQ(kind(fromHex("00000008 77696465")), InputKind::Mov);
    EXPECT_EQ(kind(fromHex("00000000 6d646174")), InputKind::Mov);
    EXPECT_EQ(kind(fromHex("89504e47 0d0a1a0a")), InputKind::Png);
    EXPECT_EQ(kind(bytesOf("P6\n2 2\n255\n")), InputKind::Ppm);
    EXPECT_EQ(kind(fromHex("00000001 09f0")), InputKind::H264);
    EXPECT_EQ(kind(fromHex("000001 67")), InputKind::H264);
    EXPECT_EQ(kind(fromHex("0000000000000001 06 05")), InputKind::H264);
    EXPECT_EQ(kind(fromHex("000001b3 14")), InputKind::Mpeg2);
    EXPECT_EQ(kind(fromHex("00000100 000f")), InputKind::Mpeg2);
    EXPECT_EQ(kind(fromHex("000001ba 44")), InputKind::ProgramStream);
    EXPECT_EQ(kind(fromHex("000001e0 0000")), InputKind::ProgramStream);
    EXPECT_EQ(kind(repeatedPacket(0, 188, 2)), InputKind::TransportStream);
    EXPECT_EQ(kind(repeatedPacket(4, 192, 3)), InputKind::TransportStream);
    EXPECT_EQ(kind(repeatedPacket(0, 204, 9)), InputKind::TransportStream);
    EXPECT_EQ(kind(bytesOf("Scenarist_SCC V1.0\n\n")), InputKind::Scc);
    EXPECT_EQ(kind(bytesOf("\xEF\xBB\xBF"
                           "Scenarist_SCC V1.0\r\n")),
              InputKind::Scc);
    EXPECT_EQ(kind(bytesOf("850STL25.01")), InputKind::Stl);
    EXPECT_EQ(kind(bytesOf("{\"frame\":0,\"packets\":[]}\n")), InputKind::Jsonl);
    EXPECT_EQ(kind(bytesOf(" [\n {\"begin\": 1}]")), InputKind::Json);
    EXPECT_EQ(kind(bytesOf("{\"cues\":[]}")), InputKind::Json);
    EXPECT_EQ(kind(bytesOf("\xEF\xBB\xBF"
                           "1\r\n00:00:01,000 --> 00:00:02,000\r\nA\r\n")),
              InputKind::Srt);
}

TEST(InputKind, IsNotGuessed) {
    for (const Bytes& bytes :
         {Bytes{}, Bytes(4096, 0), fromHex("0000"), fromHex("000001"), fromHex("00000140 01"), fromHex("00000180"),
          repeatedPacket(0, 188, 1), repeatedPacket(0, 190, 5), bytesOf("P6"), bytesOf("P5\n"), bytesOf("1\n2\n3\n"),
          bytesOf("850STX25.01"), fromHex("060e2b"), fromHex("00000008 77696466"), fromHex("000001b9")}) {
        EXPECT_EQ(inputKindOfBytes(bytes), std::nullopt) << qlxtest::toHex(bytes).substr(0, 40);
    }
    // 00 00 01 80 is in the range of slices, with which no stream begins; 80 and more are none of H.264's either.
}

TEST(InputKind, IsToldByTheName) {
    EXPECT_EQ(inputKindOfName("a.v210"), InputKind::V210);
    EXPECT_EQ(inputKindOfName("/b/a.2vuy"), InputKind::Yuv8);
    EXPECT_EQ(inputKindOfName("a.MP4"), InputKind::Mov);
    EXPECT_EQ(inputKindOfName("a.b.M2ts"), InputKind::TransportStream);
    EXPECT_EQ(inputKindOfName("a.264"), InputKind::H264);
    EXPECT_EQ(inputKindOfName("a.mxf"), InputKind::Mxf);
    EXPECT_EQ(inputKindOfName("a.vob"), InputKind::ProgramStream);
    for (const char* const name : {"", "v210", "a.v210.d/b", "a.", "a.v2100", "a.xyz", "standard input"}) {
        EXPECT_EQ(inputKindOfName(name), std::nullopt) << name;
    }
    for (const char* const name : {"v210", "2vuy", "klv", "jsonl", "scc", "srt", "stl", "json", "h264", "mpeg2", "mxf",
                                   "mov", "ts", "ps", "png", "ppm"}) {
        const auto kind = qlx::tool::inputKindNamed(name);
        ASSERT_TRUE(kind) << name;
        EXPECT_EQ(qlx::tool::nameOf(*kind), name);
    }
    EXPECT_EQ(qlx::tool::inputKindNamed("mp4"), std::nullopt);
}

TEST(InputKind, BelievesTheBytesAndForRowsTheName) {
    const Bytes klv = fromHex("060e2b34 01020101");
    EXPECT_EQ(inputKind(klv, "a.mxf"), InputKind::Klv);
    EXPECT_EQ(inputKind(klv, "a"), InputKind::Klv);
    EXPECT_EQ(inputKind(klv, "a.v210"), InputKind::V210);
    EXPECT_EQ(inputKind(Bytes(100, 0), "a.mxf"), InputKind::Mxf);
    EXPECT_EQ(inputKind(Bytes(100, 0), "a"), std::nullopt);
}

TEST(InputKind, FindsTheBeginningOfAContainerBehindSomethingElse) {
    using qlx::tool::hasBeginningOf;
    Bytes packets = repeatedPacket(0, 188, 4);
    packets.insert(packets.begin(), 100, 0x00);
    EXPECT_TRUE(hasBeginningOf(InputKind::TransportStream, packets));
    EXPECT_FALSE(hasBeginningOf(InputKind::TransportStream, Bytes(5000, 0)));
    EXPECT_EQ(qlx::tool::transportPacketSize(packets), 0U);
    EXPECT_EQ(qlx::tool::transportPacketSize(std::span(packets).subspan(100)), 188U);
    Bytes mxf(300, 0x11);
    const Bytes key = fromHex("060e2b34 02050101 0d010201 01");
    EXPECT_FALSE(hasBeginningOf(InputKind::Mxf, mxf));
    mxf.insert(mxf.end(), key.begin(), key.end());
    EXPECT_TRUE(hasBeginningOf(InputKind::Mxf, mxf));
    EXPECT_TRUE(hasBeginningOf(InputKind::ProgramStream, fromHex("ffff000001ba")));
    EXPECT_FALSE(hasBeginningOf(InputKind::ProgramStream, fromHex("ffff000001bb")));
    EXPECT_FALSE(hasBeginningOf(InputKind::Mov, fromHex("ff 00000014 66747970")));
}

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
                                 "1 packet in 1 frame\n";
    EXPECT_EQ(runTool({"scan", folder.write("noname", klv)}).out, expected);
    EXPECT_EQ(runTool({"scan", "-"}, {.input = folder.read("noname")}).out, expected);
    const std::string other = folder.write("other", Bytes(5000, 0x55));
    const auto unknown = runTool({"scan", other});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_EQ(unknown.out, "");
    EXPECT_TRUE(unknown.err.starts_with("qlxcc: --format is needed: neither the content nor the name of " + other +
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

TEST(InputKind, GivesThePicturesOfAnElementaryStreamInOrder) {
    // MPEG-2: I (temporal reference 1), then B (0), each with its own field 1 pair.
    const std::string userData = "000001b2 47413934 03 c1 ff fc";
    const Bytes stream = fromHex("000001b3 00 000001b8 00000000 00000100 0048" + userData + "9420 ff 00000101 55" +
                                 "00000100 0018" + userData + "9429 ff 00000101 55");
    const TemporaryFolder folder;
    const auto result = runTool({"scan", folder.write("a.m2v", stream), "--json"});
    EXPECT_EQ(result.out,
              R"({"frame":0,"packets":[],"captions":{"data":"fc9429","triplets":[{"kind":"field 1","data":"9429"}]}})"
              "\n"
              R"({"frame":1,"packets":[],"captions":{"data":"fc9420","triplets":[{"kind":"field 1","data":"9420"}]}})"
              "\n");
}

}  // namespace
