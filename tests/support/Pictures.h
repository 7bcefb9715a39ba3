// Pictures for tests.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include "ExactBuffer.h"

#include <array>
#include <memory>
#include <stdexcept>
#include <vector>

namespace qlxtest {

using Picture = std::shared_ptr<qlx::PixelBuffer>;

inline constexpr std::array<std::uint32_t, 6> kPixelFormats{qlx::kPixelFormatBGRA, qlx::kPixelFormatARGB,
                                                            qlx::kPixelFormatV210, qlx::kPixelFormat2vuy,
                                                            qlx::kPixelFormatYuvs, qlx::kPixelFormat420v};

/// Throws, which fails the test, when the library refuses what must work.
inline void requireSuccess(qlx::MediaStatus status) {
    if (status != 0) {
        throw std::runtime_error("the picture was refused");
    }
}

/// A picture in memory of its own.
inline Picture makePicture(std::uint64_t width, std::uint64_t height, std::uint32_t format) {
    Picture picture;
    requireSuccess(qlx::PixelBufferFactory::defaultInstance().createPixelBuffer(width, height, format, &picture));
    return picture;
}

inline Picture viewOf(const Picture& picture, std::uint64_t first, std::uint64_t rows) {
    Picture view;
    requireSuccess(qlx::PixelBufferFactory::defaultInstance().createView(picture, {first, rows}, &view));
    return view;
}

/// Bytes that the pixels of a row of the first plane take.
inline std::size_t bytesOfRow(std::uint32_t format, std::size_t width) {
    switch (format) {
    case qlx::kPixelFormatV210:
        return (width + 5) / 6 * 16;
    case qlx::kPixelFormat2vuy:
    case qlx::kPixelFormatYuvs:
        return (width + 1) / 2 * 4;
    case qlx::kPixelFormat420v:
        return width;
    default:
        return width * 4;
    }
}

/// A picture in exact allocations, one a plane, filled with one value: rows have `padding` bytes between them, and none
/// behind the last one.
struct ExactPicture {
    ExactPicture(std::size_t width, std::size_t height, std::uint32_t format, std::size_t padding, std::uint8_t value)
        : first(ExactBuffer::filled(sizeOf(bytesOfRow(format, width), height, padding), value)),
          second(ExactBuffer::filled(sizeOf((width + 1) / 2 * 2, (height + 1) / 2, padding), value)) {
        const std::array<qlx::PixelPlane, 2> planes{
            qlx::PixelPlane{first.data(), bytesOfRow(format, width) + padding, first.size()},
            qlx::PixelPlane{second.data(), (width + 1) / 2 * 2 + padding, second.size()}};
        requireSuccess(qlx::PixelBufferFactory::defaultInstance().createPixelBufferWithBytes(
            width, height, format, std::span(planes).first(format == qlx::kPixelFormat420v ? 2 : 1), nullptr,
            &picture));
    }

    static std::size_t sizeOf(std::size_t rowBytes, std::size_t rows, std::size_t padding) {
        return rowBytes * rows + padding * (rows - 1);
    }

    ExactBuffer first;
    ExactBuffer second;
    Picture picture;
};

/// The bytes that the pixels of each row take, each row's followed by those of its chroma row; no padding.
inline std::vector<std::uint8_t> bytesOf(const qlx::PixelBuffer& picture) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t row = 0; row < picture.height(); ++row) {
        const std::size_t count = bytesOfRow(picture.pixelFormat(), picture.width());
        bytes.insert(bytes.end(), picture.row(row), picture.row(row) + count);
        if (picture.chromaRow(row)) {
            bytes.insert(bytes.end(), picture.chromaRow(row), picture.chromaRow(row) + (picture.width() + 1) / 2 * 2);
        }
    }
    return bytes;
}

}  // namespace qlxtest
