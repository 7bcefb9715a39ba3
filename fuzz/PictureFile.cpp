// Picture files of any content: PNG and PPM.
#include "MemorySource.h"
#include "io/Errors.h"
#include "pictures/ImageFile.h"

#include "FuzzSupport.h"

namespace {

constexpr std::uint32_t kGreatestSide = 512;

/// A number of a PNG header, which stands behind the signature and the chunk's length and type.
std::uint32_t wordAt(std::span<const std::uint8_t> bytes, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t index = offset; index < offset + 4 && index < bytes.size(); ++index) {
        value = value << 8U | bytes[index];
    }
    return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    // A small PNG file may hold a large picture. That only takes long.
    if (qlx::tool::imageFormatOf(bytes) == qlx::tool::ImageFormat::Png &&
        (wordAt(bytes, 16) > kGreatestSide || wordAt(bytes, 20) > kGreatestSide)) {
        return 0;
    }
    qlxtest::MemorySource source(bytes);
    try {
        const qlx::tool::Image image = qlx::tool::readImage(source);
        qlxfuzz::require(image.width() > 0 && image.height() > 0);
        qlxfuzz::require(std::uint64_t{image.width()} * image.height() <= qlx::tool::kGreatestImagePixels);
    } catch (const qlx::tool::Failure& failure) {
        qlxfuzz::require(std::string_view(failure.what()).starts_with("memory: "));
    }
    return 0;
}
