#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>

#include "facade/SCTE104Operation.h"
#include "facade/SCTENames.h"
#include "facade/SCTEParameters.h"

namespace {

namespace scte = qlx::scte;
namespace scte104 = qlx::scte104;

template <class Operation>
qlx::Data bytesOf(const Operation& operation) {
    return qlx::Data::make(operation.size(), [&operation](std::uint8_t* bytes) { operation.write(bytes); });
}

/// None, with the error where it was asked for.
qlx::Data failure(std::string_view error, std::optional<std::string>* errorDescription) {
    if (errorDescription) {
        *errorDescription = std::string(error);
    }
    return {};
}

/// The operation's bytes, or none when there is an error.
template <class Operation>
qlx::Data bytesOrError(std::string_view error, const Operation& operation,
                       std::optional<std::string>* errorDescription) {
    return error.empty() ? bytesOf(operation) : failure(error, errorDescription);
}

std::vector<std::string> namesOf(std::span<const scte::NamedCode> table) {
    std::vector<std::string> names;
    names.reserve(table.size());
    for (const scte::NamedCode& row : table) {
        names.emplace_back(row.name);
    }
    return names;
}

}  // namespace

qlx::Data QLXSCTEOperation::spliceRequestDataWithSpliceType_spliceEventID_programUniqueID_duration_autoReturn_preRoll(
    std::int32_t spliceType, std::uint64_t spliceEventID, std::uint64_t programUniqueID, std::uint16_t duration,
    bool autoReturn, std::uint16_t preRoll) {
    scte104::SpliceRequest request;
    const std::string_view error = scte::checkSpliceRequest(
        {static_cast<std::uint32_t>(spliceType), spliceEventID, programUniqueID, duration, autoReturn, preRoll},
        request);
    return bytesOrError(error, request, nullptr);
}

qlx::Data QLXSCTEOperation::spliceRequestDataWithParameters_errorDescription(
    const qlx::Dictionary& parameters, std::optional<std::string>* errorDescription) {
    scte104::SpliceRequest request;
    return bytesOrError(scte::readSpliceRequest(parameters, request), request, errorDescription);
}

qlx::Data QLXSCTEOperation::spliceNullRequestData() {
    return bytesOf(scte104::SpliceNull());
}

qlx::Data QLXSCTEOperation::timeSignalRequestDataWithPreRollTime(std::uint16_t preRollTime) {
    return bytesOf(scte104::TimeSignal{preRollTime});
}

qlx::Data QLXSCTEOperation::insertSegmentationDescriptorRequestDataWithParameters_errorDescription(
    const qlx::Dictionary& parameters, std::optional<std::string>* errorDescription) {
    scte104::SegmentationDescriptor descriptor;
    const std::string_view error = scte::readSegmentationDescriptor(parameters, descriptor);
    return bytesOrError(error, descriptor, errorDescription);
}

qlx::Data QLXSCTEOperation::SCTEOperationDataWithOperationType_parameters_errorDescription(
    std::int32_t operationType, const qlx::Dictionary& parameters, std::optional<std::string>* errorDescription) {
    switch (operationType) {
    case scte104::kSpliceRequestID:
        return spliceRequestDataWithParameters_errorDescription(parameters, errorDescription);
    case scte104::kSpliceNullID:
        return spliceNullRequestData();
    case scte104::kTimeSignalID:
        return bytesOf(scte::readTimeSignal(parameters));
    case scte104::kInsertSegmentationDescriptorID:
        return insertSegmentationDescriptorRequestDataWithParameters_errorDescription(parameters, errorDescription);
    default:
        return failure("Unsupported Operation Type", errorDescription);
    }
}

std::optional<qlx::Dictionary> QLXSCTEOperation::parametersOfSCTEOperationWithID_data(std::uint16_t operationID,
                                                                                      const qlx::Data& data) {
    qlx::Dictionary parameters;
    return scte::addOperation(parameters, operationID, data) ? std::optional(std::move(parameters)) : std::nullopt;
}

std::string QLXSCTEOperation::SCTEOperationNameWithID(std::uint16_t operationID) {
    return std::string(scte::operationName(operationID));
}

std::string QLXSCTEOperation::SCTESpliceInsertModeNameWithByte(std::uint8_t mode) {
    return std::string(scte::spliceInsertModeName(mode));
}

std::vector<std::string> QLXSCTEOperation::segmentationDescriptorTypeNames() {
    return namesOf(scte::segmentationTypes());
}

std::vector<std::string> QLXSCTEOperation::SCTE35UPIDTypeNames() {
    return namesOf(scte::upidTypes());
}

std::int32_t QLXSCTEOperation::segmentationDescriptorTypeWithName(std::string_view name) {
    return scte::segmentationTypeWithName(name);
}

std::uint8_t QLXSCTEOperation::SCTE35UPIDTypeWithName(std::string_view name) {
    return scte::upidTypeWithName(name);
}

std::string QLXSCTEOperation::SCTESegmentationDescriptorTypeNameWithByte(std::int32_t type) {
    return std::string(scte::segmentationTypeName(type));
}

std::string QLXSCTEOperation::SCTE35UPIDTypeNameWithByte(std::uint8_t type) {
    return std::string(scte::upidTypeName(type));
}
