// qlxcc line21: byte pairs drawn into pictures and read from them.
#include "MemorySource.h"
#include "Sanitized.h"
#include "ToolRunner.h"
#include "commands/line21/Line21Preview.h"
#include "pictures/ImageFile.h"
#include "pictures/PngFile.h"
#include "pictures/SmallFont.h"

#include <qlx/cea608/codes.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using qlx::tool::Image;
using qlx::tool::ImageFormat;
using qlx::tool::Pixel;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

constexpr Pixel kWhite{255, 255, 255, 255};

Image readImageFile(const TemporaryFolder& folder, std::string_view name) {
    const std::string content = folder.read(name);
    const std::vector<std::uint8_t> bytes(content.begin(), content.end());
    qlxtest::MemorySource source(bytes);
    return qlx::tool::readImage(source);
}

/// The levels of a drawn row (CTA-608 at 13.5 MHz): 13 black pixels, seven cycles of the clock, 46 black pixels, 26 of
/// 127, then 27 for each bit, least significant first. The clock is left out: -1.
std::vector<int> waveform(std::size_t width, std::uint8_t first, std::uint8_t second) {
    std::vector<int> levels(width, 0);
    std::fill(levels.begin() + 13, levels.begin() + 202, -1);
    std::fill(levels.begin() + 248, levels.begin() + 274, 127);
    for (std::size_t bit = 0; bit < 16; ++bit) {
        const std::uint8_t byte = bit < 8 ? first : second;
        const int level = (byte >> (bit % 8) & 1U) != 0 ? 127 : 0;
        const auto start = levels.begin() + static_cast<std::ptrdiff_t>(274 + 27 * bit);
        std::fill(start, start + 27, level);
    }
    return levels;
}

void expectRow(const Image& image, std::size_t row, const std::vector<int>& levels) {
    for (std::size_t x = 0; x < levels.size(); ++x) {
        if (levels[x] >= 0) {
            const auto level = static_cast<std::uint8_t>(levels[x]);
            ASSERT_EQ(image.at(x, row), (Pixel{level, level, level, 255})) << "pixel " << x << " of row " << row;
        }
    }
    // The clock begins at half of 127 and rises.
    EXPECT_EQ(image.at(13, row)[0], 63);
    EXPECT_GT(image.at(14, row)[0], 63);
}

/// A byte with odd parity: bit 7 makes it so.
std::uint8_t withParity(unsigned code) {
    unsigned ones = 0;
    for (unsigned bit = 0; bit < 7; ++bit) {
        ones += code >> bit & 1U;
    }
    return static_cast<std::uint8_t>(code | (ones % 2 == 0 ? 0x80U : 0U));
}

std::string pairText(std::uint8_t first, std::uint8_t second) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const unsigned byte : {unsigned{first}, unsigned{second}}) {
        text += {kDigits[byte >> 4U], kDigits[byte & 15U]};
    }
    return text;
}

TEST(Line21, DrawsThreeRowsAndLeavesTheRest) {
    const TemporaryFolder folder;
    Image image(740, 5, kWhite);
    image.at(7, 3) = {1, 2, 3, 255};
    qlx::tool::saveImage(image, folder.path("in.ppm"), ImageFormat::Ppm);
    const ToolResult result =
        runTool({"line21", "write", folder.path("in.ppm"), "--bytes", "942c", "-o", folder.path("out.ppm")});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const Image drawn = readImageFile(folder, "out.ppm");
    ASSERT_EQ(drawn.width(), 740U);
    ASSERT_EQ(drawn.height(), 5U);
    for (std::size_t x = 0; x < 740; ++x) {
        ASSERT_EQ(drawn.at(x, 0), qlx::tool::kBlack) << x;
    }
    expectRow(drawn, 1, waveform(740, 0x94, 0x2C));
    expectRow(drawn, 2, waveform(740, 0x80, 0x80));
    for (std::size_t y = 3; y < 5; ++y) {
        EXPECT_TRUE(std::ranges::equal(drawn.row(y), image.row(y))) << y;
    }
}

