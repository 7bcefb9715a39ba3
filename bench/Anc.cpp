// Ancillary packets in SDI rows and MXF elements, with a plain baseline for the row reader.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "anc/RowKernels.h"
#include "facade/LumaPackets.h"
#include "v210/V210.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <numeric>
#include <vector>

namespace {

using Packets = std::vector<std::shared_ptr<QLXVANCPacket>>;

constexpr std::size_t kWidth = 1920;
constexpr std::size_t kRowBytes = kWidth / 6 * qlx::v210::kGroupBytes;
constexpr std::size_t kDataBytes = 148;

qlx::Data userData() {
    std::vector<std::uint8_t> bytes(kDataBytes);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
    return bytes;
}

std::vector<std::uint8_t> blankRow() {
    std::vector<std::uint8_t> row(kRowBytes);
    for (std::size_t word = 0; word < kRowBytes / qlx::v210::kWordBytes; ++word) {
        const bool lumaInMiddle = word % 2 == 0;
        const std::uint32_t value =
            lumaInMiddle ? qlx::v210::makeWord(0x200, 0x040, 0x200) : qlx::v210::makeWord(0x040, 0x200, 0x040);
        qlx::storeLittle32(row.data() + word * qlx::v210::kWordBytes, value);
    }
    return row;
}

std::vector<std::uint8_t> rowWithPacket() {
    std::vector<std::uint8_t> row = blankRow();
    QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
        row.data(), {QLXVANCPacket::OP47VANCPacketWithData_lineNumber(userData(), 12)}, row.size(), 12);
    return row;
}

Packets readRow(const std::vector<std::uint8_t>& row) {
    return QLXVANCPacket::VANCPacketsWithSDIBuffer_size_bufferFormat_lineNumber_errorString(row.data(), row.size(),
                                                                                            qlx::kPixelFormatV210, 12);
}

/// What a straightforward reader does: unpack every sample to 16 bits, search the luma, make the packets.
Packets readRowPlainly(const std::vector<std::uint8_t>& row) {
    std::vector<std::uint16_t> samples;
    for (std::size_t offset = 0; offset + qlx::v210::kWordBytes <= row.size(); offset += qlx::v210::kWordBytes) {
        const std::uint32_t word = qlx::loadLittle32(row.data() + offset);
        samples.push_back(qlx::v210::lowSample(word));
        samples.push_back(qlx::v210::middleSample(word));
        samples.push_back(qlx::v210::highSample(word));
    }
    std::vector<std::uint16_t> luma;
    for (std::size_t index = 1; index < samples.size(); index += 2) {
        luma.push_back(samples[index]);
    }
    Packets packets;
    for (std::size_t index = 0; index + 7 < luma.size(); ++index) {
        if (luma[index] != 0x000 || luma[index + 1] != 0x3FF || luma[index + 2] != 0x3FF) {
            continue;
        }
        const std::size_t count = luma[index + 5] & 0xFFU;
        if (index + 6 + count > luma.size()) {
            continue;
        }
        std::vector<std::uint8_t> bytes;
        for (std::size_t word = 0; word < count; ++word) {
            bytes.push_back(static_cast<std::uint8_t>(luma[index + 6 + word]));
        }
        auto packet = std::make_shared<QLXVANCPacket>();
        packet->setLineNumber(12);
        packet->setPacketDID(luma[index + 3] & 0xFFU);
        packet->setPacketSDID(luma[index + 4] & 0xFFU);
        packet->setPacketType(QLXVANCPacket::packetTypeWithDID_SDID(packet->packetDID(), packet->packetSDID()));
        packet->setPacketData(bytes);
        packets.push_back(std::move(packet));
        index += 6 + count;
    }
    return packets;
}

/// The row reader's loops without vectors.
Packets readRowWithScalarLoops(const std::vector<std::uint8_t>& row) {
    if (!qlx::v210::hasDataFlagNearStart(row)) {
        return {};
    }
    const auto& kernels = qlx::anc::scalarRowKernels();
    const std::size_t groups = row.size() / qlx::v210::kGroupBytes;
    std::vector<std::uint8_t> luma(groups * qlx::v210::kLumaOfGroup);
    kernels.reduceV210(row.data(), groups, luma.data());
    Packets packets;
    std::size_t position = 0;
    const std::size_t end = luma.size() - 7;
    while (position < end && (position = kernels.findDataFlag(luma.data(), position, end)) != end) {
        const std::size_t count = luma[position + 5];
        packets.push_back(QLXVANCPacket::OP47VANCPacketWithData_lineNumber(
            qlx::Data(luma.data() + position + 6, std::min(count, luma.size() - position - 6)), 12));
        position += 7 + count;
    }
    return packets;
}

