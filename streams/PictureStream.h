// A container's stream of pictures, on its way into the order of presentation.
#pragma once

#include "FieldFrames.h"
#include "FrameOrder.h"
#include "PictureTimes.h"

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <qlx/video/nal.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams::detail {

/// How far the times of a stream's pictures can be relied on.
enum class PictureTrust : std::uint8_t {
    Whole,  ///< Each picture has its own.
    Told,   ///< Each has its own, or some have none: the first ones tell.
    None,   ///< Some have none, or that of decoding.
};

/// What is known of a stream of pictures.
struct PictureStreamForm {
    video::StreamForm form;
    std::vector<std::uint8_t> configuration;  ///< A container's record of parameter sets; may be empty.
    std::int32_t timescale = 1;
    std::int64_t frameDuration = 0;  ///< In the timescale; 0 when it is not known. Of those that tell, theirs is taken.
    std::int64_t tolerance = 0;      ///< As of FrameSample.
    PictureTrust trust = PictureTrust::Whole;
    std::optional<MediaTime> first = std::nullopt;  ///< Of the first picture where it has no time.
};

/// Gives the samples of the first stream of a container, one a frame, their times where they have none, and passes them
/// on. A picture without a time, in a stream whose first ones all have theirs, is presented behind all in front of it.
class PictureStream {
public:
    explicit PictureStream(PictureStreamForm form);

    /// @param unit The picture's access unit.
    void add(std::span<const std::uint8_t> unit, FrameSample sample, FrameOrder& order);

    /// No picture follows.
    void finish(FrameOrder& order);

private:
    struct Held {
        std::vector<std::uint8_t> unit;
        FrameSample sample;
    };

    void passOn(std::span<const std::uint8_t> unit, FrameSample sample, FrameOrder& order);
    void takeTimes(FrameOrder& order);
    void decide(FrameOrder& order);
    void takeDuration();

    PictureStreamForm _form;
    FieldFrames _fields;
    PictureTimes _times;  ///< Used where there is no trust.
    std::vector<Held> _held;
    std::size_t _heldBytes = 0;
    std::optional<MediaTime> _latest;
};

}  // namespace qlx::streams::detail
