// Pictures for the fuzz targets: any shape, in allocations of exactly the bytes that their rows take.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include "FuzzSupport.h"
#include "Pictures.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace qlxfuzz {

struct Shape {
    std::uint32_t format = 0;
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t padding = 0;
};

/// Five bytes: format, width (two), height, padding. Up to 2048 columns and 8 rows, or 8 columns and 720 rows, where
/// the matrix is another one.
inline Shape takeShape(Input& input) {
    Shape shape;
    shape.format = qlxtest::kPixelFormats[input.takeByte() % qlxtest::kPixelFormats.size()];
    const std::size_t high = input.takeByte();
    shape.width = (high * 256 + input.takeByte()) % 2048 + 1;
    const std::uint8_t height = input.takeByte();
    shape.height = height % 8 + std::size_t{1};
    if (height >= 0xF0) {
        shape.height += 712;
        shape.width = (shape.width - 1) % 8 + 1;
    }
    shape.padding = input.takeByte() % 40;
    return shape;
}

/// A picture of one shape filled with the given bytes, over and over.
struct FilledPicture : qlxtest::ExactPicture {
    FilledPicture(const Shape& shape, const std::vector<std::uint8_t>& bytes)
        : ExactPicture(shape.width, shape.height, shape.format, shape.padding, 0) {
        for (const std::span<std::uint8_t> plane : {first.span(), second.span()}) {
            for (std::size_t index = 0; !bytes.empty() && index < plane.size(); ++index) {
                plane[index] = bytes[index % bytes.size()];
            }
        }
    }
};

}  // namespace qlxfuzz
