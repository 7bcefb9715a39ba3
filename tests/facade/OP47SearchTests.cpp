// OP-47 packets found in captured lines, and the samples and texts that come of them.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "ExactBuffer.h"
#include "RecordingConsole.h"
#include "RefusingMediaFactory.h"
#include "RowBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <vector>

using qlx::SampleStage;
using namespace qlxtest;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Samples = std::vector<std::uint16_t>;

constexpr std::size_t kBlockSize = 148;

/// A stand-in for an SDP: its third byte is its length, the others tell their places.
Bytes block(std::size_t size = kBlockSize) {
    Bytes bytes{0x51, 0x15, static_cast<std::uint8_t>(size)};
    for (std::size_t index = bytes.size(); index < size; ++index) {
        bytes.push_back(static_cast<std::uint8_t>(index * 7 + 1));
    }
    bytes.resize(size);
    return bytes;
}

qlx::Data find(const ExactBuffer& lines, std::uint64_t bytesPerRow, std::uint32_t format, std::int32_t lineNumber = 9) {
    return QLXCCUtilities::op47PacketFromBuffer_size_bufferFormat_bytesPerRow_lineNumber(
        lines.data(), lines.size(), format, bytesPerRow, lineNumber);
}

qlx::Data find10(const Bytes& lines, std::uint64_t bytesPerRow, std::int32_t lineNumber = 9) {
    return find(ExactBuffer(lines), bytesPerRow, qlx::kPixelFormatV210, lineNumber);
}

qlx::Data find8(const Bytes& lines, std::uint64_t bytesPerRow) {
    return find(ExactBuffer(lines), bytesPerRow, qlx::kPixelFormat2vuy);
}

