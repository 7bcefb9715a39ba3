// The technical log of a run, and where the library's own messages go.
#pragma once

#include "io/ToolConsole.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct QLXLogControllerDelegate;

namespace qlx::tool {

struct LogOptions {
    std::optional<std::string> folder;  ///< None: no log.
    std::int64_t level = 2;             ///< The most verbose level that is written.
    std::string commandLine;            ///< What the log says was run.
};

/// Keeps what the library prints and logs away from standard output for as long as it lives, and with a folder writes
/// the technical log: the run's command line, what the library logs, and the tool's own messages. Destroying it waits
/// until all of it is written. There is one at a time.
class ToolLog {
public:
    /// @throws Failure when there is no such folder.
    explicit ToolLog(const LogOptions& options);
    ~ToolLog();
    ToolLog(const ToolLog&) = delete;
    ToolLog& operator=(const ToolLog&) = delete;

private:
    ToolConsole _console;
    ScopedService<Console> _consoleScope{_console};
    std::shared_ptr<QLXLogControllerDelegate> _delegate;
};

}  // namespace qlx::tool
