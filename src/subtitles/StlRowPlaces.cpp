#include "subtitles/StlRowPlaces.h"

#include "subtitles/CueWriting.h"

#include <qlx/subtitles/box.h>

#include <algorithm>
#include <string>

namespace qlx::subtitles {

namespace {

bool hasLetters(const Row& row) {
    return std::any_of(row.runs.begin(), row.runs.end(),
                       [](const Run& run) { return run.text.find_first_not_of(" \t\r\n") != std::string::npos; });
}

bool isHigher(const Row& left, const Row& right) noexcept {
    return edgeOf(left.anchor) < edgeOf(right.anchor);
}

/// Whether two are shown together. That cues touch for a frame or two is no such thing: many files have it everywhere, and
/// cues shorter than a frame last one.
bool areTogether(const StlRowTaken& left, const StlRowTaken& right) noexcept {
    constexpr std::int64_t kTouching = 2;
    return std::min(left.to, right.to) - std::max(left.from, right.from) > kTouching;
}

/// The first of some rows of the screen that is taken while something is shown; 0 for none.
std::uint64_t firstTaken(std::span<const StlRowTaken> taken, std::uint64_t first, std::uint64_t last,
                         const StlRowTaken& shown) noexcept {
    for (std::uint64_t row = first; row <= last && row < taken.size(); ++row) {
        if (row != 0 && areTogether(taken[row], shown)) {
            return row;
        }
    }
    return 0;
}

}  // namespace

StlRowPlaces::StlRowPlaces(const Cue& cue, std::uint64_t screenRows, std::uint64_t height)
    : _cue(cue), _screen(screenRows), _height(height),
      _areNumbered(std::all_of(cue.rows.begin(), cue.rows.end(),
                               [](const Row& row) { return row.number != 0 || !hasLetters(row); })),
      _areAtEdges(!cue.rows.empty() &&
                  std::all_of(cue.rows.begin(), cue.rows.end(), [](const Row& row) { return row.number == 0; }) &&
                  std::is_sorted(cue.rows.begin(), cue.rows.end(), isHigher) &&
                  isHigher(cue.rows.front(), cue.rows.back())),
      _isFixed(_areNumbered && (screenRowsOf(cue) == screenRows || screenRowsOf(cue) == kTallTeletextRows ||
                                teletextRowOf(cue.screenRows, 1))) {
    std::uint64_t next = 1;
    for (const Row& row : _cue.rows) {
        const bool isText = hasLetters(row);
        if (_areNumbered && isText) {
            next = std::max(next, placeOf(row.number));
        }
        _places.push_back(isText ? next : 0);
        next += isText || !_areNumbered ? _height : 0;
    }
    if (_areAtEdges) {
        placeAtEdges();
    } else if (!_areNumbered) {
        moveDown(next - 1);
    }
    moveUp();
}

void StlRowPlaces::makeRoom(std::span<const StlRowTaken> taken, const StlRowTaken& shown) noexcept {
    const auto [first, last] = extent();
    if (_isFixed || first == 0 || last > _screen) {
        return;
    }
    const bool isAtTop = _areNumbered ? first <= _screen / 2 : edgeOf(_cue.rows.front().anchor) == BoxEdge::Top;
    const std::uint64_t room = isAtTop ? _screen - last : first - 1;
    for (std::uint64_t rows = 0; rows <= room; ++rows) {
        const auto moved = [&](std::uint64_t row) { return isAtTop ? row + rows : row - rows; };
        if (firstTaken(taken, moved(first), moved(last), shown) == 0) {
            for (std::uint64_t& place : _places) {
                place = place == 0 ? 0 : moved(place);
            }
            return;
        }
    }
}

std::uint64_t StlRowPlaces::coveredRow(std::span<const StlRowTaken> taken, const StlRowTaken& shown) const noexcept {
    for (const std::uint64_t place : _places) {
        if (const std::uint64_t row = firstTaken(taken, place, endOf(place), shown); row != 0) {
            return row;
        }
    }
    return 0;
}

void StlRowPlaces::take(std::span<StlRowTaken> taken, const StlRowTaken& shown) const noexcept {
    const auto takeRows = [&](std::uint64_t first, std::uint64_t last) {
        for (std::uint64_t row = first; row != 0 && row <= last && row < taken.size(); ++row) {
            StlRowTaken& time = taken[row];
            const bool isTogether = time.from < shown.to && shown.from < time.to;
            time = isTogether ? StlRowTaken{std::min(time.from, shown.from), std::max(time.to, shown.to),
                                            time.isFixed && shown.isFixed}
                              : shown;
        }
    };
    if (!_areNumbered && !_areAtEdges) {
        // No other cue stands between its rows.
        takeRows(extent().first, extent().last);
        return;
    }
    for (const std::uint64_t place : _places) {
        takeRows(place, endOf(place));
    }
}

bool StlRowPlaces::areMoved() const noexcept {
    for (std::size_t index = 0; index < _places.size(); ++index) {
        const std::uint64_t number = _cue.rows[index].number;
        const bool isAtEdge = _areAtEdges || edgeOf(_cue.rows[index].anchor) == edgeOf(_cue.rows.front().anchor);
        if (_places[index] == 0 || (number == 0 && isAtEdge)) {
            continue;
        }
        if (number == 0) {
            return true;
        }
        const bool isExact = screenRowsOf(_cue) == _screen || teletextRowOf(_cue.screenRows, number);
        const std::uint64_t place = placeOf(number);
        const std::uint64_t moved = std::max(place, _places[index]) - std::min(place, _places[index]);
        if (moved > (isExact ? 0 : _height - 1)) {
            return true;
        }
    }
    return false;
}

std::int64_t StlRowPlaces::offScreen() const noexcept {
    return std::count_if(_places.begin(), _places.end(),
                         [this](std::uint64_t place) { return endOf(place) > _screen; });
}

StlRowPlaces::Extent StlRowPlaces::extent() const noexcept {
    Extent extent;
    for (const std::uint64_t place : _places) {
        extent.first = extent.first == 0 ? place : extent.first;
        extent.last = std::max(extent.last, endOf(place));
    }
    return extent;
}

/// Of a number of the cue's own rows.
std::uint64_t StlRowPlaces::placeOf(std::uint64_t number) const noexcept {
    const std::uint64_t rows = screenRowsOf(_cue);
    if (rows == _screen) {
        return std::min(number, rows);
    }
    if (const auto named = teletextRowOf(_cue.screenRows, number); named && _screen == kTeletextRows) {
        return std::clamp<std::uint64_t>(*named, 1, kTeletextRows);
    }
    if (rows == kTallTeletextRows && _screen == kTeletextRows) {
        return 2 * std::min(number, rows);
    }
    const std::uint64_t steps = std::max<std::uint64_t>(rows, 2) - 1;
    return (std::min(number, rows) - 1) * (_screen - 1) / steps + 1;
}

/// The last row of the screen that text takes; 0 for none.
std::uint64_t StlRowPlaces::endOf(std::uint64_t place) const noexcept {
    return place == 0 ? 0 : place + _height - 1;
}

/// Rows of the screen that are free above `size` of them.
std::uint64_t StlRowPlaces::rowsAbove(std::uint64_t size, std::uint8_t anchor) const noexcept {
    const std::uint64_t room = size < _screen ? _screen - size : 0;
    const BoxEdge edge = edgeOf(anchor);
    return edge == BoxEdge::Top ? 0 : edge == BoxEdge::Middle ? room / 2 : room;
}

/// As far as there is room above.
void StlRowPlaces::moveUp() noexcept {
    const auto [first, last] = extent();
    const std::uint64_t rows = last > _screen ? std::min(last - _screen, first - 1) : 0;
    for (std::uint64_t& place : _places) {
        place -= place == 0 ? 0 : rows;
    }
}

/// To where the anchor of the first row says; there were no numbers.
void StlRowPlaces::moveDown(std::uint64_t lowest) noexcept {
    const std::uint64_t down = rowsAbove(lowest, _cue.rows.front().anchor);
    for (std::uint64_t& place : _places) {
        place += place == 0 ? 0 : down;
    }
}

/// Those of each edge in a block, below those of the one in front.
void StlRowPlaces::placeAtEdges() noexcept {
    std::uint64_t free = 1;
    for (auto begin = _cue.rows.begin(); begin != _cue.rows.end();) {
        const auto end = std::upper_bound(begin, _cue.rows.end(), *begin, isHigher);
        const std::uint64_t size = static_cast<std::uint64_t>(end - begin) * _height;
        free = std::max(free, rowsAbove(size, begin->anchor) + 1);
        for (; begin != end; ++begin) {
            std::uint64_t& place = _places[static_cast<std::size_t>(begin - _cue.rows.begin())];
            place = place == 0 ? 0 : free;
            free += _height;
        }
    }
    // Up again where the last ones stand too low, if there is room.
    const auto texts = static_cast<std::uint64_t>(_places.size()) -
                       static_cast<std::uint64_t>(std::count(_places.begin(), _places.end(), 0U));
    std::uint64_t below = std::max(_screen, texts * _height) + 1;
    for (auto place = _places.rbegin(); place != _places.rend(); ++place) {
        *place = std::min(*place, below - _height);
        below = *place == 0 ? below : *place;
    }
}

}  // namespace qlx::subtitles