/// What stands in front of the user data of a 10-bit result.
Bytes element(std::uint8_t lineHigh, std::uint8_t lineLow, const Bytes& data) {
    Bytes bytes{0x00, 0x02, lineHigh, lineLow, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x43, 0x02};
    bytes.push_back(static_cast<std::uint8_t>(data.size()));
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

Bytes joined(const Bytes& left, const Bytes& right) {
    Bytes bytes(left.size() + right.size());
    std::copy(right.begin(), right.end(), std::copy(left.begin(), left.end(), bytes.begin()));
    return bytes;
}

// 10-bit lines

constexpr std::size_t kGroups = 40;  // 240 pixels
constexpr std::size_t kRowBytes = kGroups * 16;

Bytes row10(const Samples& luma, std::size_t at = 0) {
    return v210Row(kGroups, luma, at);
}

Samples op47Samples(const Bytes& data) {
    return packetSamples(0x43, 0x02, data);
}

TEST(OP47Search10, FindsAPacketAtTheStartOfARow) {
    const qlx::Data found = find10(row10(op47Samples(block())), kRowBytes);
    EXPECT_EQ(found.size(), 167U);
    EXPECT_EQ(found, element(0, 9, block()));
}

TEST(OP47Search10, TakesEveryDataCount) {
    const std::size_t groups = 60;
    for (std::size_t count = 0; count < 256; ++count) {
        const Bytes row = v210Row(groups, op47Samples(block(count)));
        EXPECT_EQ(find10(row, row.size()), element(0, 9, block(count))) << count;
    }
}

TEST(OP47Search10, WritesTheLineNumber) {
    struct Case {
        std::int32_t line;
        std::uint8_t high;
        std::uint8_t low;
    };
    constexpr std::array<Case, 9> kCases{{{0, 0, 0},
                                          {575, 0x02, 0x3F},
                                          {65535, 0xFF, 0xFF},
                                          {65536 + 513, 0x02, 0x01},
                                          {-1, 0x00, 0xFF},    // -1 / 256 is 0
                                          {-256, 0xFF, 0x00},  // -1
                                          {-257, 0xFF, 0xFF},  // -1
                                          {std::numeric_limits<std::int32_t>::max(), 0xFF, 0xFF},
                                          {std::numeric_limits<std::int32_t>::min(), 0x00, 0x00}}};
    const Bytes row = row10(op47Samples(block(5)));
    for (const Case& one : kCases) {
        EXPECT_EQ(find10(row, kRowBytes, one.line), element(one.high, one.low, block(5))) << one.line;
    }
}

TEST(OP47Search10, ReadsTheUserDataOfALaterPacketFromTheStartOfTheRow) {
    // A packet of 14 data words takes 21 luma samples, which are 14 words of the row: the next one follows at once.
    Samples luma = packetSamples(0x41, 0x05, block(14));
    ASSERT_EQ(luma.size(), 21U);
    const Samples second = op47Samples(block());
    luma.insert(luma.end(), second.begin(), second.end());
    Bytes expected;
    for (std::size_t index = 6; index < 6 + kBlockSize; ++index) {
        expected.push_back(static_cast<std::uint8_t>(luma[index]));
    }
    EXPECT_EQ(find10(row10(luma), kRowBytes), element(0, 9, expected));
}

TEST(OP47Search10, SearchesEveryRow) {
    const Bytes empty = row10({});
    const Bytes full = row10(op47Samples(block()));
    EXPECT_EQ(find10(joined(joined(empty, empty), full), kRowBytes), element(0, 9, block()));
    EXPECT_EQ(find10(joined(full, row10(op47Samples(block(3)))), kRowBytes), element(0, 9, block()));
    EXPECT_EQ(find10(joined(empty, empty), kRowBytes), qlx::Data());
}

TEST(OP47Search10, LooksForWholeRowsOnly) {
    const Bytes full = row10(op47Samples(block()));
    // One row and all but a byte of the next.
    Bytes lines = joined(row10({}), full);
    lines.pop_back();
    EXPECT_EQ(find10(lines, kRowBytes), qlx::Data());
    // Rows need not be whole words.
    lines = joined(Bytes(17, 0), full);
    EXPECT_EQ(find10(lines, 17), element(0, 9, block()));
}

/// Words of three samples each, as they are given.
Bytes words(const std::vector<std::array<std::uint16_t, 3>>& samples) {
    Bytes bytes;
    for (const auto& word : samples) {
        const std::uint32_t value =
            word[0] | static_cast<std::uint32_t>(word[1]) << 10U | static_cast<std::uint32_t>(word[2]) << 20U;
        for (unsigned byte = 0; byte < 4; ++byte) {
            bytes.push_back(static_cast<std::uint8_t>(value >> 8U * byte));
        }
    }
    return bytes;
}

/// The head of a packet: four words with data count `dc`.
std::vector<std::array<std::uint16_t, 3>> head(std::uint16_t did, std::uint16_t sdid, std::uint16_t dc) {
    return {{1, 0x000, 1}, {0x3FF, 1, 0x3FF}, {1, did, 1}, {sdid, 1, dc}};
}

TEST(OP47Search10, StepsAsManyWordsAsTheDataCountSays) {
    for (std::uint16_t step = 6; step < 72; ++step) {
        auto row = head(0x241, 0x205, step);
        row.resize(80, {2, 0x040, 2});
        const auto second = head(0x143, 0x102, 0x203);
        std::copy(second.begin(), second.end(), row.begin() + step);
        row[4] = {2, 0x2AB, 2};
        row[5] = {0x1CD, 2, 0x2EF};
        EXPECT_EQ(find10(words(row), 80 * 4), element(0, 9, {0xAB, 0xCD, 0xEF})) << step;
        // A place beside it is not looked at.
        row[3][2] = static_cast<std::uint16_t>(step - 1);
        EXPECT_EQ(find10(words(row), 80 * 4), qlx::Data()) << step;
    }
}

TEST(OP47Search10, NeedsTheWholeFlagAndBothIdentifiersWithTheirParity) {
    const auto found = [](std::vector<std::array<std::uint16_t, 3>> row) {
        row.resize(8, {2, 0x040, 2});
        return static_cast<bool>(find10(words(row), 32));
    };
    EXPECT_TRUE(found(head(0x143, 0x102, 1)));
    EXPECT_FALSE(found(head(0x243, 0x102, 1)));
    EXPECT_FALSE(found(head(0x043, 0x102, 1)));
    EXPECT_FALSE(found(head(0x143, 0x202, 1)));
    EXPECT_FALSE(found(head(0x102, 0x143, 1)));
    for (const std::uint16_t sample : std::initializer_list<std::uint16_t>{0x001, 0x100, 0x200}) {
        auto row = head(0x143, 0x102, 1);
        row[0][1] = sample;
        EXPECT_FALSE(found(row)) << sample;
    }
    for (const std::uint16_t sample : std::initializer_list<std::uint16_t>{0x3FE, 0x2FF, 0x1FF, 0x0FF}) {
        for (const std::size_t place : {0U, 2U}) {
            auto row = head(0x143, 0x102, 1);
            row[1][place] = sample;
            EXPECT_FALSE(found(row)) << sample << ' ' << place;
        }
    }
}

TEST(OP47Search10, LeavesARowAtAForeignPacketWithoutData) {
    auto row = head(0x241, 0x205, 0x200);
    row.resize(16, {2, 0x040, 2});
    auto next = head(0x143, 0x102, 0x200);
    next.resize(16, {2, 0x040, 2});
    EXPECT_EQ(find10(words(row), 64), qlx::Data());
    EXPECT_EQ(find10(joined(words(row), words(next)), 64), element(0, 9, {}));
}

TEST(OP47Search10, GoesOnIntoTheRowsThatFollow) {
    // Rows of 16 words, 64 bytes: a step of 20 words lands in the second row.
    auto lines = head(0x241, 0x205, 20);
    lines.resize(64 + 8, {2, 0x040, 2});
    const auto second = head(0x143, 0x102, 3);
    std::copy(second.begin(), second.end(), lines.begin() + 20);
    lines[4] = {2, 0x2AB, 2};
    lines[5] = {0x1CD, 2, 0x2EF};
    EXPECT_EQ(find10(words(lines), 64), element(0, 9, {0xAB, 0xCD, 0xEF}));

    // The last word offset that is looked at is one below the bytes of a row.
    lines[20] = {2, 0x040, 2};
    std::copy(second.begin(), second.end(), lines.begin() + 63);
    lines[3][2] = 63;
    EXPECT_EQ(find10(words(lines), 64), element(0, 9, {0xAB, 0xCD, 0xEF}));
    // A step of as many words as a row has bytes leaves the row.
    lines[3][2] = 64;
    EXPECT_EQ(find10(words(lines), 64), qlx::Data());
}

TEST(OP47Search10, StaysInsideTheBuffer) {
    const Bytes row = row10(op47Samples(block()));
    forEachTruncation(row, [](const ExactBuffer& part) {
        const qlx::Data found = find(part, part.size(), qlx::kPixelFormatV210);
        if (part.size() < 16) {  // the first word that names the packet's data count ends here
            EXPECT_EQ(found, qlx::Data()) << part.size();
            return;
        }
        Bytes data = block();
        for (std::size_t index = 0; index < data.size(); ++index) {
            const std::size_t sample = 6 + index;
            const std::size_t word = sample / 3 * 2 + (sample % 3 == 0 ? 0 : 1);
            if ((word + 1) * 4 > part.size()) {
                data[index] = 0;
            }
        }
        EXPECT_EQ(found, element(0, 9, data)) << part.size();
    });
}

TEST(OP47Search10, ReadsTheDataFromTheRowsThatFollow) {
    const Bytes row = row10(op47Samples(block()));
    EXPECT_EQ(find10(row, 32), element(0, 9, block()));
}

// 8-bit lines

/// A row of luma bytes with one value in every chroma place; other luma 0x10.
Bytes row8(const Bytes& luma, std::uint8_t chroma = 0x80, std::size_t pixels = 200) {
    Bytes row;
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        row.push_back(chroma);
        row.push_back(pixel < luma.size() ? luma[pixel] : std::uint8_t{0x10});
    }
    return row;
}

