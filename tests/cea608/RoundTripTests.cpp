// Random captions written and received: what fits comes back as it is, anything else as its findings say.
#include "AppliedCaption.h"
#include "RandomCaptions.h"
#include "Sanitized.h"

#include <qlx/cea608/receiver.h>
#include <qlx/cea608/writer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <optional>

namespace {

using namespace qlxtest;

/// Looks whether each code of a field is sent twice, in pairs of which the second is the next one of the field.
class Repetitions {
public:
    explicit Repetitions(bool areThere) : _areThere(areThere) {}

    void take(const std::optional<Pair>& pair) {
        if (!pair || !_areThere) {
            return;
        }
        if (_awaited) {
            EXPECT_EQ(*pair, *_awaited) << "code " << std::hex << int{_awaited->first} << int{_awaited->second}
                                        << " is sent once";
            _awaited.reset();
        } else if ((pair->first & 0x7FU) >= 0x10 && (pair->first & 0x7FU) < 0x20) {
            _awaited = pair;
        }
    }

private:
    bool _areThere;
    std::optional<Pair> _awaited;
};

/// What a receiver shows of captions of one channel, of which the writer never knows more than two.
std::vector<Change> received(const std::vector<Caption>& captions, FrameRate rate, bool doublesCodes,
                             qlx::Findings& findings, std::size_t* pairsSent = nullptr) {
    const Channel channel = captions.front().channel;
    Writer writer(rate, {.doublesCodes = doublesCodes});
    Receiver receiver(channel);
    Repetitions repetitions(doublesCodes);
    std::vector<Change> changes;
    std::size_t added = 0;
    while (added < captions.size() || !writer.isDone()) {
        while (added < captions.size() && writer.waiting(channel) < 2) {
            (void)writer.add(captions[added++], &findings);
        }
        const std::uint64_t frame = writer.frame();
        const FramePairs pairs = writer.next(&findings);
        const auto& pair = channel.field == 1 ? pairs.field1 : pairs.field2;
        if (pairsSent != nullptr && pair && *pair != kNullPair) {
            ++*pairsSent;
        }
        repetitions.take(pair);
        if (pair && receiver.receive(pair->first, pair->second)) {
            changes.push_back({frame, receiver.screen()});
        }
    }
    return changes;
}

/// The slots of a caption that pops on, and of the one behind it; the last ones of none are never.
struct Turn {
    std::size_t number = 0;  ///< The caption's.
    std::uint64_t start = 0;
    std::uint64_t ownEnd = 0;
    std::uint64_t shown = 0;
    std::uint64_t nextStart = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t nextShown = std::numeric_limits<std::uint64_t>::max();
    std::size_t code = 1;  ///< Of EOC, of EDM.

    /// The end that counts.
    [[nodiscard]] std::uint64_t end() const { return std::min(ownEnd, nextStart); }
    /// The slot in which it is erased, or the other one takes its place.
    [[nodiscard]] std::uint64_t over() const {
        const bool isMissed = shown >= end();
        const std::uint64_t over = isMissed ? shown + (ownEnd - start) : ownEnd;
        const std::uint64_t erased = std::max(over, shown + code);
        const bool isErased = nextShown >= erased + code && !(isMissed && nextStart < over);
        return isErased ? erased : nextShown;
    }
};

/// Pairs in front of an EDM behind `front` pairs of a load, at which no group of pairs that belong together ends: they stay
/// unused.
std::size_t unusedBefore(const std::vector<CodePair>& pairs, std::size_t front) {
    std::size_t begin = 0;
    for (std::size_t end = 1; end <= pairs.size() && end <= front; ++end) {
        begin = end == pairs.size() || !pairs[end].isJoined ? end : begin;
    }
    return front < pairs.size() ? front - begin : 0;
}

/// What is said of each caption.
class FindingsOf {
public:
    explicit FindingsOf(const qlx::Findings& findings) {
        for (const Finding& finding : findings) {
            _ofCaptions[finding.offset].push_back(finding);
        }
    }

