// The search for packets on whole rows, against loops that only read the rows with the same vectors.
#include <qlx/anc/row.h>

#include "v210/V210Samples.h"

#include "Allocations.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <numeric>
#include <random>
#include <vector>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace {

using namespace qlx::anc;
using Row = std::vector<std::uint8_t>;

constexpr std::size_t kWidth = 1920;
constexpr std::size_t kCdpBytes = 89;
constexpr std::size_t kGigabyte = 1'000'000'000;

void require(bool holds, const char* what) {
    if (!holds) {
        std::cerr << what << ": nothing is timed\n";
        std::exit(EXIT_FAILURE);
    }
}

Row blank(RowFormat format) {
    return blankRow(format, kWidth);
}

/// Every legal sample as likely as the others.
Row randomVideo(RowFormat format) {
    Row row = blank(format);
    std::mt19937 random(1);
    const std::size_t samples = 2 * kWidth;
    for (std::size_t sample = 0; sample < samples; ++sample) {
        if (format == RowFormat::V210) {
            const auto value = static_cast<std::uint16_t>(0x004 + random() % (0x3FC - 0x004));
            qlx::v210::Samples<qlx::v210::Stream::All>::set(row.data(), sample, value);
        } else {
            row[sample] = static_cast<std::uint8_t>(1 + random() % 254);
        }
    }
    return row;
}

Row rowWithCdp(RowFormat format) {
    Row row = blank(format);
    Row data(kCdpBytes);
    std::iota(data.begin(), data.end(), std::uint8_t{1});
    require(appendPacket(row, {0x61, 0x01, data}, {.format = format}).hasValue(), "the packet does not fit");
    return row;
}

#if defined(__x86_64__)
/// Reads bytes with 32-byte vectors, as fast as they come.
__attribute__((target("avx2"))) std::uint64_t readWithAVX2(const std::uint8_t* bytes, std::size_t size) {
    __m256i sums[4] = {_mm256_setzero_si256(), _mm256_setzero_si256(), _mm256_setzero_si256(), _mm256_setzero_si256()};
    std::size_t offset = 0;
    for (; offset + 4 * sizeof(__m256i) <= size; offset += 4 * sizeof(__m256i)) {
        const auto* const vectors = reinterpret_cast<const __m256i*>(bytes + offset);
        sums[0] = _mm256_or_si256(sums[0], _mm256_loadu_si256(vectors));
        sums[1] = _mm256_or_si256(sums[1], _mm256_loadu_si256(vectors + 1));
        sums[2] = _mm256_or_si256(sums[2], _mm256_loadu_si256(vectors + 2));
        sums[3] = _mm256_or_si256(sums[3], _mm256_loadu_si256(vectors + 3));
    }
    const __m256i all = _mm256_or_si256(_mm256_or_si256(sums[0], sums[1]), _mm256_or_si256(sums[2], sums[3]));
    std::uint64_t parts[4];
    std::memcpy(parts, &all, sizeof parts);
    return parts[0] | parts[1] | parts[2] | parts[3];
}
#endif

std::uint64_t readOnly(const std::uint8_t* bytes, std::size_t size) {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2")) {
        return readWithAVX2(bytes, size);
    }
#endif
    std::uint64_t sum = 0;
    for (std::size_t offset = 0; offset + sizeof sum <= size; offset += sizeof sum) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes + offset, sizeof word);
        sum |= word;
    }
    return sum;
}

/// A copy of a row at a multiple of 64 bytes, as capture cards give them: one place, so that all are read alike.
std::span<const std::uint8_t> placed(const Row& row) {
    alignas(64) static std::array<std::uint8_t, rowBytes(RowFormat::V210, kWidth)> place;
    std::copy(row.begin(), row.end(), place.begin());
    return {place.data(), row.size()};
}

/// Searches rows and unpacks what is there; gives the number of packets.
std::size_t search(std::span<const std::uint8_t> rows, std::size_t stride, RowFormat format) {
    std::array<std::uint8_t, kGreatestUserData> room;
    std::size_t count = 0;
    for (const PacketView packet : packetsOfRows(rows, stride, {.format = format, .line = 9})) {
        benchmark::DoNotOptimize(packet.userData(room));
        benchmark::ClobberMemory();
        count += packet.checksum() == Status::Right ? 1 : 0;
    }
    return count;
}

