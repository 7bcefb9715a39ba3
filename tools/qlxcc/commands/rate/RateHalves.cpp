#include "commands/rate/RateHalves.h"

#include "io/Errors.h"
#include "io/FrameLoop.h"
#include "io/Progress.h"
#include "io/Text.h"
#include "streams/Cdp.h"
#include "streams/OpenFrames.h"
#include "streams/PacketNames.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>
#include <qlx/anc/atom.h>
#include <qlx/anc/caption_atom.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

using anc::Packet;
using Sample = std::shared_ptr<SampleBuffer>;

constexpr std::size_t kHeaderSize = 7;
constexpr std::size_t kSmallestPacket = 10;

bool isCaptionPacket(const Packet& packet) {
    return packet.id() == anc::ids::kCdp;
}

/// `data` as the one sample of a `clcp`/`c708` stream: an atom header and the CDP.
Sample captionSample(std::span<const std::uint8_t> data, const SampleTimingInfo& timing) {
    const std::size_t size = data.size() + anc::kAtomHeaderBytes;
    auto block = std::make_shared<BlockBuffer>(size);
    (void)anc::writeCaptionAtom(anc::kCdpAtom, data, std::span(block->data(), size));
    auto sample = std::make_shared<SampleBuffer>();
    sample->dataBuffer = std::move(block);
    sample->formatDescription =
        std::make_shared<FormatDescription>(FormatDescription{anc::kCaptionMedia, anc::kCea708Samples, {}});
    sample->timingInfo = timing;
    sample->sampleSize = size;
    return sample;
}

/// Changes the rate of a file's frames.
class Halves {
public:
    Halves(const RateChangeOptions& options, InputFile& source, OutputFile& output)
        : _options(options), _source(source), _reader(openFrames(source, options.source)),
          _writer(makeFrameWriter(output, options.frames)), _remarks(source),
          _progress(source.size(), output.isStandardOutput()), _leftOut(output.name()) {}

    std::uint64_t run() {
        Frame frame;
        while (read(frame)) {
            if (isDouble(_options.from, _options.to)) {
                split(frame);
            } else {
                Frame second;
                const bool hasSecond = read(second);
                join(frame, hasSecond ? &second : nullptr);
            }
        }
        if (_remarks.hasMore()) {
            _remarks.sayHowManyMore();
        }
        _writer->finish();
        _leftOut.say();
        saySectionsLeftOut();
        return _reader->problems();
    }

private:
    bool read(Frame& frame) {
        const bool hasFrame = readNext(_source, *_reader, _remarks, _progress, frame);
        if (_reader->losses() > 0) {
            // Frames belong together in pairs.
            throw failureIn(_source.name(), "not every packet could be read");
        }
        if (hasFrame) {
            _leftOut.addWrappings(frame);
        }
        return hasFrame;
    }

    /// A packet's CDP as a sample of the rate that the file has.
    Sample sampleOf(const Frame& frame, const Packet& packet) {
        const std::span<const std::uint8_t> data = packet.userData;
        const std::string place = placeOf(frame.number, packet.line);
        const std::optional<ReadCdp> cdp = readCdp(data);
        if (!cdp || data.size() < kSmallestPacket) {
            throw failureIn(_source.name(), place + ": the CEA-708 packet holds no caption distribution packet (CDP)");
        }
        if (cdp->rate != _options.from.name && !_hasWarned) {
            _hasWarned = true;
            _progress.clear();
            printNote("warning: " + _source.name() + ": " + place + ": the caption packet is marked as one of " +
                      (cdp->rate.empty() ? "an unknown rate" : std::string(cdp->rate) + " frames/s"));
        }
        if (const std::string contradiction = contradictionIn(*cdp); !contradiction.empty() && !_hasWarnedOfCount) {
            _hasWarnedOfCount = true;
            _progress.clear();
            printNote("warning: " + _source.name() + ": " + place +
                      ": the caption packet contradicts itself: " + contradiction);
        }
        _timeCodesLeftOut += cdp->cdp.timeCode() ? 1 : 0;
        _servicesLeftOut += cdp->cdp.hasServiceInformation() ? 1 : 0;
        _othersLeftOut += cdp->cdp.futureSections().empty() ? 0 : 1;
        std::vector<std::uint8_t> bytes(data.begin(), data.end());
        // The library expects the triplets at their usual place, without a time code in front of them.
        if (cdp->cdp.timeCode() && bytes[kHeaderSize] == static_cast<std::uint8_t>(cc::CdpSection::TimeCode)) {
            const auto timeCode = bytes.begin() + kHeaderSize;
            bytes.erase(timeCode, timeCode + 1 + cc::CdpTimeCode::kBytes);
        }
        return captionSample(bytes, timingOf(frame.number));
    }

