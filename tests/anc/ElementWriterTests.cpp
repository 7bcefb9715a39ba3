#include <qlx/anc/element.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using namespace qlx::anc;
using qlx::Data;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Result;
using qlx::Severity;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::toHex;

const Packet kUsual{0x61, 0x01, {0x96, 0x69, 0x03}, 9, 0, Channel::Luma};

std::string digits(std::string_view spaced) {
    return toHex(fromHex(spaced));
}

std::string written(const std::vector<Packet>& packets, const ElementWriteOptions& options = {}) {
    const Result<Data> data = writeElement(std::span<const Packet>(packets), options);
    if (!data) {
        return data.error().text();
    }
    // The other form writes the same, and nothing behind it.
    ExactBuffer room(std::vector<std::uint8_t>(elementSize(std::span<const Packet>(packets), options), 0xEE));
    const auto size = writeElement(std::span<const Packet>(packets), room.span(), options);
    EXPECT_TRUE(size && *size == data->size());
    EXPECT_EQ(toHex(room.span()), toHex(*data));
    return toHex(*data);
}

std::string written(const std::vector<ElementPacket>& packets) {
    const Result<Data> data = writeElement(std::span<const ElementPacket>(packets));
    if (!data) {
        return data.error().text();
    }
    ExactBuffer room(std::vector<std::uint8_t>(elementSize(std::span<const ElementPacket>(packets)), 0xEE));
    const auto size = writeElement(std::span<const ElementPacket>(packets), room.span());
    EXPECT_TRUE(size && *size == data->size());
    EXPECT_EQ(toHex(room.span()), toHex(*data));
    return toHex(*data);
}

Finding errorOf(const ElementPacket& packet) {
    const std::array packets{ElementPacket{kUsual, {}, {}, {}, {}}, packet};
    std::array<ElementPacket, 2> valid = packets;
    valid[0].coding = SampleCoding::Luma8;
    const Result<Data> data = writeElement(std::span<const ElementPacket>(valid));
    return data ? Finding{} : data.error();
}

/// Random packets whose values have no second form.
class RandomPackets {
public:
    explicit RandomPackets(unsigned seed) : _engine(seed) {}

    std::size_t below(std::size_t bound) { return std::uniform_int_distribution<std::size_t>(0, bound - 1)(_engine); }

    std::vector<std::uint8_t> bytes(std::size_t count) {
        std::vector<std::uint8_t> result(count);
        for (std::uint8_t& one : result) {
            one = static_cast<std::uint8_t>(below(256));
        }
        return result;
    }

