// The order in which rows of Hebrew and Arabic letters stand on the screen, and what has no place there of its own.
#pragma once

#include <qlx/teletext/row_encoder.h>

#include <span>

namespace qlx::teletext {

/// Whether a character says how letters are drawn and is nothing itself: marks, points, signs of direction and joining.
[[nodiscard]] bool isLetterMark(char32_t character) noexcept;

/// Puts the cells of a row from reading order into display order, or back: doing it twice changes nothing. Runs of Latin
/// letters and digits keep their order, brackets that turn are mirrored.
/// @param isRightToLeft The direction of the row.
void turn(std::span<DisplayCell> cells, bool isRightToLeft);

/// The direction of a row in reading order: that of its first letter; without letters from the right to the left.
[[nodiscard]] bool isRightToLeft(std::span<const DisplayCell> cells) noexcept;

/// Puts a row in display order into reading order: taken as one from the right to the left, unless its first letter
/// contradicts that.
void turnBack(std::span<DisplayCell> cells);

/// The plain letters of Arabic forms; lam with alef becomes two cells with the same source.
[[nodiscard]] std::vector<DisplayCell> plainCells(std::span<const DisplayCell> cells);

}  // namespace qlx::teletext
