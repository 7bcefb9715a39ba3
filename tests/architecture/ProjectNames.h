// Types and constants of the project that a file uses come from headers that it includes. The compiler does not see it
// where one is missing: sources are compiled several to a text (QLX_SOURCES_TOGETHER).
#pragma once

#include "IncludeRules.h"

#include <string>
#include <vector>

namespace architecture {

/// The types and constants that one header alone declares, wherever a file uses one and includes neither that header nor
/// another one that names it, not even through others: `path:line: Name needs header`, the first place in a file.
std::vector<std::string> namesFromNowhere(const std::vector<SourceFile>& tree);

/// How many names are looked for.
std::size_t namesLookedFor(const std::vector<SourceFile>& tree);

}  // namespace architecture
