#include "commands/scte/SCTE35.h"

#include "commands/scte/SCTE104Input.h"
#include "commands/scte/SCTE35Input.h"
#include "io/Errors.h"
#include "io/OutputFile.h"
#include "io/Text.h"
#include "streams/Json.h"
#include "streams/SCTE104Message.h"
#include "streams/SCTEJson.h"

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
        conversion.frameRate = frameRateOf(*options.rate);
    }
    return conversion;
}

using Sections = std::vector<scte::SpliceInfoSection>;

Sections sectionsOf(const Scte104Packet& packet, const Scte35Options& options) {
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
    return *sections;
}

Sections sectionsOf(const Scte35Options& options) {
    if (options.areSections) {
        return readScte35Argument(options.source.input);
    }
    const Scte104Packet packet = onlyPacket(options.source);
    if (options.asDeployed) {
        return {*scte::parseSpliceInfoSection(deployedSection(packet, options.pts))};
    }
    return sectionsOf(packet, options);
}

Data bytesOf(const std::string& name, const scte::SpliceInfoSection& section) {
    auto bytes = writeSpliceInfoSection(section);
    if (!bytes) {
        throw failureIn(name, "a section cannot be written: " + bytes.error().text());
    }
    return *std::move(bytes);
}

}  // namespace

int convertToScte35(const Scte35Options& options) {
    refuseInputAsOutput(options.source.input, options.output);
    const Sections sections = sectionsOf(options);
    OutputFile output(options.output);
    for (const scte::SpliceInfoSection& section : sections) {
        const Data bytes = bytesOf(options.source.input, section);
        switch (options.format) {
        case Scte35Format::Hex:
            output.write(hex(bytes) + "\n");
            break;
        case Scte35Format::Base64:
            output.write(base64(bytes) + "\n");
            break;
        case Scte35Format::Raw:
            output.write(bytes);
            break;
        case Scte35Format::Json:
            output.write(jsonText(jsonOf(section)) + "\n");
            break;
        }
    }
    output.commit();
    return kExitSuccess;
}

}  // namespace qlx::tool
