// The packets around the triplets when the frame rate changes: counters, time codes, sections, bytes.
#include <qlx/cc/rate.h>

#include "CdpBytes.h"

#include <array>

namespace {

using namespace qlxtest;

using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::FrameRate;
using qlx::Severity;
using qlx::cc::CaptionService;
using qlx::cc::CcType;
using qlx::cc::Cdp;
using qlx::cc::CdpTimeCode;
using qlx::cc::RateChange;
using qlx::cc::RateFrame;
using qlx::cc::TimeCodeFields;
using qlx::cc::Triplet;

Cdp packetWith(FrameRate rate, const std::optional<TimeCodeFields>& time = std::nullopt) {
    Cdp cdp;
    cdp.setFrameRate(rate);
    EXPECT_TRUE(cdp.setTriplets({}));
    if (time) {
        cdp.setTimeCode(CdpTimeCode::make(*time));
    }
    return cdp;
}

std::vector<RateFrame> changed(const std::vector<Cdp>& input, FrameRate from, FrameRate to,
                               Findings* findings = nullptr, bool joinSections = false) {
    RateChange change({.from = from, .to = to, .joinSections = joinSections});
    std::vector<RateFrame> out;
    RateFrame frame;
    for (std::size_t number = 0; number < input.size(); ++number) {
        change.feed(number, input[number], findings);
        while (change.next(frame, findings)) {
            out.push_back(frame);
        }
    }
    change.finish();
    while (change.next(frame, findings)) {
        out.push_back(frame);
    }
    return out;
}

/// "hh:mm:ss:ff", ";" in front of the frames where numbers are dropped, and "*" behind the second of a pair.
std::string shown(const std::optional<CdpTimeCode>& time) {
    if (!time) {
        return "none";
    }
    const TimeCodeFields fields = time->fields();
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%02u:%02u:%02u%c%02u%s", fields.hours, fields.minutes, fields.seconds,
                  fields.dropFrame ? ';' : ':', fields.frames, fields.fieldFlag ? "*" : "");
    return text.data();
}

std::vector<std::string> timeCodes(const std::vector<RateFrame>& frames) {
    std::vector<std::string> texts;
    for (const RateFrame& frame : frames) {
        texts.push_back(shown(frame.cdp.timeCode()));
    }
    return texts;
}

using Texts = std::vector<std::string>;

TEST(RateChangePacket, IsWrittenByteForByte) {
    Cdp in = packetWith(FrameRate::Fps25, TimeCodeFields{.hours = 1, .minutes = 2, .seconds = 3, .frames = 4});
    in.setSequenceCounter(0xFFFF);
    const Triplet pair = Triplet::make(CcType::Field1, 0x94, 0x2C);
    ASSERT_TRUE(in.setTriplets(std::span(&pair, 1)));
    const CaptionService service = CaptionService::digital(1, {'e', 'n', 'g'});
    ASSERT_TRUE(in.setServices(std::span(&service, 1)));
    const auto frames = changed({in}, FrameRate::Fps25, FrameRate::Fps50);
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(written(frames[0].cdp),
              packetOf("71 c1 82 03 04 72ec fc942c" + repeatedDigits("fa0000", 11) + "73 d1 e1 656e67 c1 3fff",
                       {.rateByte = 0x6F, .flags = 0xF7, .headerCounter = 0xFFFF, .footerCounter = 0xFFFF}));
    EXPECT_EQ(written(frames[1].cdp),
              packetOf("71 c1 82 83 04 72ec fd8080" + repeatedDigits("fa0000", 11),
                       {.rateByte = 0x6F, .flags = 0xC3, .headerCounter = 0, .footerCounter = 0}));
}

TEST(RateChangePacket, CountsOnlyWhatIsCarried) {
    RateChange change({.from = FrameRate::Fps25, .to = FrameRate::Fps25, .firstCounter = 65534});
    change.feed(0, packetWith(FrameRate::Fps25));
    change.feed(1, packetWith(FrameRate::Fps25));
    change.feed(2, std::span<const Triplet>());
    change.feed(3, packetWith(FrameRate::Fps25));
    change.finish();
    RateFrame frame;
    std::vector<int> counters;
    while (change.next(frame)) {
        counters.push_back(frame.isCarried ? frame.cdp.sequenceCounter() : -1);
    }
    EXPECT_EQ(counters, (std::vector<int>{65534, 65535, -1, 0}));
}

