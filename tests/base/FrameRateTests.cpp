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

}  // namespace
