// Cues as rows of a teletext page: which characters stand where.
#include "base/MakeFinding.h"
#include "playout/CueRows.h"

#include <qlx/playout/teletext.h>
#include <qlx/teletext/row_encoder.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

namespace qlx::playout {

namespace {

/// The rows that a cue's numbers count, as many as there are of double height.
constexpr std::size_t kTallRows = subtitles::kTallTeletextRows;
constexpr std::size_t kColumns = teletext::kDataBytes;
/// Columns of text that begins at the left, whatever its colour.
constexpr std::size_t kUsualColumns = 36;

/// A row of text, in the order in which it is read.
struct TextLine {
    detail::Cells cells;
    std::size_t source = 0;     ///< Index of the cue's row.
    bool isFirst = true;        ///< Of the cue's row.
    std::size_t distance = 0;   ///< Rows of text below the first one.
    std::size_t row = 0;        ///< Of the page.
    std::size_t boxColumn = 0;  ///< Of the page, from 1 on, where a box says it; else 0.
};

class PageMaker {
public:
    /// @param asked The cue.
    /// @param cue The same, with its rows on the 11 of a page.
    PageMaker(const subtitles::Cue& asked, const subtitles::Cue& cue, const TeletextOptions& options,
              FindingSink* findings) noexcept
        : _asked(asked), _cue(cue), _options(options), _findings(findings),
          _set(teletext::shownSet(options.designation, options.designation)),
          _greatest(options.isDoubleHeight ? kTallRows : teletext::kLastTextRow),
          _height(options.isDoubleHeight ? 2 : 1) {}

    std::vector<teletext::PageRow> make() {
        for (std::size_t source = 0; source < _cue.rows.size(); ++source) {
            addRow(source);
        }
        std::vector<teletext::PageRow> rows;
        if (_lines.empty()) {
            return rows;
        }
        if (!setRowsOfBox() && !setNamedRows() && !setRowsAtEdges()) {
            setDistances();
            const std::size_t first = firstRow();
            for (TextLine& line : _lines) {
                line.row = (first + line.distance) * _height + _height;
            }
        }
        for (const TextLine& line : _lines) {
            rows.push_back(rowOf(line));
        }
        return rows;
    }

private:
    void report(FindingCode code, Severity severity, std::size_t source, std::size_t count) const {
        if (_findings != nullptr) {
            _findings->add(makeFinding(code, severity, _options.findingsOffset, source + 1, count));
        }
    }

    /// Of text that begins with these: with the first of its letters, or any where the display order is another.
    [[nodiscard]] std::size_t leadOf(std::span<const screen::Cell> cells, bool isDisplayed) const noexcept {
        using screen::Color;
        const auto letter = std::find_if(cells.begin(), cells.end(), [&](const screen::Cell& cell) {
            const bool hasLetter = cell.character != U' ' && cell.character != U'\u00A0';
            const bool isWhite = teletext::letterColor(cell.foreground) == Color::White;
            return hasLetter && (isDisplayed || !_set.isRightToLeft() || !isWhite);
        });
        return teletext::leadingCodes(_options.isDoubleHeight,
                                      letter == cells.end() ? Color::White : letter->foreground);
    }

    /// The same with the codes of what is behind the letters and of flashing, where the row has room for them.
    [[nodiscard]] std::size_t wholeLeadOf(std::span<const screen::Cell> cells) const noexcept {
        const auto letter =
            std::find_if(cells.begin(), cells.end(), [](const screen::Cell& cell) { return cell.hasText(); });
        return letter == cells.end() ? leadOf(cells, true)
                                     : teletext::leadingCodes(_options.isDoubleHeight, *letter, cells.size());
    }

