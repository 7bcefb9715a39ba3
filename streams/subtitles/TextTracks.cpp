#include <qlx/streams/text_tracks.h>

#include "../ContainerIndex.h"
#include "../ContainerInput.h"
#include "../Demuxer.h"
#include "../Module.h"
#include "../StreamCheck.h"
#include "CueJoiner.h"
#include "DocumentSamples.h"
#include "EditList.h"
#include "SampleHeads.h"
#include "TextBoxes.h"
#include "TextSamples.h"

#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qlx::streams {

using detail::Demuxer;
using detail::DemuxStatus;
using detail::PacketTimes;
using detail::SampleSpan;
using detail::StreamContent;

namespace {

/// Where the memory was asked for, as ContainerTooMuchMemory says.
enum class TextStage : std::int64_t { Opening = 1, TellingStreams, Reading };

TextTrackKind textKindOf(StreamContent content) noexcept {
    switch (content) {
    case StreamContent::TimedText:
        return TextTrackKind::TimedText;
    case StreamContent::Wvtt:
        return TextTrackKind::Wvtt;
    case StreamContent::Stpp:
        return TextTrackKind::Stpp;
    case StreamContent::SubRip:
        return TextTrackKind::SubRip;
    case StreamContent::WebVtt:
        return TextTrackKind::WebVtt;
    case StreamContent::SubStation:
        return TextTrackKind::SubStation;
    default:
        return TextTrackKind::Unreadable;
    }
}

bool isTextTrack(StreamContent content) noexcept {
    return textKindOf(content) != TextTrackKind::Unreadable || content == StreamContent::OtherText;
}

/// Reads the samples of a track.
class SampleReading {
public:
    /// @param stream Must outlive this, as all that follows.
    SampleReading(const detail::DemuxedStream& stream, const TextTrack& track, detail::CueJoiner& joiner,
                  PlacedSink& findings, const std::function<void(const TtmlFile&)>& takeHead)
        : _stream(stream), _kind(track.kind), _joiner(joiner), _findings(findings),
          _defaults(detail::timedTextDefaults(stream.parameters)), _head(detail::sampleHeadOf(track.header, findings)),
          _documents(takeHead, findings) {
        if (_kind == TextTrackKind::SubStation) {
            const std::vector<std::uint8_t>& head = stream.parameters;
            _events.emplace(std::string_view(reinterpret_cast<const char*>(head.data()), head.size()), findings);
        }
    }

    void take(const detail::DemuxedPacket& packet) {
        const bool isOrdered = packet.time && !packet.isDamaged;
        if (!isOrdered || (!_held.empty() && *packet.time != _held.back().time()) || _heldBytes > kMostHeld) {
            endHeld(packet.time);
        }
        if (!isOrdered) {
            read(packet, std::nullopt);
            return;
        }
        _heldBytes += sizeof(Held) + packet.bytes.size() + packet.name.size() + packet.settings.size();
        _held.emplace_back(packet);
    }

    /// @param lastDuration How long the last sample lasts; none: as the demuxer says.
    /// @param end Of the track; none where nobody knows.
    void finish(std::optional<std::int64_t> lastDuration, std::optional<std::int64_t> end) {
        if (lastDuration && *lastDuration > 0 && !_held.empty()) {
            _held.back().setDuration(*lastDuration);
        }
        endHeld(end);
        _findings.setPlace(0);
        if (_events) {
            _events->finish();
        }
        _documents.finish();
    }

private:
    /// A sample with what a demuxer lends. Where it does not say how long it lasts, the next one tells.
    class Held {
    public:
        explicit Held(const detail::DemuxedPacket& packet)
            : _packet(packet), _bytes(packet.bytes.begin(), packet.bytes.end()), _name(packet.name),
              _settings(packet.settings) {}

        [[nodiscard]] std::int64_t time() const { return *_packet.time; }
        [[nodiscard]] std::optional<std::int64_t> duration() const { return _packet.duration; }
        void setDuration(std::int64_t duration) { _packet.duration = duration; }

        [[nodiscard]] detail::DemuxedPacket packet() const {
            detail::DemuxedPacket packet = _packet;
            packet.bytes = _bytes;
            packet.name = _name;
            packet.settings = _settings;
            return packet;
        }

    private:
        detail::DemuxedPacket _packet;
        std::vector<std::uint8_t> _bytes;
        std::string _name;
        std::string _settings;
    };

