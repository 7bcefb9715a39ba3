// The running process, and what becomes of it when it forks.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

namespace qlx {

/// The number of this process; a child that was forked has its own.
[[nodiscard]] std::int64_t processIdentifier() noexcept;

/// How many forks lie between the first process and this one: code that finds another count than before is in a child.
[[nodiscard]] std::uint64_t forkCount() noexcept;

/// Guards the values with which a forked child goes on. fork() takes it, so it is held for a copy or a swap only, never
/// while a host's code runs, and nothing else is locked behind it.
class ForkedValuesLock {
public:
    ForkedValuesLock();
    ~ForkedValuesLock();
    ForkedValuesLock(const ForkedValuesLock&) = delete;
    ForkedValuesLock& operator=(const ForkedValuesLock&) = delete;
};

/// Held around calls of the system's library that lock something of its own, as those for time zones and locales do: a
/// child would find it locked for ever. fork() takes it; nothing else is locked behind it, and no host's code runs.
class SystemCallLock {
public:
    SystemCallLock();
    ~SystemCallLock();
    SystemCallLock(const SystemCallLock&) = delete;
    SystemCallLock& operator=(const SystemCallLock&) = delete;
};

/// A value that belongs to the threads of one process: locks, and what they guard. A forked child, in which those
/// threads are missing, finds a new one; the former stays as it was at the fork, for code that comes back to it.
template <class T>
class PerProcess {
public:
    PerProcess() : _instance(new Instance) {}
    ~PerProcess() {
        const Instance* const instance = _instance.load(std::memory_order_acquire);
        if (instance->forks == forkCount()) {
            delete instance;
        }
    }
    PerProcess(const PerProcess&) = delete;
    PerProcess& operator=(const PerProcess&) = delete;

    /// The one of this process.
    [[nodiscard]] T& get() {
        Instance* const instance = _instance.load(std::memory_order_acquire);
        return instance->forks == forkCount() ? instance->value : renewed(instance)->value;
    }

private:
    struct Instance {
        const std::uint64_t forks = forkCount();
        T value{};
    };

    Instance* renewed(Instance* former) {
        auto fresh = std::make_unique<Instance>();
        // Of several threads of the child one is the first.
        return _instance.compare_exchange_strong(former, fresh.get(), std::memory_order_acq_rel) ? fresh.release()
                                                                                                 : former;
    }

    std::atomic<Instance*> _instance;
};

}  // namespace qlx