    /// Three points for each character of that look which the set lacks, where the row has room for all of them.
    void spellEllipses(detail::Cells& cells) const {
        constexpr char32_t kEllipsis = U'\u2026';
        const auto isEllipsis = [](const screen::Cell& cell) { return cell.character == kEllipsis; };
        const auto count = static_cast<std::size_t>(std::count_if(cells.begin(), cells.end(), isEllipsis));
        if (count == 0 || teletext::encodeCharacter(kEllipsis, _set).fit == teletext::CellCode::Fit::Exact ||
            cells.size() + 2 * count > kColumns - leadOf(cells, false)) {
            return;
        }
        detail::Cells spelt;
        for (screen::Cell cell : cells) {
            const std::size_t points = isEllipsis(cell) ? 3 : 1;
            cell.character = isEllipsis(cell) ? U'.' : cell.character;
            spelt.insert(spelt.end(), points, cell);
        }
        cells = std::move(spelt);
        if (_findings != nullptr) {
            _findings->add(makeFinding(FindingCode::TeletextCharacterReplaced, Severity::Remark,
                                       _options.findingsOffset, kEllipsis, U'.'));
        }
    }

    void addRow(std::size_t source) {
        std::size_t bold = 0;
        detail::Cells cells = detail::cellsOf(_cue.rows[source], bold);
        detail::joinMarks(cells, _cue.rows[source].alignment == subtitles::Alignment::Unchanged, _findings,
                          _options.findingsOffset);
        spellEllipses(cells);
        if (bold > 0) {
            report(FindingCode::PlayoutBoldLeftOut, Severity::Remark, source, bold);
        }
        std::span<const screen::Cell> rest = cells;
        while (!rest.empty()) {
            const auto line = rest.first(detail::sizeOfLine(rest, kColumns - leadOf(rest, false)));
            detail::Cells kept(line.begin(), line.end());
            detail::trimEnd(kept);
            // Spaces that fill a row take none of the page's.
            if (!kept.empty() && _lines.size() == _greatest) {
                report(FindingCode::PlayoutPageFull, Severity::Error, source, rest.size());
                return;
            }
            if (!kept.empty()) {
                const bool isFirst = _lines.empty() || _lines.back().source != source;
                _lines.push_back({.cells = std::move(kept), .source = source, .isFirst = isFirst});
            }
            rest = detail::withoutSpaces(rest.subspan(line.size()));
            if (!rest.empty()) {
                report(FindingCode::PlayoutRowBroken, Severity::Remark, source, cells.size() - rest.size());
            }
        }
    }

    /// Rows stand on those of the page that are where the cue's box is; what is broken, and rows without text, are rows of
    /// it too. False where the box is not one of a page, or they have no room.
    bool setRowsOfBox() {
        const subtitles::ScreenGrid page{.rows = subtitles::kTeletextScreenRows,
                                         .columns = kColumns,
                                         .first = 2,  // Behind the header.
                                         .last = teletext::kLastTextRow + 1,
                                         .height = static_cast<std::uint16_t>(_height)};
        if (!detail::isBoxOf(_asked, page)) {
            return false;
        }
        subtitles::Cue inBox;
        std::vector<std::size_t> places;
        for (std::size_t index = 0; index < _lines.size(); ++index) {
            const std::size_t source = _lines[index].source;
            const std::size_t rows = index == 0 ? source + 1 : source - _lines[index - 1].source;
            inBox.rows.resize(inBox.rows.size() + std::max<std::size_t>(rows, 1));
            inBox.rows.back().alignment = _cue.rows[source].alignment;
            places.push_back(inBox.rows.size() - 1);
        }
        inBox.rows.resize(inBox.rows.size() + _cue.rows.size() - 1 - _lines.back().source);
        placeRows(inBox, *_asked.box, page);
        if (inBox.screenRows == 0) {
            return false;
        }
        for (std::size_t index = 0; index < _lines.size(); ++index) {
            const subtitles::Row& row = inBox.rows[places[index]];
            _lines[index].row = static_cast<std::size_t>(row.number) - 1;
            _lines[index].boxColumn = row.column;
        }
        return true;
    }

    /// The row of the page that the cue names for a line.
    [[nodiscard]] std::optional<std::uint64_t> namedRow(const TextLine& line) const noexcept {
        return line.isFirst ? subtitles::teletextRowOf(_asked.screenRows, _asked.rows[line.source].number)
                            : std::nullopt;
    }

