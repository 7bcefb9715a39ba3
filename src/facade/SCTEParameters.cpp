#include "facade/SCTEParameters.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include "facade/SCTENames.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace qlx::scte {

namespace {

constexpr std::uint64_t kMaxByte = 0xFF;
constexpr std::uint64_t kMaxUInt16 = 0xFFFF;
constexpr std::uint64_t kMaxUInt32 = 0xFFFF'FFFF;

/// A UPID from kFirstCutLength characters on is cut to kCutLength; one of 64 is kept, as hosts expect.
constexpr std::size_t kFirstCutLength = 65;
constexpr std::size_t kCutLength = 63;

constexpr std::uint8_t kDefaultDeviceRestrictions = 3;

/// The value of `key`; a null value counts as absent.
const Value* valueOf(const Dictionary& parameters, std::string_view key) noexcept {
    const Value* const value = parameters.find(key);
    return value && !value->isNull() ? value : nullptr;
}

std::uint64_t numberOf(const Dictionary& parameters, std::string_view key, std::uint64_t otherwise = 0) noexcept {
    const Value* const value = valueOf(parameters, key);
    return value ? static_cast<std::uint64_t>(value->integerValue()) : otherwise;
}

bool flagOf(const Dictionary& parameters, std::string_view key) noexcept {
    const Value* const value = valueOf(parameters, key);
    return value && value->boolValue();
}

/// Reads an 8-bit field into `field`; false when the number does not fit.
bool readByte(const Dictionary& parameters, std::string_view key, std::uint8_t& field, std::uint64_t otherwise = 0) {
    const std::uint64_t number = numberOf(parameters, key, otherwise);
    field = static_cast<std::uint8_t>(number);
    return number <= kMaxByte;
}

template <class Bytes>
bool isASCII(const Bytes& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](auto byte) { return static_cast<std::uint8_t>(byte) < 0x80; });
}

/// The bytes of a UPID: a long one is cut first, one that is not ASCII is empty.
std::string upidBytes(std::string text) {
    if (text.size() >= kFirstCutLength && utf16Length(text) >= kFirstCutLength) {
        // The first characters are ASCII exactly when as many bytes are.
        text.resize(kCutLength);
    }
    return isASCII(text) ? text : std::string();
}

/// The bytes as text; none when they are not ASCII.
std::optional<std::string> asciiText(std::span<const std::uint8_t> bytes) {
    return isASCII(bytes) ? std::optional<std::string>(std::in_place, bytes.begin(), bytes.end()) : std::nullopt;
}

// Keys are stored in ascending order where possible: each then goes to the dictionary's end.

bool addSpliceRequest(Dictionary& parameters, std::span<const std::uint8_t> data) {
    const auto request = scte104::SpliceRequest::read(data);
    if (!request) {
        return false;
    }
    parameters.set("autoReturn", request->autoReturn != 0);
    parameters.set("availNum", request->availNum);
    parameters.set("availsExpected", request->availsExpected);
    parameters.set("breakDuration", request->breakDurationTenths);
    parameters.set("operationID", operationName(scte104::kSpliceRequestID));
    parameters.set("preRollTime", request->preRollMilliseconds);
    parameters.set("spliceEventID", request->eventId);
    parameters.set("spliceInsertType", static_cast<std::uint8_t>(request->type));
    parameters.set("spliceInsertTypeName", spliceInsertModeName(static_cast<std::uint8_t>(request->type)));
    parameters.set("uniqueProgramID", request->uniqueProgramId);
    return true;
}

bool addTimeSignal(Dictionary& parameters, std::span<const std::uint8_t> data) {
    const auto signal = scte104::TimeSignal::read(data);
    if (!signal) {
        return false;
    }
    parameters.set("operationID", operationName(scte104::kTimeSignalID));
    parameters.set("preRollTime", signal->preRollTime);
    return true;
}

bool addDescriptor(Dictionary& parameters, std::span<const std::uint8_t> data) {
    const auto insertion = scte104::InsertDescriptor::read(data);
    if (!insertion) {
        return false;
    }
    if (insertion->descriptor) {
        parameters.set("descriptorData", Data(*insertion->descriptor));
    }
    parameters.set("operationID", operationName(scte104::kInsertDescriptorID));
    return true;
}

bool addDTMFDescriptor(Dictionary& parameters, std::span<const std::uint8_t> data) {
    const auto insertion = scte104::InsertDTMFDescriptor::read(data);
    if (!insertion) {
        return false;
    }
    if (insertion->characters) {
        if (auto text = asciiText(*insertion->characters)) {
            parameters.set("DTMFString", *std::move(text));
        }
    }
    parameters.set("operationID", operationName(scte104::kInsertDTMFDescriptorID));
    parameters.set("preRoll", insertion->preRoll);
    return true;
}

