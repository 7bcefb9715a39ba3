// The command line, read as the table of options says.
#pragma once

#include "cli/RawOptions.h"
#include "io/ToolLog.h"

#include <string>

namespace qlx::tool {

/// Parses the command line. Prints help and version itself.
/// @param log Gets what is to be logged.
/// @param called The program's name; gets those of the commands behind it (`qlxcc line21 read`), whose help says how they
///   are used, also when the command line is wrong.
/// @return What the command does; none when nothing is left to do.
/// @throws UsageError; Failure when help or version cannot be printed.
[[nodiscard]] Action parseCommandLine(int argc, const char* const* argv, LogOptions& log, std::string& called);

}  // namespace qlx::tool
