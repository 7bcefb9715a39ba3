// Caption samples made from a CEA-608 payload, and from ready triplets.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "CaptionSupport.h"
#include "RecordingConsole.h"
#include "RefusingMediaFactory.h"

#include <gtest/gtest.h>

using qlx::Data;
using qlx::MediaTime;
using qlx::SampleStage;
using namespace qlxtest;

namespace {

const qlx::SampleTimingInfo kTiming{k2997, MediaTime{7, 25, 1, 3}, MediaTime{6, 25, 1, 3}};

std::shared_ptr<qlx::SampleBuffer> fromPayload(const MediaTime& frameDuration, std::uint16_t counter,
                                               const Data& payload) {
    return QLXCCUtilities::createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_cea608Data(
        kTiming, frameDuration, counter, payload);
}

std::shared_ptr<qlx::SampleBuffer> fromTriplets(const MediaTime& frameDuration, std::uint16_t counter,
                                                const Data& triplets, const qlx::SampleTimingInfo& timing = kTiming) {
    return QLXCCUtilities::createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_a53Data(
        timing, frameDuration, counter, triplets);
}

/// A payload of bytes 0x21, 0x22, ...
std::vector<std::uint8_t> payloadOf(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    for (std::size_t index = 0; index < size; ++index) {
        bytes[index] = static_cast<std::uint8_t>(0x21 + index);
    }
    return bytes;
}

/// Triplets of a payload at `ccCount`, one rule after the other.
std::string tripletsOf(const std::vector<std::uint8_t>& payload, std::size_t ccCount) {
    std::vector<std::string> triplets(std::max<std::size_t>(2 * payload.size(), 512) + 2, "000000");
    const auto bytes = [&](std::size_t first, std::size_t count) {
        return toHex(std::span(payload).subspan(first, count));
    };
    const std::size_t size = payload.size();
    std::size_t pairs = size / 2;
    if (size == 2) {
        triplets[0] = "fc" + bytes(0, 2);
    } else if (size == 4) {
        triplets[0] = "fc" + bytes(0, 2);
        triplets[1] = "fc" + bytes(2, 2);
    } else if (size == 3) {
        triplets[0] = bytes(0, 3);
        pairs = 1;
    } else if (size % 3 != 0) {
        triplets[0] = "f88080";
    } else {
        pairs = std::min(size / 3, ccCount);
        for (std::size_t index = 0; index < pairs; ++index) {
            triplets[2 * index] = bytes(3 * index, 3);
            triplets[2 * index + 1] = "f98080";
        }
    }
    pairs %= 256;
    if (pairs < 2) {
        triplets[1] = "f98080";
    }
    for (std::size_t index = 2 * pairs; index < ccCount; ++index) {
        triplets[index] = "fa0000";
    }
    std::string result;
    for (std::size_t index = 0; index < ccCount; ++index) {
        result += triplets[index];
    }
    return result;
}

}  // namespace

TEST(PayloadSample, IsACaptionSampleWithTheGivenTiming) {
    const auto sample = fromPayload(k2997, 0x1234, {0x94, 0x2C});
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->formatDescription->mediaType, 0x636C6370U);
    EXPECT_EQ(sample->formatDescription->mediaSubType, 0x63373038U);
    EXPECT_TRUE(sample->formatDescription->extensions.empty());
    EXPECT_EQ(sample->timingInfo, kTiming);
    EXPECT_EQ(sample->sampleSize, 97U);
    EXPECT_TRUE(sample->attachments.empty());
    EXPECT_EQ(digitsOf(sample), digits("00000061 63636470 9669 59 4f 7f 1234 72 f4 fc942c f98080") +
                                    repeated("fa0000", 18) + kServiceDigits + digits("741234 b0"));
}

TEST(PayloadSample, WithoutPayloadHoldsOnlyPadding) {
    const std::string expected = digits("00000061 63636470 9669 59 4f 7f 0000 72 f4") + repeated("fa0000", 20) +
                                 kServiceDigits + digits("740000 fd");
    EXPECT_EQ(digitsOf(fromPayload(k2997, 0, {})), expected);
    EXPECT_EQ(digitsOf(fromPayload(k2997, 0, fromHex(""))), expected);
}