bool addSegmentationDescriptor(Dictionary& parameters, std::span<const std::uint8_t> data) {
    auto descriptor = scte104::SegmentationDescriptor::read(data);
    if (!descriptor) {
        return false;
    }
    if (isASCII(descriptor->upid)) {
        parameters.set("UPID", std::move(descriptor->upid));
    }
    parameters.set("UPIDType", descriptor->upidType);
    parameters.set("UPIDTypeName", upidTypeName(descriptor->upidType));
    parameters.set("archiveAllowed", descriptor->archiveAllowed);
    parameters.set("cancel", descriptor->cancel);
    parameters.set("deliveryNotRestricted", descriptor->deliveryNotRestricted);
    parameters.set("deviceRestrictions", descriptor->deviceRestrictions);
    parameters.set("duration", descriptor->duration);
    parameters.set("durationExtensionFrames", descriptor->durationExtensionFrames);
    parameters.set("eventID", descriptor->eventID);
    parameters.set("noRegionalBlackout", descriptor->noRegionalBlackout);
    parameters.set("operationID", operationName(scte104::kInsertSegmentationDescriptorID));
    parameters.set("segmentNumber", descriptor->segmentNumber);
    parameters.set("segmentationType", descriptor->segmentationType);
    parameters.set("segmentationTypeName", segmentationTypeName(descriptor->segmentationType));
    parameters.set("segmentsExpected", descriptor->segmentsExpected);
    parameters.set("webDeliveryAllowed", descriptor->webDeliveryAllowed);
    return true;
}

}  // namespace

std::string_view readSpliceRequest(const Dictionary& parameters, scte104::SpliceRequest& result) {
    SpliceRequestValues values;
    values.spliceType = numberOf(parameters, "spliceType");
    values.eventID = numberOf(parameters, "eventID", kMissingNumber);
    values.programUniqueID = numberOf(parameters, "programUniqueID", kMissingNumber);
    values.duration = static_cast<std::uint16_t>(numberOf(parameters, "duration"));
    values.autoReturn = flagOf(parameters, "autoReturn");
    values.preRoll = static_cast<std::uint16_t>(numberOf(parameters, "preRoll"));
    return checkSpliceRequest(values, result);
}

std::string_view readSegmentationDescriptor(const Dictionary& parameters, scte104::SegmentationDescriptor& result) {
    result.segmentationType = static_cast<std::uint8_t>(numberOf(parameters, "segmentationType"));
    if (result.segmentationType == 0) {
        return "Invalid Segmentation Type";
    }
    const std::uint64_t eventID = numberOf(parameters, "eventID");
    if (eventID == 0 || eventID > kMaxUInt32) {
        return "Invalid Event ID";
    }
    result.eventID = static_cast<std::uint32_t>(eventID);
    const std::uint64_t duration = numberOf(parameters, "duration");
    if (duration > kMaxUInt16) {
        return "Invalid Duration";
    }
    result.duration = static_cast<std::uint16_t>(duration);
    if (!readByte(parameters, "segmentNumber", result.segmentNumber)) {
        return "Invalid Segment Number";
    }
    if (!readByte(parameters, "segmentsExpected", result.segmentsExpected)) {
        return "Invalid Segments Expected Number";
    }
    if (!readByte(parameters, "durationExtensionFrames", result.durationExtensionFrames)) {
        return "Invalid Duration Extension Frames";
    }
    result.cancel = flagOf(parameters, "cancel");
    result.deliveryNotRestricted = flagOf(parameters, "deliveryNotRestricted");
    result.webDeliveryAllowed = flagOf(parameters, "webDeliveryAllowed");
    result.noRegionalBlackout = flagOf(parameters, "noRegionalBlackout");
    result.archiveAllowed = flagOf(parameters, "archiveAllowed");
    if (!readByte(parameters, "deviceRestrictions", result.deviceRestrictions, kDefaultDeviceRestrictions)) {
        return "Invalid Device Restrictions";
    }
    if (!readByte(parameters, "UPIDType", result.upidType)) {
        return "Invalid UPID Type";
    }
    const Value* const upid = valueOf(parameters, "UPID");
    auto text = upid ? upid->stringValue() : std::nullopt;
    if (!text) {
        return "UPID is missing";
    }
    result.upid = upidBytes(*std::move(text));
    return {};
}

scte104::TimeSignal readTimeSignal(const Dictionary& parameters) noexcept {
    return {static_cast<std::uint16_t>(numberOf(parameters, "preRollTime"))};
}

bool addOperation(Dictionary& parameters, std::uint16_t operationID, std::span<const std::uint8_t> data) {
    switch (operationID) {
    case scte104::kSpliceRequestID:
        return addSpliceRequest(parameters, data);
    case scte104::kTimeSignalID:
        return addTimeSignal(parameters, data);
    case scte104::kInsertDescriptorID:
        return addDescriptor(parameters, data);
    case scte104::kInsertDTMFDescriptorID:
        return addDTMFDescriptor(parameters, data);
    case scte104::kInsertSegmentationDescriptorID:
        return addSegmentationDescriptor(parameters, data);
    default:
        parameters.set("operationID", operationName(operationID));
        return true;
    }
}

}  // namespace qlx::scte
