#include "streams/Container.h"

#include "io/Errors.h"
#include "io/Module.h"
#include "io/Text.h"
#include "streams/ContainerIndex.h"
#include "streams/ContainerInput.h"
#include "streams/ContainerRemarks.h"
#include "streams/Demuxer.h"
#include "streams/FrameOrder.h"
#include "streams/Klv.h"
#include "streams/PacketNames.h"
#include "streams/PictureTimes.h"
#include "streams/StreamEnd.h"
#include "streams/VideoCaptions.h"

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

/// A stream that is read.
struct Track {
    std::size_t index = 0;  ///< Of the demuxer's streams.
    StreamContent content = StreamContent::Other;
    /// H.264 with lengths in front of the NAL units: the bytes of one; 0 for start codes.
    std::size_t lengthBytes = 0;
    std::int32_t timescale = 1;
    std::int64_t frameDuration = 0;

    /// Microseconds by which its clock may round a time; far below the shortest frame, however coarse it is.
    [[nodiscard]] std::int64_t tolerance() const {
        constexpr std::int64_t kGreatest = 4000;
        return std::min(1'000'000 / std::max<std::int64_t>(timescale, 1), kGreatest);
    }
};

constexpr bool isVideo(StreamContent content) {
    return content == StreamContent::H264 || content == StreamContent::Mpeg2;
}

/// In microseconds; none where they are out of range, which only damage is.
std::optional<std::int64_t> microseconds(const MediaTime& time) {
    constexpr std::int64_t kGreatest = std::int64_t{1} << 60U;
    const MediaTime result = convertScale(time, 1'000'000, RoundingMethod::RoundHalfAwayFromZero);
    return result.isValid() && std::abs(result.value) <= kGreatest ? std::optional(result.value) : std::nullopt;
}

/// Loads what takes containers apart, or says that it is not there.
DemuxerModule& demuxers(const InputFile& source, InputKind kind) {
    try {
        return module<DemuxerModule>();
    } catch (const Failure& failure) {
        std::string what =
            std::string(containerName(kind)) + " files need FFmpeg's libraries, which are not there: " + failure.what();
        if (kind == InputKind::Mxf) {
            what += "; --format klv finds the ANC packets in it";
        }
        throw failureIn(source.name(), what);
    }
}

class ContainerReader final : public FrameReader {
public:
    ContainerReader(InputFile& source, InputKind kind);

    bool next(Frame& frame, std::vector<std::string>& problems) override;

private:
    void open();
    void chooseTracks();
    bool readPacket(std::vector<std::string>& problems);
    void take(const Track& track, std::size_t number, std::vector<std::string>& problems);
    void passPicturesOn();
    void takeSample(const Track& track, Frame& frame, std::vector<std::string>& problems) const;
    void checkIndex();
    [[nodiscard]] bool isMultiplex() const {
        return _kind == InputKind::TransportStream || _kind == InputKind::ProgramStream;
    }
    void remarkOnDamagedSample(std::vector<std::string>& problems);
    void endWith(DemuxStatus status, std::vector<std::string>& problems);
    [[nodiscard]] std::string nearHere() const { return "near byte " + std::to_string(_source.offset()); }
    void failWithoutIndex();
    void require(DemuxStatus status, const std::string& what);

    InputFile& _source;
    InputKind _kind;
    StreamCheck _check;
    ContainerInput _input;
    std::unique_ptr<Demuxer> _demuxer;
    DemuxedPacket _packet;
    std::vector<Track> _tracks;
    std::optional<FrameOrder> _order;
    std::optional<PictureTimes> _pictures;     ///< Where the times of the first track cannot be relied on.
    std::optional<std::string> _missingIndex;  ///< What is to be said of it.
    std::optional<MxfFooter> _footer;
    std::optional<std::string> _failure;
    std::optional<std::uint64_t> _lastDamage;  ///< Where the last sample ends that FFmpeg calls damaged.
    ContainerRemarks _remarks;
    bool _hasBegun = false;
    bool _hasFrames = false;
    bool _isAtEnd = false;
};

ContainerReader::ContainerReader(InputFile& source, InputKind kind)
    : _source(source), _kind(kind), _check(source, kind), _input(source, _check) {
    DemuxerModule& takesApart = demuxers(source, kind);
    checkIndex();
    _demuxer = takesApart.demuxer(_input, kind);
    open();
    _check.beginReading();
    chooseTracks();
    _order.emplace(_tracks.size());
    const Track& first = _tracks.front();
    const bool isUnreliable = kind == InputKind::Mxf || kind == InputKind::ProgramStream;
    if (isUnreliable && isVideo(first.content) && first.lengthBytes == 0) {
        // Without an MXF file's index, which a pipe does not give either, its pictures are edit units from 0 on.
        const auto firstTime =
            kind == InputKind::Mxf ? std::optional(MediaTime::make(0, first.timescale)) : std::nullopt;
        _pictures.emplace(first.content == StreamContent::H264 ? VideoCodec::H264 : VideoCodec::Mpeg2,
                          first.frameDuration, firstTime);
    }
}