    [[nodiscard]] const std::vector<Finding>& all(std::size_t caption) { return _ofCaptions[caption]; }
    /// The finding of this code, of which there is at most one; zeros where there is none.
    [[nodiscard]] Finding one(std::size_t caption, FindingCode code) {
        const std::vector<Finding>& found = all(caption);
        const auto is = [code](const Finding& finding) { return finding.code == code; };
        EXPECT_LE(std::count_if(found.begin(), found.end(), is), 1);
        const auto place = std::find_if(found.begin(), found.end(), is);
        return place == found.end() ? Finding() : *place;
    }

private:
    std::map<std::uint64_t, std::vector<Finding>> _ofCaptions;
};

/// The turns of all captions of which something is to be seen.
std::vector<Turn> turnsOf(const std::vector<Caption>& captions, const FieldFrames& frames, bool doublesCodes,
                          FindingsOf& findings) {
    const auto slotOf = [&frames](std::uint64_t frame) { return frames.atOrAfter(frame) / frames.step(); };
    std::vector<Turn> turns;
    for (std::size_t index = 0; index < captions.size(); ++index) {
        const Caption& caption = captions[index];
        if (Applied(caption, findings.all(index)).rows().empty()) {
            EXPECT_EQ(findings.all(index).back().code, FindingCode::Cea608CaptionEmpty);
            continue;
        }
        Turn turn{.number = index,
                  .start = slotOf(caption.start),
                  .ownEnd = slotOf(caption.end),
                  .code = doublesCodes ? 2U : 1U};
        const auto late = static_cast<std::uint64_t>(findings.one(index, FindingCode::Cea608ShownLate).first);
        turn.shown = turn.start + late / frames.step();
        if (!turns.empty()) {
            turns.back().nextStart = turn.start;
            turns.back().nextShown = turn.shown;
        }
        turns.push_back(turn);
    }
    return turns;
}

/// How many pairs a caption lacks between the EOC of the one before it and its own start.
std::uint64_t lackingPairs(const Turn* before, const Turn& turn, const Caption& caption, bool doublesCodes) {
    std::vector<CodePair> pairs;
    encodeCaption(caption, {.doublesCodes = doublesCodes}, pairs);
    const std::uint64_t free = before != nullptr ? before->shown + before->code : 0;
    std::uint64_t needed = pairs.size();
    if (before != nullptr && before->over() < turn.shown) {
        needed += before->code + unusedBefore(pairs, before->over() - free);
    }
    const std::uint64_t there = std::max(turn.start, free) - free;
    return needed - std::min(there, needed);
}

/// What must be shown by the standard, the times, and the findings, of which those about ends and about pairs that lack are
/// to be as they are worked out here.
std::vector<Change> expectedChanges(const std::vector<Caption>& captions, const FieldFrames& frames, bool doublesCodes,
                                    const qlx::Findings& found) {
    FindingsOf findings(found);
    const auto frameOf = [&frames](std::uint64_t slot) { return frames.atOrAfter(slot * frames.step()); };
    const std::vector<Turn> turns = turnsOf(captions, frames, doublesCodes, findings);
    std::vector<Change> changes;
    for (std::size_t index = 0; index < turns.size(); ++index) {
        const Turn& turn = turns[index];
        const Caption& caption = captions[turn.number];
        changes.push_back({frameOf(turn.shown), screenOf(Applied(caption, findings.all(turn.number)).rows())});
        EXPECT_EQ(findings.one(turn.number, FindingCode::Cea608ShownLate).second,
                  lackingPairs(index > 0 ? &turns[index - 1] : nullptr, turn, caption, doublesCodes))
            << "caption " << turn.number;
        const std::uint64_t over = turn.over();
        EXPECT_EQ(findings.one(turn.number, FindingCode::Cea608EndLate).first,
                  frameOf(over) - frameOf(std::min(over, turn.end())))
            << "caption " << turn.number;
        if (over < turn.nextShown) {
            changes.push_back({frameOf(over), screenOf({})});
        }
    }
    return changes;
}

void expectSame(const std::vector<Change>& expected, const std::vector<Change>& shown) {
    for (std::size_t index = 0; index < std::min(expected.size(), shown.size()); ++index) {
        ASSERT_EQ(shown[index].frame, expected[index].frame) << "change " << index;
        ASSERT_EQ(difference(expected[index].screen, shown[index].screen), "")
            << "change " << index << " at frame " << shown[index].frame;
    }
    EXPECT_EQ(shown.size(), expected.size());
}

/// What is sent for captions, by the rules of the slots.
struct Fitting {
    std::vector<Caption> captions;
    std::size_t pairs = 0;  ///< All that are no nulls.
};

/// Captions that fit: the pairs behind the EOC of the one before hold the load, EDM, which may be anywhere among them, and
/// those that EDM leaves unused.
Fitting fittingCaptions(Random& random, Channel channel, const FieldFrames& frames, bool doublesCodes,
                        std::size_t count) {
    const std::size_t code = doublesCodes ? 2 : 1;
    Fitting fitting;
    std::vector<CodePair> pairs;
    std::uint64_t free = frames.field - 1;
    // A frame from which on the pair is the next one.
    const auto frameOf = [&](std::size_t pair) { return free + pair * frames.step() - below(random, frames.step()); };
    while (fitting.captions.size() < count) {
        std::vector<Caption>& captions = fitting.captions;
        Caption caption{.channel = channel, .rows = fittingRows(random)};
        pairs.clear();
        encodeCaption(caption, {.doublesCodes = doublesCodes}, pairs);
        const bool isBehindGap = !captions.empty() && isTrue(random, 70);
        std::size_t spare = isTrue(random, 50) ? 0 : below(random, 15);
        fitting.pairs += pairs.size() + code;
        if (isBehindGap) {
            const std::size_t front = below(random, pairs.size() + spare + 1);
            captions.back().end = frameOf(front);
            spare = std::max(spare, unusedBefore(pairs, front));
            fitting.pairs += code;
        }
        caption.start = std::max<std::uint64_t>(frameOf(pairs.size() + (isBehindGap ? code : 0) + spare), 1);
        if (!captions.empty() && !isBehindGap) {
            captions.back().end = caption.start;
        }
        caption.end = caption.start + 100;
        free = frames.atOrAfter(caption.start) + code * frames.step();
        captions.push_back(std::move(caption));
    }
    fitting.pairs += code;
    return fitting;
}

/// Captions of a set at one of the eight rates: 10,000 in all.
constexpr std::size_t kCaptionsOfRate = countFor<std::size_t>(1250, 60);

/// A part of each set for each rate.
class RoundTrip : public testing::TestWithParam<std::size_t> {};

TEST_P(RoundTrip, GivesBackWhatFits) {
    const std::size_t index = GetParam();
    Random random(static_cast<unsigned>(608 + index));
    const Channel channel = kChannels[index % 4];
    const FieldFrames frames{qlx::kFrameRates[index], channel.field};
    const bool doublesCodes = index % 3 != 0;
    const Fitting fitting = fittingCaptions(random, channel, frames, doublesCodes, kCaptionsOfRate);
    qlx::Findings findings;
    std::size_t pairs = 0;
    const auto changes = received(fitting.captions, frames.rate, doublesCodes, findings, &pairs);
    EXPECT_TRUE(findings.empty()) << findings[0].offset << ": " << findings[0].text();
    expectSame(expectedChanges(fitting.captions, frames, doublesCodes, findings), changes);
    // No code is sent less often than it should, or more often.
    EXPECT_EQ(pairs, fitting.pairs);
}

TEST_P(RoundTrip, ExplainsWhatDoesNotFit) {
    const std::size_t index = GetParam();
    Random random(static_cast<unsigned>(15 + index));
    const Channel channel = kChannels[index % 4];
    const FieldFrames frames{qlx::kFrameRates[index], channel.field};
    std::vector<Caption> captions;
    for (std::uint64_t start = 0; captions.size() < kCaptionsOfRate;) {
        // Often too near to the one before, and some before that is over.
        start += 1 + below(random, isTrue(random, 50) ? 400 : 100);
        captions.push_back({.start = start, .channel = channel, .rows = anyRows(random)});
        captions.back().end = start + 1 + below(random, isTrue(random, 20) ? 200 : 50);
    }
    const bool doublesCodes = index % 3 != 0;
    qlx::Findings findings(1'000'000);
    const auto changes = received(captions, frames.rate, doublesCodes, findings);
    EXPECT_FALSE(findings.empty());
    expectSame(expectedChanges(captions, frames, doublesCodes, findings), changes);
}

INSTANTIATE_TEST_SUITE_P(AtRate, RoundTrip, testing::Range<std::size_t>(0, qlx::kFrameRates.size()));

TEST(FourChannels, AreKeptApart) {
    Random random(4);
    for (const FrameRate rate : {FrameRate::Fps2997, FrameRate::Fps5994}) {
        const std::uint64_t step = FieldFrames{rate, 1}.step();
        std::array<std::vector<Caption>, kChannels.size()> captions;
        std::array<std::vector<Change>, kChannels.size()> changes;
        std::vector<Receiver> receivers;
        for (std::size_t index = 0; index < kChannels.size(); ++index) {
            receivers.emplace_back(kChannels[index]);
            // Room for all that both channels of a field load; no two codes are due at once.
            for (std::uint64_t start = 1400; captions[index].size() < 40; start += 1400) {
                captions[index].push_back({.start = (start + 40 * index + below(random, 20)) * step,
                                           .end = (start + 300 * index + 150) * step,
                                           .channel = kChannels[index],
                                           .rows = fittingRows(random)});
            }
        }
        Writer writer(rate);
        qlx::Findings findings;
        std::array<std::size_t, kChannels.size()> added{};
        for (bool isMore = true; isMore || !writer.isDone();) {
            isMore = false;
            for (std::size_t index = 0; index < kChannels.size(); ++index) {
                while (added[index] < captions[index].size() && writer.waiting(kChannels[index]) < 2) {
                    ASSERT_TRUE(writer.add(captions[index][added[index]++], &findings));
                }
                isMore = isMore || added[index] < captions[index].size();
            }
            const std::uint64_t frame = writer.frame();
            const FramePairs pairs = writer.next(&findings);
            for (std::size_t index = 0; index < kChannels.size(); ++index) {
                const auto& pair = kChannels[index].field == 1 ? pairs.field1 : pairs.field2;
                if (pair && receivers[index].receive(pair->first, pair->second)) {
                    changes[index].push_back({frame, receivers[index].screen()});
                }
            }
        }
        ASSERT_TRUE(findings.empty()) << findings[0].offset << ": " << findings[0].text();
        for (std::size_t index = 0; index < kChannels.size(); ++index) {
            SCOPED_TRACE(nameOf(kChannels[index]));
            expectSame(expectedChanges(captions[index], {rate, kChannels[index].field}, true, findings),
                       changes[index]);
        }
    }
}

}  // namespace