void requireEqual(const Packets& left, const Packets& right) {
    const bool equal =
        std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const auto& one, const auto& other) {
            return one->packetDID() == other->packetDID() && one->packetSDID() == other->packetSDID() &&
                   one->packetType() == other->packetType() && one->packetData() == other->packetData();
        });
    if (!equal || left.size() != 1) {
        std::cerr << "the readers differ: nothing is timed\n";
        std::exit(EXIT_FAILURE);
    }
}

void makePacketWithData(benchmark::State& state) {
    const std::vector<std::uint8_t> bytes(kDataBytes, 0x55);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(QLXVANCPacket::OP47VANCPacketWithData_lineNumber(bytes, 12));
    }
}
BENCHMARK(makePacketWithData);

void rowWithoutFlag(benchmark::State& state) {
    const std::vector<std::uint8_t> row = blankRow();
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(readRow(row));
    }
}
BENCHMARK(rowWithoutFlag);

void rowWithOnePacket(benchmark::State& state) {
    const std::vector<std::uint8_t> row = rowWithPacket();
    requireEqual(readRow(row), readRowPlainly(row));
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(readRow(row));
    }
}
BENCHMARK(rowWithOnePacket);

void rowWithOnePacketScalarLoops(benchmark::State& state) {
    const std::vector<std::uint8_t> row = rowWithPacket();
    requireEqual(readRowWithScalarLoops(row), readRowPlainly(row));
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(readRowWithScalarLoops(row));
    }
}
BENCHMARK(rowWithOnePacketScalarLoops);

void rowWithOnePacketBaseline(benchmark::State& state) {
    const std::vector<std::uint8_t> row = rowWithPacket();
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(readRowPlainly(row));
    }
}
BENCHMARK(rowWithOnePacketBaseline);

void frameOf36RowsWithThreePackets(benchmark::State& state) {
    constexpr std::size_t kRows = 36;
    std::vector<std::uint8_t> frame;
    for (std::size_t row = 0; row < kRows; ++row) {
        const std::vector<std::uint8_t> bytes = row % 12 == 5 ? rowWithPacket() : blankRow();
        frame.insert(frame.end(), bytes.begin(), bytes.end());
    }
    for ([[maybe_unused]] auto _ : state) {
        std::optional<std::string> error;
        benchmark::DoNotOptimize(
            QLXVANCPacket::VANCPacketsWithMultilineSDIBuffer_size_bytesPerRow_bufferFormat_errorString(
                frame.data(), frame.size(), kRowBytes, qlx::kPixelFormatV210, &error));
    }
}
BENCHMARK(frameOf36RowsWithThreePackets);

void writeOnePacketIntoRow(benchmark::State& state) {
    std::vector<std::uint8_t> row = blankRow();
    const Packets packets{QLXVANCPacket::OP47VANCPacketWithData_lineNumber(userData(), 12)};
    for ([[maybe_unused]] auto _ : state) {
        QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
            row.data(), packets, row.size(), 12);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(writeOnePacketIntoRow);

Packets twoPackets() {
    return {QLXVANCPacket::OP47VANCPacketWithData_lineNumber(userData(), 12),
            QLXVANCPacket::OP47VANCPacketWithData_lineNumber(userData(), 575)};
}

void writeElementOfTwoPackets(benchmark::State& state) {
    const Packets packets = twoPackets();
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(QLXVANCPacket::MXFDataPacketWithVANCPackets(packets));
    }
}
BENCHMARK(writeElementOfTwoPackets);

void readElementOfTwoPackets(benchmark::State& state) {
    const qlx::Data element = QLXVANCPacket::MXFDataPacketWithVANCPackets(twoPackets());
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(QLXVANCPacket::VANCPacketsWithMXFData_bufferFormat(element, qlx::kPixelFormat2vuy));
    }
}
BENCHMARK(readElementOfTwoPackets);

}  // namespace
