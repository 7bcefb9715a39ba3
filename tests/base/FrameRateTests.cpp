#include <qlx/base/frame_rate.h>

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using qlx::FrameRate;
using qlx::MediaTime;

TEST(FrameRate, HasTheCodesOneToEight) {
    std::uint8_t code = 1;
    for (const FrameRate rate : qlx::kFrameRates) {
        EXPECT_EQ(qlx::cdpFrameRateCode(rate), code);
        EXPECT_EQ(qlx::frameRateOfCdpCode(code), rate);
        ++code;
    }
    for (const int other : {0, 9, 15, 255}) {
        EXPECT_FALSE(qlx::frameRateOfCdpCode(static_cast<std::uint8_t>(other))) << other;
    }
}

TEST(FrameRate, KnowsHowLongAFrameLasts) {
    EXPECT_EQ(qlx::frameDuration(FrameRate::Fps23976), MediaTime::make(1001, 24'000));
    EXPECT_EQ(qlx::frameDuration(FrameRate::Fps24), MediaTime::make(1, 24));
    EXPECT_EQ(qlx::frameDuration(FrameRate::Fps25), MediaTime::make(1, 25));
    EXPECT_EQ(qlx::frameDuration(FrameRate::Fps2997), MediaTime::make(1001, 30'000));
    EXPECT_EQ(qlx::frameDuration(FrameRate::Fps30), MediaTime::make(1, 30));
    EXPECT_EQ(qlx::frameDuration(FrameRate::Fps50), MediaTime::make(1, 50));
    EXPECT_EQ(qlx::frameDuration(FrameRate::Fps5994), MediaTime::make(1001, 60'000));
    EXPECT_EQ(qlx::frameDuration(FrameRate::Fps60), MediaTime::make(1, 60));
}

TEST(FrameRate, IsFoundFromADurationInAnyTerms) {
    for (const FrameRate rate : qlx::kFrameRates) {
        const MediaTime one = qlx::frameDuration(rate);
        EXPECT_EQ(qlx::frameRateOfDuration(one), rate);
        EXPECT_EQ(qlx::frameRateOfDuration(MediaTime::make(one.value * 7, one.timescale * 7)), rate);
        // Longer by 3/1000: by 1/1000 it would be that of the fractional rate.
        EXPECT_FALSE(qlx::frameRateOfDuration(MediaTime::make(one.value * 1000 + 3, one.timescale * 1000)));
    }
    EXPECT_FALSE(qlx::frameRateOfDuration(MediaTime{}));
    EXPECT_FALSE(qlx::frameRateOfDuration(MediaTime{1, 25, 0, 0})) << "not valid";
    EXPECT_FALSE(qlx::frameRateOfDuration(MediaTime::make(0, 0)));
    EXPECT_FALSE(qlx::frameRateOfDuration(MediaTime::make(-1, -25)));
    EXPECT_FALSE(qlx::frameRateOfDuration(MediaTime::make(INT64_MAX, 25)));
}

TEST(FrameRate, FindsTheFirstFrameAtOrAfterAnother) {
    using qlx::firstFrameAtOrAfter;
    // Ticks of 1/120000 s in a frame, in the order of the codes.
    const std::uint64_t ticks[] = {5005, 5000, 4800, 4004, 4000, 2400, 2002, 2000};
    for (const FrameRate from : qlx::kFrameRates) {
        for (const FrameRate to : qlx::kFrameRates) {
            const std::uint64_t one = ticks[static_cast<std::size_t>(from) - 1];
            const std::uint64_t other = ticks[static_cast<std::size_t>(to) - 1];
            // The last ones are those of 24 hours and of some centuries at 60.
            for (const std::uint64_t frame : {0ULL, 1ULL, 2ULL, 3ULL, 1001ULL, 5'184'000ULL, 1'000'000'000'007ULL}) {
                EXPECT_EQ(firstFrameAtOrAfter(from, frame, to), (frame * one + other - 1) / other)
                    << static_cast<int>(from) << " to " << static_cast<int>(to) << ", frame " << frame;
            }
        }
    }
}

TEST(FrameRate, FindsTheFirstFrameAtOrAfterATime) {
    using qlx::firstFrameAtOrAfter;
    EXPECT_EQ(firstFrameAtOrAfter(MediaTime::make(0, 600), FrameRate::Fps2997), 0U);
    EXPECT_EQ(firstFrameAtOrAfter(MediaTime::make(1001, 1000), FrameRate::Fps2997), 30U);
    EXPECT_EQ(firstFrameAtOrAfter(MediaTime::make(1002, 1000), FrameRate::Fps2997), 31U);
    EXPECT_EQ(firstFrameAtOrAfter(MediaTime::make(1, 50), FrameRate::Fps25), 1U);
    EXPECT_EQ(firstFrameAtOrAfter(MediaTime::make(2'000'000'000'000, 1000), FrameRate::Fps60), 120'000'000'000U);
    EXPECT_EQ(firstFrameAtOrAfter(MediaTime::make(INT64_MAX, 1), FrameRate::Fps60), std::nullopt);
    EXPECT_EQ(firstFrameAtOrAfter(MediaTime::make(-1, 25), FrameRate::Fps25), std::nullopt);
    EXPECT_EQ(firstFrameAtOrAfter(MediaTime(), FrameRate::Fps25), std::nullopt);
}

TEST(FrameRate, FindsTheNearestFrame) {
    using qlx::nearestFrame;
    for (const FrameRate rate : qlx::kFrameRates) {
        const MediaTime one = qlx::frameDuration(rate);
        for (const std::int64_t frame : {0LL, 1LL, 2LL, 107'892LL, 5'184'000LL}) {
            // Of a half of a frame, and of what is a little less or more.
            const MediaTime half = MediaTime::make((2 * frame + 1) * one.value, 2 * one.timescale);
            const MediaTime before = MediaTime::make(1000 * half.value - 1, 1000 * half.timescale);
            const MediaTime exact = MediaTime::make(frame * one.value, one.timescale);
            EXPECT_EQ(nearestFrame(exact, rate), static_cast<std::uint64_t>(frame));
            EXPECT_EQ(nearestFrame(half, rate), static_cast<std::uint64_t>(frame + 1));
            EXPECT_EQ(nearestFrame(before, rate), static_cast<std::uint64_t>(frame));
        }
    }
    EXPECT_EQ(nearestFrame(MediaTime::make(2'000'000'000'000, 1000), FrameRate::Fps60), 120'000'000'000U);
    EXPECT_EQ(nearestFrame(MediaTime::make(INT64_MAX, 1), FrameRate::Fps60), std::nullopt);
    EXPECT_EQ(nearestFrame(MediaTime::make(-1, 25), FrameRate::Fps25), std::nullopt);
    EXPECT_EQ(nearestFrame(MediaTime(), FrameRate::Fps25), std::nullopt);
}

}  // namespace
