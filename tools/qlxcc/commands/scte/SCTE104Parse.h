// qlxcc scte104 parse: what SCTE-104 messages hold.
#pragma once

#include "commands/scte/SCTE104Input.h"

#include <optional>
#include <string>

namespace qlx::tool {

struct Scte104ParseOptions {
    Scte104Source source;
    std::optional<std::string> output;  ///< None or `-`: standard output.
    bool asJson = false;
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int parseScte104(const Scte104ParseOptions& options);

}  // namespace qlx::tool
