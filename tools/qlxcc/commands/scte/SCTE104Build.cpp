#include "commands/scte/SCTE104Build.h"

#include "commands/scte/SCTE104Request.h"
#include "commands/scte/SCTE35Input.h"
#include "io/Errors.h"
#include "io/FindingNotes.h"
#include "io/Frame.h"
#include "io/FrameOutput.h"
#include "io/OutputFile.h"
#include "io/Text.h"
#include "streams/PacketNames.h"

#include <qlx/scte/conversion.h>
#include <qlx/scte/scte104_packets.h>

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <utility>

namespace qlx::tool {

namespace {

bool hasDuration(const scte::SpliceInfoSection& section) {
    return std::any_of(section.descriptors.begin(), section.descriptors.end(), [](const auto& descriptor) {
        const auto* const segmentation = std::get_if<scte::SegmentationDescriptor>(&descriptor.data);
        return segmentation != nullptr && segmentation->duration90k;
    });
}

scte::Message messageOfSections(const Scte104BuildOptions& options) {
    const auto sections = loadScte35Sections(*options.sectionFile);
    if (options.rate && std::none_of(sections.begin(), sections.end(), hasDuration)) {
        throw UsageError("--rate is for the durations of segments: no section has one");
    }
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
    noteFindings(*options.sectionFile, findings,
                 [&inWords](const Finding& finding) { return "warning: " + inWords(finding); });
    message->messageNumber = 1;
    return *std::move(message);
}

std::vector<scte::Message> messagesOf(const Scte104BuildOptions& options) {
    std::vector<scte::Message> messages;
    if (options.jsonFile) {
        messages = loadScte104Json(*options.jsonFile);
    } else if (options.sectionFile) {
        messages.push_back(messageOfSections(options));
    } else {
        scte::MultipleOperationMessage made;
        made.messageNumber = 1;
        made.operations = options.operations;
        messages.emplace_back(std::move(made));
    }
    const auto replace = [&options](auto& some) {
        some.messageNumber = options.messageNumber.value_or(some.messageNumber);
        some.asIndex = options.asIndex.value_or(some.asIndex);
        some.dpiPidIndex = options.dpiPID.value_or(some.dpiPidIndex);
    };
    for (scte::Message& message : messages) {
        std::visit(replace, message);
    }
    return messages;
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

/// A frame for each message.
void writePackets(const Scte104BuildOptions& options, const std::vector<Data>& messages, OutputFile& output) {
    const FrameFormat format = options.format == Scte104BuildFormat::Klv ? FrameFormat::Klv : FrameFormat::V210;
    const FrameOutputOptions form{
        .format = format, .form = {}, .layout = {.width = options.width, .lines = {options.line}}};
    const auto writer = makeFrameFile(output, form);
    std::uint64_t number = 0;
    for (const Data& message : messages) {
        Frame frame;
        frame.number = number++;
        const scte::MessagePieces pieces(message);
        for (std::size_t index = 0; index < pieces.count(); ++index) {
            std::array<std::uint8_t, anc::kGreatestUserData> room{};
            const std::size_t size = *pieces.write(index, room);
            frame.packets.push_back(packetOf(anc::ids::kScte104, std::span(room).first(size), options.line));
        }
        writer->write(frame);
    }
}

bool isSingle(const scte::Message& message) {
    return std::holds_alternative<scte::SingleOperationMessage>(message);
}

/// As it stands alone, behind the payload descriptor of a packet if it is one for packets.
std::vector<std::uint8_t> aloneOf(const scte::Message& message, const Data& bytes) {
    std::vector<std::uint8_t> whole;
    if (!isSingle(message)) {
        whole.push_back(scte::PayloadDescriptor().byte());
    }
    whole.insert(whole.end(), bytes.begin(), bytes.end());
    return whole;
}

}  // namespace

int buildScte104(const Scte104BuildOptions& options) {
    for (const auto& file : {options.jsonFile, options.sectionFile}) {
        if (file) {
            refuseInputAsOutput(*file, options.output);
        }
    }
    const std::vector<scte::Message> messages = messagesOf(options);
    std::vector<Data> bytes(messages.size());
    std::transform(messages.begin(), messages.end(), bytes.begin(), bytesOf);
    const bool isPacket = options.format == Scte104BuildFormat::Klv || options.format == Scte104BuildFormat::V210;
    if (isPacket && std::any_of(messages.begin(), messages.end(), isSingle)) {
        throw Failure("a single_operation_message has no place in ANC packets");
    }
    if (options.format == Scte104BuildFormat::Raw && messages.size() > 1) {
        throw Failure(std::to_string(messages.size()) + " messages: a raw file has one");
    }
    OutputFile output(options.output);
    if (isPacket) {
        writePackets(options, bytes, output);
    }
    for (std::size_t index = 0; !isPacket && index < messages.size(); ++index) {
        const std::vector<std::uint8_t> whole = aloneOf(messages[index], bytes[index]);
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
