// Work that is done one piece after the other: what stands behind SerialQueue, and the log's own queues.
#pragma once

#include "platform/Process.h"
#include "platform/ShortLock.h"
#include "platform/Workers.h"

#include <QLXClosedCaptionsUtilities/platform/Dispatch.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace qlx {

/// Calls its items, in the order in which they came, on a background queue. Items that are queued when the object goes
/// away are still called. A forked child has a queue without items. Any thread may call it.
template <class Item>
class WorkQueue {
public:
    /// Gives the background queue when one is needed.
    using Workers = BackgroundQueue& (*)();

    /// An empty queue; the label is for debuggers and logs.
    WorkQueue(std::string queueLabel, Workers workers) noexcept : _label(std::move(queueLabel)), _workers(workers) {}

    /// The label that it was made with.
    [[nodiscard]] const std::string& label() const noexcept { return _label; }

    /// Calls `item` after all that were queued before it.
    void async(Item item) {
        asyncMade([&item](std::deque<Item>& items) { items.push_back(std::move(item)); },
                  [] { return std::shared_ptr<void>(); });
    }

    /// The same with an item that `append(items)` puts behind the others under the queue's lock: what is read there is
    /// read in the items' order. The shared pointer that `owner()` gives is kept while items wait or run.
    template <class Append, class Owner>
    void asyncMade(Append append, Owner owner) {
        std::shared_ptr<Lane> idle;
        {
            const std::shared_ptr<Lane>& lane = _lanes.get().lane;
            lockSoon(lane->mutex);
            const std::lock_guard lock(lane->mutex, std::adopt_lock);
            append(lane->items);
            ++lane->accepted;
            if (!lane->owner) {
                lane->owner = owner();
            }
            if (std::exchange(lane->working, true)) {
                return;
            }
            // The item may be called at once, and take the queue away.
            idle = lane;
        }
        start(idle);
    }

    /// Blocks until every item of before the call has been called.
    void wait() {
        const std::shared_ptr<Lane> lane = _lanes.get().lane;
        std::unique_lock lock(lane->mutex);
        const std::uint64_t target = lane->accepted;
        while (lane->finished.load() < target) {
            lane->waitFor(lock, target);
        }
    }

    /// Calls every item of before the call here, or waits where another thread is at it. From one of its own items it
    /// calls those behind it.
    void help();

    /// The calling thread will not come back from the item that it is at, if it is at one: others go on behind it.
    void leaveTaskInHand() {
        const std::shared_ptr<Lane> lane = _lanes.get().lane;
        const std::lock_guard lock(lane->mutex);
        if (lane->isMine()) {
            lane->executing = false;
            lane->finished.fetch_add(1);
            lane->progress.notify_all();
        }
    }

    /// Whether the calling thread is at one of the items.
    [[nodiscard]] bool isMine() {
        const std::shared_ptr<Lane> lane = _lanes.get().lane;
        const std::lock_guard lock(lane->mutex);
        return lane->isMine();
    }

    /// Whether an item waits or runs.
    [[nodiscard]] bool isBusy() {
        const std::shared_ptr<Lane> lane = _lanes.get().lane;
        const std::lock_guard lock(lane->mutex);
        return lane->finished.load() < lane->accepted;
    }

    /// How many items have been finished.
    [[nodiscard]] std::uint64_t finished() { return _lanes.get().lane->finished.load(); }

private:
    static constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

    /// What belongs to the threads of one process. Shared with the task that works it off.
    struct Lane {
        void work();
        void waitFor(std::unique_lock<std::mutex>& lock, std::uint64_t target);
        /// Gives the owner in `former` once nothing waits; it is let go without the lock. False when an item has
        /// forked, and this is the child: there the lane is nobody's any more, and not locked.
        [[nodiscard]] bool execute(std::unique_lock<std::mutex>& lock, std::uint64_t target,
                                   std::shared_ptr<void>& former);
        [[nodiscard]] bool runUpTo(std::unique_lock<std::mutex>& lock, std::uint64_t target);
        [[nodiscard]] bool runFirst();
        [[nodiscard]] bool isMine() const { return executing && executor == std::this_thread::get_id(); }
        /// Not to be asked while another thread executes.
        [[nodiscard]] bool isEmpty() const { return items.empty() && taken.empty(); }

