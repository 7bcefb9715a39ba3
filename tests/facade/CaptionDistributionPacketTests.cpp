// The two packet writers: one pair, and ready triplets without service section.
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "CaptionSupport.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

using qlx::MediaTime;
using namespace qlxtest;

namespace {

constexpr std::uint8_t kPair[] = {0x94, 0x2C};

std::string onePairDigits(const MediaTime& frameDuration, std::uint16_t counter, const std::uint8_t* pair) {
    return toHex(QLXVANCPacket::emptyCEA708VANCPacketWithFrameDuration_sequenceCounter_lineNumber_cea608Bytes(
                     frameDuration, counter, 9, pair)
                     ->packetData());
}

qlx::Data bare(const MediaTime& frameDuration, std::uint16_t counter, const qlx::Data& triplets,
               std::int32_t lineNumber = 9) {
    return QLXVANCPacket::CEA708PacketDataWithFrameDuration_sequenceCounter_lineNumber_CEA708Bytes(
        frameDuration, counter, lineNumber, triplets);
}

}  // namespace

TEST(OnePairPacket, IsACaptionPacketOnItsLine) {
    for (const std::int32_t line : {9, 0, 1125, -1, std::numeric_limits<std::int32_t>::min()}) {
        const auto packet =
            QLXVANCPacket::emptyCEA708VANCPacketWithFrameDuration_sequenceCounter_lineNumber_cea608Bytes(k25, 1, line,
                                                                                                         kPair);
        ASSERT_TRUE(packet);
        EXPECT_EQ(packet->packetType(), QLXVANCPacketTypeCEA708);
        EXPECT_EQ(packet->packetDID(), 0x61U);
        EXPECT_EQ(packet->packetSDID(), 0x01U);
        EXPECT_EQ(packet->lineNumber(), static_cast<std::uint64_t>(std::int64_t{line}));
        EXPECT_EQ(packet->packetData().size(), 101U);
    }
}

TEST(OnePairPacket, KeepsItsShortLengthByteAndPartialChecksum) {
    EXPECT_EQ(onePairDigits(k2997, 0x1234, kPair), digits("9669 51 4f 7f 1234 72 f4 fc942c f98080") +
                                                       repeated("fa0000", 18) + kServiceDigits + digits("741234 8e"));
    EXPECT_EQ(onePairDigits(k5994, 0, std::array<std::uint8_t, 2>{0x14, 0x20}.data()),
              digits("9669 33 7f 7f 0000 72 ea fc1420 f98080") + repeated("fa0000", 8) + kServiceDigits +
                  digits("740000 2e"));
}

TEST(OnePairPacket, WithoutAPairHoldsAnEmptyTriplet) {
    EXPECT_EQ(onePairDigits(k25, 0xFFFF, nullptr), digits("9669 5d 3f 7f ffff 72 f8 f88080 f98080") +
                                                       repeated("fa0000", 22) + kServiceDigits + digits("74ffff ae"));
    EXPECT_EQ(onePairDigits(k24, 0x00FF, nullptr), digits("9669 60 2f 7f 00ff 72 f9 f88080 f98080") +
                                                       repeated("fa0000", 23) + kServiceDigits + digits("7400ff b2"));
}

TEST(OnePairPacket, OfACountBelowThreeWritesTheServiceSectionLast) {
    EXPECT_EQ(onePairDigits(MediaTime{}, 0x0102, kPair),
              digits("9669 15 0f 7f 0102 72 e0") + kServiceDigits + digits("740102 2e"));
    EXPECT_EQ(onePairDigits(durationOfCount(1), 0x0102, kPair),
              digits("9669 18 0f 7f 0102 72 e1 fc942c") + kServiceDigits + digits("740102 71"));
    EXPECT_EQ(onePairDigits(durationOfCount(2), 0x0102, kPair),
              digits("9669 1b 0f 7f 0102 72 e2 fc942c f98080") + kServiceDigits + digits("740102 77"));
}

TEST(OnePairPacket, OfEveryCountIsCutToItsWrappedSize) {
    for (std::size_t count = 3; count < 256; ++count) {
        ExpectedPacket expected{count * 3 + 21, 0, "0506", count, "fc942cf98080" + repeated("fa0000", count - 2)};
        const std::string whole = withChecksum(expected.withoutChecksum(), 8);
        const std::size_t size = (3 * count + 5) % 256 + 24;
        const std::string found = onePairDigits(durationOfCount(static_cast<std::int64_t>(count)), 0x0506, kPair);
        ASSERT_EQ(found, whole.substr(0, 2 * size)) << count;
        EXPECT_EQ(found.size(), 2 * size) << count;
    }
}

TEST(BarePacket, HoldsTheTripletsUnchanged) {
    EXPECT_EQ(
        toHex(bare(k5994, 0xFFFE, fromHex("fc942c fe0010 fe0111 fe0212 fe0313 fe0414 fe0515 fe0616 fe0717 fe0818"))),
        digits("9669 36 7f 7f fffe 72 ea fc942c fe0010 fe0111 fe0212 fe0313 fe0414 fe0515 fe0616 fe0717 fe0818 "
               "74fffe 81"));
}

TEST(BarePacket, OfNoTripletsHoldsNone) {
    const std::string expected = digits("9669 18 0f 7f 0007 72 e0 740007 87");
    EXPECT_EQ(toHex(bare(MediaTime{}, 7, fromHex(""))), expected);
    EXPECT_EQ(toHex(bare(MediaTime{}, 7, {})), expected);
}

TEST(BarePacket, TakesNoOtherCount) {
    for (std::size_t size = 0; size <= 64; ++size) {
        const qlx::Data packet = bare(k2997, 0, std::vector<std::uint8_t>(size));
        EXPECT_EQ(static_cast<bool>(packet), size == 60) << size;
    }
    EXPECT_FALSE(bare(k2997, 0, {}));
    EXPECT_FALSE(bare(MediaTime{}, 0, {0xFA, 0x00, 0x00}));
}

TEST(BarePacket, DoesNotKnowItsLine) {
    const qlx::Data triplets = fromHex(repeated("fa0000", 24));
    EXPECT_EQ(bare(k25, 3, triplets, -5), bare(k25, 3, triplets, 21));
}

TEST(BarePacket, OfEveryCountIsCutToItsWrappedSize) {
    for (std::size_t count = 0; count < 256; ++count) {
        std::string triplets;
        for (std::size_t index = 0; index < count; ++index) {
            triplets += "fe" + byteDigits(index) + byteDigits(3 * index);
        }
        const ExpectedPacket expected{3 * count + 24, 0, "8001", count, triplets, false};
        const std::size_t size = 3 * count % 256 + 13;
        const std::string found =
            toHex(bare(durationOfCount(static_cast<std::int64_t>(count)), 0x8001, fromHex(triplets)));
        ASSERT_EQ(found, expected.digitsOfPacket().substr(0, 2 * size)) << count;
        EXPECT_EQ(found.size(), 2 * size) << count;
    }
}
