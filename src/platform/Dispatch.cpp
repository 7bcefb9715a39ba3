#include <QLXClosedCaptionsUtilities/platform/Dispatch.h>

#include "platform/Process.h"
#include "platform/TaskQueue.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace qlx {

namespace {

BackgroundQueue& currentBackgroundQueue() {
    return services().get<BackgroundQueue>();
}

}  // namespace

struct SerialQueue::State {
    explicit State(std::string queueLabel) : queue(std::move(queueLabel), currentBackgroundQueue) {}

    TaskQueue queue;
};

SerialQueue::SerialQueue(std::string label) : _state(std::make_shared<State>(std::move(label))) {}
SerialQueue::~SerialQueue() = default;

const std::string& SerialQueue::label() const noexcept {
    return _state->queue.label();
}

void SerialQueue::async(Task task) {
    if (task) {
        _state->queue.async(std::move(task));
    }
}

void SerialQueue::waitUntilEmpty() {
    _state->queue.wait();
}

void SerialQueue::runUntilEmpty() {
    _state->queue.help();
}

struct MainQueue::State {
    using SharedPoster = std::shared_ptr<const Poster>;

    /// What belongs to the threads of one process: a forked child has a queue without tasks.
    struct Lane {
        std::mutex mutex;
        std::condition_variable wake;
        std::deque<Task> tasks;
        bool isStopping = false;
        std::thread::id handsOver;         ///< The thread that hands the waiting tasks to a new poster.
        std::uint64_t handOvers = 0;       ///< How many have begun.
        std::condition_variable hasEnded;  ///< A thread has handed over.
    };

    /// The first waiting task.
    std::optional<Task> takeTask() {
        Lane& lane = lanes.get();
        const std::lock_guard lock(lane.mutex);
        return firstOf(lane);
    }

    static std::optional<Task> firstOf(Lane& lane) {
        if (lane.tasks.empty()) {
            return std::nullopt;
        }
        Task task = std::move(lane.tasks.front());
        lane.tasks.pop_front();
        return task;
    }

    /// Called with the lane's lock held. Gives the former poster, which is to be destroyed without it.
    SharedPoster replacePoster(SharedPoster value) {
        const ForkedValuesLock lock;
        return std::exchange(poster, std::move(value));
    }

    PerProcess<Lane> lanes;
    SharedPoster poster;  ///< Null: tasks wait. Read with the lane's lock held.
};

MainQueue::MainQueue() : _state(std::make_unique<State>()) {}
MainQueue::~MainQueue() = default;

MainQueue& MainQueue::defaultInstance() {
    static auto* const instance = new MainQueue;
    return *instance;
}

void MainQueue::post(Task task) {
    if (!task) {
        return;
    }
    State::SharedPoster poster;
    {
        State::Lane& lane = _state->lanes.get();
        const std::lock_guard lock(lane.mutex);
        poster = _state->poster;
        if (!poster) {
            lane.tasks.push_back(std::move(task));
            lane.wake.notify_one();
            return;
        }
    }
    (*poster)(std::move(task));
}

void MainQueue::setPoster(Poster poster) {
    const auto next = poster ? std::make_shared<const Poster>(std::move(poster)) : nullptr;
    State::SharedPoster former;  // Let go when the lock is no longer held.
    State::Lane& lane = _state->lanes.get();
    std::unique_lock lock(lane.mutex);
    const std::thread::id self = std::this_thread::get_id();
    lane.hasEnded.wait(lock, [&lane, self] { return lane.handsOver == std::thread::id() || lane.handsOver == self; });
    former = _state->replacePoster(nullptr);
    // A poster that calls this while it gets the waiting tasks is done with them: they go to the new one.
    const std::uint64_t number = ++lane.handOvers;
    const std::thread::id outer = std::exchange(lane.handsOver, self);
    // However the poster leaves, others may set theirs. In a child that it has forked nobody does that, and the lane is
    // not its own.
    const auto hasForked = [this, &lane] { return &lane != &_state->lanes.get(); };
    struct End {
        ~End() {
            if (isForked()) {
                return;
            }
            if (!lock.owns_lock()) {
                lock.lock();
            }
            lane.handsOver = outer;
            lane.hasEnded.notify_all();
        }
        State::Lane& lane;
        std::unique_lock<std::mutex>& lock;
        const std::thread::id outer;
        const decltype(hasForked)& isForked;
    };
    const End end{lane, lock, outer, hasForked};
    if (!next) {
        return;
    }
    // Tasks that come while the waiting ones are handed over wait as well: none overtakes another.
    while (std::optional<Task> task = State::firstOf(lane)) {
        lock.unlock();
        (*next)(std::move(*task));
        if (hasForked()) {
            // The other tasks are the parent's; those of the child wait, unless the poster has set another one.
            if (_state->lanes.get().handOvers == 0) {
                setPoster([next](Task own) { (*next)(std::move(own)); });
            }
            return;
        }
        lock.lock();
        if (lane.handOvers != number) {
            return;
        }
    }
    _state->replacePoster(next);
}

std::size_t MainQueue::drain() {
    State::Lane& lane = _state->lanes.get();
    std::size_t waiting = 0;
    {
        const std::lock_guard lock(lane.mutex);
        waiting = lane.tasks.size();
    }
    std::size_t count = 0;
    while (count < waiting) {
        const std::optional<Task> task = _state->takeTask();
        if (!task) {
            break;
        }
        ++count;
        (*task)();
    }
    return count;
}

void MainQueue::run() {
    while (true) {
        std::optional<Task> task;
        {
            State::Lane& lane = _state->lanes.get();
            std::unique_lock lock(lane.mutex);
            lane.wake.wait(lock, [&lane] { return lane.isStopping || !lane.tasks.empty(); });
            if (std::exchange(lane.isStopping, false)) {
                return;
            }
            task = State::firstOf(lane);
        }
        (*task)();
    }
}

void MainQueue::stop() {
    State::Lane& lane = _state->lanes.get();
    const std::lock_guard lock(lane.mutex);
    lane.isStopping = true;
    lane.wake.notify_all();
}

}  // namespace qlx
