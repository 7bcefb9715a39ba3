#include "streams/SplicePoints.h"

#include "io/Text.h"
#include "streams/SectionWords.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>

#include <algorithm>

namespace qlx::tool {

namespace {

/// Segmentation types that come in pairs of a start, an even number, and an end (ANSI/SCTE 35, table 23).
[[nodiscard]] constexpr bool isOfPair(std::uint8_t typeId) noexcept {
    const std::uint8_t start = typeId & 0xFEU;
    return start == 0x10 || (start >= 0x20 && start <= 0x26) || (start >= 0x30 && start <= 0x3E) ||
           (start >= 0x40 && start <= 0x46) || start == 0x50;
}

constexpr std::uint8_t kProgramStart = 0x10;
/// Ends a program in front of its end, which does not come any more.
constexpr std::uint8_t kProgramEarlyTermination = 0x12;

std::string segmentName(std::uint32_t eventId, std::uint8_t typeId) {
    return "segment " + std::to_string(eventId) + " " +
           QLXSCTEOperation::SCTESegmentationDescriptorTypeNameWithByte(typeId);
}

std::string tenthsInWords(std::uint64_t tenths) {
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

}  // namespace

void SplicePoints::take(const std::string& place, const scte::MultipleOperationMessage& message) {
    for (const scte::Operation& operation : message.operations) {
        if (const auto* const splice = std::get_if<scte::SpliceRequest>(&operation.data)) {
            takeSplice(place, *splice);
        } else if (const auto* const segment =
                       std::get_if<scte::InsertSegmentationDescriptorRequest>(&operation.data)) {
            takeSegment(place, *segment);
        }
    }
}

void SplicePoints::open(const Key& key, std::string name, bool endsByItself) {
    _ended.erase(key);
    if (endsByItself) {
        _timed[key] = std::move(name);
        _open.erase(key);
    } else {
        // Said again, it is the same one.
        _open.try_emplace(key, Open{_opened++, std::move(name)});
    }
}

void SplicePoints::close(const Key& key, const std::string& name) {
    const bool hasStart = _open.erase(key) + _timed.erase(key) > 0;
    // Said again, it is the same one.
    const bool isFirst = _ended.insert(key).second;
    if (!hasStart && isFirst) {
        _alone.push_back(name);
    }
}

void SplicePoints::cancelSplice(const std::string& place, std::uint32_t eventId) {
    const Key key{Kind::Splice, eventId, 0};
    add(place + ": event " + std::to_string(eventId) + " cancelled");
    _open.erase(key);
    _timed.erase(key);
}

void SplicePoints::addSplice(const std::string& place, const Splice& splice) {
    const std::string event = "event " + std::to_string(splice.eventId);
    const Key key{Kind::Splice, splice.eventId, 0};
    const bool hasDuration = splice.isOut && !splice.duration.empty();
    add(place + ": " + event + (splice.isOut ? " out" : " in") + splice.when +
        (hasDuration ? ", for " + splice.duration + (splice.returnsAlone ? ", returns by itself" : "")
                     : std::string()));
    if (splice.isOut) {
        open(key, event + ": out without in", splice.isTimed && splice.returnsAlone);
    } else {
        close(key, event + ": in without out");
    }
}

void SplicePoints::takeSplice(const std::string& place, const scte::SpliceRequest& request) {
    if (request.type == scte::SpliceInsertType::Cancel) {
        cancelSplice(place, request.eventId);
        return;
    }
    const bool isNormal =
        request.type == scte::SpliceInsertType::StartNormal || request.type == scte::SpliceInsertType::EndNormal;
    const bool isStart =
        request.type == scte::SpliceInsertType::StartNormal || request.type == scte::SpliceInsertType::StartImmediate;
    if (!isStart && !isNormal && request.type != scte::SpliceInsertType::EndImmediate) {
        return;
    }
    const bool isLater = isNormal && request.preRollMilliseconds != 0;
    addSplice(place, {request.eventId, isStart,
                      isLater ? " in " + std::to_string(request.preRollMilliseconds) + " ms" : std::string(" at once"),
                      request.breakDurationTenths != 0 ? tenthsInWords(request.breakDurationTenths) : std::string(),
                      request.autoReturn != 0, request.breakDurationTenths != 0});
}

void SplicePoints::cancelSegment(const std::string& place, std::uint32_t eventId) {
    add(place + ": segment " + std::to_string(eventId) + " cancelled");
    const auto isIt = [eventId](const auto& entry) {
        return entry.first.kind == Kind::Segment && entry.first.eventId == eventId;
    };
    std::erase_if(_open, isIt);
    std::erase_if(_timed, isIt);
}

void SplicePoints::addSegment(const std::string& place, std::uint32_t eventId, std::uint8_t typeId,
                              const std::string& duration, bool isTimed) {
    const auto start = static_cast<std::uint8_t>(typeId & 0xFEU);
    const std::string name = segmentName(eventId, typeId);
    add(place + ": " + name + (duration.empty() ? "" : ", for " + duration));
    if (typeId == kProgramEarlyTermination) {
        endEarly(eventId, name);
    }
    if (!isOfPair(typeId)) {
        return;
    }
    const Key key{Kind::Segment, eventId, start};
    if (typeId == start) {
        open(key, name + ": start without end", isTimed);
    } else {
        close(key, name + ": end without start");
    }
}

void SplicePoints::endEarly(std::uint32_t eventId, const std::string& name) {
    const Key key{Kind::Segment, eventId, kProgramStart};
    const bool hasStart = _open.contains(key) || _timed.contains(key);
    close(key, name + ": end without start");
    if (hasStart) {
        _alone.push_back(segmentName(eventId, kProgramStart) + ": ended early");
    }
}

void SplicePoints::takeSegment(const std::string& place, const scte::InsertSegmentationDescriptorRequest& request) {
    if (request.cancel != 0) {
        cancelSegment(place, request.eventId);
        return;
    }
    // Without seconds there is no duration, whatever frames are added to it.
    std::string duration;
    if (request.durationSeconds != 0) {
        duration = std::to_string(request.durationSeconds) + " s";
        duration += request.durationExtensionFrames != 0 ? " and " + counted(request.durationExtensionFrames, "frame")
                                                         : std::string();
    }
    addSegment(place, request.eventId, request.typeId, duration, !duration.empty());
}

void SplicePoints::take(const std::string& place, const scte::SpliceInfoSection& section) {
    if (const auto* const insert = std::get_if<scte::SpliceInsert>(&section.command)) {
        takeInsert(place, *insert, section.ptsAdjustment90k);
    }
    for (const scte::SpliceDescriptor& descriptor : section.descriptors) {
        const auto* const segment = std::get_if<scte::SegmentationDescriptor>(&descriptor.data);
        if (segment == nullptr) {
            continue;
        }
        if (segment->cancel) {
            cancelSegment(place, segment->eventId);
        } else {
            addSegment(place, segment->eventId, segment->typeId,
                       segment->duration90k ? ticksInWords(*segment->duration90k) : std::string(),
                       segment->duration90k.value_or(0) != 0);
        }
    }
}

void SplicePoints::takeInsert(const std::string& place, const scte::SpliceInsert& insert, std::uint64_t adjustment90k) {
    if (insert.cancel) {
        cancelSplice(place, insert.eventId);
        return;
    }
    const bool hasTime = !insert.immediate && insert.programSplice && insert.time.ticks90k;
    std::string when = insert.immediate ? " at once" : "";
    if (hasTime) {
        when = " at PTS " + std::to_string((*insert.time.ticks90k + adjustment90k) % (scte::kGreatestTicks + 1));
    }
    addSplice(place, {insert.eventId, insert.outOfNetwork, when,
                      insert.breakDuration ? ticksInWords(insert.breakDuration->ticks90k) : std::string(),
                      insert.breakDuration && insert.breakDuration->autoReturn,
                      insert.breakDuration && insert.breakDuration->ticks90k != 0});
}

std::vector<std::string> SplicePoints::lines() const {
    std::vector<std::string> lines = _lines;
    lines.insert(lines.end(), _alone.begin(), _alone.end());
    std::vector<const Open*> open;
    for (const auto& [key, one] : _open) {
        open.push_back(&one);
    }
    std::sort(open.begin(), open.end(), [](const Open* left, const Open* right) { return left->order < right->order; });
    for (const Open* const one : open) {
        lines.push_back(one->name);
    }
    return lines;
}

}  // namespace qlx::tool
