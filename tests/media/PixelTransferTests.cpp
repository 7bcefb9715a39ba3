#include <QLXClosedCaptionsUtilities/platform/PixelBuffers.h>

#include "Pictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>

using qlxtest::bytesOf;
using qlxtest::ExactPicture;
using qlxtest::kPixelFormats;
using qlxtest::makePicture;
using qlxtest::Picture;
using qlxtest::viewOf;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kSD = 480;
constexpr std::size_t kHD = 720;

void transfer(const qlx::PixelBuffer& source, qlx::PixelBuffer& destination) {
    qlx::PixelTransferSession session;
    ASSERT_EQ(session.transferImage(source, destination), 0);
}

/// A BGRA picture of one row.
Picture rowOfPixels(const std::vector<std::array<std::uint8_t, 4>>& pixels) {
    Picture picture = makePicture(pixels.size(), 1, qlx::kPixelFormatBGRA);
    for (std::size_t x = 0; x < pixels.size(); ++x) {
        std::copy(pixels[x].begin(), pixels[x].end(), picture->row(0) + 4 * x);
    }
    return picture;
}

constexpr std::array<std::uint8_t, 4> kRed{0, 0, 255, 255};
constexpr std::array<std::uint8_t, 4> kGreen{0, 255, 0, 255};
constexpr std::array<std::uint8_t, 4> kBlue{255, 0, 0, 255};
constexpr std::array<std::uint8_t, 4> kWhite{255, 255, 255, 255};
constexpr std::array<std::uint8_t, 4> kBlack{0, 0, 0, 255};

/// The first row of a picture of `height` rows and of the source's width, filled from a BGRA row.
Bytes rowFrom(const Picture& bgra, std::uint32_t format, std::size_t height) {
    const Picture picture = makePicture(bgra->width(), height, format);
    const Picture view = viewOf(picture, 0, 1);
    transfer(*bgra, *view);
    return bytesOf(*view);
}

/// The row of a picture of `height` rows as BGRA.
Bytes rowToBGRA(const Bytes& bytes, std::size_t width, std::uint32_t format, std::size_t height) {
    const Picture picture = makePicture(width, height, format);
    const std::size_t first = qlxtest::bytesOfRow(format, width);
    std::copy(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(first), picture->row(0));
    if (picture->chromaRow(0)) {
        std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(first), bytes.end(), picture->chromaRow(0));
    }
    const Picture bgra = makePicture(width, 1, qlx::kPixelFormatBGRA);
    transfer(*viewOf(picture, 0, 1), *bgra);
    return bytesOf(*bgra);
}

/// Four bytes that are one little-endian word of three samples.
void appendWord(Bytes& bytes, unsigned low, unsigned middle, unsigned high) {
    const unsigned word = low | middle << 10U | high << 20U;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<std::uint8_t>(word >> shift));
    }
}

/// A group of six equal pixels.
Bytes v210Group(unsigned y, unsigned cb, unsigned cr) {
    Bytes bytes;
    appendWord(bytes, cb, y, cr);
    appendWord(bytes, y, cb, y);
    appendWord(bytes, cr, y, cb);
    appendWord(bytes, y, cr, y);
    return bytes;
}

struct Colour {
    std::array<std::uint8_t, 4> bgra;
    std::size_t height;
    unsigned y, cb, cr;        ///< 8 bits.
    unsigned y10, cb10, cr10;  ///< 10 bits.
};

// Worked out from the luma weights of the standards: red has Y' = 16 + 219 Kr, Cb = 128 - 112 Kr / (1 - Kb), Cr = 240.
const Colour kColours[] = {
    {kBlack, kSD, 16, 128, 128, 64, 512, 512},   {kBlack, kHD, 16, 128, 128, 64, 512, 512},
    {kWhite, kSD, 235, 128, 128, 940, 512, 512}, {kWhite, kHD, 235, 128, 128, 940, 512, 512},
    {kRed, kSD, 81, 90, 240, 326, 361, 960},     {kRed, kHD, 63, 102, 240, 250, 409, 960},
    {kGreen, kSD, 145, 54, 34, 578, 215, 137},   {kGreen, kHD, 173, 42, 26, 691, 167, 105},
    {kBlue, kSD, 41, 240, 110, 164, 960, 439},   {kBlue, kHD, 32, 240, 118, 127, 960, 471},
};

