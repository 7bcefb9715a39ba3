// How many captions a screen has shown, and from when to when.
#pragma once

#include <qlx/screen/screen.h>
#include <qlx/streams/contents.h>
#include <qlx/streams/frame.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qlx::streams::detail {

/// Follows a screen from change to change.
class ScreenLife {
public:
    /// The screen may look different from this frame on.
    void change(const screen::Screen& screen, const Frame& frame, Content& content) {
        std::vector<std::u32string> rows = textOf(screen);
        const bool isShown = hasText(rows);
        if (_isShown) {
            lastUpTo(frame, content);
        }
        if (isShown && isAnother(rows)) {
            ++content.captions;
        }
        _isShown = isShown;
        _rows = std::move(rows);
        stay(frame, content);
    }

    /// Called once for each frame, behind its changes.
    void stay(const Frame& frame, Content& content) const {
        if (!_isShown) {
            return;
        }
        if (!content.firstFrame) {
            content.firstFrame = frame.number;
            content.first = frame.pts;
        }
        content.lastFrame = frame.number;
        content.last = frame.pts;
    }

private:
    /// A transport stream has frames only where teletext comes: what was shown stays up to the frame in front of the one
    /// that changes it, which is one of 25 a second as its system has them.
    static void lastUpTo(const Frame& frame, Content& content) {
        constexpr std::int32_t kFramesPerSecond = 25;
        if (frame.teletext.empty() || !frame.pts || !content.last) {
            return;
        }
        const MediaTime before = add(*frame.pts, MediaTime::make(-1, kFramesPerSecond));
        if (secondsFrom(before) > secondsFrom(*content.last)) {
            content.last = before;
        }
    }

    static std::vector<std::u32string> textOf(const screen::Screen& screen) {
        std::vector<std::u32string> rows(screen.rows());
        for (std::size_t row = 0; row < rows.size(); ++row) {
            for (const screen::Cell& cell : screen.row(row)) {
                rows[row].push_back(cell.hasText() ? cell.shownCharacter() : U' ');
            }
            rows[row].resize(rows[row].find_last_not_of(U' ') + 1);
        }
        return rows;
    }

    static bool hasText(const std::vector<std::u32string>& rows) {
        for (const std::u32string& row : rows) {
            if (!row.empty()) {
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] bool isAnother(const std::vector<std::u32string>& rows) const {
        bool hasNew = !_isShown;
        bool isAllThere = _isShown;
        for (std::size_t row = 0; row < rows.size() && row < _rows.size(); ++row) {
            hasNew = hasNew || (!rows[row].empty() && rows[row] != _rows[row]);
            isAllThere = isAllThere && rows[row].starts_with(_rows[row]);
        }
        return hasNew && !isAllThere;
    }

    bool _isShown = false;
    std::vector<std::u32string> _rows;
};

}  // namespace qlx::streams::detail
