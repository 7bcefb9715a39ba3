// Records as values and back.
#include <qlx/facade/cue.h>
#include <qlx/facade/numbers.h>

#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <qlx/subtitles/value.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

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

TEST(FixedNumbers, AreThoseOfTheOperations) {
    using namespace qlx::facade;
    using qlx::scte::SpliceInsertType;
    using qlx::subtitles::Alignment;
    QLXSubtitleTextLine line;
    const std::vector<std::pair<TextColor, const char*>> colors{
        {TextColor::Red, "#ff0000"},     {TextColor::Green, "#00ff00"}, {TextColor::Yellow, "#ffff00"},
        {TextColor::Blue, "#0000ff"},    {TextColor::Cyan, "#00ffff"},  {TextColor::White, "#ffffff"},
        {TextColor::Magenta, "#ff00ff"},
    };
    for (const auto& [color, name] : colors) {
        const auto read = QLXSubtitleTextLine::initWithJSONDictionary_lineIndex_lineCount_error(
            {{"text", "a"}, {"color", name}}, 0, 1);
        ASSERT_TRUE(read) << name;
        EXPECT_EQ(read->textColor(), numberOf(color)) << name;
    }
    const std::vector<std::pair<Alignment, const char*>> alignments{{Alignment::Unchanged, "unchanged"},
                                                                    {Alignment::Left, "left"},
                                                                    {Alignment::Center, "center"},
                                                                    {Alignment::Right, "right"}};
    for (const auto& [alignment, name] : alignments) {
        line.setAlignment(numberOf(alignment));
        EXPECT_EQ(*line.JSONDictionary().find("alignment"), qlx::Value(name));
    }
    const std::vector<std::pair<PositioningType, std::pair<std::uint64_t, Alignment>>> places{
        {PositioningType::None, {13, Alignment::Center}},      {PositioningType::BottomLeft, {13, Alignment::Left}},
        {PositioningType::Bottom, {13, Alignment::Center}},    {PositioningType::BottomRight, {13, Alignment::Right}},
        {PositioningType::MiddleLeft, {7, Alignment::Left}},   {PositioningType::Middle, {7, Alignment::Center}},
        {PositioningType::MiddleRight, {7, Alignment::Right}}, {PositioningType::TopLeft, {1, Alignment::Left}},
        {PositioningType::Top, {1, Alignment::Center}},        {PositioningType::TopRight, {1, Alignment::Right}}};
    const auto placed = [](PositioningType type, SubtitleMode mode) {
        auto one = std::make_shared<QLXSubtitleTextLine>();
        auto other = std::make_shared<QLXSubtitleTextLine>();
        one->setPositioningType(numberOf(type));
        other->setPositioningType(numberOf(type));
        QLXSubtitleRecord record;
        record.setSubtitleLines({one, other});
        record.updatePositioningForSubtitleMode(numberOf(mode));
        return one;
    };
    for (const auto& [type, expected] : places) {
        const auto one = placed(type, SubtitleMode::Cea608);
        EXPECT_EQ(one->verticalPosition(), expected.first) << numberOf(type);
        EXPECT_EQ(one->alignment(), numberOf(expected.second)) << numberOf(type);
    }
    EXPECT_EQ(placed(PositioningType::Bottom, SubtitleMode::Teletext)->verticalPosition(), 10U);
    EXPECT_EQ(QLXSubtitleRecord().subtitleMode(), numberOf(SubtitleMode::None));
    const std::vector<std::pair<SpliceInsertType, const char*>> splices{
        {SpliceInsertType::StartNormal, "spliceStartNormal"},
        {SpliceInsertType::StartImmediate, "spliceStartImmediate"},
        {SpliceInsertType::EndNormal, "spliceEndNormal"},
        {SpliceInsertType::EndImmediate, "spliceEndImmediate"},
        {SpliceInsertType::Cancel, "spliceCancel"}};
    for (const auto& [type, name] : splices) {
        EXPECT_EQ(QLXSCTEOperation::SCTESpliceInsertModeNameWithByte(static_cast<std::uint8_t>(numberOf(type))), name);
    }
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
