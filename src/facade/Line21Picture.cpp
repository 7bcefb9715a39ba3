#include "facade/Line21Picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <initializer_list>

namespace qlx::facade::line21 {

namespace {

constexpr std::uint8_t kHigh = 127;  ///< Grey of a 1: about half of white, the amplitude that CTA-608 asks for.

using Pixel = std::array<std::uint8_t, kPixelBytes>;

constexpr Pixel grey(std::uint8_t level) {
    return {level, level, level, 255};
}

void append(std::vector<std::uint8_t>& pixels, std::size_t count, std::uint8_t level) {
    const Pixel pixel = grey(level);
    for (std::size_t index = 0; index < count; ++index) {
        pixels.insert(pixels.end(), pixel.begin(), pixel.end());
    }
}

/// Copies as much of `part` as fits, and gives what is left of the row.
std::span<std::uint8_t> copied(std::span<const std::uint8_t> part, std::span<std::uint8_t> row) noexcept {
    const std::size_t count = std::min(part.size(), row.size());
    std::copy_n(part.begin(), count, row.begin());
    return row.subspan(count);
}

}  // namespace

std::vector<std::uint8_t> runIn() {
    constexpr std::size_t kLeadPixels = 13;
    constexpr std::size_t kCycles = 7;
    constexpr double kStep = 0.23271056693257727;  // One 27th of a turn.
    constexpr std::size_t kZeroBitsPixels = 46;    // Two start bits, shortened.
    constexpr std::size_t kOneBitPixels = 26;
    std::vector<std::uint8_t> pixels;
    pixels.reserve(kRunInBytes);
    append(pixels, kLeadPixels, 0);
    for (std::size_t cycle = 0; cycle < kCycles; ++cycle) {
        for (std::size_t pixel = 0; pixel < kCellPixels; ++pixel) {
            const double level = (std::sin(static_cast<double>(pixel) * kStep) + 1.0) * 0.5 * 127.0;
            append(pixels, 1, static_cast<std::uint8_t>(level));
        }
    }
    append(pixels, kZeroBitsPixels, 0);
    append(pixels, kOneBitPixels, kHigh);
    return pixels;
}

std::vector<std::uint8_t> cell(bool value) {
    std::vector<std::uint8_t> pixels;
    pixels.reserve(kCellBytes);
    append(pixels, kCellPixels, value ? kHigh : 0);
    return pixels;
}

void drawBlack(std::span<std::uint8_t> row) noexcept {
    constexpr Pixel kBlack = grey(0);
    for (; row.size() >= kPixelBytes; row = row.subspan(kPixelBytes)) {
        std::memcpy(row.data(), kBlack.data(), kPixelBytes);
    }
    copied(kBlack, row);
}

void drawPair(std::span<std::uint8_t> row, const Parts& parts, std::uint8_t first, std::uint8_t second) noexcept {
    row = copied(parts.runIn, row);
    for (const std::uint8_t byte : {first, second}) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            row = copied((byte >> bit & 1U) != 0 ? parts.one : parts.zero, row);
        }
    }
    drawBlack(row);
}

void readCells(std::span<const std::uint8_t> row, std::span<std::uint8_t> bytes) noexcept {
    constexpr std::size_t kFirstSample = 288 * kPixelBytes;  // The middle of the first cell, its blue.
    constexpr std::uint8_t kThreshold = 48;
    constexpr std::size_t kBits = 8;
    // Deployed readers shift by the cell's number modulo 32, so that cells 40 to 47 of a very wide row meet the second
    // byte again; kept.
    constexpr std::size_t kShiftModulus = 32;
    std::size_t cellNumber = 0;
    for (std::size_t offset = kFirstSample; offset < row.size(); offset += kCellBytes, ++cellNumber) {
        const unsigned bit = row[offset] > kThreshold ? 1U : 0U;
        const std::size_t shift = cellNumber < kBits ? cellNumber : (cellNumber - kBits) % kShiftModulus;
        if (shift < kBits) {
            std::uint8_t& byte = bytes[cellNumber < kBits ? 0 : 1];
            byte = static_cast<std::uint8_t>(byte | bit << shift);
        }
    }
}

}  // namespace qlx::facade::line21
