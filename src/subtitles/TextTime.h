// Times as SubRip and WebVTT files write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::subtitles {

/// A time and how it is written.
struct TextTime {
    std::int64_t milliseconds = 0;
    char mark = 0;           ///< In front of the fraction; 0 without one.
    bool hasHours = false;   ///< Otherwise it begins with the minutes.
    bool hasDigits = false;  ///< Two of minutes and seconds, three of the fraction, two or more of the hours; below 60.
};

/// `1:02:03,500`, `02:03.5`, `00:01:39`: hours may be missing, and the fraction, which is one of a second: `,5` is
/// 500 ms. None for any other text.
[[nodiscard]] std::optional<TextTime> parseTextTime(std::string_view text) noexcept;

/// The parts of a line with an arrow.
struct TimingParts {
    std::optional<TextTime> start;
    std::optional<TextTime> end;
    std::string_view rest;  ///< What stands behind the end, without blanks around it.
};

/// Takes a line apart at its first `-->`; none without one.
[[nodiscard]] std::optional<TimingParts> splitTimingLine(std::string_view line) noexcept;

/// Appends `HH:MM:SS,mmm` with this mark; the hours have two digits or more. `milliseconds` is not below 0.
void appendTextTime(std::string& text, std::int64_t milliseconds, char mark);

/// Appends a number.
void appendNumber(std::string& text, std::uint64_t number);

}  // namespace qlx::subtitles
