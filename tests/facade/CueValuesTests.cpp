// Records as values and back.
#include <qlx/facade/cue.h>

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <qlx/subtitles/value.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using qlx::MediaTime;
using qlx::facade::toCue;
using qlx::facade::toRecord;
using qlx::screen::Color;

TEST(CueValues, RoundTripThroughRecords) {
    qlx::subtitles::Cue cue{
        .number = 12, .start = MediaTime::make(1010, 1000), .end = MediaTime::make(3'723'004, 1000), .rows = {}};
    cue.rows.push_back({.runs = {{"oben", {.foreground = Color::Red, .background = std::nullopt, .isBold = true}}},
                        .number = 2,
                        .anchor = 7,
                        .alignment = qlx::subtitles::Alignment::Left});
    cue.rows.push_back(
        {.runs = {{"unten",
                   {.foreground = Color::Black, .background = std::nullopt, .isItalic = true, .isUnderlined = true}}},
         .number = 0,
         .anchor = 0,
         .alignment = qlx::subtitles::Alignment::Unchanged});
    const auto record = toRecord(cue);
    EXPECT_EQ(record->index(), 12U);
    EXPECT_TRUE(record->isValid());
    EXPECT_EQ(record->subtitleMode(), 0);
    EXPECT_EQ(record->startTimeInSeconds(), 1.01);
    EXPECT_EQ(record->endTimeInSeconds(), 3723.004);
    EXPECT_EQ(toCue(*record), cue);
}

TEST(CueValues, TakeWhatIsNoneForTheUsual) {
    QLXSubtitleRecord record;
    record.setStartTimeInSeconds(std::numeric_limits<double>::quiet_NaN());
    record.setEndTimeInSeconds(1e300);
    const auto line = std::make_shared<QLXSubtitleTextLine>();
    line->setTextColor(8);
    line->setAlignment(-1);
    line->setPositioningType(10);
    record.setSubtitleLines({line});
    qlx::subtitles::Row row;
    row.runs.push_back({"", {}});
    row.alignment = qlx::subtitles::Alignment::Unchanged;
    EXPECT_EQ(toCue(record), (qlx::subtitles::Cue{.number = 0, .start = {}, .end = {}, .rows = {row}}));
    EXPECT_TRUE(std::isnan(toRecord(qlx::subtitles::Cue{})->startTimeInSeconds()));
}

TEST(CueValues, AreReadFromDictionariesAsTheRecordsAre) {
    const qlx::Dictionary dictionary{
        {"start_timecode", "00:00:01,500"},
        {"end_time_seconds", 2.25},
        {"text_lines", qlx::Array{qlx::Dictionary{{"text", "a"}, {"color", "#00ff00"}, {"alignment", "Left"}}, 5,
                                  qlx::Dictionary{{"text", "b"}, {"vertical_position", 12}}}}};
    const auto record = QLXSubtitleRecord::initWithJSONDictionary_subtitleMode_error(dictionary, 2);
    ASSERT_TRUE(record);
    const auto cue = qlx::subtitles::cueOf(dictionary);
    ASSERT_TRUE(cue);
    EXPECT_EQ(toCue(*record), *cue);
}

}  // namespace
