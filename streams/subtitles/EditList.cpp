#include "EditList.h"

#include "TtmlTimes.h"

#include <cstddef>
#include <utility>

namespace qlx::streams::detail {

EditList::EditList(std::span<const Edit> edits, std::int32_t movieScale, std::int32_t mediaScale) {
    if (edits.empty()) {
        return;
    }
    _pieces.emplace();
    // Beyond, a time is damage. What remains leaves room for counting on.
    constexpr std::uint64_t kGreatest = std::uint64_t{1} << 60U;
    const auto movieTime = [movieScale](std::uint64_t units) {
        return MediaTime::make(static_cast<std::int64_t>(units), movieScale);
    };
    std::uint64_t shown = 0;
    bool isNext = false;
    for (std::size_t index = 0; index < edits.size() && edits[index].duration <= kGreatest - shown; ++index) {
        const Edit& edit = edits[index];
        const MediaTime begin = movieTime(shown);
        shown += edit.duration;
        const bool isOpen = edit.duration == 0 && index + 1 == edits.size();
        if (edit.mediaTime < 0 || (edit.duration == 0 && !isOpen)) {
            isNext = isNext && edit.duration == 0;
            continue;
        }
        Piece piece;
        piece.begin = MediaTime::make(edit.mediaTime, mediaScale);
        piece.shift = qlx::add(begin, MediaTime::make(-edit.mediaTime, mediaScale));
        piece.isStill = edit.isStill;
        piece.behind = piece.begin;
        if (!isOpen) {
            piece.end = qlx::add(piece.begin, movieTime(edit.duration));
            piece.behind = qlx::add(*piece.end, movieTime(1));
        }
        if (piece.shift.isValid() && piece.behind.isValid()) {
            add(piece, isNext);
        }
        isNext = true;
    }
}

/// @param isNext Nothing is between what is shown of the last piece and of this one.
void EditList::add(const Piece& piece, bool isNext) {
    Piece* const last = isNext && !_pieces->empty() ? &_pieces->back() : nullptr;
    if (last == nullptr || !last->end || last->isStill || piece.isStill || isBefore(piece.begin, *last->end) ||
        !isBefore(piece.begin, last->behind)) {
        _pieces->push_back(piece);
        return;
    }
    last->end = piece.end;
    last->behind = piece.behind;
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
                const MediaTime from = qlx::add(run.from, piece.shift);
                run.from = from.isValid() && isBefore(part.start, from) ? from : MediaTime{};
            }
        }
        take(std::move(part));
        isShown = true;
    }
    return isShown;
}

}  // namespace qlx::streams::detail
