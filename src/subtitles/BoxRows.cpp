#include <qlx/subtitles/box.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qlx::subtitles {

namespace {

/// A place in the picture: what is far beyond it, or no number, is at an edge.
double within(double place) {
    constexpr double kFar = 1000;
    return std::isnan(place) ? 0 : std::clamp(place, -kFar, kFar);
}

/// The row that ends at a height, or in front of the first: 0.
double rowAt(double y, double rows) {
    return (within(y) - kSafeBox.top) / kSafeBox.height * rows;
}

/// The column that ends there, or in front of the first: 0.
double columnAt(double x, double columns) {
    return (within(x) - kSafeBox.left) / kSafeBox.width * columns;
}

}  // namespace

void placeRows(Cue& cue, const Box& box, const ScreenGrid& grid) {
    const auto at = [&grid](double y) { return rowAt(y, grid.rows); };
    const auto height = std::max<std::int64_t>(grid.height, 1);
    const auto size = static_cast<std::int64_t>(cue.rows.size()) * height;
    const double bottom = box.top + box.height;
    std::int64_t first = 0;
    double seen = 0;
    switch (box.edge) {
    case BoxEdge::Top:
        first = std::lround(at(box.top)) + 1;
        seen = static_cast<double>(first);
        break;
    case BoxEdge::Middle:
        seen = at((box.top + bottom) / 2) + 0.5;
        first = std::lround(seen - static_cast<double>(size - 1) / 2);
        break;
    case BoxEdge::Bottom:
        seen = static_cast<double>(std::lround(at(bottom)));
        first = std::lround(at(bottom)) - size + 1;
        break;
    }
    const std::int64_t highest = grid.first;
    const std::int64_t lowest = grid.last - size + 1;
    const bool isOnGrid = highest <= lowest;
    first = std::clamp(first, highest, std::max(highest, lowest));
    const auto column = std::clamp<std::int64_t>(std::lround(columnAt(box.left, grid.columns)) + 1, 1,
                                                 std::max<std::int64_t>(grid.columns, 1));
    cue.screenRows = isOnGrid ? grid.rows : std::uint16_t{0};
    bool hasColumns = false;
    for (Row& row : cue.rows) {
        row.number = isOnGrid ? static_cast<std::uint64_t>(first) : 0;
        first += height;
        row.anchor = anchorOf(thirdOf(seen, grid.rows), row.alignment);
        if (row.alignment == Alignment::Left) {
            row.column = static_cast<std::uint16_t>(column);
            hasColumns = true;
        }
    }
    cue.screenColumns = hasColumns ? grid.columns : std::uint16_t{0};
}

bool isOnGrid(const Box& box, const ScreenGrid& grid, bool hasColumns) noexcept {
    const auto isWhole = [](double number) {
        constexpr double kNear = 0.02;
        return std::abs(number - std::round(number)) <= kNear;
    };
    const double bottom = box.top + box.height;
    // The middle of rows is on one or between two.
    const double row = box.edge == BoxEdge::Top      ? rowAt(box.top, grid.rows)
                       : box.edge == BoxEdge::Bottom ? rowAt(bottom, grid.rows)
                                                     : rowAt((box.top + bottom) / 2, grid.rows) * 2;
    return isWhole(row) && (!hasColumns || isWhole(columnAt(box.left, grid.columns)));
}

}  // namespace qlx::subtitles
