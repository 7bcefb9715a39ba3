// Queues: the background queue, serial queues on top of it, and the main queue.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace qlx {

/// A piece of work for a queue; an empty one is passed over.
using Task = std::function<void()>;

/// A concurrent queue for work of background priority. The default runs a few threads that start with the first task
/// and never end; a host with a pool of its own replaces it. Any thread may call async().
class QLX_EXPORT BackgroundQueue {
public:
    BackgroundQueue() = default;
    BackgroundQueue(const BackgroundQueue&) = delete;
    BackgroundQueue& operator=(const BackgroundQueue&) = delete;
    virtual ~BackgroundQueue();

    /// The portable default.
    [[nodiscard]] static BackgroundQueue& defaultInstance();

    /// Runs `task` later on some thread that is not the caller's.
    virtual void async(Task task) = 0;
};

/// Runs its tasks one after the other, in the order in which they came, on the background queue that is current when
/// the first of them arrives. Tasks that are queued when the object goes away still run. Any thread may call it.
class QLX_EXPORT SerialQueue {
public:
    /// An empty queue; the label is for debuggers and logs.
    explicit SerialQueue(std::string label);
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    /// The label that it was made with.
    [[nodiscard]] const std::string& label() const noexcept;

    /// Runs `task` after all tasks that were queued before it.
    void async(Task task);

    /// Blocks until every task that was queued before the call has run. Not to be called from one of its own tasks.
    void waitUntilEmpty();

    /// As waitUntilEmpty(), but the calling thread runs the tasks itself, one after the other as ever: for the end of a
    /// process, when no background thread may be left to do it. From one of its own tasks it runs those behind it.
    void runUntilEmpty();

private:
    struct State;
    std::shared_ptr<State> _state;
};

/// The queue on which completion handlers are called.
///
/// A host with a main loop hands it a poster once (`setPoster`), and every task goes there; a program without one
/// calls run() or drain() on the thread that it takes for its main thread. Any thread may post.
class QLX_EXPORT MainQueue {
public:
    /// Takes a piece of work and has it called from the main loop.
    using Poster = std::function<void(Task)>;

    MainQueue() = default;
    MainQueue(const MainQueue&) = delete;
    MainQueue& operator=(const MainQueue&) = delete;

    /// The portable default.
    [[nodiscard]] static MainQueue& defaultInstance();

    /// Hands `task` to the poster, or keeps it for drain() and run().
    void post(Task task);

    /// Hands the tasks that wait to `poster`, and from then on every task. An empty poster switches back; a call that
    /// another thread has begun may still reach the former poster.
    void setPoster(Poster poster);

    /// Runs the tasks that wait now, on the calling thread, and gives their number.
    std::size_t drain();

    /// Runs tasks on the calling thread until stop() is called.
    void run();

    /// Makes run() return after the task in hand; called before run(), makes the next run() return at once.
    void stop();

private:
    /// The first waiting task; called with the lock held.
    std::optional<Task> takeTask();

    std::mutex _mutex;
    std::condition_variable _wake;
    std::deque<Task> _tasks;
    Poster _poster;
    bool _stopping = false;
};

}  // namespace qlx
