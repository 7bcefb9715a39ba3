// Captions as commands: which window they have, and what is written into it.
#include "WideCharacters.h"
#include "base/StandIns.h"

#include <qlx/cea708/caption.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <span>

namespace qlx::cea708 {

namespace {

constexpr std::uint8_t kPopOnWindow = 2;   // without a box
constexpr std::uint8_t kRollUpWindow = 5;  // the same
constexpr std::uint8_t kPenStyle = 1;

/// The part of a caption's row that is shown.
struct PlacedRow {
    std::span<const screen::Cell> cells;  ///< The first and the last one are visible.
    std::size_t first = 0;                ///< Index of its first cell in the caption's row.
    std::size_t askedRow = 0;
    std::size_t askedColumn = 0;
    std::size_t row = 0;  ///< From 1 on.
    std::size_t column = 0;
};

/// What stands where.
class Places {
public:
    Places(const Caption& caption, const EncodeOptions& options, FindingSink* findings)
        : _columns(columnsOf(options.aspectRatio)), _offset(options.findingsOffset), _findings(findings) {
        for (const CaptionRow& row : caption.rows) {
            take(row);
        }
        if (caption.style == CaptionStyle::RollUp) {
            placeRollUp(rollUpRows(caption));
        } else {
            place();
        }
        for (const PlacedRow& row : rows()) {
            const bool hasAskedRow = caption.style != CaptionStyle::RollUp || &row == &rows().back();
            if ((hasAskedRow && row.row != row.askedRow) || row.column != row.askedColumn) {
                tell(FindingCode::Cea708RowMoved, Severity::Warning, screen::placeOf(row.askedRow, row.first),
                     screen::placeOf(row.row, row.column));
            }
        }
    }

    [[nodiscard]] std::span<const PlacedRow> rows() const noexcept { return std::span(_rows).first(_count); }

    [[nodiscard]] static std::size_t rollUpRows(const Caption& caption) noexcept {
        return std::clamp<std::size_t>(caption.rollUpRows, 2, 4);
    }

private:
    void tell(FindingCode code, Severity severity, std::int64_t first, std::int64_t second) const {
        if (_findings != nullptr) {
            _findings->add({code, severity, _offset, first, second});
        }
    }

    void take(const CaptionRow& row) {
        const auto isShownCell = [](const screen::Cell& cell) { return cell.isVisible; };
        std::span<const screen::Cell> cells = row.cells;
        const auto begin =
            static_cast<std::size_t>(std::find_if(cells.begin(), cells.end(), isShownCell) - cells.begin());
        cells = cells.subspan(begin);
        const auto withoutEnd = [&cells, isShownCell]() {
            const auto end = std::find_if(cells.rbegin(), cells.rend(), isShownCell).base();
            cells = cells.first(static_cast<std::size_t>(end - cells.begin()));
        };
        withoutEnd();
        if (cells.empty()) {
            return;
        }
        if (_count == _rows.size()) {
            tell(FindingCode::Cea708RowLeftOut, Severity::Error, screen::placeOf(row.row, begin),
                 static_cast<std::int64_t>(cells.size()));
            return;
        }
        if (cells.size() > _columns) {
            tell(FindingCode::Cea708RowCut, Severity::Error, screen::placeOf(row.row, begin + _columns),
                 static_cast<std::int64_t>(cells.size() - _columns));
            cells = cells.first(_columns);
            withoutEnd();
        }
        PlacedRow& placed = _rows[_count++];
        placed = {.cells = cells, .first = begin, .askedRow = row.row, .askedColumn = row.column + begin};
        placed.column = std::min(placed.askedColumn, _columns - cells.size());
    }

    /// Each where it is asked for, or as near to that as the order of the rows lets it.
    void place() noexcept {
        std::size_t least = 1;
        for (PlacedRow& row : std::span(_rows).first(_count)) {
            row.row = std::max(row.askedRow, least);
            least = row.row + 1;
        }
        std::size_t greatest = kRows;
        for (std::size_t index = _count; index-- > 0;) {
            _rows[index].row = std::min(_rows[index].row, greatest);
            greatest = _rows[index].row - 1;
        }
    }

