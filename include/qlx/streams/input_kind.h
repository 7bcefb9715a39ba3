// What a file is, told by its first bytes or its name.
//
//     const auto kind = qlx::streams::inputKind(firstBytes, "film.ts");
//     if (kind && qlx::streams::isContainer(*kind)) {
//         openContainer();
//     }
#pragma once

#include <qlx/streams/export.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace qlx::streams {

/// A kind of file that has frames, captions, subtitles or a picture.
enum class InputKind {
    V210,             ///< SDI rows of 10-bit samples.
    Yuv8,             ///< SDI rows of 8-bit samples (`2vuy`).
    Klv,              ///< SMPTE ST 336 triplets with ANC frame elements.
    Jsonl,            ///< A JSON line a frame.
    Scc,              ///< Scenarist closed captions.
    Srt,              ///< Subtitles: SubRip.
    Stl,              ///< Subtitles: EBU Tech 3264.
    Json,             ///< Subtitles: a JSON text.
    H264,             ///< An H.264 byte stream (Annex B).
    Mpeg2,            ///< An MPEG-2 video stream.
    Mxf,              ///< Material exchange format (SMPTE ST 377-1).
    Mov,              ///< QuickTime and MP4 (ISO/IEC 14496-12).
    TransportStream,  ///< MPEG-TS (ISO/IEC 13818-1), also with 4 bytes of time or 16 of parity a packet.
    ProgramStream,    ///< MPEG-PS (ISO/IEC 13818-1).
    Png,              ///< A picture: portable network graphics.
    Ppm,              ///< A picture: portable pixmap.
    Vtt,              ///< Subtitles: WebVTT.
    H265,             ///< An H.265 byte stream (Annex B).
    Mcc,              ///< Ancillary packets as text, a line each.
    Ass,              ///< Subtitles: SubStation Alpha, of either version.
    Mkv,              ///< Matroska and WebM (RFC 9559).
    Ttml,             ///< Subtitles: timed text in XML (W3C TTML and its profiles).
    Flv,              ///< Flash video.
};

/// As many first bytes as are looked at.
inline constexpr std::size_t kBytesThatTellKind = 4096;

/// The short name of a kind: `v210`, `2vuy`, `klv`, `jsonl`, `scc`, `srt`, `stl`, `json`, `h264`, `mpeg2`,
/// `mxf`, `mov`, `ts`, `ps`, `png`, `ppm`, `vtt`, `h265`, `mcc`, `mkv`, `ttml`, `ass`, `flv`.
[[nodiscard]] QLX_STREAMS_EXPORT std::string_view nameOf(InputKind kind) noexcept;

/// The name of a container in sentences: `MXF`, `MOV or MP4`, `MPEG-TS`, `MPEG-PS`, `Matroska`, `FLV`.
[[nodiscard]] QLX_STREAMS_EXPORT std::string_view containerName(InputKind kind) noexcept;

/// The kind called `name`.
[[nodiscard]] QLX_STREAMS_EXPORT std::optional<InputKind> inputKindNamed(std::string_view name) noexcept;

/// The kind that the extension of a file's name says, in whichever case; none for any other name.
[[nodiscard]] QLX_STREAMS_EXPORT std::optional<InputKind> inputKindOfName(std::string_view path) noexcept;

/// The kind that a file's first bytes say; none for any other content. Rows have no first bytes of their own.
/// @param first The file's first kBytesThatTellKind bytes, or all when it is shorter.
[[nodiscard]] QLX_STREAMS_EXPORT std::optional<InputKind> inputKindOfBytes(
    std::span<const std::uint8_t> first) noexcept;

/// The kind of the file called `path` that begins with `first`: what its bytes say, or else its name. A name that says
/// `v210` or `2vuy` is believed, as any bytes can be samples.
[[nodiscard]] QLX_STREAMS_EXPORT std::optional<InputKind> inputKind(std::span<const std::uint8_t> first,
                                                                    std::string_view path) noexcept;

/// Whether something that begins a container of this kind is anywhere in `first`: MXF may have a run-in, and streams
/// that were captured may begin anywhere. True for other kinds.
[[nodiscard]] QLX_STREAMS_EXPORT bool hasBeginningOf(InputKind kind, std::span<const std::uint8_t> first) noexcept;

/// Whether a file of this kind holds SDI rows, of which nothing in it says how they lie.
[[nodiscard]] constexpr bool hasRows(InputKind kind) noexcept {
    return kind == InputKind::V210 || kind == InputKind::Yuv8;
}

/// Whether a file of this kind holds subtitles that become records of the fixed operations.
[[nodiscard]] constexpr bool isSubtitles(InputKind kind) noexcept {
    return kind == InputKind::Srt || kind == InputKind::Stl || kind == InputKind::Json;
}

/// Whether a file of this kind holds cues, and no frames.
[[nodiscard]] constexpr bool hasCues(InputKind kind) noexcept {
    return isSubtitles(kind) || kind == InputKind::Vtt || kind == InputKind::Ttml || kind == InputKind::Ass;
}

/// Whether a file of this kind is a multiplex of streams with times.
[[nodiscard]] constexpr bool isContainer(InputKind kind) noexcept {
    return kind == InputKind::Mxf || kind == InputKind::Mov || kind == InputKind::TransportStream ||
           kind == InputKind::ProgramStream || kind == InputKind::Mkv || kind == InputKind::Flv;
}

/// Whether a container of this kind may have text tracks (qlx/streams/text_tracks.h).
[[nodiscard]] constexpr bool mayHaveTextTracks(InputKind kind) noexcept {
    return kind == InputKind::Mov || kind == InputKind::Mkv;
}

}  // namespace qlx::streams
