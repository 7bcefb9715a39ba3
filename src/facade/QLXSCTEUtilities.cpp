#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>
#include <qlx/base/section_crc.h>

#include "facade/SCTE104Message.h"
#include "facade/SCTE104Operation.h"
#include "facade/SCTEParameters.h"
#include "facade/SpliceInfoSection.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>

namespace {

namespace scte = qlx::scte;
namespace scte104 = qlx::scte104;
namespace scte35 = qlx::scte35;

/// num_ops has one byte, and does not wrap around.
constexpr std::size_t kMaxNumberOfOperations = 255;

/// Messages that are made for one operation.
constexpr std::uint8_t kSingleMessageNumber = 1;

/// The header and one operation.
template <class Operation>
qlx::Data messageWith(const scte104::Header& header, const Operation& operation) {
    return qlx::Data::make(scte104::kHeaderBytes + operation.size(), [&](std::uint8_t* bytes) {
        scte104::writeHeader(bytes, header);
        operation.write(bytes + scte104::kHeaderBytes);
    });
}

template <class Piece>
qlx::Data pieceBytes(const Piece& piece) {
    return qlx::Data::make(piece.size(), [&piece](std::uint8_t* bytes) { piece.write(bytes); });
}

}  // namespace

std::uint32_t mpegCRC32(const std::uint8_t* bytes, std::uint64_t count) noexcept {
    return qlx::sectionCRC32({bytes, static_cast<std::size_t>(count)});
}

qlx::Data QLXSCTEUtilities::SCTEHeaderWithMessageSize_messageNumber_numberOfOperations_asIndex_dpiPID(
    std::uint64_t messageSize, std::uint8_t messageNumber, std::uint64_t numberOfOperations, std::uint8_t asIndex,
    std::uint16_t dpiPID) {
    const scte104::Header header{messageSize, messageNumber, numberOfOperations, asIndex, dpiPID};
    return qlx::Data::make(scte104::kHeaderBytes,
                           [&header](std::uint8_t* bytes) { scte104::writeHeader(bytes, header); });
}

qlx::Data QLXSCTEUtilities::SCTE104SpliceNullRequestDataWithASIndex_dpiPID(std::uint8_t asIndex, std::uint16_t dpiPID) {
    // The operation's length instead of the message's: deployed receivers expect it in this message alone.
    constexpr std::uint64_t kMessageSize = scte104::SpliceNull::size();
    return messageWith({kMessageSize, kSingleMessageNumber, 1, asIndex, dpiPID}, scte104::SpliceNull());
}

qlx::Data QLXSCTEUtilities::
    SCTE104SpliceInsertDataWithSpliceType_asIndex_dpiPID_spliceEventID_programUniqueID_duration_autoReturn_preRoll(
        std::int32_t spliceType, std::uint8_t asIndex, std::uint16_t dpiPID, std::uint64_t spliceEventID,
        std::uint64_t programUniqueID, std::uint16_t duration, bool autoReturn, std::uint16_t preRoll) {
    constexpr std::uint64_t kMessageSize = scte104::kCountedHeaderBytes + scte104::SpliceRequest::size();
    scte104::SpliceRequest request;
    const std::string_view error = scte::checkSpliceRequest(
        {static_cast<std::uint32_t>(spliceType), spliceEventID, programUniqueID, duration, autoReturn, preRoll},
        request);
    if (!error.empty()) {
        // Hosts expect the header of the message that could not be completed.
        return SCTEHeaderWithMessageSize_messageNumber_numberOfOperations_asIndex_dpiPID(
            kMessageSize, kSingleMessageNumber, 1, asIndex, dpiPID);
    }
    return messageWith({kMessageSize, kSingleMessageNumber, 1, asIndex, dpiPID}, request);
}

qlx::Data QLXSCTEUtilities::SCTE104MultiMessageDataWithOperations_messageNumber_asIndex_dpiPID(
    const std::vector<qlx::Data>& operations, std::uint8_t messageNumber, std::uint8_t asIndex, std::uint16_t dpiPID) {
    std::size_t operationBytes = 0;
    for (const qlx::Data& operation : operations) {
        operationBytes += operation.size();
    }
    return qlx::Data::make(scte104::kHeaderBytes + operationBytes, [&](std::uint8_t* bytes) {
        scte104::writeHeader(bytes, {scte104::kCountedHeaderBytes + operationBytes, messageNumber,
                                     std::min(operations.size(), kMaxNumberOfOperations), asIndex, dpiPID});
        std::uint8_t* place = bytes + scte104::kHeaderBytes;
        for (const qlx::Data& operation : operations) {
            place = std::copy(operation.begin(), operation.end(), place);
        }
    });
}

std::vector<qlx::Dictionary> QLXSCTEUtilities::operationsWithSCTEMessageData(const qlx::Data& messageData) {
    std::vector<qlx::Dictionary> operations;
    scte104::MessageReader reader(messageData);
    while (const auto operation = reader.next()) {
        qlx::Dictionary parameters;
        parameters.set("asIndex", reader.asIndex());
        parameters.set("dpiPID", reader.dpiPID());
        parameters.set("messageNumber", reader.messageNumber());
        if (scte::addOperation(parameters, operation->operationID, operation->data)) {
            operations.push_back(std::move(parameters));
        }
    }
    return operations;
}

qlx::Data QLXSCTEUtilities::SCTE35SpliceTimeDataWithPTS_timeSpecified(std::uint64_t pts, bool timeSpecified) {
    return pieceBytes(scte35::SpliceTime{pts, timeSpecified});
}

qlx::Data QLXSCTEUtilities::SCTE35BreakDurationDataWithDuration_autoReturn(std::uint64_t duration, bool autoReturn) {
    return pieceBytes(scte35::BreakDuration{duration, autoReturn});
}

qlx::Data QLXSCTEUtilities::SCTE35SpliceInsertDataWithSpliceType_eventID_programUID_duration_pts(
    std::int32_t spliceType, std::uint32_t eventID, std::uint16_t programUID, std::uint16_t duration,
    std::uint64_t pts) {
    return pieceBytes(scte35::SpliceInsert{spliceType, eventID, programUID, duration, pts});
}

qlx::Data QLXSCTEUtilities::SCTE35SegmentationDescriptorWithEventID_cancel(std::uint8_t eventID, bool cancel) {
    return pieceBytes(scte35::SegmentationDescriptor{eventID, cancel});
}
