// What the lines of a cue are in an SRT file, and what a row hands on to the next.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::srt {

inline constexpr std::string_view kArrow = " --> ";

/// What stands in front of an arrow and behind it.
struct SidesOfArrow {
    std::string_view before;
    std::string_view behind;
};

/// Takes a line apart in which the arrow stands once; none for any other.
[[nodiscard]] constexpr std::optional<SidesOfArrow> sidesOfArrow(std::string_view line) noexcept {
    const std::size_t arrow = line.find(kArrow);
    if (arrow == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view behind = line.substr(arrow + kArrow.size());
    return behind.find(kArrow) == std::string_view::npos ? std::optional(SidesOfArrow{line.substr(0, arrow), behind})
                                                         : std::nullopt;
}

enum class LineKind : std::uint8_t { Empty, Number, Timing, Text };

/// What a line is behind `before` other lines of its cue.
[[nodiscard]] constexpr LineKind kindOfLine(std::string_view line, std::uint64_t before) noexcept {
    return line.empty()  ? LineKind::Empty
           : before == 0 ? LineKind::Number
           : before == 1 ? LineKind::Timing
                         : LineKind::Text;
}

/// The line itself where possible; a carriage return can stand anywhere in it.
/// @param room Keeps the line where it cannot be given as it stands.
[[nodiscard]] inline std::string_view withoutCarriageReturns(std::string_view line, std::string& room) {
    while (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    if (line.find('\r') == std::string_view::npos) {
        return line;
    }
    room = line;
    std::erase(room, '\r');
    return room;
}

/// Whether a row stands where the row before it does.
[[nodiscard]] constexpr bool inheritsPlace(std::int32_t positioningType, std::uint64_t row) noexcept {
    return positioningType == 0 && row == 0;
}

}  // namespace qlx::srt
