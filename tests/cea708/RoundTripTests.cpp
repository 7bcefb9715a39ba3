// Random captions written and received: what fits comes back as it is, anything else as its findings say.
#include "AppliedService.h"
#include "RandomServiceCaptions.h"
#include "Sanitized.h"
#include "SentServices.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>

namespace {

using namespace qlx::cea708;
using qlxtest::comparable;
using qlxtest::ServiceLoop;
using qlxtest::ShownScreen;
using namespace qlxtest::service;

/// Frames within which a caption is loaded at the latest, where nothing else is sent.
std::uint64_t framesToLoad(const Caption& caption, FrameRate rate, AspectRatio ratio) {
    std::vector<std::uint8_t> bytes;
    encodeCaption(caption, {.aspectRatio = ratio}, bytes);
    // Of a frame's bytes a packet header, two block headers of two bytes, and what one command leaves empty at the end.
    const std::size_t used = 2U * qlx::cc::slotsOf(rate).greatestDtvcc - 1U - 4U - 6U;
    return 1 + (bytes.size() + 4 + used - 1) / used;
}

using FindingsOf = std::map<std::uint64_t, std::vector<Finding>>;

std::uint64_t numberOf(const std::vector<Finding>& findings, FindingCode code, std::uint64_t otherwise) {
    const auto found =
        std::find_if(findings.begin(), findings.end(), [code](const Finding& one) { return one.code == code; });
    return found == findings.end() ? otherwise : static_cast<std::uint64_t>(found->first);
}

/// What a service must show of pop-on captions: `number` is that of each caption.
std::vector<ShownScreen> expectedScreens(const std::vector<Caption>& captions,
                                         const std::vector<std::uint64_t>& numbers, FindingsOf& findings,
                                         AspectRatio ratio) {
    std::vector<ShownScreen> expected;
    const auto push = [&expected](std::uint64_t frame, Screen screen) {
        // One that is so late that the next one takes its place in the same frame is not seen.
        if (!expected.empty() && expected.back().frame == frame) {
            expected.pop_back();
        }
        const bool isSame = expected.empty() ? !ServiceLoop::isAnyVisible(screen) : expected.back().screen == screen;
        if (!isSame) {
            expected.push_back({frame, std::move(screen)});
        }
    };
    std::uint64_t end = 0;
    for (std::size_t index = 0; index < captions.size(); ++index) {
        const Caption& caption = captions[index];
        const std::vector<Finding>& found = findings[numbers[index]];
        const std::uint64_t start = caption.start + numberOf(found, FindingCode::Cea708ShownLate, 0);
        if (index > 0 && end < start) {
            push(end, serviceScreen({}, ratio));
        }
        push(start, serviceScreen(AppliedService(caption, found).rows(), ratio));
        // The end of an overlapping one is the start of the next one.
        end = caption.end;
        if (index + 1 < captions.size()) {
            end = std::min(end, captions[index + 1].start);
        }
        end += numberOf(found, FindingCode::Cea708EndLate, 0);
    }
    push(end, serviceScreen({}, ratio));
    return expected;
}

std::string changesApart(const std::vector<ShownScreen>& expected, const std::vector<ShownScreen>& shown) {
    for (std::size_t index = 0; index < std::min(expected.size(), shown.size()); ++index) {
        const ShownScreen& want = expected[index];
        const ShownScreen& seen = shown[index];
        std::string where = "change " + std::to_string(index) + " at frame " + std::to_string(want.frame);
        if (want.frame != seen.frame) {
            return where + ", but " + std::to_string(seen.frame);
        }
        if (const std::string what = differenceOf(want.screen, seen.screen); !what.empty()) {
            return where + ", " + what;
        }
    }
    return expected.size() == shown.size()
               ? ""
               : std::to_string(shown.size()) + " changes, not " + std::to_string(expected.size());
}

class ServiceRoundTrip : public testing::TestWithParam<std::size_t> {
protected:
    // 10,000 of eight rates.
    static constexpr std::size_t kCaptions = qlxtest::countFor(1250U, 60U);

