#include "SubtitleStates.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using qlx::Array;
using qlx::Dictionary;
using qlxtest::LineState;
using qlxtest::lineWithText;
using qlxtest::RecordState;
using qlxtest::stateOf;

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

std::shared_ptr<QLXSubtitleRecord> recordFrom(const Dictionary& dictionary, std::int32_t mode = 2) {
    return QLXSubtitleRecord::initWithJSONDictionary_subtitleMode_error(dictionary, mode);
}

Array oneLine() {
    return {Dictionary{{"text", "x"}}};
}

TEST(QLXSubtitleRecord, StartsWithItsDefaults) {
    EXPECT_EQ(stateOf(QLXSubtitleRecord()), (RecordState{0, 0, false, 0.0, 0.0, {}}));
    EXPECT_EQ(stateOf(*QLXSubtitleRecord::initWithSubtitleMode(1)), (RecordState{.mode = 1}));
    EXPECT_EQ(stateOf(*QLXSubtitleRecord::initWithSubtitleMode(-9)), (RecordState{.mode = -9}));
}

TEST(QLXSubtitleRecord, KeepsEveryProperty) {
    QLXSubtitleRecord record;
    record.setIndex(std::numeric_limits<std::uint64_t>::max());
    record.setSubtitleMode(2);
    record.setIsValid(true);
    record.setStartTimeInSeconds(-1.5);
    record.setEndTimeInSeconds(1e300);
    record.setSubtitleLines({lineWithText("a"), lineWithText("b")});
    EXPECT_EQ(stateOf(record), (RecordState{std::numeric_limits<std::uint64_t>::max(),
                                            2,
                                            true,
                                            -1.5,
                                            1e300,
                                            {LineState{.text = "a"}, LineState{.text = "b"}}}));
}

TEST(QLXSubtitleRecord, CopiesTheListAndSharesTheLines) {
    QLXSubtitleRecord record;
    std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines{lineWithText("a")};
    record.setSubtitleLines(lines);
    lines[0]->setTextString("changed");
    lines.push_back(lineWithText("b"));
    record.subtitleLines().clear();
    EXPECT_EQ(stateOf(record), (RecordState{.lines = {LineState{.text = "changed"}}}));
}

TEST(QLXSubtitleRecord, LeavesNullLinesOut) {
    QLXSubtitleRecord record;
    record.setSubtitleLines({nullptr, lineWithText("a"), nullptr});
    EXPECT_EQ(stateOf(record), (RecordState{.lines = {LineState{.text = "a"}}}));
}

TEST(QLXSubtitleRecord, NamesItsJSONKeys) {
    EXPECT_EQ(QLXSubtitleRecordStartTimeInSecondsKey, "start_time_seconds");
    EXPECT_EQ(QLXSubtitleRecordStartTimecodeKey, "start_timecode");
    EXPECT_EQ(QLXSubtitleRecordEndTimeInSecondsKey, "end_time_seconds");
    EXPECT_EQ(QLXSubtitleRecordEndTimecodeKey, "end_timecode");
    EXPECT_EQ(QLXSubtitleRecordTextLinesKey, "text_lines");
}

TEST(QLXSubtitleRecordFromJSON, TakesTimesInSeconds) {
    EXPECT_EQ(stateOf(*recordFrom({{"start_time_seconds", 1.25}, {"end_time_seconds", 3}, {"text_lines", oneLine()}})),
              (RecordState{.mode = 2, .start = 1.25, .end = 3.0, .lines = {LineState{.text = "x", .row = 11}}}));
}

TEST(QLXSubtitleRecordFromJSON, TakesTimecodesWhereSecondsAreMissing) {
    const auto times = [](Dictionary dictionary) {
        dictionary.set("text_lines", oneLine());
        const auto record = recordFrom(dictionary);
        return std::pair(record->startTimeInSeconds(), record->endTimeInSeconds());
    };
    EXPECT_EQ(times({{"start_timecode", "00:01:02,500"}, {"end_timecode", "00:01:03,250"}}), std::pair(62.5, 63.25));
    EXPECT_EQ(times({{"start_time_seconds", 1.0}, {"start_timecode", "00:01:02,500"}}), std::pair(1.0, 0.0));
    EXPECT_EQ(times({{"end_time_seconds", 2.0}, {"end_timecode", "00:01:02,500"}}), std::pair(0.0, 2.0));
    EXPECT_EQ(times({{"start_time_seconds", nullptr}, {"start_timecode", "00:00:01,000"}}), std::pair(1.0, 0.0));
    EXPECT_EQ(times({{"start_time_seconds", "4.5"}, {"end_time_seconds", "x"}}), std::pair(4.5, 0.0));
    EXPECT_EQ(times({{"start_timecode", "00:01:02.500"}, {"end_timecode", Array{}}}), std::pair(0.0, 0.0));
    EXPECT_EQ(times({}), std::pair(0.0, 0.0));
}

