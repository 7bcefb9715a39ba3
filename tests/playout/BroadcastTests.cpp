// Cues in both caption systems at once: the triplets of each packet, and what the receivers of both show.
#include <qlx/playout/broadcast.h>

#include "../cc/CdpDecoder.h"
#include "ScreenLines.h"

#include <qlx/cc/slots.h>
#include <qlx/cea608/receiver.h>
#include <qlx/cea708/receiver.h>
#include <qlx/subtitles/box.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

using qlx::FrameRate;
using qlx::MediaTime;
using qlx::cc::CaptionService;
using qlx::playout::BroadcastPlayout;
using qlx::playout::CaptionOptions;
using qlx::playout::serviceCaptionOf;
using qlx::playout::ServiceOptions;
using qlx::subtitles::Alignment;
using qlx::subtitles::Cue;
using qlx::subtitles::Row;

Cue oneCue(std::vector<std::pair<std::string, Alignment>> rows, std::int64_t start = 1000, std::int64_t end = 2000) {
    Cue cue;
    cue.number = 1;
    cue.start = MediaTime::make(start, 1000);
    cue.end = MediaTime::make(end, 1000);
    for (auto& [text, alignment] : rows) {
        Row row;
        row.runs.push_back({std::move(text), {}});
        row.alignment = alignment;
        cue.rows.push_back(std::move(row));
    }
    return cue;
}

using Shown = std::map<std::uint64_t, std::vector<std::string>>;

TEST(ServiceCaptions, StandWhereLine21HasThem) {
    const Cue cue = oneCue({{"Left", Alignment::Left}, {"right", Alignment::Right}});
    const auto wide = serviceCaptionOf(cue, FrameRate::Fps25, {.service = 3});
    ASSERT_TRUE(wide);
    EXPECT_EQ(wide->start, 25U);
    EXPECT_EQ(wide->end, 50U);
    EXPECT_EQ(wide->service, 3U);
    ASSERT_EQ(wide->rows.size(), 2U);
    EXPECT_EQ(wide->rows[0].row, 14U);
    EXPECT_EQ(wide->rows[0].column, 5U);
    EXPECT_EQ(wide->rows[1].column, 5U + 32U - 5U);
    EXPECT_EQ(wide->anchor, qlx::cea708::AnchorPoint::LowerRight);
    const auto standard = serviceCaptionOf(cue, FrameRate::Fps25, {.aspectRatio = qlx::cea708::AspectRatio::Standard});
    ASSERT_TRUE(standard);
    EXPECT_EQ(standard->rows[0].column, 0U);
    Cue above = oneCue({{"Above", Alignment::Center}});
    above.rows[0].number = 1;
    EXPECT_EQ(serviceCaptionOf(above, FrameRate::Fps25)->anchor, qlx::cea708::AnchorPoint::UpperCenter);
    EXPECT_FALSE(serviceCaptionOf(Cue{}, FrameRate::Fps25));
}

/// The columns of a cue's rows on the screen of a service and on that of CEA-608.
std::vector<unsigned> columnsOn(const Cue& cue, qlx::cea708::AspectRatio ratio) {
    std::vector<unsigned> columns;
    const auto service = serviceCaptionOf(cue, FrameRate::Fps25, {.aspectRatio = ratio});
    const auto line21 = qlx::playout::captionOf(cue, FrameRate::Fps25);
    EXPECT_TRUE(service && line21);
    for (const auto& row : service ? service->rows : std::vector<qlx::cea708::CaptionRow>()) {
        columns.push_back(row.column);
    }
    for (const auto& row : line21 ? line21->rows : std::vector<qlx::cea608::CaptionRow>()) {
        columns.push_back(row.column);
    }
    return columns;
}

TEST(ServiceCaptions, StandInTheColumnsOfAWidePicture) {
    using enum qlx::cea708::AspectRatio;
    Cue cue = oneCue({{"text", Alignment::Left}});
    cue.rows[0].number = 15;
    cue.screenRows = 15;
    cue.screenColumns = 42;
    for (std::uint16_t column = 1; column <= 39; ++column) {
        cue.rows[0].column = column;
        const unsigned line21 = column < 6 ? 0U : std::min(column - 6U, 28U);
        EXPECT_EQ(columnsOn(cue, Wide), (std::vector<unsigned>{column - 1U, line21}));
        EXPECT_EQ(columnsOn(cue, Standard), (std::vector<unsigned>{line21, line21}));
    }
    cue.rows[0].column = 42;
    EXPECT_EQ(columnsOn(cue, Wide), (std::vector<unsigned>{38, 28}));
    // Columns of line 21 are in the middle.
    cue.screenColumns = 32;
    cue.rows[0].column = 5;
    EXPECT_EQ(columnsOn(cue, Wide), (std::vector<unsigned>{9, 4}));
    EXPECT_EQ(columnsOn(cue, Standard), (std::vector<unsigned>{4, 4}));
    // Of boxes those that are on columns of 42: 13 of these, and 12 of 32.
    constexpr double kWidth = 80;
    cue.box = qlx::subtitles::Box{10 + kWidth * 13 / 42, 10, 40, 80, qlx::subtitles::BoxEdge::Bottom};
    placeRows(cue, *cue.box);
    EXPECT_EQ(columnsOn(cue, Wide), (std::vector<unsigned>{13, 10}));
    EXPECT_EQ(columnsOn(cue, Standard), (std::vector<unsigned>{10, 10}));
    Cue line21 = cue;
    line21.box->left = 10 + kWidth * 12 / 32;
    placeRows(line21, *line21.box);
    EXPECT_EQ(columnsOn(line21, Wide), (std::vector<unsigned>{17, 12}));
    // Neither, and both: the left edge.
    line21.box->left = 20.9;
    placeRows(line21, *line21.box);
    EXPECT_EQ(columnsOn(line21, Wide), (std::vector<unsigned>{9, 4}));
    line21.box->left = 10;
    placeRows(line21, *line21.box);
    EXPECT_EQ(columnsOn(line21, Wide), (std::vector<unsigned>{5, 0}));
    // Rows that say something else count.
    cue.rows[0].column = 5;
    EXPECT_EQ(columnsOn(cue, Wide), (std::vector<unsigned>{9, 4}));
}

