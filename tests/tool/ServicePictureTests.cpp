// The picture of a caption service that qlxcc show draws.
#include "ExactBuffer.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string>

namespace {

using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Colour = std::array<int, 3>;

constexpr std::size_t kCellWidth = 16;
constexpr std::size_t kCellHeight = 26;
constexpr std::size_t kWidth = 42 * kCellWidth;
constexpr Colour kPicture{96, 104, 112};

/// The picture of one packet of service blocks; empty where the tool cannot draw.
std::string pictureOf(const std::string& blocks) {
    const auto bytes = qlxtest::fromHex(blocks);
    // The header: number 0, and half of the bytes.
    std::string packet = qlxtest::toHex(std::array{static_cast<std::uint8_t>((bytes.size() + 2) / 2)}) +
                         qlxtest::toHex(bytes) + (bytes.size() % 2 == 0 ? "00" : "");
    std::string triplets;
    for (std::size_t place = 0; place < packet.size(); place += 4) {
        triplets += (place == 0 ? "ff" : "fe") + packet.substr(place, 4);
    }
    const TemporaryFolder folder;
    const std::string file =
        folder.write("a.jsonl", R"({"frame":0,"pts":{"value":0,"timescale":25},"packets":[],"captions":{"data":")" +
                                    triplets + "\"}}\n");
    const ToolResult result = runTool({"show", file, "--service", "1", "--at", "0", "--png", folder.path("a.ppm")});
    if (result.exitCode != 0 && result.err.find("libzvbi") != std::string::npos) {
        return {};
    }
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const std::string content = folder.read("a.ppm");
    const std::string head = "P6\n672 390\n255\n";
    EXPECT_TRUE(content.starts_with(head)) << content.substr(0, 20);
    return content.substr(head.size());
}

Colour colourAt(const std::string& picture, std::size_t x, std::size_t y) {
    const std::size_t place = (y * kWidth + x) * 3;
    const auto part = [&](std::size_t index) {
        return static_cast<int>(static_cast<unsigned char>(picture[place + index]));
    };
    return {part(0), part(1), part(2)};
}

// Window 0 of two rows and four columns at the upper left, its fill solid green (97 0c). Window 1 in the fifth row, of one
// row and four columns, its fill transparent (97 c0): an I in white on translucent red with a uniform edge in blue, and
// one in translucent green on solid blue.
TEST(ServicePicture, HasFillsOpacitiesAndEdges) {
    const std::string windows = "98380000010309 970c000000 99381400000309 97c0000000";
    const std::string text = "913fb003 900518 49 918c0300 900500 49 03";
    const std::string picture = pictureOf("38" + windows + "31" + text);
    if (picture.empty()) {
        GTEST_SKIP() << "the tool was built without libzvbi";
    }
    constexpr Colour kGreen{0, 255, 0};
    for (std::size_t y = 0; y < 15 * kCellHeight; ++y) {
        for (std::size_t x = 0; x < kWidth; ++x) {
            const bool isFilled = y < 2 * kCellHeight && x < 4 * kCellWidth;
            const bool isText = y / kCellHeight == 4 && x < 2 * kCellWidth;
            if (!isText) {
                ASSERT_EQ(colourAt(picture, x, y), isFilled ? kGreen : kPicture) << x << " " << y;
            }
        }
    }
    // Half of the picture and of red; half of blue and of green.
    constexpr Colour kPaper{(96 + 255) / 2, 104 / 2, 112 / 2};
    constexpr Colour kWhite{255, 255, 255};
    constexpr Colour kBlue{0, 0, 255};
    constexpr Colour kMixed{0, 127, 127};
    const std::size_t top = 4 * kCellHeight;
    std::size_t inked = 0;
    const auto isInk = [&](std::size_t x, std::size_t y) {
        return x < kCellWidth && y < kCellHeight && colourAt(picture, x, top + y) == kWhite;
    };
    for (std::size_t y = 0; y < kCellHeight; ++y) {
        for (std::size_t x = 0; x < kCellWidth; ++x) {
            if (isInk(x, y)) {
                ++inked;
                continue;
            }
            // Places in front of the first one wrap around, and are outside.
            bool isBeside = false;
            for (std::size_t place = 0; place < 9; ++place) {
                isBeside = isBeside || isInk(x + place % 3 - 1, y + place / 3 - 1);
            }
            ASSERT_EQ(colourAt(picture, x, top + y), isBeside ? kBlue : kPaper) << x << " " << y;
        }
    }
    EXPECT_GT(inked, 10U);
    // The same letter beside it has ink in the same places, and no edge.
    for (std::size_t y = 0; y < kCellHeight; ++y) {
        for (std::size_t x = 0; x < kCellWidth; ++x) {
            ASSERT_EQ(colourAt(picture, kCellWidth + x, top + y), isInk(x, y) ? kMixed : kBlue) << x << " " << y;
        }
    }
}

}  // namespace
