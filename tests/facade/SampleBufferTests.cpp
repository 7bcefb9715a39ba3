#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "ExactBuffer.h"
#include "RecordingConsole.h"
#include "RefusingMediaFactory.h"

#include <gtest/gtest.h>

#include <algorithm>

using Packet = QLXVANCPacket;
using Packets = std::vector<std::shared_ptr<Packet>>;
using qlx::MediaTime;
using qlx::SampleStage;
using qlxtest::RefusingMediaFactory;

namespace {

const qlx::SampleTimingInfo kTiming{MediaTime::make(1001, 30'000), MediaTime{7, 25, 1, 3}, MediaTime{}};

Packets twoPackets() {
    auto other = Packet::CEA608VANCPacketWithData_lineNumber({0x11, 0x22, 0x33}, 21);
    other->setPacketType(77);
    return {Packet::OP47VANCPacketWithData_lineNumber({0xAA}, 12), nullptr, other};
}

/// Hexadecimal digits without the spaces that make them readable.
std::string digits(std::string_view spaced) {
    std::string result(spaced);
    std::erase(result, ' ');
    return result;
}

}  // namespace

TEST(VANCSample, CarriesTheElementAndThePacketTypes) {
    const auto sample = Packet::createSampleBufferWithVANCPackets_timingInfo(twoPackets(), kTiming);
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->formatDescription->mediaType, 0x6D657461U);
    EXPECT_EQ(sample->formatDescription->mediaSubType, 0x56414E43U);
    EXPECT_TRUE(sample->formatDescription->extensions.empty());
    EXPECT_EQ(sample->timingInfo, kTiming);
    const std::string element =
        digits("0002 000c0104000400000008000000014302 01aa00000000 00150104000600000008000000016102 031122330000");
    EXPECT_EQ(qlxtest::toHex({sample->dataBuffer->data(), sample->dataBuffer->size()}), element);
    EXPECT_EQ(sample->sampleSize, element.size() / 2);
    EXPECT_EQ(sample->attachments, (qlx::Dictionary{{"VANCPacketTypes", qlx::Array{3U, 77U}}}));
}

TEST(VANCSample, OfNoPacketsHoldsAnEmptyElement) {
    const auto sample = Packet::createSampleBufferWithVANCPackets_timingInfo({}, kTiming);
    ASSERT_TRUE(sample);
    EXPECT_EQ(qlxtest::toHex({sample->dataBuffer->data(), sample->dataBuffer->size()}), "0000");
    EXPECT_EQ(sample->attachments, (qlx::Dictionary{{"VANCPacketTypes", qlx::Array{}}}));
    EXPECT_TRUE(Packet::VANCPacketsWithCMSampleBuffer(sample).empty());
}

TEST(VANCSample, IsReadBack) {
    const Packets found = Packet::VANCPacketsWithCMSampleBuffer(
        Packet::createSampleBufferWithVANCPackets_timingInfo(twoPackets(), kTiming));
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0]->packetType(), QLXVANCPacketTypeOP47);
    EXPECT_EQ(found[0]->lineNumber(), 12U);
    EXPECT_EQ(found[0]->packetData(), (qlx::Data{0xAA}));
    EXPECT_EQ(found[1]->packetType(), QLXVANCPacketTypeCEA608) << "the type follows DID and SDID";
    EXPECT_EQ(found[1]->packetData(), (qlx::Data{0x11, 0x22, 0x33}));
}

TEST(VANCSample, IsNotMadeWhenAStepRefuses) {
    for (const SampleStage stage :
         {SampleStage::BlockBuffer, SampleStage::DataPointer, SampleStage::FormatDescription}) {
        qlxtest::RecordingConsole console;
        RefusingMediaFactory factory(stage, -1);
        const qlx::ScopedService<qlx::Console> consoleScope(console);
        const qlx::ScopedService<qlx::MediaFactory> factoryScope(factory);
        EXPECT_FALSE(Packet::createSampleBufferWithVANCPackets_timingInfo(twoPackets(), kTiming));
        EXPECT_EQ(console.printed, "");
        EXPECT_TRUE(console.logged.empty());
    }
}

