// Caption packets and samples: made, read, split and joined; each with a plain baseline that gives the same result.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace {

using qlx::MediaTime;
using Bytes = std::vector<std::uint8_t>;
using Sample = std::shared_ptr<qlx::SampleBuffer>;

constexpr MediaTime k2997 = MediaTime::make(1001, 30'000);
constexpr MediaTime k5994 = MediaTime::make(1001, 60'000);
const qlx::SampleTimingInfo kTiming{k2997, MediaTime::make(2002, 30'000), {}};
const qlx::Data kPair{0x94, 0x2C};

qlx::Data bytesOf(const Sample& sample) {
    return {sample->dataBuffer->data(), sample->dataBuffer->size()};
}

// The baselines: byte by byte into growing vectors, and samples from the platform's own steps.

int ccCountPlainly(const MediaTime& duration) {
    const double rate = static_cast<double>(duration.timescale) / static_cast<double>(duration.value);
    return static_cast<int>(600.0 / rate);
}

std::uint8_t rateCodePlainly(const MediaTime& duration) {
    const double rate = static_cast<double>(duration.timescale) / static_cast<double>(duration.value);
    switch (static_cast<int>(rate * 100.0)) {
    case 2397:
        return 1;
    case 2400:
        return 2;
    case 2500:
        return 3;
    case 2997:
        return 4;
    case 3000:
        return 5;
    case 5000:
        return 6;
    case 5994:
        return 7;
    case 6000:
        return 8;
    default:
        return 0;
    }
}

void push(Bytes& bytes, std::initializer_list<std::uint8_t> more) {
    for (const std::uint8_t byte : more) {
        bytes.push_back(byte);
    }
}

Bytes packetPlainly(const Bytes& triplets, std::size_t lengthByte, std::uint8_t rateCode, std::uint16_t counter) {
    const auto high = static_cast<std::uint8_t>(counter >> 8U);
    const auto low = static_cast<std::uint8_t>(counter & 0xFFU);
    Bytes packet;
    push(packet, {0x96, 0x69, static_cast<std::uint8_t>(lengthByte), static_cast<std::uint8_t>(rateCode << 4U | 15U)});
    push(packet, {0x7F, high, low, 0x72, static_cast<std::uint8_t>(0xE0U | triplets.size() / 3)});
    for (const std::uint8_t byte : triplets) {
        packet.push_back(byte);
    }
    push(packet, {0x73, 0xF2, 0xE0, 0x20, 0x20, 0x20, 0x7E, 0x3F, 0xFF, 0xE1, 0x65, 0x6E, 0x67, 0xC1, 0x3F, 0xFF});
    push(packet, {0x74, high, low});
    std::uint8_t sum = 0;
    for (const std::uint8_t byte : packet) {
        sum = static_cast<std::uint8_t>(sum + byte);
    }
    packet.push_back(static_cast<std::uint8_t>(0U - sum));
    return packet;
}

Sample samplePlainly(const Bytes& packet, const qlx::SampleTimingInfo& timing) {
    Bytes bytes;
    push(bytes, {0, 0, 0, static_cast<std::uint8_t>(packet.size() + 8), 'c', 'c', 'd', 'p'});
    for (const std::uint8_t byte : packet) {
        bytes.push_back(byte);
    }
    qlx::MediaFactory& factory = qlx::services().get<qlx::MediaFactory>();
    qlx::SampleBuffer parts;
    Sample sample;
    factory.createBlockBuffer(bytes.size(), &parts.dataBuffer);
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        parts.dataBuffer->data()[index] = bytes[index];
    }
    factory.createFormatDescription(qlx::fourCC("clcp"), qlx::fourCC("c708"), {}, &parts.formatDescription);
    parts.timingInfo = timing;
    parts.sampleSize = bytes.size();
    factory.createSampleBuffer(std::move(parts), &sample);
    return sample;
}

Sample pairSamplePlainly(std::uint16_t counter) {
    Bytes triplets;
    push(triplets, {0xFC, kPair[0], kPair[1], 0xF9, 0x80, 0x80});
    for (int index = 2; index < ccCountPlainly(k2997); ++index) {
        push(triplets, {0xFA, 0x00, 0x00});
    }
    return samplePlainly(packetPlainly(triplets, triplets.size() + 29, rateCodePlainly(k2997), counter), kTiming);
}

Sample pairSample(std::uint16_t counter) {
    return QLXCCUtilities::createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_cea608Data(
        kTiming, k2997, counter, kPair);
}

struct Sorted {
    Bytes dtvcc;
    Bytes field1;
    Bytes field2;
};

Sorted sortPlainly(const qlx::Data& packet) {
    Sorted sorted;
    for (std::size_t position = 9; position < packet.size() - 9; position += 3) {
        const std::uint8_t kind = packet[position];
        std::uint8_t first = packet[position + 1];
        std::uint8_t second = packet[position + 2];
        if (kind == 0xFC && (sorted.field1.empty() || first != 0x80 || second != 0x80)) {
            push(sorted.field1, {first, second});
        }
        if (kind == 0xFD && (sorted.field2.empty() || (first != 0x80 && second != 0x80))) {
            push(sorted.field2, {first, second});
        }
        if (kind == 0xFF && first == 0x80 && second == 0x80) {
            first = second = 0;
        }
        if (kind >= 0xFE) {
            push(sorted.dtvcc, {kind, first, second});
        }
    }
    return sorted;
}

/// A full 29.97 frame: both fields and 18 DTVCC triplets.
Bytes fullTriplets() {
    Bytes triplets;
    push(triplets, {0xFC, 0x94, 0x2C, 0xFD, 0x15, 0x26, 0xFF, 0x01, 0x02});
    for (std::uint8_t index = 1; index < 18; ++index) {
        push(triplets, {0xFE, index, index});
    }
    return triplets;
}

qlx::Data fullPacket() {
    return packetPlainly(fullTriplets(), 89, 4, 0);
}

Sample fullSample() {
    return samplePlainly(packetPlainly(fullTriplets(), 89, 4, 0), kTiming);
}

std::pair<Sample, Sample> split(const Sample& sample) {
    std::pair<Sample, Sample> halves;
    QLXCCUtilities::splitSampleBuffer_toSampleBuffer_andSampleBuffer_frameDuration(sample, &halves.first,
                                                                                   &halves.second, k5994);
    return halves;
}

Sample join(const std::pair<Sample, Sample>& halves) {
    return QLXCCUtilities::createConcatenatedSampleBufferWithSampleBuffer_andSampleBuffer_frameDuration(
        halves.first, halves.second, k2997);
}

qlx::Data packetOf(const Sample& sample) {
    const qlx::Data bytes = bytesOf(sample);
    return {bytes.data() + 8, bytes.size() - 8};
}

Sample tripletSamplePlainly(const Bytes& triplets, const MediaTime& duration, const MediaTime& pts) {
    return samplePlainly(
        packetPlainly(triplets, triplets.size() + 16, rateCodePlainly(duration), static_cast<std::uint16_t>(0)),
        {duration, pts, {}});
}

std::pair<Sample, Sample> splitPlainly(const Sample& sample) {
    const Sorted sorted = sortPlainly(packetOf(sample));
    const auto count = static_cast<std::size_t>(ccCountPlainly(k5994));
    Bytes first;
    Bytes second;
    for (std::size_t index = 0; index + 1 < sorted.field1.size(); index += 2) {
        push(first, {0xFC, sorted.field1[index], sorted.field1[index + 1]});
    }
    for (std::size_t index = 0; index + 1 < sorted.field2.size(); index += 2) {
        push(second, {0xFD, sorted.field2[index], sorted.field2[index + 1]});
    }
    for (std::size_t index = 0; index < sorted.dtvcc.size(); ++index) {
        (index < 3 * count - 3 ? first : second).push_back(sorted.dtvcc[index]);
    }
    for (Bytes* const half : {&first, &second}) {
        while (half->size() < 3 * count) {
            push(*half, {0xFA, 0x00, 0x00});
        }
    }
    const MediaTime pts =
        qlx::convertScale(sample->timingInfo->presentationTimeStamp, k5994.timescale, qlx::RoundingMethod::QuickTime);
    return {tripletSamplePlainly(first, k5994, pts), tripletSamplePlainly(second, k5994, qlx::add(pts, k5994))};
}

Sample joinPlainly(const std::pair<Sample, Sample>& halves) {
    const Sorted one = sortPlainly(packetOf(halves.first));
    const Sorted other = sortPlainly(packetOf(halves.second));
    Bytes triplets;
    for (const Bytes* const field : {&one.field1, &other.field1}) {
        for (std::size_t index = 0; index + 1 < field->size(); index += 2) {
            push(triplets, {0xFC, (*field)[index], (*field)[index + 1]});
        }
    }
    for (const Bytes* const field : {&one.field2, &other.field2}) {
        for (std::size_t index = 0; index + 1 < field->size(); index += 2) {
            push(triplets, {0xFD, (*field)[index], (*field)[index + 1]});
        }
    }
    triplets.insert(triplets.end(), one.dtvcc.begin(), one.dtvcc.end());
    triplets.insert(triplets.end(), other.dtvcc.begin(), other.dtvcc.end());
    while (triplets.size() < 3 * static_cast<std::size_t>(ccCountPlainly(k2997))) {
        push(triplets, {0xFA, 0x00, 0x00});
    }
    return tripletSamplePlainly(triplets, k2997,
                                qlx::convertScale(halves.first->timingInfo->presentationTimeStamp, k2997.timescale,
                                                  qlx::RoundingMethod::QuickTime));
}

void pairSamples(benchmark::State& state) {
    for (std::uint32_t counter = 0; counter < 70'000; ++counter) {
        const auto value = static_cast<std::uint16_t>(counter);
        if (bytesOf(pairSample(value)) != bytesOf(pairSamplePlainly(value))) {
            state.SkipWithError("the two samples differ");
            return;
        }
    }
    std::uint16_t counter = 0;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(pairSample(counter++));
    }
}

void pairSamplesPlainly(benchmark::State& state) {
    std::uint16_t counter = 0;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(pairSamplePlainly(counter++));
    }
}

void sortedTriplets(benchmark::State& state) {
    const qlx::Data packet = fullPacket();
    qlx::Data field1;
    qlx::Data field2;
    const Sorted expected = sortPlainly(packet);
    if (QLXCCUtilities::extractCaptionTripletsFromData_fromOffset_CC1Data_CC2Data(packet, 9, &field1, &field2) !=
            qlx::Data(expected.dtvcc) ||
        field1 != qlx::Data(expected.field1) || field2 != qlx::Data(expected.field2) || expected.dtvcc.size() != 54) {
        state.SkipWithError("the two readers differ");
        return;
    }
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(
            QLXCCUtilities::extractCaptionTripletsFromData_fromOffset_CC1Data_CC2Data(packet, 9, &field1, &field2));
    }
}