std::uint8_t byteOf(unsigned value) {
    return static_cast<std::uint8_t>(value);
}

}  // namespace

TEST(PixelTransfer, WritesTheSamplesOfTheStandards) {
    for (const Colour& colour : kColours) {
        const std::uint8_t y = byteOf(colour.y);
        const std::uint8_t cb = byteOf(colour.cb);
        const std::uint8_t cr = byteOf(colour.cr);
        const Picture two = rowOfPixels({colour.bgra, colour.bgra});
        EXPECT_EQ(rowFrom(two, qlx::kPixelFormat2vuy, colour.height), (Bytes{cb, y, cr, y}));
        EXPECT_EQ(rowFrom(two, qlx::kPixelFormatYuvs, colour.height), (Bytes{y, cb, y, cr}));
        EXPECT_EQ(rowFrom(two, qlx::kPixelFormat420v, colour.height), (Bytes{y, y, cb, cr}));
        EXPECT_EQ(rowFrom(two, qlx::kPixelFormatARGB, colour.height),
                  (Bytes{255, colour.bgra[2], colour.bgra[1], colour.bgra[0], 255, colour.bgra[2], colour.bgra[1],
                         colour.bgra[0]}));
        const Picture six = rowOfPixels(std::vector(6, colour.bgra));
        EXPECT_EQ(rowFrom(six, qlx::kPixelFormatV210, colour.height), v210Group(colour.y10, colour.cb10, colour.cr10));
    }
}

TEST(PixelTransfer, ReadsTheSamplesOfTheStandards) {
    const auto isNear = [](const Bytes& pixels, const std::array<std::uint8_t, 4>& expected, std::size_t count) {
        for (std::size_t index = 0; index < count * 4; ++index) {
            if (std::abs(pixels[index] - expected[index % 4]) > 1) {
                return false;
            }
        }
        return pixels.size() == count * 4;
    };
    // A sample of 8 bits is up to half a step off, which is up to 1.1 steps of a component.
    for (const Colour& colour : kColours) {
        const std::uint8_t y = byteOf(colour.y);
        const std::uint8_t cb = byteOf(colour.cb);
        const std::uint8_t cr = byteOf(colour.cr);
        EXPECT_TRUE(isNear(rowToBGRA({cb, y, cr, y}, 2, qlx::kPixelFormat2vuy, colour.height), colour.bgra, 2));
        EXPECT_TRUE(isNear(rowToBGRA({y, cb, y, cr}, 2, qlx::kPixelFormatYuvs, colour.height), colour.bgra, 2));
        EXPECT_TRUE(isNear(rowToBGRA({y, y, cb, cr}, 2, qlx::kPixelFormat420v, colour.height), colour.bgra, 2));
        EXPECT_TRUE(
            isNear(rowToBGRA(v210Group(colour.y10, colour.cb10, colour.cr10), 6, qlx::kPixelFormatV210, colour.height),
                   colour.bgra, 6));
    }
    EXPECT_EQ(rowToBGRA({10, 1, 2, 3}, 1, qlx::kPixelFormatARGB, kSD), (Bytes{3, 2, 1, 10}));
    // Beyond black and white.
    EXPECT_EQ(rowToBGRA({128, 0, 128, 255}, 2, qlx::kPixelFormat2vuy, kSD), (Bytes{0, 0, 0, 255, 255, 255, 255, 255}));
    // The farthest corners: every sum stays inside the table of limits. At Y' 0 the red of Cr 255 (709) is
    // (0 - 16) x 255/219 + 127 x 255/224 x 1.5748 = 209.05; its green and blue are negative.
    EXPECT_EQ(rowToBGRA({0, 0, 255, 0}, 1, qlx::kPixelFormat2vuy, kHD), (Bytes{0, 0, 209, 255}));
    EXPECT_EQ(rowToBGRA({255, 255, 255, 255}, 1, qlx::kPixelFormat2vuy, kHD), (Bytes{255, 184, 255, 255}));
    EXPECT_EQ(rowToBGRA(v210Group(1023, 1023, 1023), 6, qlx::kPixelFormatV210, kHD)[0], 255);
    EXPECT_EQ(rowToBGRA(v210Group(0, 0, 0), 6, qlx::kPixelFormatV210, kHD)[0], 0);
}

