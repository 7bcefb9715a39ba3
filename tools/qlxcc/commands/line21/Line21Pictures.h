// What the pictures are that line21 reads, writes or makes.
#pragma once

#include "pictures/Pictures.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::tool {

inline constexpr std::uint32_t kLine21Rows = 3;  ///< That the waveform takes.

/// What the command line says of pictures.
struct PictureOptions {
    std::optional<std::string> format;  ///< None: what the content or the name of the file says.
    std::optional<std::uint32_t> width;
    std::optional<std::uint32_t> height;
};

/// What pictures are: raw ones, or the one of a PNG or PPM file.
struct PictureKind {
    std::string name;                     ///< `v210`, `png` and so on, as on the command line.
    std::optional<ImageFormat> file;      ///< None for raw pictures.
    std::optional<PictureLayout> layout;  ///< None for a file that says its own size.
};

/// What the pictures of a file are: what the command line says, or the content, or else the file's name. A name of raw
/// pictures is believed, as any bytes can be pixels.
/// @param source Looked at, and not read.
/// @throws UsageError when none of them tells, or when the options do not go with it; Failure when the file is empty.
[[nodiscard]] PictureKind pictureKindOf(InputFile& source, const PictureOptions& options);

/// What pictures are that are made, of 720 x 486 pixels when nothing is said.
/// @param name Of the format.
/// @throws UsageError when their size is wrong.
[[nodiscard]] PictureKind madePictures(const std::string& name, const PictureOptions& options);

/// The format of an output that is a picture file, which pictures of a file become, or those that are made; none for raw
/// ones.
/// @throws UsageError when its name is that of pictures which they are not.
[[nodiscard]] std::optional<ImageFormat> outputFormat(const std::string& output, const PictureKind& kind);

/// Throws Failure when a picture is too small for the waveform.
void checkPictureSize(std::string_view name, std::size_t width, std::size_t height);

}  // namespace qlx::tool
