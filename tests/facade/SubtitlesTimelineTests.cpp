#include "ExpectedTeletext.h"
#include "Growth.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace {

using qlxtest::makeRecord;
using Packetizer = QLXSubtitlesPacketizer;
using Records = std::vector<std::shared_ptr<QLXSubtitleRecord>>;

const double kNotANumber = std::numeric_limits<double>::quiet_NaN();

std::shared_ptr<Packetizer> makePacketizer(const Records& records = {}) {
    auto packetizer = Packetizer::initWithSubtitleMode_isHD(2, true);
    packetizer->setSubtitleRecords(records);
    return packetizer;
}

TEST(SubtitlesPacketizer, StartsEmpty) {
    const auto packetizer = Packetizer::initWithSubtitleMode_isHD(1, false);
    EXPECT_EQ(packetizer->subtitleMode(), 1);
    EXPECT_FALSE(packetizer->isHD());
    EXPECT_TRUE(packetizer->subtitleRecords().empty());
    EXPECT_EQ(packetizer->liveSubtitleRecordToDisplay(), nullptr);
    EXPECT_EQ(packetizer->lastSubtitleRecord(), nullptr);
    EXPECT_FALSE(packetizer->isSubtitleDisplayed());
    EXPECT_EQ(packetizer->subtitleAtIndex(0), nullptr);
    EXPECT_TRUE(Packetizer::initWithSubtitleMode_isHD(-7, true)->isHD());
    EXPECT_EQ(Packetizer::initWithSubtitleMode_isHD(-7, true)->subtitleMode(), -7);
}

TEST(SubtitlesPacketizer, KeepsItsProperties) {
    const auto packetizer = makePacketizer();
    const auto live = makeRecord(1, 2);
    const auto last = makeRecord(3, 4);
    packetizer->setLiveSubtitleRecordToDisplay(live);
    packetizer->setLastSubtitleRecord(last);
    packetizer->setIsSubtitleDisplayed(true);
    packetizer->setSubtitleMode(3);
    packetizer->setIsHD(false);
    EXPECT_EQ(packetizer->liveSubtitleRecordToDisplay(), live);
    EXPECT_EQ(packetizer->lastSubtitleRecord(), last);
    EXPECT_TRUE(packetizer->isSubtitleDisplayed());
    EXPECT_EQ(packetizer->subtitleMode(), 3);
    EXPECT_FALSE(packetizer->isHD());
    packetizer->setLiveSubtitleRecordToDisplay(nullptr);
    EXPECT_EQ(packetizer->liveSubtitleRecordToDisplay(), nullptr);
}

TEST(SubtitlesPacketizer, SortsByStart) {
    const auto one = makeRecord(1, 9);
    const auto two = makeRecord(2, 3);
    const auto three = makeRecord(3, 4);
    const auto four = makeRecord(-4, 5);
    const auto packetizer = makePacketizer({three, one, two});
    EXPECT_EQ(packetizer->subtitleRecords(), (Records{one, two, three}));
    packetizer->addSubtitleRecords({four});
    EXPECT_EQ(packetizer->subtitleRecords(), (Records{four, one, two, three}));
    packetizer->addSubtitleRecords({});
    EXPECT_EQ(packetizer->subtitleRecords(), (Records{four, one, two, three}));
}

TEST(SubtitlesPacketizer, KeepsTheOrderOfEqualStarts) {
    Records records;
    for (int index = 0; index < 100; ++index) {
        records.push_back(makeRecord(index % 3, index));
    }
    Records expected;
    for (int start = 0; start < 3; ++start) {
        for (int index = start; index < 100; index += 3) {
            expected.push_back(records[static_cast<std::size_t>(index)]);
        }
    }
    const auto packetizer = makePacketizer(records);
    EXPECT_EQ(packetizer->subtitleRecords(), expected);
    // What is added later comes behind its equals.
    const auto added = makeRecord(0, 1000);
    packetizer->addSubtitleRecords({added});
    expected.insert(expected.begin() + 34, added);
    EXPECT_EQ(packetizer->subtitleRecords(), expected);
}

