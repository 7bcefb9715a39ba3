#include "log/LogFile.h"

#include "log/Outages.h"

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
    for (const auto& [path, failure] : _failures) {
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
        tryOthers(&*path);
    }
    OpenFile file(*path);
    if (!file.isOpen()) {
        loseText(*path, file.error);
        return AppendResult::OpenFailed;
    }
    const auto failure = _failures.find(*path);
    std::size_t written = 0;
    if (failure == _failures.end() || writeWaiting(failure->second, file)) {
        written = file.write(text);
        if (written == text.size()) {
            if (failure != _failures.end()) {
                _failures.erase(failure);
                endOutage(*path);
            }
            return AppendResult::Written;
        }
    }
    return keep(*path, text.substr(written), written != 0, file.error);
}

void Appender::retry() {
    tryOthers(nullptr);
}

void Appender::loseText(const std::string& path, int error) {
    if (_failures.try_emplace(path).second) {
        beginOutage({path, error, 1});
    } else {
        loseLine(path);
    }
}

/// The rest of a text of which a part is written is kept in any case.
AppendResult Appender::keep(const std::string& path, std::string_view rest, bool isTorn, int error) {
    const bool isKept = isTorn || _waiting + rest.size() <= kMaxWaiting;
    const auto [place, isNew] = _failures.try_emplace(path);
    Failure& failure = place->second;
    if (isKept) {
        failure.waiting += rest;
        failure.sizes.push_back(rest.size());
        _waiting += rest.size();
    }
    if (isNew) {
        beginOutage({path, error, isKept ? 0U : 1U});
    } else if (!isKept) {
        loseLine(path);
    }
    return std::exchange(failure.hasReported, true) ? AppendResult::Waits : AppendResult::WaitsFirst;
}

bool Appender::writeWaiting(Failure& failure, OpenFile& file) {
    std::size_t written = file.write(failure.waiting);
    failure.waiting.erase(0, written);
    _waiting -= written;
    while (written != 0) {
        const std::size_t part = std::min(written, failure.sizes.front());
        written -= part;
        failure.sizes.front() -= part;
        if (failure.sizes.front() == 0) {
            failure.sizes.pop_front();
        }
    }
    return failure.waiting.empty();
}

/// Tries the files but the one at `path`. One that could not be opened, and gets no further line, has no outage any
/// more.
void Appender::tryOthers(const std::string* path) {
    for (auto next = _failures.begin(); next != _failures.end();) {
        const auto place = next++;
        const bool waits = !place->second.waiting.empty();
        if (path == nullptr ? !waits : place->first == *path) {
            continue;
        }
        if (waits) {
            OpenFile file(place->first);
            if (!file.isOpen() || !writeWaiting(place->second, file)) {
                continue;
            }
        }
        const std::string former = place->first;
        _failures.erase(place);
        endOutage(former);
    }
}

}  // namespace qlx::log