void sortedTripletsPlainly(benchmark::State& state) {
    const qlx::Data packet = fullPacket();
    for ([[maybe_unused]] auto _ : state) {
        const Sorted sorted = sortPlainly(packet);
        benchmark::DoNotOptimize(qlx::Data(sorted.dtvcc));
        benchmark::DoNotOptimize(qlx::Data(sorted.field1));
        benchmark::DoNotOptimize(qlx::Data(sorted.field2));
    }
}

/// True when both ways of splitting and joining agree; the counter is held at 0 for it.
bool splitAndJoinAgree() {
    const Sample sample = fullSample();
    const auto plain = splitPlainly(sample);
    gSequenceCounter = 0;
    const auto halves = split(sample);
    const bool firstAgrees = bytesOf(halves.first) == bytesOf(plain.first);
    gSequenceCounter = 0xFFFF;  // The second half carries the counter 0.
    const bool secondAgrees = bytesOf(split(sample).second) == bytesOf(plain.second);
    gSequenceCounter = 0;
    return firstAgrees && secondAgrees && bytesOf(join(halves)) == bytesOf(joinPlainly(halves)) &&
           halves.first->timingInfo == plain.first->timingInfo && halves.second->timingInfo == plain.second->timingInfo;
}

void splitSample(benchmark::State& state) {
    if (!splitAndJoinAgree()) {
        state.SkipWithError("the two splitters or joiners differ");
        return;
    }
    const Sample sample = fullSample();
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(split(sample));
    }
}

void splitSamplePlainly(benchmark::State& state) {
    const Sample sample = fullSample();
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(splitPlainly(sample));
    }
}

void joinSamples(benchmark::State& state) {
    if (!splitAndJoinAgree()) {
        state.SkipWithError("the two splitters or joiners differ");
        return;
    }
    const auto halves = split(fullSample());
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(join(halves));
    }
}

void joinSamplesPlainly(benchmark::State& state) {
    const auto halves = split(fullSample());
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(joinPlainly(halves));
    }
}

BENCHMARK(pairSamples);
BENCHMARK(pairSamplesPlainly);
BENCHMARK(sortedTriplets);
BENCHMARK(sortedTripletsPlainly);
BENCHMARK(splitSample);
BENCHMARK(splitSamplePlainly);
BENCHMARK(joinSamples);
BENCHMARK(joinSamplesPlainly);

}  // namespace
