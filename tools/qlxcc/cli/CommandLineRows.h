// The options of rows, which several commands have.
#pragma once

namespace CLI {
class App;
}

namespace qlx::tool {

struct RawRows;

/// Adds --width, --lines, --rows and --near-start.
void addRows(CLI::App& command, RawRows& rows);

}  // namespace qlx::tool
