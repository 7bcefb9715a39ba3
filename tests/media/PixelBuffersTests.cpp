#include <QLXClosedCaptionsUtilities/platform/PixelBuffers.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include "Pictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

using qlxtest::ExactBuffer;
using qlxtest::ExactPicture;
using qlxtest::makePicture;
using qlxtest::Picture;
using qlxtest::viewOf;

namespace {

qlx::PixelBufferFactory& factory() {
    return qlx::services().get<qlx::PixelBufferFactory>();
}

qlx::MediaStatus withPlanes(std::uint32_t format, std::initializer_list<qlx::PixelPlane> planes, Picture* picture) {
    // Five columns and three rows: 20, 16, 12 or 5 bytes a row; 6 bytes of chroma in two rows.
    return factory().createPixelBufferWithBytes(5, 3, format, {planes.begin(), planes.size()}, nullptr, picture);
}

struct Shape {
    std::uint32_t format;
    std::size_t width;
    std::size_t bytesPerRow;
    std::size_t dataSize;  ///< Of three rows.
};

}  // namespace

TEST(PixelBuffers, HaveTheRowsOfTheirFormat) {
    const Shape shapes[] = {
        {qlx::kPixelFormatBGRA, 720, 2880, 8640},   {qlx::kPixelFormatARGB, 1, 4, 12},
        {qlx::kPixelFormatV210, 1, 128, 384},       {qlx::kPixelFormatV210, 48, 128, 384},
        {qlx::kPixelFormatV210, 49, 256, 768},      {qlx::kPixelFormatV210, 720, 1920, 5760},
        {qlx::kPixelFormatV210, 1280, 3456, 10368}, {qlx::kPixelFormatV210, 1920, 5120, 15360},
        {qlx::kPixelFormat2vuy, 720, 1440, 4320},   {qlx::kPixelFormat2vuy, 5, 12, 36},
        {qlx::kPixelFormatYuvs, 1, 4, 12},          {qlx::kPixelFormat420v, 6, 6, 18 + 12},
        {qlx::kPixelFormat420v, 5, 5, 15 + 12},
    };
    for (const Shape& shape : shapes) {
        const Picture picture = makePicture(shape.width, 3, shape.format);
        EXPECT_EQ(picture->pixelFormat(), shape.format);
        EXPECT_EQ(picture->width(), shape.width);
        EXPECT_EQ(picture->height(), 3U);
        EXPECT_EQ(picture->bytesPerRow(), shape.bytesPerRow) << shape.format << ' ' << shape.width;
        EXPECT_EQ(picture->dataSize(), shape.dataSize) << shape.format << ' ' << shape.width;
        EXPECT_EQ(picture->firstRowInPicture(), 0U);
        EXPECT_EQ(picture->pictureHeight(), 3U);
        EXPECT_EQ(picture->row(2), picture->baseAddress() + 2 * shape.bytesPerRow);
        EXPECT_EQ(picture->chromaRow(0) != nullptr, shape.format == qlx::kPixelFormat420v);
        EXPECT_TRUE(std::all_of(picture->baseAddress(), picture->baseAddress() + shape.dataSize,
                                [](std::uint8_t byte) { return byte == 0; }));
    }
}

TEST(PixelBuffers, RefuseSidesAndFormatsThatCannotBe) {
    const Picture former = makePicture(1, 1, qlx::kPixelFormatBGRA);
    Picture picture = former;
    constexpr std::uint64_t kHuge = std::numeric_limits<std::uint64_t>::max();
    for (const std::uint64_t side : {std::uint64_t{0}, qlx::kMaximumPictureSide + 1, kHuge}) {
        EXPECT_EQ(factory().createPixelBuffer(side, 3, qlx::kPixelFormatBGRA, &picture), qlx::kPixelStatusBadParameter);
        EXPECT_EQ(factory().createPixelBuffer(3, side, qlx::kPixelFormatBGRA, &picture), qlx::kPixelStatusBadParameter);
        EXPECT_EQ(factory().createPixelBufferWithBytes(side, 3, qlx::kPixelFormatBGRA, {}, nullptr, &picture),
                  qlx::kPixelStatusBadParameter);
        EXPECT_EQ(factory().createPixelBufferWithBytes(3, side, qlx::kPixelFormatBGRA, {}, nullptr, &picture),
                  qlx::kPixelStatusBadParameter);
    }
    EXPECT_EQ(factory().createPixelBuffer(3, 3, qlx::fourCC("b64a"), &picture), qlx::kPixelStatusUnsupportedFormat);
    EXPECT_EQ(withPlanes(qlx::fourCC("b64a"), {}, &picture), qlx::kPixelStatusUnsupportedFormat);
    EXPECT_EQ(picture, former);
    EXPECT_EQ(makePicture(qlx::kMaximumPictureSide, 1, qlx::kPixelFormatBGRA)->bytesPerRow(), 262144U);
}

