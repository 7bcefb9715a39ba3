// Caption and OP-47 packets cut straight out of SDI lines.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "CaptionSupport.h"
#include "RecordingConsole.h"
#include "RefusingMediaFactory.h"
#include "RowBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

using qlx::SampleStage;
using namespace qlxtest;
using Bytes = std::vector<std::uint8_t>;

namespace {

const qlx::SampleTimingInfo kTiming{k2997, qlx::MediaTime{7, 25, 1, 3}, {}};

std::shared_ptr<qlx::SampleBuffer> read(const ExactBuffer& lines, std::uint64_t bytesPerRow, std::uint32_t format) {
    return QLXCCUtilities::createCEA708SampleBufferFromDataBuffer_size_bytesPerRow_bufferFormat_timingInfo(
        lines.data(), lines.size(), bytesPerRow, format, kTiming);
}

/// A short caption packet (13 bytes, all of whose values differ), its third byte its length.
const Bytes kCDP = fromHex("9669 0d 4f 7f 1234 72 e0 74 1235 a1");
/// An OP-47 packet, its third byte its length.
const Bytes kOP47 = fromHex("5115 0c 02 d1 d2 d3 d4 d5 d6 d7 d8");

/// Luma of a packet as an 8-bit line has it.
Bytes packetLuma(std::uint8_t did, std::uint8_t sdid, const Bytes& data) {
    const std::array<std::uint8_t, 6> header{0x00, 0xFF, 0xFF, did, sdid, static_cast<std::uint8_t>(data.size())};
    Bytes luma(header.size() + data.size());
    std::copy(data.begin(), data.end(), std::copy(header.begin(), header.end(), luma.begin()));
    return luma;
}

/// Chroma 0x80, and luma from `luma`, then 0x10.
Bytes line8(const Bytes& luma, std::size_t pixels) {
    Bytes line;
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        line.push_back(0x80);
        line.push_back(pixel < luma.size() ? luma[pixel] : std::uint8_t{0x10});
    }
    return line;
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

std::string found8(const Bytes& lines, std::uint64_t bytesPerRow) {
    return digitsOf(read(ExactBuffer(lines), bytesPerRow, qlx::kPixelFormat2vuy));
}

std::string found10(const Bytes& lines, std::uint64_t bytesPerRow) {
    return digitsOf(read(ExactBuffer(lines), bytesPerRow, qlx::kPixelFormatV210));
}

Bytes v210Packet(std::uint8_t did, std::uint8_t sdid, const Bytes& data, std::size_t groups = 8) {
    return v210Row(groups, packetSamples(did, sdid, data));
}

std::string header10OfOP47(std::size_t count) {
    return "0001000c" + repeated("00", 12) + "4302" + byteDigits(count);
}

const std::string kNothing = "no data";

}  // namespace

TEST(CaptionLines8, ACaptionPacketBecomesASample) {
    const Bytes line = line8(packetLuma(0x61, 0x01, kCDP), 40);
    const auto sample = read(ExactBuffer(line), line.size(), qlx::kPixelFormat2vuy);
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->formatDescription->mediaType, 0x636C6370U);
    EXPECT_EQ(sample->formatDescription->mediaSubType, 0x63373038U);
    EXPECT_TRUE(sample->formatDescription->extensions.empty());
    EXPECT_EQ(sample->timingInfo, kTiming);
    EXPECT_EQ(sample->sampleSize, 21U);
    EXPECT_EQ(digitsOf(sample), "0000001563636470" + toHex(kCDP));
}

TEST(CaptionLines8, AnOP47PacketBecomesASubtitleSample) {
    const Bytes line = line8(packetLuma(0x43, 0x02, kOP47), 40);
    const auto sample = read(ExactBuffer(line), line.size(), qlx::kPixelFormat2vuy);
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->formatDescription->mediaType, 0x7362746CU);
    EXPECT_EQ(sample->formatDescription->mediaSubType, 0x6F703437U);
    EXPECT_EQ(sample->timingInfo, kTiming);
    EXPECT_EQ(sample->sampleSize, 12U);
    EXPECT_EQ(digitsOf(sample), toHex(kOP47));
}

