// Cues as captions: which characters stand where.
#include <qlx/playout/captions.h>

#include "base/MakeFinding.h"
#include "playout/CueRows.h"

#include <qlx/cc/slots.h>
#include <qlx/cea708/caption.h>
#include <qlx/cea708/window.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace qlx::playout {

namespace {

using detail::Cells;

// The rows that a cue's numbers count, and the one in the middle.
constexpr std::uint64_t kPageRows = subtitles::kTallTeletextRows;
constexpr std::uint64_t kMiddlePageRow = 6;
// Rows no further apart than this, one of them free, are those of one text.
constexpr std::uint64_t kNearRows = 2;

/// A row of the caption.
struct Line {
    Cells cells;
    std::size_t source = 0;    ///< Index of the cue's row.
    bool isFirst = true;       ///< Of the cue's row.
    std::size_t distance = 0;  ///< Rows below the first one.
    std::size_t row = 0;       ///< Of the screen.
};

class CaptionMaker {
public:
    /// @param asked The cue.
    /// @param cue The same, with its rows on the 11 of a page.
    CaptionMaker(const subtitles::Cue& asked, const subtitles::Cue& cue, const CaptionOptions& options,
                 cea708::AspectRatio ratio, FindingSink* findings) noexcept
        : _asked(asked), _cue(cue), _options(options), _columns(cea708::columnsOf(ratio)),
          _first(cea708::columnOfLine21(0, ratio)), _findings(findings) {}

    void make(cea608::Caption& caption) {
        for (std::size_t source = 0; source < _cue.rows.size(); ++source) {
            addRow(source);
        }
        if (_lines.empty()) {
            return;
        }
        if (!setNamedRows()) {
            placeBlocks();
            placeAtEdges();
        }
        for (Line& line : _lines) {
            caption.rows.push_back({static_cast<std::uint8_t>(line.row), columnOf(line), std::move(line.cells)});
        }
    }

private:
    [[nodiscard]] subtitles::BoxEdge edgeOf(const Line& line) const noexcept {
        return subtitles::edgeOf(_cue.rows[line.source].anchor);
    }

    /// Rows of cues that are shown together may stand at several edges: those of one stand side by side at it.
    void placeAtEdges() {
        const bool hasNumbers = std::any_of(_lines.begin(), _lines.end(),
                                            [this](const Line& line) { return _cue.rows[line.source].number != 0; });
        const auto isHigher = [this](const Line& left, const Line& right) { return edgeOf(left) < edgeOf(right); };
        const auto [highest, lowest] = std::minmax_element(_lines.begin(), _lines.end(), isHigher);
        if (hasNumbers || edgeOf(*highest) == edgeOf(*lowest)) {
            return;
        }
        std::stable_sort(_lines.begin(), _lines.end(), isHigher);
        for (auto begin = _lines.begin(); begin != _lines.end();) {
            const auto end = std::upper_bound(begin, _lines.end(), *begin, isHigher);
            const std::size_t last = cea608::kRows - static_cast<std::size_t>(end - begin) + 1;
            const subtitles::BoxEdge edge = edgeOf(*begin);
            std::size_t row = edge == subtitles::BoxEdge::Top      ? 1
                              : edge == subtitles::BoxEdge::Middle ? (last + 1) / 2
                                                                   : last;
            for (; begin != end; ++begin) {
                begin->row = row++;
            }
        }
    }

    void report(FindingCode code, Severity severity, std::size_t source, std::size_t count) const {
        if (_findings != nullptr) {
            _findings->add(makeFinding(code, severity, _options.findingsOffset, source + 1, count));
        }
    }

    void addRow(std::size_t source) {
        std::size_t bold = 0;
        Cells cells = detail::cellsOf(_cue.rows[source], bold);
        detail::joinMarks(cells, _cue.rows[source].alignment == subtitles::Alignment::Unchanged, _findings,
                          _options.findingsOffset);
        if (bold > 0) {
            report(FindingCode::PlayoutBoldLeftOut, Severity::Remark, source, bold);
        }
        std::span<const screen::Cell> rest = cells;
        while (!rest.empty()) {
            const std::size_t size = detail::sizeOfLine(rest, cea608::kColumns);
            const auto line = rest.first(size);
            rest = rest.subspan(size);
            Cells kept(line.begin(), line.end());
            detail::trimEnd(kept);
            // Spaces that fill a row take none of the places.
            if (!kept.empty() && _lines.size() == cea608::kGreatestCaptionRows) {
                report(FindingCode::PlayoutRowLeftOut, Severity::Error, source, size + rest.size());
                return;
            }
            if (!kept.empty()) {
                const bool isFirst = _lines.empty() || _lines.back().source != source;
                _lines.push_back({.cells = std::move(kept), .source = source, .isFirst = isFirst});
            }
            rest = detail::withoutSpaces(rest);
            if (!rest.empty()) {
                report(FindingCode::PlayoutRowBroken, Severity::Remark, source, cells.size() - rest.size());
            }
        }
    }

