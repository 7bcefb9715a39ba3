#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using qlx::MediaTime;
using qlx::RoundingMethod;

namespace {

constexpr std::uint32_t kRounded = MediaTime::kValid | MediaTime::kHasBeenRounded;

std::int64_t converted(std::int64_t value, std::int32_t from, std::int32_t to, RoundingMethod method) {
    return qlx::convertScale(MediaTime::make(value, from), to, method).value;
}

}  // namespace

TEST(MediaTime, IsInvalidUntilMade) {
    EXPECT_FALSE(MediaTime().isValid());
    EXPECT_EQ(MediaTime(), (MediaTime{0, 0, 0, 0}));
    EXPECT_EQ(MediaTime::make(3, 25), (MediaTime{3, 25, 1, 0}));
    EXPECT_EQ(qlx::SampleTimingInfo().presentationTimeStamp, MediaTime());
}

TEST(MediaTime, GivesSeconds) {
    EXPECT_EQ(qlx::secondsFrom(MediaTime::make(25, 25)), 1.0);
    EXPECT_EQ(qlx::secondsFrom(MediaTime::make(-1, 4)), -0.25);
    EXPECT_EQ(qlx::secondsFrom(MediaTime::make(1001, 30000)), 1001.0 / 30000.0);
    EXPECT_TRUE(std::isnan(qlx::secondsFrom(MediaTime::make(1, 0))));
    EXPECT_TRUE(std::isnan(qlx::secondsFrom(MediaTime{})));
}

TEST(MediaTime, ConvertsExactValuesWithoutAMark) {
    EXPECT_EQ(qlx::convertScale(MediaTime::make(3, 25), 50, RoundingMethod::RoundTowardZero), (MediaTime{6, 50, 1, 0}));
    EXPECT_EQ(qlx::convertScale(MediaTime{6, 50, 1, 7}, 25, RoundingMethod::QuickTime), (MediaTime{3, 25, 1, 7}));
    EXPECT_EQ(qlx::convertScale(MediaTime{0, 25, 1, 0}, 7, RoundingMethod::RoundAwayFromZero), (MediaTime{0, 7, 1, 0}));
}

TEST(MediaTime, MarksARoundedValue) {
    EXPECT_EQ(qlx::convertScale(MediaTime::make(1, 3), 10, RoundingMethod::RoundTowardZero),
              (MediaTime{3, 10, kRounded, 0}));
}

TEST(MediaTime, RoundsByEveryMethod) {
    // 5/10 at timescale 1 is 0.5; 4/10 is 0.4; 6/10 is 0.6.
    EXPECT_EQ(converted(5, 10, 1, RoundingMethod::RoundHalfAwayFromZero), 1);
    EXPECT_EQ(converted(-5, 10, 1, RoundingMethod::RoundHalfAwayFromZero), -1);
    EXPECT_EQ(converted(4, 10, 1, RoundingMethod::RoundHalfAwayFromZero), 0);
    EXPECT_EQ(converted(-4, 10, 1, RoundingMethod::RoundHalfAwayFromZero), 0);
    EXPECT_EQ(converted(6, 10, 1, RoundingMethod::RoundTowardZero), 0);
    EXPECT_EQ(converted(-16, 10, 1, RoundingMethod::RoundTowardZero), -1);
    EXPECT_EQ(converted(11, 10, 1, RoundingMethod::RoundAwayFromZero), 2);
    EXPECT_EQ(converted(-11, 10, 1, RoundingMethod::RoundAwayFromZero), -2);
    EXPECT_EQ(converted(11, 10, 1, RoundingMethod::RoundTowardPositiveInfinity), 2);
    EXPECT_EQ(converted(-19, 10, 1, RoundingMethod::RoundTowardPositiveInfinity), -1);
    EXPECT_EQ(converted(19, 10, 1, RoundingMethod::RoundTowardNegativeInfinity), 1);
    EXPECT_EQ(converted(-11, 10, 1, RoundingMethod::RoundTowardNegativeInfinity), -2);
}

