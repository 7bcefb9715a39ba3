// The codes of a row of a page.
#include <qlx/teletext/page_text.h>

#include "base/MakeFinding.h"
#include "teletext/SetCodes.h"

#include <qlx/teletext/row_encoder.h>

#include <algorithm>

namespace qlx::teletext {

namespace {

using screen::Cell;
using screen::Color;

constexpr std::uint8_t kBlank = 0x20;
/// Columns of a box's end and the next one's beginning.
constexpr std::size_t kBetweenBoxes = 4;

bool hasLetter(const Cell& cell) noexcept {
    return cell.isVisible && cell.character != U' ' && cell.character != U'\u00A0';
}

/// Whether a cell asks for something that teletext subtitles do not have.
bool hasMore(const Cell& cell) noexcept {
    const Cell plain{.character = cell.character, .foreground = cell.foreground, .isVisible = true};
    return cell.isVisible && cell != plain && (hasLetter(cell) || cell.background != Color::Black);
}

class RowCoder {
public:
    RowCoder(const PageRow& row, std::uint8_t designation, FindingSink* findings, std::uint64_t offset) noexcept
        : _row(row), _set(shownSet(designation, designation)), _g0(g0Characters(_set)), _findings(findings),
          _offset(offset) {}

    bool code(CodedRow& coded) {
        const auto isVisible = [](const Cell& cell) { return cell.isVisible; };
        const auto first = std::find_if(_row.cells.begin(), _row.cells.end(), isVisible);
        if (first == _row.cells.end()) {
            return false;
        }
        const auto end = std::find_if(_row.cells.rbegin(), _row.cells.rend(), isVisible).base();
        _cells = std::span(first, end);
        const std::uint8_t last = _row.isDoubleHeight ? kLastTallRow : kLastTextRow;
        if (_row.row == 0 || _row.row > last) {
            report(FindingCode::TeletextRowLeftOut, Severity::Error, _cells.size());
            return false;
        }
        const auto letter = std::find_if(_cells.begin(), _cells.end(), hasLetter);
        _color = letter == _cells.end() ? Color::White : letterColor(letter->foreground);
        place(_row.column + static_cast<std::size_t>(first - _row.cells.begin()));
        coded.row = _row.row;
        coded.isDoubleHeight = _row.isDoubleHeight;
        _coded = &coded;
        _codes = coded.codes;
        std::fill(_codes.begin(), _codes.end(), kBlank);
        writeLead();
        writeCells();
        writeEnd(_start + _cells.size());
        reportStyles();
        return true;
    }

private:
    void report(FindingCode code, Severity severity, std::uint64_t number) const {
        if (_findings != nullptr) {
            _findings->add(makeFinding(code, severity, _offset, _row.row, number));
        }
    }

    /// Where the text begins, and how much of it has room.
    void place(std::size_t wanted) {
        const std::size_t lead = leadingCodes(_row.isDoubleHeight, _color);
        const std::size_t room = kDataBytes - lead;
        if (_cells.size() > room) {
            report(FindingCode::TeletextRowCut, Severity::Error, _cells.size() - room);
            _cells = _cells.first(room);
            while (!_cells.back().isVisible) {
                _cells = _cells.first(_cells.size() - 1);
            }
        }
        _start = std::clamp(wanted, lead, kDataBytes - _cells.size());
        if (_start != wanted) {
            report(FindingCode::TeletextRowMoved, Severity::Remark, _start);
        }
    }

    void writeLead() {
        std::size_t place = _start - leadingCodes(_row.isDoubleHeight, _color);
        if (_color != Color::White) {
            _codes[place++] = colorCode(_color);
        }
        if (_row.isDoubleHeight) {
            _codes[place++] = codeOf(SpacingAttribute::DoubleHeight);
        }
        writePair(place, SpacingAttribute::StartBox);
    }

    void writePair(std::size_t place, SpacingAttribute attribute) {
        _codes[place] = codeOf(attribute);
        _codes[place + 1] = codeOf(attribute);
    }

    /// The box also ends with the row.
    void writeEnd(std::size_t place) {
        for (const std::size_t end = std::min(place + 2, kDataBytes); place < end; ++place) {
            _codes[place] = codeOf(SpacingAttribute::EndBox);
        }
    }

    static std::uint8_t colorCode(Color color) noexcept {
        return static_cast<std::uint8_t>(codeOf(SpacingAttribute::FirstAlphaColor) + screen::basicIndex(color));
    }

    void writeCells() {
        for (std::size_t index = 0; index < _cells.size();) {
            if (_cells[index].isVisible) {
                writeCell(index);
                ++index;
            } else {
                index = writeGap(index);
            }
        }
    }

