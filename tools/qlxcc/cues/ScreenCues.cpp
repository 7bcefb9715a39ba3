#include "cues/ScreenCues.h"

#include <qlx/base/utf8.h>
#include <qlx/teletext/page.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

using screen::Cell;
using screen::CellPart;
using screen::CellSide;
using screen::Screen;

bool isRead(const Cell& cell) {
    return cell.part != CellPart::LowerHalf && cell.side != CellSide::RightHalf;
}

subtitles::Style styleOf(const Cell& cell) {
    subtitles::Style style;
    style.foreground = cell.foreground;
    // Black is what receivers put behind characters.
    if (cell.isVisible && cell.background != screen::Color::Black &&
        cell.backgroundOpacity != screen::Opacity::Transparent) {
        style.background = cell.background;
    }
    style.isItalic = cell.isItalic;
    style.isUnderlined = cell.isUnderlined;
    style.isFlashing = cell.isFlashing;
    return style;
}

/// How much of something hides the picture; what flashes does where it is there.
std::uint8_t alphaOf(screen::Opacity opacity) {
    constexpr std::uint8_t kAll = 0xFF;
    constexpr std::uint8_t kHalf = 0x80;
    return opacity == screen::Opacity::Transparent   ? std::uint8_t{0}
           : opacity == screen::Opacity::Translucent ? kHalf
                                                     : kAll;
}

/// What the style of a cell does not say.
subtitles::Properties propertiesOf(const Cell& cell, const subtitles::Style& style) {
    subtitles::Properties properties;
    setAlpha(properties, subtitles::properties::kColorAlpha, alphaOf(cell.foregroundOpacity));
    if (style.background) {
        setAlpha(properties, subtitles::properties::kBackgroundAlpha, alphaOf(cell.backgroundOpacity));
    }
    return properties;
}

/// The row of cells from the first to the last one with text.
subtitles::Row rowOf(std::span<const Cell> cells) {
    const auto hasText = [](const Cell& cell) { return cell.hasText(); };
    const auto first = std::find_if(cells.begin(), cells.end(), hasText);
    const auto last = std::find_if(cells.rbegin(), cells.rend(), hasText).base();
    subtitles::Row row;
    row.column = static_cast<std::uint16_t>(first - cells.begin() + 1);
    row.alignment = subtitles::Alignment::Left;
    for (auto cell = first; cell != last; ++cell) {
        if (!isRead(*cell)) {
            continue;
        }
        const subtitles::Style style = styleOf(*cell);
        const bool isBlank = !cell->hasText() && !style.background && !style.isUnderlined;
        // A blank looks like whatever stands in front of it.
        const subtitles::Run* const before = row.runs.empty() ? nullptr : &row.runs.back();
        if (subtitles::Properties properties = propertiesOf(*cell, style);
            before == nullptr || (!isBlank && (before->style != style || before->properties != properties))) {
            row.runs.push_back({{}, style, {}, std::move(properties)});
        }
        appendUtf8(row.runs.back().text, cell->isVisible ? cell->shownCharacter() : U' ');
    }
    return row;
}

/// Whether all that is read on a screen is on another one as well.
bool isWithin(const Screen& before, const Screen& after) {
    if (before.cells.size() != after.cells.size()) {
        return false;
    }
    for (std::size_t index = 0; index < before.cells.size(); ++index) {
        if (before.cells[index].hasText() && before.cells[index].character != after.cells[index].character) {
            return false;
        }
    }
    return true;
}

/// The text of a row, from its first letter to its last.
std::u32string textOf(std::span<const Cell> cells) {
    std::u32string text;
    for (const Cell& cell : cells) {
        if (cell.hasText() || !text.empty()) {
            text += cell.hasText() ? cell.shownCharacter() : U' ';
        }
    }
    text.resize(text.find_last_not_of(U' ') + 1);
    return text;
}

/// The rows whose text is another one.
std::vector<std::size_t> changedRows(const Screen& before, const Screen& after) {
    std::vector<std::size_t> rows;
    for (std::size_t index = 0; index < std::min(before.rows(), after.rows()); ++index) {
        if (textOf(before.row(index)) != textOf(after.row(index))) {
            rows.push_back(index);
        }
    }
    return rows;
}

/// Whether no row differs but the one in hand, if that is known, and it goes on.
bool isRowInHandAlone(const Screen& before, const Screen& after, std::optional<std::size_t> inHand) {
    if (before.cells.size() != after.cells.size()) {
        return false;
    }
    const std::vector<std::size_t> rows = changedRows(before, after);
    return rows.empty() || (rows.size() == 1 && rows.front() == inHand.value_or(rows.front()) &&
                            streams::goesOn(textOf(before.row(rows.front())), textOf(after.row(rows.front()))));
}

