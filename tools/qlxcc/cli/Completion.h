// Completion scripts for shells. What can be completed is described here without the library that parses the command
// line, which makes the description out of its own definitions.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// What stands behind an option, or in the place of a positional argument.
enum class CompletionValue : std::uint8_t {
    None,    ///< Nothing: the option is a flag.
    Any,     ///< Something that nobody can guess.
    OneOf,   ///< One of `values`.
    File,    ///< The path of a file.
    Folder,  ///< The path of a folder.
};

struct CompletionOption {
    std::vector<std::string> names;  ///< With their dashes, such as `-o` and `--output`.
    std::string description;
    std::string valueName;  ///< What the help calls the value.
    CompletionValue value = CompletionValue::None;
    std::vector<std::string> values;
};

struct CompletionArgument {
    std::string name;
    CompletionValue value = CompletionValue::Any;
    std::vector<std::string> values;
    bool repeats = false;  ///< Takes all further arguments; the last one only.
};

struct CompletionCommand {
    std::string name;
    std::string description;
    std::vector<CompletionOption> options;
    std::vector<CompletionArgument> arguments;
    std::vector<CompletionCommand> commands;
};

struct CompletionOptions {
    std::string script;
};

[[nodiscard]] std::string bashCompletion(const CompletionCommand& program);
[[nodiscard]] std::string zshCompletion(const CompletionCommand& program);

/// The script for `bash` or `zsh`.
[[nodiscard]] std::string completionScript(std::string_view shell, const CompletionCommand& program);

/// Prints the script; returns the exit code. Throws Failure.
int printCompletion(const CompletionOptions& options);

}  // namespace qlx::tool