TEST(SubtitlesPacketizer, TakesRecordsOneByOneInAnyOrder) {
    const auto one = makeRecord(1, 2);
    const auto alsoOne = makeRecord(1, 9);
    const auto two = makeRecord(2, 3);
    const auto never = makeRecord(kNotANumber, 4);
    const auto alsoNever = makeRecord(kNotANumber, 5);
    const auto packetizer = makePacketizer({});
    for (const auto& record : {one, alsoOne, never}) {
        packetizer->addSubtitleRecords({nullptr, record});
    }
    EXPECT_EQ(packetizer->subtitleRecords(), (Records{one, alsoOne, never}));
    packetizer->addSubtitleRecords({alsoNever});
    packetizer->addSubtitleRecords({two});
    EXPECT_EQ(packetizer->subtitleRecords(), (Records{one, alsoOne, two, never, alsoNever}));
}

TEST(SubtitlesPacketizer, SortsAgainWhenTimesWereChanged) {
    const auto one = makeRecord(1, 2);
    const auto two = makeRecord(2, 3);
    const auto packetizer = makePacketizer({one, two});
    one->setStartTimeInSeconds(5);
    EXPECT_EQ(packetizer->subtitleRecords(), (Records{one, two}));
    packetizer->addSubtitleRecords({});
    EXPECT_EQ(packetizer->subtitleRecords(), (Records{two, one}));
}

TEST(SubtitlesPacketizer, TakesManyRecordsInOrderOneByOne) {
    // Each as a host makes it: its times are set right before it is added. What is in the list is not looked at again.
    constexpr int kMany = 20'000;
    const auto packetizer = makePacketizer();
    Records expected;
    for (int index = 0; index < kMany; ++index) {
        expected.push_back(makeRecord(0, 0));
        expected.back()->setStartTimeInSeconds(index / 2);
        packetizer->addSubtitleRecords({expected.back()});
    }
    EXPECT_EQ(packetizer->subtitleRecords(), expected);
    // A change is seen by the next call, whichever it is of.
    expected[1]->setStartTimeInSeconds(kMany);
    const auto last = makeRecord(kMany, 0);
    packetizer->addSubtitleRecords({last});
    std::rotate(expected.begin() + 1, expected.begin() + 2, expected.end());
    expected.push_back(last);
    EXPECT_EQ(packetizer->subtitleRecords(), expected);
    expected[0]->setStartTimeInSeconds(kMany);
    packetizer->addSubtitleRecords({});
    std::rotate(expected.begin(), expected.begin() + 1, expected.end() - 2);
    EXPECT_EQ(packetizer->subtitleRecords(), expected);
}

TEST(SubtitlesPacketizer, TakesRecordsInOrderInLinearTime) {
    constexpr std::size_t kMany = 500;
    const double growth = qlxtest::growthOfSixteenTimes(kMany, [](std::size_t count) {
        const auto packetizer = makePacketizer();
        for (std::size_t index = 0; index < count; ++index) {
            const auto record = makeRecord(0, 0);
            record->setStartTimeInSeconds(static_cast<double>(index));
            packetizer->addSubtitleRecords({record});
        }
        EXPECT_EQ(packetizer->subtitleRecords().size(), count);
    });
    EXPECT_LT(growth, qlxtest::kGreatestLinearGrowth);
}

TEST(SubtitlesPacketizer, SeesTheChangesOfOtherListsRecords) {
    const auto one = makeRecord(1, 2);
    const auto two = makeRecord(2, 3);
    const auto first = makePacketizer({one, two});
    const auto second = makePacketizer({one, two});
    two->setStartTimeInSeconds(0);
    first->addSubtitleRecords({});
    second->addSubtitleRecords({});
    EXPECT_EQ(first->subtitleRecords(), (Records{two, one}));
    EXPECT_EQ(second->subtitleRecords(), (Records{two, one}));
    first->deleteSubtitleRecords();
    one->setStartTimeInSeconds(-1);
    first->addSubtitleRecords({two, one});
    EXPECT_EQ(first->subtitleRecords(), (Records{one, two}));
}

TEST(SubtitlesPacketizer, PutsStartsThatAreNotNumbersLast) {
    const auto first = makeRecord(kNotANumber, 1);
    const auto second = makeRecord(3, 4);
    const auto third = makeRecord(kNotANumber, 2);
    const auto fourth = makeRecord(1, 2);
    const auto fifth = makeRecord(std::numeric_limits<double>::infinity(), 2);
    EXPECT_EQ(makePacketizer({first, second, third, fourth, fifth})->subtitleRecords(),
              (Records{fourth, second, fifth, first, third}));
    Records many;
    for (int index = 0; index < 500; ++index) {
        many.push_back(makeRecord(index % 7 == 0 ? kNotANumber : index * 37 % 101, 0));
    }
    const Records sorted = makePacketizer(many)->subtitleRecords();
    ASSERT_EQ(sorted.size(), 500U);
    for (std::size_t index = 1; index < sorted.size(); ++index) {
        const double left = sorted[index - 1]->startTimeInSeconds();
        const double right = sorted[index]->startTimeInSeconds();
        EXPECT_TRUE(std::isnan(right) || left <= right) << index;
    }
    EXPECT_EQ(std::isnan(sorted[499 - 71]->startTimeInSeconds()), true);  // 72 of them
    EXPECT_EQ(std::isnan(sorted[499 - 72]->startTimeInSeconds()), false);
}

