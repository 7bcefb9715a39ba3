// Empty caption samples, samples of packets, conforming, and what stands beside them.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXCEA608To708Converter.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "CaptionSupport.h"
#include "RecordingConsole.h"
#include "RefusingMediaFactory.h"

#include <gtest/gtest.h>

#include <functional>

using qlx::Data;
using qlx::fourCC;
using qlx::MediaTime;
using qlx::SampleStage;
using namespace qlxtest;
using Sample = std::shared_ptr<qlx::SampleBuffer>;

namespace {

const MediaTime kPTS{7, 25, 1, 3};
const qlx::SampleTimingInfo kTiming{k25, kPTS, MediaTime{6, 25, 1, 3}};

std::vector<std::uint8_t> countingBytes(std::size_t size) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t index = 0; index < size; ++index) {
        bytes.push_back(static_cast<std::uint8_t>(0x41 + index));
    }
    return bytes;
}

std::shared_ptr<QLXVANCPacket> captionPacket(std::size_t size) {
    return QLXVANCPacket::CEA708VANCPacketWithData_lineNumber(countingBytes(size), 9);
}

Sample fromPacket(const std::shared_ptr<QLXVANCPacket>& packet, const qlx::SampleTimingInfo& timing = kTiming,
                  const MediaTime& frameDuration = k25) {
    return QLXCCUtilities::createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_VANCPacket(
        timing, frameDuration, 77, packet);
}

Sample conformed(const Sample& sample, const MediaTime& frameDuration = k25) {
    return QLXCCUtilities::conformSampleBufferToCEA708_frameDuration(sample, frameDuration);
}

void expectFormat(const Sample& sample, std::uint32_t subType) {
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->formatDescription->mediaType, 0x636C6370U);
    EXPECT_EQ(sample->formatDescription->mediaSubType, subType);
    EXPECT_TRUE(sample->formatDescription->extensions.empty());
    EXPECT_EQ(sample->sampleSize, sample->dataBuffer->size());
    EXPECT_TRUE(sample->attachments.empty());
}

constexpr std::uint32_t kC608 = 0x63363038;
constexpr std::uint32_t kC708 = 0x63373038;

}  // namespace

TEST(EmptyCEA608Sample, IsTheNullPair) {
    for (const std::uint16_t counter : {std::uint16_t{0}, std::uint16_t{0xFFFF}}) {
        const Sample sample =
            QLXCCUtilities::createEmptyCEA608SampleBufferWithPTS_frameDuration_sequenceCounter(kPTS, k25, counter);
        expectFormat(sample, kC608);
        EXPECT_EQ(digitsOf(sample), "8080");
        EXPECT_EQ(sample->timingInfo, (qlx::SampleTimingInfo{k25, kPTS, MediaTime{}}));
    }
}

TEST(EmptyCEA708Sample, IsPaddingOnly) {
    const Sample sample =
        QLXCCUtilities::createEmptyCEA708SampleBufferWithPTS_frameDuration_sequenceCounter(kPTS, k2997, 0x1234);
    expectFormat(sample, kC708);
    const ExpectedPacket expected{89, 4, "1234", 20, repeated("fa0000", 20)};
    EXPECT_EQ(digitsOf(sample), atomDigits(expected.digitsOfPacket()));
    EXPECT_EQ(sample->timingInfo, (qlx::SampleTimingInfo{k2997, kPTS, MediaTime{}}));
}

TEST(VANCPacketSample, IsThePacketsDataAndEightZeros) {
    const Sample sample = fromPacket(captionPacket(89));
    expectFormat(sample, kC708);
    EXPECT_EQ(digitsOf(sample), toHex(countingBytes(89)) + repeated("00", 8));
    EXPECT_EQ(sample->sampleSize, 97U);
    EXPECT_EQ(sample->timingInfo, kTiming);
}

TEST(VANCPacketSample, OfEveryLength) {
    for (std::size_t size = 0; size <= 300; ++size) {
        // The header first, then the data over it, as far as they fit into the wrapped size.
        const std::size_t blockSize = size % 256 + 8;
        std::string expected = "000000" + byteDigits(blockSize) + "63636470" + repeated("00", size % 256);
        const std::string data = toHex(countingBytes(size)).substr(0, 2 * blockSize);
        expected.replace(0, data.size(), data);
        EXPECT_EQ(digitsOf(fromPacket(captionPacket(size))), expected) << size;
    }
}