Bytes packet8(std::uint8_t did, std::uint8_t sdid, const Bytes& data) {
    const Bytes head{0x00, 0xFF, 0xFF, did, sdid, static_cast<std::uint8_t>(data.size())};
    return joined(joined(head, data), Bytes{0xEE});  // with a checksum
}

constexpr std::size_t kRowBytes8 = 400;

TEST(OP47Search8, GivesAsManyBytesAsTheChromaInFrontOfTheFlagSays) {
    const Bytes data = block();
    for (std::size_t chroma = 0; chroma < 256; ++chroma) {
        Bytes expected = data;
        expected.resize(chroma);  // cut, or filled up with zeros
        const qlx::Data found = find8(row8(packet8(0x43, 0x02, data), static_cast<std::uint8_t>(chroma)), kRowBytes8);
        EXPECT_EQ(found, expected) << chroma;
        EXPECT_TRUE(found) << chroma;
    }
    EXPECT_EQ(find8(row8(packet8(0x43, 0x02, data), 0x80), kRowBytes8).size(), 128U);
}

TEST(OP47Search8, CopiesAsManyBytesAsThePacketsLengthByteSays) {
    for (const std::uint8_t length : std::array<std::uint8_t, 6>{0, 1, 2, 100, 150, 255}) {
        Bytes data = block();
        data[2] = length;
        const Bytes row = row8(packet8(0x43, 0x02, data), 0xA0);
        Bytes expected;
        for (std::size_t index = 0; index < 0xA0; ++index) {
            expected.push_back(index < length ? row[13 + 2 * index] : std::uint8_t{0});
        }
        EXPECT_EQ(find8(row, kRowBytes8), expected) << static_cast<int>(length);
    }
}

