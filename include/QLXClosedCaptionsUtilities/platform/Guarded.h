// The one small lock behind the compound properties of an object.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <atomic>
#include <cstdint>
#include <utility>

namespace qlx {

/// A four-byte lock that makes the loads and stores of an object's compound properties (buffers, texts, arrays,
/// timing records) indivisible. An object has one for all of them; scalars use relaxed atomics instead.
///
/// The lock is held only for a copy or a swap; an old value is destroyed after it has been released.
class Guarded {
public:
    Guarded() noexcept = default;
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;

    /// A copy of `member`, taken whole.
    template <class T>
    [[nodiscard]] T load(const T& member) const {
        const Lock lock(_state);
        return member;
    }

    /// Replaces `member` whole.
    template <class T>
    void store(T& member, T value) {
        using std::swap;
        const Lock lock(_state);
        swap(member, value);
        // `value`, now the old one, is destroyed by the caller's full expression, after the lock is released.
    }

private:
    class Lock {
    public:
        explicit Lock(std::atomic<std::uint32_t>& state) : _state(state) {
            std::uint32_t expected = kFree;
            if (!_state.compare_exchange_strong(expected, kLocked, std::memory_order_acquire,
                                                std::memory_order_relaxed)) {
                waitFor(_state);
            }
        }
        ~Lock() {
            if (_state.exchange(kFree, std::memory_order_release) == kContended) {
                _state.notify_one();
            }
        }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        std::atomic<std::uint32_t>& _state;
    };

    static constexpr std::uint32_t kFree = 0;
    static constexpr std::uint32_t kLocked = 1;
    static constexpr std::uint32_t kContended = 2;

    QLX_EXPORT static void waitFor(std::atomic<std::uint32_t>& state);

    mutable std::atomic<std::uint32_t> _state{kFree};
};

}  // namespace qlx
