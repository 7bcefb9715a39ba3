#include <QLXClosedCaptionsUtilities/platform/UserDefaults.h>

#include "platform/Process.h"
#include "platform/SettingsFile.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
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
    using SharedObserver = std::shared_ptr<const Observer>;

    struct Registration {
        std::uint64_t number;
        std::string key;
        SharedObserver observer;
    };

    /// What belongs to the threads of one process.
    struct Lane {
        std::mutex fileMutex;  ///< Lets one thread at a time write the file, so that none overtakes another.

        std::mutex mutex;                   ///< Guards what follows; held while no observer runs.
        std::deque<std::string> changed;    ///< Keys whose observers are to be called, each as often as it was written.
        std::thread::id caller;             ///< The thread that calls them.
        std::uint64_t called = 0;           ///< The observer that is called just now.
        std::condition_variable callEnded;  ///< It has come to its end.
    };

    [[nodiscard]] Value value(std::string_view key) const {
        const Value* const own = written.find(key);
        const Value* const value = own ? own : registered.find(key);
        return value ? *value : Value();
    }
    void callObservers(std::vector<std::string> keys);
    void callObserversOf(Lane& lane, const std::string& key);
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

UserDefaults::UserDefaults() : _state(std::make_unique<State>()) {}
UserDefaults::~UserDefaults() = default;

UserDefaults& UserDefaults::defaultInstance() {
    static auto* const instance = new UserDefaults;
    return *instance;
}

void UserDefaults::registerDefault(std::string_view key, Value value) {
    const ForkedValuesLock lock;
    _state->registered.set(key, std::move(value));
}

Value UserDefaults::value(std::string_view key) {
    const ForkedValuesLock lock;
    return _state->value(key);
}

void UserDefaults::setValue(std::string_view key, Value value) {
    {
        const ForkedValuesLock lock;
        if (value.isNull()) {
            _state->written.erase(key);
            _state->erased.emplace(key);
        } else {
            _state->written.set(key, std::move(value));
        }
    }
    // The settings of this process hold also when the file cannot be written.
    static_cast<void>(_state->save(false));
    _state->callObservers({std::string(key)});
}

std::uint64_t UserDefaults::addObserver(std::string_view key, Observer observer) {
    auto shared = observer ? std::make_shared<const Observer>(std::move(observer)) : nullptr;
    const ForkedValuesLock lock;
    _state->observers.push_back({++_state->lastNumber, std::string(key), std::move(shared)});
    return _state->lastNumber;
}

void UserDefaults::removeObserver(std::uint64_t number) {
    State::SharedObserver removed;  // Destroyed when no lock is held.
    {
        const ForkedValuesLock lock;
        auto& observers = _state->observers;
        const auto found = std::find_if(observers.begin(), observers.end(),
                                        [number](const State::Registration& r) { return r.number == number; });
        if (found == observers.end()) {
            return;
        }
        removed = std::move(found->observer);
        observers.erase(found);
    }
    State::Lane& lane = _state->lanes.get();
    std::unique_lock lock(lane.mutex);
    if (lane.caller != std::this_thread::get_id()) {
        lane.callEnded.wait(lock, [&lane, number] { return lane.called != number; });
    }
}

/// One thread at a time calls observers, those of other threads' changes as well; it holds no lock meanwhile, so that
/// none of them has to wait for it.
void UserDefaults::State::callObservers(std::vector<std::string> keys) {
    Lane& lane = lanes.get();
    {
        const std::lock_guard lock(lane.mutex);
        lane.changed.insert(lane.changed.end(), std::make_move_iterator(keys.begin()),
                            std::make_move_iterator(keys.end()));
        if (lane.caller != std::thread::id()) {
            return;
        }
        lane.caller = std::this_thread::get_id();
    }
    std::exception_ptr thrown;
    while (true) {
        std::string key;
        {
            const std::lock_guard lock(lane.mutex);
            if (lane.changed.empty()) {
                lane.caller = std::thread::id();
                break;
            }
            key = std::move(lane.changed.front());
            lane.changed.pop_front();
        }
        try {
            callObserversOf(lane, key);
        } catch (...) {
            thrown = thrown ? thrown : std::current_exception();
        }
        if (&lane != &lanes.get()) {
            break;  // An observer has forked, and this is the child.
        }
    }
    if (thrown) {
        std::rethrow_exception(thrown);
    }
}

void UserDefaults::State::callObserversOf(Lane& lane, const std::string& key) {
    std::vector<std::uint64_t> numbers;
    {
        const ForkedValuesLock lock;
        for (const Registration& registration : observers) {
            if (registration.key == key) {
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
    for (const std::uint64_t number : numbers) {
        // Before it is looked up: who removes it from now on waits.
        setCalled(number);
        struct End {
            ~End() { set(0); }
            const decltype(setCalled)& set;
        };
        const End end{setCalled};
        SharedObserver observer;
        Value current;
        {
            const ForkedValuesLock lock;
            const auto found = std::find_if(observers.begin(), observers.end(),
                                            [number](const Registration& r) { return r.number == number; });
            if (found != observers.end()) {
                observer = found->observer;
                current = value(key);
            }
        }
        if (observer) {
            (*observer)(key, current);
        }
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
    std::vector<std::string> keys;
    {
        const ForkedValuesLock lock;
        _state->filePath = path;
        _state->erased.clear();
        for (const Dictionary::Entry& entry : settings) {
            _state->written.set(entry.key, entry.value);
            keys.push_back(entry.key);
        }
    }
    const bool isSaved = _state->save(true);
    _state->callObservers(std::move(keys));
    return isSaved;
}

/// Brings the file up to date, if there is one; `always` also when nothing in it changes.
bool UserDefaults::State::save(bool always) {
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
