// An ANC frame element of three packets (a caption packet of 89 bytes among them) walked and written, with samples of 8
// and 10 bits, beside plain ways byte by byte; and a stream of such triplets, whole and damaged, beside a copy of it.
#include <qlx/anc/element.h>
#include <qlx/klv/klv.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <numeric>
#include <span>
#include <vector>

namespace {

using qlx::anc::Packet;
using Bytes = std::vector<std::uint8_t>;

std::vector<Packet> packets() {
    std::vector<Packet> result{{0x61, 0x01, Bytes(89), 9, 0, qlx::anc::Channel::Luma},
                               {0x41, 0x05, Bytes(8), 11, 0, qlx::anc::Channel::Luma},
                               {0x60, 0x60, Bytes(16), 9, 0, qlx::anc::Channel::Luma}};
    for (Packet& packet : result) {
        std::iota(packet.userData.begin(), packet.userData.end(), packet.did);
    }
    return result;
}

Bytes element(bool isTenBits) {
    const std::vector<Packet> three = packets();
    const auto data = writeElement(std::span<const Packet>(three), {qlx::anc::Wrapping::VancFrame, isTenBits});
    if (!data) {
        std::abort();
    }
    return {data->begin(), data->end()};
}

/// The sum of all user data of an element with samples of 8 bits.
unsigned sumPlainly(const Bytes& bytes) {
    unsigned sum = 0;
    std::size_t at = 2;
    for (int count = bytes[0] << 8 | bytes[1]; count > 0; --count) {
        const std::size_t size = std::size_t{bytes[at + 6]} << 24U | std::size_t{bytes[at + 7]} << 16U |
                                 std::size_t{bytes[at + 8]} << 8U | bytes[at + 9];
        const Bytes data(&bytes[at + 17], &bytes[at + 17] + bytes[at + 16]);
        sum = std::accumulate(data.begin(), data.end(), sum);
        at += 14 + size;
    }
    return sum;
}

unsigned sumOf(const Bytes& bytes, qlx::FindingSink* findings) {
    std::array<std::uint8_t, qlx::anc::kGreatestUserData> room{};
    unsigned sum = 0;
    for (const qlx::anc::ElementPacketView& packet : qlx::anc::elementPackets(bytes, findings)) {
        const auto data = packet.userData(room);
        sum = std::accumulate(data.begin(), data.end(), sum);
    }
    return sum;
}

constexpr std::size_t kTriplets = 10'000;

/// Triplets with elements; every n-th one's key is damaged.
Bytes stream(std::size_t damagedEach) {
    Bytes result;
    const Bytes value = element(false);
    for (std::size_t index = 0; index < kTriplets; ++index) {
        const auto triplet = qlx::klv::writeTriplet(qlx::klv::ancFrameElementKey(), value);
        result.insert(result.end(), triplet->begin(), triplet->end());
        if (damagedEach != 0 && index % damagedEach == damagedEach / 2) {
            result[result.size() - triplet->size()] = 0;
        }
    }
    return result;
}

std::size_t count(const Bytes& bytes, qlx::FindingSink* findings) {
    constexpr std::size_t kPiece = std::size_t{64} * 1024;
    qlx::klv::Reader reader({}, findings);
    std::size_t found = 0;
    for (std::size_t done = 0; done < bytes.size(); done += kPiece) {
        reader.push(std::span(bytes).subspan(done, std::min(kPiece, bytes.size() - done)));
        while (const auto triplet = reader.next()) {
            found += std::size_t{triplet->value.size() > 2};
        }
    }
    reader.finish();
    while (reader.next()) {
        ++found;
    }
    return found;
}

/// Both ways give the same, or nothing is timed.
bool check() {
    qlx::Findings findings;
    const bool isRight = sumOf(element(false), &findings) == sumPlainly(element(false)) &&
                         sumOf(element(true), &findings) == sumPlainly(element(false)) && findings.empty() &&
                         count(stream(0), &findings) == kTriplets && findings.empty() &&
                         count(stream(10), nullptr) == kTriplets - kTriplets / 10;
    if (!isRight) {
        std::cerr << "the elements or triplets differ\n";
        std::exit(1);
    }
    return true;
}

const bool kIsChecked = check();

void ElementRead(benchmark::State& state) {
    const Bytes bytes = element(state.range(0) != 0);
    qlx::Findings findings;
    for (auto _ : state) {
        benchmark::DoNotOptimize(sumOf(bytes, &findings));
    }
}
BENCHMARK(ElementRead)->ArgName("tenBits")->Arg(0)->Arg(1);

void ElementReadPlainly(benchmark::State& state) {
    const Bytes bytes = element(false);
    for (auto _ : state) {
        benchmark::DoNotOptimize(sumPlainly(bytes));
    }
}
BENCHMARK(ElementReadPlainly);

void ElementWritten(benchmark::State& state) {
    const std::vector<Packet> three = packets();
    Bytes room(1000);
    for (auto _ : state) {
        auto size =
            writeElement(std::span<const Packet>(three), room, {qlx::anc::Wrapping::VancFrame, state.range(0) != 0});
        benchmark::DoNotOptimize(size);
        benchmark::DoNotOptimize(room.data());
    }
}
BENCHMARK(ElementWritten)->ArgName("tenBits")->Arg(0)->Arg(1);

void TripletsRead(benchmark::State& state) {
    const Bytes bytes = stream(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(count(bytes, nullptr));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes.size()) * state.iterations());
}
BENCHMARK(TripletsRead)->ArgName("damagedEach")->Arg(0)->Arg(10);

void TripletsCopied(benchmark::State& state) {
    const Bytes bytes = stream(0);
    Bytes copy(bytes.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes.size()) * state.iterations());
}
BENCHMARK(TripletsCopied);

}  // namespace