TEST(CaptionLines8, ThePacketsOwnLengthByteCounts) {
    // A length byte that is 3 short cuts the packet; one that is 2 too long takes what follows on the line.
    Bytes cdp = kCDP;
    cdp[2] = 10;
    EXPECT_EQ(found8(line8(packetLuma(0x61, 0x01, cdp), 40), 80), "0000001263636470" + toHex(cdp).substr(0, 20));
    cdp[2] = 15;
    EXPECT_EQ(found8(line8(packetLuma(0x61, 0x01, cdp), 40), 80), "0000001763636470" + toHex(cdp) + "1010");
    cdp[2] = 0;
    EXPECT_EQ(found8(line8(packetLuma(0x61, 0x01, cdp), 40), 80), "0000000863636470");
    Bytes op47 = kOP47;
    op47[2] = 0;
    EXPECT_EQ(found8(line8(packetLuma(0x43, 0x02, op47), 40), 80), "");
    // The data count plays no part.
    Bytes luma = packetLuma(0x61, 0x01, kCDP);
    luma[5] = 0;
    EXPECT_EQ(found8(line8(luma, 40), 80), "0000001563636470" + toHex(kCDP));
}

TEST(CaptionLines8, TheSizeHasOnlyItsLowByte) {
    Bytes cdp(255, 0x55);
    cdp[2] = 255;
    EXPECT_EQ(found8(line8(packetLuma(0x61, 0x01, cdp), 300), 600), "0000000763636470" + toHex(cdp));
}

TEST(CaptionLines8, OtherPacketsAreSteppedOver) {
    // Flag, DID, SDID, DC, data and checksum: 7 luma bytes and the data.
    for (const std::size_t size : {0U, 1U, 20U}) {
        for (const auto& [did, sdid] : {std::pair<int, int>{0x60, 0x60}, {0x43, 0x01}, {0x61, 0x02}, {0x41, 0x02}}) {
            const Bytes other =
                packetLuma(static_cast<std::uint8_t>(did), static_cast<std::uint8_t>(sdid), Bytes(size, 0x11)) +
                Bytes{0xC5};
            const Bytes line = line8(other + other + packetLuma(0x61, 0x01, kCDP), 100);
            EXPECT_EQ(found8(line, 200), "0000001563636470" + toHex(kCDP)) << size << ' ' << did << ' ' << sdid;
        }
    }
}

TEST(CaptionLines8, AGapEndsTheLine) {
    const Bytes packet = packetLuma(0x61, 0x01, kCDP);
    EXPECT_EQ(found8(line8(Bytes{0x10} + packet, 60), 120), kNothing);
    const Bytes other = packetLuma(0x60, 0x60, {0x11, 0x12}) + Bytes{0xC5};
    EXPECT_EQ(found8(line8(other + Bytes{0x10} + packet, 60), 120), kNothing);
    for (const std::size_t at : {0U, 1U, 2U}) {
        Bytes broken = packet;
        broken[at] ^= 0x01U;
        EXPECT_EQ(found8(line8(broken, 60), 120), kNothing) << at;
    }
}

TEST(CaptionLines8, TheFirstPacketOfAllLinesIsTaken) {
    const Bytes empty = line8({}, 40);
    const Bytes cdp = line8(packetLuma(0x61, 0x01, kCDP), 40);
    const Bytes op47 = line8(packetLuma(0x43, 0x02, kOP47), 40);
    EXPECT_EQ(found8(empty + empty + cdp + op47, 80), "0000001563636470" + toHex(kCDP));
    EXPECT_EQ(found8(empty + op47 + cdp, 80), toHex(kOP47));
    EXPECT_EQ(found8(empty + empty, 80), kNothing);
    // A line that is not whole is none.
    EXPECT_EQ(found8(empty + Bytes(cdp.begin(), cdp.end() - 1), 80), kNothing);
}

TEST(CaptionLines8, RowsMayHaveAnySize) {
    // The second line begins at byte 83.
    const Bytes cdp = line8(packetLuma(0x61, 0x01, kCDP), 41) + Bytes{0x80};
    const Bytes empty = line8({}, 41) + Bytes{0x80};
    ASSERT_EQ(cdp.size(), 83U);
    EXPECT_EQ(found8(empty + cdp, 83), "0000001563636470" + toHex(kCDP));
    EXPECT_EQ(found8(empty + cdp, 82), kNothing);
    EXPECT_EQ(found8(cdp, 0), kNothing);
    EXPECT_EQ(found8(cdp, 84), kNothing) << "fewer bytes than a row";
    EXPECT_EQ(found8(cdp, 1), kNothing);
    EXPECT_EQ(found8({}, 83), kNothing);
    EXPECT_EQ(found8({}, 0), kNothing);
}

