// Cues of all kinds as captions of CEA-608 and CEA-708: whatever they are, each packet is whole and reads back, none is
// on air before its start, all is sent within a bounded time, and no screen shows anything at the end.
#include "FuzzCues.h"

#include <qlx/cea608/receiver.h>
#include <qlx/playout/broadcast.h>
#include <qlx/playout/captions.h>

#include <algorithm>
#include <array>
#include <vector>

using qlxfuzz::require;

namespace {

constexpr std::array<qlx::cea608::Channel, 4> kChannels{qlx::cea608::kCC1, qlx::cea608::kCC2, qlx::cea608::kCC3,
                                                        qlx::cea608::kCC4};
constexpr std::array<std::uint8_t, 3> kServices{1, 2, 63};

void requireWhole(const qlx::cc::Cdp& cdp, qlx::FrameRate rate) {
    require(cdp.triplets().size() == qlx::cc::slotsOf(rate).ccCount);
    std::array<std::uint8_t, qlx::cc::kGreatestCdpBytes> room{};
    const auto size = qlx::cc::writeCdp(cdp, room);
    require(size.hasValue());
    qlx::Findings findings;
    const auto back = qlx::cc::parseCdp(std::span(room).first(*size), &findings);
    require(back && findings.empty() && *back == cdp);
}

template <class Event>
void requireNotEarly(std::span<const Event> events, decltype(Event::step) shown, std::uint64_t frame,
                     qlx::FrameRate rate, const std::vector<qlx::subtitles::Cue>& cues) {
    for (const Event& event : events) {
        require(event.number < cues.size());
        const auto first = qlx::firstFrameAtOrAfter(cues[event.number].start, rate);
        require(event.step != shown || (first && frame >= *first));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint8_t options = input.takeByte();
    const qlx::FrameRate rate = qlx::kFrameRates[options & 7U];
    const bool hasServices = (options & 8U) != 0;
    qlx::playout::CaptionPlayout captions(rate);
    qlx::playout::BroadcastPlayout broadcast(rate);
    qlx::Findings findings;
    std::vector<qlx::subtitles::Cue> ofLine21;
    std::int64_t start = 0;
    for (std::size_t cues = 0; !input.empty() && cues < 6; ++cues) {
        const std::uint8_t kind = input.takeByte();
        const qlx::subtitles::Cue cue = qlxfuzz::takeCue(input, start);
        const qlx::playout::CaptionOptions line21{.channel = kChannels[kind & 3U],
                                                  .style = static_cast<qlx::cea608::CaptionStyle>((kind >> 2U) % 3),
                                                  .rollUpRows = static_cast<std::uint8_t>(kind >> 5U)};
        qlx::playout::BroadcastTargets targets{.line21 = line21};
        if (hasServices) {
            targets.service =
                qlx::playout::ServiceOptions{.service = kServices[kind % kServices.size()],
                                             .style = static_cast<qlx::cea708::CaptionStyle>((kind >> 3U) % 3),
                                             .rollUpRows = static_cast<std::uint8_t>(kind >> 5U)};
        }
        ofLine21.push_back(cue);
        (void)captions.add(cue, line21, &findings);
        (void)broadcast.add(cue, targets, &findings);
    }

    std::vector<qlx::cea608::Receiver> receivers(kChannels.begin(), kChannels.end());
    // Six cues of at most 255 of 50 frames a second each, and four rows of 32 characters with a code or two for each.
    constexpr std::uint64_t kMostFrames = 6 * 2 * (620 + 620);
    while (!captions.isDone() || !broadcast.isDone()) {
        const std::uint64_t frame = broadcast.frame();
        require(frame < kMostFrames);
        const qlx::cc::Cdp alone = captions.next(&findings);
        const qlx::cc::Cdp both = broadcast.next(&findings);
        requireWhole(alone, rate);
        requireWhole(both, rate);
        require(alone.sequenceCounter() == both.sequenceCounter());
        requireNotEarly(captions.events(), qlx::cea608::CaptionStep::Shown, frame, rate, ofLine21);
        for (std::size_t place = 0; place < alone.triplets().size(); ++place) {
            const qlx::cc::Triplet& triplet = alone.triplets()[place];
            if (triplet.isDtvcc()) {
                break;
            }
            // What else is sent makes no difference to the pairs.
            require(triplet == both.triplets()[place]);
            const std::size_t field = triplet.type() == qlx::cc::CcType::Field1 ? 0 : 2;
            (void)receivers[field].receive(triplet.first, triplet.second);
            (void)receivers[field + 1].receive(triplet.first, triplet.second);
        }
    }
    for (const qlx::cea608::Receiver& receiver : receivers) {
        require(!receiver.screen().hasText());
    }
    for (const qlx::Finding& finding : findings) {
        require(finding.text().rfind("finding ", 0) != 0);
    }
    return 0;
}
