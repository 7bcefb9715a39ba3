#include "log/LogFile.h"

#include "log/FileTurn.h"
#include "log/Outages.h"
#include "platform/Workers.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace qlx::log {

/// A file opened for appending, or none: `error` says why, and also why a write took less than all.
class Appender::OpenFile {
public:
    explicit OpenFile(const std::string& path) : _files(services().get<LogFiles>()) {
        errno = 0;
        _descriptor = _files.openForAppending(path.c_str());
        error = errno;
    }
    // Descriptor 0 comes up where a host has closed its standard input. It counts as a failure and is left open, so
    // that the next file gets another one; hosts rely on the report.
    [[nodiscard]] bool isOpen() const noexcept { return _descriptor >= 1; }
    ~OpenFile() {
        if (isOpen()) {
            _files.close(_descriptor);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    /// Gives how many bytes the file took: all in one call, or in as many as it takes some.
    [[nodiscard]] std::size_t write(std::string_view bytes) {
        std::size_t written = 0;
        while (written < bytes.size()) {
            errno = 0;
            const std::size_t taken =
                std::min(_files.append(_descriptor, bytes.substr(written)), bytes.size() - written);
            error = errno;
            if (taken == 0) {
                break;
            }
            written += taken;
        }
        return written;
    }

    int error = 0;

private:
    LogFiles& _files;
    int _descriptor = -1;
};

Appender::~Appender() {
    try {
        retry();
    } catch (...) {  // NOLINT(bugprone-empty-catch): without memory there is no further attempt.
    }
    for (const auto& [path, failure] : _failures) {
        // A torn line is not lost: what is missing of it is the first thing that anybody writes there.
        for (std::size_t text = 0; text < failure.sizes.size(); ++text) {
            loseLine(path);
        }
        endOutage(path);
    }
}

AppendResult Appender::append(const std::optional<std::string>& path, std::string_view text) {
    if (!path || path->size() >= kPathCapacity || path->find('\0') != std::string::npos) {
        return AppendResult::Skipped;
    }
    if (!_failures.empty()) {
        tryOthers(*path);
        endOthers(*path);
    }
    std::size_t written = 0;
    int error = 0;
    switch (tryWriting(*path, text, written, error)) {
    case Tried::NotOpen:
        loseText(*path, error);
        return AppendResult::OpenFailed;
    case Tried::TookAll:
        if (const auto failure = _failures.find(*path); failure != _failures.end()) {
            end(failure);
        }
        return AppendResult::Written;
    case Tried::TookPart:
        break;
    }
    return keep(*path, text.substr(written), written != 0, error);
}

/// Opens the file and writes what waits for it, and then `text`. What is torn of that stays with the path.
Appender::Tried Appender::tryWriting(const std::string& path, std::string_view text, std::size_t& written, int& error) {
    // What no worker can be had for comes behind the turn, not in it.
    const WorkHold hold;
    FileTurn turn(path);
    OpenFile file(path);
    if (!file.isOpen()) {
        error = file.error;
        return Tried::NotOpen;
    }
    const auto place = _failures.find(path);
    // Another log may have left a rest there.
    const bool isFree =
        place == _failures.end() ? writeRest(file, turn.rest()) : writeWaiting(place->second, file, turn.rest());
    if (isFree) {
        written = file.write(text);
        if (written != 0) {
            turn.rest() = text.substr(written);
        }
    }
    error = file.error;
    return isFree && written == text.size() ? Tried::TookAll : Tried::TookPart;
}

void Appender::retry() {
    for (auto next = _failures.begin(); next != _failures.end();) {
        const auto place = next++;
        if (place->second.waits()) {
            tryAgain(place);
        }
    }
}

void Appender::loseText(const std::string& path, int error) {
    _lastUnopened = path;
    if (_failures.try_emplace(path).second) {
        beginOutage({path, error, 1});
    } else {
        loseLine(path);
    }
}

/// The rest of a text of which a part is written stays with the path in any case.
AppendResult Appender::keep(const std::string& path, std::string_view rest, bool isTorn, int error) {
    const bool isKept = isTorn || _waiting + rest.size() <= kMaxWaiting;
    const auto [place, isNew] = _failures.try_emplace(path);
    Failure& failure = place->second;
    if (isTorn) {
        failure.torn += rest.size();
        _waiting += rest.size();
    } else if (isKept) {
        failure.waiting += rest;
        failure.sizes.push_back(rest.size());
        _waiting += rest.size();
    } else {
        failure.isWithoutRoom = true;
    }
    if (isNew) {
        beginOutage({path, error, isKept ? 0U : 1U});
    } else if (!isKept) {
        loseLine(path);
    }
    return std::exchange(failure.hasReported, true) ? AppendResult::Waits : AppendResult::WaitsFirst;
}

bool Appender::writeRest(OpenFile& file, std::string& rest) {
    if (!rest.empty()) {
        rest.erase(0, file.write(rest));
    }
    return rest.empty();
}

bool Appender::writeWaiting(Failure& failure, OpenFile& file, std::string& rest) {
    if (writeRest(file, rest) && !failure.waiting.empty()) {
        std::size_t left = file.write(failure.waiting);
        std::size_t gone = 0;
        for (; left != 0 && left >= failure.sizes.front(); failure.sizes.pop_front()) {
            left -= failure.sizes.front();
            gone += failure.sizes.front();
        }
        if (left != 0) {
            rest = failure.waiting.substr(gone + left, failure.sizes.front() - left);
            gone += failure.sizes.front();
            failure.sizes.pop_front();
        }
        failure.waiting.erase(0, gone);
        _waiting -= gone;
    }
    _waiting -= failure.torn;
    failure.torn = rest.size();
    _waiting += failure.torn;
    return rest.empty() && failure.waiting.empty();
}

/// True when the file takes all that waits for it, which ends its outage.
bool Appender::tryAgain(Failures::iterator place) {
    std::size_t written = 0;
    int error = 0;
    const bool isOver = tryWriting(place->first, {}, written, error) == Tried::TookAll;
    if (isOver) {
        end(place);
    }
    return isOver;
}

/// Goes on with the files behind the one that was tried last, but not with the one at `path`.
void Appender::tryOthers(const std::string& path) {
    // Those for which nothing waits have no turn; where there are many, the next text goes on behind them.
    constexpr int kMostPassed = 16;
    for (int passed = 0; passed < kMostPassed && hasWaiting() && !_failures.empty();) {
        auto place = _failures.upper_bound(_lastTried);
        place = place == _failures.end() ? _failures.begin() : place;
        _lastTried = place->first;
        if (place->first == path || !place->second.waits()) {
            ++passed;
        } else if (!tryAgain(place)) {
            return;
        }
    }
}

/// One that could not be opened, and gets no further line, has no outage any more; nor has one for whose lines there was
/// no room, once there is.
void Appender::endOthers(const std::string& path) {
    if (hasWaiting()) {
        const auto place = _lastUnopened == path ? _failures.end() : _failures.find(_lastUnopened);
        if (place != _failures.end() && !place->second.waits() && !place->second.isWithoutRoom) {
            end(place);
        }
        return;
    }
    for (auto next = _failures.begin(); next != _failures.end();) {
        const auto place = next++;
        if (place->first != path) {
            end(place);
        }
    }
}

void Appender::end(Failures::iterator place) {
    const std::string path = place->first;
    _failures.erase(place);
    endOutage(path);
}

}  // namespace qlx::log
