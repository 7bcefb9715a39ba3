// The command line. The library that parses it is included by this module's source alone.
#pragma once

#include "Play.h"
#include "Scan.h"

#include <variant>

namespace qlx::tool {

/// Nothing is left to do (help or version was printed, or the usage was wrong): end with this code.
struct ExitNow {
    int code = 0;
};

using Command = std::variant<ExitNow, PlayOptions, ScanOptions>;

/// Parses the command line. Prints help, version and usage errors itself.
[[nodiscard]] Command parseCommandLine(int argc, const char* const* argv);

}  // namespace qlx::tool
