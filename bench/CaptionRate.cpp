// Captions of 25 frames a second, every slot of them full, as those of 59.94: a frame taken in and the two or three that
// come out of it, without an allocation; beside it a plain one that only moves triplets through queues of the standard
// library, without time, packets that stay whole, or anything that is found.
#include <qlx/cc/rate.h>
#include <qlx/cc/slots.h>

#include "Allocations.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <iostream>
#include <span>
#include <vector>

namespace {

using qlx::FrameRate;
using qlx::cc::CcType;
using qlx::cc::Cdp;
using qlx::cc::Triplet;

constexpr FrameRate kFrom = FrameRate::Fps25;
constexpr FrameRate kTo = FrameRate::Fps5994;
/// Of 22 slots, so that nothing piles up: 59.94 frames have room for 539 triplets a second.
constexpr std::uint8_t kDtvcc = 20;

Cdp frame(std::uint8_t number) {
    std::array<Triplet, 24> triplets;
    triplets[0] = Triplet::make(CcType::Field1, 0x41, number | 1U);
    triplets[1] = Triplet::make(CcType::Field2, 0x61, number | 1U);
    for (std::uint8_t part = 0; part < kDtvcc; ++part) {
        // Packets of ten triplets.
        triplets[2U + part] = part % 10 == 0 ? Triplet::make(CcType::DtvccStart, 10, number)
                                             : Triplet::make(CcType::DtvccData, part, number);
    }
    Cdp cdp;
    cdp.setFrameRate(kFrom);
    cdp.setTimeCode(qlx::cc::CdpTimeCode::make({.frames = static_cast<std::uint8_t>(number % 25)}));
    if (!cdp.setTriplets(triplets)) {
        std::abort();
    }
    return cdp;
}

class Change {
public:
    template <class Take>
    void feed(const Cdp& cdp, Take take) {
        _change.feed(_number++, cdp);
        while (_change.next(_out)) {
            take(_out.cdp.triplets());
        }
    }

private:
    qlx::cc::RateChange _change{{.from = kFrom, .to = kTo}};
    qlx::cc::RateFrame _out;
    std::uint64_t _number = 0;
};

class PlainChange {
public:
    template <class Take>
    void feed(const Cdp& cdp, Take take) {
        for (const Triplet& triplet : cdp.triplets()) {
            const bool isNull = triplet.first == 0x80 && triplet.second == 0x80;
            if (triplet.valid() && (triplet.isDtvcc() || !isNull)) {
                _queues[triplet.isDtvcc() ? 2 : triplet.header & 1U].push_back(triplet);
            }
        }
        // 59.94 / 25 frames on an average.
        for (_owed += 2.4 * 1000 / 1001; _owed >= 1; _owed -= 1) {
            std::vector<Triplet> out;
            auto& field = _queues[_frames++ % 2];
            out.push_back(field.empty() ? Triplet{0xFC, 0x80, 0x80} : take1(field));
            while (out.size() < 10 && !_queues[2].empty()) {
                out.push_back(take1(_queues[2]));
            }
            out.resize(10);
            take(std::span<const Triplet>(out));
        }
    }

private:
    static Triplet take1(std::deque<Triplet>& queue) {
        const Triplet triplet = queue.front();
        queue.pop_front();
        return triplet;
    }

    std::array<std::deque<Triplet>, 3> _queues;
    double _owed = 0;
    std::uint64_t _frames = 0;
};

/// The content of one kind that comes out of 2000 frames, in its order.
template <class AnyChange>
std::array<std::vector<Triplet>, 3> content(AnyChange& change, std::int64_t& allocationsBehindTheFirst) {
    std::array<std::vector<Triplet>, 3> all;
    for (auto& kind : all) {
        kind.reserve(100'000);
    }
    for (unsigned number = 0; number < 2000; ++number) {
        if (number == 200) {
            allocationsBehindTheFirst = allocations;
        }
        change.feed(frame(static_cast<std::uint8_t>(number)), [&all](std::span<const Triplet> triplets) {
            for (const Triplet& triplet : triplets) {
                if (triplet.valid() && !(triplet.is608() && triplet.isNullPair())) {
                    all[triplet.isDtvcc() ? 2 : triplet.header & 1U].push_back(triplet);
                }
            }
        });
    }
    allocationsBehindTheFirst = allocations - allocationsBehindTheFirst;
    return all;
}

/// Both give the same, up to what has not come out yet, and one of them allocates nothing, or nothing is timed.
bool check() {
    Change change;
    PlainChange plainChange;
    std::int64_t allocated = 0;
    std::int64_t plainlyAllocated = 0;
    auto one = content(change, allocated);
    auto other = content(plainChange, plainlyAllocated);
    for (std::size_t kind = 0; kind < one.size(); ++kind) {
        const std::size_t count = std::min(one[kind].size(), other[kind].size());
        one[kind].resize(count);
        other[kind].resize(count);
        if (count < 1990 || one[kind] != other[kind]) {
            std::cerr << "the captions differ\n";
            std::exit(1);
        }
    }
    if (allocated != 0) {
        std::cerr << allocated << " allocations in 1800 frames\n";
        std::exit(1);
    }
    return true;
}

const bool kIsChecked = check();

template <class AnyChange>
void run(benchmark::State& state) {
    AnyChange change;
    std::array<Cdp, 25> frames;
    for (std::uint8_t number = 0; number < frames.size(); ++number) {
        frames[number] = frame(number);
    }
    std::size_t number = 0;
    std::size_t content = 0;
    for (auto _ : state) {
        change.feed(frames[number++ % frames.size()],
                    [&content](std::span<const Triplet> triplets) { content += triplets.front().first; });
        benchmark::DoNotOptimize(content);
    }
}

void CaptionRate(benchmark::State& state) {
    run<Change>(state);
}
BENCHMARK(CaptionRate);

void CaptionRatePlainly(benchmark::State& state) {
    run<PlainChange>(state);
}
BENCHMARK(CaptionRatePlainly);

}  // namespace
