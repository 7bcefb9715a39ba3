// Two neighbouring pixels, which the subsampled formats share one Cb and Cr between.
//
// A drawn picture has long runs of one colour: a pair that equals the one before is copied from its result.
#pragma once

#include "media/PixelRows.h"

#include <cstring>

namespace qlx::pixels {

inline constexpr std::size_t kPairBytes = 2 * kBGRABytes;

/// Two pixels in samples of `bits` bits.
struct PixelPair {
    std::uint16_t luma0 = 0;
    std::uint16_t luma1 = 0;
    Chroma chroma;
};

template <int bits>
[[nodiscard]] constexpr PixelPair pairFromBGRA(const std::uint8_t* bgra, const ColorMatrix& matrix) noexcept {
    const RGB first = RGB::ofBGRA(bgra);
    const RGB second = RGB::ofBGRA(bgra + kBGRABytes);
    return {lumaOf<bits>(first, matrix), lumaOf<bits>(second, matrix), chromaOf<bits>(first + second, matrix)};
}

/// A row's last pixel where it has no neighbour; luma1 is 0.
template <int bits>
[[nodiscard]] constexpr PixelPair singleFromBGRA(const std::uint8_t* bgra, const ColorMatrix& matrix) noexcept {
    const RGB only = RGB::ofBGRA(bgra);
    return {lumaOf<bits>(only, matrix), 0, chromaOf<bits>(only + only, matrix)};
}

/// Both pixels of a pair of 10 bits.
constexpr void storePair(std::uint8_t* bgra, const PixelPair& pair, const ColorMatrix& matrix) noexcept {
    const RGB color = colorOf(pair.chroma.cb, pair.chroma.cr, matrix);
    storeBGRA(bgra, pair.luma0, color, matrix);
    storeBGRA(bgra + kBGRABytes, pair.luma1, color, matrix);
}

/// The first pixel of a pair of 10 bits.
constexpr void storeFirst(std::uint8_t* bgra, const PixelPair& pair, const ColorMatrix& matrix) noexcept {
    storeBGRA(bgra, pair.luma0, colorOf(pair.chroma.cb, pair.chroma.cr, matrix), matrix);
}

/// Samples of 8 bits as the same ones of 10 bits.
[[nodiscard]] constexpr PixelPair pairOfBytes(std::uint8_t luma0, std::uint8_t luma1, std::uint8_t cb,
                                              std::uint8_t cr) noexcept {
    constexpr unsigned kScale = 4;
    return {static_cast<std::uint16_t>(luma0 * kScale),
            static_cast<std::uint16_t>(luma1 * kScale),
            {static_cast<std::uint16_t>(cb * kScale), static_cast<std::uint16_t>(cr * kScale)}};
}

/// The next bytes in the machine's own order, only to be compared.
template <class Word>
[[nodiscard]] Word loadWord(const std::uint8_t* bytes) noexcept {
    Word word;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

}  // namespace qlx::pixels