    /// All of them are written into the lowest row.
    void placeRollUp(std::size_t count) noexcept {
        for (PlacedRow& row : std::span(_rows).first(_count)) {
            row.row = std::clamp(_rows[_count - 1].askedRow, count, kRows);
        }
    }

    std::size_t _columns;
    std::uint64_t _offset;
    FindingSink* _findings;
    std::array<PlacedRow, kRows> _rows{};
    std::size_t _count = 0;
};

/// The anchor on one axis of the grid.
/// @param part 0 for the beginning of the window, 1 for its middle, 2 for its end.
std::uint8_t anchorOf(int part, std::size_t begin, std::size_t size) noexcept {
    constexpr std::size_t kGridStep = 5;
    const std::size_t within = part == 0 ? 0 : part == 1 ? size * kGridStep / 2 : size * kGridStep - 1;
    return static_cast<std::uint8_t>(begin * kGridStep + within);
}

/// The numbers that are defined; the usual ones in place of others.
Pen penOf(const screen::Cell& cell) noexcept {
    Pen pen;
    pen.attributes.size = cell.size <= screen::FontSize::Large ? cell.size : screen::FontSize::Standard;
    pen.attributes.offset = cell.offset <= screen::Offset::Superscript ? cell.offset : screen::Offset::Normal;
    pen.attributes.font = cell.font <= screen::Font::SmallCapitals ? cell.font : screen::Font::Default;
    pen.attributes.edge = cell.edge <= screen::Edge::RightDropShadow ? cell.edge : screen::Edge::None;
    pen.attributes.isUnderlined = cell.isUnderlined;
    pen.attributes.isItalic = cell.isItalic;
    const auto colorOf = [](screen::Color color, screen::Color usual) {
        return color <= screen::Color::White ? color : usual;
    };
    const auto opacityOf = [](screen::Opacity opacity) {
        return opacity <= screen::Opacity::Transparent ? opacity : screen::Opacity::Solid;
    };
    pen.color.foreground = colorOf(cell.foreground, screen::Color::White);
    pen.color.foregroundOpacity = cell.isFlashing ? screen::Opacity::Flash : opacityOf(cell.foregroundOpacity);
    pen.color.background = colorOf(cell.background, screen::Color::Black);
    pen.color.backgroundOpacity = opacityOf(cell.backgroundOpacity);
    pen.color.edge = colorOf(cell.edgeColor, screen::Color::Black);
    return pen;
}

bool isAsAskedFor(const Pen& pen, const screen::Cell& cell) noexcept {
    return pen.attributes.size == cell.size && pen.attributes.offset == cell.offset &&
           pen.attributes.font == cell.font && pen.attributes.edge == cell.edge &&
           pen.color.foreground == cell.foreground && pen.color.background == cell.background &&
           pen.color.backgroundOpacity == cell.backgroundOpacity && pen.color.edge == cell.edgeColor &&
           (pen.color.foregroundOpacity == cell.foregroundOpacity ||
            (cell.isFlashing && cell.foregroundOpacity == screen::Opacity::Solid));
}

/// Columns side by side that are one finding.
struct ColumnRun {
    FindingCode code;
    std::size_t row = 0;
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// Writes commands and text.
class CommandWriter {
public:
    /// `namesAsked`: findings name the row and columns that are asked for.
    CommandWriter(const EncodeOptions& options, std::vector<std::uint8_t>& bytes, FindingSink* findings,
                  bool namesAsked)
        : _options(options), _bytes(bytes), _findings(findings), _namesAsked(namesAsked) {}

    void write(const Command& command) {
        std::array<std::uint8_t, kGreatestCommandBytes> room{};
        // All numbers are in their ranges.
        if (const Result<std::size_t> size = writeCommand(command, room)) {
            _bytes.insert(_bytes.end(), room.begin(), room.begin() + static_cast<std::ptrdiff_t>(*size));
        }
    }

    /// The row and column are those of its window. `isAtPen`: the pen is there already.
    void writeRow(const PlacedRow& row, std::size_t windowRow, std::size_t windowColumn, bool isAtPen) {
        for (std::size_t index = 0; index < row.cells.size(); ++index) {
            const screen::Cell& cell = row.cells[index];
            if (!cell.isVisible) {
                isAtPen = false;
                continue;
            }
            if (!isAtPen) {
                write(
                    PenLocation{static_cast<std::uint8_t>(windowRow), static_cast<std::uint8_t>(windowColumn + index)});
                isAtPen = true;
            }
            writeCell(cell, _namesAsked ? row.askedRow : row.row, (_namesAsked ? row.askedColumn : row.column) + index);
        }
        flush(_styles);
        flush(_texts);
    }

