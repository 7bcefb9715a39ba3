// SubStation Alpha files (SSA, v4.00) and those of its successor (ASS, v4.00+), as their receivers read them: the text of
// events with its times, its place and its basic styles.
//
//     qlx::subtitles::SsaReader reader({}, &findings);
//     reader.push(bytes);
//     reader.finish();
//     while (const qlx::subtitles::Cue* const cue = reader.next()) {
//         use(*cue);
//     }
//
//   [V4+ Styles]
//   Format: Name, PrimaryColour, Bold, Alignment
//   Style: Default,&H0000FFFF,0,2
//   [Events]
//   Format: Start, End, Style, Text
//   Dialogue: 0:00:01.00,0:00:02.50,Default,{\an8\i1}Hello{\i0}\Nyou
//
// The format has no standard. Read are:
//
// - `Style:` and `Dialogue:` lines with the columns of the `Format:` line in front of them, in any order, or else with
//   those of the version.
// - Of a style bold, italic, underlined, struck out, the primary colour, the colour of the box behind the text
//   (BorderStyle 3: the outline's in v4.00+, the back's in v4.00), alignment and vertical margin, by their numbers in
//   either version.
// - `{\b}`, `{\i}`, `{\u}`, `{\s}`, `{\c}` and `{\1c}`, `{\3c}` (of a box), `{\fn}`, `{\fs}`, `{\r}` with or without a
//   style, `{\an}`, `{\a}`, `{\pos}`, `{\q}`, and `\N`, `\n`, `\h`. Other codes are kept with the run that they stand in
//   front of (properties::kSsaCodes).
//
// Drawings (`{\p1}`) are left out and the times of syllables (`{\k20}`) passed over, each with a finding, as are pictures,
// sounds, fonts and whatever else is no text. Comments are counted.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/subtitles/cue.h>
#include <qlx/subtitles/subrip.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace qlx::subtitles {

namespace properties {
inline constexpr std::string_view kSsaStyle = "ssa.style";    ///< Of a cue: its style, unless that is `Default`.
inline constexpr std::string_view kSsaLayer = "ssa.layer";    ///< Of a cue: its layer, unless that is 0.
inline constexpr std::string_view kSsaName = "ssa.name";      ///< Of a cue: who speaks.
inline constexpr std::string_view kSsaEffect = "ssa.effect";  ///< Of a cue: how it moves.
/// Of a cue: the coordinates of its place, with a comma, on a screen as large as the file says. They are Cue::box too.
inline constexpr std::string_view kSsaPosition = "ssa.pos";
/// Of a run: codes in braces in front of it, as they stand there, without the braces: `\fad(200,0)`.
inline constexpr std::string_view kSsaCodes = "ssa.codes";
}  // namespace properties

/// What a file has besides cues.
struct SsaFile {
    Properties info;             ///< The lines of its first section: `Title`, `PlayResX` and so on; at most 1,000.
    std::uint32_t width = 384;   ///< Of the screen that coordinates are on.
    std::uint32_t height = 288;  ///< The same.
    std::uint64_t comments = 0;  ///< Lines and events that are comments, so far.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const SsaFile&, const SsaFile&) = default;
};

/// Reads cues from a file whose bytes come in pieces of any size, in the file's order, which need not be that of their
/// times.
///
///     qlx::subtitles::SsaReader reader({}, &findings);
///     reader.push(piece);
///     reader.finish();
///     while (const qlx::subtitles::Cue* const cue = reader.next()) {
///         use(*cue);
///     }
///     use(reader.file());
///
/// The text is UTF-8, with or without a byte order mark; a byte that is not becomes U+FFFD. Lines end in LF, CR or both.
/// A cue's number counts the events that are given. Row::anchor is that of the alignment, and 0 below in the middle; where
/// a place or a margin says another row than the usual one, rows are numbered on a screen of 15 rows and 32 columns
/// instead. An event without text is left out with a remark. Findings have the number of a line as their offset, counted
/// from 1. Reading takes linear time, and memory for the longest piece, the styles and two cues.
class SsaReader {
public:
    /// Reads from the beginning of a file. `findings` may be null, else it must outlive this.
    QLX_EXPORT explicit SsaReader(const TextCueOptions& options = {}, FindingSink* findings = nullptr);
    /// Goes on where the other one is.
    QLX_EXPORT SsaReader(SsaReader&& other) noexcept;
    /// The same.
    QLX_EXPORT SsaReader& operator=(SsaReader&& other) noexcept;
    QLX_EXPORT ~SsaReader();

    /// Takes the next bytes of the file. The cue that was given before is no longer valid.
    QLX_EXPORT void push(std::span<const std::uint8_t> bytes);

    /// Says that the file has ended: nothing is pushed any more.
    QLX_EXPORT void finish() noexcept;

    /// The next cue, valid until the next call of this object; null when more bytes are needed, or at the end. Its times
    /// are in milliseconds; its end is not earlier than its start.
    [[nodiscard]] QLX_EXPORT const Cue* next();

    /// What has been read besides cues.
    [[nodiscard]] QLX_EXPORT const SsaFile& file() const noexcept;

private:
    class Parser;
    std::unique_ptr<Parser> _parser;
};

}  // namespace qlx::subtitles
