#include <qlx/subtitles/shown_together.h>

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <qlx/subtitles/box.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

namespace qlx::subtitles {

namespace {

bool hasText(const Row& row) {
    return std::any_of(row.runs.begin(), row.runs.end(), [](const Run& run) { return !run.text.empty(); });
}

/// The number of the first row that has one; 0: none has.
std::uint64_t firstNumber(const Cue& cue) {
    const auto row = std::find_if(cue.rows.begin(), cue.rows.end(),
                                  [](const Row& each) { return hasText(each) && each.number != 0; });
    return row == cue.rows.end() ? 0 : row->number;
}

std::uint16_t rowsOfScreen(const Cue& cue) noexcept {
    return cue.screenRows == 0 ? kTallTeletextRows : cue.screenRows;
}

/// Teletext counts the rows of its pages in single height, and shows text in double height.
bool isTeletextScreen(std::uint16_t rows) noexcept {
    return rows == kTeletextRows || rows == kTeletextScreenRows;
}

/// The rows of the screen of those that name rows; of a page where they are different ones.
std::uint16_t commonRows(const std::vector<Cue>& cues) {
    const auto isNamed = [](const Cue& cue) { return firstNumber(cue) != 0; };
    const auto first = std::find_if(cues.begin(), cues.end(), isNamed);
    const std::uint16_t rows = rowsOfScreen(*first);
    const bool isCommon =
        std::all_of(first, cues.end(), [&](const Cue& cue) { return !isNamed(cue) || rowsOfScreen(cue) == rows; });
    const bool needsPlaces = !std::all_of(cues.begin(), cues.end(), isNamed) && isTeletextScreen(rows);
    return isCommon && !needsPlaces ? rows : kTallTeletextRows;
}

/// Where a cue without numbers stands, as its first row with text says.
BoxEdge edgeOfText(const Cue& cue) {
    const auto row = std::find_if(cue.rows.begin(), cue.rows.end(), hasText);
    return row == cue.rows.end() ? BoxEdge::Bottom : edgeOf(row->anchor);
}

/// Gives rows without numbers those of their place.
void nameRows(Cue& cue, std::uint16_t screenRows) {
    const BoxEdge edge = edgeOfText(cue);
    const std::uint64_t free = screenRows - std::min<std::uint64_t>(cue.rows.size(), screenRows);
    std::uint64_t number = (edge == BoxEdge::Top ? 0 : edge == BoxEdge::Middle ? (free + 1) / 2 : free) + 1;
    for (Row& each : cue.rows) {
        each.number = std::min<std::uint64_t>(number++, screenRows);
    }
}

void useColumns(Cue& cue, std::uint16_t screenColumns) {
    for (Row& row : cue.rows) {
        if (row.column != 0 && cue.screenColumns != 0) {
            const std::uint32_t column = (row.column - std::uint32_t{1}) * screenColumns / cue.screenColumns + 1;
            row.column = static_cast<std::uint16_t>(std::min<std::uint32_t>(column, screenColumns));
        }
    }
    cue.screenColumns = screenColumns;
}

/// All on one screen.
void useOneScreen(std::vector<Cue>& cues) {
    std::uint16_t columns = 0;
    for (const Cue& cue : cues) {
        columns = std::max(columns, cue.screenColumns);
    }
    for (Cue& cue : cues) {
        useColumns(cue, columns);
    }
    if (std::all_of(cues.begin(), cues.end(), [](const Cue& cue) { return firstNumber(cue) == 0; })) {
        return;
    }
    const std::uint16_t rows = commonRows(cues);
    for (Cue& cue : cues) {
        if (firstNumber(cue) == 0) {
            nameRows(cue, rows);
        } else if (rowsOfScreen(cue) != rows) {
            cue = withPageRows(std::move(cue));
        }
        cue.screenRows = rows == kTallTeletextRows ? std::uint16_t{0} : rows;
    }
}

std::vector<Row> rowsOf(std::vector<Cue>& cues) {
    std::vector<Row> rows;
    for (Cue& cue : cues) {
        std::move(cue.rows.begin(), cue.rows.end(), std::back_inserter(rows));
    }
    return rows;
}

/// Text on rows of which each has a number of its own.
bool haveOwnNumbers(const std::vector<Cue>& cues) {
    std::vector<std::uint64_t> numbers;
    for (const Cue& cue : cues) {
        for (const Row& row : cue.rows) {
            if (hasText(row)) {
                numbers.push_back(row.number);
            }
        }
    }
    std::sort(numbers.begin(), numbers.end());
    return !numbers.empty() && numbers.front() != 0 &&
           std::adjacent_find(numbers.begin(), numbers.end()) == numbers.end();
}

std::vector<Row> fromTheTop(std::vector<Cue>& cues) {
    if (haveOwnNumbers(cues)) {
        std::vector<Row> rows = rowsOf(cues);
        std::erase_if(rows, [](const Row& row) { return !hasText(row); });
        std::sort(rows.begin(), rows.end(),
                  [](const Row& left, const Row& right) { return left.number < right.number; });
        return rows;
    }
    // None has a number, or all have.
    const auto isHigher = [](const Cue& left, const Cue& right) {
        const std::uint64_t number = firstNumber(left);
        return number == 0 ? edgeOfText(left) < edgeOfText(right) : number < firstNumber(right);
    };
    std::stable_sort(cues.begin(), cues.end(), isHigher);
    return rowsOf(cues);
}

MediaTime laterOf(const MediaTime& left, const MediaTime& right) noexcept {
    return secondsFrom(left) < secondsFrom(right) ? right : left;
}

}  // namespace

Cue shownTogether(std::span<const Cue> cues) {
    if (cues.empty()) {
        return {};
    }
    Cue shown = cues.front();
    for (const Cue& cue : cues.subspan(1)) {
        shown.end = laterOf(shown.end, cue.end);
        shown.language = shown.language == cue.language ? shown.language : std::string();
        shown.region = shown.region == cue.region ? shown.region : std::string();
        shown.box = shown.box == cue.box ? shown.box : std::nullopt;
    }
    if (cues.size() > 1) {
        std::vector<Cue> parts(cues.begin(), cues.end());
        useOneScreen(parts);
        shown.screenRows = parts.front().screenRows;
        shown.screenColumns = parts.front().screenColumns;
        shown.rows = fromTheTop(parts);
    }
    return shown;
}

}  // namespace qlx::subtitles
