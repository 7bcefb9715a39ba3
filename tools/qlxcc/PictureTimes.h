// The order and times of pictures whose container does not give all of them.
#pragma once

#include "PictureOrder.h"

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <utility>

namespace qlx::tool {

/// Puts the pictures of a stream in order whose times are missing here and there, as program streams may have it, or are
/// those of decoding, as some writers of MXF files give them.
class PictureTimes {
public:
    /// @param frameDuration In the timescale of the times; 0 when it is not known.
    /// @param first When given, the pictures are timed from here on, whatever times they have.
    PictureTimes(VideoCodec codec, std::int64_t frameDuration, std::optional<MediaTime> first = std::nullopt)
        : _order(codec), _frameDuration(frameDuration), _first(first) {}

    void add(std::span<const std::uint8_t> unit, Frame frame) {
        _isComplete = _isComplete && frame.pts;
        if (frame.pts) {
            _times.insert(frame.pts->value);
        }
        _order.add(unit, std::move(frame));
    }

    void finish() noexcept { _order.finish(); }

    /// The next frame in the order of presentation, its time later than that of the last one.
    [[nodiscard]] std::optional<Frame> take();

private:
    [[nodiscard]] bool isBelieved(std::int64_t time, std::int64_t expected) const;

    PictureOrder _order;
    std::int64_t _frameDuration;
    std::optional<MediaTime> _first;
    bool _isComplete = true;
    std::multiset<std::int64_t> _times;
    std::optional<MediaTime> _last;
};

}  // namespace qlx::tool