TEST(PayloadSample, OfTwoPairsLeavesTwoTripletsZero) {
    EXPECT_EQ(digitsOf(fromPayload(k25, 1, {0x94, 0x2C, 0x94, 0x20})),
              digits("0000006d 63636470 9669 65 3f 7f 0001 72 f8 fc942c fc9420 000000 000000") +
                  repeated("fa0000", 20) + kServiceDigits + digits("740001 8f"));
}

TEST(PayloadSample, OfAPairAtADoubleRate) {
    EXPECT_EQ(digitsOf(fromPayload(k5994, 0xFFFF, {0x94, 0x2C})),
              digits("00000043 63636470 9669 3b 7f 7f ffff 72 ea fc942c f98080") + repeated("fa0000", 8) +
                  kServiceDigits + digits("74ffff fc"));
}

TEST(PayloadSample, OfTripletsPutsAnEmptyOneBehindEach) {
    EXPECT_EQ(digitsOf(fromPayload(k24, 0x8000, fromHex("fe1122 fe3344"))),
              digits("00000070 63636470 9669 68 2f 7f 8000 72 f9 fe1122 f98080 fe3344 f98080") +
                  repeated("fa0000", 21) + kServiceDigits + digits("748000 77"));
}

TEST(PayloadSample, OfOneTripletKeepsIt) {
    const auto sample = fromPayload(k5994, 0, fromHex("fd1526"));
    EXPECT_EQ(digitsOf(sample).substr(16 + 18, 60), "fd1526f98080" + repeated("fa0000", 8));
}

TEST(PayloadSample, HoldsWhatItsPayloadsLengthSays) {
    std::vector<std::size_t> sizes;
    for (std::size_t size = 0; size <= 64; ++size) {
        sizes.push_back(size);
    }
    // Pair counts around 256 wrap round; 216 bytes are as many triplets as the largest count, and more are no more.
    sizes.insert(sizes.end(), {215, 216, 217, 219, 510, 511, 512, 513, 514, 515, 516, 765, 768, 771, 1024, 1025, 1026});
    for (const std::size_t size : sizes) {
        for (const std::size_t count : {0U, 1U, 2U, 3U, 4U, 5U, 10U, 12U, 20U, 24U, 25U, 40U, 71U, 72U}) {
            const std::vector<std::uint8_t> payload = payloadOf(size);
            const ExpectedPacket expected{3 * count + 29, 0, "abcd", count, tripletsOf(payload, count)};
            const auto sample = fromPayload(durationOfCount(static_cast<std::int64_t>(count)), 0xABCD, payload);
            EXPECT_EQ(digitsOf(sample), atomDigits(expected.digitsOfPacket())) << size << " bytes at " << count;
        }
    }
}

TEST(PayloadSample, HasAtMost72Triplets) {
    const ExpectedPacket expected{245, 0, "0001", 72, "fc942cf98080" + repeated("fa0000", 70)};
    for (std::int64_t count = 72; count < 256; ++count) {
        EXPECT_EQ(digitsOf(fromPayload(durationOfCount(count), 1, {0x94, 0x2C})), atomDigits(expected.digitsOfPacket()))
            << count;
    }
}

TEST(PayloadSample, OfNoRateHasNoTriplets) {
    const ExpectedPacket expected{29, 0, "0000", 0, ""};
    for (const MediaTime& duration : {MediaTime{}, MediaTime::make(-1, 25), MediaTime::make(1, 0)}) {
        EXPECT_EQ(digitsOf(fromPayload(duration, 0, {0x94, 0x2C})), atomDigits(expected.digitsOfPacket()));
    }
}

