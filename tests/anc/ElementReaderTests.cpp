#include <qlx/anc/element.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace qlx::anc;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::toHex;

// Worked by hand: DID 61, SDID 01, data count 03, data 96 69 03. In 10 bits 161 101 203 296 269 203, checksum 167.
const std::string kEight = "0009 01 04 0006 00000008 00000001 610103 966903 0000";
const std::string kTen = "0009 01 07 0007 0000000c 00000001 5850180c a5a6980c 59c00000";
const std::string kOther = "000c 04 05 0004 00000004 00000001 430201 aa";

Packet usual(std::uint32_t line = 9, Channel channel = Channel::Luma) {
    return {0x61, 0x01, {0x96, 0x69, 0x03}, line, 0, channel};
}

const Packet kOtherPacket{0x43, 0x02, {0xAA}, 12, 0, Channel::Chroma};

std::vector<Packet> read(std::span<const std::uint8_t> element, Findings& findings) {
    const ExactBuffer buffer(element);
    std::vector<Packet> packets;
    for (const ElementPacketView& packet : elementPackets(buffer.span(), &findings)) {
        packets.push_back(packet.toPacket());
    }
    return packets;
}

/// What reading such an element finds wrong, and that it gives these packets.
std::vector<Finding> findingsOf(const std::string& element, const std::vector<Packet>& expected) {
    Findings findings;
    EXPECT_EQ(read(fromHex(element), findings), expected) << element;
    return {findings.begin(), findings.end()};
}

std::vector<Finding> just(FindingCode code, Severity severity, std::uint64_t offset, std::int64_t first,
                          std::int64_t second) {
    return {{code, severity, offset, first, second}};
}

}  // namespace

TEST(AncElementReader, ReadsEightBitSamples) {
    const auto bytes = fromHex("0001" + kEight);
    Findings findings;
    const ElementRange range = elementPackets(bytes, &findings);
    ElementIterator packet = range.begin();
    ASSERT_FALSE(packet == range.end());
    EXPECT_EQ(packet->offset(), 2U);
    EXPECT_EQ(packet->line(), 9U);
    EXPECT_EQ(packet->wrapping(), Wrapping::VancFrame);
    EXPECT_EQ(packet->coding(), SampleCoding::Luma8);
    EXPECT_EQ(packet->channel(), Channel::Luma);
    EXPECT_EQ(packet->sampleCount(), 6U);
    EXPECT_EQ(packet->arrayCount(), 8U);
    EXPECT_EQ(packet->arrayElementLength(), 1U);
    EXPECT_EQ(packet->id(), ids::kCdp);
    EXPECT_EQ(packet->dataCount(), 3U);
    EXPECT_EQ(packet->checksum(), Status::NotCarried);
    EXPECT_EQ(packet->parity(), Status::NotCarried);
    EXPECT_EQ(toHex(packet->array()), "6101039669030000");
    EXPECT_EQ(toHex(packet->padding()), "0000");
    std::array<std::uint8_t, 2> small{};
    EXPECT_EQ(toHex(packet->userData(small)), "9669");
    std::array<std::uint16_t, kGreatestElementSamples> room{};
    const auto samples = packet->samples(room);
    EXPECT_EQ(std::vector<std::uint16_t>(samples.begin(), samples.end()),
              (std::vector<std::uint16_t>{0x61, 0x01, 0x03, 0x96, 0x69, 0x03}));
    EXPECT_EQ(packet->toPacket(), usual());
    ++packet;
    EXPECT_TRUE(packet == range.end());
    EXPECT_TRUE(findings.empty());
}

TEST(AncElementReader, ReadsTenBitSamplesWithChecksum) {
    const auto bytes = fromHex("0001" + kTen);
    Findings findings;
    const ElementRange range = elementPackets(bytes, &findings);
    ElementIterator packet = range.begin();
    ASSERT_FALSE(packet == range.end());
    EXPECT_EQ(packet->coding(), SampleCoding::Luma10);
    EXPECT_EQ(packet->checksum(), Status::Right);
    EXPECT_EQ(packet->parity(), Status::Right);
    std::array<std::uint16_t, kGreatestElementSamples> room{};
    const auto samples = packet->samples(room);
    EXPECT_EQ(std::vector<std::uint16_t>(samples.begin(), samples.end()),
              (std::vector<std::uint16_t>{0x161, 0x101, 0x203, 0x296, 0x269, 0x203, 0x167}));
    EXPECT_EQ(packet->toPacket(), usual());
    EXPECT_TRUE(packet->padding().empty());
    EXPECT_EQ(packet->toElementPacket(),
              (ElementPacket{usual(), Wrapping::VancFrame, SampleCoding::Luma10, {}, std::nullopt}));
    EXPECT_TRUE(findings.empty());
}

