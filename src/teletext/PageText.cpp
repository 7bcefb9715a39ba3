// The codes of a row of a page.
#include <qlx/teletext/page_text.h>

#include "base/MakeFinding.h"
#include "teletext/SetCodes.h"

#include <qlx/teletext/row_encoder.h>

#include <algorithm>
#include <array>

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

/// How letters look.
struct Look {
    Color foreground = Color::White;
    Color background = Color::Black;
    bool isFlashing = false;

    friend bool operator==(const Look&, const Look&) = default;
};

bool isUnreadable(const Look& look) noexcept {
    return look.foreground == look.background;
}

Color basicColor(Color color) noexcept {
    return screen::kBasicColors[screen::basicIndex(color)];
}

/// What a letter asks for, as far as there are codes for it: no letter is as what is behind it.
Look lookOf(const Cell& cell) noexcept {
    Look look{letterColor(cell.foreground), Color::Black, cell.isFlashing};
    if (cell.background != Color::Black && cell.backgroundOpacity == screen::Opacity::Solid) {
        const Color background = basicColor(cell.background);
        look.background = background == look.foreground ? Color::Black : background;
    }
    return look;
}

/// Whether two letters ask for the same.
bool looksAs(const Cell& one, const Cell& other) noexcept {
    return one.foreground == other.foreground && one.background == other.background &&
           one.backgroundOpacity == other.backgroundOpacity && one.isFlashing == other.isFlashing;
}

/// The attributes that lead from one look to another (EN 300 706, 12.2): a background is the colour that letters have
/// there.
class LookCodes {
public:
    LookCodes(Look from, const Look& to) noexcept {
        if (from.background != to.background && to.background == Color::Black) {
            push(codeOf(SpacingAttribute::BlackBackground));
        } else if (from.background != to.background) {
            pushColor(from, to.background);
            push(codeOf(SpacingAttribute::NewBackground));
        }
        pushColor(from, to.foreground);
        if (from.isFlashing != to.isFlashing) {
            push(codeOf(to.isFlashing ? SpacingAttribute::Flash : SpacingAttribute::Steady));
        }
    }

    [[nodiscard]] std::size_t size() const noexcept { return _size; }
    [[nodiscard]] std::span<const std::uint8_t> items() const noexcept { return std::span(_codes).first(_size); }

private:
    void push(std::uint8_t code) noexcept { _codes[_size++] = code; }
    void pushColor(Look& from, Color color) noexcept {
        if (from.foreground != color) {
            push(static_cast<std::uint8_t>(codeOf(SpacingAttribute::FirstAlphaColor) + screen::basicIndex(color)));
            from.foreground = color;
        }
    }

    std::array<std::uint8_t, 4> _codes{};
    std::size_t _size = 0;
};

/// The best of a look that there is room for: flashing gives way first, then the background, then the colour.
Look lookWithin(const Look& from, const Look& asked, std::size_t room) noexcept {
    for (const auto& [hasColor, hasBackground, hasFlash] :
         {std::array{true, true, true}, std::array{true, true, false}, std::array{true, false, true},
          std::array{true, false, false}, std::array{false, true, true}, std::array{false, true, false},
          std::array{false, false, true}}) {
        const Look look{hasColor ? asked.foreground : from.foreground,
                        hasBackground ? asked.background : from.background,
                        hasFlash ? asked.isFlashing : from.isFlashing};
        if (!isUnreadable(look) && LookCodes(from, look).size() <= room) {
            return look;
        }
    }
    return from;
}

/// What of the first letter's look the codes in front of so many cells have room for: its colour in any case.
Look lookInFront(bool isDoubleHeight, const Look& first, std::size_t size) noexcept {
    const std::size_t box = leadingCodes(isDoubleHeight, Color::White);
    const std::size_t free = kDataBytes - std::min(kDataBytes, box + size);
    return lookWithin({}, first, std::max(free, leadingCodes(isDoubleHeight, first.foreground) - box));
}

/// Whether a letter asks for something that teletext subtitles do not have.
bool hasMore(const Cell& cell) noexcept {
    Cell plain{.character = cell.character, .foreground = cell.foreground, .isVisible = true};
    plain.isFlashing = cell.isFlashing;
    if (cell.background != Color::Black && lookOf(cell).background != Color::Black) {
        plain.background = cell.background;
    }
    return hasLetter(cell) && cell != plain;
}

/// Whether a colour of a letter becomes another one.
bool hasOtherColor(const Cell& cell) noexcept {
    const Color background = cell.background == Color::Black ? Color::Black : lookOf(cell).background;
    return letterColor(cell.foreground) != cell.foreground ||
           (background != Color::Black && background != cell.background);
}

