// A page of three rows with letters that only X/26 brings: its texts to packets, and its packets to a screen. Beside
// them the same rows with the letters that the set has, and the codes alone.
#include <qlx/teletext/page.h>
#include <qlx/teletext/row_encoder.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <span>
#include <string_view>
#include <vector>

namespace {

using namespace qlx::teletext;
using Texts = std::array<std::u32string_view, 3>;

constexpr Texts kEnhanced{U"P\u0159\u00EDli\u0161 \u017Elu\u0165ou\u010Dk\u00FD k\u016F\u0148 \u00FAp\u011Bl",
                          U"\u00CDt, \u0159ekl \u010C\u00E1p: \u201Cne\u201D, a \u0160\u00E1rka",
                          U"\u00DAtek na \u017Di\u017Ekov\u011B \u266A"};
constexpr Texts kPlain{U"The quick brown fox jumps over t", U"he lazy dog, and what it says is",
                       U"of no meaning to the one who jum"};
constexpr std::uint8_t kCzech = 0x06;
constexpr std::uint8_t kFirstRow = 18;

/// Everything that a page needs, kept from one to the next.
struct Writer {
    std::vector<Placement> placements;
    std::array<Packet, kEnhancementPackets> enhancements{};
    std::vector<Packet> packets;

    void write(const Texts& texts, const CharacterSet& set, std::uint8_t designation, bool asksForCells = true) {
        placements.clear();
        packets.clear();
        packets.push_back(*packetOf(PageHeader{.page = 0x888,
                                               .subcode = 0,
                                               .erasesPage = true,
                                               .nationalOption = static_cast<std::uint8_t>(designation & 7U)}));
        std::uint8_t row = kFirstRow;
        for (const std::u32string_view text : texts) {
            std::array<std::uint8_t, kDataBytes> codes{};
            codes.fill(0x20);
            if (asksForCells) {
                (void)encodeCells(displayCells(text, set), set, row, 2, codes, placements);
            }
            packets.push_back(*rowPacket(8, row++, codes));
        }
        const std::size_t count = enhancementPackets(placements, 8, enhancements);
        packets.insert(packets.end(), enhancements.begin(), enhancements.begin() + static_cast<std::ptrdiff_t>(count));
    }
};

/// All letters are seen, or nothing is timed.
bool check() {
    const CharacterSet set = *characterSetOf(kCzech);
    Writer writer;
    PageReader page;
    for (const Texts& texts : {kEnhanced, kPlain}) {
        writer.write(texts, set, kCzech);
        for (const Packet& packet : writer.packets) {
            (void)page.receive(packet);
        }
        const auto screen = page.screen();
        for (std::size_t row = 0; row < texts.size(); ++row) {
            for (std::size_t column = 0; column < texts[row].size(); ++column) {
                if (screen.row(row + kFirstRow)[column + 2].character != texts[row][column]) {
                    std::cerr << "row " << row << ", column " << column << " is not what was sent\n";
                    std::exit(1);
                }
            }
        }
    }
    return true;
}

const bool kIsChecked = check();

void write(benchmark::State& state, const Texts& texts, bool asksForCells) {
    const CharacterSet set = *characterSetOf(kCzech);
    Writer writer;
    for (auto _ : state) {
        writer.write(texts, set, kCzech, asksForCells);
        benchmark::DoNotOptimize(writer.packets.data());
    }
}

void ThreeRowsWithEnhancementsToPackets(benchmark::State& state) {
    write(state, kEnhanced, true);
}
BENCHMARK(ThreeRowsWithEnhancementsToPackets);

void ThreePlainRowsToPackets(benchmark::State& state) {
    write(state, kPlain, true);
}
BENCHMARK(ThreePlainRowsToPackets);

void ThreeBlankRowsToPackets(benchmark::State& state) {
    write(state, kPlain, false);
}
BENCHMARK(ThreeBlankRowsToPackets);

void read(benchmark::State& state, const Texts& texts, bool draws) {
    Writer writer;
    writer.write(texts, *characterSetOf(kCzech), kCzech);
    PageReader page;
    for (auto _ : state) {
        for (const Packet& packet : writer.packets) {
            benchmark::DoNotOptimize(page.receive(packet));
        }
        if (draws) {
            benchmark::DoNotOptimize(page.screen());
        }
    }
}

void ThreeRowsWithEnhancementsReceived(benchmark::State& state) {
    read(state, kEnhanced, false);
}
BENCHMARK(ThreeRowsWithEnhancementsReceived);

void ThreeRowsWithEnhancementsToScreen(benchmark::State& state) {
    read(state, kEnhanced, true);
}
BENCHMARK(ThreeRowsWithEnhancementsToScreen);

void ThreePlainRowsToScreen(benchmark::State& state) {
    read(state, kPlain, true);
}
BENCHMARK(ThreePlainRowsToScreen);

}  // namespace
