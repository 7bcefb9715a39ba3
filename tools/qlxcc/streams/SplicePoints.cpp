#include "streams/SplicePoints.h"

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
    if (endsByItself) {
        _timed[key] = std::move(name);
        _open.erase(key);
    } else {
        // Said again, it is the same one.
        _open.try_emplace(key, Open{_opened++, std::move(name)});
    }
}

void SplicePoints::close(const Key& key, const std::string& name) {
    if (_open.erase(key) == 0 && _timed.erase(key) == 0) {
        _alone.push_back(name);
    }
}

void SplicePoints::takeSplice(const std::string& place, const scte::SpliceRequest& request) {
    const std::string event = "event " + std::to_string(request.eventId);
    const Key key{Kind::Splice, request.eventId, 0};
    const bool isStart =
        request.type == scte::SpliceInsertType::StartNormal || request.type == scte::SpliceInsertType::StartImmediate;
    const bool isEnd =
        request.type == scte::SpliceInsertType::EndNormal || request.type == scte::SpliceInsertType::EndImmediate;
    if (request.type == scte::SpliceInsertType::Cancel) {
        add(place + ": " + event + " cancelled");
        _open.erase(key);
        _timed.erase(key);
        return;
    }
    if (!isStart && !isEnd) {
        return;
    }
    const bool isNormal =
        request.type == scte::SpliceInsertType::StartNormal || request.type == scte::SpliceInsertType::EndNormal;
    std::string line = place + ": " + event + (isStart ? " out" : " in");
    line += isNormal && request.preRollMilliseconds != 0 ? " in " + std::to_string(request.preRollMilliseconds) + " ms"
                                                         : " at once";
    if (isStart && request.breakDurationTenths != 0) {
        line += ", for " + tenthsInWords(request.breakDurationTenths);
        line += request.autoReturn != 0 ? ", returns by itself" : "";
    }
    add(std::move(line));
    if (isStart) {
        open(key, event + ": out without in", request.breakDurationTenths != 0 && request.autoReturn != 0);
    } else {
        close(key, event + ": in without out");
    }
}

void SplicePoints::takeSegment(const std::string& place, const scte::InsertSegmentationDescriptorRequest& request) {
    const std::string segment = "segment " + std::to_string(request.eventId);
    const auto start = static_cast<std::uint8_t>(request.typeId & 0xFEU);
    if (request.cancel != 0) {
        add(place + ": " + segment + " cancelled");
        const auto isIt = [&request](const auto& entry) {
            return entry.first.kind == Kind::Segment && entry.first.eventId == request.eventId;
        };
        std::erase_if(_open, isIt);
        std::erase_if(_timed, isIt);
        return;
    }
    const std::string name =
        segment + " " + QLXSCTEOperation::SCTESegmentationDescriptorTypeNameWithByte(request.typeId);
    add(place + ": " + name +
        (request.durationSeconds != 0 ? ", for " + std::to_string(request.durationSeconds) + " s" : std::string()));
    if (!isOfPair(request.typeId)) {
        return;
    }
    const Key key{Kind::Segment, request.eventId, start};
    if (request.typeId == start) {
        open(key, name + ": start without end", request.durationSeconds != 0);
    } else {
        close(key, name + ": end without start");
    }
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