    /// The fixed operations carry triplets alone.
    void saySectionsLeftOut() const {
        const auto say = [this](std::uint64_t packets, std::string_view what) {
            if (packets > 0) {
                printNote("warning: " + _source.name() + ": left out: " + std::string(what) + " of " +
                          counted(packets, "caption packet"));
            }
        };
        say(_timeCodesLeftOut, "the time code");
        say(_servicesLeftOut, "the service information");
        say(_othersLeftOut, "sections of unknown kinds");
    }

    [[nodiscard]] SampleTimingInfo timingOf(std::uint64_t frame) const {
        return {_options.from.frameDuration(), _options.from.timeOfFrame(frame), {}};
    }

    /// A packet like `model` with the CDP of `sample`.
    Packet packetWith(const Packet& model, const Sample& sample) const {
        const Data data = QLXCCUtilities::extractCaptionsDataFromSampleBuffer(sample);
        if (!data) {
            throw failureIn(_source.name(), "a caption packet could not be converted");
        }
        return packetOf(anc::ids::kCdp, data, model.line);
    }

    /// @param triplets The fixed operations have no place for them, and neither have the formats: the writer says so.
    void write(std::vector<Packet> packets, const Data& triplets) {
        Frame frame;
        frame.number = _framesWritten++;
        frame.pts = _options.to.timeOfFrame(frame.number);
        frame.packets = std::move(packets);
        frame.triplets = triplets;
        _writer->write(frame);
    }

    void split(const Frame& frame) {
        std::vector<Packet> first;
        std::vector<Packet> second;
        for (const Packet& packet : frame.packets) {
            if (!isCaptionPacket(packet)) {
                first.push_back(packet);
                continue;
            }
            std::array<Sample, 2> halves;
            (void)QLXCCUtilities::splitSampleBuffer_toSampleBuffer_andSampleBuffer_frameDuration(
                sampleOf(frame, packet), &halves[0], &halves[1], _options.to.frameDuration());
            first.push_back(packetWith(packet, halves[0]));
            second.push_back(packetWith(packet, halves[1]));
        }
        write(std::move(first), frame.triplets);
        write(std::move(second), {});
    }

    /// The n-th caption packets of both frames are joined, at the place of the first; a missing one counts as empty.
    void join(const Frame& first, const Frame* second) {
        std::vector<Packet> captions;
        std::vector<Packet> others;
        if (second != nullptr) {
            std::partition_copy(second->packets.begin(), second->packets.end(), std::back_inserter(captions),
                                std::back_inserter(others), isCaptionPacket);
        }
        std::vector<Packet> joined;
        std::size_t used = 0;
        for (const Packet& packet : first.packets) {
            if (!isCaptionPacket(packet)) {
                joined.push_back(packet);
                continue;
            }
            const bool hasPartner = used < captions.size();
            joined.push_back(packetWith(
                packet, join(sampleOf(first, packet), hasPartner ? sampleOf(*second, captions[used++]) : empty())));
        }
        for (; used < captions.size(); ++used) {
            joined.push_back(packetWith(captions[used], join(empty(), sampleOf(*second, captions[used]))));
        }
        joined.insert(joined.end(), others.begin(), others.end());
        write(std::move(joined), first.triplets.empty() && second != nullptr ? second->triplets : first.triplets);
    }

    [[nodiscard]] Sample join(const Sample& first, const Sample& second) const {
        return QLXCCUtilities::createConcatenatedSampleBufferWithSampleBuffer_andSampleBuffer_frameDuration(
            first, second, _options.to.frameDuration());
    }

    [[nodiscard]] Sample empty() const {
        return QLXCCUtilities::createEmptyCEA708SampleBufferWithPTS_frameDuration_sequenceCounter(
            MediaTime::make(0, _options.from.timescale), _options.from.frameDuration(), 0);
    }

    const RateChangeOptions& _options;
    NamedSource& _source;
    std::unique_ptr<FrameInput> _reader;
    std::unique_ptr<FrameWriter> _writer;
    RemarkNotes _remarks;
    Progress _progress;
    LeftOut _leftOut;
    std::uint64_t _framesWritten = 0;
    std::uint64_t _timeCodesLeftOut = 0;  ///< Caption packets with one.
    std::uint64_t _servicesLeftOut = 0;
    std::uint64_t _othersLeftOut = 0;
    bool _hasWarned = false;
    bool _hasWarnedOfCount = false;
};

}  // namespace

std::uint64_t changeToHalves(const RateChangeOptions& options, InputFile& source, OutputFile& output) {
    return Halves(options, source, output).run();
}

}  // namespace qlx::tool
