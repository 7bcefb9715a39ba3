#include "io/OutputFile.h"

#include "io/Errors.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qlx::tool {

namespace {

constexpr std::size_t kWriteBehind = std::size_t{128} * 1024;

// The signals by which people and systems end a program.
constexpr std::array<int, 4> kEndingSignals{SIGHUP, SIGINT, SIGQUIT, SIGTERM};

// What the signal handler removes; an empty name for nothing.
std::array<char, PATH_MAX> temporaryName{};

extern "C" void removeTemporaryFile(int signal) {
    if (temporaryName[0] != '\0') {
        ::unlink(temporaryName.data());
    }
    // The handler was installed for one shot: the signal now does what it always does.
    std::raise(signal);
}

/// Holds the ending signals back while the temporary file and its remembered name change together.
class SignalsHeld {
public:
    SignalsHeld() {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : kEndingSignals) {
            sigaddset(&signals, signal);
        }
        ::pthread_sigmask(SIG_BLOCK, &signals, &_former);
    }
    ~SignalsHeld() { ::pthread_sigmask(SIG_SETMASK, &_former, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t _former{};
};

void installSignalHandler() {
    for (const int signal : kEndingSignals) {
        struct sigaction action {};
        // What the caller told us to ignore (nohup) stays ignored.
        if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) {
            continue;
        }
        action = {};
        action.sa_handler = removeTemporaryFile;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigemptyset(&action.sa_mask);
        ::sigaction(signal, &action, nullptr);
    }
}

void rememberTemporary(const std::string& name) {
    // A longer name could not have been opened.
    const std::size_t length = std::min(name.size(), temporaryName.size() - 1);
    std::memcpy(temporaryName.data(), name.data(), length);
    temporaryName[length] = '\0';
}

}  // namespace

OutputFile::OutputFile(const std::optional<std::string>& path) {
    _buffer.reserve(kWriteBehind);
    if (!path || *path == "-") {
        _name = "standard output";
        _descriptor = STDOUT_FILENO;
        _isStandardOutput = true;
    } else {
        _name = *path;
        openFile(*path);
    }
}

OutputFile::~OutputFile() {
    if (_isStandardOutput || _descriptor < 0) {
        return;
    }
    ::close(_descriptor);
    if (!_temporary.empty()) {
        const SignalsHeld held;
        ::unlink(_temporary.c_str());
        temporaryName[0] = '\0';
    }
}

void OutputFile::openFile(const std::string& path) {
    struct stat status {};
    const bool exists = ::stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        throw failureIn(_name, systemErrorText(EISDIR));
    }
    if (exists && !S_ISREG(status.st_mode)) {
        // A pipe or a device: it must not be replaced by a file.
        _descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (_descriptor < 0) {
            throw failureIn(_name, systemErrorText(errno));
        }
        return;
    }
    std::string target = path;
    if (exists) {
        if (::access(path.c_str(), W_OK) != 0) {
            throw failureIn(_name, systemErrorText(errno));
        }
        // A symbolic link stays; the file that it leads to is replaced.
        std::error_code error;
        const std::filesystem::path real = std::filesystem::canonical(path, error);
        if (!error) {
            target = real.string();
        }
    }
    openTemporary(target);
    if (exists) {
        // A file that is replaced keeps its permissions where the file system allows it; it is no reason to fail.
        (void)::fchmod(_descriptor, status.st_mode & 07777U);
    }
}

void OutputFile::openTemporary(const std::string& target) {
    const std::filesystem::path path(target);
    if (!path.has_filename()) {
        throw failureIn(_name, systemErrorText(EISDIR));
    }
    _target = target;
    const SignalsHeld held;
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::string name = ".qlxcc-" + std::to_string(::getpid()) + "-" + std::to_string(attempt) + ".tmp";
        const std::string candidate = (path.parent_path() / name).string();
        _descriptor = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (_descriptor >= 0) {
            _temporary = candidate;
            rememberTemporary(_temporary);
            installSignalHandler();
            return;
        }
        if (errno != EEXIST) {
            break;
        }
    }
    throw failureIn(_name, systemErrorText(errno));
}

void OutputFile::write(std::span<const std::uint8_t> bytes) {
    if (_buffer.size() + bytes.size() > kWriteBehind) {
        flush();
    }
    if (bytes.size() > kWriteBehind) {
        // A whole picture: it need not be in memory twice.
        send(bytes);
        return;
    }
    _buffer.insert(_buffer.end(), bytes.begin(), bytes.end());
}

void OutputFile::write(std::string_view text) {
    write(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

void OutputFile::flush() {
    send(_buffer);
    _buffer.clear();
}

void OutputFile::send(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(_descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(written));
        } else if (errno == EPIPE) {
            throw ClosedPipe();
        } else if (errno != EINTR) {
            throw failureIn(_name, systemErrorText(errno));
        }
    }
}

void OutputFile::commit() {
    flush();
    if (_isStandardOutput) {
        return;
    }
    // Some file systems report a full disk only here.
    const int closed = ::close(_descriptor);
    const int closeError = errno;
    _descriptor = -1;
    const SignalsHeld held;
    int error = closed == 0 ? 0 : closeError;
    if (!_temporary.empty()) {
        if (error == 0 && ::rename(_temporary.c_str(), _target.c_str()) != 0) {
            error = errno;
        }
        if (error != 0) {
            ::unlink(_temporary.c_str());
        }
        temporaryName[0] = '\0';
    }
    if (error != 0) {
        throw failureIn(_name, systemErrorText(error));
    }
}

void refuseInputAsOutput(const std::string& input, const std::optional<std::string>& output) {
    if (!output || *output == "-") {
        return;
    }
    struct stat in {};
    struct stat out {};
    const bool inputExists = (input == "-" ? ::fstat(STDIN_FILENO, &in) : ::stat(input.c_str(), &in)) == 0;
    if (inputExists && ::stat(output->c_str(), &out) == 0 && S_ISREG(in.st_mode) && in.st_dev == out.st_dev &&
        in.st_ino == out.st_ino) {
        throw failureIn(*output, "is the input: the result would replace it");
    }
}

bool standardOutputIsTerminal() {
    return ::isatty(STDOUT_FILENO) != 0;
}

}  // namespace qlx::tool
