#include "ExpectedTeletext.h"
#include "RecordingConsole.h"
#include "RefusingMediaFactory.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace qlxtest;
using Packetizer = QLXSubtitlesPacketizer;
using qlx::MediaTime;

/// What the two fields of a frame carry.
struct Fields {
    std::string field1;
    std::string field2;

    friend bool operator==(const Fields&, const Fields&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Fields& fields) {
        return stream << "\n  field 1 " << fields.field1 << "\n  field 2 " << fields.field2;
    }
};

/// Lines are checked here, so that a frame's fields tell the rest.
Fields fieldsOf(const std::shared_ptr<qlx::SampleBuffer>& sample, std::uint64_t line1 = 12, std::uint64_t line2 = 575) {
    const auto packets = QLXVANCPacket::VANCPacketsWithCMSampleBuffer(sample);
    if (packets.size() != 2) {
        ADD_FAILURE() << packets.size() << " packets";
        return {};
    }
    EXPECT_EQ(packets[0]->lineNumber(), line1);
    EXPECT_EQ(packets[1]->lineNumber(), line2);
    for (const auto& packet : packets) {
        EXPECT_EQ(packet->packetDID(), 0x43U);
        EXPECT_EQ(packet->packetSDID(), 0x02U);
        EXPECT_EQ(packet->packetType(), QLXVANCPacketTypeOP47);
    }
    return {toHex(packets[0]->packetData()), toHex(packets[1]->packetData())};
}

/// A packetizer with a clock of 25 frames a second.
class Player {
public:
    explicit Player(const std::vector<std::shared_ptr<QLXSubtitleRecord>>& records = {})
        : packetizer(Packetizer::initWithSubtitleMode_isHD(2, true)) {
        packetizer->setSubtitleRecords(records);
    }

    Fields at(double seconds) { return fieldsOf(sampleAt(seconds)); }

    std::shared_ptr<qlx::SampleBuffer> sampleAt(double seconds) {
        const auto frame = static_cast<std::int64_t>(seconds * 25 + 0.5);
        return packetizer->copyNextSubtitleSampleBufferAtPTS_frameDuration(MediaTime::make(frame, 25),
                                                                           MediaTime::make(1, 25));
    }

    std::shared_ptr<Packetizer> packetizer;
};

Fields fillers(unsigned counter) {
    return {oddFilling(counter), evenFilling(counter + 1)};
}

std::shared_ptr<QLXSubtitleRecord> makeBonjour(double start, double end) {
    return makeRecord(start, end, {makeLine("Bonjour", 11)});
}

/// "Salut" on row 11 in yellow, left: S 53 -> D3, a 61, l 6C -> EC, u 75, t 74 -> F4.
std::shared_ptr<QLXSubtitleRecord> makeSalut(double start, double end) {
    return makeRecord(start, end, {makeLine("Salut", 11, 1, 3)});
}

std::string oddSalut(unsigned counter) {
    return sdp("8b8c8d", "555527 159b 830d0b0b d361ec75f4 8a8a" + spaces(29) + kFilling + kFilling, counter);
}

TEST(TeletextFrames, CarryFillingPacketsWithoutRecords) {
    Player player;
    EXPECT_EQ(player.at(0), fillers(0));
    EXPECT_EQ(player.at(0.04), fillers(2));
    EXPECT_EQ(player.at(0.08), fillers(4));
    EXPECT_EQ(player.packetizer->lastSubtitleRecord(), nullptr);
    EXPECT_TRUE(player.packetizer->isSubtitleDisplayed());
}

TEST(TeletextFrames, AreAncillaryDataElements) {
    Player player;
    const auto sample = player.sampleAt(0);
    ASSERT_TRUE(sample && sample->dataBuffer && sample->formatDescription);
    EXPECT_EQ(sample->formatDescription->mediaType, qlx::fourCC("meta"));
    EXPECT_EQ(sample->formatDescription->mediaSubType, qlx::fourCC("VANC"));
    // Two packets; line 12 and line 575; 151 samples in 152 bytes, the last one padding.
    const std::string expected = "0002"
                                 "000c"
                                 "0104"
                                 "0097"
                                 "00000098"
                                 "00000001"
                                 "430294" +
                                 oddFilling(0) +
                                 "00"
                                 "023f"
                                 "0104"
                                 "0097"
                                 "00000098"
                                 "00000001"
                                 "430294" +
                                 evenFilling(1) + "00";
    EXPECT_EQ(toHex({sample->dataBuffer->data(), sample->dataBuffer->size()}), expected);
    EXPECT_EQ(sample->sampleSize, sample->dataBuffer->size());
    EXPECT_EQ(sample->attachments, (qlx::Dictionary{{"VANCPacketTypes", qlx::Array{3, 3}}}));
}