class RowCoder {
    struct Kept {
        std::optional<Color> foreground;
        std::optional<Color> background;
        std::optional<bool> isFlashing;
    };

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
        _lead = letter == _cells.end() ? Look{} : lookOf(*letter);
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
        _lead = lookInFront(_row.isDoubleHeight, _lead, _cells.size());
        const std::size_t lead = leadingCodes(_row.isDoubleHeight, Color::White) + LookCodes({}, _lead).size();
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
        const LookCodes codes({}, _lead);
        std::size_t place = _start - leadingCodes(_row.isDoubleHeight, Color::White) - codes.size();
        putCodes(place, codes);
        place += codes.size();
        _look = _lead;
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

    void putCodes(std::size_t place, const LookCodes& codes) {
        std::copy(codes.items().begin(), codes.items().end(), _codes.begin() + static_cast<std::ptrdiff_t>(place));
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
        // Letters look as those in front of them, nearly always.
        if (_alike == nullptr || !looksAs(cell, *_alike)) {
            takeLook(index, lookOf(cell));
        }
        const bool isShown =
            cell.part != screen::CellPart::LowerHalf && cell.side != screen::CellSide::RightHalf && !cell.isConcealed;
        if (isShown) {
            writeCharacter(cell.character, _start + index);
        }
    }

    void takeLook(std::size_t index, const Look& asked) {
        if (asked == _look) {
            _kept = {};
        } else {
            changeLook(index, asked);
        }
        _alike = asked == _look ? &_cells[index] : nullptr;
    }

    /// In the places of the spaces in front, as far as there are any; what has no place is reported.
    void changeLook(std::size_t index, const Look& asked) {
        const std::size_t room = blanksInFrontOf(index);
        if (room > 0) {
            const Look look = lookWithin(_look, asked, room);
            const LookCodes codes(_look, look);
            putCodes(_start + index - codes.size(), codes);
            _look = look;
        }
        if (room > 0 || (index > 0 && !hasLetter(_cells[index - 1]))) {
            _kept = {};
        }
        reportKept(_start + index, asked);
    }

    /// Spaces that nothing else has taken.
    [[nodiscard]] std::size_t blanksInFrontOf(std::size_t index) const {
        std::size_t first = index;
        while (first > 0 && _codes[_start + first - 1] == kBlank && !hasLetter(_cells[first - 1])) {
            --first;
        }
        return index - first;
    }

    /// Letters that look as those in front of them, once a word.
    void reportKept(std::size_t column, const Look& asked) {
        keep(_kept.foreground, _look.foreground, asked.foreground, FindingCode::TeletextColorKept, column);
        keep(_kept.background, _look.background, asked.background, FindingCode::TeletextBackgroundKept, column);
        keep(_kept.isFlashing, _look.isFlashing, asked.isFlashing, FindingCode::TeletextFlashKept, column);
    }

    template <class Value>
    void keep(std::optional<Value>& kept, Value shown, Value asked, FindingCode code, std::size_t column) {
        if (shown == asked) {
            kept.reset();
        } else if (kept != asked) {
            report(code, Severity::Warning, column);
            kept = asked;
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
        const Look look = hasLetter(*next) ? lookOf(*next) : _look;
        const LookCodes codes(_look, look);
        if (size < kBetweenBoxes + codes.size()) {
            report(FindingCode::TeletextBoxesJoined, Severity::Warning, _start + index);
            return index + size;
        }
        writeEnd(_start + index);
        const std::size_t begin = _start + index + size - 2;
        putCodes(begin - codes.size(), codes);
        _look = look;
        _alike = nullptr;
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
        const std::uint64_t changed = count([](const Cell& cell) { return hasLetter(cell) && hasOtherColor(cell); });
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
    Look _lead;                    ///< Of the first letter.
    Look _look;                    ///< Of the letters that are being written.
    const Cell* _alike = nullptr;  ///< A letter that looks as `_look`, if one is known.
    Kept _kept;                    ///< What letters in front of this one should have, and do not.
    std::span<std::uint8_t> _codes;
    CodedRow* _coded = nullptr;
};

}  // namespace

std::size_t leadingCodes(bool isDoubleHeight, const screen::Cell& first, std::size_t size) noexcept {
    return leadingCodes(isDoubleHeight, Color::White) +
           LookCodes({}, lookInFront(isDoubleHeight, lookOf(first), size)).size();
}

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
