#include "io/FrameOutput.h"

#include "io/AsDeployed.h"
#include "io/Errors.h"
#include "io/Text.h"

#include <qlx/streams/jsonl.h>
#include <qlx/streams/klv.h>
#include <qlx/streams/rows.h>

#include <algorithm>
#include <utility>

namespace qlx::tool {

namespace {

/// Hands frames on, and says what was lost on the way.
class LossyWriter final : public FrameWriter {
public:
    /// @param keepsChannels Whether the format says where on its row a packet stands.
    LossyWriter(std::unique_ptr<FrameWriter> writer, std::string name, bool keepsChannels)
        : _writer(std::move(writer)), _name(std::move(name)), _keepsChannels(keepsChannels) {}

    void write(const Frame& frame) override {
        _writer->write(frame);
        _captions += frame.triplets.empty() ? 0 : 1;
        if (!_keepsChannels) {
            _packets += static_cast<std::uint64_t>(
                std::count_if(frame.packets.begin(), frame.packets.end(),
                              [](const anc::Packet& packet) { return packet.channel != anc::Channel::Luma; }));
        }
    }

    void finish() override {
        _writer->finish();
        if (_captions > 0) {
            printNote("warning: " + _name + ": left out: the captions of " + counted(_captions, "frame") +
                      " that are in no packet");
        }
        if (_packets > 0) {
            printNote("warning: " + _name + ": written as luma: " + counted(_packets, "packet") +
                      " of chroma or the multiplex");
        }
    }

private:
    std::unique_ptr<FrameWriter> _writer;
    std::string _name;
    bool _keepsChannels;
    std::uint64_t _captions = 0;  ///< Frames with captions that are in no packet.
    std::uint64_t _packets = 0;   ///< That were not in luma.
};

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

void FrameFile::write(const Frame& frame) {
    if (const auto failure = _writer->write(frame, nullptr)) {
        _bytes.rethrow();
        throw failureOf(frame, *failure, _width);
    }
}

void FrameFile::finish() {
    if (const auto failure = _writer->finish()) {
        _bytes.rethrow();
        throw Failure(failure->text());
    }
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

std::unique_ptr<FrameWriter> makeFrameFile(OutputFile& output, const FrameOutputOptions& options) {
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
        case FrameFormat::Klv:
            break;
        }
        if (asDeployed) {
            return std::make_unique<DeployedKlvWriter>(sink);
        }
        return std::make_unique<streams::KlvWriter>(sink);
    };
    return std::make_unique<FrameFile>(output, make, options.layout.width);
}

std::unique_ptr<FrameWriter> makeFrameWriter(OutputFile& output, const FrameOutputOptions& options) {
    auto file = makeFrameFile(output, options);
    if (options.format == FrameFormat::Jsonl) {
        return file;
    }
    return std::make_unique<LossyWriter>(std::move(file), output.name(), options.form == RowForm::Contiguous);
}

}  // namespace qlx::tool