TEST(PixelBuffers, RefuseMoreBytesThanAPictureMayHave) {
    Picture picture;
    constexpr std::uint64_t kSide = qlx::kMaximumPictureSide;
    for (const std::uint32_t format : qlxtest::kPixelFormats) {
        EXPECT_EQ(factory().createPixelBuffer(kSide, kSide, format, &picture), qlx::kPixelStatusNoMemory);
    }
    // 2 ^ 30 bytes are 2 ^ 28 pixels of BGRA: 65536 x 4096.
    EXPECT_EQ(factory().createPixelBuffer(kSide, 4097, qlx::kPixelFormatBGRA, &picture), qlx::kPixelStatusNoMemory);
    EXPECT_EQ(picture, nullptr);
}

TEST(PixelBuffers, TakeAHostsMemoryThatHoldsAllRows) {
    ExactBuffer bytes = ExactBuffer::filled(64, 7);
    ExactBuffer chroma = ExactBuffer::filled(16, 9);
    std::uint8_t* const luma = bytes.data();
    const Picture former = makePicture(1, 1, qlx::kPixelFormatBGRA);
    Picture picture = former;
    using qlx::kPixelFormat420v;
    using qlx::kPixelFormatBGRA;
    using qlx::kPixelFormatV210;
    using qlx::kPixelStatusBadParameter;
    // Too few planes, too many, none, a stride that is too short, a size that is too short.
    EXPECT_EQ(withPlanes(kPixelFormatBGRA, {}, &picture), kPixelStatusBadParameter);
    EXPECT_EQ(withPlanes(kPixelFormatBGRA, {{luma, 20, 60}, {chroma.data(), 6, 12}}, &picture),
              kPixelStatusBadParameter);
    EXPECT_EQ(withPlanes(kPixelFormat420v, {{luma, 5, 15}}, &picture), kPixelStatusBadParameter);
    EXPECT_EQ(withPlanes(kPixelFormatBGRA, {{nullptr, 20, 60}}, &picture), kPixelStatusBadParameter);
    EXPECT_EQ(withPlanes(kPixelFormatBGRA, {{luma, 19, 64}}, &picture), kPixelStatusBadParameter);
    EXPECT_EQ(withPlanes(kPixelFormatBGRA, {{luma, 20, 59}}, &picture), kPixelStatusBadParameter);
    EXPECT_EQ(withPlanes(kPixelFormatBGRA, {{luma, 20, 0}}, &picture), kPixelStatusBadParameter);
    EXPECT_EQ(withPlanes(kPixelFormatV210, {{luma, 16, 47}}, &picture), kPixelStatusBadParameter);
    EXPECT_EQ(withPlanes(kPixelFormat420v, {{luma, 5, 15}, {chroma.data(), 5, 16}}, &picture),
              kPixelStatusBadParameter);
    EXPECT_EQ(withPlanes(kPixelFormat420v, {{luma, 5, 15}, {chroma.data(), 6, 11}}, &picture),
              kPixelStatusBadParameter);
    EXPECT_EQ(picture, former);

    EXPECT_EQ(withPlanes(kPixelFormatBGRA, {{luma, 20, 60}}, &picture), 0);
    EXPECT_EQ(withPlanes(kPixelFormatV210, {{luma, 16, 48}}, &picture), 0);
    // The last row's padding may be missing.
    EXPECT_EQ(withPlanes(kPixelFormatBGRA, {{luma, 22, 64}}, &picture), 0);
    EXPECT_EQ(picture->baseAddress(), luma);
    EXPECT_EQ(picture->bytesPerRow(), 22U);
    EXPECT_EQ(picture->dataSize(), 64U);
    EXPECT_EQ(withPlanes(kPixelFormat420v, {{luma, 5, 15}, {chroma.data(), 10, 16}}, &picture), 0);
    EXPECT_EQ(picture->chromaRow(0), chroma.data());
    EXPECT_EQ(picture->chromaRow(1), chroma.data());
    EXPECT_EQ(picture->chromaRow(2), chroma.data() + 10);
    EXPECT_EQ(bytes[0], 7);
}

TEST(PixelBuffers, ViewsShareTheRowsOfTheirPicture) {
    const Picture picture = makePicture(48, 10, qlx::kPixelFormatV210);
    const Picture view = viewOf(picture, 3, 5);
    EXPECT_EQ(view->pixelFormat(), qlx::kPixelFormatV210);
    EXPECT_EQ(view->width(), 48U);
    EXPECT_EQ(view->height(), 5U);
    EXPECT_EQ(view->bytesPerRow(), 128U);
    EXPECT_EQ(view->dataSize(), 640U);
    EXPECT_EQ(view->baseAddress(), picture->row(3));
    EXPECT_EQ(view->firstRowInPicture(), 3U);
    EXPECT_EQ(view->pictureHeight(), 10U);
    const Picture inner = viewOf(view, 4, 1);
    EXPECT_EQ(inner->baseAddress(), picture->row(7));
    EXPECT_EQ(inner->firstRowInPicture(), 7U);
    EXPECT_EQ(inner->pictureHeight(), 10U);
}

