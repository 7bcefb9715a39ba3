#include "commands/play/PlayedCues.h"

#include "cues/CueTimes.h"
#include "cues/StartTimes.h"
#include "io/Errors.h"
#include "io/Rates.h"
#include "io/Text.h"

#include <qlx/base/frame_rate.h>
#include <qlx/subtitles/shown_together.h>

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

namespace qlx::tool {

std::optional<std::uint64_t> dueFrame(const subtitles::Cue& cue, const Rate& rate) {
    return qlx::firstFrameAtOrAfter(cue.start, frameRateOf(rate));
}

Subtitles PlayedCues::read() {
    const auto takeOne = [this](const subtitles::Cue& cue) { take(cue); };
    // Whoever says where to begin knows that the cues come late.
    FromStart fromStart = _options.fromStart;
    fromStart.isGiven = fromStart.isGiven || _options.fromSeconds > 0.0;
    return _options.cues ? _options.cues(_options.subtitles, takeOne)
                         : readCues({.path = _options.subtitles,
                                     .encoding = _options.encoding,
                                     .track = _options.track,
                                     .fromStart = fromStart,
                                     .onAir = _options.onAir},
                                    takeOne);
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
    const auto later = std::find_if_not(_cues.begin(), _cues.end(), isBefore);
    if (overlaps) {
        std::for_each(_cues.begin(), later, [&](subtitles::Cue& cue) { cue.start = _options.rate.timeOfFrame(first); });
        return std::move(_cues);
    }
    const bool isReplaced = later != _cues.end() && dueFrame(*later, _options.rate) == first;
    const bool isShown = std::any_of(_lastBefore.begin(), _lastBefore.end(), [&](const subtitles::Cue& cue) {
        return secondsFrom(cue.end) > _window.firstTime();
    });
    std::vector<subtitles::Cue> cues;
    if (isShown && !isReplaced) {
        // Together, as long as the last one of them: of the ones before them nothing is shown any more.
        cues = std::move(_lastBefore);
        std::for_each(cues.begin(), cues.end(),
                      [&](subtitles::Cue& cue) { cue.start = _options.rate.timeOfFrame(first); });
    }
    std::move(later, _cues.end(), std::back_inserter(cues));
    _cues = std::move(cues);
    joinEqualStarts();
    return std::move(_cues);
}

void PlayedCues::joinEqualStarts() {
    std::vector<subtitles::Cue> cues;
    for (auto first = _cues.begin(); first != _cues.end();) {
        const auto due = dueFrame(*first, _options.rate);
        const auto isDueLater = [&](const subtitles::Cue& cue) { return !due || dueFrame(cue, _options.rate) != due; };
        const auto last = std::find_if(std::next(first), _cues.end(), isDueLater);
        cues.push_back(subtitles::shownTogether(std::span(first, last)));
        _joined += static_cast<std::uint64_t>(last - first - 1);
        first = last;
    }
    _cues = std::move(cues);
}

void PlayedCues::sayLengthened(const std::string& name) const {
    if (_lengthened > 0) {
        printNote("warning: " + name + ": " + counted(_lengthened, "cue") + " shorter than a frame, which " +
                  (_lengthened == 1 ? "lasts" : "last") + " one");
    }
}

/// Its times become those of frames.
void PlayedCues::take(subtitles::Cue cue) {
    // A caption has four rows: of cues that are over, and begin together, no more than these can have a part in it.
    constexpr std::size_t kMostOver = 64;
    ++_read;
    // Of a file without numbers they are counted, as convert and subs do.
    cue.number = cue.number == 0 ? _read : cue.number;
    const bool isLengthened = putOnFrames(frameRateOf(_options.rate), cue);
    const auto due = dueFrame(cue, _options.rate);
    const bool isPlayed = _window.take(secondsFrom(cue.start), secondsFrom(cue.end));
    // What has no duration or no text is never shown, and takes the place of nothing.
    const auto end = qlx::firstFrameAtOrAfter(cue.end, frameRateOf(_options.rate));
    const bool isCaption =
        due && end && *end > *due &&
        std::any_of(cue.rows.begin(), cue.rows.end(), [](const subtitles::Row& row) { return !row.text().empty(); });
    if (isCaption && *due < _window.firstFrame() && (!_lastDue || *due >= *_lastDue)) {
        if (_lastDue != due) {
            _lastBefore.clear();
        }
        _lastDue = due;
        if (isPlayed || _lastBefore.size() < kMostOver) {
            _lastBefore.push_back(cue);
        }
    }
    if (!isPlayed) {
        return;
    }
    _lengthened += isLengthened ? 1 : 0;
    for (const subtitles::Row& row : cue.rows) {
        _window.takeRow(row.text().size());
    }
    _cues.push_back(std::move(cue));
}

}  // namespace qlx::tool
