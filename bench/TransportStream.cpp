// An hour of teletext in a transport stream: 90,000 frames of two fields with 16 lines each, read and shown.
#include <qlx/streams/transport_writer.h>
#include <qlx/streams/ts/vbi_reader.h>
#include <qlx/teletext/packet.h>
#include <qlx/teletext/page.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <vector>

namespace {

using namespace qlx::streams;

constexpr std::size_t kFrames = 90'000;
constexpr std::size_t kLines = 16;
/// Frames that are written; they are read again and again.
constexpr std::size_t kWritten = 1500;

class Kept final : public ByteSink {
public:
    std::optional<qlx::Finding> write(std::span<const std::uint8_t> bytes) override {
        kept.insert(kept.end(), bytes.begin(), bytes.end());
        return std::nullopt;
    }
    std::vector<std::uint8_t> kept;
};

/// Pages of eight magazines, as a service has them: a header and rows in turn.
std::vector<std::uint8_t> serviceStream() {
    Kept sink;
    TransportWriter writer(sink, {.rate = qlx::FrameRate::Fps25, .bitrate = 900'000});
    std::size_t sent = 0;
    for (std::size_t number = 0; number < kWritten; ++number) {
        Frame frame;
        frame.number = number;
        for (std::size_t line = 0; line < 2 * kLines; ++line, ++sent) {
            const auto magazine = static_cast<std::uint8_t>(1 + sent % 8);
            const auto row = static_cast<std::uint8_t>(sent / 8 % 25);
            qlx::teletext::Packet packet;
            if (row == 0) {
                const auto page = static_cast<std::uint16_t>(magazine << 8U | (sent / 200 % 10) << 4U | 8U);
                packet = *packetOf(qlx::teletext::PageHeader{.page = page, .subcode = 0});
            } else {
                std::array<std::uint8_t, 40> codes{};
                codes.fill(static_cast<std::uint8_t>('A' + sent % 26));
                packet = *qlx::teletext::rowPacket(magazine, row, codes);
            }
            qlx::teletext::SdpLine one;
            one.descriptor = qlx::teletext::sdpDescriptor(static_cast<unsigned>(7 + line % kLines), line < kLines);
            (void)writePacket(packet, one.bytes);
            frame.teletext.push_back(one);
        }
        if (writer.write(frame, nullptr)) {
            std::abort();
        }
    }
    (void)writer.finish();
    return sink.kept;
}

std::size_t linesRead(std::span<const std::uint8_t> stream, qlx::teletext::PageReader* page) {
    constexpr std::size_t kPiece = std::size_t{64} * 1024;
    std::size_t lines = 0;
    ts::VbiReader reader;
    const auto take = [&] {
        while (const ts::VbiMoment* const moment = reader.next()) {
            lines += moment->vbi.teletext.size();
            if (page != nullptr) {
                benchmark::DoNotOptimize(page->receive(std::span(moment->vbi.teletext)));
            }
        }
    };
    for (std::size_t place = 0; place < stream.size(); place += kPiece) {
        reader.push(stream.subspan(place, std::min(kPiece, stream.size() - place)));
        take();
    }
    reader.finish();
    take();
    return lines;
}

void hourOfTeletext(benchmark::State& state, bool isShown) {
    const std::vector<std::uint8_t> stream = serviceStream();
    if (linesRead(stream, nullptr) != kWritten * 2 * kLines) {
        state.SkipWithError("lines are missing");
        return;
    }
    for (auto _ : state) {
        qlx::teletext::PageReader page(0x888);
        for (std::size_t done = 0; done < kFrames; done += kWritten) {
            benchmark::DoNotOptimize(linesRead(stream, isShown ? &page : nullptr));
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size() * (kFrames / kWritten)));
}

/// The plain baseline: every byte of the stream is looked at once.
void bytesOfAnHour(benchmark::State& state) {
    const std::vector<std::uint8_t> stream = serviceStream();
    for (auto _ : state) {
        for (std::size_t done = 0; done < kFrames; done += kWritten) {
            unsigned sum = 0;
            for (const std::uint8_t byte : stream) {
                sum = sum * 31 + byte;
            }
            benchmark::DoNotOptimize(sum);
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size() * (kFrames / kWritten)));
}

BENCHMARK_CAPTURE(hourOfTeletext, read, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(hourOfTeletext, shown, true)->Unit(benchmark::kMillisecond);
BENCHMARK(bytesOfAnHour)->Unit(benchmark::kMillisecond);

}  // namespace
