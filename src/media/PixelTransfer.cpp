#include <QLXClosedCaptionsUtilities/platform/PixelBuffers.h>

#include "media/PixelRows.h"

#include <cstring>
#include <vector>

namespace qlx {

namespace {

using pixels::kBGRABytes;

/// A row of pixels as wide as `destination`, each from column floor(x x source columns / destination columns).
void matchColumns(const std::uint8_t* source, std::size_t sourceWidth, std::vector<std::uint8_t>& destination) {
    const std::size_t width = destination.size() / kBGRABytes;
    for (std::size_t column = 0; column < width; ++column) {
        std::memcpy(destination.data() + column * kBGRABytes, source + column * sourceWidth / width * kBGRABytes,
                    kBGRABytes);
    }
}

pixels::DestinationRow destinationRow(PixelBuffer& picture, std::size_t index) {
    const bool secondOfChromaRow = (picture.firstRowInPicture() + index) % 2 != 0;
    return {picture.row(index), picture.chromaRow(index), secondOfChromaRow && index != 0};
}

}  // namespace

/// Where rows stand as BGRA that can neither be used where they are nor be converted in place; kept between pictures.
struct PixelTransferSession::Scratch {
    std::vector<std::uint8_t> ofSourceWidth;
    std::vector<std::uint8_t> ofDestinationWidth;

    /// Row `index` of `source` as BGRA of `width` columns.
    /// @param place Where it may be written; null when it may not be written into the destination.
    const std::uint8_t* rowAsBGRA(const pixels::Format& from, const PixelBuffer& source, std::size_t index,
                                  std::size_t width, std::uint8_t* place) {
        const bool sameWidth = source.width() == width;
        const std::uint8_t* bgra = source.row(index);
        if (from.code != kPixelFormatBGRA) {
            if (!sameWidth || !place) {
                ofSourceWidth.resize(source.width() * kBGRABytes);
                place = ofSourceWidth.data();
            }
            from.toBGRA({source.row(index), source.chromaRow(index)}, source.width(),
                        pixels::matrixForRows(source.pictureHeight()), place);
            bgra = place;
        }
        if (sameWidth) {
            return bgra;
        }
        ofDestinationWidth.resize(width * kBGRABytes);
        matchColumns(bgra, source.width(), ofDestinationWidth);
        return ofDestinationWidth.data();
    }
};

PixelTransferSession::PixelTransferSession() : _scratch(std::make_unique<Scratch>()) {}

PixelTransferSession::~PixelTransferSession() = default;

MediaStatus PixelTransferSession::transferImage(const PixelBuffer& source, PixelBuffer& destination) {
    // No picture is made of a format that is not in the table.
    const pixels::Format& from = *pixels::formatOf(source.pixelFormat());
    const pixels::Format& to = *pixels::formatOf(destination.pixelFormat());
    const pixels::ColorMatrix& matrix = pixels::matrixForRows(destination.pictureHeight());
    const bool writesBGRA = to.code == kPixelFormatBGRA;
    const std::uint8_t* bgra = nullptr;
    std::size_t converted = 0;  // The source's row that stands at `bgra`.
    for (std::size_t row = 0; row < destination.height(); ++row) {
        std::uint8_t* const place = writesBGRA ? destination.row(row) : nullptr;
        const std::size_t wanted = row * source.height() / destination.height();
        if (!bgra || wanted != converted) {
            bgra = _scratch->rowAsBGRA(from, source, wanted, destination.width(), place);
            converted = wanted;
        }
        if (bgra != place) {
            to.fromBGRA(bgra, destination.width(), matrix, destinationRow(destination, row));
        }
    }
    return kPixelStatusSuccess;
}

}  // namespace qlx
