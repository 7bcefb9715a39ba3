// Two hours at 59.94 frames a second of full caption distribution packets read to screens of CC1: pop-on captions of two
// rows, one behind the other, and roll-up captions that change with nearly each pair.
#include <qlx/cc/cdp.h>
#include <qlx/cc/slots.h>
#include <qlx/cea608/receiver.h>
#include <qlx/cea608/writer.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace qlx::cea608;
using qlx::cc::CcType;
using qlx::cc::Triplet;
using Bytes = std::vector<std::uint8_t>;

constexpr qlx::FrameRate kRate = qlx::FrameRate::Fps5994;
constexpr std::size_t kFrames = 17982;  // five minutes
constexpr std::size_t kPasses = 24;     // two hours
constexpr std::uint64_t kFramesOfCaption = 150;
constexpr std::u32string_view kRows[] = {U"A caption of two rows that are", U"not much shorter than they can"};

std::vector<qlx::screen::Cell> cellsOf(std::u32string_view text) {
    std::vector<qlx::screen::Cell> cells;
    for (const char32_t character : text) {
        cells.push_back({.character = character, .isVisible = true});
    }
    return cells;
}

Caption captionOf(std::uint64_t index, CaptionStyle style) {
    Caption caption{.start = (index + 1) * kFramesOfCaption};
    caption.end = caption.start + kFramesOfCaption;
    caption.style = style;
    caption.rows = {{14, 1, cellsOf(kRows[0])}, {15, 1, cellsOf(kRows[1])}};
    return caption;
}

/// The packets of each frame, full of the pairs and of triplets of DTVCC.
std::vector<Bytes> streamOf(CaptionStyle style) {
    Writer writer(kRate);
    std::uint64_t captions = 0;
    std::vector<Bytes> stream;
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
        while (writer.waiting(kCC1) < 2) {
            if (!writer.add(captionOf(captions++, style))) {
                std::abort();
            }
        }
        const auto pairs = writer.next();
        std::vector<Triplet> triplets;
        if (pairs.field1) {
            triplets.push_back(Triplet::make(CcType::Field1, pairs.field1->first, pairs.field1->second));
        } else {
            triplets.push_back(Triplet::make(CcType::Field2, 0x80, 0x80));
        }
        triplets.resize(1 + qlx::cc::slotsOf(kRate).greatestDtvcc, Triplet::make(CcType::DtvccData, 0x12, 0x34));
        qlx::cc::Cdp cdp;
        cdp.setFrameRate(kRate);
        cdp.setSequenceCounter(static_cast<std::uint16_t>(frame));
        Bytes bytes(qlx::cc::kGreatestCdpBytes);
        if (!cdp.setTriplets(triplets)) {
            std::abort();
        }
        bytes.resize(*writeCdp(cdp, bytes));
        stream.push_back(bytes);
    }
    return stream;
}

/// How many screens were new; the last one is left in `screen`.
std::size_t read(const std::vector<Bytes>& stream, qlx::screen::Screen& screen, qlx::Findings& findings) {
    Receiver receiver(kCC1);
    std::size_t screens = 0;
    for (std::uint64_t frame = 0; frame < stream.size(); ++frame) {
        const auto cdp = qlx::cc::parseCdp(stream[frame], &findings);
        for (const Triplet& triplet : cdp->triplets()) {
            if (triplet.valid() && triplet.type() == CcType::Field1 &&
                receiver.receive(triplet.first, triplet.second, &findings, frame)) {
                screen = receiver.screen();
                ++screens;
            }
        }
    }
    return screens;
}

/// Captions are seen, or nothing is timed.
void check(const std::vector<Bytes>& stream, std::size_t fewest) {
    qlx::screen::Screen screen;
    qlx::Findings findings;
    const std::size_t screens = read(stream, screen, findings);
    bool isSeen = findings.empty() && screens >= fewest;
    for (std::size_t row = 0; row < screen.rows(); ++row) {
        std::u32string text;
        for (const qlx::screen::Cell& cell : screen.row(row)) {
            text += cell.isVisible ? cell.character : U' ';
        }
        const bool isFirst = row == 13;
        isSeen = isSeen && (!isFirst || text.find(kRows[0]) != std::u32string::npos);
    }
    if (!isSeen) {
        std::cerr << "the captions are not read: " << screens << " screens\n";
        std::exit(1);
    }
}

void readTwoHours(benchmark::State& state, CaptionStyle style, std::size_t fewest) {
    const std::vector<Bytes> stream = streamOf(style);
    check(stream, fewest);
    qlx::screen::Screen screen;
    qlx::Findings findings;
    for (auto _ : state) {
        for (std::size_t pass = 0; pass < kPasses; ++pass) {
            benchmark::DoNotOptimize(read(stream, screen, findings));
        }
    }
}

void TwoHoursOfPopOn(benchmark::State& state) {
    readTwoHours(state, CaptionStyle::PopOn, kFrames / kFramesOfCaption - 2);
}
BENCHMARK(TwoHoursOfPopOn)->Unit(benchmark::kMillisecond);

void TwoHoursOfRollUp(benchmark::State& state) {
    readTwoHours(state, CaptionStyle::RollUp, kFrames / 5);
}
BENCHMARK(TwoHoursOfRollUp)->Unit(benchmark::kMillisecond);

}  // namespace
