// Packets between the core's value and the class.
#include <qlx/facade/packet.h>

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace {

using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlx::anc::Channel;
using qlx::anc::Packet;
using qlx::facade::toAncPacket;
using qlx::facade::toAncPackets;
using qlx::facade::toVANCPacket;
using qlx::facade::toVANCPackets;

Packet captionPair() {
    Packet packet;
    packet.did = 0x61;
    packet.sdid = 0x02;
    packet.userData = {0x80, 0x94, 0x2C};
    packet.line = 21;
    return packet;
}

TEST(PacketValues, BecomePacketsOfTheTypeThatTheirIdentifiersSay) {
    Packet value = captionPair();
    value.channel = Channel::Chroma;
    value.horizontalOffset = 12;
    const auto packet = toVANCPacket(value);
    EXPECT_EQ(packet->packetDID(), 0x61U);
    EXPECT_EQ(packet->packetSDID(), 0x02U);
    EXPECT_EQ(packet->packetType(), QLXVANCPacketTypeCEA608);
    EXPECT_EQ(packet->lineNumber(), 21U);
    EXPECT_EQ(packet->packetData(), (qlx::Data{0x80, 0x94, 0x2C}));
    EXPECT_FALSE(packet->inHANCSpace());
    EXPECT_FALSE(packet->canBeDropped());
    // A type 1 packet: the second word is part of what the class compares.
    value.did = 0xF4;
    value.sdid = 0x68;
    EXPECT_EQ(toVANCPacket(value)->packetType(), QLXVANCPacketTypeSonyMetadata);
    value.sdid = 0x69;
    EXPECT_EQ(toVANCPacket(value)->packetType(), QLXVANCPacketTypeUnknown);
    EXPECT_EQ(toVANCPacket(value)->packetSDID(), 0x69U);
}

TEST(PacketValues, WithoutDataBecomePacketsWithEmptyData) {
    const auto packet = toVANCPacket({});
    EXPECT_TRUE(packet->packetData());
    EXPECT_TRUE(packet->packetData().empty());
    EXPECT_EQ(packet->lineNumber(), 0U);
}

TEST(PacketValues, ComeBackAsTheyWere) {
    for (int size = 0; size <= 255; ++size) {
        Packet value;
        value.did = static_cast<std::uint8_t>(size);
        value.sdid = static_cast<std::uint8_t>(255 - size);
        value.line = size % 2 == 0 ? static_cast<std::uint32_t>(size) : std::numeric_limits<std::uint32_t>::max();
        for (int index = 0; index < size; ++index) {
            value.userData.push_back(static_cast<std::uint8_t>(index * 7 + size));
        }
        const auto back = toAncPacket(*toVANCPacket(value));
        ASSERT_TRUE(back) << size;
        EXPECT_EQ(*back, value) << size;
    }
}

TEST(PacketValues, HaveNoPlaceOnTheRowWhenTheyComeFromTheClass) {
    Packet value = captionPair();
    value.channel = Channel::SdMultiplex;
    value.horizontalOffset = 40;
    const auto back = toAncPacket(*toVANCPacket(value));
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, captionPair());
}

TEST(PacketValues, TakeTheIdentifiersWhateverTheTypeSays) {
    QLXVANCPacket packet;
    packet.setPacketType(QLXVANCPacketTypeOP47);
    packet.setPacketDID(0x61);
    packet.setPacketSDID(0x01);
    const auto value = toAncPacket(packet);
    ASSERT_TRUE(value);
    EXPECT_EQ(value->id(), qlx::anc::ids::kCdp);
    EXPECT_TRUE(value->userData.empty());
}

TEST(PacketValues, RefuseWhatNoPacketCanBe) {
    QLXVANCPacket packet;
    packet.setPacketDID(0x161);
    packet.setPacketSDID(0x01);
    EXPECT_EQ(toAncPacket(packet).error(),
              (Finding{FindingCode::VancPacketNumberTooGreat, Severity::Error, 0, 0x161, 255}));
    EXPECT_EQ(toAncPacket(packet).error().text(), "353 where 255 is the greatest");
    packet.setPacketDID(0x61);
    packet.setPacketSDID(256);
    EXPECT_EQ(toAncPacket(packet).error(),
              (Finding{FindingCode::VancPacketNumberTooGreat, Severity::Error, 0, 256, 255}));
    packet.setPacketSDID(255);
    packet.setLineNumber(std::uint64_t{1} << 32U);
    EXPECT_EQ(toAncPacket(packet).error(),
              (Finding{FindingCode::VancPacketNumberTooGreat, Severity::Error, 0, 4'294'967'296, 4'294'967'295}));
    // What the row and atom readers make of a line number below zero.
    packet.setLineNumber(std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(toAncPacket(packet).error(), (Finding{FindingCode::VancPacketNumberTooGreat, Severity::Error, 0,
                                                    std::numeric_limits<std::int64_t>::max(), 4'294'967'295}));
    packet.setLineNumber(9);
    packet.setPacketData(qlx::Data(std::vector<std::uint8_t>(256)));
    EXPECT_EQ(toAncPacket(packet).error(),
              (Finding{FindingCode::AncTooManyUserDataWords, Severity::Error, 0, 256, 255}));
    packet.setPacketData(qlx::Data(std::vector<std::uint8_t>(255)));
    EXPECT_TRUE(toAncPacket(packet));
}

TEST(PacketValues, OfAListKeepTheOrderAndNameWhatIsPassedOver) {
    std::vector<std::shared_ptr<QLXVANCPacket>> packets{
        QLXVANCPacket::CEA608VANCPacketWithData_lineNumber(qlx::Data{0x80, 0x94, 0x2C}, 21),
        nullptr,
        QLXVANCPacket::CEA708VANCPacketWithData_lineNumber(qlx::Data(std::vector<std::uint8_t>(300)), 9),
        QLXVANCPacket::OP47VANCPacketWithData_lineNumber(qlx::Data{0x51}, 12),
    };
    Findings findings;
    const std::vector<Packet> values = toAncPackets(packets, &findings);
    ASSERT_EQ(values.size(), 2U);
    EXPECT_EQ(values[0], captionPair());
    EXPECT_EQ(values[1].id(), qlx::anc::ids::kOp47);
    EXPECT_EQ(values[1].line, 12U);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::AncTooManyUserDataWords, Severity::Error, 2, 300, 255}));
    EXPECT_EQ(toAncPackets(packets), values);

    const auto back = toVANCPackets(values);
    ASSERT_EQ(back.size(), 2U);
    EXPECT_EQ(back[0]->packetType(), QLXVANCPacketTypeCEA608);
    EXPECT_EQ(back[0]->packetData(), packets[0]->packetData());
    EXPECT_EQ(back[1]->packetType(), QLXVANCPacketTypeOP47);
    EXPECT_EQ(back[1]->lineNumber(), 12U);
    EXPECT_TRUE(toVANCPackets({}).empty());
}

}  // namespace