TEST(VANCPacketSample, NeedsADurationARateAndAPacket) {
    qlx::SampleTimingInfo timing = kTiming;
    timing.duration.value = 0;
    EXPECT_FALSE(fromPacket(captionPacket(89), timing));
    EXPECT_FALSE(fromPacket(captionPacket(89), kTiming, MediaTime{}));
    EXPECT_FALSE(fromPacket(captionPacket(89), kTiming, MediaTime::make(1, 601)));
    EXPECT_FALSE(fromPacket(nullptr));
    timing.duration.value = -1;
    EXPECT_TRUE(fromPacket(captionPacket(89), timing));
}

TEST(PacketCaptionSample, IsAnAtom) {
    const Sample cea608 = QLXVANCPacket::CEA608VANCPacketWithData_lineNumber({0x80, 0x94, 0x2C}, 9)
                              ->createClosedCaptionsSampleBufferWithTimingInfo(kTiming);
    expectFormat(cea608, kC608);
    EXPECT_EQ(digitsOf(cea608), digits("0000000b 63646174 80942c"));
    EXPECT_EQ(cea608->timingInfo, kTiming);

    const Sample cea708 = captionPacket(89)->createClosedCaptionsSampleBufferWithTimingInfo(kTiming);
    expectFormat(cea708, kC708);
    EXPECT_EQ(digitsOf(cea708), digits("00000061 63636470") + toHex(countingBytes(89)));
    EXPECT_EQ(cea708->timingInfo, kTiming);
}

