#include "cues/CueTimes.h"

#include <qlx/subtitles/box.h>
#include <qlx/subtitles/shown_together.h>
#include <qlx/subtitles/stl_reader.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>
#include <span>
#include <utility>

namespace qlx::tool {

namespace {

MediaTime negative(const MediaTime& time) {
    return MediaTime::make(-time.value, time.timescale);
}

/// `time` times `factor` through `divisor`, exactly where its numbers have room for it.
MediaTime scaled(MediaTime time, std::int32_t factor, std::int32_t divisor) {
    const std::int64_t common = std::gcd(time.value, std::int64_t{divisor});
    const std::int64_t rest = divisor / std::max<std::int64_t>(common, 1);
    constexpr std::int64_t kGreatestScale = std::numeric_limits<std::int32_t>::max();
    constexpr std::int64_t kGreatestValue = std::numeric_limits<std::int64_t>::max();
    if (rest <= kGreatestScale / time.timescale && std::abs(time.value) < kGreatestValue / factor) {
        return MediaTime::make(time.value / std::max<std::int64_t>(common, 1) * factor,
                               static_cast<std::int32_t>(time.timescale * rest));
    }
    const long double value = static_cast<long double>(time.value) * factor / divisor;
    constexpr long double kGreatest = static_cast<long double>(kGreatestValue);
    return MediaTime::make(std::llround(std::clamp(value, -kGreatest, kGreatest)), time.timescale);
}

/// Whether two cues are in the same region, or at the same place of the screen.
bool isAtSamePlace(const subtitles::Cue& left, const subtitles::Cue& right) {
    const auto anchorOf = [](const subtitles::Cue& cue) {
        return cue.rows.empty() ? std::uint8_t{0} : cue.rows.front().anchor;
    };
    return left.region == right.region && left.box == right.box && anchorOf(left) == anchorOf(right);
}

/// Whether it stands beside the text of a cue, once: a comment, or data of another kind.
bool isNote(const subtitles::Property& property) {
    return property.name == subtitles::properties::kWebVttNote || property.name == subtitles::properties::kStlComment ||
           property.name == subtitles::properties::kStlUserData;
}

/// Gives a cue the notes of others too.
void addNotes(std::span<const subtitles::Cue> others, subtitles::Cue& cue) {
    for (const subtitles::Cue& other : others) {
        std::copy_if(other.properties.begin(), other.properties.end(), std::back_inserter(cue.properties), isNote);
    }
}

}  // namespace

int compared(const MediaTime& left, const MediaTime& right) noexcept {
    if (left.timescale == right.timescale) {
        return left.value < right.value ? -1 : left.value > right.value ? 1 : 0;
    }
    // Products of 63 and 31 bits; a long double has 64.
    const long double difference =
        static_cast<long double>(left.value) * right.timescale - static_cast<long double>(right.value) * left.timescale;
    return difference < 0 ? -1 : difference > 0 ? 1 : 0;
}

bool changeTimes(const TimeChange& change, subtitles::Cue& cue) {
    const bool isBefore = change.fromStart && compared(cue.start, *change.fromStart) < 0;
    const auto changeTime = [&](MediaTime& time) {
        if (!time.isValid()) {
            return;
        }
        if (change.fromStart && !isBefore) {
            time = add(time, negative(*change.fromStart));
        }
        if (change.scaleFactor != change.scaleDivisor) {
            time = scaled(time, change.scaleFactor, change.scaleDivisor);
        }
        if (change.offset) {
            time = add(time, *change.offset);
        }
        if (change.toStart) {
            time = add(time, *change.toStart);
        }
    };
    changeTime(cue.start);
    changeTime(cue.end);
    for (subtitles::Row& row : cue.rows) {
        for (subtitles::Run& run : row.runs) {
            changeTime(run.from);
        }
    }
    return !isBefore;
}

std::optional<std::uint64_t> frameOnAir(const MediaTime& time, FrameRate rate) noexcept {
    const auto next = firstFrameAtOrAfter(time, rate);
    const auto nearest = nearestFrame(time, rate);
    if (!next || nearest == next) {
        return next;
    }
    constexpr double kHalfMillisecond = 0.0005;
    // Far below it, and far above what a double loses of such times.
    constexpr double kTolerance = 1e-8;
    const MediaTime duration = frameDuration(rate);
    const double begin = static_cast<double>(*nearest) * static_cast<double>(duration.value) / duration.timescale;
    return secondsFrom(time) - begin <= kHalfMillisecond + kTolerance ? nearest : next;
}

bool putOnFrames(FrameRate rate, subtitles::Cue& cue) {
    const MediaTime duration = frameDuration(rate);
    const auto roundTime = [&](MediaTime& time) {
        constexpr std::uint64_t kGreatest = 1'000'000'000'000'000;
        if (const auto frame = frameOnAir(time, rate); frame && *frame < kGreatest) {
            time = MediaTime::make(static_cast<std::int64_t>(*frame) * duration.value, duration.timescale);
        }
    };
    const bool isShown = cue.end.isValid() && compared(cue.start, cue.end) < 0;
    roundTime(cue.start);
    roundTime(cue.end);
    for (subtitles::Row& row : cue.rows) {
        for (subtitles::Run& run : row.runs) {
            roundTime(run.from);
        }
    }
    if (!isShown || compared(cue.start, cue.end) < 0) {
        return false;
    }
    cue.end = add(cue.start, duration);
    return true;
}

std::size_t bytesOf(const subtitles::Cue& cue) {
    const auto bytesOfAll = [](const subtitles::Properties& properties) {
        std::size_t bytes = 0;
        for (const subtitles::Property& property : properties) {
            bytes += sizeof(property) + property.value.size();
        }
        return bytes;
    };
    std::size_t bytes = sizeof(cue) + cue.identifier.size() + bytesOfAll(cue.properties);
    for (const subtitles::Row& row : cue.rows) {
        bytes += sizeof(row);
        for (const subtitles::Run& run : row.runs) {
            bytes += sizeof(run) + run.text.size() + bytesOfAll(run.properties);
        }
    }
    return bytes;
}

CueOrder::CueOrder(Overlap overlap, std::function<void(subtitles::Cue)> take, TakeCueChange changed,
                   ComposedPlaces places)
    : _overlap(overlap), _places(places), _take(std::move(take)), _changed(std::move(changed)) {}

void CueOrder::push(subtitles::Cue cue) {
    const bool isBehindLater = !_window.empty() && compared(cue.start, _latest) < 0;
    if (isBehindLater) {
        _changed(cue, CueChange::Moved);
    }
    _isSorted = _isSorted && !isBehindLater;
    _latest = isBehindLater ? _latest : cue.start;
    _heldBytes += bytesOf(cue);
    _window.push_back(std::move(cue));
    if (_window.size() > 2 * kWindow || _heldBytes > 2 * kWindowBytes) {
        giveFirst();
    }
}

/// Gives the first ones, until those are left that are held back.
void CueOrder::giveFirst() {
    sort();
    auto cue = _window.begin();
    while (static_cast<std::size_t>(_window.end() - cue) > kWindow || _heldBytes > kWindowBytes) {
        _heldBytes -= bytesOf(*cue);
        give(std::move(*cue++));
    }
    _window.erase(_window.begin(), cue);
}

/// Those that begin together stay in the order in which they came.
void CueOrder::sort() {
    if (!std::exchange(_isSorted, true)) {
        std::stable_sort(_window.begin(), _window.end(), [](const subtitles::Cue& left, const subtitles::Cue& right) {
            return compared(left.start, right.start) < 0;
        });
    }
}

void CueOrder::finish() {
    sort();
    for (subtitles::Cue& cue : std::exchange(_window, {})) {
        give(std::move(cue));
    }
    if (_overlap == Overlap::Compose) {
        compose(nullptr);
    } else {
        for (Shown& last : std::exchange(_onAir, {})) {
            _take(std::move(last.cue));
        }
    }
}

void CueOrder::give(subtitles::Cue cue) {
    if (_lastStart && compared(cue.start, *_lastStart) < 0) {
        _changed(cue, CueChange::Late);
    }
    _lastStart = cue.start;
    if (_overlap == Overlap::Keep) {
        _take(std::move(cue));
    } else if (_overlap == Overlap::Cut) {
        for (auto& [last, isSaid] : _onAir) {
            if (compared(last.end, cue.start) > 0) {
                last.end = cue.start;
                _changed(last, CueChange::Cut);
            }
            _take(std::move(last));
        }
        _onAir.clear();
        _onAir.push_back({std::move(cue)});
    } else {
        addToAir(std::move(cue));
    }
}

/// Compose.
void CueOrder::addToAir(subtitles::Cue cue) {
    compose(&cue.start);
    if (compared(cue.end, cue.start) <= 0) {
        // It is shown with no other one: whoever writes it gives it a length.
        giveNumbered(std::move(cue));
        return;
    }
    if (_onAir.size() == kMostTogether) {
        _changed(cue, CueChange::Uncomposed);
        giveNumbered(std::move(cue));
        return;
    }
    if (_onAir.empty()) {
        _until = cue.start;
        _firstEnd = cue.end;
    }
    _firstEnd = compared(cue.end, _firstEnd) < 0 ? cue.end : _firstEnd;
    _onAir.push_back({std::move(cue)});
}

/// Gives what is shown up to a time, or all of it.
void CueOrder::compose(const MediaTime* to) {
    while (!_onAir.empty()) {
        const bool isWhole = to == nullptr || compared(_firstEnd, *to) <= 0;
        const MediaTime end = isWhole ? _firstEnd : *to;
        giveOnAir(end);
        if (!isWhole) {
            return;
        }
        std::erase_if(_onAir, [this, &end](const Shown& shown) {
            const bool isOver = compared(shown.cue.end, end) <= 0;
            if (isOver && !shown.isSaid) {
                _changed(shown.cue, CueChange::Reduced);
            }
            return isOver;
        });
        const auto first = std::min_element(_onAir.begin(), _onAir.end(), [](const auto& left, const auto& right) {
            return compared(left.cue.end, right.cue.end) < 0;
        });
        _firstEnd = first == _onAir.end() ? _firstEnd : first->cue.end;
    }
}

void CueOrder::giveOnAir(const MediaTime& to) {
    if (compared(to, _until) <= 0) {
        return;
    }
    std::vector<std::vector<subtitles::Cue>> places;
    for (auto& [cue, isSaid] : _onAir) {
        const auto same = std::find_if(places.begin(), places.end(), [&cue = cue, this](const auto& others) {
            return _places == ComposedPlaces::Together || isAtSamePlace(others.front(), cue);
        });
        const bool isFirst = same == places.end();
        isSaid = isSaid || isFirst || saysSame(same->front(), cue);
        (isFirst ? places.emplace_back() : *same).push_back(cue);
        // They stand beside its first piece, and so does its name beside the first one that is not another cue's.
        std::erase_if(cue.properties, isNote);
        if (isFirst) {
            cue.identifier.clear();
        }
    }
    const MediaTime from = std::exchange(_until, to);
    for (const std::vector<subtitles::Cue>& together : places) {
        subtitles::Cue cue = subtitles::shownTogether(together);
        cue.start = from;
        cue.end = to;
        if (together.size() > 1) {
            addNotes(std::span(together).subspan(1), cue);
            if (cue.box) {
                placeRows(cue, *cue.box);
            }
            _changed(cue, CueChange::Composed);
        }
        giveNumbered(std::move(cue));
    }
}

/// Whether one that is shown with another says no more than that does, but for text and notes: where several places are
/// one, only the group of EBU STL is written.
bool CueOrder::saysSame(const subtitles::Cue& first, const subtitles::Cue& cue) const {
    if (_places == ComposedPlaces::Together) {
        const std::string* const group = valueOf(cue.properties, subtitles::properties::kStlGroup);
        const std::string* const ofFirst = valueOf(first.properties, subtitles::properties::kStlGroup);
        return group == nullptr || (ofFirst != nullptr && *group == *ofFirst);
    }
    return cue.identifier.empty() && cue.language == first.language &&
           std::all_of(cue.properties.begin(), cue.properties.end(), [&first](const subtitles::Property& property) {
               return isNote(property) ||
                      std::find(first.properties.begin(), first.properties.end(), property) != first.properties.end();
           });
}

/// The pieces of a cue count on, and so do those behind them.
void CueOrder::giveNumbered(subtitles::Cue cue) {
    if (cue.number != 0) {
        _number = cue.number > _number ? cue.number : _number + 1;
        cue.number = _number;
    }
    _take(std::move(cue));
}

}  // namespace qlx::tool
