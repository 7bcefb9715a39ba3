// How the log's files fare: what could not be written, and since when.
//
//     for (const qlx::log::Outage& outage : qlx::log::status().underWay) {
//         report(outage.path, outage.error, outage.linesLost);
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace qlx::log {

/// A file that cannot be opened, or that takes nothing (a full disk), from the first failure to the first success.
///
/// What a file did not take waits and is written first once it takes bytes again, at most kMaxWaiting of it. A line
/// whose file cannot be opened is lost, and the outage of such a file also ends when the log goes on in another one. An
/// outage also ends with its controller.
struct Outage {
    std::string path;             ///< The file.
    int error = 0;                ///< The errno of its first failure; 0 when the service that failed gave none.
    std::uint64_t linesLost = 0;  ///< Lines that will not be written any more, up to now.

    /// Field by field.
    friend bool operator==(const Outage&, const Outage&) = default;
};

/// Bytes that wait for files that take nothing: as many at most for the technical log, and for the simple ones.
inline constexpr std::size_t kMaxWaiting = std::size_t{4} * 1024 * 1024;

/// Bytes of messages that wait in memory while a write hangs, of all lines of a controller; further ones are lost.
inline constexpr std::size_t kMaxQueued = std::size_t{64} * 1024 * 1024;

/// How all files of all logs of this process fare.
struct Status {
    std::uint64_t outages = 0;     ///< Outages that have begun.
    std::uint64_t linesLost = 0;   ///< Lines lost in outages, and behind a write that hangs.
    std::vector<Outage> underWay;  ///< Outages that have not ended, in the order in which they began.

    /// Field by field.
    friend bool operator==(const Status&, const Status&) = default;
};

/// What an observer is told.
enum class OutageEvent {
    Began,  ///< The first failure of a file. The line at hand is counted in `linesLost` if it is lost.
    Ended   ///< Everything that waited is written, or the log has left a file that could not be opened.
};

/// Gets each begin and end of an outage, with the outage as it stands then.
using OutageObserver = std::function<void(OutageEvent, const Outage&)>;

/// How the logs fare now. A forked child begins with none of its parent's outages. Any thread may call it.
[[nodiscard]] QLX_EXPORT Status status();

/// Has `observer` called from now on, in place of the former one; none at first, and an empty one ends it. It is called
/// by the thread that writes, which holds no lock: it may log, and must not wait for the log. A call of the former one
/// may still be under way on that thread. Any thread may call this.
QLX_EXPORT void setOutageObserver(OutageObserver observer);

}  // namespace qlx::log
