#include "log/LogState.h"

#include "log/FileTurn.h"
#include "log/LogText.h"
#include "log/OldFiles.h"
#include "log/Outages.h"
#include "platform/ObserverHold.h"
#include "platform/Workers.h"

#include <QLXClosedCaptionsUtilities/QLXLogControllerDelegate.h>
#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <cstddef>
#include <system_error>
#include <thread>
#include <utility>

using qlx::log::Message;

namespace {

/// Messages that are kept until a delegate comes.
constexpr std::size_t kMaxPending = 20;

constexpr std::string_view kDefaultTitle = "Critical Error";

/// What a message takes in memory beside its text, about.
constexpr std::size_t kBytesOfMessage = 256;

std::size_t bytesOf(const std::optional<std::string>& message) {
    return kBytesOfMessage + (message ? message->size() : 0);
}

std::atomic<std::chrono::milliseconds> patienceAtEnd{qlx::log::kPatienceAtEnd};

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

void qlx::log::setPatienceAtEnd(std::chrono::milliseconds patience) {
    patienceAtEnd.store(patience);
}

bool QLXLogController::State::Lane::admit(std::size_t bytes) {
    const std::size_t admitted = admittedBytes.fetch_add(bytes, std::memory_order_relaxed) + bytes;
    // What is gone may have come in behind this message.
    const auto hasRoom = [admitted](std::size_t gone) {
        return static_cast<std::ptrdiff_t>(admitted - gone) <= static_cast<std::ptrdiff_t>(qlx::log::kMaxQueued);
    };
    if (hasRoom(knownGoneBytes.load(std::memory_order_relaxed))) {
        return true;
    }
    const std::size_t gone = goneBytes.load(std::memory_order_relaxed);
    knownGoneBytes.store(gone, std::memory_order_relaxed);
    if (hasRoom(gone)) {
        return true;
    }
    admittedBytes.fetch_sub(bytes, std::memory_order_relaxed);
    qlx::log::loseLines(1);
    return false;
}

/// What a task of the queues has counted as waiting waits no longer.
struct QLXLogController::State::Admission {
    Admission(Lane& owner, std::size_t size) noexcept : lane(owner), bytes(size) {}
    ~Admission() { lane.goneBytes.fetch_add(bytes, std::memory_order_relaxed); }
    Admission(const Admission&) = delete;
    Admission& operator=(const Admission&) = delete;
    Lane& lane;
    const std::size_t bytes;
};

QLXLogController::State::State()
    : _prefix(applicationPrefix()), _technicalQueue(queueLabel("technicalLog"), qlx::logWorkers),
      _simpleQueue(queueLabel("simpleLogWriterQueue"), qlx::logWorkers) {
    // Made before the log's thread needs them first: a child that is forked while they are made would wait for ever.
    static_cast<void>(qlx::services().get<qlx::Clock>());
    static_cast<void>(qlx::services().get<qlx::TimeZone>());
    static_cast<void>(qlx::services().get<qlx::WeekdayNames>());
    static_cast<void>(qlx::services().get<qlx::LogFiles>());
    static_cast<void>(qlx::services().get<qlx::Directories>());
    static_cast<void>(qlx::services().get<qlx::Console>());
    static_cast<void>(qlx::logWorkers());
    qlx::log::FileTurn::prepare();
}

// On the thread that logs

void QLXLogController::State::log(Message& message) {
    bool isDisplayed = false;
    {
        // Let go after the mutex: this may be the delegate's last owner, and its destructor may remove it from the log.
        std::shared_ptr<QLXLogControllerDelegate> receiver;
        const qlx::ObserverHold observers;
        const qlx::WorkHold hold;
        const std::lock_guard lock(_lanes.get().delegateMutex);
        receiver = _delegate.lock();
        isDisplayed = receiver != nullptr;
        if (receiver) {
            display(message, *receiver);
        } else {
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
    std::optional<std::deque<Message>> replayed;
    {
        const qlx::ObserverHold observers;
        const qlx::WorkHold hold;
        const std::lock_guard lock(_lanes.get().delegateMutex);
        store(_delegate, std::weak_ptr<QLXLogControllerDelegate>(receiver));
        if (receiver) {
            const qlx::ForkedValuesLock values;
            replayed.swap(_pending);
        }
        if (!replayed) {
            return;
        }
        for (Message& message : *replayed) {
            display(message, *receiver);
        }
    }
    writeIfEnding();
    for (const Message& message : *replayed) {
        notify(message);
    }
}

/// Shows the message if it asks for that, and queues its line, which takes the text where nobody needs it any more.
void QLXLogController::State::display(Message& message, const QLXLogControllerDelegate& receiver) {
    if (message.show) {
        if (receiver.displayLogWithInfoDict) {
            receiver.displayLogWithInfoDict(message.info ? *message.info : qlx::log::infoOf(message));
        } else if (receiver.displayLogMessage_logLevel) {
            receiver.displayLogMessage_logLevel(message.text.value_or(std::string()), message.level);
        }
    }
    // Only the notification of a critical message says it again.
    queueTechnicalLine(message.isCritical() ? message.text : std::move(message.text), message.isProblem(),
                       message.level, message.show);
}

/// Only text, level and show come back with the first delegate.
void QLXLogController::State::keep(const Message& message) {
    if (!message.text) {
        return;
    }
    Message kept;
    kept.text = message.text;
    kept.level = message.level;
    kept.show = message.show;
    const qlx::ForkedValuesLock lock;
    if (!_pending) {
        return;
    }
    if (_pending->size() >= kMaxPending) {
        _pending->pop_front();
    }
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
    Lane& lane = _lanes.get();
    if (!lane.admit(bytesOf(message))) {
        return;
    }
    qlx::Clock& clock = qlx::services().get<qlx::Clock>();
    // The time is read with the queue held: no line stands in front of one with an earlier stamp.
    _technicalQueue.asyncMade(
        [&](std::deque<TechnicalWork>& work) {
            work.push_back({this, &lane, TechnicalLine{clock.now(), std::move(message), level, isProblem, show}});
        },
        [this] { return shared_from_this(); });
}

void QLXLogController::State::queueSimpleLine(std::string message, std::string name) {
    Lane& lane = _lanes.get();
    const std::size_t bytes = kBytesOfMessage + message.size() + name.size();
    if (!lane.admit(bytes)) {
        return;
    }
    _simpleQueue.async(
        [state = shared_from_this(), &lane, bytes, message = std::move(message), name = std::move(name)] {
            const Admission admission(lane, bytes);
            state->writeSimpleLine(lane, message, name);
        });
    writeIfEnding();
}

void QLXLogController::State::beginWith(std::optional<std::string> folder, std::int64_t level) {
    const qlx::ForkedValuesLock lock;
    if (!_hasTakenFolder) {
        _folder.swap(folder);
    }
    if (!_hasTakenLevel) {
        setLevel(level);
    }
}

void QLXLogController::State::takeFolder(std::optional<std::string> folder) {
    std::string text = qlx::formatted("New technical log path %@", folder);
    {
        const qlx::ForkedValuesLock lock;
        _hasTakenFolder = true;
        _folder.swap(folder);
    }
    _reportsFailedOpen.store(true);
    printLine(std::move(text));
}

void QLXLogController::State::takeLevel(std::int64_t level) {
    {
        const qlx::ForkedValuesLock lock;
        _hasTakenLevel = true;
        setLevel(level);
    }
    printLine(qlx::formatted("New Technical Log level %li", level));
}

void QLXLogController::State::takeSetting(std::string_view key, const qlx::Value& value) {
    if (key == QLXTechnicalLogFolderPathKey) {
        takeFolder(value.stringValue());
    } else if (key == QLXTechnicalLogLevelKey) {
        takeLevel(value.integerValue());
    }
}

void QLXLogController::State::runQueues() {
    retryWaiting();
    _technicalQueue.help();
    _simpleQueue.help();
}

void QLXLogController::State::end() {
    _isEnding.store(true);
    // This may be one of the queues' own threads.
    _technicalQueue.leaveTaskInHand();
    _simpleQueue.leaveTaskInHand();
    qlx::log::FileTurn::leaveTurnInHand();
    retryWaiting();
    finishQueues();
}

void QLXLogController::State::retryWaiting() {
    Lane& lane = _lanes.get();
    if (lane.technicalFiles.hasWaiting()) {
        _technicalQueue.asyncMade(
            [this, &lane](std::deque<TechnicalWork>& work) {
                work.push_back({this, &lane, std::nullopt});
            },
            [this] { return shared_from_this(); });
    }
    if (lane.simpleFiles.hasWaiting()) {
        _simpleQueue.async([state = shared_from_this(), &lane] { lane.simpleFiles.retry(); });
    }
}

/// Objects that are destroyed behind the last handler may still log: the process does not wait for the queues' threads
/// any more, so the thread that logs waits. Not called with the delegate's mutex held.
void QLXLogController::State::writeIfEnding() {
    if (_isEnding.load()) {
        finishQueues();
    }
}

bool QLXLogController::State::isBusy() {
    return _technicalQueue.isBusy() || _simpleQueue.isBusy();
}

/// Waits until the queues are empty, unless a write does not come back. A thread of its own does the work, since no
/// other may be left.
void QLXLogController::State::finishQueues() {
    if (!isBusy() || _technicalQueue.isMine() || _simpleQueue.isMine() || _hasGivenUp.load()) {
        return;
    }
    struct Work {
        std::mutex mutex;
        std::condition_variable hasEnded;
        bool isDone = false;
    };
    const auto work = std::make_shared<Work>();
    std::thread helper;
    try {
        helper = std::thread([state = shared_from_this(), work] {
            state->_technicalQueue.help();
            state->_simpleQueue.help();
            const std::lock_guard lock(work->mutex);
            work->isDone = true;
            work->hasEnded.notify_all();
        });
    } catch (const std::system_error&) {
        _technicalQueue.help();
        _simpleQueue.help();
        return;
    }
    // As long as lines come to their end the process waits for the next.
    constexpr int kLooks = 8;
    std::uint64_t finished = 0;
    bool isDone = false;
    for (int look = 0; look < kLooks && !isDone; ++look) {
        const std::uint64_t now = _technicalQueue.finished() + _simpleQueue.finished();
        if (std::exchange(finished, now) != now) {
            look = 0;
        }
        std::unique_lock lock(work->mutex);
        isDone = work->hasEnded.wait_for(lock, patienceAtEnd.load() / kLooks, [&work] { return work->isDone; });
    }
    if (isDone) {
        helper.join();
    } else {
        _hasGivenUp.store(true);
        helper.detach();
    }
}

void QLXLogController::State::waitForRemovals() {
    Lane& lane = _lanes.get();
    std::unique_lock lock(lane.removalsMutex);
    lane.removalDone.wait(lock, [&lane] { return lane.removals == 0; });
}

// On the queues

void QLXLogController::State::TechnicalWork::operator()() const {
    if (!line) {
        lane->technicalFiles.retry();
        return;
    }
    const Admission admission(*lane, bytesOf(line->message));
    state->writeTechnicalLine(*lane, *line);
}

void QLXLogController::State::writeTechnicalLine(Lane& lane, const TechnicalLine& line) {
    if (line.level > level()) {
        return;
    }
    // A host's code may call what is queued behind this line: that finds none.
    qlx::log::Headings headings = std::exchange(lane.headings, qlx::log::Headings());
    writeTechnicalLine(lane, line, headings);
    lane.headings = std::move(headings);
}

void QLXLogController::State::writeTechnicalLine(Lane& lane, const TechnicalLine& line, qlx::log::Headings& headings) {
    const qlx::LocalTime time = qlx::services().get<qlx::TimeZone>().localTime(line.time);
    {
        const qlx::ForkedValuesLock lock;
        headings.setPlace(_folder, _prefix);
    }
    const std::optional<std::string>& path = headings.path(time);
    const qlx::log::RepeatDecision decision = lane.repeats.take(path, line.message);
    if (decision.isRepeat) {
        return;
    }
    const std::string& stamp = headings.stamp(time, qlx::services().get<qlx::WeekdayNames>().name(time.weekday));
    if (!path) {
        // Without a folder the former file is ended, and none is started.
        if (decision.repeatCount != 0) {
            lane.technicalFiles.append(decision.previousPath, qlx::log::repeatLine(stamp, decision.repeatCount));
        }
        return;
    }
    std::string text;
    if (decision.startsFile) {
        text = headOfNewFile(lane, decision, stamp);
    } else if (decision.repeatCount != 0) {
        text = qlx::log::repeatLine(stamp, decision.repeatCount);
    }
    if (&lane != &_lanes.get()) {
        return;  // The host has forked: the line is the parent's.
    }
    text = std::move(text) +
           qlx::log::messageLine(line.isProblem, stamp, line.message ? *line.message : qlx::log::kNoMessage);
    switch (lane.technicalFiles.append(path, text)) {
    case qlx::log::AppendResult::OpenFailed:
        reportFailedOpen(*headings.folder(), line.show);
        break;
    case qlx::log::AppendResult::WaitsFirst:
        report(qlx::formatted("Error: Technical log could not be written to '%@'", headings.folder()), line.show);
        break;
    default:
        break;
    }
}

/// Ends the former file, starts the removal of old ones, and gives what stands in front of the file's first message.
std::string QLXLogController::State::headOfNewFile(Lane& lane, const qlx::log::RepeatDecision& decision,
                                                   const std::string& stamp) {
    if (decision.repeatCount != 0) {
        lane.technicalFiles.append(decision.previousPath, qlx::log::repeatLine(stamp, decision.repeatCount));
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

void QLXLogController::State::writeSimpleLine(Lane& lane, const std::string& message, const std::string& name) {
    const auto [folder, prefix] = usableFolderAndPrefix();
    if (!folder) {
        return;
    }
    const qlx::LocalTime time = qlx::services().get<qlx::TimeZone>().localTime(qlx::services().get<qlx::Clock>().now());
    lane.simpleFiles.append(qlx::log::simplePath(*folder, prefix, time, name),
                            qlx::log::simpleLine(qlx::log::simpleStamp(time), message));
}

void QLXLogController::State::reportFailedOpen(const std::string& folder, bool show) {
    if (!_reportsFailedOpen.exchange(false)) {
        return;
    }
    report(qlx::formatted("Error: Failed to write technical logs to '%@'", folder), show);
}

void QLXLogController::State::report(const std::string& text, bool show) {
    printLine(text);
    if (const auto receiver = delegate(); receiver && receiver->displayLogWithInfoDict) {
        receiver->displayLogWithInfoDict(qlx::log::failureInfo(text, show));
    }
}

void QLXLogController::State::startRemoval() {
    // Counted down when the task has run, and also when a queue refuses or drops it.
    struct Removal {
        Removal(std::shared_ptr<State> owner, Lane& ownersLane) : state(std::move(owner)), lane(ownersLane) {
            const std::lock_guard lock(lane.removalsMutex);
            ++lane.removals;
        }
        ~Removal() {
            if (&lane != &state->_lanes.get()) {
                return;  // Forked: nobody waits.
            }
            const std::lock_guard lock(lane.removalsMutex);
            --lane.removals;
            lane.removalDone.notify_all();
        }
        Removal(const Removal&) = delete;
        Removal& operator=(const Removal&) = delete;
        std::shared_ptr<State> state;
        Lane& lane;
    };
    auto removal = std::make_shared<Removal>(shared_from_this(), _lanes.get());
    qlx::logWorkers().async([removal = std::move(removal)] { removal->state->removeOldFiles(); });
}

void QLXLogController::State::removeOldFiles() {
    const auto [folder, prefix] = usableFolderAndPrefix();
    if (folder) {
        qlx::log::removeOldFiles(*folder, prefix);
    }
}

std::pair<std::optional<std::string>, std::string> QLXLogController::State::usableFolderAndPrefix() const {
    const qlx::ForkedValuesLock lock;
    if (_folder && !_folder->empty()) {
        return {_folder, _prefix};
    }
    return {std::nullopt, _prefix};
}
