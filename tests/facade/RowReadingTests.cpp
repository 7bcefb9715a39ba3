#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "ExactBuffer.h"
#include "RecordingConsole.h"
#include "RowBuilder.h"

#include <gtest/gtest.h>

#include <tuple>

using qlxtest::ExactBuffer;
using qlxtest::packetSamples;
using qlxtest::RecordingConsole;
using qlxtest::v210Row;

namespace {

using ErrorText = std::optional<std::string>;

constexpr std::uint32_t kV210 = qlx::kPixelFormatV210;
constexpr std::uint32_t k2vuy = qlx::kPixelFormat2vuy;
const ErrorText kUntouched = "untouched";

/// What matters of a found packet, as one comparable text: line/DID/SDID/type/data.
std::vector<std::string> summaries(const std::vector<std::shared_ptr<QLXVANCPacket>>& packets) {
    std::vector<std::string> result;
    for (const auto& packet : packets) {
        result.push_back(std::to_string(packet->lineNumber()) + "/" + std::to_string(packet->packetDID()) + "/" +
                         std::to_string(packet->packetSDID()) + "/" + std::to_string(packet->packetType()) + "/" +
                         qlxtest::toHex(packet->packetData()));
    }
    return result;
}

using Found = std::vector<std::string>;

Found readRow(const ExactBuffer& row, std::uint32_t format, ErrorText* error = nullptr, std::uint64_t line = 9) {
    return summaries(QLXVANCPacket::VANCPacketsWithSDIBuffer_size_bufferFormat_lineNumber_errorString(
        row.data(), row.size(), format, line, error));
}

Found readLuma(const ExactBuffer& luma, ErrorText* error = nullptr) {
    return summaries(
        QLXVANCPacket::VANCPacketsWithSDILumaBuffer_size_lineNumber_errorString(luma.data(), luma.size(), 9, error));
}

Found readRows(const ExactBuffer& rows, std::uint64_t bytesPerRow, std::uint32_t format, ErrorText* error) {
    return summaries(QLXVANCPacket::VANCPacketsWithMultilineSDIBuffer_size_bytesPerRow_bufferFormat_errorString(
        rows.data(), rows.size(), bytesPerRow, format, error));
}

std::string overrun(int count, int remaining) {
    return "VANC Packet issue: Packed header defines Packet of size " + std::to_string(count) +
           " while remaining bytes in buffer is " + std::to_string(remaining);
}

std::vector<std::uint8_t> joined(std::initializer_list<std::vector<std::uint8_t>> parts) {
    std::vector<std::uint8_t> result;
    for (const auto& part : parts) {
        result.insert(result.end(), part.begin(), part.end());
    }
    return result;
}

/// `count` bytes at every second offset from `first` on.
std::string toHexOfEven(const std::vector<std::uint8_t>& row, std::size_t first, std::size_t count) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t index = 0; index < count; ++index) {
        bytes.push_back(row[first + 2 * index]);
    }
    return qlxtest::toHex(bytes);
}

}  // namespace

TEST(LumaReduction, TakesTheEvenBytesOf8BitRows) {
    const ExactBuffer row{0x10, 0x11, 0x20, 0x21, 0x30, 0x31};
    EXPECT_EQ(QLXCCUtilities::lumaBufferFrom8BitYUVBuffer_size(row.data(), 6), (qlx::Data{0x10, 0x20, 0x30}));
    EXPECT_EQ(QLXCCUtilities::lumaBufferFrom8BitYUVBuffer_size(row.data(), 5), (qlx::Data{0x10, 0x20}));
    EXPECT_EQ(QLXCCUtilities::lumaBufferFrom8BitYUVBuffer_size(row.data(), 1), qlx::Data::zeros(0));
    EXPECT_EQ(QLXCCUtilities::lumaBufferFrom8BitYUVBuffer_size(nullptr, 0), qlx::Data::zeros(0));
}

