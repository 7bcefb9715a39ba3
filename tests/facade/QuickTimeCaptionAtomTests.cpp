#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

using Packet = QLXVANCPacket;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;

namespace {

const std::string kCdat = "63646174";
const std::string kCcdp = "63636470";

std::shared_ptr<Packet> read(const std::string& hex, std::int32_t line = 9) {
    const ExactBuffer buffer(fromHex(hex));
    return Packet::VANCPacketWithQuickTimeAtomBuffer_size_lineNumber(buffer.data(), buffer.size(), line);
}

}  // namespace

TEST(QuickTimeCaptionAtom, ReadsAShortBufferAsCEA608) {
    const auto empty = read("00000008" + kCdat + "94");
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->packetType(), QLXVANCPacketTypeCEA608);
    EXPECT_EQ(empty->packetDID(), 0x61U);
    EXPECT_EQ(empty->packetSDID(), 0x02U);
    EXPECT_EQ(empty->lineNumber(), 9U);
    EXPECT_EQ(empty->packetData(), qlx::Data::zeros(0));
    EXPECT_EQ(read("00000009" + kCdat + "94")->packetData(), (qlx::Data{0x94}));
    EXPECT_EQ(read("00000008" + kCdat)->packetData(), qlx::Data::zeros(0));
}

TEST(QuickTimeCaptionAtom, ReadsALongBufferAsCEA708) {
    const auto packet = read("0000000b" + kCcdp + "96690bffff");
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->packetType(), QLXVANCPacketTypeCEA708);
    EXPECT_EQ(packet->packetDID(), 0x61U);
    EXPECT_EQ(packet->packetSDID(), 0x01U);
    EXPECT_EQ(packet->packetData(), (qlx::Data{0x96, 0x69, 0x0B}));
}

TEST(QuickTimeCaptionAtom, LetsTheBuffersSizeDecideTheType) {
    EXPECT_FALSE(read("0000000a" + kCdat + "9420"));
    EXPECT_FALSE(read("0000000a" + kCdat + "942000000000000000000000"));
    EXPECT_FALSE(read("00000009" + kCcdp + "96"));
    EXPECT_TRUE(read("0000000a" + kCcdp + "9669"));
    EXPECT_FALSE(read("0000000a" + std::string("63636471") + "9669"));
}

TEST(QuickTimeCaptionAtom, RefusesSizesThatDoNotFit) {
    EXPECT_FALSE(read("0000000b" + kCcdp + "9669")) << "one above the buffer";
    EXPECT_FALSE(read("00000007" + kCcdp + "9669")) << "below the header";
    EXPECT_FALSE(read("00000000" + kCcdp + "9669"));
    EXPECT_FALSE(read("ffffffff" + kCcdp + "9669")) << "negative";
    EXPECT_FALSE(read("80000000" + kCcdp + "9669")) << "negative";
    EXPECT_EQ(read("00000008" + kCcdp + "9669")->packetData(), qlx::Data::zeros(0));
}

TEST(QuickTimeCaptionAtom, RefusesBuffersShorterThanTheHeader) {
    qlxtest::forEachTruncation(fromHex("00000008" + kCdat), [](const ExactBuffer& part) {
        EXPECT_FALSE(Packet::VANCPacketWithQuickTimeAtomBuffer_size_lineNumber(part.data(), part.size(), 9))
            << part.size();
    });
}

TEST(QuickTimeCaptionAtom, SurvivesEveryTruncationOfALongAtom) {
    // Below 10 bytes another type is wanted, below its size the atom is not whole.
    qlxtest::forEachTruncation(fromHex("0000000d" + kCcdp + "96690b4f43"), [](const ExactBuffer& part) {
        EXPECT_FALSE(Packet::VANCPacketWithQuickTimeAtomBuffer_size_lineNumber(part.data(), part.size(), 9))
            << part.size();
    });
}

TEST(QuickTimeCaptionAtom, WidensTheLineWithItsSign) {
    EXPECT_EQ(read("00000008" + kCdat, -1)->lineNumber(), 0xFFFF'FFFF'FFFF'FFFFU);
}
