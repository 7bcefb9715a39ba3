#include "pictures/Pictures.h"

#include "io/Errors.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <algorithm>
#include <string>

namespace qlx::tool {

namespace {

constexpr std::uint64_t roundedUp(std::uint64_t value, std::uint64_t step) {
    return (value + step - 1) / step;
}

/// Bytes of a row of the first plane.
std::uint64_t bytesPerRow(const PictureLayout& layout) {
    switch (layout.pixelFormat) {
    case kPixelFormatV210:
        return roundedUp(layout.width, 48) * 128;
    case kPixelFormat2vuy:
    case kPixelFormatYuvs:
        return roundedUp(layout.width, 2) * 4;
    case kPixelFormat420v:
        return layout.width;
    default:
        return std::uint64_t{layout.width} * 4;
    }
}

/// Bytes of a row of the chroma plane, of which there is one for every two rows; 0 where there is none.
std::uint64_t bytesPerChromaRow(const PictureLayout& layout) {
    return layout.pixelFormat == kPixelFormat420v ? roundedUp(layout.width, 2) * 2 : 0;
}

std::shared_ptr<PixelBuffer> bufferOf(std::span<std::uint8_t> bytes, const PictureLayout& layout) {
    const auto stride = static_cast<std::size_t>(bytesPerRow(layout));
    const auto chromaStride = static_cast<std::size_t>(bytesPerChromaRow(layout));
    const std::size_t lumaSize = stride * layout.height;
    std::vector<PixelPlane> planes{{bytes.data(), stride, lumaSize}};
    if (chromaStride > 0) {
        planes.push_back({bytes.data() + lumaSize, chromaStride, bytes.size() - lumaSize});
    }
    std::shared_ptr<PixelBuffer> buffer;
    (void)services().get<PixelBufferFactory>().createPixelBufferWithBytes(layout.width, layout.height,
                                                                          layout.pixelFormat, planes, nullptr, &buffer);
    return buffer;
}

/// Fills a picture with black, from a picture of one pixel.
bool fillWithBlack(PixelBuffer& picture) {
    std::array<std::uint8_t, 4> pixel{0, 0, 0, 255};
    const auto black = bufferOf(pixel, {kPixelFormatBGRA, 1, 1});
    std::shared_ptr<PixelTransferSession> session;
    return black && services().get<PixelBufferFactory>().createTransferSession(&session) == kPixelStatusSuccess &&
           session && session->transferImage(*black, picture) == kPixelStatusSuccess;
}

}  // namespace

std::uint64_t pictureBytes(const PictureLayout& layout) {
    return bytesPerRow(layout) * layout.height + bytesPerChromaRow(layout) * roundedUp(layout.height, 2);
}

RawPicture::RawPicture(const PictureLayout& layout)
    : _bytes(static_cast<std::size_t>(pictureBytes(layout))), _buffer(bufferOf(_bytes, layout)) {
    if (!_buffer || !fillWithBlack(*_buffer)) {
        throw Failure("a picture of " + std::to_string(layout.width) + " x " + std::to_string(layout.height) +
                      " pixels cannot be made");
    }
}

bool readPicture(NamedSource& source, RawPicture& picture) {
    const std::uint64_t start = source.offset();
    const std::size_t got = source.read(picture.bytes());
    if (got == picture.bytes().size()) {
        return true;
    }
    if (got == 0 && start > 0) {
        return false;
    }
    throw got == 0 ? failureAtByte(source.name(), 0, "the file is empty")
                   : failureAtByte(source.name(), start,
                                   "the last picture is cut off: " + std::to_string(got) + " of " +
                                       std::to_string(picture.bytes().size()) + " bytes are there");
}

void copyRows(const Image& image, PixelBuffer& to) {
    for (std::size_t y = 0; y < std::min(image.height(), to.height()); ++y) {
        std::uint8_t* byte = to.row(y);
        for (const Pixel& pixel : image.row(y).first(std::min(image.width(), to.width()))) {
            byte = std::copy_n(std::array{pixel[2], pixel[1], pixel[0], pixel[3]}.begin(), 4, byte);
        }
    }
}

void copyRows(const PixelBuffer& from, Image& image) {
    for (std::size_t y = 0; y < std::min(image.height(), from.height()); ++y) {
        const std::uint8_t* byte = from.row(y);
        for (Pixel& pixel : image.row(y).first(std::min(image.width(), from.width()))) {
            pixel = {byte[2], byte[1], byte[0], byte[3]};
            byte += pixel.size();
        }
    }
}

}  // namespace qlx::tool
