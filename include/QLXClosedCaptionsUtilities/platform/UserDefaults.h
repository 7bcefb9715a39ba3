// The settings of the user, by name, with observers.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx {

/// Settings that are read, written and observed by key. The default keeps them in memory, and in a file when the host
/// names one. Any thread may call it.
class QLX_EXPORT UserDefaults {
public:
    /// Gets the key and the value that holds from now on (null: none).
    using Observer = std::function<void(const std::string& key, const Value& value)>;

    UserDefaults() = default;
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;
    virtual ~UserDefaults();

    /// The portable default.
    [[nodiscard]] static UserDefaults& defaultInstance();

    /// Sets what `key` holds as long as nothing is written to it.
    virtual void registerDefault(std::string_view key, Value value);

    /// The value written to `key`, or else the registered one, or else null.
    [[nodiscard]] virtual Value value(std::string_view key);

    /// Writes `value`; null takes away what was written. The observers of the key are called before this returns.
    virtual void setValue(std::string_view key, Value value);

    /// Calls `observer` after every write to `key`, also when the value stays the same. Writes and calls come one after
    /// the other, so that the last call has the value that holds; an observer may write settings itself.
    /// @return A number for removeObserver().
    virtual std::uint64_t addObserver(std::string_view key, Observer observer);

    /// After this the observer is not called any more, and no call of it is under way on another thread.
    virtual void removeObserver(std::uint64_t number);

    /// Reads the settings that stand in the file at `path`, tells their observers, and from now on keeps the file up to
    /// date. A line a setting: the key, "=", the value; `\n`, `\r`, `\e`, `\\` stand for line feed, carriage return,
    /// equals sign and backslash. Numbers and texts alike are texts when they come back, which the readers of Value
    /// take for both; buffers, arrays and dictionaries stay in memory only. A file that is not there yet is no failure.
    /// @return False when the file cannot be read, or not be written (the settings of this process hold all the same).
    bool backWithFile(const std::string& path);

private:
    struct Registration {
        std::uint64_t number;
        std::string key;
        Observer observer;
    };

    [[nodiscard]] Value valueLocked(std::string_view key) const;
    void notify(const std::string& key);
    bool save();

    /// Held from a write to the end of its observers' calls; taken before the other.
    std::recursive_mutex _changesMutex;
    std::mutex _mutex;  ///< Guards what follows; never held while an observer runs.
    Dictionary _registered;
    Dictionary _written;
    std::vector<Registration> _observers;
    std::uint64_t _lastNumber = 0;
    std::optional<std::string> _filePath;
};

}  // namespace qlx
