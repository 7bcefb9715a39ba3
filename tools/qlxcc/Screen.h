// What a viewer sees of subtitles: a grid of characters, whatever system brought them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qlx::tool {

/// In the order that teletext and terminals number them.
enum class ScreenColor : std::uint8_t { Black, Red, Green, Yellow, Blue, Magenta, Cyan, White };

/// The part of a character that a cell shows.
enum class CellPart : std::uint8_t { Whole, UpperHalf, LowerHalf };

struct ScreenCell {
    char32_t character = U' ';
    ScreenColor foreground = ScreenColor::White;
    ScreenColor background = ScreenColor::Black;
    CellPart part = CellPart::Whole;
    bool isVisible = false;  ///< Otherwise the picture shows.
    bool isItalic = false;
    bool isUnderlined = false;
    bool isFlashing = false;

    [[nodiscard]] bool operator==(const ScreenCell&) const = default;

    /// Whether there is something to read.
    [[nodiscard]] bool hasText() const noexcept {
        return isVisible && character != U' ' && character != U'\u00A0' && part != CellPart::LowerHalf;
    }
};

enum class ScreenKind : std::uint8_t { Teletext, Captions };

struct Screen {
    ScreenKind kind = ScreenKind::Teletext;
    std::size_t columns = 0;
    std::size_t firstRow = 0;       ///< The number of the uppermost row.
    std::vector<ScreenCell> cells;  ///< Row by row.

    [[nodiscard]] bool operator==(const Screen&) const = default;

    [[nodiscard]] std::size_t rows() const noexcept { return columns == 0 ? 0 : cells.size() / columns; }
    [[nodiscard]] const ScreenCell* row(std::size_t index) const noexcept { return cells.data() + index * columns; }
    [[nodiscard]] ScreenCell* row(std::size_t index) noexcept { return cells.data() + index * columns; }

    /// Whether there is anything to read.
    [[nodiscard]] bool hasText() const noexcept {
        return std::any_of(cells.begin(), cells.end(), [](const ScreenCell& cell) { return cell.hasText(); });
    }
};

}  // namespace qlx::tool
