// Putting the frames of coded streams in order, with their times and captions.
#include "ExactBuffer.h"
#include "Growth.h"
#include "StreamFrames.h"
#include "streams/FrameOrder.h"
#include "streams/PictureTimes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace {

using qlx::Data;
using qlx::MediaTime;
using qlx::streams::Frame;
using qlx::streams::detail::FrameOrder;
using qlx::streams::detail::FrameSample;
using qlx::streams::detail::PictureOrder;
using qlx::streams::detail::PictureTimes;
using qlxtest::fromHex;
using qlxtest::packetOf;
using Bytes = std::vector<std::uint8_t>;

constexpr qlx::video::StreamForm kMpeg2{qlx::video::Codec::Mpeg2, 0};

Frame frameOf(std::uint8_t mark) {
    Frame frame;
    frame.triplets = Data{0xFC, 0x80, mark};
    return frame;
}

/// The marks of all frames that are known by now.
template <class Order>
std::vector<int> marksOf(Order& order) {
    std::vector<int> marks;
    while (const std::optional<Frame> frame = order.take()) {
        marks.push_back(frame->triplets.empty() ? -1 : frame->triplets[2]);
    }
    return marks;
}

std::string picture(unsigned temporalReference, unsigned type) {
    const Bytes bytes{static_cast<std::uint8_t>(temporalReference >> 2U),
                      static_cast<std::uint8_t>((temporalReference & 3U) << 6U | type << 3U)};
    return "00000100" + qlxtest::toHex(bytes);
}

TEST(PictureOrder, CountsTheFramesOfPresentation) {
    PictureOrder order(kMpeg2);
    std::uint8_t mark = 0;
    for (const std::string& unit : {picture(0, 1), picture(2, 2), picture(1, 3)}) {
        order.add(fromHex(unit), frameOf(mark++));
    }
    order.finish();
    std::vector<std::pair<std::uint64_t, int>> frames;
    while (const auto frame = order.take()) {
        frames.emplace_back(frame->number, frame->triplets[2]);
    }
    EXPECT_EQ(frames, (std::vector<std::pair<std::uint64_t, int>>{{0, 0}, {1, 2}, {2, 1}}));
}

Frame timed(std::uint8_t mark, std::optional<std::int64_t> time) {
    Frame frame = frameOf(mark);
    if (time) {
        frame.pts = MediaTime::make(*time, 90000);
    }
    return frame;
}

std::vector<std::int64_t> timesOf(const std::vector<std::optional<std::int64_t>>& given, std::int64_t duration) {
    PictureTimes times(kMpeg2, duration);
    const std::vector<std::string> units{picture(0, 1), picture(3, 2), picture(1, 3), picture(2, 3)};
    for (std::size_t index = 0; index < units.size(); ++index) {
        times.add(fromHex(units[index]), timed(static_cast<std::uint8_t>(index), given[index]));
    }
    times.finish();
    std::vector<std::int64_t> result;
    while (const auto frame = times.take()) {
        result.push_back(frame->pts ? frame->pts->value : -1);
    }
    return result;
}

TEST(PictureTimes, AreThoseOfThePresentation) {
    const std::vector<std::int64_t> expected{3600, 7200, 10800, 14400};
    EXPECT_EQ(timesOf({3600, 14400, 7200, 10800}, 3600), expected);
    // Times of decoding, in a file that gives no others.
    EXPECT_EQ(timesOf({3600, 7200, 10800, 14400}, 3600), expected);
    // Missing ones.
    EXPECT_EQ(timesOf({3600, std::nullopt, std::nullopt, std::nullopt}, 3600), expected);
    EXPECT_EQ(timesOf({3600, 14400, std::nullopt, 10800}, 3600), expected);
    // Counted back from the first one, if only it is known how far.
    EXPECT_EQ(timesOf({std::nullopt, 14400, std::nullopt, std::nullopt}, 3600), expected);
    EXPECT_EQ(timesOf({std::nullopt, std::nullopt, std::nullopt, 10800}, 3600), expected);
    EXPECT_EQ(timesOf({std::nullopt, 14400, std::nullopt, std::nullopt}, 0),
              (std::vector<std::int64_t>{-1, -1, -1, 14400}));
    EXPECT_EQ(timesOf({std::nullopt, std::nullopt, std::nullopt, std::nullopt}, 3600),
              (std::vector<std::int64_t>{-1, -1, -1, -1}));
}

