// SubRip files (SRT) as their receivers read them, both ways: cues of a number, a line of times and rows of marked-up
// text. `qlx/subtitles/srt.h` reads them as the fixed operations do.
//
//     std::string text;
//     qlx::subtitles::SubRipWriter writer(&findings);
//     writer.write(cue, text);
//
//   1
//   00:00:01,000 --> 00:00:02,500
//   {\an8}<i>Hello</i> <font color="#ffff00">you</font>
//
// The format has no standard. Read and written are:
//
// - `<b>`, `<i>`, `<u>`, `<s>` and `<font>` with `color`, `face` and `size`, in either case, over parts of rows and over
//   several rows; colours by name or as `#RRGGBB`, `#RGB`, `rgb(r, g, b)`. `<br>` ends a row.
// - `{\anN}` and `{\aN}`, which place the cue, and `{\b1}`, `{\i1}`, `{\u1}`, `{\s1}`, `{\c&HBBGGRR&}` and `{\r}`. Other
//   codes in such braces are kept with the run that they stand in front of (properties::kSubRipCodes); the first place of
//   `{\pos(x,y)}`, on the screen of 384 by 288 that receivers take for it, is Cue::box besides.
// - What stands behind the times, such as `X1:100 X2:200 Y1:10 Y2:20` (properties::kSubRipCoordinates).
// - An empty row inside of a cue, as one of a space without a break (U+00A0).
//
// Entities (`&amp;`) are read as what they name, with a finding, and not written: the format has none.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/base/limits.h>
#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace qlx::subtitles {

namespace properties {
/// Of a cue: what stands behind its times.
inline constexpr std::string_view kSubRipCoordinates = "srt.coordinates";
/// Of a run: codes in braces in front of it, as they stand there, without the braces: `\pos(10,20)`.
inline constexpr std::string_view kSubRipCodes = "srt.codes";
}  // namespace properties

/// What is taken for one cue.
struct TextCueOptions {
    std::size_t greatestCue = std::size_t{1024} * 1024;  ///< A cue with more bytes is left out.
    std::uint64_t mostLines = 10'000;                    ///< The same for its lines.
    ReadLimits limits{};                                 ///< Of the file; the items are cues.
};

/// Reads cues from a file whose bytes come in pieces of any size.
///
///     qlx::subtitles::SubRipReader reader({}, &findings);
///     while (more(piece)) {
///         reader.push(piece);
///         while (const qlx::subtitles::Cue* const cue = reader.next()) {
///             use(*cue);
///         }
///     }
///     reader.finish();
///     while (const qlx::subtitles::Cue* const cue = reader.next()) {
///         use(*cue);
///     }
///
/// The text is UTF-8, with or without a byte order mark; a byte that is not becomes U+FFFD. Lines end in LF, CR or both.
/// A cue begins with its line of times, whose fractions may stand behind a comma or a point, or be missing, as the hours
/// may; a number of digits on the line in front of it is the cue's, which else counts on. It ends with the times of the
/// next one: what stands behind an empty row belongs to it as well, as receivers take it. Findings have the number of a
/// line as their offset, counted from 1. Reading takes linear time, and memory for the longest piece and two cues.
class SubRipReader {
public:
    /// Reads from the beginning of a file. `findings` may be null, else it must outlive this.
    QLX_EXPORT explicit SubRipReader(const TextCueOptions& options = {}, FindingSink* findings = nullptr);
    /// Goes on where the other one is.
    QLX_EXPORT SubRipReader(SubRipReader&& other) noexcept;
    /// The same.
    QLX_EXPORT SubRipReader& operator=(SubRipReader&& other) noexcept;
    QLX_EXPORT ~SubRipReader();

    /// Takes the next bytes of the file. The cue that was given before is no longer valid.
    QLX_EXPORT void push(std::span<const std::uint8_t> bytes);

    /// Says that the file has ended: nothing is pushed any more.
    QLX_EXPORT void finish() noexcept;

    /// The next cue, valid until the next call of this object; null when more bytes are needed, or at the end. Its times
    /// are in milliseconds; its end is not earlier than its start.
    [[nodiscard]] QLX_EXPORT const Cue* next();

private:
    class Parser;
    std::unique_ptr<Parser> _parser;
};

/// Writes cues.
///
/// Times are rounded to milliseconds as spanIn() does; a cue that ends before 0 is left out, one that begins there
/// begins at 0. A cue without a number gets the one behind that of the cue before it. The first row says where the cue
/// stands. What the format cannot say is a finding, whose offset is the cue, counted from 1 (SubtitleTimeEmptied,
/// SubtitleTimeNegative, SubtitleTextAmbiguous, SubtitleStylesLost, SubtitlePlaceLost, SubtitlePropertiesLost,
/// SubtitleRunTimeLost, SubtitleNameLost, SubtitleRegionLost, SubtitleLanguageLost). What has no finding is read back
/// by SubRipReader as an equal cue, but for the terms of its times and for runs that look alike, which become one.
class SubRipWriter {
public:
    /// Begins a file. `findings` may be null, else it must outlive this.
    explicit SubRipWriter(FindingSink* findings = nullptr) noexcept : _findings(findings) {}

    /// Appends a cue to `text`, in UTF-8 with lines that end in LF, and gives whether it did.
    QLX_EXPORT bool write(const Cue& cue, std::string& text);

private:
    FindingSink* _findings;
    std::uint64_t _cues = 0;    ///< Given so far.
    std::uint64_t _number = 0;  ///< Of the last one.
};

}  // namespace qlx::subtitles