    /// Samples of fragments last up to the next one (ISO/IEC 14496-12, 8.8.12, has it so where there is a gap), and so do
    /// Matroska's blocks without a duration (RFC 9559, 5.1.3.5.3), of which several may begin together.
    void endHeld(std::optional<std::int64_t> end) {
        for (const Held& held : _held) {
            const bool isLater = end && *end > held.time();
            read(held.packet(), held.duration() ? held.duration()
                                : isLater       ? std::optional(*end - held.time())
                                                : std::nullopt);
        }
        _held.clear();
        _heldBytes = 0;
    }

    void read(const detail::DemuxedPacket& packet, std::optional<std::int64_t> length) {
        _findings.setPlace(packet.place);
        if (!packet.time || packet.isDamaged) {
            _findings.add(
                {FindingCode::TextSampleWrong, Severity::Error, 0, static_cast<std::int64_t>(packet.bytes.size()), 0});
            return;
        }
        constexpr std::int64_t kOpenSeconds = 5;
        const SampleSpan span{
            MediaTime::make(*packet.time, _stream.timescale),
            MediaTime::make(*packet.time + length.value_or(kOpenSeconds * _stream.timescale), _stream.timescale)};
        _joiner.beginSample(span.begin);
        bool isSeen = false;
        const auto take = [this, &isSeen](subtitles::Cue cue) {
            isSeen = true;
            _joiner.add(std::move(cue));
        };
        const std::string_view text(reinterpret_cast<const char*>(packet.bytes.data()), packet.bytes.size());
        detail::WithoutSheets others(_findings);
        switch (_kind) {
        case TextTrackKind::TimedText:
            detail::readTimedText(packet.bytes, _defaults, span, take, _findings);
            break;
        case TextTrackKind::Wvtt:
            detail::readWvtt(packet.bytes, span, _head, take, others);
            break;
        case TextTrackKind::SubRip:
            detail::readSubRipText(text, span, take, _findings);
            break;
        case TextTrackKind::WebVtt:
            detail::readWebVttText(text, packet.name, packet.settings, span, 0, _head, take, others);
            break;
        case TextTrackKind::Stpp:
            _documents.read(packet.bytes, span, take);
            break;
        case TextTrackKind::SubStation:
            _events->read(text, span, take);
            break;
        case TextTrackKind::Unreadable:
            break;
        }
        if (!length && isSeen) {
            _findings.add({FindingCode::TextSampleEndMissing, Severity::Warning, 0, 0, 0});
        }
    }

    static constexpr std::size_t kMostHeld = std::size_t{1} << 20U;

    const detail::DemuxedStream& _stream;
    TextTrackKind _kind;
    detail::CueJoiner& _joiner;
    PlacedSink& _findings;
    detail::TimedTextDefaults _defaults;
    detail::SampleHead _head;
    detail::DocumentSamples _documents;
    std::optional<detail::SubStationSamples> _events;
    std::vector<Held> _held;     ///< All of one time.
    std::size_t _heldBytes = 0;  ///< About as many.
};

}  // namespace

class TextTrackReader::Reading {
public:
    Reading(ByteSource& source, InputKind kind, bool ownsLibrarySettings)
        : _source(source), _kind(kind), _isOwner(ownsLibrarySettings), _check(source, kind), _input(source, _check) {}

    std::optional<Finding> open() {
        detail::DemuxerModule* const takesApart = detail::loadDemuxers(&_words);
        if (takesApart == nullptr) {
            return Finding{FindingCode::ContainerLibraryMissing, Severity::Error, 0, 0, 0};
        }
        if (_kind == InputKind::Mov && !_source.size() && detail::isIndexBehindMedia(_source.peek(kLongestPeek))) {
            return Finding{FindingCode::ContainerIndexBehindMedia, Severity::Error, 0, 0, 0};
        }
        const auto boxes = _kind == InputKind::Mov ? detail::textBoxesOf(_source) : std::nullopt;
        _demuxer = takesApart->demuxer(_input, _kind, _isOwner);
        if (auto error =
                obstacle(_demuxer->open(boxes ? PacketTimes::Media : PacketTimes::Shown), TextStage::Opening)) {
            return error;
        }
        // The index says all of the streams; what the library finds out besides has the times of the movie for those of
        // a track.
        if (!boxes) {
            if (auto error = obstacle(_demuxer->findStreams(), TextStage::TellingStreams)) {
                return error;
            }
        }
        _streams = _demuxer->streams();
        for (std::size_t index = 0; index < _streams.size(); ++index) {
            const detail::DemuxedStream& stream = _streams[index];
            if (!isTextTrack(stream.content)) {
                continue;
            }
            TextTrack track{textKindOf(stream.content), stream.language, stream.title, {}};
            Details details;
            details.stream = index;
            if (track.kind == TextTrackKind::WebVtt) {
                track.header.assign(stream.parameters.begin(), stream.parameters.end());
            } else if (_kind == InputKind::Mov) {
                takeBoxes(boxes, index, track, details);
            }
            _tracks.push_back(std::move(track));
            _details.push_back(std::move(details));
        }
        return std::nullopt;
    }

