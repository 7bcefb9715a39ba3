#include <qlx/cc/rate.h>

#include "CdpBytes.h"
#include "RateReference.h"
#include "Sanitized.h"

#include <map>
#include <random>

namespace {

using namespace qlxtest;

using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlx::cc::RateChange;
using qlx::cc::RateFrame;

Triplet field1(unsigned first, unsigned second) {
    return {0xFC, static_cast<std::uint8_t>(first), static_cast<std::uint8_t>(second)};
}

Triplet field2(unsigned first, unsigned second) {
    return {0xFD, static_cast<std::uint8_t>(first), static_cast<std::uint8_t>(second)};
}

Triplet start(unsigned triplets, unsigned second) {
    return {0xFF, static_cast<std::uint8_t>(triplets), static_cast<std::uint8_t>(second)};
}

Triplet data(unsigned first, unsigned second) {
    return {0xFE, static_cast<std::uint8_t>(first), static_cast<std::uint8_t>(second)};
}

/// All frames that come out, drained after each frame that goes in.
std::vector<RateFrame> changed(const Input& input, FrameRate from, FrameRate to, Findings* findings = nullptr) {
    RateChange change({.from = from, .to = to});
    std::vector<RateFrame> out;
    RateFrame frame;
    const auto drain = [&] {
        while (change.next(frame, findings)) {
            EXPECT_EQ(frame.number, out.size());
            out.push_back(frame);
        }
    };
    for (std::size_t number = 0; number < input.size(); ++number) {
        change.feed(number, input[number], findings);
        drain();
    }
    change.finish();
    drain();
    EXPECT_EQ(change.waiting(), 0U);
    return out;
}

Triplets tripletsOf(const RateFrame& frame) {
    return {frame.cdp.triplets().begin(), frame.cdp.triplets().end()};
}

/// What a frame carries besides null pairs and padding.
Triplets contentOf(const RateFrame& frame) {
    Triplets content;
    for (const Triplet& triplet : frame.cdp.triplets()) {
        if (triplet.valid() && !(triplet.is608() && triplet.isNullPair())) {
            content.push_back(triplet);
        }
    }
    return content;
}

/// The content of the frames that have any.
std::map<std::uint64_t, Triplets> contentByFrame(const std::vector<RateFrame>& frames) {
    std::map<std::uint64_t, Triplets> content;
    for (const RateFrame& frame : frames) {
        if (const Triplets some = contentOf(frame); !some.empty()) {
            content[frame.number] = some;
        }
    }
    return content;
}

using ContentByFrame = std::map<std::uint64_t, Triplets>;

TEST(RateChange, AlternatesTheFieldsAt50) {
    const Input input{{field1(0x41, 0x42), field2(0x61, 0x62), start(2, 1), data(3, 4)}, {field1(0x43, 0x44)}};
    const auto frames = changed(input, FrameRate::Fps25, FrameRate::Fps50);
    ASSERT_EQ(frames.size(), 4U);
    Triplets first{field1(0x41, 0x42), start(2, 1), data(3, 4)};
    Triplets second{field2(0x61, 0x62)};
    Triplets third{field1(0x43, 0x44)};
    Triplets fourth{field2(0x80, 0x80)};
    for (Triplets* triplets : {&first, &second, &third, &fourth}) {
        triplets->resize(12);
    }
    EXPECT_EQ(tripletsOf(frames[0]), first);
    EXPECT_EQ(tripletsOf(frames[1]), second);
    EXPECT_EQ(tripletsOf(frames[2]), third);
    EXPECT_EQ(tripletsOf(frames[3]), fourth);
}

TEST(RateChange, SendsNothingBeforeItsTime) {
    // Frames of 1/24 s begin 0, 1.25, 2.5, 3.75 and 5 frames of 1/30 s from the beginning.
    Input input;
    for (unsigned frame = 0; frame < 5; ++frame) {
        input.push_back({field1(0x41 + frame, 0x42)});
    }
    EXPECT_EQ(contentByFrame(changed(input, FrameRate::Fps24, FrameRate::Fps30)),
              (ContentByFrame{{0, {field1(0x41, 0x42)}},
                              {2, {field1(0x42, 0x42)}},
                              {3, {field1(0x43, 0x42)}},
                              {4, {field1(0x44, 0x42)}},
                              {5, {field1(0x45, 0x42)}}}));
}

TEST(RateChange, TakesNullPairsAndPaddingForNothing) {
    const Input input{{field1(0x80, 0x80), field2(0x00, 0x00), field1(0x80, 0x00), Triplet{0xF8, 0x94, 0x2C},
                       Triplet{0xF9, 0x15, 0x2C}, Triplet{0xFA, 1, 2}, Triplet{0xFB, 1, 2}}};
    const auto frames = changed(input, FrameRate::Fps2997, FrameRate::Fps2997);
    ASSERT_EQ(frames.size(), 1U);
    Triplets expected{field1(0x80, 0x80), field2(0x80, 0x80)};
    expected.resize(20);
    EXPECT_EQ(tripletsOf(frames[0]), expected);
}

TEST(RateChange, KeepsDoubledControlCodesTogether) {
    // Without waiting for the second one, a null pair would come between them in frame 1, and a receiver would swap its
    // memories twice.
    const Input input{{field1(0x94, 0x2F)}, {field1(0x94, 0x2F)}, {}, {}};
    EXPECT_EQ(contentByFrame(changed(input, FrameRate::Fps24, FrameRate::Fps30)),
              (ContentByFrame{{1, {field1(0x94, 0x2F)}}, {2, {field1(0x94, 0x2F)}}}));
    // From alternating fields to alternating fields: frames 0 and 2 of 1/50 s are frames 0 and 2.4 of 1/60 s.
    const Input alternating{{field1(0x94, 0x2F)}, {}, {field1(0x94, 0x2F)}, {}};
    EXPECT_EQ(contentByFrame(changed(alternating, FrameRate::Fps50, FrameRate::Fps60)),
              (ContentByFrame{{2, {field1(0x94, 0x2F)}}, {4, {field1(0x94, 0x2F)}}}));
}

TEST(RateChange, KeepsEqualControlCodesApartThatWereApart) {
    // Frames 1 and 4 of 1/60 s are followed by frames 1 and 2 of 1/24 s: two backspaces must not look like one.
    const Input input{{}, {field1(0x94, 0xA1)}, {}, {}, {field1(0x94, 0xA1)}, {}};
    EXPECT_EQ(contentByFrame(changed(input, FrameRate::Fps60, FrameRate::Fps24)),
              (ContentByFrame{{1, {field1(0x94, 0xA1)}}, {3, {field1(0x94, 0xA1)}}}));
    const Input characters{{}, {field1(0x61, 0x61)}, {}, {}, {field1(0x61, 0x61)}, {}};
    EXPECT_EQ(contentByFrame(changed(characters, FrameRate::Fps60, FrameRate::Fps24)),
              (ContentByFrame{{1, {field1(0x61, 0x61)}}, {2, {field1(0x61, 0x61)}}}));
}

TEST(RateChange, PutsNoPaddingIntoAPacket) {
    // 22 of 30 triplets come with frame 0, the rest with frame 1, 2.5 frames of 1/60 s later. 9 go out with a frame:
    // begun with frame 0 the packet would break off in frame 2, begun with frame 1 it goes through.
    Input input(2);
    input[0].push_back(start(30, 0));
    for (unsigned part = 1; part < 30; ++part) {
        input[part < 22 ? 0 : 1].push_back(data(part, part));
    }
    ContentByFrame expected;
    for (unsigned part = 0; part < 30; ++part) {
        expected[1 + part / 9].push_back(part == 0 ? start(30, 0) : data(part, part));
    }
    EXPECT_EQ(contentByFrame(changed(input, FrameRate::Fps24, FrameRate::Fps60)), expected);
}

TEST(RateChange, SendsAPacketThatNeverEnds) {
    Input input(10);
    input[0] = {start(20, 1), data(2, 3)};
    input[5] = {data(4, 5)};
    EXPECT_EQ(contentByFrame(changed(input, FrameRate::Fps25, FrameRate::Fps25)),
              (ContentByFrame{{0, {start(20, 1), data(2, 3)}}, {5, {data(4, 5)}}}));
}

/// Triplets of any kind: texts, control codes (single and doubled), packets that are whole or cut, padding.
class RandomCaptions {
public:
    explicit RandomCaptions(unsigned seed) : _random(seed) {}