TEST(PayloadSample, IsNotMadeWhenAStepRefuses) {
    for (const SampleStage stage : {SampleStage::BlockBuffer, SampleStage::DataPointer, SampleStage::FormatDescription,
                                    SampleStage::SampleBuffer}) {
        for (const bool givesSampleAnyway : {false, true}) {
            RecordingConsole console;
            RefusingMediaFactory factory(stage, -12'731);
            factory.givesSampleAnyway = givesSampleAnyway;
            const qlx::ScopedService<qlx::Console> consoleScope(console);
            const qlx::ScopedService<qlx::MediaFactory> factoryScope(factory);
            EXPECT_FALSE(fromPayload(k2997, 0, {0x94, 0x2C}));
            EXPECT_FALSE(fromTriplets(k2997, 0, {0x94, 0x2C}));
            EXPECT_EQ(console.printed, "");
            EXPECT_TRUE(console.logged.empty());
        }
    }
}

TEST(TripletSample, HoldsTheTripletsUnchanged) {
    const auto sample = fromTriplets(k5994, 0x0042, fromHex("fc942c fd1526 ff0102 fe0304 fe0506 fe0708"));
    ASSERT_TRUE(sample);
    EXPECT_EQ(digitsOf(sample), digits("00000037 63636470 9669 22 7f 7f 0042 72 e6 fc942c fd1526 ff0102 fe0304 fe0506 "
                                       "fe0708") +
                                    kServiceDigits + digits("740042 05"));
    EXPECT_EQ(sample->formatDescription->mediaType, 0x636C6370U);
    EXPECT_EQ(sample->formatDescription->mediaSubType, 0x63373038U);
    EXPECT_EQ(sample->timingInfo, kTiming);
    EXPECT_EQ(sample->sampleSize, 55U);
}

TEST(TripletSample, OfABarePairCountsNoTriplet) {
    EXPECT_EQ(digitsOf(fromTriplets(k2997, 0x0042, {0x94, 0x2C})),
              digits("00000027 63636470 9669 12 4f 7f 0042 72 e0 942c") + kServiceDigits + digits("740042 9c"));
}

TEST(TripletSample, OfEveryLength) {
    for (std::size_t size = 0; size <= 600; ++size) {
        const std::vector<std::uint8_t> triplets = payloadOf(size);
        std::string expected;
        if (size < 18 && size % 3 == 0) {
            expected = ExpectedPacket{89, 4, "0304", 20, tripletsOf(triplets, 20)}.digitsOfPacket();
        } else {
            const std::size_t kept = size % 256;
            expected =
                ExpectedPacket{kept + 16, 4, "0304", kept / 3, toHex(std::span(triplets).first(kept))}.digitsOfPacket();
        }
        EXPECT_EQ(digitsOf(fromTriplets(k2997, 0x0304, triplets)), atomDigits(expected)) << size;
    }
}

TEST(TripletSample, OfNoneIsPadding) {
    EXPECT_EQ(digitsOf(fromTriplets(k25, 9, {})), digitsOf(fromPayload(k25, 9, {})));
}

TEST(TripletSample, NeedsADuration) {
    qlx::SampleTimingInfo timing = kTiming;
    timing.duration.value = 0;
    EXPECT_FALSE(fromTriplets(k25, 0, {0x94, 0x2C}, timing));
    EXPECT_FALSE(fromTriplets(k25, 0, fromHex("fc942c"), timing));
    timing.duration = MediaTime{-1, 0, 0, 0};
    EXPECT_TRUE(fromTriplets(k25, 0, {0x94, 0x2C}, timing));
}

TEST(TripletSample, OfNoRateIsMadeOnlyFromAShortList) {
    EXPECT_FALSE(fromTriplets(MediaTime{}, 0, {0x94, 0x2C}));
    EXPECT_FALSE(fromTriplets(MediaTime{}, 0, std::vector<std::uint8_t>(18)));
    EXPECT_EQ(digitsOf(fromTriplets(MediaTime{}, 0, std::vector<std::uint8_t>(15))),
              atomDigits(ExpectedPacket{29, 0, "0000", 0, ""}.digitsOfPacket()));
}
