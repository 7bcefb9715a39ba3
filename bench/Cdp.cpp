// A caption distribution packet of 89 bytes (20 triplets, two services) read whole into a value and written into a
// caller's room; beside each a plain one, byte by byte into growing vectors, that does no more than is needed.
#include <qlx/cc/cdp.h>
#include <qlx/cc/slots.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <numeric>
#include <span>
#include <vector>

namespace {

using qlx::cc::Cdp;
using qlx::cc::Triplet;
using Bytes = std::vector<std::uint8_t>;

Cdp packet() {
    std::vector<Triplet> triplets(20);
    triplets[0] = Triplet::make(qlx::cc::CcType::Field1, 0x94, 0x2C);
    triplets[1] = qlx::cc::idlePair(qlx::cc::CcType::Field2);
    for (std::uint8_t index = 2; index < 12; ++index) {
        triplets[index] = Triplet::make(qlx::cc::CcType::DtvccData, index, index);
    }
    const std::array services{qlx::cc::CaptionService::line21(false),
                              qlx::cc::CaptionService::digital(1, {'e', 'n', 'g'})};
    Cdp cdp;
    cdp.setSequenceCounter(0x1234);
    if (!cdp.setTriplets(triplets) || !cdp.setServices(services)) {
        std::abort();
    }
    return cdp;
}

Bytes bytesOf(const Cdp& cdp) {
    Bytes bytes(qlx::cc::kGreatestCdpBytes);
    bytes.resize(*writeCdp(cdp, bytes));
    return bytes;
}

struct PlainPacket {
    std::uint8_t rate = 0;
    std::uint16_t counter = 0;
    std::vector<Bytes> triplets;
    std::vector<Bytes> services;
};

bool readPlainly(const Bytes& bytes, PlainPacket& packet) {
    if (bytes.size() < 11 || bytes[0] != 0x96 || bytes[1] != 0x69 || bytes[2] != bytes.size() ||
        std::accumulate(bytes.begin(), bytes.end(), 0) % 256 != 0) {
        return false;
    }
    packet.rate = bytes[3] >> 4U;
    packet.counter = static_cast<std::uint16_t>(bytes[5] << 8U | bytes[6]);
    std::size_t offset = 9;
    for (int count = bytes[8] & 0x1F; count > 0; --count, offset += 3) {
        packet.triplets.emplace_back(&bytes[offset], &bytes[offset] + 3);
    }
    const int services = bytes[offset + 1] & 0x0F;
    offset += 2;
    for (int count = services; count > 0; --count, offset += 7) {
        packet.services.emplace_back(&bytes[offset], &bytes[offset] + 7);
    }
    return bytes[offset] == 0x74;
}

Bytes writePlainly(const PlainPacket& packet) {
    Bytes bytes{0x96, 0x69, 0};
    bytes.push_back(static_cast<std::uint8_t>(packet.rate << 4U | 0x0FU));
    bytes.push_back(0x77);
    bytes.push_back(static_cast<std::uint8_t>(packet.counter >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(packet.counter));
    bytes.push_back(0x72);
    bytes.push_back(static_cast<std::uint8_t>(0xE0U | packet.triplets.size()));
    for (const Bytes& triplet : packet.triplets) {
        bytes.insert(bytes.end(), triplet.begin(), triplet.end());
    }
    bytes.push_back(0x73);
    bytes.push_back(static_cast<std::uint8_t>(0xD0U | packet.services.size()));
    for (const Bytes& service : packet.services) {
        bytes.insert(bytes.end(), service.begin(), service.end());
    }
    bytes.push_back(0x74);
    bytes.push_back(static_cast<std::uint8_t>(packet.counter >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(packet.counter));
    bytes[2] = static_cast<std::uint8_t>(bytes.size() + 1);
    bytes.push_back(static_cast<std::uint8_t>(256 - std::accumulate(bytes.begin(), bytes.end(), 0) % 256));
    return bytes;
}

/// Both ways give the same, or nothing is timed.
bool check() {
    const Cdp cdp = packet();
    const Bytes bytes = bytesOf(cdp);
    qlx::Findings findings;
    const auto read = qlx::cc::parseCdp(bytes, &findings);
    PlainPacket plain;
    if (bytes.size() != 89 || !read || *read != cdp || !findings.empty() || !readPlainly(bytes, plain) ||
        writePlainly(plain) != bytes) {
        std::cerr << "the packets differ\n";
        std::exit(1);
    }
    return true;
}

const bool kIsChecked = check();

void CdpRead(benchmark::State& state) {
    const Bytes bytes = bytesOf(packet());
    qlx::Findings findings;
    for (auto _ : state) {
        auto cdp = qlx::cc::parseCdp(bytes, &findings);
        benchmark::DoNotOptimize(cdp);
    }
}
BENCHMARK(CdpRead);

void CdpReadWithoutFindings(benchmark::State& state) {
    const Bytes bytes = bytesOf(packet());
    for (auto _ : state) {
        auto cdp = qlx::cc::parseCdp(bytes);
        benchmark::DoNotOptimize(cdp);
    }
}
BENCHMARK(CdpReadWithoutFindings);

void CdpReadPlainly(benchmark::State& state) {
    const Bytes bytes = bytesOf(packet());
    for (auto _ : state) {
        PlainPacket plain;
        benchmark::DoNotOptimize(readPlainly(bytes, plain));
        benchmark::DoNotOptimize(plain);
    }
}
BENCHMARK(CdpReadPlainly);

void CdpWritten(benchmark::State& state) {
    const Cdp cdp = packet();
    std::array<std::uint8_t, qlx::cc::kGreatestCdpBytes> room{};
    for (auto _ : state) {
        auto size = writeCdp(cdp, room);
        benchmark::DoNotOptimize(size);
        benchmark::DoNotOptimize(room);
    }
}
BENCHMARK(CdpWritten);

void CdpWrittenPlainly(benchmark::State& state) {
    PlainPacket plain;
    readPlainly(bytesOf(packet()), plain);
    for (auto _ : state) {
        benchmark::DoNotOptimize(writePlainly(plain));
    }
}
BENCHMARK(CdpWrittenPlainly);

}  // namespace
