#include "Container.h"

#include "ContainerIndex.h"
#include "ContainerInput.h"
#include "ContainerRemarks.h"
#include "Errors.h"
#include "FrameOrder.h"
#include "Klv.h"
#include "PictureTimes.h"
#include "StreamEnd.h"
#include "Text.h"
#include "VideoCaptions.h"

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/mathematics.h>
}

namespace qlx::tool {

namespace {

constexpr std::size_t kMegabyte = std::size_t{1024} * 1024;
/// No table of any container is longer.
constexpr std::size_t kGreatestTable = 96 * kMegabyte;

/// The greatest piece of memory that reading packets may take. There are several copies of a picture for a moment, and
/// damage may make one of a whole file.
std::size_t greatestPiece(InputKind kind) {
    switch (kind) {
    case InputKind::Mov:
        // The tables of a file in fragments grow while it is read.
        return kGreatestTable;
    case InputKind::Mxf:
        // Pictures may be uncompressed.
        return 32 * kMegabyte;
    default:
        return 16 * kMegabyte;
    }
}
/// As often a reader may ask to be called again without having read anything.
constexpr int kMostRepeats = 1000;
constexpr AVRational kMicroseconds{1, 1'000'000};

const char* demuxerOf(InputKind kind) {
    switch (kind) {
    case InputKind::Mxf:
        return "mxf";
    case InputKind::Mov:
        return "mov";
    case InputKind::TransportStream:
        return "mpegts";
    default:
        return "mpeg";
    }
}

struct FormatCloser {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};

struct PacketFreer {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

enum class Content { H264, Mpeg2, Pairs, Atom, AncElement };

constexpr bool isVideo(Content content) {
    return content == Content::H264 || content == Content::Mpeg2;
}

/// What a stream holds that the tool can read; none for sound, time codes and all the rest.
std::optional<Content> contentOf(const AVStream& stream) {
    const AVCodecParameters& parameters = *stream.codecpar;
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO && (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0) {
        if (parameters.codec_id == AV_CODEC_ID_H264) {
            return Content::H264;
        }
        if (parameters.codec_id == AV_CODEC_ID_MPEG2VIDEO || parameters.codec_id == AV_CODEC_ID_MPEG1VIDEO) {
            return Content::Mpeg2;
        }
        return std::nullopt;
    }
    if (parameters.codec_id == AV_CODEC_ID_EIA_608) {
        return Content::Pairs;
    }
    if (parameters.codec_tag == MKTAG('c', '7', '0', '8')) {
        return Content::Atom;
    }
    // Newer versions have a codec for it, older ones call the data by name alone.
    const AVDictionaryEntry* const type = av_dict_get(stream.metadata, "data_type", nullptr, 0);
    const bool isAnc = (type != nullptr && std::strcmp(type->value, "vbi_vanc_smpte_436M") == 0) ||
                       std::strcmp(avcodec_get_name(parameters.codec_id), "smpte_436m_anc") == 0;
    return isAnc ? std::optional(Content::AncElement) : std::nullopt;
}

/// A stream that is read.
struct Track {
    int index = 0;
    Content content = Content::H264;
    /// H.264 with lengths in front of the NAL units: the bytes of one; 0 for start codes.
    std::size_t lengthBytes = 0;
};

std::span<const std::uint8_t> parametersOf(const AVStream& stream) {
    return {stream.codecpar->extradata, static_cast<std::size_t>(std::max(stream.codecpar->extradata_size, 0))};
}

/// Times beyond are damage. What remains leaves room for counting on.
constexpr std::int64_t kGreatestTime = std::int64_t{1} << 60U;

bool isTime(std::int64_t time) {
    return time != AV_NOPTS_VALUE && time <= kGreatestTime && time >= -kGreatestTime;
}

std::optional<std::int64_t> microseconds(std::int64_t time, AVRational base) {
    if (!isTime(time)) {
        return std::nullopt;
    }
    const std::int64_t result = av_rescale_q(time, base, kMicroseconds);
    return isTime(result) ? std::optional(result) : std::nullopt;
}

std::optional<MediaTime> mediaTime(std::int64_t time, AVRational base) {
    const std::int64_t greatest = kGreatestTime / std::max(base.num, 1);
    if (!isTime(time) || time > greatest || time < -greatest) {
        return std::nullopt;
    }
    return MediaTime::make(time * base.num, base.den);
}

/// The duration of a stream's frames in the timescale of its times; 0 when it is not known, or none that video has.
std::int64_t frameDuration(const AVStream& stream) {
    constexpr std::int64_t kLongest = 10;  // Seconds.
    const AVRational rate = stream.avg_frame_rate.num > 0 ? stream.avg_frame_rate : stream.r_frame_rate;
    if (rate.num <= 0 || rate.den <= 0) {
        return 0;
    }
    const std::int64_t duration = av_rescale(stream.time_base.den, rate.den, rate.num);
    return duration > 0 && duration <= kLongest * stream.time_base.den ? duration : 0;
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
    void endWith(int error, std::vector<std::string>& problems);
    [[nodiscard]] std::string nearHere() const { return "near byte " + std::to_string(_source.offset()); }
    void failWithoutIndex();
    [[noreturn]] void fail(const std::string& what, int error);

    InputFile& _source;
    InputKind _kind;
    StreamCheck _check;
    ContainerInput _input;
    std::unique_ptr<AVFormatContext, FormatCloser> _format;
    std::unique_ptr<AVPacket, PacketFreer> _packet;
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
    : _source(source), _kind(kind), _check(source, kind), _input(source) {
    _input.follow(_check);
    checkIndex();
    listenToDemuxers();
    // An MXF file's index is read when it is opened.
    av_max_alloc(kind == InputKind::Mxf ? kGreatestTable : greatestPiece(kind));
    open();
    _check.beginReading();
    av_max_alloc(greatestPiece(kind));
    chooseTracks();
    _packet.reset(av_packet_alloc());
    if (!_packet) {
        throw std::bad_alloc();
    }
    _order.emplace(_tracks.size());
    const Track& first = _tracks.front();
    const bool isUnreliable = kind == InputKind::Mxf || kind == InputKind::ProgramStream;
    if (isUnreliable && isVideo(first.content) && first.lengthBytes == 0) {
        const AVStream& stream = *_format->streams[first.index];
        // Without an MXF file's index, which a pipe does not give either, its pictures are edit units from 0 on.
        const auto firstTime =
            kind == InputKind::Mxf ? std::optional(MediaTime::make(0, stream.time_base.den)) : std::nullopt;
        _pictures.emplace(first.content == Content::H264 ? VideoCodec::H264 : VideoCodec::Mpeg2, frameDuration(stream),
                          firstTime);
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

/// Throws why the file cannot be read, with FFmpeg's words where nothing better is known.
void ContainerReader::fail(const std::string& what, int error) {
    _input.rethrow();
    if (error == AVERROR(ENOMEM)) {
        throw failureIn(_source.name(), what + ": it asks for more memory than any such file needs");
    }
    failWithoutIndex();
    const std::vector<std::string> remarks = takeDemuxerRemarks();
    throw failureIn(_source.name(), what + ": the file is cut short or damaged (" +
                                        (remarks.empty() ? demuxerErrorText(error) : remarks.back()) + ")");
}

void ContainerReader::open() {
    const AVInputFormat* const demuxer = av_find_input_format(demuxerOf(_kind));
    AVFormatContext* context = avformat_alloc_context();
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    context->pb = _input.context();
    // No picture is decoded: only parsers look at the streams, which takes little memory whatever they hold.
    context->codec_whitelist = av_strdup("none");
    if (_kind == InputKind::Mxf) {
        // What has no time in the index has none: FFmpeg would think up one from that of its neighbours in the stream.
        context->flags |= AVFMT_FLAG_NOFILLIN;
    }
    if (context->codec_whitelist == nullptr) {
        avformat_free_context(context);
        throw std::bad_alloc();
    }
    (void)takeDemuxerRemarks();
    // Frees the context when it fails.
    const int error =
        demuxer == nullptr ? AVERROR_DEMUXER_NOT_FOUND : avformat_open_input(&context, "", demuxer, nullptr);
    _format.reset(context);
    if (error < 0) {
        fail("cannot be read as " + std::string(containerName(_kind)), error);
    }
    const int found = avformat_find_stream_info(_format.get(), nullptr);
    if (found < 0) {
        fail("the streams cannot be told", found);
    }
    _input.rethrow();
}

void ContainerReader::chooseTracks() {
    bool hasVideo = false;
    for (unsigned index = 0; index < _format->nb_streams; ++index) {
        AVStream& stream = *_format->streams[index];
        const std::optional<Content> content = contentOf(stream);
        const bool isPicture = content && isVideo(*content);
        if (!content || (isPicture && hasVideo)) {
            stream.discard = AVDISCARD_ALL;
            continue;
        }
        Track track;
        track.index = static_cast<int>(index);
        track.content = *content;
        track.lengthBytes = content == Content::H264 ? lengthBytesOf(parametersOf(stream)) : 0;
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
    const std::span<const std::uint8_t> bytes(_packet->data, static_cast<std::size_t>(std::max(_packet->size, 0)));
    switch (track.content) {
    case Content::H264:
        frame.triplets = track.lengthBytes == 0 ? captionTriplets(bytes, VideoCodec::H264)
                                                : captionTripletsOfLengths(bytes, track.lengthBytes);
        break;
    case Content::Mpeg2:
        frame.triplets = captionTriplets(bytes, VideoCodec::Mpeg2);
        break;
    case Content::Pairs:
        // FFmpeg gives the pairs of both fields as triplets.
        frame.triplets = Data(bytes.first(bytes.size() / 3 * 3));
        break;
    case Content::Atom:
        if (auto packet =
                QLXVANCPacket::VANCPacketWithQuickTimeAtomBuffer_size_lineNumber(bytes.data(), bytes.size(), 0)) {
            frame.packets.push_back(std::move(packet));
        } else if (!bytes.empty()) {
            problems.push_back("byte " + std::to_string(std::max<std::int64_t>(_packet->pos, 0)) +
                               ": caption sample of " + counted(bytes.size(), "byte") + " without a ccdp atom");
        }
        break;
    case Content::AncElement:
        readAncFrameElement(bytes, "byte " + std::to_string(std::max<std::int64_t>(_packet->pos, 0)), frame, problems);
        break;
    }
}

void ContainerReader::take(const Track& track, std::size_t number, std::vector<std::string>& problems) {
    const AVRational base = _format->streams[track.index]->time_base;
    FrameSample sample;
    sample.stream = number;
    sample.presentation = microseconds(_packet->pts, base);
    sample.decoding = microseconds(_packet->dts, base);
    sample.frame.pts = mediaTime(_packet->pts, base);
    const std::span<const std::uint8_t> bytes(_packet->data, static_cast<std::size_t>(std::max(_packet->size, 0)));
    if ((_packet->flags & AV_PKT_FLAG_CORRUPT) != 0) {
        remarkOnDamagedSample(problems);
    } else if (track.lengthBytes > 0 && !hasWholeUnits(bytes, track.lengthBytes)) {
        _remarks.addDamagedUnits(std::max<std::int64_t>(_packet->pos, 0), problems);
    }
    takeSample(track, sample.frame, problems);
    if (_pictures && number == 0) {
        _pictures->add(bytes, std::move(sample.frame));
        passPicturesOn();
        return;
    }
    _order->add(std::move(sample));
}

void ContainerReader::passPicturesOn() {
    while (std::optional<Frame> frame = _pictures->take()) {
        FrameSample sample;
        if (frame->pts) {
            sample.presentation = microseconds(frame->pts->value, {1, frame->pts->timescale});
            sample.decoding = sample.presentation;
        }
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
void ContainerReader::endWith(int error, std::vector<std::string>& problems) {
    const std::vector<std::string> remarks = takeDemuxerRemarks();
    const std::string place = nearHere();
    if (error == AVERROR(ENOMEM)) {
        _failure = place + ": a piece that takes too much memory";
        return;
    }
    if (error != AVERROR_EOF) {
        _remarks.addForeign(place, remarks, problems);
        _failure = place + ": the rest cannot be read: " + demuxerErrorText(error);
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
    int error = 0;
    const std::uint64_t begin = _source.offset();
    for (int repeats = 0; repeats < kMostRepeats; ++repeats) {
        const std::uint64_t before = _source.offset();
        error = av_read_frame(_format.get(), _packet.get());
        if (error != AVERROR(EAGAIN)) {
            break;
        }
        repeats = _source.offset() == before ? repeats : 0;
    }
    _input.rethrow();
    for (std::string& remark : _check.takeRemarks()) {
        _remarks.add(std::move(remark), problems);
    }
    if (_kind == InputKind::TransportStream) {
        // What stands between the packets of other streams has been said.
        _remarks.addGap(begin, _source.offset(), problems);
    }
    if (error < 0) {
        endWith(error, problems);
        return false;
    }
    _remarks.addForeign(nearHere(), takeDemuxerRemarks(), problems);
    const auto track = std::find_if(_tracks.begin(), _tracks.end(),
                                    [this](const Track& one) { return one.index == _packet->stream_index; });
    if (track != _tracks.end()) {
        take(*track, static_cast<std::size_t>(track - _tracks.begin()), problems);
    }
    av_packet_unref(_packet.get());
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
