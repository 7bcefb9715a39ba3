// The frames of coded pictures in the order of presentation.
#pragma once

#include "streams/Frame.h"
#include "streams/VideoStream.h"

#include <qlx/video/order.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

namespace qlx::tool {

/// Takes the frames of coded pictures in the order of the stream, and gives them in the order of presentation, counted
/// anew.
class PictureOrder {
public:
    /// As many pictures wait at most.
    static constexpr std::size_t kLongestWait = video::kLongestPictureWait;

    explicit PictureOrder(VideoCodec codec) : _order({codec, 0}) {}

    /// @param unit The picture's access unit, with start codes.
    void add(std::span<const std::uint8_t> unit, Frame frame) { _order.add(unit, std::move(frame)); }

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

}  // namespace qlx::tool
