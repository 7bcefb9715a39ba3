#include <QLXClosedCaptionsUtilities/QLXCEA608ReaderWriter.h>

#include "LineRows.h"
#include "Pictures.h"
#include "RecordingConsole.h"
#include "RefusingMediaFactory.h"
#include "RefusingPixelBufferFactory.h"

#include <gtest/gtest.h>

#include <algorithm>

using qlx::MediaTime;
using qlxtest::ExactPicture;
using qlxtest::makePicture;
using qlxtest::Picture;
using qlxtest::PixelStage;
using qlxtest::RefusingPixelBufferFactory;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Sample = std::shared_ptr<qlx::SampleBuffer>;

const qlx::SampleTimingInfo kTiming{MediaTime::make(1001, 30000), MediaTime::make(77, 30000), MediaTime{}};

Sample sampleOf(Picture picture) {
    auto sample = std::make_shared<qlx::SampleBuffer>();
    sample->imageBuffer = std::move(picture);
    sample->timingInfo = kTiming;
    return sample;
}

Bytes bytesOf(const Sample& caption) {
    return {caption->dataBuffer->data(), caption->dataBuffer->data() + caption->dataBuffer->size()};
}

/// What is read from a picture of `width` columns whose rows 1 and 2 hold the given pairs.
Bytes readPairs(std::size_t width, std::size_t height, const Bytes& row1, const Bytes& row2) {
    const ExactPicture video(width, height, qlx::kPixelFormatBGRA, 0, 0xFF);
    const Bytes first = qlxtest::greysAsBGRA(qlxtest::pairLevels(width, row1[0], row1[1]));
    const Bytes second = qlxtest::greysAsBGRA(qlxtest::pairLevels(width, row2[0], row2[1]));
    std::copy(first.begin(), first.end(), video.picture->row(1));
    std::copy(second.begin(), second.end(), video.picture->row(2));
    QLXCEA608ReaderWriter reader;
    const Sample caption = reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(sampleOf(video.picture));
    return caption ? bytesOf(caption) : Bytes{};
}

Sample drawnSample() {
    const Picture picture = makePicture(720, 4, qlx::kPixelFormat2vuy);
    QLXCEA608ReaderWriter().overlayCEA608FromData_videoPixelBuffer({0x94, 0x2C}, picture);
    return sampleOf(picture);
}

/// Makes row 1 of the picture of lines white when the lock for reading it ends.
class WhiteningPixelBufferFactory : public RefusingPixelBufferFactory {
public:
    qlx::MediaStatus unlockBaseAddress(qlx::PixelBuffer& buffer, qlx::PixelAccess access) override {
        if (buffer.height() == 3 && access == qlx::PixelAccess::ReadOnly) {
            std::fill_n(buffer.row(1), buffer.bytesPerRow(), std::uint8_t{0xFF});
        }
        return RefusingPixelBufferFactory::unlockBaseAddress(buffer, access);
    }
};

}  // namespace

TEST(Line21Reader, MakesACaptionSample) {
    QLXCEA608ReaderWriter reader;
    const Sample caption = reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(drawnSample());
    ASSERT_TRUE(caption);
    EXPECT_EQ(caption->formatDescription->mediaType, 0x636C6370U);     // clcp
    EXPECT_EQ(caption->formatDescription->mediaSubType, 0x63363038U);  // c608
    EXPECT_TRUE(caption->formatDescription->extensions.empty());
    EXPECT_EQ(caption->timingInfo, kTiming);
    EXPECT_EQ(caption->sampleSize, 4U);
    EXPECT_TRUE(caption->attachments.empty());
    EXPECT_FALSE(caption->imageBuffer);
    EXPECT_EQ(bytesOf(caption), (Bytes{0x94, 0xAC, 0x80, 0x00}));
}

TEST(Line21Reader, BothRowsMeetInTheSecondByte) {
    EXPECT_EQ(readPairs(720, 3, {0x14, 0x2C}, {0x81, 0x42}), (Bytes{0x14, 0x2C | 0x81, 0x42, 0}));
    EXPECT_EQ(readPairs(1920, 4, {0xFF, 0x00}, {0x00, 0xFF}), (Bytes{0xFF, 0x00, 0xFF, 0}));
    EXPECT_EQ(readPairs(720, 3, {0x00, 0xFF}, {0x00, 0x00}), (Bytes{0x00, 0xFF, 0x00, 0}));
}