TEST(PacketCaptionSample, HasAWholeSize) {
    for (const std::size_t size : {0U, 1U, 247U, 248U, 255U, 256U, 65'528U}) {
        const Sample sample = captionPacket(size)->createClosedCaptionsSampleBufferWithTimingInfo(kTiming);
        const std::size_t whole = size + 8;
        EXPECT_EQ(digitsOf(sample), byteDigits(whole >> 24U) + byteDigits(whole >> 16U) + byteDigits(whole >> 8U) +
                                        byteDigits(whole) + "63636470" + toHex(countingBytes(size)));
    }
}

TEST(PacketCaptionSample, OfNoDataIsAHeader) {
    const auto packet = QLXVANCPacket::CEA608VANCPacketWithData_lineNumber({}, 9);
    EXPECT_EQ(digitsOf(packet->createClosedCaptionsSampleBufferWithTimingInfo(kTiming)), "0000000863646174");
}

TEST(PacketCaptionSample, IsMadeByPacketTypeAlone) {
    const auto packet = captionPacket(12);
    for (QLXVANCPacketType type = 0; type <= 20; ++type) {
        packet->setPacketType(type);
        EXPECT_EQ(static_cast<bool>(packet->createClosedCaptionsSampleBufferWithTimingInfo(kTiming)),
                  type == 1 || type == 2)
            << type;
    }
    packet->setPacketType(1);
    packet->setPacketDID(0x41);
    EXPECT_EQ(digitsOf(packet->createClosedCaptionsSampleBufferWithTimingInfo(kTiming)).substr(8, 8), "63646174");
}

TEST(TransformToCEA608, KeepsTheFirstPair) {
    constexpr std::uint8_t kPair[] = {0x94, 0x2C};
    const auto packet = QLXVANCPacket::emptyCEA708VANCPacketWithFrameDuration_sequenceCounter_lineNumber_cea608Bytes(
        k2997, 5, 13, kPair);
    packet->setPacketDID(0x77);
    packet->transformCEA708To608();
    EXPECT_EQ(packet->packetData(), (Data{0x94, 0x2C}));
    EXPECT_EQ(packet->packetType(), QLXVANCPacketTypeCEA608);
    EXPECT_EQ(packet->packetDID(), 0x77U);
    EXPECT_EQ(packet->packetSDID(), 2U);
    EXPECT_EQ(packet->lineNumber(), 2U);
}

TEST(TransformToCEA608, OfShortDataIsTheNullPair) {
    for (std::size_t size = 0; size <= 14; ++size) {
        const auto packet = captionPacket(size);
        packet->transformCEA708To608();
        EXPECT_EQ(packet->packetData(), size < 12 ? (Data{0x80, 0x80}) : (Data{0x4B, 0x4C})) << size;
        EXPECT_EQ(packet->packetType(), QLXVANCPacketTypeCEA608);
        EXPECT_EQ(packet->packetDID(), 0x61U);
        EXPECT_EQ(packet->packetSDID(), 2U);
        EXPECT_EQ(packet->lineNumber(), 2U);
    }
    const auto packet = QLXVANCPacket::CEA708VANCPacketWithData_lineNumber({}, 9);
    packet->transformCEA708To608();
    EXPECT_EQ(packet->packetData(), (Data{0x80, 0x80}));
}

TEST(TransformToCEA608, GivesASampleAndChangesThePacket) {
    const auto packet = captionPacket(12);
    const Sample sample = packet->createCEA608ClosedCaptionsSampleBufferWithTimingInfo(kTiming);
    expectFormat(sample, kC608);
    EXPECT_EQ(digitsOf(sample), digits("0000000a 63646174 4b4c"));
    EXPECT_EQ(sample->timingInfo, kTiming);
    EXPECT_EQ(packet->packetType(), QLXVANCPacketTypeCEA608);
    EXPECT_EQ(packet->packetData(), (Data{0x4B, 0x4C}));
}

TEST(Conforming, ToCEA608GivesTheSampleItself) {
    for (const std::uint32_t subType : {kC608, kC708, fourCC("VANC")}) {
        const Sample sample = sampleOf(fourCC("clcp"), subType, bytes({0x94, 0x2C}), kTiming);
        EXPECT_EQ(QLXCCUtilities::conformSampleBufferToCEA608_frameDuration(sample, k25), sample);
    }
    EXPECT_FALSE(QLXCCUtilities::conformSampleBufferToCEA608_frameDuration(nullptr, k25));
}

TEST(Conforming, GivesOtherSamplesBack) {
    for (const std::uint32_t subType : {kC708, fourCC("VANC"), fourCC("op47"), fourCC("v210"), std::uint32_t{0}}) {
        const Sample sample = sampleOf(fourCC("clcp"), subType, bytes({0x94, 0x2C}), kTiming);
        EXPECT_EQ(conformed(sample), sample);
        EXPECT_EQ(digitsOf(sample), "942c");
    }
    const Sample vanc = QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo({captionPacket(20)}, kTiming);
    EXPECT_EQ(conformed(vanc), vanc);
    const auto withoutFormat = std::make_shared<qlx::SampleBuffer>();
    EXPECT_EQ(conformed(withoutFormat), withoutFormat);
    EXPECT_FALSE(conformed(nullptr));
}

TEST(Conforming, MakesACEA708Sample) {
    const ExpectedPacket expected{101, 3, "0000", 24, "fc942c f98080" + repeated("fa0000", 22)};
    for (const char* const data : {"942c", "0000000a 63646174 942c"}) {
        const Sample sample = conformed(sampleOf(fourCC("clcp"), kC608, fromHex(data), kTiming));
        expectFormat(sample, kC708);
        EXPECT_EQ(digitsOf(sample), atomDigits(expected.digitsOfPacket())) << data;
        EXPECT_EQ(sample->timingInfo, kTiming);
    }
    // Only the subtype decides, and the duration is the one asked for.
    const ExpectedPacket at5994{59, 7, "0000", 10, "fc942c f98080" + repeated("fa0000", 8)};
    const Sample sample = conformed(sampleOf(fourCC("meta"), kC608, bytes({0x94, 0x2C}), kTiming), k5994);
    EXPECT_EQ(digitsOf(sample), atomDigits(at5994.digitsOfPacket()));
    EXPECT_EQ(sample->timingInfo, kTiming);
}

TEST(Conforming, TakesAHeaderOffOnlyWhenSomethingFollowsIt) {
    const auto triplets = [](const char* data) {
        return digitsOf(conformed(sampleOf(fourCC("clcp"), kC608, fromHex(data), kTiming))).substr(34, 18);
    };
    // 8 bytes are no header but a payload: four pairs, of which none is carried.
    EXPECT_EQ(triplets("00000008 63646174"), digits("f88080 000000 000000"));
    EXPECT_EQ(triplets("00000009 63646174 94"), digits("fa0000 fa0000 fa0000")) << "one byte is no pair";
    EXPECT_EQ(triplets("00000009 63636470 94"), digits("000000 f98080 096363")) << "three triplets";
    EXPECT_EQ(triplets("0000000c 63646174 942c9420"), digits("fc942c fc9420 000000"));
    EXPECT_EQ(triplets(""), digits("fa0000 fa0000 fa0000"));
}

TEST(Conforming, NeedsTimingAndData) {
    Sample sample = sampleOf(fourCC("clcp"), kC608, bytes({0x94, 0x2C}), kTiming);
    sample->timingInfo.reset();
    EXPECT_FALSE(conformed(sample));
    sample = sampleOf(fourCC("clcp"), kC608, bytes({0x94, 0x2C}), kTiming);
    sample->dataBuffer = nullptr;
    EXPECT_FALSE(conformed(sample));
}

TEST(CaptionSamples, AreNotMadeWhenAStepRefuses) {
    const auto packet608 = QLXVANCPacket::CEA608VANCPacketWithData_lineNumber({0x94, 0x2C}, 9);
    const Sample raw = sampleOf(fourCC("clcp"), kC608, bytes({0x94, 0x2C}), kTiming);
    const std::function<Sample()> makers[] = {
        [] { return QLXCCUtilities::createEmptyCEA608SampleBufferWithPTS_frameDuration_sequenceCounter(kPTS, k25, 0); },
        [] { return QLXCCUtilities::createEmptyCEA708SampleBufferWithPTS_frameDuration_sequenceCounter(kPTS, k25, 0); },
        [] { return fromPacket(captionPacket(89)); },
        [&] { return packet608->createClosedCaptionsSampleBufferWithTimingInfo(kTiming); },
        [] { return captionPacket(89)->createClosedCaptionsSampleBufferWithTimingInfo(kTiming); },
        [] { return captionPacket(89)->createCEA608ClosedCaptionsSampleBufferWithTimingInfo(kTiming); },
        [&] { return conformed(raw); },
    };
    for (const SampleStage stage : {SampleStage::BlockBuffer, SampleStage::DataPointer, SampleStage::FormatDescription,
                                    SampleStage::SampleBuffer}) {
        for (const bool givesSampleAnyway : {false, true}) {
            RecordingConsole console;
            RefusingMediaFactory factory(stage, -12'731);
            factory.givesSampleAnyway = givesSampleAnyway;
            const qlx::ScopedService<qlx::Console> consoleScope(console);
            const qlx::ScopedService<qlx::MediaFactory> factoryScope(factory);
            for (const auto& make : makers) {
                EXPECT_FALSE(make()) << (&make - makers);
            }
            EXPECT_EQ(console.printed, "");
            EXPECT_TRUE(console.logged.empty());
        }
    }
    for (const auto& make : makers) {
        EXPECT_TRUE(make()) << "refused although nothing refuses: " << (&make - makers);
    }
}

TEST(CaptionPayload, FollowsTheFormat) {
    const auto payload = [](std::uint32_t type, std::uint32_t subType, std::size_t size) {
        return QLXCCUtilities::extractCaptionsDataFromSampleBuffer(sampleOf(type, subType, countingBytes(size)));
    };
    const std::vector<std::uint8_t> whole = countingBytes(20);
    EXPECT_EQ(payload(fourCC("meta"), fourCC("VANC"), 20), Data(whole));
    EXPECT_EQ(payload(fourCC("clcp"), kC708, 20), Data(std::span<const std::uint8_t>(whole).subspan(8)));
    EXPECT_EQ(payload(fourCC("clcp"), kC608, 20), Data(whole));
    EXPECT_EQ(payload(fourCC("clcp"), fourCC("VANC"), 20), Data(whole));
    EXPECT_EQ(payload(fourCC("clcp"), fourCC("what"), 20), Data(whole));
    EXPECT_FALSE(payload(fourCC("meta"), kC708, 20));
    EXPECT_FALSE(payload(fourCC("meta"), fourCC("mebx"), 20));
    EXPECT_FALSE(payload(fourCC("sbtl"), fourCC("op47"), 20));
    EXPECT_FALSE(payload(fourCC("vide"), kC708, 20));
}

TEST(CaptionPayload, OfShortSamples) {
    for (std::size_t size = 0; size <= 9; ++size) {
        const Data payload =
            QLXCCUtilities::extractCaptionsDataFromSampleBuffer(sampleOf(fourCC("clcp"), kC708, countingBytes(size)));
        EXPECT_EQ(static_cast<bool>(payload), size >= 8) << size;
        EXPECT_EQ(payload.size(), size < 8 ? 0 : size - 8) << size;
        const Data raw =
            QLXCCUtilities::extractCaptionsDataFromSampleBuffer(sampleOf(fourCC("clcp"), kC608, countingBytes(size)));
        EXPECT_EQ(raw, Data(countingBytes(size)));
    }
}

TEST(CaptionPayload, NeedsDataAndFormat) {
    EXPECT_FALSE(QLXCCUtilities::extractCaptionsDataFromSampleBuffer(nullptr));
    EXPECT_FALSE(QLXCCUtilities::extractCaptionsDataFromSampleBuffer(std::make_shared<qlx::SampleBuffer>()));
    const Sample withoutFormat = sampleOf(fourCC("clcp"), kC608, bytes({1, 2}));
    withoutFormat->formatDescription = nullptr;
    EXPECT_FALSE(QLXCCUtilities::extractCaptionsDataFromSampleBuffer(withoutFormat));
    const Sample withoutData = sampleOf(fourCC("clcp"), kC608, bytes({1, 2}));
    withoutData->dataBuffer = nullptr;
    EXPECT_FALSE(QLXCCUtilities::extractCaptionsDataFromSampleBuffer(withoutData));
    const Sample sample = sampleOf(fourCC("clcp"), kC608, bytes({1, 2}));
    RefusingMediaFactory factory(SampleStage::DataPointer, -1);
    const qlx::ScopedService<qlx::MediaFactory> scope(factory);
    EXPECT_FALSE(QLXCCUtilities::extractCaptionsDataFromSampleBuffer(sample));
}

TEST(TripletDescription, CountsAndGroupsTheTriplets) {
    EXPECT_EQ(descriptionForCEA708Triplets(fromHex("fc942c fa0000")), "2 samples: fc942c fa0000");
    EXPECT_EQ(descriptionForCEA708Triplets(fromHex("FF0a0B")), "1 samples: ff0a0b");
    EXPECT_EQ(descriptionForCEA708Triplets(fromHex("")), "0 samples: ");
    std::string expected = "100 samples:";
    for (int count = 0; count < 100; ++count) {
        expected += " fe1234";
    }
    EXPECT_EQ(descriptionForCEA708Triplets(fromHex(repeated("fe1234", 100))), expected);
}

TEST(TripletDescription, OfOtherLengthsIsThePlainOne) {
    EXPECT_EQ(descriptionForCEA708Triplets({0xFC}), "<fc>");
    EXPECT_EQ(descriptionForCEA708Triplets({0xFC, 0x94}), "<fc94>");
    EXPECT_EQ(descriptionForCEA708Triplets({0xFC, 0x94, 0x2C, 0xFA}), "<fc942cfa>");
    EXPECT_EQ(descriptionForCEA708Triplets({0xFC, 0x94, 0x2C, 0xFA, 0x00}), "<fc942cfa 00>");
    EXPECT_EQ(descriptionForCEA708Triplets(Data()), "(null)");
}

TEST(CEA608To708Converter, GivesNoSample) {
    QLXCEA608To708Converter converter;
    for (std::size_t size = 0; size <= 6; ++size) {
        EXPECT_FALSE(converter.cea708SampleBufferWithPTS_frameDuration_sequenceCounter_fromCEA608Bytes(
            kPTS, k25, 1, countingBytes(size)));
    }
    EXPECT_FALSE(
        converter.cea708SampleBufferWithPTS_frameDuration_sequenceCounter_fromCEA608Bytes(kPTS, k25, 1, Data()));
}

TEST(CaptionSamples, AreNeverMadeFromAPacketAlone) {
    EXPECT_FALSE(QLXCCUtilities::createCCSampleBufferFromVANCPacket_timingInfo(captionPacket(89), kTiming));
    EXPECT_FALSE(QLXCCUtilities::createCCSampleBufferFromVANCPacket_timingInfo(nullptr, kTiming));
}