/// The times of pictures that are presented as they stand, a frame of 3600 each, after the given ones.
std::vector<std::int64_t> timesInTurn(const std::vector<std::optional<std::int64_t>>& given) {
    PictureTimes times(kMpeg2, 3600);
    std::vector<std::int64_t> result;
    const auto take = [&] {
        while (const auto frame = times.take()) {
            EXPECT_EQ(frame->triplets[2], result.size());
            result.push_back(frame->pts ? frame->pts->value : -1);
        }
    };
    for (std::size_t index = 0; index < given.size(); ++index) {
        const auto mark = static_cast<std::uint8_t>(index);
        times.add(fromHex(picture(mark, 2)), timed(mark, given[index]));
        take();
    }
    times.finish();
    take();
    return result;
}

TEST(PictureTimes, GoOnBehindAGap) {
    constexpr auto kNone = std::nullopt;
    // Three frames are missing, which two times say.
    EXPECT_EQ(timesInTurn({0, kNone, 7200, 21600, kNone, 28800, kNone}),
              (std::vector<std::int64_t>{0, 3600, 7200, 21600, 25200, 28800, 32400}));
    // One time alone is that of another picture, be it later or earlier.
    EXPECT_EQ(timesInTurn({0, kNone, 10800, kNone, 14400, 14400, 21600}),
              (std::vector<std::int64_t>{0, 3600, 7200, 10800, 14400, 18000, 21600}));
    // Two that do not agree.
    EXPECT_EQ(timesInTurn({0, kNone, 10800, 21600, 14400}), (std::vector<std::int64_t>{0, 3600, 7200, 10800, 14400}));
    // At the end there is no other picture that it may belong to.
    EXPECT_EQ(timesInTurn({0, kNone, 7200, 18000}), (std::vector<std::int64_t>{0, 3600, 7200, 18000}));
    EXPECT_EQ(timesInTurn({0, kNone, 7200, 18000, kNone}), (std::vector<std::int64_t>{0, 3600, 7200, 18000, 21600}));
}

TEST(PictureTimes, TakeWhatCanOnlyBeDamageForNone) {
    constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    const std::vector<std::int64_t> expected{0, 3600, 7200, 10800, 14400};
    EXPECT_EQ(timesInTurn({0, kGreatest, std::nullopt, kLeast, std::nullopt}), expected);
    EXPECT_EQ(timesInTurn({0, kGreatest, kLeast, kGreatest / 4 + 1, -kGreatest / 4 - 1}), expected);
    EXPECT_EQ(timesInTurn({kLeast, kGreatest, 7200, std::nullopt, std::nullopt}), expected);
}

TEST(PictureTimes, DoNotWaitForEverForASecondTime) {
    std::vector<std::optional<std::int64_t>> given(200);
    given[0] = 0;
    given[2] = 14400;
    const std::vector<std::int64_t> times = timesInTurn(given);
    ASSERT_EQ(times.size(), given.size());
    for (std::size_t index = 0; index < times.size(); ++index) {
        EXPECT_EQ(times[index], static_cast<std::int64_t>(index) * 3600);
    }
}

TEST(PictureTimes, DoNotWaitForEverForTheFirst) {
    PictureTimes times(kMpeg2, 40);
    std::vector<int> marks;
    const std::size_t count = 3 * PictureOrder::kLongestWait;
    for (std::size_t index = 0; index < count; ++index) {
        times.add(fromHex(picture(static_cast<unsigned>(index), 2)), frameOf(static_cast<std::uint8_t>(index)));
        while (const auto frame = times.take()) {
            EXPECT_FALSE(frame->pts);
            marks.push_back(frame->triplets[2]);
        }
        // As many wait to be put in order, and as many for a time.
        ASSERT_LT(index + 1, marks.size() + 2 * PictureOrder::kLongestWait);
    }
    times.finish();
    while (const auto frame = times.take()) {
        marks.push_back(frame->triplets[2]);
    }
    ASSERT_EQ(marks.size(), count);
    for (std::size_t index = 0; index < count; ++index) {
        EXPECT_EQ(marks[index], static_cast<int>(index));
    }
}

TEST(PictureTimes, BeginWhereTheyAreSaidTo) {
    PictureTimes times(kMpeg2, 40, MediaTime::make(0, 1000));
    for (const std::string& unit : {picture(0, 1), picture(1, 2), picture(2, 2)}) {
        times.add(fromHex(unit), frameOf(0));
    }
    times.finish();
    for (const std::int64_t expected : {0, 40, 80}) {
        const auto frame = times.take();
        ASSERT_TRUE(frame && frame->pts);
        EXPECT_EQ(frame->pts->value, expected);
        EXPECT_EQ(frame->pts->timescale, 1000);
    }
    // The first one's own time goes before.
    PictureTimes own(kMpeg2, 3600, MediaTime::make(0, 90000));
    own.add(fromHex(picture(0, 1)), timed(0, 7200));
    own.finish();
    EXPECT_EQ(own.take().value().pts.value().value, 7200);
}