TEST(PixelTransfer, IsTheNearestValueForEveryColour) {
    std::mt19937 random(21);
    for (const std::size_t height : {kSD, kHD}) {
        const double kr = height == kSD ? 0.299 : 0.2126;
        const double kb = height == kSD ? 0.114 : 0.0722;
        for (int run = 0; run < 2000; ++run) {
            const auto component = [&random] { return static_cast<std::uint8_t>(random() % 256); };
            const std::array<std::uint8_t, 4> pixel{component(), component(), component(), 255};
            const Bytes row = rowFrom(rowOfPixels({pixel, pixel}), qlx::kPixelFormat2vuy, height);
            const double luma = kr * pixel[2] + (1 - kr - kb) * pixel[1] + kb * pixel[0];
            EXPECT_NEAR(row[1], 16 + luma * 219 / 255, 0.505);
            EXPECT_NEAR(row[0], 128 + (pixel[0] - luma) / (1 - kb) * 112 / 255, 0.505);
            EXPECT_NEAR(row[2], 128 + (pixel[2] - luma) / (1 - kr) * 112 / 255, 0.505);
            EXPECT_EQ(row[3], row[1]);

            const Bytes samples{component(), component(), component(), component()};
            const Bytes bgra = rowToBGRA(samples, 2, qlx::kPixelFormat2vuy, height);
            const double grey = (samples[1] - 16) * 255.0 / 219;
            const double cb = (samples[0] - 128) * 255.0 / 224 * 2;
            const double cr = (samples[2] - 128) * 255.0 / 224 * 2;
            const double green = grey - (cb * (1 - kb) * kb + cr * (1 - kr) * kr) / (1 - kr - kb);
            EXPECT_NEAR(bgra[0], std::clamp(grey + cb * (1 - kb), 0.0, 255.0), 0.505);
            EXPECT_NEAR(bgra[1], std::clamp(green, 0.0, 255.0), 0.505);
            EXPECT_NEAR(bgra[2], std::clamp(grey + cr * (1 - kr), 0.0, 255.0), 0.505);
            EXPECT_EQ(bgra[3], 255);
        }
    }
}

TEST(PixelTransfer, KeepsGreysWithinTwoSteps) {
    for (const std::uint32_t format : kPixelFormats) {
        for (const std::size_t height : {kSD, kHD}) {
            std::vector<std::array<std::uint8_t, 4>> greys;
            for (unsigned level = 0; level < 256; ++level) {
                greys.push_back({byteOf(level), byteOf(level), byteOf(level), 255});
            }
            const Bytes back = rowToBGRA(rowFrom(rowOfPixels(greys), format, height), 256, format, height);
            ASSERT_EQ(back.size(), 1024U);
            for (unsigned level = 0; level < 256; ++level) {
                for (std::size_t component = 0; component < 3; ++component) {
                    EXPECT_NEAR(back[4 * level + component], level, 2) << "format " << format;
                }
                EXPECT_EQ(back[4 * level + 3], 255);
            }
        }
    }
}

TEST(PixelTransfer, KeepsAlphaOnlyBetweenRGBFormats) {
    const Picture row = rowOfPixels({{1, 2, 3, 4}});
    EXPECT_EQ(rowToBGRA(rowFrom(row, qlx::kPixelFormatARGB, kSD), 1, qlx::kPixelFormatARGB, kSD), bytesOf(*row));
    EXPECT_EQ(rowFrom(row, qlx::kPixelFormatBGRA, kSD), bytesOf(*row));
    EXPECT_EQ(rowToBGRA(rowFrom(row, qlx::kPixelFormatYuvs, kSD), 1, qlx::kPixelFormatYuvs, kSD)[3], 255);
}