TEST(SubtitlesPacketizer, LeavesNullRecordsOut) {
    const auto one = makeRecord(1, 2);
    const auto two = makeRecord(2, 3);
    const auto packetizer = makePacketizer({nullptr, two, nullptr});
    EXPECT_EQ(packetizer->subtitleRecords(), (Records{two}));
    packetizer->addSubtitleRecords({nullptr, one});
    EXPECT_EQ(packetizer->subtitleRecords(), (Records{one, two}));
}

TEST(SubtitlesPacketizer, ReplacesAndDeletesTheList) {
    const auto one = makeRecord(1, 2);
    const auto two = makeRecord(2, 3);
    const auto packetizer = makePacketizer({one});
    packetizer->setSubtitleRecords({two});
    EXPECT_EQ(packetizer->subtitleRecords(), (Records{two}));
    Records copy = packetizer->subtitleRecords();
    packetizer->deleteSubtitleRecords();
    EXPECT_TRUE(packetizer->subtitleRecords().empty());
    EXPECT_EQ(copy, (Records{two}));
    packetizer->addSubtitleRecords({one});
    EXPECT_EQ(packetizer->subtitleRecords(), (Records{one}));
}

TEST(SubtitlesPacketizer, GivesRecordsByIndex) {
    const auto one = makeRecord(1, 2);
    const auto two = makeRecord(2, 3);
    const auto packetizer = makePacketizer({two, one});
    EXPECT_EQ(packetizer->subtitleAtIndex(0), one);
    EXPECT_EQ(packetizer->subtitleAtIndex(1), two);
    EXPECT_EQ(packetizer->subtitleAtIndex(2), nullptr);
    EXPECT_EQ(packetizer->subtitleAtIndex(std::numeric_limits<std::uint64_t>::max()), nullptr);
}

TEST(SubtitleForTime, GivesNoneWithoutRecords) {
    const auto packetizer = makePacketizer();
    EXPECT_EQ(packetizer->subtitleForTime(0), nullptr);
    EXPECT_EQ(packetizer->subtitleForTime(1e9), nullptr);
}

TEST(SubtitleForTime, GivesTheFirstRecordFromTheBeginning) {
    const auto one = makeRecord(10, 12);
    const auto two = makeRecord(15, 17);
    const auto packetizer = makePacketizer({one, two});
    EXPECT_EQ(packetizer->subtitleForTime(0), one);
    EXPECT_EQ(packetizer->subtitleForTime(-5), one);
    EXPECT_EQ(packetizer->subtitleForTime(11.96), one);
    EXPECT_EQ(packetizer->subtitleForTime(12.0), nullptr);
    EXPECT_EQ(packetizer->subtitleForTime(15.0), nullptr);
    EXPECT_EQ(packetizer->subtitleForTime(15.04), two);
    EXPECT_EQ(packetizer->subtitleForTime(16.96), two);
    EXPECT_EQ(packetizer->subtitleForTime(17.0), nullptr);
    EXPECT_EQ(packetizer->subtitleForTime(1e9), nullptr);
}

TEST(SubtitleForTime, KeepsTheLaterRecordWhenTimeJumpsBackwards) {
    const auto one = makeRecord(10, 12);
    const auto two = makeRecord(15, 17);
    const auto packetizer = makePacketizer({one, two});
    EXPECT_EQ(packetizer->subtitleForTime(13), nullptr);
    EXPECT_EQ(packetizer->subtitleForTime(11), one);
    EXPECT_EQ(packetizer->subtitleForTime(15.04), two);
    EXPECT_EQ(packetizer->subtitleForTime(11), two);
    EXPECT_EQ(packetizer->subtitleForTime(0), two);
    EXPECT_EQ(packetizer->subtitleForTime(17), nullptr);
    EXPECT_EQ(packetizer->subtitleForTime(16), two);
}

