#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "ExactBuffer.h"
#include "RowBuilder.h"
#include "v210/V210.h"

#include <gtest/gtest.h>

#include <array>
#include <numeric>

using qlxtest::ExactBuffer;
using qlxtest::packetSamples;
using qlxtest::parityWord;

namespace {

using Packets = std::vector<std::shared_ptr<QLXVANCPacket>>;
using Samples = std::array<std::uint16_t, 3>;

/// Samples in bits 0-9, 10-19 and 20-29 of a word of the row.
Samples samplesOf(const ExactBuffer& row, std::size_t word) {
    const std::uint32_t value = qlx::loadLittle32(row.data() + word * 4);
    return {qlx::v210::lowSample(value), qlx::v210::middleSample(value), qlx::v210::highSample(value)};
}

/// A row of `words` words whose three samples are 0x100 + 3w, 0x101 + 3w and 0x102 + 3w, with bits 30 and 31 set.
ExactBuffer numberedRow(std::size_t words) {
    ExactBuffer row = ExactBuffer::filled(words * 4, 0);
    for (std::size_t word = 0; word < words; ++word) {
        const auto first = static_cast<std::uint16_t>(0x100 + 3 * word);
        qlx::storeLittle32(row.data() + word * 4, qlx::v210::makeWord(first, static_cast<std::uint16_t>(first + 1),
                                                                      static_cast<std::uint16_t>(first + 2)) |
                                                      0xC000'0000U);
    }
    return row;
}

/// What the row's word must be when `luma` was written into its middle.
Samples middleWritten(std::size_t word, std::uint16_t luma) {
    const auto first = static_cast<std::uint16_t>(0x100 + 3 * word);
    return {static_cast<std::uint16_t>(first + 2), luma, first};
}

Samples endsWritten(std::size_t word, std::uint16_t low, std::uint16_t high) {
    return {low, static_cast<std::uint16_t>(0x101 + 3 * word), high};
}

Samples lastLowWritten(std::size_t word, std::uint16_t low) {
    const auto first = static_cast<std::uint16_t>(0x100 + 3 * word);
    return {low, static_cast<std::uint16_t>(first + 1), first};
}

/// Checks that the samples stand in the row from `firstWord` on and that everything behind them is untouched up to
/// `end`.
void expectStream(const ExactBuffer& row, std::size_t firstWord, const std::vector<std::uint16_t>& samples,
                  std::size_t end) {
    std::size_t word = firstWord;
    for (std::size_t index = 0; index < samples.size(); ++word) {
        const bool middle = (word - firstWord) % 2 == 0;
        if (middle) {
            EXPECT_EQ(samplesOf(row, word), middleWritten(word, samples[index])) << "word " << word;
            index += 1;
        } else if (index + 1 < samples.size()) {
            EXPECT_EQ(samplesOf(row, word), endsWritten(word, samples[index], samples[index + 1])) << "word " << word;
            index += 2;
        } else {
            EXPECT_EQ(samplesOf(row, word), lastLowWritten(word, samples[index])) << "word " << word;
            index += 1;
        }
        EXPECT_EQ(qlx::loadLittle32(row.data() + word * 4) >> 30U, 0U) << "word " << word;
    }
    const ExactBuffer untouched = numberedRow(row.size() / 4);
    for (; word < end; ++word) {
        EXPECT_EQ(qlx::loadLittle32(row.data() + word * 4), qlx::loadLittle32(untouched.data() + word * 4))
            << "word " << word;
    }
}

std::size_t wordsFor(std::size_t samples) {
    return samples / 3 * 2 + samples % 3;
}

std::shared_ptr<QLXVANCPacket> packet(std::size_t size, std::uint64_t line) {
    std::vector<std::uint8_t> data(size);
    std::iota(data.begin(), data.end(), std::uint8_t{0xF0});
    return QLXVANCPacket::CEA708VANCPacketWithData_lineNumber(data, line);
}

std::vector<std::uint16_t> samplesOfPacket(const QLXVANCPacket& one) {
    return packetSamples(static_cast<std::uint8_t>(one.packetDID()), static_cast<std::uint8_t>(one.packetSDID()),
                         one.packetData());
}

void fill10(ExactBuffer& row, const Packets& packets, std::uint64_t size, std::int32_t line) {
    QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(row.data(), packets,
                                                                                                 size, line);
}

void fill8(ExactBuffer& row, const Packets& packets, std::uint64_t size, std::int32_t line) {
    QLXCCUtilities::fillYComponentIn8BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(row.data(), packets,
                                                                                                size, line);
}

}  // namespace

TEST(DataBufferWriting, WritesACaptionDistributionPacket) {
    const ExactBuffer cdp{0x96, 0x69, 0x09, 0x4F, 0x43, 0x00, 0x01, 0x74, 0x02};
    ExactBuffer row = numberedRow(12);
    QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCDataBuffer_size_did_sdid(row.data(), cdp.data(), cdp.size(),
                                                                                 0x61, 0x01);
    // Words with even parity in bit 8, worked out by hand.
    EXPECT_EQ(samplesOf(row, 0), middleWritten(0, 0x000));
    EXPECT_EQ(samplesOf(row, 1), endsWritten(1, 0x3FF, 0x3FF));
    EXPECT_EQ(samplesOf(row, 2), middleWritten(2, 0x161));
    EXPECT_EQ(samplesOf(row, 3), endsWritten(3, 0x101, 0x209));
    EXPECT_EQ(samplesOf(row, 4), middleWritten(4, 0x296));
    EXPECT_EQ(samplesOf(row, 5), endsWritten(5, 0x269, 0x209));
    EXPECT_EQ(samplesOf(row, 6), middleWritten(6, 0x14F));
    EXPECT_EQ(samplesOf(row, 7), endsWritten(7, 0x143, 0x200));
    EXPECT_EQ(samplesOf(row, 8), middleWritten(8, 0x101));
    EXPECT_EQ(samplesOf(row, 9), endsWritten(9, 0x274, 0x102));
    // 161+101+209 + 296+269+209+14F+143+200+101+274+102 = 147C; low nine bits 07C, bit 8 clear: bit 9 set.
    EXPECT_EQ(samplesOf(row, 10), middleWritten(10, 0x27C));
    EXPECT_EQ(qlx::loadLittle32(row.data() + 44), qlx::loadLittle32(numberedRow(12).data() + 44));
}

TEST(DataBufferWriting, TakesTheDataCountFromTheThirdByte) {
    const ExactBuffer data{0, 0, 0xFF, 0, 0, 0};
    ExactBuffer row = numberedRow(9);
    QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCDataBuffer_size_did_sdid(row.data(), data.data(), data.size(),
                                                                                 0x43, 0x02);
    // 143 + 102 + 2FF + 5 x 200 + 2FF = 1243: checksum 243, at Y0 of the third cycle.
    expectStream(row, 0, {0x000, 0x3FF, 0x3FF, 0x143, 0x102, 0x2FF, 0x200, 0x200, 0x2FF, 0x200, 0x200, 0x200, 0x243},
                 9);
}

TEST(DataBufferWriting, WritesEverySizeUpToALongPacket) {
    for (std::size_t size = 0; size <= 300; ++size) {
        std::vector<std::uint8_t> data(size, 0x31);
        if (size >= 3) {
            data[2] = 0x77;
        }
        ExactBuffer row = numberedRow(wordsFor(size + 7));
        const std::vector<std::uint8_t> before = row.vector();
        const ExactBuffer source(data);
        QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCDataBuffer_size_did_sdid(row.data(), source.data(), size,
                                                                                     0x61, 0x01);
        if (size < 6) {
            EXPECT_EQ(row.vector(), before) << size;
            continue;
        }
        std::vector<std::uint16_t> samples = packetSamples(0x61, 0x01, data);
        const unsigned sum =
            std::accumulate(samples.begin() + 6, samples.end() - 1, 0x161U + 0x101U + parityWord(0x77)) & 0x1FFU;
        samples[5] = parityWord(0x77);
        samples.back() = static_cast<std::uint16_t>(sum | ((sum & 0x100U) != 0 ? 0U : 0x200U));
        expectStream(row, 0, samples, row.size() / 4);
    }
}

TEST(RowWriting, WritesAPacketWithoutData) {
    ExactBuffer row = numberedRow(6);
    fill10(row, {QLXVANCPacket::CEA708VANCPacketWithData_lineNumber({}, 9)}, row.size(), 9);
    expectStream(row, 0, {0x000, 0x3FF, 0x3FF, 0x161, 0x101, 0x200, 0x262}, 6);
}

TEST(RowWriting, PlacesTheChecksumOnEverySampleOfTheCycle) {
    for (std::size_t size = 0; size < 12; ++size) {
        const auto one = packet(size, 9);
        const auto samples = samplesOfPacket(*one);
        ExactBuffer row = numberedRow(wordsFor(samples.size()));
        fill10(row, {one}, 0, 9);
        expectStream(row, 0, samples, row.size() / 4);
    }
}

TEST(RowWriting, BeginsTheNextPacketAtTheWordBehindTheChecksum) {
    for (std::size_t size = 0; size < 7; ++size) {
        const auto first = packet(size, 9);
        const auto second = packet(2, 9);
        const auto firstSamples = samplesOfPacket(*first);
        const auto secondSamples = samplesOfPacket(*second);
        const std::size_t start = wordsFor(firstSamples.size());
        ExactBuffer row = numberedRow(start + wordsFor(secondSamples.size()) + 1);
        fill10(row, {first, packet(3, 10), nullptr, second}, row.size(), 9);
        expectStream(row, 0, firstSamples, 0);
        expectStream(row, start, secondSamples, row.size() / 4);
    }
}

TEST(RowWriting, TakesLowBitsOfIdentifiersAndLength) {
    auto one = packet(258, 9);
    one->setPacketDID(0x161);
    one->setPacketSDID(0xF02);
    const auto samples = packetSamples(0x61, 0x02, one->packetData());
    EXPECT_EQ(samples[5], 0x102) << "258 AND 255 is 2";
    ExactBuffer row = numberedRow(wordsFor(samples.size()));
    fill10(row, {one}, row.size(), 9);
    expectStream(row, 0, samples, row.size() / 4);
}

TEST(RowWriting, ComparesTheLineWidenedWithItsSign) {
    ExactBuffer row = numberedRow(6);
    const std::vector<std::uint8_t> before = row.vector();
    fill10(row, {packet(0, 0xFFFF'FFFF)}, row.size(), -1);
    fill10(row, {packet(0, 9)}, row.size(), 10);
    fill10(row, {}, row.size(), 9);
    EXPECT_EQ(row.vector(), before);
    fill10(row, {packet(0, 0xFFFF'FFFF'FFFF'FFFF)}, row.size(), -1);
    expectStream(row, 0, samplesOfPacket(*packet(0, 0)), 6);
}

TEST(RowWriting, StopsAtTheRowsEnd) {
    const auto one = packet(20, 9);
    const auto samples = samplesOfPacket(*one);
    const std::size_t whole = wordsFor(samples.size());
    for (std::size_t bytes = 1; bytes <= whole * 4; ++bytes) {
        // Exactly as many bytes as are told: the sanitizer sees one too far.
        ExactBuffer row(numberedRow(whole).span().first(bytes));
        fill10(row, {one, packet(5, 9)}, bytes, 9);
        ExactBuffer expected = numberedRow(whole);
        fill10(expected, {one}, 0, 9);
        const std::size_t written = bytes / 4 * 4;
        EXPECT_TRUE(std::equal(row.data(), row.data() + written, expected.data())) << bytes;
        const ExactBuffer untouched = numberedRow(whole);
        EXPECT_TRUE(std::equal(row.data() + written, row.data() + bytes, untouched.data() + written)) << bytes;
    }
}

TEST(RowWriting, IsReadBackByTheRowReader) {
    const auto first = packet(148, 12);
    const auto second = packet(31, 12);
    ExactBuffer row(qlxtest::v210Row(320, {}));
    fill10(row, {first, second, packet(9, 575)}, row.size(), 12);
    std::optional<std::string> error;
    const Packets found = QLXVANCPacket::VANCPacketsWithSDIBuffer_size_bufferFormat_lineNumber_errorString(
        row.data(), row.size(), qlx::kPixelFormatV210, 12, &error);
    ASSERT_GE(found.size(), 1U);
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(found[0]->packetData(), first->packetData());
    EXPECT_EQ(found[0]->packetType(), QLXVANCPacketTypeCEA708);
    // 155 samples end on Y4, so the second packet begins on the word of the next Y0: found as well.
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[1]->packetData(), second->packetData());
}

TEST(EightBitWriting, WritesTheOddBytesWithoutChecksum) {
    ExactBuffer row = ExactBuffer::filled(20, 0x80);
    fill8(row, {QLXVANCPacket::CEA608VANCPacketWithData_lineNumber({0xAA, 0xBB}, 21)}, row.size(), 21);
    EXPECT_EQ(row.vector(), qlxtest::fromHex("8000 80ff 80ff 8061 8002 8002 80aa 80bb 8080 8080"));
}

TEST(EightBitWriting, WritesWhileTheOffsetIsNotAboveTheSize) {
    // Data byte k is written while 11 + 2k is not above the size: with 15, bytes 0 to 2, at 13, 15 and 17.
    ExactBuffer row = ExactBuffer::filled(20, 0x80);
    fill8(row, {QLXVANCPacket::CEA608VANCPacketWithData_lineNumber({1, 2, 3, 4}, 21)}, 15, 21);
    EXPECT_EQ(row.vector(), qlxtest::fromHex("8000 80ff 80ff 8061 8002 8004 8001 8002 8003 8080"));
}

TEST(EightBitWriting, ReachesAtMostTwoBytesBehindItsSize) {
    const auto one = packet(200, 9);
    for (std::uint64_t size = 0; size < 60; ++size) {
        ExactBuffer row = ExactBuffer::filled(std::max<std::size_t>(size + 3, 12), 0x80);
        fill8(row, {one}, size, 9);
        for (std::size_t offset = 13; offset < row.size(); offset += 2) {
            const bool written = offset - 2 <= size;
            EXPECT_EQ(row[offset], written ? one->packetData()[(offset - 13) / 2] : 0x80) << size << " at " << offset;
        }
        for (std::size_t offset = 0; offset < row.size(); offset += 2) {
            EXPECT_EQ(row[offset], 0x80);
        }
    }
}

TEST(EightBitWriting, BeginsEveryPacketAtTheSamePlace) {
    ExactBuffer row = ExactBuffer::filled(24, 0x80);
    fill8(row,
          {QLXVANCPacket::CEA608VANCPacketWithData_lineNumber({1, 2, 3, 4}, 9), packet(3, 10), nullptr,
           QLXVANCPacket::OP47VANCPacketWithData_lineNumber({9}, 9)},
          row.size(), 9);
    EXPECT_EQ(row.vector(), qlxtest::fromHex("8000 80ff 80ff 8043 8002 8001 8009 8002 8003 8004 8080 8080"));
}

TEST(EightBitWriting, LeavesTheRowAloneWithoutAPacketOnTheLine) {
    ExactBuffer row = ExactBuffer::filled(4, 0x80);
    fill8(row, {packet(3, 10)}, row.size(), 9);
    fill8(row, {}, row.size(), 9);
    EXPECT_EQ(qlxtest::toHex(row.span()), "80808080");
}

TEST(EightBitWriting, TakesLowBitsAndComparesTheLineWithItsSign) {
    const auto one = packet(258, 0xFFFF'FFFF'FFFF'FFFF);
    one->setPacketDID(0x161);
    one->setPacketSDID(0xF02);
    ExactBuffer row = ExactBuffer::filled(16, 0x80);
    fill8(row, {one}, 11, -1);
    EXPECT_EQ(row.vector(), qlxtest::fromHex("8000 80ff 80ff 8061 8002 8002 80f0 8080"));
}

TEST(RowWriting, TakesRowsAtAnyAddress) {
    const auto one = packet(20, 9);
    ExactBuffer shifted = ExactBuffer::filled(1 + 16 * 8, 0);
    QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(shifted.data() + 1,
                                                                                                 {one}, 16 * 8, 9);
    ExactBuffer aligned = ExactBuffer::filled(16 * 8, 0);
    fill10(aligned, {one}, 16 * 8, 9);
    EXPECT_TRUE(std::equal(aligned.data(), aligned.data() + aligned.size(), shifted.data() + 1));
    EXPECT_EQ(shifted[0], 0);
}
