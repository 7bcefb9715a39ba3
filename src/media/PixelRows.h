// The pixel formats: how the rows of each lie in memory, and one row of each as BGRA and back.
#pragma once

#include "media/ColorMatrix.h"

#include <cstddef>
#include <cstdint>

namespace qlx::pixels {

/// Where a row begins in the first plane and in the second, if the format has one.
struct SourceRow {
    const std::uint8_t* first = nullptr;
    const std::uint8_t* second = nullptr;
};

struct DestinationRow {
    std::uint8_t* first = nullptr;
    std::uint8_t* second = nullptr;
    bool sharesSecondWithRowAbove = false;  ///< The second holds the chroma of the row above, which this one joins.
};

/// One pixel format.
struct Format {
    std::uint32_t code;
    bool twoPlanes;
    std::size_t (*bytesOfRow)(std::size_t width);          ///< What the pixels of a row of the first plane take.
    std::size_t (*defaultBytesPerRow)(std::size_t width);  ///< The stride of a picture made here, first plane.
    void (*toBGRA)(const SourceRow& row, std::size_t width, const ColorMatrix& matrix, std::uint8_t* bgra);
    void (*fromBGRA)(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& matrix, const DestinationRow& row);
};

/// The format of that code; null for one that is not known.
[[nodiscard]] const Format* formatOf(std::uint32_t code) noexcept;

/// Bytes that the chroma of a row takes in the second plane.
[[nodiscard]] constexpr std::size_t bytesOfChromaRow(std::size_t width) noexcept {
    return (width + 1) / 2 * 2;
}

/// Rows of the second plane of a whole picture.
[[nodiscard]] constexpr std::size_t chromaRows(std::size_t height) noexcept {
    return (height + 1) / 2;
}

inline constexpr std::size_t kBGRABytes = 4;

// One row each, the formats' own modules.

void argbToBGRA(const SourceRow& row, std::size_t width, const ColorMatrix& matrix, std::uint8_t* bgra);
void argbFromBGRA(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& matrix, const DestinationRow& row);

void cbyCryToBGRA(const SourceRow& row, std::size_t width, const ColorMatrix& matrix, std::uint8_t* bgra);
void cbyCryFromBGRA(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& matrix, const DestinationRow& row);

void ycbYcrToBGRA(const SourceRow& row, std::size_t width, const ColorMatrix& matrix, std::uint8_t* bgra);
void ycbYcrFromBGRA(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& matrix, const DestinationRow& row);

void v210ToBGRA(const SourceRow& row, std::size_t width, const ColorMatrix& matrix, std::uint8_t* bgra);
void v210FromBGRA(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& matrix, const DestinationRow& row);

void planar420ToBGRA(const SourceRow& row, std::size_t width, const ColorMatrix& matrix, std::uint8_t* bgra);
void planar420FromBGRA(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& matrix,
                       const DestinationRow& row);

}  // namespace qlx::pixels