// What is broken goes on in the column that is named.
TEST(ServiceCaptions, BreakRowsInTheColumnsOfAWidePicture) {
    Cue cue = oneCue({{"This row has more than thirty-two columns in it", Alignment::Left}});
    cue.rows[0].number = 12;
    cue.rows[0].column = 2;
    cue.screenRows = 15;
    cue.screenColumns = 42;
    EXPECT_EQ(columnsOn(cue, qlx::cea708::AspectRatio::Wide), (std::vector<unsigned>{1, 1, 0, 0}));
}

TEST(Broadcasts, SendBothAtEachRate) {
    for (const FrameRate rate : qlx::kFrameRates) {
        SCOPED_TRACE(static_cast<int>(rate));
        BroadcastPlayout playout(rate);
        const std::array services{CaptionService::line21(false, {'e', 'n', 'g'}),
                                  CaptionService::digital(1, {'f', 'r', 'e'})};
        ASSERT_TRUE(playout.setServices(services));
        qlx::Findings findings;
        const Cue cue = oneCue({{"Hello,", Alignment::Left}, {"world", Alignment::Left}}, 4000, 6000);
        ASSERT_TRUE(playout.add(cue, {.line21 = CaptionOptions{}, .service = ServiceOptions{}}, &findings));
        ASSERT_TRUE(playout.add(oneCue({{"Again", Alignment::Left}}, 6000, 7000),
                                {.line21 = CaptionOptions{}, .service = ServiceOptions{}}, &findings));
        qlx::cea608::Receiver line21(qlx::cea608::kCC1);
        qlx::cea708::PacketReader packets;
        qlx::cea708::Receiver service(1);
        Shown shown608;
        Shown shown708;
        while (!playout.isDone()) {
            const std::uint64_t frame = playout.frame();
            const qlx::cc::Cdp cdp = playout.next(&findings);
            EXPECT_EQ(cdp.sequenceCounter(), frame);
            const auto triplets = cdp.triplets();
            ASSERT_EQ(triplets.size(), qlx::cc::slotsOf(rate).ccCount);
            EXPECT_TRUE(std::equal(services.begin(), services.end(), cdp.services().begin(), cdp.services().end()));
            std::array<std::uint8_t, qlx::cc::kGreatestCdpBytes> room{};
            ASSERT_TRUE(qlx::cc::writeCdp(cdp, room));
            // Pairs first, those of DTVCC behind them, padding at the end.
            EXPECT_TRUE(std::is_partitioned(triplets.begin(), triplets.end(),
                                            [](const auto& triplet) { return triplet.is608(); }));
            EXPECT_TRUE(std::is_partitioned(triplets.begin(), triplets.end(),
                                            [](const auto& triplet) { return triplet.valid(); }));
            bool isNew = false;
            for (const auto& pair : qlx::cc::fieldPairs(triplets, qlx::cc::CcType::Field1)) {
                if (line21.receive(pair.first, pair.second)) {
                    shown608[frame] = qlxtest::linesOf(line21.screen());
                }
            }
            for (const auto& triplet : qlx::cc::dtvccTriplets(triplets)) {
                for (const auto& packet : packets.receive(triplet, &findings)) {
                    isNew = service.receive(packet, &findings) || isNew;
                }
            }
            if (isNew) {
                shown708[frame] = qlxtest::linesOf(service.screen());
            }
        }
        EXPECT_TRUE(findings.empty()) << findings[0].text();
        const auto frameAt = [rate](std::int64_t seconds) {
            return *qlx::firstFrameAtOrAfter(MediaTime::make(seconds, 1), rate);
        };
        const Shown expected{{frameAt(4), {"  14       Hello,", "  15       world"}},
                             {frameAt(6), {"  15       Again"}},
                             {frameAt(7), {}}};
        EXPECT_EQ(shown708, expected);
        // A frame of field 1 at most later.
        ASSERT_EQ(shown608.size(), 3U);
        for (const auto& [frame, lines] : expected) {
            const auto there = shown608.lower_bound(frame);
            ASSERT_NE(there, shown608.end());
            EXPECT_LE(there->first, frame + 1);
            EXPECT_EQ(there->second.size(), lines.size());
        }
    }
}