/// The rows of a screen that have text.
std::vector<std::size_t> rowsWithText(const Screen& screen) {
    std::vector<std::size_t> rows;
    for (std::size_t index = 0; index < screen.rows(); ++index) {
        if (!textOf(screen.row(index)).empty()) {
            rows.push_back(index);
        }
    }
    return rows;
}

/// Takes up what came to the last row in the frame in which it was moved up as well. Gives whether that is all that
/// happened.
bool takeUpLastRow(Screen& before, const Screen& after) {
    const std::vector<std::size_t> had = rowsWithText(before);
    const std::vector<std::size_t> has = rowsWithText(after);
    if (had.size() < has.size() || before.columns != after.columns) {
        return false;
    }
    const std::size_t gone = had.size() - has.size();
    for (std::size_t index = 0; index + 1 < has.size(); ++index) {
        if (textOf(before.row(had[gone + index])) != textOf(after.row(has[index]))) {
            return false;
        }
    }
    const bool isGoingOn = streams::goesOn(textOf(before.row(had.back())), textOf(after.row(has.back())));
    if (isGoingOn) {
        const auto cells = after.row(has.back());
        std::copy(cells.begin(), cells.end(), before.row(had.back()).begin());
    }
    return isGoingOn;
}

}  // namespace

subtitles::Cue cueOfScreen(const Screen& screen, const teletext::CharacterSet& set) {
    subtitles::Cue cue;
    cue.screenRows = static_cast<std::uint16_t>(screen.rows());
    cue.screenColumns = static_cast<std::uint16_t>(screen.columns);
    for (std::size_t index = 0; index < screen.rows(); ++index) {
        const auto cells = screen.row(index);
        if (std::any_of(cells.begin(), cells.end(), [](const Cell& cell) { return cell.hasText(); })) {
            cue.rows.push_back(rowOf(teletext::readingOrder(cells, set)));
            cue.rows.back().number = index + 1;
        }
    }
    return cue;
}

ScreenCues::ScreenCues(std::unique_ptr<streams::OnAir> onAir, std::function<void(subtitles::Cue)> take)
    : _onAir(std::move(onAir)), _take(std::move(take)), _screen(_onAir->screen()), _shown(_screen),
      _set(_onAir->characterSet()) {}

void ScreenCues::receive(const Frame& frame, FindingSink* findings) {
    _before = std::exchange(_last, frame.pts);
    if (_onAir->receive(frame, findings)) {
        look(*frame.pts);
    }
}

void ScreenCues::look(const MediaTime& time) {
    Screen screen = _onAir->screen();
    if (screen != _shown) {
        const std::vector<std::size_t> changed = changedRows(_shown, screen);
        _shown = std::move(screen);
        change(time);
        _rowInHand = changed.size() == 1 ? std::optional(changed.front()) : std::nullopt;
    }
}

/// The screen shows something else from this time on.
void ScreenCues::change(const MediaTime& time) {
    constexpr double kLongestStep = 0.5;
    const auto isSoonBehind = [&time](const MediaTime& earlier) {
        return secondsFrom(time) - secondsFrom(earlier) <= kLongestStep;
    };
    const screen::Change change = _onAir->change();
    const bool isRoll = change.isRolled && !change.isReplaced && _screen.hasText() && _shown.hasText();
    if (isRoll && (!change.isWritten || takeUpLastRow(_screen, _shown))) {
        _rolled = time;
        return;
    }
    const auto rolled = std::exchange(_rolled, std::nullopt);
    const bool isWriting = change.isWritten && !change.isReplaced;
    const bool isGrowing = _screen.hasText() && !rolled && !change.isRolled &&
                           ((isWriting && isRowInHandAlone(_screen, _shown, _rowInHand)) ||
                            (isWithin(_screen, _shown) && isSoonBehind(_changed)));
    if (!isGrowing) {
        // The next row is one caption with the carriage return in front of it.
        const bool isAtRoll = rolled && isWriting && isSoonBehind(*rolled);
        end(isAtRoll ? *rolled : time);
        _since = isAtRoll ? *rolled : time;
    }
    _changed = time;
    _screen = _shown;
    _set = _onAir->characterSet();
}

bool ScreenCues::finish(FindingSink* findings) {
    if (_onAir->finish(findings) && _last) {
        look(*_last);
    }
    const bool isOnAir = _screen.hasText();
    if (isOnAir) {
        // As long as the frames in front of it.
        MediaTime behind = *_last;
        if (_before) {
            behind = add(behind, add(*_last, MediaTime::make(-_before->value, _before->timescale)));
        }
        end(behind.isValid() ? behind : *_last);
    }
    return isOnAir;
}

void ScreenCues::end(const MediaTime& time) {
    if (!_screen.hasText()) {
        return;
    }
    subtitles::Cue cue = cueOfScreen(_screen, _set);
    cue.number = ++_cues;
    cue.start = _since;
    cue.end = time;
    _take(std::move(cue));
}

}  // namespace qlx::tool
