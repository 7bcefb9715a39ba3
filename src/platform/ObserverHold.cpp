#include "platform/ObserverHold.h"

#include <utility>
#include <vector>

namespace qlx {

namespace {

thread_local int observerHolds = 0;
thread_local std::vector<std::function<void()>> deferredCalls;

}  // namespace

ObserverHold::ObserverHold() noexcept {
    ++observerHolds;
}

ObserverHold::~ObserverHold() {
    if (--observerHolds != 0) {
        return;
    }
    for (const std::function<void()>& call : std::exchange(deferredCalls, {})) {
        call();
    }
}

bool ObserverHold::defer(std::function<void()> call) {
    if (observerHolds == 0) {
        return false;
    }
    deferredCalls.push_back(std::move(call));
    return true;
}

}  // namespace qlx
