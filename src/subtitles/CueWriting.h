// What the writers of cues as text have in common: times, places and what is lost.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/subtitles/cue.h>
#include <qlx/subtitles/times.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::subtitles {

/// What stands in the place of a row without text: an empty line would end the cue.
inline constexpr std::string_view kEmptyRowText = "\u00A0";

/// Tells a sink of a cue.
class CueReport {
public:
    /// @param cue Counted from 1.
    CueReport(FindingSink* findings, std::uint64_t cue) noexcept : _findings(findings), _cue(cue) {}

    /// Tells a finding where there is one.
    void add(FindingCode code, bool isThere, std::int64_t first, std::int64_t second = 0,
             Severity severity = Severity::Warning) const {
        if (isThere && _findings != nullptr) {
            _findings->add({code, severity, _cue, first, second});
        }
    }

private:
    FindingSink* _findings;
    std::uint64_t _cue;
};

/// Tells which names of a cue are lost where a format has none.
/// @param hasName Whether it has that of the cue itself.
inline void sayNamesLost(const Cue& cue, bool hasName, const CueReport& report) {
    const auto say = [&report](FindingCode code, const std::string& name) {
        report.add(code, !name.empty(), static_cast<std::int64_t>(name.size()));
    };
    if (!hasName) {
        say(FindingCode::SubtitleNameLost, cue.identifier);
    }
    say(FindingCode::SubtitleLanguageLost, cue.language);
    say(FindingCode::SubtitleRegionLost, cue.region);
}

/// What of a row a format does not carry.
struct RowLosses {
    std::int64_t styles = 0;
    std::int64_t colors = 0;
    std::int64_t properties = 0;
    std::int64_t runTimes = 0;
    bool isAmbiguous = false;
    bool isPlaceLost = false;

    /// @param row Counted from 1.
    void say(const CueReport& report, std::int64_t row) const {
        report.add(FindingCode::SubtitleStylesLost, styles != 0, row, styles);
        report.add(FindingCode::SubtitleColorChanged, colors != 0, row, colors);
        report.add(FindingCode::SubtitlePropertiesLost, properties != 0, row, properties);
        report.add(FindingCode::SubtitleRunTimeLost, runTimes != 0, row, runTimes);
        report.add(FindingCode::SubtitleTextAmbiguous, isAmbiguous, row);
        report.add(FindingCode::SubtitlePlaceLost, isPlaceLost, row);
    }
};

/// The milliseconds of a cue, from 0 on; none for one that ends before.
[[nodiscard]] inline std::optional<UnitSpan> writtenSpan(const Cue& cue, const CueReport& report) {
    constexpr std::int32_t kUnits = 1000;
    UnitSpan span = spanIn(cue, kUnits);
    report.add(FindingCode::SubtitleTimeNegative, span.start < 0, span.start, span.end);
    report.add(FindingCode::SubtitleTimeEmptied, span.isLengthened && span.start >= 0, span.start, kUnits);
    if (span.end <= 0) {
        return std::nullopt;
    }
    span.start = span.start < 0 ? 0 : span.start;
    return span;
}

/// The rows of the screen that a cue's rows are counted in.
[[nodiscard]] inline std::uint64_t screenRowsOf(const Cue& cue) noexcept {
    return cue.screenRows != 0 ? cue.screenRows : kTallTeletextRows;
}

/// Row::anchor has the nine places of a numeric keypad; beyond are none.
inline constexpr std::uint8_t kGreatestAnchor = 9;

/// The columns that the text of a row takes, of which each character has one.
[[nodiscard]] std::size_t widthOf(const Row& row) noexcept;

/// The side of the screen that rows are aligned at: 0 left, 1 middle, 2 right.
[[nodiscard]] constexpr unsigned sideOf(Alignment alignment) noexcept {
    return alignment == Alignment::Center ? 1 : alignment == Alignment::Right ? 2 : 0;
}

/// Whether a row stands where rows do that are aligned at a side, or has no column. In the middle the column in front of
/// half of one, or behind it, is the same; at the edges of a page are codes, at those of captions margins.
[[nodiscard]] bool standsAtSide(const Cue& cue, const Row& row, unsigned side) noexcept;

/// Where the rows of a cue stand, as on a numeric keypad.
class Anchors {
public:
    /// @param cue Must outlive this.
    explicit Anchors(const Cue& cue) noexcept;

    /// The anchor of a row, or what its row of the screen and its place on that say: the side of sideOfColumns(), that
    /// of the third of the screen which the middle of all rows with columns is in, or else its alignment. 0 for below,
    /// in the middle, where a place says so; an anchor alone was given, and stays.
    [[nodiscard]] std::uint8_t of(const Row& row) const noexcept;

private:
    std::uint64_t _rows;
    bool _hasColumns;
    Alignment _side = Alignment::Center;  ///< Of all rows with columns.
};

/// The place of the first of these characters, from one place on; npos. std::string_view::find_first_of() of libstdc++
/// makes a call for each character of the text.
template <char... characters>
[[nodiscard]] constexpr std::size_t placeOfAny(std::string_view text, std::size_t from = 0) noexcept {
    while (from < text.size() && ((text[from] != characters) && ...)) {
        ++from;
    }
    return from < text.size() ? from : std::string_view::npos;
}

/// Appends `more` with a space in place of each line end.
inline void appendWithoutLineEnds(std::string& text, std::string_view more) {
    for (std::size_t end = placeOfAny<'\r', '\n'>(more); end != std::string_view::npos;
         end = placeOfAny<'\r', '\n'>(more)) {
        text += more.substr(0, end);
        text += ' ';
        more.remove_prefix(end + 1);
    }
    text += more;
}

}  // namespace qlx::subtitles