    ElementPacket packet() {
        constexpr std::array kWrappings{0x01, 0x02, 0x03, 0x04, 0x11, 0x12, 0x13, 0x14};
        ElementPacket result;
        result.coding = static_cast<SampleCoding>(4 + below(9));
        result.wrapping = static_cast<Wrapping>(kWrappings[below(kWrappings.size())]);
        result.packet = {static_cast<std::uint8_t>(below(256)),
                         static_cast<std::uint8_t>(below(256)),
                         bytes(below(4) == 0 ? below(256) : below(8)),
                         static_cast<std::uint32_t>(below(65'536)),
                         0,
                         channelOf(result.coding)};
        if (below(4) == 0) {
            // Never zeros, which could be the usual padding.
            result.padding = std::vector<std::uint8_t>(1 + below(6), std::uint8_t{0x55});
        }
        return result;
    }

    std::vector<ElementPacket> packets() {
        std::vector<ElementPacket> result(below(6));
        for (ElementPacket& one : result) {
            one = packet();
        }
        return result;
    }

private:
    std::mt19937 _engine;
};

}  // namespace

TEST(AncElementWriter, WritesEightBitSamples) {
    EXPECT_EQ(written(std::vector<Packet>{}), "0000");
    EXPECT_EQ(written(std::vector<Packet>{kUsual}),
              digits("0001 0009 01 04 0006 00000008 00000001 610103 966903 0000"));
    // A multiple of four bytes has no padding.
    EXPECT_EQ(written({{0x43, 0x02, {0xAA}, 12, 0, Channel::Chroma}, {0x60, 0x60, {}, 10, 3, Channel::SdMultiplex}},
                      {Wrapping::VancProgressiveFrame, false}),
              digits("0002 000c 04 05 0004 00000004 00000001 430201 aa 000a 04 06 0003 00000004 00000001 606000 00"));
}

TEST(AncElementWriter, WritesTenBitSamplesWithChecksum) {
    EXPECT_EQ(written(std::vector<Packet>{kUsual}, {Wrapping::HancField2, true}),
              digits("0001 0009 13 07 0007 0000000c 00000001 5850180c a5a6980c 59c00000"));
}

TEST(AncElementWriter, KeepsPaddingAndWords) {
    EXPECT_EQ(written(std::vector<ElementPacket>{
                  {kUsual, Wrapping::VancFrame, SampleCoding::Luma8ParityError, {}, std::vector<std::uint8_t>{}},
                  {kUsual, Wrapping::VancFrame, SampleCoding::Luma8, {}, std::vector<std::uint8_t>{1, 2, 3}},
                  {kUsual, Wrapping::VancFrame, SampleCoding::Chroma10, {0x161, 0x101, 0x200, 0x061}, std::nullopt},
              }),
              digits("0003 0009 01 0a 0006 00000006 00000001 610103 966903"
                     "0009 01 04 0006 00000009 00000001 610103 966903 010203"
                     "0009 01 08 0004 00000008 00000001 58501800 18400000"));
}

TEST(AncElementWriter, RefusesWhatCannotBeWritten) {
    ElementPacket packet{kUsual, Wrapping::VancFrame, SampleCoding::Luma8, {}, std::nullopt};
    packet.packet.userData.resize(256);
    EXPECT_EQ(errorOf(packet), (Finding{FindingCode::AncTooManyUserDataWords, Severity::Error, 1, 256, 255}));
    packet.packet.userData.resize(255);
    EXPECT_EQ(errorOf(packet), Finding{});
    packet.packet.line = 65'536;
    EXPECT_EQ(errorOf(packet), (Finding{FindingCode::AncElementLineTooGreat, Severity::Error, 1, 65'536, 65'535}));
    packet.packet.line = 65'535;
    EXPECT_EQ(errorOf(packet), Finding{});
    packet.coding = SampleCoding::Both10;
    packet.words.resize(260);
    EXPECT_EQ(errorOf(packet), (Finding{FindingCode::AncTooManyUserDataWords, Severity::Error, 1, 256, 255}));
    packet.words.resize(259);
    EXPECT_EQ(errorOf(packet), Finding{});
    packet.coding = static_cast<SampleCoding>(3);
    EXPECT_EQ(errorOf(packet), (Finding{FindingCode::AncElementCodingUnknown, Severity::Error, 1, 3, 0}));
    packet.coding = static_cast<SampleCoding>(13);
    EXPECT_EQ(errorOf(packet), (Finding{FindingCode::AncElementCodingUnknown, Severity::Error, 1, 13, 0}));
}

TEST(AncElementWriter, RefusesMorePacketsThanItsCountCounts) {
    const std::vector<Packet> packets(65'536, kUsual);
    const auto data = writeElement(std::span<const Packet>(packets));
    ASSERT_FALSE(data);
    EXPECT_EQ(data.error(), (Finding{FindingCode::AncElementTooManyPackets, Severity::Error, 0, 65'536, 65'535}));
    EXPECT_TRUE(writeElement(std::span(packets).first(65'535)));
}

TEST(AncElementWriter, WritesNothingIntoTooSmallARoom) {
    const std::vector<Packet> packets{kUsual};
    const std::size_t size = elementSize(std::span<const Packet>(packets));
    EXPECT_EQ(size, 24U);
    for (std::size_t there = 0; there < size; ++there) {
        ExactBuffer room = ExactBuffer::filled(there, 0x5A);
        const auto used = writeElement(std::span<const Packet>(packets), room.span());
        ASSERT_FALSE(used);
        EXPECT_EQ(used.error(),
                  (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 24, static_cast<std::int64_t>(there)}));
        EXPECT_EQ(room.vector(), std::vector<std::uint8_t>(there, 0x5A));
    }
}

TEST(AncElementRoundTrip, GivesBackEveryValue) {
    RandomPackets random(1);
    for (int round = 0; round < 2000; ++round) {
        const auto packets = random.packets();
        const auto data = writeElement(std::span<const ElementPacket>(packets));
        ASSERT_TRUE(data);
        Findings findings;
        ASSERT_EQ(parseElement(*data, &findings), packets);
        for (const Finding& finding : findings) {
            ASSERT_EQ(finding.code, FindingCode::AncElementParityError) << finding.text();
        }
    }
}

TEST(AncElementRoundTrip, GivesBackEveryByteOfWhatIsReadWithoutAFinding) {
    RandomPackets random(2);
    std::size_t accepted = 0;
    for (int round = 0; round < 20'000; ++round) {
        const auto packets = random.packets();
        const auto data = writeElement(std::span<const ElementPacket>(packets));
        ASSERT_TRUE(data);
        std::vector<std::uint8_t> bytes(data->begin(), data->end());
        for (std::size_t changes = random.below(3); changes > 0; --changes) {
            bytes[random.below(bytes.size())] ^= static_cast<std::uint8_t>(1U << random.below(8));
        }
        Findings findings;
        const auto parsed = parseElement(bytes, &findings);
        const auto again = writeElement(std::span<const ElementPacket>(parsed));
        ASSERT_TRUE(again);
        if (findings.empty()) {
            ++accepted;
            ASSERT_EQ(toHex(*again), toHex(bytes));
        }
        // What was read is read again, and nothing is wrong with how it is written.
        Findings more;
        ASSERT_EQ(parseElement(*again, &more), parsed);
    }
    EXPECT_GT(accepted, 2000U);
}
