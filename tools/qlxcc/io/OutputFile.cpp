#include "io/OutputFile.h"

#include "io/Descriptors.h"
#include "io/Errors.h"

#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qlx::tool {

namespace {

constexpr std::size_t kWriteBehind = std::size_t{128} * 1024;

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
    if (_ownsDescriptor) {
        ::close(_descriptor);
    }
}

void OutputFile::openDirectly(int descriptor) {
    if (descriptor < 0) {
        throw failureIn(_name, systemErrorText(errno));
    }
    _descriptor = descriptor;
    _ownsDescriptor = true;
}

void OutputFile::openFile(const std::string& path) {
    // Where the links lead, also to nothing yet: they stay, and what they lead to is replaced.
    const PathTarget target = followLinks(path);
    if (target.descriptor) {
        // Whoever opened it said where in the file it writes (>>).
        openDirectly(::fcntl(*target.descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        return;
    }
    struct stat status {};
    const bool exists = ::stat(target.path.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) {
        throw failureIn(_name, systemErrorText(errno));
    }
    if ((exists && S_ISDIR(status.st_mode)) || !std::filesystem::path(target.path).has_filename()) {
        throw failureIn(_name, systemErrorText(EISDIR));
    }
    if (exists && !S_ISREG(status.st_mode)) {
        // A pipe or a device: it must not be replaced by a file.
        openDirectly(::open(target.path.c_str(), O_WRONLY | O_CLOEXEC));
        return;
    }
    if (exists && ::access(target.path.c_str(), W_OK) != 0) {
        throw failureIn(_name, systemErrorText(errno));
    }
    if (const int error = _temporary.open(target.path); error != 0) {
        throw failureIn(_name, systemErrorText(error));
    }
    _descriptor = _temporary.descriptor();
    if (exists) {
        keepPermissions(status);
    }
}

void OutputFile::keepPermissions(const struct stat& former) const noexcept {
    struct stat made {};
    // What runs as its owner or group (set-user-ID) must not do so for another one.
    const bool isTheirs =
        ::fstat(_descriptor, &made) == 0 && made.st_uid == former.st_uid && made.st_gid == former.st_gid;
    // Not every file system allows it; it is no reason to fail.
    (void)::fchmod(_descriptor, former.st_mode & (isTheirs ? 07777U : 0777U));
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
    if (const int error = writeAll(_descriptor, bytes); error == EPIPE) {
        throw ClosedPipe();
    } else if (error != 0) {
        throw failureIn(_name, systemErrorText(error));
    }
}

void OutputFile::commit() {
    flush();
    if (_isStandardOutput) {
        return;
    }
    int error = 0;
    if (_temporary.descriptor() >= 0) {
        error = _temporary.become();
    } else {
        // Some devices report only here what they could not take.
        error = ::close(_descriptor) == 0 ? 0 : errno;
        _ownsDescriptor = false;
    }
    _descriptor = -1;
    if (error != 0) {
        throw failureIn(_name, systemErrorText(error));
    }
}

void refuseInputAsOutput(const std::string& input, const std::optional<std::string>& output) {
    struct stat in {};
    struct stat out {};
    const auto look = [](const std::string& path, int standard, struct stat& status) {
        return (path == "-" ? ::fstat(standard, &status) : ::stat(path.c_str(), &status)) == 0;
    };
    const std::string target = output.value_or("-");
    if (look(input, STDIN_FILENO, in) && look(target, STDOUT_FILENO, out) && S_ISREG(in.st_mode) &&
        in.st_dev == out.st_dev && in.st_ino == out.st_ino) {
        throw failureIn(target == "-" ? "standard output" : target, "is the input: the result would replace it");
    }
}

bool standardOutputIsTerminal() {
    return ::isatty(STDOUT_FILENO) != 0;
}

}  // namespace qlx::tool
