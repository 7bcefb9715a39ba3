#include <QLXClosedCaptionsUtilities/platform/UserDefaults.h>

#include "platform/ObserverHold.h"
#include "platform/Process.h"
#include "platform/SettingsFile.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <iterator>
#include <mutex>
#include <optional>
#include <set>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace qlx {

struct UserDefaults::State {
    struct Core;

    const std::shared_ptr<Core> core = std::make_shared<Core>();
};

/// Shared with calls of observers that wait for the end of a hold.
struct UserDefaults::State::Core : public std::enable_shared_from_this<Core> {
    using SharedObserver = std::shared_ptr<const Observer>;

    struct Registration {
        std::uint64_t number;
        std::string key;
        SharedObserver observer;
        bool isOwn = false;  ///< See OwnObservers.
    };

    /// A write whose observers are to be called.
    struct Change {
        std::string key;
        Value value;                   ///< That the key has from then on.
        std::uint64_t lastNumber = 0;  ///< Of the observers of that time.
        std::thread::id writer;        ///< The thread that wrote.
        bool isOwnCalled = false;      ///< This library's own observers have been called.
    };

    /// Which observers of a change are called.
    enum class Which : std::uint8_t { Own, NotYetCalled };

    /// What belongs to the threads of one process.
    struct Lane {
        std::mutex fileMutex;  ///< Lets one thread at a time write the file, so that none overtakes another.

        /// Guards what follows, and is held while settings are written, so that changes stand in the order of the
        /// writes; held while no observer runs.
        std::mutex mutex;
        std::deque<Change> changes;
        std::thread::id caller;             ///< The thread that calls them.
        std::uint64_t called = 0;           ///< The observer that is called just now.
        std::condition_variable callEnded;  ///< It has come to its end.
    };

    [[nodiscard]] Value value(std::string_view key) const {
        const Value* const own = written.find(key);
        const Value* const value = own ? own : registered.find(key);
        return value ? *value : Value();
    }
    template <class Write>
    void change(Write write);
    void callObservers();
    void callObserversHere(bool isHeldNoMore);
    void callOwnObservers();
    void callObserversOf(Lane& lane, const Change& change, Which which);
    [[nodiscard]] bool save(bool always);

    PerProcess<Lane> lanes;

    // Guarded by the forked values' lock
    Dictionary registered;
    Dictionary written;
    std::set<std::string, std::less<>> erased;  ///< Keys of which the file is to have no line.
    std::vector<Registration> observers;
    std::uint64_t lastNumber = 0;
    std::optional<std::string> filePath;
    bool hasReported = false;  ///< The file could not be written, and that has been printed.
};

namespace {

/// Says what an observer has thrown where nobody is there to catch it.
void printException(const std::exception_ptr& thrown) {
    try {
        std::string what = "of an unknown type";
        try {
            std::rethrow_exception(thrown);
        } catch (const std::exception& exception) {
            what = exception.what();
        } catch (...) {  // NOLINT(bugprone-empty-catch): it has no words.
        }
        services().get<Console>().log("Error: An observer of settings has ended with an exception: " + what);
    } catch (...) {
        // Nothing is left to say it with.
        return;
    }
}

/// Keeps the exception in hand to be thrown on; where there is one already, it is printed.
void keepOrPrint(std::exception_ptr& first) {
    if (first) {
        printException(std::current_exception());
    } else {
        first = std::current_exception();
    }
}

}  // namespace

UserDefaults::UserDefaults() : _state(std::make_unique<State>()) {}
UserDefaults::~UserDefaults() = default;

UserDefaults& UserDefaults::defaultInstance() {
    static auto* const instance = new UserDefaults;
    return *instance;
}

void UserDefaults::registerDefault(std::string_view key, Value value) {
    const ForkedValuesLock lock;
    _state->core->registered.set(key, std::move(value));
}

Value UserDefaults::value(std::string_view key) {
    const ForkedValuesLock lock;
    return _state->core->value(key);
}

