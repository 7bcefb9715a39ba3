// Picture files: PNG and PPM, good and hostile ones.
#include "MemorySource.h"
#include "PictureBytes.h"
#include "Sanitized.h"
#include "ToolRunner.h"
#include "io/Errors.h"
#include "pictures/ImageFile.h"
#include "pictures/PngFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <random>

namespace {

using qlx::tool::Failure;
using qlx::tool::Image;
using qlx::tool::ImageFormat;
using qlx::tool::Pixel;
using qlxtest::PictureBytes;
using qlxtest::pngFile;
using qlxtest::PngHeader;
using qlxtest::TemporaryFolder;

/// Skips the test in a build without PNG files.
#define REQUIRE_PNG()                                                                                                  \
    try {                                                                                                              \
        qlx::tool::requirePng("test");                                                                                 \
    } catch (const Failure&) {                                                                                         \
        GTEST_SKIP() << "built without PNG files";                                                                     \
    }                                                                                                                  \
    static_assert(true, "")

PictureBytes bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

Image read(std::span<const std::uint8_t> bytes) {
    // An allocation of the exact size: the sanitizers see one byte too far.
    const PictureBytes exact(bytes.begin(), bytes.end());
    qlxtest::MemorySource source(exact);
    return qlx::tool::readImage(source);
}

/// What a file that cannot be read is refused with; empty for one that can.
std::string refusal(std::span<const std::uint8_t> bytes) {
    try {
        (void)read(bytes);
    } catch (const Failure& failure) {
        return failure.what();
    }
    return {};
}

PictureBytes written(const Image& image, ImageFormat format) {
    const TemporaryFolder folder;
    qlx::tool::saveImage(image, folder.path("picture"), format);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"picture"});
    return bytesOf(folder.read("picture"));
}

/// Pixels without a pattern, from a fixed seed.
Image noise(std::size_t width, std::size_t height, bool isOpaque) {
    std::minstd_rand random(7);
    Image image(width, height);
    for (std::size_t y = 0; y < height; ++y) {
        for (Pixel& pixel : image.row(y)) {
            for (std::uint8_t& component : pixel) {
                component = static_cast<std::uint8_t>(random() >> 8U);
            }
            if (isOpaque) {
                pixel[3] = 255;
            }
        }
    }
    return image;
}

// A red and a green pixel over a blue and a white one.
const PngHeader kSmall{2, 2, 8, 2, 0};
const PictureBytes kSmallRows{0, 255, 0, 0, 0, 255, 0, 0, 0, 0, 255, 255, 255, 255};

Image smallImage() {
    Image image(2, 2);
    image.at(0, 0) = {255, 0, 0, 255};
    image.at(1, 0) = {0, 255, 0, 255};
    image.at(0, 1) = {0, 0, 255, 255};
    image.at(1, 1) = {255, 255, 255, 255};
    return image;
}

const PictureBytes kSmallPpm =
    bytesOf(std::string("P6\n2 2\n255\n") + std::string("\xFF\0\0\0\xFF\0\0\0\xFF\xFF\xFF\xFF", 12));

TEST(ImageFile, WritesAndReadsPng) {
    REQUIRE_PNG();
    for (const bool isOpaque : {true, false}) {
        for (const std::size_t width : {1U, 2U, 33U, 720U}) {
            const Image image = noise(width, 5, isOpaque);
            const PictureBytes file = written(image, ImageFormat::Png);
            EXPECT_EQ(read(file), image) << width;
            // The colour type stands at byte 25: RGB, or RGBA where something is not opaque.
            EXPECT_EQ(file.at(25), isOpaque ? 2 : 6);
        }
    }
}

TEST(ImageFile, ReadsPngOfEveryKind) {
    REQUIRE_PNG();
    EXPECT_EQ(read(pngFile(kSmall, kSmallRows)), smallImage());

    Image grey(2, 1);
    grey.at(0, 0) = {0, 0, 0, 255};
    grey.at(1, 0) = {0x55, 0x55, 0x55, 255};
    // Two bits a pixel: 0 of 3 and 1 of 3, then unused bits.
    EXPECT_EQ(read(pngFile({2, 1, 2, 0, 0}, PictureBytes{0, 0x1F})), grey);
    // Sixteen bits: 5555 of ffff is 55 of ff.
    EXPECT_EQ(read(pngFile({2, 1, 16, 0, 0}, PictureBytes{0, 0, 0, 0x55, 0x55})), grey);

    Image palette(2, 1);
    palette.at(0, 0) = {4, 5, 6, 255};
    palette.at(1, 0) = {1, 2, 3, 255};
    EXPECT_EQ(read(pngFile({2, 1, 8, 3, 0}, PictureBytes{0, 1, 0}, PictureBytes{1, 2, 3, 4, 5, 6})), palette);

    Image alpha(1, 1);
    alpha.at(0, 0) = {9, 9, 9, 77};
    EXPECT_EQ(read(pngFile({1, 1, 8, 4, 0}, PictureBytes{0, 9, 77})), alpha);

    // Adam7: pixel (0,0) in pass 1, (1,0) in pass 6, row 1 in pass 7.
    EXPECT_EQ(read(pngFile({2, 2, 8, 2, 1}, PictureBytes{0, 255, 0, 0, 0, 0, 255, 0, 0, 0, 0, 255, 255, 255, 255})),
              smallImage());
}

