// Scenarist caption files: timecodes of 29.97 frames a second, and the byte pairs that begin to be sent with them.
#pragma once

#include "io/LineReader.h"
#include "streams/Frame.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qlx::tool {

/// Reads the frames that carry a pair, a pair a frame, as field 1 triplets with the time at 29.97 frames a second. The
/// pairs of a line that is due before those of the lines before it have all been sent follow them; a remark says so.
class SccReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    explicit SccReader(ByteSource& source) : _lines(source) {}

    bool next(Frame& frame, std::vector<std::string>& problems) override;
    [[nodiscard]] std::vector<std::string> takeRemarks() override { return std::exchange(_remarks, {}); }

private:
    bool readLine();
    void place(std::uint64_t frame, std::string_view timecode);

    LineReader _lines;
    std::string _line;
    std::size_t _place = 0;  ///< In `_line`: where the next pair is looked for.
    std::uint64_t _nextFrame = 0;
    std::uint64_t _lineFrame = 0;   ///< What the timecode of the line in hand names.
    std::uint64_t _lineNumber = 0;  ///< Of that line; 0 in front of the first one.
    std::string _remark;            ///< On that line; made known with its first pair.
    std::vector<std::string> _remarks;
};

}  // namespace qlx::tool
