#include "commands/line21/Line21Preview.h"

#include "io/Text.h"
#include "pictures/SmallFont.h"
#include <qlx/base/parity.h>
#include <qlx/line21/line21.h>

#include <algorithm>
#include <string_view>

namespace qlx::tool {

namespace {

constexpr Pixel kPaper{20, 22, 28, 255};
constexpr Pixel kBand{28, 32, 42, 255};
constexpr Pixel kGrid{58, 64, 80, 255};
constexpr Pixel kCellBorder{80, 88, 110, 255};
constexpr Pixel kByteBorder{150, 160, 190, 255};
constexpr Pixel kInk{216, 220, 230, 255};
constexpr Pixel kFaint{140, 148, 166, 255};
constexpr Pixel kWave{90, 220, 140, 255};
constexpr Pixel kThreshold{240, 150, 60, 255};
constexpr Pixel kSampleOne{255, 225, 80, 255};
constexpr Pixel kSampleZero{120, 180, 255, 255};
constexpr Pixel kBad{255, 95, 85, 255};

constexpr std::size_t kScale = 2;  // Pixels of the preview for a pixel of the row.
constexpr std::size_t kTextScale = 2;
constexpr std::size_t kLineHeight = kGlyphHeight * kTextScale + 6;
constexpr std::size_t kLeft = 76;
constexpr std::size_t kRight = 24;
constexpr std::size_t kTop = 16;
constexpr std::size_t kStripHeight = 26;
constexpr std::size_t kGraphHeight = 192;  // For the levels 0 to 255.
constexpr std::size_t kPanelHeight = kGraphHeight + 4 * kLineHeight;
constexpr std::size_t kShownPixels = 738;  // A little more than the waveform.
using line21::kBits;
using line21::kCellPixels;
using line21::kCellSample;
using line21::kDataBits;
using line21::kGreatestZero;
using line21::kRunInStart;
using line21::kStartBits;
using line21::kWaveformPixels;

constexpr std::size_t kStripsTop = kTop + kLineHeight + 8;
constexpr std::size_t kPanelsTop = kStripsTop + 3 * (kStripHeight + 2) + 14;
constexpr std::size_t kHeight = kPanelsTop + 2 * kPanelHeight;

constexpr std::size_t columnOf(std::size_t pixel) {
    return kLeft + pixel * kScale;
}

std::string digitsOf(std::uint8_t byte) {
    return hex(std::array{byte});
}

/// One preview on its way.
class Drawing {
public:
    explicit Drawing(const Line21View& view)
        : _view(view), _pixels(std::min(view.rows.width(), kShownPixels)),
          _image(columnOf(_pixels) + kRight, kHeight, kPaper) {}

    Image result() {
        text(kLeft, kTop, _view.title, kInk);
        for (std::size_t row = 0; row < std::min<std::size_t>(_view.rows.height(), 3); ++row) {
            drawStrip(row);
        }
        for (std::size_t row = 1; row < std::min<std::size_t>(_view.rows.height(), 3); ++row) {
            drawPanel(row, kPanelsTop + (row - 1) * kPanelHeight);
        }
        return std::move(_image);
    }

private:
    void text(std::size_t x, std::size_t y, std::string_view words, Pixel colour) {
        drawText(_image, x, y, words, colour, kTextScale);
    }

    void centredText(std::size_t x, std::size_t y, std::string_view words, Pixel colour) {
        text(x - std::min(x, textWidth(words, kTextScale) / 2), y, words, colour);
    }

    /// A row of the picture, drawn tall.
    void drawStrip(std::size_t row) {
        const std::size_t y = kStripsTop + row * (kStripHeight + 2);
        text(4, y + (kStripHeight - kGlyphHeight * kTextScale) / 2, "row " + std::to_string(row), kFaint);
        const std::span<const Pixel> pixels = _view.rows.row(row);
        for (std::size_t pixel = 0; pixel < _pixels; ++pixel) {
            const Pixel& colour = pixels[pixel];
            _image.fill(columnOf(pixel), y, kScale, kStripHeight, {colour[0], colour[1], colour[2], 255});
        }
    }

    void drawPanel(std::size_t row, std::size_t top) {
        const auto& pair = _view.pairs[row - 1];
        drawHeading(row, top, pair);
        const std::size_t bitsTop = top + kLineHeight;
        const std::size_t graphTop = bitsTop + kLineHeight;
        drawCells(graphTop);
        drawLevels(graphTop);
        drawWave(row, graphTop);
        for (std::size_t bit = 0; bit < kBits; ++bit) {
            drawBit(row, bit, (pair[bit / 8] >> (bit % 8) & 1U) != 0, bitsTop, graphTop);
        }
        centredText(columnOf((kRunInStart + kStartBits) / 2), bitsTop, "clock run-in", kFaint);
        centredText(columnOf((kStartBits + kDataBits) / 2), bitsTop, "start", kFaint);
    }

