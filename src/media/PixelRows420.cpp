#include "media/PixelPairs.h"

namespace qlx::pixels {

namespace {

constexpr std::size_t kChromaBytes = 2;  ///< Cb and Cr of two columns.

void storeChroma(std::uint8_t* bytes, const Chroma& chroma, bool joins) {
    if (joins) {
        bytes[0] = static_cast<std::uint8_t>((bytes[0] + chroma.cb + 1) / 2);
        bytes[1] = static_cast<std::uint8_t>((bytes[1] + chroma.cr + 1) / 2);
    } else {
        bytes[0] = static_cast<std::uint8_t>(chroma.cb);
        bytes[1] = static_cast<std::uint8_t>(chroma.cr);
    }
}

}  // namespace

void planar420ToBGRA(const SourceRow& row, std::size_t width, const ColorMatrix& matrix, std::uint8_t* bgra) {
    const std::uint8_t* luma = row.first;
    const std::uint8_t* chroma = row.second;
    const std::size_t pairs = width / 2;
    for (std::size_t pair = 0; pair < pairs; ++pair, luma += 2, chroma += kChromaBytes, bgra += kPairBytes) {
        if (pair != 0 && loadWord<std::uint16_t>(luma) == loadWord<std::uint16_t>(luma - 2) &&
            loadWord<std::uint16_t>(chroma) == loadWord<std::uint16_t>(chroma - kChromaBytes)) {
            std::memcpy(bgra, bgra - kPairBytes, kPairBytes);
        } else {
            storePair(bgra, pairOfBytes(luma[0], luma[1], chroma[0], chroma[1]), matrix);
        }
    }
    if (width % 2 != 0) {
        storeFirst(bgra, pairOfBytes(luma[0], 0, chroma[0], chroma[1]), matrix);
    }
}

void planar420FromBGRA(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& matrix,
                       const DestinationRow& row) {
    std::uint8_t* luma = row.first;
    std::uint8_t* chroma = row.second;
    const std::size_t pairs = width / 2;
    PixelPair samples;
    for (std::size_t pair = 0; pair < pairs; ++pair, luma += 2, chroma += kChromaBytes, bgra += kPairBytes) {
        if (pair == 0 || loadWord<std::uint64_t>(bgra) != loadWord<std::uint64_t>(bgra - kPairBytes)) {
            samples = pairFromBGRA<8>(bgra, matrix);
        }
        luma[0] = static_cast<std::uint8_t>(samples.luma0);
        luma[1] = static_cast<std::uint8_t>(samples.luma1);
        storeChroma(chroma, samples.chroma, row.sharesSecondWithRowAbove);
    }
    if (width % 2 != 0) {
        const PixelPair single = singleFromBGRA<8>(bgra, matrix);
        luma[0] = static_cast<std::uint8_t>(single.luma0);
        storeChroma(chroma, single.chroma, row.sharesSecondWithRowAbove);
    }
}

}  // namespace qlx::pixels