    /// Rows stand on those of captions that the cue names, if there is room for all of them. False where it names none.
    bool setNamedRows() {
        if (_asked.screenRows != cea608::kRows) {
            return false;
        }
        std::uint64_t last = 0;
        for (Line& line : _lines) {
            const std::uint64_t named = _asked.rows[line.source].number;
            const std::uint64_t row = line.isFirst ? named : last + 1;
            if (named == 0 || row <= last || row > cea608::kRows) {
                return false;
            }
            line.row = static_cast<std::size_t>(row);
            last = row;
        }
        return true;
    }

    /// Rows that are near to one another go together.
    void placeBlocks() {
        for (std::span<Line> rest = _lines; !rest.empty();) {
            const std::span<Line> block = rest.first(sizeOfBlock(rest));
            setDistances(block);
            const std::size_t first = firstRow(block);
            for (Line& line : block) {
                line.row = first + line.distance;
            }
            rest = rest.subspan(block.size());
        }
        keepOrder();
    }

    [[nodiscard]] std::size_t sizeOfBlock(std::span<const Line> lines) const noexcept {
        std::size_t size = 1;
        while (size < lines.size() && !isApart(lines[size - 1], lines[size])) {
            ++size;
        }
        return size;
    }

    [[nodiscard]] bool isApart(const Line& before, const Line& line) const noexcept {
        const std::uint64_t upper = _cue.rows[before.source].number;
        const std::uint64_t lower = _cue.rows[line.source].number;
        return upper != 0 && lower > upper && lower - upper > kNearRows;
    }

    /// Each below the one in front of it, and all of them on the screen.
    void keepOrder() noexcept {
        for (std::size_t index = 1; index < _lines.size(); ++index) {
            _lines[index].row = std::max(_lines[index].row, _lines[index - 1].row + 1);
        }
        std::size_t lowest = cea608::kRows;
        for (auto line = _lines.rbegin(); line != _lines.rend(); ++line) {
            line->row = std::min(line->row, lowest);
            lowest = line->row - 1;
        }
    }

    /// Rows of the cue keep theirs, if there is room.
    void setDistances(std::span<Line> lines) const {
        for (std::size_t index = 1; index < lines.size(); ++index) {
            const Line& before = lines[index - 1];
            lines[index].distance = before.distance + distanceOf(before.source, lines[index].source);
        }
        if (lines.back().distance >= cea608::kRows) {
            for (std::size_t index = 0; index < lines.size(); ++index) {
                lines[index].distance = index;
            }
        }
    }

    /// Of two rows of the cue that follow one another, with none but empty ones between them.
    [[nodiscard]] std::size_t distanceOf(std::size_t before, std::size_t source) const {
        const std::uint64_t upper = _cue.rows[before].number;
        const std::uint64_t lower = _cue.rows[source].number;
        if (upper == 0 || lower == 0) {
            return std::max<std::size_t>(source - before, 1);
        }
        if (lower <= upper && source != before) {
            report(FindingCode::PlayoutRowMoved, Severity::Remark, source, static_cast<std::size_t>(lower));
        }
        return lower > upper ? static_cast<std::size_t>(std::min<std::uint64_t>(lower - upper, cea608::kRows)) : 1;
    }

    [[nodiscard]] std::size_t firstRow(std::span<const Line> lines) const noexcept {
        const std::size_t height = lines.back().distance + 1;
        const std::size_t lowest = cea608::kRows - height + 1;
        const subtitles::Row& first = _cue.rows[lines.front().source];
        const subtitles::Row& last = _cue.rows[lines.back().source];
        if (last.number != 0 && first.number != 0 && last.number < kMiddlePageRow) {
            return std::min(spread(first.number), lowest);
        }
        if (last.number != 0) {
            const std::size_t end = spread(last.number);
            return end > height ? end - height + 1 : 1;
        }
        const subtitles::BoxEdge edge = subtitles::edgeOf(first.anchor);
        return edge == subtitles::BoxEdge::Top ? 1 : edge == subtitles::BoxEdge::Middle ? (lowest + 1) / 2 : lowest;
    }

    /// The row of a number: 1 is 1, 11 is 15.
    static std::size_t spread(std::uint64_t number) noexcept {
        const std::uint64_t place = std::min(number, kPageRows) - 1;
        return static_cast<std::size_t>(1 + (place * (cea608::kRows - 1) + (kPageRows - 1) / 2) / (kPageRows - 1));
    }

    [[nodiscard]] std::uint8_t columnOf(const Line& line) const noexcept {
        const std::uint16_t named = _asked.rows[line.source].column;
        // What is broken goes on below its beginning where that may be anywhere in a wide picture.
        const bool isWide = _first != 0 && _asked.screenColumns == cea708::kWideColumns;
        const bool isNamed = (line.isFirst || isWide) && named != 0 && _asked.screenColumns != 0;
        return static_cast<std::uint8_t>(isNamed ? namedColumn(named, line.cells.size())
                                                 : _first + alignedColumn(line));
    }

