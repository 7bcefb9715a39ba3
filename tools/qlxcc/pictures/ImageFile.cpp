#include "pictures/ImageFile.h"

#include "io/Errors.h"
#include "io/Text.h"
#include "pictures/PngFile.h"
#include "streams/InputKind.h"

#include <algorithm>
#include <array>

namespace qlx::tool {

namespace {

constexpr std::array<std::uint8_t, 2> kPpmMagic{'P', '6'};
constexpr std::size_t kChannels = 3;
constexpr std::size_t kHeaderPiece = std::size_t{4} * 1024;  ///< What is searched at once.
constexpr std::uint32_t kGreatestPpmValue = 65535;

/// What the names of picture files end in that are not written, raw pictures included.
constexpr std::string_view kOtherPictures[] = {"420v", "argb", "avif", "bgra", "bmp",  "dpx",  "exr", "gif",
                                               "heic", "jp2",  "jpeg", "jpg",  "jxl",  "pbm",  "pdf", "pgm",
                                               "pnm",  "svg",  "tga",  "tif",  "tiff", "webp", "yuvs"};

bool isWhiteSpace(std::uint8_t byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

/// Reads a PPM file behind its magic bytes.
class PpmReader {
public:
    explicit PpmReader(NamedSource& source) : _source(source) {}

    Image read() {
        const std::uint8_t separator = byte();
        if (!isWhiteSpace(separator) && separator != '#') {
            throw failureAtByte(_source.name(), _source.offset() - 1, "the PPM header is broken");
        }
        const std::uint32_t width = number("width", kGreatestImageSide, separator);
        const std::uint32_t height = number("height", kGreatestImageSide, byte());
        if (std::uint64_t{width} * height > kGreatestImagePixels) {
            throw failureIn(_source.name(), "the picture has " + std::to_string(width) + " x " +
                                                std::to_string(height) + " pixels; at most 7680 x 4320 are read");
        }
        const std::uint32_t greatest = number("greatest value", kGreatestPpmValue, byte());
        if (greatest != 255) {
            throw failureAtByte(_source.name(), _source.offset() - 1,
                                "a PPM file with a greatest value of " + std::to_string(greatest) +
                                    ": only those of 255 are read");
        }
        return pixels(width, height);
    }

private:
    std::uint8_t byte() {
        std::array<std::uint8_t, 1> one{};
        if (_source.read(one) == 0) {
            throw cutOff();
        }
        return one[0];
    }

    [[nodiscard]] Failure cutOff() const {
        return failureAtByte(_source.name(), _source.offset(), "the PPM file ends in the middle");
    }

    /// Passes over the bytes that are not looked for. Headers may be long: their bytes are not taken one by one.
    template <class IsLookedFor>
    void skipTo(const IsLookedFor& isLookedFor) {
        for (;;) {
            const std::span<const std::uint8_t> bytes = _source.peek(kHeaderPiece);
            if (bytes.empty()) {
                throw cutOff();
            }
            const auto found = std::ranges::find_if(bytes, isLookedFor);
            const bool isThere = found != bytes.end();
            (void)_source.skip(static_cast<std::uint64_t>(found - bytes.begin()));
            if (isThere) {
                return;
            }
        }
    }

    /// `current`, or the first byte behind the white space and the comments that it starts.
    std::uint8_t behindWhiteSpace(std::uint8_t current) {
        while (isWhiteSpace(current) || current == '#') {
            if (current == '#') {
                skipTo([](std::uint8_t next) { return next == '\n' || next == '\r'; });
            }
            skipTo([](std::uint8_t next) { return !isWhiteSpace(next); });
            current = byte();
        }
        return current;
    }

    /// A number of the header, and the one byte of white space behind it.
    std::uint32_t number(const char* what, std::uint32_t greatest, std::uint8_t current) {
        current = behindWhiteSpace(current);
        const std::uint64_t start = _source.offset() - 1;
        std::uint64_t value = 0;
        while (current >= '0' && current <= '9' && value <= greatest) {
            value = value * 10 + (current - '0');
            current = byte();
        }
        if (value == 0 || value > greatest || !isWhiteSpace(current)) {
            throw failureAtByte(_source.name(), start,
                                std::string("the PPM header's ") + what + " is not a number from 1 to " +
                                    std::to_string(greatest));
        }
        return static_cast<std::uint32_t>(value);
    }

    Image pixels(std::size_t width, std::size_t height) {
        // A small file that claims a large picture is found out before there is memory for it.
        if (_source.size() && *_source.size() - _source.offset() < width * height * kChannels) {
            throw failureAtByte(_source.name(), *_source.size(), "the PPM file ends in the middle");
        }
        Image image(width, height);
        std::vector<std::uint8_t> line(width * kChannels);
        for (std::size_t y = 0; y < height; ++y) {
            if (_source.read(line) < line.size()) {
                throw cutOff();
            }
            const std::span<Pixel> row = image.row(y);
            for (std::size_t x = 0; x < width; ++x) {
                std::copy_n(line.begin() + static_cast<std::ptrdiff_t>(x * kChannels), kChannels, row[x].begin());
            }
        }
        std::array<std::uint8_t, 1> more{};
        if (_source.read(more) > 0) {
            throw failureAtByte(_source.name(), _source.offset() - 1,
                                "something follows the PPM picture; a file of "
                                "one picture is read");
        }
        return image;
    }

    NamedSource& _source;
};

void writePpm(const Image& image, OutputFile& output) {
    output.write("P6\n" + std::to_string(image.width()) + " " + std::to_string(image.height()) + "\n255\n");
    std::vector<std::uint8_t> line(image.width() * kChannels);
    for (std::size_t y = 0; y < image.height(); ++y) {
        auto to = line.begin();
        for (const Pixel& pixel : image.row(y)) {
            to = std::copy_n(pixel.begin(), kChannels, to);
        }
        output.write(line);
    }
}

bool startsWith(std::span<const std::uint8_t> bytes, std::span<const std::uint8_t> start) {
    return bytes.size() >= start.size() && std::equal(start.begin(), start.end(), bytes.begin());
}

}  // namespace

std::optional<ImageFormat> imageFormatOf(std::span<const std::uint8_t> start) {
    if (startsWith(start, kPngSignature)) {
        return ImageFormat::Png;
    }
    if (startsWith(start, kPpmMagic) && start.size() > kPpmMagic.size() &&
        (isWhiteSpace(start[kPpmMagic.size()]) || start[kPpmMagic.size()] == '#')) {
        return ImageFormat::Ppm;
    }
    return std::nullopt;
}

std::optional<ImageFormat> imageFormatNamed(std::string_view path) {
    const std::string extension = extensionOf(path);
    if (extension == "png") {
        return ImageFormat::Png;
    }
    if (extension == "ppm") {
        return ImageFormat::Ppm;
    }
    return std::nullopt;
}

ImageFormat imageFormatFor(std::string_view option, const std::string& path) {
    if (path == "-") {
        throw UsageError(std::string(option) + " needs the name of a file");
    }
    const auto format = imageFormatNamed(path);
    if (!format && (inputKindOfName(path) ||
                    std::ranges::find(kOtherPictures, extensionOf(path)) != std::ranges::end(kOtherPictures))) {
        throw UsageError(std::string(option) + ": the name of " + path + " must end in .png or .ppm");
    }
    return format.value_or(ImageFormat::Png);
}

Image readImage(NamedSource& source) {
    std::array<std::uint8_t, kPngSignature.size()> start{};
    const std::span<std::uint8_t> magic = std::span(start).first(kPpmMagic.size());
    const std::size_t got = source.read(magic);
    if (std::ranges::equal(magic, kPpmMagic)) {
        return PpmReader(source).read();
    }
    const std::size_t all = got + source.read(std::span(start).subspan(got));
    if (start == kPngSignature) {
        requirePng(source.name());
        return readPngBehindSignature(source);
    }
    throw failureAtByte(source.name(), 0, all == 0 ? "the file is empty" : "no PNG file, and no binary PPM file (P6)");
}

void writeImage(const Image& image, OutputFile& output, ImageFormat format) {
    if (format == ImageFormat::Png) {
        writePng(image, output);
    } else {
        writePpm(image, output);
    }
}

void saveImage(const Image& image, const std::string& path, ImageFormat format) {
    if (format == ImageFormat::Png) {
        requirePng(path);
    }
    OutputFile output(path);
    writeImage(image, output, format);
    output.commit();
}

}  // namespace qlx::tool