TEST(TeletextFrames, EraseThenSendRowsThenFill) {
    const auto record = makeBonjour(10, 12);
    Player player({record});
    // Field 2 is built first, then the two blocks of the next frame, then the filling packets of field 1. The first
    // record is due from the beginning.
    EXPECT_EQ(player.at(0), (Fields{oddFilling(3), evenErasing(0)}));
    EXPECT_EQ(player.packetizer->lastSubtitleRecord(), record);
    EXPECT_EQ(player.at(0.04), (Fields{oddBonjour(1), evenClosing(2)}));
    EXPECT_EQ(player.at(0.08), fillers(4));
    EXPECT_EQ(player.at(11.96), fillers(6));
    // The end: erased, then filled on field 1 and closed on field 2.
    EXPECT_EQ(player.at(12.0), (Fields{oddFilling(11), evenErasing(8)}));
    EXPECT_EQ(player.packetizer->lastSubtitleRecord(), nullptr);
    EXPECT_EQ(player.at(12.04), (Fields{oddFilling(9), evenClosing(10)}));
    EXPECT_EQ(player.at(12.08), fillers(12));
}

TEST(TeletextFrames, SendALaterRecordFromTheFrameAfterItsStart) {
    Player player({makeBonjour(10, 12), makeSalut(15, 17)});
    (void)player.at(0);
    (void)player.at(0.04);
    (void)player.at(12.0);
    (void)player.at(12.04);
    EXPECT_EQ(player.at(15.0), fillers(8));
    EXPECT_EQ(player.at(15.04), (Fields{oddFilling(13), evenErasing(10)}));
    EXPECT_EQ(player.at(15.08), (Fields{oddSalut(11), evenClosing(12)}));
    EXPECT_EQ(player.at(15.12), fillers(14));
}

TEST(TeletextFrames, EraseBetweenTouchingRecords) {
    Player player({makeBonjour(0, 2), makeSalut(2, 4)});
    (void)player.at(0);
    (void)player.at(0.04);
    EXPECT_EQ(player.at(1.96), fillers(4));
    // At 2 s neither is due: the page is erased. The second one is due while that is going out, and follows.
    EXPECT_EQ(player.at(2.0), (Fields{oddFilling(9), evenErasing(6)}));
    EXPECT_EQ(player.at(2.04), (Fields{oddFilling(7), evenClosing(8)}));
    EXPECT_EQ(player.packetizer->lastSubtitleRecord(), nullptr);
    EXPECT_EQ(player.at(2.08), (Fields{oddFilling(13), evenErasing(10)}));
    EXPECT_EQ(player.packetizer->lastSubtitleRecord(), player.packetizer->subtitleAtIndex(1));
    EXPECT_EQ(player.at(2.12), (Fields{oddSalut(11), evenClosing(12)}));
    EXPECT_EQ(player.at(2.16), fillers(14));
}

TEST(TeletextFrames, GoFromOneRecordToAnOverlappingOne) {
    Player player({makeBonjour(0, 2), makeSalut(1.5, 4)});
    (void)player.at(0);
    (void)player.at(0.04);
    EXPECT_EQ(player.at(1.96), fillers(4));
    EXPECT_EQ(player.at(2.0), (Fields{oddFilling(9), evenErasing(6)}));
    EXPECT_EQ(player.at(2.04), (Fields{oddSalut(7), evenClosing(8)}));
    EXPECT_EQ(player.at(2.08), fillers(10));
}

TEST(TeletextFrames, LookAtAChangeOnlyWhenNothingIsPending) {
    // One-frame records: the second is due and over while the first one's rows go out, and is never sent.
    Player player({makeBonjour(0, 0.04), makeSalut(0.02, 0.08), makeBonjour(0.07, 4)});
    EXPECT_EQ(player.at(0), (Fields{oddFilling(3), evenErasing(0)}));
    EXPECT_EQ(player.at(0.04), (Fields{oddBonjour(1), evenClosing(2)}));
    EXPECT_EQ(player.packetizer->lastSubtitleRecord(), player.packetizer->subtitleAtIndex(0));
    EXPECT_EQ(player.at(0.08), (Fields{oddFilling(7), evenErasing(4)}));
    EXPECT_EQ(player.packetizer->lastSubtitleRecord(), player.packetizer->subtitleAtIndex(2));
    EXPECT_EQ(player.at(0.12), (Fields{oddBonjour(5), evenClosing(6)}));
    EXPECT_EQ(player.at(0.16), fillers(8));
}

