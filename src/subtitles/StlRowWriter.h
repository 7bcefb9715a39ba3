// Rows of runs as the text of EBU STL blocks.
#pragma once

#include "subtitles/CueWriting.h"
#include "subtitles/StlTables.h"

#include <qlx/subtitles/cue.h>

#include <cstdint>
#include <vector>

namespace qlx::subtitles {

/// How rows are written.
struct StlRowForm {
    StlTable table = StlTable::Latin;
    bool isOpen = false;          ///< Open subtitling: without boxes and heights of teletext.
    bool isDoubleHeight = false;  ///< Of teletext.
    std::int64_t columns = 0;     ///< The most that a row displays; 0: any number.
};

/// Appends the codes and characters of a row, without a line end.
/// @param number Of the row, counted from 1, for the findings.
void appendStlRow(const Row& row, const StlRowForm& form, const CueReport& report, std::int64_t number,
                  std::vector<std::uint8_t>& text);

}  // namespace qlx::subtitles
