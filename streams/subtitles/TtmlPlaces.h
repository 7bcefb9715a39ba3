// Where a region stands on the screen (TTML2, 10.2; lengths: 10.3), as rows and columns, both ways.
#pragma once

#include <qlx/subtitles/cue.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::streams::detail {

/// What lengths are measured by.
struct ScreenMeasures {
    std::uint16_t cellColumns = 32;
    std::uint16_t cellRows = 15;
    std::optional<double> width;  ///< In pixels; none: lengths in pixels say nothing.
    std::optional<double> height;
};

/// The texts of a region's attributes; empty where there is none.
struct RegionTexts {
    std::string_view origin;
    std::string_view position;
    std::string_view extent;
    std::string_view displayAlign;
};

/// The place; none where it is not given, or cannot be known.
/// @param areAllRead Gets whether each of the texts could be.
[[nodiscard]] std::optional<subtitles::Box> placeOf(const RegionTexts& texts, const ScreenMeasures& measures,
                                                    bool& areAllRead);

/// The region that puts the rows of a cue where they say; at the bottom where they say nothing.
/// @param isLost Gets whether it cannot put all of them there.
[[nodiscard]] subtitles::Box boxFor(const subtitles::Cue& cue, bool& isLost);

/// What a profile asks of a region: its extent, and for EBU-TT-D its origin, in units that the profile has (IMSC 1.1, 7.12.8
/// and 8.4.2; EBU Tech 3380). What cannot be read is the whole screen.
/// @param attributes Of the region; they stay as they are where that is said.
void completePlace(subtitles::Properties& attributes, const ScreenMeasures& measures, bool isEbu);

/// Whether a value has lengths of a unit: `10% 2c` has `c`.
[[nodiscard]] bool hasUnit(std::string_view value, std::string_view unit) noexcept;

/// `10% 83.333%`: what the attributes of a region say.
[[nodiscard]] std::string percentages(double first, double second);

}  // namespace qlx::streams::detail