    /// The pen of a new window.
    void expectPen(const Pen& pen) {
        _pen = pen;
        _isPenKnown = true;
    }

private:
    void writeCell(const screen::Cell& cell, std::size_t row, std::size_t column) {
        const Pen pen = penOf(cell);
        if (!_isPenKnown || pen.attributes != _pen.attributes) {
            write(pen.attributes);
        }
        if (!_isPenKnown || pen.color != _pen.color) {
            write(pen.color);
        }
        expectPen(pen);
        if (!isAsAskedFor(pen, cell)) {
            extend(_styles, row, column);
        }
        const bool isSpace = cell.character == U' ' || cell.character == U'\u00A0';
        if (!cell.hasText() && !isSpace) {
            extend(_texts, row, column);
        }
        writeCharacter(cell.hasText() || isSpace ? cell.character : U' ');
    }

    void writeCharacter(char32_t character) {
        const bool isSpaceOfReceiver = character == kTransparentSpace || character == kNonBreakingTransparentSpace;
        const auto code = isSpaceOfReceiver ? std::nullopt : characterCode(character);
        if (code) {
            if (code->set == CharacterSet::G2 || code->set == CharacterSet::G3) {
                _bytes.push_back(kExt1);
            }
            _bytes.push_back(code->code);
            return;
        }
        constexpr char32_t kPlane = 0x10000;
        if (_options.usesWideCharacters && _options.wideCode) {
            if (const std::optional<std::uint16_t> wide = _options.wideCode(character)) {
                write(WideCharacter{*wide});
                return;
            }
        } else if (_options.usesWideCharacters && isShown(character)) {
            if (character >= kPlane) {
                write(WideCharacter{static_cast<std::uint16_t>(0xD800U + ((character - kPlane) >> 10U))});
                write(WideCharacter{static_cast<std::uint16_t>(0xDC00U + (character & 0x3FFU))});
            } else {
                write(WideCharacter{static_cast<std::uint16_t>(character)});
            }
            return;
        }
        const char32_t replacement = replacementOf(character);
        tell(FindingCode::Cea708CharacterReplaced, static_cast<std::int64_t>(character),
             static_cast<std::int64_t>(replacement));
        write(characterCode(replacement).value_or(CharacterCode{}));
    }

    void extend(ColumnRun& run, std::size_t row, std::size_t column) {
        if (run.row != row || run.end != column) {
            flush(run);
            run.row = row;
            run.begin = column;
        }
        run.end = column + 1;
    }

    void flush(ColumnRun& run) {
        if (run.end > run.begin) {
            tell(run.code, screen::placeOf(run.row, run.begin), static_cast<std::int64_t>(run.end - run.begin));
        }
        run.begin = 0;
        run.end = 0;
    }

    void tell(FindingCode code, std::int64_t first, std::int64_t second) const {
        if (_findings != nullptr) {
            _findings->add({code, Severity::Warning, _options.findingsOffset, first, second});
        }
    }

