#include <QLXClosedCaptionsUtilities/QLXCEA608ReaderWriter.h>

#include "LineRows.h"
#include "Pictures.h"
#include "RecordingConsole.h"
#include "RefusingMediaFactory.h"
#include "RefusingPixelBufferFactory.h"

#include <gtest/gtest.h>

#include <limits>

using qlxtest::bytesOf;
using qlxtest::ExactBuffer;
using qlxtest::ExactPicture;
using qlxtest::makePicture;
using qlxtest::Picture;
using qlxtest::PixelStage;
using qlxtest::RefusingPixelBufferFactory;

namespace {

using Bytes = std::vector<std::uint8_t>;

const Bytes kPair{0x14, 0x2C};

void overlay(QLXCEA608ReaderWriter& writer, const Picture& video, const Bytes& bytes = kPair) {
    const ExactBuffer exact(bytes);
    writer.overlayCEA608FromCCBuffer_size_intoPixelBuffer(exact.data(), exact.size(), video);
}

/// The picture after an overlay into one that was all 0x55.
Bytes drawnInto(std::size_t width, std::size_t height, std::uint32_t format, const Bytes& bytes = kPair) {
    QLXCEA608ReaderWriter writer;
    const ExactPicture video(width, height, format, 0, 0x55);
    overlay(writer, video.picture, bytes);
    return bytesOf(*video.picture);
}

/// The rows of a BGRA picture after an overlay, those below the third untouched.
Bytes expectedRows(std::size_t width, std::size_t height, const Bytes& pair = kPair) {
    Bytes bytes = qlxtest::lines(width, pair[0], pair[1]);
    bytes.resize(width * height * 4, 0x55);
    return bytes;
}

}  // namespace

TEST(Line21Overlay, DrawsThreeLinesAndNothingElse) {
    EXPECT_EQ(drawnInto(720, 4, qlx::kPixelFormatBGRA), expectedRows(720, 4));
    EXPECT_EQ(drawnInto(1920, 5, qlx::kPixelFormatBGRA), expectedRows(1920, 5));
    EXPECT_EQ(drawnInto(720, 3, qlx::kPixelFormatBGRA), expectedRows(720, 3));
}

TEST(Line21Overlay, CellsOfAResumeCaptionLoading) {
    // The bytes 14 2C: cells 0,0,1,0,1,0,0,0 and 0,0,1,1,0,1,0,0 from pixel 274 on.
    const Bytes bytes = drawnInto(720, 4, qlx::kPixelFormatBGRA);
    Bytes cells;
    for (std::size_t cell = 0; cell < 16; ++cell) {
        cells.push_back(bytes[720 * 4 + 4 * (274 + 27 * cell)] == 127 ? 1 : 0);
    }
    EXPECT_EQ(cells, (Bytes{0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 1, 1, 0, 1, 0, 0}));
}

TEST(Line21Overlay, UsesOnlyTwoBytes) {
    EXPECT_EQ(drawnInto(720, 4, qlx::kPixelFormatBGRA, {0x14, 0x2C, 0xFF, 0xFF}), expectedRows(720, 4));
    const Bytes untouched(720 * 4 * 4, 0x55);
    EXPECT_EQ(drawnInto(720, 4, qlx::kPixelFormatBGRA, {0x14}), untouched);
    EXPECT_EQ(drawnInto(720, 4, qlx::kPixelFormatBGRA, {}), untouched);
}

TEST(Line21Overlay, DrawsTheSameGreysInEveryFormatAndLeavesTheFourthRowAlone) {
    for (const std::uint32_t format : qlxtest::kPixelFormats) {
        Bytes expected;
        for (const Bytes& levels :
             {Bytes(720, 0), qlxtest::pairLevels(720, kPair[0], kPair[1]), qlxtest::pairLevels(720, 0x80, 0x80)}) {
            const Bytes row = qlxtest::greysAs(format, levels);
            expected.insert(expected.end(), row.begin(), row.end());
        }
        const std::size_t rowBytes = qlxtest::bytesOfRow(format, 720);
        expected.insert(expected.end(), rowBytes, 0x55);
        if (format == qlx::kPixelFormat420v) {
            // The fourth row's chroma is the third one's, which has no colour.
            expected.insert(expected.end(), 720, 128);
        }
        EXPECT_EQ(drawnInto(720, 4, format), expected) << format;
    }
}

