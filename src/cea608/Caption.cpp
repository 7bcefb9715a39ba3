// Encodes captions: which rows they become.
#include "RowEncoder.h"

#include <algorithm>
#include <array>
#include <span>

namespace qlx::cea608 {

namespace {

/// A piece and where it comes from.
struct PlacedPiece {
    std::size_t source = 0;  ///< Index of the caption's row.
    std::size_t first = 0;   ///< Index of its first cell there.
    std::size_t count = 0;
    std::size_t askedRow = 0;
    std::size_t askedColumn = 0;
    std::size_t row = 0;
    std::size_t column = 0;
    bool continues = false;  ///< Behind a break.
};

bool isBlank(const screen::Cell& cell) noexcept {
    return !isShown(cell) || !cell.hasText();
}

/// Finds a place for all rows of a caption.
class Layout {
public:
    /// `isText`: its rows stand where the cursor is.
    Layout(const Caption& caption, FindingSink* findings, std::uint64_t offset, bool isText = false)
        : _caption(caption), _findings(findings), _offset(offset), _isText(isText) {
        for (std::size_t source = 0; source < caption.rows.size(); ++source) {
            breakRow(source);
        }
        if (caption.style == CaptionStyle::RollUp) {
            placeRollUp();
        } else {
            place();
        }
        for (std::size_t index = 0; index < _count; ++index) {
            reportMove(_pieces[index], index + 1 == _count);
        }
    }

    [[nodiscard]] std::size_t size() const noexcept { return _count; }
    [[nodiscard]] Piece operator[](std::size_t index) const noexcept {
        const PlacedPiece& piece = _pieces[index];
        const CaptionRow& source = _caption.rows[piece.source];
        // Roll-up captions have all their text in one row: what is asked for tells the pieces apart.
        const bool isNamedAsAsked = _caption.style == CaptionStyle::RollUp && !_isText;
        return {.cells = std::span(source.cells).subspan(piece.first, piece.count),
                .row = static_cast<std::uint8_t>(piece.row),
                .column = static_cast<std::uint8_t>(piece.column),
                .namedRow = isNamedAsAsked ? source.row : piece.row,
                .namedColumn = isNamedAsAsked ? source.column + piece.first : piece.column};
    }

private:
    void breakRow(std::size_t source);
    void push(std::size_t source, std::size_t first, std::size_t count, bool continues);
    void place();
    void placeRollUp();
    void reportMove(const PlacedPiece& piece, bool isLast) const;

    void add(FindingCode code, std::int64_t first, std::size_t second, Severity severity) const {
        if (_findings != nullptr) {
            _findings->add({code, severity, _offset, first, static_cast<std::int64_t>(second)});
        }
    }

