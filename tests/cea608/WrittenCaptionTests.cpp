// Random roll-up and paint-on captions written and received: what must be on the screen with every pair, by the standard
// and by what the writer says.
#include "AppliedCaption.h"
#include "RandomCaptions.h"
#include "Sanitized.h"

#include <qlx/cea608/receiver.h>
#include <qlx/cea608/writer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <tuple>

namespace {

using namespace qlxtest;

/// Slots of the field: those that the pairs of a caption have, and when it is over.
struct Course {
    std::size_t number = 0;  ///< The caption's.
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    std::uint64_t length = 0;  ///< From its start to its own end, where the next one begins before that.
    std::uint64_t begun = 0;
    std::uint64_t written = 0;              ///< Its last pair.
    std::optional<std::uint64_t> erased{};  ///< The first pair of EDM.
};

using Said = std::vector<std::tuple<std::uint64_t, FindingCode, std::int64_t, std::int64_t>>;

/// When captions of a channel that has its field for itself are on the screen, worked out from their times and from how
/// many pairs they have; and what must be said of it.
class Courses {
public:
    Courses(const std::vector<Caption>& captions, const FieldFrames& frames, bool doublesCodes,
            std::uint32_t clearAfter)
        : _frames(frames), _code(doublesCodes ? 2 : 1),
          _clearAfter(std::uint64_t{clearAfter} * qlx::nominalFramesPerSecond(frames.rate) / frames.step()) {
        for (std::size_t number = 0; number < captions.size(); ++number) {
            take(captions, number, doublesCodes);
        }
        for (std::size_t index = 0; index < _courses.size(); ++index) {
            run(captions, index);
        }
        std::sort(_said.begin(), _said.end());
    }

    [[nodiscard]] const std::vector<Course>& all() const { return _courses; }
    [[nodiscard]] const Said& said() const { return _said; }
    [[nodiscard]] std::uint64_t frameOf(std::uint64_t slot) const {
        return slot * _frames.step() + (_frames.step() == 2 ? _frames.field - 1 : 0);
    }

private:
    [[nodiscard]] std::uint64_t slotOf(std::uint64_t frame) const { return _frames.atOrAfter(frame) / _frames.step(); }

    void take(const std::vector<Caption>& captions, std::size_t number, bool doublesCodes) {
        const Caption& caption = captions[number];
        const auto start = static_cast<std::int64_t>(caption.start);
        const auto end = static_cast<std::int64_t>(caption.end);
        const bool isBehindLast = _courses.empty() || caption.start > captions[_courses.back().number].start;
        if (caption.end <= caption.start || !isBehindLast) {
            _said.emplace_back(number, FindingCode::Cea608TimesWrong, start, end);
            return;
        }
        std::vector<CodePair> pairs;
        encodeCaption(caption, {.doublesCodes = doublesCodes}, pairs);
        if (pairs.empty()) {
            _said.emplace_back(number, FindingCode::Cea608CaptionEmpty, 0, 0);
            return;
        }
        Course course{.number = number, .start = slotOf(caption.start), .end = slotOf(caption.end)};
        course.length = course.end - course.start;
        // How many pairs it has, until it is known where they begin.
        course.written = pairs.size();
        if (!_courses.empty() && captions[_courses.back().number].end > caption.start) {
            _said.emplace_back(number, FindingCode::Cea608CaptionOverlaps, start, captions[_courses.back().number].end);
            _courses.back().end = course.start;
        }
        _courses.push_back(course);
    }

    void run(const std::vector<Caption>& captions, std::size_t index) {
        Course& course = _courses[index];
        std::uint64_t free = 0;
        if (index > 0) {
            const Course& before = _courses[index - 1];
            free = before.erased ? *before.erased + _code : before.written + 1;
        }
        course.begun = std::max(course.start, free);
        course.written += course.begun - 1;
        tell(course, FindingCode::Cea608ShownLate, course.start, course.begun);
        // One that begins only at its end or behind it is to be seen for as long as it should have been.
        const std::uint64_t over = course.begun < course.end ? course.end : course.begun + course.length;
        const Course* const next = index + 1 < _courses.size() ? &_courses[index + 1] : nullptr;
        if (captions[course.number].style == CaptionStyle::RollUp) {
            // Rows stay for those that come soon.
            if (next == nullptr || next->start > over + _clearAfter) {
                course.erased = std::max(over, course.written + 1);
            }
        } else {
            // It is always erased: as the next one begins, where that follows at once or does not wait for its end.
            const bool isAtOnce = next != nullptr && next->start < over + _code;
            course.erased = std::max(isAtOnce ? next->start - std::min(_code, next->start) : over, course.written + 1);
        }
        if (course.erased) {
            tell(course, FindingCode::Cea608EndLate, course.end, *course.erased);
        }
    }

