// The command line. The library that parses it is included by this module's source and CommandLineSCTE.cpp alone.
#pragma once

#include "CommandLineSCTE.h"
#include "Extract.h"
#include "Play.h"
#include "RateChange.h"
#include "Scan.h"
#include "ToolLog.h"

#include <variant>

namespace qlx::tool {

/// Nothing is left to do (help or version was printed, or the usage was wrong): end with this code.
struct ExitNow {
    int code = 0;
};

using Command = std::variant<ExitNow, PlayOptions, ScanOptions, ExtractOptions, RateChangeOptions, ScteCommand>;

/// Parses the command line. Prints help, version and usage errors itself.
/// @param log Gets what is to be logged.
[[nodiscard]] Command parseCommandLine(int argc, const char* const* argv, LogOptions& log);

}  // namespace qlx::tool
