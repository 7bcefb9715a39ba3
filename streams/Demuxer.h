// Taking containers apart: what is asked of the module that does it, which alone stands on FFmpeg's libraries.
#pragma once

#include <qlx/streams/input_kind.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::streams::detail {

/// The file, as a demuxer reads it.
class DemuxerInput {
public:
    DemuxerInput() = default;
    DemuxerInput(const DemuxerInput&) = delete;
    DemuxerInput& operator=(const DemuxerInput&) = delete;
    virtual ~DemuxerInput() = default;

    /// Bytes that were read; fewer than `to` has room for only at the end. None when reading has failed.
    virtual std::optional<std::size_t> read(std::span<std::uint8_t> to) = 0;

    /// Goes on reading at `offset`; false when that is not possible.
    virtual bool seek(std::uint64_t offset) = 0;

    /// Bytes read so far, or passed over.
    [[nodiscard]] virtual std::uint64_t offset() const = 0;

    /// Bytes in all; none where it can only be read from front to back.
    [[nodiscard]] virtual std::optional<std::uint64_t> size() const = 0;
};

/// What a stream holds that can be read here.
enum class StreamContent {
    Other,       ///< Sound, time codes and all the rest.
    H264,        ///< Coded pictures, one a packet.
    Mpeg2,       ///< The same.
    H265,        ///< The same.
    Pairs,       ///< CEA-608 triplets, from a `c608` track.
    Atom,        ///< QuickTime caption atoms, from a `c708` track.
    AncElement,  ///< ANC frame elements (SMPTE ST 436-1).
    TimedText,   ///< Text with its styles (3GPP TS 26.245).
    Wvtt,        ///< WebVTT cues in boxes (ISO/IEC 14496-30).
    Stpp,        ///< TTML documents (the same).
    SubRip,      ///< The text of a cue.
    WebVtt,      ///< The same.
    SubStation,  ///< The fields of an event of SubStation Alpha, without its times.
    OtherText,   ///< Subtitles that are not read.
};

/// Whether a stream has something for frames; texts are cues.
constexpr bool hasFrames(StreamContent content) noexcept {
    return content >= StreamContent::H264 && content <= StreamContent::AncElement;
}

struct DemuxedStream {
    std::uint32_t number = 0;  ///< As the container counts them: `track_ID` of an ISO file.
    StreamContent content = StreamContent::Other;
    std::vector<std::uint8_t> parameters;  ///< The decoder's parameters, as the container has them.
    std::int32_t timescale = 1;            ///< Of the times of its packets.
    /// A frame's duration in 1/timescale; 0 when it is not known, or none that video has.
    std::int64_t frameDuration = 0;
    std::string language;  ///< As the container says it; may be empty.
    std::string title;     ///< The same.
};

struct DemuxedPacket {
    std::size_t stream = 0;                    ///< Index of its stream.
    std::span<const std::uint8_t> bytes;       ///< Valid until the next call of the demuxer.
    std::optional<std::int64_t> time;          ///< Of presentation, in 1/timescale.
    std::optional<std::int64_t> decodingTime;  ///< In 1/timescale.
    std::uint64_t place = 0;                   ///< Its first byte in the file; 0 when that is not known.
    bool isDamaged = false;
    std::optional<std::int64_t> duration;  ///< In 1/timescale.
    std::string_view name;                 ///< Of a WebVTT cue, and its settings; valid as the bytes are.
    std::string_view settings;
};

/// Which times packets have.
enum class PacketTimes {
    Shown,  ///< When they are shown.
    Media,  ///< Those of the media: the edit lists of ISO files are passed over.
};

enum class DemuxStatus {
    Done,
    End,          ///< Of the file.
    OutOfMemory,  ///< More memory was asked for than any such file needs.
    Failed,
};

/// Takes one file apart.
class Demuxer {
public:
    Demuxer() = default;
    Demuxer(const Demuxer&) = delete;
    Demuxer& operator=(const Demuxer&) = delete;
    virtual ~Demuxer() = default;

    /// Reads what is in front of the streams' data.
    [[nodiscard]] virtual DemuxStatus open(PacketTimes times) = 0;

    /// Reads as much of a file that has been opened as it takes to tell its streams.
    [[nodiscard]] virtual DemuxStatus findStreams() = 0;

    [[nodiscard]] virtual std::vector<DemuxedStream> streams() const = 0;

    /// Where the last packet of a stream ends, in 1/timescale, as far as the file has been read; none where it does not say.
    [[nodiscard]] virtual std::optional<std::int64_t> end(std::size_t stream) const = 0;

    /// Leaves a stream out of what is read.
    virtual void discard(std::size_t stream) = 0;

    [[nodiscard]] virtual DemuxStatus read(DemuxedPacket& packet) = 0;

    /// Why the last call failed, in the library's words.
    [[nodiscard]] virtual std::string errorText() const = 0;

    /// What the library has had to say of damage since the last call; the first 20 remarks.
    [[nodiscard]] virtual std::vector<std::string> takeRemarks() = 0;
};

/// What the module implements.
class DemuxerModule {
public:
    /// @param input Must outlive the demuxer.
    /// @param kind One that isContainer().
    /// @param isOwner The library's settings for the whole process are set as it takes to read safely, and what the library
    ///   would print is kept for takeRemarks(); else they stay as they are.
    [[nodiscard]] virtual std::unique_ptr<Demuxer> demuxer(DemuxerInput& input, InputKind kind, bool isOwner) = 0;

protected:
    ~DemuxerModule() = default;
};

}  // namespace qlx::streams::detail
