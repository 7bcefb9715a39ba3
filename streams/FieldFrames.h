// Frames that are coded as two field pictures, each of which is a sample of its own.
#pragma once

#include "FrameOrder.h"

#include <qlx/streams/frame.h>
#include <qlx/video/order.h>

#include <cstdint>
#include <optional>
#include <span>

namespace qlx::streams::detail {

/// Adds the captions of a frame's second field to those of its first.
void joinSecondField(Frame& first, const Frame& second);

/// Makes one sample of the two fields of a frame, at the time of the first.
class FieldFrames {
public:
    /// @param configuration A container's record of parameter sets; may be empty.
    FieldFrames(const video::StreamForm& form, std::span<const std::uint8_t> configuration);

    /// Takes the next picture of the stream, and passes on what is whole. A first field waits for its other one.
    void add(std::span<const std::uint8_t> unit, FrameSample sample, FrameOrder& order);

    /// No picture follows.
    void finish(FrameOrder& order);

private:
    video::PictureCount _count;
    std::optional<FrameSample> _first;
};

}  // namespace qlx::streams::detail
