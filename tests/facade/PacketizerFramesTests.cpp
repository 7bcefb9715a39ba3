// The frames of a playout as values: the packets of the samples.
#include <qlx/facade/frames.h>

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <qlx/facade/packet.h>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using qlx::MediaTime;
using qlx::anc::Packet;

/// Two subtitles with a gap of half a second.
std::shared_ptr<QLXSubtitlesPacketizer> packetizerOf(std::int32_t mode, bool isHD) {
    std::vector<std::shared_ptr<QLXSubtitleRecord>> records;
    for (const double start : {0.5, 2.0}) {
        auto record = QLXSubtitleRecord::initWithSubtitleMode(mode);
        record->setStartTimeInSeconds(start);
        record->setEndTimeInSeconds(start + 1.0);
        auto line = std::make_shared<QLXSubtitleTextLine>();
        line->setTextString("Bonjour");
        line->setVerticalPosition(10);
        record->setSubtitleLines({line});
        records.push_back(std::move(record));
    }
    auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(mode, isHD);
    packetizer->setSubtitleRecords(records);
    return packetizer;
}

std::vector<Packet> packetsOfSample(std::int32_t mode, const std::shared_ptr<qlx::SampleBuffer>& sample) {
    if (mode == 2) {
        return qlx::facade::toAncPackets(QLXVANCPacket::VANCPacketsWithCMSampleBuffer(sample));
    }
    if (!sample) {
        return {};
    }
    const qlx::Data cdp = QLXCCUtilities::extractCaptionsDataFromSampleBuffer(sample);
    Packet packet;
    packet.did = 0x61;
    packet.sdid = 0x01;
    packet.line = 9;
    packet.userData.assign(cdp.begin(), cdp.end());
    return {packet};
}

TEST(PacketizerFrames, AreThePacketsOfTheSamples) {
    const MediaTime durations[] = {MediaTime::make(1, 25), MediaTime::make(1001, 30'000), MediaTime::make(1, 50),
                                   MediaTime::make(1, 7)};
    for (const std::int32_t mode : {1, 2}) {
        for (const MediaTime& duration : durations) {
            const auto samples = packetizerOf(mode, duration.value == 1);
            const auto values = packetizerOf(mode, duration.value == 1);
            std::size_t count = 0;
            for (std::int64_t frame = 0; frame < 180; ++frame) {
                const MediaTime pts = MediaTime::make(frame * duration.value, duration.timescale);
                const auto expected =
                    packetsOfSample(mode, samples->copyNextSubtitleSampleBufferAtPTS_frameDuration(pts, duration));
                EXPECT_EQ(qlx::facade::nextPackets(*values, pts, duration), expected) << mode << ", frame " << frame;
                EXPECT_EQ(values->lastSubtitleRecord() == nullptr, samples->lastSubtitleRecord() == nullptr);
                count += expected.size();
            }
            EXPECT_GE(count, mode == 2 ? 360U : 20U);
        }
    }
}

TEST(PacketizerFrames, AreEmptyInOtherModes) {
    const auto packetizer = packetizerOf(3, true);
    EXPECT_EQ(qlx::facade::nextPackets(*packetizer, MediaTime::make(1, 1), MediaTime::make(1, 25)),
              std::vector<Packet>{});
}

}  // namespace
