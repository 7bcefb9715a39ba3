#include "commands/scte/SCTE104Build.h"

#include "io/Errors.h"
#include "io/Frame.h"
#include "io/FrameOutput.h"
#include "io/OutputFile.h"
#include "io/Text.h"
#include "streams/PacketNames.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <memory>

namespace qlx::tool {

namespace {

// What the header's fields can say, and what an ANC packet can carry.
constexpr std::size_t kMostOperations = 255;
constexpr std::size_t kLongestMessage = 65536;
constexpr std::size_t kLongestPacket = 255;

Scte104Request requestOf(const Scte104BuildOptions& options) {
    Scte104Request request = options.jsonFile ? loadScte104Request(*options.jsonFile) : options.request;
    request.messageNumber = options.messageNumber.value_or(request.messageNumber);
    request.asIndex = options.asIndex.value_or(request.asIndex);
    request.dpiPID = options.dpiPID.value_or(request.dpiPID);
    return request;
}

Data messageOf(const Scte104Request& request) {
    if (request.operations.size() > kMostOperations) {
        throw Failure(counted(request.operations.size(), "operation") + ": a message has at most " +
                      std::to_string(kMostOperations));
    }
    Data message = QLXSCTEUtilities::SCTE104MultiMessageDataWithOperations_messageNumber_asIndex_dpiPID(
        request.operations, request.messageNumber, request.asIndex, request.dpiPID);
    if (message.size() > kLongestMessage) {
        throw Failure(counted(message.size(), "byte") + ": a message has at most " + std::to_string(kLongestMessage));
    }
    return message;
}

void writePacket(const Scte104BuildOptions& options, const Data& message, OutputFile& output) {
    Frame frame;
    frame.packets.push_back(packetOf(anc::ids::kScte104, message, options.line));
    const FrameFormat format = options.format == Scte104BuildFormat::Klv ? FrameFormat::Klv : FrameFormat::V210;
    const FrameOutputOptions form{
        .format = format, .form = {}, .layout = {.width = options.width, .lines = {options.line}}};
    makeFrameFile(output, form)->write(frame);
}

}  // namespace

int buildScte104(const Scte104BuildOptions& options) {
    if (options.jsonFile) {
        refuseInputAsOutput(*options.jsonFile, options.output);
    }
    const Data message = messageOf(requestOf(options));
    const bool isPacket = options.format == Scte104BuildFormat::Klv || options.format == Scte104BuildFormat::V210;
    if (isPacket && message.size() > kLongestPacket) {
        throw Failure("a message of " + counted(message.size(), "byte") +
                      " does not fit into one ANC packet, which "
                      "has at most " +
                      std::to_string(kLongestPacket));
    }
    OutputFile output(options.output);
    if (isPacket) {
        writePacket(options, message, output);
    } else if (options.format == Scte104BuildFormat::Raw) {
        output.write(message);
    } else {
        output.write(hex(message) + "\n");
    }
    output.commit();
    return kExitSuccess;
}

}  // namespace qlx::tool