void UserDefaults::setValue(std::string_view key, Value value) {
    State::Core& core = *_state->core;
    core.change([&]() -> std::vector<std::string> {
        if (value.isNull()) {
            core.written.erase(key);
            core.erased.emplace(key);
        } else {
            core.written.set(key, std::move(value));
        }
        return {std::string(key)};
    });
    // The settings of this process hold also when the file cannot be written.
    static_cast<void>(core.save(false));
    core.callObservers();
}

std::uint64_t UserDefaults::addObserver(std::string_view key, Observer observer) {
    auto shared = observer ? std::make_shared<const Observer>(std::move(observer)) : nullptr;
    const ForkedValuesLock lock;
    _state->core->observers.push_back(
        {++_state->core->lastNumber, std::string(key), std::move(shared), OwnObservers::areAdded()});
    return _state->core->lastNumber;
}

void UserDefaults::removeObserver(std::uint64_t number) {
    State::Core::SharedObserver removed;  // Destroyed when no lock is held.
    {
        const ForkedValuesLock lock;
        auto& observers = _state->core->observers;
        const auto found = std::find_if(observers.begin(), observers.end(),
                                        [number](const State::Core::Registration& r) { return r.number == number; });
        if (found == observers.end()) {
            return;
        }
        removed = std::move(found->observer);
        observers.erase(found);
    }
    State::Core::Lane& lane = _state->core->lanes.get();
    std::unique_lock lock(lane.mutex);
    if (lane.caller != std::this_thread::get_id()) {
        lane.callEnded.wait(lock, [&lane, number] { return lane.called != number; });
    }
}

/// Writes settings; `write` gives their keys.
template <class Write>
void UserDefaults::State::Core::change(Write write) {
    Lane& lane = lanes.get();
    const std::lock_guard lock(lane.mutex);
    const ForkedValuesLock values;
    for (std::string& key : write()) {
        Value now = value(key);
        lane.changes.push_back({std::move(key), std::move(now), lastNumber, std::this_thread::get_id(), false});
    }
}

/// A thread in whose host code a lock is held calls them behind it: they may want that lock.
void UserDefaults::State::Core::callObservers() {
    if (ObserverHold::isHeld()) {
        callOwnObservers();
    }
    const bool isDeferred = ObserverHold::defer([weak = weak_from_this()] {
        if (const std::shared_ptr<Core> held = weak.lock()) {
            held->callObserversHere(true);
        }
    });
    if (!isDeferred) {
        callObserversHere(false);
    }
}

/// One thread at a time calls observers, those of other threads' changes as well; it holds no lock meanwhile, so that
/// none of them has to wait for it. What the first observer throws comes out of the write that it was called for; what
/// further ones throw is printed, as is all where that has returned.
void UserDefaults::State::Core::callObserversHere(bool isHeldNoMore) {
    Lane& lane = lanes.get();
    {
        const std::lock_guard lock(lane.mutex);
        if (lane.caller != std::thread::id()) {
            return;
        }
        lane.caller = std::this_thread::get_id();
    }
    std::exception_ptr thrown;
    while (true) {
        Change change;
        {
            const std::lock_guard lock(lane.mutex);
            if (lane.changes.empty()) {
                lane.caller = std::thread::id();
                break;
            }
            change = std::move(lane.changes.front());
            lane.changes.pop_front();
        }
        try {
            callObserversOf(lane, change, Which::NotYetCalled);
        } catch (...) {
            if (!isHeldNoMore && change.writer == std::this_thread::get_id()) {
                keepOrPrint(thrown);
            } else {
                printException(std::current_exception());
            }
        }
        if (&lane != &lanes.get()) {
            break;  // An observer has forked, and this is the child.
        }
    }
    if (thrown) {
        std::rethrow_exception(thrown);
    }
}

