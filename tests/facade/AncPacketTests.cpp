#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <tuple>

using Packet = QLXVANCPacket;

namespace {

struct Row {
    QLXVANCPacketType type;
    QLXVANCPacketType constant;
    std::uint64_t did;
    std::uint64_t sdid;
    const char* name;
};

constexpr Row kRows[] = {
    {1, QLXVANCPacketTypeCEA608, 0x61, 0x02, "CEA608"},
    {2, QLXVANCPacketTypeCEA708, 0x61, 0x01, "CEA708"},
    {3, QLXVANCPacketTypeOP47, 0x43, 0x02, "OP-47"},
    {4, QLXVANCPacketTypeSCTE104, 0x41, 0x07, "SCTE104"},
    {5, QLXVANCPacketTypeArriMetadata, 0x44, 0x04, "Arri Metadata"},
    {6, QLXVANCPacketTypeCameraStartStop, 0x52, 0x4D, "Camera Start/Stop"},
    {7, QLXVANCPacketTypeTimecode, 0x60, 0x60, "Timecode"},
    {8, QLXVANCPacketTypeAFDBarData, 0x41, 0x05, "AFD/Bar Data"},
    {9, QLXVANCPacketTypeSonyMetadata, 0xF4, 0x68, "Sony Metadata"},
    {10, QLXVANCPacketTypeAppleMetadata, 0x50, 0x02, "Apple Metadata"},
};

std::shared_ptr<Packet> packetOfType(QLXVANCPacketType type, std::uint64_t did, std::uint64_t sdid, std::uint64_t line,
                                     qlx::Data data) {
    auto packet = std::make_shared<Packet>();
    packet->setPacketType(type);
    packet->setPacketDID(did);
    packet->setPacketSDID(sdid);
    packet->setLineNumber(line);
    packet->setPacketData(std::move(data));
    return packet;
}

std::shared_ptr<Packet> metadataPacket(const std::string& bytes) {
    return packetOfType(QLXVANCPacketTypeAppleMetadata, 0x50, 0x02, 7,
                        std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
}

}  // namespace

TEST(AncPacket, BeginsWithItsDefaults) {
    const Packet packet;
    EXPECT_EQ(packet.lineNumber(), 0U);
    EXPECT_EQ(packet.packetData(), qlx::Data());
    EXPECT_EQ(packet.packetType(), QLXVANCPacketTypeUnknown);
    EXPECT_EQ(packet.timingInfo(), qlx::SampleTimingInfo());
    EXPECT_EQ(packet.packetDID(), 0U);
    EXPECT_EQ(packet.packetSDID(), 0U);
    EXPECT_FALSE(packet.inHANCSpace());
    EXPECT_FALSE(packet.canBeDropped());
}

TEST(AncPacket, KeepsEveryProperty) {
    Packet packet;
    const qlx::SampleTimingInfo timing{qlx::MediaTime::make(1, 25), qlx::MediaTime{5, 25, 1, 2},
                                       qlx::MediaTime::make(4, 25)};
    packet.setLineNumber(std::numeric_limits<std::uint64_t>::max());
    packet.setPacketData({1, 2});
    packet.setPacketType(99);
    packet.setTimingInfo(timing);
    packet.setPacketDID(0x161);
    packet.setPacketSDID(0x102);
    packet.setInHANCSpace(true);
    packet.setCanBeDropped(true);
    EXPECT_EQ(packet.lineNumber(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(packet.packetData(), (qlx::Data{1, 2}));
    EXPECT_EQ(packet.packetType(), 99U);
    EXPECT_EQ(packet.timingInfo(), timing);
    EXPECT_EQ(packet.packetDID(), 0x161U);
    EXPECT_EQ(packet.packetSDID(), 0x102U);
    EXPECT_TRUE(packet.inHANCSpace());
    EXPECT_TRUE(packet.canBeDropped());
}

TEST(AncPacket, SettersOfIdentifiersDoNotClassify) {
    Packet packet;
    packet.setPacketDID(0x61);
    packet.setPacketSDID(0x01);
    EXPECT_EQ(packet.packetType(), QLXVANCPacketTypeUnknown);
}

TEST(AncPacketType, ClassifiesEveryRowOfTheTable) {
    for (const Row& row : kRows) {
        EXPECT_EQ(row.constant, row.type);
        EXPECT_EQ(Packet::packetTypeWithDID_SDID(row.did, row.sdid), row.type);
        EXPECT_EQ(Packet::nameOfPacketType(row.type), row.name);
    }
}

TEST(AncPacketType, MatchesOnlyWholeValues) {
    std::size_t known = 0;
    for (std::uint64_t did = 0; did < 256; ++did) {
        for (std::uint64_t sdid = 0; sdid < 256; ++sdid) {
            known += Packet::packetTypeWithDID_SDID(did, sdid) != QLXVANCPacketTypeUnknown ? 1U : 0U;
        }
    }
    EXPECT_EQ(known, 10U);
    EXPECT_EQ(Packet::packetTypeWithDID_SDID(0x61, 0x03), 0U);
    EXPECT_EQ(Packet::packetTypeWithDID_SDID(0x161, 0x102), 0U);
    EXPECT_EQ(Packet::packetTypeWithDID_SDID(0x02, 0x61), 0U);
    EXPECT_EQ(Packet::packetTypeWithDID_SDID(0x1'0000'0061, 0x02), 0U);
}

TEST(AncPacketType, NamesAnythingElseUnknown) {
    EXPECT_EQ(Packet::nameOfPacketType(0), "Unknown");
    EXPECT_EQ(Packet::nameOfPacketType(11), "Unknown");
    EXPECT_EQ(Packet::nameOfPacketType(static_cast<std::uint64_t>(-1)), "Unknown");
}

TEST(AncPacketDescription, ShowsIdentifiersLineAndBytes) {
    EXPECT_EQ(packetOfType(2, 0x61, 0x01, 9, {0x96, 0x69, 0x09, 0x4F, 0x00})->description(),
              "61.01 (CEA708) Packet (line 9) <9669094f 00>");
    EXPECT_EQ(packetOfType(0, 0x161, 0xABC, 18446744073709551615U, qlx::Data::zeros(0))->description(),
              "161.abc (Unknown) Packet (line 18446744073709551615) <>");
    EXPECT_EQ(Packet().description(), "00.00 (Unknown) Packet (line 0) (null)");
}

TEST(AncPacketDescription, ShowsTheTextOfAppleMetadata) {
    EXPECT_EQ(metadataPacket("headeronHello")->description(), "50.02 (Apple Metadata) Packet (line 7) Hello");
    EXPECT_EQ(metadataPacket("12345678\xC3\xA9t\xC3\xA9")->description(),
              "50.02 (Apple Metadata) Packet (line 7) \xC3\xA9t\xC3\xA9");
    EXPECT_EQ(metadataPacket("1234567890")->description(), "50.02 (Apple Metadata) Packet (line 7) 90");
    EXPECT_EQ(metadataPacket("123456789")->description(), "50.02 (Apple Metadata) Packet (line 7) (no text)");
    EXPECT_EQ(metadataPacket("")->description(), "50.02 (Apple Metadata) Packet (line 7) (no text)");
    EXPECT_EQ(packetOfType(10, 0, 0, 0, {})->description(), "00.00 (Apple Metadata) Packet (line 0) (no text)");
    EXPECT_EQ(metadataPacket("12345678ok\xFF")->description(), "50.02 (Apple Metadata) Packet (line 7) (null)");
}

TEST(AncPacketEncoding, CodesEveryByteAsALittleEndianWord) {
    EXPECT_EQ(qlxtest::toHex(packetOfType(0, 0, 0, 0, {0x00, 0xFF, 0x61})->packetDataWithEncodedBytes()),
              "0002ff026101");
    EXPECT_EQ(packetOfType(0, 0, 0, 0, qlx::Data::zeros(0))->packetDataWithEncodedBytes(), qlx::Data::zeros(0));
    EXPECT_EQ(Packet().packetDataWithEncodedBytes(), qlx::Data::zeros(0));
}

TEST(AncPacketLines, AreCollectedOnceAscending) {
    const auto on = [](std::uint64_t line) { return Packet::CEA708VANCPacketWithData_lineNumber({}, line); };
    EXPECT_EQ(Packet::linesInVANCPackets({on(10), on(9), nullptr, on(9)}), (std::set<std::uint64_t>{9, 10}));
    EXPECT_EQ(Packet::linesInVANCPackets({}), std::set<std::uint64_t>());
}

TEST(AncPacketFactories, FillThePacket) {
    const qlx::Data data{1, 2, 3};
    const auto expect = [&data](const Packet& packet, QLXVANCPacketType type, std::uint64_t did, std::uint64_t sdid) {
        EXPECT_EQ(packet.packetType(), type);
        EXPECT_EQ(packet.packetDID(), did);
        EXPECT_EQ(packet.packetSDID(), sdid);
        EXPECT_EQ(packet.lineNumber(), 21U);
        EXPECT_EQ(packet.packetData().data(), data.data()) << "the data are shared, not copied";
        EXPECT_EQ(packet.timingInfo(), qlx::SampleTimingInfo());
        EXPECT_FALSE(packet.inHANCSpace());
        EXPECT_FALSE(packet.canBeDropped());
    };
    expect(*Packet::CEA708VANCPacketWithData_lineNumber(data, 21), 2, 0x61, 0x01);
    expect(*Packet::CEA608VANCPacketWithData_lineNumber(data, 21), 1, 0x61, 0x02);
    expect(*Packet::OP47VANCPacketWithData_lineNumber(data, 21), 3, 0x43, 0x02);
    expect(*Packet::appleMetadataVANCPacketWithData_lineNumber(data, 21), 10, 0x50, 0x02);
}

TEST(AncPacketFactories, MakeCameraStartAndStop) {
    for (const bool start : {true, false}) {
        const auto packet = Packet::cameraRecordControlPacketWithStart(start);
        EXPECT_EQ(packet->packetType(), 6U);
        EXPECT_EQ(packet->packetDID(), 0x52U);
        EXPECT_EQ(packet->packetSDID(), 0x4DU);
        EXPECT_EQ(packet->lineNumber(), 9U);
        EXPECT_FALSE(packet->inHANCSpace());
        EXPECT_EQ(qlxtest::toHex(packet->packetData()), start ? "0000000000000000002002" : "0000000000000000002000");
    }
}
