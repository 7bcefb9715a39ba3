// Splitting and joining from several threads: they share one counter and nothing else.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "CaptionSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace qlxtest;

TEST(CaptionThreads, SplitAndJoinAtTheSameTime) {
    constexpr std::uint32_t kThreads = 4;
    constexpr std::uint32_t kRounds = 2'000;
    const std::string triplets = "fc942cfd1526" + repeated("fe1122", 18);
    const ExpectedPacket packet{89, 4, "0000", 20, triplets};
    const auto sample =
        sampleOf(qlx::fourCC("clcp"), qlx::fourCC("c708"), fromHex(atomDigits(packet.digitsOfPacket())));
    gSequenceCounter = 0;
    std::atomic<std::uint32_t> wrong{0};
    std::vector<std::thread> threads;
    for (std::uint32_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            for (std::uint32_t round = 0; round < kRounds; ++round) {
                std::shared_ptr<qlx::SampleBuffer> first;
                std::shared_ptr<qlx::SampleBuffer> second;
                const bool split = QLXCCUtilities::splitSampleBuffer_toSampleBuffer_andSampleBuffer_frameDuration(
                    sample, &first, &second, k5994);
                const auto joined =
                    QLXCCUtilities::createConcatenatedSampleBufferWithSampleBuffer_andSampleBuffer_frameDuration(
                        first, second, k2997);
                if (!split || digitsOf(joined).substr(34, triplets.size()) != triplets) {
                    ++wrong;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0U);
    // Values may repeat in the samples, but each of the three samples of a round is counted.
    EXPECT_EQ(gSequenceCounter, 3 * kThreads * kRounds);
    gSequenceCounter = 0;
}
