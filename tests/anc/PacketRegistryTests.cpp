// The register of packets, and what small packets that describe a frame say: bytes worked out by hand from the standards.
#include <qlx/anc/payloads.h>
#include <qlx/anc/registry.h>
#include <qlx/base/result.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace qlx::anc;
using qlx::FindingCode;
using Octets = std::vector<std::uint8_t>;

TEST(PacketRegistry, KnowsEachPairOnce) {
    const auto all = registeredPackets();
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

struct Assignment {
    PacketId id;
    std::string_view standard;
};

/// The 81 assignments of SMPTE's register (its state of 2026): 47 pairs of type 2, and 34 DIDs without a second word.
const std::vector<Assignment> kPairsOfSmpte{
    {{0x08, 0x08}, "SMPTE ST 353"},    {{0x08, 0x0C}, "SMPTE ST 353"},    {{0x40, 0x01}, "SMPTE ST 305"},
    {{0x40, 0x02}, "SMPTE ST 348"},    {{0x40, 0x04}, "SMPTE ST 427"},    {{0x40, 0x05}, "SMPTE ST 427"},
    {{0x40, 0x06}, "SMPTE ST 427"},    {{0x41, 0x01}, "SMPTE ST 352"},    {{0x41, 0x05}, "SMPTE ST 2016-3"},
    {{0x41, 0x06}, "SMPTE ST 2016-4"}, {{0x41, 0x07}, "SMPTE ST 2010"},   {{0x41, 0x08}, "SMPTE ST 2031"},
    {{0x41, 0x09}, "SMPTE ST 2056"},   {{0x41, 0x0A}, "SMPTE ST 2068"},   {{0x41, 0x0B}, "SMPTE ST 2064-2"},
    {{0x41, 0x0C}, "SMPTE ST 2108-1"}, {{0x41, 0x0D}, "SMPTE ST 2108-2"}, {{0x43, 0x01}, "ITU-R BT.1685"},
    {{0x43, 0x02}, "SMPTE RDD 8"},     {{0x43, 0x03}, "SMPTE RDD 8"},     {{0x43, 0x04}, "ARIB TR-B29"},
    {{0x43, 0x05}, "SMPTE RDD 18"},    {{0x44, 0x04}, "SMPTE RP 214"},    {{0x44, 0x14}, "SMPTE RP 214"},
    {{0x44, 0x44}, "SMPTE RP 223"},    {{0x45, 0x01}, "SMPTE ST 2020-1"}, {{0x45, 0x02}, "SMPTE ST 2020-1"},
    {{0x45, 0x03}, "SMPTE ST 2020-1"}, {{0x45, 0x04}, "SMPTE ST 2020-1"}, {{0x45, 0x05}, "SMPTE ST 2020-1"},
    {{0x45, 0x06}, "SMPTE ST 2020-1"}, {{0x45, 0x07}, "SMPTE ST 2020-1"}, {{0x45, 0x08}, "SMPTE ST 2020-1"},
    {{0x45, 0x09}, "SMPTE ST 2020-1"}, {{0x46, 0x01}, "SMPTE ST 2051"},   {{0x50, 0x01}, "SMPTE RDD 8"},
    {{0x51, 0x01}, "SMPTE RP 215"},    {{0x60, 0x60}, "SMPTE ST 12-2"},   {{0x60, 0x61}, "SMPTE ST 12-3"},
    {{0x60, 0x62}, "SMPTE ST 2103"},   {{0x61, 0x01}, "SMPTE ST 334-1"},  {{0x61, 0x02}, "SMPTE ST 334-1"},
    {{0x62, 0x01}, "SMPTE RP 207"},    {{0x62, 0x02}, "SMPTE ST 334-1"},  {{0x62, 0x03}, "SMPTE RP 208"},
    {{0x64, 0x64}, "SMPTE RP 196"},    {{0x64, 0x7F}, "SMPTE RP 196"},
};

const std::vector<Assignment> kDidsOfSmpte{
    {{0x00, 0}, "SMPTE ST 291-1"}, {{0x80, 0}, "SMPTE ST 291-1"}, {{0x84, 0}, "SMPTE ST 291-1"},
    {{0x88, 0}, "SMPTE ST 291-1"}, {{0xA0, 0}, "SMPTE ST 299-2"}, {{0xA1, 0}, "SMPTE ST 299-2"},
    {{0xA2, 0}, "SMPTE ST 299-2"}, {{0xA3, 0}, "SMPTE ST 299-2"}, {{0xA4, 0}, "SMPTE ST 299-2"},
    {{0xA5, 0}, "SMPTE ST 299-2"}, {{0xA6, 0}, "SMPTE ST 299-2"}, {{0xA7, 0}, "SMPTE ST 299-2"},
    {{0xE0, 0}, "SMPTE ST 299-1"}, {{0xE1, 0}, "SMPTE ST 299-1"}, {{0xE2, 0}, "SMPTE ST 299-1"},
    {{0xE3, 0}, "SMPTE ST 299-1"}, {{0xE4, 0}, "SMPTE ST 299-1"}, {{0xE5, 0}, "SMPTE ST 299-1"},
    {{0xE6, 0}, "SMPTE ST 299-1"}, {{0xE7, 0}, "SMPTE ST 299-1"}, {{0xEC, 0}, "SMPTE ST 272"},
    {{0xED, 0}, "SMPTE ST 272"},   {{0xEE, 0}, "SMPTE ST 272"},   {{0xEF, 0}, "SMPTE ST 272"},
    {{0xF0, 0}, "SMPTE ST 315"},   {{0xF4, 0}, "SMPTE RP 165"},   {{0xF8, 0}, "SMPTE ST 272"},
    {{0xF9, 0}, "SMPTE ST 272"},   {{0xFA, 0}, "SMPTE ST 272"},   {{0xFB, 0}, "SMPTE ST 272"},
    {{0xFC, 0}, "SMPTE ST 272"},   {{0xFD, 0}, "SMPTE ST 272"},   {{0xFE, 0}, "SMPTE ST 272"},
    {{0xFF, 0}, "SMPTE ST 272"},
};

const std::vector<Assignment> kPairsOfArib{
    {{0x5F, 0xDC}, "ARIB STD-B37"}, {{0x5F, 0xDD}, "ARIB STD-B37"}, {{0x5F, 0xDE}, "ARIB STD-B37"},
    {{0x5F, 0xDF}, "ARIB STD-B37"}, {{0x5F, 0xFE}, "ARIB STD-B39"},
};

TEST(PacketRegistry, HasTheAssignmentsOfSmpteAndFiveOfArib) {
    ASSERT_EQ(kPairsOfSmpte.size(), 47U);
    ASSERT_EQ(kDidsOfSmpte.size(), 34U);
    std::vector<Assignment> expected;
    for (const auto* const list : {&kPairsOfSmpte, &kDidsOfSmpte, &kPairsOfArib}) {
        expected.insert(expected.end(), list->begin(), list->end());
    }
    const auto all = registeredPackets();
    EXPECT_EQ(all.size(), expected.size());
    for (const Assignment& one : expected) {
        const auto found =
            std::find_if(all.begin(), all.end(), [&](const auto& packet) { return packet.id == one.id; });
        ASSERT_NE(found, all.end()) << int{one.id.did} << ' ' << int{one.id.sdid};
        EXPECT_EQ(found->standard, one.standard) << int{one.id.did} << ' ' << int{one.id.sdid};
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
