// The command line. The library that parses it is included by this module's source and CommandLineSCTE.cpp alone.
#pragma once

#include "CommandLineSCTE.h"
#include "Completion.h"
#include "Extract.h"
#include "Line21.h"
#include "Play.h"
#include "RateChange.h"
#include "Scan.h"
#include "Show.h"
#include "Subs.h"
#include "ToolLog.h"

#include <variant>

namespace qlx::tool {

/// Nothing is left to do (help or version was printed, or the usage was wrong): end with this code.
struct ExitNow {
    int code = 0;
};

using Command = std::variant<ExitNow, PlayOptions, SubsOptions, ScanOptions, ExtractOptions, RateChangeOptions,
                             CompletionOptions, ScteCommand, Line21WriteOptions, Line21ReadOptions, ShowOptions>;

/// Parses the command line. Prints help, version and usage errors itself.
/// @param log Gets what is to be logged.
[[nodiscard]] Command parseCommandLine(int argc, const char* const* argv, LogOptions& log);

}  // namespace qlx::tool
