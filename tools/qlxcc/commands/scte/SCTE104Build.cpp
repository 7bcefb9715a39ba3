#include "commands/scte/SCTE104Build.h"

#include "commands/scte/SCTE104Request.h"
#include "commands/scte/SCTE35Input.h"
#include "io/Errors.h"
#include "io/Frame.h"
#include "io/FrameOutput.h"
#include "io/OutputFile.h"
#include "io/Text.h"
#include "streams/PacketNames.h"

#include <qlx/scte/conversion.h>
#include <qlx/scte/scte104_packets.h>

#include <array>
#include <memory>
#include <span>
#include <utility>

namespace qlx::tool {

namespace {

scte::Message messageOfSections(const Scte104BuildOptions& options) {
    const auto sections = loadScte35Sections(*options.sectionFile);
    scte::MessageOptions conversion;
    conversion.framePts90k = options.pts;
    if (options.rate) {
        conversion.frameRate = frameRateOf(*options.rate);
    }
    const auto inWords = [&](const Finding& finding) {
        return *options.sectionFile + ": section " + std::to_string(finding.offset + 1) + ": " + finding.text();
    };
    Findings findings;
    auto message = scte::messageOf(sections, conversion, &findings);
    if (!message) {
        throw Failure(inWords(message.error()));
    }
    for (const Finding& finding : findings) {
        printNote("warning: " + inWords(finding));
    }
    message->messageNumber = 1;
    return *std::move(message);
}

scte::Message messageOf(const Scte104BuildOptions& options) {
    scte::Message message;
    if (options.jsonFile) {
        message = loadScte104Json(*options.jsonFile);
    } else if (options.sectionFile) {
        message = messageOfSections(options);
    } else {
        auto& made = message.emplace<scte::MultipleOperationMessage>();
        made.messageNumber = 1;
        made.operations = options.operations;
    }
    std::visit(
        [&options](auto& some) {
            some.messageNumber = options.messageNumber.value_or(some.messageNumber);
            some.asIndex = options.asIndex.value_or(some.asIndex);
            some.dpiPidIndex = options.dpiPID.value_or(some.dpiPidIndex);
        },
        message);
    return message;
}

Data bytesOf(const scte::Message& message) {
    if (const auto* const multiple = std::get_if<scte::MultipleOperationMessage>(&message);
        multiple != nullptr && multiple->operations.size() > scte::kGreatestOperations) {
        throw Failure(counted(multiple->operations.size(), "operation") + ": a message has at most " +
                      std::to_string(scte::kGreatestOperations));
    }
    auto bytes = scte::writeMessage(message);
    if (!bytes) {
        throw Failure("the message cannot be built: " + bytes.error().text());
    }
    return *std::move(bytes);
}

void writePacket(const Scte104BuildOptions& options, const Data& message, OutputFile& output) {
    Frame frame;
    const scte::MessagePieces pieces(message);
    for (std::size_t index = 0; index < pieces.count(); ++index) {
        std::array<std::uint8_t, anc::kGreatestUserData> room{};
        const std::size_t size = *pieces.write(index, room);
        frame.packets.push_back(packetOf(anc::ids::kScte104, std::span(room).first(size), options.line));
    }
    const FrameFormat format = options.format == Scte104BuildFormat::Klv ? FrameFormat::Klv : FrameFormat::V210;
    const FrameOutputOptions form{
        .format = format, .form = {}, .layout = {.width = options.width, .lines = {options.line}}};
    makeFrameFile(output, form)->write(frame);
}

}  // namespace

int buildScte104(const Scte104BuildOptions& options) {
    for (const auto& file : {options.jsonFile, options.sectionFile}) {
        if (file) {
            refuseInputAsOutput(*file, options.output);
        }
    }
    const scte::Message message = messageOf(options);
    const Data bytes = bytesOf(message);
    const bool isPacket = options.format == Scte104BuildFormat::Klv || options.format == Scte104BuildFormat::V210;
    const bool isSingle = std::holds_alternative<scte::SingleOperationMessage>(message);
    if (isPacket && isSingle) {
        throw Failure("a single_operation_message has no place in ANC packets");
    }
    OutputFile output(options.output);
    if (isPacket) {
        writePacket(options, bytes, output);
    } else {
        std::vector<std::uint8_t> whole;
        if (!isSingle) {
            whole.push_back(scte::PayloadDescriptor().byte());
        }
        whole.insert(whole.end(), bytes.begin(), bytes.end());
        if (options.format == Scte104BuildFormat::Raw) {
            output.write(whole);
        } else {
            output.write(hex(whole) + "\n");
        }
    }
    output.commit();
    return kExitSuccess;
}

}  // namespace qlx::tool
