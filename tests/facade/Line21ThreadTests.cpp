// Line 21 on several threads: each object is used by one thread, and objects share nothing.
#include <QLXClosedCaptionsUtilities/QLXCEA608ReaderWriter.h>

#include "Pictures.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

TEST(Line21Threads, DrawAndReadAtTheSameTime) {
    constexpr unsigned kRounds = 200;
    std::atomic<unsigned> wrong{0};
    std::atomic<unsigned> right{0};
    std::vector<std::thread> threads;
    for (const std::uint32_t format : qlxtest::kPixelFormats) {
        threads.emplace_back([format, &wrong, &right] {
            QLXCEA608ReaderWriter line;
            const auto sample = std::make_shared<qlx::SampleBuffer>();
            for (unsigned round = 0; round < kRounds; ++round) {
                // The width changes now and then, so that picture and waveform are made anew beside the other threads.
                sample->imageBuffer = qlxtest::makePicture(round / 20 % 2 == 0 ? 720 : 1920, 3, format);
                const auto first = static_cast<std::uint8_t>(round);
                const auto second = static_cast<std::uint8_t>(0x80 + round % 0x80);
                line.overlayCEA608FromData_videoPixelBuffer({first, second}, sample->imageBuffer);
                const auto caption = line.createClosedCaptionSampleFromCEA608VideoSampleBuffer(sample);
                const bool isRight = caption && caption->dataBuffer->size() == 4 &&
                                     caption->dataBuffer->data()[0] == first &&
                                     caption->dataBuffer->data()[1] == second;
                ++(isRight ? right : wrong);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(right, kRounds * qlxtest::kPixelFormats.size());
}
