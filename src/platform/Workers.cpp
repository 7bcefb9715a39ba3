#include "platform/Workers.h"

#include "platform/Process.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace qlx {

namespace {

void reportException(std::string_view what) {
    try {
        services().get<Console>().log("Error: A task of a queue has ended with an exception: " + std::string(what));
    } catch (...) {
        // Nothing is left to say it with.
        return;
    }
}

/// A few threads that share one list of tasks. Threads start when there is more work than idle hands.
class WorkerPool final : public BackgroundQueue {
public:
    explicit WorkerPool(std::size_t maxThreads) : _maxThreads(maxThreads) {}

    void async(Task task) override {
        if (!task) {
            return;
        }
        Crew& crew = _crew.get();
        bool hasThreads = true;
        {
            const std::lock_guard lock(crew.mutex);
            crew.tasks.push_back(std::move(task));
            if (crew.idle < crew.tasks.size() && crew.threads < _maxThreads) {
                startThread(crew);
            }
            hasThreads = crew.threads != 0;
            crew.wake.notify_one();
        }
        if (!hasThreads) {
            WorkHold::owe();
        }
    }

    /// Runs on the calling thread what no thread of the pool will.
    void runOrphans() {
        Crew& crew = _crew.get();
        std::unique_lock lock(crew.mutex);
        while (crew.threads == 0 && !crew.tasks.empty()) {
            Task task = crew.takeTask();
            lock.unlock();
            runTask(task);
            task = nullptr;
            if (&crew != &_crew.get()) {
                return;  // The task has forked, and this is the child.
            }
            lock.lock();
        }
    }

private:
    struct Crew {
        Task takeTask() {
            Task task = std::move(tasks.front());
            tasks.pop_front();
            return task;
        }

        std::mutex mutex;
        std::condition_variable wake;
        std::deque<Task> tasks;
        std::size_t threads = 0;
        std::size_t idle = 0;
    };

    /// A system that refuses a thread is asked again with the next task; until then the others do the work.
    void startThread(Crew& crew) {
        try {
            std::thread([this] { work(); }).detach();
            ++crew.threads;
        } catch (const std::system_error&) {
            return;
        }
    }

    [[noreturn]] void work() {
        Crew* crew = &_crew.get();
        while (true) {
            Task task;
            {
                std::unique_lock lock(crew->mutex);
                ++crew->idle;
                crew->wake.wait(lock, [crew] { return !crew->tasks.empty(); });
                --crew->idle;
                task = crew->takeTask();
            }
            runTask(task);
            task = nullptr;
            Crew* const current = &_crew.get();
            if (crew != current) {
                // The task has forked: in the child this thread is the first of a new crew.
                crew = current;
                const std::lock_guard lock(crew->mutex);
                ++crew->threads;
            }
        }
    }

    const std::size_t _maxThreads;
    PerProcess<Crew> _crew;
};

WorkerPool& sharedPool() {
    static auto* const pool = new WorkerPool(std::clamp<std::size_t>(std::thread::hardware_concurrency(), 2, 8));
    return *pool;
}

WorkerPool& logPool() {
    // A technical line, a simple one and a removal of old files do not wait for each other.
    static auto* const pool = new WorkerPool(3);
    return *pool;
}

thread_local int holds = 0;
thread_local bool owes = false;

}  // namespace

void runTask(const Task& task) {
    try {
        task();
    } catch (const std::exception& exception) {
        reportException(exception.what());
    } catch (...) {
        reportException("of an unknown type");
    }
}

WorkHold::WorkHold() noexcept {
    ++holds;
}

WorkHold::~WorkHold() {
    // Still held: tasks that these tasks queue come in the next round.
    while (holds == 1 && std::exchange(owes, false)) {
        sharedPool().runOrphans();
        logPool().runOrphans();
    }
    --holds;
}

void WorkHold::owe() {
    owes = true;
    const WorkHold hold;
}

BackgroundQueue& logWorkers() {
    BackgroundQueue& current = services().get<BackgroundQueue>();
    if (&current == &sharedPool()) {
        return logPool();
    }
    return current;
}

BackgroundQueue::~BackgroundQueue() = default;

BackgroundQueue& BackgroundQueue::defaultInstance() {
    return sharedPool();
}

}  // namespace qlx