TEST(OP47Search8, StepsOverOtherPackets) {
    Bytes luma = packet8(0x41, 0x05, block(20));
    for (const Bytes& packet : {packet8(0x61, 0x01, {}), packet8(0x43, 0x03, {9}), packet8(0x43, 0x02, block())}) {
        luma.insert(luma.end(), packet.begin(), packet.end());
    }
    EXPECT_EQ(find8(row8(luma, 148, 300), 600), block());
}

TEST(OP47Search8, LooksForIdentifiersAsTheyAre) {
    const auto found = [](std::uint8_t did, std::uint8_t sdid) {
        return static_cast<bool>(find8(row8(packet8(did, sdid, block())), kRowBytes8));
    };
    EXPECT_TRUE(found(0x43, 0x02));
    EXPECT_FALSE(found(0x02, 0x43));
    EXPECT_FALSE(found(0x42, 0x02));
    EXPECT_FALSE(found(0x43, 0x03));
    for (const std::size_t place : {1U, 3U, 5U}) {
        Bytes row = row8(packet8(0x43, 0x02, block()));
        row[place] = 0x7F;
        EXPECT_EQ(find8(row, kRowBytes8), qlx::Data()) << place;
    }
}

TEST(OP47Search8, LooksOnAtTheSameOffsetOfTheNextRowWhenAFlagIsMissing) {
    const Bytes foreign = row8(packet8(0x41, 0x05, block(3)));  // the next place is byte 20
    const Bytes atStart = row8(packet8(0x43, 0x02, block()));
    Bytes luma(10, 0x10);
    const Bytes packet = packet8(0x43, 0x02, block(50));
    luma.insert(luma.end(), packet.begin(), packet.end());
    const Bytes atByte20 = row8(luma, 50);
    // The packet at the start of the second row is not seen, the one at byte 20 of the third is.
    EXPECT_EQ(find8(joined(joined(foreign, atStart), atByte20), kRowBytes8), block(50));
    EXPECT_EQ(find8(joined(foreign, atStart), kRowBytes8), qlx::Data());
    Bytes cut = block();
    cut.resize(0x80);
    EXPECT_EQ(find8(joined(joined(row8({}), row8({})), atStart), kRowBytes8), cut);
    EXPECT_EQ(find8(atByte20, kRowBytes8), qlx::Data());
}

TEST(OP47Search8, BeginsTheNextRowAtItsStartWhenARowIsUsedUp) {
    // 7 + 13 words are 40 bytes: exactly the row, or more than it.
    const Bytes next = row8(packet8(0x43, 0x02, block(4)), 4, 20);
    EXPECT_EQ(find8(joined(row8(packet8(0x41, 0x05, block(13)), 0x80, 20), next), 40), block(4));
    EXPECT_EQ(find8(joined(row8(packet8(0x41, 0x05, block(250)), 0x80, 20), next), 40), block(4));
    // One word less: the place is byte 38 of the row, and of every row from there on.
    EXPECT_EQ(find8(joined(row8(packet8(0x41, 0x05, block(12)), 0x80, 20), next), 40), qlx::Data());
}

