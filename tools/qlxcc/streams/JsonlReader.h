// Files of a JSON line a frame, as the tool writes them.
#pragma once

#include "io/LineReader.h"
#include "streams/Frame.h"

#include <string>
#include <vector>

namespace qlx::tool {

/// Reads the frames of a file as jsonLine() writes them; blank lines are passed over, and so is what a line says beside
/// the frame's number, time, packets and triplets.
class JsonlReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    explicit JsonlReader(ByteSource& source) : _lines(source) {}

    bool next(Frame& frame, std::vector<std::string>& problems) override;

private:
    LineReader _lines;
    std::string _line;
};

}  // namespace qlx::tool