    /// Among those of CEA-608.
    [[nodiscard]] std::size_t alignedColumn(const Line& line) const noexcept {
        const std::size_t room = cea608::kColumns - line.cells.size();
        switch (_cue.rows[line.source].alignment) {
        case subtitles::Alignment::Center:
            return room / 2;
        case subtitles::Alignment::Right:
            return room;
        case subtitles::Alignment::Left:
            return std::min(codesInFrontOf(line.cells.front()), room);
        default:
            return 0;
        }
    }

    /// The columns of wide pictures of CTA-708 have those of captions in their middle.
    [[nodiscard]] std::size_t namedColumn(std::uint16_t named, std::size_t size) const noexcept {
        const subtitles::ScreenColumn place = subtitles::withoutFrame(named, _asked.screenColumns);
        if (place.columns == cea708::kWideColumns) {
            const std::size_t left = cea708::columnOfLine21(0) - _first;
            return std::min(place.column - std::min<std::size_t>(place.column, left + 1), _columns - size);
        }
        const std::size_t column = detail::columnLike(place.column, size, place.columns, cea608::kColumns);
        return _first + std::min(column, cea608::kColumns - size);
    }

    /// Columns for what a preamble does not say of the first letter.
    [[nodiscard]] static std::size_t codesInFrontOf(const screen::Cell& cell) noexcept {
        return (cell.background != screen::Color::Black ? 1U : 0U) + (cell.isFlashing ? 1U : 0U);
    }

    const subtitles::Cue& _asked;
    const subtitles::Cue& _cue;
    const CaptionOptions& _options;
    std::size_t _columns;  ///< Of the screen.
    std::size_t _first;    ///< Of the columns of CEA-608 on it.
    FindingSink* _findings;
    std::vector<Line> _lines;
};

/// The cue with its columns counted on a wide picture, where its box came from one.
subtitles::Cue withColumnsOf(subtitles::Cue cue, cea708::AspectRatio ratio) {
    const subtitles::ScreenGrid wide{.columns = cea708::kWideColumns};
    if (ratio == cea708::AspectRatio::Wide && detail::isBoxOf(cue, wide)) {
        subtitles::Cue placed = cue;
        placeRows(placed, *cue.box, wide);
        cue.screenColumns = placed.screenColumns;
        for (std::size_t index = 0; index < cue.rows.size(); ++index) {
            cue.rows[index].column = placed.rows[index].column;
        }
    }
    return cue;
}

}  // namespace

Result<cea608::Caption> detail::captionOnScreen(const subtitles::Cue& cue, FrameRate rate,
                                                const CaptionOptions& options, cea708::AspectRatio ratio,
                                                FindingSink* findings) {
    const auto start = firstFrameAtOrAfter(cue.start, rate);
    const auto end = firstFrameAtOrAfter(cue.end, rate);
    if (!start || !end) {
        return makeFinding(FindingCode::PlayoutTimeWrong, Severity::Error, options.findingsOffset, start ? 2 : 1);
    }
    cea608::Caption caption;
    caption.start = *start;
    caption.end = *end;
    caption.channel = options.channel;
    caption.style = options.style;
    caption.rollUpRows = options.rollUpRows;
    const subtitles::Cue asked = withColumnsOf(cue, ratio);
    CaptionMaker(asked, subtitles::withPageRows(asked), options, ratio, findings).make(caption);
    return caption;
}

Result<cea608::Caption> captionOf(const subtitles::Cue& cue, FrameRate rate, const CaptionOptions& options,
                                  FindingSink* findings) {
    return detail::captionOnScreen(cue, rate, options, cea708::AspectRatio::Standard, findings);
}

cc::Cdp cdpOf(const cea608::FramePairs& pairs, FrameRate rate, std::uint16_t counter) noexcept {
    std::array<cc::Triplet, cc::kGreatestTriplets> triplets{};
    std::size_t count = 0;
    const auto put = [&triplets, &count](cc::CcType field, const std::optional<cea608::Pair>& pair) {
        if (pair) {
            triplets[count++] = cc::Triplet::make(field, pair->first, pair->second);
        }
    };
    put(cc::CcType::Field1, pairs.field1);
    put(cc::CcType::Field2, pairs.field2);
    cc::Cdp cdp;
    cdp.setFrameRate(rate);
    cdp.setSequenceCounter(counter);
    // No rate has more than there is room for.
    static_cast<void>(cdp.setTriplets(std::span(triplets).first(cc::slotsOf(rate).ccCount)));
    return cdp;
}

bool CaptionPlayout::add(const subtitles::Cue& cue, CaptionOptions options, FindingSink* findings) {
    options.findingsOffset = _cues++;
    const Result<cea608::Caption> caption = captionOf(cue, _rate, options, findings);
    if (caption) {
        return _writer.add(*caption, findings);
    }
    if (findings != nullptr) {
        findings->add(caption.error());
    }
    // The writer goes on counting: it leaves an empty one out.
    static_cast<void>(_writer.add({}));
    return false;
}

cc::Cdp CaptionPlayout::next(FindingSink* findings) {
    const auto counter = static_cast<std::uint16_t>(_writer.frame());
    return cdpOf(_writer.next(findings), _rate, counter);
}

}  // namespace qlx::playout