    /// Rows stand where the cue names rows of the page; one that has no room there stands below the one in front of it,
    /// and all go up as far as they must. False when the cue names none for the first line.
    bool setNamedRows() {
        if (!namedRow(_lines.front())) {
            return false;
        }
        std::size_t last = _options.isDoubleHeight ? teletext::kLastTallRow : teletext::kLastTextRow;
        std::size_t free = 1;
        for (std::size_t index = 0; index < _lines.size(); ++index) {
            const std::size_t blank = index == 0 ? 0 : _lines[index].source - _lines[index - 1].source;
            const std::size_t next = free + (blank > 1 ? (blank - 1) * _height : 0);
            const std::uint64_t wanted = namedRow(_lines[index]).value_or(next);
            _lines[index].row = std::max(static_cast<std::size_t>(std::min<std::uint64_t>(wanted, last)), free);
            free = _lines[index].row + _height;
        }
        for (auto line = _lines.rbegin(); line != _lines.rend(); ++line) {
            line->row = std::min(line->row, last);
            last = line->row - std::min(line->row, _height);
        }
        reportMoved();
        return true;
    }

    [[nodiscard]] subtitles::BoxEdge edgeOf(const TextLine& line) const noexcept {
        return subtitles::edgeOf(_cue.rows[line.source].anchor);
    }

    /// Rows of cues that are shown together may stand at several edges: those of one stand side by side at it. False where
    /// a row has a number, and where all stand at one.
    bool setRowsAtEdges() {
        const bool hasNumbers = std::any_of(
            _lines.begin(), _lines.end(), [this](const TextLine& line) { return _cue.rows[line.source].number != 0; });
        const auto isHigher = [this](const TextLine& left, const TextLine& right) {
            return edgeOf(left) < edgeOf(right);
        };
        const auto [highest, lowest] = std::minmax_element(_lines.begin(), _lines.end(), isHigher);
        if (hasNumbers || edgeOf(*highest) == edgeOf(*lowest)) {
            return false;
        }
        std::stable_sort(_lines.begin(), _lines.end(), isHigher);
        std::size_t row = 0;
        for (auto begin = _lines.begin(); begin != _lines.end();) {
            const auto end = std::upper_bound(begin, _lines.end(), *begin, isHigher);
            row = std::max(row, rowsAbove(static_cast<std::size_t>(end - begin), edgeOf(*begin)));
            // As many as there are behind have room below.
            for (; begin != end; ++begin, ++row) {
                const auto behind = static_cast<std::size_t>(_lines.end() - begin);
                row = std::min(row, _greatest - behind);
                begin->row = row * _height + _height;
            }
        }
        return true;
    }

    /// Of the page above `height` of them, in rows as high as the text.
    [[nodiscard]] std::size_t rowsAbove(std::size_t height, subtitles::BoxEdge edge) const noexcept {
        const std::size_t lowest = _greatest - height;
        return edge == subtitles::BoxEdge::Top ? 0 : edge == subtitles::BoxEdge::Middle ? (lowest + 1) / 2 : lowest;
    }

    void reportMoved() const {
        constexpr std::uint64_t kGreatest = std::numeric_limits<std::int64_t>::max();
        for (const TextLine& line : _lines) {
            const auto named = namedRow(line);
            if (named && *named != line.row && _findings != nullptr) {
                _findings->add(makeFinding(FindingCode::PlayoutPageRowMoved, Severity::Warning, _options.findingsOffset,
                                           std::min(*named, kGreatest), line.row));
            }
        }
    }

    /// Rows of the cue keep theirs, if there is room.
    void setDistances() {
        for (std::size_t index = 1; index < _lines.size(); ++index) {
            const TextLine& before = _lines[index - 1];
            const std::uint64_t upper = _cue.rows[before.source].number;
            const std::uint64_t lower = _cue.rows[_lines[index].source].number;
            const std::size_t rows = _lines[index].source - before.source;
            const std::uint64_t distance = upper == 0 || lower == 0 ? rows : lower > upper ? lower - upper : 1;
            _lines[index].distance =
                before.distance + static_cast<std::size_t>(std::clamp<std::uint64_t>(distance, 1, kTallRows));
        }
        if (_lines.back().distance >= _greatest) {
            for (std::size_t index = 0; index < _lines.size(); ++index) {
                _lines[index].distance = index;
            }
        }
    }