TEST(ImageFile, KeepsNoTextsOfAPng) {
    REQUIRE_PNG();
    // 3.9 MB each: all of them are more than the tool may need.
    PictureBytes text{'a', 0, 0};
    const PictureBytes letters = qlxtest::packed(15000);
    text.insert(text.end(), letters.begin(), letters.end());
    PictureBytes file = qlxtest::pngStart(kSmall);
    for (int count = 0; count < 100; ++count) {
        qlxtest::appendChunk(file, "zTXt", text);
    }
    qlxtest::appendChunk(file, "IDAT", qlxtest::stored(kSmallRows));
    qlxtest::appendChunk(file, "IEND", {});
    EXPECT_EQ(read(file), smallImage());

    const TemporaryFolder folder;
    const qlxtest::ToolResult result = qlxtest::runTool({"line21", "read", folder.write("a.png", file)});
    if (!qlxtest::kIsSanitized) {
        EXPECT_LT(result.peakMemory, 200'000'000U) << result.err;
    }
}

TEST(ImageFile, WritesPpmByteForByte) {
    EXPECT_EQ(written(smallImage(), ImageFormat::Ppm), kSmallPpm);
}

TEST(ImageFile, ReadsPpm) {
    EXPECT_EQ(read(kSmallPpm), smallImage());
    const Image image = noise(37, 11, true);
    EXPECT_EQ(read(written(image, ImageFormat::Ppm)), image);
    Image one(1, 1);
    one.at(0, 0) = {'a', 'b', 'c', 255};
    for (const std::string_view text : {"P6 1 1 255 abc", "P6#c\n1\t1\r\n#\n# 2\n255\nabc", "P6\n0001 01 255\fabc"}) {
        EXPECT_EQ(read(bytesOf(text)), one) << text;
    }
}

TEST(ImageFile, TakesTheLongHeaderOfAPpmInPieces) {
    // A few calls for each 4 KiB, and not one a byte.
    constexpr std::size_t kLong = std::size_t{1024} * 1024;
    for (const std::string& filling : {"#" + std::string(kLong, 'c') + "\n", std::string(kLong, ' ')}) {
        const PictureBytes file = bytesOf("P6\n" + filling + "1 1\n255\nabc");
        qlxtest::MemorySource source(file);
        const Image image = qlx::tool::readImage(source);
        EXPECT_EQ(image.row(0)[0], (Pixel{'a', 'b', 'c', 255}));
        EXPECT_LT(source.calls, kLong / 1024);
    }
    EXPECT_EQ(refusal(bytesOf("P6 #" + std::string(5000, 'c'))), "memory: byte 5004: the PPM file ends in the middle");
    EXPECT_EQ(refusal(bytesOf("P6 " + std::string(5000, ' '))), "memory: byte 5003: the PPM file ends in the middle");
}

TEST(ImageFile, SaysWhatIsWrongWithAPpm) {
    const auto message = [](std::string_view text) { return refusal(bytesOf(text)); };
    EXPECT_EQ(message("P61 1 255 abc"), "memory: byte 2: the PPM header is broken");
    EXPECT_EQ(message("P6 0 1 255 abc"), "memory: byte 3: the PPM header's width is not a number from 1 to 32768");
    EXPECT_EQ(message("P6 1 -1 255 a"), "memory: byte 5: the PPM header's height is not a number from 1 to 32768");
    EXPECT_EQ(message("P6 99999999999999999999 1 255 abc"),
              "memory: byte 3: the PPM header's width is not a number from 1 to 32768");
    EXPECT_EQ(message("P6 1 1 65535 abcdef"),
              "memory: byte 12: a PPM file with a greatest value of 65535: only those of 255 are read");
    EXPECT_EQ(message("P6 1 1 255abc"),
              "memory: byte 7: the PPM header's greatest value is not a number from 1 to 65535");
    EXPECT_EQ(message("P6 32768 32768 255 "),
              "memory: the picture has 32768 x 32768 pixels; at most 7680 x 4320 are read");
    EXPECT_EQ(message("P6 1 1 255 abcd"),
              "memory: byte 14: something follows the PPM picture; a file of one picture is read");
    EXPECT_EQ(message("P6 #"), "memory: byte 4: the PPM file ends in the middle");
    EXPECT_EQ(message("P3 1 1 255 1 2 3"), "memory: byte 0: no PNG file, and no binary PPM file (P6)");
    EXPECT_EQ(message(""), "memory: byte 0: the file is empty");
}

