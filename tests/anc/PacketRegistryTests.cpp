// The register of packets, and what small packets that describe a frame say: bytes worked out by hand from the standards.
#include <qlx/anc/payloads.h>
#include <qlx/anc/registry.h>
#include <qlx/base/result.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using namespace qlx::anc;
using qlx::FindingCode;
using Octets = std::vector<std::uint8_t>;

TEST(PacketRegistry, KnowsEachPairOnce) {
    const auto all = registeredPackets();
    // The 81 of SMPTE's register, four of ARIB STD-B37 and one of ARIB STD-B39.
    EXPECT_EQ(all.size(), 86U);
    EXPECT_EQ(std::count_if(all.begin(), all.end(), [](const auto& packet) { return packet.isType1(); }), 33);
    for (const RegisteredPacket& packet : all) {
        EXPECT_FALSE(packet.name.empty() || packet.standard.empty());
        EXPECT_LE(packet.name.size(), 17U) << packet.name;
        const auto found = registeredPacket(packet.id.did, packet.id.sdid);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->id, packet.id);
        EXPECT_TRUE(!packet.isType1() || packet.id.sdid == 0);
    }
}

TEST(PacketRegistry, NamesAPacketByItsTwoWords) {
    const auto kindOf = [](std::uint8_t did, std::uint8_t sdid) {
        const auto packet = registeredPacket(did, sdid);
        return packet ? std::string(packet->name) + ", " + std::string(packet->standard) : std::string("none");
    };
    EXPECT_EQ(kindOf(0x41, 0x05), "AFD/Bar Data, SMPTE ST 2016-3");
    EXPECT_EQ(kindOf(0x41, 0x0C), "HDR metadata, SMPTE ST 2108-1");
    EXPECT_EQ(kindOf(0x43, 0x03), "OP-47 multipacket, SMPTE RDD 8");
    EXPECT_EQ(kindOf(0x45, 0x01), "Audio metadata, SMPTE ST 2020-1");
    EXPECT_EQ(kindOf(0x5F, 0xDF), "ARIB captions, HD, ARIB STD-B37");
    EXPECT_EQ(kindOf(0x5F, 0xFE), "Station control, ARIB STD-B39");
    // The second word of type 1 is a number that counts packets.
    EXPECT_EQ(kindOf(0xE7, 0x00), "Audio group 1, SMPTE ST 299-1");
    EXPECT_EQ(kindOf(0xE7, 0x5A), "Audio group 1, SMPTE ST 299-1");
    // No guess: neither a neighbour, nor the words the other way round.
    EXPECT_EQ(kindOf(0x41, 0x0E), "none");
    EXPECT_EQ(kindOf(0x45, 0x00), "none");
    EXPECT_EQ(kindOf(0x05, 0x41), "none");
    EXPECT_EQ(kindOf(0xC0, 0x00), "none");
    EXPECT_EQ(registeredPacket(0x41, 0x01)->space, Space::Horizontal);
    EXPECT_EQ(registeredPacket(0x41, 0x07)->space, Space::Vertical);
}

TEST(Payloads, ReadsAfdAndBars) {
    // AFD 1010, 16:9; top bar up to line 41, bottom bar from line 1042.
    const AfdBarData bars{0xA, true, true, true, false, false, 41, 1042};
    EXPECT_EQ(*parseAfdBarData(Octets{0x54, 0, 0, 0xC0, 0x00, 0x29, 0x04, 0x12}), bars);
    EXPECT_EQ(afdText(0xA), "16:9, centred");
    EXPECT_EQ(afdText(0x1), "");
    // AFD 1001, 4:3; left and right.
    const AfdBarData sides{0x9, false, false, false, true, true, 239, 1680};
    EXPECT_EQ(*parseAfdBarData(Octets{0x48, 0, 0, 0x30, 0x00, 0xEF, 0x06, 0x90}), sides);
}

TEST(Payloads, ReadsATimeCode) {
    // 12:34:56:17, drop frame; binary groups 1 to 8; DBB1 01h (VITC 1), DBB2 80h.
    AncillaryTimeCode expected;
    expected.hours = 12;
    expected.minutes = 34;
    expected.seconds = 56;
    expected.frames = 17;
    expected.dropFrame = true;
    expected.flags = {true, false, false, true};
    expected.binaryGroups = {1, 2, 3, 4, 5, 6, 7, 8};
    expected.source = 0x01;
    expected.validity = 0x80;
    EXPECT_EQ(*parseAncillaryTimeCode(Octets{0x78, 0x10, 0x50, 0x20, 0x60, 0x30, 0xD0, 0x40, 0x40, 0x50, 0x30, 0x60,
                                             0x20, 0x70, 0x90, 0x88}),
              expected);
}

TEST(Payloads, ReadsAPayloadIdentifier) {
    // 1080 lines at 3 Gb/s, progressive, 50 pictures a second, 4:2:2.
    const auto payload = parsePayloadIdentifier(Octets{0x89, 0xC9, 0x80, 0x01});
    EXPECT_EQ(*payload, (PayloadIdentifier{0x89, true, true, 9, 0, {0x89, 0xC9, 0x80, 0x01}}));
    EXPECT_EQ(payloadRateText(payload->rateCode), "50");
    EXPECT_EQ(payloadRateText(6), "30/1.001");
    EXPECT_EQ(payloadRateText(0), "");
    EXPECT_EQ(payloadRateText(15), "");
}

TEST(Payloads, ReadsCaptionPairsAndCameraRecording) {
    EXPECT_EQ(*parseCea608Payload(Octets{0x8C, 0x94, 0x2C}), (Cea608Payload{true, 12, {0x94, 0x2C}}));
    EXPECT_EQ(*parseCea608Payload(Octets{0x0C, 0x80, 0x80}), (Cea608Payload{false, 12, {0x80, 0x80}}));
    Octets camera(11);
    camera[9] = 0x20;
    EXPECT_FALSE(*parseCameraStartStop(camera));
    camera[10] = 0x02;
    EXPECT_TRUE(*parseCameraStartStop(camera));
}

TEST(Payloads, SaysWhatIsTooShort) {
    const auto least = [](auto parse) {
        for (std::size_t size = 0; size < 20; ++size) {
            const Octets bytes(size);
            const auto read = parse(std::span<const std::uint8_t>(bytes));
            if (read) {
                return size;
            }
            EXPECT_EQ(read.error().code, FindingCode::AncPayloadCut);
            EXPECT_EQ(read.error().second, static_cast<std::int64_t>(size));
        }
        return std::size_t{0};
    };
    EXPECT_EQ(least(parseAfdBarData), 8U);
    EXPECT_EQ(least(parseAncillaryTimeCode), 16U);
    EXPECT_EQ(least(parsePayloadIdentifier), 4U);
    EXPECT_EQ(least(parseCea608Payload), 3U);
    EXPECT_EQ(least(parseCameraStartStop), 11U);
}

}  // namespace
