// The pixel transfer between any two formats and shapes, through views of any rows, against the rules for rows.
#include "FuzzPictures.h"

using qlxfuzz::require;

namespace {

struct Rows {
    std::size_t first = 0;
    std::size_t count = 0;
};

/// Some of the picture's rows, or all of them.
Rows rowsOf(const qlxtest::Picture& picture, std::uint8_t choice) {
    const std::size_t first = choice % picture->height();
    return {first, choice / 8U % (picture->height() - first) + 1};
}

/// Whether the first plane's bytes are the same but for the pixels of `rows`.
bool keepsTheRest(const qlxfuzz::FilledPicture& target, const std::vector<std::uint8_t>& former, const Rows& rows) {
    const std::span<const std::uint8_t> now = target.first.span();
    const std::size_t bytesPerRow = target.picture->bytesPerRow();
    const std::size_t used = qlxtest::bytesOfRow(target.picture->pixelFormat(), target.picture->width());
    for (std::size_t index = 0; index < now.size(); ++index) {
        const std::size_t row = index / bytesPerRow;
        const bool isPixel = row >= rows.first && row - rows.first < rows.count && index % bytesPerRow < used;
        if (!isPixel && now[index] != former[index]) {
            return false;
        }
    }
    return true;
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
    qlxfuzz::Shape from = qlxfuzz::takeShape(input);
    qlxfuzz::Shape to = qlxfuzz::takeShape(input);
    const std::uint8_t fromRows = input.takeByte();
    const std::uint8_t toRows = input.takeByte();
    const bool equalWidths = input.takeByte() % 4 != 0;
    if (equalWidths) {
        from.width = to.width = std::min(from.width, to.width);
    }
    const std::vector<std::uint8_t> bytes = input.rest();
    const qlxfuzz::FilledPicture whole(from, bytes);
    const qlxfuzz::FilledPicture target(to, bytes);
    const Rows sourceRows = rowsOf(whole.picture, fromRows);
    const Rows destinationRows = rowsOf(target.picture, toRows);
    const qlxtest::Picture source = qlxtest::viewOf(whole.picture, sourceRows.first, sourceRows.count);
    const qlxtest::Picture destination = qlxtest::viewOf(target.picture, destinationRows.first, destinationRows.count);
    const std::vector<std::uint8_t> formerTarget(target.first.span().begin(), target.first.span().end());
    const std::vector<std::uint8_t> former = qlxtest::bytesOf(*whole.picture);
    qlx::PixelTransferSession session;
    require(session.transferImage(*source, *destination) == 0);
    require(qlxtest::bytesOf(*whole.picture) == former);
    require(keepsTheRest(target, formerTarget, destinationRows));

    // Into BGRA each row is what its source row is by itself.
    if (equalWidths && to.format == qlx::kPixelFormatBGRA) {
        for (std::size_t row = 0; row < destination->height(); ++row) {
            require(rowAsBGRA(destination, row) == rowAsBGRA(source, row * source->height() / destination->height()));
        }
    }
    return 0;
}