    /// Counted from 0, in rows as high as the text.
    [[nodiscard]] std::size_t firstRow() const noexcept {
        const std::size_t height = _lines.back().distance + 1;
        const subtitles::Row& last = _cue.rows[_lines.back().source];
        if (last.number != 0) {
            const std::size_t place = static_cast<std::size_t>(std::min<std::uint64_t>(last.number, kTallRows)) - 1;
            const std::size_t end = place * (_greatest - 1) / (kTallRows - 1) + 1;
            return end > height ? end - height : 0;
        }
        return rowsAbove(height, edgeOf(_lines.front()));
    }

    [[nodiscard]] teletext::PageRow rowOf(const TextLine& line) const {
        teletext::PageRow row;
        row.isDoubleHeight = _options.isDoubleHeight;
        row.row = static_cast<std::uint8_t>(line.row);
        const auto shown = detail::withoutSpaces(line.cells);
        const std::size_t spaces = line.cells.size() - shown.size();
        row.cells = displayed(shown);
        const std::size_t size = row.cells.size();
        const std::size_t lead = wholeLeadOf(row.cells);
        const std::size_t left = std::max(lead, kColumns - kUsualColumns - (row.isDoubleHeight ? 0 : 1));
        std::size_t column = left + spaces;
        if (_cue.rows[line.source].alignment == subtitles::Alignment::Center) {
            column = (kColumns - size) / 2;
        } else if (_cue.rows[line.source].alignment == subtitles::Alignment::Right) {
            // The end of the box stands behind it.
            column = kColumns - size - std::min<std::size_t>(2, kColumns - size);
        }
        column = std::clamp(column, lead, std::max(lead, kColumns - size));
        if (line.boxColumn != 0) {
            column = std::clamp(line.boxColumn - 1U + spaces, lead, std::max(lead, kColumns - size));
        } else if (const std::uint16_t named = _asked.rows[line.source].column;
                   line.isFirst && named != 0 && _asked.screenColumns == kColumns) {
            column = std::min<std::size_t>(named - 1U + spaces, kColumns - 1);
        } else if (line.isFirst && named != 0 && _asked.screenColumns != 0) {
            const subtitles::ScreenColumn place = subtitles::withoutFrame(named, _asked.screenColumns);
            const std::size_t alike = detail::columnLike(place.column, line.cells.size(), place.columns, kColumns);
            column = std::clamp(alike + spaces, lead, std::max(lead, kColumns - size));
        }
        row.column = static_cast<std::uint8_t>(column);
        return row;
    }

    /// From the left to the right.
    [[nodiscard]] detail::Cells displayed(std::span<const screen::Cell> cells) const {
        std::u32string text;
        for (const screen::Cell& cell : cells) {
            text += cell.character;
        }
        PlacedSink sink(_findings, _options.findingsOffset);
        detail::Cells result;
        for (const teletext::DisplayCell& display : teletext::displayCells(text, _set, &sink)) {
            result.push_back(cells[display.source]);
            result.back().character = display.character;
        }
        return result;
    }

    const subtitles::Cue& _asked;
    const subtitles::Cue& _cue;
    const TeletextOptions& _options;
    FindingSink* _findings;
    teletext::CharacterSet _set;
    std::size_t _greatest;
    std::size_t _height;  ///< Rows of the page of one of text.
    std::vector<TextLine> _lines;
};

}  // namespace

std::vector<teletext::PageRow> teletextRowsOf(const subtitles::Cue& cue, const TeletextOptions& options,
                                              FindingSink* findings) {
    if (cue.screenRows != 0) {
        return PageMaker(cue, subtitles::withPageRows(cue), options, findings).make();
    }
    return PageMaker(cue, cue, options, findings).make();
}

}  // namespace qlx::playout
