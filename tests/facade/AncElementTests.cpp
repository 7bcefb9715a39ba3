#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <numeric>

using Packet = QLXVANCPacket;
using Packets = std::vector<std::shared_ptr<Packet>>;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::toHex;

namespace {

constexpr std::uint32_t k2vuy = qlx::kPixelFormat2vuy;

std::shared_ptr<Packet> caption(qlx::Data data, std::uint64_t line = 21) {
    return Packet::CEA608VANCPacketWithData_lineNumber(std::move(data), line);
}

qlx::Data counting(std::size_t size) {
    std::vector<std::uint8_t> data(size);
    std::iota(data.begin(), data.end(), std::uint8_t{1});
    return data;
}

Packets read(std::span<const std::uint8_t> element, std::uint32_t format = k2vuy) {
    const ExactBuffer buffer(element);
    return Packet::VANCPacketsWithMXFBuffer_size_bufferFormat(buffer.data(), buffer.size(), format);
}

/// A packet of the element: line, coding, array count, DID, SDID, DC, data and what else follows.
std::string packetHex(const std::string& line, const std::string& coding, const std::string& arrayCount,
                      const std::string& payload) {
    return line + "01" + coding + "0006" + arrayCount + "00000001" + payload;
}

/// Hexadecimal digits without the spaces that make them readable.
std::string digits(std::string_view spaced) {
    std::string result(spaced);
    std::erase(result, ' ');
    return result;
}

}  // namespace

TEST(AncElementWriting, WritesOnePacket) {
    EXPECT_EQ(toHex(Packet::ANCPacketWithVANCPacket(caption({0xAA, 0xBB, 0xCC}))),
              digits("0015 01 04 0006 00000008 00000001 610203 aabbcc 0000"));
    EXPECT_EQ(toHex(Packet::ANCPacketWithVANCPacket(caption({1, 2, 3, 4}))),
              digits("0015 01 04 0007 00000008 00000001 610204 01020304 00"));
    EXPECT_EQ(toHex(Packet::ANCPacketWithVANCPacket(caption({1, 2, 3, 4, 5}))),
              digits("0015 01 04 0008 0000000c 00000001 610205 0102030405 00000000"));
    EXPECT_EQ(toHex(Packet::ANCPacketWithVANCPacket(caption({}))),
              digits("0015 01 04 0003 00000004 00000001 610200 00"));
    EXPECT_EQ(Packet::ANCPacketWithVANCPacket(nullptr), qlx::Data());
}

TEST(AncElementWriting, TakesLowBitsOfLineAndIdentifiers) {
    const auto packet = caption({0x11}, 0xABCD'0123'4567);
    packet->setPacketDID(0x161);
    packet->setPacketSDID(0x202);
    EXPECT_EQ(toHex(Packet::ANCPacketWithVANCPacket(packet)),
              digits("4567 01 04 0004 00000008 00000001 610201 11 00000000"));
}

TEST(AncElementWriting, CutsDataAbove255BytesToTheResultsSize) {
    // 255 bytes: n = 258, array count 260, 274 bytes in all.
    const qlx::Data full = Packet::ANCPacketWithVANCPacket(caption(counting(255)));
    ASSERT_EQ(full.size(), 274U);
    EXPECT_EQ(toHex(std::span(full).first(17)), digits("0015 01 04 0102 00000104 00000001 6102ff"));
    EXPECT_EQ(toHex(std::span(full).subspan(17)), toHex(counting(255)) + "0000");
    // 256 bytes: DC 0, n = 3, 18 bytes in all, of which one is data.
    EXPECT_EQ(toHex(Packet::ANCPacketWithVANCPacket(caption(counting(256)))),
              digits("0015 01 04 0003 00000004 00000001 610200 01"));
    // 261 bytes: DC 5, n = 8, 26 bytes in all, of which nine are data.
    EXPECT_EQ(toHex(Packet::ANCPacketWithVANCPacket(caption(counting(261)))),
              digits("0015 01 04 0008 0000000c 00000001 610205 010203040506070809"));
}

TEST(AncElementWriting, WritesACountAndEveryPacket) {
    EXPECT_EQ(toHex(Packet::MXFDataPacketWithVANCPackets({})), "0000");
    EXPECT_EQ(toHex(Packet::MXFDataPacketWithVANCPackets({caption({0x11, 0x22, 0x33})})),
              digits("0001 0015 01 04 0006 00000008 00000001 610203 112233 0000"));
    const Packets packets{caption({0x11}, 22), nullptr, Packet::OP47VANCPacketWithData_lineNumber({0x22}, 9)};
    EXPECT_EQ(toHex(Packet::MXFDataPacketWithVANCPackets(packets)),
              digits("0002 0016 01 04 0004 00000008 00000001 610201 11 00000000 0009 01 04 0004 00000008 00000001 "
                     "430201 22 00000000"));
}

