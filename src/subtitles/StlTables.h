// The character code tables of EBU STL (EBU Tech 3264, CCT): bytes of text fields as Unicode, and back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qlx::subtitles {

/// A table, in the order of the codes 00 to 04.
enum class StlTable : std::uint8_t { Latin, Cyrillic, Arabic, Greek, Hebrew };

inline constexpr std::uint8_t kStlTables = 5;

// Marks of the Latin table.
inline constexpr std::uint8_t kFirstStlMark = 0xC1;
inline constexpr std::uint8_t kLastStlMark = 0xCF;

/// The character of a byte 20h to 7Eh or A0h to FFh: in the Latin table (ISO 6937) a combining one for a mark, which
/// stands in front of its letter there; 0 where the table has none.
[[nodiscard]] char32_t stlCharacter(StlTable table, std::uint8_t byte) noexcept;

/// A letter with the mark that stands in front of it, in UTF-8.
void appendMarked(std::string& text, char32_t letter, char32_t mark);

/// How near to a character it is what stands for it.
enum class StlFit : std::uint8_t {
    Exact,
    Plain,    ///< A letter without its mark, or characters that say the same.
    Missing,  ///< `?`
    LeftOut,  ///< Nothing: a mark that no letter takes, or a sign of direction.
};

/// What a character becomes.
struct StlBytes {
    std::uint8_t bytes[3] = {};  ///< As many as `size` says.
    std::uint8_t size = 0;
    StlFit fit = StlFit::Exact;
};

/// Takes a character and the combining mark behind it, if there is one that it takes, off a text that is not empty.
[[nodiscard]] StlBytes takeStlCharacter(StlTable table, std::string_view& text);

}  // namespace qlx::subtitles
