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
    /// Open subtitling: whether the row in front ends in another colour than white, or on a background. Some readers go on
    /// with it.
    bool isColorLeft = false;
    bool isBackgroundLeft = false;
};

/// Appends the codes and characters of a row, without a line end.
/// @param number Of the row, counted from 1, for the findings.
void appendStlRow(const Row& row, StlRowForm& form, const CueReport& report, std::int64_t number,
                  std::vector<std::uint8_t>& text);

}  // namespace qlx::subtitles
