// Random captions of a service at any times: what must be on the screen with every frame, by the room that frames have and
// by what the writer says.
#include "AppliedService.h"
#include "RandomServiceCaptions.h"
#include "Sanitized.h"
#include "SentServices.h"
#include "ServiceCourses.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <utility>

namespace {

using namespace qlx::cea708;
using namespace qlxtest::service;
using qlxtest::ServiceLoop;

/// Runs a writer and a receiver, and looks at every frame.
class Viewer {
public:
    Viewer(const std::vector<Caption>& captions, FrameRate rate, AspectRatio ratio)
        : _captions(captions),
          _loop(rate, {.aspectRatio = ratio, .clearAfter = kClearAfter}, {captions.front().service}),
          _screen(serviceScreen({}, ratio)) {}

    /// From this frame on the service shows this; until then what it was told before. Of what is told of the same frame
    /// the last one counts.
    void expect(std::uint64_t frame, Screen screen) {
        if (_change && _change->first != frame) {
            look();
        }
        _change = {frame, std::move(screen)};
    }

    /// To the end; gives all that the writer has said.
    [[nodiscard]] Said finish() {
        look();
        while (_added < _captions.size() || !_loop.writer.isDone()) {
            step();
        }
        EXPECT_TRUE(_loop.damage.empty());
        Said said;
        for (const Finding& finding : _loop.findings) {
            said.emplace_back(finding.offset, finding.code, finding.first, finding.second);
        }
        std::sort(said.begin(), said.end());
        return said;
    }

private:
    void look() {
        if (_change) {
            while (_loop.writer.frame() < _change->first) {
                step();
            }
            _screen = std::move(_change->second);
            _change.reset();
            step();
        }
    }

    void step() {
        // A frame may have all of one caption, and begin the next one.
        constexpr std::size_t kKnown = 6;
        while (_added < _captions.size() && _loop.writer.waiting(_captions[_added].service) < kKnown) {
            (void)_loop.writer.add(_captions[_added++], &_loop.findings);
        }
        _loop.next();
        std::vector<qlxtest::ShownScreen>& shown = _loop.shown[0];
        if (shown.size() > 1) {
            shown.erase(shown.begin(), shown.end() - 1);
        }
        const bool isSame = shown.empty() ? !ServiceLoop::isAnyVisible(_screen) : shown[0].screen == _screen;
        ASSERT_TRUE(isSame) << "frame " << _loop.writer.frame() - 1 << ": "
                            << (shown.empty() ? "nothing is shown" : differenceOf(_screen, shown[0].screen));
    }

    const std::vector<Caption>& _captions;
    ServiceLoop _loop;
    std::size_t _added = 0;
    Screen _screen;
    std::optional<std::pair<std::uint64_t, Screen>> _change;
};

/// Rows without what stands behind so many letters.
std::vector<CaptionRow> firstLetters(std::vector<CaptionRow> rows, std::size_t letters) {
    for (CaptionRow& row : rows) {
        for (Cell& cell : row.cells) {
            cell.isVisible = cell.isVisible && letters > 0;
            letters -= cell.isVisible ? 1 : 0;
        }
    }
    return rows;
}

/// Tells a viewer what must be seen of captions.
class Play {
public:
    Play(Viewer& viewer, AspectRatio ratio) : _viewer(viewer), _ratio(ratio) {}

