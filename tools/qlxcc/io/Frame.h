// A frame as the tool's commands have it, and what takes such frames.
#pragma once

#include <qlx/streams/frame.h>

#include <cstdint>
#include <memory>
#include <string>

namespace qlx::tool {

using streams::CaptionPlace;

/// A frame, and in playout its subtitle.
struct Frame : streams::Frame {
    /// In playout: the text of the subtitle last sent, null in a gap. Another subtitle is another object, whatever it
    /// says.
    std::shared_ptr<const std::string> subtitle;
};

/// `frame 3, line 9`
[[nodiscard]] inline std::string placeOf(std::uint64_t frame, std::uint64_t line) {
    return "frame " + std::to_string(frame) + ", line " + std::to_string(line);
}

/// Writes frames one after the other, as a file or a list.
class FrameWriter {
public:
    FrameWriter() = default;
    FrameWriter(const FrameWriter&) = delete;
    FrameWriter& operator=(const FrameWriter&) = delete;
    virtual ~FrameWriter() = default;

    /// @throws Failure when the frame cannot be written.
    virtual void write(const Frame& frame) = 0;

    /// Called once, behind the last frame.
    virtual void finish() {}
};

}  // namespace qlx::tool
