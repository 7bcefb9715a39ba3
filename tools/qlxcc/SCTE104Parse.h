// qlxcc scte104 parse: what SCTE-104 messages hold.
#pragma once

#include "SCTE104Input.h"

#include <optional>
#include <string>

namespace qlx::tool {

struct Scte104ParseOptions {
    std::string input;  ///< A file, `-` for standard input, or hexadecimal digits.
    std::optional<Scte104Format> format;
    std::optional<std::string> output;  ///< None or `-`: standard output.
    bool asJson = false;
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int parseScte104(const Scte104ParseOptions& options);

}  // namespace qlx::tool
