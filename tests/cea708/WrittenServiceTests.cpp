// Random captions of a service at any times: what must be on the screen with every frame, worked out from the room that
// frames have, and from what the writer says.
#include "AppliedService.h"
#include "RandomServiceCaptions.h"
#include "Sanitized.h"
#include "SentServices.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <span>
#include <string>
#include <tuple>
#include <utility>

namespace {

using namespace qlx::cea708;
using namespace qlxtest::service;
using qlxtest::ServiceLoop;

constexpr std::uint32_t kClearAfter = 1;

/// Triplets of a frame for DTVCC at each of the eight rates: of 9600 bit/s.
constexpr std::array<std::size_t, 8> kDtvccTriplets{22, 22, 22, 18, 18, 11, 9, 9};

/// Bytes of a frame for service blocks: those of its triplets without the header of the packet.
std::size_t roomOf(FrameRate rate) {
    return 2 * kDtvccTriplets[static_cast<std::size_t>(rate) - 1] - 1;
}

/// The header of a block: of services from 7 on it has a byte more.
std::size_t headerOf(std::uint8_t service) {
    return service < 7 ? 1 : 2;
}

constexpr std::size_t kBlockBytes = 31;
constexpr std::size_t kDefinition = 7;
constexpr std::size_t kAction = 2;

/// What a frame has room for, one command behind the other.
class FrameRoom {
public:
    FrameRoom(FrameRate rate, std::uint8_t service) : _bytes(roomOf(rate)), _header(headerOf(service)), _free(_bytes) {}

    [[nodiscard]] std::uint64_t frame() const { return _frame; }
    void goTo(std::uint64_t frame) {
        if (frame > _frame) {
            _frame = frame;
            _free = _bytes;
            _block = 0;
        }
    }
    [[nodiscard]] bool put(std::size_t size) {
        const bool continues = _block > 0 && _block + size <= kBlockBytes;
        const std::size_t needed = size + (continues ? 0 : _header);
        if (needed > _free) {
            return false;
        }
        _free -= needed;
        _block = (continues ? _block : 0) + size;
        return true;
    }

private:
    std::size_t _bytes;
    std::size_t _header;
    std::uint64_t _frame = 0;
    std::size_t _free;
    std::size_t _block = 0;
};

enum class Part : std::uint8_t { Letter, CarriageReturn, EndOfText, Other };

struct SizedPart {
    Part part = Part::Other;
    std::size_t size = 1;
};

/// The commands and letters of a caption behind the definition of its window, by the lengths that CTA-708 gives the codes.
std::vector<SizedPart> partsOf(std::span<const std::uint8_t> bytes) {
    std::vector<SizedPart> parts;
    for (std::size_t place = kDefinition; place < bytes.size(); place += parts.back().size) {
        const std::uint8_t code = bytes[place];
        const std::map<std::uint8_t, std::size_t> sizes{{0x90, 3}, {0x91, 4}, {0x92, 3}, {0x97, 5}};
        if (code == 0x10) {
            parts.push_back({Part::Letter, 2});
        } else if (code == 0x0D || code == 0x03) {
            parts.push_back({code == 0x0D ? Part::CarriageReturn : Part::EndOfText, 1});
        } else if (code < 0x80 || code >= 0xA0) {
            parts.push_back({Part::Letter, 1});
        } else {
            const auto known = sizes.find(code);
            parts.push_back({Part::Other, code >= 0x98 ? kDefinition : known != sizes.end() ? known->second : 2});
        }
    }
    return parts;
}

/// The frames of a caption.
struct Course {
    std::size_t number = 0;  ///< The caption's.
    CaptionStyle style = CaptionStyle::PopOn;
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    std::uint64_t ownEnd = 0;  ///< Where the next one begins before that.
    std::uint64_t shown = 0;
    std::uint64_t gone = 0;  ///< It is deleted; or the first row of the next one, for which its rows move up.
    bool rollsOn = false;    ///< The latter.
    std::vector<std::uint8_t> definition{};
    std::vector<SizedPart> parts{};
    std::vector<std::uint64_t> sent{};  ///< The frame of each of `parts`.
    std::vector<Finding> said{};        ///< Of its text.
};

using Said = std::vector<std::tuple<std::uint64_t, FindingCode, std::int64_t, std::int64_t>>;

/// When captions of the only service are on the screen, and all that must be said of them.
class Courses {
public:
    Courses(FrameRate rate, AspectRatio ratio, std::uint8_t service)
        : _ratio(ratio), _room(rate, service), _clear(kClearAfter * qlx::nominalFramesPerSecond(rate)) {}

