// Tasks that run one after the other: what stands behind SerialQueue, and the log's own queues.
#pragma once

#include "platform/Process.h"

#include <QLXClosedCaptionsUtilities/platform/Dispatch.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace qlx {

/// Runs its tasks in the order in which they came, on a background queue. Tasks that are queued when the object goes
/// away still run. A forked child has a queue without tasks. Any thread may call it.
class TaskQueue {
public:
    /// Gives the background queue when one is needed.
    using Workers = BackgroundQueue& (*)();

    /// An empty queue; the label is for debuggers and logs.
    TaskQueue(std::string queueLabel, Workers workers) noexcept : _label(std::move(queueLabel)), _workers(workers) {}

    /// The label that it was made with.
    [[nodiscard]] const std::string& label() const noexcept { return _label; }

    /// Runs `task` after all tasks that were queued before it.
    void async(Task task) {
        asyncMade([&task] { return std::move(task); });
    }

    /// The same with a task that `make()` gives under the queue's lock: what is read there is read in the tasks' order.
    template <class Make>
    void asyncMade(Make make) {
        // The task may be run at once, and take the queue away.
        const std::shared_ptr<Lane> lane = _lanes.get().lane;
        {
            const std::lock_guard lock(lane->mutex);
            lane->tasks.push_back(make());
            ++lane->accepted;
            if (std::exchange(lane->working, true)) {
                return;
            }
        }
        start(lane);
    }

    /// Blocks until every task of before the call has run.
    void wait();
    /// Runs every task of before the call here, or waits where another thread is at it. From one of its own tasks it
    /// runs those behind it.
    void help();

    /// The calling thread will not come back from the task that it is at, if it is at one: others go on behind it.
    void leaveTaskInHand();
    /// Whether the calling thread is at one of the tasks.
    [[nodiscard]] bool isMine();
    /// Whether a task waits or runs.
    [[nodiscard]] bool isBusy();
    /// How many tasks have been finished.
    [[nodiscard]] std::uint64_t finished();

private:
    static constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

    /// What belongs to the threads of one process. Shared with the task that works it off.
    struct Lane {
        void work();
        void waitFor(std::unique_lock<std::mutex>& lock, std::uint64_t target);
        /// False when a task has forked, and this is the child: there the lane is nobody's any more, and not locked.
        [[nodiscard]] bool execute(std::unique_lock<std::mutex>& lock, std::uint64_t target);
        [[nodiscard]] bool runFirst(std::unique_lock<std::mutex>& lock);

        const std::uint64_t forks = forkCount();
        std::mutex mutex;
        std::condition_variable progress;
        std::deque<Task> tasks;
        std::uint64_t accepted = 0;
        std::uint64_t finished = 0;
        std::uint64_t wakeAt = kNever;  ///< The first number of finished tasks that somebody waits for.
        bool working = false;           ///< The background queue has been asked to call work().
        bool executing = false;         ///< A thread is at the tasks.
        std::thread::id executor;
    };
    struct OwnLane {
        std::shared_ptr<Lane> lane = std::make_shared<Lane>();
    };

    void start(const std::shared_ptr<Lane>& lane);

    const std::string _label;
    const Workers _workers;
    PerProcess<OwnLane> _lanes;
};

}  // namespace qlx
