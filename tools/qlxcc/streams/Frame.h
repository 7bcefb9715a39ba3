// A frame's ancillary packets, and what reads and writes files of such frames.
#pragma once

#include <qlx/streams/frame.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

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

/// Reads the frames of a file one after the other.
class FrameReader {
public:
    FrameReader() = default;
    FrameReader(const FrameReader&) = delete;
    FrameReader& operator=(const FrameReader&) = delete;
    virtual ~FrameReader() = default;

    /// Reads the next frame.
    /// @param problems Gets a line for everything in the frame that could not be read.
    /// @return False at the end of the file.
    /// @throws Failure when the file is broken here; frames before have been given.
    virtual bool next(Frame& frame, std::vector<std::string>& problems) = 0;

    /// What needs a look in the frames given since the last call, though all of it could be read; a line each.
    [[nodiscard]] virtual std::vector<std::string> takeRemarks() { return {}; }
};

/// Writes frames one after the other.
class FrameWriter {
public:
    FrameWriter() = default;
    FrameWriter(const FrameWriter&) = delete;
    FrameWriter& operator=(const FrameWriter&) = delete;
    virtual ~FrameWriter() = default;

    virtual void write(const Frame& frame) = 0;

    /// Called once, behind the last frame.
    virtual void finish() {}
};

}  // namespace qlx::tool
