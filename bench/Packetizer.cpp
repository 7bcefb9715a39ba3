// Teletext frames: nothing new, changes, the number of records, memory; with a plain baseline for the filling frames.
// The search for OP-47 packets in a captured row of 1920 pixels, with a plain baseline that takes the luma out first.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "facade/SubtitlingDataPacket.h"

#include "Allocations.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using qlx::MediaTime;

constexpr double kFrameRate = 25.0;

/// `count` two-line records of `frames` frames each, without gaps: each is due from a frame of its own.
std::vector<std::shared_ptr<QLXSubtitleRecord>> makeRecords(std::int64_t count, std::int64_t frames) {
    std::vector<std::shared_ptr<QLXSubtitleRecord>> records;
    for (std::int64_t index = 0; index < count; ++index) {
        auto record = std::make_shared<QLXSubtitleRecord>();
        std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines;
        for (const std::uint64_t row : {10U, 11U}) {
            auto line = std::make_shared<QLXSubtitleTextLine>();
            line->setTextString("Où étiez-vous cette nuit-là ?");
            line->setVerticalPosition(row);
            lines.push_back(std::move(line));
        }
        record->setSubtitleLines(std::move(lines));
        // It starts half a frame early, since a record is due only after its start.
        record->setStartTimeInSeconds((static_cast<double>(index * frames) - 0.5) / kFrameRate);
        record->setEndTimeInSeconds(static_cast<double>((index + 1) * frames) / kFrameRate);
        records.push_back(std::move(record));
    }
    return records;
}

std::shared_ptr<qlx::SampleBuffer> makeFrame(QLXSubtitlesPacketizer& packetizer, std::int64_t frame) {
    return packetizer.copyNextSubtitleSampleBufferAtPTS_frameDuration(MediaTime::make(frame, 25),
                                                                      MediaTime::make(1, 25));
}

/// A filling block as a straightforward builder makes it: byte by byte.
std::vector<std::uint8_t> makeFillingPlainly(bool oddField, std::uint16_t counter) {
    std::vector<std::uint8_t> block;
    constexpr std::uint8_t kStart[] = {0x51, 0x15, 0x94, 0x02};
    constexpr std::uint8_t kRunIn[] = {0x55, 0x55, 0x27};
    constexpr std::uint8_t kCoded[] = {8, 15, 4, 6, 9, 9, 9, 9, 9, 9};
    for (const std::uint8_t byte : kStart) {
        block.push_back(byte);
    }
    for (std::uint8_t line = 10; line < 13; ++line) {
        block.push_back(QLXSubtitlesPacketizer::vbiPacketDescriptorWithLine_oddField(line, oddField));
    }
    block.push_back(0);
    block.push_back(0);
    for (int packet = 0; packet < 3; ++packet) {
        for (const std::uint8_t byte : kRunIn) {
            block.push_back(byte);
        }
        for (const std::uint8_t value : kCoded) {
            block.push_back(QLXSubtitlesPacketizer::hamming84ForByte(value));
        }
        block.push_back(0x86);
        for (int space = 0; space < 31; ++space) {
            block.push_back(0x20);
        }
    }
    block.push_back(0x74);
    block.push_back(static_cast<std::uint8_t>(counter >> 8U));
    block.push_back(static_cast<std::uint8_t>(counter & 0xFFU));
    std::uint8_t sum = 0;
    for (const std::uint8_t byte : block) {
        sum = static_cast<std::uint8_t>(sum + byte);
    }
    block.push_back(static_cast<std::uint8_t>(0U - sum));
    return block;
}

std::shared_ptr<qlx::SampleBuffer> makeFramePlainly(std::uint16_t& counter) {
    auto field1 = QLXVANCPacket::OP47VANCPacketWithData_lineNumber(makeFillingPlainly(true, counter++), 12);
    auto field2 = QLXVANCPacket::OP47VANCPacketWithData_lineNumber(makeFillingPlainly(false, counter++), 575);
    return QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo({std::move(field1), std::move(field2)}, {});
}

bool equal(const qlx::SampleBuffer& left, const qlx::SampleBuffer& right) {
    const auto bytes = [](const qlx::SampleBuffer& sample) {
        return qlx::Data(sample.dataBuffer->data(), sample.dataBuffer->size());
    };
    return bytes(left) == bytes(right);
}

void filling(benchmark::State& state) {
    std::uint16_t counter = 0;
    for (bool oddField : {false, true}) {
        for (std::uint16_t value = 0; value < 1000; ++value) {
            if (qlx::facade::sdp::filling(oddField, value) != makeFillingPlainly(oddField, value)) {
                state.SkipWithError("the two builders differ");
                return;
            }
        }
    }
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(qlx::facade::sdp::filling(true, counter++));
    }
}

