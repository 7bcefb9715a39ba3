#include <QLXClosedCaptionsUtilities/platform/LogFiles.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qlx {

namespace {

using TimePoint = std::chrono::system_clock::time_point;

constexpr mode_t kFilePermissions = 0664;

/// What the last write of this thread took: write() itself can only say whether that was all.
thread_local std::size_t takenByWrite = 0;

/// A regular file that this thread has opened: it is left open without waiting, which means nothing there. Line after line
/// goes to the same path, and each call of the system is felt.
struct RegularFile {
    std::array<char, 1024> path{};  ///< Empty: none.
    int descriptor = -1;            ///< While it is open.
};
thread_local RegularFile regularFile;

/// From here on a write waits.
void letWritesWait(int descriptor) {
    fcntl(descriptor, F_SETFL, O_APPEND);
}

/// For a descriptor that was opened without waiting: only a pipe without a reader was not to be waited for.
void letWritesWaitUnlessRegular(int descriptor, const char* path) {
    const std::string_view name(path);
    RegularFile& known = regularFile;
    if (name != known.path.data()) {
        struct stat status {};
        if (name.size() >= known.path.size() || fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
            letWritesWait(descriptor);
            return;
        }
        *std::copy(name.begin(), name.end(), known.path.begin()) = '\0';
    }
    known.descriptor = descriptor;
}

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};

/// None for a time that the clock cannot hold.
std::optional<TimePoint> timePoint(std::int64_t seconds, std::int64_t nanoseconds) {
    constexpr std::int64_t kFarthest = 9'000'000'000;
    if (seconds > kFarthest || seconds < -kFarthest) {
        return std::nullopt;
    }
    return TimePoint(std::chrono::duration_cast<TimePoint::duration>(std::chrono::seconds(seconds) +
                                                                     std::chrono::nanoseconds(nanoseconds)));
}

/// When the entry `name` of an open folder came into being; a link's own date, not that of what it names.
std::optional<TimePoint> creationDate(int folder, const char* name) {
#ifdef __APPLE__
    struct stat status {};
    if (fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return std::nullopt;
    }
    return timePoint(status.st_birthtimespec.tv_sec, status.st_birthtimespec.tv_nsec);
#else
    struct statx status {};
    if (statx(folder, name, AT_SYMLINK_NOFOLLOW, STATX_BTIME | STATX_MTIME, &status) != 0) {
        return std::nullopt;
    }
    const auto& time = (status.stx_mask & STATX_BTIME) != 0 ? status.stx_btime : status.stx_mtime;
    return timePoint(time.tv_sec, time.tv_nsec);
#endif
}

}  // namespace

LogFiles::~LogFiles() = default;

LogFiles& LogFiles::defaultInstance() {
    static auto* const instance = new LogFiles;
    return *instance;
}

int LogFiles::openForAppending(const char* path) {
    int descriptor = -1;
    do {
        descriptor = ::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, kFilePermissions);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0 && errno == EWOULDBLOCK) {
        // Somebody holds a lease on the file, and is waited for.
        do {
            descriptor = ::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, kFilePermissions);
        } while (descriptor < 0 && errno == EINTR);
    } else if (descriptor >= 0) {
        letWritesWaitUnlessRegular(descriptor, path);
    }
    return descriptor;
}

bool LogFiles::write(int descriptor, std::string_view bytes) {
    ssize_t written = -1;
    do {
        // An interrupted call has written nothing.
        written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EWOULDBLOCK && descriptor == regularFile.descriptor) {
            // No longer: a pipe has come to stand at the path, and is full.
            regularFile = RegularFile();
            letWritesWait(descriptor);
            errno = EINTR;
        }
    } while (written < 0 && errno == EINTR);
    takenByWrite = written > 0 ? static_cast<std::size_t>(written) : 0;
    return written == static_cast<ssize_t>(bytes.size());
}

std::size_t LogFiles::append(int descriptor, std::string_view bytes) {
    takenByWrite = 0;
    return write(descriptor, bytes) ? bytes.size() : takenByWrite;
}

void LogFiles::close(int descriptor) {
    if (descriptor == regularFile.descriptor) {
        regularFile.descriptor = -1;
    }
    ::close(descriptor);
}

Directories::~Directories() = default;

Directories& Directories::defaultInstance() {
    static auto* const instance = new Directories;
    return *instance;
}

std::vector<Directories::Entry> Directories::entries(const std::string& path) {
    std::vector<Entry> result;
    if (path.find('\0') != std::string::npos) {
        return result;
    }
    const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
    if (!folder) {
        return result;
    }
    while (const dirent* const entry = readdir(folder.get())) {
        std::string name = entry->d_name;
        if (name == "." || name == "..") {
            continue;
        }
        std::optional<TimePoint> date = creationDate(dirfd(folder.get()), entry->d_name);
        result.push_back({std::move(name), date});
    }
    return result;
}

bool Directories::remove(const std::string& path) {
    if (path.find('\0') != std::string::npos) {
        return false;
    }
    std::error_code error;
    return std::filesystem::remove_all(path, error) > 0 && !error;
}

}  // namespace qlx
