// Files of whole pictures: raw frames in one of the pixel formats, or one PNG or PPM picture.
#pragma once

#include "io/InputFile.h"
#include "io/OutputFile.h"
#include "pictures/Image.h"
#include "pictures/ImageFile.h"

#include <QLXClosedCaptionsUtilities/platform/PixelBuffers.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// A pixel format by its name on the command line.
struct PictureFormat {
    std::string_view name;
    std::uint32_t pixelFormat = 0;
};

inline constexpr std::array<PictureFormat, 6> kPictureFormats{{
    {"bgra", kPixelFormatBGRA},
    {"argb", kPixelFormatARGB},
    {"v210", kPixelFormatV210},
    {"2vuy", kPixelFormat2vuy},
    {"yuvs", kPixelFormatYuvs},
    {"420v", kPixelFormat420v},
}};

/// How the pictures of a raw file lie: rows without padding, picture after picture; the planes of `420v` one behind the
/// other.
struct PictureLayout {
    std::uint32_t pixelFormat = kPixelFormatBGRA;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// Bytes of a raw picture.
[[nodiscard]] std::uint64_t pictureBytes(const PictureLayout& layout);

/// A raw picture in memory, which is seen as a pixel buffer.
class RawPicture {
public:
    /// A black picture.
    /// @throws Failure when the platform refuses it.
    explicit RawPicture(const PictureLayout& layout);

    [[nodiscard]] const std::shared_ptr<PixelBuffer>& buffer() const { return _buffer; }
    [[nodiscard]] std::span<std::uint8_t> bytes() { return _bytes; }

private:
    std::vector<std::uint8_t> _bytes;
    std::shared_ptr<PixelBuffer> _buffer;
};

/// Reads the next picture of a raw file.
/// @return False at the end of the file.
/// @throws Failure when the file ends within a picture, or has none.
bool readPicture(NamedSource& source, RawPicture& picture);

/// The first rows of an image as a `BGRA` picture, and back.
void copyRows(const Image& image, PixelBuffer& to);
void copyRows(const PixelBuffer& from, Image& image);

}  // namespace qlx::tool
