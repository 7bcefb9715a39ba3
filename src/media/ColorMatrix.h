// Full-range RGB and video-range Y'CbCr in integers, by the matrices of ITU-R BT.601 and BT.709.
//
// Samples of 8 and of 10 bits differ by a factor of 4 alone (black 16 and 64, no colour 128 and 512), so that the
// arithmetic on the way to RGB knows 10 bits only.
#pragma once

#include "base/Bytes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace qlx::pixels {

namespace fixed {

inline constexpr int kToYCbCrShift = 16;  ///< Fraction bits of the factors from RGB to 8-bit samples.
inline constexpr int kToRGBShift = 18;    ///< Fraction bits of the factors from 10-bit samples to RGB.

/// The nearest multiple of 2^-shift, as an integer.
[[nodiscard]] constexpr int factor(double value, int shift) noexcept {
    const double scaled = value * static_cast<double>(1 << shift);
    return static_cast<int>(scaled < 0 ? scaled - 0.5 : scaled + 0.5);
}

}  // namespace fixed

/// The factors of one standard in fixed point.
struct ColorMatrix {
    int yR, yG, yB;     ///< RGB to luma.
    int cbR, cbG, cbB;  ///< RGB to Cb; their sum is 0, so that a grey has no colour.
    int crR, crG, crB;  ///< RGB to Cr; likewise.
    int y;              ///< Luma to each of RGB.
    int rCr, gCb, gCr, bCb;

    /// The matrix of the luma weights `kr` and `kb` of red and blue.
    [[nodiscard]] static constexpr ColorMatrix ofWeights(double kr, double kb) noexcept {
        using fixed::factor;
        using fixed::kToRGBShift;
        using fixed::kToYCbCrShift;
        constexpr double kLumaRange = 219.0 / 255.0;
        constexpr double kChromaRange = 224.0 / 255.0;
        const double kg = 1.0 - kr - kb;
        const double cb = kChromaRange / (2.0 * (1.0 - kb));
        const double cr = kChromaRange / (2.0 * (1.0 - kr));
        ColorMatrix matrix{};
        matrix.yR = factor(kLumaRange * kr, kToYCbCrShift);
        matrix.yB = factor(kLumaRange * kb, kToYCbCrShift);
        matrix.yG = factor(kLumaRange, kToYCbCrShift) - matrix.yR - matrix.yB;
        matrix.cbR = factor(-kr * cb, kToYCbCrShift);
        matrix.cbB = factor((1.0 - kb) * cb, kToYCbCrShift);
        matrix.cbG = -matrix.cbR - matrix.cbB;
        matrix.crR = factor((1.0 - kr) * cr, kToYCbCrShift);
        matrix.crB = factor(-kb * cr, kToYCbCrShift);
        matrix.crG = -matrix.crR - matrix.crB;
        constexpr double kLuma10 = 4.0 * 219.0;
        constexpr double kChroma10 = 4.0 * 224.0;
        matrix.y = factor(255.0 / kLuma10, kToRGBShift);
        matrix.rCr = factor(255.0 / kChroma10 * 2.0 * (1.0 - kr), kToRGBShift);
        matrix.bCb = factor(255.0 / kChroma10 * 2.0 * (1.0 - kb), kToRGBShift);
        matrix.gCb = factor(-255.0 / kChroma10 * 2.0 * (1.0 - kb) * kb / kg, kToRGBShift);
        matrix.gCr = factor(-255.0 / kChroma10 * 2.0 * (1.0 - kr) * kr / kg, kToRGBShift);
        return matrix;
    }
};

inline constexpr ColorMatrix kMatrixBT601 = ColorMatrix::ofWeights(0.299, 0.114);
inline constexpr ColorMatrix kMatrixBT709 = ColorMatrix::ofWeights(0.2126, 0.0722);

/// The matrix of a whole picture of `rows` rows.
[[nodiscard]] constexpr const ColorMatrix& matrixForRows(std::size_t rows) noexcept {
    constexpr std::size_t kFirstHighDefinition = 720;
    return rows < kFirstHighDefinition ? kMatrixBT601 : kMatrixBT709;
}