TEST(LumaReduction, TakesSixSamplesOfEveryWholeV210Group) {
    const std::vector<std::uint16_t> luma{0x001, 0x102, 0x203, 0x304, 0x005, 0x106, 0x207, 0x308};
    std::vector<std::uint8_t> row = v210Row(2, luma);
    EXPECT_EQ(qlxtest::toHex(QLXCCUtilities::YComponentBufferFrom10BitBuffer(row)), "010203040506070840404040");
    row.pop_back();
    EXPECT_EQ(qlxtest::toHex(QLXCCUtilities::YComponentBufferFrom10BitBuffer(row)), "010203040506");
    EXPECT_EQ(QLXCCUtilities::YComponentBufferFrom10BitBuffer(qlx::Data::zeros(15)), qlx::Data::zeros(0));
    EXPECT_EQ(QLXCCUtilities::YComponentBufferFrom10BitBuffer({}), qlx::Data::zeros(0));
}

TEST(RowReading, FindsAPacketAtTheStartOfAV210Row) {
    const ExactBuffer row(v210Row(4, packetSamples(0x61, 0x01, qlxtest::bytes({0xAA, 0x00, 0xFF}))));
    ErrorText error = kUntouched;
    EXPECT_EQ(readRow(row, kV210, &error), (Found{"9/97/1/2/aa00ff"}));
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(readRow(row, kV210), (Found{"9/97/1/2/aa00ff"}));
}

TEST(RowReading, IgnoresParityAndChecksum) {
    std::vector<std::uint16_t> samples = packetSamples(0x61, 0x01, qlxtest::bytes({0xAA}));
    for (std::size_t index = 3; index < samples.size(); ++index) {
        samples[index] &= 0x0FFU;
    }
    samples.back() = 0x155;
    EXPECT_EQ(readRow(ExactBuffer(v210Row(3, samples)), kV210), (Found{"9/97/1/2/aa"}));
}

TEST(RowReading, ProbesWordPositions0To5) {
    const auto samples = packetSamples(0x43, 0x02, qlxtest::bytes({0x01}));
    // Y0 and Y3 of each group are middle samples, in words 0 and 2, 4 and 6, ... of the row: positions 0, 2 and 4
    // count.
    for (const std::size_t at : {0U, 3U, 6U}) {
        EXPECT_EQ(readRow(ExactBuffer(v210Row(6, samples, at)), kV210), (Found{"9/67/2/3/01"})) << at;
    }
    for (const std::size_t at : {1U, 2U, 4U, 5U, 7U, 8U, 9U, 12U}) {
        ErrorText error = kUntouched;
        EXPECT_EQ(readRow(ExactBuffer(v210Row(6, samples, at)), kV210, &error), Found()) << at;
        EXPECT_EQ(error, kUntouched) << at;
    }
}

TEST(RowReading, ProbesOddWordPositionsOfForeignRows) {
    // A row cut one word into its group: the flag stands at word 1, 3 or 5, and what the groups then hold is parsed.
    for (const std::size_t word : {1U, 3U, 5U}) {
        std::vector<std::uint8_t> row(48, 0x11);
        row[word * 4 + 1] &= 0x03;  // bits 10-19 of the word: 0
        row[word * 4 + 2] &= 0xF0;
        row[word * 4 + 4] = 0xFF;  // bits 0-9 and 20-29 of the next: ones
        row[word * 4 + 5] |= 0x03;
        row[word * 4 + 6] |= 0xF0;
        row[word * 4 + 7] |= 0x3F;
        ErrorText error = kUntouched;
        EXPECT_EQ(readRow(ExactBuffer(row), kV210, &error), Found()) << word;
        EXPECT_EQ(error, std::nullopt) << "the row was taken for one with a packet, position " << word;
    }
}

TEST(RowReading, SeesTheFlagOnlyNearTheStart) {
    const auto samples = packetSamples(0x61, 0x01, qlxtest::bytes({0xAA}));
    auto later = samples;
    later.insert(later.end(), 30, 0x040);
    later.insert(later.end(), samples.begin(), samples.end());
    // A first packet near the start opens the whole row: the second is found too, at any place.
    EXPECT_EQ(readRow(ExactBuffer(v210Row(10, later)), kV210), (Found{"9/97/1/2/aa", "9/97/1/2/aa"}));
}