TEST(AncElementReader, ReadsEveryCodingAndWrapping) {
    const std::array channels{Channel::Luma, Channel::Chroma, Channel::SdMultiplex};
    for (unsigned coding = 0; coding < 256; ++coding) {
        for (unsigned wrapping = 0; wrapping < 0x20; ++wrapping) {
            auto bytes = fromHex("0002" + (coding >= 7 && coding <= 9 ? kTen : kEight) + kOther);
            bytes[4] = static_cast<std::uint8_t>(wrapping);
            bytes[5] = static_cast<std::uint8_t>(coding);
            Findings findings;
            const auto packets = read(bytes, findings);
            const bool isCodingKnown = coding >= 4 && coding <= 12;
            const bool isWrappingKnown = (wrapping >= 1 && wrapping <= 4) || (wrapping >= 0x11 && wrapping <= 0x14);
            ASSERT_EQ(packets.size(), isCodingKnown ? 2U : 1U) << coding << ' ' << wrapping;
            EXPECT_EQ(packets.back(), kOtherPacket);
            if (isCodingKnown) {
                EXPECT_EQ(packets.front(), usual(9, channels[(coding - 4) % 3]));
            }
            std::vector<Finding> expected;
            if (!isWrappingKnown) {
                expected.push_back({FindingCode::AncElementWrappingUnknown, Severity::Warning, 4, wrapping, 0});
            }
            if (!isCodingKnown) {
                expected.push_back({FindingCode::AncElementCodingUnknown, Severity::Error, 5, coding, 8});
            } else if (coding >= 10) {
                expected.push_back({FindingCode::AncElementParityError, Severity::Warning, 5, coding, 0});
            }
            EXPECT_EQ(std::vector<Finding>(findings.begin(), findings.end()), expected) << coding << ' ' << wrapping;
        }
    }
}

TEST(AncElementReader, SaysThatAParityErrorWasSeen) {
    const auto bytes = fromHex("0001 0009 01 0c 0006 00000008 00000001 610103 966903 0000");
    EXPECT_EQ((*elementPackets(bytes).begin()).parity(), Status::Wrong);
    EXPECT_EQ((*elementPackets(bytes).begin()).channel(), Channel::SdMultiplex);
}

TEST(AncElementReader, ReadsPacketsWithoutDataAndElementsWithoutPackets) {
    EXPECT_TRUE(findingsOf("0000", {}).empty());
    EXPECT_TRUE(findingsOf("0001 0015 11 04 0003 00000004 00000001 610200 00", {{0x61, 0x02, {}, 21, 0, Channel::Luma}})
                    .empty());
}

TEST(AncElementReader, PassesOverWhatCannotBeUsed) {
    // More data announced than the array has.
    EXPECT_EQ(findingsOf("0002 0009 01 04 0006 00000008 00000001 610106 966903 0000" + kOther, {kOtherPacket}),
              just(FindingCode::AncElementArrayTooShort, Severity::Error, 16, 9, 8));
    // An array that ends within the header of the packet.
    EXPECT_EQ(findingsOf("0002 0009 01 04 0006 00000002 00000001 6101" + kOther, {kOtherPacket}),
              just(FindingCode::AncElementArrayTooShort, Severity::Error, 16, 3, 2));
    EXPECT_EQ(findingsOf("0002 0009 01 08 0006 00000003 00000001 585018" + kOther, {kOtherPacket}),
              just(FindingCode::AncElementArrayTooShort, Severity::Error, 16, 4, 0));
    // Line samples of one bit.
    EXPECT_EQ(findingsOf("0002 0009 01 01 0006 00000004 00000001 61010396" + kOther, {kOtherPacket}),
              just(FindingCode::AncElementCodingUnknown, Severity::Error, 5, 1, 4));
}

TEST(AncElementReader, UsesThePacketWhenCountsContradictEachOther) {
    EXPECT_EQ(findingsOf("0002 0009 01 04 0007 00000008 00000001 610103 966903 0000" + kOther, {usual(), kOtherPacket}),
              just(FindingCode::AncElementSampleCountWrong, Severity::Warning, 6, 7, 6));
    EXPECT_EQ(findingsOf("0002 0009 01 07 0006 0000000c 00000001 5850180c a5a6980c 59c00000" + kOther,
                         {usual(), kOtherPacket}),
              just(FindingCode::AncElementSampleCountWrong, Severity::Warning, 6, 6, 7));
    // No room for the checksum.
    EXPECT_EQ(findingsOf("0002 0009 01 07 0007 00000008 00000001 5850180c a5a6980c" + kOther, {usual(), kOtherPacket}),
              just(FindingCode::AncElementArrayTooShort, Severity::Warning, 16, 7, 6));
}

