// The pixel transfer between any two formats and shapes, through views of any rows, against the rules for rows.
#include "FuzzPictures.h"

using qlxfuzz::require;

namespace {

/// A view of some of the picture's rows, or the picture itself.
qlxtest::Picture partOf(const qlxtest::Picture& picture, std::uint8_t choice) {
    const std::size_t first = choice % picture->height();
    const std::size_t rows = choice / 8U % (picture->height() - first) + 1;
    return qlxtest::viewOf(picture, first, rows);
}

/// Row `index` as BGRA, converted by itself.
std::vector<std::uint8_t> rowAsBGRA(const qlxtest::Picture& picture, std::size_t index) {
    const qlxtest::Picture bgra = qlxtest::makePicture(picture->width(), 1, qlx::kPixelFormatBGRA);
    qlx::PixelTransferSession session;
    require(session.transferImage(*qlxtest::viewOf(picture, index, 1), *bgra) == 0);
    return qlxtest::bytesOf(*bgra);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const qlxfuzz::Shape from = qlxfuzz::takeShape(input);
    const qlxfuzz::Shape to = qlxfuzz::takeShape(input);
    const std::uint8_t fromRows = input.takeByte();
    const std::uint8_t toRows = input.takeByte();
    const bool equalWidths = input.takeByte() % 4 != 0;
    qlxfuzz::Shape shape = to;
    if (equalWidths) {
        shape.width = from.width;
    }
    const std::vector<std::uint8_t> bytes = input.rest();
    const qlxfuzz::FilledPicture whole(from, bytes);
    const qlxfuzz::FilledPicture target(shape, bytes);
    const qlxtest::Picture source = partOf(whole.picture, fromRows);
    const qlxtest::Picture destination = partOf(target.picture, toRows);
    const std::vector<std::uint8_t> former = qlxtest::bytesOf(*whole.picture);
    qlx::PixelTransferSession session;
    require(session.transferImage(*source, *destination) == 0);
    require(qlxtest::bytesOf(*whole.picture) == former);

    // Into BGRA each row is what its source row is by itself.
    if (equalWidths && shape.format == qlx::kPixelFormatBGRA) {
        for (std::size_t row = 0; row < destination->height(); ++row) {
            require(rowAsBGRA(destination, row) == rowAsBGRA(source, row * source->height() / destination->height()));
        }
    }
    return 0;
}
