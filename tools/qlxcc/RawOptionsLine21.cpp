#include "RawOptionsLine21.h"

#include "Errors.h"
#include "Line21Preview.h"
#include "RawOptions.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace qlx::tool {

namespace {

constexpr std::uint32_t kDefaultWidth = 720;
constexpr std::uint32_t kDefaultHeight = 486;

const std::vector<std::string_view>& knownFormats() {
    static const std::vector<std::string_view> names{"bgra", "argb", "v210", "2vuy", "yuvs", "420v", "png", "ppm"};
    return names;
}

/// The pixel format of that name; none for the picture files.
std::optional<std::uint32_t> pixelFormatNamed(std::string_view name) {
    const auto* const format = std::find_if(kPictureFormats.begin(), kPictureFormats.end(),
                                            [&](const PictureFormat& known) { return known.name == name; });
    return format == kPictureFormats.end() ? std::nullopt : std::optional(format->pixelFormat);
}

PictureLayout layoutOf(std::uint32_t pixelFormat, std::uint32_t width, std::uint32_t height) {
    if (width < kWaveformWidth || height < 3) {
        throw UsageError("a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                         " pixels is too small: line 21 takes " + std::to_string(kWaveformWidth) + " x 3");
    }
    if (std::uint64_t{width} * height > kGreatestImagePixels) {
        throw UsageError("a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                         " pixels is too large: at most 7680 x 4320");
    }
    return {pixelFormat, width, height};
}

/// How the pictures of an input lie; none for a PNG or PPM file.
std::optional<PictureLayout> inputLayout(const RawPictures& raw, const std::string& name) {
    const auto pixelFormat = pixelFormatNamed(name);
    if (!pixelFormat) {
        if (raw.width || raw.height) {
            throw UsageError("--width and --height are for raw pictures: a PNG or PPM file says its own");
        }
        return std::nullopt;
    }
    if (!raw.width || !raw.height) {
        throw UsageError("--width and --height are needed for raw pictures");
    }
    return layoutOf(*pixelFormat, *raw.width, *raw.height);
}

ImageFormat previewFormat(const RawPictures& raw) {
    if (!raw.preview) {
        return ImageFormat::Png;
    }
    const auto format = imageFormatNamed(*raw.preview);
    if (!format) {
        throw UsageError("--preview: the name of " + *raw.preview + " must end in .png or .ppm");
    }
    return *format;
}

void appendPairs(std::string_view text, std::vector<BytePair>& pairs) {
    for (bool more = true; more;) {
        const std::size_t end = text.find_first_of(", ");
        const std::string_view item = text.substr(0, end);
        std::uint16_t value = 0;
        const auto [last, error] = std::from_chars(item.data(), item.data() + item.size(), value, 16);
        if (item.size() != 4 || error != std::errc{} || last != item.data() + item.size()) {
            throw UsageError("--bytes: \"" + std::string(item) +
                             "\" is not a byte pair (four hexadecimal digits, such as 942c)");
        }
        pairs.push_back({static_cast<std::uint8_t>(value >> 8U), static_cast<std::uint8_t>(value & 0xFFU)});
        more = end != std::string_view::npos;
        text.remove_prefix(more ? end + 1 : text.size());
    }
}

/// The format of the output, which is that of the pictures: a raw one for a raw one.
std::optional<ImageFormat> outputFormat(const std::string& output, const std::string& name, bool hasInput) {
    const bool isRaw = pixelFormatNamed(name).has_value();
    const auto ofName = imageFormatNamed(output);
    const std::size_t dot = output.find_last_of("./");
    const std::string extension = dot == std::string::npos ? "" : asciiLowercased(output.substr(dot + 1));
    const bool isOther =
        isRaw ? ofName || (pixelFormatNamed(extension) && extension != name) : pixelFormatNamed(extension).has_value();
    if (isOther) {
        throw UsageError("-o: the pictures are written as they are (" + name + "), not as " + extension);
    }
    if (isRaw) {
        return std::nullopt;
    }
    const ImageFormat format = name == "png" ? ImageFormat::Png : ImageFormat::Ppm;
    return hasInput ? ofName.value_or(format) : format;
}

}  // namespace

Line21WriteOptions checked(const RawLine21Write& raw) {
    Line21WriteOptions options;
    options.input = raw.input;
    options.output = raw.output;
    options.preview = raw.pictures.preview;
    options.previewFormat = previewFormat(raw.pictures);
    for (const std::string& text : raw.bytes) {
        appendPairs(text, options.pairs);
    }
    const std::string name = formatName(raw.pictures.format, raw.input.value_or(raw.output), knownFormats());
    options.format = outputFormat(raw.output, name, raw.input.has_value());
    if (raw.input) {
        options.layout = inputLayout(raw.pictures, name);
    } else {
        options.layout =
            layoutOf(pixelFormatNamed(name).value_or(kPixelFormatBGRA), raw.pictures.width.value_or(kDefaultWidth),
                     raw.pictures.height.value_or(kDefaultHeight));
    }
    if (options.format && options.pairs.size() > 1) {
        throw UsageError("a PNG or PPM file is one picture: it takes one byte pair");
    }
    if (options.preview == options.output) {
        throw UsageError("-o and --preview name the same file");
    }
    if (options.output == "-" && standardOutputIsTerminal()) {
        throw UsageError("pictures are not for a terminal: name a file with -o");
    }
    return options;
}

Line21ReadOptions checked(const RawLine21Read& raw) {
    Line21ReadOptions options;
    options.file = raw.file;
    options.asJson = raw.asJson;
    options.preview = raw.pictures.preview;
    options.previewFormat = previewFormat(raw.pictures);
    options.layout = inputLayout(raw.pictures, formatName(raw.pictures.format, raw.file, knownFormats()));
    return options;
}

}  // namespace qlx::tool
