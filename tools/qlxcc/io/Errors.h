// How the tool fails: one line on standard error and an exit code.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qlx::tool {

inline constexpr int kExitSuccess = 0;
inline constexpr int kExitFailure = 1;  ///< The input is broken, or the output cannot be written.
inline constexpr int kExitUsage = 2;    ///< The command line is wrong.

/// What could not be done, as one line without the program's name.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A container that has nothing with frames.
class WithoutFrames : public Failure {
public:
    using Failure::Failure;
};

/// A command line that cannot be understood or makes no sense.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Whoever read the output has gone: no error, there is just nothing left to do.
class ClosedPipe : public std::runtime_error {
public:
    ClosedPipe() : std::runtime_error("closed pipe") {}
};

/// `NAME: what`
[[nodiscard]] Failure failureIn(std::string_view name, std::string_view what);

/// `NAME: byte 5120: what`
[[nodiscard]] Failure failureAtByte(std::string_view name, std::uint64_t offset, std::string_view what);

/// `NAME: line 12: what`
[[nodiscard]] Failure failureAtLine(std::string_view name, std::uint64_t line, std::string_view what);

/// The text of an `errno` value, such as "No such file or directory".
[[nodiscard]] std::string systemErrorText(int error);

/// Writes to standard error, as it stands.
void printDirectly(std::string_view text) noexcept;

/// Prints `qlxcc: message` as one line to standard error, for nobody else.
void printLine(std::string_view message);

/// Gets every message that is printed from now on; null for nobody.
void setMessageListener(void (*listener)(std::string_view message)) noexcept;

/// Prints `qlxcc: message` as one line to standard error, and tells the listener.
void printMessage(std::string_view message);

/// With --quiet nothing but errors is said on standard error: no progress, and no notes.
void setQuiet(bool isQuiet) noexcept;
[[nodiscard]] bool isQuiet() noexcept;

/// Like printMessage(), for what is no error. With --quiet only the listener gets it.
void printNote(std::string_view message);

/// With --quiet the notes that make the exit code 1 are not said: says that there are some.
/// @param notes What they are: `2 problems`.
void printWhyItFails(const std::string& file, const std::string& notes);

}  // namespace qlx::tool
