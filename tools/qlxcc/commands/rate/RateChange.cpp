#include "commands/rate/RateChange.h"

#include "commands/rate/RateHalves.h"
#include "cues/CaptionFrames.h"
#include "io/Errors.h"
#include "io/FindingNotes.h"
#include "io/FrameLoop.h"
#include "io/InputFile.h"
#include "io/OutputFile.h"
#include "io/Progress.h"
#include "io/Text.h"
#include "streams/CounterNotes.h"
#include "streams/InputKind.h"
#include "streams/OpenFrames.h"
#include "streams/PacketNames.h"

#include <qlx/anc/rate.h>
#include <qlx/base/frame_rate.h>
#include <qlx/cc/cdp.h>
#include <qlx/cc/rate.h>
#include <qlx/streams/captions.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <list>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

using anc::Packet;

/// Where captions stand: in the packets of a line and channel, or in no packet.
struct StreamPlace {
    bool isInPackets = false;
    std::uint32_t line = 0;
    anc::Channel channel = anc::Channel::Luma;

    friend bool operator==(const StreamPlace&, const StreamPlace&) = default;
};

/// As many places may have captions: each costs time and memory in every frame.
constexpr std::size_t kMostStreams = 64;

/// Captions that belong together.
struct CaptionStream {
    CaptionStream(const StreamPlace& streamPlace, const cc::RateOptions& options)
        : place(streamPlace), change(options) {}

    StreamPlace place;
    std::uint32_t horizontalOffset = 0;  ///< Of the last packet.
    CaptionPlace captionPlace = CaptionPlace::Picture;
    cc::RateChange change;
    std::optional<cc::RateFrame> next;  ///< What goes out next.
    std::uint64_t framesFed = 0;        ///< Frames of the input that it has got, up to the last one.
};

/// `2.002`
std::string inSeconds(std::uint64_t milliseconds) {
    const std::string fraction = std::to_string(1000 + milliseconds % 1000);
    return std::to_string(milliseconds / 1000) + '.' + fraction.substr(1);
}

/// Changes the rate of a file's frames.
class AnyRateChange {
public:
    AnyRateChange(const RateChangeOptions& options, InputFile& source, OutputFile& output)
        : _options(options), _from(frameRateOf(options.from)), _to(frameRateOf(options.to)), _source(source),
          _reader(openFrames(source, options.source)), _writer(makeFrameWriter(output, options.frames)),
          _remarks(source), _progress(source.size(), output.isStandardOutput()), _notes(source.name(), _progress),
          _counters(source, output), _packets(_from, _to), _leftOut(output.name()),
          _makesPackets(options.frames.format == FrameFormat::Klv || options.frames.format == FrameFormat::V210 ||
                        options.frames.format == FrameFormat::Mcc),
          _countsOfDay(options.source.kind == InputKind::Mcc) {}

    /// @return How many problems there were with what was used all the same, and packets that could not be.
    std::uint64_t run() {
        Frame frame;
        while (read(frame)) {
            take(frame);
            while (!isWaiting()) {
                writeNext();
            }
        }
        for (CaptionStream& stream : _streams) {
            stream.change.finish();
        }
        while (hasMore()) {
            writeNext();
        }
        _progress.clear();
        _notes.finish();
        _counters.finish();
        if (_remarks.hasMore()) {
            _remarks.sayHowManyMore();
        }
        _writer->finish();
        _leftOut.say();
        sayLateness();
        if (_packetsLost > 0) {
            printWhyItFails(_source.name(), counted(_packetsLost, "caption packet") + " left out");
        }
        return _reader->problems() + _packetsLost;
    }

private:
    bool read(Frame& frame) { return readNext(_source, *_reader, _remarks, _progress, frame); }