TEST(AncElementReader, TakesLengthsOfArrayElementsThatLeadOn) {
    // Two elements of four bytes.
    EXPECT_EQ(findingsOf("0002 0009 01 04 0006 00000002 00000004 610103 966903 0000" + kOther, {usual(), kOtherPacket}),
              just(FindingCode::AncElementArrayLengthWrong, Severity::Warning, 12, 4, 1));
    // The count alone counts the bytes.
    EXPECT_EQ(findingsOf("0002 0009 01 04 0006 00000008 00000002 610103 966903 0000" + kOther, {usual(), kOtherPacket}),
              just(FindingCode::AncElementArrayLengthWrong, Severity::Warning, 12, 2, 1));
    EXPECT_EQ(findingsOf("0002 0009 01 04 0006 00000008 00000000 610103 966903 0000" + kOther, {usual(), kOtherPacket}),
              just(FindingCode::AncElementArrayLengthWrong, Severity::Warning, 12, 0, 1));
    // Up to the end of the element.
    EXPECT_EQ(findingsOf("0001 0009 01 04 0006 00000002 00000004 610103 966903 0000", {usual()}),
              just(FindingCode::AncElementArrayLengthWrong, Severity::Warning, 12, 4, 1));
}

TEST(AncElementReader, SaysWhatIsWrongWithTenBitWords) {
    // Data count 003 in place of 203; checksum 168 in place of 167.
    EXPECT_EQ(findingsOf("0001 0009 01 07 0007 0000000c 00000001 5850100c a5a6980c 59c00000", {usual()}),
              just(FindingCode::AncHeaderParityWrong, Severity::Warning, 16, 0x003, 0x203));
    EXPECT_EQ(findingsOf("0001 0009 01 07 0007 0000000c 00000001 5850180c a5a6980c 5a000000", {usual()}),
              just(FindingCode::AncChecksumWrong, Severity::Warning, 24, 0x168, 0x167));
    // Bits behind the samples of each word.
    EXPECT_EQ(findingsOf("0001 0009 01 07 0007 0000000c 00000001 5850180d a5a6980c 59c00000", {usual()}),
              just(FindingCode::AncElementSpareBitsSet, Severity::Remark, 16, 1, 0));
    EXPECT_EQ(findingsOf("0001 0009 01 07 0007 0000000c 00000001 5850180c a5a6980c 59e00000", {usual()}),
              just(FindingCode::AncElementSpareBitsSet, Severity::Remark, 24, 0x20'0000, 0));
}

TEST(AncElementReader, KeepsTenBitsOfData) {
    // The first data word is 196: bit 8 is data; the checksum counts it: 167 and 100 are 067, with bit 9.
    const auto bytes = fromHex("0001 0009 01 07 0007 0000000c 00000001 5850180c 65a6980c 99c00000");
    Findings findings;
    const auto packets = parseElement(bytes, &findings);
    // The array is at byte 16.
    EXPECT_EQ(std::vector<Finding>(findings.begin(), findings.end()),
              just(FindingCode::AncUserDataOfTenBits, Severity::Remark, 16, 1, 0));
    ASSERT_EQ(packets.size(), 1U);
    EXPECT_EQ(packets[0].packet, usual());
    EXPECT_EQ(packets[0].words, (std::vector<std::uint16_t>{0x161, 0x101, 0x203, 0x196, 0x269, 0x203, 0x267}));
    const auto written = writeElement(std::span<const ElementPacket>(packets));
    ASSERT_TRUE(written);
    EXPECT_EQ(toHex(*written), toHex(bytes));
}

TEST(AncElementReader, SaysWhereAnElementIsCut) {
    EXPECT_EQ(findingsOf("", {}), just(FindingCode::AncElementCut, Severity::Error, 0, 2, 0));
    EXPECT_EQ(findingsOf("00", {}), just(FindingCode::AncElementCut, Severity::Error, 0, 2, 1));
    EXPECT_EQ(findingsOf("0001", {}), just(FindingCode::AncElementCountWrong, Severity::Error, 2, 1, 0));
    EXPECT_EQ(findingsOf("0001 0009 01 04 0006 00000008 000000", {}),
              just(FindingCode::AncElementCut, Severity::Error, 2, 14, 13));
    // Only padding is missing, or data are.
    EXPECT_EQ(findingsOf("0001 0009 01 04 0006 00000008 00000001 610103 966903 00", {usual()}),
              just(FindingCode::AncElementCut, Severity::Warning, 8, 22, 21));
    EXPECT_EQ(findingsOf("0001 0009 01 04 0006 00000008 00000001 610103 9669", {}),
              just(FindingCode::AncElementCut, Severity::Error, 8, 22, 19));
    EXPECT_EQ(findingsOf("0002 0009 01 04 0006 00000008 00000001 610103 9669", {}),
              (std::vector<Finding>{{FindingCode::AncElementCut, Severity::Error, 8, 22, 19},
                                    {FindingCode::AncElementCountWrong, Severity::Error, 21, 2, 1}}));
}

TEST(AncElementReader, SaysWhatStandsBehindThePackets) {
    EXPECT_EQ(findingsOf("0001" + kEight + "0000", {usual()}),
              just(FindingCode::AncElementTrailingBytes, Severity::Remark, 24, 2, 1));
    EXPECT_EQ(findingsOf("0001" + kEight + kOther, {usual()}),
              just(FindingCode::AncElementTrailingBytes, Severity::Error, 24, 18, 1));
    EXPECT_EQ(findingsOf("0000 01", {}), just(FindingCode::AncElementTrailingBytes, Severity::Error, 2, 1, 0));
}

TEST(AncElementReader, GoesBehindPaddingThatAnArrayDoesNotCount) {
    // Six bytes counted, two of padding behind them; then one of three, and the last one's, which has none.
    const std::string six = "0009 01 04 0006 00000006 00000001 610103 966903";
    const std::string five = "000c 04 05 0005 00000005 00000001 430202 aabb";
    const Packet other{0x43, 0x02, {0xAA, 0xBB}, 12, 0, Channel::Chroma};
    const auto padding = [](std::uint64_t offset, std::int64_t zeros, std::int64_t bytes) {
        return Finding{FindingCode::AncElementPaddingUncounted, Severity::Remark, offset, zeros, bytes};
    };
    EXPECT_EQ(findingsOf("0003" + six + "0000" + five + "000000" + six, {usual(), other, usual()}),
              (std::vector<Finding>{padding(22, 2, 6), padding(43, 3, 5)}));
    // Without padding, and with some that is counted.
    EXPECT_TRUE(findingsOf("0003" + six + five + kEight, {usual(), other, usual()}).empty());
    // What is no zero is no padding.
    Findings findings;
    EXPECT_EQ(read(fromHex("0002" + six + "0100" + five), findings), std::vector<Packet>{usual()});
    EXPECT_FALSE(findings.empty());
}

TEST(AncElementReader, GivesWhatIsWholeOfEveryShorterElement) {
    const auto whole = fromHex("0003" + kEight + kTen + kOther);
    const std::array ends{std::size_t{2 + 22}, std::size_t{2 + 22 + 26}, whole.size()};
    qlxtest::forEachTruncation(whole, [&](const ExactBuffer& cut) {
        Findings findings;
        const auto packets = read(cut.span(), findings);
        EXPECT_FALSE(findings.empty()) << cut.size();
        const auto complete = static_cast<std::size_t>(
            std::count_if(ends.begin(), ends.end(), [&cut](std::size_t end) { return end <= cut.size(); }));
        // Of the first packet two bytes of padding may be missing, of the second the word with its checksum.
        const bool isUsable = cut.size() == 22 || cut.size() == 23 || (cut.size() >= 46 && cut.size() < 50);
        EXPECT_EQ(packets.size(), complete + std::size_t{isUsable}) << cut.size();
    });
}

TEST(AncElementReader, ReadsTheGreatestCountOfPackets) {
    std::vector<std::uint8_t> bytes{0xFF, 0xFF};
    const auto packet = fromHex(kOther);
    for (std::size_t index = 0; index < kGreatestElementPackets; ++index) {
        bytes.insert(bytes.end(), packet.begin(), packet.end());
    }
    Findings findings;
    std::size_t count = 0;
    for (const ElementPacketView& view : elementPackets(bytes, &findings)) {
        count += std::size_t{view.id() == ids::kOp47};
    }
    EXPECT_EQ(count, kGreatestElementPackets);
    EXPECT_TRUE(findings.empty());
}

TEST(AncElementReader, GivesNothingFromAViewOfNoElement) {
    const ElementPacketView none;
    std::array<std::uint8_t, 4> bytes{};
    std::array<std::uint16_t, 4> words{};
    EXPECT_TRUE(none.userData(bytes).empty());
    EXPECT_TRUE(none.samples(words).empty());
    EXPECT_TRUE(none.padding().empty());
    EXPECT_EQ(none.toPacket(), Packet{});
    // An element whose only packet announces more data than it has: nothing of that is seen at the end.
    const ExactBuffer element(fromHex("0001 0009 01 04 0103 00000004 00000001 61 02 ff 00"));
    std::array<std::uint8_t, 255> room{};
    const auto packets = elementPackets(element.span());
    EXPECT_TRUE(packets.begin() == packets.end());
    EXPECT_TRUE((*packets.begin()).userData(room).empty());
}
