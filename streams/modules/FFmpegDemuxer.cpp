// The module that takes containers apart: FFmpeg's libraries, which nothing else includes.
#include "../Boxes.h"
#include "../Demuxer.h"
#include "../Module.h"

#include <qlx/anc/caption_atom.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <limits>
#include <mutex>
#include <new>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/mathematics.h>
}

namespace qlx::streams::detail {

namespace {

constexpr int kReadBuffer = 64 * 1024;
/// As many remarks are kept.
constexpr std::size_t kMostRemarks = 20;
/// As often a reader may ask to be called again without having read anything.
constexpr int kMostRepeats = 1000;

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

const char* demuxerOf(InputKind kind) {
    switch (kind) {
    case InputKind::Mxf:
        return "mxf";
    case InputKind::Mov:
        return "mov";
    case InputKind::Mkv:
        return "matroska";
    case InputKind::TransportStream:
        return "mpegts";
    case InputKind::Flv:
        return "flv";
    default:
        return "mpeg";
    }
}

/// Times beyond are damage. What remains leaves room for counting on.
constexpr std::int64_t kGreatestTime = std::int64_t{1} << 60U;

/// A time in units of 1 / base.den; none when there is none, or one that only damage can be.
std::optional<std::int64_t> scaledTime(std::int64_t time, AVRational base) {
    const std::int64_t greatest = kGreatestTime / std::max(base.num, 1);
    const bool isTime = time != AV_NOPTS_VALUE && time <= greatest && time >= -greatest;
    return isTime ? std::optional(time * base.num) : std::nullopt;
}

std::int64_t frameDuration(const AVStream& stream) {
    constexpr std::int64_t kLongest = 10;  // Seconds.
    const AVRational rate = stream.avg_frame_rate.num > 0 ? stream.avg_frame_rate : stream.r_frame_rate;
    if (rate.num <= 0 || rate.den <= 0) {
        return 0;
    }
    const std::int64_t duration = av_rescale(stream.time_base.den, rate.den, rate.num);
    return duration > 0 && duration <= kLongest * stream.time_base.den ? duration : 0;
}

StreamContent textOf(AVCodecID codec) {
    switch (codec) {
    case AV_CODEC_ID_MOV_TEXT:
        return StreamContent::TimedText;
    case AV_CODEC_ID_SUBRIP:
    case AV_CODEC_ID_TEXT:
        return StreamContent::SubRip;
    case AV_CODEC_ID_WEBVTT:
        return StreamContent::WebVtt;
    case AV_CODEC_ID_ASS:
        return StreamContent::SubStation;
    default:
        return StreamContent::OtherText;
    }
}

std::string metadataOf(const AVStream& stream, const char* key) {
    const AVDictionaryEntry* const entry = av_dict_get(stream.metadata, key, nullptr, 0);
    return entry == nullptr ? std::string() : std::string(entry->value);
}

std::string_view sideDataOf(const AVPacket& packet, AVPacketSideDataType type) {
    std::size_t size = 0;
    const std::uint8_t* const bytes = av_packet_get_side_data(&packet, type, &size);
    return bytes == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(bytes), size);
}

/// A tag of the library, which has the first character in its lowest byte, as a type of atoms.
constexpr std::uint32_t typeOfTag(std::uint32_t tag) noexcept {
    return tag << 24U | (tag & 0xFF00U) << 8U | (tag >> 8U & 0xFF00U) | tag >> 24U;
}

StreamContent contentOf(const AVStream& stream) {
    const AVCodecParameters& parameters = *stream.codecpar;
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO && (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0) {
        if (parameters.codec_id == AV_CODEC_ID_H264) {
            return StreamContent::H264;
        }
        if (parameters.codec_id == AV_CODEC_ID_HEVC) {
            return StreamContent::H265;
        }
        const bool isMpeg =
            parameters.codec_id == AV_CODEC_ID_MPEG2VIDEO || parameters.codec_id == AV_CODEC_ID_MPEG1VIDEO;
        return isMpeg ? StreamContent::Mpeg2 : StreamContent::Other;
    }
    if (parameters.codec_id == AV_CODEC_ID_EIA_608) {
        return StreamContent::Pairs;
    }
    const std::uint32_t tag = typeOfTag(parameters.codec_tag);
    if (tag == anc::kCea708Samples) {
        return StreamContent::Atom;
    }
    if (tag == boxes::kWebVttSamples) {
        return StreamContent::Wvtt;
    }
    if (tag == boxes::kXmlSamples) {
        return StreamContent::Stpp;
    }
    if (parameters.codec_type == AVMEDIA_TYPE_SUBTITLE) {
        // Versions that do not know `S_TEXT/WEBVTT` give its header all the same.
        constexpr std::string_view kWebVtt = "WEBVTT";
        const auto size = static_cast<std::size_t>(std::max(parameters.extradata_size, 0));
        const std::string_view header(reinterpret_cast<const char*>(parameters.extradata), size);
        return parameters.codec_id == AV_CODEC_ID_NONE && header.starts_with(kWebVtt) ? StreamContent::WebVtt
                                                                                      : textOf(parameters.codec_id);
    }
    // Newer versions have a codec for it, older ones call the data by name alone.
    const AVDictionaryEntry* const type = av_dict_get(stream.metadata, "data_type", nullptr, 0);
    const bool isAnc = (type != nullptr && std::strcmp(type->value, "vbi_vanc_smpte_436M") == 0) ||
                       std::strcmp(avcodec_get_name(parameters.codec_id), "smpte_436m_anc") == 0;
    return isAnc ? StreamContent::AncElement : StreamContent::Other;
}

/// FFmpeg's limit of memory and its log, of which a process has one each, while containers are open; afterwards they are
/// as FFmpeg begins with.
class Settings {
public:
    /// @param isOwner False: they stay as they are.
    Settings(const AVFormatContext* context, bool isOwner) : _context(context), _isOwner(isOwner) {
        if (_isOwner) {
            const std::lock_guard lock(mutex);
            // FFmpeg may have freed one that stood there, and its owner does not know it yet.
            for (Settings* const other : open) {
                other->_context = other->_context == _context ? nullptr : other->_context;
            }
            open.push_back(this);
            av_log_set_callback(&Settings::receive);
        }
    }
    ~Settings() {
        if (_isOwner) {
            const std::lock_guard lock(mutex);
            std::erase(open, this);
            setLimit();
            if (open.empty()) {
                av_log_set_callback(av_log_default_callback);
            }
        }
    }
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    /// From now on reading this container takes no greater piece of memory; others may.
    void limit(std::size_t greatest) {
        if (_isOwner) {
            const std::lock_guard lock(mutex);
            _limit = greatest;
            setLimit();
        }
    }