    const Caption& _caption;
    FindingSink* _findings;
    std::uint64_t _offset;
    bool _isText;
    std::array<PlacedPiece, kGreatestCaptionRows> _pieces{};
    std::size_t _count = 0;
};

/// Into pieces that fit.
void Layout::breakRow(std::size_t source) {
    const std::span<const screen::Cell> cells = _caption.rows[source].cells;
    const std::size_t row = _caption.rows[source].row;
    std::size_t end = cells.size();
    while (end > 0 && !isShown(cells[end - 1])) {
        --end;
    }
    const auto behindBlanks = [cells, end](std::size_t index) {
        while (index < end && isBlank(cells[index])) {
            ++index;
        }
        return index;
    };
    std::size_t first = 0;
    while (first < end && !isShown(cells[first])) {
        ++first;
    }
    for (bool continues = false; first < end; continues = true) {
        if (end - first <= kColumns) {
            push(source, first, end - first, continues);
            return;
        }
        std::size_t behind = first + kColumns;
        while (behind > first && !isBlank(cells[behind])) {
            --behind;
        }
        if (behind == first) {
            behind += kColumns;
            push(source, first, kColumns, continues);
            const std::size_t cut = behind;
            while (behind < end && !isBlank(cells[behind])) {
                ++behind;
            }
            add(FindingCode::Cea608RowCut, placeOf(row, cut), behind - cut, Severity::Error);
        } else {
            push(source, first, behind - first, continues);
        }
        first = behindBlanks(behind);
        if (behind < end) {
            add(FindingCode::Cea608RowBroken, placeOf(row, behind), first - behind, Severity::Warning);
        }
    }
}

void Layout::push(std::size_t source, std::size_t first, std::size_t count, bool continues) {
    const CaptionRow& row = _caption.rows[source];
    if (_count == _pieces.size()) {
        add(FindingCode::Cea608RowLeftOut, placeOf(row.row, first), count, Severity::Error);
        return;
    }
    PlacedPiece& piece = _pieces[_count++];
    piece = {.source = source, .first = first, .count = count, .continues = continues};
    piece.askedRow = continues ? 0 : row.row;
    piece.askedColumn = row.column + (continues ? 0 : first);
    piece.column = std::min(piece.askedColumn, kColumns - count);
}

/// Each row where it is asked for, or as near to that as the order of the rows lets it.
void Layout::place() {
    std::size_t least = 1;
    for (std::size_t index = 0; index < _count; ++index) {
        _pieces[index].row = std::max(_pieces[index].askedRow, least);
        least = _pieces[index].row + 1;
    }
    std::size_t greatest = kRows;
    for (std::size_t index = _count; index-- > 0;) {
        _pieces[index].row = std::min(_pieces[index].row, greatest);
        greatest = _pieces[index].row - 1;
    }
}

/// All of them are written into the lowest row.
void Layout::placeRollUp() {
    const std::size_t count = rollUpRowsOf(_caption.rollUpRows);
    std::size_t asked = 0;
    for (std::size_t index = 0; index < _count; ++index) {
        asked = _pieces[index].continues ? asked : _pieces[index].askedRow;
    }
    for (std::size_t index = 0; index < _count; ++index) {
        _pieces[index].row = std::clamp(asked, count, kRows);
    }
}

/// Of roll-up captions only the last row has a place that is asked for.
void Layout::reportMove(const PlacedPiece& piece, bool isLast) const {
    const bool hasAskedRow = !_isText && (_caption.style != CaptionStyle::RollUp || isLast);
    const bool isElsewhere = (hasAskedRow && piece.row != piece.askedRow) || piece.column != piece.askedColumn;
    if (piece.continues || isElsewhere) {
        add(FindingCode::Cea608RowMoved, placeOf(_caption.rows[piece.source].row, piece.first),
            static_cast<std::size_t>(placeOf(piece.row, piece.column)), Severity::Warning);
    }
}

}  // namespace

Code modeCode(Channel channel, CaptionStyle style, std::uint8_t rollUpRows) noexcept {
    Control control = Control::ResumeCaptionLoading;
    if (style == CaptionStyle::RollUp) {
        control = static_cast<Control>(static_cast<std::size_t>(Control::RollUp2) + rollUpRowsOf(rollUpRows) - 2);
    } else if (style == CaptionStyle::PaintOn) {
        control = Control::ResumeDirectCaptioning;
    }
    return controlCode(control, channel.channel, channel.field == 2);
}

Code textCode(Channel channel) noexcept {
    return controlCode(Control::ResumeTextDisplay, channel.channel, channel.field == 2);
}

void encodeText(const TextMessage& text, const EncodeOptions& options, std::vector<CodePair>& pairs,
                FindingSink* findings) {
    PairBuilder out(pairs, text.channel, options.doublesCodes);
    out.control(text.restarts ? Control::TextRestart : Control::ResumeTextDisplay);
    RowEncoder encoder(out, findings, options.findingsOffset);
    // Receivers pass over the row of a preamble in text; for any that does not, it is the one where the cursor is.
    std::size_t line = text.restarts ? 0 : kRows;
    for (const CaptionRow& row : text.rows) {
        Caption one{.style = CaptionStyle::RollUp, .rows = {row}};
        one.rows.front().row = static_cast<std::uint8_t>(std::min(line + 1, kRows));
        const Layout pieces(one, findings, options.findingsOffset, true);
        for (std::size_t index = 0; index < std::max<std::size_t>(pieces.size(), 1); ++index) {
            if (line > 0) {
                out.control(Control::CarriageReturn);
            }
            line = std::min(line + 1, kRows);
            if (index < pieces.size()) {
                Piece piece = pieces[index];
                piece.row = static_cast<std::uint8_t>(line);
                piece.namedRow = line;
                encoder.encode(piece);
            }
        }
    }
}

void encodeCaption(const Caption& caption, const EncodeOptions& options, std::vector<CodePair>& pairs,
                   FindingSink* findings) {
    const Layout rows(caption, findings, options.findingsOffset);
    if (rows.size() == 0) {
        return;
    }
    PairBuilder out(pairs, caption.channel, options.doublesCodes);
    out.code(modeCode(caption.channel, caption.style, caption.rollUpRows));
    if (caption.style == CaptionStyle::PopOn) {
        out.control(Control::EraseNonDisplayedMemory);
    }
    RowEncoder encoder(out, findings, options.findingsOffset);
    for (std::size_t index = 0; index < rows.size(); ++index) {
        if (caption.style == CaptionStyle::RollUp) {
            out.control(Control::CarriageReturn);
        }
        encoder.encode(rows[index]);
    }
}

}  // namespace qlx::cea608
