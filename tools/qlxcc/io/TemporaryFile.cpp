#include "io/TemporaryFile.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <filesystem>
#include <string_view>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qlx::tool {

namespace {

// A signal may come to any thread, at any moment. Who wants to change the file or its name says so first; a signal that
// comes meanwhile is left to that thread, which obeys it as soon as both agree again.
enum class TemporaryState : int {
    None,      ///< There is no file.
    Changing,  ///< The file or its name are being changed.
    There,     ///< The file is there, under `temporaryName`.
    Removed,   ///< A signal has come: the file is being removed, and the program ends.
};

std::atomic<TemporaryState> temporaryState{TemporaryState::None};
std::atomic<int> waitingSignal{0};
std::array<char, PATH_MAX> temporaryName{};

static_assert(std::atomic<TemporaryState>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

/// Does what a signal asks for, unless the file is being changed, or another signal is being obeyed.
void obey(int signal) {
    TemporaryState state = temporaryState.load();
    do {
        if (state == TemporaryState::Changing || state == TemporaryState::Removed) {
            return;
        }
        // Nobody makes or renames a file from here on.
    } while (!temporaryState.compare_exchange_weak(state, TemporaryState::Removed));
    if (state == TemporaryState::There) {
        ::unlink(temporaryName.data());
    }
    // The signal now does what it always does. A first process is not ended by it: it ends itself.
    std::signal(signal, SIG_DFL);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
    ::pthread_kill(::pthread_self(), signal);
    constexpr int kEndedBySignal = 128;
    ::_exit(kEndedBySignal + signal);
}

extern "C" void endBySignal(int signal) {
    const int error = errno;
    waitingSignal.store(signal);
    obey(signal);
    errno = error;
}

/// Whether a signal ends a program that does nothing about it, and is neither a fault of the program nor beyond its
/// reach.
bool endsPrograms(int signal) {
    constexpr std::array<int, 16> kOthers{SIGKILL, SIGSTOP, SIGSEGV, SIGBUS,  SIGFPE,  SIGILL,  SIGABRT, SIGSYS,
                                          SIGTRAP, SIGCHLD, SIGCONT, SIGTSTP, SIGTTIN, SIGTTOU, SIGURG,  SIGWINCH};
    for (const int other : kOthers) {
        if (signal == other) {
            return false;
        }
    }
    return true;
}

void installSignalHandlers() {
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        struct sigaction action {};
        // What the caller told us to ignore (nohup) stays ignored, what a library handles is its own.
        if (!endsPrograms(signal) || ::sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) {
            continue;
        }
        action = {};
        action.sa_handler = endBySignal;
        action.sa_flags = SA_RESTART;
        sigfillset(&action.sa_mask);
        ::sigaction(signal, &action, nullptr);
    }
}

/// While it lives, the file and its name may be changed.
class TemporaryChange {
public:
    TemporaryChange() {
        for (;;) {
            TemporaryState state = temporaryState.load();
            if (state == TemporaryState::Removed) {
                // Another thread is ending the program.
                ::pause();
            } else if (temporaryState.compare_exchange_weak(state, TemporaryState::Changing)) {
                return;
            }
        }
    }
    ~TemporaryChange() {
        temporaryState.store(temporaryName[0] == '\0' ? TemporaryState::None : TemporaryState::There);
        if (const int signal = waitingSignal.load(); signal != 0) {
            obey(signal);
        }
    }
    TemporaryChange(const TemporaryChange&) = delete;
    TemporaryChange& operator=(const TemporaryChange&) = delete;

    static void setName(std::string_view name) noexcept {
        // A longer name could not have been opened.
        const std::size_t length = std::min(name.size(), temporaryName.size() - 1);
        std::copy_n(name.begin(), length, temporaryName.begin());
        temporaryName[length] = '\0';
    }
};

/// The folder of a path and the beginning of its temporary names.
std::string firstPart(const std::filesystem::path& target) {
    // With what is added, a name may have 255 bytes.
    constexpr std::size_t kLongestPart = 200;
    return (target.parent_path() / ("." + target.filename().string().substr(0, kLongestPart) + ".qlxcc")).string();
}

/// Makes a file of that name, whose lock says that somebody is writing it.
/// @return Its descriptor; -1, with errno, if it cannot be made or is there.
int makeLocked(const std::string& name) {
    for (;;) {
        const int descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor < 0) {
            return -1;
        }
        // Where there are no locks nothing is taken for left behind. Who reads the new file meanwhile has it locked: then it
        // is written without.
        (void)::flock(descriptor, LOCK_EX | LOCK_NB);
        struct stat status {};
        if (::fstat(descriptor, &status) != 0 || status.st_nlink > 0) {
            return descriptor;
        }
        // Somebody took it for left behind before it had its lock.
        ::close(descriptor);
    }
}

/// Removes a file of that name which nobody writes or reads any more.
void removeLeftBehind(const std::string& name) {
    const int descriptor = ::open(name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        return;
    }
    struct stat status {};
    struct stat named {};
    // Meanwhile the name may be another file's. With the lock it stays what it is.
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && ::flock(descriptor, LOCK_EX | LOCK_NB) == 0 &&
        ::lstat(name.c_str(), &named) == 0 && named.st_dev == status.st_dev && named.st_ino == status.st_ino) {
        ::unlink(name.c_str());
    }
    ::close(descriptor);
}

constexpr int kMostNames = 100;

}  // namespace

int TemporaryFile::open(const std::string& target) {
    _target = target;
    const std::string part = firstPart(target);
    const auto nameOf = [&part](int number) {
        return part + (number == 0 ? "" : "-" + std::to_string(number)) + ".tmp";
    };
    installSignalHandlers();
    int number = 0;
    int error = EEXIST;
    for (; number < kMostNames && error == EEXIST; ++number) {
        removeLeftBehind(nameOf(number));
        const TemporaryChange change;
        _descriptor = makeLocked(nameOf(number));
        error = _descriptor < 0 ? errno : 0;
        if (error == 0) {
            _name = nameOf(number);
            TemporaryChange::setName(_name);
        }
    }
    for (; error == 0 && number < kMostNames; ++number) {
        removeLeftBehind(nameOf(number));
    }
    return error;
}

int TemporaryFile::become() {
    // Otherwise a power cut may leave an empty file in place of the old one. Some file systems cannot do it.
    int error = ::fsync(_descriptor) == 0 || errno == EINVAL ? 0 : errno;
    // Some report a full disk only when a descriptor is closed. The file keeps its lock, which is another's.
    if (const int other = error == 0 ? ::dup(_descriptor) : -1; other >= 0 && ::close(other) != 0) {
        error = errno;
    }
    const TemporaryChange change;
    if (error == 0 && ::rename(_name.c_str(), _target.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        ::unlink(_name.c_str());
    }
    forget();
    return error;
}

void TemporaryFile::remove() noexcept {
    if (_descriptor < 0) {
        return;
    }
    const TemporaryChange change;
    ::unlink(_name.c_str());
    forget();
}

void TemporaryFile::forget() noexcept {
    ::close(_descriptor);
    _descriptor = -1;
    _name.clear();
    TemporaryChange::setName({});
}

}  // namespace qlx::tool
