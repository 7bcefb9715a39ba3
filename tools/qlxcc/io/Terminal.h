// What standard output can show.
#pragma once

namespace qlx::tool {

/// Whether colours are to be written to standard output: it is a terminal, TERM is not `dumb`, and NO_COLOR is not set
/// to anything.
[[nodiscard]] bool useColors();

}  // namespace qlx::tool
