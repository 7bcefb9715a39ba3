// 100,000 captions of two rows as the triplets of their frames, and frames in which a shown caption stays; beside them a
// sender that only takes packets which are ready out of a vector.
#include <qlx/cea708/writer.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

using namespace qlx::cea708;

constexpr std::uint64_t kCues = 100'000;
constexpr std::uint64_t kFramesOfCue = 60;

std::vector<qlx::screen::Cell> cellsOf(std::u32string_view text, qlx::screen::Color color) {
    std::vector<qlx::screen::Cell> cells;
    for (const char32_t character : text) {
        cells.push_back({.character = character, .foreground = color, .isVisible = true});
    }
    return cells;
}

Caption firstCaption() {
    Caption caption{.start = kFramesOfCue, .end = 2 * kFramesOfCue};
    caption.rows = {
        {14, columnOfLine21(4), cellsOf(U"Where were you last night?", qlx::screen::Color::White)},
        {15, columnOfLine21(8), cellsOf(U"\u2014 D\u00E9j\u00E0 vu, \u00C9mile.", qlx::screen::Color::Yellow)}};
    return caption;
}

/// The sum keeps the triplets from being left out.
std::size_t send(std::uint64_t cues) {
    Writer writer(qlx::FrameRate::Fps2997);
    std::size_t sum = 0;
    Caption caption = firstCaption();
    for (std::uint64_t added = 0; added < cues || !writer.isDone();) {
        while (added < cues && writer.waiting(1) < 2) {
            caption.start = kFramesOfCue * ++added;
            caption.end = caption.start + kFramesOfCue;
            if (!writer.add(caption)) {
                std::abort();
            }
        }
        sum += writer.next().size();
    }
    return sum;
}

void BM_Services(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(send(kCues));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCues));
}
BENCHMARK(BM_Services)->Unit(benchmark::kMillisecond);

void BM_ReadyPackets(benchmark::State& state) {
    std::vector<std::vector<qlx::cc::Triplet>> frames(kFramesOfCue);
    Writer writer(qlx::FrameRate::Fps2997);
    if (!writer.add(firstCaption())) {
        std::abort();
    }
    for (auto& frame : frames) {
        const auto triplets = writer.next();
        frame.assign(triplets.begin(), triplets.end());
    }
    for (auto _ : state) {
        std::size_t sum = 0;
        for (std::uint64_t frame = 0; frame < kCues * kFramesOfCue; ++frame) {
            for (const qlx::cc::Triplet& triplet : frames[frame % kFramesOfCue]) {
                sum += triplet.first;
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCues));
}
BENCHMARK(BM_ReadyPackets)->Unit(benchmark::kMillisecond);

void BM_FrameWithNothingNewToSend(benchmark::State& state) {
    Writer writer(qlx::FrameRate::Fps2997);
    Caption caption = firstCaption();
    caption.end = std::uint64_t{1} << 60U;
    if (!writer.add(caption)) {
        std::abort();
    }
    while (writer.frame() <= caption.start + 2) {
        (void)writer.next();
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(writer.next());
    }
}
BENCHMARK(BM_FrameWithNothingNewToSend);

}  // namespace
