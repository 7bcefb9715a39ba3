// How many captions a screen has shown, and from when to when.
#pragma once

#include <qlx/screen/screen.h>
#include <qlx/streams/contents.h>
#include <qlx/streams/frame.h>
#include <qlx/streams/on_air.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qlx::streams::detail {

/// Follows a screen from change to change.
class ScreenLife {
public:
    /// The screen may look different from this frame on.
    /// @param change In which ways.
    void change(const screen::Screen& screen, const screen::Change& change, const Frame& frame, Content& content) {
        std::vector<std::u32string> rows = textOf(screen);
        const bool isShown = hasText(rows);
        if (_isShown) {
            lastUpTo(frame, content);
        }
        if (isShown && isAnother(rows, change.isWritten && !change.isReplaced)) {
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
    static constexpr std::uint64_t kGreatestGap = 1'000'000'000;

    /// A file may have frames only where something comes: what was shown stays up to the frame in front of the one that
    /// changes it. A transport stream numbers those of teletext one behind the other: its system has 25 a second.
    static void lastUpTo(const Frame& frame, Content& content) {
        if (!content.lastFrame || frame.number <= *content.lastFrame) {
            return;
        }
        const std::uint64_t frames = frame.number - *content.lastFrame;
        content.lastFrame = frame.number - 1;
        if (!isUsual(frame.pts) || !isUsual(content.last) || frames > kGreatestGap) {
            return;
        }
        const MediaTime since = add(*frame.pts, MediaTime::make(-content.last->value, content.last->timescale));
        constexpr std::int32_t kFramesPerSecond = 25;
        const MediaTime step =
            frame.teletext.empty()
                ? MediaTime::make(-(since.value / static_cast<std::int64_t>(frames)), since.timescale)
                : MediaTime::make(-1, kFramesPerSecond);
        const MediaTime before = add(*frame.pts, step);
        if (secondsFrom(before) > secondsFrom(*content.last)) {
            content.last = before;
        }
    }

    /// Numbers that are reckoned with; files may have others.
    static bool isUsual(const std::optional<MediaTime>& time) noexcept {
        constexpr std::int64_t kGreatest = std::int64_t{1} << 53U;
        return time && time->isValid() && time->value > -kGreatest && time->value < kGreatest;
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

    /// @param isWriting Whether letters have come to what was there.
    [[nodiscard]] bool isAnother(const std::vector<std::u32string>& rows, bool isWriting) const {
        bool hasNew = !_isShown;
        bool isAllThere = _isShown;
        for (std::size_t row = 0; row < rows.size() && row < _rows.size(); ++row) {
            hasNew = hasNew || (!rows[row].empty() && rows[row] != _rows[row]);
            isAllThere =
                isAllThere && (rows[row].starts_with(_rows[row]) || (isWriting && goesOn(_rows[row], rows[row])));
        }
        return hasNew && !isAllThere;
    }

    bool _isShown = false;
    std::vector<std::u32string> _rows;
};

}  // namespace qlx::streams::detail