TEST(RateChangePacket, CountsPairsAbove30) {
    const std::vector<Cdp> input{
        packetWith(FrameRate::Fps25, TimeCodeFields{.hours = 23, .minutes = 59, .seconds = 59, .frames = 24}),
        packetWith(FrameRate::Fps25, TimeCodeFields{})};
    EXPECT_EQ(timeCodes(changed(input, FrameRate::Fps25, FrameRate::Fps50)),
              (Texts{"23:59:59:24", "23:59:59:24*", "00:00:00:00", "00:00:00:00*"}));
    const std::vector<Cdp> pairs{
        packetWith(FrameRate::Fps50, TimeCodeFields{.seconds = 9, .frames = 24}),
        packetWith(FrameRate::Fps50, TimeCodeFields{.seconds = 9, .frames = 24, .fieldFlag = true}),
        packetWith(FrameRate::Fps50, TimeCodeFields{.seconds = 10}),
        packetWith(FrameRate::Fps50, TimeCodeFields{.seconds = 10, .fieldFlag = true})};
    EXPECT_EQ(timeCodes(changed(pairs, FrameRate::Fps50, FrameRate::Fps25)), (Texts{"00:00:09:24", "00:00:10:00"}));
}

TEST(RateChangePacket, DropsNumbersAsTheInputDoes) {
    const auto at = [](bool drops) {
        return std::vector<Cdp>{
            packetWith(FrameRate::Fps2997, TimeCodeFields{.seconds = 59, .frames = 29, .dropFrame = drops}),
            packetWith(
                FrameRate::Fps2997,
                TimeCodeFields{.minutes = 1, .frames = static_cast<std::uint8_t>(drops ? 2 : 0), .dropFrame = drops})};
    };
    EXPECT_EQ(timeCodes(changed(at(true), FrameRate::Fps2997, FrameRate::Fps5994)),
              (Texts{"00:00:59;29", "00:00:59;29*", "00:01:00;02", "00:01:00;02*"}));
    EXPECT_EQ(timeCodes(changed(at(false), FrameRate::Fps2997, FrameRate::Fps5994)),
              (Texts{"00:00:59:29", "00:00:59:29*", "00:01:00:00", "00:01:00:00*"}));
    EXPECT_EQ(timeCodes(changed(at(true), FrameRate::Fps2997, FrameRate::Fps30)),
              (Texts{"00:00:59:29", "00:01:00:00", "00:01:00:01"}));
}

TEST(RateChangePacket, KeepsTheLabelsOfTheSameSpeedWithoutDroppedNumbers) {
    // 24 frames of 23.976 take as long as 30 of 29.97, and 60 of 59.94: a second by the label is the same,
    // and frame 23 of it is frame 28.75, and frame 57.5: the nearest ones are 29 and, half a frame up, 58.
    const std::vector<Cdp> input{
        packetWith(FrameRate::Fps23976, TimeCodeFields{.hours = 1, .seconds = 59, .frames = 23}),
        packetWith(FrameRate::Fps23976, TimeCodeFields{.hours = 1, .minutes = 1})};
    EXPECT_EQ(timeCodes(changed(input, FrameRate::Fps23976, FrameRate::Fps2997)),
              (Texts{"01:00:59:29", "01:01:00:00", "01:01:00:01"}));
    EXPECT_EQ(timeCodes(changed(input, FrameRate::Fps23976, FrameRate::Fps5994)),
              (Texts{"01:00:59:29", "01:00:59:29*", "01:01:00:00", "01:01:00:00*", "01:01:00:01"}));
}

/// The time codes of the output for an input whose time code counts from 0 on, without dropped numbers.
Texts timeCodesFromMidnight(FrameRate from, FrameRate to, unsigned frames) {
    std::vector<Cdp> input;
    const unsigned nominal = qlx::nominalFramesPerSecond(from);
    for (unsigned frame = 0; frame < frames; ++frame) {
        input.push_back(packetWith(from, TimeCodeFields{.minutes = static_cast<std::uint8_t>(frame / nominal / 60),
                                                        .seconds = static_cast<std::uint8_t>(frame / nominal % 60),
                                                        .frames = static_cast<std::uint8_t>(frame % nominal)}));
    }
    return timeCodes(changed(input, from, to));
}

