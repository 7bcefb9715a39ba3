// The times of cues in the units of a file: rounded once, when they are written.
//
//     const qlx::subtitles::UnitSpan span = qlx::subtitles::spanIn(cue, 1000);
//     use(span.start, span.end);
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/subtitles/cue.h>

#include <cstdint>

namespace qlx::subtitles {

/// A time in units of which a second has `unitsPerSecond` (1 to 2^31 - 1), to the nearest one, a half to the later one.
/// What does not fit becomes the greatest or least number; 0 for a time that is none.
[[nodiscard]] QLX_EXPORT std::int64_t unitsOf(const MediaTime& time, std::int32_t unitsPerSecond) noexcept;

/// What a cue takes.
struct UnitSpan {
    std::int64_t start = 0;     ///< When it appears.
    std::int64_t end = 0;       ///< When it goes; always later.
    bool isLengthened = false;  ///< Both came out as the same unit, or the end as an earlier one: it lasts one unit.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const UnitSpan&, const UnitSpan&) noexcept = default;
};

/// The span of a cue. Start and end are rounded alike, so that cues that touch go on touching.
[[nodiscard]] QLX_EXPORT UnitSpan spanIn(const Cue& cue, std::int32_t unitsPerSecond) noexcept;

}  // namespace qlx::subtitles