TEST(MediaTime, RoundsAsQuickTimeDoes) {
    // Toward zero to a smaller timescale, away from zero to a larger one.
    EXPECT_EQ(converted(19, 10, 1, RoundingMethod::QuickTime), 1);
    EXPECT_EQ(converted(-19, 10, 1, RoundingMethod::QuickTime), -1);
    EXPECT_EQ(converted(1, 3, 10, RoundingMethod::QuickTime), 4);
    EXPECT_EQ(converted(-1, 3, 10, RoundingMethod::QuickTime), -4);
    // A negative value never becomes 0.
    EXPECT_EQ(converted(-1, 10, 1, RoundingMethod::QuickTime), -1);
    EXPECT_EQ(converted(9, 10, 1, RoundingMethod::QuickTime), 0);
}

TEST(MediaTime, RefusesConversionsThatMeanNothing) {
    EXPECT_EQ(qlx::convertScale(MediaTime(), 25, RoundingMethod::QuickTime), MediaTime());
    EXPECT_EQ(qlx::convertScale(MediaTime::make(1, 25), 0, RoundingMethod::QuickTime), MediaTime());
    EXPECT_EQ(qlx::convertScale(MediaTime::make(1, 25), -25, RoundingMethod::QuickTime), MediaTime());
    EXPECT_EQ(qlx::convertScale(MediaTime::make(1, 0), 25, RoundingMethod::QuickTime), MediaTime());
    EXPECT_EQ(
        qlx::convertScale(MediaTime::make(std::numeric_limits<std::int64_t>::max(), 1), 2, RoundingMethod::QuickTime),
        MediaTime());
    EXPECT_EQ(converted(std::numeric_limits<std::int64_t>::min(), 2, 1, RoundingMethod::QuickTime),
              std::numeric_limits<std::int64_t>::min() / 2);
}

TEST(MediaTime, AddsAtTheLeastCommonMultiple) {
    EXPECT_EQ(qlx::add(MediaTime::make(1, 25), MediaTime::make(2, 25)), MediaTime::make(3, 25));
    EXPECT_EQ(qlx::add(MediaTime::make(1, 4), MediaTime::make(1, 6)), MediaTime::make(5, 12));
    EXPECT_EQ(qlx::add(MediaTime::make(1, 25), MediaTime::make(1001, 30000)), MediaTime::make(1200 + 1001, 30000));
    EXPECT_EQ(qlx::add(MediaTime::make(-3, 25), MediaTime::make(3, 25)), MediaTime::make(0, 25));
}

TEST(MediaTime, AddsAtTheLargestTimescaleWhenTheMultipleIsLarger) {
    // 1/2147483647 + 1/2147483629 meet at 2^31 - 1: the second is 1.0000000084 of a unit there.
    const MediaTime sum = qlx::add(MediaTime::make(1, 2147483647), MediaTime::make(1, 2147483629));
    EXPECT_EQ(sum, (MediaTime{2, 2147483647, kRounded, 0}));
}

TEST(MediaTime, AddsEpochsAndMarks) {
    EXPECT_EQ(qlx::add(MediaTime{1, 25, 1, 5}, MediaTime{1, 25, 1, 0}), (MediaTime{2, 25, 1, 5}));
    EXPECT_EQ(qlx::add(MediaTime{1, 25, 1, 0}, MediaTime{1, 25, kRounded, 6}), (MediaTime{2, 25, kRounded, 6}));
    EXPECT_EQ(qlx::add(MediaTime{1, 25, 1, 5}, MediaTime{1, 25, 1, 6}), MediaTime());
    EXPECT_EQ(qlx::add(MediaTime{}, MediaTime::make(1, 25)), MediaTime());
    EXPECT_EQ(qlx::add(MediaTime::make(1, 25), MediaTime{}), MediaTime());
    EXPECT_EQ(qlx::add(MediaTime::make(std::numeric_limits<std::int64_t>::max(), 25), MediaTime::make(1, 25)),
              MediaTime());
    EXPECT_EQ(qlx::add(MediaTime::make(std::numeric_limits<std::int64_t>::max(), 25), MediaTime::make(1, 50)),
              MediaTime());
}