    /// The captions in their order; the last one may be taken back, and another one added.
    void add(const Caption& caption) {
        const std::size_t number = _added++;
        const auto start = static_cast<std::int64_t>(caption.start);
        const auto end = static_cast<std::int64_t>(caption.end);
        if (caption.end <= caption.start || (!_courses.empty() && caption.start <= _courses.back().start)) {
            _said.emplace_back(number, FindingCode::Cea708TimesWrong, start, end);
            return;
        }
        Course course{.number = number, .style = caption.style, .start = caption.start, .end = caption.end};
        std::vector<std::uint8_t> bytes;
        qlx::Findings found(10'000);
        encodeCaption(caption, {.aspectRatio = _ratio, .findingsOffset = number}, bytes, &found);
        if (bytes.empty()) {
            _said.emplace_back(number, FindingCode::Cea708CaptionEmpty, 0, 0);
            return;
        }
        course.said.assign(found.begin(), found.end());
        for (const Finding& one : found) {
            _said.emplace_back(one.offset, one.code, one.first, one.second);
        }
        course.definition.assign(bytes.begin(), bytes.begin() + kDefinition);
        course.parts = partsOf(bytes);
        if (!_courses.empty()) {
            Course& before = _courses.back();
            if (before.end > course.start) {
                _said.emplace_back(number, FindingCode::Cea708CaptionOverlaps, start, before.end);
                before.ownEnd = std::exchange(before.end, course.start);
            }
        }
        _courses.push_back(std::move(course));
    }

    /// Works out the course of all.
    void run() {
        for (std::size_t index = 0; index < _courses.size(); ++index) {
            Course* const before = index > 0 ? &_courses[index - 1] : nullptr;
            if (_courses[index].style == CaptionStyle::PopOn) {
                popOn(_courses[index], before);
            } else {
                write(_courses[index], before);
            }
        }
        if (!_courses.empty()) {
            Course& last = _courses.back();
            deleteAt(last, std::max(last.end, std::max(last.shown, last.sent.back()) + 1));
        }
        std::sort(_said.begin(), _said.end());
    }

    [[nodiscard]] const std::vector<Course>& all() const { return _courses; }
    [[nodiscard]] const Said& said() const { return _said; }

private:
    void tell(const Course& course, FindingCode code, std::uint64_t due, std::uint64_t frame) {
        if (frame > due) {
            _said.emplace_back(course.number, code, frame - due, 0);
        }
    }

    void deleteAt(Course& course, std::uint64_t frame) {
        course.gone = frame;
        tell(course, FindingCode::Cea708EndLate, course.end, frame);
    }

    /// Loaded as soon as the one before it is on the screen, and shown with one block behind all of it.
    void popOn(Course& course, Course* before) {
        bool isShown = before != nullptr;
        const auto show = [&]() {
            if (!_room.put(kAction + (isShown ? kAction : 0))) {
                return false;
            }
            if (isShown) {
                deleteAt(*before, _room.frame());
            }
            course.shown = _room.frame();
            tell(course, FindingCode::Cea708ShownLate, course.start, course.shown);
            return true;
        };
        // The definition is one of the commands that are loaded.
        std::size_t next = 0;
        const std::size_t count = course.parts.size() + 1;
        for (bool isFirst = true;; isFirst = false, _room.goTo(_room.frame() + 1)) {
            const std::uint64_t frame = _room.frame();
            if (!isFirst && next == count && frame >= course.start) {
                if (show()) {
                    return;
                }
                continue;
            }
            // What is shown is deleted first. It has been shown in this frame where that is the first one.
            if (!isFirst && isShown && frame >= std::max(before->end, before->ownEnd) && _room.put(kAction)) {
                deleteAt(*before, frame);
                isShown = false;
            }
            const bool wasLoaded = next == count;
            while (next < count && _room.put(next == 0 ? kDefinition : course.parts[next - 1].size)) {
                if (next++ > 0) {
                    course.sent.push_back(frame);
                }
            }
            if (!wasLoaded && next == count && frame >= course.start && show()) {
                return;
            }
        }
    }

    /// From its start on, behind all of the one before it.
    void write(Course& course, Course* before) {
        const bool isAfterRollUp = before != nullptr && before->style == CaptionStyle::RollUp;
        const bool rollsOn =
            isAfterRollUp && course.style == CaptionStyle::RollUp && course.start <= before->end + _clear;
        const bool isSameWindow = isAfterRollUp && course.definition == before->definition;
        bool isShown = before != nullptr;
        for (_room.goTo(course.start);; _room.goTo(_room.frame() + 1)) {
            const std::uint64_t frame = _room.frame();
            const std::uint64_t over = isShown ? std::max(before->end, before->sent.back() + 1) : 0;
            if (isShown && !rollsOn && frame >= over) {
                // In a frame of its own where it is over earlier.
                EXPECT_TRUE(frame > over || _room.put(kAction));
                deleteAt(*before, over);
                isShown = false;
            }
            if (_room.put(kDefinition + (isShown && !isSameWindow ? kAction : 0))) {
                break;
            }
        }
        course.shown = _room.frame();
        tell(course, FindingCode::Cea708ShownLate, course.start, course.shown);
        if (isShown) {
            before->rollsOn = isSameWindow;
            before->gone = course.shown;
            if (!rollsOn) {
                tell(*before, FindingCode::Cea708EndLate, before->end, course.shown);
            }
        }
        for (const SizedPart& part : course.parts) {
            while (!_room.put(part.size)) {
                _room.goTo(_room.frame() + 1);
            }
            course.sent.push_back(_room.frame());
        }
        // The last one is ETX.
        const std::uint64_t written = course.sent[course.sent.size() - 2];
        tell(course, FindingCode::Cea708TextLate, course.end, written + 1);
    }

    AspectRatio _ratio;
    FrameRoom _room;
    std::uint64_t _clear;
    std::size_t _added = 0;
    std::vector<Course> _courses;
    Said _said;
};

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
    std::vector<Caption> anything(CaptionStyle style) {
        std::vector<Caption> captions;
        std::uint64_t start = 0;
        while (captions.size() < kCaptions) {
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