TEST(Line21Overlay, LeavesNarrowPicturesAlone) {
    for (const std::size_t width : {std::size_t{1}, std::size_t{100}, std::size_t{273}, std::size_t{274}}) {
        EXPECT_EQ(drawnInto(width, 4, qlx::kPixelFormatBGRA), Bytes(width * 16, 0x55)) << width;
    }
    // From the next pixel on, as much of the cells as there is room for.
    for (const std::size_t width : {std::size_t{275}, std::size_t{276}, std::size_t{300}, std::size_t{301},
                                    std::size_t{302}, std::size_t{500}, std::size_t{705}, std::size_t{707}}) {
        EXPECT_EQ(drawnInto(width, 4, qlx::kPixelFormatBGRA, {0xFF, 0xFF}), expectedRows(width, 4, {0xFF, 0xFF}))
            << width;
    }
}

TEST(Line21Overlay, LeavesPicturesOfFewerThanThreeRowsAlone) {
    for (const std::uint32_t format : qlxtest::kPixelFormats) {
        for (const std::size_t height : {std::size_t{1}, std::size_t{2}}) {
            const ExactPicture former(720, height, format, 0, 0x55);
            EXPECT_EQ(drawnInto(720, height, format), bytesOf(*former.picture));
        }
    }
}

TEST(Line21Overlay, KeepsTheRowsPadding) {
    QLXCEA608ReaderWriter writer;
    const ExactPicture video(720, 4, qlx::kPixelFormatBGRA, 13, 0x55);
    overlay(writer, video.picture);
    EXPECT_EQ(bytesOf(*video.picture), expectedRows(720, 4));
    for (std::size_t row = 0; row < 3; ++row) {
        EXPECT_EQ(Bytes(video.picture->row(row) + 2880, video.picture->row(row) + 2893), Bytes(13, 0x55));
    }
}

TEST(Line21Overlay, TakesDataAndBlocks) {
    QLXCEA608ReaderWriter writer;
    const Bytes expected = expectedRows(720, 4);
    const Bytes untouched(720 * 4 * 4, 0x55);
    const ExactPicture first(720, 4, qlx::kPixelFormatBGRA, 0, 0x55);
    writer.overlayCEA608FromData_videoPixelBuffer({}, first.picture);
    writer.overlayCEA608FromData_videoPixelBuffer({0x14}, first.picture);
    EXPECT_EQ(bytesOf(*first.picture), untouched);
    writer.overlayCEA608FromData_videoPixelBuffer({0x14, 0x2C}, first.picture);
    EXPECT_EQ(bytesOf(*first.picture), expected);

    const auto block = std::make_shared<qlx::BlockBuffer>(2);
    block->data()[0] = 0x14;
    block->data()[1] = 0x2C;
    const ExactPicture second(720, 4, qlx::kPixelFormatBGRA, 0, 0x55);
    writer.overlayCEA608FromBlockBuffer_videoPixelBuffer(nullptr, second.picture);
    writer.overlayCEA608FromBlockBuffer_videoPixelBuffer(std::make_shared<qlx::BlockBuffer>(1), second.picture);
    {
        qlxtest::RefusingMediaFactory refusing(qlx::SampleStage::DataPointer, -12700);
        const qlx::ScopedService<qlx::MediaFactory> scope(refusing);
        writer.overlayCEA608FromBlockBuffer_videoPixelBuffer(block, second.picture);
    }
    EXPECT_EQ(bytesOf(*second.picture), untouched);
    writer.overlayCEA608FromBlockBuffer_videoPixelBuffer(block, second.picture);
    EXPECT_EQ(bytesOf(*second.picture), expected);
}

TEST(Line21Overlay, PassesOverWhatIsMissing) {
    RefusingPixelBufferFactory factory;
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    QLXCEA608ReaderWriter writer;
    overlay(writer, nullptr);
    EXPECT_EQ(factory.pictures + factory.sessions, 0);
    const ExactPicture video(720, 4, qlx::kPixelFormatBGRA, 0, 0x55);
    writer.overlayCEA608FromCCBuffer_size_intoPixelBuffer(nullptr, 2, video.picture);
    EXPECT_EQ(bytesOf(*video.picture), Bytes(720 * 4 * 4, 0x55));
}

