// PNG files, which a module of the tool reads and writes.
#pragma once

#include "io/InputFile.h"
#include "io/OutputFile.h"
#include "pictures/Image.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace qlx::tool {

/// The bytes with which a PNG file starts.
inline constexpr std::array<std::uint8_t, 8> kPngSignature{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};

/// Reads what follows the signature.
[[nodiscard]] Image readPngBehindSignature(NamedSource& source);

void writePng(const Image& image, OutputFile& output);

/// Throws Failure, before anything is read or written, where the module is not there.
void requirePng(std::string_view name);

}  // namespace qlx::tool
