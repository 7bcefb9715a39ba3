// Where log files are written, listed and removed.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx {

/// Appends to files, one line at a time. Any thread may call it.
class QLX_EXPORT LogFiles {
public:
    LogFiles() = default;
    LogFiles(const LogFiles&) = delete;
    LogFiles& operator=(const LogFiles&) = delete;
    virtual ~LogFiles();

    /// The portable default.
    [[nodiscard]] static LogFiles& defaultInstance();

    /// Opens the file at `path` for appending. A missing one is created with the permissions 0664, less what the
    /// process's file mode mask takes away; a missing folder is not. A named pipe that nobody reads fails at once.
    /// @return Its descriptor, or -1.
    [[nodiscard]] virtual int openForAppending(const char* path);

    /// Writes `bytes` with one write call; false when not all of them were taken (a full disk).
    virtual bool write(int descriptor, std::string_view bytes);

    /// Closes what openForAppending() gave.
    virtual void close(int descriptor);

    /// Writes `bytes` with one write call, and gives how many of them the file took: what the log calls. The default
    /// calls write(), for services that know no more. When that says false, it has taken what LogFiles::write() took of
    /// them on this thread meanwhile, which may be nothing.
    [[nodiscard]] virtual std::size_t append(int descriptor, std::string_view bytes);
};

/// Lists folders and removes what is in them. Any thread may call it.
class QLX_EXPORT Directories {
public:
    /// A file of a folder.
    struct Entry {
        std::string name;  ///< Without the folder.
        std::optional<std::chrono::system_clock::time_point>
            creationDate;  ///< None where the platform does not know it.
    };

    Directories() = default;
    Directories(const Directories&) = delete;
    Directories& operator=(const Directories&) = delete;
    virtual ~Directories();

    /// The portable default.
    [[nodiscard]] static Directories& defaultInstance();

    /// What stands in the folder at `path` (one level, in no particular order), without "." and ".."; empty when it
    /// cannot be read. The creation date is the file system's time of birth, or else the time of the last change.
    [[nodiscard]] virtual std::vector<Entry> entries(const std::string& path);

    /// Removes the file at `path`, or the folder with all that it holds; false when that fails.
    virtual bool remove(const std::string& path);
};

}  // namespace qlx
