// The threads that do what is queued.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Dispatch.h>

namespace qlx {

/// Runs `task`. An exception ends the task alone and is printed.
void runTask(const Task& task);

/// Where the log's work is done: on the host's queue if it has set one, else on a few threads that serve the log alone,
/// so that it goes on while all others hang in a read.
[[nodiscard]] BackgroundQueue& logWorkers();

/// Where no thread can be started, the one that queues a task runs it: at once, or, as long as one of these lives on
/// it, when the last of them goes. It stands in front of a lock under which tasks are queued.
class WorkHold {
public:
    WorkHold() noexcept;
    ~WorkHold();
    WorkHold(const WorkHold&) = delete;
    WorkHold& operator=(const WorkHold&) = delete;

    /// The calling thread owes the work of tasks that nobody else runs.
    static void owe();
};

}  // namespace qlx