TEST(ImageFile, SaysWhatIsWrongWithAPng) {
    REQUIRE_PNG();
    const auto isBroken = [](const PictureBytes& file) {
        return refusal(file).find(": the PNG file is broken: ") != std::string::npos;
    };
    EXPECT_TRUE(isBroken(qlxtest::pngStart({0, 1, 8, 2, 0})));
    EXPECT_TRUE(isBroken(qlxtest::pngStart({40000, 1, 8, 2, 0})));
    EXPECT_TRUE(isBroken(qlxtest::pngStart({1, 0x80000000, 8, 2, 0})));
    EXPECT_TRUE(isBroken(qlxtest::pngStart({1, 1, 7, 2, 0})));
    EXPECT_TRUE(isBroken(qlxtest::pngStart({1, 1, 8, 5, 0})));
    // A palette picture without a palette, and too few rows.
    EXPECT_TRUE(isBroken(pngFile({2, 1, 8, 3, 0}, PictureBytes{0, 1, 0})));
    EXPECT_TRUE(isBroken(pngFile({2, 3, 8, 2, 0}, kSmallRows)));
    PictureBytes wrongCrc = pngFile(kSmall, kSmallRows);
    wrongCrc.at(30) ^= 1U;  // Of the header chunk: 8 + 8 + 13 bytes stand in front of it.
    EXPECT_TRUE(isBroken(wrongCrc));
    // Far more than is read, in a file of some hundred bytes: refused before anything is allocated for it.
    EXPECT_EQ(refusal(pngFile({32768, 32768, 8, 2, 0}, PictureBytes{0})),
              "memory: the picture has 32768 x 32768 pixels; at most 7680 x 4320 are read");
}

TEST(ImageFile, RefusesEveryShorterFile) {
    const PictureBytes png = pngFile(kSmall, kSmallRows);
    for (const PictureBytes& file : {kSmallPpm, png}) {
        for (std::size_t size = 0; size < file.size(); ++size) {
            EXPECT_NE(refusal(std::span(file).first(size)), "") << size;
        }
    }
}

TEST(ImageFile, SurvivesEveryBrokenByte) {
    PictureBytes png = pngFile({4, 3, 8, 3, 1}, PictureBytes(20), PictureBytes(12));
    std::size_t refused = 0;
    for (PictureBytes file : {kSmallPpm, png}) {
        for (std::size_t index = 0; index < file.size(); ++index) {
            for (const std::uint8_t flip : {std::uint8_t{1}, std::uint8_t{0x80}, std::uint8_t{0xFF}}) {
                file[index] ^= flip;
                refused += refusal(file).empty() ? 0 : 1;
                file[index] ^= flip;
            }
        }
    }
    EXPECT_GT(refused, 0U);
}

TEST(ImageFile, IsKnownByItsFirstBytesAndItsName) {
    using qlx::tool::imageFormatNamed;
    using qlx::tool::imageFormatOf;
    EXPECT_EQ(imageFormatOf(pngFile(kSmall, kSmallRows)), ImageFormat::Png);
    EXPECT_EQ(imageFormatOf(kSmallPpm), ImageFormat::Ppm);
    EXPECT_EQ(imageFormatOf(bytesOf("P6")), std::nullopt);
    EXPECT_EQ(imageFormatOf(bytesOf("P61")), std::nullopt);
    EXPECT_EQ(imageFormatOf({}), std::nullopt);
    EXPECT_EQ(imageFormatNamed("a/b.PNG"), ImageFormat::Png);
    EXPECT_EQ(imageFormatNamed("b.ppm"), ImageFormat::Ppm);
    EXPECT_EQ(imageFormatNamed("png"), std::nullopt);
}

TEST(ImageFile, LeavesNothingWhereItCannotWrite) {
    const Image image = noise(400, 400, true);
    for (const ImageFormat format : {ImageFormat::Ppm, ImageFormat::Png}) {
        if (format == ImageFormat::Png) {
            REQUIRE_PNG();
        }
        try {
            qlx::tool::saveImage(image, "/dev/full", format);
            FAIL() << "written to a full device";
        } catch (const Failure& failure) {
            EXPECT_STREQ(failure.what(), "/dev/full: No space left on device");
        }
    }
}

TEST(Image, FillsRectanglesUpToItsBorders) {
    Image image(3, 2);
    const Pixel white{255, 255, 255, 255};
    image.fill(1, 1, 100, SIZE_MAX, white);
    image.fill(3, 0, 1, 1, white);
    image.fill(0, 2, 1, 1, white);
    Image expected(3, 2);
    expected.at(1, 1) = white;
    expected.at(2, 1) = white;
    EXPECT_EQ(image, expected);
}

}  // namespace