TEST(RowReading, NeverReadsBehindAShortV210Row) {
    const std::vector<std::uint8_t> row = v210Row(1, packetSamples(0x61, 0x01, {}));
    for (std::size_t size = 0; size < row.size(); ++size) {
        ErrorText error = kUntouched;
        EXPECT_EQ(readRow(ExactBuffer(std::span(row).first(size)), kV210, &error), Found()) << size;
        EXPECT_EQ(error, kUntouched) << "fewer than 16 bytes hold no luma group";
    }
    // Six luma bytes are fewer than the eight that a packet needs.
    ErrorText error = kUntouched;
    EXPECT_EQ(readRow(ExactBuffer(row), kV210, &error), Found());
    EXPECT_EQ(error, std::nullopt);
}

TEST(RowReading, SurvivesEveryTruncationOfARow) {
    const std::vector<std::uint8_t> row = v210Row(8, packetSamples(0x61, 0x01, std::vector<std::uint8_t>(20, 0x5A)));
    RecordingConsole console;
    const qlx::ScopedService<qlx::Console> scope(console);
    qlxtest::forEachTruncation(row, [](const ExactBuffer& part) {
        const std::size_t luma = part.size() / 16 * 6;
        ErrorText error;
        const Found found = readRow(part, kV210, &error);
        EXPECT_EQ(found.size(), luma >= 26 ? 1U : 0U) << part.size();
        EXPECT_EQ(error.has_value(), luma >= 8 && luma < 26) << part.size();
    });
}

TEST(RowReading, ReadsRowsWiderThanTheUsualOnes) {
    std::vector<std::uint16_t> samples = packetSamples(0x61, 0x01, qlxtest::bytes({1}));
    samples.resize(7000, 0x040);
    const auto second = packetSamples(0x41, 0x07, qlxtest::bytes({2}));
    samples.insert(samples.end(), second.begin(), second.end());
    EXPECT_EQ(readRow(ExactBuffer(v210Row(1200, samples)), kV210), (Found{"9/97/1/2/01", "9/65/7/4/02"}));
}

TEST(RowReading, ParsesTheEvenBytesOf8BitRows) {
    // 00 FF FF DID SDID DC data checksum + one byte, at the even offsets.
    std::vector<std::uint8_t> row;
    for (const std::uint8_t byte : qlxtest::fromHex("00ffff610202abcd0040")) {
        row.push_back(byte);
        row.push_back(0x10);
    }
    EXPECT_EQ(readRow(ExactBuffer(row), k2vuy), (Found{"9/97/2/1/abcd"}));
    // The same row moved by one byte is detected at offset 1, but its even bytes hold no packet.
    row.insert(row.begin(), 0x10);
    ErrorText error = kUntouched;
    EXPECT_EQ(readRow(ExactBuffer(row), k2vuy, &error), Found());
    EXPECT_EQ(error, std::nullopt);
}

TEST(RowReading, FindsWhatTheEvenBytesHoldWhereverTheFlagWasSeen) {
    const std::vector<std::uint8_t> packet = qlxtest::fromHex("00ffff610202abcd0040");
    for (const std::size_t flagAt : {1U, 2U, 3U, 4U, 5U}) {
        // The flag that opens the row stands at `flagAt`, the packet in the even bytes from 20 on.
        std::vector<std::uint8_t> row(60, 0x10);
        row[flagAt] = 0x00;
        row[flagAt + 2] = 0xFF;
        row[flagAt + 4] = 0xFF;
        for (std::size_t index = 0; index < packet.size(); ++index) {
            row[20 + 2 * index] = packet[index];
        }
        // In the even channel the opening flag is a packet of its own: 10 10 10, sixteen bytes, which hold the other.
        const Found expected =
            flagAt % 2 == 0 ? Found{"9/16/16/0/" + toHexOfEven(row, flagAt + 12, 16)} : Found{"9/97/2/1/abcd"};
        EXPECT_EQ(readRow(ExactBuffer(row), k2vuy), expected) << flagAt;
    }
}

