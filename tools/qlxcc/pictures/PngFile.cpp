#include "pictures/PngFile.h"

#include "io/Errors.h"
#include "io/Module.h"
#include "pictures/ImageFile.h"
#include "pictures/PngCodec.h"

#include <span>
#include <string>
#include <utility>

namespace qlx::tool {

void requirePng(std::string_view name) {
    try {
        (void)module<PngCodec>();
    } catch (const Failure& failure) {
        throw failureIn(name, std::string("PNG files need libpng, which is not there: ") + failure.what() +
                                  "; a .ppm file needs no library");
    }
}

Image readPngBehindSignature(NamedSource& source) {
    requirePng(source.name());
    PngResult result = module<PngCodec>().read(source, kGreatestImagePixels);
    if (result.image) {
        return std::move(*result.image);
    }
    if (result.isCutOff) {
        throw failureAtByte(source.name(), source.offset(), "the PNG file ends in the middle");
    }
    if (!result.problem.empty()) {
        throw failureAtByte(source.name(), source.offset(), "the PNG file is broken: " + result.problem);
    }
    throw failureIn(source.name(), "the picture has " + std::to_string(result.width) + " x " +
                                       std::to_string(result.height) + " pixels; at most 7680 x 4320 are read");
}

void writePng(const Image& image, OutputFile& output) {
    requirePng(output.name());
    const PngResult result =
        module<PngCodec>().write(image, [&output](std::span<const std::uint8_t> bytes) { output.write(bytes); });
    if (!result.isDone) {
        throw failureIn(output.name(), "the PNG file cannot be made: " + result.problem);
    }
}

}  // namespace qlx::tool
