#include "cues/ScreenCues.h"

#include <qlx/base/utf8.h>
#include <qlx/teletext/page.h>

#include <algorithm>
#include <utility>

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
        if (row.runs.empty() || (!isBlank && row.runs.back().style != style)) {
            row.runs.push_back({{}, style});
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
    : _onAir(std::move(onAir)), _take(std::move(take)), _screen(_onAir->screen()), _set(_onAir->characterSet()) {}

void ScreenCues::receive(const Frame& frame, FindingSink* findings) {
    _before = std::exchange(_last, frame.pts);
    if (!_onAir->receive(frame, findings)) {
        return;
    }
    Screen screen = _onAir->screen();
    if (screen == _screen) {
        return;
    }
    constexpr double kLongestStep = 0.5;
    const bool isGrowing = _screen.hasText() && isWithin(_screen, screen) &&
                           secondsFrom(*frame.pts) - secondsFrom(_changed) <= kLongestStep;
    if (!isGrowing) {
        end(*frame.pts);
        _since = *frame.pts;
    }
    _changed = *frame.pts;
    _screen = std::move(screen);
    _set = _onAir->characterSet();
}

bool ScreenCues::finish() {
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
