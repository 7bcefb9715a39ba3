// WebVTT files (W3C WebVTT), both ways.
//
//     std::string text;
//     qlx::subtitles::WebVttWriter writer(&findings);
//     writer.begin(file, text);
//     writer.write(cue, text);
//     writer.finish(file, text);
//
//   WEBVTT
//
//   intro
//   00:00:01.000 --> 00:00:02.500 line:0 align:left
//   <i>Hello</i> <c.yellow.bg_blue>you</c>
//
// Style sheets are applied as far as Style has what they say (isAppliedSheet()), and kept: what a sheet that is written
// says is not written in the text again.
//
// Of a cue's text the spans `<b>`, `<i>` and `<u>` are in the style of its runs, as are the colours of classes: the
// eight (`<c.red>`, `<c.bg_blue>`), and those that the file defines as the writer does (`<c.rgbffa500>`,
// isColorSheet()); other classes, `<v>`, `<lang>`, `<ruby>` and `<rt>` are properties of the runs
// (properties::kWebVttClass and so on) in the order in which they are open, and times within the text are Run::from.
// Settings are properties of the cue; its region is Cue::region. What both say of the place is Cue::box besides, which
// is written where a cue has neither. Alignment and anchor of the rows are those of the settings `align` and `line`.
// The language of a cue (Cue::language) is that of the file's head (`Language: en`); another one is written as a span
// of its rows, and read as that of its runs.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/subtitles/cue.h>
#include <qlx/subtitles/subrip.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::subtitles {

namespace properties {
inline constexpr std::string_view kWebVttClass = "vtt.c";            ///< Of a run: other classes, with points between.
inline constexpr std::string_view kWebVttVoice = "vtt.v";            ///< Of a run: who speaks.
inline constexpr std::string_view kWebVttVoiceClass = "vtt.v.c";     ///< Of a run: classes of the voice behind it.
inline constexpr std::string_view kWebVttLanguage = "vtt.lang";      ///< Of a run: its language.
inline constexpr std::string_view kWebVttRuby = "vtt.ruby";          ///< Of a run: it is ruby, or has such.
inline constexpr std::string_view kWebVttRubyText = "vtt.rt";        ///< Of a run: it is the text of the ruby.
inline constexpr std::string_view kWebVttNote = "vtt.note";          ///< Of a cue: a comment in front of it; lines.
inline constexpr std::string_view kWebVttVertical = "vtt.vertical";  ///< Of a cue: the setting of this name.
inline constexpr std::string_view kWebVttLine = "vtt.line";          ///< The same.
inline constexpr std::string_view kWebVttPosition = "vtt.position";  ///< The same.
inline constexpr std::string_view kWebVttSize = "vtt.size";          ///< The same.
inline constexpr std::string_view kWebVttAlign = "vtt.align";        ///< The same: `start` and `end` alone.
}  // namespace properties

/// What a file has besides cues.
struct WebVttFile {
    std::string title;                ///< What stands behind the signature on its line.
    std::vector<std::string> header;  ///< The lines below: `X-TIMESTAMP-MAP=...` (RFC 8216, 3.5), `Language: en`.
    std::vector<std::string> blocks;  ///< In front of the first cue, their lines with LF: `STYLE`, `REGION`, `NOTE`.
    std::vector<std::string> notes;   ///< Behind the last cue.
    /// Of 24 bits: those that the writer gives classes of their own (`<c.rgbffa500>`) besides those that the blocks give
    /// such. It defines them in a `STYLE` block in front of the first cue. The reader leaves this empty.
    std::vector<std::uint32_t> colors;

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const WebVttFile&, const WebVttFile&) = default;
};

/// Reads cues from a file whose bytes come in pieces of any size.
///
///     qlx::subtitles::WebVttReader reader({}, &findings);
///     reader.push(piece);
///     reader.finish();
///     while (const qlx::subtitles::Cue* const cue = reader.next()) {
///         use(*cue);
///     }
///     use(reader.file());
///
/// The text is UTF-8; a byte that is not becomes U+FFFD. A file without its signature is read, and times with a comma or
/// without all digits are, also those inside of cues, each with a finding. A cue in a region ignores `line`, `size` and
/// `vertical`. What the standard has its readers pass over is passed over with a finding, whose offset is its line,
/// counted from 1. Reading takes linear time, and memory for the longest piece, two cues, and a mebibyte of what a file
/// has besides cues, of which no more is kept (WebVttRestTooLong).
class WebVttReader {
public:
    /// Reads from the beginning of a file. `findings` may be null, else it must outlive this.
    QLX_EXPORT explicit WebVttReader(const TextCueOptions& options = {}, FindingSink* findings = nullptr);
    /// Goes on where the other one is.
    QLX_EXPORT WebVttReader(WebVttReader&& other) noexcept;
    /// The same.
    QLX_EXPORT WebVttReader& operator=(WebVttReader&& other) noexcept;
    QLX_EXPORT ~WebVttReader();

