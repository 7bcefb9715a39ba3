#include "PictureTimes.h"

#include <cstdlib>
#include <iterator>
#include <utility>

namespace qlx::streams::detail {

std::optional<Frame> PictureTimes::take() {
    while (!_last && _early.size() < PictureOrder::kLongestWait) {
        std::optional<Frame> frame = _order.take();
        if (!frame) {
            break;
        }
        setTime(*frame);
        _early.push_back(std::move(*frame));
        countBack();
    }
    if (!_early.empty()) {
        const bool isKnown = _last || _isAtEnd || _early.size() == PictureOrder::kLongestWait;
        if (!isKnown) {
            return std::nullopt;
        }
        std::optional<Frame> frame = std::move(_early.front());
        _early.pop_front();
        return frame;
    }
    while (_settled.empty()) {
        if (std::optional<Frame> next = _order.take()) {
            place(std::move(*next));
        } else if (_isAtEnd && !_doubtful.empty()) {
            // Nothing is presented behind the last one, so that its time is no other's.
            settle(true);
        } else {
            return std::nullopt;
        }
    }
    std::optional<Frame> frame = std::move(_settled.front());
    _settled.pop_front();
    return frame;
}

void PictureTimes::place(Frame frame) {
    if (!_doubtful.empty()) {
        if (!frame.pts && _doubtful.size() < PictureOrder::kLongestWait) {
            _doubtful.push_back(std::move(frame));
            return;
        }
        const auto behind = static_cast<std::int64_t>(_doubtful.size()) + 1;
        settle(frame.pts &&
               std::abs(frame.pts->value - (_last->value + behind * _frameDuration) - _step) <= _frameDuration / 2);
    }
    if (isDoubtful(frame)) {
        _step = frame.pts->value - (_last->value + _frameDuration);
        _doubtful.push_back(std::move(frame));
        return;
    }
    setTime(frame);
    _settled.push_back(std::move(frame));
}

/// Whether a picture's time may be that of a neighbour, or pictures in front of it are missing: the next time tells.
bool PictureTimes::isDoubtful(const Frame& frame) const {
    if (_isComplete || !frame.pts || !_last || _frameDuration <= 0) {
        return false;
    }
    const std::int64_t difference = frame.pts->value - (_last->value + _frameDuration);
    return difference > 0 && !isBelieved(frame.pts->value, _last->value + _frameDuration);
}

/// Gives the doubtful pictures their times.
/// @param isStep Pictures are missing in front of them.
void PictureTimes::settle(bool isStep) {
    std::int64_t time = _last->value + (isStep ? _step : 0);
    for (Frame& frame : _doubtful) {
        time += _frameDuration;
        frame.pts = MediaTime::make(time, _last->timescale);
        _settled.push_back(std::move(frame));
    }
    _doubtful.clear();
    _last = _settled.back().pts;
}

/// Gives the pictures in front of the first one with a time theirs.
void PictureTimes::countBack() {
    if (!_last || _frameDuration <= 0) {
        return;
    }
    std::int64_t time = _last->value;
    for (auto frame = std::next(_early.rbegin()); frame != _early.rend(); ++frame) {
        time -= _frameDuration;
        frame->pts = MediaTime::make(time, _last->timescale);
    }
}

void PictureTimes::setTime(Frame& frame) {
    if (frame.pts) {
        // Where every picture has a time, the first one in order has the first one of them.
        const auto time = _isComplete ? _times.begin() : _times.find(frame.pts->value);
        frame.pts->value = time == _times.end() ? frame.pts->value : *time;
        if (time != _times.end()) {
            _times.erase(time);
        }
    }
    if (!frame.pts && !_last) {
        frame.pts = _first;
    }
    if (_last && _frameDuration > 0) {
        const std::int64_t expected = _last->value + _frameDuration;
        if (!frame.pts || !isBelieved(frame.pts->value, expected)) {
            frame.pts = MediaTime::make(expected, _last->timescale);
        }
    }
    _last = frame.pts ? frame.pts : _last;
}

/// Whether a picture's time is taken over and not counted on from the last one.
bool PictureTimes::isBelieved(std::int64_t time, std::int64_t expected) const {
    if (_isComplete) {
        return time > expected - _frameDuration;
    }
    // Where only some pictures have times, the demuxer may give a time to the neighbour of the picture that it belongs
    // to; a greater step is one of the stream.
    const std::int64_t difference = time - expected;
    return std::abs(difference) <= _frameDuration / 2 || std::abs(difference) > _last->timescale;
}

}  // namespace qlx::streams::detail