    void tell(const Course& course, FindingCode code, std::uint64_t due, std::uint64_t slot) {
        if (slot > due) {
            const bool isShown = code == FindingCode::Cea608ShownLate;
            _said.emplace_back(course.number, code, (slot - due) * _frames.step(), isShown ? slot - due : 0);
        }
    }

    FieldFrames _frames;
    std::uint64_t _code;
    std::uint64_t _clearAfter;
    std::vector<Course> _courses;
    Said _said;
};

/// The first and the last of the cells that are seen, by their places on the screen; none where it is empty.
std::optional<std::pair<std::size_t, std::size_t>> seenCells(const Screen& screen) {
    const auto isSeen = [](const Cell& cell) { return cell.isVisible; };
    const auto first = std::find_if(screen.cells.begin(), screen.cells.end(), isSeen);
    if (first == screen.cells.end()) {
        return std::nullopt;
    }
    const auto last = std::find_if(screen.cells.rbegin(), screen.cells.rend(), isSeen).base() - 1;
    return std::pair{static_cast<std::size_t>(first - screen.cells.begin()),
                     static_cast<std::size_t>(last - screen.cells.begin())};
}

/// Whether a screen is one with so many of its cells written, in their order. The last of them may be on their way: a
/// stand-in, a space in front of its background, and the solid space beside them.
bool isPartOf(const Screen& whole, const Screen& shown, std::size_t& written) {
    constexpr std::size_t kOnTheirWay = 4;
    const auto seen = seenCells(shown);
    const std::size_t end = seen ? seen->second + 1 : 0;
    if (end + kOnTheirWay < written) {
        return false;
    }
    written = std::max(written, end);
    for (std::size_t place = 0; place + kOnTheirWay < end; ++place) {
        const std::size_t row = place / whole.columns;
        if (!isAsExpected(whole.row(row), shown.row(row), place % whole.columns)) {
            return false;
        }
    }
    return true;
}

/// What the screen of a caption that is being written may be, one after the other.
class Steps {
public:
    /// The screen goes on being this one.
    void add(Screen screen) { _steps.push_back({std::move(screen), false}); }
    /// Its cells are written, in their order.
    void addWritten(Screen screen) { _steps.push_back({std::move(screen), true}); }

    /// Whether it is the step where it was last, or one behind that.
    [[nodiscard]] bool take(const Screen& shown) {
        for (; _at < _steps.size(); ++_at, _written = 0) {
            const Step& step = _steps[_at];
            if (step.isWritten ? isPartOf(step.screen, shown, _written) : difference(step.screen, shown).empty()) {
                return true;
            }
        }
        return false;
    }
    /// When all is written.
    [[nodiscard]] const Screen& last() const { return _steps.back().screen; }

private:
    struct Step {
        Screen screen;
        bool isWritten = false;
    };
    std::vector<Step> _steps;
    std::size_t _at = 0;
    std::size_t _written = 0;
};

/// Rows that roll-up captions have left on the screen, the lowest one last.
class Window {
public:
    /// What a caption makes of it, step by step.
    Steps take(const std::vector<CaptionRow>& rows, std::size_t count) {
        Steps steps;
        steps.add(screen());
        // The mode code brings the number of rows, and CR stands in front of the row.
        _base = std::max(_base, count);
        keep(count);
        steps.add(screen());
        --_base;
        keep(count - 1);
        steps.add(screen());
        _base = rows.back().row;
        for (const CaptionRow& row : rows) {
            _rows.push_back(row);
            keep(count);
            steps.addWritten(screen());
        }
        return steps;
    }
    void clear() { _rows.clear(); }
    [[nodiscard]] Screen screen() {
        for (std::size_t index = 0; index < _rows.size(); ++index) {
            _rows[index].row = static_cast<std::uint8_t>(_base + index + 1 - _rows.size());
        }
        return screenOf(_rows);
    }

private:
    void keep(std::size_t count) {
        if (_rows.size() > count) {
            _rows.erase(_rows.begin(), _rows.end() - static_cast<std::ptrdiff_t>(count));
        }
    }

