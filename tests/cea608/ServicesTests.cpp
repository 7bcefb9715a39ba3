// Captions, text and extended data in one field: what goes first, and that each is read as if it were alone.
#include "CaptionRows.h"
#include "RandomCaptions.h"
#include "Sanitized.h"

#include <qlx/cea608/receiver.h>
#include <qlx/cea608/writer.h>
#include <qlx/cea608/xds.h>

#include <gtest/gtest.h>

#include <array>

namespace {

using namespace qlxtest;
using qlx::FrameRate;

std::string sentPairs(Writer& writer, std::size_t field, std::uint64_t frames) {
    std::string text;
    bool isBehindPair = false;
    while (writer.frame() < frames) {
        const std::uint64_t frame = writer.frame();
        const FramePairs pairs = writer.next();
        const Pair pair = (field == 1 ? pairs.field1 : pairs.field2).value_or(kNullPair);
        const bool isSent = pair != kNullPair;
        text += isSent && !isBehindPair ? (text.empty() ? "" : "\n") + std::to_string(frame) + ":" : "";
        text += isSent ? " " + textOf(pair) : "";
        isBehindPair = isSent;
    }
    return text;
}

TEST(Text, IsSentBehindItsCodes) {
    Writer writer(FrameRate::Fps2997, {.doublesCodes = false});
    writer.addText({.start = 3, .channel = kT2, .rows = {{1, 0, cellsOf(U"Hi")}, {1, 4, {}}, {1, 4, cellsOf(U"yo")}}});
    writer.addText({.start = 0, .channel = kT2, .restarts = false, .rows = {{1, 0, cellsOf(U"on")}}});
    // TR, a preamble, CR for the row that stays blank, CR, a preamble of column 4; then RTD, and CR.
    EXPECT_EQ(sentPairs(writer, 1, 60), "3: 1c2a 1940 4869 1c2d 1c2d 1c2d 1c2d 1a52 796f 1c2b 1c2d 1c60 6f6e");
    EXPECT_TRUE(writer.isDone());
}

TEST(Text, GoesOnBehindCaptions) {
    Writer writer(FrameRate::Fps2997, {.doublesCodes = false});
    writer.addText({.channel = kT3, .rows = {{1, 0, cellsOf(U"abcdefgh")}}});
    EXPECT_EQ(sentPairs(writer, 2, 3), "0: 152a 1140 6162");
    ASSERT_TRUE(writer.add(
        {.start = 8, .end = 10, .channel = kCC3, .style = CaptionStyle::PopOn, .rows = {{15, 0, cellsOf(U"Hi")}}}));
    EXPECT_EQ(sentPairs(writer, 2, 20), "3: 1520 152e 1460 4869\n8: 152f\n10: 152c 152b 6364 6566 6768");
}

TEST(ExtendedData, IsNotLeftOutInSilence) {
    Writer writer(FrameRate::Fps2997);
    qlx::Findings findings;
    const auto name = xdsPacket(XdsProgramName{"News"});
    ASSERT_TRUE(name);
    writer.setXds({XdsPacket{.type = 0, .bytes = {}}, *name, XdsPacket{.xdsClass = XdsClass(7), .bytes = {}}}, 10,
                  &findings);
    EXPECT_EQ(sentPairs(writer, 2, 20), "0: 0103 4e65 7773 0f50");
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].offset, 0U);
    EXPECT_EQ(findings[0].text(), "extended data: packet 100 of 0 bytes cannot be sent");
    EXPECT_EQ(findings[1].offset, 2U);
    EXPECT_EQ(findings[1].text(), "extended data: packet f01 of 0 bytes cannot be sent");
}

TEST(ExtendedData, FillsWhatCaptionsLeave) {
    Writer writer(FrameRate::Fps2997, {.doublesCodes = false});
    const auto name = xdsPacket(XdsProgramName{"News"});
    ASSERT_TRUE(name);
    writer.setXds({*name}, 1);
    ASSERT_TRUE(writer.add(
        {.start = 35, .end = 37, .channel = kCC3, .style = CaptionStyle::PaintOn, .rows = {{15, 0, cellsOf(U"Hi")}}}));
    // Once more behind 30 frames; RDC and EDM end it, and its continue code (02h) goes on with it.
    EXPECT_EQ(sentPairs(writer, 2, 33), "0: 0103 4e65 7773 0f50\n30: 0103 4e65 7773");
    EXPECT_EQ(sentPairs(writer, 2, 50), "33: 0f50\n35: 1529 1460 4869 152c");
    EXPECT_TRUE(writer.isDone());
    ASSERT_TRUE(writer.add(
        {.start = 62, .end = 63, .channel = kCC3, .style = CaptionStyle::PaintOn, .rows = {{15, 0, cellsOf(U"H")}}}));
    EXPECT_EQ(sentPairs(writer, 2, 62), "60: 0103 4e65");
    EXPECT_FALSE(writer.isDone());
    EXPECT_EQ(sentPairs(writer, 2, 80), "62: 1529 1460 4800 152c 0203 7773 0f50");
}

