// Which cues are on air, by hand and against a plain look at all of them.
#include <qlx/playout/timeline.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

using qlx::MediaTime;
using qlx::playout::isEarlier;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Span {
    double start = 0;
    double end = 0;
    char name = ' ';
};

struct SpanTimes {
    [[nodiscard]] static double start(const Span& span) { return span.start; }
    [[nodiscard]] static double end(const Span& span) { return span.end; }
};

using Timeline = qlx::playout::Timeline<Span, SpanTimes>;

Timeline timelineOf(const std::vector<Span>& spans) {
    Timeline timeline;
    for (const Span& span : spans) {
        timeline.add(span);
    }
    return timeline;
}

std::string names(const Timeline& timeline) {
    std::string text;
    for (std::size_t index = 0; index < timeline.size(); ++index) {
        text += timeline[index].name;
    }
    return text;
}

std::string onAir(const Timeline& timeline, double time) {
    std::string text;
    timeline.forEachOnAir(time, [&text](const Span& span) { text += span.name; });
    return text;
}

char lastOnAir(const Timeline& timeline, double time) {
    const Span* const span = timeline.onAir(time);
    return span == nullptr ? '-' : span->name;
}

TEST(Timeline, KeepsTheOrderOfStarts) {
    // Those that start together stay in the order in which they came; what has no start is last.
    const Timeline timeline =
        timelineOf({{2, 3, 'a'}, {kNaN, 9, 'b'}, {1, 2, 'c'}, {2, 5, 'd'}, {-1, 0, 'e'}, {kNaN, 1, 'f'}, {2, 2, 'g'}});
    EXPECT_EQ(names(timeline), "ecadgbf");
    EXPECT_TRUE(Timeline().empty());
}

TEST(Timeline, HasNothingOnAirBeforeItsStart) {
    const Timeline timeline = timelineOf({{1, 2, 'a'}, {3, 4, 'b'}, {4, 5, 'c'}});
    EXPECT_EQ(onAir(timeline, 0), "");
    EXPECT_EQ(onAir(timeline, 0.999), "");
    EXPECT_EQ(onAir(timeline, 1), "a");
    EXPECT_EQ(onAir(timeline, 1.999), "a");
    EXPECT_EQ(onAir(timeline, 2), "");
    EXPECT_EQ(onAir(timeline, 3.5), "b");
    // Touching cues follow each other.
    EXPECT_EQ(onAir(timeline, 4), "c");
    EXPECT_EQ(onAir(timeline, 5), "");
    // A moment that is none has nothing on air.
    EXPECT_EQ(onAir(timeline, kNaN), "");
}

TEST(Timeline, GivesAllThatOverlap) {
    const Timeline timeline = timelineOf({{0, 100, 'a'}, {1, 2, 'b'}, {2, 3, 'c'}, {2.5, 2.5, 'd'}, {2.5, 2.75, 'e'}});
    EXPECT_EQ(onAir(timeline, 0.5), "a");
    EXPECT_EQ(onAir(timeline, 1), "ab");
    EXPECT_EQ(onAir(timeline, 2), "ac");
    // What ends with its start is never on air.
    EXPECT_EQ(onAir(timeline, 2.5), "ace");
    EXPECT_EQ(lastOnAir(timeline, 2.5), 'e');
    EXPECT_EQ(lastOnAir(timeline, 2.75), 'c');
    EXPECT_EQ(lastOnAir(timeline, 50), 'a');
    EXPECT_EQ(lastOnAir(timeline, 100), '-');
    EXPECT_EQ(lastOnAir(timeline, -1), '-');
}

TEST(Timeline, LetsACueStayWhoseEndIsNoTime) {
    const Timeline timeline = timelineOf({{1, kNaN, 'a'}, {2, 3, 'b'}});
    EXPECT_EQ(onAir(timeline, 2), "ab");
    EXPECT_EQ(onAir(timeline, 1e9), "a");
    EXPECT_EQ(timeline.nextChange(3), std::nullopt);
}

TEST(Timeline, TellsWhenSomethingChanges) {
    const Timeline timeline = timelineOf({{1, 10, 'a'}, {2, 3, 'b'}, {5, 5, 'c'}, {6, 7, 'd'}, {kNaN, 20, 'e'}});
    EXPECT_EQ(timeline.nextChange(0), 1.0);
    EXPECT_EQ(timeline.nextChange(1), 2.0);
    EXPECT_EQ(timeline.nextChange(2), 3.0);
    // A cue that never appears changes nothing.
    EXPECT_EQ(timeline.nextChange(3), 6.0);
    EXPECT_EQ(timeline.nextChange(6), 7.0);
    EXPECT_EQ(timeline.nextChange(7), 10.0);
    EXPECT_EQ(timeline.nextChange(10), std::nullopt);
    EXPECT_EQ(Timeline().nextChange(0), std::nullopt);
}