TEST(AncElementWriting, CountsPacketsWithLow16Bits) {
    const Packets packets(65'537, caption({}));
    const qlx::Data element = Packet::MXFDataPacketWithVANCPackets(packets);
    ASSERT_EQ(element.size(), 2U + 65'537U * 18U);
    EXPECT_EQ(toHex(std::span(element).first(2)), "0001");
}

TEST(AncElementOldForm, CombinesThePacketsOfALine) {
    // One packet of 4 bytes grows the offset by ((4 - 1) AND 3) + 4 = 7: the whole packet.
    EXPECT_EQ(toHex(Packet::ANCPacketWithVANCPackets_lineNumber({caption({1, 2, 3, 4}), caption({9}, 22)}, 21)),
              digits("0015 01 04 0004 00000007 00000001 610204 01020304 000000"));
    // 1 byte: ((1 - 1) AND 3) + 1 = 1; the second packet overwrites from SDID on. Then 3 bytes: 2 + 3 = 5; o = 6, 23
    // bytes.
    EXPECT_EQ(toHex(Packet::ANCPacketWithVANCPackets_lineNumber({caption({0xAA}), caption({1, 2, 3})}, 21)),
              digits("0015 01 04 0004 00000006 00000002 61 610203 010203 0000"));
    // An empty packet adds 3.
    EXPECT_EQ(toHex(Packet::ANCPacketWithVANCPackets_lineNumber({caption({}), caption({})}, 21)),
              digits("0015 01 04 0000 00000006 00000002 610200 610200 000000"));
    EXPECT_EQ(toHex(Packet::ANCPacketWithVANCPackets_lineNumber({}, 21)),
              digits("0015 01 04 0000 00000000 00000000 000000"));
}

TEST(AncElementOldForm, StepsByLengthForEveryLength) {
    for (std::size_t length = 0; length < 600; ++length) {
        const qlx::Data combined = Packet::ANCPacketWithVANCPackets_lineNumber({caption(counting(length))}, 21);
        const std::size_t step = ((length + 3) % 4) + length % 256;
        ASSERT_EQ(combined.size(), step + 17) << length;
        EXPECT_EQ(combined[4] * 256U + combined[5], length % 256) << length;
        EXPECT_EQ(combined[8] * 256U + combined[9], step) << length;
        EXPECT_EQ(combined[16], length % 256) << length;
        for (std::size_t index = 17; index < combined.size(); ++index) {
            const std::size_t place = index - 17;
            EXPECT_EQ(combined[index], place < length ? static_cast<std::uint8_t>(place + 1) : 0) << length;
        }
    }
}

TEST(AncElementOldForm, OverwritesFromWhereALongPacketsStepLeads) {
    // 257 bytes step by ((257 - 1) AND 3) + 1 = 1: the second packet stands on the first one's SDID. The last byte is
    // the first packet's fourth.
    const auto first = caption(counting(257), 0x1'0015);
    const auto second = Packet::OP47VANCPacketWithData_lineNumber({0xAA, 0xBB}, 0x1'0015);
    first->setPacketDID(0x161);
    EXPECT_EQ(toHex(Packet::ANCPacketWithVANCPackets_lineNumber({first, second}, 0x1'0015)),
              digits("0015 01 04 0003 00000004 00000002 61 430202 aabb 04"));
}

TEST(AncElementOldForm, WritesOnePacketALineAscending) {
    EXPECT_EQ(toHex(Packet::MXFDataPacketWithVANCPacketsOld({})), "0000");
    const Packets packets{caption({1, 2, 3, 4}, 22), nullptr, caption({5, 6, 7, 8}, 9),
                          caption({0xA, 0xB, 0xC, 0xD}, 22)};
    EXPECT_EQ(toHex(Packet::MXFDataPacketWithVANCPacketsOld(packets)),
              digits("0002 0009 01 04 0004 00000007 00000001 610204 05060708 000000 0016 01 04 0008 0000000e 00000002 "
                     "610204 01020304 610204 0a0b0c0d 000000"));
}

TEST(AncElementReading, GivesBackWhatWasWritten) {
    const Packets packets{caption({0x11, 0x22, 0x33}), Packet::OP47VANCPacketWithData_lineNumber(counting(148), 575),
                          Packet::CEA708VANCPacketWithData_lineNumber(counting(255), 65'535)};
    const qlx::Data element = Packet::MXFDataPacketWithVANCPackets(packets);
    const Packets found = Packet::VANCPacketsWithMXFData_bufferFormat(element, k2vuy);
    ASSERT_EQ(found.size(), packets.size());
    for (std::size_t index = 0; index < found.size(); ++index) {
        EXPECT_EQ(found[index]->lineNumber(), packets[index]->lineNumber());
        EXPECT_EQ(found[index]->packetDID(), packets[index]->packetDID());
        EXPECT_EQ(found[index]->packetSDID(), packets[index]->packetSDID());
        EXPECT_EQ(found[index]->packetType(), packets[index]->packetType());
        EXPECT_EQ(found[index]->packetData(), packets[index]->packetData());
    }
    EXPECT_EQ(Packet::MXFDataPacketWithVANCPackets(found), element);
}

TEST(AncElementReading, ReadsOnlyThe8BitFormatAndWholeHeaders) {
    const std::vector<std::uint8_t> element = fromHex("0001" + packetHex("0015", "04", "00000004", "610201aa"));
    ASSERT_EQ(element.size(), 20U);
    EXPECT_EQ(read(element).size(), 1U);
    EXPECT_TRUE(read(element, qlx::kPixelFormatV210).empty());
    EXPECT_TRUE(read(element, 0).empty());
    EXPECT_TRUE(read(std::span(element).first(18)).empty());
    EXPECT_TRUE(read({}).empty());
    EXPECT_TRUE(Packet::VANCPacketsWithMXFData_bufferFormat({}, k2vuy).empty());
    EXPECT_TRUE(read(fromHex("0000" + packetHex("0015", "04", "00000004", "610201aa"))).empty());
}

TEST(AncElementReading, EndsAtAPacketOfAnotherCoding) {
    const std::string good = packetHex("0015", "04", "00000008", "610203aabbcc0000");
    const Packets found = read(fromHex("0003" + good + packetHex("0016", "07", "00000008", "610203aabbcc0000") + good));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0]->lineNumber(), 21U);
    EXPECT_EQ(found[0]->packetData(), (qlx::Data{0xAA, 0xBB, 0xCC}));
}

TEST(AncElementReading, EndsAtAPacketWithoutData) {
    const std::string good = packetHex("0015", "04", "00000008", "610203aabbcc0000");
    const std::string empty = packetHex("0016", "04", "00000004", "61020000");
    EXPECT_TRUE(read(fromHex("0002" + empty + good)).empty());
    EXPECT_EQ(read(fromHex("0003" + good + empty + good)).size(), 1U);
}

TEST(AncElementReading, StopsAtItsCountAndAtItsEnd) {
    const std::string good = packetHex("0015", "04", "00000008", "610203aabbcc0000");
    EXPECT_EQ(read(fromHex("0001" + good + good)).size(), 1U);
    EXPECT_EQ(read(fromHex("ffff" + good + good)).size(), 2U);
}

TEST(AncElementReading, DropsDataThatRunPastTheEnd) {
    const std::vector<std::uint8_t> element = fromHex("0001" + packetHex("0015", "04", "00000008", "610203aabbcc"));
    EXPECT_EQ(read(element).size(), 1U) << "padding may be missing";
    EXPECT_TRUE(read(std::span(element).first(element.size() - 1)).empty());
}

TEST(AncElementReading, FollowsTheArrayCountWhereverItLeads) {
    // An array count of 0 steps over the header only: the next header begins at DID of this packet.
    const std::string payload = digits("610204 00000000 0000000000 0000 43 02 01 ee");
    const Packets found = read(fromHex("0002" + packetHex("0015", "04", "00000000", payload)));
    ASSERT_EQ(found.size(), 1U) << "what stands there has coding 0";
    EXPECT_EQ(found[0]->packetData(), (qlx::Data{0, 0, 0, 0}));
    // The largest array count leads past any buffer and does not wrap.
    EXPECT_EQ(read(fromHex("0002" + packetHex("0015", "04", "ffffffff", "610201aa"))).size(), 1U);
}

TEST(AncElementReading, SurvivesEveryTruncation) {
    const qlx::Data element = Packet::MXFDataPacketWithVANCPackets({caption({1, 2, 3}), caption({4, 5, 6, 7, 8})});
    // First packet: 2 + 17 + 3 bytes, 24 with its padding. Second: 24 + 17 + 5.
    qlxtest::forEachTruncation(element, [](const ExactBuffer& part) {
        const std::size_t expected = (part.size() >= 22 ? 1U : 0U) + (part.size() >= 46 ? 1U : 0U);
        EXPECT_EQ(Packet::VANCPacketsWithMXFBuffer_size_bufferFormat(part.data(), part.size(), k2vuy).size(), expected)
            << part.size();
    });
}
