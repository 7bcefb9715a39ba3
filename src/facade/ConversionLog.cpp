#include "facade/ConversionLog.h"

#include <QLXClosedCaptionsUtilities/QLXLogController.h>

#include "facade/SCTENames.h"

namespace qlx::scte {

void logConvertedRequest(const scte104::SpliceRequest& request) {
    constexpr std::int64_t kLevel = 2;
    QLXLogController::sharedLogController()->logMessageWithLevel_show_messageFormat(
        kLevel, true, "SCTE Packet read: type: %@, eventID: %u programUID: %d duration: %d",
        spliceTypeDisplayName(static_cast<std::uint8_t>(request.type)), request.eventId, request.uniqueProgramId,
        request.breakDurationTenths);
}

}  // namespace qlx::scte