TextMessage anyText(Random& random, Channel channel, std::uint64_t start) {
    TextMessage text{.start = start, .channel = channel, .rows = {}};
    for (std::size_t count = 1 + below(random, 15); count > 0; --count) {
        const auto column = static_cast<std::uint8_t>(below(random, 20));
        text.rows.push_back(
            {static_cast<std::uint8_t>(text.rows.size() + 1), column, fittingText(random, column, kColumns - column)});
    }
    return text;
}

/// One of the eight channels, and what it must have shown.
struct Service {
    Channel channel;
    Receiver receiver;
    std::vector<Caption> captions;
    std::vector<TextMessage> texts;

    explicit Service(Channel of) : channel(of), receiver(of) {}
};

/// Slots from caption to caption: room for all texts behind one, and then for all that loads the next ones.
constexpr std::uint64_t kPeriod = 2500;
constexpr std::uint64_t kForTexts = 1500;
constexpr std::size_t kPeriods = countFor<std::size_t>(12, 3);

std::vector<Service> allServices(Random& random, std::uint64_t step) {
    std::vector<Service> services;
    for (std::size_t index = 0; index < 8; ++index) {
        services.emplace_back(index < 4 ? kChannels[index] : kTextChannels[index - 4]);
        Service& service = services.back();
        for (std::uint64_t period = 1; period <= kPeriods; ++period) {
            const std::uint64_t start = (period * kPeriod + 20 * index) * step;
            if (service.channel.isText) {
                service.texts.push_back(anyText(random, service.channel, start));
            } else {
                service.captions.push_back({.start = start,
                                            .end = start + 100 * step,
                                            .channel = service.channel,
                                            .rows = fittingRows(random)});
            }
        }
    }
    return services;
}

TEST(AllServices, AreReadAsIfEachWereAlone) {
    Random random(8);
    const auto name = xdsPacket(XdsProgramName{"Tonight at eight"});
    const auto rating = xdsPacket(XdsContentAdvisory{.system = XdsRatingSystem::UsTv, .rating = 4});
    ASSERT_TRUE(name && rating);
    for (const FrameRate rate : {FrameRate::Fps2997, FrameRate::Fps5994}) {
        const std::uint64_t step = rate == FrameRate::Fps5994 ? 2 : 1;
        std::vector<Service> services = allServices(random, step);
        Writer writer(rate);
        qlx::Findings findings;
        writer.setXds({*name, *rating}, 5);
        XdsReader xds;
        std::vector<XdsPacket> packets;
        for (std::uint64_t period = 0; period < kPeriods; ++period) {
            for (Service& service : services) {
                if (service.channel.isText) {
                    writer.addText(service.texts[period], &findings);
                } else {
                    ASSERT_TRUE(writer.add(service.captions[period], &findings));
                }
            }
            const std::uint64_t end = ((period + 1) * kPeriod + kForTexts) * step;
            while (writer.frame() < end) {
                const std::uint64_t frame = writer.frame();
                const FramePairs pairs = writer.next(&findings);
                for (Service& service : services) {
                    const auto& pair = service.channel.field == 1 ? pairs.field1 : pairs.field2;
                    if (pair) {
                        (void)service.receiver.receive(pair->first, pair->second, &findings);
                    }
                    if (service.channel.isText || frame % (50 * step) != 0) {
                        continue;
                    }
                    const Caption& caption = service.captions[period];
                    const bool isOn = frame >= caption.start + 4 * step && frame < caption.end;
                    if (isOn || frame >= caption.end + 4 * step || frame + 4 * step < caption.start) {
                        const Screen wanted = screenOf(isOn ? caption.rows : std::vector<CaptionRow>());
                        ASSERT_EQ(difference(wanted, service.receiver.screen()), "")
                            << nameOf(service.channel) << ", frame " << frame;
                    }
                }
                if (pairs.field2) {
                    const auto packet = xds.receive(pairs.field2->first, pairs.field2->second, &findings);
                    packets.insert(packets.end(), packet ? 1U : 0U, packet.value_or(XdsPacket()));
                }
            }
            for (const Service& service : services) {
                if (service.channel.isText) {
                    ASSERT_EQ(difference(screenOf(service.texts[period].rows), service.receiver.screen()), "")
                        << nameOf(service.channel) << ", period " << period;
                }
            }
        }
        ASSERT_TRUE(findings.empty()) << findings[0].offset << ": " << findings[0].text();
        // A period of 2500 slots has 17 cycles of five seconds, and time for one of two packets at least.
        EXPECT_GE(packets.size(), 2 * kPeriods);
        EXPECT_LE(packets.size(), 34 * (kPeriods + 1));
        for (std::size_t index = 0; index < packets.size(); ++index) {
            ASSERT_EQ(packets[index], index % 2 == 0 ? *name : *rating);
        }
    }
}

}  // namespace
