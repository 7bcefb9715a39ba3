// What reads the frames of containers and elementary streams.
#pragma once

#include "io/Frame.h"

#include <string>
#include <vector>

namespace qlx::tool {

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

}  // namespace qlx::tool
