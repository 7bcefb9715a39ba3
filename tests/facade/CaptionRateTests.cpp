#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <qlx/base/frame_rate.h>
#include <qlx/cc/slots.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

using qlx::MediaTime;
using Utilities = QLXCCUtilities;

namespace {

struct Rate {
    MediaTime frameDuration;
    std::uint8_t ccCount;
    std::uint8_t code;
};

constexpr std::int64_t kHuge = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int32_t kFinest = std::numeric_limits<std::int32_t>::max();

constexpr Rate kRates[] = {
    // The eight rates of the standard.
    {MediaTime::make(1001, 24'000), 25, 1},
    {MediaTime::make(1, 24), 25, 2},
    {MediaTime::make(1, 25), 24, 3},
    {MediaTime::make(1001, 30'000), 20, 4},
    {MediaTime::make(1, 30), 20, 5},
    {MediaTime::make(1, 50), 12, 6},
    {MediaTime::make(1001, 60'000), 10, 7},
    {MediaTime::make(1, 60), 10, 8},
    // The same in other units.
    {MediaTime::make(40, 1000), 24, 3},
    {MediaTime::make(3600, 90'000), 24, 3},
    {MediaTime::make(3003, 90'000), 20, 4},
    {MediaTime::make(1'000'000'000, 2'000'000'000), 44, 0},
    // Near a rate: 23.98 and 29.98 are no codes, 23.979 is one.
    {MediaTime::make(1000, 23'985), 25, 0},
    {MediaTime::make(1000, 29'985), 20, 0},
    {MediaTime::make(1000, 23'979), 25, 1},
    // Any other rate.
    {MediaTime::make(1, 15), 40, 0},
    {MediaTime::make(1, 12), 50, 0},
    {MediaTime::make(1, 120), 5, 0},
    {MediaTime::make(1, 600), 1, 0},
    {MediaTime::make(1, 601), 0, 0},
    // Counts above 255 keep their low 8 bits: 600, 1200, 600 000 000 = 0x23C34600.
    {MediaTime::make(1, 1), 88, 0},
    {MediaTime::make(2, 1), 176, 0},
    {MediaTime::make(1'000'000, 1), 0, 0},
    {MediaTime::make(1'000'001, 1), 88, 0},
    // No rate at all.
    {MediaTime{}, 0, 0},
    {MediaTime::make(0, 25), 0, 0},
    {MediaTime::make(1, 0), 0, 0},
    {MediaTime::make(-1, 25), 0, 0},
    {MediaTime::make(1, -25), 0, 0},
    {MediaTime::make(kLowest, kFinest), 0, 0},
    // Two negative numbers have a positive quotient.
    {MediaTime::make(-1, -25), 24, 3},
    // The ends of the ranges; 600 * 2^63 is a multiple of 256.
    {MediaTime::make(kHuge, 1), 0, 0},
    {MediaTime::make(1, kFinest), 0, 0},
    {MediaTime::make(kLowest, -1), 0, 0},
    // Flags and epoch do not matter.
    {MediaTime{1, 25, 0, 0}, 24, 3},
    {MediaTime{1, 25, 0x1F, -7}, 24, 3},
};

}  // namespace

TEST(CaptionRate, FixesCountAndCode) {
    for (const Rate& rate : kRates) {
        SCOPED_TRACE(testing::Message() << rate.frameDuration.value << '/' << rate.frameDuration.timescale);
        EXPECT_EQ(Utilities::ccCountForFrameDuration(rate.frameDuration), rate.ccCount);
        EXPECT_EQ(Utilities::cdpFrameRateForFrameDuration(rate.frameDuration), rate.code);
    }
}

TEST(CaptionRate, IsTheSameForPackets) {
    for (const Rate& rate : kRates) {
        SCOPED_TRACE(testing::Message() << rate.frameDuration.value << '/' << rate.frameDuration.timescale);
        EXPECT_EQ(QLXVANCPacket::ccCountForFrameDuration(rate.frameDuration), rate.ccCount);
        EXPECT_EQ(QLXVANCPacket::cdpFrameRateForFrameDuration(rate.frameDuration), rate.code);
    }
}

TEST(CaptionRate, FixesTheSampleSize) {
    for (const Rate& rate : kRates) {
        EXPECT_EQ(Utilities::closedCaptionMaxSampleSizeForFrameDuration(rate.frameDuration),
                  std::int32_t{rate.ccCount} * 3 + 37);
    }
    EXPECT_EQ(Utilities::closedCaptionMaxSampleSizeForFrameDuration(MediaTime::make(1001, 30'000)), 97);
    EXPECT_EQ(Utilities::closedCaptionMaxSampleSizeForFrameDuration(MediaTime::make(1, 25)), 109);
    EXPECT_EQ(Utilities::closedCaptionMaxSampleSizeForFrameDuration(MediaTime{}), 37);
    // 255 and a half six hundredths of a second: the largest size, not taken modulo 256.
    EXPECT_EQ(Utilities::closedCaptionMaxSampleSizeForFrameDuration(MediaTime::make(511, 1200)), 802);
}

TEST(CaptionRate, IsThatOfTheCoreForItsRates) {
    for (const qlx::FrameRate rate : qlx::kFrameRates) {
        const MediaTime duration = qlx::frameDuration(rate);
        EXPECT_EQ(Utilities::ccCountForFrameDuration(duration), qlx::cc::slotsOf(rate).ccCount);
        EXPECT_EQ(Utilities::cdpFrameRateForFrameDuration(duration), qlx::cdpFrameRateCode(rate));
    }
}

TEST(CaptionRate, OfACountKnowsThreeCodes) {
    for (unsigned count = 0; count < 256; ++count) {
        const unsigned expected = count == 25 ? 1 : count == 10 ? 7 : 4;
        EXPECT_EQ(Utilities::cdpFrameRateForCCCount(static_cast<std::uint8_t>(count)), expected) << count;
    }
}