TEST(QLXSubtitleRecordFromJSON, NeedsLines) {
    std::optional<qlx::Error> error;
    for (const Dictionary& dictionary :
         {Dictionary{}, Dictionary{{"text_lines", nullptr}}, Dictionary{{"text_lines", Array{}}},
          Dictionary{{"text_lines", "x"}}, Dictionary{{"text_lines", Dictionary{{"text", "x"}}}}}) {
        EXPECT_EQ(QLXSubtitleRecord::initWithJSONDictionary_subtitleMode_error(dictionary, 2, &error), nullptr);
    }
    EXPECT_EQ(error, std::nullopt);
}

TEST(QLXSubtitleRecordFromJSON, CountsEveryEntryButPlacesDictionariesOnly) {
    // Five entries, three of them dictionaries with indices 0, 1 and 2: rows 0 - 5 + 12, 1 - 5 + 12 (no text), 2 - 5
    // + 12.
    std::optional<qlx::Error> error;
    const auto record = QLXSubtitleRecord::initWithJSONDictionary_subtitleMode_error(
        {{"text_lines", Array{"no dictionary", Dictionary{{"text", "a"}, {"alignment", "left"}},
                              Dictionary{{"color", "#FF0000"}}, 7, Dictionary{{"text", "b"}, {"color", "#FF0000"}}}}},
        1, &error);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(stateOf(*record), (RecordState{.mode = 1,
                                             .lines = {LineState{.text = "a", .alignment = 1, .row = 7},
                                                       LineState{.text = "b", .color = 1, .row = 9}}}));
    EXPECT_EQ(error, std::nullopt);
}

TEST(QLXSubtitleRecordFromJSON, KeepsTheLinesOwnPlaces) {
    const auto record = recordFrom({{"text_lines", Array{Dictionary{{"text", "a"}, {"vertical_position", 12}},
                                                         Dictionary{{"text", "b"}, {"alignment", "right"}}}}});
    EXPECT_EQ(stateOf(*record), (RecordState{.mode = 2,
                                             .lines = {LineState{.text = "a", .row = 0},
                                                       LineState{.text = "b", .alignment = 3, .row = 11}}}));
}

TEST(QLXSubtitleRecordFromJSON, MayEndUpWithoutLines) {
    const auto record = recordFrom({{"text_lines", Array{1, Dictionary{}}}, {"end_time_seconds", 1.0}});
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(stateOf(*record), (RecordState{.mode = 2, .end = 1.0}));
}

TEST(QLXSubtitleRecord, WritesItselfAsJSON) {
    QLXSubtitleRecord record;
    record.setIndex(3);
    record.setIsValid(true);
    record.setStartTimeInSeconds(62.5);
    record.setEndTimeInSeconds(3725.0042);
    auto second = lineWithText("World");
    second->setAlignment(1);
    record.setSubtitleLines({lineWithText("Hello"), second});
    EXPECT_EQ(record.JSONDictionary(),
              (Dictionary{{"start_timecode", "00:01:02,500"},
                          {"end_time_seconds", 3725.0042},
                          {"end_timecode", "01:02:05,004"},
                          {"text_lines", Array{Dictionary{{"text", "Hello"}, {"alignment", "center"}},
                                               Dictionary{{"text", "World"}, {"alignment", "left"}}}}}));
}

TEST(QLXSubtitleRecord, WritesAnEmptyListWithoutLines) {
    EXPECT_EQ(QLXSubtitleRecord().JSONDictionary(), (Dictionary{{"start_timecode", "00:00:00,000"},
                                                                {"end_time_seconds", 0.0},
                                                                {"end_timecode", "00:00:00,000"},
                                                                {"text_lines", Array{}}}));
}