TEST(RowReading, SurvivesEveryTruncationOfAn8BitRow) {
    RecordingConsole console;
    const qlx::ScopedService<qlx::Console> scope(console);
    std::vector<std::uint8_t> row;
    for (const std::uint8_t byte : qlxtest::fromHex("00ffff610206010203040506994040")) {
        row.push_back(byte);
        row.push_back(0x10);
    }
    // Twelve luma bytes hold the packet; eight are the fewest that are looked at.
    qlxtest::forEachTruncation(row, [](const ExactBuffer& part) {
        ErrorText error = kUntouched;
        const Found found = readRow(part, k2vuy, &error);
        EXPECT_EQ(found, part.size() >= 24 ? Found{"9/97/2/1/010203040506"} : Found()) << part.size();
        EXPECT_EQ(error == kUntouched, part.size() < 5) << part.size();
        EXPECT_EQ(error == overrun(6, static_cast<int>(part.size() / 2) - 6), part.size() >= 16 && part.size() < 24)
            << part.size();
    });
}

TEST(RowReading, TakesRowsAtAnyAddress) {
    std::vector<std::uint8_t> shifted{0xEE};
    const std::vector<std::uint8_t> row = v210Row(8, packetSamples(0x61, 0x01, std::vector<std::uint8_t>(20, 0x5A)));
    shifted.insert(shifted.end(), row.begin(), row.end());
    const ExactBuffer buffer(shifted);
    EXPECT_EQ(QLXVANCPacket::VANCPacketsWithSDIBuffer_size_bufferFormat_lineNumber_errorString(buffer.data() + 1,
                                                                                               row.size(), kV210, 9)
                  .size(),
              1U);
}

TEST(RowReading, ProbesByteOffsets0To5) {
    for (std::size_t at = 0; at < 9; ++at) {
        std::vector<std::uint8_t> row(40, 0x10);
        row[at] = 0x00;
        row[at + 2] = 0xFF;
        row[at + 4] = 0xFF;
        ErrorText error = kUntouched;
        EXPECT_EQ(readRow(ExactBuffer(row), k2vuy, &error), Found());
        EXPECT_EQ(error == kUntouched, at > 5) << at;
    }
}

TEST(RowReading, NeverReadsBehindAShort8BitRow) {
    const std::vector<std::uint8_t> row{0x00, 0x10, 0xFF, 0x10, 0xFF};
    qlxtest::forEachTruncation(row, [](const ExactBuffer& part) {
        ErrorText error = kUntouched;
        EXPECT_EQ(readRow(part, k2vuy, &error), Found());
        EXPECT_EQ(error, kUntouched) << part.size();
    });
    ErrorText error = kUntouched;
    EXPECT_EQ(readRow(ExactBuffer(row), k2vuy, &error), Found());
    EXPECT_EQ(error, std::nullopt) << "five bytes hold the flag";
}

TEST(RowReading, ProbesAn8BitRowWithoutFlagAsV210) {
    const ExactBuffer row(v210Row(4, packetSamples(0x61, 0x01, qlxtest::bytes({0x80, 0x81}))));
    EXPECT_EQ(readRow(row, k2vuy), (Found{"9/97/1/2/8081"}));
}

TEST(RowReading, RefusesOtherFormats) {
    const ExactBuffer row(v210Row(4, packetSamples(0x61, 0x01, qlxtest::bytes({0xAA}))));
    ErrorText error = kUntouched;
    EXPECT_EQ(readRow(row, qlx::fourCC("yuvs"), &error), Found());
    EXPECT_EQ(readRow(row, 0, &error), Found());
    EXPECT_EQ(error, kUntouched);
}

TEST(LumaParsing, NeedsEightBytes) {
    const std::vector<std::uint8_t> luma{0x00, 0xFF, 0xFF, 0x61, 0x01, 0x00, 0x62, 0x40};
    ErrorText error = kUntouched;
    EXPECT_EQ(readLuma(ExactBuffer(std::span(luma).first(7)), &error), Found());
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(readLuma(ExactBuffer(luma)), (Found{"9/97/1/2/"}));
    EXPECT_EQ(readLuma(ExactBuffer(std::vector<std::uint8_t>{})), Found());
}

TEST(LumaParsing, AcceptsDataThatEndWithTheBuffer) {
    const ExactBuffer luma{0x40, 0x00, 0xFF, 0xFF, 0x61, 0x02, 0x03, 0x11, 0x22, 0x33};
    EXPECT_EQ(readLuma(luma), (Found{"9/97/2/1/112233"}));
}

