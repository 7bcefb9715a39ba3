// Calls of observers that wait until their thread holds no lock.
#pragma once

#include <functional>

namespace qlx {

/// As long as one of these lives on a thread, settings that change there call no observer: that is done when the last of
/// them goes. It stands in front of a lock under which a host's code runs.
class ObserverHold {
public:
    ObserverHold() noexcept;
    /// Calls what waits; it must not throw.
    ~ObserverHold();
    ObserverHold(const ObserverHold&) = delete;
    ObserverHold& operator=(const ObserverHold&) = delete;

    /// Keeps `call` for the end of the hold that the calling thread is in; false, and nothing is kept, when it is in none.
    [[nodiscard]] static bool defer(std::function<void()> call);
};

}  // namespace qlx
