// Calls of the system that a test watches, fails, or has something happen in: defined here, they take the place of the C
// library's in the program whose test includes this. One source of a program may.
#pragma once

#include <cerrno>
#include <cstdio>
#include <functional>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace qlxtest {

/// What is called in front of the system; what gives an error number is not called at all. On the thread that calls.
struct WatchedCalls {
    std::function<int(int descriptor)> fsync = nullptr;
    std::function<int(const char* from, const char* to)> rename = nullptr;
    std::function<int(int descriptor, int operation)> flock = nullptr;
};

/// None outside of a test that sets it.
inline const WatchedCalls* watchedCalls = nullptr;

/// Watches as long as it lives.
class CallWatch {
public:
    explicit CallWatch(WatchedCalls calls) : _calls(std::move(calls)) { watchedCalls = &_calls; }
    ~CallWatch() { watchedCalls = nullptr; }
    CallWatch(const CallWatch&) = delete;
    CallWatch& operator=(const CallWatch&) = delete;

private:
    WatchedCalls _calls;
};

/// 0, or the error number that a test gives for the call.
template <class... Arguments>
int watched(std::function<int(Arguments...)> WatchedCalls::*call, Arguments... arguments) {
    return watchedCalls == nullptr || !(watchedCalls->*call) ? 0 : (watchedCalls->*call)(arguments...);
}

}  // namespace qlxtest

extern "C" {

int fsync(int descriptor) {
    errno = qlxtest::watched(&qlxtest::WatchedCalls::fsync, descriptor);
    return errno != 0 ? -1 : static_cast<int>(::syscall(SYS_fsync, descriptor));
}

int rename(const char* from, const char* to) noexcept {
    errno = qlxtest::watched(&qlxtest::WatchedCalls::rename, from, to);
    return errno != 0 ? -1 : static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int flock(int descriptor, int operation) noexcept {
    errno = qlxtest::watched(&qlxtest::WatchedCalls::flock, descriptor, operation);
    return errno != 0 ? -1 : static_cast<int>(::syscall(SYS_flock, descriptor, operation));
}

}  // extern "C"
