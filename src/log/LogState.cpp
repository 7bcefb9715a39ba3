#include "log/LogState.h"

#include "log/LogFile.h"
#include "log/LogText.h"
#include "log/OldFiles.h"

#include <QLXClosedCaptionsUtilities/QLXLogControllerDelegate.h>
#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <utility>
#include <vector>

using qlx::log::Message;

namespace {

/// Messages that are kept until a delegate comes.
constexpr std::size_t kMaxPending = 20;

constexpr std::string_view kDefaultTitle = "Critical Error";

void printLine(std::string text) {
    // One call, so that lines of several threads do not mix.
    text += '\n';
    qlx::services().get<qlx::Console>().print(text);
}

std::string queueLabel(std::string_view name) {
    return qlx::services().get<qlx::Application>().identifier() + '.' + std::string(name);
}

std::string applicationPrefix() {
    qlx::Application& application = qlx::services().get<qlx::Application>();
    return application.name().value_or(application.programName()) + ' ';
}

}  // namespace

QLXLogController::State::State()
    : _prefix(applicationPrefix()), _technicalQueue(queueLabel("technicalLog")),
      _simpleQueue(queueLabel("simpleLogWriterQueue")) {}

// On the thread that logs

void QLXLogController::State::log(const Message& message) {
    bool isDisplayed = false;
    {
        // Let go after the mutex: this may be the delegate's last owner, and its destructor may remove it from the log.
        std::shared_ptr<QLXLogControllerDelegate> receiver;
        const std::lock_guard lock(_delegateMutex);
        receiver = delegate();
        isDisplayed = receiver != nullptr;
        if (receiver) {
            display(message, *receiver);
        } else if (_pending) {
            keep(message);
        }
    }
    if (!isDisplayed) {
        printLine(message.text.value_or(std::string(qlx::log::kNoMessage)));
    }
    writeIfEnding();
    notify(message);
}

void QLXLogController::State::setDelegate(const std::shared_ptr<QLXLogControllerDelegate>& newDelegate) {
    // A display method may take away the owner that was handed in: let go after the mutex, as in log().
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const std::shared_ptr<QLXLogControllerDelegate> receiver = newDelegate;
    std::deque<Message> replayed;
    {
        const std::lock_guard lock(_delegateMutex);
        _guard.store(_delegate, std::weak_ptr<QLXLogControllerDelegate>(receiver));
        if (!receiver || !_pending) {
            return;
        }
        replayed = std::move(*_pending);
        _pending.reset();
        for (const Message& message : replayed) {
            display(message, *receiver);
        }
    }
    writeIfEnding();
    for (const Message& message : replayed) {
        notify(message);
    }
}

/// Shows the message if it asks for that, and queues its line.
void QLXLogController::State::display(const Message& message, const QLXLogControllerDelegate& receiver) {
    if (message.show) {
        if (receiver.displayLogWithInfoDict) {
            receiver.displayLogWithInfoDict(message.info ? *message.info : qlx::log::infoOf(message));
        } else if (receiver.displayLogMessage_logLevel) {
            receiver.displayLogMessage_logLevel(message.text.value_or(std::string()), message.level);
        }
    }
    queueTechnicalLine(message.text, message.isProblem(), message.level, message.show);
}

/// Only text, level and show come back with the first delegate.
void QLXLogController::State::keep(const Message& message) {
    if (!message.text) {
        return;
    }
    if (_pending->size() >= kMaxPending) {
        _pending->pop_front();
    }
    Message kept;
    kept.text = message.text;
    kept.level = message.level;
    kept.show = message.show;
    _pending->push_back(std::move(kept));
}

void QLXLogController::State::notify(const Message& message) {
    if (message.isCritical()) {
        _notifications.display(message.notificationTitle.value_or(std::string(kDefaultTitle)),
                               message.text.value_or(std::string()), message.notificationCategory);
    }
}

void QLXLogController::State::queueTechnicalLine(std::optional<std::string> message, bool isProblem, std::int64_t level,
                                                 bool show) {
    TechnicalLine line{qlx::services().get<qlx::Clock>().now(), std::move(message), level, isProblem, show};
    _technicalQueue.async([state = shared_from_this(), line = std::move(line)] { state->writeTechnicalLine(line); });
}

void QLXLogController::State::queueSimpleLine(std::string message, std::string name) {
    _simpleQueue.async([state = shared_from_this(), message = std::move(message), name = std::move(name)] {
        state->writeSimpleLine(message, name);
    });
    writeIfEnding();
}

void QLXLogController::State::beginWith(std::optional<std::string> folder, std::int64_t level) {
    const std::lock_guard lock(_changesMutex);
    if (!_hasTakenFolder) {
        setFolder(std::move(folder));
    }
    if (!_hasTakenLevel) {
        setLevel(level);
    }
}

void QLXLogController::State::takeFolder(std::optional<std::string> folder) {
    std::string text = qlx::formatted("New technical log path %@", folder);
    {
        const std::lock_guard lock(_changesMutex);
        _hasTakenFolder = true;
        setFolder(std::move(folder));
    }
    _reportsFailedOpen.store(true);
    printLine(std::move(text));
}

