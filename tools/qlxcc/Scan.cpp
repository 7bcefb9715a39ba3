#include "Scan.h"

#include "Cdp.h"
#include "Errors.h"
#include "Frame.h"
#include "InputFile.h"
#include "Json.h"
#include "Klv.h"
#include "OutputFile.h"
#include "Progress.h"
#include "RowFile.h"
#include "SCTE104Message.h"
#include "Text.h"

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <memory>
#include <optional>

namespace qlx::tool {

namespace {

constexpr std::size_t kFrameWidth = 8;
constexpr std::size_t kLineWidth = 5;
constexpr std::size_t kNameWidth = 17;
constexpr std::size_t kSizeWidth = 5;

/// Writes a line a packet, a second one with what a caption packet holds, and at the end how many there were.
class ListWriter final : public FrameWriter {
public:
    explicit ListWriter(OutputFile& output) : _output(output) {}

    void write(const Frame& frame) override {
        if (_packets == 0 && !frame.packets.empty()) {
            _output.write("   frame   line  DID/SDID  name               bytes  data\n");
        }
        for (const auto& packet : frame.packets) {
            const Data data = packet->packetData();
            const auto did = static_cast<std::uint8_t>(packet->packetDID());
            const auto sdid = static_cast<std::uint8_t>(packet->packetSDID());
            _output.write(rightAligned(frame.number, kFrameWidth) + "  " +
                          rightAligned(packet->lineNumber(), kLineWidth) + "  " + hex(std::span(&did, 1)) + "/" +
                          hex(std::span(&sdid, 1)) + "     " +
                          padded(QLXVANCPacket::nameOfPacketType(packet->packetType()), kNameWidth) + "  " +
                          rightAligned(data.size(), kSizeWidth) + "  " + hex(data) + "\n");
            if (packet->packetType() == QLXVANCPacketTypeCEA708) {
                _output.write(std::string(kFrameWidth + kLineWidth + 4, ' ') + cdpInWords(data) + "\n");
            } else if (packet->packetType() == QLXVANCPacketTypeSCTE104) {
                _output.write(std::string(kFrameWidth + kLineWidth + 4, ' ') + scte104InWords(data) + "\n");
            }
        }
        ++_frames;
        _packets += frame.packets.size();
    }

    void writeSummary() { _output.write(counted(_packets, "packet") + " in " + counted(_frames, "frame") + "\n"); }

private:
    OutputFile& _output;
    std::uint64_t _frames = 0;
    std::uint64_t _packets = 0;
};

std::unique_ptr<FrameReader> makeReader(const ScanOptions& options, ByteSource& source) {
    if (options.format == ScanFormat::Klv) {
        return std::make_unique<KlvReader>(source);
    }
    const std::uint32_t pixelFormat = options.format == ScanFormat::V210 ? kPixelFormatV210 : kPixelFormat2vuy;
    return std::make_unique<RowReader>(source, RowLayout{pixelFormat, options.width, options.lines});
}

/// Writes every frame of the file.
/// @return The number of problems that were reported.
std::uint64_t copyFrames(ByteSource& source, FrameReader& reader, FrameWriter& writer, OutputFile& output) {
    const bool isTerminal = standardOutputIsTerminal();
    Progress progress(source.size(), true);
    std::uint64_t problemCount = 0;
    Frame frame;
    std::vector<std::string> problems;
    for (std::uint64_t frames = 1; reader.next(frame, problems); ++frames) {
        writer.write(frame);
        if (!problems.empty()) {
            // The list so far comes first, so that both are in order where they go to one place.
            output.flush();
            progress.clear();
            for (const std::string& problem : problems) {
                printMessage(source.name() + ": " + problem);
            }
            problemCount += problems.size();
            problems.clear();
        }
        if (isTerminal) {
            output.flush();
        }
        progress.update(frames, source.offset());
    }
    return problemCount;
}

}  // namespace

int scan(const ScanOptions& options) {
    InputFile source(options.file);
    const auto reader = makeReader(options, source);
    OutputFile output(std::nullopt);
    std::unique_ptr<FrameWriter> writer;
    ListWriter* list = nullptr;
    if (options.asJson) {
        writer = std::make_unique<JsonlWriter>(output, true);
    } else {
        auto listWriter = std::make_unique<ListWriter>(output);
        list = listWriter.get();
        writer = std::move(listWriter);
    }
    std::uint64_t problemCount = 0;
    try {
        problemCount = copyFrames(source, *reader, *writer, output);
    } catch (const Failure&) {
        // What came before the broken place has been found all the same.
        output.flush();
        throw;
    }
    if (list != nullptr) {
        list->writeSummary();
    }
    output.commit();
    if (problemCount > 1) {
        throw failureIn(source.name(), counted(problemCount, "problem") + ": not every packet could be read");
    }
    return problemCount == 0 ? kExitSuccess : kExitFailure;
}

}  // namespace qlx::tool
