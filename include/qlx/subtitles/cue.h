// A subtitle as a value: what is shown from one moment to another, whatever file it came from.
//
//     for (const qlx::subtitles::Row& row : cue.rows) {
//         for (const qlx::subtitles::Run& run : row.runs) {
//             draw(run.text, run.style.foreground);
//         }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <qlx/screen/screen.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::subtitles {

/// Where the text of a row stands on it. The numbers are those of EBU STL (EBU Tech 3264, justification code); another
/// number that a file has is kept.
enum class Alignment : std::uint8_t {
    Unchanged,  ///< As the spaces of the text place it.
    Left,
    Center,
    Right,
};

/// How characters look.
struct Style {
    screen::Color foreground = screen::Color::White;  ///< Of the characters.
    std::optional<screen::Color> background;          ///< Behind them; none: what the receiver puts there.
    bool isBold = false;                              ///< Heavy.
    bool isItalic = false;                            ///< Slanted.
    bool isUnderlined = false;                        ///< With a line below.
    bool isFlashing = false;                          ///< On and off in turn.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Style&, const Style&) noexcept = default;
};

/// Characters that look alike.
struct Run {
    std::string text;  ///< UTF-8, without line ends.
    Style style;       ///< Of all of it.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Run&, const Run&) = default;
};

/// A row of a cue. It may have no text, and then keeps a row of the screen free.
struct Row {
    std::vector<Run> runs;  ///< From left to right.
    /// On the screen, from the top, in rows as high as the text: 1 to 11 on a teletext page; 0: none is given, or none
    /// that there is.
    std::uint64_t number = 0;
    /// The place of the cue that the row belongs to, as on a numeric keypad: 1 bottom left, 5 middle, 9 top right; 0:
    /// none is given.
    std::uint8_t anchor = 0;
    Alignment alignment = Alignment::Center;  ///< On the row.

    /// The text of all runs.
    [[nodiscard]] std::string text() const {
        std::string text;
        for (const Run& run : runs) {
            text += run.text;
        }
        return text;
    }

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Row&, const Row&) = default;
};

/// A subtitle.
struct Cue {
    std::uint64_t number = 0;  ///< That the file gives it; it need not be unique.
    MediaTime start;           ///< When it appears.
    MediaTime end;             ///< When it goes.
    std::vector<Row> rows;     ///< From top to bottom.

    /// Whether all fields are equal: the same time in other terms is another value.
    [[nodiscard]] friend bool operator==(const Cue&, const Cue&) = default;
};

}  // namespace qlx::subtitles
