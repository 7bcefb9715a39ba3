// The timeline: which record is due, and which kind of output it goes to.
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <qlx/playout/timeline.h>

#include "subtitles/SubtitleMode.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace {

using Records = std::vector<std::shared_ptr<QLXSubtitleRecord>>;

double startOf(const std::shared_ptr<QLXSubtitleRecord>& record) noexcept {
    return record->startTimeInSeconds();
}

/// True when the records of `list` from `first` on and then those of `added` stand in order; null entries of `added`
/// count for nothing.
bool areInOrder(const Records& list, std::size_t first, const Records& added) noexcept {
    double last = -std::numeric_limits<double>::infinity();
    const auto follows = [&last](const std::shared_ptr<QLXSubtitleRecord>& record) {
        if (!record) {
            return true;
        }
        const double start = startOf(record);
        return !qlx::playout::isEarlier(start, std::exchange(last, start));
    };
    return std::all_of(list.begin() + static_cast<std::ptrdiff_t>(first), list.end(), follows) &&
           std::all_of(added.begin(), added.end(), follows);
}

void appendRecords(Records& list, const Records& records) {
    list.reserve(list.size() + records.size());
    std::copy_if(records.begin(), records.end(), std::back_inserter(list),
                 [](const std::shared_ptr<QLXSubtitleRecord>& record) { return record != nullptr; });
}

}  // namespace

QLXSubtitlesPacketizer::QLXSubtitlesPacketizer(std::int32_t subtitleMode, bool isHD) noexcept
    : _subtitleMode(subtitleMode), _isHD(isHD) {}

QLXSubtitlesPacketizer::~QLXSubtitlesPacketizer() = default;

std::shared_ptr<QLXSubtitlesPacketizer> QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(std::int32_t subtitleMode,
                                                                                          bool isHD) {
    return std::shared_ptr<QLXSubtitlesPacketizer>(new QLXSubtitlesPacketizer(subtitleMode, isHD));
}

std::vector<std::shared_ptr<QLXSubtitleRecord>> QLXSubtitlesPacketizer::subtitleRecords() const {
    // Nobody changes the list while this is held, and frames only read it.
    const std::lock_guard changes(_changesMutex);
    return _subtitleRecords;
}

void QLXSubtitlesPacketizer::enterList(const Records& records) {
    for (const std::shared_ptr<QLXSubtitleRecord>& record : records) {
        if (record) {
            record->enterList();
        }
    }
}

// A new list is made, and the old one destroyed, while frames go on with the old one.

void QLXSubtitlesPacketizer::setSubtitleRecords(const std::vector<std::shared_ptr<QLXSubtitleRecord>>& records) {
    Records list;
    appendRecords(list, records);
    enterList(list);
    const std::uint64_t timeChanges = QLXSubtitleRecord::startTimeChanges();
    qlx::playout::sortByStart(list, startOf);
    const std::lock_guard changes(_changesMutex);
    const std::lock_guard lock(_recordsMutex);
    _subtitleRecords.swap(list);
    _sortedAtTimeChange = timeChanges;
}

void QLXSubtitlesPacketizer::addSubtitleRecords(const std::vector<std::shared_ptr<QLXSubtitleRecord>>& records) {
    Records list;
    enterList(records);
    const std::lock_guard changes(_changesMutex);
    const std::uint64_t timeChanges = QLXSubtitleRecord::startTimeChanges();
    // The times of records that are in the list may have been changed since: then all of them are looked at, else the
    // last one.
    const bool isSorted = !_subtitleRecords.empty() && _sortedAtTimeChange == timeChanges;
    if (areInOrder(_subtitleRecords, isSorted ? _subtitleRecords.size() - 1 : 0, records)) {
        const std::lock_guard lock(_recordsMutex);
        std::copy_if(records.begin(), records.end(), std::back_inserter(_subtitleRecords),
                     [](const std::shared_ptr<QLXSubtitleRecord>& record) { return record != nullptr; });
        _sortedAtTimeChange = timeChanges;
        return;
    }
    list.reserve(_subtitleRecords.size() + records.size());
    list = _subtitleRecords;
    appendRecords(list, records);
    qlx::playout::sortByStart(list, startOf);
    const std::lock_guard lock(_recordsMutex);
    _subtitleRecords.swap(list);
    _sortedAtTimeChange = timeChanges;
}

void QLXSubtitlesPacketizer::deleteSubtitleRecords() {
    Records list;
    const std::lock_guard changes(_changesMutex);
    const std::lock_guard lock(_recordsMutex);
    _subtitleRecords.swap(list);
}

std::shared_ptr<QLXSubtitleRecord> QLXSubtitlesPacketizer::subtitleAtIndex(std::uint64_t index) const {
    const std::lock_guard lock(_recordsMutex);
    return index < _subtitleRecords.size() ? _subtitleRecords[static_cast<std::size_t>(index)] : nullptr;
}

std::shared_ptr<QLXSubtitleRecord> QLXSubtitlesPacketizer::subtitleForTime(double seconds) {
    if (auto live = liveSubtitleRecordToDisplay()) {
        return live;
    }
    const std::lock_guard lock(_recordsMutex);
    const std::size_t count = _subtitleRecords.size();
    const auto index = static_cast<std::size_t>(_currentSubtitleRecordIndex);
    // The current record is due until its end, also before its start: hosts expect the first one from the beginning.
    if (index < count && _subtitleRecords[index]->endTimeInSeconds() > seconds) {
        return _subtitleRecords[index];
    }
    const std::size_t next = index + 1;
    if (next >= count || !(_subtitleRecords[next]->startTimeInSeconds() < seconds)) {
        return nullptr;
    }
    _currentSubtitleRecordIndex = next;
    return _subtitleRecords[next];
}

std::shared_ptr<qlx::SampleBuffer> QLXSubtitlesPacketizer::copyNextSubtitleSampleBufferAtPTS_frameDuration(
    const qlx::MediaTime& pts, const qlx::MediaTime& frameDuration) {
    switch (subtitleMode()) {
    case qlx::subtitles::kCEA608Mode:
        return copyNextCEA608SampleBufferAtPTS_frameDuration(pts, frameDuration);
    case qlx::subtitles::kTeletextMode:
        return copyNextTeletextSampleBufferAtPTS_frameDuration(pts, frameDuration);
    default:
        return nullptr;
    }
}
