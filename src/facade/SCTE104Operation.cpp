#include "facade/SCTE104Operation.h"

#include "scte/Scte104Layout.h"

#include <algorithm>
#include <utility>

namespace qlx::scte104 {

namespace {

using scte::detail::FieldReader;
using scte::detail::FieldWriter;

/// An operation whose data come to `dataBytes` bytes.
template <class Value>
void writeOperation(std::uint8_t* bytes, const Value& value, std::size_t dataBytes) noexcept {
    FieldWriter writer(bytes);
    writer.number(Value::kOpId);
    writer.number(static_cast<std::uint16_t>(dataBytes));
    walk(writer, value);
}

/// None when there are too few data.
template <class Value>
std::optional<Value> readData(std::span<const std::uint8_t> data) {
    FieldReader reader(data, {});
    std::optional<Value> value(std::in_place);
    walk(reader, *value);
    if (reader.hasFailed()) {
        value.reset();
    }
    return value;
}

/// Deployed receivers look at the top bit of the cancel byte, and take any byte but 0 for true.
constexpr std::uint8_t kCancelled = 0x80;

}  // namespace

void SpliceRequest::write(std::uint8_t* bytes) const noexcept {
    writeOperation<scte::SpliceRequest>(bytes, *this, kDataBytes);
}

std::optional<SpliceRequest> SpliceRequest::read(std::span<const std::uint8_t> data) noexcept {
    // Behind auto_return_flag nothing is read, so that size() holds for what is read as well.
    const auto request = readData<scte::SpliceRequest>(data.first(std::min(data.size(), kDataBytes)));
    return request ? std::optional(SpliceRequest{*request}) : std::nullopt;
}

void SpliceNull::write(std::uint8_t* bytes) noexcept {
    writeOperation(bytes, scte::SpliceNullRequest(), 0);
}

void TimeSignal::write(std::uint8_t* bytes) const noexcept {
    writeOperation(bytes, scte::TimeSignalRequest{preRollTime}, kDataBytes);
}

std::optional<TimeSignal> TimeSignal::read(std::span<const std::uint8_t> data) noexcept {
    const auto request = readData<scte::TimeSignalRequest>(data);
    return request ? std::optional(TimeSignal{request->preRollMilliseconds}) : std::nullopt;
}

std::optional<InsertDescriptor> InsertDescriptor::read(std::span<const std::uint8_t> data) noexcept {
    if (data.empty()) {
        return std::nullopt;
    }
    constexpr std::size_t kFirstByte = 1;
    const std::size_t count = data[0];
    InsertDescriptor result;
    // Hosts expect nothing from an operation that is filled exactly, and the bytes from one with more data.
    if (data.size() > kFirstByte + count) {
        result.descriptor = data.subspan(kFirstByte, count);
    }
    return result;
}

std::optional<InsertDTMFDescriptor> InsertDTMFDescriptor::read(std::span<const std::uint8_t> data) noexcept {
    // Hosts expect the characters one byte behind their place, and so none from an operation that is filled exactly.
    constexpr std::size_t kFirstCharacter = 3;
    if (data.size() < kFirstCharacter) {
        return std::nullopt;
    }
    const std::size_t count = data[1];
    InsertDTMFDescriptor result{data[0], std::nullopt};
    if (data.size() >= kFirstCharacter + count) {
        result.characters = data.subspan(kFirstCharacter, count);
    }
    return result;
}

void SegmentationDescriptor::write(std::uint8_t* bytes) const {
    scte::InsertSegmentationDescriptorRequest request;
    request.eventId = eventID;
    request.cancel = cancel ? kCancelled : std::uint8_t{0};
    request.durationSeconds = duration;
    request.upidType = upidType;
    request.upid.assign(upid.begin(), upid.end());
    request.typeId = segmentationType;
    request.segmentNum = segmentNumber;
    request.segmentsExpected = segmentsExpected;
    request.durationExtensionFrames = durationExtensionFrames;
    request.deliveryNotRestricted = deliveryNotRestricted ? 1 : 0;
    request.webDeliveryAllowed = webDeliveryAllowed ? 1 : 0;
    request.noRegionalBlackout = noRegionalBlackout ? 1 : 0;
    request.archiveAllowed = archiveAllowed ? 1 : 0;
    request.deviceRestrictions = deviceRestrictions;
    writeOperation(bytes, request, kDataBytesWithoutUPID + upid.size());
}

std::optional<SegmentationDescriptor> SegmentationDescriptor::read(std::span<const std::uint8_t> data) {
    const auto request = readData<scte::InsertSegmentationDescriptorRequest>(data);
    if (!request) {
        return std::nullopt;
    }
    SegmentationDescriptor result;
    result.eventID = request->eventId;
    result.cancel = request->cancel != 0;
    result.duration = request->durationSeconds;
    result.upidType = request->upidType;
    result.upid.assign(request->upid.begin(), request->upid.end());
    result.segmentationType = request->typeId;
    result.segmentNumber = request->segmentNum;
    result.segmentsExpected = request->segmentsExpected;
    result.durationExtensionFrames = request->durationExtensionFrames;
    result.deliveryNotRestricted = request->deliveryNotRestricted != 0;
    result.webDeliveryAllowed = request->webDeliveryAllowed != 0;
    result.noRegionalBlackout = request->noRegionalBlackout != 0;
    result.archiveAllowed = request->archiveAllowed != 0;
    result.deviceRestrictions = request->deviceRestrictions;
    return result;
}

}  // namespace qlx::scte104
