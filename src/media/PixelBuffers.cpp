#include <QLXClosedCaptionsUtilities/platform/PixelBuffers.h>

#include "media/PixelRows.h"

#include <algorithm>
#include <new>
#include <utility>

namespace qlx {

namespace {

bool isSide(std::uint64_t side) {
    return side >= 1 && side <= kMaximumPictureSide;
}

/// The format of a picture, or why there can be none.
MediaStatus formatOfPicture(std::uint64_t width, std::uint64_t height, std::uint32_t pixelFormat,
                            const pixels::Format** format) {
    if (!isSide(width) || !isSide(height)) {
        return kPixelStatusBadParameter;
    }
    *format = pixels::formatOf(pixelFormat);
    return *format ? kPixelStatusSuccess : kPixelStatusUnsupportedFormat;
}

/// True when `plane` holds `rows` rows of `bytesOfRow` bytes; the padding of the last one may be missing.
bool holdsRows(const PixelPlane& plane, std::size_t rows, std::size_t bytesOfRow) {
    return plane.bytes && plane.bytesPerRow >= bytesOfRow && plane.size >= bytesOfRow &&
           (plane.size - bytesOfRow) / plane.bytesPerRow >= rows - 1;
}

/// What is left of `plane` from `offset` on, cut behind `rows` rows.
PixelPlane partOf(const PixelPlane& plane, std::size_t firstRow, std::size_t rows) {
    const std::size_t offset = firstRow * plane.bytesPerRow;
    const std::size_t left = plane.size - offset;
    const bool whole = left / plane.bytesPerRow >= rows;
    return {plane.bytes + offset, plane.bytesPerRow, whole ? rows * plane.bytesPerRow : left};
}

}  // namespace

PixelBuffer::~PixelBuffer() = default;

PixelBufferFactory::~PixelBufferFactory() = default;

PixelBufferFactory& PixelBufferFactory::defaultInstance() {
    static auto* const instance = new PixelBufferFactory;
    return *instance;
}

MediaStatus PixelBufferFactory::createPixelBuffer(std::uint64_t width, std::uint64_t height, std::uint32_t pixelFormat,
                                                  std::shared_ptr<PixelBuffer>* buffer) {
    const pixels::Format* format = nullptr;
    if (const MediaStatus status = formatOfPicture(width, height, pixelFormat, &format);
        status != kPixelStatusSuccess) {
        return status;
    }
    const std::size_t bytesPerRow = format->defaultBytesPerRow(static_cast<std::size_t>(width));
    const std::size_t bytesPerChromaRow =
        format->twoPlanes ? pixels::bytesOfChromaRow(static_cast<std::size_t>(width)) : 0;
    const std::size_t chromaRows = pixels::chromaRows(static_cast<std::size_t>(height));
    if (std::uint64_t{bytesPerRow} * height + std::uint64_t{bytesPerChromaRow} * chromaRows > kMaximumPictureBytes) {
        return kPixelStatusNoMemory;
    }
    const std::size_t firstSize = bytesPerRow * static_cast<std::size_t>(height);
    const std::size_t secondSize = bytesPerChromaRow * chromaRows;
    const std::shared_ptr<std::uint8_t[]> bytes(new (std::nothrow) std::uint8_t[firstSize + secondSize]());
    if (!bytes) {
        return kPixelStatusNoMemory;
    }
    const std::array<PixelPlane, PixelBuffer::kMaximumPlanes> planes{
        PixelPlane{bytes.get(), bytesPerRow, firstSize},
        PixelPlane{bytes.get() + firstSize, bytesPerChromaRow, secondSize}};
    return PixelBufferFactory::createPixelBufferWithBytes(
        width, height, pixelFormat, std::span(planes).first(format->twoPlanes ? 2 : 1), bytes, buffer);
}

MediaStatus PixelBufferFactory::createPixelBufferWithBytes(std::uint64_t width, std::uint64_t height,
                                                           std::uint32_t pixelFormat,
                                                           std::span<const PixelPlane> planes,
                                                           std::shared_ptr<void> owner,
                                                           std::shared_ptr<PixelBuffer>* buffer) {
    const pixels::Format* format = nullptr;
    if (const MediaStatus status = formatOfPicture(width, height, pixelFormat, &format);
        status != kPixelStatusSuccess) {
        return status;
    }
    const auto columns = static_cast<std::size_t>(width);
    const auto rows = static_cast<std::size_t>(height);
    const std::size_t planeCount = format->twoPlanes ? 2 : 1;
    if (planes.size() != planeCount || !holdsRows(planes[0], rows, format->bytesOfRow(columns)) ||
        (format->twoPlanes && !holdsRows(planes[1], pixels::chromaRows(rows), pixels::bytesOfChromaRow(columns)))) {
        return kPixelStatusBadParameter;
    }
    const std::shared_ptr<PixelBuffer> made(new PixelBuffer);
    made->_pixelFormat = pixelFormat;
    made->_width = columns;
    made->_height = rows;
    made->_pictureHeight = rows;
    std::copy(planes.begin(), planes.end(), made->_planes.begin());
    made->_owner = std::move(owner);
    *buffer = made;
    return kPixelStatusSuccess;
}

MediaStatus PixelBufferFactory::createView(const std::shared_ptr<PixelBuffer>& picture, const Range& rows,
                                           std::shared_ptr<PixelBuffer>* view) {
    if (!picture || rows.length == 0 || rows.location >= picture->_height ||
        rows.length > picture->_height - rows.location) {
        return kPixelStatusBadParameter;
    }
    const auto location = static_cast<std::size_t>(rows.location);
    const auto length = static_cast<std::size_t>(rows.length);
    const std::shared_ptr<PixelBuffer> made(new PixelBuffer);
    made->_pixelFormat = picture->_pixelFormat;
    made->_width = picture->_width;
    made->_height = length;
    made->_firstRow = picture->_firstRow + location;
    made->_pictureHeight = picture->_pictureHeight;
    made->_planes[0] = partOf(picture->_planes[0], location, length);
    if (picture->_planes[1].bytes) {
        const std::size_t firstChromaRow = made->_firstRow / 2;
        const std::size_t lastChromaRow = (made->_firstRow + length - 1) / 2;
        made->_planes[1] =
            partOf(picture->_planes[1], firstChromaRow - picture->_firstRow / 2, lastChromaRow - firstChromaRow + 1);
    }
    made->_owner = picture->_owner;
    *view = made;
    return kPixelStatusSuccess;
}

MediaStatus PixelBufferFactory::lockBaseAddress(PixelBuffer& /*buffer*/, PixelAccess /*access*/) {
    return kPixelStatusSuccess;
}

MediaStatus PixelBufferFactory::unlockBaseAddress(PixelBuffer& /*buffer*/, PixelAccess /*access*/) {
    return kPixelStatusSuccess;
}

MediaStatus PixelBufferFactory::createTransferSession(std::shared_ptr<PixelTransferSession>* session) {
    *session = std::make_shared<PixelTransferSession>();
    return kPixelStatusSuccess;
}

}  // namespace qlx
