// What findings say of captions of a service, applied to them.
#pragma once

#include "CaptionFindings.h"
#include "RandomServiceCaptions.h"
#include "SentServices.h"

#include <qlx/base/finding.h>
#include <qlx/cea708/caption.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qlxtest::service {

using qlx::Finding;
using qlx::FindingCode;
using qlx::FrameRate;
using qlx::screen::Screen;

/// What findings say of a caption, applied to it: where each row stands and what it shows.
class AppliedService {
public:
    AppliedService(const Caption& caption, const std::vector<Finding>& findings)
        : _findings(findings), _isRollUp(caption.style == CaptionStyle::RollUp) {
        for (const CaptionRow& row : caption.rows) {
            place(row);
        }
    }

    [[nodiscard]] const std::vector<CaptionRow>& rows() const { return _rows; }

private:
    void place(const CaptionRow& row) {
        std::size_t first = 0;
        while (first < row.cells.size() && !row.cells[first].isVisible) {
            ++first;
        }
        const std::int64_t begin = qlx::screen::placeOf(row.row, first);
        if (first == row.cells.size() || _findings.find(FindingCode::Cea708RowLeftOut, begin) != nullptr) {
            return;
        }
        CaptionRow placed{row.row, static_cast<std::uint8_t>(row.column + first), {}};
        if (const Finding* const moved = _findings.find(FindingCode::Cea708RowMoved, begin)) {
            placed.row = static_cast<std::uint8_t>(moved->second / 1000);
            placed.column = static_cast<std::uint8_t>(moved->second % 1000);
        }
        for (std::size_t index = first; index < row.cells.size(); ++index) {
            if (_findings.find(FindingCode::Cea708RowCut, qlx::screen::placeOf(row.row, index)) != nullptr) {
                break;
            }
            placed.cells.push_back(shown(row.cells[index], _isRollUp ? row.row : placed.row,
                                         _isRollUp ? row.column + index : placed.column + index - first));
        }
        _rows.push_back(std::move(placed));
    }

    [[nodiscard]] Cell shown(Cell cell, std::size_t row, std::size_t column) const {
        const std::int64_t place = qlx::screen::placeOf(row, column);
        if (_findings.has(FindingCode::Cea708StyleReplaced, place)) {
            cell.edge = cell.edge > qlx::screen::Edge::RightDropShadow ? qlx::screen::Edge::None : cell.edge;
            cell.foregroundOpacity = cell.isFlashing ? qlx::screen::Opacity::Flash : cell.foregroundOpacity;
        }
        if (_findings.has(FindingCode::Cea708TextLeftOut, place)) {
            cell.character = U' ';
        }
        if (const Finding* const found =
                _findings.find(FindingCode::Cea708CharacterReplaced, static_cast<std::int64_t>(cell.character))) {
            cell.character = static_cast<char32_t>(found->second);
        }
        cell.isConcealed = false;
        cell.part = qlx::screen::CellPart::Whole;
        return cell;
    }

    CaptionFindings _findings;
    bool _isRollUp;
    std::vector<CaptionRow> _rows;
};

inline Screen serviceScreen(const std::vector<CaptionRow>& rows, AspectRatio ratio) {
    Screen screen = Screen::blank(qlx::screen::System::Cea708, kRows, columnsOf(ratio), 1);
    for (const CaptionRow& row : rows) {
        for (std::size_t index = 0; index < row.cells.size(); ++index) {
            if (row.cells[index].isVisible) {
                screen.row(row.row - std::size_t{1})[row.column + index] = row.cells[index];
            }
        }
    }
    return comparable(screen);
}

inline std::string lookOf(const Cell& cell) {
    std::string look = cell.isVisible ? "" : "hidden ";
    for (const unsigned number :
         {static_cast<unsigned>(cell.character), static_cast<unsigned>(cell.foreground),
          static_cast<unsigned>(cell.foregroundOpacity), static_cast<unsigned>(cell.background),
          static_cast<unsigned>(cell.backgroundOpacity), static_cast<unsigned>(cell.edge),
          static_cast<unsigned>(cell.edgeColor), unsigned{cell.isItalic}, unsigned{cell.isUnderlined}}) {
        look += std::to_string(number) + " ";
    }
    return look;
}

/// Empty when both show the same.
inline std::string differenceOf(const Screen& expected, const Screen& shown) {
    for (std::size_t cell = 0; cell < expected.cells.size(); ++cell) {
        if (!(expected.cells[cell] == shown.cells[cell])) {
            return "row " + std::to_string(1 + cell / expected.columns) + ", column " +
                   std::to_string(cell % expected.columns) + ": " + lookOf(expected.cells[cell]) + ", but " +
                   lookOf(shown.cells[cell]);
        }
    }
    return {};
}

}  // namespace qlxtest::service