    void writeCell(std::size_t index) {
        const Cell& cell = _cells[index];
        if (!hasLetter(cell)) {
            return;
        }
        const Color color = letterColor(cell.foreground);
        if (color != _color) {
            changeColor(index, color);
        }
        _kept = color == _color ? std::optional<Color>() : color;
        const bool isShown =
            cell.part != screen::CellPart::LowerHalf && cell.side != screen::CellSide::RightHalf && !cell.isConcealed;
        if (isShown) {
            writeCharacter(cell.character, _start + index);
        }
    }

    /// In the place of a space that nothing else has taken.
    void changeColor(std::size_t index, Color color) {
        if (index > 0 && _codes[_start + index - 1] == kBlank && !hasLetter(_cells[index - 1])) {
            _codes[_start + index - 1] = colorCode(color);
            _color = color;
        } else if (_kept != color) {
            report(FindingCode::TeletextColorKept, Severity::Warning, _start + index);
        }
    }

    void writeCharacter(char32_t character, std::size_t column) {
        if (isAtAscii(_g0, character)) {
            _codes[column] = static_cast<std::uint8_t>(character);
            return;
        }
        const CellCode code = encodeCharacter(character, _set);
        _codes[column] = code.code;
        if (code.isPlaced()) {
            _coded->placements.push_back({_row.row, static_cast<std::uint8_t>(column), code.mode, code.placedCode});
        }
        if (code.fit != CellCode::Fit::Exact && _findings != nullptr) {
            const bool isReplaced = code.fit == CellCode::Fit::Replaced;
            _findings->add(
                makeFinding(isReplaced ? FindingCode::TeletextCharacterReplaced : FindingCode::TeletextCharacterMissing,
                            isReplaced ? Severity::Remark : Severity::Error, _offset, character, code.shown));
        }
    }

    /// Cells that are not visible, up to the next one that is: the last one is.
    std::size_t writeGap(std::size_t index) {
        const auto rest = _cells.subspan(index);
        const auto next = std::find_if(rest.begin(), rest.end(), [](const Cell& cell) { return cell.isVisible; });
        const auto size = static_cast<std::size_t>(next - rest.begin());
        const bool changesColor = hasLetter(*next) && letterColor(next->foreground) != _color;
        if (size < kBetweenBoxes + (changesColor ? 1U : 0U)) {
            report(FindingCode::TeletextBoxesJoined, Severity::Warning, _start + index);
            return index + size;
        }
        writeEnd(_start + index);
        const std::size_t begin = _start + index + size - 2;
        if (changesColor) {
            _color = letterColor(next->foreground);
            _codes[begin - 1] = colorCode(_color);
        }
        writePair(begin, SpacingAttribute::StartBox);
        return index + size;
    }

    void reportStyles() const {
        if (_findings == nullptr) {
            return;
        }
        const auto count = [this](const auto& holds) {
            return static_cast<std::uint64_t>(std::count_if(_cells.begin(), _cells.end(), holds));
        };
        if (const std::uint64_t cells = count(hasMore); cells != 0) {
            report(FindingCode::TeletextStyleLeftOut, Severity::Remark, cells);
        }
        const std::uint64_t changed =
            count([](const Cell& cell) { return hasLetter(cell) && letterColor(cell.foreground) != cell.foreground; });
        if (changed != 0) {
            report(FindingCode::TeletextColorChanged, Severity::Remark, changed);
        }
    }

    const PageRow& _row;
    CharacterSet _set;
    SetCharacters _g0;
    FindingSink* _findings;
    std::uint64_t _offset;
    std::span<const Cell> _cells;
    std::size_t _start = 0;
    Color _color = Color::White;
    std::optional<Color> _kept;  ///< The colour that letters in front of this one should have.
    std::span<std::uint8_t> _codes;
    CodedRow* _coded = nullptr;
};

}  // namespace

std::optional<CodedRow> codeRow(const PageRow& row, std::uint8_t designation, FindingSink* findings,
                                std::uint64_t offset) {
    CodedRow coded;
    if (!RowCoder(row, designation, findings, offset).code(coded)) {
        return std::nullopt;
    }
    return coded;
}

bool insertRow(std::vector<CodedRow>& rows, const CodedRow& row) {
    const auto place =
        std::find_if(rows.begin(), rows.end(), [&row](const CodedRow& other) { return other.row >= row.row; });
    const auto reach = [](const CodedRow& one) { return one.row + (one.isDoubleHeight ? 1 : 0); };
    if ((place != rows.end() && place->row <= reach(row)) ||
        (place != rows.begin() && reach(*(place - 1)) >= row.row)) {
        return false;
    }
    rows.insert(place, row);
    return true;
}

}  // namespace qlx::teletext
