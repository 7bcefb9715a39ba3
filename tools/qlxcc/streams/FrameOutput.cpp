#include "streams/FrameOutput.h"

#include "io/Errors.h"
#include "io/Text.h"
#include "streams/Json.h"
#include "streams/Klv.h"
#include "streams/RowFile.h"

#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

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

}  // namespace

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
    if (!hasRows(input) && !source.lines) {
        throw UsageError("--lines or --rows is needed to write v210: a row stands for the same line in every frame");
    }
    output.layout.pixelFormat = kPixelFormatV210;
    output.layout.width = source.width.value_or(kUsualRowWidth);
    output.layout.lines = source.lines.value_or(std::vector<std::uint64_t>{0});
    if (!hasRows(input)) {
        source.width.reset();
        source.lines.reset();
    }
}

std::unique_ptr<FrameWriter> makeFrameWriter(OutputFile& output, const FrameOutputOptions& options) {
    switch (options.format) {
    case FrameFormat::Jsonl:
        return std::make_unique<JsonlWriter>(output);
    case FrameFormat::V210:
        return std::make_unique<LossyWriter>(std::make_unique<V210Writer>(output, options.layout, options.form),
                                             output.name(), options.form == RowForm::Contiguous);
    case FrameFormat::Klv:
        break;
    }
    const bool asDeployed = options.form == RowForm::AsDeployed;
    return std::make_unique<LossyWriter>(std::make_unique<KlvWriter>(output, asDeployed), output.name(), !asDeployed);
}

}  // namespace qlx::tool