    void take(Frame& frame) {
        if (_countsOfDay) {
            _first = _first.value_or(frame.number);
            frame.number -= std::min(frame.number, *_first);
        }
        _notes.setPlace("frame " + std::to_string(frame.number));
        _counters.take(frame);
        checkNumber(frame.number);
        _leftOut.addWrappings(frame);
        if (frame.pts && !_begin) {
            const auto before = -static_cast<std::int64_t>(frame.number);
            _begin = add(*frame.pts, MediaTime::make(before * _options.from.value, _options.from.timescale));
        }
        // What was counted before is taken as part of the last frame: time does not go back.
        const std::uint64_t number = std::max(frame.number, _framesRead == 0 ? 0 : _framesRead - 1);
        for (Packet& packet : frame.packets) {
            if (packet.id() == anc::ids::kCdp) {
                takeCaptions(frame.number, number, packet);
            } else {
                _packets.feed(number, std::move(packet), &_notes);
            }
        }
        if (!frame.triplets.empty()) {
            takeTriplets(frame, number);
        }
        _framesRead = number + 1;
        for (CaptionStream& stream : _streams) {
            if (stream.framesFed < _framesRead) {
                stream.change.feed(number, std::span<const cc::Triplet>(), &_notes);
                stream.framesFed = _framesRead;
            }
        }
    }

    /// Frames are written for those that are missing; a number that is wrong must not make a file of millions of them.
    void checkNumber(std::uint64_t number) {
        constexpr std::uint64_t kToldSeconds = 60;
        constexpr std::uint64_t kGreatestSeconds = 3600;
        const std::uint64_t missing = number > _framesRead ? number - _framesRead : 0;
        if (missing > kGreatestSeconds * nominalFrames(_options.from)) {
            throw failureIn(_source.name(),
                            "frame " + std::to_string(number) + " behind frame " +
                                (_framesRead == 0 ? std::string("0") : std::to_string(_framesRead - 1)) +
                                ": more than an hour is missing");
        }
        if (missing > kToldSeconds * nominalFrames(_options.from)) {
            _notes.add({FindingCode::RateFramesMissing, Severity::Warning, number, static_cast<std::int64_t>(number),
                        static_cast<std::int64_t>(missing)});
        }
    }

    /// The frame of the input that a stream's captions are taken as part of: what has been written stays as it is.
    /// @param there The frame that they came with.
    /// @param number The same, or the last one that came: time does not go back.
    std::uint64_t frameOf(const CaptionStream& stream, std::uint64_t there, std::uint64_t number) {
        number = std::max(number, stream.framesFed == 0 ? 0 : stream.framesFed - 1);
        // Where there is a stream, nothing is written that depends on more captions of the last frame.
        while (stream.framesFed == 0 && firstFrameAtOrAfter(_from, number, _to) < _framesWritten) {
            ++number;
        }
        if (number != there) {
            _notes.add({FindingCode::RateFrameOutOfOrder, Severity::Warning, there, static_cast<std::int64_t>(there),
                        static_cast<std::int64_t>(number)});
        }
        return number;
    }

    void takeCaptions(std::uint64_t frame, std::uint64_t number, const Packet& packet) {
        _notes.setPlace(placeOf(frame, packet.line));
        const Result<cc::Cdp> cdp = cc::parseCdp(packet.userData, &_notes);
        if (!cdp) {
            // Nothing of it can be sent at another rate.
            _notes.add(cdp.error());
            ++_packetsLost;
        } else if (CaptionStream* const stream = streamAt({true, packet.line, packet.channel})) {
            stream->horizontalOffset = packet.horizontalOffset;
            const std::uint64_t taken = frameOf(*stream, frame, number);
            stream->change.feed(taken, *cdp, &_notes);
            stream->framesFed = taken + 1;
        }
        _notes.setPlace("frame " + std::to_string(frame));
    }

    void takeTriplets(const Frame& frame, std::uint64_t number) {
        const Data bytes = streams::captionTriplets(frame, &_notes);
        std::vector<cc::Triplet> triplets(bytes.size() / sizeof(cc::Triplet));
        std::memcpy(triplets.data(), bytes.data(), triplets.size() * sizeof(cc::Triplet));
        if (CaptionStream* const stream = streamAt({})) {
            stream->captionPlace = frame.captionPlace;
            const std::uint64_t taken = frameOf(*stream, frame.number, number);
            stream->change.feed(taken, triplets, &_notes);
            stream->framesFed = taken + 1;
        }
    }

    /// The captions of a place, which begin here where it has none yet; null when too many places have some.
    CaptionStream* streamAt(const StreamPlace& place) {
        const auto found = std::find_if(_streams.begin(), _streams.end(),
                                        [&place](const CaptionStream& stream) { return stream.place == place; });
        if (found != _streams.end()) {
            return &*found;
        }
        if (_streams.size() == kMostStreams) {
            _notes.add({FindingCode::RateTooManyStreams, Severity::Error, 0, place.line, kMostStreams});
            return nullptr;
        }
        return &_streams.emplace_back(place,
                                      cc::RateOptions{.from = _from, .to = _to, .joinSections = _options.joinSections});
    }

