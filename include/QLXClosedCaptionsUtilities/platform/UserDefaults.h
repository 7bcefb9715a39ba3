// The settings of the user, by name, with observers.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace qlx {

/// Settings that are read, written and observed by key. The default keeps them in memory, and in a file when the host
/// names one. Any thread may call it.
class QLX_EXPORT UserDefaults {
public:
    /// Gets the key and the value that a write has given it (null: none).
    using Observer = std::function<void(const std::string& key, const Value& value)>;

    /// No settings, in memory only.
    UserDefaults();
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;
    virtual ~UserDefaults();

    /// The portable default.
    [[nodiscard]] static UserDefaults& defaultInstance();

    /// Sets what `key` holds as long as nothing is written to it.
    virtual void registerDefault(std::string_view key, Value value);

    /// The value written to `key`, or else the registered one, or else null.
    [[nodiscard]] virtual Value value(std::string_view key);

    /// Writes `value`; null takes away what was written. The observers of the key are called before this returns,
    /// unless calls of observers are under way: then they come behind those, on the thread that makes them. In a method of
    /// a log's delegate they come when the log lets go of its lock.
    virtual void setValue(std::string_view key, Value value);

    /// Calls `observer` after every later write to `key`, also when the value stays the same. The calls of all observers come
    /// one after the other, so that the last one has the value that holds. No lock is held meanwhile: an observer may
    /// write settings and log, and wait for threads that do. What it throws comes out of the write behind which it is
    /// called; where that has returned already, it is printed.
    /// @return A number for removeObserver().
    virtual std::uint64_t addObserver(std::string_view key, Observer observer);

    /// After this the observer is not called any more, and no call of it is under way, but for one that calls this.
    virtual void removeObserver(std::uint64_t number);

    /// Reads the settings that stand in the file at `path`, tells their observers, and from now on keeps the file up to
    /// date. A line a setting: the key, "=", the value; `\n`, `\r`, `\e`, `\\` stand for line feed, carriage return,
    /// equals sign and backslash; of several lines of a key the last holds. Numbers and texts alike are texts when they
    /// come back, which the readers of Value take for both; buffers, arrays and dictionaries stay in memory only. A file
    /// that is not there yet is no failure.
    ///
    /// A change of a setting changes its line alone: all others, their order and their ends stay, and the permissions
    /// of the file. A symbolic link stays one. The file is replaced whole, by one that has reached the disk. The first
    /// of several failures to write it is printed.
    /// @return False when the file cannot be read, or not be written (the settings of this process hold all the same).
    bool backWithFile(const std::string& path);

private:
    struct State;
    std::unique_ptr<State> _state;
};

}  // namespace qlx
