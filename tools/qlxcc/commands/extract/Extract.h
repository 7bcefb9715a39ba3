// qlxcc extract: the caption data of an elementary video stream, access unit by access unit, or of a file of frames.
#pragma once

#include "io/FrameSource.h"

#include <qlx/video/nal.h>

#include <optional>
#include <string>

namespace qlx::tool {

enum class ExtractFormat { Triplets, FieldOne, A53 };

struct ExtractOptions {
    std::string file;                   ///< `-` is standard input.
    std::optional<video::Codec> codec;  ///< None: by the file's content.
    FrameSourceOptions source;          ///< Of a file of frames.
    ExtractFormat format = ExtractFormat::Triplets;
    std::optional<std::string> output;  ///< None: standard output.
    bool asJson = false;
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int extract(const ExtractOptions& options);

}  // namespace qlx::tool