TEST(Line21, ReadsWhatItHasDrawnInEveryFormat) {
    const TemporaryFolder folder;
    // The narrowest picture and one with an odd width first: the sanitizers are content with these two.
    std::vector<std::string> widths{"706", "1281", "720", "1920"};
    widths.resize(qlxtest::countFor(widths.size(), std::size_t{2}));
    for (const std::string& width : widths) {
        for (const std::string& format : std::vector<std::string>{"bgra", "argb", "v210", "2vuy", "yuvs", "420v"}) {
            SCOPED_TRACE(format + " " + width);
            const std::string file = folder.path("a." + format);
            std::vector<std::string> arguments{"line21", "write", "-o", file, "--width", width, "--height", "5"};
            std::string expected = "   frame  sample    row  pair  what\n";
            // Every code of either byte, and all codes of the other on the way.
            for (unsigned index = 0; index < 128; ++index) {
                const std::uint8_t first = withParity(index);
                const std::uint8_t second = withParity(index * 37 % 128);
                const std::string pair = pairText(first, second);
                arguments.insert(arguments.end(), {"--bytes", pair});
                const std::string number = std::to_string(index);
                // The sample's second byte has bit 7 of the null pair in row 2 as well.
                expected += std::string(8 - number.size(), ' ') + number + "  " +
                            pairText(first, static_cast<std::uint8_t>(second | 0x80U)) + "8000    1  " + pair +
                            "  parity ok, " + qlx::cea608::nameOfPair(first, second, 1) + "\n" +
                            "                      2  8080  parity ok, null\n";
            }
            const ToolResult written = runTool(arguments);
            ASSERT_EQ(written.exitCode, 0) << written.err;
            const ToolResult read = runTool({"line21", "read", file, "--width", width, "--height", "5"});
            EXPECT_EQ(read.exitCode, 0) << read.err;
            EXPECT_EQ(read.out, expected);
        }
    }
}

// Row 1 is field 1, which has no extended data.
TEST(Line21, NamesNoExtendedDataInFieldOne) {
    const TemporaryFolder folder;
    const std::string file = folder.path("a.bgra");
    const std::vector<std::string> size{"--width", "706", "--height", "5"};
    std::vector<std::string> arguments{"line21", "write", "-o", file, "--bytes", "01c1"};
    arguments.insert(arguments.end(), size.begin(), size.end());
    const ToolResult written = runTool(arguments);
    ASSERT_EQ(written.exitCode, 0) << written.err;
    arguments = {"line21", "read", file};
    arguments.insert(arguments.end(), size.begin(), size.end());
    const ToolResult read = runTool(arguments);
    EXPECT_EQ(read.exitCode, 0) << read.err;
    EXPECT_EQ(read.out, "   frame  sample    row  pair  what\n"
                        "       0  01c18000    1  01c1  parity ok, unknown code, text \"A\"\n"
                        "                      2  8080  parity ok, null\n");
}

TEST(Line21, WritesRawPicturesOfTheirExactSize) {
    const TemporaryFolder folder;
    // 721 pixels: 16 groups of 48 in v210, 361 pairs elsewhere; 420v has chroma for 3 of the 5 rows.
    const std::vector<std::pair<std::string, std::size_t>> sizes{
        {"bgra", 721U * 4 * 5}, {"argb", 721U * 4 * 5}, {"v210", 16U * 128 * 5},
        {"2vuy", 361U * 4 * 5}, {"yuvs", 361U * 4 * 5}, {"420v", 721U * 5 + 361U * 2 * 3},
    };
    for (const auto& [format, size] : sizes) {
        const std::string name = "a." + format;
        EXPECT_EQ(
            runTool({"line21", "write", "--bytes", "942c", "--width", "721", "--height", "5", "-o", folder.path(name)})
                .exitCode,
            0);
        EXPECT_EQ(folder.read(name).size(), size) << format;
    }
    // Black in video range below the waveform: Cb Y Cr Y.
    const std::string row = folder.read("a.2vuy").substr(361U * 4 * 4, 4);
    EXPECT_EQ(row, "\x80\x10\x80\x10");
}