TEST(CaptionLines8, BytesBehindTheLineAreZero) {
    const Bytes luma = packetLuma(0x61, 0x01, kCDP);
    const Bytes line = line8(luma, luma.size());
    forEachTruncation(line, [&](const ExactBuffer& part) {
        const std::size_t held = part.size() / 2;  // luma bytes
        std::string expected = kNothing;
        if (held >= 5) {
            const std::size_t size = held > 8 ? 13 : 0;
            const Bytes words(luma.begin() + 6, luma.begin() + static_cast<std::ptrdiff_t>(std::max(held, size_t{6})));
            expected = "000000" + byteDigits(size + 8) + "63636470";
            expected += size == 0 ? "" : toHex(words) + repeated("00", size - words.size());
        }
        EXPECT_EQ(digitsOf(read(part, part.size(), qlx::kPixelFormat2vuy)), expected) << part.size();
    });
}

TEST(CaptionLines8, ALineDoesNotReachIntoTheNext) {
    const Bytes cut = line8(packetLuma(0x61, 0x01, kCDP), 16);
    EXPECT_EQ(found8(cut + line8(Bytes(16, 0xEE), 16), 32), "0000001563636470" + toHex(kCDP).substr(0, 20) + "000000");
}

TEST(CaptionLines10, ACaptionPacketBecomesASample) {
    const Bytes line = v210Packet(0x61, 0x01, kCDP);
    const auto sample = read(ExactBuffer(line), line.size(), qlx::kPixelFormatV210);
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->formatDescription->mediaType, 0x636C6370U);
    EXPECT_EQ(sample->formatDescription->mediaSubType, 0x63373038U);
    EXPECT_EQ(sample->timingInfo, kTiming);
    EXPECT_EQ(sample->sampleSize, 21U);
    EXPECT_EQ(digitsOf(sample), "0000001563636470" + toHex(kCDP));
}

TEST(CaptionLines10, AnOP47PacketHasAHeader) {
    const Bytes line = v210Packet(0x43, 0x02, kOP47);
    const auto sample = read(ExactBuffer(line), line.size(), qlx::kPixelFormatV210);
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->formatDescription->mediaType, 0x7362746CU);
    EXPECT_EQ(sample->formatDescription->mediaSubType, 0x6F703437U);
    EXPECT_EQ(sample->timingInfo, kTiming);
    EXPECT_EQ(sample->sampleSize, 31U);
    EXPECT_EQ(digitsOf(sample), digits("0001000c 00000000 00000000 00000000 43020c") + toHex(kOP47));
}

TEST(CaptionLines10, TheDataCountCounts) {
    for (const std::size_t size : {0U, 1U, 2U, 3U, 4U, 100U, 247U, 248U, 255U}) {
        Bytes data(size);
        for (std::size_t index = 0; index < size; ++index) {
            data[index] = static_cast<std::uint8_t>(3 * index + 1);
        }
        EXPECT_EQ(found10(v210Packet(0x61, 0x01, data, 50), 800),
                  "000000" + byteDigits(size + 8) + "63636470" + toHex(data))
            << size;
        EXPECT_EQ(found10(v210Packet(0x43, 0x02, data, 50), 800), header10OfOP47(size) + toHex(data)) << size;
    }
}

TEST(CaptionLines10, IdentifiersHaveParity) {
    std::vector<std::uint16_t> samples = packetSamples(0x61, 0x01, kCDP);
    for (const auto& [did, sdid] : {std::pair<int, int>{0x061, 0x101},
                                    {0x161, 0x001},
                                    {0x261, 0x101},
                                    {0x161, 0x201},
                                    {0x143, 0x101},
                                    {0x161, 0x102}}) {
        samples[3] = static_cast<std::uint16_t>(did);
        samples[4] = static_cast<std::uint16_t>(sdid);
        EXPECT_EQ(found10(v210Row(8, samples), 128), kNothing) << did << ' ' << sdid;
    }
}

