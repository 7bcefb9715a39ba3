#include "commands/scte/SCTE35.h"

#include "commands/scte/SCTE104Input.h"
#include "commands/scte/SCTE35Input.h"
#include "commands/scte/SCTE35Stream.h"
#include "io/Errors.h"
#include "io/FindingNotes.h"
#include "io/OutputFile.h"
#include "io/Text.h"
#include "streams/Json.h"
#include "streams/OperationNames.h"
#include "streams/SCTE104Message.h"
#include "streams/SCTEJson.h"
#include "streams/SCTEXml.h"

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <qlx/scte/conversion.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace qlx::tool {

namespace {

/// @param problems Counts what was said of a file that has the packet all the same.
Scte104Packet onlyPacket(const Scte104Source& source, std::uint64_t& problems) {
    Scte104Packet first;
    std::uint64_t count = 0;
    const auto take = [&](const Scte104Packet& packet) {
        if (count++ == 0) {
            first = packet;
        }
    };
    readScte104Packets(source, take, [&problems](const FrameProblem& problem) {
        ++problems;
        printMessage(problem.text);
    });
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
        throw failureIn(packet.place, "the message begins with " +
                                          operationName(message.operations.front().operationID) +
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
    const bool isOfMessage = finding.code == FindingCode::ScteMessageEmpty ||
                             finding.code == FindingCode::ScteMomentMissing ||
                             finding.code == FindingCode::ScteProtocolVersionUnknown;
    return packet.place + (isOfMessage ? "" : ": operation " + std::to_string(finding.offset + 1)) + ": " +
           finding.text();
}

/// Whether it is a reason for no section at all.
bool tellsWhyThereIsNone(const Finding& finding) {
    return finding.code == FindingCode::ScteMessageEmpty || finding.code == FindingCode::ScteScheduleCancelled ||
           finding.code == FindingCode::ScteMakesNoSection;
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

bool hasFrames(const scte::Operation& operation) {
    const auto* const segment = std::get_if<scte::InsertSegmentationDescriptorRequest>(&operation.data);
    return segment != nullptr && segment->durationExtensionFrames != 0;
}

/// The flag of a request for a break; null where there is none.
std::uint8_t* autoReturnOf(scte::Operation& operation) {
    if (auto* const splice = std::get_if<scte::SpliceRequest>(&operation.data)) {
        const bool isStart = splice->type == scte::SpliceInsertType::StartNormal ||
                             splice->type == scte::SpliceInsertType::StartImmediate;
        return isStart && splice->breakDurationTenths != 0 ? &splice->autoReturn : nullptr;
    }
    auto* const event = std::get_if<scte::ScheduleDefinition>(&operation.data);
    return event != nullptr && event->breakDurationTenths != 0 ? &event->autoReturn : nullptr;
}

/// Options that nothing of the message is for.
/// @throws UsageError
void checkTaken(const scte::MultipleOperationMessage& message, const Scte35Options& options) {
    if (options.atPts && !hasTimeStamp(message.timeStamp)) {
        throw UsageError("--at-pts is the moment of a time stamp: the message has none");
    }
    if (options.rate && std::none_of(message.operations.begin(), message.operations.end(), hasFrames)) {
        throw UsageError("--rate is for duration_extension_frames: the message has none");
    }
}

/// @throws UsageError where there is no break.
void makeBreaksReturn(scte::MultipleOperationMessage& message) {
    bool isAny = false;
    for (scte::Operation& operation : message.operations) {
        if (std::uint8_t* const autoReturn = autoReturnOf(operation)) {
            *autoReturn = 1;
            isAny = true;
        }
    }
    if (!isAny) {
        throw UsageError("--auto-return is for breaks with a duration: the message has none");
    }
}

Sections sectionsOf(const Scte104Packet& packet, const Scte35Options& options) {
    (void)wholeMessage(packet);
    const std::span<const std::uint8_t> bytes(packet.data);
    Findings findings;
    auto message = scte::parseMultipleOperationMessage(bytes.subspan(1), &findings);
    if (!message) {
        throw failureIn(packet.place, message.error().text());
    }
    noteFindings(packet.place, findings, [&packet](const Finding& finding) {
        // The conversion says of an operation that stands alone.
        return finding.code == FindingCode::ScteSupplementAlone
                   ? std::string()
                   : "warning: " + packet.place + ": byte " + std::to_string(finding.offset + 1) + ": " +
                         finding.text();
    });
    checkTaken(*message, options);
    if (options.returnsAlone) {
        makeBreaksReturn(*message);
    }
    Findings losses;
    const auto sections = scte::sectionsOf(*message, conversionOf(options), &losses);
    if (!sections) {
        throw Failure(findingInWords(packet, sections.error()));
    }
    for (const Finding& finding : losses) {
        if (sections->empty() && tellsWhyThereIsNone(finding)) {
            throw Failure(findingInWords(packet, finding));
        }
    }
    noteFindings(packet.place, losses, [&packet](const Finding& finding) {
        return (finding.severity == Severity::Remark ? "" : "warning: ") + findingInWords(packet, finding);
    });
    return *sections;
}

Sections sectionsOf(const Scte35Options& options, std::uint64_t& problems) {
    if (options.areSections) {
        return readScte35Argument(options.source.input);
    }
    const Scte104Packet packet = onlyPacket(options.source, problems);
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

/// The section's XML on a line, with warnings for what it does not say.
std::string xmlLine(const std::string& name, std::size_t number, const scte::SpliceInfoSection& section) {
    const std::string place = name + ": section " + std::to_string(number) + ": ";
    try {
        std::vector<std::string> losses;
        std::string text = xmlOf(section, losses);
        for (std::string& loss : losses) {
            printNote("warning: " + place + loss.append(" is left out: XML has no place for it"));
        }
        return text + "\n";
    } catch (const ScteXmlError& error) {
        throw Failure(place + error.what());
    }
}

}  // namespace

int convertToScte35(const Scte35Options& options) {
    refuseInputAsOutput(options.source.input, options.output);
    std::uint64_t problems = 0;
    const Sections sections = sectionsOf(options, problems);
    OutputFile output(options.output);
    if (problems != 0 && !output.isStandardOutput()) {
        throw failureIn(output.name(), "is not written: not everything could be read");
    }
    if (options.format == Scte35Format::Ts) {
        writeScte35Stream(sections, options, output);
        output.commit();
        return problems == 0 ? kExitSuccess : kExitFailure;
    }
    std::size_t number = 0;
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
        case Scte35Format::Xml:
            output.write(xmlLine(options.source.input, ++number, section));
            break;
        case Scte35Format::Ts:
            break;
        }
    }
    output.commit();
    return problems == 0 ? kExitSuccess : kExitFailure;
}

}  // namespace qlx::tool
