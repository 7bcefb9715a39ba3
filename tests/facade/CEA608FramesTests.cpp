#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include "ExactBuffer.h"
#include "RefusingMediaFactory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Packetizer = QLXSubtitlesPacketizer;
using qlx::MediaTime;

namespace {

const MediaTime kDuration = MediaTime::make(1, 25);
const std::string kClearing = "942094ae9420942c942f";

std::shared_ptr<QLXSubtitleRecord> recordOf(double start, double end, const std::vector<std::string>& texts) {
    std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines;
    for (const std::string& text : texts) {
        lines.push_back(std::make_shared<QLXSubtitleTextLine>());
        lines.back()->setTextString(text);
    }
    auto record = std::make_shared<QLXSubtitleRecord>();
    record->setStartTimeInSeconds(start);
    record->setEndTimeInSeconds(end);
    record->setSubtitleLines(lines);
    return record;
}

/// The field-1 pair of a frame as hexadecimal digits, "-" for a frame without a sample.
std::string pairOf(const std::shared_ptr<qlx::SampleBuffer>& sample) {
    if (!sample) {
        return "-";
    }
    const qlx::Data cdp = QLXCCUtilities::extractCaptionsDataFromSampleBuffer(sample);
    qlx::Data field1;
    (void)QLXCCUtilities::extractCaptionTripletsFromData_fromOffset_CC1Data_CC2Data(cdp, 9, &field1, nullptr);
    return qlxtest::toHex(field1);
}

std::string framesOf(Packetizer& packetizer, std::int64_t first, std::int64_t count) {
    std::string result;
    for (std::int64_t frame = first; frame < first + count; ++frame) {
        result +=
            pairOf(packetizer.copyNextSubtitleSampleBufferAtPTS_frameDuration(MediaTime::make(frame, 25), kDuration));
    }
    return result;
}

}  // namespace

TEST(CEA608Frames, SendOnePairAFrame) {
    const auto packetizer = Packetizer::initWithSubtitleMode_isHD(1, true);
    packetizer->setSubtitleRecords({recordOf(0, 1, {"Hi", "ok"})});
    EXPECT_EQ(framesOf(*packetizer, 0, 9), "942094ae94201340c8e913e0ef6b942c942f");
    EXPECT_EQ(framesOf(*packetizer, 9, 3), "---") << "nothing is pending";
}

TEST(CEA608Frames, WrapThePairInACDP) {
    const auto packetizer = Packetizer::initWithSubtitleMode_isHD(1, true);
    packetizer->setSubtitleRecords({recordOf(0, 1, {"Hi"})});
    const auto sample = packetizer->copyNextCEA608SampleBufferAtPTS_frameDuration(MediaTime{0, 60000, 1, 3},
                                                                                  MediaTime::make(1001, 60000));
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->formatDescription->mediaType, qlx::fourCC("clcp"));
    EXPECT_EQ(sample->formatDescription->mediaSubType, qlx::fourCC("c708"));
    EXPECT_EQ(sample->timingInfo,
              (qlx::SampleTimingInfo{MediaTime::make(1001, 60000), MediaTime{0, 60000, 1, 3}, MediaTime{}}));
    // 10 triplets: the pair, an empty field-2 one, eight of padding; counter 0. The checksum makes the CDP sum to 0.
    const std::string expected = "00000043"
                                 "63636470"
                                 "96693b7f7f0000"
                                 "72ea"
                                 "fc9420f98080"
                                 "fa0000fa0000fa0000fa0000fa0000fa0000fa0000fa0000"
                                 "73f2e02020207e3fffe1656e67c13fff"
                                 "740000";
    std::string actual = qlxtest::toHex({sample->dataBuffer->data(), sample->dataBuffer->size()});
    ASSERT_EQ(actual.size(), 2 * 67U);
    EXPECT_EQ(actual.substr(0, 2 * 66), expected);
    unsigned sum = 0;
    for (std::size_t index = 8; index < sample->dataBuffer->size(); ++index) {
        sum += sample->dataBuffer->data()[index];
    }
    EXPECT_EQ(sum % 256, 0U);
}

TEST(CEA608Frames, FinishACaptionBeforeTheNext) {
    const auto packetizer = Packetizer::initWithSubtitleMode_isHD(1, true);
    // The second record is due from frame 3 on; the first caption takes frames 0 to 6.
    packetizer->setSubtitleRecords({recordOf(0, 0.1, {"Hi"}), recordOf(0.1, 4, {"ok"})});
    EXPECT_EQ(framesOf(*packetizer, 0, 7), "942094ae94201340c8e9942c942f");
    EXPECT_EQ(framesOf(*packetizer, 7, 7), "942094ae94201340ef6b942c942f");
    EXPECT_EQ(framesOf(*packetizer, 14, 2), "--");
}

TEST(CEA608Frames, ClearTheScreenOnceInAGap) {
    const auto packetizer = Packetizer::initWithSubtitleMode_isHD(1, true);
    packetizer->setSubtitleRecords({recordOf(0, 0.4, {"Hi"}), recordOf(2, 3, {"ok"})});
    EXPECT_EQ(framesOf(*packetizer, 0, 10), "942094ae94201340c8e9942c942f---");
    EXPECT_EQ(framesOf(*packetizer, 10, 5), kClearing);
    EXPECT_EQ(framesOf(*packetizer, 15, 3), "---");
    EXPECT_EQ(framesOf(*packetizer, 51, 7), "942094ae94201340ef6b942c942f");
}

TEST(CEA608Frames, SendNothingForAnEmptyList) {
    const auto packetizer = Packetizer::initWithSubtitleMode_isHD(1, false);
    EXPECT_EQ(framesOf(*packetizer, 0, 3), "---");
    EXPECT_EQ(packetizer->lastSubtitleRecord(), nullptr);
    EXPECT_FALSE(packetizer->isSubtitleDisplayed());
}

TEST(CEA608Frames, RememberTheRecordThatWasStarted) {
    const auto packetizer = Packetizer::initWithSubtitleMode_isHD(1, true);
    const auto record = recordOf(0, 1, {"Hi"});
    packetizer->setSubtitleRecords({record});
    (void)framesOf(*packetizer, 0, 1);
    EXPECT_EQ(packetizer->lastSubtitleRecord(), record);
}

TEST(CEA608Frames, ShowALiveRecord) {
    const auto packetizer = Packetizer::initWithSubtitleMode_isHD(1, true);
    packetizer->setLiveSubtitleRecordToDisplay(recordOf(0, 0, {"Hi"}));
    EXPECT_EQ(framesOf(*packetizer, 0, 8), "942094ae94201340c8e9942c942f-");
    packetizer->setLiveSubtitleRecordToDisplay(nullptr);
    EXPECT_EQ(framesOf(*packetizer, 8, 6), kClearing + "-");
}

TEST(CEA608Frames, LoseThePairOfAFrameWhoseSampleCannotBeMade) {
    const auto packetizer = Packetizer::initWithSubtitleMode_isHD(1, true);
    packetizer->setSubtitleRecords({recordOf(0, 1, {"Hi"})});
    {
        qlxtest::RefusingMediaFactory factory(qlx::SampleStage::BlockBuffer, -1);
        const qlx::ScopedService<qlx::MediaFactory> scope(factory);
        EXPECT_EQ(framesOf(*packetizer, 0, 1), "-");
    }
    EXPECT_EQ(framesOf(*packetizer, 1, 6), "94ae94201340c8e9942c942f");
}
