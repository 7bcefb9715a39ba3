// Scenarist caption files: timecodes of 29.97 frames a second, and the byte pairs that begin to be sent with them.
#pragma once

#include "Frame.h"
#include "LineReader.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

/// Reads the frames that carry a pair, a pair a frame, as field 1 triplets with the time at 29.97 frames a second; a
/// line whose pairs are not all sent yet when the next one is due delays that one.
class SccReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    explicit SccReader(ByteSource& source) : _lines(source) {}

    bool next(Frame& frame, std::vector<std::string>& problems) override;

private:
    bool readLine();

    LineReader _lines;
    std::string _line;
    std::size_t _place = 0;  ///< In `_line`: where the next pair is looked for.
    std::uint64_t _nextFrame = 0;
};

}  // namespace qlx::tool