    /// Says that the context is no more: what is said of one in its place is none of this container's business.
    void forgetContext() {
        const std::lock_guard lock(mutex);
        _context = nullptr;
        _limit = 0;
        if (_isOwner) {
            setLimit();
        }
    }

    /// What has been said of this container since the last call.
    std::vector<std::string> takeRemarks() {
        const std::lock_guard lock(mutex);
        return std::exchange(_remarks, {});
    }

private:
    static void setLimit() {
        std::size_t greatest = 0;
        for (const Settings* const one : open) {
            greatest = std::max(greatest, one->_limit);
        }
        av_max_alloc(greatest == 0 ? static_cast<std::size_t>(std::numeric_limits<int>::max()) : greatest);
    }

    static void receive(void* object, int level, const char* format, va_list arguments) noexcept {
        // The decoders that look for a stream's parameters stumble over every stream that does not begin with a key
        // frame: only what is wrong with the container counts.
        if (level > AV_LOG_ERROR || object == nullptr) {
            return;
        }
        try {
            keep(object, format, arguments);
        } catch (const std::exception&) {
            // Without memory for a remark there is none; nothing may be thrown through FFmpeg.
            return;
        }
    }

    static void keep(const void* object, const char* format, va_list arguments) {
        std::array<char, 256> text{};
        (void)std::vsnprintf(text.data(), text.size(), format, arguments);
        std::string line = text.data();
        line.erase(line.find_last_not_of(" \r\n") + 1);
        const std::lock_guard lock(mutex);
        const auto place =
            std::find_if(open.begin(), open.end(), [object](const Settings* one) { return one->_context == object; });
        if (place != open.end() && (*place)->_remarks.size() < kMostRemarks && !line.empty()) {
            (*place)->_remarks.push_back(std::move(line));
        }
    }

    static inline std::mutex mutex;
    static inline std::vector<Settings*> open;  ///< Those of whoever owns them; what follows is under the lock.

