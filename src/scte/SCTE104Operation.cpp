#include "scte/SCTE104Operation.h"

#include "base/Bytes.h"

#include <algorithm>

namespace qlx::scte104 {

namespace {

void writeOperationHeader(std::uint8_t* bytes, std::uint16_t operationID, std::size_t dataBytes) noexcept {
    storeBig(bytes, operationID);
    storeBig(bytes + 2, static_cast<std::uint16_t>(dataBytes));
}

/// Deployed receivers look at the top bit of the cancel byte, and take any byte but 0 for true.
constexpr std::uint8_t kCancelled = 0x80;

}  // namespace

void SpliceRequest::write(std::uint8_t* bytes) const noexcept {
    writeOperationHeader(bytes, kSpliceRequestID, kDataBytes);
    std::uint8_t* const data = bytes + kOperationHeaderBytes;
    data[0] = spliceInsertType;
    storeBig(data + 1, spliceEventID);
    storeBig(data + 5, uniqueProgramID);
    storeBig(data + 7, preRollTime);
    storeBig(data + 9, breakDuration);
    data[11] = availNum;
    data[12] = availsExpected;
    data[13] = autoReturn ? 1 : 0;
}

std::optional<SpliceRequest> SpliceRequest::read(std::span<const std::uint8_t> data) noexcept {
    ByteReader reader(data);
    SpliceRequest request;
    request.spliceInsertType = reader.take<std::uint8_t>();
    request.spliceEventID = reader.take<std::uint32_t>();
    request.uniqueProgramID = reader.take<std::uint16_t>();
    request.preRollTime = reader.take<std::uint16_t>();
    request.breakDuration = reader.take<std::uint16_t>();
    request.availNum = reader.take<std::uint8_t>();
    request.availsExpected = reader.take<std::uint8_t>();
    request.autoReturn = reader.take<std::uint8_t>() != 0;
    return reader.failed() ? std::nullopt : std::optional(request);
}

void SpliceNull::write(std::uint8_t* bytes) noexcept {
    writeOperationHeader(bytes, kSpliceNullID, 0);
}

void TimeSignal::write(std::uint8_t* bytes) const noexcept {
    writeOperationHeader(bytes, kTimeSignalID, kDataBytes);
    storeBig(bytes + kOperationHeaderBytes, preRollTime);
}

std::optional<TimeSignal> TimeSignal::read(std::span<const std::uint8_t> data) noexcept {
    ByteReader reader(data);
    const TimeSignal signal{reader.take<std::uint16_t>()};
    return reader.failed() ? std::nullopt : std::optional(signal);
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

void SegmentationDescriptor::write(std::uint8_t* bytes) const noexcept {
    writeOperationHeader(bytes, kInsertSegmentationDescriptorID, kDataBytesWithoutUPID + upid.size());
    std::uint8_t* const data = bytes + kOperationHeaderBytes;
    storeBig(data, eventID);
    data[4] = cancel ? kCancelled : 0;
    storeBig(data + 5, duration);
    data[7] = upidType;
    data[8] = static_cast<std::uint8_t>(upid.size());
    std::uint8_t* const rest = std::copy(upid.begin(), upid.end(), data + 9);
    rest[0] = segmentationType;
    rest[1] = segmentNumber;
    rest[2] = segmentsExpected;
    rest[3] = durationExtensionFrames;
    rest[4] = deliveryNotRestricted ? 1 : 0;
    rest[5] = webDeliveryAllowed ? 1 : 0;
    rest[6] = noRegionalBlackout ? 1 : 0;
    rest[7] = archiveAllowed ? 1 : 0;
    rest[8] = deviceRestrictions;
}

std::optional<SegmentationDescriptor> SegmentationDescriptor::read(std::span<const std::uint8_t> data) {
    ByteReader reader(data);
    const auto takeFlag = [&reader] { return reader.take<std::uint8_t>() != 0; };
    SegmentationDescriptor result;
    result.eventID = reader.take<std::uint32_t>();
    result.cancel = takeFlag();
    result.duration = reader.take<std::uint16_t>();
    result.upidType = reader.take<std::uint8_t>();
    const auto upidBytes = reader.takeBytes(reader.take<std::uint8_t>());
    result.upid.assign(upidBytes.begin(), upidBytes.end());
    result.segmentationType = reader.take<std::uint8_t>();
    result.segmentNumber = reader.take<std::uint8_t>();
    result.segmentsExpected = reader.take<std::uint8_t>();
    result.durationExtensionFrames = reader.take<std::uint8_t>();
    result.deliveryNotRestricted = takeFlag();
    result.webDeliveryAllowed = takeFlag();
    result.noRegionalBlackout = takeFlag();
    result.archiveAllowed = takeFlag();
    result.deviceRestrictions = reader.take<std::uint8_t>();
    return reader.failed() ? std::nullopt : std::optional(std::move(result));
}

}  // namespace qlx::scte104
