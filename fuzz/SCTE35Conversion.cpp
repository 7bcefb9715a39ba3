// SCTE-104 messages of arbitrary bytes as SCTE-35 sections: eight bytes of time, then the message.
#include <QLXClosedCaptionsUtilities/QLXLogController.h>
#include <QLXClosedCaptionsUtilities/QLXLogControllerDelegate.h>
#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <memory>
#include <string>

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A delegate keeps the messages off the console and off the list of pending ones.
    static const auto delegate = [] {
        auto made = std::make_shared<QLXLogControllerDelegate>();
        QLXLogController::sharedLogController()->setLogDelegate(made);
        return made;
    }();
    std::string shown;
    delegate->displayLogWithInfoDict = [&shown](const qlx::Dictionary& info) {
        shown = info.find("message")->stringValue().value_or("");
    };

    qlxfuzz::Input input(data, size);
    std::uint64_t pts = 0;
    for (int index = 0; index < 8; ++index) {
        pts = pts << 8U | input.takeByte();
    }
    const std::vector<std::uint8_t> message = input.rest();
    const auto packet = QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(message, 13);
    const qlx::Data section = QLXVANCPacket::SCTE35PacketDataWithSCTE104VANCPacket_intendedPTS(packet, pts);
    require(bool(section) == (message.size() >= 31) && section.empty() == shown.empty());
    if (section) {
        require(shown.starts_with("SCTE Packet read: type: "));
        require(section[0] == 0xFC && (section[1] & 15U) * 256U + section[2] == section.size() - 3);
        require(mpegCRC32(section.data(), section.size()) == 0);
        const std::size_t commandBytes = section[12];
        require(commandBytes + 17 + 20 == section.size() && section[13] == 0x05);
        require(std::equal(message.begin() + 18, message.begin() + 22, section.begin() + 14));
        const qlx::Data command =
            QLXSCTEUtilities::SCTE35SpliceInsertDataWithSpliceType_eventID_programUID_duration_pts(
                message[17],
                static_cast<std::uint32_t>(message[18]) << 24U | static_cast<std::uint32_t>(message[19]) << 16U |
                    static_cast<std::uint32_t>(message[20]) << 8U | message[21],
                static_cast<std::uint16_t>(message[22] * 256 + message[23]),
                static_cast<std::uint16_t>(message[26] * 256 + message[27]), pts);
        require(command.size() == commandBytes && std::equal(command.begin(), command.end(), section.begin() + 14));
    }
    delegate->displayLogWithInfoDict = nullptr;
    return 0;
}
