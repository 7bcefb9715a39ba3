#include "cli/RawOptions.h"
#include "commands/line21/Line21.h"
#include "io/Errors.h"
#include "io/Text.h"

#include <charconv>
#include <string_view>

namespace qlx::tool {

namespace {

const std::vector<std::string_view>& knownFormats() {
    static const std::vector<std::string_view> names{"bgra", "argb", "v210", "2vuy", "yuvs", "420v", "png", "ppm"};
    return names;
}

PictureOptions pictureOptions(const RawOptions& raw) {
    return {raw.format, pixels(raw.width), pixels(raw.height)};
}

void appendPairs(std::string_view text, std::vector<BytePair>& pairs) {
    for (const std::string_view item : itemsOf(text, ", ")) {
        std::uint16_t value = 0;
        const auto [last, error] = std::from_chars(item.data(), item.data() + item.size(), value, 16);
        if (item.size() != 4 || error != std::errc{} || last != item.data() + item.size()) {
            throw UsageError("--bytes: \"" + std::string(item) +
                             "\" is not a byte pair (four hexadecimal digits, such as 942c)");
        }
        pairs.push_back({static_cast<std::uint8_t>(value >> 8U), static_cast<std::uint8_t>(value & 0xFFU)});
    }
}

/// @param options Gets the preview; its output is there already.
template <typename Options>
void takePreview(const std::optional<std::string>& preview, Options& options) {
    if (!preview) {
        return;
    }
    options.preview = *preview;
    options.previewFormat = imageFormatFor("--preview", *preview);
    if (options.output == *preview) {
        throw UsageError("-o and --preview name the same file");
    }
}

}  // namespace

Action checkedLine21Write(const RawOptions& raw) {
    Line21WriteOptions options;
    options.input = raw.optionalFile;
    options.output = raw.output.value_or("");
    takePreview(raw.picture, options);
    for (const std::string& text : raw.bytes) {
        appendPairs(text, options.pairs);
    }
    if (options.input) {
        options.pictures = pictureOptions(raw);
    } else {
        options.made =
            madePictures(formatName(raw.format, options.output, knownFormats(), "--from-format"), pictureOptions(raw));
    }
    if (options.output == "-" && standardOutputIsTerminal()) {
        throw UsageError("pictures are not for a terminal: name a file with -o");
    }
    return [options] { return writeLine21(options); };
}

Action checkedLine21Read(const RawOptions& raw) {
    Line21ReadOptions options;
    options.file = raw.file;
    options.output = raw.output;
    options.asJson = raw.asJson;
    options.pictures = pictureOptions(raw);
    takePreview(raw.picture, options);
    return [options] { return readLine21(options); };
}

}  // namespace qlx::tool
