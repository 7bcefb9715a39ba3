// Turns at the files of the logs.
#pragma once

#include <string>

namespace qlx::log {

/// The turn of a thread to write to a path, whichever controller it writes for. What a file did not take of a line of
/// which it took a part is kept by path: it is the next thing that this process writes there. A forked child has other
/// turns, and nothing to write first.
class FileTurn {
public:
    /// Waits for the thread whose turn it is.
    explicit FileTurn(const std::string& path);
    ~FileTurn();
    FileTurn(const FileTurn&) = delete;
    FileTurn& operator=(const FileTurn&) = delete;

    /// Makes the record of turns. It is not to be made while another thread forks.
    static void prepare() { static_cast<void>(record()); }

    /// Gives back the turn that the calling thread has, if it has one. For a host's file that ends the process: the thread
    /// does not come back to it, and others write what is left.
    static void leaveTurnInHand() noexcept;

    /// What is to be written first.
    [[nodiscard]] std::string& rest() noexcept;

private:
    struct Path;
    struct Record;
    static Record& record();

    Record& _record;
    Path& _path;
    FileTurn* _outer = nullptr;  ///< That the thread has had before.
};

}  // namespace qlx::log