TEST(Line21Overlay, ChangesNothingWhenAStepIsRefused) {
    struct Refusal {
        PixelStage stage;
        int locksBefore;
        std::vector<std::string> steps;
        std::vector<std::string> logged;
    };
    const Refusal refusals[] = {
        {PixelStage::Creation, 0, {}, {}},
        {PixelStage::Session, 0, {}, {"CEA608:VTPixelTransferSessionCreate Error: -12902"}},
        {PixelStage::WriteLock, 0, {}, {}},
        {PixelStage::WriteLock, 1, {"lock 3", "unlock 3"}, {}},
        {PixelStage::View, 0, {"lock 3", "lock 4", "unlock 4", "unlock 3"}, {}},
        {PixelStage::Transfer, 0, {"lock 3", "lock 4", "transfer", "unlock 4", "unlock 3"}, {}},
    };
    for (const Refusal& refusal : refusals) {
        qlxtest::RecordingConsole console;
        const qlx::ScopedService<qlx::Console> consoleScope(console);
        RefusingPixelBufferFactory factory(refusal.stage, -12902);
        factory.locksBeforeRefusal = refusal.locksBefore;
        const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
        EXPECT_EQ(drawnInto(720, 4, qlx::kPixelFormatBGRA), Bytes(720 * 4 * 4, 0x55));
        EXPECT_EQ(factory.steps, refusal.steps);
        EXPECT_EQ(console.logged, refusal.logged);
    }
}

TEST(Line21Overlay, UnlocksInTheOppositeOrder) {
    RefusingPixelBufferFactory factory;
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    EXPECT_EQ(drawnInto(720, 4, qlx::kPixelFormatBGRA), expectedRows(720, 4));
    EXPECT_EQ(factory.steps, (std::vector<std::string>{"lock 3", "lock 4", "transfer", "unlock 4", "unlock 3"}));
}

TEST(Line21Overlay, FillsThePaddingOfAHostsLinesWithBlack) {
    // A host's picture of lines may have longer rows: 12 pixels more are drawn as well, and cut by the transfer.
    RefusingPixelBufferFactory factory;
    factory.paddingOfRow = 48;
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    EXPECT_EQ(drawnInto(720, 4, qlx::kPixelFormatBGRA), expectedRows(720, 4));
    // Its rows are longer than the run-in at a width of 274 pixels already.
    EXPECT_EQ(drawnInto(274, 4, qlx::kPixelFormatBGRA), expectedRows(274, 4));
}

TEST(Line21Overlay, DrawsNothingIntoLinesThatEndTooEarly) {
    RefusingPixelBufferFactory factory;
    factory.paddingOfRow = 48;
    factory.dropsLastPadding = true;
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    EXPECT_EQ(drawnInto(720, 4, qlx::kPixelFormatBGRA), Bytes(720 * 4 * 4, 0x55));
    EXPECT_EQ(factory.steps, (std::vector<std::string>{"lock 3", "unlock 3"}));
}

TEST(Line21Update, KeepsPictureAndSessionUntilTheWidthChanges) {
    RefusingPixelBufferFactory factory;
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    QLXCEA608ReaderWriter writer;
    EXPECT_EQ(factory.pictures + factory.sessions, 0) << "made when first needed";
    const Picture sd = makePicture(720, 4, qlx::kPixelFormat2vuy);
    const Picture hd = makePicture(1920, 4, qlx::kPixelFormatV210);
    for (int frame = 0; frame < 10; ++frame) {
        overlay(writer, sd);
    }
    EXPECT_EQ(factory.pictures, 1);
    for (int frame = 0; frame < 10; ++frame) {
        overlay(writer, hd);
    }
    EXPECT_EQ(factory.pictures, 2);
    overlay(writer, sd);
    EXPECT_EQ(factory.pictures, 3);
    EXPECT_EQ(factory.sessions, 1);
    EXPECT_EQ(factory.transfers, 21);
}

