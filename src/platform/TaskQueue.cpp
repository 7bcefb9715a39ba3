#include "platform/TaskQueue.h"

#include "platform/Workers.h"

#include <algorithm>
#include <utility>

namespace qlx {

void TaskQueue::start(const std::shared_ptr<Lane>& lane) {
    try {
        _workers().async([lane] { lane->work(); });
    } catch (...) {
        // Nobody works the queue off: the next task asks again.
        const std::lock_guard lock(lane->mutex);
        lane->working = false;
        throw;
    }
}

void TaskQueue::wait() {
    const std::shared_ptr<Lane> lane = _lanes.get().lane;
    std::unique_lock lock(lane->mutex);
    const std::uint64_t target = lane->accepted;
    while (lane->finished < target) {
        lane->waitFor(lock, target);
    }
}

void TaskQueue::help() {
    // What no worker can be had for comes behind these tasks, not in the midst of one.
    const WorkHold hold;
    const std::shared_ptr<Lane> lane = _lanes.get().lane;
    std::unique_lock lock(lane->mutex);
    const std::uint64_t target = lane->accepted;
    if (lane->executing && lane->executor == std::this_thread::get_id()) {
        while (!lane->tasks.empty() && lane->finished < target && lane->runFirst(lock)) {
        }
        return;
    }
    while (lane->finished < target) {
        if (lane->executing) {
            lane->waitFor(lock, target);
        } else if (!lane->execute(lock, target)) {
            return;
        }
    }
}

void TaskQueue::leaveTaskInHand() {
    const std::shared_ptr<Lane> lane = _lanes.get().lane;
    const std::lock_guard lock(lane->mutex);
    if (lane->executing && lane->executor == std::this_thread::get_id()) {
        lane->executing = false;
        ++lane->finished;
        lane->progress.notify_all();
    }
}

bool TaskQueue::isMine() {
    const std::shared_ptr<Lane> lane = _lanes.get().lane;
    const std::lock_guard lock(lane->mutex);
    return lane->executing && lane->executor == std::this_thread::get_id();
}

bool TaskQueue::isBusy() {
    const std::shared_ptr<Lane> lane = _lanes.get().lane;
    const std::lock_guard lock(lane->mutex);
    return lane->finished < lane->accepted;
}

std::uint64_t TaskQueue::finished() {
    const std::shared_ptr<Lane> lane = _lanes.get().lane;
    const std::lock_guard lock(lane->mutex);
    return lane->finished;
}

/// Runs queued tasks until none is left; at most one thread of the background queue is in here.
void TaskQueue::Lane::work() {
    std::unique_lock lock(mutex);
    while (!tasks.empty()) {
        if (executing) {
            // Another thread helps itself to the tasks: help().
            progress.wait(lock, [this] { return !executing; });
        } else if (!execute(lock, kNever)) {
            return;
        }
    }
    working = false;
}

/// Blocks until a thread has let go of the tasks or has finished the one with the number `target`.
void TaskQueue::Lane::waitFor(std::unique_lock<std::mutex>& lock, std::uint64_t target) {
    wakeAt = std::min(wakeAt, target);
    progress.wait(lock);
}

/// Runs tasks until none is left, or `target` of them are finished; the lock is held before and after.
bool TaskQueue::Lane::execute(std::unique_lock<std::mutex>& lock, std::uint64_t target) {
    executing = true;
    executor = std::this_thread::get_id();
    while (!tasks.empty() && finished < target) {
        if (!runFirst(lock)) {
            return false;
        }
    }
    executing = false;
    progress.notify_all();
    return true;
}

bool TaskQueue::Lane::runFirst(std::unique_lock<std::mutex>& lock) {
    Task task = std::move(tasks.front());
    tasks.pop_front();
    lock.unlock();
    runTask(task);
    if (forks != forkCount()) {
        return false;
    }
    lock.lock();
    if (++finished >= wakeAt) {
        // Those who wait for a later one say so again.
        wakeAt = kNever;
        progress.notify_all();
    }
    return true;
}

}  // namespace qlx
