#include "facade/OneSample.h"

#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include "RefusingMediaFactory.h"

#include <gtest/gtest.h>

#include <vector>

using qlx::MediaTime;
using qlx::SampleStage;
using qlxtest::RefusingMediaFactory;

namespace {

constexpr std::uint32_t kType = qlx::fourCC("meta");
constexpr std::uint32_t kSubType = qlx::fourCC("VANC");
const qlx::SampleTimingInfo kTiming{MediaTime::make(1, 25), MediaTime::make(10, 25), MediaTime{}};

qlx::OneSample makeThreeBytes() {
    const std::vector<std::uint8_t> bytes{1, 2, 3};
    return qlx::makeOneSample(kType, kSubType, bytes, kTiming);
}

}  // namespace

TEST(OneSample, HoldsItsParts) {
    const qlx::OneSample result = makeThreeBytes();
    ASSERT_TRUE(result.sample);
    EXPECT_EQ(result.failedStage, SampleStage::None);
    EXPECT_EQ(result.status, 0);
    const qlx::SampleBuffer& sample = *result.sample;
    EXPECT_EQ(sample.formatDescription->mediaType, kType);
    EXPECT_EQ(sample.formatDescription->mediaSubType, kSubType);
    EXPECT_TRUE(sample.formatDescription->extensions.empty());
    EXPECT_EQ(sample.timingInfo, kTiming);
    EXPECT_EQ(sample.sampleSize, 3U);
    EXPECT_TRUE(sample.attachments.empty());
    EXPECT_FALSE(sample.imageBuffer);
    const auto data = qlx::dataOfSample(sample);
    ASSERT_TRUE(data);
    EXPECT_EQ(std::vector<std::uint8_t>(data->begin(), data->end()), (std::vector<std::uint8_t>{1, 2, 3}));
}

TEST(OneSample, TakesNoBytes) {
    const qlx::OneSample result = qlx::makeOneSample(kType, kSubType, {}, kTiming);
    ASSERT_TRUE(result.sample);
    EXPECT_EQ(result.sample->sampleSize, 0U);
    EXPECT_EQ(qlx::dataOfSample(*result.sample)->size(), 0U);
}

TEST(OneSample, NamesTheStageThatRefuses) {
    for (const SampleStage stage : {SampleStage::BlockBuffer, SampleStage::DataPointer, SampleStage::FormatDescription,
                                    SampleStage::SampleBuffer}) {
        RefusingMediaFactory factory(stage, -12731);
        const qlx::ScopedService<qlx::MediaFactory> scope(factory);
        const qlx::OneSample result = makeThreeBytes();
        EXPECT_FALSE(result.sample);
        EXPECT_EQ(result.failedStage, stage);
        EXPECT_EQ(result.status, -12731);
    }
}

TEST(OneSample, TakesAFormatThatIsThereAlready) {
    const auto format = std::make_shared<qlx::FormatDescription>(qlx::FormatDescription{kType, kSubType, {}});
    const std::vector<std::uint8_t> bytes{1, 2, 3};
    const qlx::OneSample result = qlx::makeOneSample(format, bytes, kTiming);
    ASSERT_TRUE(result.sample);
    EXPECT_EQ(result.sample->formatDescription, format);
    EXPECT_EQ(result.sample->sampleSize, 3U);
    EXPECT_EQ(result.sample->timingInfo, kTiming);
    for (const SampleStage stage : {SampleStage::BlockBuffer, SampleStage::DataPointer, SampleStage::SampleBuffer}) {
        RefusingMediaFactory factory(stage, -12731);
        const qlx::ScopedService<qlx::MediaFactory> scope(factory);
        const qlx::OneSample refused = qlx::makeOneSample(format, bytes, kTiming);
        EXPECT_FALSE(refused.sample);
        EXPECT_EQ(refused.failedStage, stage);
        EXPECT_EQ(refused.status, -12731);
    }
}

TEST(OneSample, KeepsASampleThatComesBesideAnError) {
    RefusingMediaFactory factory(SampleStage::SampleBuffer, 5);
    factory.givesSampleAnyway = true;
    const qlx::ScopedService<qlx::MediaFactory> scope(factory);
    const qlx::OneSample result = makeThreeBytes();
    EXPECT_TRUE(result.sample);
    EXPECT_EQ(result.failedStage, SampleStage::SampleBuffer);
    EXPECT_EQ(result.status, 5);
}

TEST(OneSample, CopiesNoMoreThanTheBlockHolds) {
    RefusingMediaFactory factory(SampleStage::None, 0);
    factory.blockSize = 2;
    const qlx::ScopedService<qlx::MediaFactory> scope(factory);
    const qlx::OneSample result = makeThreeBytes();
    ASSERT_TRUE(result.sample);
    EXPECT_EQ(result.sample->sampleSize, 2U);
    EXPECT_EQ(result.sample->dataBuffer->data()[1], 2);
}

TEST(DataOfSample, IsNoneWithoutData) {
    EXPECT_FALSE(qlx::dataOfSample(qlx::SampleBuffer()));
    RefusingMediaFactory factory(SampleStage::DataPointer, 1);
    const qlx::OneSample result = makeThreeBytes();
    const qlx::ScopedService<qlx::MediaFactory> scope(factory);
    EXPECT_FALSE(qlx::dataOfSample(*result.sample));
}

TEST(MediaFactory, BlocksAreZeroAndRefuseOffsetsBehindTheirEnd) {
    auto& factory = qlx::services().get<qlx::MediaFactory>();
    std::shared_ptr<qlx::BlockBuffer> block;
    ASSERT_EQ(factory.createBlockBuffer(3, &block), 0);
    std::size_t length = 0;
    std::uint8_t* pointer = nullptr;
    ASSERT_EQ(factory.blockBufferDataPointer(*block, 1, &length, &pointer), 0);
    EXPECT_EQ(length, 3U);
    EXPECT_EQ(pointer, block->data() + 1);
    EXPECT_EQ(std::vector<std::uint8_t>(block->data(), block->data() + 3), (std::vector<std::uint8_t>{0, 0, 0}));
    EXPECT_EQ(factory.blockBufferDataPointer(*block, 3, &length, &pointer), 0);
    EXPECT_NE(factory.blockBufferDataPointer(*block, 4, &length, &pointer), 0);
}

TEST(MediaFactory, RefusesATimingEntryThatIsNotThere) {
    auto& factory = qlx::services().get<qlx::MediaFactory>();
    const qlx::OneSample result = makeThreeBytes();
    qlx::SampleTimingInfo timing;
    EXPECT_EQ(factory.sampleTimingInfo(*result.sample, 0, &timing), 0);
    EXPECT_EQ(timing, kTiming);
    EXPECT_NE(factory.sampleTimingInfo(*result.sample, 1, &timing), 0);
    EXPECT_NE(factory.sampleTimingInfo(qlx::SampleBuffer(), 0, &timing), 0);
}
