// Picture files: PNG and PPM.
#pragma once

#include "io/InputFile.h"
#include "io/OutputFile.h"
#include "pictures/Image.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace qlx::tool {

enum class ImageFormat { Png, Ppm };

/// The largest picture that is read, 7680 x 4320: a small file can claim any size.
inline constexpr std::uint64_t kGreatestImagePixels = std::uint64_t{7680} * 4320;
inline constexpr std::uint32_t kGreatestImageSide = 32768;

/// What a file is by its first bytes (8 are enough), or none.
[[nodiscard]] std::optional<ImageFormat> imageFormatOf(std::span<const std::uint8_t> start);

/// What a file is by its name (`.png`, `.ppm`), or none.
[[nodiscard]] std::optional<ImageFormat> imageFormatNamed(std::string_view path);

/// The format of a picture that is written to a file which an option names: what the name ends in, or else PNG.
/// @throws UsageError that names the option, for standard output and for the name of another kind of file.
[[nodiscard]] ImageFormat imageFormatFor(std::string_view option, const std::string& path);

/// Reads a picture: a PNG file of any kind, brought to 8 bits a component, or a binary PPM file (P6) of 8 bits.
/// @param source Read from its start.
/// @throws Failure when it is no picture, broken, cut off, too large, or when PNG files cannot be read here.
[[nodiscard]] Image readImage(NamedSource& source);

/// Writes a picture of at least one pixel: PNG with 8 bits a component, with alpha where a pixel is not opaque; PPM
/// without alpha.
/// @throws Failure when the output cannot be written, or when PNG files cannot be written here.
void writeImage(const Image& image, OutputFile& output, ImageFormat format);

/// Writes a picture file, which appears when it is complete.
void saveImage(const Image& image, const std::string& path, ImageFormat format);

}  // namespace qlx::tool
