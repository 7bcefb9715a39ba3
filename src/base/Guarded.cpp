#include <QLXClosedCaptionsUtilities/platform/Guarded.h>

namespace qlx {

void Guarded::waitFor(std::atomic<std::uint32_t>& state) {
    // The holder copies a few words: it is nearly always done after a short spin.
    constexpr int kSpins = 64;
    for (int spin = 0; spin < kSpins; ++spin) {
        std::uint32_t expected = kFree;
        if (state.compare_exchange_weak(expected, kLocked, std::memory_order_acquire, std::memory_order_relaxed)) {
            return;
        }
    }
    while (state.exchange(kContended, std::memory_order_acquire) != kFree) {
        state.wait(kContended, std::memory_order_relaxed);
    }
}

}  // namespace qlx