TEST(LumaParsing, DropsAPacketThatOverruns) {
    RecordingConsole console;
    const qlx::ScopedService<qlx::Console> scope(console);
    std::vector<std::uint8_t> luma(30, 0x40);
    const std::vector<std::uint8_t> header{0x00, 0xFF, 0xFF, 0x61, 0x01, 0x20};
    std::copy(header.begin(), header.end(), luma.begin());
    ErrorText error = kUntouched;
    EXPECT_EQ(readLuma(ExactBuffer(luma), &error), Found());
    EXPECT_EQ(error, overrun(32, 24));
    EXPECT_EQ(readLuma(ExactBuffer(luma)), Found());
    EXPECT_EQ(console.logged, (std::vector<std::string>{overrun(32, 24), overrun(32, 24)}));
    luma[5] = 0x18;  // 24 bytes, as many as there are
    EXPECT_EQ(readLuma(ExactBuffer(luma), &error).size(), 1U);
    EXPECT_EQ(error, std::nullopt);
}

TEST(LumaParsing, KeepsTwoPacketsAndReportsTheThird) {
    RecordingConsole console;
    const qlx::ScopedService<qlx::Console> scope(console);
    const ExactBuffer luma(joined({{0x00, 0xFF, 0xFF, 0x61, 0x01, 0x01, 0xAA, 0x99},
                                   {0x00, 0xFF, 0xFF, 0x61, 0x02, 0x02, 0xBB, 0xCC, 0x99},
                                   {0x00, 0xFF, 0xFF, 0x41, 0x07, 0x09, 0x01, 0x02}}));
    ErrorText error;
    EXPECT_EQ(readLuma(luma, &error), (Found{"9/97/1/2/aa", "9/97/2/1/bbcc"}));
    EXPECT_EQ(error, overrun(9, 2));
}

TEST(LumaParsing, TakesTheLargestCountToTheLastByte) {
    RecordingConsole console;
    const qlx::ScopedService<qlx::Console> scope(console);
    std::vector<std::uint8_t> luma{0x00, 0xFF, 0xFF, 0x61, 0x01, 0xFF};
    luma.resize(262, 0x40);
    EXPECT_EQ(readLuma(ExactBuffer(luma)).size(), 1U);
    luma.pop_back();  // 255 bytes are 261 - 6: still whole
    EXPECT_EQ(readLuma(ExactBuffer(luma)).size(), 1U);
    luma.pop_back();
    ErrorText error;
    EXPECT_EQ(readLuma(ExactBuffer(luma), &error), Found());
    EXPECT_EQ(error, overrun(255, 254));
}

TEST(LumaParsing, SkipsTheChecksumWithoutLookingAtIt) {
    // The byte behind the data may even look like a flag's first byte.
    const ExactBuffer luma{0x00, 0xFF, 0xFF, 0x61, 0x01, 0x00, 0x00, 0xFF, 0xFF, 0x61, 0x01, 0x00, 0x62, 0x40};
    EXPECT_EQ(readLuma(luma), (Found{"9/97/1/2/"}));
}

TEST(LumaParsing, LooksForPacketsOnlyBeforeTheLastSevenBytes) {
    // position + 7 < size: a packet without data in the very last seven bytes is not looked for.
    const ExactBuffer seven{0x40, 0x00, 0xFF, 0xFF, 0x61, 0x01, 0x00, 0x62};
    EXPECT_EQ(readLuma(seven), Found());
    const ExactBuffer eight{0x40, 0x00, 0xFF, 0xFF, 0x61, 0x01, 0x00, 0x62, 0x40};
    EXPECT_EQ(readLuma(eight), (Found{"9/97/1/2/"}));
}

TEST(LumaParsing, SurvivesEveryTruncation) {
    RecordingConsole console;
    const qlx::ScopedService<qlx::Console> scope(console);
    const std::vector<std::uint8_t> luma = joined({{0x40, 0x00, 0xFF, 0xFF, 0x61, 0x01, 0x04, 1, 2, 3, 4, 0x99},
                                                   {0x00, 0xFF, 0xFF, 0x61, 0x02, 0x02, 5, 6, 0x99}});
    qlxtest::forEachTruncation(luma, [](const ExactBuffer& part) {
        const Found found = readLuma(part);
        EXPECT_EQ(found.size(), (part.size() >= 11 ? 1U : 0U) + (part.size() >= 20 ? 1U : 0U)) << part.size();
    });
}