FrameSample sampleOf(std::size_t stream, std::optional<std::int64_t> presentation, std::int64_t decoding, int mark) {
    FrameSample sample;
    sample.stream = stream;
    sample.presentation = presentation;
    sample.decoding = decoding;
    if (mark >= 0) {
        sample.frame = frameOf(static_cast<std::uint8_t>(mark));
    }
    return sample;
}

TEST(FrameOrder, PutsPicturesInOrderAsSoonAsItCan) {
    FrameOrder order(1);
    order.add(sampleOf(0, 20, 0, 0));
    order.add(sampleOf(0, 50, 10, 3));
    EXPECT_EQ(marksOf(order), std::vector<int>{});
    order.add(sampleOf(0, 30, 20, 1));
    EXPECT_EQ(marksOf(order), std::vector<int>{});
    order.add(sampleOf(0, 40, 30, 2));
    EXPECT_EQ(marksOf(order), (std::vector<int>{0}));
    order.finish();
    EXPECT_EQ(marksOf(order), (std::vector<int>{1, 2, 3}));
}

TEST(FrameOrder, JoinsWhatIsPresentedTogether) {
    FrameOrder order(3);
    FrameSample packets = sampleOf(2, 20, 20, -1);
    packets.frame.packets.push_back(packetOf(qlx::anc::ids::kCea608, Data{0x80, 0x94, 0x2C}, 21));
    order.add(std::move(packets));
    order.add(sampleOf(1, 20, 20, 7));
    order.add(sampleOf(0, 20, 0, 5));
    order.add(sampleOf(1, 30, 30, 8));
    order.finish();
    const auto first = order.take();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->number, 0U);
    EXPECT_EQ(first->packets.size(), 1U);
    // The picture's own captions, whatever came first.
    EXPECT_EQ(first->triplets, (Data{0xFC, 0x80, 0x05}));
    const auto second = order.take();
    ASSERT_TRUE(second);
    EXPECT_EQ(second->number, 1U);
    EXPECT_EQ(second->triplets, (Data{0xFC, 0x80, 0x08}));
    EXPECT_FALSE(order.take());
}

TEST(FrameOrder, TakesTimesThatDifferByRoundingForOneMoment) {
    // Pictures at 29.97 frames a second on a clock of 1/30000 s, their captions on one of 1/1000 s.
    FrameOrder order(2);
    const std::vector<std::int64_t> pictures{0, 33367, 66733, 100100};
    const std::vector<std::int64_t> captions{0, 33000, 67000, 100000};
    for (std::size_t index = 0; index < pictures.size(); ++index) {
        FrameSample picture = sampleOf(0, pictures[index], pictures[index], static_cast<int>(index));
        picture.tolerance = 33;
        FrameSample packets = sampleOf(1, captions[index], captions[index], -1);
        packets.tolerance = 1000;
        packets.frame.packets.push_back(qlx::anc::Packet{});
        // Either may come first.
        order.add(std::move(index % 2 == 0 ? picture : packets));
        order.add(std::move(index % 2 == 0 ? packets : picture));
    }
    order.finish();
    for (int index = 0; index < 4; ++index) {
        const std::optional<Frame> frame = order.take();
        ASSERT_TRUE(frame) << index;
        EXPECT_EQ(frame->triplets, (Data{0xFC, 0x80, static_cast<std::uint8_t>(index)}));
        EXPECT_EQ(frame->packets.size(), 1U) << index;
    }
    EXPECT_FALSE(order.take());
}

TEST(FrameOrder, KeepsTheSamplesOfOneStreamApart) {
    FrameOrder order(1);
    for (int index = 0; index < 3; ++index) {
        FrameSample sample = sampleOf(0, index, index, index);
        sample.tolerance = 1000;
        order.add(std::move(sample));
    }
    order.finish();
    EXPECT_EQ(marksOf(order), (std::vector<int>{0, 1, 2}));
}