/// Looks whether the index can be read that the frames are found or timed with.
/// @throws Failure when there is no way without it.
void ContainerReader::checkIndex() {
    if (_kind == InputKind::Mov && !_source.size() && isIndexBehindMedia(_source.peek(kLongestPeek))) {
        throw failureIn(_source.name(),
                        "the index (moov) stands behind the media data, which a pipe does not give again: "
                        "the file must be named, not piped");
    }
    if (_kind != InputKind::Mxf) {
        return;
    }
    _footer = mxfFooter(_source.peek(kLongestPeek));
    _missingIndex = remarkOnFooter(_source);
    if (_missingIndex) {
        // FFmpeg would go and look for it.
        _input.forbidSeeking();
    }
}

/// Throws when the reason why there is nothing to read may be that the index is not all there.
void ContainerReader::failWithoutIndex() {
    if (const auto reason = _kind == InputKind::Mov ? _check.remarkOnIndex() : _missingIndex) {
        throw failureIn(_source.name(), *reason);
    }
}

/// Throws why the file cannot be read when it cannot, with FFmpeg's words where nothing better is known.
void ContainerReader::require(DemuxStatus status, const std::string& what) {
    if (status == DemuxStatus::Done) {
        return;
    }
    _input.rethrow();
    if (status == DemuxStatus::OutOfMemory) {
        throw failureIn(_source.name(), what + ": it asks for more memory than any such file needs");
    }
    failWithoutIndex();
    const std::vector<std::string> remarks = _demuxer->takeRemarks();
    throw failureIn(_source.name(), what + ": the file is cut short or damaged (" +
                                        (remarks.empty() ? _demuxer->errorText() : remarks.back()) + ")");
}

void ContainerReader::open() {
    require(_demuxer->open(), "cannot be read as " + std::string(containerName(_kind)));
    require(_demuxer->findStreams(), "the streams cannot be told");
    _input.rethrow();
}

void ContainerReader::chooseTracks() {
    bool hasVideo = false;
    const std::vector<DemuxedStream> streams = _demuxer->streams();
    for (std::size_t index = 0; index < streams.size(); ++index) {
        const DemuxedStream& stream = streams[index];
        const bool isPicture = isVideo(stream.content);
        if (stream.content == StreamContent::Other || (isPicture && hasVideo)) {
            _demuxer->discard(index);
            continue;
        }
        Track track;
        track.index = index;
        track.content = stream.content;
        track.lengthBytes = stream.content == StreamContent::H264 ? lengthBytesOf(stream.parameters) : 0;
        track.timescale = stream.timescale;
        track.frameDuration = stream.frameDuration;
        // The picture comes first: what it carries goes before the tracks.
        _tracks.insert(isPicture ? _tracks.begin() : _tracks.end(), track);
        hasVideo = hasVideo || isPicture;
    }
    if (_tracks.empty()) {
        failWithoutIndex();
        throw failureIn(_source.name(), "no H.264 or MPEG-2 video, caption track or ANC track in it");
    }
}

void ContainerReader::takeSample(const Track& track, Frame& frame, std::vector<std::string>& problems) const {
    const std::span<const std::uint8_t> bytes = _packet.bytes;
    switch (track.content) {
    case StreamContent::Other:
        break;
    case StreamContent::H264:
        frame.triplets = track.lengthBytes == 0 ? captionTriplets(bytes, VideoCodec::H264)
                                                : captionTripletsOfLengths(bytes, track.lengthBytes);
        break;
    case StreamContent::Mpeg2:
        frame.triplets = captionTriplets(bytes, VideoCodec::Mpeg2);
        break;
    case StreamContent::Pairs:
        // FFmpeg gives the pairs of both fields as triplets.
        frame.triplets = Data(bytes.first(bytes.size() / 3 * 3));
        frame.captionPlace = CaptionPlace::Track;
        break;
    case StreamContent::Atom:
        if (const auto packet =
                QLXVANCPacket::VANCPacketWithQuickTimeAtomBuffer_size_lineNumber(bytes.data(), bytes.size(), 0)) {
            frame.packets.push_back(packetOf(
                {static_cast<std::uint8_t>(packet->packetDID()), static_cast<std::uint8_t>(packet->packetSDID())},
                packet->packetData(), 0));
        } else if (!bytes.empty()) {
            problems.push_back("byte " + std::to_string(_packet.place) + ": caption sample of " +
                               counted(bytes.size(), "byte") + " without a ccdp atom");
        }
        break;
    case StreamContent::AncElement:
        readAncFrameElement(bytes, "byte " + std::to_string(_packet.place), frame, problems);
        break;
    }
}

