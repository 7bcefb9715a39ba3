// Line 21 as BGRA pixels (CTA-608): run-in, start bits and sixteen bit cells, and the picture of three lines that holds
// them.
#pragma once

#include <qlx/line21/line21.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qlx::facade::line21 {

inline constexpr std::size_t kPixelBytes = 4;
inline constexpr std::size_t kCellPixels = qlx::line21::kCellPixels;
inline constexpr std::size_t kCellBytes = kCellPixels * kPixelBytes;
inline constexpr std::size_t kRunInPixels = qlx::line21::kDataBits;
inline constexpr std::size_t kRunInBytes = kRunInPixels * kPixelBytes;
inline constexpr std::size_t kRows = 3;  ///< Of the picture of lines.

/// The pixels before the data bits.
[[nodiscard]] std::vector<std::uint8_t> runIn();

/// The pixels of one bit.
[[nodiscard]] std::vector<std::uint8_t> cell(bool value);

/// The parts that lines are put together from.
struct Parts {
    std::span<const std::uint8_t> runIn;
    std::span<const std::uint8_t> one;
    std::span<const std::uint8_t> zero;
};

/// Makes all of `row` black.
void drawBlack(std::span<std::uint8_t> row) noexcept;

/// Draws run-in and two bytes, least significant bit first, and black up to the row's end, where cells are cut.
/// @param row At least as long as the run-in.
void drawPair(std::span<std::uint8_t> row, const Parts& parts, std::uint8_t first, std::uint8_t second) noexcept;

/// The bytes that rows 1 and 2 of a picture of lines add to a caption sample.
inline constexpr std::size_t kSampleBytes = 4;

/// ORs the cells of `row` into the bytes of a sample, bits 0 to 7 into `bytes[0]`.
/// @param bytes At least two.
void readCells(std::span<const std::uint8_t> row, std::span<std::uint8_t> bytes) noexcept;

}  // namespace qlx::facade::line21
