#include "io/Descriptors.h"

#include <cerrno>
#include <charconv>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace qlx::tool {

namespace {

namespace fs = std::filesystem;

// As many as the system follows.
constexpr int kMostLinks = 40;

/// The number of one of our own descriptors, if that is what stands at this place of the folder.
std::optional<int> ownDescriptor(const fs::path& folder, const std::string& name) {
    std::error_code error;
    for (const char* own : {"/proc/self/fd", "/proc/thread-self/fd"}) {
        const fs::path ownFolder = fs::canonical(own, error);
        if (error || ownFolder != folder) {
            continue;
        }
        int number = 0;
        const char* end = name.data() + name.size();
        const auto [last, result] = std::from_chars(name.data(), end, number);
        if (result == std::errc() && last == end) {
            return number;
        }
    }
    return std::nullopt;
}

}  // namespace

void openStandardDescriptors() noexcept {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) {
            // The lowest free number is taken: this one. It is opened for what nobody does with it.
            (void)::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

bool waitFor(int descriptor, Readiness readiness) noexcept {
    struct pollfd waited {};
    waited.fd = descriptor;
    waited.events = readiness == Readiness::ToRead ? POLLIN : POLLOUT;
    return ::poll(&waited, 1, -1) < 0 || (waited.revents & (POLLNVAL | POLLERR)) == 0;
}

int writeAll(int descriptor, std::span<const std::uint8_t> bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(written));
        } else if (written == 0) {
            return EIO;
        } else if (const int error = errno; error == EAGAIN || error == EWOULDBLOCK) {
            if (!waitFor(descriptor, Readiness::ToWrite)) {
                return error;
            }
        } else if (error != EINTR) {
            return error;
        }
    }
    return 0;
}

PathTarget followLinks(const std::string& path) {
    fs::path place(path);
    std::error_code error;
    for (int links = 0; links < kMostLinks; ++links) {
        const fs::path given = place.has_parent_path() ? place.parent_path() : fs::path(".");
        const fs::path folder = fs::canonical(given, error);
        if (error || !place.has_filename()) {
            return {place.string(), std::nullopt};
        }
        if (const std::optional<int> descriptor = ownDescriptor(folder, place.filename().string())) {
            return {place.string(), descriptor};
        }
        const fs::path link = fs::read_symlink(place, error);
        if (error) {
            return {place.string(), std::nullopt};
        }
        place = link.is_absolute() ? link : folder / link;
    }
    return {path, std::nullopt};
}

}  // namespace qlx::tool
