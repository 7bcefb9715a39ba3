#include <qlx/streams/container.h>

#include "CaptionAtoms.h"
#include "ContainerFindings.h"
#include "ContainerIndex.h"
#include "ContainerInput.h"
#include "Demuxer.h"
#include "FrameOrder.h"
#include "Module.h"
#include "PictureStream.h"
#include "SampleUnits.h"
#include "StreamCheck.h"

#include <qlx/streams/klv.h>
#include <qlx/streams/video.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qlx::streams {

using detail::Demuxer;
using detail::DemuxStatus;
using detail::StreamContent;

namespace {

/// A stream that is read.
struct Track {
    std::size_t index = 0;  ///< Of the demuxer's streams.
    StreamContent content = StreamContent::Other;
    video::StreamForm form;                   ///< Of a stream of pictures.
    std::vector<std::uint8_t> configuration;  ///< The same.
    std::int32_t timescale = 1;
    std::int64_t frameDuration = 0;

    /// Microseconds by which its clock may round a time; far below the shortest frame, however coarse it is.
    [[nodiscard]] std::int64_t tolerance() const {
        constexpr std::int64_t kGreatest = 4000;
        return std::min(1'000'000 / std::max<std::int64_t>(timescale, 1), kGreatest);
    }
};

/// The codec of a stream of pictures.
constexpr std::optional<video::Codec> codecOf(StreamContent content) {
    return content == StreamContent::H264    ? std::optional(video::Codec::H264)
           : content == StreamContent::Mpeg2 ? std::optional(video::Codec::Mpeg2)
           : content == StreamContent::H265  ? std::optional(video::Codec::H265)
                                             : std::nullopt;
}

constexpr Finding errorOf(FindingCode code, std::uint64_t offset = 0, std::int64_t first = 0) {
    return {code, Severity::Error, offset, first, 0};
}

/// Where the memory was asked for, as ContainerTooMuchMemory says.
enum class Stage : std::int64_t { Opening = 1, TellingStreams, Reading };

}  // namespace

class ContainerReader::Reading {
public:
    Reading(ByteSource& source, InputKind kind, const ContainerOptions& options)
        : _source(source), _kind(kind), _options(options), _check(source, kind), _input(source, _check) {}

    std::optional<Finding> open();
    Result<bool> next(Frame& frame, FindingSink* findings);
    [[nodiscard]] std::vector<std::string> takeWords() { return _findings.takeWords(); }
    /// Whether what is read belongs to a picture or packet that begins somewhere before, among others.
    [[nodiscard]] bool isMultiplex() const {
        return _kind == InputKind::TransportStream || _kind == InputKind::ProgramStream;
    }

private:
    std::optional<Finding> begin();
    std::optional<Finding> ending();
    std::optional<Finding> checkIndex();
    [[nodiscard]] std::optional<Finding> missingIndex();
    std::optional<Finding> obstacle(DemuxStatus status, Stage stage);
    std::optional<Finding> chooseTracks();
    void preparePictures();
    bool readPacket();
    void unwrapTimes();
    void take(const Track& track, std::size_t number);
    void takeSample(const Track& track, Frame& frame);
    void takeAtoms(Frame& frame);
    void takeElement(Frame& frame);
    void reportDamagedSample();
    void endWith(DemuxStatus status);

    PictureCaptions _captions;  ///< Of the first stream of pictures.
    ByteSource& _source;
    InputKind _kind;
    ContainerOptions _options;
    detail::StreamCheck _check;
    detail::ContainerInput _input;
    std::unique_ptr<Demuxer> _demuxer;
    detail::DemuxedPacket _packet;
    std::vector<Track> _tracks;
    std::optional<detail::FrameOrder> _order;
    std::optional<detail::PictureStream> _pictures;  ///< Of a first track of pictures.
    std::optional<Finding> _missingIndex;            ///< What is to be said of it.
    std::optional<detail::MxfFooter> _footer;
    std::optional<Finding> _failure;
    std::optional<std::int64_t> _wrap;         ///< Is added to all times; none: there was no packet with one.
    std::optional<std::uint64_t> _lastDamage;  ///< Where the last sample ends that FFmpeg calls damaged.
    detail::ContainerFindings _findings;
    bool _isOpen = false;
    bool _hasBegun = false;
    bool _hasFrames = false;
    bool _isAtEnd = false;
    std::string _endingWords;  ///< Of the library, for what ends the reading.
};

std::optional<Finding> ContainerReader::Reading::open() {
    if (!_isOpen) {
        _isOpen = true;
        _failure = begin();
        _isAtEnd = _failure.has_value();
    }
    return _isAtEnd && !_hasBegun ? ending() : std::nullopt;
}

