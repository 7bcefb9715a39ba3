#include "subtitles/SrtTimecode.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>

#include <gtest/gtest.h>

#include <limits>

namespace {

double seconds(std::string_view timecode) {
    return QLXSubtitleRecord::secondsFromSRTTimecode(timecode);
}

std::string timecode(double seconds) {
    return QLXSubtitleRecord::SRTTimecodeFromSeconds(seconds);
}

TEST(SRTTimecode, ReadsHoursMinutesSecondsAndMilliseconds) {
    EXPECT_EQ(seconds("00:00:00,000"), 0.0);
    EXPECT_EQ(seconds("00:01:02,500"), 62.5);
    EXPECT_EQ(seconds("01:02:03,250"), 3723.25);
    EXPECT_EQ(seconds("01:02:03,004"), 4 / 1000.0 + 3723);
    EXPECT_EQ(seconds("100:00:00,000"), 360000.0);
    EXPECT_EQ(seconds("0:90:90,1500"), 5491.5);
}

TEST(SRTTimecode, CountsWhatStandsBehindTheCommaAsMilliseconds) {
    EXPECT_EQ(seconds("00:00:00,5"), 0.005);
    EXPECT_EQ(seconds("00:00:00,50"), 0.05);
    EXPECT_EQ(seconds("00:00:07,"), 7.0);
}

TEST(SRTTimecode, ReadsEachPartLeniently) {
    EXPECT_EQ(seconds(" 00: 00: 07, 250"), 7.25);
    EXPECT_EQ(seconds("00:00:07x,250 X1:10 X2:20"), 7.25);
    EXPECT_EQ(seconds("::,"), 0.0);
    EXPECT_EQ(seconds("a:b:c,d"), 0.0);
    EXPECT_EQ(seconds("1::,"), 3600.0);
    EXPECT_EQ(seconds("+1:00:00,000"), 3600.0);
}

TEST(SRTTimecode, ReadsSignedParts) {
    EXPECT_EQ(seconds("-1:00:00,000"), -3600.0);
    EXPECT_EQ(seconds("00:00:10,-500"), 9.5);
    EXPECT_EQ(seconds("00:-1:10,000"), -50.0);
}

TEST(SRTTimecode, SaturatesPartsWithoutOverflow) {
    // 2^63 - 1 rounds to 2^63 as a double.
    EXPECT_EQ(seconds("99999999999999999999:00:00,000"), 9223372036854775808.0 * 3600.0);
    EXPECT_EQ(seconds("-99999999999999999999:00:00,000"), -9223372036854775808.0 * 3600.0);
}

TEST(SRTTimecode, IsZeroForAnotherNumberOfParts) {
    for (const char* text : {"", ",", "00:01:02.500", "00:01:02", "00:01:02,500,0", "01:02,500", "1:00:01:02,500",
                             "500", "62.5", "00:00:01;500", ",00:01:02"}) {
        EXPECT_EQ(seconds(text), 0.0) << text;
    }
}

TEST(SRTTimecode, WritesTwoDigitsAndThreeForMilliseconds) {
    EXPECT_EQ(timecode(0.0), "00:00:00,000");
    EXPECT_EQ(timecode(62.5), "00:01:02,500");
    EXPECT_EQ(timecode(3723.25), "01:02:03,250");
    EXPECT_EQ(timecode(86399.875), "23:59:59,875");
    EXPECT_EQ(timecode(0.0625), "00:00:00,062");
}

TEST(SRTTimecode, TruncatesMilliseconds) {
    EXPECT_EQ(timecode(1.9999), "00:00:01,999");
    EXPECT_EQ(timecode(3725.0042), "01:02:05,004");
    // The double next to 1.001 lies below it.
    EXPECT_EQ(timecode(1.001), "00:00:01,000");
}

TEST(SRTTimecode, WritesMoreThanTwoDigitsOfHours) {
    EXPECT_EQ(timecode(360000.5), "100:00:00,500");
    EXPECT_EQ(timecode(3.6e9), "1000000:00:00,000");
}

TEST(SRTTimecode, WritesZeroForNegativeValuesAndNotANumber) {
    EXPECT_EQ(timecode(-0.0), "00:00:00,000");
    EXPECT_EQ(timecode(-1.5), "00:00:00,000");
    EXPECT_EQ(timecode(-std::numeric_limits<double>::infinity()), "00:00:00,000");
    EXPECT_EQ(timecode(std::numeric_limits<double>::quiet_NaN()), "00:00:00,000");
}

TEST(SRTTimecode, SaturatesHours) {
    EXPECT_EQ(timecode(std::numeric_limits<double>::infinity()), "18446744073709551615:00:00,000");
    // 3600 x 2^65 seconds are 2^65 hours; every product is exact.
    EXPECT_EQ(timecode(3600.0 * 36893488147419103232.0), "18446744073709551615:00:00,000");
}

TEST(SRTTimecode, SplitsTimingLines) {
    const auto span = qlx::srt::timeSpanFromTimingLine("00:00:01,500 --> 00:00:02,250");
    ASSERT_TRUE(span);
    EXPECT_EQ(span->start, 1.5);
    EXPECT_EQ(span->end, 2.25);
}

TEST(SRTTimecode, KeepsMalformedHalvesAsZero) {
    const auto span = qlx::srt::timeSpanFromTimingLine("x --> 00:00:02,250 X1:1");
    ASSERT_TRUE(span);
    EXPECT_EQ(span->start, 0.0);
    EXPECT_EQ(span->end, 2.25);
}

TEST(SRTTimecode, NeedsExactlyOneArrow) {
    EXPECT_FALSE(qlx::srt::timeSpanFromTimingLine(""));
    EXPECT_FALSE(qlx::srt::timeSpanFromTimingLine("00:00:01,500"));
    EXPECT_FALSE(qlx::srt::timeSpanFromTimingLine("00:00:01,500-->00:00:02,250"));
    EXPECT_FALSE(qlx::srt::timeSpanFromTimingLine("00:00:01,500 -> 00:00:02,250"));
    EXPECT_FALSE(qlx::srt::timeSpanFromTimingLine("00:00:01,500 --> 00:00:02,250 --> 00:00:03,000"));
    // Two arrows that share a blank are one separator.
    EXPECT_TRUE(qlx::srt::timeSpanFromTimingLine("00:00:01,500 --> --> 00:00:02,250"));
}

}  // namespace
