#include "PictureTimes.h"

#include <cstdlib>
#include <limits>

namespace qlx::tool {

std::optional<Frame> PictureTimes::take() {
    std::optional<Frame> frame = _order.take();
    if (!frame) {
        return frame;
    }
    if (frame->pts) {
        // Where every picture has a time, the first one in order has the first one of them.
        const auto time = _isComplete ? _times.begin() : _times.find(frame->pts->value);
        frame->pts->value = time == _times.end() ? frame->pts->value : *time;
        if (time != _times.end()) {
            _times.erase(time);
        }
    }
    if (_first && !_last) {
        frame->pts = _first;
    }
    // Nothing is counted on from a time that can only be damage.
    if (_last && _frameDuration > 0 && _last->value < std::numeric_limits<std::int64_t>::max() / 4) {
        const std::int64_t expected = _last->value + _frameDuration;
        if (!frame->pts || !isBelieved(frame->pts->value, expected)) {
            frame->pts = MediaTime::make(expected, _last->timescale);
        }
    }
    _last = frame->pts ? frame->pts : _last;
    return frame;
}

/// Whether a picture's time is taken over and not counted on from the last one.
bool PictureTimes::isBelieved(std::int64_t time, std::int64_t expected) const {
    if (_first) {
        return false;
    }
    if (_isComplete) {
        return time > expected - _frameDuration;
    }
    // Where only some pictures have times, the demuxer may give a time to the neighbour of the picture that it belongs
    // to; a greater step is one of the stream.
    const std::int64_t difference = time - expected;
    return std::abs(difference) <= _frameDuration / 2 || std::abs(difference) > _last->timescale;
}

}  // namespace qlx::tool