TEST(PixelBuffers, ViewsTakeTheChromaOfTheirPicturesRows) {
    const Picture picture = makePicture(6, 9, qlx::kPixelFormat420v);
    for (std::size_t first = 0; first < 9; ++first) {
        for (std::size_t rows = 1; first + rows <= 9; ++rows) {
            const Picture view = viewOf(picture, first, rows);
            const std::size_t chromaRows = (first + rows + 1) / 2 - first / 2;
            EXPECT_EQ(view->dataSize(), rows * 6 + chromaRows * 6) << first << ' ' << rows;
            for (std::size_t row = 0; row < rows; ++row) {
                EXPECT_EQ(view->row(row), picture->baseAddress() + (first + row) * 6);
                EXPECT_EQ(view->chromaRow(row), picture->baseAddress() + 9 * 6 + (first + row) / 2 * 6);
            }
        }
    }
    // A view of a view that begins on an odd row.
    EXPECT_EQ(viewOf(viewOf(picture, 3, 4), 1, 2)->chromaRow(0), picture->chromaRow(4));
    EXPECT_EQ(viewOf(viewOf(picture, 3, 4), 2, 2)->chromaRow(1), picture->chromaRow(6));
}

TEST(PixelBuffers, AViewOfTheLastRowEndsWithThePicture) {
    const ExactPicture exact(5, 3, qlx::kPixelFormat420v, 3, 0);
    EXPECT_EQ(exact.picture->dataSize(), 21U + 15U);
    EXPECT_EQ(viewOf(exact.picture, 2, 1)->dataSize(), 5U + 6U);
    EXPECT_EQ(viewOf(exact.picture, 0, 2)->dataSize(), 16U + 9U);
}

TEST(PixelBuffers, RefuseAViewOfRowsThatAreNotThere) {
    const Picture picture = makePicture(6, 3, qlx::kPixelFormat2vuy);
    const Picture former = viewOf(picture, 0, 1);
    constexpr std::uint64_t kHuge = std::numeric_limits<std::uint64_t>::max();
    for (const qlx::Range& rows : {qlx::Range{0, 0}, qlx::Range{0, 4}, qlx::Range{1, 3}, qlx::Range{3, 1},
                                   qlx::Range{2, kHuge}, qlx::Range{kHuge, 2}, qlx::Range{kHuge, kHuge}}) {
        Picture view = former;
        EXPECT_EQ(factory().createView(picture, rows, &view), qlx::kPixelStatusBadParameter);
        EXPECT_EQ(view, former);
    }
    Picture view = former;
    EXPECT_EQ(factory().createView(nullptr, {0, 1}, &view), qlx::kPixelStatusBadParameter);
    EXPECT_EQ(view, former);
    // A view of a view ends with the view, although the picture goes on.
    EXPECT_EQ(factory().createView(former, {0, 2}, &view), qlx::kPixelStatusBadParameter);
}

TEST(PixelBuffers, ViewsKeepTheMemoryAlive) {
    const auto memory = std::make_shared<std::vector<std::uint8_t>>(60, std::uint8_t{5});
    const qlx::PixelPlane plane{memory->data(), 20, 60};
    Picture picture;
    ASSERT_EQ(factory().createPixelBufferWithBytes(5, 3, qlx::kPixelFormatBGRA, {&plane, 1}, memory, &picture), 0);
    EXPECT_EQ(memory.use_count(), 2);
    Picture view = viewOf(picture, 2, 1);
    picture = nullptr;
    EXPECT_EQ(memory.use_count(), 2);
    EXPECT_EQ(view->row(0)[19], 5);
    view = nullptr;
    EXPECT_EQ(memory.use_count(), 1);
}

TEST(PixelBuffers, LocksAreGranted) {
    const Picture picture = makePicture(2, 2, qlx::kPixelFormat2vuy);
    EXPECT_EQ(factory().lockBaseAddress(*picture, qlx::PixelAccess::ReadOnly), 0);
    EXPECT_EQ(factory().unlockBaseAddress(*picture, qlx::PixelAccess::ReadOnly), 0);
    EXPECT_EQ(factory().lockBaseAddress(*picture, qlx::PixelAccess::ReadWrite), 0);
    EXPECT_EQ(factory().unlockBaseAddress(*picture, qlx::PixelAccess::ReadWrite), 0);
}