    std::optional<Finding> read(std::size_t number, const std::function<void(subtitles::Cue)>& take,
                                FindingSink* findings, const std::function<void(const TtmlFile&)>& takeHead) {
        if (number >= _tracks.size() || _tracks[number].kind == TextTrackKind::Unreadable || !_demuxer) {
            return Finding{FindingCode::TextTrackUnreadable, Severity::Error, 0, static_cast<std::int64_t>(number) + 1,
                           0};
        }
        const Details& details = _details[number];
        for (std::size_t index = 0; index < _streams.size(); ++index) {
            if (index != details.stream) {
                _demuxer->discard(index);
            }
        }
        const detail::DemuxedStream& stream = _streams[details.stream];
        const TextTrackKind kind = _tracks[number].kind;
        const bool isInParts =
            kind == TextTrackKind::TimedText || kind == TextTrackKind::Wvtt || kind == TextTrackKind::Stpp;
        std::uint64_t given = 0;
        std::int64_t leftOut = 0;
        const std::function<void(subtitles::Cue)> takeOfMedia = [&](subtitles::Cue cue) {
            // Samples may have cut it in front of what appears late.
            if (subtitles::Cue fitting = cue; kind == TextTrackKind::Stpp && detail::fitRuns(fitting)) {
                cue = std::move(fitting);
            }
            const bool isShown = details.edits.apply(cue, [&](subtitles::Cue shown) {
                shown.number = ++given;
                take(std::move(shown));
            });
            leftOut += isShown ? 0 : 1;
        };
        detail::CueJoiner joiner(takeOfMedia, isInParts);
        PlacedSink placed(findings);
        if (_kind == InputKind::Mov && !details.hasBoxes) {
            placed.add({FindingCode::TextTrackHeadUnread, Severity::Warning, 0, 0, 0});
        }
        SampleReading samples(stream, _tracks[number], joiner, placed, takeHead);
        detail::DemuxedPacket packet;
        DemuxStatus status = _demuxer->read(packet);
        for (; status == DemuxStatus::Done; status = _demuxer->read(packet)) {
            if (packet.stream == details.stream) {
                samples.take(packet);
            }
        }
        const std::uint64_t end = _source.offset();
        if (_kind == InputKind::Mov) {
            samples.finish(lastDuration(details), _demuxer->end(details.stream));
        } else {
            // What the library says is of the whole file.
            samples.finish(std::nullopt, std::nullopt);
        }
        joiner.finish();
        placed.setPlace(0);
        if (leftOut != 0) {
            placed.add({FindingCode::TextCuesEditedOut, Severity::Warning, 0, leftOut, 0});
        }
        if (status != DemuxStatus::End || _source.error()) {
            return obstacle(status, TextStage::Reading);
        }
        sayEnd(end, findings);
        return std::nullopt;
    }

    [[nodiscard]] const std::vector<TextTrack>& tracks() const noexcept { return _tracks; }
    [[nodiscard]] const std::string& words() const noexcept { return _words; }

private:
    /// What a track has that is of no concern to who reads it.
    struct Details {
        std::size_t stream = 0;  ///< Its place among the streams.
        detail::EditList edits;
        bool hasBoxes = false;                      ///< What the index says of it could be looked at.
        std::optional<std::uint32_t> lastDuration;  ///< As the index says it.
        bool hasFragments = false;                  ///< The last sample may be one of another place.
    };