TEST(Line21, GivesEachPictureItsPairAndTheRestTheNullPair) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.bgra", std::string(std::size_t{4} * 720 * 3 * 4, '\x60'));
    const std::vector<std::string> size{"--width", "720", "--height", "3"};
    const auto pairsRead = [&](const std::vector<std::string>& bytes) {
        std::vector<std::string> arguments{"line21", "write", file, "-o", folder.path("out.bgra")};
        arguments.insert(arguments.end(), size.begin(), size.end());
        arguments.insert(arguments.end(), bytes.begin(), bytes.end());
        const ToolResult written = runTool(arguments);
        EXPECT_EQ(written.exitCode, 0) << written.err;
        std::string pairs;
        const auto lines =
            linesOf(runTool({"line21", "read", folder.path("out.bgra"), "--width", "720", "--height", "3"}).out);
        for (std::size_t index = 1; index < lines.size(); index += 2) {
            pairs += lines[index].substr(24, 5);
        }
        return pairs;
    };
    EXPECT_EQ(pairsRead({"--bytes", "942c"}), " 942c 942c 942c 942c");
    EXPECT_EQ(pairsRead({"--bytes", "9420", "--bytes", "c1c2,942f"}), " 9420 c1c2 942f 8080");
    std::filesystem::remove(folder.path("out.bgra"));
    const ToolResult tooMany = runTool({"line21", "write", file, "--width", "720", "--height", "3", "--bytes",
                                        "8080,8080,8080,8080,8080", "-o", folder.path("out.bgra")});
    EXPECT_EQ(tooMany.exitCode, 1);
    EXPECT_EQ(tooMany.err, "qlxcc: " + file + ": 4 pictures for 5 byte pairs\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"in.bgra"});
}

TEST(Line21, SaysWhatIsWrongWithAPair) {
    const TemporaryFolder folder;
    const std::string file = folder.path("a.ppm");
    const ToolResult written = runTool({"line21", "write", "--bytes", "14ac", "-o", file});
    EXPECT_EQ(written.exitCode, 0);
    EXPECT_EQ(written.err, "qlxcc: byte pair 14ac: parity wrong in both bytes; it is drawn as it is\n");
    EXPECT_EQ(linesOf(runTool({"line21", "read", file}).out)[1],
              "       0  14ac8000    1  14ac  parity wrong in both bytes, erase displayed memory");
    EXPECT_EQ(qlxtest::withoutSchema(runTool({"line21", "read", file, "--json"}).out, "line21"),
              R"({"frame":0,"rows":[{"name":"erase displayed memory","pair":"14ac","parityOk":false,"row":1},)"
              R"({"name":"null","pair":"8080","parityOk":true,"row":2}],"sample":"14ac8000"})"
              "\n");
}

