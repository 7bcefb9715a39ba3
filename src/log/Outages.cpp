#include "log/Outages.h"

#include "platform/Process.h"

#include <cstdint>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace qlx::log {

namespace {

using SharedObserver = std::shared_ptr<const OutageObserver>;

struct Record {
    /// The lock is held.
    auto find(const std::string& path) {
        const auto first = places.lower_bound(path);
        return first != places.end() && first->first == path ? first : places.end();
    }

    std::mutex mutex;
    std::uint64_t outages = 0;
    std::uint64_t linesLost = 0;
    std::list<Outage> underWay;
    std::multimap<std::string, std::list<Outage>::iterator>
        places;  ///< By path; of logs that write to the same, the first that began.
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
        ++mine.outages;
        mine.linesLost += outage.linesLost;
        mine.underWay.push_back(outage);
        mine.places.emplace(outage.path, std::prev(mine.underWay.end()));
    }
    tell(OutageEvent::Began, outage);
}

void loseLine(const std::string& path) {
    Record& mine = record();
    const std::lock_guard lock(mine.mutex);
    ++mine.linesLost;
    if (const auto found = mine.find(path); found != mine.places.end()) {
        ++found->second->linesLost;
    }
}

void loseLines(std::uint64_t count) {
    Record& mine = record();
    const std::lock_guard lock(mine.mutex);
    mine.linesLost += count;
}

void endOutage(const std::string& path) {
    Outage outage;
    {
        Record& mine = record();
        const std::lock_guard lock(mine.mutex);
        const auto found = mine.find(path);
        if (found == mine.places.end()) {
            return;
        }
        outage = std::move(*found->second);
        mine.underWay.erase(found->second);
        mine.places.erase(found);
    }
    tell(OutageEvent::Ended, outage);
}

Status status() {
    Record& mine = record();
    const std::lock_guard lock(mine.mutex);
    return {mine.outages, mine.linesLost, {mine.underWay.begin(), mine.underWay.end()}};
}

void setOutageObserver(OutageObserver observer) {
    SharedObserver next = observer ? std::make_shared<const OutageObserver>(std::move(observer)) : nullptr;
    SharedObserver& shared = sharedObserver();
    // The former one is destroyed behind the lock.
    const ForkedValuesLock lock;
    shared.swap(next);
}

}  // namespace qlx::log