    const EncodeOptions& _options;
    std::vector<std::uint8_t>& _bytes;
    FindingSink* _findings;
    bool _namesAsked;
    Pen _pen;
    bool _isPenKnown = false;
    ColumnRun _styles{FindingCode::Cea708StyleReplaced};
    ColumnRun _texts{FindingCode::Cea708TextLeftOut};
};

/// The window that a caption needs, from 0 on.
struct Box {
    std::size_t row = 0;
    std::size_t column = 0;
    std::size_t rows = 1;
    std::size_t columns = 1;
};

Box boxOf(const Caption& caption, std::span<const PlacedRow> rows, AspectRatio ratio) noexcept {
    if (caption.style == CaptionStyle::RollUp) {
        const std::size_t count = Places::rollUpRows(caption);
        return {rows.back().row - count, 0, count, columnsOf(ratio)};
    }
    std::size_t begin = columnsOf(ratio);
    std::size_t end = 0;
    for (const PlacedRow& row : rows) {
        begin = std::min(begin, row.column);
        end = std::max(end, row.column + row.cells.size());
    }
    return {rows.front().row - 1, begin, rows.back().row - rows.front().row + 1, end - begin};
}

/// How many rows the first window has.
std::size_t upperRows(std::span<const PlacedRow> rows) noexcept {
    std::size_t count = rows.size();
    std::size_t widest = kRowsBetweenWindows;
    for (std::size_t index = 1; index < rows.size(); ++index) {
        const std::size_t blank = rows[index].row - rows[index - 1].row - 1;
        if (blank >= widest) {
            widest = blank;
            count = index;
        }
    }
    return count;
}

/// Where a window is held of a caption that has two.
AnchorPoint anchorWithin(AnchorPoint anchor, const Box& box) noexcept {
    constexpr std::size_t kMiddle = kRows / 2;
    constexpr int kPointsOfLine = 3;
    const int across = static_cast<int>(anchor) % kPointsOfLine;
    if (box.row + box.rows <= kMiddle) {
        return static_cast<AnchorPoint>(across);
    }
    return box.row > kMiddle ? static_cast<AnchorPoint>(2 * kPointsOfLine + across) : anchor;
}

DefineWindow definitionOf(const Caption& caption, const Box& box, AnchorPoint anchor, std::uint8_t window) noexcept {
    DefineWindow definition;
    definition.window = static_cast<std::uint8_t>(window % kWindows);
    definition.isVisible = caption.style != CaptionStyle::PopOn;
    definition.locksRows = true;
    definition.locksColumns = true;
    definition.anchorPoint = anchor;
    const int point = static_cast<int>(definition.anchorPoint);
    definition.anchorVertical = anchorOf(point / 3, box.row, box.rows);
    definition.anchorHorizontal = anchorOf(point % 3, box.column, box.columns);
    definition.rows = static_cast<std::uint8_t>(box.rows);
    definition.columns = static_cast<std::uint8_t>(box.columns);
    definition.windowStyle = caption.style == CaptionStyle::RollUp ? kRollUpWindow : kPopOnWindow;
    definition.penStyle = kPenStyle;
    return definition;
}

}  // namespace

std::uint8_t encodeCaption(const Caption& caption, const EncodeOptions& options, std::vector<std::uint8_t>& bytes,
                           FindingSink* findings) {
    const Places places(caption, options, findings);
    std::span<const PlacedRow> rest = places.rows();
    const bool isRollUp = caption.style == CaptionStyle::RollUp;
    const AnchorPoint asked = caption.anchor <= AnchorPoint::LowerRight ? caption.anchor : AnchorPoint::LowerLeft;
    const bool hasOther = options.window % kWindows != options.lowerWindow % kWindows;
    const std::size_t upper = isRollUp || !hasOther ? rest.size() : upperRows(rest);
    const bool hasTwo = upper < rest.size();
    // Roll-up captions have all their text in one row: what is asked for tells the rows apart.
    CommandWriter writer(options, bytes, findings, isRollUp);
    std::uint8_t windows = 0;
    for (std::uint8_t number = options.window; !rest.empty(); number = options.lowerWindow) {
        const std::span<const PlacedRow> rows = rest.first(windows == 0 ? upper : rest.size());
        rest = rest.subspan(rows.size());
        const Box box = boxOf(caption, rows, options.aspectRatio);
        const DefineWindow definition = definitionOf(caption, box, hasTwo ? anchorWithin(asked, box) : asked, number);
        windows = static_cast<std::uint8_t>(windows | 1U << definition.window);
        writer.write(definition);
        if (!isRollUp) {
            writer.expectPen(predefinedPen(kPenStyle));
        }
        for (const PlacedRow& row : rows) {
            if (isRollUp) {
                // In a window that is new it goes one row down, where nothing is yet.
                writer.write(Control::CarriageReturn);
            }
            const bool isAtPen = !isRollUp && row.row == box.row + 1 && row.column == box.column;
            writer.writeRow(row, row.row - 1 - box.row, row.column - box.column, isAtPen);
        }
        writer.write(Control::EndOfText);
    }
    return windows;
}

}  // namespace qlx::cea708