TEST(Line21, ReadsAPictureWithoutCaptions) {
    const TemporaryFolder folder;
    qlx::tool::saveImage(Image(720, 3), folder.path("black.ppm"), ImageFormat::Ppm);
    const ToolResult result = runTool({"line21", "read", folder.path("black.ppm")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(linesOf(result.out)[1], "       0  00000000    1  0000  parity wrong in both bytes, nothing");
}

TEST(Line21, RefusesPicturesThatAreTooSmall) {
    const TemporaryFolder folder;
    for (const auto& [width, height] : std::vector<std::pair<std::size_t, std::size_t>>{{705, 3}, {706, 2}, {1, 1}}) {
        const std::string file = folder.path("a.ppm");
        qlx::tool::saveImage(Image(width, height), file, ImageFormat::Ppm);
        const std::string message = "qlxcc: " + file + ": a picture of " + std::to_string(width) + " x " +
                                    std::to_string(height) + " pixels is too small: line 21 takes 706 x 3\n";
        EXPECT_EQ(runTool({"line21", "read", file}).err, message);
        const ToolResult result = runTool({"line21", "write", file, "--bytes", "8080", "-o", folder.path("b.ppm")});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, message);
        EXPECT_EQ(folder.names(), std::vector<std::string>{"a.ppm"});
    }
}

TEST(Line21, SaysWhereARawFileIsCutOff) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.bgra", std::string(std::size_t{720} * 3 * 4 + 5, '\0'));
    const ToolResult result = runTool({"line21", "read", file, "--width", "720", "--height", "3"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: " + file + ": byte 8640: the last picture is cut off: 5 of 8640 bytes are there\n");
    EXPECT_EQ(linesOf(result.out).size(), 3U);
}

TEST(Line21, WorksOnPngFilesAndDrawsAPreview) {
    const TemporaryFolder folder;
    try {
        qlx::tool::requirePng("test");
    } catch (const std::exception&) {
        const ToolResult result = runTool({"line21", "write", "--bytes", "942c", "-o", folder.path("a.png")});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_NE(result.err.find("libpng"), std::string::npos) << result.err;
        GTEST_SKIP() << "built without PNG files";
    }
    ASSERT_EQ(
        runTool({"line21", "write", "--bytes", "942c", "-o", folder.path("a.png"), "--preview", folder.path("p.png")})
            .exitCode,
        0);
    const Image drawn = readImageFile(folder, "a.png");
    EXPECT_EQ(drawn.width(), 720U);
    EXPECT_EQ(drawn.height(), 486U);
    expectRow(drawn, 1, waveform(720, 0x94, 0x2C));
    ASSERT_EQ(runTool({"line21", "read", folder.path("a.png"), "--preview", folder.path("q.ppm")}).exitCode, 0);
    EXPECT_EQ(readImageFile(folder, "p.png"), readImageFile(folder, "q.ppm"));
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.png", "p.png", "q.ppm"}));
}

TEST(Line21Preview, DrawsTheLevelsTwiceAsWide) {
    // A row of black and white steps, so that the graph's ends are known.
    qlx::tool::Line21View view{"test", Image(720, 3), {{{0x94, 0x2C}, {0x00, 0x80}}}};
    for (std::size_t x = 300; x < 400; ++x) {
        view.rows.at(x, 1) = kWhite;
    }
    const Image picture = qlx::tool::drawLine21(view);
    constexpr Pixel kWave{90, 220, 140, 255};
    // How often the colour of the curve stands in a column of the picture.
    const auto curve = [&](std::size_t pixel) {
        std::size_t count = 0;
        for (std::size_t y = 0; y < picture.height(); ++y) {
            count += picture.at(76 + 2 * pixel, y) == kWave ? 1 : 0;
        }
        return count;
    };
    // Two panels, a curve of two dots in each; over the whole height of 192 where it jumps.
    EXPECT_EQ(curve(350), 4U);
    EXPECT_EQ(curve(310), 4U);
    EXPECT_EQ(curve(300), 191U + 2 + 2);
    EXPECT_EQ(curve(400), 191U + 2 + 2);
}

TEST(Line21Preview, DrawsNarrowAndWidePictures) {
    for (const std::size_t width : {1U, 706U, 8000U}) {
        const Image picture = qlx::tool::drawLine21({"", Image(width, 3, kWhite), {}});
        EXPECT_EQ(picture.width(), 76 + 2 * std::min<std::size_t>(width, 738) + 24);
    }
}

TEST(SmallFont, DrawsDotsWithinThePicture) {
    Image image(4, 8);
    qlx::tool::drawText(image, 1, 1, "1", kWhite, 1);
    // The rows of a 1 are ..#.. .##.. ..#.. ..#.. ..#.. ..#.. .###.; the picture cuts the last two columns off.
    Image expected(4, 8);
    for (std::size_t y = 1; y < 8; ++y) {
        expected.at(3, y) = kWhite;
    }
    expected.at(2, 2) = kWhite;
    expected.at(2, 7) = kWhite;
    EXPECT_EQ(image, expected);
    EXPECT_EQ(qlx::tool::textWidth("abc", 2), 34U);
    EXPECT_EQ(qlx::tool::textWidth("", 2), 0U);
}

TEST(Line21, HelpShowsTwoExamplesOfEach) {
    for (const std::string& command : std::vector<std::string>{"write", "read"}) {
        const ToolResult result = runTool({"line21", command, "--help"});
        EXPECT_EQ(result.exitCode, 0);
        const std::size_t examples = result.out.find("Examples:\n");
        ASSERT_NE(examples, std::string::npos) << result.out;
        const auto lines = linesOf(std::string_view(result.out).substr(examples));
        EXPECT_EQ(
            std::ranges::count_if(
                lines, [&](const std::string& line) { return line.starts_with("  qlxcc line21 " + command + " "); }),
            2);
        for (const std::string& line : linesOf(result.out)) {
            EXPECT_LE(line.size(), 120U) << line;
        }
    }
}

class WrongLine21Usage : public ::testing::TestWithParam<std::pair<std::vector<std::string>, std::string>> {};

TEST_P(WrongLine21Usage, IsOneLineAndExitCode2) {
    const auto& [arguments, what] = GetParam();
    std::vector<std::string> all{"line21"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const ToolResult result = runTool(all);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "qlxcc: " + what + " (see qlxcc line21 " + arguments.front() + " --help)\n");
}

using Usage = std::pair<std::vector<std::string>, std::string>;

INSTANTIATE_TEST_SUITE_P(
    Line21, WrongLine21Usage,
    ::testing::Values(Usage{{"write", "--bytes", "94", "-o", "a.png"},
                            "--bytes: \"94\" is not a byte pair (four hexadecimal digits, such as 942c)"},
                      Usage{{"write", "--bytes", "942c,", "-o", "a.png"},
                            "--bytes: \"\" is not a byte pair (four hexadecimal digits, such as 942c)"},
                      Usage{{"write", "--bytes", "-12c", "-o", "a.png"},
                            "--bytes: \"-12c\" is not a byte pair (four hexadecimal digits, such as 942c)"},
                      Usage{{"write", "--bytes", "942c", "--bytes", "942c", "-o", "a.png"},
                            "a PNG or PPM file is one picture: it takes one byte pair"},
                      Usage{{"write", "--bytes", "942c", "-o", "a.tif"},
                            "--from-format is needed: the name of a.tif does not tell the format"},
                      Usage{{"write", "--bytes", "942c", "-o", "-"}, "--from-format is needed with a pipe"},
                      Usage{{"write", "--bytes", "942c", "-o", "a.v210", "--format", "png"},
                            "-o: the pictures are written as they are (png), not as v210"},
                      Usage{{"write", "--bytes", "942c", "-o", "a.v210", "--width", "705"},
                            "a picture of 705 x 486 pixels is too small: line 21 takes 706 x 3"},
                      Usage{{"write", "--bytes", "942c", "-o", "a.v210", "--width", "32768", "--height", "32768"},
                            "a picture of 32768 x 32768 pixels is too large: at most 7680 x 4320"},
                      Usage{{"write", "--bytes", "942c", "-o", "a.png", "--preview", "a.gif"},
                            "--preview: the name of a.gif must end in .png or .ppm"},
                      Usage{{"write", "--bytes", "942c", "-o", "a.png", "--preview", "a.png"},
                            "-o and --preview name the same file"},
                      Usage{{"read", "-", "--format", "420v", "--height", "480"},
                            "--width and --height are needed for raw pictures"}));

}  // namespace
