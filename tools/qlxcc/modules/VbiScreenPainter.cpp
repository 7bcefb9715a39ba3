// The module qlxcc-screens: libzvbi, which nothing else of the tool includes.
#include "io/Module.h"
#include "pictures/ScreenPainter.h"

#include <libzvbi.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace qlx::tool {

namespace {

// The cells of the library's fonts, in pixels; teletext cells are drawn with double height for square pixels.
constexpr std::size_t kTeletextCellWidth = 12;
constexpr std::size_t kTeletextCellHeight = 10;
constexpr std::size_t kTeletextScale = 2;
constexpr std::size_t kCaptionCellWidth = 16;
constexpr std::size_t kCaptionCellHeight = 26;

constexpr Pixel kPicture{96, 104, 112, 255};

constexpr std::size_t kColours = 8;
/// Cells through which the picture is seen have this colour of the map.
constexpr std::uint8_t kPictureColour = kColours;
/// Those of a caption service are drawn in these two, and get their own 64 colours and opacities behind that.
constexpr std::uint8_t kPaperColour = 0;
constexpr std::uint8_t kInkColour = 7;
constexpr Pixel kInk{255, 255, 255, 255};

constexpr vbi_rgba rgba(const Pixel& pixel) {
    return static_cast<vbi_rgba>(pixel[3]) << 24U | static_cast<vbi_rgba>(pixel[2]) << 16U |
           static_cast<vbi_rgba>(pixel[1]) << 8U | pixel[0];
}

using Mosaic = char32_t (*)(std::uint8_t code);

/// The library has the mosaic characters in the private range, by their teletext codes.
unsigned libraryCharacter(char32_t character, Mosaic mosaic) {
    constexpr unsigned kMosaics = 0xEE00;
    constexpr char32_t kFirstMosaic = U'\u2588';
    if (character >= kFirstMosaic) {
        for (std::uint8_t code = 0x21; code < 0x80; ++code) {
            if ((code & 0x20U) != 0 && mosaic(code) == character) {
                return kMosaics + code;
            }
        }
    }
    return static_cast<unsigned>(character);
}

/// Neither font has bullets and corners: the characters nearest to them.
unsigned captionCharacter(char32_t character) {
    constexpr char32_t kBullet = U'\u2022';
    constexpr std::u32string_view kCorners = U"\u250C\u2510\u2514\u2518";
    if (character == kBullet) {
        return U'\u00B7';
    }
    return kCorners.find(character) != std::u32string_view::npos ? U'+' : character;
}

vbi_char libraryCell(const screen::Cell& cell, screen::System system, Mosaic mosaic) {
    vbi_char result{};
    const bool isBlank = !cell.isVisible;
    result.underline = cell.isUnderlined ? 1U : 0U;
    result.italic = cell.isItalic ? 1U : 0U;
    result.opacity = isBlank ? VBI_TRANSPARENT_SPACE : VBI_OPAQUE;
    const bool isOfService = system == screen::System::Cea708;
    const auto colourOf = [&](screen::Color color, std::uint8_t ofService) {
        return isBlank       ? kPictureColour
               : isOfService ? ofService
                             : static_cast<std::uint8_t>(screen::basicIndex(color));
    };
    result.foreground = colourOf(cell.foreground, kInkColour);
    result.background = colourOf(cell.background, kPaperColour);
    result.size = cell.part == screen::CellPart::UpperHalf   ? VBI_DOUBLE_HEIGHT
                  : cell.part == screen::CellPart::LowerHalf ? VBI_DOUBLE_HEIGHT2
                                                             : VBI_NORMAL_SIZE;
    const unsigned wanted = system == screen::System::Teletext ? libraryCharacter(cell.shownCharacter(), mosaic)
                                                               : captionCharacter(cell.shownCharacter());
    result.unicode = static_cast<std::uint16_t>(isBlank ? ' ' : wanted);
    return result;
}

std::unique_ptr<vbi_page> libraryPage(const screen::Screen& screen, Mosaic mosaic) {
    auto page = std::make_unique<vbi_page>();
    page->rows = static_cast<int>(screen.rows());
    page->columns = static_cast<int>(screen.columns);
    for (std::size_t colour = 0; colour < kColours; ++colour) {
        const auto part = [colour](unsigned bit) { return static_cast<std::uint8_t>((colour >> bit & 1U) * 255U); };
        page->color_map[colour] = rgba({part(0), part(1), part(2), 255});
    }
    page->color_map[kPictureColour] = rgba(kPicture);
    const std::size_t count = std::min(screen.cells.size(), std::size(page->text));
    std::transform(screen.cells.begin(), screen.cells.begin() + static_cast<std::ptrdiff_t>(count), page->text,
                   [&](const screen::Cell& cell) { return libraryCell(cell, screen.system, mosaic); });
    return page;
}

using Glyph = std::vector<Pixel>;

/// A cell of a page as the caption font draws it.
Glyph captionGlyph(vbi_page& page, std::size_t column, std::size_t row) {
    Glyph pixels(kCaptionCellWidth * kCaptionCellHeight, kPicture);
    vbi_draw_cc_page_region(&page, VBI_PIXFMT_RGBA32_LE, pixels.data(),
                            static_cast<int>(kCaptionCellWidth * sizeof(Pixel)), static_cast<int>(column),
                            static_cast<int>(row), 1, 1);
    return pixels;
}

/// The same cell as the teletext font draws it, brought to the size of the caption font.
Glyph teletextGlyph(vbi_page& page, std::size_t column, std::size_t row) {
    Glyph pixels(kTeletextCellWidth * kTeletextCellHeight, kPicture);
    vbi_draw_vt_page_region(&page, VBI_PIXFMT_RGBA32_LE, pixels.data(),
                            static_cast<int>(kTeletextCellWidth * sizeof(Pixel)), static_cast<int>(column),
                            static_cast<int>(row), 1, 1, 1, 1);
    Glyph glyph(kCaptionCellWidth * kCaptionCellHeight);
    for (std::size_t index = 0; index < glyph.size(); ++index) {
        const std::size_t x = index % kCaptionCellWidth * kTeletextCellWidth / kCaptionCellWidth;
        const std::size_t y = index / kCaptionCellWidth * kTeletextCellHeight / kCaptionCellHeight;
        glyph[index] = pixels[y * kTeletextCellWidth + x];
    }
    return glyph;
}

/// The caption font draws a block for what it does not have, such as accented capitals, and letters for the signs whose
/// ASCII codes CEA-608 gives to letters; the teletext font has them all.
Glyph glyphOf(vbi_page& page, std::size_t column, std::size_t row) {
    constexpr std::string_view kSigns = "*\\^_`{|}~";
    constexpr std::uint16_t kNoCharacter = 0xFFFF;
    constexpr char32_t kFullBlock = U'\u2588';
    vbi_char& cell = page.text[row * static_cast<std::size_t>(page.columns) + column];
    const auto character = static_cast<std::uint16_t>(cell.unicode);
    if (character < 0x80 && kSigns.find(static_cast<char>(character)) != std::string_view::npos) {
        return teletextGlyph(page, column, row);
    }
    Glyph glyph = captionGlyph(page, column, row);
    cell.unicode = kNoCharacter;
    const bool isMissing = character != kFullBlock && glyph == captionGlyph(page, column, row);
    cell.unicode = character;
    return isMissing ? teletextGlyph(page, column, row) : glyph;
}

/// Half of what is below where it is translucent, all of it where it is transparent.
Pixel over(const Pixel& below, screen::Color color, screen::Opacity opacity) {
    constexpr unsigned kPart = 85;
    const screen::ColorParts parts = screen::partsOf(color);
    const std::array<unsigned, 3> above{parts.red * kPart, parts.green * kPart, parts.blue * kPart};
    Pixel pixel = below;
    for (std::size_t index = 0; index < above.size() && opacity != screen::Opacity::Transparent; ++index) {
        const bool isMixed = opacity == screen::Opacity::Translucent;
        pixel[index] = static_cast<std::uint8_t>(isMixed ? (below[index] + above[index]) / 2 : above[index]);
    }
    return pixel;
}

/// Whether the edge of a letter stands at a pixel beside it.
bool hasEdge(const Glyph& letter, screen::Edge edge, std::size_t place) {
    const auto isInk = [&](std::ptrdiff_t right, std::ptrdiff_t down) {
        const std::ptrdiff_t x = static_cast<std::ptrdiff_t>(place % kCaptionCellWidth) + right;
        const std::ptrdiff_t y = static_cast<std::ptrdiff_t>(place / kCaptionCellWidth) + down;
        return x >= 0 && x < static_cast<std::ptrdiff_t>(kCaptionCellWidth) && y >= 0 &&
               y < static_cast<std::ptrdiff_t>(kCaptionCellHeight) &&
               letter[static_cast<std::size_t>(y) * kCaptionCellWidth + static_cast<std::size_t>(x)] == kInk;
    };
    constexpr std::ptrdiff_t kShadow = 2;
    switch (edge) {
    case screen::Edge::Raised:
        return isInk(1, 1);
    case screen::Edge::Depressed:
        return isInk(-1, -1);
    case screen::Edge::Uniform:
        return isInk(-1, -1) || isInk(0, -1) || isInk(1, -1) || isInk(-1, 0) || isInk(1, 0) || isInk(-1, 1) ||
               isInk(0, 1) || isInk(1, 1);
    case screen::Edge::LeftDropShadow:
        return isInk(kShadow, -kShadow);
    case screen::Edge::RightDropShadow:
        return isInk(-kShadow, -kShadow);
    default:
        return false;
    }
}

/// The letter of a caption service in its colours, over the picture.
Glyph serviceGlyph(const Glyph& letter, const screen::Cell& cell) {
    if (!cell.isVisible) {
        return letter;
    }
    const Pixel paper = over(kPicture, cell.background, cell.backgroundOpacity);
    const Pixel ink = over(paper, cell.foreground, cell.foregroundOpacity);
    const Pixel edge = over(paper, cell.edgeColor, cell.foregroundOpacity);
    Glyph glyph(letter.size(), paper);
    for (std::size_t place = 0; place < letter.size(); ++place) {
        const bool isEdge = letter[place] != kInk && hasEdge(letter, cell.edge, place);
        glyph[place] = letter[place] == kInk ? ink : isEdge ? edge : paper;
    }
    return glyph;
}

Image captionImage(const screen::Screen& screen, vbi_page& page) {
    Image image(screen.columns * kCaptionCellWidth, screen.rows() * kCaptionCellHeight, kPicture);
    for (std::size_t row = 0; row < screen.rows(); ++row) {
        for (std::size_t column = 0; column < screen.columns; ++column) {
            const Glyph letter = glyphOf(page, column, row);
            const Glyph glyph = screen.system == screen::System::Cea708
                                    ? serviceGlyph(letter, screen.cells[row * screen.columns + column])
                                    : letter;
            for (std::size_t y = 0; y < kCaptionCellHeight; ++y) {
                std::copy_n(glyph.begin() + static_cast<std::ptrdiff_t>(y * kCaptionCellWidth), kCaptionCellWidth,
                            image.row(row * kCaptionCellHeight + y).begin() +
                                static_cast<std::ptrdiff_t>(column * kCaptionCellWidth));
            }
        }
    }
    return image;
}

Image scaled(const std::vector<Pixel>& pixels, std::size_t width, std::size_t height) {
    Image image(width, height * kTeletextScale);
    for (std::size_t y = 0; y < image.height(); ++y) {
        std::copy_n(pixels.begin() + static_cast<std::ptrdiff_t>(y / kTeletextScale * width), width,
                    image.row(y).begin());
    }
    return image;
}

class VbiScreenPainter final : public ScreenPainter {
public:
    Image paint(const screen::Screen& screen, Mosaic mosaic) override {
        const auto page = libraryPage(screen, mosaic);
        if (screen.system != screen::System::Teletext) {
            return captionImage(screen, *page);
        }
        const std::size_t width = screen.columns * kTeletextCellWidth;
        const std::size_t height = screen.rows() * kTeletextCellHeight;
        std::vector<Pixel> pixels(width * height, kPicture);
        vbi_draw_vt_page_region(page.get(), VBI_PIXFMT_RGBA32_LE, pixels.data(),
                                static_cast<int>(width * sizeof(Pixel)), 0, 0, page->columns, page->rows, 1, 1);
        return scaled(pixels, width, height);
    }
};

VbiScreenPainter implementation;
ScreenPainter& painter = implementation;

}  // namespace

}  // namespace qlx::tool

QLXCC_DEFINE_MODULE(qlx::tool::painter)