TEST(Line21Update, TriesAgainWhatIsMissing) {
    qlxtest::RecordingConsole console;
    const qlx::ScopedService<qlx::Console> consoleScope(console);
    RefusingPixelBufferFactory factory(PixelStage::Creation, -6662);
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    QLXCEA608ReaderWriter writer;
    writer.updateCEA608PixelTransferSessionAndPixelBufferWithWidth(720);
    writer.updateCEA608PixelTransferSessionAndPixelBufferWithWidth(720);
    EXPECT_EQ(factory.pictures, 2);
    EXPECT_EQ(factory.sessions, 1);
    factory.refused = PixelStage::None;
    writer.updateCEA608PixelTransferSessionAndPixelBufferWithWidth(720);
    writer.updateCEA608PixelTransferSessionAndPixelBufferWithWidth(720);
    EXPECT_EQ(factory.pictures, 3);
    EXPECT_EQ(factory.sessions, 1);
    EXPECT_TRUE(console.logged.empty());

    RefusingPixelBufferFactory noSession(PixelStage::Session, -12903);
    const qlx::ScopedService<qlx::PixelBufferFactory> innerScope(noSession);
    QLXCEA608ReaderWriter other;
    other.updateCEA608PixelTransferSessionAndPixelBufferWithWidth(720);
    other.updateCEA608PixelTransferSessionAndPixelBufferWithWidth(720);
    EXPECT_EQ(noSession.pictures, 1);
    EXPECT_EQ(console.logged, std::vector<std::string>(2, "CEA608:VTPixelTransferSessionCreate Error: -12903"));
}

TEST(Line21Update, KeepsNoPictureOfAFormerWidth) {
    RefusingPixelBufferFactory factory(PixelStage::None, -6662);
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    QLXCEA608ReaderWriter writer;
    overlay(writer, makePicture(1920, 4, qlx::kPixelFormatBGRA));
    const auto former = factory.lastPicture;
    EXPECT_FALSE(former.expired());
    factory.refused = PixelStage::Creation;
    const ExactPicture video(720, 4, qlx::kPixelFormatBGRA, 0, 0x55);
    overlay(writer, video.picture);
    EXPECT_TRUE(former.expired());
    EXPECT_EQ(bytesOf(*video.picture), std::vector<std::uint8_t>(720 * 4 * 4, 0x55));
    EXPECT_EQ(factory.transfers, 1);
}

TEST(Line21Update, AsksForAPictureAlsoWhenTheFirstWidthIsTheStoredOne) {
    RefusingPixelBufferFactory factory;
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    QLXCEA608ReaderWriter writer;
    writer.updateCEA608PixelTransferSessionAndPixelBufferWithWidth(0.0);
    EXPECT_EQ(factory.pictures, 1);
    EXPECT_EQ(factory.sessions, 1);
    EXPECT_TRUE(factory.lastPicture.expired());
}

TEST(Line21Update, CutsTheFractionOfAWidth) {
    RefusingPixelBufferFactory factory;
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    QLXCEA608ReaderWriter writer;
    writer.updateCEA608PixelTransferSessionAndPixelBufferWithWidth(720.9);
    EXPECT_EQ(factory.pictures, 1);
    EXPECT_EQ(factory.lastWidth, 720U);
    // Another width, although it comes to as many pixels.
    writer.updateCEA608PixelTransferSessionAndPixelBufferWithWidth(720);
    EXPECT_EQ(factory.pictures, 2);
    writer.updateCEA608PixelTransferSessionAndPixelBufferWithWidth(65536.5);
    EXPECT_EQ(factory.lastWidth, 65536U);
}

TEST(Line21Update, LeavesNoPictureForAWidthThatNoneCanHave) {
    QLXCEA608ReaderWriter writer;
    RefusingPixelBufferFactory factory;
    const qlx::ScopedService<qlx::PixelBufferFactory> scope(factory);
    using Limits = std::numeric_limits<double>;
    for (const double width :
         {0.5, -1.0, 65537.0, 1e300, Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
        factory.lastWidth = 1;
        writer.updateCEA608PixelTransferSessionAndPixelBufferWithWidth(width);
        EXPECT_EQ(factory.lastWidth, 0U) << width;
    }
    EXPECT_EQ(factory.sessions, 1);
    // The next picture is drawn into as if nothing had happened.
    const ExactPicture video(720, 4, qlx::kPixelFormatBGRA, 0, 0x55);
    overlay(writer, video.picture);
    EXPECT_EQ(bytesOf(*video.picture), expectedRows(720, 4));
}
