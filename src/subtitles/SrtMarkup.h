// The markup of one text line of an SRT file.
#pragma once

#include "subtitles/SubtitleColor.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::srt {

/// A text line taken apart.
struct MarkedLine {
    std::string text;  ///< What is left when the markup is gone.
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool colorStaysOpen = false;  ///< A `<font color>` that was not closed on the line.
    std::int32_t color = subtitles::kWhite;
    std::int32_t positioningType = 0;  ///< N of `{\anN}`, 0 for none.
    std::uint64_t row = 0;             ///< The value of `<line="...">`, 0 for none.
};

/// Values of a line that are none. Hosts take `color` and `row` of MarkedLine all the same.
struct WrongValues {
    std::optional<std::size_t> color;  ///< The bytes of a value that is none of the known forms of a colour.
    std::optional<std::size_t> row;  ///< The bytes of one that is no row: something else than digits, 0, or too great.
};

/// Understands and removes `<b>`, `<i>`, `<u>`, one `<font color="...">`, one `<line="...">` and one `{\anN}`; anything
/// else stays in the text. Blanks and tabs at the ends of the line are dropped, those that a tag leaves behind are not.
/// Takes linear time whatever the line holds.
/// @param wrong Is told of wrong values; null where nobody asks for them.
[[nodiscard]] MarkedLine parseMarkup(std::string_view line, WrongValues* wrong = nullptr);

}  // namespace qlx::srt