    Input input(std::size_t frames, FrameRate rate) {
        const qlx::cc::Slots slots = qlx::cc::slotsOf(rate);
        Input input(frames);
        for (std::size_t frame = 0; frame < frames; ++frame) {
            // Now and then more than the rate has room for, or nothing at all.
            const unsigned mood = below(16);
            for (const CcType field : {CcType::Field1, CcType::Field2}) {
                const bool isOdd = frame % 2 != 0;
                const bool isTurn = !slots.fieldsAlternate || isOdd == (field == CcType::Field2);
                for (unsigned count = mood == 0 ? 3 : isTurn && mood != 1 ? 1 : 0; count > 0; --count) {
                    input[frame].push_back(pair(field));
                }
            }
            for (unsigned count = below(mood == 0 ? 26 : mood < 4 ? 2 : slots.greatestDtvcc + 1U); count > 0; --count) {
                input[frame].push_back(dtvcc());
            }
            if (below(2) == 0) {
                input[frame].push_back(Triplet());
            }
        }
        return input;
    }

    unsigned below(unsigned bound) { return static_cast<unsigned>(_random() % bound); }

private:
    Triplet pair(CcType field) {
        Triplet& last = _last[static_cast<std::size_t>(field)];
        const unsigned choice = below(8);
        if (choice == 0) {
            return Triplet::make(field, 0x80, 0x80);
        }
        if (choice > 3) {
            const auto code = static_cast<std::uint8_t>(choice < 6 ? 0x14 : 0x41 + below(26));
            last = Triplet::make(field, code, static_cast<std::uint8_t>(0x20 + below(3)));
        }
        return last;
    }