TEST(PixelTransfer, AChromaSampleIsTheMeanOfItsPixels) {
    // Red and black (BT.601): Cb = 128 - 37.80 / 2, Cr = 128 + 112 / 2; then red alone in the odd column.
    const Picture row = rowOfPixels({kRed, kBlack, kRed});
    EXPECT_EQ(rowFrom(row, qlx::kPixelFormatYuvs, kSD), (Bytes{81, 109, 16, 184, 81, 90, 0, 240}));
    // Two rows, red above black, share one chroma row of 420v.
    const Picture column = makePicture(1, 2, qlx::kPixelFormatBGRA);
    std::copy(kRed.begin(), kRed.end(), column->row(0));
    std::copy(kBlack.begin(), kBlack.end(), column->row(1));
    const Picture planar = makePicture(1, 2, qlx::kPixelFormat420v);
    transfer(*column, *planar);
    EXPECT_EQ(bytesOf(*planar), (Bytes{81, 109, 184, 16, 109, 184}));
    // Into a view that begins on the lower row, red alone decides; what lies outside the view keeps its luma.
    const Picture tall = makePicture(1, 4, qlx::kPixelFormat420v);
    transfer(*rowOfPixels({kRed}), *viewOf(tall, 1, 1));
    EXPECT_EQ(Bytes(tall->baseAddress(), tall->baseAddress() + 8), (Bytes{0, 81, 0, 0, 90, 240, 0, 0}));
}

TEST(PixelTransfer, RowsOfAViewShareChromaAsInTheirPicture) {
    const Picture column = makePicture(1, 3, qlx::kPixelFormatBGRA);
    std::copy(kRed.begin(), kRed.end(), column->row(0));
    std::copy(kBlack.begin(), kBlack.end(), column->row(1));
    std::copy(kRed.begin(), kRed.end(), column->row(2));
    // Rows 1 to 3 of four: red alone has the first chroma row, black and red share the second.
    const Picture lower = makePicture(1, 4, qlx::kPixelFormat420v);
    transfer(*column, *viewOf(lower, 1, 3));
    EXPECT_EQ(Bytes(lower->baseAddress(), lower->baseAddress() + 8), (Bytes{0, 81, 16, 81, 90, 240, 109, 184}));
    // Rows 0 to 2: red and black share the first chroma row, red alone has the second.
    const Picture upper = makePicture(1, 4, qlx::kPixelFormat420v);
    transfer(*column, *viewOf(upper, 0, 3));
    EXPECT_EQ(Bytes(upper->baseAddress(), upper->baseAddress() + 8), (Bytes{81, 16, 81, 0, 109, 184, 90, 240}));
}

TEST(PixelTransfer, AViewOnAnOddRowReadsItsOwnChroma) {
    const Picture planar = makePicture(2, 4, qlx::kPixelFormat420v);
    const Bytes bytes{81, 81, 81, 81, 41, 41, 41, 41, 90, 240, 240, 110};  // Two rows of red, two of blue (BT.601).
    std::copy(bytes.begin(), bytes.end(), planar->baseAddress());
    const Picture bgra = makePicture(2, 2, qlx::kPixelFormatBGRA);
    transfer(*viewOf(planar, 1, 2), *bgra);
    EXPECT_EQ(bgra->row(0)[2], 254) << "red of row 1";
    EXPECT_EQ(bgra->row(0)[0], 0);
    EXPECT_EQ(bgra->row(1)[0], 255) << "blue of row 2";
    EXPECT_LE(bgra->row(1)[2], 1);
}

TEST(PixelTransfer, AViewHasTheMatrixOfItsPicture) {
    const Picture red = rowOfPixels({kRed, kRed});
    for (const std::size_t height : {std::size_t{719}, std::size_t{720}}) {
        const Picture picture = makePicture(2, height, qlx::kPixelFormatYuvs);
        const Picture view = viewOf(viewOf(picture, height - 3, 3), 2, 1);
        transfer(*red, *view);
        EXPECT_EQ(view->row(0)[0], height == 719 ? 81 : 63);
        const Picture back = makePicture(2, 1, qlx::kPixelFormatBGRA);
        transfer(*view, *back);
        EXPECT_NEAR(back->row(0)[2], 255, 1);
        EXPECT_NEAR(back->row(0)[1], 0, 1);
    }
}

