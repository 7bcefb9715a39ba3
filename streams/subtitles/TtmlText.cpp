#include "TtmlText.h"

#include "TtmlTimes.h"

#include <algorithm>
#include <string>
#include <utility>

namespace qlx::streams::detail {

namespace {

using subtitles::Row;
using subtitles::Run;

/// Puts characters on rows.
class Rows {
public:
    Rows(const std::vector<Look>& looks, bool withTimes, const MediaTime& begin)
        : _looks(looks), _withTimes(withTimes), _begin(begin), _rows(1) {}

    void add(const TextPiece& piece) {
        if (piece.isBreak) {
            breakRow();
            return;
        }
        for (std::size_t at = 0; at < piece.text.size();) {
            constexpr std::string_view kBlanks = " \t\r\n";
            const std::size_t space = std::min(piece.text.find_first_of(kBlanks, at), piece.text.size());
            if (space != at) {
                addSpace();
                addText(piece, piece.text.substr(at, space - at));
            }
            if (space == piece.text.size()) {
                break;
            }
            if (!piece.keepsSpace) {
                _space = _space == nullptr && _hasText ? &piece : _space;
            } else if (piece.text[space] == '\n') {
                breakRow();
            } else {
                addSpace();
                addText(piece, " ");
            }
            at = space + 1;
        }
    }

    std::vector<Row> take() { return _hasAnyText ? std::move(_rows) : std::vector<Row>(); }

private:
    void breakRow() {
        _space = nullptr;
        _hasText = false;
        _rows.emplace_back();
    }

    /// The space that what was in front of a text became.
    void addSpace() {
        if (const TextPiece* const space = std::exchange(_space, nullptr)) {
            addText(*space, " ");
        }
    }

    void addText(const TextPiece& piece, std::string_view text) {
        std::vector<Run>& runs = _rows.back().runs;
        const Look& look = _looks[piece.look];
        const bool isLater = _withTimes && isBefore(_begin, piece.begin);
        const MediaTime from = isLater ? piece.begin : MediaTime{};
        const MediaTime shown = _withTimes ? (isLater ? piece.begin : _begin) : MediaTime{};
        const bool isSame = shown == _shown;
        _shown = shown;
        if (runs.empty() || !isSame || runs.back().style != look.style || runs.back().properties != look.properties) {
            // One that appears with what is in front of it needs no time of its own.
            runs.push_back({std::string(text), look.style, isSame ? MediaTime{} : from, look.properties});
        } else {
            runs.back().text += text;
        }
        _hasText = true;
        _hasAnyText = true;
    }

