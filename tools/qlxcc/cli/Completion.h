// Completion scripts for shells, made of the table of options.
#pragma once

#include <string>
#include <string_view>

namespace qlx::tool {

/// The script for `bash` or `zsh`.
[[nodiscard]] std::string completionScript(std::string_view shell);

/// Prints the script; returns the exit code. Throws Failure.
int printCompletion(std::string_view shell);

}  // namespace qlx::tool
