// The words of a channel of a row, whatever its format.
#pragma once

#include <qlx/anc/row.h>

#include "v210/V210Samples.h"

namespace qlx::anc::detail {

/// The words of one channel of a `2vuy` row: every sample, or every second one from `kFirst` on.
template <Channel channel>
struct BytesOfRow {
    static constexpr std::size_t kStep = channel == Channel::SdMultiplex ? 1 : 2;
    static constexpr std::size_t kFirst = channel == Channel::Luma ? 1 : 0;

    [[nodiscard]] static std::uint16_t at(const std::uint8_t* row, std::size_t index) noexcept {
        return row[kFirst + index * kStep];
    }
    static void set(std::uint8_t* row, std::size_t index, std::uint16_t word) noexcept {
        row[kFirst + index * kStep] = static_cast<std::uint8_t>(word);
    }
    template <class Take>
    static void each(const std::uint8_t* row, std::size_t first, std::size_t end, Take take) {
        for (; first < end; ++first) {
            take(at(row, first));
        }
    }
    [[nodiscard]] static std::uint32_t sum(const std::uint8_t* row, std::size_t first, std::size_t end) noexcept {
        std::uint32_t sum = 0;
        each(row, first, end, [&sum](std::uint16_t word) { sum += word; });
        return sum;
    }
};

/// Calls `use(words)` with the class that reads and writes the words of such a row's channel (at, set, each, sum).
template <class Use>
decltype(auto) withWords(RowFormat format, Channel channel, Use use) {
    if (format == RowFormat::V210) {
        switch (channel) {
        case Channel::Luma:
            return use(v210::Samples<v210::Stream::Luma>());
        case Channel::Chroma:
            return use(v210::Samples<v210::Stream::Chroma>());
        default:
            return use(v210::Samples<v210::Stream::All>());
        }
    }
    switch (channel) {
    case Channel::Luma:
        return use(BytesOfRow<Channel::Luma>());
    case Channel::Chroma:
        return use(BytesOfRow<Channel::Chroma>());
    default:
        return use(BytesOfRow<Channel::SdMultiplex>());
    }
}

/// Samples, luma and chroma, that such a row of `bytes` bytes has.
[[nodiscard]] constexpr std::size_t samplesOf(RowFormat format, std::size_t bytes, std::size_t width) noexcept {
    const std::size_t there = format == RowFormat::V210 ? bytes / v210::kWordBytes * v210::kSamplesOfWord : bytes;
    const std::size_t pairs = width / 2 + width % 2;
    return width == 0 || pairs > there / 4 ? there : 4 * pairs;
}

/// Bytes that a row of `width` pixels needs at least: whole 32-bit words of its last group.
[[nodiscard]] constexpr std::size_t leastRowBytes(RowFormat format, std::size_t width) noexcept {
    const std::size_t samples = (width / 2 + width % 2) * 4;
    const std::size_t words = (samples + v210::kSamplesOfWord - 1) / v210::kSamplesOfWord;
    return format == RowFormat::V210 ? words * v210::kWordBytes : samples;
}

/// The byte of a row at which the word of a sample begins.
[[nodiscard]] constexpr std::size_t byteOf(RowFormat format, std::size_t sample) noexcept {
    return format == RowFormat::V210 ? sample / v210::kSamplesOfWord * v210::kWordBytes : sample;
}

/// The sample of a row that is the word `index` of a channel.
[[nodiscard]] constexpr std::size_t sampleOf(Channel channel, std::size_t index) noexcept {
    return channel == Channel::SdMultiplex ? index : 2 * index + (channel == Channel::Luma ? 1 : 0);
}

/// Words of a channel of a row of `samples` samples.
[[nodiscard]] constexpr std::size_t wordsOf(Channel channel, std::size_t samples) noexcept {
    switch (channel) {
    case Channel::Luma:
        return samples / 2;
    case Channel::Chroma:
        return samples - samples / 2;
    default:
        return samples;
    }
}

}  // namespace qlx::anc::detail
