// The SCTE-104 operations of QLXVANCPacket.
#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "facade/ConversionLog.h"
#include "facade/SCTE104Message.h"
#include "facade/SCTE104Operation.h"
#include "facade/SCTENames.h"
#include "facade/SpliceInfoSection.h"

#include <cstddef>
#include <span>
#include <utility>

std::shared_ptr<QLXVANCPacket> QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(qlx::Data data,
                                                                                   std::uint64_t lineNumber) {
    return make(QLXVANCPacketTypeSCTE104, lineNumber, std::move(data));
}

std::shared_ptr<QLXVANCPacket> QLXVANCPacket::
    SCTE104VANCPacketWithSpliceType_asIndex_dpiPID_spliceEventID_programUniqueID_duration_autoReturn_preRoll_lineNumber(
        std::int32_t spliceType, std::uint8_t asIndex, std::uint16_t dpiPID, std::uint64_t spliceEventID,
        std::uint64_t programUniqueID, std::uint16_t duration, bool autoReturn, std::uint16_t preRoll,
        std::uint64_t lineNumber) {
    constexpr auto kMessage = QLXSCTEUtilities::
        SCTE104SpliceInsertDataWithSpliceType_asIndex_dpiPID_spliceEventID_programUniqueID_duration_autoReturn_preRoll;
    return SCTE104PacketDataWithData_lineNumber(
        kMessage(spliceType, asIndex, dpiPID, spliceEventID, programUniqueID, duration, autoReturn, preRoll),
        lineNumber);
}

std::shared_ptr<QLXVANCPacket> QLXVANCPacket::SCTE104VANCPacketWithOperations_messageNumber_asIndex_dpiPID_lineNumber(
    const std::vector<qlx::Data>& operations, std::int32_t messageNumber, std::uint8_t asIndex, std::uint16_t dpiPID,
    std::uint64_t lineNumber) {
    return SCTE104PacketDataWithData_lineNumber(
        QLXSCTEUtilities::SCTE104MultiMessageDataWithOperations_messageNumber_asIndex_dpiPID(
            operations, static_cast<std::uint8_t>(messageNumber), asIndex, dpiPID),
        lineNumber);
}

std::shared_ptr<QLXVANCPacket> QLXVANCPacket::SCTE104PacketDataWithSCTE35Data(const qlx::Data&) noexcept {
    return nullptr;
}

std::string QLXVANCPacket::spliceTypeStringWithSpliceType(std::int32_t spliceType) {
    return std::string(qlx::scte::spliceTypeDisplayName(spliceType));
}

qlx::Data QLXVANCPacket::SCTE35PacketDataWithSCTE104VANCPacket_intendedPTS(const std::shared_ptr<QLXVANCPacket>& packet,
                                                                           std::uint64_t intendedPTS) {
    if (!packet || packet->packetType() != QLXVANCPacketTypeSCTE104) {
        return {};
    }
    // The message is taken for one splice request without time stamp, whatever its header says: hosts expect a section
    // from any message that is long enough.
    constexpr std::size_t kRequestOffset = qlx::scte104::kHeaderBytes + qlx::scte104::kOperationHeaderBytes;
    const qlx::Data message = packet->packetData();
    if (message.size() < kRequestOffset) {
        return {};
    }
    const auto request = qlx::scte104::SpliceRequest::read(std::span(message).subspan(kRequestOffset));
    if (!request) {
        return {};
    }
    qlx::scte::logConvertedRequest(*request);
    return qlx::scte35::section({static_cast<std::uint8_t>(request->type), request->eventId, request->uniqueProgramId,
                                 request->breakDurationTenths, intendedPTS},
                                {0, false});
}
