// Appending to log files.
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::log {

/// Room for a path with its final NUL; a longer path is not written to.
inline constexpr std::size_t kPathCapacity = 1024;

enum class AppendResult {
    Written,     ///< The file took the text, and everything that waited for it.
    Skipped,     ///< No path, or one that no file can have.
    OpenFailed,  ///< The text is lost.
    Waits,       ///< The file did not take all: the rest waits, or the text is lost for want of room.
    WaitsFirst   ///< The same for the first time in this outage.
};

/// Appends texts to files, which are opened for each, and keeps what a file does not take: that is the first thing
/// written to it once it takes bytes again. Used by one thread at a time.
class Appender {
public:
    Appender() = default;
    /// What waits is tried once more, and then lost.
    ~Appender();
    Appender(const Appender&) = delete;
    Appender& operator=(const Appender&) = delete;

    /// Opens the file, writes `text` with one call (and what the file did not take with further ones, as long as it
    /// takes any), and closes it. Before that, other files for which something waits are tried in their turn, up to the
    /// first one that still does not take all: however many wait, a text costs one attempt in vain.
    AppendResult append(const std::optional<std::string>& path, std::string_view text);

    /// Tries every file for which something waits.
    void retry();

    /// Whether something waits. Any thread may ask.
    [[nodiscard]] bool hasWaiting() const noexcept { return _waiting.load(std::memory_order_relaxed) != 0; }

private:
    class OpenFile;
    enum class Tried { NotOpen, TookPart, TookAll };

    /// What is known of a file that failed last time.
    struct Failure {
        std::string waiting;            ///< Whole texts that it is to get.
        std::deque<std::size_t> sizes;  ///< The bytes of each of them.
        std::size_t torn = 0;           ///< The bytes that the path's FileTurn had in front of them last time.
        bool isWithoutRoom = false;     ///< A text is lost because too much waits.
        bool hasReported = false;       ///< WaitsFirst has been given.

        [[nodiscard]] bool waits() const noexcept { return !waiting.empty() || torn != 0; }
    };
    using Failures = std::map<std::string, Failure>;

    void loseText(const std::string& path, int error);
    AppendResult keep(const std::string& path, std::string_view rest, bool isTorn, int error);
    Tried tryWriting(const std::string& path, std::string_view text, std::size_t& written, int& error);
    /// True when nothing is left of the line that the file has a part of.
    static bool writeRest(OpenFile& file, std::string& rest);
    /// True when nothing waits any more.
    bool writeWaiting(Failure& failure, OpenFile& file, std::string& rest);
    bool tryAgain(Failures::iterator place);
    void tryOthers(const std::string& path);
    void endOthers(const std::string& path);
    void end(Failures::iterator place);

    Failures _failures;
    std::string _lastTried;                ///< Whose turn it was; the next one's path comes behind it.
    std::string _lastUnopened;             ///< The path of the last text that was lost with a failed open.
    std::atomic<std::size_t> _waiting{0};  ///< Bytes for all files.
};

}  // namespace qlx::log
