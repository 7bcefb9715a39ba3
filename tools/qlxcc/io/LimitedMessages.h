// Saying what is wrong, some of each kind.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace qlx::tool {

/// What messages that differ in numbers only have in common: a kind of them.
[[nodiscard]] std::string withoutDigits(std::string text);

/// Prints the first ten messages of a kind, and in the end how many more there were.
class LimitedMessages {
public:
    /// @param kind What is alike of the messages that are counted together; not shown.
    /// @param message A line for printMessage().
    /// @return Whether it was printed.
    bool say(const std::string& kind, const std::string& message);

    /// Whether finish() has something to say.
    [[nodiscard]] bool hasMore() const noexcept { return _hasMore; }

    /// Called behind the last one.
    void finish() const;

private:
    static constexpr std::uint64_t kShown = 10;

    struct Kind {
        std::uint64_t count = 0;
        std::string first;
    };

    std::map<std::string, Kind, std::less<>> _kinds;
    bool _hasMore = false;
};

}  // namespace qlx::tool