    const std::vector<Look>& _looks;
    bool _withTimes;
    MediaTime _begin;
    MediaTime _shown;  ///< When the last run appeared.
    std::vector<Row> _rows;
    const TextPiece* _space = nullptr;  ///< Of which a space is due.
    bool _hasText = false;              ///< The row has.
    bool _hasAnyText = false;
};

}  // namespace

std::vector<Row> rowsOf(const std::vector<const TextPiece*>& pieces, const std::vector<Look>& looks, bool withTimes,
                        const MediaTime& begin) {
    Rows rows(looks, withTimes, begin);
    for (const TextPiece* const piece : pieces) {
        rows.add(*piece);
    }
    return rows.take();
}

std::vector<MediaTime> momentsOf(std::span<const Animation> animations, const MediaTime& begin,
                                 const std::optional<MediaTime>& end) {
    std::vector<MediaTime> moments;
    const auto add = [&](const MediaTime& time) {
        if (isBefore(begin, time) && (!end || isBefore(time, *end))) {
            moments.push_back(time);
        }
    };
    for (const Animation& animation : animations) {
        add(animation.begin);
        if (animation.end) {
            add(*animation.end);
        }
    }
    std::sort(moments.begin(), moments.end(), isBefore);
    moments.erase(std::unique(moments.begin(), moments.end(), isSameTime), moments.end());
    return moments;
}

void clipPieces(std::vector<TextPiece>& pieces, const MediaTime& begin, const std::optional<MediaTime>& end) {
    for (TextPiece& piece : pieces) {
        piece.begin = isBefore(piece.begin, begin) ? begin : piece.begin;
        if (end) {
            limit(piece.end, *end);
        }
    }
    std::erase_if(pieces, [](const TextPiece& piece) { return piece.end && !isBefore(piece.begin, *piece.end); });
}

std::optional<std::pair<MediaTime, MediaTime>> shownSpan(const std::vector<TextPiece>& pieces,
                                                         const std::optional<MediaTime>& end) {
    std::optional<MediaTime> first;
    std::optional<MediaTime> last;
    bool isOpen = false;
    for (const TextPiece& piece : pieces) {
        if (!piece.keepsSpace && piece.text.find_first_not_of(" \t\r\n") == std::string_view::npos) {
            continue;
        }
        if (!piece.isBreak) {
            first = first && !isBefore(piece.begin, *first) ? first : piece.begin;
            extend(last, isOpen, piece.end);
        }
    }
    if (!first) {
        return std::nullopt;
    }
    last = isOpen ? end : last;
    return std::pair(*first, last.value_or(MediaTime{}));
}

std::size_t splitByTimes(const std::vector<TextPiece>& pieces, const std::vector<Look>& looks, const MediaTime& begin,
                         const MediaTime& end, std::size_t mostTimes, std::size_t& mostBytes, std::size_t bytesOfCue,
                         const TakeRows& take) {
    std::vector<MediaTime> times;
    std::vector<const TextPiece*> shown;
    bool isAddedTo = true;
    const MediaTime* last = &begin;
    for (const TextPiece& piece : pieces) {
        if (!piece.isAgain) {
            shown.push_back(&piece);
        }
        const bool isLater = isBefore(begin, piece.begin);
        const bool goes = piece.end && isBefore(*piece.end, end);
        if (isLater) {
            times.push_back(piece.begin);
        }
        if (goes) {
            times.push_back(*piece.end);
        }
        const MediaTime& appears = isLater ? piece.begin : begin;
        // Where a row ends is not seen.
        isAddedTo = isAddedTo && !goes && (piece.isBreak || !isBefore(appears, *last));
        last = piece.isBreak ? last : &appears;
    }
    std::sort(times.begin(), times.end(), isBefore);
    times.erase(std::unique(times.begin(), times.end(), isSameTime), times.end());
    const bool isSplit = !times.empty() && !isAddedTo;
    // Each time looks at each piece, and may copy it.
    std::size_t bytesOfTime = bytesOfCue;
    for (const TextPiece& piece : pieces) {
        bytesOfTime += !isSplit        ? 0
                       : piece.isBreak ? sizeof(Row)
                                       : sizeof(Run) + piece.text.size() + bytesOf(looks[piece.look].properties);
    }
    const bool areTooMany =
        times.size() > mostTimes || (isSplit && bytesOfTime > mostBytes / std::max<std::size_t>(times.size(), 1));
    if (!isSplit || areTooMany) {
        if (auto rows = rowsOf(shown, looks, !times.empty() && isAddedTo, begin); !rows.empty()) {
            take(begin, end, std::move(rows));
        }
        return areTooMany && !isAddedTo ? std::max(times.size(), mostTimes + 1) : std::min(times.size(), mostTimes);
    }
    mostBytes -= bytesOfTime * times.size();
    times.push_back(end);
    const MediaTime* from = &begin;
    for (const MediaTime& until : times) {
        shown.clear();
        for (const TextPiece& piece : pieces) {
            if (!isBefore(*from, piece.begin) && (!piece.end || isBefore(*from, *piece.end))) {
                shown.push_back(&piece);
            }
        }
        if (auto rows = rowsOf(shown, looks, false, *from); !rows.empty()) {
            take(*from, until, std::move(rows));
        }
        from = &until;
    }
    return times.size() - 1;
}

}  // namespace qlx::streams::detail