std::optional<Finding> ContainerReader::Reading::begin() {
    std::string reason;
    detail::DemuxerModule* const takesApart = detail::loadDemuxers(&reason);
    if (takesApart == nullptr) {
        _endingWords = std::move(reason);
        return errorOf(FindingCode::ContainerLibraryMissing);
    }
    if (const std::optional<Finding> error = checkIndex()) {
        return error;
    }
    _demuxer = takesApart->demuxer(_input, _kind, _options.ownsLibrarySettings);
    if (const std::optional<Finding> error = obstacle(_demuxer->open(detail::PacketTimes::Shown), Stage::Opening)) {
        return error;
    }
    if (const std::optional<Finding> error = obstacle(_demuxer->findStreams(), Stage::TellingStreams)) {
        return error;
    }
    _check.beginReading();
    if (const std::optional<Finding> error = chooseTracks()) {
        return _source.error() ? _source.error() : error;
    }
    _order.emplace(_tracks.size());
    preparePictures();
    return std::nullopt;
}

void ContainerReader::Reading::preparePictures() {
    const Track& first = _tracks.front();
    if (!codecOf(first.content)) {
        return;
    }
    detail::PictureStreamForm form{first.form, first.configuration, first.timescale, first.frameDuration,
                                   first.tolerance()};
    if (first.form.lengthBytes == 0) {
        form.trust = _kind == InputKind::Mxf || _kind == InputKind::ProgramStream ? detail::PictureTrust::None
                     : _kind == InputKind::TransportStream                        ? detail::PictureTrust::Told
                                                                                  : detail::PictureTrust::Whole;
    }
    // Without an MXF file's index, which a pipe does not give either, its pictures are edit units from 0 on.
    if (_kind == InputKind::Mxf) {
        form.first = MediaTime::make(0, first.timescale);
    }
    _pictures.emplace(std::move(form));
}

/// What ends the reading, each time with its words.
std::optional<Finding> ContainerReader::Reading::ending() {
    if (_failure && hasLibraryText(_failure->code)) {
        _findings.keepWords(_endingWords);
    }
    return _failure;
}

/// Looks whether the index can be read that the frames are found or timed with.
/// @return Why there is no way without it.
std::optional<Finding> ContainerReader::Reading::checkIndex() {
    if (_kind == InputKind::Mov && !_source.size() && detail::isIndexBehindMedia(_source.peek(kLongestPeek))) {
        return errorOf(FindingCode::ContainerIndexBehindMedia);
    }
    if (_kind != InputKind::Mxf) {
        return std::nullopt;
    }
    _footer = detail::mxfFooter(_source.peek(kLongestPeek));
    _missingIndex = detail::lookForFooter(_source);
    if (_missingIndex) {
        // FFmpeg would go and look for it.
        _input.forbidSeeking();
    }
    return std::nullopt;
}

/// Why there may be nothing to read: the index is not all there.
std::optional<Finding> ContainerReader::Reading::missingIndex() {
    return _kind == InputKind::Mov ? _check.missingIndex() : _missingIndex;
}

/// Why the file cannot be read when it cannot, with FFmpeg's words where nothing better is known.
std::optional<Finding> ContainerReader::Reading::obstacle(DemuxStatus status, Stage stage) {
    if (status == DemuxStatus::Done) {
        return std::nullopt;
    }
    if (_source.error()) {
        return _source.error();
    }
    if (status == DemuxStatus::OutOfMemory) {
        return errorOf(FindingCode::ContainerTooMuchMemory, 0, static_cast<std::int64_t>(stage));
    }
    if (const std::optional<Finding> missing = missingIndex()) {
        return missing;
    }
    const std::vector<std::string> remarks = _demuxer->takeRemarks();
    _endingWords = remarks.empty() ? _demuxer->errorText() : remarks.back();
    return errorOf(stage == Stage::Opening ? FindingCode::ContainerNotReadable : FindingCode::ContainerStreamsUnknown);
}

std::optional<Finding> ContainerReader::Reading::chooseTracks() {
    bool hasVideo = false;
    const std::vector<detail::DemuxedStream> streams = _demuxer->streams();
    for (std::size_t index = 0; index < streams.size(); ++index) {
        const detail::DemuxedStream& stream = streams[index];
        const std::optional<video::Codec> codec = codecOf(stream.content);
        if (!detail::hasFrames(stream.content) || (codec && hasVideo)) {
            _demuxer->discard(index);
            continue;
        }
        Track track;
        track.index = index;
        track.content = stream.content;
        if (codec) {
            const bool hasLengths = *codec != video::Codec::Mpeg2;
            track.form = {*codec, hasLengths ? detail::lengthBytesOf(stream.parameters, *codec) : 0};
            track.configuration = stream.parameters;
        }
        track.timescale = stream.timescale;
        track.frameDuration = stream.frameDuration;
        // The picture comes first: what it carries goes before the tracks.
        _tracks.insert(codec ? _tracks.begin() : _tracks.end(), track);
        hasVideo = hasVideo || codec;
    }
    if (!_tracks.empty()) {
        return std::nullopt;
    }
    const std::optional<Finding> missing = missingIndex();
    return missing ? missing : errorOf(FindingCode::ContainerWithoutTracks);
}