    void drawHeading(std::size_t row, std::size_t top, const std::array<std::uint8_t, 2>& pair) {
        text(4, top, "row " + std::to_string(row), kInk);
        for (std::size_t index = 0; index < pair.size(); ++index) {
            const bool isGood = hasOddParity(pair[index]);
            const std::string words = "byte " + std::to_string(index + 1) + ": " + digitsOf(pair[index]) +
                                      (isGood ? "  parity ok" : "  parity wrong");
            centredText(columnOf(kDataBits + (2 * index + 1) * 4 * kCellPixels), top, words, isGood ? kInk : kBad);
        }
    }

    /// The borders of cells, bytes and the parts in front of them, with their pixel numbers below.
    void drawCells(std::size_t top) {
        const std::size_t bottom = top + kGraphHeight;
        for (std::size_t bit = 0; bit < kBits; bit += 2) {
            fillPixels(kDataBits + bit * kCellPixels, kCellPixels, top, kGraphHeight, kBand);
        }
        for (std::size_t cycle = 1; cycle < 7; ++cycle) {
            fillLine(kRunInStart + cycle * kCellPixels, top, kGraphHeight, kGrid);
        }
        for (std::size_t bit = 1; bit < kBits; ++bit) {
            fillLine(kDataBits + bit * kCellPixels, top, kGraphHeight + 4, kCellBorder);
        }
        for (const std::size_t pixel :
             {kRunInStart, kStartBits, kDataBits, kDataBits + 8 * kCellPixels, kWaveformPixels}) {
            fillLine(pixel, top - kLineHeight, kGraphHeight + kLineHeight + 8, kByteBorder);
            centredText(columnOf(pixel), bottom + 12, std::to_string(pixel), kFaint);
        }
    }

    /// The level axis: black, the greatest level of a 0, that of a 1, white.
    void drawLevels(std::size_t top) {
        for (const std::size_t level : {0U, 127U, 255U}) {
            _image.fill(kLeft, rowOf(top, level), _pixels * kScale, 1, kGrid);
            label(top, level, kFaint);
        }
        for (std::size_t x = kLeft; x < columnOf(_pixels); x += 8) {
            _image.fill(x, rowOf(top, kGreatestZero), std::min<std::size_t>(4, columnOf(_pixels) - x), 1, kThreshold);
        }
        label(top, kGreatestZero, kThreshold);
    }

    void label(std::size_t top, std::size_t level, Pixel colour) {
        const std::string words = std::to_string(level);
        text(kLeft - 8 - textWidth(words, kTextScale), rowOf(top, level) - kGlyphHeight * kTextScale / 2, words,
             colour);
    }

    void drawWave(std::size_t row, std::size_t top) {
        std::size_t former = rowOf(top, levelAt(row, 0));
        for (std::size_t pixel = 0; pixel < _pixels; ++pixel) {
            const std::size_t y = rowOf(top, levelAt(row, pixel));
            const std::size_t upper = std::min(y, former);
            _image.fill(columnOf(pixel), upper, kScale, std::max(y, former) - upper + 2, kWave);
            former = y;
        }
    }

    /// A bit's value over its cell, and the point at which it is read.
    void drawBit(std::size_t row, std::size_t bit, bool value, std::size_t bitsTop, std::size_t graphTop) {
        const std::size_t cell = kDataBits + bit * kCellPixels;
        const Pixel colour = value ? kSampleOne : kSampleZero;
        centredText(columnOf(cell) + kCellPixels * kScale / 2, bitsTop, value ? "1" : "0", colour);
        const std::size_t pixel = cell + kCellSample;
        if (pixel < _pixels) {
            _image.fill(columnOf(pixel) - 3, rowOf(graphTop, levelAt(row, pixel)) - 3, 8, 8, colour);
        }
    }

    /// The level that is read: the blue component, which is the luma where the row is grey.
    [[nodiscard]] std::uint8_t levelAt(std::size_t row, std::size_t pixel) const {
        return _view.rows.at(pixel, row)[2];
    }

    [[nodiscard]] static std::size_t rowOf(std::size_t top, std::size_t level) {
        return top + kGraphHeight - 1 - level * (kGraphHeight - 1) / 255;
    }

    void fillPixels(std::size_t pixel, std::size_t count, std::size_t y, std::size_t height, Pixel colour) {
        if (pixel < _pixels) {
            _image.fill(columnOf(pixel), y, std::min(count, _pixels - pixel) * kScale, height, colour);
        }
    }

    void fillLine(std::size_t pixel, std::size_t y, std::size_t height, Pixel colour) {
        if (pixel < _pixels) {
            _image.fill(columnOf(pixel), y, 1, height, colour);
        }
    }

    const Line21View& _view;
    std::size_t _pixels;
    Image _image;
};

}  // namespace

Image drawLine21(const Line21View& view) {
    return Drawing(view).result();
}

}  // namespace qlx::tool
