// The samples of a 10-bit packed 4:2:2 row (`v210`) as streams: luma, chroma, or all of them in turn.
#pragma once

#include "v210/V210Group.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace qlx::v210 {

inline constexpr std::size_t kSamplesOfWord = 3;

/// A stream of a row's samples.
enum class Stream {
    Luma,    ///< Y0 Y1 Y2 ...
    Chroma,  ///< Cb0 Cr0 Cb1 Cr1 ...
    All,     ///< Cb0 Y0 Cr0 Y1 ...
};

/// Where a sample is in a unit, the words in which a stream's samples stand at the same places as in the next ones.
struct Place {
    std::size_t word;
    unsigned shift;
};

/// The samples of one stream, three in each unit.
template <Stream stream>
struct Samples {
    static constexpr std::size_t kOfUnit = 3;
    static constexpr std::size_t kUnitBytes = (stream == Stream::All ? 1 : 2) * kWordBytes;
    static constexpr std::array<Place, kOfUnit> kPlaces =
        stream == Stream::Luma     ? std::array<Place, kOfUnit>{{{0, 10}, {1, 0}, {1, 20}}}
        : stream == Stream::Chroma ? std::array<Place, kOfUnit>{{{0, 0}, {0, 20}, {1, 10}}}
                                   : std::array<Place, kOfUnit>{{{0, 0}, {0, 10}, {0, 20}}};

    /// The sample `index` of the row.
    [[nodiscard]] static constexpr std::uint16_t at(const std::uint8_t* row, std::size_t index) noexcept {
        return inUnit(row + index / kOfUnit * kUnitBytes, kPlaces[index % kOfUnit]);
    }

    /// Changes the sample `index` of the row and no other bit.
    static constexpr void set(std::uint8_t* row, std::size_t index, std::uint16_t sample) noexcept {
        const Place place = kPlaces[index % kOfUnit];
        std::uint8_t* const word = row + index / kOfUnit * kUnitBytes + place.word * kWordBytes;
        const std::uint32_t others = loadLittle32(word) & ~(std::uint32_t{0x3FF} << place.shift);
        storeLittle32(word, others | std::uint32_t{sample} << place.shift);
    }

    /// Calls `take(sample)` for the samples from `first` up to, not including, `end`.
    template <class Take>
    static constexpr void each(const std::uint8_t* row, std::size_t first, std::size_t end, Take take) {
        for (; first < end && first % kOfUnit != 0; ++first) {
            take(at(row, first));
        }
        const std::uint8_t* unit = row + first / kOfUnit * kUnitBytes;
        for (; end - first >= kOfUnit; first += kOfUnit, unit += kUnitBytes) {
            // All three are read before the first is given away: what takes it may write bytes.
            const std::array<std::uint16_t, kOfUnit> samples{inUnit(unit, kPlaces[0]), inUnit(unit, kPlaces[1]),
                                                             inUnit(unit, kPlaces[2])};
            take(samples[0]);
            take(samples[1]);
            take(samples[2]);
        }
        for (; first < end; ++first) {
            take(at(row, first));
        }
    }

    /// The sum of the samples from `first` up to, not including, `end`, modulo 4096. For at most 3072 of them: what the
    /// sum of the first samples carries would get among the third ones.
    [[nodiscard]] static constexpr std::uint32_t sum(const std::uint8_t* row, std::size_t first,
                                                     std::size_t end) noexcept {
        std::uint32_t middle = 0;
        std::uint32_t outer = 0;  // Of first samples from bit 0 on, of third ones from bit 20 on.
        for (; first < end && first % kOfUnit != 0; ++first) {
            middle += at(row, first);
        }
        const std::uint8_t* unit = row + first / kOfUnit * kUnitBytes;
        for (; end - first >= kOfUnit; first += kOfUnit, unit += kUnitBytes) {
            middle += middleSample(loadLittle32(unit + kMiddleWord * kWordBytes));
            outer += loadLittle32(unit + kOuterWord * kWordBytes) & 0x3FF0'03FFU;
        }
        for (; first < end; ++first) {
            middle += at(row, first);
        }
        return (middle + (outer & 0xF'FFFFU) + (outer >> 20U)) & 0xFFFU;
    }

private:
    static constexpr std::size_t kMiddleWord = stream == Stream::Chroma ? 1 : 0;
    static constexpr std::size_t kOuterWord = stream == Stream::Luma ? 1 : 0;

    [[nodiscard]] static constexpr std::uint16_t inUnit(const std::uint8_t* unit, Place place) noexcept {
        return static_cast<std::uint16_t>(loadLittle32(unit + place.word * kWordBytes) >> place.shift & 0x3FFU);
    }
};

}  // namespace qlx::v210
