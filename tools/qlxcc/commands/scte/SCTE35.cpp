#include "commands/scte/SCTE35.h"

#include "commands/scte/SCTE104Input.h"
#include "io/Errors.h"
#include "io/OutputFile.h"
#include "io/Text.h"
#include "streams/SCTE104Message.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <qlx/scte/conversion.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

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

/// @throws Failure for what is no message, or not all there.
Scte104Message wholeMessage(const Scte104Packet& packet) {
    Scte104Message message = readScte104(packet.data);
    const auto refuse = [&](const Scte104Problem& problem) {
        throw failureAtByte(packet.place, problem.offset, problem.what);
    };
    if (message.refusal) {
        refuse(*message.refusal);
    }
    if (!message.problems.empty()) {
        refuse(message.problems.front());
    }
    return message;
}

/// The fixed operation reads every message as one splice request without time stamp; from anything else it would make a
/// section that nobody asked for.
void checkSpliceRequest(const Scte104Packet& packet) {
    const Scte104Message message = wholeMessage(packet);
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

Data deployedSection(const Scte104Packet& packet, std::uint64_t pts) {
    checkSpliceRequest(packet);
    Data section = QLXVANCPacket::SCTE35PacketDataWithSCTE104VANCPacket_intendedPTS(
        QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(packet.data, packet.line), pts);
    if (!section) {
        throw failureIn(packet.place, "the message cannot be converted");
    }
    return section;
}

/// What findings of the conversion count: operations, from 0.
std::string findingInWords(const Scte104Packet& packet, const Finding& finding) {
    const bool isOfMessage =
        finding.code == FindingCode::ScteMessageEmpty || finding.code == FindingCode::ScteMomentMissing;
    return packet.place + (isOfMessage ? "" : ": operation " + std::to_string(finding.offset + 1)) + ": " +
           finding.text();
}

scte::ConversionOptions conversionOf(const Scte35Options& options) {
    scte::ConversionOptions conversion;
    conversion.framePts90k = options.pts;
    conversion.splicePts90k = options.splicePts;
    conversion.timeStampPts90k = options.atPts;
    if (options.rate) {
        conversion.frameRate = frameRateOfDuration(options.rate->frameDuration());
    }
    return conversion;
}

std::vector<Data> sectionsOf(const Scte104Packet& packet, const Scte35Options& options) {
    (void)wholeMessage(packet);
    const std::span<const std::uint8_t> bytes(packet.data);
    Findings findings;
    auto message = scte::parseMultipleOperationMessage(bytes.subspan(1), &findings);
    if (!message) {
        throw failureIn(packet.place, message.error().text());
    }
    for (const Finding& finding : findings) {
        printNote("warning: " + packet.place + ": byte " + std::to_string(finding.offset + 1) + ": " + finding.text());
    }
    if (options.returnsAlone) {
        for (scte::Operation& operation : message->operations) {
            if (auto* const splice = std::get_if<scte::SpliceRequest>(&operation.data)) {
                splice->autoReturn = 1;
            } else if (auto* const event = std::get_if<scte::ScheduleDefinition>(&operation.data)) {
                event->autoReturn = 1;
            }
        }
    }
    Findings losses;
    const auto sections = scte::sectionsOf(*message, conversionOf(options), &losses);
    if (!sections) {
        throw Failure(findingInWords(packet, sections.error()));
    }
    for (const Finding& finding : losses) {
        if (sections->empty()) {
            throw Failure(findingInWords(packet, finding));
        }
        printNote((finding.severity == Severity::Remark ? "" : "warning: ") + findingInWords(packet, finding));
    }
    std::vector<Data> written;
    for (const scte::SpliceInfoSection& section : *sections) {
        written.push_back(*writeSpliceInfoSection(section));
    }
    return written;
}

}  // namespace

int convertToScte35(const Scte35Options& options) {
    refuseInputAsOutput(options.source.input, options.output);
    const Scte104Packet packet = onlyPacket(options.source);
    const std::vector<Data> sections =
        options.asDeployed ? std::vector{deployedSection(packet, options.pts)} : sectionsOf(packet, options);
    OutputFile output(options.output);
    for (const Data& section : sections) {
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
    }
    output.commit();
    return kExitSuccess;
}

}  // namespace qlx::tool