TEST(Line21Reader, ReadsTheCellsThatANarrowPictureHolds) {
    // Cell k is read at pixel 288 + 27 k: it must be one of the row's.
    EXPECT_EQ(readPairs(288, 3, {0xFF, 0xFF}, {0xFF, 0xFF}), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(readPairs(289, 3, {0xFF, 0xFF}, {0xFF, 0xFF}), (Bytes{0x01, 0x01, 0, 0}));
    EXPECT_EQ(readPairs(315, 3, {0xFF, 0xFF}, {0, 0}), (Bytes{0x01, 0, 0, 0}));
    EXPECT_EQ(readPairs(316, 3, {0xFF, 0xFF}, {0, 0}), (Bytes{0x03, 0, 0, 0}));
    EXPECT_EQ(readPairs(693, 3, {0xFF, 0xFF}, {0, 0}), (Bytes{0xFF, 0x7F, 0, 0}));
    EXPECT_EQ(readPairs(694, 3, {0xFF, 0xFF}, {0, 0}), (Bytes{0xFF, 0xFF, 0, 0}));
    EXPECT_EQ(readPairs(1, 3, {0xFF, 0xFF}, {0xFF, 0xFF}), (Bytes{0, 0, 0, 0}));
}

TEST(Line21Reader, PictureContentBehindTheCellsOfAWideRowCounts) {
    // A white picture: cells 40 to 47 are there from 1369 columns on, and change nothing here; a black row with one
    // white stretch at cell 41 (pixels 1381 to 1407) sets bit 1 of its second byte.
    const ExactPicture white(1920, 3, qlx::kPixelFormatBGRA, 0, 0xFF);
    QLXCEA608ReaderWriter reader;
    EXPECT_EQ(bytesOf(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(sampleOf(white.picture))),
              (Bytes{0xFF, 0xFF, 0xFF, 0}));
    for (const std::size_t row : {std::size_t{1}, std::size_t{2}}) {
        const ExactPicture black(1920, 3, qlx::kPixelFormatBGRA, 0, 0);
        std::fill_n(black.picture->row(row) + std::size_t{4} * 1381, 4 * 27, std::uint8_t{0xFF});
        const Bytes expected = row == 1 ? Bytes{0, 2, 0, 0} : Bytes{0, 0, 2, 0};
        EXPECT_EQ(bytesOf(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(sampleOf(black.picture))),
                  expected);
    }
}

TEST(Line21Reader, LeavesThePictureAlone) {
    const Sample video = drawnSample();
    const Bytes former = qlxtest::bytesOf(*video->imageBuffer);
    QLXCEA608ReaderWriter reader;
    ASSERT_TRUE(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(video));
    EXPECT_EQ(qlxtest::bytesOf(*video->imageBuffer), former);
}

TEST(Line21Reader, GivesNothingForPicturesOfFewerThanThreeRows) {
    QLXCEA608ReaderWriter reader;
    for (const std::uint32_t format : qlxtest::kPixelFormats) {
        for (const std::size_t height : {std::size_t{1}, std::size_t{2}}) {
            const ExactPicture video(720, height, format, 0, 0xFF);
            EXPECT_FALSE(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(sampleOf(video.picture)));
        }
    }
    EXPECT_FALSE(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(nullptr));
    EXPECT_FALSE(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(sampleOf(nullptr)));
}

TEST(Line21Reader, APictureWithoutTimingGivesZeros) {
    const Sample video = drawnSample();
    video->timingInfo = std::nullopt;
    QLXCEA608ReaderWriter reader;
    const Sample caption = reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(video);
    ASSERT_TRUE(caption);
    EXPECT_EQ(caption->timingInfo, qlx::SampleTimingInfo{});
}

TEST(Line21Reader, GivesNothingWhenAStepWithPicturesIsRefused) {
    struct Refusal {
        PixelStage stage;
        int locksBefore;
        std::vector<std::string> steps;
        std::vector<std::string> logged;
    };
    const Refusal refusals[] = {
        {PixelStage::Creation, 0, {"lock 4", "unlock 4"}, {}},
        {PixelStage::Session, 0, {"lock 4", "unlock 4"}, {"CEA608:VTPixelTransferSessionCreate Error: -12905"}},
        {PixelStage::ReadLock, 0, {}, {}},
        {PixelStage::View, 0, {"lock 4", "unlock 4"}, {}},
        {PixelStage::Transfer,
         0,
         {"lock 4", "unlock 4", "transfer"},
         {"CEA608:VTPixelTransferSessionTransferImage Error: -12905"}},
        {PixelStage::ReadLock, 1, {"lock 4", "unlock 4", "transfer"}, {}},
    };
    const Sample video = drawnSample();
    for (const Refusal& refusal : refusals) {
        qlxtest::RecordingConsole console;
        const qlx::ScopedService<qlx::Console> consoleScope(console);
        RefusingPixelBufferFactory factory(refusal.stage, -12905);
        factory.locksBeforeRefusal = refusal.locksBefore;
        const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
        QLXCEA608ReaderWriter reader;
        EXPECT_FALSE(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(video));
        EXPECT_EQ(factory.steps, refusal.steps);
        EXPECT_EQ(console.logged, refusal.logged);
    }
}

TEST(Line21Reader, GivesNothingWhenTheSampleIsRefused) {
    const Sample video = drawnSample();
    for (const qlx::SampleStage stage : {qlx::SampleStage::FormatDescription, qlx::SampleStage::BlockBuffer,
                                         qlx::SampleStage::DataPointer, qlx::SampleStage::SampleBuffer}) {
        qlxtest::RecordingConsole console;
        const qlx::ScopedService<qlx::Console> consoleScope(console);
        RefusingPixelBufferFactory pictures;
        const qlx::ScopedService<qlx::PixelBufferFactory> picturesScope(pictures);
        qlxtest::RefusingMediaFactory factory(stage, -12731);
        factory.givesSampleAnyway = true;
        const qlx::ScopedService<qlx::MediaFactory> scope(factory);
        QLXCEA608ReaderWriter reader;
        EXPECT_FALSE(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(video));
        const bool atOnce = stage == qlx::SampleStage::FormatDescription;
        EXPECT_EQ(pictures.transfers, atOnce ? 0 : 1);
        EXPECT_EQ(console.logged, atOnce ? std::vector<std::string>{}
                                         : std::vector<std::string>{"CEA608:CMSampleBufferCreate Error: -12731"});
    }
}

TEST(Line21Reader, ReadsTheLinesAfterTheUnlock) {
    const Sample video = drawnSample();
    WhiteningPixelBufferFactory factory;
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    QLXCEA608ReaderWriter reader;
    const Sample caption = reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(video);
    ASSERT_TRUE(caption);
    EXPECT_EQ(factory.steps, (std::vector<std::string>{"lock 4", "unlock 4", "transfer", "lock 3", "unlock 3"}));
    EXPECT_EQ(bytesOf(caption), (Bytes{0xFF, 0xFF, 0x80, 0x00})) << "row 1 as the unlock left it";
}

TEST(Line21Reader, GivesNothingForLinesThatEndTooEarly) {
    const Sample video = drawnSample();
    RefusingPixelBufferFactory factory;
    factory.paddingOfRow = 8;
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    QLXCEA608ReaderWriter reader;
    EXPECT_EQ(bytesOf(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(video)),
              (Bytes{0x94, 0xAC, 0x80, 0x00}));
    factory.dropsLastPadding = true;
    QLXCEA608ReaderWriter other;
    EXPECT_FALSE(other.createClosedCaptionSampleFromCEA608VideoSampleBuffer(video));
}

TEST(Line21Reader, KeepsPictureAndSessionUntilTheWidthChanges) {
    const Sample sd = drawnSample();
    const Sample hd = sampleOf(makePicture(1920, 4, qlx::kPixelFormatV210));
    RefusingPixelBufferFactory factory;
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    QLXCEA608ReaderWriter reader;
    for (int frame = 0; frame < 10; ++frame) {
        ASSERT_TRUE(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(sd));
    }
    EXPECT_EQ(factory.pictures, 1);
    ASSERT_TRUE(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(hd));
    ASSERT_TRUE(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(sd));
    EXPECT_EQ(factory.pictures, 3);
    EXPECT_EQ(factory.sessions, 1);
}

TEST(Line21Views, ShareTheRowsOfThePicture) {
    QLXCEA608ReaderWriter reader;
    const Picture picture = makePicture(720, 486, qlx::kPixelFormat420v);
    const Picture view = reader.pixelBufferWithRows_fromSampleBuffer({1, 2}, sampleOf(picture));
    ASSERT_TRUE(view);
    EXPECT_EQ(view->width(), 720U);
    EXPECT_EQ(view->height(), 2U);
    EXPECT_EQ(view->pixelFormat(), qlx::kPixelFormat420v);
    EXPECT_EQ(view->bytesPerRow(), picture->bytesPerRow());
    EXPECT_EQ(view->baseAddress(), picture->row(1));
    EXPECT_EQ(view->chromaRow(1), picture->chromaRow(2));
    EXPECT_FALSE(reader.pixelBufferWithRows_fromSampleBuffer({485, 2}, sampleOf(picture)));
    EXPECT_FALSE(reader.pixelBufferWithRows_fromSampleBuffer({0, 0}, sampleOf(picture)));
    EXPECT_FALSE(reader.pixelBufferWithRows_fromSampleBuffer({0, 1}, sampleOf(nullptr)));
    EXPECT_FALSE(reader.pixelBufferWithRows_fromSampleBuffer({0, 1}, nullptr));
}

TEST(Line21Views, LockThePictureOnlyWhileTheyAreMade) {
    RefusingPixelBufferFactory factory(PixelStage::None, -12905);
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    QLXCEA608ReaderWriter reader;
    const Sample sample = sampleOf(makePicture(720, 4, qlx::kPixelFormat2vuy));
    ASSERT_TRUE(reader.pixelBufferWithRows_fromSampleBuffer({0, 4}, sample));
    EXPECT_EQ(factory.steps, (std::vector<std::string>{"lock 4", "unlock 4"}));
    EXPECT_EQ(factory.pictures, 0);
    factory.refused = PixelStage::ReadLock;
    EXPECT_FALSE(reader.pixelBufferWithRows_fromSampleBuffer({0, 4}, sample));
    EXPECT_EQ(factory.views, 1);
}
