#include <qlx/streams/text_tracks.h>

#include "../ContainerIndex.h"
#include "../ContainerInput.h"
#include "../Demuxer.h"
#include "../Module.h"
#include "../StreamCheck.h"
#include "CueJoiner.h"
#include "SampleHeads.h"
#include "TextBoxes.h"
#include "TextSamples.h"
#include "TtmlTimes.h"

#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace qlx::streams {

using detail::Demuxer;
using detail::DemuxStatus;
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
        const auto heads = _kind == InputKind::Mov ? detail::webVttHeads(_source) : std::nullopt;
        _demuxer = takesApart->demuxer(_input, _kind, _isOwner);
        if (auto error = obstacle(_demuxer->open(), TextStage::Opening)) {
            return error;
        }
        if (auto error = obstacle(_demuxer->findStreams(), TextStage::TellingStreams)) {
            return error;
        }
        _streams = _demuxer->streams();
        const auto inBoxes = static_cast<std::size_t>(
            std::count_if(_streams.begin(), _streams.end(),
                          [](const detail::DemuxedStream& stream) { return stream.content == StreamContent::Wvtt; }));
        _hasHeads = heads && heads->size() == inBoxes;
        std::size_t head = 0;
        for (std::size_t index = 0; index < _streams.size(); ++index) {
            const detail::DemuxedStream& stream = _streams[index];
            if (isTextTrack(stream.content)) {
                TextTrack track{textKindOf(stream.content), stream.language, stream.title, {}};
                if (track.kind == TextTrackKind::WebVtt) {
                    track.header.assign(stream.parameters.begin(), stream.parameters.end());
                } else if (track.kind == TextTrackKind::Wvtt && _hasHeads) {
                    track.header = (*heads)[head++];
                }
                _tracks.push_back(std::move(track));
                _places.push_back(index);
            }
        }
        return std::nullopt;
    }

    std::optional<Finding> read(std::size_t number, const std::function<void(subtitles::Cue)>& take,
                                FindingSink* findings, const std::function<void(const TtmlFile&)>& takeHead) {
        if (number >= _tracks.size() || _tracks[number].kind == TextTrackKind::Unreadable || !_demuxer) {
            return Finding{FindingCode::TextTrackUnreadable, Severity::Error, 0, static_cast<std::int64_t>(number) + 1,
                           0};
        }
        for (std::size_t index = 0; index < _streams.size(); ++index) {
            if (index != _places[number]) {
                _demuxer->discard(index);
            }
        }
        const detail::DemuxedStream& stream = _streams[_places[number]];
        _defaults = detail::timedTextDefaults(stream.parameters);
        const TextTrackKind kind = _tracks[number].kind;
        const bool isInParts =
            kind == TextTrackKind::TimedText || kind == TextTrackKind::Wvtt || kind == TextTrackKind::Stpp;
        detail::CueJoiner joiner(take, isInParts);
        PlacedSink placed(findings);
        if (kind == TextTrackKind::Wvtt && !_hasHeads) {
            placed.add({FindingCode::TextTrackHeadUnread, Severity::Warning, 0, 0, 0});
        }
        _head = detail::sampleHeadOf(_tracks[number].header, placed);
        std::optional<detail::SubStationSamples> events;
        if (kind == TextTrackKind::SubStation) {
            events.emplace(
                std::string_view(reinterpret_cast<const char*>(stream.parameters.data()), stream.parameters.size()),
                placed);
        }
        detail::DemuxedPacket packet;
        DemuxStatus status = _demuxer->read(packet);
        for (; status == DemuxStatus::Done; status = _demuxer->read(packet)) {
            if (packet.stream == _places[number]) {
                placed.setPlace(packet.place);
                takeSample(kind, stream, packet, joiner, placed, takeHead, events ? &*events : nullptr);
            }
        }
        if (events) {
            placed.setPlace(0);
            events->finish();
        }
        joiner.finish();
        return status == DemuxStatus::End ? std::nullopt : obstacle(status, TextStage::Reading);
    }

    [[nodiscard]] const std::vector<TextTrack>& tracks() const noexcept { return _tracks; }
    [[nodiscard]] const std::string& words() const noexcept { return _words; }

private:
    void takeSample(TextTrackKind kind, const detail::DemuxedStream& stream, const detail::DemuxedPacket& packet,
                    detail::CueJoiner& joiner, FindingSink& findings,
                    const std::function<void(const TtmlFile&)>& takeHead, detail::SubStationSamples* events) {
        if (!packet.time || packet.isDamaged) {
            findings.add(
                {FindingCode::TextSampleWrong, Severity::Error, 0, static_cast<std::int64_t>(packet.bytes.size()), 0});
            return;
        }
        constexpr std::int64_t kOpenSeconds = 5;
        const std::int64_t length = packet.duration.value_or(0);
        if (length <= 0) {
            findings.add({FindingCode::TextSampleEndMissing, Severity::Warning, 0, 0, 0});
        }
        const SampleSpan span{
            MediaTime::make(*packet.time, stream.timescale),
            MediaTime::make(*packet.time + (length > 0 ? length : kOpenSeconds * stream.timescale), stream.timescale)};
        joiner.beginSample(span.begin);
        const auto take = [&joiner](subtitles::Cue cue) { joiner.add(std::move(cue)); };
        const std::string_view text(reinterpret_cast<const char*>(packet.bytes.data()), packet.bytes.size());
        detail::WithoutSheets others(findings);
        switch (kind) {
        case TextTrackKind::TimedText:
            detail::readTimedText(packet.bytes, _defaults, span, take, findings);
            break;
        case TextTrackKind::Wvtt:
            detail::readWvtt(packet.bytes, span, _head, take, others);
            break;
        case TextTrackKind::SubRip:
            detail::readSubRipText(text, span, take, findings);
            break;
        case TextTrackKind::WebVtt:
            detail::readWebVttText(text, packet.name, packet.settings, span, 0, _head, take, others);
            break;
        case TextTrackKind::Stpp:
            takeDocument(packet.bytes, span, take, findings, takeHead);
            break;
        case TextTrackKind::SubStation:
            events->read(text, span, take);
            break;
        case TextTrackKind::Unreadable:
            break;
        }
    }

    /// What of a document is shown while the sample is (ISO/IEC 14496-30, 5.3).
    void takeDocument(std::span<const std::uint8_t> bytes, const SampleSpan& span,
                      const std::function<void(subtitles::Cue)>& take, FindingSink& findings,
                      const std::function<void(const TtmlFile&)>& takeHead) {
        TtmlReadOptions options;
        if (!std::exchange(_hasHead, true) && takeHead) {
            options.takeHead = takeHead;
        }
        const auto takeShown = [&](subtitles::Cue cue) {
            cue.start = detail::isBefore(cue.start, span.begin) ? span.begin : cue.start;
            cue.end = detail::isBefore(span.end, cue.end) ? span.end : cue.end;
            if (detail::isBefore(cue.start, cue.end)) {
                take(std::move(cue));
            }
        };
        if (const auto file = readTtml(bytes, takeShown, options, &findings); !file) {
            findings.add(file.error());
        }
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
    std::vector<std::size_t> _places;  ///< Of the tracks among the streams.
    detail::TimedTextDefaults _defaults;
    detail::SampleHead _head;
    bool _hasHeads = false;  ///< Of `wvtt` tracks.
    bool _hasHead = false;
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
