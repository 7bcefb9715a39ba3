// The lines of the rasters that ancillary packets travel in, as the interfaces number them from 1 on.
//
//     const auto place = qlx::anc::blankingPlace(qlx::anc::Raster::Hd1080i, 9);   // {field 1, index 10}
//     const auto line = qlx::anc::blankingLine(qlx::anc::Raster::Hd1080p, *place);
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <cstdint>
#include <optional>

namespace qlx::anc {

/// A raster of lines.
enum class Raster : std::uint8_t {
    Sd525i,   ///< 525 lines, interlaced (SMPTE ST 125, Recommendation ITU-R BT.656).
    Sd625i,   ///< 625 lines, interlaced (Recommendation ITU-R BT.656).
    Hd720p,   ///< 750 lines, progressive (SMPTE ST 296).
    Hd1080i,  ///< 1125 lines, interlaced; segmented frames as well (SMPTE ST 274, Recommendation ITU-R BT.1120).
    Hd1080p,  ///< 1125 lines, progressive (SMPTE ST 274, Recommendation ITU-R BT.1120).
};

/// A line of the vertical blanking.
struct BlankingPlace {
    std::uint8_t field = 1;   ///< The field whose picture follows, 1 or 2; 1 in a progressive raster.
    std::uint16_t index = 0;  ///< Lines of this blanking in front of it.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const BlankingPlace&, const BlankingPlace&) noexcept = default;
};

/// Lines from `first` to `last`.
struct LineRange {
    std::uint16_t first = 0;  ///< A line number, from 1 on.
    std::uint16_t last = 0;   ///< The same.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const LineRange&, const LineRange&) noexcept = default;
};

/// Lines of a frame.
[[nodiscard]] QLX_EXPORT std::uint16_t totalLines(Raster raster) noexcept;

/// Fields of a frame: 2, or 1 in a progressive raster.
[[nodiscard]] QLX_EXPORT std::uint8_t fieldCount(Raster raster) noexcept;

/// The lines of a field's picture; none for a field that the raster does not have.
[[nodiscard]] QLX_EXPORT std::optional<LineRange> activeLines(Raster raster, std::uint8_t field) noexcept;

/// Lines of the vertical blanking in front of a field's picture; 0 for a field that the raster does not have.
[[nodiscard]] QLX_EXPORT std::uint16_t blankingLines(Raster raster, std::uint8_t field) noexcept;

/// Where a line is in the vertical blanking; none for a line of the picture, and for one that the raster does not have.
/// The blanking in front of a frame's first picture begins at the end of the frame before it where the raster's first
/// line is not the first blanked one: line 1124 of Hd1080i is {field 1, index 0}, line 1 {field 1, index 2}.
[[nodiscard]] QLX_EXPORT std::optional<BlankingPlace> blankingPlace(Raster raster, std::uint32_t line) noexcept;

/// The number of a line of the vertical blanking; none for one that the raster does not have.
[[nodiscard]] QLX_EXPORT std::optional<std::uint16_t> blankingLine(Raster raster, BlankingPlace place) noexcept;

}  // namespace qlx::anc
