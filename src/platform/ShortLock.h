// Taking locks that are held for a few instructions.
#pragma once

namespace qlx {

/// Locks `mutex`, a mutex or a lock that has one. Its holder is nearly always done after a short spin, and need not
/// wake anybody then.
template <class Lockable>
void lockSoon(Lockable& mutex) {
    constexpr int kSpins = 64;
    for (int spin = 0; spin < kSpins; ++spin) {
        if (mutex.try_lock()) {
            return;
        }
    }
    mutex.lock();
}

}  // namespace qlx
