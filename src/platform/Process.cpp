#include "platform/Process.h"

#include "platform/ShortLock.h"

#include <mutex>

#include <pthread.h>
#include <unistd.h>

namespace qlx {

namespace {

constinit std::mutex valuesMutex;
constinit std::mutex systemMutex;
constinit std::atomic<std::uint64_t> forks{0};

/// Before the program's first thread.
[[maybe_unused]] const int registered = pthread_atfork(
    [] {
        systemMutex.lock();
        valuesMutex.lock();
    },
    [] {
        valuesMutex.unlock();
        systemMutex.unlock();
    },
    [] {
        forks.fetch_add(1, std::memory_order_relaxed);
        valuesMutex.unlock();
        systemMutex.unlock();
    });

}  // namespace

std::int64_t processIdentifier() noexcept {
    return getpid();
}

std::uint64_t forkCount() noexcept {
    return forks.load(std::memory_order_relaxed);
}

ForkedValuesLock::ForkedValuesLock() {
    lockSoon(valuesMutex);
}

ForkedValuesLock::~ForkedValuesLock() {
    valuesMutex.unlock();
}

SystemCallLock::SystemCallLock() {
    systemMutex.lock();
}

SystemCallLock::~SystemCallLock() {
    systemMutex.unlock();
}

}  // namespace qlx
