// The pixels of a row in any format, a few of them at a time.
#pragma once

#include "media/PixelRows.h"

#include <qlx/line21/line21.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace qlx::line21::detail {

/// Whole groups of every format.
inline constexpr std::size_t kChunkPixels = 48;

/// Pixels of the chunk that begins with pixel `first`.
[[nodiscard]] constexpr std::size_t pixelsOfChunk(std::size_t first, std::size_t width) noexcept {
    return std::min(kChunkPixels, width - first);
}

/// Gives the pixels of a row as BGRA; neighbours cost one conversion. The row holds all of its pixels.
class RowPixels {
public:
    RowPixels(const RowView& row, const RowLayout& layout, const pixels::Format& format) noexcept
        : _row(row), _width(layout.width), _format(format), _matrix(pixels::matrixForRows(layout.pictureRows)) {}

    /// Blue, green, red and alpha of the pixel `column`, which is in the row.
    [[nodiscard]] const std::uint8_t* pixel(std::size_t column) noexcept {
        const std::size_t place = column % kChunkPixels;
        if (column - place != _first) {
            load(column - place);
        }
        return _bgra.data() + place * pixels::kBGRABytes;
    }

    /// Its luma, 16 to 235.
    [[nodiscard]] std::uint8_t luma(std::size_t column) noexcept {
        return static_cast<std::uint8_t>(pixels::lumaOf<8>(pixels::RGB::ofBGRA(pixel(column)), _matrix));
    }

private:
    static constexpr std::uint8_t kNoColour = 128;
    static constexpr std::array<std::uint8_t, kChunkPixels> kGrey = [] {
        std::array<std::uint8_t, kChunkPixels> chroma{};
        chroma.fill(kNoColour);
        return chroma;
    }();

    void load(std::size_t first) noexcept {
        const std::uint8_t* const chroma = _row.chroma.empty() ? kGrey.data() : _row.chroma.data() + first;
        _format.toBGRA({_row.samples.data() + _format.bytesOfRow(first), chroma}, pixelsOfChunk(first, _width), _matrix,
                       _bgra.data());
        _first = first;
    }

    RowView _row;
    std::size_t _width;
    const pixels::Format& _format;
    const pixels::ColorMatrix& _matrix;
    std::size_t _first = std::numeric_limits<std::size_t>::max();
    std::array<std::uint8_t, kChunkPixels * pixels::kBGRABytes> _bgra{};
};

}  // namespace qlx::line21::detail