TEST(FrameOrder, DoesNotWaitForEverForASilentStream) {
    FrameOrder order(2);
    std::size_t given = 0;
    for (int index = 0; index < 2000; ++index) {
        order.add(sampleOf(0, index, index, index % 200));
        given += marksOf(order).size();
        ASSERT_LE(static_cast<std::size_t>(index) + 1 - given, FrameOrder::kLongestWait);
    }
    order.finish();
    EXPECT_EQ(given + marksOf(order).size(), 2000U);
}

TEST(FrameOrder, HoldsNoMoreThanAllowed) {
    FrameOrder order(2);
    for (int index = 0; index < 40; ++index) {
        FrameSample sample = sampleOf(0, index, index, -1);
        sample.frame.packets.push_back(packetOf(qlx::anc::ids::kCdp, Bytes(std::size_t{1024} * 1024, 0), 9));
        order.add(std::move(sample));
    }
    // Sixteen megabytes and nothing beyond wait for the other stream: one less, as a packet takes more than its data.
    EXPECT_EQ(marksOf(order).size(), 25U);
}

TEST(FrameOrder, ForgetsWhatItDidNotKeep) {
    // The same captions in the picture and in a track; together the sets that are not kept are more than may wait.
    FrameOrder order(2);
    constexpr std::int64_t kFrame = 40'000;
    const Data triplets(std::vector<std::uint8_t>(std::size_t{64} * 1024, 0xFC));
    const std::int64_t count = static_cast<std::int64_t>(2 * FrameOrder::kMostBytes / triplets.size());
    for (std::int64_t index = 0; index < count; ++index) {
        for (const std::size_t stream : {std::size_t{0}, std::size_t{1}}) {
            Frame frame;
            frame.triplets = triplets;
            order.add({stream, index * kFrame, index * kFrame, frame});
        }
        while (order.take()) {
        }
    }
    // Two pictures out of order are still put in order.
    order.add({0, (count + 1) * kFrame, count * kFrame, frameOf(2)});
    order.add({0, count * kFrame, count * kFrame, frameOf(1)});
    order.finish();
    std::vector<int> marks = marksOf(order);
    ASSERT_GE(marks.size(), 2U);
    EXPECT_EQ(marks[marks.size() - 2], 1);
    EXPECT_EQ(marks.back(), 2);
}

TEST(FrameOrder, JoinsAnyNumberOfSamples) {
    // Each with a packet: as many as are allowed to wait, again and again.
    constexpr std::size_t kSamples = 150'000;
    FrameOrder order(1);
    std::size_t packets = 0;
    const auto count = [&] {
        while (const std::optional<Frame> frame = order.take()) {
            packets += frame->packets.size();
        }
    };
    for (std::size_t index = 0; index < kSamples; ++index) {
        FrameSample sample;
        sample.presentation = 0;
        sample.decoding = 0;
        sample.frame.packets.emplace_back();
        order.add(std::move(sample));
        count();
    }
    order.finish();
    count();
    EXPECT_EQ(packets, kSamples);
}

TEST(FrameOrder, JoinsSamplesInLinearTime) {
    // All of them wait, as the packets of one frame.
    const double growth = qlxtest::growthOfSixteenTimes(500, [](std::size_t count) {
        FrameOrder order(1);
        for (std::size_t index = 0; index < count; ++index) {
            FrameSample sample;
            sample.presentation = 0;
            sample.decoding = 0;
            sample.frame.packets.emplace_back();
            order.add(std::move(sample));
        }
        order.finish();
        const std::optional<Frame> frame = order.take();
        EXPECT_EQ(frame ? frame->packets.size() : 0, count);
    });
    EXPECT_LT(growth, qlxtest::kGreatestLinearGrowth);
}

TEST(FrameOrder, BeginsAnewWhereTheTimesGoBack) {
    FrameOrder order(1);
    order.add(sampleOf(0, 100'000'000, 100'000'000, 0));
    order.add(sampleOf(0, 100'040'000, 100'040'000, 1));
    order.add(sampleOf(0, 0, 0, 2));
    order.add(sampleOf(0, 40'000, 40'000, 3));
    order.finish();
    EXPECT_EQ(marksOf(order), (std::vector<int>{0, 1, 2, 3}));
}

TEST(FrameOrder, PutsWhatHasNoTimeBehindTheLast) {
    FrameOrder order(1);
    order.add(sampleOf(0, std::nullopt, 0, 0));
    order.add(sampleOf(0, 40, 40, 1));
    order.add(sampleOf(0, std::nullopt, 80, 2));
    order.add(sampleOf(0, 120, 120, 3));
    order.finish();
    EXPECT_EQ(marksOf(order), (std::vector<int>{0, 1, 2, 3}));
}

}  // namespace
