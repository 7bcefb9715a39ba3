#include <qlx/subtitles/box.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qlx::subtitles {

namespace {

constexpr std::uint16_t kGridRows = 15;
constexpr std::uint16_t kGridColumns = 32;

/// 1, 4 or 7: the first place on a keypad of the third that a row of the grid is in.
std::uint8_t bandOf(double row) {
    return row * 3 <= kGridRows ? 7 : row * 3 <= kGridRows * 2 ? 4 : 1;
}

std::uint8_t keypadSideOf(Alignment alignment) {
    return alignment == Alignment::Left ? 0 : alignment == Alignment::Right ? 2 : 1;
}

/// A place in the picture: what is far beyond it, or no number, is at an edge.
double within(double place) {
    constexpr double kFar = 1000;
    return std::isnan(place) ? 0 : std::clamp(place, -kFar, kFar);
}

/// The row that ends at a height, or in front of the first: 0.
double rowAt(double y) {
    return (within(y) - kSafeBox.top) / kSafeBox.height * kGridRows;
}

}  // namespace

void placeRows(Cue& cue, const Box& box) {
    const auto count = static_cast<std::int64_t>(cue.rows.size());
    const double bottom = box.top + box.height;
    std::int64_t first = 0;
    double seen = 0;
    switch (box.edge) {
    case BoxEdge::Top:
        first = std::lround(rowAt(box.top)) + 1;
        seen = static_cast<double>(first);
        break;
    case BoxEdge::Middle:
        seen = rowAt((box.top + bottom) / 2) + 0.5;
        first = std::lround(seen - static_cast<double>(count - 1) / 2);
        break;
    case BoxEdge::Bottom:
        seen = static_cast<double>(std::lround(rowAt(bottom)));
        first = std::lround(rowAt(bottom)) - count + 1;
        break;
    }
    const bool isOnGrid = count <= kGridRows;
    first = std::clamp<std::int64_t>(first, 1, std::max<std::int64_t>(1, kGridRows - count + 1));
    const auto column = std::clamp<std::int64_t>(
        std::lround((within(box.left) - kSafeBox.left) / kSafeBox.width * kGridColumns) + 1, 1, kGridColumns);
    cue.screenRows = isOnGrid ? kGridRows : 0;
    bool hasColumns = false;
    for (Row& row : cue.rows) {
        row.number = isOnGrid ? static_cast<std::uint64_t>(first++) : 0;
        row.anchor = static_cast<std::uint8_t>(bandOf(seen) + keypadSideOf(row.alignment));
        if (row.alignment == Alignment::Left) {
            row.column = static_cast<std::uint16_t>(column);
            hasColumns = true;
        }
    }
    cue.screenColumns = hasColumns ? kGridColumns : 0;
}

}  // namespace qlx::subtitles
