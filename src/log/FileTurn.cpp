#include "log/FileTurn.h"

#include "platform/Process.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

namespace qlx::log {

namespace {

/// A log writes line after line to the same few paths.
constexpr std::size_t kKeptPaths = 16;

thread_local FileTurn* turnInHand = nullptr;

}  // namespace

struct FileTurn::Path {
    std::mutex mutex;
    std::string rest;
    std::uint64_t users = 0;            ///< Guarded by the record's lock.
    const std::string* name = nullptr;  ///< Its key.
};

struct FileTurn::Record {
    Path& pathAt(const std::string& name) {
        const std::lock_guard lock(mutex);
        const auto place = paths.try_emplace(name).first;
        place->second.name = &place->first;
        ++place->second.users;
        return place->second;
    }

    /// Erases another one at which nobody is, of the first ones, or else this one if nobody is there.
    void eraseAnIdleOne(const Path& last) {
        const auto isIdle = [](const Path& path) { return path.users == 0 && path.rest.empty(); };
        std::size_t looked = 0;
        for (auto place = paths.begin(); place != paths.end() && looked <= kKeptPaths; ++place, ++looked) {
            if (&place->second != &last && isIdle(place->second)) {
                paths.erase(place);
                return;
            }
        }
        if (isIdle(last)) {
            paths.erase(paths.find(*last.name));
        }
    }

    std::mutex mutex;
    /// Those at which somebody is, to which something is to be written, or that are likely to be written to again.
    std::map<std::string, Path> paths;
};

FileTurn::Record& FileTurn::record() {
    static auto* const records = new PerProcess<Record>;
    return records->get();
}

FileTurn::FileTurn(const std::string& path) : _record(record()), _path(_record.pathAt(path)) {
    _path.mutex.lock();
    _outer = std::exchange(turnInHand, this);
}

FileTurn::~FileTurn() {
    turnInHand = _outer;
    if (&_record != &record()) {
        return;  // Forked: nobody waits for a turn.
    }
    _path.mutex.unlock();
    const std::lock_guard lock(_record.mutex);
    --_path.users;
    if (_record.paths.size() > kKeptPaths) {
        _record.eraseAnIdleOne(_path);
    }
}

void FileTurn::leaveTurnInHand() noexcept {
    for (const FileTurn* turn = std::exchange(turnInHand, nullptr); turn != nullptr; turn = turn->_outer) {
        // Forked: nobody waits for a turn.
        if (&turn->_record == &record()) {
            turn->_path.mutex.unlock();
        }
    }
}

std::string& FileTurn::rest() noexcept {
    return _path.rest;
}

}  // namespace qlx::log