TEST(RateChangePacket, FollowsTheTimeInDroppedNumbers) {
    // 60.06 s are 1800 frames at 29.97: numbers 0 and 1 of minutes 1 and 2 are left out.
    const Texts texts = timeCodesFromMidnight(FrameRate::Fps25, FrameRate::Fps2997, 3100);
    ASSERT_GT(texts.size(), 3700U);
    EXPECT_EQ(texts[0], "00:00:00;00");
    EXPECT_EQ(texts[1799], "00:00:59;29");
    EXPECT_EQ(texts[1800], "00:01:00;02");
    EXPECT_EQ(texts[3597], "00:01:59;29");
    EXPECT_EQ(texts[3598], "00:02:00;02");
    const Texts pairs = timeCodesFromMidnight(FrameRate::Fps25, FrameRate::Fps5994, 1600);
    ASSERT_GT(pairs.size(), 3700U);
    EXPECT_EQ(pairs[3599], "00:00:59;29*");
    EXPECT_EQ(pairs[3600], "00:01:00;02");
    EXPECT_EQ(pairs[3601], "00:01:00;02*");
}

TEST(RateChangePacket, ShowsTheNearestFrameOfTheSecond) {
    EXPECT_EQ(timeCodesFromMidnight(FrameRate::Fps24, FrameRate::Fps30, 4),
              (Texts{"00:00:00:00", "00:00:00:01", "00:00:00:02", "00:00:00:03", "00:00:00:04"}));
    // From frame 23 of the second on: 23 / 24 s is 28.75 frames of 1/30 s.
    std::vector<Cdp> input{packetWith(FrameRate::Fps24, TimeCodeFields{.hours = 10, .frames = 23}),
                           packetWith(FrameRate::Fps24, TimeCodeFields{.hours = 10, .seconds = 1})};
    EXPECT_EQ(timeCodes(changed(input, FrameRate::Fps24, FrameRate::Fps30)),
              (Texts{"10:00:00:29", "10:00:01:00", "10:00:01:01"}));
}

TEST(RateChangePacket, BeginsTheTimeCodeAnewAfterAJump) {
    const std::vector<Cdp> input{packetWith(FrameRate::Fps25, TimeCodeFields{.hours = 1}),
                                 packetWith(FrameRate::Fps25, TimeCodeFields{.hours = 2, .frames = 5}),
                                 packetWith(FrameRate::Fps25),
                                 packetWith(FrameRate::Fps25, TimeCodeFields{.hours = 2, .frames = 7})};
    EXPECT_EQ(timeCodes(changed(input, FrameRate::Fps25, FrameRate::Fps50)),
              (Texts{"01:00:00:00", "01:00:00:00*", "02:00:00:05", "02:00:00:05*", "none", "none", "02:00:00:07",
                     "02:00:00:07*"}));
}

TEST(RateChangePacket, LeavesAnImpossibleTimeCodeOut) {
    Findings findings;
    const std::vector<Cdp> input{packetWith(FrameRate::Fps25, TimeCodeFields{.frames = 25}),
                                 packetWith(FrameRate::Fps25, TimeCodeFields{.frames = 3})};
    EXPECT_EQ(timeCodes(changed(input, FrameRate::Fps25, FrameRate::Fps25, &findings)), (Texts{"none", "00:00:00:03"}));
    EXPECT_EQ(FindingList(findings.begin(), findings.end()),
              (FindingList{{FindingCode::RateTimeCodeImpossible, Severity::Warning, 0, 0xC0800025, 3}}));
}

TEST(RateChangePacket, HasServiceInformationOnceForEachThatCame) {
    const std::array english{CaptionService::digital(1, {'e', 'n', 'g'})};
    const std::array french{CaptionService::digital(2, {'f', 'r', 'a'})};
    std::vector<Cdp> input(4, packetWith(FrameRate::Fps25));
    ASSERT_TRUE(input[0].setServices(english, {.start = true, .change = true, .complete = false}));
    ASSERT_TRUE(input[1].setServices(french, {.start = false, .change = true, .complete = true}));
    ASSERT_TRUE(input[3].setServices(english));
    const auto frames = changed(input, FrameRate::Fps25, FrameRate::Fps50);
    ASSERT_EQ(frames.size(), 8U);
    for (const RateFrame& frame : frames) {
        const bool isOne = frame.number == 0 || frame.number == 2 || frame.number == 6;
        ASSERT_EQ(frame.cdp.hasServiceInformation(), isOne) << frame.number;
        if (isOne) {
            const Cdp& from = input[frame.number / 2];
            EXPECT_EQ(frame.cdp.serviceInformationFlags(), from.serviceInformationFlags());
            EXPECT_TRUE(std::equal(frame.cdp.services().begin(), frame.cdp.services().end(), from.services().begin(),
                                   from.services().end()));
        }
    }
}