    /// @param index Of the stream.
    void takeBoxes(const std::optional<detail::TextBoxes>& boxes, std::size_t index, TextTrack& track,
                   Details& details) const {
        if (!boxes) {
            return;
        }
        const detail::DemuxedStream& stream = _streams[index];
        // Tracks of the same number, of which there should be none, stand in the same order.
        const auto isOfNumber = [&stream](const auto& one) { return one.number == stream.number; };
        auto before =
            std::count_if(_streams.begin(), _streams.begin() + static_cast<std::ptrdiff_t>(index), isOfNumber);
        const auto found = std::find_if(boxes->tracks.begin(), boxes->tracks.end(),
                                        [&](const auto& one) { return isOfNumber(one) && before-- == 0; });
        if (found == boxes->tracks.end() || !found->isWhole) {
            return;
        }
        details.edits = detail::EditList(found->edits, boxes->timescale, stream.timescale);
        details.hasBoxes = details.edits.isWhole() && (track.kind != TextTrackKind::Wvtt || found->webVttHead);
        details.lastDuration = found->lastDuration;
        details.hasFragments = boxes->hasFragments;
        track.header = found->webVttHead.value_or(std::string());
    }

    std::optional<std::uint32_t> lastDuration(const Details& details) {
        if (!details.hasFragments) {
            return details.lastDuration;
        }
        const auto ofFragment = detail::lastFragmentDuration(_source, _streams[details.stream].number);
        return ofFragment || !_source.size() ? ofFragment : details.lastDuration;
    }

    /// Says what lacks at the end of the file.
    void sayEnd(std::uint64_t end, FindingSink* findings) {
        const std::vector<std::string> remarks = _demuxer->takeRemarks();
        if (findings == nullptr) {
            return;
        }
        if (const auto ending = _check.wrongEnd(_input.lastBytes())) {
            findings->add(*ending);
            return;
        }
        for (const std::string& remark : remarks) {
            _words = remark;
            findings->add({FindingCode::StreamLibraryRemark, Severity::Error, end, 0, 0});
        }
        _words.clear();
    }

    /// Why there may be nothing to read, or no more.
    std::optional<Finding> obstacle(DemuxStatus status, TextStage stage) {
        if (status == DemuxStatus::Done) {
            return std::nullopt;
        }
        if (_source.error()) {
            return _source.error();
        }
        if (status == DemuxStatus::OutOfMemory) {
            return Finding{FindingCode::ContainerTooMuchMemory, Severity::Error, 0, static_cast<std::int64_t>(stage),
                           0};
        }
        if (const auto missing = _check.missingIndex(); missing && stage != TextStage::Reading) {
            return missing;
        }
        const std::vector<std::string> remarks = _demuxer->takeRemarks();
        _words = remarks.empty() ? _demuxer->errorText() : remarks.back();
        const FindingCode code = stage == TextStage::Opening          ? FindingCode::ContainerNotReadable
                                 : stage == TextStage::TellingStreams ? FindingCode::ContainerStreamsUnknown
                                                                      : FindingCode::ContainerRestLost;
        return Finding{code, Severity::Error, 0, 0, 0};
    }

    ByteSource& _source;
    InputKind _kind;
    bool _isOwner;
    detail::StreamCheck _check;
    detail::ContainerInput _input;
    std::unique_ptr<Demuxer> _demuxer;
    std::vector<detail::DemuxedStream> _streams;
    std::vector<TextTrack> _tracks;
    std::vector<Details> _details;  ///< Of the tracks.
    std::string _words;
};

std::string_view nameOf(TextTrackKind kind) noexcept {
    switch (kind) {
    case TextTrackKind::TimedText:
        return "tx3g";
    case TextTrackKind::Wvtt:
        return "wvtt";
    case TextTrackKind::Stpp:
        return "stpp";
    case TextTrackKind::SubRip:
        return "SubRip";
    case TextTrackKind::WebVtt:
        return "WebVTT";
    case TextTrackKind::SubStation:
        return "SubStation Alpha";
    case TextTrackKind::Unreadable:
        break;
    }
    return "unknown";
}

TextTrackReader::TextTrackReader(ByteSource& source, InputKind kind, bool ownsLibrarySettings)
    : _reading(std::make_unique<Reading>(source, kind, ownsLibrarySettings)) {}
TextTrackReader::~TextTrackReader() = default;

std::optional<Finding> TextTrackReader::open() {
    return _reading->open();
}

const std::vector<TextTrack>& TextTrackReader::tracks() const noexcept {
    return _reading->tracks();
}

std::optional<Finding> TextTrackReader::read(std::size_t track, const std::function<void(subtitles::Cue)>& take,
                                             FindingSink* findings,
                                             const std::function<void(const TtmlFile&)>& takeHead) {
    return _reading->read(track, take, findings, takeHead);
}

const std::string& TextTrackReader::libraryText() const noexcept {
    return _reading->words();
}

}  // namespace qlx::streams