    /// Whether a stream has the frame that is written next.
    bool hasNext(CaptionStream& stream) {
        _notes.setPlace("frame " + std::to_string(_framesWritten) + " of the result");
        cc::RateFrame frame;
        while (!stream.next || stream.next->number < _framesWritten) {
            if (!stream.change.next(frame, &_notes)) {
                return false;
            }
            stream.next = frame;
        }
        return true;
    }

    /// Whether the next frame depends on frames to come.
    bool isWaiting() {
        return _framesWritten >= firstFrameAtOrAfter(_from, _framesRead, _to) ||
               !std::all_of(_streams.begin(), _streams.end(),
                            [this](CaptionStream& stream) { return hasNext(stream); });
    }

    /// Sums up what went out late, and what was joined so that it did not.
    void sayLateness() const {
        cc::RateLateness triplets;
        cc::RateLateness sections;
        std::uint64_t joined = 0;
        std::uint64_t alike = 0;
        const auto add = [](cc::RateLateness& sum, const cc::RateLateness& one) {
            sum.count += one.count;
            sum.longestMilliseconds = std::max(sum.longestMilliseconds, one.longestMilliseconds);
            sum.framesBehindEnd = std::max(sum.framesBehindEnd, one.framesBehindEnd);
        };
        for (const CaptionStream& stream : _streams) {
            add(triplets, stream.change.lateTriplets());
            add(sections, stream.change.lateSections());
            joined += stream.change.sectionsJoined();
            alike += stream.change.sectionsAlike();
        }
        // What goes out behind the end is said on its own.
        if (triplets.count > 0) {
            say(triplets, "triplet", "");
        }
        if (sections.count > 0 || (alike > 0 && sections.framesBehindEnd > 0)) {
            say(sections, "service section",
                alike > 0 ? " (--join-sections sends those that wait and say the same once)" : "");
        }
        if (joined > 0) {
            printNote(_source.name() + ": " + counted(joined, "service section") +
                      " sent with the one before, which says the same");
        }
    }

    void say(const cc::RateLateness& kind, std::string_view what, std::string_view hint) const {
        std::string text = std::string(what) + "s sent";
        if (kind.count > 0) {
            text = counted(kind.count, what) + " sent more than 2 s late, by up to " +
                   inSeconds(kind.longestMilliseconds) + " s" + (kind.framesBehindEnd > 0 ? ", the last ones" : "");
        }
        if (kind.framesBehindEnd > 0) {
            text += " in " + counted(kind.framesBehindEnd, "frame") + " behind the end";
        }
        printNote("warning: " + _source.name() + ": " + text + std::string(hint));
    }

    /// Behind the last frame of the input: whether there is a frame to be written. All streams take it.
    bool hasMore() {
        const auto count =
            std::count_if(_streams.begin(), _streams.end(), [this](CaptionStream& stream) { return hasNext(stream); });
        return count > 0 || _packets.waiting() > 0 || _framesWritten < firstFrameAtOrAfter(_from, _framesRead, _to);
    }

    void writeNext() {
        Frame frame;
        frame.number = _framesWritten;
        frame.pts = _options.to.timeOfFrame(_framesWritten);
        if (_begin && _begin->isValid()) {
            frame.pts = add(*_begin, *frame.pts);
        }
        for (const CaptionStream& stream : _streams) {
            if (stream.next && stream.next->number == _framesWritten && stream.next->isCarried) {
                put(stream, frame);
            }
        }
        for (Packet& packet : _packets.packetsOf(_framesWritten)) {
            frame.packets.push_back(std::move(packet));
        }
        std::stable_sort(frame.packets.begin(), frame.packets.end(),
                         [](const Packet& left, const Packet& right) { return left.line < right.line; });
        _writer->write(frame);
        ++_framesWritten;
    }

