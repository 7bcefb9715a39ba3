// Caption samples split into two of the double rate, and joined from two.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "CaptionSupport.h"
#include "RecordingConsole.h"
#include "RefusingMediaFactory.h"

#include <gtest/gtest.h>

#include <optional>

using qlx::Data;
using qlx::fourCC;
using qlx::MediaTime;
using qlx::SampleStage;
using qlx::SampleTimingInfo;
using namespace qlxtest;
using Sample = std::shared_ptr<qlx::SampleBuffer>;

namespace {

constexpr std::uint32_t kC608 = 0x63363038;
constexpr std::uint32_t kC708 = 0x63373038;

const MediaTime kDecode{5, 30'000, 1, 3};

class CaptionSampleFrameRates : public testing::Test {
protected:
    void SetUp() override { gSequenceCounter = 0x1234; }
    void TearDown() override { gSequenceCounter = 0; }
};

/// A marker that shows whether an out-argument was written.
const Sample kUntouched = std::make_shared<qlx::SampleBuffer>();

struct Split {
    bool result = false;
    Sample first = kUntouched;
    Sample second = kUntouched;
};

Split split(const Sample& sample, const MediaTime& frameDuration) {
    Split halves;
    halves.result = QLXCCUtilities::splitSampleBuffer_toSampleBuffer_andSampleBuffer_frameDuration(
        sample, &halves.first, &halves.second, frameDuration);
    return halves;
}

Sample join(const Sample& first, const Sample& second, const MediaTime& frameDuration) {
    return QLXCCUtilities::createConcatenatedSampleBufferWithSampleBuffer_andSampleBuffer_frameDuration(first, second,
                                                                                                        frameDuration);
}

SampleTimingInfo timingAt(const MediaTime& pts) {
    return {k2997, pts, kDecode};
}

/// A sample with a packet of `triplets`, whose length byte, rate and counter do not matter.
Sample packetSample(const std::string& triplets,
                    const SampleTimingInfo& timing = timingAt(MediaTime::make(2002, 30'000))) {
    const std::size_t count = fromHex(triplets).size() / 3;
    const ExpectedPacket packet{0, 4, "7777", count, triplets};
    return sampleOf(fourCC("clcp"), kC708, fromHex(atomDigits(packet.digitsOfPacket())), timing);
}

Sample pairSample(std::string_view pairs, const SampleTimingInfo& timing = timingAt(MediaTime::make(2002, 30'000))) {
    return sampleOf(fourCC("clcp"), kC608, fromHex(pairs), timing);
}

/// Digits of the sample that ready triplets become: its length byte is 13 short.
std::string tripletSampleDigits(unsigned rateCode, const std::string& counter, const std::string& triplets) {
    const std::size_t size = triplets.size() / 2;
    return atomDigits(ExpectedPacket{size + 16, rateCode, counter, size / 3, triplets}.digitsOfPacket());
}

void expectCEA708(const Sample& sample, const SampleTimingInfo& timing) {
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->formatDescription->mediaType, 0x636C6370U);
    EXPECT_EQ(sample->formatDescription->mediaSubType, kC708);
    EXPECT_EQ(sample->timingInfo, timing);
    EXPECT_EQ(sample->sampleSize, sample->dataBuffer->size());
}

std::shared_ptr<QLXVANCPacket> captionPacket(const std::string& triplets, std::uint64_t line) {
    const ExpectedPacket packet{0, 4, "7777", fromHex(triplets).size() / 3, triplets};
    return QLXVANCPacket::CEA708VANCPacketWithData_lineNumber(fromHex(packet.digitsOfPacket()), line);
}

/// Digits of a packet without service section, whose length byte is 11 above the true length.
std::string barePacketDigits(unsigned rateCode, const std::string& triplets) {
    const std::size_t size = triplets.size() / 2;
    return ExpectedPacket{size + 24, rateCode, "0000", size / 3, triplets, false}.digitsOfPacket();
}

}  // namespace

TEST_F(CaptionSampleFrameRates, APacketIsSplitIntoTwo) {
    const auto [result, first, second] = split(packetSample("fc942cfd1526" + numbered(0, 18)), k5994);
    EXPECT_TRUE(result);
    EXPECT_EQ(digitsOf(first), tripletSampleDigits(7, "1234", "fc942c" + numbered(0, 9)));
    EXPECT_EQ(digitsOf(second), tripletSampleDigits(7, "1235", "fd1526" + numbered(9, 18)));
    expectCEA708(first, {k5994, MediaTime::make(4004, 60'000), kDecode});
    expectCEA708(second, {k5994, MediaTime::make(5005, 60'000), kDecode});
    EXPECT_EQ(gSequenceCounter, 0x1236U);
}

TEST_F(CaptionSampleFrameRates, APacketOf25FramesIsSplitAt50) {
    const auto [result, first, second] =
        split(packetSample("fc942cf98080" + numbered(0, 22), timingAt(MediaTime::make(7, 25))), k50);
    EXPECT_TRUE(result);
    EXPECT_EQ(digitsOf(first), tripletSampleDigits(6, "1234", "fc942c" + numbered(0, 11)));
    EXPECT_EQ(digitsOf(second), tripletSampleDigits(6, "1235", numbered(11, 22) + padding(1)));
    expectCEA708(first, {k50, MediaTime::make(14, 50), kDecode});
    expectCEA708(second, {k50, MediaTime::make(15, 50), kDecode});
}

TEST_F(CaptionSampleFrameRates, TheCounterWraps) {
    gSequenceCounter = 0xFFFF;
    const auto [result, first, second] = split(packetSample("fc942cf98080" + padding(18)), k5994);
    EXPECT_TRUE(result);
    EXPECT_EQ(digitsOf(first), tripletSampleDigits(7, "ffff", "fc942c" + padding(9)));
    EXPECT_EQ(digitsOf(second), tripletSampleDigits(7, "0000", padding(10)));
    EXPECT_EQ(gSequenceCounter, 0x10001U);
    gSequenceCounter = 0xFFFFFFFF;
    EXPECT_TRUE(join(pairSample("942c"), pairSample("9420"), k2997));
    EXPECT_EQ(gSequenceCounter, 0U);
}

TEST_F(CaptionSampleFrameRates, AHalfOfFewTripletsIsWrittenAsAPayload) {
    // At 120 frames per second five triplets are fewer than 18 bytes: each gets an empty field-2 triplet behind it,
    // and those that do not fit are dropped.
    const auto [result, first, second] = split(packetSample("fc942cfd1526" + numbered(0, 8)), MediaTime::make(1, 120));
    EXPECT_TRUE(result);
    const ExpectedPacket firstPacket{44, 0, "1234", 5, "fc942c f98080 fe0000 f98080 fe0101"};
    const ExpectedPacket secondPacket{44, 0, "1235", 5, "fd1526 f98080 fe0404 f98080 fe0505"};
    EXPECT_EQ(digitsOf(first), atomDigits(firstPacket.digitsOfPacket()));
    EXPECT_EQ(digitsOf(second), atomDigits(secondPacket.digitsOfPacket()));
}

TEST_F(CaptionSampleFrameRates, APacketIsNotSplitWithoutADuration) {
    const auto [result, first, second] = split(packetSample("fc942cfd1526" + numbered(0, 18)), MediaTime{});
    EXPECT_TRUE(result);
    EXPECT_FALSE(first);
    EXPECT_FALSE(second);
    EXPECT_EQ(gSequenceCounter, 0x1234U) << "nothing was made";
}

TEST_F(CaptionSampleFrameRates, OnePairStaysOneSample) {
    const auto [result, first, second] = split(pairSample("942c"), k5994);
    EXPECT_TRUE(result);
    const ExpectedPacket expected{59, 7, "1234", 10, "fc942cf98080" + padding(8)};
    EXPECT_EQ(digitsOf(first), atomDigits(expected.digitsOfPacket()));
    expectCEA708(first, {k5994, MediaTime::make(4004, 60'000), kDecode});
    EXPECT_EQ(second, kUntouched);
    EXPECT_EQ(gSequenceCounter, 0x1235U);
}

TEST_F(CaptionSampleFrameRates, TwoPairsBecomeAPayloadAndABarePair) {
    const auto [result, first, second] = split(pairSample("942c9420"), k5994);
    EXPECT_TRUE(result);
    const ExpectedPacket firstPacket{59, 7, "1234", 10, "fc942cf98080" + padding(8)};
    const ExpectedPacket secondPacket{18, 7, "1234", 0, "9420"};
    EXPECT_EQ(digitsOf(first), atomDigits(firstPacket.digitsOfPacket()));
    EXPECT_EQ(digitsOf(second), atomDigits(secondPacket.digitsOfPacket()));
    expectCEA708(first, {k5994, MediaTime::make(4004, 60'000), kDecode});
    expectCEA708(second, {k5994, MediaTime::make(5005, 60'000), kDecode});
    EXPECT_EQ(gSequenceCounter, 0x1235U) << "one value for both";
}

TEST_F(CaptionSampleFrameRates, PairsThatBeginWithZeroArePairs) {
    const auto [result, first, second] = split(pairSample("00000000"), k5994);
    EXPECT_TRUE(result);
    EXPECT_EQ(digitsOf(first).substr(34, 12), "fc0000f98080");
    EXPECT_EQ(digitsOf(second), atomDigits(ExpectedPacket{18, 7, "1234", 0, "0000"}.digitsOfPacket()));
}

TEST_F(CaptionSampleFrameRates, OtherPayloadsTouchNothing) {
    for (const char* const data :
         {"", "94", "942c94", "942c9420 94", "9669 000000000000 00", "9769 0000000000000000"}) {
        const auto [result, first, second] = split(pairSample(data), k5994);
        EXPECT_TRUE(result) << data;
        EXPECT_EQ(first, kUntouched) << data;
        EXPECT_EQ(second, kUntouched) << data;
    }
    EXPECT_EQ(gSequenceCounter, 0x1234U);
}

TEST_F(CaptionSampleFrameRates, AnythingThatBeginsWithZeroAndHoldsNoPacketIsGivenBack) {
    for (const char* const data : {"00", "000000", "0000000000", "0000000a 63646174 942c"}) {
        const Sample sample = pairSample(data);
        const auto [result, first, second] = split(sample, k5994);
        EXPECT_TRUE(result) << data;
        EXPECT_EQ(first, sample) << data;
        EXPECT_FALSE(second) << data;
    }
    const Sample sample = QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo(
        {QLXVANCPacket::OP47VANCPacketWithData_lineNumber({0x51, 0x15}, 12)}, timingAt(MediaTime::make(1, 25)));
    const auto [result, first, second] = split(sample, k50);
    EXPECT_TRUE(result);
    EXPECT_EQ(first, sample);
    EXPECT_FALSE(second);
    EXPECT_EQ(gSequenceCounter, 0x1234U);
}

TEST_F(CaptionSampleFrameRates, SamplesWithoutPayloadAreRefused) {
    const Sample good = pairSample("942c");
    Sample out = kUntouched;
    const auto splitTo = [](const Sample& sample, Sample* first, Sample* second) {
        return QLXCCUtilities::splitSampleBuffer_toSampleBuffer_andSampleBuffer_frameDuration(sample, first, second,
                                                                                              k5994);
    };
    EXPECT_FALSE(splitTo(nullptr, &out, &out));
    EXPECT_FALSE(splitTo(good, nullptr, &out));
    EXPECT_FALSE(splitTo(good, &out, nullptr));
    const Sample withoutData = pairSample("942c");
    withoutData->dataBuffer = nullptr;
    const Sample withoutFormat = pairSample("942c");
    withoutFormat->formatDescription = nullptr;
    for (const Sample& sample : {withoutData, withoutFormat, sampleOf(fourCC("sbtl"), fourCC("op47"), bytes({1, 2})),
                                 sampleOf(fourCC("clcp"), kC708, bytes({0, 0, 0, 7, 'c', 'c', 'd'}))}) {
        EXPECT_FALSE(splitTo(sample, &out, &out));
        EXPECT_FALSE(join(sample, good, k2997));
        EXPECT_FALSE(join(good, sample, k2997));
        EXPECT_FALSE(join(packetSample("fc942c"), sample, k2997));
    }
    EXPECT_FALSE(join(nullptr, good, k2997));
    EXPECT_FALSE(join(good, nullptr, k2997));
    EXPECT_EQ(out, kUntouched);
    EXPECT_EQ(gSequenceCounter, 0x1234U);
}

TEST_F(CaptionSampleFrameRates, AnElementIsSplit) {
    const auto op47 = QLXVANCPacket::OP47VANCPacketWithData_lineNumber({0x51, 0x15}, 12);
    const Sample sample = QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo(
        {op47, captionPacket("fc942cfd1526" + numbered(0, 18), 9),
         captionPacket("fc9420fd1527" + numbered(40, 58), 11)},
        timingAt(MediaTime::make(2002, 30'000)));
    const auto [result, first, second] = split(sample, k5994);
    EXPECT_TRUE(result);
    ASSERT_TRUE(first && second);

    const auto packets = QLXVANCPacket::VANCPacketsWithCMSampleBuffer(first);
    ASSERT_EQ(packets.size(), 3U);
    EXPECT_EQ(packets[0]->packetType(), QLXVANCPacketTypeOP47);
    EXPECT_EQ(packets[0]->lineNumber(), 12U);
    EXPECT_EQ(toHex(packets[0]->packetData()), "5115");
    EXPECT_EQ(packets[1]->lineNumber(), 9U);
    EXPECT_EQ(toHex(packets[1]->packetData()), barePacketDigits(7, "fc942c" + numbered(0, 9)));
    EXPECT_EQ(packets[2]->lineNumber(), 11U);
    EXPECT_EQ(toHex(packets[2]->packetData()), barePacketDigits(7, "fc9420" + numbered(40, 49)));
    EXPECT_EQ(first->formatDescription->mediaType, fourCC("meta"));
    EXPECT_EQ(first->formatDescription->mediaSubType, fourCC("VANC"));
    EXPECT_EQ(first->attachments, (qlx::Dictionary{{"VANCPacketTypes", qlx::Array{3U, 2U, 2U}}}));
    EXPECT_EQ(first->timingInfo, (SampleTimingInfo{k5994, MediaTime::make(4004, 60'000), kDecode}));

    // The second frame has the rest of the first caption packet, and nothing else.
    const auto others = QLXVANCPacket::VANCPacketsWithCMSampleBuffer(second);
    ASSERT_EQ(others.size(), 1U);
    EXPECT_EQ(others[0]->packetType(), QLXVANCPacketTypeCEA708);
    EXPECT_EQ(others[0]->packetDID(), 0x61U);
    EXPECT_EQ(others[0]->packetSDID(), 0x01U);
    EXPECT_EQ(others[0]->lineNumber(), 9U);
    EXPECT_EQ(toHex(others[0]->packetData()), barePacketDigits(7, "fd1526" + numbered(9, 18)));
    EXPECT_EQ(second->attachments, (qlx::Dictionary{{"VANCPacketTypes", qlx::Array{2U}}}));
    EXPECT_EQ(second->timingInfo, (SampleTimingInfo{k5994, MediaTime::make(5005, 60'000), kDecode}));
    EXPECT_EQ(gSequenceCounter, 0x1236U);
}

TEST_F(CaptionSampleFrameRates, AHalfThatIsNotFullOrOverfullLeavesAPacketWithoutData) {
    // Two field-1 pairs and nine triplets are eleven: no packet of ten.
    const Sample sample = QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo(
        {captionPacket("fc942cfc9420fd1526" + numbered(0, 17), 9)}, timingAt(MediaTime::make(2002, 30'000)));
    const auto [result, first, second] = split(sample, k5994);
    EXPECT_TRUE(result);
    EXPECT_EQ(digitsOf(first), digits("0001 0009 01 04 0003 00000004 00000001 610100 00"));
    const auto others = QLXVANCPacket::VANCPacketsWithCMSampleBuffer(second);
    ASSERT_EQ(others.size(), 1U);
    EXPECT_EQ(toHex(others[0]->packetData()), barePacketDigits(7, "fd1526" + numbered(9, 17) + padding(1)));
}

TEST_F(CaptionSampleFrameRates, AnElementWithoutARateHasEmptyPackets) {
    const Sample sample = QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo(
        {captionPacket("f88080f98080", 9)}, timingAt(MediaTime::make(1, 25)));
    const auto [result, first, second] = split(sample, MediaTime{});
    EXPECT_TRUE(result);
    for (const Sample& half : {first, second}) {
        const auto packets = QLXVANCPacket::VANCPacketsWithCMSampleBuffer(half);
        ASSERT_EQ(packets.size(), 1U);
        EXPECT_EQ(toHex(packets[0]->packetData()), barePacketDigits(0, ""));
        EXPECT_EQ(half->timingInfo, (SampleTimingInfo{MediaTime{}, MediaTime{}, kDecode}));
    }
}

TEST_F(CaptionSampleFrameRates, TwoPacketsAreJoined) {
    const Sample first = packetSample("fc942c" + numbered(0, 9), timingAt(MediaTime::make(4004, 60'000)));
    const Sample second = packetSample("fd1526" + numbered(9, 18), timingAt(MediaTime::make(5005, 60'000)));
    const Sample joined = join(first, second, k2997);
    EXPECT_EQ(digitsOf(joined), tripletSampleDigits(4, "1234", "fc942cfd1526" + numbered(0, 18)));
    expectCEA708(joined, {k2997, MediaTime::make(2002, 30'000), kDecode});
    EXPECT_EQ(gSequenceCounter, 0x1235U);
}

TEST_F(CaptionSampleFrameRates, JoinedFieldsStandInFront) {
    const Sample first = packetSample("fc942cf98080ff8080" + numbered(0, 3) + padding(4));
    const Sample second = packetSample("fc9420f98080" + numbered(3, 5) + padding(6));
    EXPECT_EQ(digitsOf(join(first, second, k2997)),
              tripletSampleDigits(4, "1234", "fc942cfc9420fd8080ff0000" + numbered(0, 5) + padding(11)));
}

TEST_F(CaptionSampleFrameRates, TwoPairsAreJoined) {
    const Sample joined = join(pairSample("942c"), pairSample("9420"), k2997);
    const ExpectedPacket expected{89, 4, "1234", 20, "fc942cfc9420000000000000" + padding(16)};
    EXPECT_EQ(digitsOf(joined), atomDigits(expected.digitsOfPacket()));
    expectCEA708(joined, {k2997, MediaTime::make(2002, 30'000), kDecode});
    EXPECT_EQ(gSequenceCounter, 0x1235U);
}

TEST_F(CaptionSampleFrameRates, OtherSamplesAreNotJoined) {
    const Sample pair = pairSample("942c");
    const Sample packet = packetSample("fc942c" + numbered(0, 9));
    const Sample element = QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo(
        {captionPacket("fc942c" + numbered(0, 9), 9)}, timingAt(MediaTime::make(1, 25)));
    for (const char* const data : {"", "94", "942c94", "942c9420", "9669 000000000000 00"}) {
        EXPECT_FALSE(join(pairSample(data), pair, k2997)) << data;
        EXPECT_FALSE(join(pair, pairSample(data), k2997)) << data;
        EXPECT_FALSE(join(packet, pairSample(data), k2997)) << data;
    }
    EXPECT_FALSE(join(pair, packet, k2997));
    EXPECT_FALSE(join(packet, pair, k2997));
    EXPECT_FALSE(join(element, element, k2997));
    EXPECT_FALSE(join(element, packet, k2997));
    EXPECT_FALSE(join(packet, element, k2997));
    EXPECT_EQ(gSequenceCounter, 0x1234U);
}

TEST_F(CaptionSampleFrameRates, TimesAreConverted) {
    const struct {
        MediaTime pts;
        MediaTime frameDuration;
        MediaTime first;
        MediaTime second;
    } cases[] = {
        // Double rates, and back.
        {MediaTime::make(7, 25), k50, MediaTime::make(14, 50), MediaTime::make(15, 50)},
        {MediaTime::make(14, 50), k25, MediaTime::make(7, 25), MediaTime::make(8, 25)},
        {MediaTime::make(3003, 30'000), k5994, MediaTime::make(6006, 60'000), MediaTime::make(7007, 60'000)},
        {MediaTime::make(6006, 60'000), k2997, MediaTime::make(3003, 30'000), MediaTime::make(4004, 30'000)},
        {MediaTime::make(2002, 24'000), MediaTime::make(1001, 48'000), MediaTime::make(4004, 48'000),
         MediaTime::make(5005, 48'000)},
        {MediaTime::make(9, 30), MediaTime::make(1, 60), MediaTime::make(18, 60), MediaTime::make(19, 60)},
        // An odd frame of 59.94 falls between two of the coarser ticks: toward zero.
        {MediaTime::make(3003, 60'000), k2997, MediaTime{1501, 30'000, 3, 0}, MediaTime{2502, 30'000, 3, 0}},
        {MediaTime::make(15, 50), k25, MediaTime{7, 25, 3, 0}, MediaTime{8, 25, 3, 0}},
        {MediaTime::make(-3003, 60'000), k2997, MediaTime{-1501, 30'000, 3, 0}, MediaTime{-500, 30'000, 3, 0}},
        // A negative time never becomes 0.
        {MediaTime::make(-1, 50), k25, MediaTime{-1, 25, 3, 0}, MediaTime{0, 25, 3, 0}},
        {MediaTime::make(1, 50), k25, MediaTime{0, 25, 3, 0}, MediaTime{1, 25, 3, 0}},
        // Finer ticks that do not meet: away from zero.
        {MediaTime::make(1, 24), k25, MediaTime{2, 25, 3, 0}, MediaTime{3, 25, 3, 0}},
        {MediaTime::make(-1, 24), k25, MediaTime{-2, 25, 3, 0}, MediaTime{-1, 25, 3, 0}},
        {MediaTime::make(1001, 24'000), k2997, MediaTime{1252, 30'000, 3, 0}, MediaTime{2253, 30'000, 3, 0}},
        // Flags and epoch go along; a duration of another epoch cannot be added.
        {MediaTime{7, 25, 3, 4}, k50, MediaTime{14, 50, 3, 4}, MediaTime{15, 50, 3, 4}},
        {MediaTime{7, 25, 1, 4}, MediaTime{1, 50, 1, 4}, MediaTime{14, 50, 1, 4}, MediaTime{15, 50, 1, 4}},
        {MediaTime{7, 25, 1, 4}, MediaTime{1, 50, 1, 5}, MediaTime{14, 50, 1, 4}, MediaTime{}},
        {MediaTime::make(7, 25), MediaTime{1, 50, 0, 0}, MediaTime::make(14, 50), MediaTime{}},
        {MediaTime{}, k50, MediaTime{}, MediaTime{}},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(testing::Message() << one.pts.value << '/' << one.pts.timescale << " at "
                                        << one.frameDuration.value << '/' << one.frameDuration.timescale);
        const Sample sample = packetSample("fc942c" + numbered(0, 11), timingAt(one.pts));
        const Split halves = split(sample, one.frameDuration);
        ASSERT_TRUE(halves.result && halves.first && halves.second);
        EXPECT_EQ(halves.first->timingInfo, (SampleTimingInfo{one.frameDuration, one.first, kDecode}));
        EXPECT_EQ(halves.second->timingInfo, (SampleTimingInfo{one.frameDuration, one.second, kDecode}));
        const Sample joined = join(sample, packetSample("fc942c", timingAt(MediaTime::make(99, 1))), one.frameDuration);
        ASSERT_TRUE(joined);
        EXPECT_EQ(joined->timingInfo, (SampleTimingInfo{one.frameDuration, one.first, kDecode}));
    }
}

TEST_F(CaptionSampleFrameRates, ASampleWithoutTimingHasInvalidTimes) {
    // A platform may have written something before it refused.
    class Factory : public qlx::MediaFactory {
        qlx::MediaStatus sampleTimingInfo(const qlx::SampleBuffer&, std::size_t, SampleTimingInfo* timing) override {
            *timing = timingAt(MediaTime::make(7, 25));
            return -1;
        }
    } factory;
    const SampleTimingInfo expected{k5994, MediaTime{}, MediaTime{}};
    const Sample sample = packetSample("fc942c" + numbered(0, 18));
    for (const bool hasTiming : {true, false}) {
        std::optional<qlx::ScopedService<qlx::MediaFactory>> scope;
        if (hasTiming) {
            scope.emplace(factory);
        } else {
            sample->timingInfo.reset();
        }
        const auto [result, first, second] = split(sample, k5994);
        EXPECT_TRUE(result);
        expectCEA708(first, expected);
        expectCEA708(second, expected);
        expectCEA708(join(sample, packetSample("fc942c"), k5994), expected);
    }
}

TEST_F(CaptionSampleFrameRates, NothingIsSaidWhenAStepRefuses) {
    const Sample packet = packetSample("fc942cfd1526" + numbered(0, 18));
    const Sample pairs = pairSample("942c9420");
    const Sample pair = pairSample("942c");
    for (const SampleStage stage :
         {SampleStage::BlockBuffer, SampleStage::FormatDescription, SampleStage::SampleBuffer}) {
        RecordingConsole console;
        RefusingMediaFactory factory(stage, -12'731);
        const qlx::ScopedService<qlx::Console> consoleScope(console);
        const qlx::ScopedService<qlx::MediaFactory> factoryScope(factory);
        for (const Sample& sample : {packet, pairs}) {
            const auto [result, first, second] = split(sample, k5994);
            EXPECT_TRUE(result);
            EXPECT_FALSE(first);
            EXPECT_FALSE(second);
        }
        EXPECT_FALSE(join(packet, packet, k2997));
        EXPECT_FALSE(join(pair, pair, k2997));
        EXPECT_EQ(console.printed, "");
        EXPECT_TRUE(console.logged.empty());
    }
    RefusingMediaFactory factory(SampleStage::DataPointer, -1);
    const qlx::ScopedService<qlx::MediaFactory> factoryScope(factory);
    EXPECT_FALSE(split(packet, k5994).result) << "no payload";
    EXPECT_FALSE(join(packet, packet, k2997));
}

TEST_F(CaptionSampleFrameRates, TheInputMayBeReplacedInPlace) {
    Sample first = packetSample("fc942cfd1526" + numbered(0, 18));
    Sample second;
    EXPECT_TRUE(
        QLXCCUtilities::splitSampleBuffer_toSampleBuffer_andSampleBuffer_frameDuration(first, &first, &second, k5994));
    EXPECT_EQ(digitsOf(first), tripletSampleDigits(7, "1234", "fc942c" + numbered(0, 9)));
    EXPECT_EQ(digitsOf(second), tripletSampleDigits(7, "1235", "fd1526" + numbered(9, 18)));
    first = pairSample("000000");
    const Sample input = first;
    EXPECT_TRUE(
        QLXCCUtilities::splitSampleBuffer_toSampleBuffer_andSampleBuffer_frameDuration(first, &first, &second, k5994));
    EXPECT_EQ(first, input);
    EXPECT_FALSE(second);
}

TEST_F(CaptionSampleFrameRates, WhatIsSplitCanBeJoinedAgain) {
    const struct {
        MediaTime slow;
        MediaTime fast;
        unsigned slowCode;
        std::size_t ccCount;
    } rates[] = {{k2997, k5994, 4, 20},
                 {k25, k50, 3, 24},
                 {MediaTime::make(1, 30), MediaTime::make(1, 60), 5, 20},
                 {k24, MediaTime::make(1, 48), 2, 25}};
    for (const auto& rate : rates) {
        // At 48 frames per second the count is 12: one triplet fewer fits two frames than one of 24.
        const std::size_t dtvcc = rate.ccCount / 2 * 2 - 2;
        const std::string triplets = "fc942cfd1526" + numbered(0, dtvcc) + padding(rate.ccCount - 2 - dtvcc);
        const SampleTimingInfo timing{rate.slow, MediaTime::make(7 * rate.slow.value, rate.slow.timescale), kDecode};
        gSequenceCounter = 0;
        const auto [result, first, second] = split(packetSample(triplets, timing), rate.fast);
        ASSERT_TRUE(result && first && second);
        const Sample joined = join(first, second, rate.slow);
        EXPECT_EQ(digitsOf(joined), tripletSampleDigits(rate.slowCode, "0002", triplets));
        expectCEA708(joined, timing);
        // Splitting the joined one gives the same halves, but for the counter.
        gSequenceCounter = 0;
        const Split again = split(joined, rate.fast);
        EXPECT_EQ(digitsOf(again.first), digitsOf(first));
        EXPECT_EQ(digitsOf(again.second), digitsOf(second));
    }
}

TEST_F(CaptionSampleFrameRates, EveryTruncationIsHandled) {
    const std::vector<std::uint8_t> packet =
        fromHex(ExpectedPacket{89, 4, "7777", 20, "fc942cfd1526" + numbered(0, 18)}.digitsOfPacket());
    forEachTruncation(packet, [](const ExactBuffer& part) {
        const Sample sample = sampleOf(fourCC("clcp"), kC608, part.span());
        gSequenceCounter = 0;
        const auto [result, first, second] = split(sample, k5994);
        EXPECT_TRUE(result);
        EXPECT_EQ(gSequenceCounter, part.size() >= 10 ? 2U : part.size() == 2 || part.size() == 4 ? 1U : 0U);
        EXPECT_EQ(first == kUntouched, gSequenceCounter == 0) << part.size();
        // Triplets are seen from 19 bytes on, one for every three more; the first is field 1's.
        const std::size_t seen = part.size() <= 18 ? 0 : (part.size() - 18 + 2) / 3;
        if (part.size() >= 10) {
            EXPECT_EQ(digitsOf(first).substr(34, 6), seen >= 1 ? "fc942c" : "fa0000") << part.size();
            EXPECT_EQ(digitsOf(second).substr(34, 6), seen >= 2 ? "fd1526" : "fa0000") << part.size();
        }
    });
}