TEST(PixelTransfer, MatchesRowsAndColumnsByTheFloorRule) {
    for (const std::uint32_t from : kPixelFormats) {
        for (const std::uint32_t to : kPixelFormats) {
            for (std::size_t sourceRows = 1; sourceRows <= 5; ++sourceRows) {
                for (std::size_t rows = 1; rows <= 5; ++rows) {
                    // Greys 0, 40, 80 ... down the rows.
                    const Picture source = makePicture(7, sourceRows, qlx::kPixelFormatBGRA);
                    for (std::size_t row = 0; row < sourceRows; ++row) {
                        std::fill_n(source->row(row), 28, byteOf(static_cast<unsigned>(row) * 40));
                    }
                    const Picture middle = makePicture(7, sourceRows, from);
                    transfer(*source, *middle);
                    const Picture destination = makePicture(7, rows, to);
                    transfer(*middle, *destination);
                    const Picture result = makePicture(7, rows, qlx::kPixelFormatBGRA);
                    transfer(*destination, *result);
                    for (std::size_t row = 0; row < rows; ++row) {
                        const auto level = static_cast<double>(row * sourceRows / rows * 40);
                        EXPECT_NEAR(result->row(row)[0], level, 3);
                        EXPECT_NEAR(result->row(row)[25], level, 3);
                    }
                }
            }
        }
    }
    const Picture wide = rowOfPixels({{0, 0, 0, 1}, {1, 1, 1, 2}, {2, 2, 2, 3}, {3, 3, 3, 4}, {4, 4, 4, 5}});
    const Picture three = makePicture(3, 1, qlx::kPixelFormatBGRA);
    transfer(*wide, *three);
    EXPECT_EQ(bytesOf(*three), (Bytes{0, 0, 0, 1, 1, 1, 1, 2, 3, 3, 3, 4}));  // Columns 0, 1, 3.
    const Picture seven = makePicture(7, 1, qlx::kPixelFormatARGB);
    transfer(*three, *seven);
    EXPECT_EQ(bytesOf(*seven),
              (Bytes{1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 2, 1, 1, 1, 2, 1, 1, 1, 4, 3, 3, 3, 4, 3, 3, 3}));
}

TEST(PixelTransfer, MatchesColumnsOfSubsampledPictures) {
    // Black, white, black, white, black.
    const ExactPicture source(5, 1, qlx::kPixelFormat2vuy, 0, 128);
    const Bytes row{128, 16, 128, 235, 128, 16, 128, 235, 128, 16, 128, 0};
    std::copy(row.begin(), row.end(), source.picture->row(0));
    const ExactPicture three(3, 2, qlx::kPixelFormatBGRA, 8, 0x55);
    transfer(*source.picture, *three.picture);
    for (std::size_t index = 0; index < 2; ++index) {
        const std::uint8_t* const found = three.picture->row(index);
        EXPECT_EQ(Bytes(found, found + 12), (Bytes{0, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255, 255}));  // 0, 1, 3.
    }
    EXPECT_EQ(Bytes(three.picture->row(0) + 12, three.picture->row(1)), Bytes(8, 0x55)) << "padding of a row";
    const ExactPicture seven(7, 1, qlx::kPixelFormat420v, 0, 0x55);
    transfer(*source.picture, *seven.picture);
    EXPECT_EQ(bytesOf(*seven.picture),  // Columns 0, 0, 1, 2, 2, 3, 4.
              (Bytes{16, 16, 235, 16, 16, 235, 16, 128, 128, 128, 128, 128, 128, 128, 128}));
}

TEST(PixelTransfer, TwoRowsBecomeTheThreeLines) {
    const Picture video = makePicture(2, 2, qlx::kPixelFormat2vuy);
    const Bytes rows{128, 16, 128, 16, 128, 235, 128, 235};
    std::copy(rows.begin(), rows.end(), video->baseAddress());
    const Picture lines = makePicture(2, 3, qlx::kPixelFormatBGRA);
    transfer(*video, *lines);
    EXPECT_EQ(lines->row(0)[0], 0);
    EXPECT_EQ(lines->row(1)[0], 0);
    EXPECT_EQ(lines->row(2)[0], 255);
}

TEST(PixelTransfer, TouchesNoByteOutsideThePictureAtAnyWidth) {
    qlx::PixelTransferSession session;
    for (const std::uint32_t format : kPixelFormats) {
        for (std::size_t width = 1; width <= 50; ++width) {
            for (const std::size_t padding : {std::size_t{0}, std::size_t{5}}) {
                ExactPicture white(width, 3, qlx::kPixelFormatBGRA, padding, 255);
                ExactPicture video(width, 3, format, padding, 0x55);
                ASSERT_EQ(session.transferImage(*white.picture, *video.picture), 0);
                const std::size_t rowBytes = qlxtest::bytesOfRow(format, width);
                for (std::size_t row = 0; row + 1 < 3; ++row) {
                    for (std::size_t byte = rowBytes; byte < rowBytes + padding; ++byte) {
                        ASSERT_EQ(video.picture->row(row)[byte], 0x55) << "padding of a row";
                    }
                }
                const std::uint8_t* const chroma = video.picture->chromaRow(0);
                for (std::size_t byte = 0; chroma && byte < padding; ++byte) {
                    ASSERT_EQ(chroma[(width + 1) / 2 * 2 + byte], 0x55) << "padding of a chroma row";
                }
                ExactPicture back(width, 3, qlx::kPixelFormatBGRA, padding, 0);
                ASSERT_EQ(session.transferImage(*video.picture, *back.picture), 0);
                EXPECT_EQ(bytesOf(*back.picture), Bytes(width * 12, 255)) << format << ' ' << width;
            }
        }
    }
}

