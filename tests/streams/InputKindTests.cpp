// What a file is, told by its first bytes or its name.
#include "ExactBuffer.h"

#include <qlx/streams/input_kind.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace {

using qlx::streams::InputKind;
using qlx::streams::inputKind;
using qlx::streams::inputKindOfBytes;
using qlx::streams::inputKindOfName;
using qlxtest::fromHex;
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
    EXPECT_EQ(kind(fromHex("1a45dfa3 9f428681 01")), InputKind::Mkv);
    EXPECT_EQ(kind(fromHex("464c5601 05 00000009")), InputKind::Flv);
    EXPECT_EQ(kind(fromHex("464c5602 05 00000009")), std::nullopt);
    EXPECT_EQ(kind(fromHex("00000008 77696465")), InputKind::Mov);
    EXPECT_EQ(kind(fromHex("00000000 6d646174")), InputKind::Mov);
    EXPECT_EQ(kind(fromHex("89504e47 0d0a1a0a")), InputKind::Png);
    EXPECT_EQ(kind(bytesOf("P6\n2 2\n255\n")), InputKind::Ppm);
    EXPECT_EQ(kind(fromHex("00000001 09f0")), InputKind::H264);
    EXPECT_EQ(kind(fromHex("000001 67")), InputKind::H264);
    EXPECT_EQ(kind(fromHex("00000001 460150 00000001 4001")), InputKind::H265);
    EXPECT_EQ(kind(fromHex("000001 4e0104")), InputKind::H265);
    EXPECT_EQ(kind(fromHex("000001 4605 04")), InputKind::H264);
    EXPECT_EQ(kind(fromHex("0000000000000001 06 05")), InputKind::H264);
    EXPECT_EQ(kind(fromHex("000001b3 14")), InputKind::Mpeg2);
    EXPECT_EQ(kind(fromHex("00000100 000f")), InputKind::Mpeg2);
    EXPECT_EQ(kind(fromHex("000001ba 44")), InputKind::ProgramStream);
    EXPECT_EQ(kind(fromHex("000001e0 0000")), InputKind::ProgramStream);
    EXPECT_EQ(kind(repeatedPacket(0, 188, 2)), InputKind::TransportStream);
    EXPECT_EQ(kind(repeatedPacket(4, 192, 3)), InputKind::TransportStream);
    EXPECT_EQ(kind(repeatedPacket(0, 204, 9)), InputKind::TransportStream);
    EXPECT_EQ(kind(bytesOf("Scenarist_SCC V1.0\n\n")), InputKind::Scc);
    EXPECT_EQ(kind(bytesOf("[Script Info]\n")), InputKind::Ass);
    EXPECT_EQ(kind(bytesOf("\xEF\xBB\xBF[script info]")), InputKind::Ass);
    EXPECT_EQ(kind(bytesOf("\n[V4+ Styles]\n")), InputKind::Ass);
    EXPECT_EQ(kind(bytesOf("[V4 Styles]\n")), InputKind::Ass);
    EXPECT_EQ(kind(bytesOf("[EVENTS]\n")), InputKind::Ass);
    EXPECT_EQ(kind(bytesOf("[Script Inf")), InputKind::Json);
    EXPECT_EQ(kind(bytesOf("[\"events\"]")), InputKind::Json);
    EXPECT_EQ(inputKindOfName("a.SSA"), InputKind::Ass);
    EXPECT_EQ(inputKindOfName("a.ass"), InputKind::Ass);
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
    for (const std::string_view text :
         {"<tt xml:lang=''>", "\xEF\xBB\xBF<?xml version='1.0'?>\n<!-- <x> -->\n<!DOCTYPE tt>\n<tt:tt>", "<tt/>"}) {
        EXPECT_EQ(kind(bytesOf(std::string(text))), InputKind::Ttml) << text;
    }
}

TEST(InputKind, IsNotGuessed) {
    for (const Bytes& bytes :
         {Bytes{}, Bytes(4096, 0), fromHex("0000"), fromHex("000001"), fromHex("00000180"), repeatedPacket(0, 188, 1),
          repeatedPacket(0, 190, 5), bytesOf("P6"), bytesOf("P5\n"), bytesOf("1\n2\n3\n"), bytesOf("850STX25.01"),
          bytesOf("<t"), bytesOf("<tt"), bytesOf("<ttx>"), bytesOf("<SpliceInfoSection/>"), bytesOf("<!-- <tt>"),
          fromHex("060e2b"), fromHex("00000008 77696466"), fromHex("000001b9")}) {
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
    EXPECT_EQ(inputKindOfName("a.webm"), InputKind::Mkv);
    EXPECT_EQ(inputKindOfName("a.vob"), InputKind::ProgramStream);
    for (const char* const name : {"", "v210", "a.v210.d/b", "a.", "a.v2100", "a.xyz", "standard input"}) {
        EXPECT_EQ(inputKindOfName(name), std::nullopt) << name;
    }
    for (const char* const name : {"v210", "2vuy", "klv", "jsonl", "scc", "srt", "stl",  "json", "h264", "mpeg2", "mxf",
                                   "mov",  "ts",   "ps",  "png",   "ppm", "vtt", "h265", "mcc",  "mkv",  "flv"}) {
        const auto kind = qlx::streams::inputKindNamed(name);
        ASSERT_TRUE(kind) << name;
        EXPECT_EQ(qlx::streams::nameOf(*kind), name);
    }
    EXPECT_EQ(qlx::streams::inputKindNamed("mp4"), std::nullopt);
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
    using qlx::streams::hasBeginningOf;
    Bytes packets = repeatedPacket(0, 188, 4);
    packets.insert(packets.begin(), 100, 0x00);
    EXPECT_TRUE(hasBeginningOf(InputKind::TransportStream, packets));
    EXPECT_FALSE(hasBeginningOf(InputKind::TransportStream, Bytes(5000, 0)));
    Bytes mxf(300, 0x11);
    const Bytes key = fromHex("060e2b34 02050101 0d010201 01");
    EXPECT_FALSE(hasBeginningOf(InputKind::Mxf, mxf));
    mxf.insert(mxf.end(), key.begin(), key.end());
    EXPECT_TRUE(hasBeginningOf(InputKind::Mxf, mxf));
    EXPECT_TRUE(hasBeginningOf(InputKind::ProgramStream, fromHex("ffff000001ba")));
    EXPECT_FALSE(hasBeginningOf(InputKind::ProgramStream, fromHex("ffff000001bb")));
    EXPECT_FALSE(hasBeginningOf(InputKind::Mov, fromHex("ff 00000014 66747970")));
}

}  // namespace