TEST(SubtitleForTime, MovesOneRecordOnACall) {
    const auto one = makeRecord(1, 2);
    const auto two = makeRecord(3, 4);
    const auto three = makeRecord(5, 6);
    const auto packetizer = makePacketizer({one, two, three});
    // Each is given once, although its end has passed.
    EXPECT_EQ(packetizer->subtitleForTime(100), two);
    EXPECT_EQ(packetizer->subtitleForTime(100), three);
    EXPECT_EQ(packetizer->subtitleForTime(100), nullptr);
    EXPECT_EQ(packetizer->subtitleForTime(5.5), three);
}

TEST(SubtitleForTime, FollowsTouchingAndOverlappingRecords) {
    const auto one = makeRecord(0, 2);
    const auto two = makeRecord(2, 4);
    auto packetizer = makePacketizer({one, two});
    EXPECT_EQ(packetizer->subtitleForTime(1.96), one);
    EXPECT_EQ(packetizer->subtitleForTime(2.0), nullptr);  // it starts at this very time: due on the next frame
    EXPECT_EQ(packetizer->subtitleForTime(2.04), two);
    two->setStartTimeInSeconds(1);
    packetizer = makePacketizer({one, two});
    EXPECT_EQ(packetizer->subtitleForTime(1.96), one);
    EXPECT_EQ(packetizer->subtitleForTime(2.0), two);
}

TEST(SubtitleForTime, EntersANewListAtTheOldPosition) {
    const auto packetizer = makePacketizer({makeRecord(1, 2), makeRecord(3, 4)});
    ASSERT_EQ(packetizer->subtitleForTime(3.5), packetizer->subtitleAtIndex(1));
    const auto one = makeRecord(10, 12);
    const auto two = makeRecord(15, 17);
    const auto three = makeRecord(20, 22);
    packetizer->setSubtitleRecords({one, two, three});
    EXPECT_EQ(packetizer->subtitleForTime(0), two);
    packetizer->addSubtitleRecords({makeRecord(0, 1)});
    EXPECT_EQ(packetizer->subtitleForTime(0), one);  // [0, 1] stands before it now
    packetizer->deleteSubtitleRecords();
    EXPECT_EQ(packetizer->subtitleForTime(0), nullptr);
    packetizer->setSubtitleRecords({one});
    EXPECT_EQ(packetizer->subtitleForTime(0), nullptr);
    packetizer->setSubtitleRecords({one, two, three});
    EXPECT_EQ(packetizer->subtitleForTime(0), two);
}

TEST(SubtitleForTime, EntersAListBehindItsEnd) {
    const auto packetizer = makePacketizer({makeRecord(1, 2), makeRecord(3, 4), makeRecord(5, 6)});
    (void)packetizer->subtitleForTime(100);
    (void)packetizer->subtitleForTime(100);
    const auto one = makeRecord(1, 2);
    const auto two = makeRecord(3, 4);
    packetizer->setSubtitleRecords({one, two});
    EXPECT_EQ(packetizer->subtitleForTime(1.5), nullptr);
    EXPECT_EQ(packetizer->subtitleForTime(100), nullptr);
}

TEST(SubtitleForTime, PrefersTheLiveRecordAndStandsStill) {
    const auto one = makeRecord(1, 2);
    const auto two = makeRecord(3, 4);
    const auto live = makeRecord(0, 0);
    const auto packetizer = makePacketizer({one, two});
    packetizer->setLiveSubtitleRecordToDisplay(live);
    for (int call = 0; call < 5; ++call) {
        EXPECT_EQ(packetizer->subtitleForTime(100), live);
    }
    packetizer->setLiveSubtitleRecordToDisplay(nullptr);
    EXPECT_EQ(packetizer->subtitleForTime(1.5), one);
}

TEST(SubtitleForTime, GivesNoneForTimesThatAreNotNumbers) {
    const auto one = makeRecord(1, kNotANumber);
    const auto two = makeRecord(kNotANumber, 4);
    const auto packetizer = makePacketizer({one, two});
    EXPECT_EQ(packetizer->subtitleForTime(0), nullptr);
    EXPECT_EQ(packetizer->subtitleForTime(100), nullptr);
    one->setEndTimeInSeconds(2);
    EXPECT_EQ(packetizer->subtitleForTime(kNotANumber), nullptr);
    EXPECT_EQ(packetizer->subtitleForTime(0), one);
}

}  // namespace
