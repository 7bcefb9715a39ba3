#include "commands/scte/SCTE104Parse.h"

#include "io/Errors.h"
#include "io/FindingNotes.h"
#include "io/Frame.h"
#include "io/LimitedMessages.h"
#include "io/OutputFile.h"
#include "io/Text.h"
#include "streams/Json.h"
#include "streams/SCTE104Message.h"
#include "streams/SCTEJson.h"
#include "streams/SplicePoints.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

/// The payload descriptor stands in front of a message that is for packets.
constexpr std::size_t kDescriptorBytes = 1;

/// A line for the message and an indented one for each operation.
std::string inWords(const Scte104Packet& packet, const Scte104Message& message) {
    std::string text = packet.frame ? placeOf(*packet.frame, packet.line) + ": " : "";
    text += headerInWords(message) + ", " + counted(message.announced, "operation") + ", " +
            counted(message.size, "byte") + "\n";
    for (const Scte104Operation& operation : message.operations) {
        text += "  " + operationInWords(operation) + "\n";
    }
    return text;
}

std::string asJson(const Scte104Packet& packet, const scte::Message& message) {
    Dictionary object = jsonOf(message);
    if (packet.frame) {
        object.set("frame", *packet.frame);
        object.set("line", packet.line);
    }
    return jsonText(object) + "\n";
}

/// A message that stands alone, without a payload descriptor, and is of a single operation: its opID begins with 0.
std::optional<scte::SingleOperationMessage> singleMessage(const Scte104Packet& packet, Findings& findings) {
    if (packet.frame || packet.data.empty() || packet.data[0] != 0) {
        return std::nullopt;
    }
    auto message = scte::parseSingleOperationMessage(packet.data, &findings);
    return message ? std::optional(*std::move(message)) : std::nullopt;
}

std::string inWords(const Scte104Packet& packet, const scte::SingleOperationMessage& message) {
    return "message " + std::to_string(message.messageNumber) + ", AS index " + std::to_string(message.asIndex) +
           ", DPI PID " + std::to_string(message.dpiPidIndex) + ", result " + std::to_string(message.result) + ", " +
           counted(packet.data.size(), "byte") + "\n  opID " + std::to_string(message.opId()) + " (system)\n";
}

/// Whether it is among the problems of readScte104(), in other words.
bool isAmong(const std::vector<Scte104Problem>& problems, const Finding& finding) {
    constexpr std::size_t kOperationHeaderBytes = 4;
    const bool isOfData = finding.code == FindingCode::ScteOperationTooShort;
    if (!isOfData && finding.code != FindingCode::ScteOperationCut &&
        finding.code != FindingCode::ScteOperationsMissing && finding.code != FindingCode::ScteBytesBehindMessage) {
        return false;
    }
    const std::size_t place = finding.offset + kDescriptorBytes - (isOfData ? kOperationHeaderBytes : 0);
    return std::any_of(problems.begin(), problems.end(),
                       [place](const Scte104Problem& problem) { return problem.offset == place; });
}

/// What follows from the messages of a file together.
void writePoints(const SplicePoints& points, OutputFile& output) {
    const std::vector<std::string> lines = points.lines();
    if (!lines.empty()) {
        output.write("splice points:\n");
    }
    for (const std::string& line : lines) {
        output.write("  " + line + "\n");
    }
}

}  // namespace

int parseScte104(const Scte104ParseOptions& options) {
    refuseInputAsOutput(options.source.input, options.output);
    OutputFile output(options.output);
    std::uint64_t messages = 0;
    std::uint64_t problems = 0;
    SplicePoints points;
    LimitedMessages messagesSaid;
    const auto sayInOrder = [&](const std::string& kind, const std::string& text) {
        if (output.isStandardOutput()) {
            // Both are in their order where they go to one place.
            output.flush();
        }
        messagesSaid.say(kind, text);
    };
    const auto sayKind = [&](const std::string& kind, const std::string& problem) {
        ++problems;
        sayInOrder(kind, problem);
    };
    const auto say = [&](const FrameProblem& problem) {
        sayKind(std::to_string(static_cast<std::uint32_t>(problem.kind)), problem.text);
    };
    const auto warn = [&](const Scte104Packet& packet, const Finding& finding, std::size_t inFront) {
        sayInOrder(std::to_string(static_cast<std::uint32_t>(finding.code)),
                   "warning: " + packet.place + ": byte " + std::to_string(finding.offset + inFront) + ": " +
                       finding.text());
    };
    const auto warnOfRest = [&](const Scte104Packet& packet, const Findings& findings) {
        if (findings.rest() > 0) {
            sayInOrder("rest", "warning: " + packet.place + ": " + restInWords(findings));
        }
    };
    const auto take = [&](const Scte104Packet& packet) {
        ++messages;
        Findings findings;
        if (const auto single = singleMessage(packet, findings)) {
            output.write(options.asJson ? asJson(packet, *single) : inWords(packet, *single));
            for (const Finding& finding : findings) {
                warn(packet, finding, 0);
            }
            warnOfRest(packet, findings);
            return;
        }
        const Scte104Message message = readScte104(packet.data);
        const auto note = [&](const Scte104Problem& problem) {
            sayKind(withoutDigits(problem.what),
                    packet.place + ": byte " + std::to_string(problem.offset) + ": " + problem.what);
        };
        if (message.refusal) {
            note(*message.refusal);
            return;
        }
        const auto whole =
            scte::parseMultipleOperationMessage(std::span<const std::uint8_t>(packet.data).subspan(1), &findings);
        output.write(options.asJson && whole ? asJson(packet, *whole) : inWords(packet, message));
        if (whole) {
            points.take(packet.frame ? placeOf(*packet.frame, packet.line) : "the message", *whole);
        }
        for (const Scte104Problem& problem : message.problems) {
            note(problem);
        }
        for (const Finding& finding : findings) {
            if (!isAmong(message.problems, finding)) {
                warn(packet, finding, kDescriptorBytes);
            }
        }
        warnOfRest(packet, findings);
    };
    try {
        readScte104Packets(options.source, take, say);
    } catch (const Failure&) {
        output.flushWhatCame();
        messagesSaid.finish();
        throw;
    }
    messagesSaid.finish();
    if (!options.asJson) {
        writePoints(points, output);
    }
    if (problems == 0 && messages == 0) {
        throw failureIn(options.source.input, "no SCTE-104 packet");
    }
    if (problems == 0 || output.isStandardOutput()) {
        output.commit();
    }
    if (problems != 0 && !output.isStandardOutput()) {
        throw failureIn(output.name(), "is not written: not everything could be read");
    }
    return problems == 0 ? kExitSuccess : kExitFailure;
}

}  // namespace qlx::tool