        const std::uint64_t forks = forkCount();
        std::mutex mutex;
        std::condition_variable progress;
        std::deque<Item> items;
        std::shared_ptr<void> owner;  ///< Of what the items use.
        std::uint64_t accepted = 0;
        bool working = false;    ///< The background queue has been asked to call work().
        bool executing = false;  ///< A thread is at the items.
        std::thread::id executor;
        std::uint64_t upTo = 0;  ///< The last item that it calls.

        // Apart from what those who queue use. The items are taken out together, so that the lock is seldom asked for;
        // they are the executor's, and stand in front of the others.
        static constexpr std::size_t kApart = 64;
        alignas(kApart) std::deque<Item> taken;
        std::atomic<std::uint64_t> finished{0};
        std::atomic<std::uint64_t> wakeAt{kNever};  ///< The first number of finished items that somebody waits for.
    };
    struct OwnLane {
        std::shared_ptr<Lane> lane = std::make_shared<Lane>();
    };

    void start(const std::shared_ptr<Lane>& lane) {
        try {
            _workers().async([lane] { lane->work(); });
        } catch (...) {
            // Nobody works the queue off: the next item asks again.
            const std::lock_guard lock(lane->mutex);
            lane->working = false;
            throw;
        }
    }

    const std::string _label;
    const Workers _workers;
    PerProcess<OwnLane> _lanes;
};

using TaskQueue = WorkQueue<Task>;

template <class Item>
void WorkQueue<Item>::help() {
    // What no worker can be had for comes behind these items, not in the midst of one.
    const WorkHold hold;
    const std::shared_ptr<Lane> lane = _lanes.get().lane;
    std::shared_ptr<void> former;
    std::unique_lock lock(lane->mutex);
    const std::uint64_t target = lane->accepted;
    if (lane->isMine()) {
        static_cast<void>(lane->runUpTo(lock, target));
        return;
    }
    while (lane->finished.load() < target) {
        if (lane->executing) {
            lane->waitFor(lock, target);
        } else if (!lane->execute(lock, target, former)) {
            return;
        }
    }
}

/// Calls queued items until none is left; at most one thread of the background queue is in here.
template <class Item>
void WorkQueue<Item>::Lane::work() {
    std::shared_ptr<void> former;
    std::unique_lock lock(mutex);
    while (executing ? accepted > upTo : !isEmpty()) {
        if (executing) {
            // Another thread helps itself to the items, but not to all of them: help().
            progress.wait(lock, [this] { return !executing; });
        } else if (!execute(lock, kNever, former)) {
            return;
        }
    }
    working = false;
}

/// Blocks until a thread has let go of the items or has finished the one with the number `target`.
template <class Item>
void WorkQueue<Item>::Lane::waitFor(std::unique_lock<std::mutex>& lock, std::uint64_t target) {
    wakeAt.store(std::min(wakeAt.load(), target));
    // Either the executor finds that, or what it has finished is found here.
    if (finished.load() < target) {
        progress.wait(lock);
    }
}

/// Calls items until none is left, or `target` of them are finished; the lock is held before and after.
template <class Item>
bool WorkQueue<Item>::Lane::execute(std::unique_lock<std::mutex>& lock, std::uint64_t target,
                                    std::shared_ptr<void>& former) {
    executing = true;
    executor = std::this_thread::get_id();
    upTo = target;
    if (!runUpTo(lock, target)) {
        return false;
    }
    executing = false;
    progress.notify_all();
    if (isEmpty()) {
        former = std::move(owner);
    }
    return true;
}

template <class Item>
bool WorkQueue<Item>::Lane::runUpTo(std::unique_lock<std::mutex>& lock, std::uint64_t target) {
    while (!isEmpty() && finished.load() < target) {
        if (taken.empty()) {
            taken.swap(items);
        }
        lock.unlock();
        while (!taken.empty() && finished.load() < target) {
            if (!runFirst()) {
                return false;
            }
        }
        lockSoon(lock);
    }
    return true;
}

template <class Item>
bool WorkQueue<Item>::Lane::runFirst() {
    std::optional<Item> item(std::move(taken.front()));
    taken.pop_front();
    runTask([&item] { (*item)(); });
    item.reset();
    if (forks != forkCount()) {
        return false;
    }
    if (finished.fetch_add(1) + 1 >= wakeAt.load()) {
        // Those who wait for a later one say so again.
        const std::lock_guard lock(mutex);
        wakeAt.store(kNever);
        progress.notify_all();
    }
    return true;
}

}  // namespace qlx