TEST(FrameReading, NumbersRowsFrom0) {
    const std::vector<std::uint8_t> row = v210Row(4, packetSamples(0x61, 0x01, qlxtest::bytes({0xAA})));
    ErrorText error = kUntouched;
    std::vector<std::uint8_t> frame = joined({row, row, row});
    EXPECT_EQ(readRows(ExactBuffer(frame), row.size(), kV210, &error),
              (Found{"0/97/1/2/aa", "1/97/1/2/aa", "2/97/1/2/aa"}));
    EXPECT_EQ(error, std::nullopt);
    frame.pop_back();  // the last row is not whole
    EXPECT_EQ(readRows(ExactBuffer(frame), row.size(), kV210, &error), (Found{"0/97/1/2/aa", "1/97/1/2/aa"}));
}

TEST(FrameReading, GivesNothingForRowsThatDoNotFit) {
    const std::vector<std::uint8_t> row = v210Row(4, packetSamples(0x61, 0x01, qlxtest::bytes({0xAA})));
    for (const std::uint64_t bytesPerRow : {std::uint64_t{0}, std::uint64_t{row.size()} + 1, UINT64_MAX}) {
        ErrorText error = kUntouched;
        EXPECT_EQ(readRows(ExactBuffer(row), bytesPerRow, kV210, &error), Found());
        EXPECT_EQ(error, std::nullopt);
    }
    ErrorText error = kUntouched;
    EXPECT_EQ(readRows(ExactBuffer(std::vector<std::uint8_t>{}), 0, kV210, &error), Found());
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(readRows(ExactBuffer(row), row.size(), kV210, nullptr), (Found{"0/97/1/2/aa"}));
}

TEST(FrameReading, RepeatsARowsErrorForRowsWithoutFlag) {
    RecordingConsole console;
    const qlx::ScopedService<qlx::Console> scope(console);
    const std::vector<std::uint8_t> bad =
        v210Row(4, std::vector<std::uint16_t>{0x000, 0x3FF, 0x3FF, 0x161, 0x101, 0x230});
    const std::vector<std::uint8_t> blank = v210Row(4, {});
    const std::vector<std::uint8_t> good = v210Row(4, packetSamples(0x61, 0x01, qlxtest::bytes({0xAA})));
    ErrorText error;
    // 24 luma bytes, DC 48: 18 remain.
    EXPECT_EQ(readRows(ExactBuffer(joined({blank, bad, blank, good, blank})), blank.size(), kV210, &error),
              (Found{"3/97/1/2/aa"}));
    EXPECT_EQ(error, overrun(48, 18) + "\n" + overrun(48, 18))
        << "the good row clears the error, the last blank one repeats none";
    EXPECT_EQ(console.logged.size(), 1U);
}

TEST(FrameReading, JoinsTheMessagesOfRows) {
    RecordingConsole console;
    const qlx::ScopedService<qlx::Console> scope(console);
    const auto bad = [](std::uint16_t count) {
        return v210Row(4, std::vector<std::uint16_t>{0x000, 0x3FF, 0x3FF, 0x161, 0x101, count});
    };
    ErrorText error;
    const std::vector<std::uint8_t> blank = v210Row(4, {});
    EXPECT_EQ(readRows(ExactBuffer(joined({bad(0x230), bad(0x120), blank})), blank.size(), kV210, &error), Found());
    EXPECT_EQ(error, overrun(48, 18) + "\n" + overrun(32, 18) + "\n" + overrun(32, 18));
}

TEST(FrameReading, ReadsFramesOf8BitRows) {
    std::vector<std::uint8_t> row;
    for (const std::uint8_t byte : qlxtest::fromHex("00ffff610202abcd0040")) {
        row.push_back(byte);
        row.push_back(0x10);
    }
    const std::vector<std::uint8_t> blank(row.size(), 0x10);
    ErrorText error;
    EXPECT_EQ(readRows(ExactBuffer(joined({blank, row, row})), row.size(), k2vuy, &error),
              (Found{"1/97/2/1/abcd", "2/97/2/1/abcd"}));
    EXPECT_EQ(error, std::nullopt);
}
