// What samples of text tracks cut, in one piece again.
#pragma once

#include "TtmlTimes.h"

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <qlx/subtitles/cue.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qlx::streams::detail {

/// Joins cues again that samples cut.
class CueJoiner {
public:
    /// @param take Gets them; must outlive this.
    /// @param joins Else cues stay as they are.
    CueJoiner(const std::function<void(subtitles::Cue)>& take, bool joins) : _take(take), _joins(joins) {}

    /// Ends what does not go on to the next sample.
    void beginSample(const MediaTime& begin) {
        if (!_joins || !_begin || !isSameTime(*_begin, begin)) {
            giveIf([&begin](const subtitles::Cue& cue) { return !isSameTime(cue.end, begin); });
        }
        _begin = begin;
    }

    void add(subtitles::Cue cue) {
        if (!_joins) {
            _open.push_back(std::move(cue));
            return;
        }
        Key key{cue.start, textOf(cue)};
        const auto [first, last] = _places.equal_range(key);
        const auto same =
            std::find_if(first, last, [&](const auto& each) { return isSameBut(_open[each.second], cue); });
        std::size_t place = _open.size();
        key.end = cue.end;
        if (same != last) {
            place = same->second;
            _places.erase(same);
            _open[place].end = cue.end;
        } else {
            _open.push_back(std::move(cue));
        }
        _places.emplace(std::move(key), place);
    }

    void finish() {
        giveIf([](const subtitles::Cue&) { return true; });
    }

private:
    /// By which an open cue is found: of many, few have the same one.
    struct Key {
        MediaTime end;
        std::string text;

        bool operator<(const Key& other) const {
            return isBefore(end, other.end) || (!isBefore(other.end, end) && text < other.text);
        }
    };

    static std::string textOf(const subtitles::Cue& cue) {
        std::string text = cue.identifier + cue.region + cue.language;
        const auto append = [&text](const subtitles::Properties& properties) {
            for (const subtitles::Property& property : properties) {
                text += property.name + property.value;
            }
        };
        append(cue.properties);
        for (const subtitles::Row& row : cue.rows) {
            for (const subtitles::Run& run : row.runs) {
                text += run.text;
                append(run.properties);
            }
        }
        return text;
    }

    static bool isSameBut(const subtitles::Cue& left, const subtitles::Cue& right) {
        return left.rows == right.rows && left.identifier == right.identifier && left.language == right.language &&
               left.region == right.region && left.properties == right.properties;
    }

    template <class Condition>
    void giveIf(const Condition& isOver) {
        std::vector<subtitles::Cue> kept;
        _places.clear();
        for (subtitles::Cue& cue : _open) {
            if (!_joins || isOver(cue)) {
                _take(std::move(cue));
            } else {
                _places.emplace(Key{cue.end, textOf(cue)}, kept.size());
                kept.push_back(std::move(cue));
            }
        }
        _open = std::move(kept);
    }

    const std::function<void(subtitles::Cue)>& _take;
    bool _joins;
    std::optional<MediaTime> _begin;
    std::vector<subtitles::Cue> _open;
    std::multimap<Key, std::size_t> _places;  ///< Of the open cues.
};

}  // namespace qlx::streams::detail
