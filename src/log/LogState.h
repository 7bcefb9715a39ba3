// The controller's variables and the work on its queues.
#pragma once

#include "log/Headings.h"
#include "log/LogFile.h"
#include "log/LogMessage.h"
#include "log/RepeatCompression.h"
#include "log/UserNotifications.h"
#include "platform/Process.h"
#include "platform/TaskQueue.h"

#include <QLXClosedCaptionsUtilities/QLXLogController.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace qlx::log {

/// How long the end of the process waits for a write that does not come back.
inline constexpr std::chrono::milliseconds kPatienceAtEnd{2'000};

/// Sets another one, for tests.
void setPatienceAtEnd(std::chrono::milliseconds patience);

}  // namespace qlx::log

/// Shared with the queued work, so that a controller may go away before its lines are written.
///
/// A forked child goes on with the settings, the delegate and what is kept for it. Everything else belongs to the
/// threads of one process, and the child has it anew: queues, locks, the file and its last message, what waits.
class QLXLogController::State : public std::enable_shared_from_this<State> {
public:
    State();

    /// Takes the text out of the message.
    void log(qlx::log::Message& message);
    void setDelegate(const std::shared_ptr<QLXLogControllerDelegate>& delegate);

    void queueTechnicalLine(std::optional<std::string> message, bool isProblem, std::int64_t level, bool show);
    void queueSimpleLine(std::string message, std::string name);
    void removeOldFiles();

    /// Runs what is queued, on the calling thread where no other has it in hand.
    void runQueues();
    /// The process ends: has what is queued written, and from now on every thread waits for what it logs.
    void end();
    /// Has what is queued written once the process ends; a thread that logs calls it behind its last lock.
    void writeIfEnding();
    /// What a file did not take is tried again, behind what is queued.
    void retryWaiting();
    /// Waits for the removals of old files that have been started.
    void waitForRemovals();

    /// What holds when the log is made. A change that another thread has announced meanwhile is newer, and stays.
    void beginWith(std::optional<std::string> folder, std::int64_t level);
    void takeFolder(std::optional<std::string> folder);
    void takeLevel(std::int64_t level);
    /// Takes the new value of one of the two settings; other keys are passed over.
    void takeSetting(std::string_view key, const qlx::Value& value);

    [[nodiscard]] std::string prefix() const { return load(_prefix); }
    void setPrefix(std::string value) { store(_prefix, std::move(value)); }
    [[nodiscard]] std::optional<std::string> folder() const { return load(_folder); }
    void setFolder(std::optional<std::string> value) { store(_folder, std::move(value)); }
    [[nodiscard]] std::int64_t level() const { return _level.load(std::memory_order_relaxed); }
    void setLevel(std::int64_t value) { _level.store(value, std::memory_order_relaxed); }
    void setCanRemoveOldFiles(bool value) { _canRemoveOldFiles.store(value, std::memory_order_relaxed); }

    [[nodiscard]] qlx::log::RepeatCompression& repeats() { return _lanes.get().repeats; }
    [[nodiscard]] qlx::log::UserNotifications& notifications() { return _notifications; }

private:
    /// What belongs to the threads of one process.
    struct Lane {
        /// Counts a message that is to wait in memory; false when there are too many.
        [[nodiscard]] bool admit(std::size_t bytes);

        /// Taken by a message on its way to the delegate or to the pending ones, and by a change of the delegate:
        /// messages of a thread stay in order, and none falls between the old delegate and the new one. Never taken on
        /// the queues.
        std::mutex delegateMutex;

        // What threads of their own use is kept apart from it, and from each other.
        static constexpr std::size_t kApart = 64;
        // Bytes of messages since the start: those let into memory, those gone from it as known here, and those gone.
        // The thread that logs looks at the last, which another one writes, only where it seems that there is no room.
        alignas(kApart) std::atomic<std::size_t> admittedBytes{0};
        std::atomic<std::size_t> knownGoneBytes{0};
        alignas(kApart) std::atomic<std::size_t> goneBytes{0};

        // Of the technical log's work
        alignas(kApart) qlx::log::RepeatCompression repeats;
        qlx::log::Headings headings;
        qlx::log::Appender technicalFiles;
        // Of the simple logs' work
        alignas(kApart) qlx::log::Appender simpleFiles;

        std::mutex removalsMutex;
        std::condition_variable removalDone;
        std::size_t removals = 0;  ///< Started and not done.
    };

    struct Admission;
    struct TechnicalLine {
        std::chrono::system_clock::time_point time;
        std::optional<std::string> message;
        std::int64_t level;
        bool isProblem;
        bool show;
    };
    /// A piece of the technical log's work. The queue keeps the state for it: a reference of each line's own would go
    /// to and fro between the threads.
    struct TechnicalWork {
        void operator()() const;

        State* state;
        Lane* lane;
        std::optional<TechnicalLine> line;  ///< None: what a file did not take is tried again.
    };

    [[nodiscard]] std::shared_ptr<QLXLogControllerDelegate> delegate() const {
        const qlx::ForkedValuesLock lock;
        return _delegate.lock();
    }
    /// The folder, unless there is none or an empty one, and what the names of its files begin with.
    [[nodiscard]] std::pair<std::optional<std::string>, std::string> usableFolderAndPrefix() const;
    void display(qlx::log::Message& message, const QLXLogControllerDelegate& delegate);
    void keep(const qlx::log::Message& message);
    void notify(const qlx::log::Message& message);
    void writeTechnicalLine(Lane& lane, const TechnicalLine& line);
    void writeTechnicalLine(Lane& lane, const TechnicalLine& line, qlx::log::Headings& headings);
    [[nodiscard]] std::string headOfNewFile(Lane& lane, const qlx::log::RepeatDecision& decision,
                                            const std::string& stamp);
    void writeSimpleLine(Lane& lane, const std::string& message, const std::string& name);
    void startRemoval();
    void reportFailedOpen(const std::string& folder, bool show);
    void report(const std::string& text, bool show);
    [[nodiscard]] bool isBusy();
    void finishQueues();

    template <class T>
    [[nodiscard]] T load(const T& member) const {
        const qlx::ForkedValuesLock lock;
        return member;
    }
    template <class T>
    void store(T& member, T value) {
        using std::swap;
        const qlx::ForkedValuesLock lock;
        swap(member, value);
    }

    // Guarded by the forked values' lock; the delegate is only changed with its mutex held too
    std::optional<std::deque<qlx::log::Message>> _pending{std::in_place};  ///< None once a delegate has been set.
    std::weak_ptr<QLXLogControllerDelegate> _delegate;
    std::string _prefix;
    std::optional<std::string> _folder;
    bool _hasTakenFolder = false;  ///< A change has come.
    bool _hasTakenLevel = false;   ///< The same.

    std::atomic<std::int64_t> _level{0};
    std::atomic<bool> _reportsFailedOpen{true};
    std::atomic<bool> _canRemoveOldFiles{true};
    std::atomic<bool> _isEnding{false};
    std::atomic<bool> _hasGivenUp{false};  ///< A write hangs at the end of the process.

    qlx::log::UserNotifications _notifications;
    qlx::WorkQueue<TechnicalWork> _technicalQueue;
    qlx::TaskQueue _simpleQueue;
    qlx::PerProcess<Lane> _lanes;
};