TEST(VANCSample, SaysThatTheLastStepRefused) {
    qlxtest::RecordingConsole console;
    RefusingMediaFactory factory(SampleStage::SampleBuffer, -12'731);
    const qlx::ScopedService<qlx::Console> consoleScope(console);
    const qlx::ScopedService<qlx::MediaFactory> factoryScope(factory);
    EXPECT_FALSE(Packet::createSampleBufferWithVANCPackets_timingInfo(twoPackets(), kTiming));
    EXPECT_EQ(console.printed, "Invalid could not create VANC sample buffer (Error = -12731\n");
}

TEST(VANCSample, IsHandedOutBesideAnErrorWithoutAttachments) {
    qlxtest::RecordingConsole console;
    RefusingMediaFactory factory(SampleStage::SampleBuffer, 3);
    factory.givesSampleAnyway = true;
    const qlx::ScopedService<qlx::Console> consoleScope(console);
    const qlx::ScopedService<qlx::MediaFactory> factoryScope(factory);
    const auto sample = Packet::createSampleBufferWithVANCPackets_timingInfo(twoPackets(), kTiming);
    ASSERT_TRUE(sample);
    EXPECT_TRUE(sample->attachments.empty());
    EXPECT_EQ(console.printed, "Invalid could not create VANC sample buffer (Error = 3\n");
}

TEST(VANCSampleReading, RefusesOtherSamples) {
    EXPECT_TRUE(Packet::VANCPacketsWithCMSampleBuffer(nullptr).empty());
    EXPECT_TRUE(Packet::VANCPacketsWithCMSampleBuffer(std::make_shared<qlx::SampleBuffer>()).empty());

    const auto withoutFormat = Packet::createSampleBufferWithVANCPackets_timingInfo(twoPackets(), kTiming);
    withoutFormat->formatDescription = nullptr;
    EXPECT_TRUE(Packet::VANCPacketsWithCMSampleBuffer(withoutFormat).empty());

    const auto otherSubType = Packet::createSampleBufferWithVANCPackets_timingInfo(twoPackets(), kTiming);
    otherSubType->formatDescription =
        std::make_shared<qlx::FormatDescription>(qlx::FormatDescription{qlx::fourCC("meta"), qlx::fourCC("vanc"), {}});
    EXPECT_TRUE(Packet::VANCPacketsWithCMSampleBuffer(otherSubType).empty());

    const auto withoutData = Packet::createSampleBufferWithVANCPackets_timingInfo(twoPackets(), kTiming);
    withoutData->dataBuffer = nullptr;
    EXPECT_TRUE(Packet::VANCPacketsWithCMSampleBuffer(withoutData).empty());
}

TEST(VANCSampleReading, DecidesByTheSubTypeAlone) {
    const auto sample = Packet::createSampleBufferWithVANCPackets_timingInfo(twoPackets(), kTiming);
    sample->formatDescription =
        std::make_shared<qlx::FormatDescription>(qlx::FormatDescription{qlx::fourCC("data"), qlx::fourCC("VANC"), {}});
    EXPECT_EQ(Packet::VANCPacketsWithCMSampleBuffer(sample).size(), 2U);
}

TEST(VANCSampleReading, GivesNothingWhenTheDataCannotBeReached) {
    const auto sample = Packet::createSampleBufferWithVANCPackets_timingInfo(twoPackets(), kTiming);
    RefusingMediaFactory factory(SampleStage::DataPointer, -1);
    const qlx::ScopedService<qlx::MediaFactory> scope(factory);
    EXPECT_TRUE(Packet::VANCPacketsWithCMSampleBuffer(sample).empty());
}

TEST(VANCSampleReading, SurvivesEveryTruncationOfItsData) {
    const qlx::Data element = Packet::MXFDataPacketWithVANCPackets(twoPackets());
    // 2 + 17 + 1 bytes hold the first packet, 2 + 22 + 17 + 3 both.
    qlxtest::forEachTruncation(element, [](const qlxtest::ExactBuffer& part) {
        const auto sample = Packet::createSampleBufferWithVANCPackets_timingInfo({}, kTiming);
        sample->dataBuffer = std::make_shared<qlx::BlockBuffer>(part.size());
        std::copy(part.data(), part.data() + part.size(), sample->dataBuffer->data());
        const std::size_t expected = (part.size() >= 20 ? 1U : 0U) + (part.size() >= 44 ? 1U : 0U);
        EXPECT_EQ(Packet::VANCPacketsWithCMSampleBuffer(sample).size(), expected) << part.size();
    });
}