TEST(OP47Search8, DoesNotCountRows) {
    // A missing flag leads on to what is left behind the last whole row.
    Bytes lines = joined(row8({}, 0x80, 50), row8(packet8(0x43, 0x02, block(4)), 4, 12));
    EXPECT_EQ(find8(lines, 100), block(4));
    // Rows of any size: the search goes over the bytes that are there.
    EXPECT_EQ(find8(row8(packet8(0x43, 0x02, block(4)), 4, 12), 1), block(4));
    EXPECT_EQ(find8(Bytes(1000, 0), 1), qlx::Data());
    // A row that a foreign packet uses up leads on to that rest as well: 14 + 2 x 13 bytes are a row of 40.
    lines = joined(row8(packet8(0x41, 0x05, block(13)), 0x80, 20), row8(packet8(0x43, 0x02, block(4)), 4, 12));
    EXPECT_EQ(find8(lines, 40), block(4));
}

TEST(OP47Search8, StaysInsideTheBuffer) {
    const Bytes row = row8(packet8(0x43, 0x02, block()), 148);
    forEachTruncation(row, [](const ExactBuffer& part) {
        const qlx::Data found = find(part, part.size(), qlx::kPixelFormat2vuy);
        if (part.size() < 18) {
            EXPECT_EQ(found, qlx::Data()) << part.size();
            return;
        }
        Bytes expected(148, 0);
        for (std::size_t index = 0; index < expected.size() && 13 + 2 * index < part.size(); ++index) {
            expected[index] = block()[index];
        }
        EXPECT_EQ(found, expected) << part.size();
    });
}

TEST(OP47Search8, StaysInsideTheBufferBehindOtherRows) {
    const Bytes lines = joined(row8({}, 0x80, 20), row8(packet8(0x43, 0x02, block()), 148, 160));
    forEachTruncation(lines, [](const ExactBuffer& part) {
        const qlx::Data found = find(part, 40, qlx::kPixelFormat2vuy);
        if (part.size() < 50) {  // the SDID is byte 9 of the row
            EXPECT_EQ(found, qlx::Data()) << part.size();
            return;
        }
        Bytes expected(148, 0);
        // Without the length byte, which is byte 17, nothing is copied.
        for (std::size_t index = 0; part.size() > 57 && index < 148 && 53 + 2 * index < part.size(); ++index) {
            expected[index] = block()[index];
        }
        EXPECT_EQ(found, expected) << part.size();
    });
}

// Both

TEST(OP47Search, KnowsTwoFormats) {
    const ExactBuffer eight(row8(packet8(0x43, 0x02, block())));
    const ExactBuffer ten(row10(op47Samples(block())));
    for (const std::uint32_t format : {qlx::kPixelFormatYuvs, qlx::kPixelFormatBGRA, qlx::kPixelFormatARGB,
                                       qlx::kPixelFormat420v, std::uint32_t{0}}) {
        EXPECT_EQ(find(eight, eight.size(), format), qlx::Data());
        EXPECT_EQ(find(ten, ten.size(), format), qlx::Data());
    }
    EXPECT_EQ(find(eight, eight.size(), qlx::kPixelFormatV210), qlx::Data());
    EXPECT_EQ(find(ten, ten.size(), qlx::kPixelFormat2vuy), qlx::Data());
}

TEST(OP47Search, NeedsARowInTheBuffer) {
    const ExactBuffer eight(row8(packet8(0x43, 0x02, block())));
    const ExactBuffer ten(row10(op47Samples(block())));
    for (const std::uint64_t more : {std::uint64_t{1}, std::uint64_t{4096}, ~std::uint64_t{0} - 1000}) {
        EXPECT_EQ(find(eight, eight.size() + more, qlx::kPixelFormat2vuy), qlx::Data());
        EXPECT_EQ(find(ten, ten.size() + more, qlx::kPixelFormatV210), qlx::Data());
    }
    EXPECT_EQ(find(eight, 0, qlx::kPixelFormat2vuy), qlx::Data());
    EXPECT_EQ(find(ten, 0, qlx::kPixelFormatV210), qlx::Data());
    const auto ofNothing = [](std::uint64_t bytesPerRow, std::uint32_t format) {
        return QLXCCUtilities::op47PacketFromBuffer_size_bufferFormat_bytesPerRow_lineNumber(nullptr, 0, format,
                                                                                             bytesPerRow, 9);
    };
    EXPECT_EQ(ofNothing(0, qlx::kPixelFormat2vuy), qlx::Data());
    EXPECT_EQ(ofNothing(1, qlx::kPixelFormatV210), qlx::Data());
}

