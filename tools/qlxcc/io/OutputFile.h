// Writing a result: to a file that appears only when it is complete, or to standard output.
#pragma once

#include "io/TemporaryFile.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct stat;

namespace qlx::tool {

/// An output. A file is written under a temporary name in its own folder, and by commit() written to the disk and
/// renamed; without commit(), and when a signal ends the program, the temporary file is removed and an earlier file of
/// that name stays as it was. Standard output, pipes, devices and what names an open descriptor (/dev/fd/3) are written
/// directly.
///
/// Every operation throws Failure when the output cannot be written, and ClosedPipe when nobody reads it any more.
/// At most one file is open at a time (the signal handler knows one name).
class OutputFile {
public:
    /// @param path None or `-` is standard output.
    explicit OutputFile(const std::optional<std::string>& path);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    void write(std::span<const std::uint8_t> bytes);
    void write(std::string_view text);

    /// Hands everything written so far to the system.
    void flush();

    /// For a failure on the way: what came before the broken place has been found all the same, and goes to standard output.
    void flushWhatCame() {
        if (_isStandardOutput) {
            flush();
        }
    }

    /// Flushes and gives a file its name. Nothing may be written afterwards.
    void commit();

    /// What to call the output in messages.
    [[nodiscard]] const std::string& name() const { return _name; }

    [[nodiscard]] bool isStandardOutput() const { return _isStandardOutput; }

private:
    void openFile(const std::string& path);
    void openDirectly(int descriptor);
    void keepPermissions(const struct stat& former) const noexcept;
    void send(std::span<const std::uint8_t> bytes);

    std::string _name;
    TemporaryFile _temporary;
    int _descriptor = -1;
    bool _ownsDescriptor = false;  ///< Beside the temporary file's.
    bool _isStandardOutput = false;
    std::vector<std::uint8_t> _buffer;
};

/// Throws Failure when a regular file is to be written that is also the input: the result would replace it, or the input
/// never end.
/// @param input A path, `-` for standard input; it need not exist.
/// @param output The same; none is standard output.
void refuseInputAsOutput(const std::string& input, const std::optional<std::string>& output);

/// Whether standard output is a terminal.
[[nodiscard]] bool standardOutputIsTerminal();

}  // namespace qlx::tool