void QLXLogController::State::takeLevel(std::int64_t level) {
    {
        const std::lock_guard lock(_changesMutex);
        _hasTakenLevel = true;
        setLevel(level);
    }
    printLine(qlx::formatted("New Technical Log level %li", level));
}

void QLXLogController::State::runQueues() {
    _technicalQueue.runUntilEmpty();
    _simpleQueue.runUntilEmpty();
}

void QLXLogController::State::end() {
    _isEnding.store(true);
    runQueues();
}

/// Objects that are destroyed behind the last handler may still log: the process does not wait for the queues' threads
/// any more, so the thread that logs writes. Not called with the delegate's mutex held.
void QLXLogController::State::writeIfEnding() {
    if (_isEnding.load()) {
        runQueues();
    }
}

void QLXLogController::State::waitForRemovals() {
    std::unique_lock lock(_removalsMutex);
    _removalDone.wait(lock, [this] { return _removals == 0; });
}

// On the queues

void QLXLogController::State::writeTechnicalLine(const TechnicalLine& line) {
    if (line.level > level()) {
        return;
    }
    const qlx::LocalTime time = qlx::services().get<qlx::TimeZone>().localTime(line.time);
    const std::optional<std::string> folder = usableFolder();
    std::optional<std::string> path;
    if (folder) {
        path = qlx::log::pathInFolder(*folder, qlx::log::technicalFileName(prefix(), time));
    }
    const qlx::log::RepeatDecision decision = _repeats.take(path, line.message);
    if (decision.isRepeat) {
        return;
    }
    const std::string stamp =
        qlx::log::technicalStamp(time, qlx::services().get<qlx::WeekdayNames>().name(time.weekday));
    if (!path) {
        // Without a folder the former file is ended, and none is started.
        if (decision.repeatCount != 0) {
            qlx::log::appendToFile(decision.previousPath, qlx::log::repeatLine(stamp, decision.repeatCount));
        }
        return;
    }
    std::string text;
    if (decision.startsFile) {
        text = headOfNewFile(decision, stamp);
    } else if (decision.repeatCount != 0) {
        text = qlx::log::repeatLine(stamp, decision.repeatCount);
    }
    text += qlx::log::messageLine(line.isProblem, stamp, line.message ? *line.message : qlx::log::kNoMessage);
    if (qlx::log::appendToFile(path, text) == qlx::log::AppendResult::OpenFailed) {
        reportFailedOpen(*folder, line.show);
    }
}

/// Ends the former file, starts the removal of old ones, and gives what stands in front of the file's first message.
std::string QLXLogController::State::headOfNewFile(const qlx::log::RepeatDecision& decision, const std::string& stamp) {
    if (decision.repeatCount != 0) {
        qlx::log::appendToFile(decision.previousPath, qlx::log::repeatLine(stamp, decision.repeatCount));
    }
    std::string initialMessage;
    if (const auto receiver = delegate(); receiver && receiver->initialLogMessage) {
        initialMessage = receiver->initialLogMessage();
    }
    if (_canRemoveOldFiles.load(std::memory_order_relaxed)) {
        startRemoval();
    }
    return initialMessage.empty() ? std::string() : qlx::log::initialLine(stamp, initialMessage);
}

void QLXLogController::State::writeSimpleLine(const std::string& message, const std::string& name) {
    const std::optional<std::string> folder = usableFolder();
    if (!folder) {
        return;
    }
    const qlx::LocalTime time = qlx::services().get<qlx::TimeZone>().localTime(qlx::services().get<qlx::Clock>().now());
    qlx::log::appendToFile(qlx::log::pathInFolder(*folder, qlx::log::simpleFileName(prefix(), time, name)),
                           qlx::log::simpleLine(qlx::log::simpleStamp(time), message));
}

void QLXLogController::State::reportFailedOpen(const std::string& folder, bool show) {
    if (!_reportsFailedOpen.exchange(false)) {
        return;
    }
    const std::string text = qlx::formatted("Error: Failed to write technical logs to '%@'", folder);
    printLine(text);
    if (const auto receiver = delegate(); receiver && receiver->displayLogWithInfoDict) {
        receiver->displayLogWithInfoDict(qlx::log::failureInfo(text, show));
    }
}

void QLXLogController::State::startRemoval() {
    {
        const std::lock_guard lock(_removalsMutex);
        ++_removals;
    }
    // Counted down when the task has run, and also when a queue refuses or drops it.
    struct Removal {
        explicit Removal(std::shared_ptr<State> owner) : state(std::move(owner)) {}
        ~Removal() {
            const std::lock_guard lock(state->_removalsMutex);
            --state->_removals;
            state->_removalDone.notify_all();
        }
        Removal(const Removal&) = delete;
        Removal& operator=(const Removal&) = delete;
        std::shared_ptr<State> state;
    };
    auto removal = std::make_shared<Removal>(shared_from_this());
    qlx::services().get<qlx::BackgroundQueue>().async(
        [removal = std::move(removal)] { removal->state->removeOldFiles(); });
}

void QLXLogController::State::removeOldFiles() {
    if (const std::optional<std::string> folder = usableFolder()) {
        qlx::log::removeOldFiles(*folder, prefix());
    }
}

std::optional<std::string> QLXLogController::State::usableFolder() const {
    std::optional<std::string> result = folder();
    if (result && result->empty()) {
        result.reset();
    }
    return result;
}