TEST(CaptionLines10, UserDataAreTakenFromTheLinesFourthWord) {
    // A foreign packet of 20 bytes; by its count the line goes on at word 20, luma sample 30, where a caption packet
    // stands. Its data are nevertheless taken from sample 6: the foreign packet's.
    Bytes foreign(20);
    for (std::size_t index = 0; index < foreign.size(); ++index) {
        foreign[index] = static_cast<std::uint8_t>(0x30 + index);
    }
    std::vector<std::uint16_t> luma = packetSamples(0x60, 0x60, foreign);
    luma.resize(30, 0x040);
    const auto packet = packetSamples(0x61, 0x01, kCDP);
    luma.insert(luma.end(), packet.begin(), packet.end());
    const Bytes line = v210Row(12, luma);
    EXPECT_EQ(found10(line, line.size()), "0000001563636470" + toHex(foreign).substr(0, 26));
}

TEST(CaptionLines10, APacketWithoutDataEndsTheLine) {
    const Bytes empty = v210Packet(0x60, 0x60, {});
    const Bytes cdp = v210Packet(0x61, 0x01, kCDP);
    EXPECT_EQ(found10(empty, empty.size()), kNothing);
    EXPECT_EQ(found10(empty + cdp, 128), "0000001563636470" + toHex(kCDP)) << "the next line is read";
}

TEST(CaptionLines10, AGapEndsTheLine) {
    EXPECT_EQ(found10(v210Row(8, packetSamples(0x61, 0x01, kCDP), 1), 128), kNothing);
    EXPECT_EQ(found10(v210Row(8, packetSamples(0x61, 0x01, kCDP), 6), 128), kNothing);
    for (const std::size_t at : {0U, 1U, 2U}) {
        std::vector<std::uint16_t> samples = packetSamples(0x61, 0x01, kCDP);
        samples[at] ^= 0x001U;
        EXPECT_EQ(found10(v210Row(8, samples), 128), kNothing) << at;
    }
}

TEST(CaptionLines10, TheFirstPacketOfAllLinesIsTaken) {
    const Bytes empty = v210Row(8, {});
    const Bytes cdp = v210Packet(0x61, 0x01, kCDP);
    const Bytes op47 = v210Packet(0x43, 0x02, kOP47);
    EXPECT_EQ(found10(empty + cdp + op47, 128), "0000001563636470" + toHex(kCDP));
    EXPECT_EQ(found10(empty + empty + op47 + cdp, 128), header10OfOP47(12) + toHex(kOP47));
    EXPECT_EQ(found10(empty + empty, 128), kNothing);
    EXPECT_EQ(found10(empty + Bytes(cdp.begin(), cdp.end() - 1), 128), kNothing);
}

TEST(CaptionLines10, RowsBeginAtWholeWords) {
    const Bytes cdp = v210Packet(0x61, 0x01, kCDP);
    const Bytes empty = v210Row(8, {});
    for (const std::size_t excess : {0U, 1U, 2U, 3U}) {
        // Whatever is over a whole word, the second line begins at byte 128.
        const Bytes lines = empty + cdp + Bytes(2 * excess, 0);
        EXPECT_EQ(found10(lines, 128 + excess), "0000001563636470" + toHex(kCDP)) << excess;
    }
    EXPECT_EQ(found10(empty + Bytes{0, 0} + cdp + Bytes{0, 0}, 130), kNothing);
    for (const std::uint64_t bytesPerRow : {0U, 1U, 2U, 3U, 4U, 15U, 129U}) {
        EXPECT_EQ(found10(cdp, bytesPerRow), kNothing) << bytesPerRow;
    }
    EXPECT_EQ(found10({}, 128), kNothing);
}

TEST(CaptionLines10, WordsBehindTheLineAreZero) {
    const Bytes line = v210Packet(0x61, 0x01, kCDP, 4);
    forEachTruncation(line, [](const ExactBuffer& part) {
        const std::size_t words = part.size() / 4;
        std::string expected = kNothing;
        if (words >= 4) {
            // From word 4 on, every other word holds one sample of luma, the others two.
            const std::size_t held = std::min<std::size_t>((words - 4) / 2 * 3 + (words - 4) % 2, 13);
            expected = "0000001563636470" + toHex(std::span(kCDP).first(held)) + repeated("00", 13 - held);
        }
        EXPECT_EQ(digitsOf(read(part, part.size(), qlx::kPixelFormatV210)), expected) << part.size();
    });
}