    /// Takes the next bytes of the file. The cue that was given before is no longer valid.
    QLX_EXPORT void push(std::span<const std::uint8_t> bytes);

    /// Says that the file has ended: nothing is pushed any more.
    QLX_EXPORT void finish() noexcept;

    /// The next cue, valid until the next call of this object; null when more bytes are needed, or at the end. Its times
    /// are in milliseconds; its end is later than its start.
    [[nodiscard]] QLX_EXPORT const Cue* next();

    /// What has been read besides cues: title, header and blocks once there was a cue, the notes at the end.
    [[nodiscard]] QLX_EXPORT const WebVttFile& file() const noexcept;

private:
    class Parser;
    std::unique_ptr<Parser> _parser;
};

/// Reads what a file has in front of its first cue, as text tracks hold it: signature, header and blocks.
/// @param head UTF-8, without cues.
/// @param findings May be null; as those of WebVttReader.
[[nodiscard]] QLX_EXPORT WebVttFile readWebVttHead(std::string_view head, FindingSink* findings = nullptr);

/// The names of the regions of a file, `id:` in its blocks.
[[nodiscard]] QLX_EXPORT std::set<std::string, std::less<>> regionsOf(const WebVttFile& file);

/// The same with their places in the picture: a line of a region is 6 % of its height (W3C WebVTT, 7.2).
[[nodiscard]] QLX_EXPORT std::map<std::string, Box, std::less<>> regionBoxesOf(const WebVttFile& file);

/// The language that the head of a file says (`Language: en`), as it says it; empty where it says none.
[[nodiscard]] QLX_EXPORT std::string_view languageOf(const WebVttFile& file) noexcept;

inline constexpr std::size_t kMostWebVttColors = 256;  ///< WebVttFile::colors of addColorsOf().

/// Adds the colours of a cue that are none of the eight to those of the file, as long as there are less than
/// kMostWebVttColors.
QLX_EXPORT void addColorsOf(const Cue& cue, WebVttFile& file);

/// Whether a block is a style sheet as the writer makes it, which does nothing but give colours classes: a reader has
/// them as colours.
[[nodiscard]] QLX_EXPORT bool isColorSheet(std::string_view block);

/// Whether a block is a style sheet of which the styles of runs have all: as isColorSheet(), or with rules whose selectors
/// and declarations the reader applies.
[[nodiscard]] QLX_EXPORT bool isAppliedSheet(std::string_view block);

class WebVttStyles;

/// Writes cues.
///
/// Times are rounded to milliseconds as spanIn() does; a cue that ends before 0 is left out. A cue without settings of
/// its own gets them from the place of its first row. Colours that the file does not define become the nearest of the
/// eight. What the format cannot say is a finding, whose offset is the cue, counted from 1 (SubtitleTimeEmptied,
/// SubtitleTimeNegative, SubtitleStylesLost, SubtitleColorChanged, SubtitlePlaceLost, SubtitlePropertiesLost,
/// SubtitleNameLost, SubtitleRegionLost, SubtitleRunTimeLost for a time inside that is not within the cue or not later
/// than the one in front of it, SubtitleRestChanged).
class WebVttWriter {
public:
    /// Begins a file. `findings` may be null, else it must outlive this.
    explicit WebVttWriter(FindingSink* findings = nullptr) noexcept : _findings(findings) {}

    /// Appends the signature and what a file has in front of its cues.
    QLX_EXPORT void begin(const WebVttFile& file, std::string& text);

    /// Appends a cue to `text`, in UTF-8 with lines that end in LF, and gives whether it did.
    QLX_EXPORT bool write(const Cue& cue, std::string& text);

    /// Appends what stands behind the last cue.
    QLX_EXPORT void finish(const WebVttFile& file, std::string& text);

private:
    FindingSink* _findings;
    std::uint64_t _cues = 0;                      ///< Given so far.
    std::string _language;                        ///< That the head of the file says.
    std::vector<std::uint32_t> _colors;           ///< That its style sheet defines.
    std::shared_ptr<const WebVttStyles> _styles;  ///< What the others say.
};

}  // namespace qlx::subtitles