TEST(QLXSubtitleRecord, LosesInACopyWhatItsJSONFormDoesNotHold) {
    QLXSubtitleRecord record;
    record.setIndex(3);
    record.setSubtitleMode(1);
    record.setIsValid(true);
    record.setStartTimeInSeconds(3725.0042);
    record.setEndTimeInSeconds(3726.0042);
    auto first = QLXSubtitleTextLine::initWithSRTLine("{\\an7}<b><i><u><font color=\"#FF0000\">Hello");
    first->setVerticalPosition(3);
    record.setSubtitleLines({first, lineWithText("World")});
    record.updatePositioningForSubtitleMode(1);

    const auto copy = record.copyWithZone();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(stateOf(*copy), (RecordState{.mode = 1,
                                           .start = 4 / 1000.0 + 3725,
                                           .end = 3726.0042,
                                           .lines = {LineState{.text = "Hello", .alignment = 1, .row = 10},
                                                     LineState{.text = "World", .row = 11}}}));
    EXPECT_NE(copy->subtitleLines()[1], record.subtitleLines()[1]);
}

TEST(QLXSubtitleRecord, HasNoCopyWithoutLines) {
    EXPECT_EQ(QLXSubtitleRecord().copyWithZone(), nullptr);
}

TEST(QLXSubtitleRecord, LeavesLinesWithoutTextOutOfACopy) {
    QLXSubtitleRecord record;
    record.setSubtitleLines({std::make_shared<QLXSubtitleTextLine>(), lineWithText("x")});
    const auto copy = record.copyWithZone();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(stateOf(*copy), (RecordState{.lines = {LineState{.text = "x", .row = 11}}}));
}

TEST(QLXSubtitleRecord, DescribesLinesAndTimes) {
    QLXSubtitleRecord record;
    EXPECT_EQ(record.description(), "\n0.000000 - 0.000000");
    record.setStartTimeInSeconds(1.5);
    record.setEndTimeInSeconds(3725.0042);
    record.setSubtitleLines({lineWithText("Hello %@"), lineWithText("World")});
    EXPECT_EQ(record.description(), "\nHello %@\nWorld\n1.500000 - 3725.004200");
}

TEST(QLXSubtitleRecord, ComparesStartTimes) {
    QLXSubtitleRecord early;
    QLXSubtitleRecord late;
    early.setStartTimeInSeconds(1.0);
    late.setStartTimeInSeconds(1.001);
    EXPECT_EQ(early.compareStartTime(late), -1);
    EXPECT_EQ(late.compareStartTime(early), 1);
    EXPECT_EQ(early.compareStartTime(early), 0);
    late.setStartTimeInSeconds(kNotANumber);
    EXPECT_EQ(early.compareStartTime(late), 1);
    EXPECT_EQ(late.compareStartTime(early), 1);
}

TEST(QLXSubtitleRecord, JoinsAttributedStringsByPlainLineFeeds) {
    QLXSubtitleRecord record;
    EXPECT_EQ(record.attributedString(), qlx::AttributedString());
    auto first = lineWithText("Hello");
    first->setTextColor(1);
    record.setSubtitleLines({first, lineWithText("World")});
    const auto attributes = [](std::int32_t constant, double green, double blue) {
        return Dictionary{
            {"foregroundColor", Dictionary{{"constant", constant}, {"red", 1.0}, {"green", green}, {"blue", blue}}},
            {"fontName", "Helvetica"},
            {"fontSize", 16.0},
            {"alignment", "center"}};
    };
    qlx::AttributedString expected("Hello", attributes(1, 0.0, 0.0));
    expected.append({"\n", {}});
    expected.append({"World", attributes(7, 1.0, 1.0)});
    EXPECT_EQ(record.attributedString(), expected);
    EXPECT_EQ(record.attributedString().string(), "Hello\nWorld");
}

TEST(QLXSubtitleRecord, CountsBytePairs) {
    QLXSubtitleRecord record;
    EXPECT_EQ(record.numberOfCEA608Packets(), 2U);
    record.setSubtitleLines({lineWithText("Hello"), lineWithText("World")});
    EXPECT_EQ(record.numberOfCEA608Packets(), 9U);
    record.setSubtitleLines({lineWithText("")});
    EXPECT_EQ(record.numberOfCEA608Packets(), 3U);
    record.setSubtitleLines({lineWithText("abc")});
    EXPECT_EQ(record.numberOfCEA608Packets(), 4U);  // 9 / 2
    record.setSubtitleLines({std::make_shared<QLXSubtitleTextLine>()});
    EXPECT_EQ(record.numberOfCEA608Packets(), 3U);
    // One code unit for e acute, two for the character outside the basic plane.
    record.setSubtitleLines({lineWithText("\xC3\xA9\xF0\x9F\x98\x80")});
    EXPECT_EQ(record.numberOfCEA608Packets(), 4U);
}

}  // namespace
