// What a file uses of the language's library it includes itself, or a header of the project that it includes does. The
// compiler does not see it where that is missing: it reads most of the library before each source (qlx_precompile).
#pragma once

#include "IncludeRules.h"

#include <string>
#include <vector>

namespace architecture {

/// The names behind `std::` whose header is missing, or that the table of headers does not have, one line each:
/// `path:line: what is wrong`; the first place of a name in a file.
std::vector<std::string> namesWithoutHeader(const std::vector<SourceFile>& tree);

}  // namespace architecture