TEST(Timeline, ComparesMediaTimesExactly) {
    constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
    const auto time = [](std::int64_t value, std::int32_t timescale) { return MediaTime::make(value, timescale); };
    EXPECT_FALSE(isEarlier(time(1, 25), time(2, 50)));
    EXPECT_FALSE(isEarlier(time(2, 50), time(1, 25)));
    EXPECT_TRUE(isEarlier(time(1001, 30000), time(1, 29)));
    EXPECT_FALSE(isEarlier(time(1001, 30000), time(1, 30)));
    EXPECT_TRUE(isEarlier(time(-1, 2), time(-1, 3)));
    EXPECT_TRUE(isEarlier(time(-1, 2), time(0, 1)));
    EXPECT_TRUE(isEarlier(time(kGreatest - 1, 1), time(kGreatest, 1)));
    EXPECT_TRUE(isEarlier(time(kGreatest, 2), time(kGreatest, 1)));
    EXPECT_TRUE(isEarlier(time(-kGreatest - 1, 1), time(kGreatest, 2'147'483'647)));
    EXPECT_TRUE(isEarlier(time(kGreatest, 1), MediaTime{}));
    EXPECT_FALSE(isEarlier(MediaTime{}, time(0, 1)));
    EXPECT_FALSE(isEarlier(MediaTime{}, MediaTime{}));
}

struct Cue {
    MediaTime start;
    MediaTime end;
};

TEST(Timeline, TakesHandlesOfWhatHasAStartAndAnEnd) {
    qlx::playout::Timeline<std::shared_ptr<const Cue>> timeline;
    const auto late = std::make_shared<Cue>(Cue{MediaTime::make(2000, 1000), MediaTime::make(3000, 1000)});
    const auto early = std::make_shared<Cue>(Cue{MediaTime::make(1, 25), MediaTime::make(2, 1)});
    timeline.add(late);
    timeline.add(early);
    EXPECT_EQ(timeline[0], early);
    EXPECT_EQ(timeline.onAir(MediaTime::make(1, 30)), nullptr);
    EXPECT_EQ(*timeline.onAir(MediaTime::make(1, 24)), early);
    EXPECT_EQ(*timeline.onAir(MediaTime::make(50, 25)), late);
    EXPECT_EQ(timeline.nextChange(MediaTime::make(1, 1)), MediaTime::make(2, 1));
    timeline.clear();
    EXPECT_TRUE(timeline.empty());
}

TEST(Timeline, AgreesWithALookAtAllCues) {
    std::mt19937 random(608);  // NOLINT(cert-msc51-cpp): the same cues in each run
    const auto number = [&random](unsigned end) { return static_cast<double>(random() % end); };
    for (int round = 0; round < 200; ++round) {
        std::vector<Span> spans;
        Timeline timeline;
        for (auto count = random() % 12; count > 0; --count) {
            const double start = number(8) == 0 ? kNaN : number(20);
            const Span span{start, number(10) == 0 ? kNaN : start + number(6), static_cast<char>('a' + spans.size())};
            spans.push_back(span);
            timeline.add(span);
        }
        qlx::playout::sortByStart(spans, &SpanTimes::start);
        for (double time = -1; time < 27; time += 0.5) {
            std::string expected;
            std::optional<double> next;
            for (const Span& span : spans) {
                const bool isOn = span.start <= time && !(span.end <= time);
                expected += isOn ? std::string(1, span.name) : "";
                const bool appears = span.start > time && !(span.end <= span.start);
                for (const double change : {appears ? span.start : kNaN, isOn ? span.end : kNaN}) {
                    next = change > time && !(next && *next <= change) ? change : next;
                }
            }
            ASSERT_EQ(onAir(timeline, time), expected) << time;
            ASSERT_EQ(lastOnAir(timeline, time), expected.empty() ? '-' : expected.back());
            ASSERT_EQ(timeline.nextChange(time), next) << time;
        }
    }
}

TEST(Order, IsThatOfStartsAndElseThatOfBefore) {
    const auto namesOf = [](const std::vector<Span>& spans) {
        std::string text;
        for (const Span& span : spans) {
            text += span.name;
        }
        return text;
    };
    std::vector<Span> spans{{2, 0, 'a'}, {kNaN, 0, 'b'}, {1, 0, 'c'}, {2, 0, 'd'}};
    qlx::playout::sortByStart(spans, &SpanTimes::start);
    EXPECT_EQ(namesOf(spans), "cadb");
    qlx::playout::sortByStart(spans, &SpanTimes::start);
    EXPECT_EQ(namesOf(spans), "cadb");
}

}  // namespace
