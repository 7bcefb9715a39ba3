// Records and properties are changed by other threads while frames are made.
#include "ExpectedTeletext.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

namespace {

using namespace qlxtest;
using qlx::MediaTime;

constexpr int kFrames = 2000;

/// Makes frames, and checks that each carries two whole SDPs.
void playFrames(QLXSubtitlesPacketizer& packetizer) {
    for (int frame = 0; frame < kFrames; ++frame) {
        const auto sample = packetizer.copyNextSubtitleSampleBufferAtPTS_frameDuration(MediaTime::make(frame, 25),
                                                                                       MediaTime::make(1, 25));
        const auto packets = QLXVANCPacket::VANCPacketsWithCMSampleBuffer(sample);
        ASSERT_EQ(packets.size(), 2U);
        for (const auto& packet : packets) {
            ASSERT_EQ(packet->packetData().size(), 148U);
            ASSERT_EQ(sumOf(packet->packetData()), 0U);
        }
    }
}

/// Runs `change` again and again while frames are made.
template <typename Change>
void playWhile(const std::shared_ptr<QLXSubtitlesPacketizer>& packetizer, Change change) {
    std::atomic<bool> done{false};
    std::thread other([&] {
        for (int round = 0; !done.load(); ++round) {
            change(round);
            std::this_thread::yield();
        }
    });
    playFrames(*packetizer);
    done = true;
    other.join();
}

std::vector<std::shared_ptr<QLXSubtitleRecord>> makeRecords(int count) {
    std::vector<std::shared_ptr<QLXSubtitleRecord>> records;
    for (int index = count; index-- > 0;) {
        records.push_back(
            makeRecord(index * 0.2, index * 0.2 + 0.15, {makeLine("Bonjour", 10), makeLine("Salut", 11)}));
    }
    return records;
}

TEST(PacketizerThreads, RecordsAreReplaced) {
    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true);
    playWhile(packetizer, [&](int round) {
        packetizer->setSubtitleRecords(makeRecords(round % 50));
        packetizer->addSubtitleRecords(makeRecords(5));
        EXPECT_EQ(packetizer->subtitleRecords().size(), static_cast<std::size_t>(round % 50 + 5));
        (void)packetizer->subtitleAtIndex(3);
        if (round % 3 == 0) {
            packetizer->deleteSubtitleRecords();
        }
    });
}

TEST(PacketizerThreads, TheLiveRecordIsToggled) {
    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true);
    packetizer->setSubtitleRecords(makeRecords(400));
    playWhile(packetizer, [&](int round) {
        packetizer->setLiveSubtitleRecordToDisplay(round % 2 == 0 ? makeRecord(0, 0, {makeLine("Live", 11)}) : nullptr);
        (void)packetizer->lastSubtitleRecord();
        packetizer->setIsHD(round % 5 != 0);
        packetizer->setIsSubtitleDisplayed(false);
    });
    EXPECT_EQ(packetizer->subtitleRecords().size(), 400U) << "the timeline stays as it was";
}

TEST(PacketizerThreads, RecordsAreChangedInPlace) {
    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true);
    const auto records = makeRecords(400);
    packetizer->setSubtitleRecords(records);
    playWhile(packetizer, [&](int round) {
        const auto& record = records[static_cast<std::size_t>(round) % records.size()];
        record->setStartTimeInSeconds(round % 80);
        record->setEndTimeInSeconds(round % 80 + 1);
        record->setSubtitleLines({makeLine("Changed", 11)});
        packetizer->addSubtitleRecords({});
    });
    EXPECT_EQ(packetizer->subtitleRecords().size(), records.size());
}

TEST(PacketizerThreads, BlocksOfSeveralThreadsHaveDifferentCounters) {
    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true);
    constexpr std::size_t kThreads = 4;
    constexpr std::size_t kBlocks = 2000;
    std::vector<std::vector<unsigned>> counters(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&packetizer, &mine = counters[thread]] {
            for (std::size_t block = 0; block < kBlocks; ++block) {
                const qlx::Data data = packetizer->linesPacketWithLines_oddField({}, true);
                mine.push_back(data[145] * 256U + data[146]);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<bool> seen(kThreads * kBlocks);
    for (const auto& mine : counters) {
        for (const unsigned counter : mine) {
            ASSERT_LT(counter, seen.size());
            EXPECT_FALSE(seen[counter]);
            seen[counter] = true;
        }
    }
}

}  // namespace
