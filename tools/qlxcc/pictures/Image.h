// A picture in memory.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qlx::tool {

/// Red, green, blue and alpha (255: opaque, not premultiplied).
using Pixel = std::array<std::uint8_t, 4>;

inline constexpr Pixel kBlack{0, 0, 0, 255};

/// 8 bits a component, rows from top to bottom without padding.
class Image {
public:
    Image() = default;

    /// A picture of one colour.
    Image(std::size_t width, std::size_t height, Pixel colour = kBlack)
        : _width(width), _height(height), _pixels(width * height, colour) {}

    [[nodiscard]] std::size_t width() const { return _width; }
    [[nodiscard]] std::size_t height() const { return _height; }

    /// The pixels of a row; `y` is below height().
    [[nodiscard]] std::span<Pixel> row(std::size_t y) { return std::span(_pixels).subspan(y * _width, _width); }
    [[nodiscard]] std::span<const Pixel> row(std::size_t y) const {
        return std::span(_pixels).subspan(y * _width, _width);
    }

    /// One pixel; `x` is below width() and `y` below height().
    [[nodiscard]] Pixel& at(std::size_t x, std::size_t y) { return _pixels[y * _width + x]; }
    [[nodiscard]] const Pixel& at(std::size_t x, std::size_t y) const { return _pixels[y * _width + x]; }

    /// Fills a rectangle; what lies outside the picture is left out.
    void fill(std::size_t x, std::size_t y, std::size_t width, std::size_t height, Pixel colour) {
        for (std::size_t line = y; line < _height && line - y < height; ++line) {
            for (std::size_t column = x; column < _width && column - x < width; ++column) {
                at(column, line) = colour;
            }
        }
    }

    /// Whether every pixel is opaque.
    [[nodiscard]] bool isOpaque() const {
        for (const Pixel& pixel : _pixels) {
            if (pixel[3] != 255) {
                return false;
            }
        }
        return true;
    }

    [[nodiscard]] bool operator==(const Image& other) const = default;

private:
    std::size_t _width = 0;
    std::size_t _height = 0;
    std::vector<Pixel> _pixels;
};

}  // namespace qlx::tool
