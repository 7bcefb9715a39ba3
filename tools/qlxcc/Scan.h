// qlxcc scan: the ancillary packets and captions of a file's frames.
#pragma once

#include "FrameSource.h"

#include <optional>
#include <string>

namespace qlx::tool {

struct ScanOptions {
    std::string file;  ///< `-` is standard input.
    FrameSourceOptions source;
    std::optional<std::string> output;  ///< None: standard output.
    bool asJson = false;
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int scan(const ScanOptions& options);

}  // namespace qlx::tool