// Samples

const qlx::SampleTimingInfo kTiming{{1001, 30000, 1, 0}, {7, 25, 1, 3}, {6, 25, 1, 0}};

TEST(OP47Sample, HoldsTheBuffersOneBehindTheOther) {
    const auto sample = QLXCCUtilities::createOP47SampleBufferFromDataBuffers_timingInfo(
        {qlx::Data{1, 2, 3}, qlx::Data(), qlx::Data(Bytes{}), qlx::Data{4}}, kTiming);
    ASSERT_TRUE(sample);
    ASSERT_TRUE(sample->dataBuffer);
    const auto bytes = qlx::dataOfSample(*sample);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(toHex(*bytes), "01020304");
    EXPECT_EQ(sample->timingInfo, kTiming);
    EXPECT_EQ(sample->sampleSize, 4U);
    ASSERT_TRUE(sample->formatDescription);
    EXPECT_EQ(sample->formatDescription->mediaType, qlx::fourCC("sbtl"));
    EXPECT_EQ(sample->formatDescription->mediaSubType, qlx::fourCC("op47"));
    EXPECT_EQ(sample->formatDescription->extensions, qlx::Dictionary());
}

TEST(OP47Sample, NeedsAByte) {
    const auto of = QLXCCUtilities::createOP47SampleBufferFromDataBuffers_timingInfo;
    EXPECT_EQ(of({}, kTiming), nullptr);
    EXPECT_EQ(of({qlx::Data(), qlx::Data(Bytes{})}, kTiming), nullptr);
}

TEST(OP47Sample, PrintsTheStatusWhenTheSampleIsRefused) {
    for (const bool givesSampleAnyway : {false, true}) {
        RecordingConsole console;
        RefusingMediaFactory factory(SampleStage::SampleBuffer, -12'731);
        factory.givesSampleAnyway = givesSampleAnyway;
        const qlx::ScopedService<qlx::Console> consoleScope(console);
        const qlx::ScopedService<qlx::MediaFactory> factoryScope(factory);
        const auto sample =
            QLXCCUtilities::createOP47SampleBufferFromDataBuffers_timingInfo({qlx::Data{1, 2}}, kTiming);
        EXPECT_EQ(console.printed, "Invalid could not create CEA708 sample buffer description (Error = -12731\n");
        EXPECT_TRUE(console.logged.empty());
        ASSERT_EQ(static_cast<bool>(sample), givesSampleAnyway);
        if (sample) {
            EXPECT_EQ(sample->dataBuffer->size(), 2U);
        }
    }
}

TEST(OP47Sample, SaysNothingWhenAnotherStepIsRefused) {
    for (const SampleStage stage :
         {SampleStage::BlockBuffer, SampleStage::DataPointer, SampleStage::FormatDescription}) {
        RecordingConsole console;
        RefusingMediaFactory factory(stage, -1);
        const qlx::ScopedService<qlx::Console> consoleScope(console);
        const qlx::ScopedService<qlx::MediaFactory> factoryScope(factory);
        EXPECT_EQ(QLXCCUtilities::createOP47SampleBufferFromDataBuffers_timingInfo({qlx::Data{1, 2}}, kTiming),
                  nullptr);
        EXPECT_EQ(console.printed, "");
    }
}

TEST(OP47Text, IsNeverGiven) {
    const auto text = QLXVANCPacket::decodedStringFromOP47VANCPacket;
    EXPECT_EQ(text(nullptr), std::nullopt);
    EXPECT_EQ(text(std::make_shared<QLXVANCPacket>()), std::nullopt);
    Bytes data = block();
    data[12] = 0x15;  // a row of magazine 8
    std::fill(data.begin() + 20, data.begin() + 40, std::uint8_t{'a'});
    for (const std::uint8_t address : Bytes{0x9B, 0x15}) {
        data[13] = address;
        for (const std::size_t size : {0U, 3U, 4U, 14U, 148U}) {
            const Bytes part(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size));
            EXPECT_EQ(text(QLXVANCPacket::OP47VANCPacketWithData_lineNumber(part, 12)), std::nullopt) << size;
        }
    }
    EXPECT_EQ(text(QLXVANCPacket::CEA708VANCPacketWithData_lineNumber(data, 9)), std::nullopt);
}

}  // namespace
