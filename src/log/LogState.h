// The controller's variables and the work on its queues.
#pragma once

#include "log/LogMessage.h"
#include "log/RepeatCompression.h"
#include "log/UserNotifications.h"

#include <QLXClosedCaptionsUtilities/QLXLogController.h>
#include <QLXClosedCaptionsUtilities/platform/Dispatch.h>
#include <QLXClosedCaptionsUtilities/platform/Guarded.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

/// Shared with the queued work, so that a controller may go away before its lines are written.
class QLXLogController::State : public std::enable_shared_from_this<State> {
public:
    State();

    void log(const qlx::log::Message& message);
    void setDelegate(const std::shared_ptr<QLXLogControllerDelegate>& delegate);

    void queueTechnicalLine(std::optional<std::string> message, bool isProblem, std::int64_t level, bool show);
    void queueSimpleLine(std::string message, std::string name);
    void removeOldFiles();

    /// Runs what is queued, on the calling thread where no other has it in hand.
    void runQueues();
    /// The process ends: runs what is queued, and from now on every thread writes what it logs.
    void end();
    /// Runs what is queued once the process ends; a thread that logs calls it behind its last lock.
    void writeIfEnding();
    /// Waits for the removals of old files that have been started.
    void waitForRemovals();

    /// What holds when the log is made. A change that another thread has announced meanwhile is newer, and stays.
    void beginWith(std::optional<std::string> folder, std::int64_t level);
    void takeFolder(std::optional<std::string> folder);
    void takeLevel(std::int64_t level);

    [[nodiscard]] std::string prefix() const { return _guard.load(_prefix); }
    void setPrefix(std::string value) { _guard.store(_prefix, std::move(value)); }
    [[nodiscard]] std::optional<std::string> folder() const { return _guard.load(_folder); }
    void setFolder(std::optional<std::string> value) { _guard.store(_folder, std::move(value)); }
    [[nodiscard]] std::int64_t level() const { return _level.load(std::memory_order_relaxed); }
    void setLevel(std::int64_t value) { _level.store(value, std::memory_order_relaxed); }
    void setCanRemoveOldFiles(bool value) { _canRemoveOldFiles.store(value, std::memory_order_relaxed); }

    [[nodiscard]] qlx::log::RepeatCompression& repeats() { return _repeats; }
    [[nodiscard]] qlx::log::UserNotifications& notifications() { return _notifications; }

private:
    struct TechnicalLine {
        std::chrono::system_clock::time_point time;
        std::optional<std::string> message;
        std::int64_t level;
        bool isProblem;
        bool show;
    };

    [[nodiscard]] std::shared_ptr<QLXLogControllerDelegate> delegate() const { return _guard.load(_delegate).lock(); }
    /// The folder, unless there is none or an empty one.
    [[nodiscard]] std::optional<std::string> usableFolder() const;
    void display(const qlx::log::Message& message, const QLXLogControllerDelegate& delegate);
    void keep(const qlx::log::Message& message);
    void notify(const qlx::log::Message& message);
    void writeTechnicalLine(const TechnicalLine& line);
    [[nodiscard]] std::string headOfNewFile(const qlx::log::RepeatDecision& decision, const std::string& stamp);
    void writeSimpleLine(const std::string& message, const std::string& name);
    void startRemoval();
    void reportFailedOpen(const std::string& folder, bool show);

    /// Taken by a message on its way to the delegate or to the pending ones, and by a change of the delegate: messages
    /// of a thread stay in order, and none falls between the old delegate and the new one. Never taken on the queues.
    std::mutex _delegateMutex;
    std::optional<std::deque<qlx::log::Message>> _pending{std::in_place};  ///< None once a delegate has been set.

    qlx::Guarded _guard;
    std::weak_ptr<QLXLogControllerDelegate> _delegate;
    std::string _prefix;
    std::optional<std::string> _folder;
    std::atomic<std::int64_t> _level{0};
    std::mutex _changesMutex;      ///< Taken by a change of a setting.
    bool _hasTakenFolder = false;  ///< A change has come.
    bool _hasTakenLevel = false;   ///< The same.
    std::atomic<bool> _reportsFailedOpen{true};
    std::atomic<bool> _canRemoveOldFiles{true};
    std::atomic<bool> _isEnding{false};

    qlx::log::RepeatCompression _repeats;
    qlx::log::UserNotifications _notifications;
    qlx::SerialQueue _technicalQueue;
    qlx::SerialQueue _simpleQueue;

    std::mutex _removalsMutex;
    std::condition_variable _removalDone;
    std::size_t _removals = 0;  ///< Started and not done.
};