TEST(RateChangePacket, SendsEqualServiceInformationAsOftenAsItCame) {
    const std::array english{CaptionService::digital(1, {'e', 'n', 'g'})};
    Cdp packet = packetWith(FrameRate::Fps60);
    ASSERT_TRUE(packet.setServices(english));
    Findings findings;
    const auto frames = changed(std::vector<Cdp>(60, packet), FrameRate::Fps60, FrameRate::Fps24, &findings);
    // The second has 24 frames; the other 36 sections follow, one with each frame.
    ASSERT_EQ(frames.size(), 60U);
    for (const RateFrame& frame : frames) {
        EXPECT_TRUE(frame.isCarried);
        EXPECT_TRUE(
            std::equal(frame.cdp.services().begin(), frame.cdp.services().end(), english.begin(), english.end()));
    }
    EXPECT_EQ(FindingList(findings.begin(), findings.end()),
              (FindingList{{FindingCode::RateWaitsAtEnd, Severity::Warning, 24, 0x73, 36}}));
}

TEST(RateChangePacket, JoinsEqualServiceInformationThatWaitsWhenAsked) {
    const std::array english{CaptionService::digital(1, {'e', 'n', 'g'})};
    Cdp packet = packetWith(FrameRate::Fps60);
    ASSERT_TRUE(packet.setServices(english));
    const auto frames = changed(std::vector<Cdp>(60, packet), FrameRate::Fps60, FrameRate::Fps24, nullptr, true);
    // The last two came behind the beginning of frame 23, which is the last one of the second.
    ASSERT_EQ(frames.size(), 25U);
    for (const RateFrame& frame : frames) {
        EXPECT_TRUE(frame.cdp.hasServiceInformation());
    }
}

TEST(RateChangePacket, SumsUpServiceInformationThatIsLate) {
    const std::array english{CaptionService::digital(1, {'e', 'n', 'g'})};
    Cdp packet = packetWith(FrameRate::Fps60);
    ASSERT_TRUE(packet.setServices(english));
    const auto run = [&packet](bool joinSections) {
        RateChange change({.from = FrameRate::Fps60, .to = FrameRate::Fps30, .joinSections = joinSections});
        RateFrame frame;
        for (std::size_t number = 0; number < 600; ++number) {
            change.feed(number, packet);
        }
        change.finish();
        std::size_t count = 0;
        while (change.next(frame)) {
            count += frame.cdp.hasServiceInformation() ? 1 : 0;
        }
        EXPECT_EQ(change.lateTriplets().count, 0U);
        EXPECT_EQ(change.lateTriplets().framesBehindEnd, 0U);
        EXPECT_EQ(change.sentLate(), change.lateSections().count);
        return std::pair(count, change);
    };
    // Number k, of k / 60 s, goes out with frame k, of k / 30 s: later than 2 s from number 121 on; the last, 599, is
    // 599 / 60 s late. The input ends with frame 299.
    const auto [each, all] = run(false);
    EXPECT_EQ(each, 600U);
    EXPECT_EQ(all.lateSections().count, 600U - 121U);
    EXPECT_EQ(all.lateSections().longestMilliseconds, 9983U);
    EXPECT_EQ(all.lateSections().framesBehindEnd, 300U);
    EXPECT_EQ(all.sectionsJoined(), 0U);
    // All but numbers 0, behind which none is due, and 599.
    EXPECT_EQ(all.sectionsAlike(), 598U);
    // Number 0 goes out with frame 0, two with each frame behind it, and number 599 alone.
    const auto [some, joined] = run(true);
    EXPECT_EQ(some, 301U);
    EXPECT_EQ(joined.lateSections().count, 0U);
    EXPECT_EQ(joined.lateSections().framesBehindEnd, 1U);
    EXPECT_EQ(joined.sectionsJoined(), 299U);
    EXPECT_EQ(joined.sectionsAlike(), 0U);
}

/// More than sixteen different ones that wait, some of them again and again, each with its own place in the order.
TEST(RateChangePacket, KeepsWhatEachSectionSaysWhileManyWait) {
    const auto contentsOf = [](std::size_t number) {
        const std::size_t which = number % 3 == 0 ? 0 : number % 40;
        return CaptionService::digital(1 + which % 4, {'a', 'a', static_cast<char>('a' + which / 4)});
    };
    constexpr std::size_t kCount = 500;
    for (const FrameRate to : {FrameRate::Fps23976, FrameRate::Fps60}) {
        RateChange change({.from = FrameRate::Fps50, .to = to});
        RateFrame frame;
        std::size_t next = 0;
        const auto drain = [&] {
            while (change.next(frame)) {
                if (frame.cdp.hasServiceInformation()) {
                    ASSERT_LT(next, kCount);
                    ASSERT_EQ(frame.cdp.services().size(), 1U);
                    ASSERT_EQ(frame.cdp.services()[0], contentsOf(next)) << next;
                    ++next;
                }
            }
        };
        for (std::size_t number = 0; number < kCount; ++number) {
            Cdp packet = packetWith(FrameRate::Fps50);
            const std::array service{contentsOf(number)};
            ASSERT_TRUE(packet.setServices(service));
            change.feed(number, packet);
            drain();
        }
        change.finish();
        drain();
        EXPECT_EQ(next, kCount);
    }
}

