#include "io/FrameOutput.h"

#include "io/AsDeployed.h"
#include "io/Errors.h"
#include "io/Text.h"

#include <qlx/streams/jsonl.h>
#include <qlx/streams/klv.h>
#include <qlx/streams/rows.h>

#include <utility>

namespace qlx::tool {

namespace {

/// What keeps a packet from its place, with what can be done.
std::string inWords(const anc::Packet& packet, const Finding& why, std::size_t width) {
    const std::string name(anc::kindName(packet.did, packet.sdid));
    if (why.code == FindingCode::RowFileLineMissing) {
        return "there is no row for the " + name + " packet: name its line with --lines";
    }
    if (why.code == FindingCode::AncPacketDoesNotFit) {
        return "a row of " + counted(width, "pixel") + " is too narrow for the " + name + " packet, which takes " +
               counted(anc::packetWords(packet.userData.size()), std::string(nameOf(packet.channel)) + " sample") +
               ": give a greater --width";
    }
    return why.text();
}

Failure failureOf(const Frame& frame, const Finding& why, std::size_t width) {
    if (why.offset >= frame.packets.size()) {
        return Failure("frame " + std::to_string(frame.number) + ": " + why.text());
    }
    const anc::Packet& packet = frame.packets[static_cast<std::size_t>(why.offset)];
    return Failure(placeOf(frame.number, packet.line) + ": " + inWords(packet, why, width));
}

}  // namespace

void LeftOut::add(const Finding& finding) {
    Kind& kind = _kinds[finding.code];
    const bool isFirst = kind.count++ == 0;
    if (!isFirst && !_saysAll) {
        return;
    }
    const auto packet = static_cast<std::size_t>(finding.offset);
    const std::string text = finding.text();
    const std::string place = packet < _frame->packets.size() ? placeOf(_frame->number, _frame->packets[packet].line)
                                                              : "frame " + std::to_string(_frame->number);
    if (_saysAll) {
        printNote("remark: " + _name + ": " + place + ": " + text);
    }
    if (isFirst) {
        kind.text = text;
        kind.first = place;
    }
}

void LeftOut::addWrappings(const Frame& frame) {
    _frame = &frame;
    for (std::size_t packet = 0; packet < frame.wrappings.size(); ++packet) {
        if (const anc::Wrapping wrapping = frame.wrappings[packet]; wrapping != anc::Wrapping::VancFrame) {
            add({FindingCode::StreamWrappingLeftOut, Severity::Warning, packet, static_cast<std::int64_t>(wrapping),
                 0});
        }
    }
}

void LeftOut::say() const {
    for (const auto& [code, kind] : _kinds) {
        std::string text;
        switch (code) {
        case FindingCode::StreamCaptionsLeftOut:
            text = "left out: the captions of " + counted(kind.count, "frame") + " that are in no packet";
            break;
        case FindingCode::StreamTeletextLeftOut:
            text = "left out: teletext of " + counted(kind.count, "frame");
            break;
        case FindingCode::StreamChannelLeftOut:
            text = "written as luma: " + counted(kind.count, "packet") + " of chroma or the multiplex";
            break;
        case FindingCode::StreamHorizontalOffsetLeftOut:
            text = "left out: the horizontal offset of " + counted(kind.count, "packet");
            break;
        case FindingCode::StreamWrappingLeftOut:
            text = "left out: the wrapping type of " + counted(kind.count, "packet");
            break;
        case FindingCode::StreamPacketLeftOut:
            text = "left out: " + counted(kind.count, "packet") + " of which such a file carries nothing";
            break;
        case FindingCode::SccTripletsLeftOut:
            text = "left out: what " + counted(kind.count, "frame") + " have of another field or a caption service";
            break;
        case FindingCode::StreamLineLeftOut:
            text = "left out: the line number of " + counted(kind.count, "packet");
            break;
        case FindingCode::SccPairLate:
            text = "sent later: pairs of " + counted(kind.count, "frame") + " that have more than one";
            break;
        default:
            text = "left out, " + counted(kind.count, "time") + ": " + kind.text;
            break;
        }
        printNote("warning: " + _name + ": " + text + ", first: " + kind.first);
    }
}

void FrameFile::write(const Frame& frame) {
    if (_leftOut) {
        _leftOut->setFrame(frame);
    }
    if (const auto failure = _writer->write(frame, _leftOut.get())) {
        _bytes.rethrow();
        throw failureOf(frame, *failure, _width);
    }
}

void FrameFile::finish() {
    if (const auto failure = _writer->finish()) {
        _bytes.rethrow();
        throw Failure(failure->text());
    }
    if (_leftOut) {
        _leftOut->say();
    }
}

bool isBehindMidnight(std::uint64_t number, const FrameOutputOptions& frames) {
    return frames.format == FrameFormat::Mcc &&
           number >=
               cc::FrameCount(frames.mcc.rate, frames.mcc.dropsFrames && cc::mayDropFrames(frames.mcc.rate)).ofDay();
}

std::optional<FrameFormat> frameFormatNamed(std::string_view name) noexcept {
    return name == "v210"    ? std::optional(FrameFormat::V210)
           : name == "klv"   ? std::optional(FrameFormat::Klv)
           : name == "jsonl" ? std::optional(FrameFormat::Jsonl)
                             : std::nullopt;
}

void settleRows(InputKind input, FrameSourceOptions& source, FrameOutputOptions& output) {
    if (output.format != FrameFormat::V210) {
        return;
    }
    const bool readsRows = streams::hasRows(input);
    if (!readsRows && !source.lines) {
        throw UsageError("--lines or --rows is needed to write v210: a row stands for the same line in every frame");
    }
    output.layout.format = anc::RowFormat::V210;
    output.layout.width = source.width.value_or(kUsualRowWidth);
    output.layout.lines = source.lines.value_or(std::vector<std::uint64_t>{0});
    if (!readsRows) {
        source.width.reset();
        source.lines.reset();
    }
}

namespace {

std::unique_ptr<FrameWriter> makeFile(OutputFile& output, const FrameOutputOptions& options,
                                      std::shared_ptr<LeftOut> leftOut) {
    const auto make = [&options](streams::ByteSink& sink) -> std::unique_ptr<streams::FrameWriter> {
        const bool asDeployed = options.form == RowForm::AsDeployed;
        switch (options.format) {
        case FrameFormat::Jsonl:
            return std::make_unique<streams::JsonlWriter>(sink);
        case FrameFormat::V210:
            if (asDeployed) {
                return std::make_unique<DeployedRowWriter>(sink, options.layout);
            }
            return std::make_unique<streams::RowWriter>(sink, options.layout);
        case FrameFormat::Mcc:
            return std::make_unique<streams::MccWriter>(sink, options.mcc);
        case FrameFormat::Scc:
            return std::make_unique<streams::SccWriter>(sink, options.scc);
        case FrameFormat::TransportStream:
            return std::make_unique<streams::TransportWriter>(sink, options.transport);
        case FrameFormat::Klv:
            break;
        }
        if (asDeployed) {
            return std::make_unique<DeployedKlvWriter>(sink);
        }
        return std::make_unique<streams::KlvWriter>(sink);
    };
    return std::make_unique<FrameFile>(output, make, options.layout.width, std::move(leftOut));
}

}  // namespace

std::unique_ptr<FrameWriter> makeFrameFile(OutputFile& output, const FrameOutputOptions& options) {
    return makeFile(output, options, nullptr);
}

std::unique_ptr<FrameWriter> makeFrameWriter(OutputFile& output, const FrameOutputOptions& options,
                                             std::shared_ptr<LeftOut> leftOut) {
    return makeFile(output, options, leftOut ? std::move(leftOut) : std::make_shared<LeftOut>(output.name()));
}

}  // namespace qlx::tool
