// Appending to one log file.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qlx::log {

/// Room for a path with its final NUL; a longer path is not written to.
inline constexpr std::size_t kPathCapacity = 1024;

enum class AppendResult {
    Opened,     ///< The line was handed to the file, in one write call.
    Skipped,    ///< No path, or one that no file can have.
    OpenFailed  ///< The line is lost.
};

/// Opens the file, writes `text` with one call, and closes it.
AppendResult appendToFile(const std::optional<std::string>& path, std::string_view text);

}  // namespace qlx::log