    void take(const Course& course, const Caption& caption) {
        const std::vector<CaptionRow> rows = AppliedService(caption, course.said).rows();
        if (course.style == CaptionStyle::PopOn) {
            _viewer.expect(course.shown, serviceScreen(rows, _ratio));
        } else {
            write(course, rows, caption);
        }
        _window = course.rollsOn ? _window : std::vector<CaptionRow>();
        if (!course.rollsOn) {
            _viewer.expect(course.gone, serviceScreen({}, _ratio));
        }
    }

private:
    void write(const Course& course, const std::vector<CaptionRow>& rows, const Caption& caption) {
        const bool isRollUp = course.style == CaptionStyle::RollUp;
        const std::vector<CaptionRow> above = isRollUp ? _window : std::vector<CaptionRow>();
        std::size_t letters = 0;
        std::size_t returns = 0;
        _viewer.expect(course.shown, serviceScreen(above, _ratio));
        for (std::size_t index = 0; index < course.sent.size(); ++index) {
            letters += course.parts[index].part == Part::Letter ? 1 : 0;
            returns += course.parts[index].part == Part::CarriageReturn ? 1 : 0;
            if (index + 1 < course.sent.size() && course.sent[index + 1] == course.sent[index]) {
                continue;
            }
            std::vector<CaptionRow> seen = firstLetters(rows, letters);
            if (isRollUp) {
                seen.resize(returns);
                seen.insert(seen.begin(), above.begin(), above.end());
                roll(seen, rows.back().row, caption.rollUpRows);
                _window = seen;
            }
            _viewer.expect(course.sent[index], serviceScreen(seen, _ratio));
        }
    }

    /// The last row stands lowest, and as many as the window has are there.
    static void roll(std::vector<CaptionRow>& rows, std::size_t lowest, std::size_t count) {
        rows.erase(rows.begin(), rows.end() - static_cast<std::ptrdiff_t>(std::min(rows.size(), count)));
        for (std::size_t index = 0; index < rows.size(); ++index) {
            rows[index].row = static_cast<std::uint8_t>(lowest + index + 1 - rows.size());
        }
    }

    Viewer& _viewer;
    AspectRatio _ratio;
    std::vector<CaptionRow> _window;
};

class WrittenServices : public testing::TestWithParam<std::size_t> {
protected:
    // 10,000 of eight rates.
    static constexpr std::size_t kCaptions = qlxtest::countFor(1250U, 60U);

    WrittenServices() : random(static_cast<unsigned>(7080 + GetParam())) {
        constexpr std::array<std::uint8_t, 8> kSomeServices{1, 2, 6, 7, 8, 33, 62, 63};
        service = kSomeServices[GetParam()];
    }

    /// At any times: some far behind the one before, many too near to it, some not behind it at all.
    std::vector<Caption> anything(CaptionStyle style, std::size_t count = kCaptions) {
        std::vector<Caption> captions;
        std::uint64_t start = 0;
        while (captions.size() < count) {
            Caption caption = someCaption(random, style, isTrue(random, 30), ratio);
            if (style == CaptionStyle::RollUp && !captions.empty() && isTrue(random, 60)) {
                const Caption& before = captions.back();
                caption.rollUpRows = before.rollUpRows;
                caption.anchor = before.anchor;
                // Rows are named by their numbers: no two have the same.
                const std::uint8_t lowest = before.rows.back().row;
                std::erase_if(caption.rows, [&, last = caption.rows.back().row](const CaptionRow& row) {
                    return row.row == lowest && row.row != last;
                });
                caption.rows.back().row = lowest;
            }
            caption.service = service;
            const std::size_t away = below(random, 10);
            start += away == 0 ? 200 : away < 6 ? below(random, 12) : below(random, 60);
            caption.start = start - std::min<std::uint64_t>(start, isTrue(random, 5) ? below(random, 30) : 0);
            caption.end = caption.start + below(random, 50);
            captions.push_back(std::move(caption));
        }
        return captions;
    }

    void expectAsSaid(const std::vector<Caption>& captions, bool fits) {
        Courses courses(rate, ratio, service);
        for (const Caption& caption : captions) {
            courses.add(caption);
        }
        courses.run();
        Viewer viewer(captions, rate, ratio);
        Play play(viewer, ratio);
        for (const Course& course : courses.all()) {
            play.take(course, captions[course.number]);
            ASSERT_FALSE(testing::Test::HasFailure()) << "caption " << course.number;
        }
        EXPECT_EQ(viewer.finish(), courses.said());
        EXPECT_EQ(courses.said().empty(), fits);
    }

