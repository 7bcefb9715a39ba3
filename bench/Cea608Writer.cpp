// 100,000 captions of two rows as the pairs of their frames, and frames in which a shown caption stays; beside them a
// sender that only takes pairs which are ready out of a vector, one a frame.
#include <qlx/cea608/writer.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

using namespace qlx::cea608;

constexpr std::uint64_t kCues = 100'000;
constexpr std::uint64_t kFramesOfCue = 60;

std::vector<qlx::screen::Cell> cellsOf(std::u32string_view text, qlx::screen::Color color) {
    std::vector<qlx::screen::Cell> cells;
    for (const char32_t character : text) {
        cells.push_back({.character = character, .foreground = color, .isVisible = true});
    }
    return cells;
}

Caption captionOf(std::uint64_t index) {
    Caption caption{.start = 2 * kFramesOfCue + index * kFramesOfCue};
    caption.end = caption.start + kFramesOfCue;
    caption.rows = {{14, 4, cellsOf(U"Where were you last night?", qlx::screen::Color::White)},
                    {15, 8, cellsOf(U"\u2014 D\u00E9j\u00E0 vu, \u00C9mile.", qlx::screen::Color::Yellow)}};
    return caption;
}

/// The sum keeps the pairs from being left out.
unsigned send(std::uint64_t cues) {
    Writer writer(qlx::FrameRate::Fps2997);
    unsigned sum = 0;
    Caption caption = captionOf(0);
    for (std::uint64_t added = 0; added < cues || !writer.isDone();) {
        while (added < cues && writer.waiting(kCC1) < 2) {
            caption.start = 2 * kFramesOfCue + added++ * kFramesOfCue;
            caption.end = caption.start + kFramesOfCue;
            if (!writer.add(caption)) {
                std::abort();
            }
        }
        sum += writer.next().field1.value_or(Pair{}).second;
    }
    return sum;
}

void BM_Captions(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(send(kCues));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCues));
}
BENCHMARK(BM_Captions)->Unit(benchmark::kMillisecond);

void BM_ReadyPairs(benchmark::State& state) {
    std::vector<CodePair> pairs;
    encodeCaption(captionOf(0), {}, pairs);
    for (auto _ : state) {
        unsigned sum = 0;
        for (std::uint64_t frame = 0; frame < kCues * kFramesOfCue; ++frame) {
            const std::uint64_t place = frame % kFramesOfCue;
            sum += place < pairs.size() ? withOddParity(pairs[place].pair).second : kNullPair.second;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCues));
}
BENCHMARK(BM_ReadyPairs)->Unit(benchmark::kMillisecond);

void BM_FrameWithNothingNew(benchmark::State& state) {
    Writer writer(qlx::FrameRate::Fps2997);
    Caption caption = captionOf(0);
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
BENCHMARK(BM_FrameWithNothingNew);

}  // namespace
