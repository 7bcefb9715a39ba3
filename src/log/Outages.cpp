#include "log/Outages.h"

#include "platform/Process.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>

namespace qlx::log {

namespace {

using SharedObserver = std::shared_ptr<const OutageObserver>;

struct Record {
    /// The lock is held.
    auto find(const std::string& path) {
        return std::find_if(status.underWay.begin(), status.underWay.end(),
                            [&path](const Outage& outage) { return outage.path == path; });
    }

    std::mutex mutex;
    Status status;
};

Record& record() {
    static auto* const records = new PerProcess<Record>;
    return records->get();
}

/// With it a forked child goes on.
SharedObserver& sharedObserver() {
    static auto* const observer = new SharedObserver;
    return *observer;
}

void tell(OutageEvent event, const Outage& outage) {
    const SharedObserver& shared = sharedObserver();
    SharedObserver observer;
    {
        const ForkedValuesLock lock;
        observer = shared;
    }
    if (observer) {
        (*observer)(event, outage);
    }
}

}  // namespace

void beginOutage(const Outage& outage) {
    {
        Record& mine = record();
        const std::lock_guard lock(mine.mutex);
        ++mine.status.outages;
        mine.status.linesLost += outage.linesLost;
        mine.status.underWay.push_back(outage);
    }
    tell(OutageEvent::Began, outage);
}

void loseLine(const std::string& path) {
    Record& mine = record();
    const std::lock_guard lock(mine.mutex);
    ++mine.status.linesLost;
    if (const auto found = mine.find(path); found != mine.status.underWay.end()) {
        ++found->linesLost;
    }
}

void loseLines(std::uint64_t count) {
    Record& mine = record();
    const std::lock_guard lock(mine.mutex);
    mine.status.linesLost += count;
}

void endOutage(const std::string& path) {
    Outage outage;
    {
        Record& mine = record();
        const std::lock_guard lock(mine.mutex);
        const auto found = mine.find(path);
        if (found == mine.status.underWay.end()) {
            return;
        }
        outage = std::move(*found);
        mine.status.underWay.erase(found);
    }
    tell(OutageEvent::Ended, outage);
}

Status status() {
    Record& mine = record();
    const std::lock_guard lock(mine.mutex);
    return mine.status;
}

void setOutageObserver(OutageObserver observer) {
    SharedObserver next = observer ? std::make_shared<const OutageObserver>(std::move(observer)) : nullptr;
    SharedObserver& shared = sharedObserver();
    // The former one is destroyed behind the lock.
    const ForkedValuesLock lock;
    shared.swap(next);
}

}  // namespace qlx::log
