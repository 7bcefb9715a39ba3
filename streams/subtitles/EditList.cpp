#include "EditList.h"

#include "TtmlTimes.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace qlx::streams::detail {

EditList::EditList(std::span<const Edit> edits, std::int32_t movieScale, std::int32_t mediaScale) {
    if (edits.empty()) {
        return;
    }
    _pieces.emplace();
    constexpr std::int32_t kLeastScale = 100;
    // Beyond, a time is damage. What remains leaves room for counting on.
    constexpr std::uint64_t kGreatest = std::uint64_t{1} << 60U;
    const auto movieTime = [movieScale](std::uint64_t units) {
        return MediaTime::make(static_cast<std::int64_t>(units), movieScale);
    };
    // Units that are seconds would hide what is cut on purpose.
    const MediaTime tolerance = MediaTime::make(1, std::max(movieScale, kLeastScale));
    const MediaTime before = MediaTime::make(-1, tolerance.timescale);
    std::uint64_t shown = 0;
    bool isNext = false;
    for (std::size_t index = 0; index < edits.size(); ++index) {
        const Edit& edit = edits[index];
        const MediaTime begin = movieTime(shown);
        // A list whose last entry has no end, or one that no file reaches, goes on to the end of the media.
        const bool isEndless = edit.duration > kGreatest - shown;
        const bool isOpen = isEndless || (edit.duration == 0 && index + 1 == edits.size());
        _isWhole = _isWhole && (!isEndless || index + 1 == edits.size());
        if (edit.mediaTime >= 0 && (edit.duration != 0 || isOpen)) {
            Piece piece;
            piece.begin = MediaTime::make(edit.mediaTime, mediaScale);
            piece.shift = qlx::add(begin, MediaTime::make(-edit.mediaTime, mediaScale));
            piece.isStill = edit.isStill;
            if (!isOpen) {
                piece.end = qlx::add(piece.begin, movieTime(edit.duration));
                piece.behind = qlx::add(*piece.end, tolerance);
                piece.near = qlx::add(*piece.end, before);
            }
            const bool isPiece = piece.shift.isValid() && (isOpen || (piece.behind.isValid() && piece.near.isValid()));
            _isWhole = _isWhole && isPiece;
            if (isPiece) {
                add(piece, isNext);
            }
            isNext = isPiece;
        } else {
            isNext = isNext && edit.duration == 0;
        }
        if (isEndless) {
            return;
        }
        shown += edit.duration;
    }
}

/// @param isNext Nothing is between what is shown of the last piece and of this one.
void EditList::add(const Piece& piece, bool isNext) {
    Piece* const last = isNext && !_pieces->empty() ? &_pieces->back() : nullptr;
    if (last == nullptr || !last->end || last->isStill || piece.isStill || !isBefore(last->near, piece.begin) ||
        !isBefore(piece.begin, last->behind)) {
        _pieces->push_back(piece);
        return;
    }
    last->end = piece.end;
    last->behind = piece.behind;
    last->near = piece.near;
}

bool EditList::apply(const subtitles::Cue& cue, const TakeSampleCue& take) const {
    if (!_pieces) {
        take(cue);
        return true;
    }
    bool isShown = false;
    for (const Piece& piece : *_pieces) {
        const bool hasBegun =
            piece.isStill ? !isBefore(piece.begin, cue.start) : !piece.end || isBefore(cue.start, *piece.end);
        if (!hasBegun || !isBefore(piece.begin, cue.end)) {
            continue;
        }
        subtitles::Cue part = cue;
        if (piece.isStill || isBefore(cue.start, piece.begin)) {
            part.start = piece.begin;
        }
        if (piece.end && (piece.isStill || !isBefore(cue.end, piece.behind))) {
            part.end = *piece.end;
        }
        part.start = qlx::add(part.start, piece.shift);
        part.end = qlx::add(part.end, piece.shift);
        if (!part.start.isValid() || !part.end.isValid() || !isBefore(part.start, part.end)) {
            continue;
        }
        for (subtitles::Row& row : part.rows) {
            for (subtitles::Run& run : row.runs) {
                run.from = qlx::add(run.from, piece.shift);
            }
        }
        if (!fitRuns(part)) {
            continue;
        }
        take(std::move(part));
        isShown = true;
    }
    return isShown;
}

bool fitRuns(subtitles::Cue& cue) {
    const auto hasTimes = [](const subtitles::Row& row) {
        return std::any_of(row.runs.begin(), row.runs.end(), [](const auto& run) { return run.from.isValid(); });
    };
    if (std::none_of(cue.rows.begin(), cue.rows.end(), hasTimes)) {
        return true;
    }
    // A run without a time of its own appears with the one in front of it.
    bool isOver = false;
    bool isTimed = false;
    bool isAnyLeft = false;
    for (subtitles::Row& row : cue.rows) {
        std::vector<subtitles::Run> runs;
        for (subtitles::Run& run : row.runs) {
            if (run.from.isValid()) {
                isOver = !isBefore(run.from, cue.end);
                if (!isBefore(cue.start, run.from)) {
                    run.from = isTimed ? cue.start : MediaTime{};
                }
                isTimed = isTimed || run.from.isValid();
            }
            if (!isOver) {
                runs.push_back(std::move(run));
            }
        }
        row.runs = std::move(runs);
        isAnyLeft = isAnyLeft || !row.runs.empty();
    }
    return isAnyLeft;
}

}  // namespace qlx::streams::detail