void fillingPlainly(benchmark::State& state) {
    std::uint16_t counter = 0;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(qlx::Data(makeFillingPlainly(true, counter++)));
    }
}

void packetWithFilling(benchmark::State& state) {
    std::uint16_t counter = 0;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(
            QLXVANCPacket::OP47VANCPacketWithData_lineNumber(qlx::facade::sdp::filling(true, counter++), 12));
    }
}

/// Frames while one subtitle stays: filling packets on both fields.
void frameWithNothingNew(benchmark::State& state) {
    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true);
    std::uint16_t counter = 0;
    if (!equal(*makeFrame(*packetizer, 0), *makeFramePlainly(counter))) {
        state.SkipWithError("the two frames differ");
        return;
    }
    auto records = makeRecords(state.range(0), 2);
    records.front()->setEndTimeInSeconds(1e12);
    packetizer->setSubtitleRecords(records);
    std::int64_t frame = 0;
    (void)makeFrame(*packetizer, frame++);
    (void)makeFrame(*packetizer, frame++);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(makeFrame(*packetizer, frame++));
    }
}

void frameWithNothingNewPlainly(benchmark::State& state) {
    std::uint16_t counter = 0;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(makeFramePlainly(counter));
    }
}

/// The two frames of a change, together: page erased, and rows sent. Every one builds four blocks or sends two.
void bothFramesOfAChange(benchmark::State& state) {
    const std::int64_t count = state.range(0);
    const auto records = makeRecords(count, 2);
    std::shared_ptr<QLXSubtitlesPacketizer> packetizer;
    std::int64_t frame = 0;
    for ([[maybe_unused]] auto _ : state) {
        if (frame % (2 * count) == 0) {
            state.PauseTiming();
            packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true);
            packetizer->setSubtitleRecords(records);
            frame = 0;
            state.ResumeTiming();
        }
        benchmark::DoNotOptimize(makeFrame(*packetizer, frame++));
        benchmark::DoNotOptimize(makeFrame(*packetizer, frame++));
        if (packetizer->lastSubtitleRecord() != records[static_cast<std::size_t>(frame / 2 - 1)]) {
            state.SkipWithError("the timeline does not change on every second frame");
            return;
        }
    }
}

/// Two captions in turn, so that every frame sends a pair.
void cea608Frame(benchmark::State& state) {
    const auto records = makeRecords(2, 2);
    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(1, true);
    std::int64_t frame = 0;
    std::size_t live = 0;
    packetizer->setLiveSubtitleRecordToDisplay(records[live]);
    for ([[maybe_unused]] auto _ : state) {
        const auto sample = makeFrame(*packetizer, frame++);
        if (!sample) {
            state.SkipWithError("a frame without a pair");
            return;
        }
        // The next caption begins as soon as this one has been sent.
        if (packetizer->lastSubtitleRecord() == records[live]) {
            live = 1 - live;
            packetizer->setLiveSubtitleRecordToDisplay(records[live]);
        }
    }
}

/// A million frames with a change on every hundredth: what is allocated and what is left.
void millionFrames(benchmark::State& state) {
    constexpr std::int64_t kFrames = 1'000'000;
    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true);
    packetizer->setSubtitleRecords(makeRecords(kFrames / 100 + 2, 100));
    std::int64_t frame = 0;
    for (; frame < 10; ++frame) {
        (void)makeFrame(*packetizer, frame);
    }
    for ([[maybe_unused]] auto _ : state) {
        const std::int64_t allocated = allocations;
        const std::int64_t living = allocations - deallocations;
        for (; frame < 10 + kFrames; ++frame) {
            (void)makeFrame(*packetizer, frame);
        }
        const std::int64_t made = allocations - allocated;
        const std::int64_t left = allocations - deallocations - living;
        state.counters["allocations/frame"] = static_cast<double>(made) / static_cast<double>(kFrames);
        state.counters["blocks left"] = static_cast<double>(left);
    }
}

constexpr std::size_t kRowPixels = 1920;
constexpr std::size_t kBytesV210 = kRowPixels * 16 / 6;
constexpr std::size_t kBytes2vuy = kRowPixels * 2;
constexpr std::size_t kBlockSize = 148;

std::vector<std::shared_ptr<QLXVANCPacket>> packetsOfARow(bool withOP47) {
    std::vector<std::shared_ptr<QLXVANCPacket>> packets;
    if (withOP47) {
        std::vector<std::uint8_t> block(kBlockSize, 0x15);
        block[2] = kBlockSize;
        packets.push_back(QLXVANCPacket::OP47VANCPacketWithData_lineNumber(block, 12));
    }
    return packets;
}

