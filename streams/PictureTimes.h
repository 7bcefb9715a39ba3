// The order and times of pictures whose container does not give all of them.
#pragma once

#include "FieldFrames.h"

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <qlx/streams/frame.h>
#include <qlx/video/order.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
#include <set>
#include <span>
#include <utility>

namespace qlx::streams::detail {

/// Takes the frames of coded pictures in the order of the stream, and gives them in the order of presentation, counted
/// anew. Two field pictures of a frame are one, at the time of the first.
class PictureOrder {
public:
    /// As many pictures wait at most.
    static constexpr std::size_t kLongestWait = video::kLongestPictureWait;

    explicit PictureOrder(const video::StreamForm& form) : _order(form) {}

    /// @param unit The picture's access unit.
    /// @return Whether it is the second field of a frame, whose captions have joined those of the first.
    bool add(std::span<const std::uint8_t> unit, Frame frame) {
        return _order.add(unit, std::move(frame), joinSecondField);
    }

    /// Of the picture that was added last, as video::PictureCount says it.
    [[nodiscard]] bool lacksParameters() const noexcept { return _order.lacksParameters(); }

    /// No picture follows.
    void finish() noexcept { _order.finish(); }

    /// The next frame; none as long as it is not known.
    [[nodiscard]] std::optional<Frame> take() {
        std::optional<Frame> frame = _order.take();
        if (frame) {
            frame->number = _frames++;
        }
        return frame;
    }

private:
    video::PictureOrder<Frame> _order;
    std::uint64_t _frames = 0;
};

/// Puts the pictures of a stream in order whose times are missing here and there, as program streams may have it, or are
/// those of decoding, as some writers of MXF files give them.
class PictureTimes {
public:
    /// @param frameDuration In the timescale of the times; 0 when it is not known.
    /// @param first The time of the first picture when it has none of its own.
    PictureTimes(const video::StreamForm& form, std::int64_t frameDuration,
                 std::optional<MediaTime> first = std::nullopt)
        : _order(form), _frameDuration(frameDuration), _first(first) {}

    /// A time that can only be damage counts as none, so that nothing is counted on from it.
    void add(std::span<const std::uint8_t> unit, Frame frame) {
        if (frame.pts && (frame.pts->value > kGreatestTime || frame.pts->value < -kGreatestTime)) {
            frame.pts.reset();
        }
        const bool hasTime = frame.pts.has_value();
        const std::int64_t time = hasTime ? frame.pts->value : 0;
        if (_order.add(unit, std::move(frame))) {
            return;
        }
        _isComplete = _isComplete && hasTime;
        if (_isComplete) {
            _times.insert(time);
        }
    }

    void finish() noexcept {
        _order.finish();
        _isAtEnd = true;
    }

    /// The next frame in the order of presentation, its time later than that of the last one where the stream's times do
    /// not contradict each other. Those in front of the first one with a time wait for it, and are counted back from
    /// there. Where pictures are missing the times go on behind the
    /// gap, as soon as two of them say so.
    [[nodiscard]] std::optional<Frame> take();

private:
    static constexpr std::int64_t kGreatestTime = std::numeric_limits<std::int64_t>::max() / 4;

    void setTime(Frame& frame);
    void countBack();
    void place(Frame frame);
    void settle(bool isStep);
    [[nodiscard]] bool isDoubtful(const Frame& frame) const;
    [[nodiscard]] bool isBelieved(std::int64_t time, std::int64_t expected) const;

    PictureOrder _order;
    std::int64_t _frameDuration;
    std::optional<MediaTime> _first;
    bool _isComplete = true;
    std::multiset<std::int64_t> _times;
    std::optional<MediaTime> _last;
    std::deque<Frame> _early;     ///< At the beginning: what has been taken out and not given yet.
    std::deque<Frame> _doubtful;  ///< Behind _last: one whose time is not sure, and those without a time behind it.
    std::int64_t _step = 0;       ///< By which the time of the first one differs.
    std::deque<Frame> _settled;   ///< What has not been given yet.
    bool _isAtEnd = false;
};

}  // namespace qlx::streams::detail
