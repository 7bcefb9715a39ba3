// How the work that something takes grows with its input.
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>

#include <time.h>

namespace qlxtest {

/// Seconds of the processor that this thread has taken: those of others on a busy machine are not in it.
inline double processorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// How many times as long `work(16 * count)` takes as `work(count)`, however fast the machine is: about 16 where the
/// work is linear, and 256 where it is quadratic. The least of some tries, as others disturb what is in the caches.
template <class Work>
double growthOfSixteenTimes(std::size_t count, const Work& work) {
    constexpr int kTries = 3;
    const auto take = [&work](std::size_t size) {
        double least = std::numeric_limits<double>::infinity();
        for (int attempt = 0; attempt < kTries; ++attempt) {
            const double begin = processorSeconds();
            work(size);
            least = std::min(least, processorSeconds() - begin);
        }
        return least;
    };
    const double one = take(count);
    return take(16 * count) / one;
}

/// Between what linear work and what quadratic work gives.
inline constexpr double kGreatestLinearGrowth = 64;

}  // namespace qlxtest
