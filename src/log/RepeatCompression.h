// Finds runs of identical messages, and the start of a new file.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace qlx::log {

/// What is to be written for a message.
struct RepeatDecision {
    bool isRepeat = false;                    ///< Nothing: it was counted.
    bool startsFile = false;                  ///< It is the first one for its file.
    std::uint64_t repeatCount = 0;            ///< Repeats of the message before, to be written first, if not 0.
    std::optional<std::string> previousPath;  ///< With startsFile: the file to which the repeats belong.
};

/// The file and the message that were written last, and how often that message has come again. take() is called by one
/// thread at a time; the properties may be used from any.
class RepeatCompression {
public:
    /// Decides on `message`, which goes to the file at `path`. No path equals no other one: each message without a
    /// folder starts a file. The first message of a file is not remembered, so that its first repeat is written whole.
    [[nodiscard]] RepeatDecision take(const std::optional<std::string>& path,
                                      const std::optional<std::string>& message);

    [[nodiscard]] std::optional<std::string> lastPath() const { return load(_lastPath); }
    void setLastPath(std::optional<std::string> value) { store(_lastPath, std::move(value)); }
    [[nodiscard]] std::optional<std::string> lastMessage() const { return load(_lastMessage); }
    void setLastMessage(std::optional<std::string> value) { store(_lastMessage, std::move(value)); }

private:
    using Text = std::optional<std::string>;

    [[nodiscard]] Text load(const Text& member) const {
        const std::lock_guard lock(_mutex);
        return member;
    }
    void store(Text& member, Text value) {
        const std::lock_guard lock(_mutex);
        member.swap(value);
    }
    [[nodiscard]] bool equals(const Text& member, const Text& value) const {
        const std::lock_guard lock(_mutex);
        return member == value;
    }

    /// Whether a path is the last one. Where it is not, it becomes that, and `former` gets the one before.
    [[nodiscard]] bool isLastPath(const Text& path, Text& former) {
        const std::lock_guard lock(_mutex);
        if (path && _lastPath == path) {
            return true;
        }
        former = std::exchange(_lastPath, path);
        return false;
    }

    mutable std::mutex _mutex;
    Text _lastPath;
    Text _lastMessage;
    std::uint64_t _repeatCount = 0;
};

}  // namespace qlx::log
