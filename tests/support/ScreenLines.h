// What is to be read on a screen, as lines that tests compare.
#pragma once

#include <qlx/base/utf8.h>
#include <qlx/screen/screen.h>

#include <string>
#include <vector>

namespace qlxtest {

/// For each row with text its number in four columns, two spaces, and the row from column 0 to its last text.
inline std::vector<std::string> linesOf(const qlx::screen::Screen& screen) {
    std::vector<std::string> lines;
    for (std::size_t index = 0; index < screen.rows(); ++index) {
        std::string text;
        std::size_t end = 0;
        for (const qlx::screen::Cell& cell : screen.row(index)) {
            const bool isShown = cell.isVisible && cell.part != qlx::screen::CellPart::LowerHalf;
            qlx::appendUtf8(text, isShown ? cell.shownCharacter() : U' ');
            end = cell.hasText() ? text.size() : end;
        }
        if (end != 0) {
            const std::string number = std::to_string(screen.firstRow + index);
            lines.push_back(std::string(4 - number.size(), ' ') + number + "  " + text.substr(0, end));
        }
    }
    return lines;
}

}  // namespace qlxtest