TEST(CaptionLines, OfOtherFormatsAreNotRead) {
    const Bytes line = line8(packetLuma(0x61, 0x01, kCDP), 40);
    for (const std::uint32_t format : {0U, 1U, 0x79757673U, 0x42475241U, 0x32767559U}) {
        EXPECT_FALSE(read(ExactBuffer(line), 80, format));
    }
    EXPECT_FALSE(read(ExactBuffer(line), 80, qlx::kPixelFormatV210));
    EXPECT_FALSE(read(ExactBuffer(v210Packet(0x61, 0x01, kCDP)), 128, qlx::kPixelFormat2vuy));
}

TEST(CaptionLines, OfAByteBufferAreTheSame) {
    const Bytes lines = v210Row(8, {}) + v210Packet(0x43, 0x02, kOP47);
    const auto sample = QLXCCUtilities::createCEA708SampleBufferFromData_bytesPerRow_bufferFormat_timingInfo(
        lines, 128, qlx::kPixelFormatV210, kTiming);
    EXPECT_EQ(digitsOf(sample), header10OfOP47(12) + toHex(kOP47));
    EXPECT_EQ(sample->timingInfo, kTiming);
    for (const std::uint64_t bytesPerRow : {0U, 128U}) {
        EXPECT_FALSE(QLXCCUtilities::createCEA708SampleBufferFromData_bytesPerRow_bufferFormat_timingInfo(
            qlx::Data(), bytesPerRow, qlx::kPixelFormat2vuy, kTiming));
    }
}

TEST(CaptionLines, SayThatTheSampleWasRefused) {
    const struct {
        Bytes line;
        std::uint32_t format;
        std::string message;
        std::size_t size;
    } cases[] = {
        {line8(packetLuma(0x61, 0x01, kCDP), 40), qlx::kPixelFormat2vuy, "CEA708", 21},
        {line8(packetLuma(0x43, 0x02, kOP47), 40), qlx::kPixelFormat2vuy, "OP47", 12},
        {v210Packet(0x61, 0x01, kCDP), qlx::kPixelFormatV210, "CEA708", 21},
        {v210Packet(0x43, 0x02, kOP47), qlx::kPixelFormatV210, "OP-47", 31},
    };
    for (const auto& one : cases) {
        for (const bool givesSampleAnyway : {false, true}) {
            RecordingConsole console;
            RefusingMediaFactory factory(SampleStage::SampleBuffer, -12'731);
            factory.givesSampleAnyway = givesSampleAnyway;
            const qlx::ScopedService<qlx::Console> consoleScope(console);
            const qlx::ScopedService<qlx::MediaFactory> factoryScope(factory);
            const auto sample = read(ExactBuffer(one.line), one.line.size(), one.format);
            EXPECT_EQ(console.printed,
                      "Invalid could not create " + one.message + " sample buffer description (Error = -12731\n");
            EXPECT_TRUE(console.logged.empty());
            ASSERT_EQ(static_cast<bool>(sample), givesSampleAnyway);
            if (sample) {
                EXPECT_EQ(sample->dataBuffer->size(), one.size);
            }
        }
    }
}

TEST(CaptionLines, SayNothingWhenAnotherStepRefuses) {
    const Bytes line = line8(packetLuma(0x61, 0x01, kCDP), 40);
    for (const SampleStage stage :
         {SampleStage::BlockBuffer, SampleStage::DataPointer, SampleStage::FormatDescription}) {
        RecordingConsole console;
        RefusingMediaFactory factory(stage, -1);
        const qlx::ScopedService<qlx::Console> consoleScope(console);
        const qlx::ScopedService<qlx::MediaFactory> factoryScope(factory);
        EXPECT_FALSE(read(ExactBuffer(line), line.size(), qlx::kPixelFormat2vuy));
        EXPECT_EQ(console.printed, "");
    }
}