TEST(PixelTransfer, KeepsSamplesOfAGroupThatBelongToNoPixel) {
    // 2vuy and yuvs of three columns: the second luma of the last pair.
    ExactPicture packed(3, 1, qlx::kPixelFormat2vuy, 0, 0x55);
    const Picture white = rowOfPixels({kWhite, kWhite, kWhite});
    transfer(*white, *packed.picture);
    EXPECT_EQ(bytesOf(*packed.picture), (Bytes{128, 235, 128, 235, 128, 235, 128, 0x55}));
    // v210 of three columns: Y0 to Y2 and the chroma of two pairs; Y3 to Y5 and the third pair's stay 0x155.
    Bytes former;
    for (int word = 0; word < 4; ++word) {
        appendWord(former, 0x155, 0x155, 0x155);
    }
    const Picture group = makePicture(3, 1, qlx::kPixelFormatV210);
    std::copy(former.begin(), former.end(), group->baseAddress());
    std::fill_n(group->baseAddress() + 16, 112, std::uint8_t{0xAA});
    transfer(*white, *group);
    Bytes expected;
    appendWord(expected, 512, 940, 512);
    appendWord(expected, 940, 512, 940);
    appendWord(expected, 512, 0x155, 0x155);
    appendWord(expected, 0x155, 0x155, 0x155);
    expected.resize(128, 0xAA);
    EXPECT_EQ(Bytes(group->baseAddress(), group->baseAddress() + 128), expected);
}

TEST(PixelTransfer, KeepsWordsOfAGroupThatBelongToNoPixel) {
    // Cb0 Y0 Cr0 | Y1 Cb1 Y2 | Cr1 Y3 Cb2 | Y4 Cr2 Y5: one pixel takes a word, two take two, three and four take three.
    const std::array<std::size_t, 6> wordsOfPixels{0, 1, 2, 3, 3, 4};
    for (std::size_t width = 1; width < wordsOfPixels.size(); ++width) {
        const Picture group = makePicture(width, 1, qlx::kPixelFormatV210);
        std::fill_n(group->baseAddress(), 128, std::uint8_t{0xFF});
        const Picture white = makePicture(width, 1, qlx::kPixelFormatBGRA);
        std::fill_n(white->baseAddress(), width * 4, std::uint8_t{255});
        transfer(*white, *group);
        const std::uint8_t* const bytes = group->baseAddress();
        const std::size_t used = wordsOfPixels[width] * 4;
        EXPECT_NE(bytes[used - 1], 0xFF) << width;
        EXPECT_EQ(Bytes(bytes + used, bytes + 128), Bytes(128 - used, 0xFF)) << width;
    }
}

TEST(PixelTransfer, SixDifferentPixelsTakeTheirPlacesInAGroup) {
    std::vector<std::array<std::uint8_t, 4>> greys;
    for (unsigned x = 0; x < 12; ++x) {
        const std::uint8_t level = byteOf(x * 20);
        greys.push_back({level, level, level, 255});
    }
    // Y' = 64 + 876 x level / 255, rounded: 64, 133, 201, 270, 339, 408 and 476, 545, 614, 682, 751, 820.
    Bytes expected;
    appendWord(expected, 512, 64, 512);
    appendWord(expected, 133, 512, 201);
    appendWord(expected, 512, 270, 512);
    appendWord(expected, 339, 512, 408);
    appendWord(expected, 512, 476, 512);
    appendWord(expected, 545, 512, 614);
    appendWord(expected, 512, 682, 512);
    appendWord(expected, 751, 512, 820);
    EXPECT_EQ(rowFrom(rowOfPixels(greys), qlx::kPixelFormatV210, kHD), expected);
}
