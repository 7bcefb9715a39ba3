// Captions out of coded pictures of 1 MB, with the searches written out byte by byte as the baseline.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "LiteralCaptionExtractors.h"
#include "facade/H264CaptionExtractor.h"
#include "facade/MPEG2CaptionExtractor.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <initializer_list>
#include <iostream>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kUnitBytes = 1U << 20U;
constexpr std::size_t kMinSliceBytes = 2'000;
constexpr std::size_t kMaxSliceBytes = 14'000;
constexpr std::size_t kTriplets = 20;

void append(Bytes& bytes, std::initializer_list<std::uint8_t> more) {
    bytes.insert(bytes.end(), more);
}

/// User data from the identifier on, in front of it what an SEI NAL unit has.
void appendSEI(Bytes& bytes) {
    append(bytes, {0x00, 0x00, 0x00, 0x01, 0x06, 0x04, 3 * kTriplets + 11, 0xB5, 0x00, 0x31});
    append(bytes, {'G', 'A', '9', '4', 0x03, 0xC0 | kTriplets, 0xFF});
    for (std::size_t triplet = 0; triplet < kTriplets; ++triplet) {
        append(bytes, {0xFC, 0x94, 0x2C});
    }
    append(bytes, {0xFF, 0x80});
}

/// Entropy-coded data as good as random, with emulation prevention bytes.
void appendSlice(Bytes& bytes, std::mt19937& random) {
    append(bytes, {0x00, 0x00, 0x01, 0x41});
    std::size_t zeros = 0;
    for (std::size_t left = kMinSliceBytes + random() % (kMaxSliceBytes - kMinSliceBytes); left > 0; --left) {
        const auto byte = static_cast<std::uint8_t>(random());
        if (zeros >= 2 && byte <= 3) {
            bytes.push_back(0x03);
            zeros = 0;
        }
        bytes.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
    bytes.push_back(0x80);
}

enum Captions : std::int64_t { None, AtFront, AtEnd };

/// Access unit delimiter, parameter sets, slices of some KB.
Bytes accessUnit(std::int64_t captions) {
    std::mt19937 random(7);
    Bytes bytes{0x00, 0x00, 0x00, 0x01, 0x09, 0xF0, 0x00, 0x00, 0x00, 0x01, 0x67, 0x64, 0x00,
                0x28, 0xAC, 0xD9, 0x00, 0x00, 0x00, 0x01, 0x68, 0xEB, 0xE3, 0xCB, 0x22, 0xC0};
    if (captions == AtFront) {
        appendSEI(bytes);
    }
    while (bytes.size() < kUnitBytes) {
        appendSlice(bytes, random);
    }
    if (captions == AtEnd) {
        appendSEI(bytes);
    }
    return bytes;
}

void requireEqual(const qlx::Data& triplets, const qlxtest::LiteralTriplets& expected, bool captions) {
    const bool equal = expected ? triplets == qlx::Data(*expected) : !triplets;
    if (!equal || triplets.size() != (captions ? 3 * kTriplets : 0)) {
        std::cerr << "the searches differ: nothing is timed\n";
        std::exit(EXIT_FAILURE);
    }
}

void countBytes(benchmark::State& state, const Bytes& bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void annexB(benchmark::State& state) {
    const Bytes bytes = accessUnit(state.range(0));
    const qlx::Data packet = bytes;
    requireEqual(QLXCCUtilities::extractCCDataFromAnnexBH264Packet(packet), qlxtest::literalAnnexB(bytes),
                 state.range(0) != None);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(QLXCCUtilities::extractCCDataFromAnnexBH264Packet(packet));
    }
    countBytes(state, bytes);
}
BENCHMARK(annexB)->Arg(AtEnd)->Arg(None);

void annexBScalarLoops(benchmark::State& state) {
    const Bytes bytes = accessUnit(state.range(0));
    const auto& kernels = qlx::videostream::scalarKernels();
    requireEqual(qlx::h264::tripletsInAnnexB(bytes, kernels), qlxtest::literalAnnexB(bytes), state.range(0) != None);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(qlx::h264::tripletsInAnnexB(bytes, kernels));
    }
    countBytes(state, bytes);
}
BENCHMARK(annexBScalarLoops)->Arg(AtEnd)->Arg(None);

void annexBBaseline(benchmark::State& state) {
    const Bytes bytes = accessUnit(state.range(0));
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(qlxtest::literalAnnexB(bytes));
    }
    countBytes(state, bytes);
}
BENCHMARK(annexBBaseline)->Arg(AtEnd)->Arg(None);

/// As encoders write it: the captions stand in front of the slices, and the search ends there.
void annexBWithCaptionsAtFront(benchmark::State& state) {
    const Bytes bytes = accessUnit(AtFront);
    const qlx::Data packet = bytes;
    requireEqual(QLXCCUtilities::extractCCDataFromH264Packet(packet), qlxtest::literalH264(bytes), true);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(QLXCCUtilities::extractCCDataFromH264Packet(packet));
    }
}
BENCHMARK(annexBWithCaptionsAtFront);

void mpeg2(benchmark::State& state) {
    const Bytes bytes = accessUnit(AtEnd);
    const qlx::Data packet = bytes;
    const auto extract = [&packet] {
        return QLXCCUtilities::extractCCDataFromMPEG2Packet_pts(packet, qlx::MediaTime());
    };
    requireEqual(extract(), qlxtest::literalMPEG2(bytes), true);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(extract());
    }
    countBytes(state, bytes);
}
BENCHMARK(mpeg2);

void mpeg2ScalarLoops(benchmark::State& state) {
    const Bytes bytes = accessUnit(AtEnd);
    const auto& kernels = qlx::videostream::scalarKernels();
    requireEqual(qlx::mpeg2::captionTriplets(bytes, kernels), qlxtest::literalMPEG2(bytes), true);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(qlx::mpeg2::captionTriplets(bytes, kernels));
    }
    countBytes(state, bytes);
}
BENCHMARK(mpeg2ScalarLoops);

void mpeg2Baseline(benchmark::State& state) {
    const Bytes bytes = accessUnit(AtEnd);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(qlxtest::literalMPEG2(bytes));
    }
    countBytes(state, bytes);
}
BENCHMARK(mpeg2Baseline);

}  // namespace
