// A window: its place, its text, its pen.
#include <qlx/cea708/window.h>

#include <algorithm>
#include <array>

namespace qlx::cea708 {

namespace {

constexpr int kGridStep = 5;  // lines and columns of the grid to a row or column of the screen
constexpr int kGreatestRelative = 99;

void tell(FindingSink* findings, FindingCode code, std::uint64_t offset, std::int64_t first, std::int64_t second,
          Severity severity = Severity::Warning) {
    if (findings != nullptr) {
        findings->add({code, severity, offset, first, second});
    }
}

/// Where a window begins along one axis.
/// @param part 0 when the anchor is at its beginning, 1 at its middle, 2 at its end.
int beginningOf(int anchor, int part, int size) noexcept {
    if (part == 0) {
        return anchor / kGridStep;
    }
    if (part == 2) {
        return anchor / kGridStep - size + 1;
    }
    // To the nearest row or column; rounded down also below zero.
    const int middle = anchor - size * kGridStep / 2 + kGridStep / 2;
    return middle >= 0 ? middle / kGridStep : -((-middle + kGridStep - 1) / kGridStep);
}

struct Axis {
    int anchor;
    bool isRelative;
    int part;
    int size;
    int screenSize;
};

std::size_t placeOnAxis(const Axis& axis, FindingSink* findings, std::uint64_t offset) {
    const int grid = axis.screenSize * kGridStep;
    const int greatest = axis.isRelative ? kGreatestRelative : grid - 1;
    if (axis.anchor > greatest) {
        tell(findings, FindingCode::Cea708WindowOutside, offset, axis.anchor, greatest);
    }
    const int anchor = std::min(axis.anchor, greatest);
    const int onGrid = axis.isRelative ? anchor * grid / (kGreatestRelative + 1) : anchor;
    const int wanted = beginningOf(onGrid, axis.part, axis.size);
    const int place = std::clamp(wanted, 0, axis.screenSize - std::min(axis.size, axis.screenSize));
    if (place != wanted) {
        tell(findings, FindingCode::Cea708WindowOutside, offset, wanted, place);
    }
    return static_cast<std::size_t>(place);
}

/// At most as much as there is room for.
std::uint8_t sizeWithin(std::size_t size, std::size_t greatest, FindingSink* findings, std::uint64_t offset) {
    if (size > greatest) {
        tell(findings, FindingCode::Cea708WindowTooLarge, offset, static_cast<std::int64_t>(size),
             static_cast<std::int64_t>(greatest));
    }
    return static_cast<std::uint8_t>(std::clamp<std::size_t>(size, 1, greatest));
}

}  // namespace

WindowPlace placeOf(const DefineWindow& definition, AspectRatio ratio, FindingSink* findings, std::uint64_t offset) {
    // Nine points; what is not defined is taken as the first one.
    const auto number = static_cast<int>(definition.anchorPoint);
    const int point = number > static_cast<int>(AnchorPoint::LowerRight) ? 0 : number;
    const Axis vertical{definition.anchorVertical, definition.isRelative, point / 3, definition.rows,
                        static_cast<int>(kRows)};
    const Axis horizontal{definition.anchorHorizontal, definition.isRelative, point % 3, definition.columns,
                          static_cast<int>(columnsOf(ratio))};
    const std::size_t row = placeOnAxis(vertical, findings, offset);
    return {row, placeOnAxis(horizontal, findings, offset)};
}

bool Window::printsRows() const noexcept {
    return _attributes.printDirection == Direction::LeftToRight || _attributes.printDirection == Direction::RightToLeft;
}

bool Window::isInside(int row, int column) const noexcept {
    return row >= 0 && column >= 0 && row < static_cast<int>(rows()) && column < static_cast<int>(columns());
}

screen::Cell& Window::cell(int row, int column) noexcept {
    return _cells[static_cast<std::size_t>(row) * columns() + static_cast<std::size_t>(column)];
}

std::span<screen::Cell> Window::cellsOf(std::size_t row) noexcept {
    return std::span(_cells).subspan(row * columns(), columns());
}

void Window::define(const DefineWindow& definition, AspectRatio ratio, FindingSink* findings, std::uint64_t offset) {
    const bool isNew = !_isDefined;
    if (!isNew && definition == _received) {
        setVisible(definition.isVisible);
        return;
    }
    _received = definition;
    DefineWindow fitting = definition;
    fitting.rows = sizeWithin(definition.rows, kRows, findings, offset);
    fitting.columns = sizeWithin(definition.columns, columnsOf(ratio), findings, offset);
    _place = placeOf(fitting, ratio, findings, offset);
    if (isNew) {
        // In the room that it had.
        _cells.assign(std::size_t{fitting.rows} * fitting.columns, {});
        _completeRows = 0;
        _attributes = predefinedWindow(definition.windowStyle);
        setPen(predefinedPen(definition.penStyle));
    } else if (fitting.rows != rows() || fitting.columns != columns()) {
        _cells = resized(fitting.rows, fitting.columns);
    }
    _definition = fitting;
    _isDefined = true;
    if (isNew) {
        goToStart();
        return;
    }
    if (definition.windowStyle != 0) {
        setAttributes(predefinedWindow(definition.windowStyle));
    }
    if (definition.penStyle != 0) {
        setPen(predefinedPen(definition.penStyle));
    }
    _row = std::clamp(_row, -1, static_cast<int>(rows()));
    _column = std::clamp(_column, -1, static_cast<int>(columns()));
}

/// The text that has a place in another size.
std::vector<screen::Cell> Window::resized(std::size_t rowCount, std::size_t columnCount) const {
    std::vector<screen::Cell> cells(rowCount * columnCount);
    const std::size_t kept = std::min(columnCount, columns());
    for (std::size_t index = 0; index < std::min(rowCount, rows()); ++index) {
        const std::span<const screen::Cell> from = row(index).first(kept);
        std::copy(from.begin(), from.end(), cells.begin() + static_cast<std::ptrdiff_t>(index * columnCount));
    }
    return cells;
}

void Window::setAttributes(const WindowAttributes& attributes) {
    const int row = _row;
    const int column = _column;
    goToStart();
    const bool wasAtStart = row == _row && column == _column;
    const bool erases = attributes.justification != _attributes.justification;
    const bool turns = attributes.printDirection != _attributes.printDirection;
    _attributes = attributes;
    if (erases) {
        erase();
    }
    if (turns && wasAtStart) {
        goToStart();
    } else {
        _row = row;
        _column = column;
    }
}

void Window::setPen(const Pen& pen) noexcept {
    _pen = pen;
    _penCell = {};
    _penCell.isVisible = true;
    _penCell.foreground = pen.color.foreground;
    _penCell.foregroundOpacity = pen.color.foregroundOpacity;
    _penCell.isFlashing = pen.color.foregroundOpacity == screen::Opacity::Flash;
    _penCell.background = pen.color.background;
    _penCell.backgroundOpacity = pen.color.backgroundOpacity;
    _penCell.isItalic = pen.attributes.isItalic;
    _penCell.isUnderlined = pen.attributes.isUnderlined;
    _penCell.font = pen.attributes.font;
    // A number that is not defined leaves what is usual.
    if (pen.attributes.edge <= screen::Edge::RightDropShadow) {
        _penCell.edge = pen.attributes.edge;
        _penCell.edgeColor = pen.color.edge;
    }
    if (pen.attributes.size <= screen::FontSize::Large) {
        _penCell.size = pen.attributes.size;
    }
    if (pen.attributes.offset <= screen::Offset::Superscript) {
        _penCell.offset = pen.attributes.offset;
    }
}

void Window::setPenLocation(PenLocation location, FindingSink* findings, std::uint64_t offset) {
    if (!_isDefined) {
        return;
    }
    const int lastRow = static_cast<int>(rows()) - 1;
    const int lastColumn = static_cast<int>(columns()) - 1;
    if (location.row > lastRow) {
        tell(findings, FindingCode::Cea708LocationOutside, offset, location.row, lastRow);
    }
    if (location.column > lastColumn) {
        tell(findings, FindingCode::Cea708LocationOutside, offset, location.column, lastColumn);
    }
    const int row = std::min<int>(location.row, lastRow);
    if (row != _row) {
        completeRow();
    }
    _row = row;
    _column = std::min<int>(location.column, lastColumn);
}

void Window::put(char32_t character, FindingSink* findings, std::uint64_t offset) {
    if (!_isDefined || _pen.attributes.tag == TextTag::NotShown) {
        return;
    }
    beginCompleteRowAnew();
    if (!isInside(_row, _column)) {
        if (!_attributes.wrapsWords) {
            tell(findings, FindingCode::Cea708RowFull, offset, character,
                 static_cast<std::int64_t>(printsRows() ? columns() : rows()), Severity::Error);
            return;
        }
        if (character == U' ') {
            carriageReturn();
            return;
        }
        wrapWord();
    }
    screen::Cell& place = cell(_row, _column);
    if (character == kTransparentSpace || character == kNonBreakingTransparentSpace) {
        place = {};
    } else {
        place = _penCell;
        place.character = character;
    }
    switch (_attributes.printDirection) {
    case Direction::LeftToRight:
        ++_column;
        break;
    case Direction::RightToLeft:
        --_column;
        break;
    case Direction::TopToBottom:
        ++_row;
        break;
    case Direction::BottomToTop:
        --_row;
        break;
    }
}

/// A new row that begins with the word that the full one ends with.
void Window::wrapWord() noexcept {
    std::array<screen::Cell, kWideColumns> word;
    std::size_t length = 0;
    if (_attributes.printDirection == Direction::LeftToRight && isInside(_row, 0)) {
        const std::span<screen::Cell> full = cellsOf(static_cast<std::size_t>(_row));
        const auto isLetter = [](const screen::Cell& one) { return one.isVisible && one.character != U' '; };
        while (length < full.size() && isLetter(full[full.size() - length - 1])) {
            ++length;
        }
        // A word as long as the row has to be broken.
        length = length == full.size() ? 0 : length;
        const std::span<screen::Cell> end = full.last(length);
        std::copy(end.begin(), end.end(), word.begin());
        std::fill(end.begin(), end.end(), screen::Cell{});
    }
    carriageReturn();
    for (std::size_t index = 0; index < length; ++index) {
        cell(_row, _column++) = word[index];
    }
}

void Window::erase() noexcept {
    std::fill(_cells.begin(), _cells.end(), screen::Cell{});
    _completeRows = 0;
}

void Window::eraseRow() noexcept {
    if (printsRows() && isInside(_row, 0)) {
        std::fill(cellsOf(static_cast<std::size_t>(_row)).begin(), cellsOf(static_cast<std::size_t>(_row)).end(),
                  screen::Cell{});
        _completeRows = static_cast<std::uint16_t>(_completeRows & ~(1U << static_cast<unsigned>(_row)));
    } else if (!printsRows() && isInside(0, _column)) {
        for (int row = 0; row < static_cast<int>(rows()); ++row) {
            cell(row, _column) = {};
        }
    }
}

void Window::beginCompleteRowAnew() noexcept {
    if (_completeRows == 0 || !isVisible() || !printsRows() || !isInside(_row, 0)) {
        return;
    }
    const bool isComplete = (_completeRows >> static_cast<unsigned>(_row) & 1U) != 0;
    if (isComplete && _attributes.justification != Justification::Left) {
        const std::span<const screen::Cell> cells = row(static_cast<std::size_t>(_row));
        const bool hasText =
            std::any_of(cells.begin(), cells.end(), [](const screen::Cell& one) { return one.isVisible; });
        if (hasText) {
            eraseRow();
            goToStartOfRow();
        }
        _completeRows = static_cast<std::uint16_t>(_completeRows & ~(1U << static_cast<unsigned>(_row)));
    }
}

void Window::backspace() noexcept {
    int row = _row;
    int column = _column;
    switch (_attributes.printDirection) {
    case Direction::LeftToRight:
        --column;
        break;
    case Direction::RightToLeft:
        ++column;
        break;
    case Direction::TopToBottom:
        --row;
        break;
    case Direction::BottomToTop:
        ++row;
        break;
    }
    if (isInside(row, column)) {
        _row = row;
        _column = column;
        cell(row, column) = {};
    }
}

void Window::goToStartOfRow() noexcept {
    switch (_attributes.printDirection) {
    case Direction::LeftToRight:
        _column = 0;
        break;
    case Direction::RightToLeft:
        _column = static_cast<int>(columns()) - 1;
        break;
    case Direction::TopToBottom:
        _row = 0;
        break;
    case Direction::BottomToTop:
        _row = static_cast<int>(rows()) - 1;
        break;
    }
}

void Window::goToStart() noexcept {
    _row = 0;
    _column = 0;
    goToStartOfRow();
}

/// Rows go where the window scrolls to, and the next one is on the other side; a direction along the rows is taken as the
/// usual one.
bool Window::carriageReturn() noexcept {
    if (!_isDefined) {
        return false;
    }
    completeRow();
    bool isScrolled = false;
    if (printsRows()) {
        const bool isUp = _attributes.scrollDirection != Direction::TopToBottom;
        _row += isUp ? 1 : -1;
        isScrolled = _row < 0 || _row >= static_cast<int>(rows());
        if (isScrolled) {
            _row = isUp ? static_cast<int>(rows()) - 1 : 0;
            scrollRows(isUp);
        }
    } else {
        const bool isLeft = _attributes.scrollDirection != Direction::LeftToRight;
        _column += isLeft ? 1 : -1;
        isScrolled = _column < 0 || _column >= static_cast<int>(columns());
        if (isScrolled) {
            _column = isLeft ? static_cast<int>(columns()) - 1 : 0;
            scrollColumns(isLeft);
        }
    }
    goToStartOfRow();
    return isScrolled;
}

void Window::scrollRows(bool isUp) noexcept {
    const auto width = static_cast<std::ptrdiff_t>(columns());
    if (isUp) {
        std::fill(std::copy(_cells.begin() + width, _cells.end(), _cells.begin()), _cells.end(), screen::Cell{});
        _completeRows = static_cast<std::uint16_t>(_completeRows >> 1U);
    } else {
        std::fill(_cells.begin(), std::copy_backward(_cells.begin(), _cells.end() - width, _cells.end()),
                  screen::Cell{});
        _completeRows = static_cast<std::uint16_t>(_completeRows << 1U);
    }
}

void Window::scrollColumns(bool isLeft) noexcept {
    for (std::size_t index = 0; index < rows(); ++index) {
        const std::span<screen::Cell> cells = cellsOf(index);
        if (isLeft) {
            std::copy(cells.begin() + 1, cells.end(), cells.begin());
            cells.back() = {};
        } else {
            std::copy_backward(cells.begin(), cells.end() - 1, cells.end());
            cells.front() = {};
        }
    }
}

void Window::horizontalCarriageReturn() noexcept {
    eraseRow();
    goToStartOfRow();
}

void Window::formFeed() noexcept {
    erase();
    goToStart();
}

void Window::draw(screen::Screen& screen) const {
    screen::Cell fill;
    fill.isVisible = _attributes.fillOpacity != screen::Opacity::Transparent;
    fill.background = _attributes.fill;
    fill.backgroundOpacity = _attributes.fillOpacity;
    const auto isText = [](const screen::Cell& cell) { return cell.isVisible; };
    for (std::size_t index = 0; index < rows(); ++index) {
        const std::span<const screen::Cell> from = row(index);
        const std::span<screen::Cell> to = screen.row(_place.row + index).subspan(_place.column, columns());
        if (fill.isVisible) {
            std::fill(to.begin(), to.end(), fill);
        }
        const auto first = std::find_if(from.begin(), from.end(), isText);
        if (first == from.end()) {
            continue;
        }
        const auto last = std::find_if(from.rbegin(), from.rend(), isText).base();
        const std::ptrdiff_t free = to.end() - to.begin() - (last - first);
        std::ptrdiff_t column = first - from.begin();
        if (printsRows() && _attributes.justification == Justification::Center) {
            column = free / 2;
        } else if (printsRows() && _attributes.justification == Justification::Right) {
            column = free;
        }
        for (auto cell = first; cell != last; ++cell, ++column) {
            if (!cell->isVisible) {
                continue;
            }
            screen::Cell& place = to[static_cast<std::size_t>(column)];
            place = *cell;
            if (cell->backgroundOpacity == screen::Opacity::Transparent && fill.isVisible) {
                place.background = fill.background;
                place.backgroundOpacity = fill.backgroundOpacity;
            }
        }
    }
}

}  // namespace qlx::cea708