void ContainerReader::take(const Track& track, std::size_t number, std::vector<std::string>& problems) {
    FrameSample sample;
    sample.stream = number;
    sample.tolerance = track.tolerance();
    if (_packet.time) {
        sample.frame.pts = MediaTime::make(*_packet.time, track.timescale);
        sample.presentation = microseconds(*sample.frame.pts);
    }
    if (_packet.decodingTime) {
        sample.decoding = microseconds(MediaTime::make(*_packet.decodingTime, track.timescale));
    }
    if (_packet.isDamaged) {
        remarkOnDamagedSample(problems);
    } else if (track.lengthBytes > 0 && !hasWholeUnits(_packet.bytes, track.lengthBytes)) {
        _remarks.addDamagedUnits(_packet.place, problems);
    }
    takeSample(track, sample.frame, problems);
    if (_pictures && number == 0) {
        _pictures->add(_packet.bytes, std::move(sample.frame));
        passPicturesOn();
        return;
    }
    _order->add(std::move(sample));
}

void ContainerReader::passPicturesOn() {
    while (std::optional<Frame> frame = _pictures->take()) {
        FrameSample sample;
        if (frame->pts) {
            sample.presentation = microseconds(*frame->pts);
            sample.decoding = sample.presentation;
        }
        sample.tolerance = _tracks.front().tolerance();
        sample.frame = std::move(*frame);
        _order->add(std::move(sample));
    }
}

void ContainerReader::remarkOnDamagedSample(std::vector<std::string>& problems) {
    if (isMultiplex()) {
        // More has been read than what belongs to the sample.
        _remarks.add(nearHere() + ": a damaged or cut sample", problems);
        return;
    }
    _lastDamage = _source.offset();
    // What there is to say of the end of a file may say it better.
    if (_source.offset() != _source.size()) {
        _remarks.addDamagedSample(*_lastDamage, problems);
    }
}

/// Says why nothing more can be read.
void ContainerReader::endWith(DemuxStatus status, std::vector<std::string>& problems) {
    const std::vector<std::string> remarks = _demuxer->takeRemarks();
    const std::string place = nearHere();
    if (status == DemuxStatus::OutOfMemory) {
        _failure = place + ": a piece that takes too much memory";
        return;
    }
    if (status != DemuxStatus::End) {
        _remarks.addForeign(place, remarks, problems);
        _failure = place + ": the rest cannot be read: " + _demuxer->errorText();
        return;
    }
    const std::uint64_t end = _source.offset();
    if (_missingIndex) {
        // It has been said what the rest is missing for.
        return;
    }
    std::optional<std::string> ending = _check.remarkOnEnd(_input.lastBytes());
    if (_footer && !_source.size()) {
        ending = remarkOnMissingFooter(*_footer, end);
    }
    if (ending) {
        problems.push_back(std::move(*ending));
    } else if (_lastDamage == end) {
        // What FFmpeg says of the end is about this sample.
        _remarks.addDamagedSample(end, problems);
    } else {
        _remarks.addForeign(place, remarks, problems);
    }
}

/// Reads the next packet; false at the end.
bool ContainerReader::readPacket(std::vector<std::string>& problems) {
    const std::uint64_t begin = _source.offset();
    const DemuxStatus status = _demuxer->read(_packet);
    _input.rethrow();
    for (std::string& remark : _check.takeRemarks()) {
        _remarks.add(std::move(remark), problems);
    }
    if (_kind == InputKind::TransportStream) {
        // What stands between the packets of other streams has been said.
        _remarks.addGap(begin, _source.offset(), problems);
    }
    if (status != DemuxStatus::Done) {
        endWith(status, problems);
        return false;
    }
    _remarks.addForeign(nearHere(), _demuxer->takeRemarks(), problems);
    const auto track =
        std::find_if(_tracks.begin(), _tracks.end(), [this](const Track& one) { return one.index == _packet.stream; });
    if (track != _tracks.end()) {
        take(*track, static_cast<std::size_t>(track - _tracks.begin()), problems);
    }
    return true;
}

bool ContainerReader::next(Frame& frame, std::vector<std::string>& problems) {
    if (_missingIndex && !_hasBegun) {
        problems.push_back(*_missingIndex + "; times are counted from 0 at the file's edit rate");
    }
    _hasBegun = true;
    for (;;) {
        if (std::optional<Frame> ready = _order->take()) {
            frame = std::move(*ready);
            _hasFrames = true;
            return true;
        }
        if (_isAtEnd) {
            if (!_failure && !_hasFrames) {
                _failure = "no frame in it";
            }
            if (_failure) {
                throw failureIn(_source.name(), *_failure);
            }
            return false;
        }
        if (!readPacket(problems)) {
            _isAtEnd = true;
            if (_pictures) {
                _pictures->finish();
                passPicturesOn();
            }
            _order->finish();
        }
    }
}

}  // namespace

std::unique_ptr<FrameReader> openContainer(InputFile& source, InputKind kind) {
    return std::make_unique<ContainerReader>(source, kind);
}

}  // namespace qlx::tool
