#include "facade/Line21Picture.h"

#include "line21/Waveform.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace qlx::facade::line21 {

namespace {

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
    std::vector<std::uint8_t> pixels;
    pixels.reserve(kRunInBytes);
    for (const std::uint8_t level : qlx::line21::detail::runInLevels()) {
        append(pixels, 1, level);
    }
    return pixels;
}

std::vector<std::uint8_t> cell(bool value) {
    std::vector<std::uint8_t> pixels;
    pixels.reserve(kCellBytes);
    append(pixels, kCellPixels, qlx::line21::detail::levelOf(value));
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
    // The middle of the first cell, its blue.
    constexpr std::size_t kFirstSample = (qlx::line21::kDataBits + qlx::line21::kCellSample) * kPixelBytes;
    constexpr std::size_t kBits = 8;
    // Deployed readers shift by the cell's number modulo 32, so that cells 40 to 47 of a very wide row meet the second
    // byte again; kept.
    constexpr std::size_t kShiftModulus = 32;
    std::size_t cellNumber = 0;
    for (std::size_t offset = kFirstSample; offset < row.size(); offset += kCellBytes, ++cellNumber) {
        const unsigned bit = row[offset] > qlx::line21::kGreatestZero ? 1U : 0U;
        const std::size_t shift = cellNumber < kBits ? cellNumber : (cellNumber - kBits) % kShiftModulus;
        if (shift < kBits) {
            std::uint8_t& byte = bytes[cellNumber < kBits ? 0 : 1];
            byte = static_cast<std::uint8_t>(byte | bit << shift);
        }
    }
}

}  // namespace qlx::facade::line21
