#include "platform/ObserverHold.h"

#include <memory>
#include <utility>
#include <vector>

namespace qlx {

namespace {

thread_local int observerHolds = 0;
thread_local int ownObservers = 0;
/// Nothing that is destroyed with its thread: objects of the program that go later may log.
thread_local std::vector<std::function<void()>>* deferredCalls = nullptr;

}  // namespace

ObserverHold::ObserverHold() noexcept {
    ++observerHolds;
}

ObserverHold::~ObserverHold() {
    if (--observerHolds != 0) {
        return;
    }
    const std::unique_ptr<std::vector<std::function<void()>>> calls(std::exchange(deferredCalls, nullptr));
    if (!calls) {
        return;
    }
    for (const std::function<void()>& call : *calls) {
        call();
    }
}

bool ObserverHold::isHeld() noexcept {
    return observerHolds != 0;
}

OwnObservers::OwnObservers() noexcept {
    ++ownObservers;
}

OwnObservers::~OwnObservers() {
    --ownObservers;
}

bool OwnObservers::areAdded() noexcept {
    return ownObservers != 0;
}

bool ObserverHold::defer(std::function<void()> call) {
    if (observerHolds == 0) {
        return false;
    }
    if (deferredCalls == nullptr) {
        deferredCalls = std::make_unique<std::vector<std::function<void()>>>().release();
    }
    deferredCalls->push_back(std::move(call));
    return true;
}

}  // namespace qlx
