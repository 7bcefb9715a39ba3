#include "commands/line21/Line21Pictures.h"

#include "io/Errors.h"
#include "io/Text.h"
#include "streams/InputKind.h"

#include <qlx/line21/line21.h>

#include <algorithm>
#include <string>

namespace qlx::tool {

namespace {

constexpr std::uint32_t kUsualWidth = 720;
constexpr std::uint32_t kUsualHeight = 486;

/// The pixel format of that name; none for the picture files.
std::optional<std::uint32_t> pixelFormatNamed(std::string_view name) {
    const auto* const format = std::find_if(kPictureFormats.begin(), kPictureFormats.end(),
                                            [&](const PictureFormat& known) { return known.name == name; });
    return format == kPictureFormats.end() ? std::nullopt : std::optional(format->pixelFormat);
}

std::string nameOf(ImageFormat format) {
    return format == ImageFormat::Png ? "png" : "ppm";
}

std::string smallness(std::size_t width, std::size_t height) {
    return "a picture of " + std::to_string(width) + " x " + std::to_string(height) +
           " pixels is too small: line 21 takes " + std::to_string(line21::kWaveformPixels) + " x " +
           std::to_string(kLine21Rows);
}

PictureLayout layoutOf(std::uint32_t pixelFormat, std::uint32_t width, std::uint32_t height) {
    if (width < line21::kWaveformPixels || height < kLine21Rows) {
        throw UsageError(smallness(width, height));
    }
    if (std::uint64_t{width} * height > kGreatestImagePixels) {
        throw UsageError("a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                         " pixels is too large: at most 7680 x 4320");
    }
    return {pixelFormat, width, height};
}

/// The raw format that a file's name says.
std::optional<std::string> rawFormatOfName(std::string_view path) {
    std::string name = extensionOf(path);
    if (pixelFormatNamed(name)) {
        return name;
    }
    const std::optional<InputKind> kind = inputKindOfName(path);
    return kind && hasRows(*kind) ? std::optional(std::string(nameOf(*kind))) : std::nullopt;
}

std::string formatOf(InputFile& source, const std::optional<std::string>& given) {
    if (given) {
        return *given;
    }
    if (const auto raw = rawFormatOfName(source.name())) {
        return *raw;
    }
    const auto first = source.peek(kBytesThatTellKind);
    if (const auto told = imageFormatOf(first)) {
        return nameOf(*told);
    }
    if (first.empty()) {
        throw failureAtByte(source.name(), 0, "the file is empty");
    }
    if (const auto named = imageFormatNamed(source.name())) {
        return nameOf(*named);
    }
    refuseOtherKinds(
        first, source.name(), [](InputKind) { return false; }, "in which no line 21 is looked for");
    throw UsageError("--from-format is needed: neither the content nor the name of " + source.name() +
                     " tells the format");
}

}  // namespace

PictureKind pictureKindOf(InputFile& source, const PictureOptions& options) {
    PictureKind kind;
    kind.name = formatOf(source, options.format);
    const auto pixelFormat = pixelFormatNamed(kind.name);
    if (!pixelFormat) {
        if (options.width || options.height) {
            throw UsageError("--width and --height are for raw pictures: a PNG or PPM file says its own");
        }
        kind.file = kind.name == "png" ? ImageFormat::Png : ImageFormat::Ppm;
        return kind;
    }
    if (!options.width || !options.height) {
        throw UsageError("--width and --height are needed for raw pictures");
    }
    kind.layout = layoutOf(*pixelFormat, *options.width, *options.height);
    return kind;
}

PictureKind madePictures(const std::string& name, const PictureOptions& options) {
    PictureKind kind;
    kind.name = name;
    const auto pixelFormat = pixelFormatNamed(name);
    if (!pixelFormat) {
        kind.file = name == "png" ? ImageFormat::Png : ImageFormat::Ppm;
    }
    kind.layout = layoutOf(pixelFormat.value_or(kPixelFormatBGRA), options.width.value_or(kUsualWidth),
                           options.height.value_or(kUsualHeight));
    return kind;
}

std::optional<ImageFormat> outputFormat(const std::string& output, const PictureKind& kind) {
    const auto fileOfName = imageFormatNamed(output);
    const auto rawOfName = rawFormatOfName(output);
    if (kind.file ? rawOfName.has_value() : fileOfName || (rawOfName && *rawOfName != kind.name)) {
        throw UsageError("-o: the pictures are written as they are (" + kind.name + "), not as " + extensionOf(output));
    }
    if (!kind.file) {
        return std::nullopt;
    }
    // A picture that is made is what --from-format says; one that is read may change between the two kinds of file.
    return kind.layout ? kind.file : fileOfName ? fileOfName : kind.file;
}

void checkPictureSize(std::string_view name, std::size_t width, std::size_t height) {
    if (width < line21::kWaveformPixels || height < kLine21Rows) {
        throw failureIn(name, smallness(width, height));
    }
}

}  // namespace qlx::tool
