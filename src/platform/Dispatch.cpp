#include <QLXClosedCaptionsUtilities/platform/Dispatch.h>

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <system_error>
#include <thread>
#include <utility>

namespace qlx {

namespace {

/// A few threads that share one list of tasks. Threads start when there is more work than idle hands.
class WorkerPool final : public BackgroundQueue {
public:
    void async(Task task) override {
        if (!task) {
            return;
        }
        const std::lock_guard lock(_mutex);
        _tasks.push_back(std::move(task));
        if (_idle < _tasks.size() && _threads < maxThreads()) {
            startThread();
        }
        _wake.notify_one();
    }

private:
    /// A system that refuses a thread is asked again with the next task; until then the others do the work.
    void startThread() {
        try {
            std::thread([this] { work(); }).detach();
            ++_threads;
        } catch (const std::system_error&) {
            return;
        }
    }

    static std::size_t maxThreads() { return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 2, 8); }

    [[noreturn]] void work() {
        std::unique_lock lock(_mutex);
        while (true) {
            ++_idle;
            _wake.wait(lock, [this] { return !_tasks.empty(); });
            --_idle;
            Task task = std::move(_tasks.front());
            _tasks.pop_front();
            lock.unlock();
            task();
            task = nullptr;
            lock.lock();
        }
    }

    std::mutex _mutex;
    std::condition_variable _wake;
    std::deque<Task> _tasks;
    std::size_t _threads = 0;
    std::size_t _idle = 0;
};

}  // namespace

BackgroundQueue::~BackgroundQueue() = default;

BackgroundQueue& BackgroundQueue::defaultInstance() {
    static auto* const instance = new WorkerPool;
    return *instance;
}

/// Shared with the task that works the queue off, so that the queue may go away before its tasks.
struct SerialQueue::State {
    explicit State(std::string queueLabel) : label(std::move(queueLabel)) {}

    /// Runs queued tasks until none is left; at most one thread of the background queue is in here.
    void work() {
        std::unique_lock lock(mutex);
        while (!tasks.empty()) {
            if (executing) {
                // Another thread helps itself to the tasks: runUntilEmpty().
                progress.wait(lock, [this] { return !executing; });
            } else {
                execute(lock, kNever);
            }
        }
        working = false;
    }

    /// Waits until every task of before the call has run.
    void wait() {
        std::unique_lock lock(mutex);
        const std::uint64_t target = accepted;
        while (finished < target) {
            waitFor(lock, target);
        }
    }

    /// Runs every task of before the call here, or waits where another thread is at it.
    void help() {
        std::unique_lock lock(mutex);
        const std::uint64_t target = accepted;
        if (executing && executor == std::this_thread::get_id()) {
            while (!tasks.empty() && finished < target) {
                runFirst(lock);
            }
            return;
        }
        while (finished < target) {
            if (executing) {
                waitFor(lock, target);
            } else {
                execute(lock, target);
            }
        }
    }

    /// Blocks until a thread has let go of the tasks or has finished the one with the number `target`.
    void waitFor(std::unique_lock<std::mutex>& lock, std::uint64_t target) {
        wakeAt = std::min(wakeAt, target);
        progress.wait(lock);
    }

    /// Runs tasks until none is left, or `target` of them are finished; the lock is held before and after.
    void execute(std::unique_lock<std::mutex>& lock, std::uint64_t target) {
        executing = true;
        executor = std::this_thread::get_id();
        while (!tasks.empty() && finished < target) {
            runFirst(lock);
        }
        executing = false;
        progress.notify_all();
    }

    void runFirst(std::unique_lock<std::mutex>& lock) {
        Task task = std::move(tasks.front());
        tasks.pop_front();
        lock.unlock();
        task();
        task = nullptr;
        lock.lock();
        if (++finished >= wakeAt) {
            // Those who wait for a later one say so again.
            wakeAt = kNever;
            progress.notify_all();
        }
    }

    static constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

    const std::string label;
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

SerialQueue::SerialQueue(std::string label) : _state(std::make_shared<State>(std::move(label))) {}
SerialQueue::~SerialQueue() = default;

const std::string& SerialQueue::label() const noexcept {
    return _state->label;
}

void SerialQueue::async(Task task) {
    if (!task) {
        return;
    }
    {
        const std::lock_guard lock(_state->mutex);
        _state->tasks.push_back(std::move(task));
        ++_state->accepted;
        if (std::exchange(_state->working, true)) {
            return;
        }
    }
    try {
        services().get<BackgroundQueue>().async([state = _state] { state->work(); });
    } catch (...) {
        // Nobody works the queue off: the next task asks again.
        const std::lock_guard lock(_state->mutex);
        _state->working = false;
        throw;
    }
}

void SerialQueue::waitUntilEmpty() {
    _state->wait();
}

void SerialQueue::runUntilEmpty() {
    _state->help();
}

MainQueue& MainQueue::defaultInstance() {
    static auto* const instance = new MainQueue;
    return *instance;
}

void MainQueue::post(Task task) {
    if (!task) {
        return;
    }
    Poster poster;
    {
        const std::lock_guard lock(_mutex);
        if (!_poster) {
            _tasks.push_back(std::move(task));
            _wake.notify_one();
            return;
        }
        poster = _poster;
    }
    poster(std::move(task));
}

void MainQueue::setPoster(Poster poster) {
    std::unique_lock lock(_mutex);
    _poster = nullptr;
    if (!poster) {
        return;
    }
    // Tasks that come while the waiting ones are handed over wait as well: none overtakes another.
    while (std::optional<Task> task = takeTask()) {
        lock.unlock();
        poster(std::move(*task));
        lock.lock();
    }
    _poster = std::move(poster);
}

std::optional<Task> MainQueue::takeTask() {
    if (_tasks.empty()) {
        return std::nullopt;
    }
    Task task = std::move(_tasks.front());
    _tasks.pop_front();
    return task;
}

std::size_t MainQueue::drain() {
    std::unique_lock lock(_mutex);
    const std::size_t waiting = _tasks.size();
    std::size_t count = 0;
    while (count < waiting) {
        std::optional<Task> task = takeTask();
        if (!task) {
            break;
        }
        ++count;
        lock.unlock();
        (*task)();
        task.reset();
        lock.lock();
    }
    return count;
}

void MainQueue::run() {
    std::unique_lock lock(_mutex);
    while (true) {
        _wake.wait(lock, [this] { return _stopping || !_tasks.empty(); });
        if (std::exchange(_stopping, false)) {
            return;
        }
        std::optional<Task> task = takeTask();
        lock.unlock();
        (*task)();
        task.reset();
        lock.lock();
    }
}

void MainQueue::stop() {
    const std::lock_guard lock(_mutex);
    _stopping = true;
    _wake.notify_all();
}

}  // namespace qlx