    std::size_t _base = kRows;
    std::vector<CaptionRow> _rows;
};

/// Captions at any times: some far behind the one before, many too near to it, some not behind it at all.
std::vector<Caption> anyCaptions(Random& random, Channel channel, CaptionStyle style, std::size_t count) {
    std::vector<Caption> captions;
    std::uint64_t start = 0;
    while (captions.size() < count) {
        Caption caption{.channel = channel,
                        .style = style,
                        .rollUpRows = static_cast<std::uint8_t>(2 + below(random, 3)),
                        .rows = isTrue(random, 30) ? fittingRows(random) : anyRows(random)};
        const std::size_t away = below(random, 10);
        start += away == 0 ? 600 : away < 6 ? below(random, 40) : below(random, 160);
        // The time of the one before, or one before that.
        caption.start = start - std::min<std::uint64_t>(start, isTrue(random, 5) ? below(random, 60) : 0);
        caption.end = caption.start + below(random, 120);
        captions.push_back(std::move(caption));
    }
    return captions;
}

/// Captions whose pairs are all sent before the next one, or what erases them, is due.
std::vector<Caption> fittingCaptions(Random& random, Channel channel, CaptionStyle style, const FieldFrames& frames,
                                     std::size_t count) {
    std::vector<Caption> captions;
    std::vector<CodePair> pairs;
    std::uint64_t free = 10;
    while (captions.size() < count) {
        Caption caption{.start = free + below(random, 30),
                        .channel = channel,
                        .style = style,
                        .rollUpRows = static_cast<std::uint8_t>(2 + below(random, 3)),
                        .rows = fittingRows(random)};
        caption.rows.back().row = std::max(caption.rows.back().row, caption.rollUpRows);
        pairs.clear();
        encodeCaption(caption, {}, pairs);
        // The EDM of a paint-on caption that another one follows at once is in front of its end.
        caption.end = caption.start + (pairs.size() + 3) * frames.step() + below(random, 30);
        free = caption.end + (isTrue(random, 30) ? 5 * 60 : 1);
        captions.push_back(std::move(caption));
    }
    return captions;
}

constexpr std::uint32_t kClearAfter = 1;

/// What is said of times and of whole captions, sorted; and of each caption what is said of its text.
Said timesSaid(const qlx::Findings& findings, std::map<std::uint64_t, std::vector<Finding>>& ofText) {
    Said said;
    for (const Finding& finding : findings) {
        switch (finding.code) {
        case FindingCode::Cea608TimesWrong:
        case FindingCode::Cea608CaptionEmpty:
        case FindingCode::Cea608CaptionOverlaps:
        case FindingCode::Cea608ShownLate:
        case FindingCode::Cea608EndLate:
            said.emplace_back(finding.offset, finding.code, finding.first, finding.second);
            break;
        default:
            ofText[finding.offset].push_back(finding);
        }
    }
    std::sort(said.begin(), said.end());
    return said;
}

/// What is sent with a frame.
struct SentPair {
    std::uint64_t frame = 0;
    Pair pair;
};

std::vector<SentPair> sent(const std::vector<Caption>& captions, FrameRate rate, bool doublesCodes,
                           qlx::Findings& findings) {
    const Channel channel = captions.front().channel;
    Writer writer(rate, {.doublesCodes = doublesCodes, .clearAfter = kClearAfter});
    std::vector<SentPair> all;
    std::size_t added = 0;
    while (added < captions.size() || !writer.isDone()) {
        while (added < captions.size() && writer.waiting(channel) < 2) {
            (void)writer.add(captions[added++], &findings);
        }
        const std::uint64_t frame = writer.frame();
        const FramePairs pairs = writer.next(&findings);
        if (const auto& pair = channel.field == 1 ? pairs.field1 : pairs.field2) {
            all.push_back({frame, *pair});
        }
    }
    return all;
}

/// Looks at the screen with each pair that changes it.
class Viewer {
public:
    Viewer(Channel channel, const std::vector<SentPair>& pairs) : _receiver(channel), _rest(pairs) {}

