// The text tracks of containers as cues: 3GPP timed text (`tx3g`, 3GPP TS 26.245), WebVTT and TTML in ISO files (`wvtt`,
// `stpp`, ISO/IEC 14496-30), and SubRip, WebVTT and SubStation Alpha of Matroska files (`S_TEXT/UTF8`, `S_TEXT/WEBVTT`,
// `S_TEXT/ASS`).
//
//     qlx::streams::TextTrackReader reader(source, qlx::streams::InputKind::Mov);
//     if (const auto error = reader.open()) { report(error->offset, error->text()); }
//     for (const qlx::streams::TextTrack& track : reader.tracks()) { use(track.language); }
//     const auto failure = reader.read(0, [](qlx::subtitles::Cue cue) { take(cue); }, &findings);
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/export.h>
#include <qlx/streams/input_kind.h>
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::streams {

/// What the samples of a text track are.
enum class TextTrackKind : std::uint8_t {
    TimedText,   ///< `tx3g`, and QuickTime's `text`.
    Wvtt,        ///< WebVTT cues in boxes.
    Stpp,        ///< A TTML document a sample.
    SubRip,      ///< `S_TEXT/UTF8`
    WebVtt,      ///< `S_TEXT/WEBVTT`
    Unreadable,  ///< Another one, such as pictures.
    SubStation,  ///< `S_TEXT/ASS`, `S_TEXT/SSA`
};

/// The name of a kind in sentences: `tx3g`, `wvtt`, `stpp`, `SubRip`, `WebVTT`, `SubStation Alpha`, `unknown`.
[[nodiscard]] QLX_STREAMS_EXPORT std::string_view nameOf(TextTrackKind kind) noexcept;

/// A track.
struct TextTrack {
    TextTrackKind kind = TextTrackKind::Unreadable;  ///< What it holds.
    std::string language;                            ///< As the file says it: `eng`, `und`; may be empty.
    std::string title;                               ///< The same.
    /// What a WebVTT file has in front of its cues, as `S_TEXT/WEBVTT` and the `vttC` box of `wvtt` say it; empty for other
    /// kinds, and where it cannot be read (TextTrackHeadUnread): of a pipe, and where a box is cut.
    std::string header;

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const TextTrack&, const TextTrack&) = default;
};

/// Reads the text tracks of a container. Memory holds some samples and the cues that go on behind them, never a whole file.
class QLX_STREAMS_EXPORT TextTrackReader {
public:
    /// @param source At the beginning of the file; must outlive the reader.
    /// @param kind InputKind::Mov or InputKind::Mkv.
    /// @param ownsLibrarySettings As ContainerOptions has it.
    TextTrackReader(ByteSource& source, InputKind kind, bool ownsLibrarySettings = true);
    ~TextTrackReader();
    TextTrackReader(const TextTrackReader&) = delete;
    TextTrackReader& operator=(const TextTrackReader&) = delete;

    /// Reads what is in front of the samples.
    /// @return Why there is nothing to be read (ContainerLibraryMissing, ContainerNotReadable, ContainerStreamsUnknown,
    ///   ContainerTooMuchMemory, or what the source has); words of the library are libraryText() then.
    [[nodiscard]] std::optional<Finding> open();

    /// The text tracks, in the file's order; none before open().
    [[nodiscard]] const std::vector<TextTrack>& tracks() const noexcept;

    /// Reads all cues of a track; once, behind open(). They are numbered from 1.
    ///
    /// Their times are those of the samples, of `stpp` also those within the documents, which count from the beginning
    /// of the media. A sample that does not say how long it lasts, as those of fragments, ends where the next one
    /// begins (ISO/IEC 14496-12, 8.8.12; RFC 9559, 5.1.3.5.3); the last one as its table says, or five seconds later
    /// (TextSampleEndMissing). Then cues of MP4 files that are cut where samples end are joined again, and the edit
    /// list of the track is followed (8.6.6): what it shows twice is given twice, and what it does not show is counted
    /// (TextCuesEditedOut). Where its boxes cannot be read, as those of a pipe behind its first MiB, the library's
    /// times are taken, or those of the media (TextTrackHeadUnread).
    ///
    /// Findings have as their offset the first byte of the sample, 0 where that is not known: TextSampleWrong,
    /// TextSampleUnitsWrong, TextSamplePartsLost, TextSampleEndMissing, TextSampleCuesOutside, TextTrackHeadUnread, and
    /// those of the formats. Those of a file that ends too early have the byte at which it does: what ContainerReader
    /// says then, or StreamLibraryRemark, with the words in libraryText() as long as the sink looks at it.
    /// @param track Its place among tracks().
    /// @param take Gets the cues, in the order of their samples: that of times, unless an edit list has another one.
    /// @param findings May be null.
    /// @param takeHead Gets the head of the first document of an `stpp` track, in front of its cues; may be empty.
    ///   Cues of later documents name no regions but those of the first one: what is another region under such a name
    ///   is their box.
    /// @return Why reading has ended before the end; none when it has not. TextTrackUnreadable for a track of
    ///   TextTrackKind::Unreadable, or one that there is not.
    [[nodiscard]] std::optional<Finding> read(std::size_t track, const std::function<void(subtitles::Cue)>& take,
                                              FindingSink* findings = nullptr,
                                              const std::function<void(const TtmlFile&)>& takeHead = {});

    /// What FFmpeg has said of what open() or read() gave; may be empty.
    [[nodiscard]] const std::string& libraryText() const noexcept;

private:
    class Reading;

    std::unique_ptr<Reading> _reading;
};

}  // namespace qlx::streams
