// 100,000 pages of three rows, some of whose letters X/26 puts over others, as subtitling distribution packets of their
// fields, and frames in which a page stays; beside them a sender that only copies packets that are ready.
#include <qlx/playout/teletext.h>
#include <qlx/teletext/sdp_stream.h>
#include <qlx/teletext/writer.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

using namespace qlx::teletext;

constexpr std::uint64_t kPages = 100'000;

std::vector<qlx::screen::Cell> cellsOf(std::u32string_view text, qlx::screen::Color color) {
    std::vector<qlx::screen::Cell> cells;
    for (const char32_t character : text) {
        cells.push_back({.character = character, .foreground = color, .isVisible = true});
    }
    return cells;
}

PageText threeRows() {
    PageText text;
    text.designation = 4;
    text.rows = {{18, 6, true, cellsOf(U"O\u00F9 \u00E9tiez-vous hier soir ?", qlx::screen::Color::White)},
                 {20, 6, true, cellsOf(U"\u00C0 l'h\u00F4tel, \u00C9mile.", qlx::screen::Color::Yellow)},
                 {22, 6, true, cellsOf(U"\u00C7a alors, Se\u00F1or Mu\u00F1oz !", qlx::screen::Color::Cyan)}};
    return text;
}

/// The page, and three fields: header and X/26, rows, nothing.
void BM_PageOfThreeRows(benchmark::State& state) {
    PageText text = threeRows();
    for (auto _ : state) {
        Writer writer(qlx::FrameRate::Fps50);
        unsigned sum = 0;
        for (std::uint64_t page = 0; page < kPages; ++page) {
            text.start = 3 * page + 1;
            text.end = text.start + 3;
            text.rows[2].column = page % 2 == 0 ? 6 : 7;
            if (!writer.add(text)) {
                std::abort();
            }
            for (int field = 0; field < 3; ++field) {
                sum += static_cast<unsigned>(writer.next().packets.size());
            }
        }
        if (sum != kPages * 6) {
            std::abort();  // header, X/26, three rows, closing header
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPages));
}
BENCHMARK(BM_PageOfThreeRows)->Unit(benchmark::kMillisecond);

void BM_ReadyPackets(benchmark::State& state) {
    const std::vector<Packet> packets(6);
    for (auto _ : state) {
        for (std::uint64_t page = 0; page < kPages; ++page) {
            FieldPackets field;
            (void)field.packets.assign(packets);
            benchmark::DoNotOptimize(field);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPages));
}
BENCHMARK(BM_ReadyPackets)->Unit(benchmark::kMillisecond);

void BM_FrameWithNothingNew(benchmark::State& state) {
    qlx::playout::TeletextPlayout playout(qlx::FrameRate::Fps25);
    qlx::subtitles::Cue cue;
    cue.start = qlx::MediaTime::make(1, 25);
    cue.end = qlx::MediaTime::make(std::int64_t{1} << 40U, 25);
    cue.rows.resize(1);
    cue.rows[0].runs.push_back({"Where were you last night?", {}});
    if (!playout.add(cue)) {
        std::abort();
    }
    while (playout.frame() < 5) {
        (void)playout.next();
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(playout.next());
    }
}
BENCHMARK(BM_FrameWithNothingNew);

}  // namespace
