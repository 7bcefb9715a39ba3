// PNG files. The library that knows them is included by this module's source alone; a build without it has a source that
// says so in its place.
#pragma once

#include "Image.h"
#include "InputFile.h"
#include "OutputFile.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace qlx::tool {

/// The bytes with which a PNG file starts.
inline constexpr std::array<std::uint8_t, 8> kPngSignature{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};

/// Reads what follows the signature.
[[nodiscard]] Image readPngBehindSignature(ByteSource& source);

void writePng(const Image& image, OutputFile& output);

/// Throws Failure, before anything is read or written, in a build without PNG files.
void requirePng(std::string_view name);

}  // namespace qlx::tool