    ServiceRoundTrip() : random(static_cast<unsigned>(708 + GetParam())) {
        constexpr std::array<std::uint8_t, 8> kSomeServices{1, 2, 6, 7, 8, 33, 62, 63};
        service = kSomeServices[GetParam()];
    }

    FrameRate rate = qlx::kFrameRates[GetParam()];
    AspectRatio ratio = GetParam() % 3 == 2 ? AspectRatio::Standard : AspectRatio::Wide;
    std::uint8_t service = 1;
    Random random;
};

/// Sends them, each added when few wait.
void sendAll(ServiceLoop& loop, const std::vector<Caption>& captions) {
    std::size_t added = 0;
    while (added < captions.size() || !loop.writer.isDone()) {
        while (added < captions.size() && loop.writer.waiting(captions[added].service) < 2) {
            ASSERT_TRUE(loop.writer.add(captions[added++], &loop.findings));
        }
        loop.next();
    }
}

TEST_P(ServiceRoundTrip, PopsOnWhatFits) {
    std::vector<Caption> captions;
    std::vector<std::uint64_t> numbers;
    std::uint64_t free = 0;
    while (captions.size() < kCaptions) {
        Caption caption = someCaption(random, CaptionStyle::PopOn, true, ratio);
        caption.service = service;
        caption.start = free + framesToLoad(caption, rate, ratio) + below(random, 3);
        caption.end = caption.start + 1 + below(random, 40);
        if (!captions.empty()) {
            Caption& before = captions.back();
            before.end = std::min(before.end, caption.start);
        }
        free = caption.start;
        numbers.push_back(captions.size());
        captions.push_back(std::move(caption));
    }
    ServiceLoop loop(rate, {.aspectRatio = ratio}, {service});
    sendAll(loop, captions);
    EXPECT_TRUE(loop.damage.empty());
    ASSERT_TRUE(loop.findings.empty()) << loop.findings[0].offset << ": " << loop.findings[0].text();
    FindingsOf none;
    EXPECT_EQ(changesApart(expectedScreens(captions, numbers, none, ratio), loop.shown[0]), "");
}

/// The rows of a roll-up window.
class RollingWindow {
public:
    void take(const Caption& caption, const std::vector<CaptionRow>& rows) {
        const std::pair<std::size_t, std::size_t> place{caption.rollUpRows, rows.back().row};
        if (place != _place || caption.anchor != _anchor) {
            _rows.clear();
        }
        _place = place;
        _anchor = caption.anchor;
        for (const CaptionRow& row : rows) {
            for (CaptionRow& above : _rows) {
                --above.row;
            }
            _rows.push_back(row);
            std::erase_if(_rows, [&](const CaptionRow& one) { return one.row + place.first <= place.second; });
        }
    }
    void clear() { _rows.clear(); }
    [[nodiscard]] const std::vector<CaptionRow>& rows() const { return _rows; }

private:
    std::pair<std::size_t, std::size_t> _place;
    AnchorPoint _anchor = AnchorPoint::LowerLeft;
    std::vector<CaptionRow> _rows;
};

/// Captions far enough from one another to be written; some stay until the next one, some are over long before.
void expectWritten(Random& random, FrameRate rate, AspectRatio ratio, CaptionStyle style) {
    constexpr std::size_t kSome = qlxtest::countFor(1250U, 60U);
    const std::uint64_t clear = 2U * qlx::nominalFramesPerSecond(rate);
    ServiceLoop loop(rate, {.aspectRatio = ratio, .clearAfter = 2}, {1});
    RollingWindow window;
    std::uint64_t start = 1;
    Caption caption = someCaption(random, style, true, ratio);
    for (std::size_t count = 0; count < kSome; ++count) {
        const std::uint64_t time = framesToLoad(caption, rate, ratio);
        caption.start = start;
        caption.end = start + time + below(random, 30);
        Caption next = someCaption(random, style, true, ratio);
        if (style == CaptionStyle::RollUp && isTrue(random, 60)) {
            next.rollUpRows = caption.rollUpRows;
            next.anchor = caption.anchor;
            next.rows.back().row = caption.rows.back().row;
        }
        start = caption.end + 1 + (isTrue(random, 20) ? below(random, 2 * clear) : below(random, 10));
        ASSERT_TRUE(loop.writer.add(caption, &loop.findings));
        while (loop.writer.frame() < caption.start + time) {
            loop.next();
        }
        const AppliedService applied(caption, {});
        if (style == CaptionStyle::PaintOn) {
            window.clear();
            EXPECT_EQ(comparable(loop.receivers[0].screen()), serviceScreen(applied.rows(), ratio));
        } else {
            // Each is written into the lowest row.
            std::vector<CaptionRow> rows = applied.rows();
            for (CaptionRow& row : rows) {
                row.row =
                    static_cast<std::uint8_t>(std::clamp<std::size_t>(rows.back().row, caption.rollUpRows, kRows));
            }
            window.take(caption, rows);
            EXPECT_EQ(comparable(loop.receivers[0].screen()), serviceScreen(window.rows(), ratio)) << count;
        }
        ASSERT_FALSE(testing::Test::HasFailure()) << "caption " << count;
        // The next one is known in time.
        const bool isErased = style == CaptionStyle::PaintOn || start > caption.end + clear;
        if (isErased) {
            while (loop.writer.frame() <= caption.end) {
                loop.next();
            }
            window.clear();
            EXPECT_FALSE(ServiceLoop::isAnyVisible(loop.receivers[0].screen()));
        }
        caption = std::move(next);
    }
    EXPECT_TRUE(loop.damage.empty());
    EXPECT_TRUE(loop.findings.empty());
}

TEST_P(ServiceRoundTrip, PaintsOnWhatFits) {
    expectWritten(random, rate, ratio, CaptionStyle::PaintOn);
}

TEST_P(ServiceRoundTrip, RollsUpWhatFits) {
    expectWritten(random, rate, ratio, CaptionStyle::RollUp);
}

INSTANTIATE_TEST_SUITE_P(AtRate, ServiceRoundTrip, testing::Range<std::size_t>(0, qlx::kFrameRates.size()));

TEST(ManyServices, AreKeptApart) {
    Random random(5);
    for (const FrameRate rate : {FrameRate::Fps2997, FrameRate::Fps5994}) {
        const std::vector<std::uint8_t> services{1, 2, 3, 6, 7, 40, 63};
        ServiceLoop loop(rate, {}, services);
        std::vector<std::vector<Caption>> captions(services.size());
        std::vector<std::vector<std::uint64_t>> numbers(services.size());
        // Room for what all of them load, two of them due at once.
        const std::uint64_t step = rate == FrameRate::Fps2997 ? 200 : 900;
        std::uint64_t number = 0;
        for (std::uint64_t start = step; start < 30 * step; start += step) {
            for (std::size_t index = 0; index < services.size(); ++index) {
                Caption caption = someCaption(random, CaptionStyle::PopOn, true, AspectRatio::Wide);
                caption.service = services[index];
                caption.start = start + 10 * (index / 2);
                caption.end = caption.start + step / 2;
                ASSERT_TRUE(loop.writer.add(caption, &loop.findings));
                captions[index].push_back(std::move(caption));
                numbers[index].push_back(number++);
            }
        }
        while (!loop.writer.isDone()) {
            loop.next();
        }
        ASSERT_TRUE(loop.findings.empty()) << loop.findings[0].offset << ": " << loop.findings[0].text();
        EXPECT_TRUE(loop.damage.empty());
        FindingsOf none;
        for (std::size_t index = 0; index < services.size(); ++index) {
            EXPECT_EQ(changesApart(expectedScreens(captions[index], numbers[index], none, AspectRatio::Wide),
                                   loop.shown[index]),
                      "")
                << "service " << int{services[index]};
        }
    }
}

}  // namespace
