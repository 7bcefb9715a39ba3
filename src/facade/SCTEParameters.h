// SCTE-104 operations as parameter dictionaries, both ways.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include "facade/SCTE104Operation.h"

#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <utility>

namespace qlx::scte {

/// What is missing where a number is required: it fails every upper bound.
inline constexpr std::uint64_t kMissingNumber = std::numeric_limits<std::uint64_t>::max();

/// What a splice request is asked for, not checked yet.
struct SpliceRequestValues {
    std::uint64_t spliceType = 0;
    std::uint64_t eventID = kMissingNumber;
    std::uint64_t programUniqueID = kMissingNumber;
    std::uint16_t duration = 0;
    bool autoReturn = false;
    std::uint16_t preRoll = 0;
};

// Each of these fills `result` and gives an empty text, or gives the error.

[[nodiscard]] inline std::string_view checkSpliceRequest(const SpliceRequestValues& values,
                                                         scte104::SpliceRequest& result) noexcept {
    if (values.spliceType == 0 || !std::in_range<std::uint8_t>(values.spliceType)) {
        return "Invalid or missing splice Type";
    }
    if (!std::in_range<std::uint32_t>(values.eventID)) {
        return "Invalid or missing event ID";
    }
    if (!std::in_range<std::uint16_t>(values.programUniqueID)) {
        return "Invalid or missing program unique ID";
    }
    result.type = static_cast<SpliceInsertType>(values.spliceType);
    result.eventId = static_cast<std::uint32_t>(values.eventID);
    result.uniqueProgramId = static_cast<std::uint16_t>(values.programUniqueID);
    result.preRollMilliseconds = values.preRoll;
    result.breakDurationTenths = values.duration;
    result.autoReturn = values.autoReturn ? 1 : 0;
    return {};
}

[[nodiscard]] std::string_view readSpliceRequest(const Dictionary& parameters, scte104::SpliceRequest& result);
[[nodiscard]] std::string_view readSegmentationDescriptor(const Dictionary& parameters,
                                                          scte104::SegmentationDescriptor& result);

[[nodiscard]] scte104::TimeSignal readTimeSignal(const Dictionary& parameters) noexcept;

/// Adds the parameters of an operation with these data; false when the data are too short for it.
[[nodiscard]] bool addOperation(Dictionary& parameters, std::uint16_t operationID, std::span<const std::uint8_t> data);

}  // namespace qlx::scte