    const AVFormatContext* _context;
    bool _isOwner;
    std::size_t _limit = 0;
    std::vector<std::string> _remarks;
};

/// A DemuxerInput as FFmpeg reads one.
class InputContext {
public:
    explicit InputContext(DemuxerInput& input) {
        auto* const buffer = static_cast<unsigned char*>(av_malloc(kReadBuffer));
        if (buffer == nullptr) {
            throw std::bad_alloc();
        }
        const bool canSeek = input.size().has_value();
        _context = avio_alloc_context(buffer, kReadBuffer, 0, &input, &InputContext::read, nullptr,
                                      canSeek ? &InputContext::seek : nullptr);
        if (_context == nullptr) {
            av_free(buffer);
            throw std::bad_alloc();
        }
        _context->seekable = canSeek ? AVIO_SEEKABLE_NORMAL : 0;
    }
    ~InputContext() {
        // FFmpeg may have put another buffer in place of the first.
        av_freep(&_context->buffer);
        avio_context_free(&_context);
    }
    InputContext(const InputContext&) = delete;
    InputContext& operator=(const InputContext&) = delete;

    [[nodiscard]] AVIOContext* get() const { return _context; }

private:
    // Nothing may be thrown through FFmpeg: a source that throws, for want of memory, ends the program.
    static int read(void* self, std::uint8_t* buffer, int size) noexcept {
        if (size <= 0) {
            return AVERROR(EINVAL);
        }
        const auto got = static_cast<DemuxerInput*>(self)->read(std::span(buffer, static_cast<std::size_t>(size)));
        if (!got) {
            return AVERROR(EIO);
        }
        return *got == 0 ? AVERROR_EOF : static_cast<int>(*got);
    }

    static std::int64_t seek(void* self, std::int64_t offset, int whence) noexcept {
        auto& input = *static_cast<DemuxerInput*>(self);
        switch (whence & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE:
            return static_cast<std::int64_t>(input.size().value_or(0));
        case SEEK_SET:
            break;
        default:
            // FFmpeg counts everything else from the beginning before it asks.
            return AVERROR(EINVAL);
        }
        const bool isDone = offset >= 0 && input.seek(static_cast<std::uint64_t>(offset));
        return isDone ? offset : AVERROR(EINVAL);
    }

    AVIOContext* _context = nullptr;
};

struct FormatCloser {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};

struct PacketFreer {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

class FFmpegDemuxer final : public Demuxer {
public:
    FFmpegDemuxer(DemuxerInput& input, InputKind kind, bool isOwner)
        : _source(input), _kind(kind), _isOwner(isOwner), _input(input), _packet(av_packet_alloc()) {
        if (!_packet) {
            throw std::bad_alloc();
        }
    }

    DemuxStatus open(PacketTimes times) override;
    DemuxStatus findStreams() override;
    [[nodiscard]] std::vector<DemuxedStream> streams() const override;
    [[nodiscard]] std::optional<std::int64_t> end(std::size_t stream) const override {
        const AVStream& one = *_format->streams[stream];
        return scaledTime(one.duration, one.time_base);
    }
    void discard(std::size_t stream) override { _format->streams[stream]->discard = AVDISCARD_ALL; }
    DemuxStatus read(DemuxedPacket& packet) override;
    [[nodiscard]] std::string errorText() const override;
    std::vector<std::string> takeRemarks() override {
        return _settings ? _settings->takeRemarks() : std::vector<std::string>();
    }

private:
    DemuxStatus statusOf(int error);
    void takeAddition(DemuxedPacket& packet) const;

