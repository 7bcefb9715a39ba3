// The line-21 reader on arbitrary pictures: any format, width, height and stride; what is drawn reads back.
#include <QLXClosedCaptionsUtilities/QLXCEA608ReaderWriter.h>
#include <qlx/line21/line21.h>

#include "FuzzPictures.h"

using qlxfuzz::require;

namespace {

/// What the core reads of a row in the same places.
qlx::cea608::Pair pairIn(const qlx::PixelBuffer& picture, std::size_t row) {
    const std::size_t width = picture.width();
    qlx::line21::RowView view{{picture.row(row), qlxtest::bytesOfRow(picture.pixelFormat(), width)}, {}};
    if (const std::uint8_t* const chroma = picture.chromaRow(row)) {
        view.chroma = {chroma, (width + 1) / 2 * 2};
    }
    return *readPair(view, {picture.pixelFormat(), width, picture.pictureHeight()}, nullptr,
                     {.sampling = qlx::line21::Sampling::Fixed});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const qlxfuzz::Shape shape = qlxfuzz::takeShape(input);
    const std::uint8_t first = input.takeByte();
    const std::uint8_t second = input.takeByte();
    const qlxfuzz::FilledPicture video(shape, input.rest());

    const auto sample = std::make_shared<qlx::SampleBuffer>();
    sample->imageBuffer = video.picture;
    QLXCEA608ReaderWriter object;
    const auto found = object.createClosedCaptionSampleFromCEA608VideoSampleBuffer(sample);
    require(static_cast<bool>(found) == (shape.height >= 3));
    require(!found || found->dataBuffer->size() == 4);

    // The cells 40 and more of wider rows meet the second byte again.
    if (found && shape.height >= 3 && shape.width <= 288 + 27 * 40) {
        // Two rows onto rows 0 to 2 of the lines: both of rows 1 and 2 are floor(row x 2 / 3) = 0 and 1.
        const qlx::cea608::Pair upper = pairIn(*video.picture, 1);
        const qlx::cea608::Pair lower = pairIn(*video.picture, 2);
        const std::uint8_t* const bytes = found->dataBuffer->data();
        require(bytes[0] == upper.first && bytes[1] == (upper.second | lower.first) && bytes[2] == lower.second);
    }

    object.overlayCEA608FromData_videoPixelBuffer({first, second}, video.picture);
    // Another object, whose picture of lines does not hold the bytes from the drawing.
    const auto drawn = QLXCEA608ReaderWriter().createClosedCaptionSampleFromCEA608VideoSampleBuffer(sample);
    // The last cell is read at pixel 693; rows of more columns than that hold both bytes.
    if (drawn && shape.width > 693) {
        const std::uint8_t* const bytes = drawn->dataBuffer->data();
        require(bytes[0] == first && bytes[1] == (second | 0x80U) && bytes[2] == 0x80 && bytes[3] == 0);
    }
    if (drawn && shape.width <= 274) {
        require(std::equal(drawn->dataBuffer->data(), drawn->dataBuffer->data() + 4, found->dataBuffer->data()));
    }
    return 0;
}
