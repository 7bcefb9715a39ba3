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

    /// Whether the calling thread is in a hold.
    [[nodiscard]] static bool isHeld() noexcept;
};

/// Observers that are added as long as one of these lives on a thread are of this library and run no code of the host but
/// its console: settings that change within a hold call them at once, so that what is logged behind the change has it.
class OwnObservers {
public:
    OwnObservers() noexcept;
    ~OwnObservers();
    OwnObservers(const OwnObservers&) = delete;
    OwnObservers& operator=(const OwnObservers&) = delete;

    /// Whether the calling thread adds such.
    [[nodiscard]] static bool areAdded() noexcept;
};

}  // namespace qlx
