// Picture files of any content: PNG and PPM.
#include "MemorySource.h"
#include "PictureBytes.h"
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

/// Gives every chunk of a PNG file that is all there the sum that is right: what is behind a wrong one is not read.
void repairSums(std::span<std::uint8_t> bytes) {
    constexpr std::size_t kSignature = 8;
    constexpr std::size_t kAroundData = 12;
    for (std::size_t chunk = kSignature; chunk + kAroundData <= bytes.size();) {
        const std::size_t length = wordAt(bytes, chunk);
        if (length > bytes.size() - chunk - kAroundData) {
            break;
        }
        const std::size_t sum = chunk + 8 + length;
        const std::uint32_t right = qlxtest::pngCrc(bytes.subspan(chunk + 4, length + 4));
        for (std::size_t byte = 0; byte < 4; ++byte) {
            bytes[sum + byte] = static_cast<std::uint8_t>(right >> (24 - 8 * byte));
        }
        chunk = sum + 4;
    }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

// Called by libFuzzer for each new input. One in eight keeps its wrong sums.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
    const std::size_t mutated = LLVMFuzzerMutate(data, size, maxSize);
    const std::span<std::uint8_t> bytes(data, mutated);
    if (seed % 8 != 0 && qlx::tool::imageFormatOf(bytes) == qlx::tool::ImageFormat::Png) {
        repairSums(bytes);
    }
    return mutated;
}

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
