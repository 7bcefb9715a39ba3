// Queues: the background queue, serial queues on top of it, and the main queue.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace qlx {

/// A piece of work for a queue; an empty one is passed over.
using Task = std::function<void()>;

/// A concurrent queue for work of background priority. The default runs a few threads that start with the first task
/// and never end; a host with a pool of its own replaces it. An exception that leaves a task of the default queue ends
/// that task alone and is printed. Where the system refuses every thread, the one that calls async() does the work, once
/// it holds no lock of the library. A child of fork() has new threads, and none of the tasks. Any thread may call async().
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
/// the first of them arrives. Tasks that are queued when the object goes away still run. An exception that leaves a task
/// ends that task alone and is printed. A child of fork() has the queue without its tasks. Any thread may call it.
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
/// calls run() or drain() on the thread that it takes for its main thread. An exception that leaves a task or a poster
/// comes out of the call that ran it, and the queue goes on with what is behind it. A child of fork() has the queue with
/// its poster and without its tasks. Any thread may post.
class QLX_EXPORT MainQueue {
public:
    /// Takes a piece of work and has it called from the main loop.
    using Poster = std::function<void(Task)>;

    /// A queue without tasks and without a poster.
    MainQueue();
    ~MainQueue();
    MainQueue(const MainQueue&) = delete;
    MainQueue& operator=(const MainQueue&) = delete;

    /// The portable default.
    [[nodiscard]] static MainQueue& defaultInstance();

    /// Hands `task` to the poster, or keeps it for drain() and run().
    void post(Task task);

    /// Hands the tasks that wait to `poster`, and from then on every task. An empty poster switches back; a task that
    /// another thread posts at that moment may still reach the former poster. A call while another thread's poster gets
    /// the waiting tasks waits until it has them all; a poster that calls this gets none of the rest.
    void setPoster(Poster poster);

    /// Runs the tasks that wait now, on the calling thread, and gives their number.
    std::size_t drain();

    /// Runs tasks on the calling thread until stop() is called.
    void run();

    /// Makes run() return after the task in hand; called before run(), makes the next run() return at once.
    void stop();

private:
    struct State;
    std::unique_ptr<State> _state;
};

}  // namespace qlx