TEST(TeletextFrames, ShowTheLiveRecordInPlaceOfTheTimeline) {
    Player player({makeBonjour(0, 2), makeBonjour(3, 4)});
    (void)player.at(0);
    (void)player.at(0.04);
    const auto live = makeSalut(0, 0);
    player.packetizer->setLiveSubtitleRecordToDisplay(live);
    EXPECT_EQ(player.at(0.08), (Fields{oddFilling(7), evenErasing(4)}));
    EXPECT_EQ(player.packetizer->lastSubtitleRecord(), live);
    EXPECT_EQ(player.at(0.12), (Fields{oddSalut(5), evenClosing(6)}));
    EXPECT_EQ(player.at(100), fillers(8));
    // The timeline stood still: the first record comes back.
    player.packetizer->setLiveSubtitleRecordToDisplay(nullptr);
    EXPECT_EQ(player.at(0.2), (Fields{oddFilling(13), evenErasing(10)}));
    EXPECT_EQ(player.packetizer->lastSubtitleRecord(), player.packetizer->subtitleAtIndex(0));
    EXPECT_EQ(player.at(0.24), (Fields{oddBonjour(11), evenClosing(12)}));
}

TEST(TeletextFrames, EraseWhenTheLiveRecordIsTakenAway) {
    Player player;
    player.packetizer->setLiveSubtitleRecordToDisplay(makeSalut(0, 0));
    EXPECT_EQ(player.at(0), (Fields{oddFilling(3), evenErasing(0)}));
    // Taken away while its rows are pending: they still go out.
    player.packetizer->setLiveSubtitleRecordToDisplay(nullptr);
    EXPECT_EQ(player.at(0.04), (Fields{oddSalut(1), evenClosing(2)}));
    EXPECT_EQ(player.at(0.08), (Fields{oddFilling(7), evenErasing(4)}));
    EXPECT_EQ(player.at(0.12), (Fields{oddFilling(5), evenClosing(6)}));
    EXPECT_EQ(player.at(0.16), fillers(8));
}

TEST(TeletextFrames, EraseWhateverTheDisplayFlagSays) {
    // Every frame sets the flag before it looks at it.
    Player player({makeBonjour(0, 2)});
    (void)player.at(0);
    (void)player.at(0.04);
    player.packetizer->setIsSubtitleDisplayed(false);
    EXPECT_EQ(player.at(2.0), (Fields{oddFilling(7), evenErasing(4)}));
    EXPECT_TRUE(player.packetizer->isSubtitleDisplayed());
}

TEST(TeletextFrames, CompareRecordsByIdentity) {
    const auto record = makeBonjour(0, 9);
    Player player({record});
    (void)player.at(0);
    (void)player.at(0.04);
    // Changed in place: not sent again.
    record->setSubtitleLines({makeLine("Salut", 11)});
    EXPECT_EQ(player.at(0.08), fillers(4));
    // Another record with the same content is.
    player.packetizer->setSubtitleRecords({makeBonjour(0, 9)});
    EXPECT_EQ(player.at(0.12), (Fields{oddFilling(9), evenErasing(6)}));
    EXPECT_EQ(player.at(0.16), (Fields{oddBonjour(7), evenClosing(8)}));
}

TEST(TeletextFrames, SendNothingForARecordThatIsSaidToBeOut) {
    const auto record = makeBonjour(0, 9);
    Player player({record});
    player.packetizer->setLastSubtitleRecord(record);
    EXPECT_EQ(player.at(0), fillers(0));
}

TEST(TeletextFrames, TakeTheRowsWhenTheSubtitleStarts) {
    const auto record = makeBonjour(0, 9);
    Player player({record});
    (void)player.at(0);
    record->setSubtitleLines({});
    EXPECT_EQ(player.at(0.04), (Fields{oddBonjour(1), evenClosing(2)}));
}

TEST(TeletextFrames, EraseForARecordWithoutLines) {
    Player player({makeRecord(0, 9)});
    EXPECT_EQ(player.at(0), (Fields{oddFilling(3), evenErasing(0)}));
    EXPECT_EQ(player.at(0.04), (Fields{sdp("808182", kFilling + kFilling + kFilling, 1), evenClosing(2)}));
}

TEST(TeletextFrames, KeepPendingOutputWhenTheListIsReplaced) {
    Player player({makeBonjour(0, 9)});
    (void)player.at(0);
    player.packetizer->deleteSubtitleRecords();
    EXPECT_EQ(player.at(0.04), (Fields{oddBonjour(1), evenClosing(2)}));
    EXPECT_EQ(player.at(0.08), (Fields{oddFilling(7), evenErasing(4)}));
}

