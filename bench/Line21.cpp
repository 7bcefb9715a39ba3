// Line 21 drawn into pictures and read back, transfers included, with a plain baseline.
#include <QLXClosedCaptionsUtilities/QLXCEA608ReaderWriter.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <vector>

namespace {

using Picture = std::shared_ptr<qlx::PixelBuffer>;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kWidth = 1920;
constexpr std::size_t kRows = 1080;
constexpr std::uint8_t kPair[] = {0x94, 0x2C};

Picture picture(std::uint32_t format) {
    Picture made;
    qlx::services().get<qlx::PixelBufferFactory>().createPixelBuffer(kWidth, kRows, format, &made);
    return made;
}

std::shared_ptr<qlx::SampleBuffer> sampleOf(Picture image) {
    auto sample = std::make_shared<qlx::SampleBuffer>();
    sample->imageBuffer = std::move(image);
    return sample;
}

void overlay(QLXCEA608ReaderWriter& writer, const Picture& video) {
    writer.overlayCEA608FromCCBuffer_size_intoPixelBuffer(kPair, sizeof(kPair), video);
}

/// What a straightforward program does: make the line's levels anew for every frame, and convert each pixel in
/// floating point (ITU-R BT.709).
void overlayPlainly(const Picture& video) {
    const auto level = [](std::size_t row, std::size_t x) -> double {
        if (row == 0 || x < 13) {
            return 0;
        }
        if (x < 202) {
            return std::trunc((std::sin(static_cast<double>((x - 13) % 27) * 0.23271056693257727) + 1.0) * 63.5);
        }
        if (x < 248 || x >= 274 + 16 * 27) {
            return 0;
        }
        if (x < 274) {
            return 127;
        }
        const std::size_t bit = (x - 274) / 27;
        const unsigned byte = row == 2 ? 0x80U : kPair[bit / 8];
        return (byte >> bit % 8 & 1U) != 0 ? 127 : 0;
    };
    for (std::size_t row = 0; row < 3; ++row) {
        std::vector<double> levels(kWidth);
        for (std::size_t x = 0; x < kWidth; ++x) {
            levels[x] = level(row, x);
        }
        std::uint8_t* const bytes = video->row(row);
        for (std::size_t x = 0; x < kWidth; ++x) {
            const double luma = 0.2126 * levels[x] + 0.7152 * levels[x] + 0.0722 * levels[x];
            const double color = (levels[x] - luma) / 1.8556;
            bytes[2 * x] = static_cast<std::uint8_t>(std::lround(128 + 224.0 / 255.0 * color));
            bytes[2 * x + 1] = static_cast<std::uint8_t>(std::lround(16 + 219.0 / 255.0 * luma));
        }
    }
}

/// Rows 1 and 2 as BGRA in floating point, then the blue byte in the middle of each cell.
Bytes readPlainly(const Picture& video) {
    Bytes result(4);
    for (std::size_t row = 1; row < 3; ++row) {
        const std::uint8_t* const bytes = video->row(row);
        Bytes bgra(kWidth * 4);
        const auto clamped = [](double value) {
            return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
        };
        for (std::size_t x = 0; x < kWidth; ++x) {
            const double luma = (bytes[2 * x + 1] - 16) * 255.0 / 219.0;
            const double cb = (bytes[x / 2 * 4] - 128) * 255.0 / 224.0;
            const double cr = (bytes[x / 2 * 4 + 2] - 128) * 255.0 / 224.0;
            bgra[4 * x] = clamped(luma + 1.8556 * cb);
            bgra[4 * x + 1] = clamped(luma - 0.1873 * cb - 0.4681 * cr);
            bgra[4 * x + 2] = clamped(luma + 1.5748 * cr);
            bgra[4 * x + 3] = 255;
        }
        for (std::size_t bit = 0; bit < 16; ++bit) {
            if (bgra[4 * (288 + 27 * bit)] > 48) {
                const std::size_t byte = row - 1 + bit / 8;
                result[byte] = static_cast<std::uint8_t>(result[byte] | 1U << bit % 8);
            }
        }
    }
    return result;
}

Bytes read(QLXCEA608ReaderWriter& reader, const std::shared_ptr<qlx::SampleBuffer>& sample) {
    const auto caption = reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(sample);
    return caption ? Bytes(caption->dataBuffer->data(), caption->dataBuffer->data() + caption->dataBuffer->size())
                   : Bytes{};
}

/// Noise in the rows that are read: no two neighbouring pairs are equal.
Picture noisyPicture(std::uint32_t format) {
    Picture made = picture(format);
    std::uint32_t state = 1;
    for (std::size_t index = 0; index < 3 * made->bytesPerRow(); ++index) {
        state = state * 1664525U + 1013904223U;
        made->baseAddress()[index] = static_cast<std::uint8_t>(state >> 24U);
    }
    return made;
}

/// Ends the program when the library and the baselines do not agree.
void requireEqualResults() {
    QLXCEA608ReaderWriter writer;
    const Picture fast = picture(qlx::kPixelFormat2vuy);
    const Picture plain = picture(qlx::kPixelFormat2vuy);
    overlay(writer, fast);
    overlayPlainly(plain);
    const bool drawnEqually =
        std::equal(fast->baseAddress(), fast->baseAddress() + fast->dataSize(), plain->baseAddress());
    if (!drawnEqually || read(writer, sampleOf(fast)) != readPlainly(fast)) {
        std::cerr << "bench_Line21: the results differ from those of the baseline\n";
        std::exit(1);
    }
}

[[maybe_unused]] const bool kResultsAreEqual = (requireEqualResults(), true);

void drawPair(benchmark::State& state, std::uint32_t format) {
    QLXCEA608ReaderWriter writer;
    const Picture video = picture(format);
    for (auto _ : state) {
        overlay(writer, video);
        benchmark::ClobberMemory();
    }
}

void drawPairPlainly(benchmark::State& state) {
    const Picture video = picture(qlx::kPixelFormat2vuy);
    for (auto _ : state) {
        overlayPlainly(video);
        benchmark::ClobberMemory();
    }
}

void readPair(benchmark::State& state, const Picture& video) {
    QLXCEA608ReaderWriter reader;
    overlay(reader, video);
    const auto sample = sampleOf(video);
    for (auto _ : state) {
        benchmark::DoNotOptimize(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(sample));
    }
}

void readNoise(benchmark::State& state, std::uint32_t format) {
    QLXCEA608ReaderWriter reader;
    const auto sample = sampleOf(noisyPicture(format));
    for (auto _ : state) {
        benchmark::DoNotOptimize(reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(sample));
    }
}

void readPairPlainly(benchmark::State& state) {
    QLXCEA608ReaderWriter writer;
    const Picture video = picture(qlx::kPixelFormat2vuy);
    overlay(writer, video);
    for (auto _ : state) {
        benchmark::DoNotOptimize(readPlainly(video));
    }
}

}  // namespace

BENCHMARK_CAPTURE(drawPair, 2vuy_1920, qlx::kPixelFormat2vuy)->Unit(benchmark::kMicrosecond);
BENCHMARK(drawPairPlainly)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(drawPair, v210_1920, qlx::kPixelFormatV210)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(drawPair, 420v_1920, qlx::kPixelFormat420v)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(drawPair, ARGB_1920, qlx::kPixelFormatARGB)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(readPair, 2vuy_1920, picture(qlx::kPixelFormat2vuy))->Unit(benchmark::kMicrosecond);
BENCHMARK(readPairPlainly)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(readPair, v210_1920, picture(qlx::kPixelFormatV210))->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(readPair, 420v_1920, picture(qlx::kPixelFormat420v))->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(readNoise, 2vuy_1920, qlx::kPixelFormat2vuy)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(readNoise, v210_1920, qlx::kPixelFormatV210)->Unit(benchmark::kMicrosecond);