    Triplet dtvcc() {
        const unsigned number = _number++;
        if (_missing == 0 || below(40) == 0) {
            _missing = 1 + below(64);
            return start(_missing-- % 64, number);
        }
        --_missing;
        return data(number >> 8U, number);
    }

    std::mt19937 _random;
    Triplet _last[2] = {field1(0x94, 0x20), field2(0x15, 0x20)};
    unsigned _missing = 0;
    unsigned _number = 0;
};

TEST(RateChange, IsLikeThePlainOneForAllPairsOfRates) {
    unsigned seed = 0;
    for (const FrameRate from : qlx::kFrameRates) {
        for (const FrameRate to : qlx::kFrameRates) {
            for (unsigned round = 0; round < qlxtest::countFor(6U, 3U); ++round) {
                RandomCaptions captions(++seed);
                const Input input = captions.input(20 + captions.below(200), from);
                const RateReference reference(input, from, to);
                const auto frames = changed(input, from, to);
                ASSERT_EQ(frames.size(), reference.frames.size())
                    << static_cast<int>(from) << " to " << static_cast<int>(to) << " seed " << seed;
                for (const RateFrame& frame : frames) {
                    ASSERT_EQ(tripletsOf(frame), reference.frames[frame.number])
                        << static_cast<int>(from) << " to " << static_cast<int>(to) << " seed " << seed << " frame "
                        << frame.number;
                    ASSERT_EQ(frame.cdp.frameRate(), to);
                }
            }
        }
    }
}

TEST(RateChange, ChangesNothingAtTheSameRate) {
    for (const FrameRate rate : qlx::kFrameRates) {
        const qlx::cc::Slots slots = qlx::cc::slotsOf(rate);
        Input input(100);
        unsigned missing = 0;
        for (unsigned frame = 0; frame < input.size(); ++frame) {
            const qlx::cc::FrameFields fields = qlx::cc::fieldsOfFrame(rate, frame);
            if (fields.field1) {
                input[frame].push_back(field1(0x14, 0x20 + frame / 4 % 8));
            }
            if (fields.field2) {
                input[frame].push_back(field2(0x41, 0x20 + frame % 8));
            }
            // Packets of 7 to 63 triplets, one behind the other, without a hole.
            for (unsigned place = 0; place < slots.greatestDtvcc; ++place) {
                if (missing == 0) {
                    missing = 7 + frame % 57;
                    input[frame].push_back(start(missing, frame));
                } else {
                    input[frame].push_back(data(missing, place));
                }
                --missing;
            }
            input[frame].resize(slots.ccCount);
        }
        const auto frames = changed(input, rate, rate);
        ASSERT_EQ(frames.size(), input.size());
        for (const RateFrame& frame : frames) {
            EXPECT_EQ(tripletsOf(frame), input[frame.number]) << static_cast<int>(rate) << " frame " << frame.number;
        }
    }
}

TEST(RateChange, SendsLateOnesAndCountsThem) {
    // 31 triplets come with each frame, 22 go out: triplet k comes with frame k / 31 and goes out with frame k / 22.
    constexpr std::uint64_t kFrames = 300;
    Input input(kFrames);
    for (std::uint64_t number = 0; number < kFrames * 31; ++number) {
        input[number / 31].push_back(data(static_cast<unsigned>(number >> 8U), static_cast<unsigned>(number)));
    }
    Findings findings(100'000);
    const auto frames = changed(input, FrameRate::Fps25, FrameRate::Fps25, &findings);
    FindingList expected;
    for (std::uint64_t number = 0; number < kFrames * 31; ++number) {
        const std::uint64_t frame = number / 22;
        if (frame == kFrames && number % 22 == 0) {
            expected.push_back({FindingCode::RateWaitsAtEnd, Severity::Warning, kFrames, 3, (31 - 22) * 300});
        }
        const std::uint64_t frames2 = frame - number / 31;
        if (frames2 * 40 > 2000) {
            expected.push_back(
                {FindingCode::RateSentLate, Severity::Warning, frame, 2, static_cast<std::int64_t>(frames2 * 40)});
        }
    }
    EXPECT_EQ(FindingList(findings.begin(), findings.end()), expected);
    Triplets sent;
    for (const RateFrame& frame : frames) {
        const Triplets content = contentOf(frame);
        sent.insert(sent.end(), content.begin(), content.end());
        EXPECT_LE(content.size(), 22U);
        EXPECT_TRUE(frame.isCarried);
    }
    Triplets all;
    for (const Triplets& one : input) {
        all.insert(all.end(), one.begin(), one.end());
    }
    EXPECT_EQ(sent, all);
}

TEST(RateChange, CountsWhatItSendsLate) {
    RateChange change({.from = FrameRate::Fps30, .to = FrameRate::Fps30});
    const Triplets pairs(62, field1(0x41, 0x42));
    change.feed(0, pairs);
    change.finish();
    RateFrame frame;
    std::size_t frames = 0;
    while (change.next(frame)) {
        // Frame 60 begins after two seconds, which is not late yet.
        EXPECT_EQ(change.sentLate(), frames == 61 ? 1U : 0U);
        ++frames;
    }
    EXPECT_EQ(frames, 62U);
}

TEST(RateChange, DoesNotDriftInADay) {
    // 24 hours of 25 frames a second: 2160000 frames of 4800 ticks, against frames of 2002. Or a tenth of that.
    constexpr auto kFirst = qlxtest::countFor<std::uint64_t>(2'159'000, 215'000);
    RateChange change({.from = FrameRate::Fps25, .to = FrameRate::Fps5994});
    RateFrame frame;
    ContentByFrame content;
    ContentByFrame expected;
    const auto drain = [&] {
        while (change.next(frame)) {
            if (const Triplets some = contentOf(frame); !some.empty()) {
                content[frame.number] = some;
            }
        }
    };
    for (std::uint64_t number = kFirst; number < kFirst + 1000; ++number) {
        const Triplet triplet = data(static_cast<unsigned>(number >> 8U), static_cast<unsigned>(number));
        change.feed(number, std::span(&triplet, 1));
        expected[(number * 4800 + 2001) / 2002].push_back(triplet);
        drain();
    }
    change.finish();
    drain();
    EXPECT_EQ(content, expected);
}

TEST(RateChange, TakesAFrameOutOfOrderAsPartOfTheLastOne) {
    RateChange change({.from = FrameRate::Fps25, .to = FrameRate::Fps25});
    Findings findings;
    const Triplets one{data(1, 1)};
    const Triplets other{data(2, 2)};
    change.feed(7, one, &findings);
    change.feed(3, other, &findings);
    change.finish();
    RateFrame frame;
    ContentByFrame content;
    while (change.next(frame)) {
        EXPECT_EQ(frame.isCarried, frame.number == 7);
        if (!contentOf(frame).empty()) {
            content[frame.number] = contentOf(frame);
        }
    }
    EXPECT_EQ(content, (ContentByFrame{{7, {data(1, 1), data(2, 2)}}}));
    EXPECT_EQ(FindingList(findings.begin(), findings.end()),
              (FindingList{{FindingCode::RateFrameOutOfOrder, Severity::Warning, 3, 3, 7}}));
}

}  // namespace
