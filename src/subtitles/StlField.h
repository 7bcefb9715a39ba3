// Text fields of EBU STL (EBU Tech 3264, TF) as rows of runs: characters of the file's table, spacing attributes of
// teletext, and the codes of open subtitling.
#pragma once

#include "subtitles/StlTables.h"

#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qlx::subtitles {

inline constexpr std::uint8_t kStlNewLine = 0x8A;
inline constexpr std::uint8_t kStlUnused = 0x8F;

// Spacing attributes of teletext: 00h to 07h are colours.
inline constexpr std::uint8_t kStlFlash = 0x08;
inline constexpr std::uint8_t kStlSteady = 0x09;
inline constexpr std::uint8_t kStlEndBox = 0x0A;
inline constexpr std::uint8_t kStlStartBox = 0x0B;
inline constexpr std::uint8_t kStlNormalHeight = 0x0C;
inline constexpr std::uint8_t kStlDoubleHeight = 0x0D;
inline constexpr std::uint8_t kStlBlackBackground = 0x1C;
inline constexpr std::uint8_t kStlNewBackground = 0x1D;

// Of open subtitling; the code that ends a look is the next one.
inline constexpr std::uint8_t kStlItalics = 0x80;
inline constexpr std::uint8_t kStlUnderline = 0x82;
inline constexpr std::uint8_t kStlBox = 0x84;

/// Members of a cumulative set that are held back at most.
inline constexpr std::size_t kLongestStlSet = 1000;

/// What a text holds besides its rows.
struct StlFieldNotes {
    std::uint8_t firstPassed = 0;   ///< The first code that has no effect.
    std::int64_t passed = 0;        ///< How many there are.
    std::uint8_t firstUnknown = 0;  ///< The first byte that is no character.
    std::int64_t unknown = 0;       ///< How many there are.
};

/// How a text is to be read.
struct StlFieldForm {
    StlTable table = StlTable::Latin;
    Alignment alignment = Alignment::Center;
    bool isOpen = false;  ///< Open subtitling: italics and underlines go on in the next row.
};

/// Appends the rows of a text. Row::number is the distance from the first row of the text, from 1 on; rows without text
/// stand only between others.
void appendStlRows(std::span<const std::uint8_t> text, const StlFieldForm& form, std::vector<Row>& rows,
                   StlFieldNotes& notes);

}  // namespace qlx::subtitles