/// Calls this library's own for what the calling thread has written, unless another change comes first: those wait for
/// whoever calls the others.
void UserDefaults::State::Core::callOwnObservers() {
    Lane& lane = lanes.get();
    const std::thread::id self = std::this_thread::get_id();
    std::size_t count = 0;
    {
        const std::lock_guard lock(lane.mutex);
        const bool isFirst = std::all_of(lane.changes.begin(), lane.changes.end(),
                                         [self](const Change& change) { return change.writer == self; });
        if (lane.caller != std::thread::id() || !isFirst) {
            return;
        }
        lane.caller = self;
        count = lane.changes.size();
    }
    for (std::size_t index = 0; index < count; ++index) {
        Change change;
        {
            const std::lock_guard lock(lane.mutex);
            change = lane.changes[index];
            lane.changes[index].isOwnCalled = true;
        }
        if (!change.isOwnCalled) {
            try {
                callObserversOf(lane, change, Which::Own);
            } catch (...) {
                printException(std::current_exception());
            }
        }
    }
    const std::lock_guard lock(lane.mutex);
    lane.caller = std::thread::id();
}

void UserDefaults::State::Core::callObserversOf(Lane& lane, const Change& change, Which which) {
    std::vector<std::uint64_t> numbers;
    {
        const ForkedValuesLock lock;
        for (const Registration& registration : observers) {
            const bool isMeant = which == Which::Own ? registration.isOwn : !(registration.isOwn && change.isOwnCalled);
            if (isMeant && registration.key == change.key && registration.number <= change.lastNumber) {
                numbers.push_back(registration.number);
            }
        }
    }
    const auto setCalled = [this, &lane](std::uint64_t number) {
        if (&lane == &lanes.get()) {
            const std::lock_guard lock(lane.mutex);
            lane.called = number;
            lane.callEnded.notify_all();
        }
    };
    // What one throws is no matter of the others.
    std::exception_ptr thrown;
    for (const std::uint64_t number : numbers) {
        // Before it is looked up: who removes it from now on waits.
        setCalled(number);
        struct End {
            ~End() { set(0); }
            const decltype(setCalled)& set;
        };
        const End end{setCalled};
        SharedObserver observer;
        {
            const ForkedValuesLock lock;
            const auto found = std::find_if(observers.begin(), observers.end(),
                                            [number](const Registration& r) { return r.number == number; });
            if (found != observers.end()) {
                observer = found->observer;
            }
        }
        if (observer) {
            try {
                (*observer)(change.key, change.value);
            } catch (...) {
                keepOrPrint(thrown);
            }
        }
    }
    if (thrown) {
        std::rethrow_exception(thrown);
    }
}

bool UserDefaults::backWithFile(const std::string& path) {
    // A path with a NUL byte would be cut short and name another file.
    if (path.find('\0') != std::string::npos) {
        return false;
    }
    const std::optional<std::string> text = textOfFile(path);
    if (!text) {
        return false;
    }
    const Dictionary settings = settingsIn(*text);
    State::Core& core = *_state->core;
    core.change([&] {
        std::vector<std::string> keys;
        core.filePath = path;
        core.erased.clear();
        for (const Dictionary::Entry& entry : settings) {
            core.written.set(entry.key, entry.value);
            keys.push_back(entry.key);
        }
        return keys;
    });
    const bool isSaved = core.save(true);
    core.callObservers();
    return isSaved;
}

/// Brings the file up to date, if there is one; `always` also when nothing in it changes.
bool UserDefaults::State::Core::save(bool always) {
    std::string path;
    int error = 0;
    {
        const std::lock_guard file(lanes.get().fileMutex);
        Dictionary settings;
        std::set<std::string, std::less<>> gone;
        {
            const ForkedValuesLock lock;
            if (!filePath) {
                return true;
            }
            path = *filePath;
            settings = written;
            gone = erased;
        }
        const std::optional<std::string> text = textOfFile(path);
        if (!text) {
            error = EIO;
        } else if (const std::string next = textWithSettings(*text, settings, gone); always || next != *text) {
            error = replaceFile(path, next);
        }
    }
    bool reports = false;
    {
        const ForkedValuesLock lock;
        reports = error != 0 && !hasReported;
        hasReported = error != 0;
    }
    if (reports) {
        services().get<Console>().log("Error: Settings could not be written to '" + path +
                                      "': " + std::generic_category().message(error));
    }
    return error == 0;
}

}  // namespace qlx
