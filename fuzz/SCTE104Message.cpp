// The SCTE-104 message reader: its list against a plain walk over the bytes.
#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>
#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>

#include "FuzzSupport.h"

using qlxfuzz::require;

namespace {

std::vector<qlx::Dictionary> readPlainly(const std::vector<std::uint8_t>& message) {
    std::vector<qlx::Dictionary> operations;
    if (message.size() < 14 || message[0] != 0x08 || message[1] != 0xFF || message[2] != 0xFF) {
        return operations;
    }
    const std::size_t countOffset = message[11] == 1 ? 18 : message[11] == 2 ? 16 : message[11] == 3 ? 14 : 12;
    std::size_t left = countOffset < message.size() ? message[countOffset] : 0;
    std::size_t position = countOffset + 1;
    while (left-- > 0 && position + 4 <= message.size()) {
        const auto operationID = static_cast<std::uint16_t>(message[position] * 256 + message[position + 1]);
        const std::size_t length = message[position + 2] * std::size_t{256} + message[position + 3];
        position += 4;
        if (position + length > message.size()) {
            break;
        }
        auto parameters = QLXSCTEOperation::parametersOfSCTEOperationWithID_data(
            operationID, qlx::Data(message.data() + position, length));
        if (parameters) {
            parameters->set("asIndex", message[6]);
            parameters->set("messageNumber", message[7]);
            parameters->set("dpiPID", message[8] * 256U + message[9]);
            operations.push_back(*std::move(parameters));
        }
        position += length;
    }
    return operations;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> message(data, data + size);
    require(QLXSCTEUtilities::operationsWithSCTEMessageData(message) == readPlainly(message));
    return 0;
}
