#include "StreamWalk.h"

#include <algorithm>
#include <utility>

namespace qlx::streams::detail {

StreamWalk::StreamWalk(Measure measure, std::span<const std::uint8_t> start)
    : _measure(std::move(measure)), _start(start.begin(), start.end()), _isSearching(!start.empty()) {}

void StreamWalk::take(std::uint64_t place, std::span<const std::uint8_t> bytes) {
    const std::uint64_t wanted = _next + _bytes.size();
    if (_isLost || place + bytes.size() <= wanted) {
        return;
    }
    if (place > wanted && !_passesGaps) {
        return;
    }
    if (place > wanted) {
        if (_start.empty()) {
            _isLost = true;
            return;
        }
        endStray(wanted);
        _bytes.clear();
        _next = place;
        _isSearching = true;
    } else {
        bytes = bytes.subspan(static_cast<std::size_t>(wanted - place));
    }
    _bytes.insert(_bytes.end(), bytes.begin(), bytes.end());
    follow();
}

void StreamWalk::follow() {
    std::size_t done = 0;
    for (;;) {
        auto rest = std::span<const std::uint8_t>(_bytes).subspan(done);
        if (_isSearching) {
            const auto found = std::search(rest.begin(), rest.end(), _start.begin(), _start.end());
            const bool isFound = found != rest.end();
            // The end of what is there may be the beginning of a start.
            done += isFound ? static_cast<std::size_t>(found - rest.begin())
                            : rest.size() - std::min(rest.size(), _start.size() - 1);
            if (!isFound) {
                break;
            }
            rest = std::span<const std::uint8_t>(_bytes).subspan(done);
        }
        const std::uint64_t place = _next + done;
        const std::optional<std::uint64_t> size = _measure(place, rest);
        if (!size || *size > kGreatestSize) {
            if (_start.empty()) {
                _isLost = true;
                break;
            }
            _damagedAt = _isSearching ? _damagedAt : place;
            done += _isSearching ? 1 : 0;
            _isSearching = true;
            continue;
        }
        if (*size == 0) {
            break;
        }
        endStray(place);
        _isSearching = false;
        _last = Piece{place, *size};
        if (*size >= rest.size()) {
            _next = place + *size;
            _bytes.clear();
            return;
        }
        done += static_cast<std::size_t>(*size);
    }
    _next += done;
    _bytes.erase(_bytes.begin(), _bytes.begin() + static_cast<std::ptrdiff_t>(done));
}

void StreamWalk::endStray(std::uint64_t end) {
    if (_damagedAt && _strays.size() < kMostStrays) {
        _strays.push_back({*_damagedAt, end - *_damagedAt});
    } else if (_damagedAt) {
        ++_straysLeftOut;
    }
    _damagedAt.reset();
}

std::vector<Stray> StreamWalk::takeStrays() {
    return std::exchange(_strays, {});
}

std::uint64_t StreamWalk::takeStraysLeftOut() noexcept {
    return std::exchange(_straysLeftOut, 0);
}

std::optional<CutPiece> StreamWalk::cutAt(std::uint64_t end) const {
    if (_isLost || _isSearching || end == _next) {
        return std::nullopt;
    }
    if (end > _next) {
        // Not enough of it is there to tell its size.
        return end == _next + _bytes.size() ? std::optional(CutPiece{_next, end - _next, 0}) : std::nullopt;
    }
    return _last && end > _last->begin ? std::optional(CutPiece{_last->begin, end - _last->begin, _last->size})
                                       : std::nullopt;
}

std::optional<Stray> StreamWalk::strayAt(std::uint64_t end) const {
    return _damagedAt && end > *_damagedAt ? std::optional(Stray{*_damagedAt, end - *_damagedAt}) : std::nullopt;
}

}  // namespace qlx::streams::detail
