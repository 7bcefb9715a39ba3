// SubRip files (SRT): cues of a number, a line of times and rows of marked-up text, with an empty line behind each.
//
//   1
//   00:00:01,000 --> 00:00:02,500
//   <i>Hello</i>
//
// The format has no standard. Read are `<b>`, `<i>`, `<u>`, `<font color="...">`, `<line="...">` and `{\anN}`, as
// deployed readers do:
//
// - A row has one style. `<b>`, `<i>` or `<u>`, in lower case, anywhere on it holds for all of it, and for no other
//   row; both tags go. A closing tag without such an opening one stays in the text.
// - A row has one colour, white without a tag. A value is `#RRGGBB`, `RRGGBB`, `rgb(r, g, b)` or `rgba(r, g, b, a)`,
//   and becomes the nearest of the seven colours of teletext. Any other, such as a name, is a finding, and white as a
//   rule; one of six characters is read as digits all the same. A colour that is not closed on its row goes on to the next
//   row, whatever colour that one names, and no further unless that one leaves a colour open as well.
// - A row takes the first `<font color="`, the first `<line="` and the first `{\anN}`. A value goes up to the last `">`
//   of the row: with another tag that ends so behind it, all between them belongs to it, and is lost with it. A second
//   tag, a tag in another form (`<font color=red>`, `<font face="..." color="...">`) and other markup stay in the text.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/base/limits.h>
#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace qlx::subtitles {

/// The times of SRT files are in milliseconds.
inline constexpr std::int32_t kSrtTimescale = 1000;

/// A time as an SRT file writes it.
struct SrtTime {
    MediaTime time;  ///< In milliseconds.
    bool isUsual =
        false;  ///< In the form HH:MM:SS,mmm. Otherwise the sum of its numbers: `00:75:00,5` is 01:15:00,005.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const SrtTime&, const SrtTime&) noexcept = default;
};

/// Reads a time: digits, with `:`, `:` and `,` between them and blanks around them. None for any other text, and for a
/// time whose milliseconds do not fit into 63 bits.
[[nodiscard]] QLX_EXPORT std::optional<SrtTime> parseSrtTime(std::string_view text) noexcept;

/// The parts of a line of times. Points into it.
struct SrtTimingView {
    std::string_view start;  ///< In front of the arrow.
    std::string_view end;    ///< Behind it, without what stands behind its last number.
    std::string_view rest;   ///< That: coordinates of the picture, as a rule.
};

/// Takes a line apart in which ` --> ` stands once; none for any other.
[[nodiscard]] QLX_EXPORT std::optional<SrtTimingView> splitSrtTiming(std::string_view line) noexcept;

/// How a file is read.
struct SrtOptions {
    std::size_t greatestCue = std::size_t{1024} * 1024;  ///< Bytes of a longer cue are not kept.
    std::uint64_t mostLines = 10'000;                    ///< Of a cue, with the empty one behind it.
    ReadLimits limits{};                                 ///< Of the file; the items are cues.
};

/// Reads cues from a file whose bytes come in pieces of any size.
///
///     qlx::subtitles::SrtReader reader({}, &findings);
///     const auto take = [&] {
///         while (const qlx::subtitles::Cue* const cue = reader.next()) {
///             use(*cue);
///         }
///     };
///     while (more(piece)) {
///         reader.push(piece);
///         take();
///     }
///     reader.finish();
///     take();
///
/// The text is UTF-8, with or without a byte order mark; a byte that is not becomes U+FFFD. Lines end in LF; a CR counts
/// for nothing. What makes no cue is passed over with a finding, whose offset is its line, counted from 1. A colour that
/// is not closed on its row, and a place, go on on the next row. Reading takes linear time, and memory for the longest
/// piece and one cue.
class SrtReader {
public:
    /// Reads from the beginning of a file. `findings` may be null, else it must outlive this.
    explicit SrtReader(const SrtOptions& options = {}, FindingSink* findings = nullptr)
        : _options(options), _findings(findings), _budget(options.limits) {}

    /// Takes the next bytes of the file. The cue that was given before is no longer valid.
    QLX_EXPORT void push(std::span<const std::uint8_t> bytes);

    /// Says that the file has ended: nothing is pushed any more.
    void finish() noexcept { _isFinished = true; }

    /// The next cue, valid until the next call of this object; null when more bytes are needed, or at the end.
    [[nodiscard]] QLX_EXPORT const Cue* next();

private:
    bool takeLine(std::string_view raw, std::size_t bytes);
    bool closeCue();
    void takeNumber(std::string_view line);
    void takeTiming(std::string_view line);
    void takeText(std::string_view line);
    [[nodiscard]] std::optional<MediaTime> timeIn(std::string_view text, std::int64_t which);
    [[nodiscard]] std::string_view validated(std::string_view line);
    void cutLine();
    const Cue* nextCue();
    void reportLimit();
    void passCue();
    void report(FindingCode code, Severity severity, std::int64_t first = 0, std::int64_t second = 0);

    SrtOptions _options;
    FindingSink* _findings;
    std::string _buffer;
    std::size_t _begin = 0;     ///< Of what is read next in `_buffer`.
    std::size_t _searched = 0;  ///< In `_buffer`; from `_begin` up to here no line ends.
    std::uint64_t _line = 0;    ///< The number of the line in hand.
    bool _isLineCut = false;    ///< The beginning of the line is gone: it was too long.
    bool _isFinished = false;
    std::string _withoutReturns;  ///< Room for a line with CRs in it.
    std::string _validated;       ///< Room for a line with bytes that are no UTF-8.

    // The cue in hand
    Cue _cue;
    std::size_t _rows = 0;  ///< Of the cue; what stands behind them in `_cue` is kept for its memory.
    std::uint64_t _linesOfCue = 0;
    std::size_t _bytesOfCue = 0;
    bool _isCue = false;        ///< Its times are right.
    bool _isPassed = false;     ///< It is too long.
    bool _isColorOpen = false;  ///< The row before does not close its colour.
    ReadBudget _budget;
};

}  // namespace qlx::subtitles