std::vector<std::uint8_t> rowOf(std::uint32_t format, bool withOP47) {
    if (format == qlx::kPixelFormatV210) {
        std::vector<std::uint8_t> row(kBytesV210, 0x10);
        QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
            row.data(), packetsOfARow(withOP47), row.size(), 12);
        return row;
    }
    // The chroma in front of the flag gives the size of the result.
    std::vector<std::uint8_t> row(kBytes2vuy, kBlockSize);
    QLXCCUtilities::fillYComponentIn8BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
        row.data(), packetsOfARow(withOP47), row.size() - 2, 12);
    return row;
}

/// Times the search in one row with or without a packet.
void searchRow(benchmark::State& state, std::uint32_t format, bool withOP47) {
    const std::vector<std::uint8_t> row = rowOf(format, withOP47);
    const auto search = [&row, format] {
        return QLXCCUtilities::op47PacketFromBuffer_size_bufferFormat_bytesPerRow_lineNumber(row.data(), row.size(),
                                                                                             format, row.size(), 12);
    };
    const std::size_t header = format == qlx::kPixelFormatV210 ? 19 : 0;
    if (search().size() != (withOP47 ? header + kBlockSize : 0)) {
        state.SkipWithError("another packet was found");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(search());
    }
}

void op47InV210(benchmark::State& state) {
    searchRow(state, qlx::kPixelFormatV210, true);
}
void op47In2vuy(benchmark::State& state) {
    searchRow(state, qlx::kPixelFormat2vuy, true);
}
void noOP47InV210(benchmark::State& state) {
    searchRow(state, qlx::kPixelFormatV210, false);
}
void noOP47In2vuy(benchmark::State& state) {
    searchRow(state, qlx::kPixelFormat2vuy, false);
}

/// The luma of a row, whole, before anything is looked for.
std::vector<std::uint16_t> lumaOf(const std::vector<std::uint8_t>& row, std::uint32_t format) {
    std::vector<std::uint16_t> luma;
    if (format == qlx::kPixelFormat2vuy) {
        for (std::size_t index = 1; index < row.size(); index += 2) {
            luma.push_back(row[index]);
        }
        return luma;
    }
    for (std::size_t word = 0; word + 8 <= row.size(); word += 8) {
        luma.push_back(static_cast<std::uint16_t>((row[word + 1] >> 2U | row[word + 2] << 6U) & 0x3FFU));
        luma.push_back(static_cast<std::uint16_t>((row[word + 4] | row[word + 5] << 8U) & 0x3FFU));
        luma.push_back(static_cast<std::uint16_t>((row[word + 6] >> 4U | row[word + 7] << 4U) & 0x3FFU));
    }
    return luma;
}

/// The user data of a packet at the row's beginning, found in luma that was taken out of the row before.
std::vector<std::uint8_t> searchPlainly(const std::vector<std::uint8_t>& row, std::uint32_t format) {
    const std::vector<std::uint16_t> luma = lumaOf(row, format);
    const std::uint16_t all = format == qlx::kPixelFormat2vuy ? 0xFF : 0x3FF;
    std::vector<std::uint8_t> data;
    if (luma[0] == 0 && luma[1] == all && luma[2] == all && (luma[3] & 0xFFU) == 0x43 && (luma[4] & 0xFFU) == 0x02) {
        for (std::size_t index = 0; index < (luma[5] & 0xFFU); ++index) {
            data.push_back(static_cast<std::uint8_t>(luma[6 + index]));
        }
    }
    return data;
}

void searchRowPlainly(benchmark::State& state, std::uint32_t format) {
    const std::vector<std::uint8_t> row = rowOf(format, true);
    if (searchPlainly(row, format).size() != kBlockSize) {
        state.SkipWithError("another packet was found");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(searchPlainly(row, format));
    }
}

void op47InV210Plainly(benchmark::State& state) {
    searchRowPlainly(state, qlx::kPixelFormatV210);
}
void op47In2vuyPlainly(benchmark::State& state) {
    searchRowPlainly(state, qlx::kPixelFormat2vuy);
}

BENCHMARK(op47InV210);
BENCHMARK(op47InV210Plainly);
BENCHMARK(op47In2vuy);
BENCHMARK(op47In2vuyPlainly);
BENCHMARK(noOP47InV210);
BENCHMARK(noOP47In2vuy);
BENCHMARK(filling);
BENCHMARK(fillingPlainly);
BENCHMARK(packetWithFilling);
BENCHMARK(frameWithNothingNew)->Arg(10)->Arg(100000);
BENCHMARK(frameWithNothingNewPlainly);
BENCHMARK(bothFramesOfAChange)->Arg(1000)->Arg(100000);
BENCHMARK(cea608Frame);
BENCHMARK(millionFrames)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
