// What findings say of captions, applied to them.
#pragma once

#include "CaptionFindings.h"
#include "RandomCaptions.h"

#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace qlxtest {

using qlx::Finding;
using qlx::FindingCode;
using qlx::FrameRate;

/// Applies what was found to a caption: what of it must be shown.
class Applied {
public:
    Applied(const Caption& caption, const std::vector<Finding>& findings)
        : _findings(findings), _isRollUp(caption.style == CaptionStyle::RollUp) {
        for (const CaptionRow& row : caption.rows) {
            place(row);
        }
        for (std::size_t index = 0; index < _rows.size(); ++index) {
            _named = _places[index];
            showLooks(_rows[index]);
            // All are written into the lowest row of the window.
            _rows[index].row = _isRollUp ? _rows.back().row : _rows[index].row;
        }
    }

    [[nodiscard]] const std::vector<CaptionRow>& rows() const { return _rows; }

private:
    /// Whether a place is among the columns of a finding.
    [[nodiscard]] bool has(FindingCode code, std::size_t index) const {
        return _findings.has(code, _named + static_cast<std::int64_t>(index));
    }

    void place(const CaptionRow& row) {
        std::size_t first = 0;
        while (first < row.cells.size() && !row.cells[first].isVisible) {
            ++first;
        }
        CaptionRow piece{row.row, static_cast<std::uint8_t>(row.column + first), {}};
        for (std::size_t index = first; index < row.cells.size();) {
            const std::int64_t place = placeOf(row.row, index);
            if (const Finding* const cut = _findings.find(FindingCode::Cea608RowCut, place)) {
                index += static_cast<std::size_t>(cut->second);
            } else if (const Finding* const broken = _findings.find(FindingCode::Cea608RowBroken, place)) {
                push(row, first, piece);
                index += static_cast<std::size_t>(broken->second);
                first = index;
                piece.cells.clear();
            } else {
                piece.cells.push_back(replaced(row.cells[index++]));
            }
        }
        push(row, first, piece);
    }

    void push(const CaptionRow& row, std::size_t first, CaptionRow piece) {
        const std::int64_t place = placeOf(row.row, first);
        if (piece.cells.empty() || _findings.find(FindingCode::Cea608RowLeftOut, place) != nullptr) {
            return;
        }
        if (const Finding* const moved = _findings.find(FindingCode::Cea608RowMoved, place)) {
            piece.row = static_cast<std::uint8_t>(moved->second / 1000);
            piece.column = static_cast<std::uint8_t>(moved->second % 1000);
        }
        while (!piece.cells.empty() && !piece.cells.back().isVisible) {
            piece.cells.pop_back();
        }
        if (piece.cells.empty()) {
            return;
        }
        _places.push_back(_isRollUp ? placeOf(row.row, row.column + first) : placeOf(piece.row, piece.column));
        _rows.push_back(std::move(piece));
    }

    [[nodiscard]] Cell replaced(Cell cell) const {
        const auto color = [this](Color asked) {
            const Finding* const found =
                _findings.find(FindingCode::Cea608ColorReplaced, static_cast<std::int64_t>(asked));
            return found != nullptr ? static_cast<Color>(found->second) : asked;
        };
        cell.foreground = color(cell.foreground);
        cell.background = cell.backgroundOpacity == Opacity::Transparent ? Color::Black : color(cell.background);
        if (const Finding* const found =
                _findings.find(FindingCode::Cea608CharacterReplaced, static_cast<std::int64_t>(cell.character))) {
            cell.character = static_cast<char32_t>(found->second);
        }
        return cell;
    }

    void showLooks(CaptionRow& row) {
        for (std::size_t index = 0; index < row.cells.size(); ++index) {
            Cell& cell = row.cells[index];
            cell.isFlashing = cell.isFlashing != has(FindingCode::Cea608FlashLate, index);
            if (has(FindingCode::Cea608FlashLeftOut, index)) {
                cell.backgroundOpacity =
                    cell.backgroundOpacity == Opacity::Flash ? Opacity::Solid : cell.backgroundOpacity;
            }
            cell.isItalic = cell.isItalic != has(FindingCode::Cea608ItalicsLate, index);
            cell.isUnderlined = cell.isUnderlined != has(FindingCode::Cea608UnderlineLate, index);
        }
        showEarly(row);
        const Cell first;
        Color foreground = first.foreground;
        const Cell* before = &first;
        for (std::size_t index = 0; index < row.cells.size(); ++index) {
            Cell& cell = row.cells[index];
            if (!cell.isVisible || cell.character == kMarginSpace) {
                before = cell.isVisible ? &cell : &first;
                foreground = first.foreground;
                continue;
            }
            if (has(FindingCode::Cea608BackgroundLate, index)) {
                cell.background = before->background;
                cell.backgroundOpacity = before->backgroundOpacity;
            }
            if (cell.hasText()) {
                foreground = has(FindingCode::Cea608ColorLate, index) ? foreground : cell.foreground;
                cell.foreground = foreground;
            }
            before = &cell;
        }
    }

    /// Backgrounds that begin early, also in front of the row.
    void showEarly(CaptionRow& row) {
        if (row.column > 0) {
            --row.column;
            --_named;
            row.cells.insert(row.cells.begin(), Cell());
        }
        for (std::size_t index = row.cells.size() - 1; index-- > 0;) {
            if (has(FindingCode::Cea608BackgroundEarly, index)) {
                const bool isAdded = !row.cells[index].isVisible;
                row.cells[index] = space(row.cells[index + 1]);
                row.cells[index].character = isAdded ? kMarginSpace : U' ';
            }
        }
    }

    CaptionFindings _findings;
    bool _isRollUp;
    std::vector<CaptionRow> _rows;
    std::vector<std::int64_t> _places;  ///< Of the first cell of each row, as findings name it.
    std::int64_t _named = 0;            ///< That of the row that is looked at.
};

/// The frames of a field.
struct FieldFrames {
    FrameRate rate = FrameRate::Fps2997;
    std::size_t field = 1;

    /// From one pair to the next.
    [[nodiscard]] std::uint64_t step() const { return rate >= FrameRate::Fps50 ? 2 : 1; }
    /// The first frame from this one on that has a pair of the field.
    [[nodiscard]] std::uint64_t atOrAfter(std::uint64_t frame) const {
        return step() == 2 && frame % 2 != field - 1 ? frame + 1 : frame;
    }
};

/// What is shown from a frame on.
struct Change {
    std::uint64_t frame = 0;
    Screen screen;
};

}  // namespace qlxtest
