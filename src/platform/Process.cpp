#include "platform/Process.h"

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
    // The holder copies a few words: it is nearly always done after a short spin.
    constexpr int kSpins = 64;
    for (int spin = 0; spin < kSpins; ++spin) {
        if (valuesMutex.try_lock()) {
            return;
        }
    }
    valuesMutex.lock();
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
