// qlxcc line21: CEA-608 byte pairs as the waveform of line 21 in the first rows of pictures.
#pragma once

#include "commands/line21/Line21Pictures.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

using BytePair = std::array<std::uint8_t, 2>;

struct Line21WriteOptions {
    std::optional<std::string> input;    ///< None: black pictures. `-` is standard input.
    PictureOptions pictures;             ///< Of the input.
    PictureKind made;                    ///< The black ones.
    std::vector<BytePair> pairs;         ///< One for all pictures, or one for each.
    std::string output;                  ///< `-` is standard output.
    std::optional<std::string> preview;  ///< Gets the waveform of the first picture.
    ImageFormat previewFormat = ImageFormat::Png;
};

struct Line21ReadOptions {
    std::string file;  ///< `-` is standard input.
    PictureOptions pictures;
    std::optional<std::string> output;  ///< None or `-`: standard output.
    bool asJson = false;
    std::optional<std::string> preview;  ///< Gets the waveform of the first picture.
    ImageFormat previewFormat = ImageFormat::Png;
};

// Each runs the subcommand; the result is the exit code.
[[nodiscard]] int writeLine21(const Line21WriteOptions& options);
[[nodiscard]] int readLine21(const Line21ReadOptions& options);

}  // namespace qlx::tool