/// Red, green and blue; the sum of two pixels' where a chroma sample stands for both.
struct RGB {
    int red = 0;
    int green = 0;
    int blue = 0;

    [[nodiscard]] static constexpr RGB ofBGRA(const std::uint8_t* pixel) noexcept {
        return {pixel[2], pixel[1], pixel[0]};
    }
    [[nodiscard]] friend constexpr RGB operator+(const RGB& left, const RGB& right) noexcept {
        return {left.red + right.red, left.green + right.green, left.blue + right.blue};
    }
};

/// The luma sample of `bits` bits, 16 to 235 or 64 to 940.
template <int bits>
[[nodiscard]] constexpr std::uint16_t lumaOf(const RGB& rgb, const ColorMatrix& matrix) noexcept {
    constexpr int kShift = fixed::kToYCbCrShift - (bits - 8);
    constexpr int kOffset = (16 << fixed::kToYCbCrShift) + (1 << (kShift - 1));
    return static_cast<std::uint16_t>((matrix.yR * rgb.red + matrix.yG * rgb.green + matrix.yB * rgb.blue + kOffset) >>
                                      kShift);
}

struct Chroma {
    std::uint16_t cb = 0;
    std::uint16_t cr = 0;
};

/// The chroma samples of `bits` bits for the sum of two pixels, 16 to 240 or 64 to 960.
template <int bits>
[[nodiscard]] constexpr Chroma chromaOf(const RGB& sum, const ColorMatrix& matrix) noexcept {
    constexpr int kShift = fixed::kToYCbCrShift + 1 - (bits - 8);
    constexpr int kOffset = (128 << (fixed::kToYCbCrShift + 1)) + (1 << (kShift - 1));
    const int cb = matrix.cbR * sum.red + matrix.cbG * sum.green + matrix.cbB * sum.blue;
    const int cr = matrix.crR * sum.red + matrix.crG * sum.green + matrix.crB * sum.blue;
    return {static_cast<std::uint16_t>((cb + kOffset) >> kShift), static_cast<std::uint16_t>((cr + kOffset) >> kShift)};
}

/// What the chroma of 10 bits adds to each of RGB, in fixed point and with half a step for rounding.
[[nodiscard]] constexpr RGB colorOf(int cb, int cr, const ColorMatrix& matrix) noexcept {
    constexpr int kNoColor = 512;
    constexpr int kHalf = 1 << (fixed::kToRGBShift - 1);
    const int blueness = cb - kNoColor;
    const int redness = cr - kNoColor;
    return {matrix.rCr * redness + kHalf, matrix.gCb * blueness + matrix.gCr * redness + kHalf,
            matrix.bCb * blueness + kHalf};
}

/// How far samples of 10 bits can lead below 0, at most; above 255 they lead less far than twice that.
inline constexpr int kMargin = 320;

/// The components from -kMargin on, limited to 0 to 255.
inline constexpr auto kLimited = []() {
    std::array<std::uint8_t, std::size_t{3} * kMargin> components{};
    int value = -kMargin;
    for (std::uint8_t& component : components) {
        component = static_cast<std::uint8_t>(std::min(std::max(value, 0), 255));
        ++value;
    }
    return components;
}();

/// A component in fixed point as 0 to 255; from a table, which costs less than two comparisons.
[[nodiscard]] constexpr std::uint32_t componentOf(int value) noexcept {
    const int index = (value >> fixed::kToRGBShift) + kMargin;
    return kLimited[static_cast<std::size_t>(index)];
}

/// The opaque pixel of a luma sample of 10 bits, its first byte blue.
constexpr void storeBGRA(std::uint8_t* pixel, int luma, const RGB& color, const ColorMatrix& matrix) noexcept {
    constexpr int kBlack = 64;
    const int grey = (luma - kBlack) * matrix.y;
    constexpr std::uint32_t kOpaque = 0xFF000000U;
    storeLittle32(pixel, componentOf(grey + color.blue) | componentOf(grey + color.green) << 8U |
                             componentOf(grey + color.red) << 16U | kOpaque);
}

}  // namespace qlx::pixels