void timeSearch(benchmark::State& state, std::span<const std::uint8_t> row, RowFormat format,
                std::size_t packetsThere) {
    const std::int64_t before = allocations;
    require(search(row, row.size(), format) == packetsThere, "the packets are not found");
    require(allocations == before, "the search allocates");
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(search(row, row.size(), format));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(row.size()));
}

void timeReading(benchmark::State& state, std::span<const std::uint8_t> row) {
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(readOnly(row.data(), row.size()));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(row.size()));
}

void v210RowRead(benchmark::State& state) {
    timeReading(state, placed(blank(RowFormat::V210)));
}
BENCHMARK(v210RowRead);

void v210RowBlank(benchmark::State& state) {
    timeSearch(state, placed(blank(RowFormat::V210)), RowFormat::V210, 0);
}
BENCHMARK(v210RowBlank);

void v210RowRandomVideo(benchmark::State& state) {
    timeSearch(state, placed(randomVideo(RowFormat::V210)), RowFormat::V210, 0);
}
BENCHMARK(v210RowRandomVideo);

void v210RowWithCdp(benchmark::State& state) {
    timeSearch(state, placed(rowWithCdp(RowFormat::V210)), RowFormat::V210, 1);
}
BENCHMARK(v210RowWithCdp);

void twoVuyRowRead(benchmark::State& state) {
    timeReading(state, placed(blank(RowFormat::TwoVuy)));
}
BENCHMARK(twoVuyRowRead);

void twoVuyRowBlank(benchmark::State& state) {
    timeSearch(state, placed(blank(RowFormat::TwoVuy)), RowFormat::TwoVuy, 0);
}
BENCHMARK(twoVuyRowBlank);

void twoVuyRowRandomVideo(benchmark::State& state) {
    timeSearch(state, placed(randomVideo(RowFormat::TwoVuy)), RowFormat::TwoVuy, 0);
}
BENCHMARK(twoVuyRowRandomVideo);

void twoVuyRowWithCdp(benchmark::State& state) {
    timeSearch(state, placed(rowWithCdp(RowFormat::TwoVuy)), RowFormat::TwoVuy, 1);
}
BENCHMARK(twoVuyRowWithCdp);

void v210AppendCdp(benchmark::State& state) {
    const Row empty = blank(RowFormat::V210);
    Row row = empty;
    Row data(kCdpBytes, 0x55);
    for ([[maybe_unused]] auto _ : state) {
        std::copy_n(empty.begin(), 512, row.begin());
        benchmark::DoNotOptimize(appendPacket(row, {0x61, 0x01, data}));
    }
}
BENCHMARK(v210AppendCdp);

/// A gigabyte of random video with a packet on every thirtieth row: made only where it is asked for
/// (--benchmark_filter=gigabyte with QLX_BENCH_GIGABYTE=1 in the environment), as it takes that much memory.
const Row& gigabyte() {
    static const Row rows = [] {
        const Row video = randomVideo(RowFormat::V210);
        const Row cdp = rowWithCdp(RowFormat::V210);
        const std::size_t count = std::getenv("QLX_BENCH_GIGABYTE") ? kGigabyte / video.size() : 300;
        Row all(count * video.size());
        for (std::size_t row = 0; row < count; ++row) {
            std::copy((row % 30 == 0 ? cdp : video).begin(), (row % 30 == 0 ? cdp : video).end(),
                      all.begin() + static_cast<std::ptrdiff_t>(row * video.size()));
        }
        return all;
    }();
    return rows;
}

void gigabyteRead(benchmark::State& state) {
    timeReading(state, gigabyte());
}
BENCHMARK(gigabyteRead)->Unit(benchmark::kMillisecond);

void gigabyteSearched(benchmark::State& state) {
    const Row& rows = gigabyte();
    const std::size_t stride = rowBytes(RowFormat::V210, kWidth);
    const std::size_t there = (rows.size() / stride + 29) / 30;
    require(search(rows, stride, RowFormat::V210) == there, "the packets are not found");
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(search(rows, stride, RowFormat::V210));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(rows.size()));
}
BENCHMARK(gigabyteSearched)->Unit(benchmark::kMillisecond);

}  // namespace
