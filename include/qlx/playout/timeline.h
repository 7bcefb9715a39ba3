// Cues in the order of their starts, and which of them are on air.
//
//     qlx::playout::Timeline<std::shared_ptr<const qlx::subtitles::Cue>> timeline;
//     timeline.add(cue);
//     for (std::int64_t frame = 0; frame < frames; ++frame) {
//         const qlx::MediaTime time = qlx::MediaTime::make(frame * 1001, 30000);
//         timeline.forEachOnAir(time, [](const auto& cue) { send(*cue); });
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace qlx::playout {

/// Whether it is a time at all: a number, or valid with a timescale.
template <class Time>
[[nodiscard]] constexpr bool isTime(const Time& time) noexcept {
    if constexpr (std::is_same_v<Time, MediaTime>) {
        return time.isValid() && time.timescale > 0;
    } else if constexpr (std::is_floating_point_v<Time>) {
        return time <= std::numeric_limits<Time>::infinity();
    } else {
        return true;
    }
}

/// Whether a time is earlier than another. A number that is none comes behind all others, so that there is an order.
template <class Time>
[[nodiscard]] constexpr bool isEarlier(const Time& left, const Time& right) noexcept {
    if constexpr (std::is_floating_point_v<Time>) {
        return left < right || (!isTime(right) && isTime(left));
    } else {
        return left < right;
    }
}

/// Exact, whatever the timescales; epochs do not count. A time that is not valid, or without a timescale, comes behind
/// all others.
[[nodiscard]] constexpr bool isEarlier(const MediaTime& left, const MediaTime& right) noexcept {
    if (!isTime(left) || !isTime(right)) {
        return isTime(left);
    }
    // Whole units first, then what is left: neither overflows.
    const auto floor = [](const MediaTime& time) {
        return time.value / time.timescale - (time.value % time.timescale < 0 ? 1 : 0);
    };
    const std::int64_t leftUnits = floor(left);
    const std::int64_t rightUnits = floor(right);
    if (leftUnits != rightUnits) {
        return leftUnits < rightUnits;
    }
    const auto rest = [](const MediaTime& time) {
        const std::int64_t part = time.value % time.timescale;
        return part < 0 ? part + time.timescale : part;
    };
    return rest(left) * right.timescale < rest(right) * left.timescale;
}

/// Puts these in the order of their starts; those that start together stay as they are. Linear where they are in order.
/// @param startOf Gives the start of one; called once for each, so that a start that changes meanwhile does no harm.
template <class Handle, class StartOf>
void sortByStart(std::vector<Handle>& handles, const StartOf& startOf) {
    using Start = std::remove_cvref_t<decltype(startOf(handles.front()))>;
    struct Entry {
        Start start;
        Handle handle;
    };
    std::vector<Entry> entries;
    entries.reserve(handles.size());
    for (Handle& handle : handles) {
        Start start = startOf(handle);
        entries.push_back({std::move(start), std::move(handle)});
    }
    const auto startsEarlier = [](const Entry& left, const Entry& right) { return isEarlier(left.start, right.start); };
    if (!std::is_sorted(entries.begin(), entries.end(), startsEarlier)) {
        std::stable_sort(entries.begin(), entries.end(), startsEarlier);
    }
    std::transform(entries.begin(), entries.end(), handles.begin(),
                   [](Entry& entry) { return std::move(entry.handle); });
}

/// The times of a cue that a handle points to: members `start` and `end`.
struct PointedTimes {
    /// When it appears.
    template <class Handle>
    [[nodiscard]] auto start(const Handle& handle) const {
        return handle->start;
    }
    /// When it goes.
    template <class Handle>
    [[nodiscard]] auto end(const Handle& handle) const {
        return handle->end;
    }
};

/// Cues by handles, in the order of their starts. A cue is on air from its start on, and no more at its end; one whose
/// end is not later than its start never is, one whose end is no time stays. Times are taken when a cue is added, and not
/// looked at again.
///
/// Adding in order takes the same time however many there are; adding before others, the time to move them. Looking up
/// takes logarithmic time, and that of the cues between the earliest on air and the moment.
/// @tparam Handle What is kept and given: a pointer, an index, a cue.
/// @tparam Times start(handle) and end(handle) give times that isEarlier() knows.
template <class Handle, class Times = PointedTimes>
class Timeline {
public:
    /// What the times are.
    using Time = std::remove_cvref_t<decltype(std::declval<const Times&>().start(std::declval<const Handle&>()))>;

    /// Empty.
    explicit Timeline(Times times = {}) : _times(std::move(times)) {}

    /// Takes a cue, behind those that start no later. One whose start is no time (not a number, not valid) stands behind
    /// all others, and is never on air.
    void add(Handle handle) {
        Time start = _times.start(handle);
        Time end = _times.end(handle);
        const auto place =
            std::upper_bound(_entries.begin(), _entries.end(), start,
                             [](const Time& time, const Entry& entry) { return isEarlier(time, entry.start); });
        const auto index = static_cast<std::size_t>(place - _entries.begin());
        Time latest = index > 0 && isEarlier(end, _entries[index - 1].latestEnd) ? _entries[index - 1].latestEnd : end;
        _entries.insert(place, Entry{std::move(start), end, std::move(latest), std::move(handle)});
        for (std::size_t next = index + 1; next < _entries.size() && isEarlier(_entries[next].latestEnd, end); ++next) {
            _entries[next].latestEnd = end;
        }
    }

    /// Forgets all of them.
    void clear() noexcept { _entries.clear(); }

    /// How many there are.
    [[nodiscard]] std::size_t size() const noexcept { return _entries.size(); }
    /// Whether there is none.
    [[nodiscard]] bool empty() const noexcept { return _entries.empty(); }
    /// One in the order of the starts; `index` is below size().
    [[nodiscard]] const Handle& operator[](std::size_t index) const noexcept { return _entries[index].handle; }

    /// Calls `take(handle)` for every cue that is on air at a moment, the one that started first in front.
    template <class Take>
    void forEachOnAir(const Time& time, Take&& take) const {
        for (std::size_t index = firstOnAir(time), end = started(time); index < end; ++index) {
            if (isEarlier(time, _entries[index].end)) {
                take(_entries[index].handle);
            }
        }
    }

    /// The cue that started last of those on air at a moment; null when there is none.
    [[nodiscard]] const Handle* onAir(const Time& time) const {
        for (std::size_t index = started(time), first = firstOnAir(time); index > first; --index) {
            if (isEarlier(time, _entries[index - 1].end)) {
                return &_entries[index - 1].handle;
            }
        }
        return nullptr;
    }

    /// The first moment behind this one at which a cue appears or goes; none when nothing changes any more.
    [[nodiscard]] std::optional<Time> nextChange(const Time& time) const {
        std::optional<Time> next;
        const auto take = [&next](const Time& change) {
            if (!next || isEarlier(change, *next)) {
                next = change;
            }
        };
        const std::size_t behind = started(time);
        for (std::size_t index = firstOnAir(time); index < behind; ++index) {
            if (isTime(_entries[index].end) && isEarlier(time, _entries[index].end)) {
                take(_entries[index].end);
            }
        }
        for (std::size_t index = behind; index < _entries.size(); ++index) {
            // What ends with its start never appears.
            if (isEarlier(_entries[index].start, _entries[index].end)) {
                take(_entries[index].start);
                break;
            }
        }
        return next;
    }

private:
    struct Entry {
        Time start;
        Time end;
        Time latestEnd;  ///< Of this one and all in front of it.
        Handle handle;
    };

    /// How many have started.
    [[nodiscard]] std::size_t started(const Time& time) const {
        return static_cast<std::size_t>(
            std::upper_bound(_entries.begin(), _entries.end(), time,
                             [](const Time& moment, const Entry& entry) { return isEarlier(moment, entry.start); }) -
            _entries.begin());
    }

    /// In front of this one nothing is on air any more.
    [[nodiscard]] std::size_t firstOnAir(const Time& time) const {
        return static_cast<std::size_t>(
            std::partition_point(_entries.begin(), _entries.end(),
                                 [&time](const Entry& entry) { return !isEarlier(time, entry.latestEnd); }) -
            _entries.begin());
    }

    Times _times;
    std::vector<Entry> _entries;
};

}  // namespace qlx::playout
