// The command line. The library that parses it is included by this module's source and CommandLineSCTE.cpp alone.
#pragma once

#include "cli/CommandLineSCTE.h"
#include "cli/Completion.h"
#include "commands/extract/Extract.h"
#include "commands/line21/Line21.h"
#include "commands/play/Play.h"
#include "commands/rate/RateChange.h"
#include "commands/scan/Scan.h"
#include "commands/show/Show.h"
#include "commands/subs/Subs.h"
#include "io/ToolLog.h"

#include <string>
#include <variant>

namespace qlx::tool {

/// Nothing is left to do: help or version was printed.
struct ExitNow {};

using Command = std::variant<ExitNow, PlayOptions, SubsOptions, ScanOptions, ExtractOptions, RateChangeOptions,
                             CompletionOptions, ScteCommand, Line21WriteOptions, Line21ReadOptions, ShowOptions>;

/// Parses the command line. Prints help and version itself.
/// @param log Gets what is to be logged.
/// @param called The program's name; gets those of the commands behind it (`qlxcc line21 read`), whose help says how they
///   are used, also when the command line is wrong.
/// @throws UsageError; Failure when help or version cannot be printed.
[[nodiscard]] Command parseCommandLine(int argc, const char* const* argv, LogOptions& log, std::string& called);

}  // namespace qlx::tool