    DemuxerInput& _source;
    InputKind _kind;
    bool _isOwner;
    InputContext _input;
    std::optional<Settings> _settings;  ///< Of what follows, which is closed first.
    std::unique_ptr<AVFormatContext, FormatCloser> _format;
    std::unique_ptr<AVPacket, PacketFreer> _packet;
    int _error = 0;
};

DemuxStatus FFmpegDemuxer::statusOf(int error) {
    _error = error;
    if (error >= 0) {
        return DemuxStatus::Done;
    }
    if (error == AVERROR(ENOMEM)) {
        return DemuxStatus::OutOfMemory;
    }
    return error == AVERROR_EOF ? DemuxStatus::End : DemuxStatus::Failed;
}

DemuxStatus FFmpegDemuxer::open(PacketTimes times) {
    const AVInputFormat* const demuxer = av_find_input_format(demuxerOf(_kind));
    AVFormatContext* context = avformat_alloc_context();
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    _settings.emplace(context, _isOwner);
    // An MXF file's index is read when it is opened.
    _settings->limit(_kind == InputKind::Mxf ? kGreatestTable : greatestPiece(_kind));
    context->pb = _input.get();
    // No picture is decoded: only parsers look at the streams, which takes little memory whatever they hold.
    context->codec_whitelist = av_strdup("none");
    if (_kind == InputKind::Mxf || _kind == InputKind::TransportStream) {
        // What has no time in the index, or in front of it, has none: FFmpeg would think up one from that of its
        // neighbours in the stream.
        context->flags |= AVFMT_FLAG_NOFILLIN;
    }
    AVDictionary* options = nullptr;
    const bool isMedia = times == PacketTimes::Media && _kind == InputKind::Mov;
    if (context->codec_whitelist == nullptr || (isMedia && av_dict_set(&options, "ignore_editlist", "1", 0) < 0)) {
        avformat_free_context(context);
        _settings.reset();
        throw std::bad_alloc();
    }
    // Frees the context when it fails.
    const int error =
        demuxer == nullptr ? AVERROR_DEMUXER_NOT_FOUND : avformat_open_input(&context, "", demuxer, &options);
    av_dict_free(&options);
    _format.reset(context);
    if (!_format) {
        _settings->forgetContext();
    }
    return statusOf(error);
}

DemuxStatus FFmpegDemuxer::findStreams() {
    const DemuxStatus status = statusOf(avformat_find_stream_info(_format.get(), nullptr));
    _settings->limit(greatestPiece(_kind));
    return status;
}

std::vector<DemuxedStream> FFmpegDemuxer::streams() const {
    std::vector<DemuxedStream> result;
    for (const AVStream* const stream : std::span(_format->streams, _format->nb_streams)) {
        DemuxedStream one;
        one.number = static_cast<std::uint32_t>(stream->id);
        one.content = contentOf(*stream);
        const std::span parameters(stream->codecpar->extradata,
                                   static_cast<std::size_t>(std::max(stream->codecpar->extradata_size, 0)));
        one.parameters.assign(parameters.begin(), parameters.end());
        one.timescale = stream->time_base.den;
        one.frameDuration = frameDuration(*stream);
        one.language = metadataOf(*stream, "language");
        one.title = metadataOf(*stream, "title");
        result.push_back(std::move(one));
    }
    return result;
}

/// Matroska has the settings and the name of a WebVTT cue, a line each, beside its text, behind a number of eight bytes.
void FFmpegDemuxer::takeAddition(DemuxedPacket& packet) const {
    constexpr std::size_t kNumber = 8;
    std::string_view addition = sideDataOf(*_packet, AV_PKT_DATA_MATROSKA_BLOCKADDITIONAL);
    if (addition.size() <= kNumber) {
        return;
    }
    addition.remove_prefix(kNumber);
    packet.settings = addition.substr(0, addition.find('\n'));
    addition.remove_prefix(std::min(packet.settings.size() + 1, addition.size()));
    packet.name = addition.substr(0, addition.find('\n'));
}

DemuxStatus FFmpegDemuxer::read(DemuxedPacket& packet) {
    av_packet_unref(_packet.get());
    int error = 0;
    for (int repeats = 0; repeats < kMostRepeats; ++repeats) {
        const std::uint64_t before = _source.offset();
        error = av_read_frame(_format.get(), _packet.get());
        if (error != AVERROR(EAGAIN)) {
            break;
        }
        repeats = _source.offset() == before ? repeats : 0;
    }
    if (error < 0) {
        return statusOf(error);
    }
    const AVRational base = _format->streams[_packet->stream_index]->time_base;
    packet.stream = static_cast<std::size_t>(_packet->stream_index);
    packet.bytes = {_packet->data, static_cast<std::size_t>(std::max(_packet->size, 0))};
    packet.time = scaledTime(_packet->pts, base);
    packet.decodingTime = scaledTime(_packet->dts, base);
    packet.place = _packet->pos < 0 ? _source.offset() : static_cast<std::uint64_t>(_packet->pos);
    packet.duration = _packet->duration > 0 ? scaledTime(_packet->duration, base) : std::nullopt;
    packet.name = sideDataOf(*_packet, AV_PKT_DATA_WEBVTT_IDENTIFIER);
    packet.settings = sideDataOf(*_packet, AV_PKT_DATA_WEBVTT_SETTINGS);
    if (packet.name.empty() && packet.settings.empty()) {
        takeAddition(packet);
    }
    packet.isDamaged = (_packet->flags & AV_PKT_FLAG_CORRUPT) != 0;
    return statusOf(0);
}

std::string FFmpegDemuxer::errorText() const {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    (void)av_strerror(_error, text.data(), text.size());
    return text.data();
}

class Module final : public DemuxerModule {
public:
    std::unique_ptr<Demuxer> demuxer(DemuxerInput& input, InputKind kind, bool isOwner) override {
        return std::make_unique<FFmpegDemuxer>(input, kind, isOwner);
    }
};

Module implementation;
DemuxerModule& theModule = implementation;

}  // namespace

}  // namespace qlx::streams::detail

QLX_STREAMS_DEFINE_MODULE(qlx::streams::detail::theModule)
