// The pop-on captions that the packetizer sends (CTA-608) for data channel 1: characters, parity and the bytes of a whole
// caption. Where they depart from the standard, deployed receivers expect it so, and it is kept.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace qlx::facade {

/// The code of a character before parity; 0 in `high` for one of the basic set.
struct SentCharacter {
    std::uint8_t high = 0;
    std::uint8_t low = 0;
};

/// The code of a Unicode character; a space for one that the sets do not hold. Capital letters with an accent fall
/// back to the small ones that the basic set offers, and characters below 128 keep their value.
[[nodiscard]] SentCharacter sentCharacter(std::uint32_t character) noexcept;

/// `byte` with bit 7 set when the number of ones among its eight bits is even, else cleared. A byte that has bit 7 set
/// already does not always come out odd.
[[nodiscard]] std::uint8_t deployedOddParity(std::uint8_t byte) noexcept;

/// Appends the characters of a line with parity, at most 31, and a null where they come out odd. A special character
/// takes two bytes wherever it falls.
void appendText(std::vector<std::uint8_t>& caption, std::string_view text);

/// Appends what comes before the rows of a caption: resume caption loading, erase non-displayed memory, and the
/// former again.
void appendBeginning(std::vector<std::uint8_t>& caption);

/// The most rows that a caption has.
inline constexpr std::size_t kMaxRows = 2;

/// Appends the preamble address code of row 0 or 1 of a caption (screen rows 12 and 13) and its text.
void appendRow(std::vector<std::uint8_t>& caption, std::size_t row, std::string_view text);

/// Appends what makes a caption appear: erase displayed memory, end of caption.
void appendEnd(std::vector<std::uint8_t>& caption);

}  // namespace qlx::facade