void ContainerReader::Reading::takeAtoms(Frame& frame) {
    detail::FindingsAt findings(_findings, _packet.place);
    if (!detail::readCaptionAtoms(_packet.bytes, frame, findings)) {
        _findings.addAlways(
            errorOf(FindingCode::ContainerAtomMissing, _packet.place, static_cast<std::int64_t>(_packet.bytes.size())));
    }
}

void ContainerReader::Reading::takeElement(Frame& frame) {
    detail::FindingsAt findings(_findings, _packet.place);
    readAncFrameElement(_packet.bytes, 0, frame, &findings);
}

void ContainerReader::Reading::takeSample(const Track& track, Frame& frame) {
    const std::span<const std::uint8_t> bytes = _packet.bytes;
    // What is found in a picture is no damage of the container, and stands where the picture does.
    detail::FindingsAt ofPicture(_findings, _packet.place);
    switch (track.content) {
    default:
        break;
    case StreamContent::H264:
    case StreamContent::Mpeg2:
    case StreamContent::H265:
        frame.triplets = _captions.take(bytes, track.form, 0, &ofPicture);
        break;
    case StreamContent::Pairs:
        // FFmpeg gives the pairs of both fields as triplets.
        frame.triplets = Data(bytes.first(bytes.size() / 3 * 3));
        frame.captionPlace = CaptionPlace::Track;
        break;
    case StreamContent::Atom:
        takeAtoms(frame);
        break;
    case StreamContent::AncElement:
        takeElement(frame);
        break;
    }
}

void ContainerReader::Reading::take(const Track& track, std::size_t number) {
    detail::FrameSample sample;
    sample.stream = number;
    sample.tolerance = track.tolerance();
    if (_packet.time) {
        sample.frame.pts = MediaTime::make(*_packet.time, track.timescale);
        sample.presentation = detail::microseconds(*sample.frame.pts);
    }
    if (_packet.decodingTime) {
        sample.decoding = detail::microseconds(MediaTime::make(*_packet.decodingTime, track.timescale));
    }
    if (_packet.isDamaged) {
        reportDamagedSample();
    } else if (track.form.lengthBytes > 0 && !detail::hasWholeUnits(_packet.bytes, track.form.lengthBytes)) {
        _findings.add(errorOf(FindingCode::ContainerUnitsWrong, _packet.place));
    }
    takeSample(track, sample.frame);
    if (_pictures && number == 0) {
        _pictures->add(_packet.bytes, std::move(sample), *_order);
    } else {
        _order->add(std::move(sample));
    }
}

void ContainerReader::Reading::reportDamagedSample() {
    const std::uint64_t here = _source.offset();
    if (isMultiplex()) {
        // More has been read than what belongs to the sample.
        _findings.add(errorOf(FindingCode::ContainerSampleDamaged, here));
        return;
    }
    _lastDamage = here;
    // What there is to say of the end of a file may say it better.
    if (here != _source.size()) {
        _findings.add(errorOf(FindingCode::ContainerSampleCut, here));
    }
}

/// Says why nothing more can be read.
void ContainerReader::Reading::endWith(DemuxStatus status) {
    const std::vector<std::string> remarks = _demuxer->takeRemarks();
    const std::uint64_t end = _source.offset();
    if (status == DemuxStatus::OutOfMemory) {
        _failure = errorOf(FindingCode::ContainerTooMuchMemory, end, static_cast<std::int64_t>(Stage::Reading));
        return;
    }
    if (status != DemuxStatus::End) {
        _findings.addForeign(end, remarks);
        _endingWords = _demuxer->errorText();
        _failure = errorOf(FindingCode::ContainerRestLost, end);
        return;
    }
    if (_missingIndex) {
        // It has been said what the rest is missing for.
        return;
    }
    std::optional<Finding> ending = _check.wrongEnd(_input.lastBytes());
    if (_footer && !_source.size()) {
        if (const auto missing = detail::missingFooter(*_footer, end)) {
            ending = missing;
        }
    }
    if (ending) {
        _findings.addAlways(*ending);
    } else if (_lastDamage == end) {
        // What FFmpeg says of the end is about this sample.
        _findings.add(errorOf(FindingCode::ContainerSampleCut, end));
    } else {
        _findings.addForeign(end, remarks);
    }
}

