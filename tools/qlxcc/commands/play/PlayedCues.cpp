#include "commands/play/PlayedCues.h"

#include "io/Rates.h"

#include <qlx/base/frame_rate.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace qlx::tool {

std::optional<std::uint64_t> dueFrame(const subtitles::Cue& cue, const Rate& rate) {
    return qlx::firstFrameAtOrAfter(cue.start, frameRateOf(rate));
}

Subtitles PlayedCues::read() {
    const auto takeOne = [this](const subtitles::Cue& cue) { take(cue); };
    return _options.cues ? _options.cues(takeOne)
                         : readCues({.path = _options.subtitles, .encoding = _options.encoding, .track = _options.track}, takeOne);
}

std::vector<subtitles::Cue> PlayedCues::inOrder(bool overlaps) {
    const auto isEarlier = [](const subtitles::Cue& left, const subtitles::Cue& right) {
        return secondsFrom(left.start) < secondsFrom(right.start);
    };
    std::stable_sort(_cues.begin(), _cues.end(), isEarlier);
    const std::uint64_t first = _window.firstFrame();
    const auto isBefore = [&](const subtitles::Cue& cue) {
        return dueFrame(cue, _options.rate).value_or(first) < first;
    };
    auto later = std::find_if_not(_cues.begin(), _cues.end(), isBefore);
    if (overlaps) {
        std::for_each(_cues.begin(), later, [&](subtitles::Cue& cue) { cue.start = _options.rate.timeOfFrame(first); });
        return std::move(_cues);
    }
    const bool isReplaced = later != _cues.end() && dueFrame(*later, _options.rate) == first;
    if (later != _cues.begin() && !isReplaced) {
        // Those that began last, together: of the ones before them nothing is shown any more.
        const auto due = dueFrame(*std::prev(later), _options.rate);
        while (later != _cues.begin() && dueFrame(*std::prev(later), _options.rate) == due) {
            --later;
            later->start = _options.rate.timeOfFrame(first);
        }
    }
    _cues.erase(_cues.begin(), later);
    joinEqualStarts();
    return std::move(_cues);
}

void PlayedCues::joinEqualStarts() {
    std::vector<subtitles::Cue> cues;
    for (subtitles::Cue& cue : _cues) {
        const auto due = dueFrame(cue, _options.rate);
        if (cues.empty() || !due || dueFrame(cues.back(), _options.rate) != due) {
            cues.push_back(std::move(cue));
            continue;
        }
        ++_joined;
        subtitles::Cue& first = cues.back();
        first.end = secondsFrom(first.end) < secondsFrom(cue.end) ? cue.end : first.end;
        std::move(cue.rows.begin(), cue.rows.end(), std::back_inserter(first.rows));
    }
    _cues = std::move(cues);
}

void PlayedCues::take(const subtitles::Cue& cue) {
    if (!_window.take(secondsFrom(cue.start), secondsFrom(cue.end))) {
        return;
    }
    for (const subtitles::Row& row : cue.rows) {
        _window.takeRow(row.text().size());
    }
    _cues.push_back(cue);
}

}  // namespace qlx::tool