TEST(TeletextFrames, UseTheLinesOfTheirStandard) {
    const auto packetizer = Packetizer::initWithSubtitleMode_isHD(2, false);
    const auto frame = [&packetizer] {
        return packetizer->copyNextTeletextSampleBufferAtPTS_frameDuration(MediaTime::make(0, 25),
                                                                           MediaTime::make(1, 25));
    };
    EXPECT_EQ(fieldsOf(frame(), 21, 334), fillers(0));
    packetizer->setIsHD(true);
    EXPECT_EQ(fieldsOf(frame(), 12, 575), fillers(2));
    packetizer->setIsHD(false);
    EXPECT_EQ(fieldsOf(frame(), 21, 334), fillers(4));
}

TEST(TeletextFrames, FollowTheMode) {
    Player player({makeBonjour(0, 2), makeSalut(3, 4)});
    (void)player.at(0);
    // Modes without output: nothing moves, nothing is taken.
    for (const std::int32_t mode : {0, 3, -1, 257, 258}) {
        player.packetizer->setSubtitleMode(mode);
        EXPECT_EQ(player.sampleAt(100), nullptr) << mode;
    }
    player.packetizer->setSubtitleMode(2);
    EXPECT_EQ(player.at(0.04), (Fields{oddBonjour(1), evenClosing(2)}));
    EXPECT_EQ(player.at(0.08), fillers(4));
    // The teletext operation itself does not ask for the mode.
    player.packetizer->setSubtitleMode(1);
    EXPECT_EQ(fieldsOf(player.packetizer->copyNextTeletextSampleBufferAtPTS_frameDuration(MediaTime::make(3, 25),
                                                                                          MediaTime::make(1, 25))),
              fillers(6));
}

TEST(TeletextFrames, PassTheTimingOn) {
    Player player;
    const MediaTime pts{1234567890123, 90000, MediaTime::kValid | MediaTime::kHasBeenRounded, 7};
    const MediaTime duration{-3, 50, 0, 9};
    const auto sample = player.packetizer->copyNextSubtitleSampleBufferAtPTS_frameDuration(pts, duration);
    ASSERT_TRUE(sample && sample->timingInfo);
    EXPECT_EQ(sample->timingInfo->presentationTimeStamp, pts);
    EXPECT_EQ(sample->timingInfo->duration, duration);
    EXPECT_EQ(sample->timingInfo->decodeTimeStamp, MediaTime{});
}

TEST(TeletextFrames, ReadTheTimeInSeconds) {
    Player player({makeBonjour(0, 2)});
    // 59999/30000 s is before the end at 2 s, 60060/30000 s behind it.
    const MediaTime duration = MediaTime::make(1001, 30000);
    const auto frameAt = [&](const MediaTime& pts) {
        return fieldsOf(player.packetizer->copyNextSubtitleSampleBufferAtPTS_frameDuration(pts, duration));
    };
    (void)frameAt(MediaTime::make(0, 30000));
    (void)frameAt(MediaTime::make(1001, 30000));
    EXPECT_EQ(frameAt(MediaTime::make(59999, 30000)), fillers(4));
    EXPECT_EQ(frameAt(MediaTime::make(60060, 30000)), (Fields{oddFilling(9), evenErasing(6)}));
    EXPECT_EQ(frameAt(MediaTime::make(61061, 30000)), (Fields{oddFilling(7), evenClosing(8)}));
    // An invalid time is no time: nothing is due.
    EXPECT_EQ(frameAt({}), fillers(10));
    Player other({makeBonjour(0, 2)});
    EXPECT_EQ(fieldsOf(other.packetizer->copyNextSubtitleSampleBufferAtPTS_frameDuration({}, duration)), fillers(0));
}

TEST(TeletextFrames, GiveNoneWhenAMediaObjectCannotBeMade) {
    for (const qlx::SampleStage stage : {qlx::SampleStage::BlockBuffer, qlx::SampleStage::DataPointer,
                                         qlx::SampleStage::FormatDescription, qlx::SampleStage::SampleBuffer}) {
        qlxtest::RecordingConsole console;
        const qlx::ScopedService<qlx::Console> quiet(console);
        Player player({makeBonjour(0, 2)});
        {
            qlxtest::RefusingMediaFactory factory(stage, -4);
            const qlx::ScopedService<qlx::MediaFactory> media(factory);
            EXPECT_EQ(player.sampleAt(0), nullptr);
        }
        // The frame is lost, the schedule goes on.
        EXPECT_EQ(player.at(0.04), (Fields{oddBonjour(1), evenClosing(2)}));
        EXPECT_EQ(player.at(0.08), fillers(4));
        EXPECT_EQ(console.printed, stage == qlx::SampleStage::SampleBuffer
                                       ? "Invalid could not create VANC sample buffer (Error = -4\n"
                                       : "");
    }
}

}  // namespace