/// A clock of 33 bits begins again (ISO/IEC 13818-1, 2.4.3.7): shortly before, the library shows pictures below 0.
void ContainerReader::Reading::unwrapTimes() {
    if (_packet.time && !_wrap) {
        _wrap = _kind == InputKind::TransportStream && *_packet.time < 0 ? std::int64_t{1} << 33U : 0;
    }
    for (std::optional<std::int64_t>* const time : {&_packet.time, &_packet.decodingTime}) {
        *time = *time ? std::optional(**time + _wrap.value_or(0)) : std::nullopt;
    }
}

/// Reads the next packet; false at the end.
bool ContainerReader::Reading::readPacket() {
    const std::uint64_t begin = _source.offset();
    const DemuxStatus status = _demuxer->read(_packet);
    if (_source.error() && status != DemuxStatus::Done) {
        _failure = _source.error();
        return false;
    }
    _check.report(_findings);
    if (_kind == InputKind::TransportStream) {
        // What stands between the packets of other streams has been said.
        _findings.addGap(begin, _source.offset());
    }
    if (status != DemuxStatus::Done) {
        endWith(status);
        return false;
    }
    if (_source.error()) {
        if (_packet.isDamaged) {
            // What reading has cut is none.
            return true;
        }
    } else {
        _findings.addForeign(_source.offset(), _demuxer->takeRemarks());
    }
    const auto track =
        std::find_if(_tracks.begin(), _tracks.end(), [this](const Track& one) { return one.index == _packet.stream; });
    if (track != _tracks.end()) {
        unwrapTimes();
        take(*track, static_cast<std::size_t>(track - _tracks.begin()));
    }
    return true;
}

Result<bool> ContainerReader::Reading::next(Frame& frame, FindingSink* findings) {
    if (const std::optional<Finding> error = open()) {
        return *error;
    }
    _findings.setSink(findings);
    if (_missingIndex && !_hasBegun) {
        _findings.addAlways(*_missingIndex);
        _findings.addAlways({FindingCode::ContainerTimesCounted, Severity::Remark, _missingIndex->offset, 0, 0});
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
                _failure = errorOf(FindingCode::ContainerWithoutFrames);
            }
            const std::optional<Finding> end = ending();
            return end ? Result<bool>(*end) : Result<bool>(false);
        }
        if (!readPacket()) {
            _isAtEnd = true;
            if (_pictures) {
                _pictures->finish(*_order);
            }
            _order->finish();
        }
    }
}

ContainerReader::ContainerReader(ByteSource& source, InputKind kind, const ContainerOptions& options)
    : _reading(std::make_unique<Reading>(source, kind, options)) {}
ContainerReader::~ContainerReader() = default;

std::optional<Finding> ContainerReader::open() {
    return _reading->open();
}

Result<bool> ContainerReader::next(Frame& frame, FindingSink* findings) {
    return _reading->next(frame, findings);
}

Place ContainerReader::placeOf(const Finding& finding) const {
    using enum FindingCode;
    const bool isWhileReading = finding.first == static_cast<std::int64_t>(Stage::Reading);
    Place place;
    switch (finding.code) {
    case ContainerLibraryMissing:
    case ContainerNotReadable:
    case ContainerStreamsUnknown:
    case ContainerWithoutTracks:
    case ContainerWithoutFrames:
    case ContainerIndexBehindMedia:
    case ContainerDamageLeftOut:
        return place;
    case ContainerTooMuchMemory:
        if (!isWhileReading) {
            return place;
        }
        place.isNearby = true;
        break;
    case StreamLibraryRemark:
    case ContainerSampleDamaged:
    case ContainerRestLost:
        place.isNearby = true;
        break;
    default: {
        // What is found in a picture or packet has the place where that begins: in a multiplex others stand between.
        constexpr std::uint32_t kBlockOfStreams = static_cast<std::uint32_t>(StreamReadFailed) >> 16U;
        const bool isInside = static_cast<std::uint32_t>(finding.code) >> 16U != kBlockOfStreams;
        place.isNearby = isInside && _reading->isMultiplex();
        break;
    }
    }
    place.byte = finding.offset;
    return place;
}

std::vector<std::string> ContainerReader::takeLibraryTexts() {
    return _reading->takeWords();
}

std::optional<std::string> containerObstacle() {
    std::string reason;
    return detail::loadDemuxers(&reason) == nullptr ? std::optional(std::move(reason)) : std::nullopt;
}

}  // namespace qlx::streams
