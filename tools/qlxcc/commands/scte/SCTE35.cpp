#include "commands/scte/SCTE35.h"

#include "commands/scte/SCTE104Input.h"
#include "io/Errors.h"
#include "io/OutputFile.h"
#include "io/Text.h"
#include "streams/SCTE104Message.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <cstdint>
#include <string>
#include <variant>

namespace qlx::tool {

namespace {

Scte104Packet onlyPacket(const Scte104Source& source) {
    Scte104Packet first;
    std::uint64_t count = 0;
    const auto take = [&](const Scte104Packet& packet) {
        if (count++ == 0) {
            first = packet;
        }
    };
    readScte104Packets(source, take, [](const std::string& problem) { throw Failure(problem); });
    if (count != 1) {
        throw failureIn(source.input, count == 0
                                          ? "no SCTE-104 packet"
                                          : counted(count, "SCTE-104 packet") + ": the time of --pts is for one");
    }
    return first;
}

/// One of the types that are defined: any other has no bytes.
bool hasTimeStamp(const scte::TimeStamp& timeStamp) {
    return !std::holds_alternative<std::monostate>(timeStamp) &&
           !std::holds_alternative<scte::UnknownTimeType>(timeStamp);
}

/// The library reads every message as one splice request without time stamp; from anything else it would make a section
/// that nobody asked for.
void checkSpliceRequest(const Scte104Packet& packet) {
    const Scte104Message message = readScte104(packet.data);
    const auto refuse = [&](const Scte104Problem& problem) {
        throw failureAtByte(packet.place, problem.offset, problem.what);
    };
    if (message.refusal) {
        refuse(*message.refusal);
    }
    if (!message.problems.empty()) {
        refuse(message.problems.front());
    }
    if (message.operations.empty()) {
        throw failureIn(packet.place, "the message has no operation");
    }
    if (message.operations.front().operationID != kSpliceRequest) {
        throw failureIn(packet.place,
                        "the message begins with " +
                            QLXSCTEOperation::SCTEOperationNameWithID(message.operations.front().operationID) +
                            ": only a SpliceRequestData becomes a section");
    }
    if (hasTimeStamp(message.timeStamp)) {
        throw failureIn(packet.place, "the message has a time stamp: the section's time is that of --pts alone");
    }
    if (message.operations.size() > 1) {
        printNote("warning: " + packet.place + ": only the first of " +
                  counted(message.operations.size(), "operation") + " is converted");
    }
}

}  // namespace

int convertToScte35(const Scte35Options& options) {
    refuseInputAsOutput(options.source.input, options.output);
    const Scte104Packet packet = onlyPacket(options.source);
    checkSpliceRequest(packet);
    const Data section = QLXVANCPacket::SCTE35PacketDataWithSCTE104VANCPacket_intendedPTS(
        QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(packet.data, packet.line), options.pts);
    if (!section) {
        throw failureIn(packet.place, "the message cannot be converted");
    }
    OutputFile output(options.output);
    switch (options.format) {
    case Scte35Format::Hex:
        output.write(hex(section) + "\n");
        break;
    case Scte35Format::Base64:
        output.write(base64(section) + "\n");
        break;
    case Scte35Format::Raw:
        output.write(section);
        break;
    }
    output.commit();
    return kExitSuccess;
}

}  // namespace qlx::tool