    void put(const CaptionStream& stream, Frame& frame) const {
        const cc::Cdp& cdp = stream.next->cdp;
        if (!stream.place.isInPackets && !_makesPackets) {
            const std::span<const cc::Triplet> triplets = cdp.triplets();
            frame.triplets = Data(reinterpret_cast<const std::uint8_t*>(triplets.data()), triplets.size_bytes());
            frame.captionPlace = stream.captionPlace;
            return;
        }
        std::array<std::uint8_t, cc::kGreatestCdpBytes> room{};
        // A packet that the change gives fits.
        const std::size_t size = *cc::writeCdp(cdp, room);
        const std::uint32_t line =
            stream.place.isInPackets ? stream.place.line : static_cast<std::uint32_t>(kCaptionLine);
        Packet packet = packetOf(anc::ids::kCdp, std::span(room).first(size), line);
        packet.channel = stream.place.channel;
        packet.horizontalOffset = stream.horizontalOffset;
        frame.packets.push_back(std::move(packet));
    }

    const RateChangeOptions& _options;
    FrameRate _from;
    FrameRate _to;
    NamedSource& _source;
    std::unique_ptr<FrameInput> _reader;
    std::unique_ptr<FrameWriter> _writer;
    RemarkNotes _remarks;
    Progress _progress;
    FindingNotes _notes;
    CounterNotes _counters;
    anc::PacketRateChange _packets;
    LeftOut _leftOut;
    std::list<CaptionStream> _streams;
    bool _makesPackets;                     ///< What is written has no place for captions beside packets.
    bool _countsOfDay;                      ///< The file's frames count from midnight, not from its beginning.
    std::optional<std::uint64_t> _first{};  ///< The number of its first one then.
    std::optional<MediaTime> _begin;        ///< The time of frame 0, where the file says times.
    std::uint64_t _framesRead = 0;          ///< Up to the last one; those that the file leaves out count as well.
    std::uint64_t _framesWritten = 0;
    std::uint64_t _packetsLost = 0;  ///< Caption packets without a CDP.
};

bool hasPackets(InputKind kind) {
    return kind == InputKind::Klv || kind == InputKind::Jsonl || kind == InputKind::Mcc || hasRows(kind);
}

bool hasPictures(InputKind kind) {
    return kind == InputKind::H264 || kind == InputKind::H265 || kind == InputKind::Mpeg2 || isContainer(kind);
}

/// An MXF file can be walked as triplets.
bool isWalked(InputKind kind) {
    return hasPackets(kind) || kind == InputKind::Mxf;
}

bool isReadWhole(InputKind kind) {
    return hasPackets(kind) || hasPictures(kind);
}

/// What a file of frames with packets or captions is: what the options say, or else its content and name.
/// @param withPictures Whether captions of video are read.
/// @throws UsageError when it is of another kind.
InputKind kindOfFrames(InputFile& source, const FrameSourceOptions& options, bool withPictures) {
    if (options.kind) {
        if (!withPictures && hasPictures(*options.kind)) {
            throw UsageError("--from-format with --as-deployed is for files of frames with packets only");
        }
        return *options.kind;
    }
    const auto first = source.peek(kBytesThatTellKind);
    refuseOtherKinds(first, source.name(), withPictures ? isReadWhole : isWalked,
                     withPictures ? "which has no frames with packets or captions"
                                  : "which has no frames with packets");
    const InputKind kind = inputKind(first, source.name()).value_or(InputKind::Klv);
    if (withPictures && isVideo(kind)) {
        checkParameters(source, "--from-format");
    }
    const bool isRead = hasPackets(kind) || (withPictures && hasPictures(kind) && kind != InputKind::Mxf);
    return isRead ? kind : InputKind::Klv;
}

}  // namespace

bool isDouble(const Rate& from, const Rate& to) noexcept {
    return from.value * to.timescale == 2 * to.value * from.timescale;
}

int changeRate(const RateChangeOptions& options) {
    refuseInputAsOutput(options.file, options.output);
    InputFile source(options.file);
    RateChangeOptions changed = options;
    changed.source.kind = kindOfFrames(source, options.source, !options.asDeployed);
    if (changed.source.kind == InputKind::Mcc) {
        changed.source.rate = options.from;
    }
    settleRows(*changed.source.kind, changed.source, changed.frames);
    OutputFile output(options.output);
    const std::uint64_t problems =
        options.asDeployed ? changeToHalves(changed, source, output) : AnyRateChange(changed, source, output).run();
    output.commit();
    return problems == 0 ? kExitSuccess : kExitFailure;
}

}  // namespace qlx::tool