TEST(Broadcasts, TellEachCueByItsNumber) {
    BroadcastPlayout playout(FrameRate::Fps2997);
    qlx::Findings findings;
    EXPECT_FALSE(playout.add(Cue{}, {.line21 = CaptionOptions{}, .service = ServiceOptions{}}, &findings));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, qlx::FindingCode::PlayoutTimeWrong);
    EXPECT_TRUE(playout.add(oneCue({{"Hi", Alignment::Left}}), {.service = ServiceOptions{}}, &findings));
    // There is no dash in services.
    EXPECT_TRUE(playout.add(oneCue({{"\xE2\x80\x94", Alignment::Left}}, 3000, 4000),
                            {.line21 = CaptionOptions{}, .service = ServiceOptions{}}, &findings));
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[1].offset, 2U);
    EXPECT_EQ(findings[1].code, qlx::FindingCode::Cea708CharacterReplaced);
    EXPECT_FALSE(playout.setServices(std::vector<CaptionService>(16)));
    EXPECT_FALSE(playout.next().hasServiceInformation());
}

using BroadcastDecoder = qlxtest::CdpDecoder;

// A decoder that is not ours finds every pair and every triplet of both systems, in order.
TEST_F(BroadcastDecoder, GetsAllThatIsSentAtEachRate) {
    for (const FrameRate rate : qlx::kFrameRates) {
        BroadcastPlayout playout(rate);
        ASSERT_TRUE(playout.setServices(std::array{CaptionService::digital(1, {'e', 'n', 'g'})}));
        for (const std::int64_t start : {500, 900}) {
            ASSERT_TRUE(playout.add(oneCue({{"Both at once", Alignment::Center}}, start, start + 300),
                                    {.line21 = CaptionOptions{}, .service = ServiceOptions{}}));
        }
        std::vector<qlxtest::Bytes> packets;
        qlxtest::Bytes sent;
        while (!playout.isDone()) {
            const qlx::cc::Cdp cdp = playout.next();
            for (const qlx::cc::Triplet& triplet : cdp.triplets()) {
                sent.insert(sent.end(), {triplet.header, triplet.first, triplet.second});
            }
            qlxtest::Bytes bytes(qlx::cc::kGreatestCdpBytes);
            bytes.resize(*qlx::cc::writeCdp(cdp, bytes));
            packets.push_back(std::move(bytes));
        }
        const qlxtest::Content content = qlxtest::contentOf(sent);
        EXPECT_FALSE(content.field1.empty() || content.dtvcc.empty());
        EXPECT_EQ(qlxtest::contentOf(decoded(packets, rate)), content) << "rate " << static_cast<int>(rate);
    }
}

// Another first frame of the services does not count: the caption that is due in frame 125 is shown in it.
TEST(Broadcasts, CountTheFramesOfBothFromOneFirst) {
    qlx::playout::BroadcastOptions options;
    options.line21.firstFrame = 100;
    options.services.firstFrame = 5;
    BroadcastPlayout playout(FrameRate::Fps25, options);
    ASSERT_TRUE(playout.add(oneCue({{"Hi", Alignment::Center}}, 5000, 6000), {.service = ServiceOptions{}}));
    std::optional<std::uint64_t> shown;
    while (!playout.isDone() && playout.frame() < 1000) {
        const std::uint64_t frame = playout.frame();
        (void)playout.next();
        for (const qlx::cea708::CaptionEvent& event : playout.serviceEvents()) {
            shown = event.step == qlx::cea708::CaptionStep::Shown ? std::optional(frame) : shown;
        }
    }
    EXPECT_EQ(shown, 125U);
}

// Two texts: the first one begins an empty box, the second one goes on below it, each in its channel.
TEST(Broadcasts, SendTexts) {
    BroadcastPlayout playout(FrameRate::Fps25);
    qlx::Findings findings;
    const qlx::playout::BroadcastTargets targets{.line21 = CaptionOptions{.channel = qlx::cea608::kT3}};
    ASSERT_TRUE(playout.add(oneCue({{"One", Alignment::Left}}), targets, &findings));
    ASSERT_TRUE(playout.add(oneCue({{"Two", Alignment::Left}}, 3000, 4000), targets, &findings));
    qlx::cea608::Receiver receiver(qlx::cea608::kT3);
    while (playout.frame() < 200) {
        const qlx::cc::Cdp cdp = playout.next(&findings);
        for (const qlx::cc::Triplet& pair : qlx::cc::fieldPairs(cdp.triplets(), qlx::cc::CcType::Field2)) {
            (void)receiver.receive(pair.first, pair.second);
        }
    }
    EXPECT_TRUE(playout.isDone());
    EXPECT_TRUE(findings.empty());
    EXPECT_EQ(qlxtest::linesOf(receiver.screen()), (std::vector<std::string>{"   1   One", "   2   Two"}));
}

}  // namespace
