#include "subtitles/CueWriting.h"

#include <algorithm>

namespace qlx::subtitles {

std::size_t widthOf(const Row& row) noexcept {
    std::size_t characters = 0;
    for (const Run& run : row.runs) {
        characters += static_cast<std::size_t>(
            std::count_if(run.text.begin(), run.text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
    }
    return characters;
}

bool standsAtSide(const Cue& cue, const Row& row, unsigned side) noexcept {
    constexpr std::size_t kPageColumns = 40;
    constexpr std::size_t kMostCodesInFront = 3;  // A colour, double height and the box, or twice the latter.
    constexpr std::size_t kCodesBehind = 2;
    if (row.column == 0 || cue.screenColumns == 0) {
        return row.column == 0;
    }
    const bool isPage = cue.screenColumns == kPageColumns;
    const std::size_t begin = row.column - std::size_t{1};
    const std::size_t end = begin + widthOf(row);
    if (side == 1) {
        return begin + end + 1 >= cue.screenColumns && begin + end <= cue.screenColumns + std::size_t{1};
    }
    return side == 0 ? begin <= (isPage ? kMostCodesInFront : 0)
                     : end + (isPage ? kCodesBehind : 0) >= cue.screenColumns;
}

Anchors::Anchors(const Cue& cue) noexcept : _rows(screenRowsOf(cue)), _hasColumns(cue.screenColumns != 0) {
    std::size_t left = cue.screenColumns;
    std::size_t right = 0;
    for (const Row& row : cue.rows) {
        if (row.column != 0) {
            const std::size_t begin = row.column - std::size_t{1};
            left = std::min(left, begin);
            right = std::max(right, begin + widthOf(row));
        }
    }
    // Thirds of the screen; the middle is half of the sum.
    const std::size_t middle = (left + right) * 3;
    const std::size_t columns = cue.screenColumns * std::size_t{2};
    _side = middle < columns ? 0 : middle > columns * 2 ? 2 : 1;
}

std::uint8_t Anchors::of(const Row& row) const noexcept {
    constexpr std::uint8_t kBottomCenter = 2;
    if (row.anchor != 0 && row.anchor <= kGreatestAnchor) {
        const bool isPlaced = row.number != 0 || row.column != 0;
        return row.anchor == kBottomCenter && isPlaced ? std::uint8_t{0} : row.anchor;
    }
    // The upper third, the middle, and the rest; what has no row stands below.
    const std::uint8_t band = row.number == 0 ? 1 : row.number * 3 <= _rows ? 7 : row.number * 3 <= _rows * 2 ? 4 : 1;
    const std::uint8_t aligned = row.alignment == Alignment::Left ? 0 : row.alignment == Alignment::Right ? 2 : 1;
    const std::uint8_t side = _hasColumns && row.column != 0 ? _side : aligned;
    return band == 1 && side == 1 ? std::uint8_t{0} : static_cast<std::uint8_t>(band + side);
}

}  // namespace qlx::subtitles