TEST(RateChangePacket, KeepsTheOrderOfServiceInformationAndSaysWhatIsLate) {
    constexpr std::size_t kCount = 300;
    std::vector<Cdp> input(kCount, packetWith(FrameRate::Fps60));
    for (std::size_t number = 0; number < kCount; ++number) {
        const std::array service{CaptionService::digital(number % 2 == 0 ? 1 : 2, {'e', 'n', 'g'})};
        ASSERT_TRUE(input[number].setServices(service));
    }
    RateChange change({.from = FrameRate::Fps60, .to = FrameRate::Fps24});
    Findings findings(1000);
    RateFrame frame;
    for (std::size_t number = 0; number < kCount; ++number) {
        change.feed(number, input[number], &findings);
    }
    change.finish();
    // Number k, of k / 60 s, goes out with frame k.
    std::size_t number = 0;
    for (; change.next(frame, &findings); ++number) {
        ASSERT_LT(number, kCount);
        ASSERT_TRUE(std::equal(frame.cdp.services().begin(), frame.cdp.services().end(),
                               input[number].services().begin(), input[number].services().end()))
            << number;
    }
    EXPECT_EQ(number, kCount);
    FindingList expected;
    for (std::uint64_t late = 81; late < kCount; ++late) {
        if (late == 120) {
            // Frames 0 to 119 are those of the input's five seconds.
            expected.push_back({FindingCode::RateWaitsAtEnd, Severity::Warning, 120, 0x73, kCount - 120});
        }
        expected.push_back(
            {FindingCode::RateSentLate, Severity::Warning, late, 0x73, static_cast<std::int64_t>(late * 25)});
    }
    EXPECT_EQ(FindingList(findings.begin(), findings.end()), expected);
    EXPECT_EQ(change.sentLate(), kCount - 81);
    EXPECT_EQ(expected.front().text(), "section 73 sent 2025 ms behind its time");
}

TEST(RateChangePacket, CarriesFutureSectionsThatFit) {
    Cdp packet = packetWith(FrameRate::Fps60);
    const std::vector<std::uint8_t> large(180, 0x11);
    const std::vector<std::uint8_t> small{1, 2, 3};
    ASSERT_TRUE(packet.addFutureSection(0x75, large));
    ASSERT_TRUE(packet.addFutureSection(0x76, small));
    Findings findings;
    const auto frames = changed({packet}, FrameRate::Fps60, FrameRate::Fps24, &findings);
    ASSERT_EQ(frames.size(), 1U);
    const Bytes bytes = written(frames[0].cdp);
    EXPECT_EQ(bytes, packetOf("72f9 fc8080 fd8080" + repeatedDigits("fa0000", 23) + "76 03 010203",
                              {.rateByte = 0x2F, .flags = 0x43, .headerCounter = 0, .footerCounter = 0}));
    EXPECT_EQ(FindingList(findings.begin(), findings.end()),
              (FindingList{{FindingCode::RateSectionDoesNotFit, Severity::Error, 0, 0x75, 182}}));
}

TEST(RateChangePacket, SaysWhenAPacketIsOfAnotherRate) {
    Findings findings;
    const Cdp right = packetWith(FrameRate::Fps25);
    const Cdp wrong = packetWith(FrameRate::Fps30);
    changed({right, wrong, wrong, right, wrong}, FrameRate::Fps25, FrameRate::Fps25, &findings);
    EXPECT_EQ(FindingList(findings.begin(), findings.end()),
              (FindingList{{FindingCode::RateUnlikePacket, Severity::Warning, 1, 5, 3},
                           {FindingCode::RateUnlikePacket, Severity::Warning, 4, 5, 3}}));
}

TEST(RateChangePacket, SaysThatNoCaptionsAreActive) {
    Cdp idle = packetWith(FrameRate::Fps25);
    idle.setCaptionServiceActive(false);
    const auto frames = changed({packetWith(FrameRate::Fps25), idle}, FrameRate::Fps25, FrameRate::Fps50);
    ASSERT_EQ(frames.size(), 4U);
    EXPECT_TRUE(frames[1].cdp.captionServiceActive());
    EXPECT_FALSE(frames[2].cdp.captionServiceActive());
}

}  // namespace