    /// Goes on to the frame `end`: a caption is written, and erased if its course says so, and nothing else is seen.
    void watch(const Courses& courses, const Course& course, Steps steps, std::uint64_t end) {
        const std::uint64_t begun = courses.frameOf(course.begun);
        const std::uint64_t written = courses.frameOf(course.written);
        const std::uint64_t erased = course.erased ? courses.frameOf(*course.erased) : end;
        for (; !_rest.empty() && _rest.front().frame < end; _rest = _rest.subspan(1)) {
            const auto& [frame, pair] = _rest.front();
            const bool isChanged = _receiver.receive(pair.first, pair.second);
            if (!isChanged && frame != written && frame != erased) {
                continue;
            }
            const Screen shown = _receiver.screen();
            if (frame == erased) {
                ASSERT_EQ(difference(screenOf({}), shown), "") << "erased at frame " << frame;
            } else if (frame == written) {
                ASSERT_EQ(difference(steps.last(), shown), "") << "written at frame " << frame;
            } else {
                ASSERT_TRUE(frame >= begun && frame < written) << "frame " << frame;
                ASSERT_TRUE(steps.take(shown)) << "frame " << frame << ": " << difference(steps.last(), shown);
            }
        }
    }

private:
    Receiver _receiver;
    std::span<const SentPair> _rest;
};

void expectAsSaid(const std::vector<Caption>& captions, const FieldFrames& frames, bool doublesCodes, bool fits) {
    qlx::Findings findings(1'000'000);
    const std::vector<SentPair> pairs = sent(captions, frames.rate, doublesCodes, findings);
    const Courses courses(captions, frames, doublesCodes, kClearAfter);
    std::map<std::uint64_t, std::vector<Finding>> ofText;
    ASSERT_EQ(timesSaid(findings, ofText), courses.said());
    EXPECT_EQ(findings.empty(), fits);
    Window window;
    Viewer viewer(captions.front().channel, pairs);
    for (std::size_t index = 0; index < courses.all().size(); ++index) {
        const Course& course = courses.all()[index];
        const Caption& caption = captions[course.number];
        const Applied applied(caption, ofText[course.number]);
        Steps steps;
        if (caption.style == CaptionStyle::RollUp) {
            steps = window.take(applied.rows(), caption.rollUpRows);
        } else {
            steps.addWritten(screenOf(applied.rows()));
        }
        const bool isLast = index + 1 == courses.all().size();
        viewer.watch(courses, course, std::move(steps),
                     isLast ? ~std::uint64_t{0} : courses.frameOf(courses.all()[index + 1].begun));
        if (course.erased) {
            window.clear();
        }
        ASSERT_FALSE(testing::Test::HasFailure()) << "caption " << course.number;
    }
}

/// Captions of a set at one of the eight rates: 10,000 in all.
constexpr std::size_t kCaptionsOfRate = countFor<std::size_t>(1250, 60);

/// A part of each set for each rate.
class WrittenCaptions : public testing::TestWithParam<std::size_t> {
protected:
    void expectFitting(CaptionStyle style) {
        expectAsSaid(fittingCaptions(random, channel, style, frames, kCaptionsOfRate), frames, doublesCodes, true);
    }
    void expectAnything(CaptionStyle style) {
        expectAsSaid(anyCaptions(random, channel, style, kCaptionsOfRate), frames, doublesCodes, false);
    }

    Random random{static_cast<unsigned>(1429 + GetParam())};
    Channel channel = kChannels[GetParam() % 4];
    FieldFrames frames{qlx::kFrameRates[GetParam()], channel.field};
    bool doublesCodes = GetParam() % 3 != 0;
};

TEST_P(WrittenCaptions, RollUpAsTheyAreWhereTheyFit) {
    expectFitting(CaptionStyle::RollUp);
}

TEST_P(WrittenCaptions, ArePaintedAsTheyAreWhereTheyFit) {
    expectFitting(CaptionStyle::PaintOn);
}

TEST_P(WrittenCaptions, RollUpAsItIsSaidOfAnything) {
    expectAnything(CaptionStyle::RollUp);
}

TEST_P(WrittenCaptions, ArePaintedAsItIsSaidOfAnything) {
    expectAnything(CaptionStyle::PaintOn);
}

INSTANTIATE_TEST_SUITE_P(AtRate, WrittenCaptions, testing::Range<std::size_t>(0, qlx::kFrameRates.size()));

}  // namespace
