// A file that is not there before it is complete.
#pragma once

#include <string>

namespace qlx::tool {

/// A file under a temporary name beside the one that it becomes. It is removed when it does not become that, also when a
/// signal ends the program, whichever thread the signal comes to; what an earlier run left behind that had no time for
/// it (a fault, a power cut) is removed by the next one that writes the same file.
/// At most one is there at a time: what removes it on a signal knows one name.
class TemporaryFile {
public:
    TemporaryFile() = default;
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { remove(); }

    /// Makes the file, for writing.
    /// @param target What it is to become; a path with a file name.
    /// @return 0, or the number of the system's error.
    [[nodiscard]] int open(const std::string& target);

    /// -1 when there is none.
    [[nodiscard]] int descriptor() const noexcept { return _descriptor; }

    /// Has the file written to the disk, closes it and gives it its name. When that fails it is removed.
    /// @return 0, or the number of the system's error.
    [[nodiscard]] int become();

    /// Removes it, if it is there.
    void remove() noexcept;

private:
    void forget() noexcept;

    std::string _target;
    std::string _name;
    int _descriptor = -1;
};

}  // namespace qlx::tool