    FrameRate rate = qlx::kFrameRates[GetParam()];
    AspectRatio ratio = GetParam() % 3 == 2 ? AspectRatio::Standard : AspectRatio::Wide;
    std::uint8_t service = 1;
    Random random;
};

TEST_P(WrittenServices, PopOnAsItIsSaidOfAnything) {
    expectAsSaid(anything(CaptionStyle::PopOn), false);
}

TEST_P(WrittenServices, RollUpAsItIsSaidOfAnything) {
    expectAsSaid(anything(CaptionStyle::RollUp), false);
}

TEST_P(WrittenServices, ArePaintedAsItIsSaidOfAnything) {
    expectAsSaid(anything(CaptionStyle::PaintOn), false);
}

TEST_P(WrittenServices, MixTheirStylesAsItIsSaidOfAnything) {
    std::vector<Caption> captions;
    for (const CaptionStyle style : {CaptionStyle::PopOn, CaptionStyle::RollUp, CaptionStyle::PaintOn}) {
        for (Caption& caption : anything(style, kCaptions / 3)) {
            captions.push_back(std::move(caption));
        }
    }
    // In the order of their starts, a third of them of each style; some begin together.
    std::stable_sort(captions.begin(), captions.end(),
                     [](const Caption& left, const Caption& right) { return left.start < right.start; });
    expectAsSaid(captions, false);
}

/// The first frame that may have all of a caption and what shows it, of all ways to put its commands, none of them cut,
/// into blocks and these into frames; it is loaded from frame 0 on.
std::uint64_t leastFrame(const Caption& caption, FrameRate rate, AspectRatio ratio) {
    std::vector<std::uint8_t> bytes;
    encodeCaption(caption, {.aspectRatio = ratio}, bytes);
    std::vector<std::size_t> sizes{kDefinition};
    for (const SizedPart& part : partsOf(bytes)) {
        sizes.push_back(part.size);
    }
    sizes.push_back(kAction);
    const std::size_t room = roomOf(rate);
    const std::size_t header = headerOf(caption.service);
    // Frame, bytes of it that are used, bytes of its last block: what may have come of the commands so far.
    using Fill = std::tuple<std::uint64_t, std::size_t, std::size_t>;
    std::set<Fill> fills{{0, 0, 0}};
    for (const std::size_t size : sizes) {
        std::set<Fill> next;
        for (const auto& [frame, used, block] : fills) {
            if (block > 0 && block + size <= kBlockBytes && used + size <= room) {
                next.emplace(frame, used + size, block + size);
            }
            if (used + header + size <= room) {
                next.emplace(frame, used + header + size, size);
            }
            next.emplace(frame + 1, header + size, size);
        }
        // What is further behind by a whole frame does not come to the front again.
        const std::uint64_t first = std::get<0>(*next.begin());
        std::erase_if(next, [first](const Fill& fill) { return std::get<0>(fill) > first + 1; });
        fills = std::move(next);
    }
    return std::get<0>(*fills.begin());
}

TEST_P(WrittenServices, AreLoadedInTheFewestFrames) {
    for (std::size_t count = 0; count < kCaptions / 4; ++count) {
        Caption caption = someCaption(random, CaptionStyle::PopOn, true, ratio);
        caption.service = service;
        const std::uint64_t least = leastFrame(caption, rate, ratio);
        // It fits in the last of these frames, and is shown there where it is asked for earlier.
        for (std::uint64_t early = 0; early <= std::min<std::uint64_t>(least, 1); ++early) {
            caption.start = least - early;
            caption.end = caption.start + 10;
            Writer writer(rate, {.aspectRatio = ratio});
            qlx::Findings findings;
            ASSERT_TRUE(writer.add(caption, &findings));
            while (!writer.isDone()) {
                (void)writer.next(&findings);
            }
            Said said;
            for (const Finding& finding : findings) {
                said.emplace_back(finding.offset, finding.code, finding.first, finding.second);
            }
            ASSERT_EQ(said, early == 0 ? Said() : (Said{{0, FindingCode::Cea708ShownLate, 1, 0}})) << count;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AtRate, WrittenServices, testing::Range<std::size_t>(0, qlx::kFrameRates.size()));

}  // namespace
