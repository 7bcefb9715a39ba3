// Files of SDI rows: frame after frame, and in each frame the same lines, one row each.
#pragma once

#include "Frame.h"
#include "InputFile.h"
#include "OutputFile.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qlx::tool {

/// How the rows of a file lie.
struct RowLayout {
    std::uint32_t pixelFormat = 0;     ///< kPixelFormatV210 or kPixelFormat2vuy.
    std::uint32_t width = 0;           ///< Pixels of a row.
    std::vector<std::uint64_t> lines;  ///< The line number of each row of a frame, ascending.
};

/// Bytes of a row: ceil(width / 48) x 128 for `v210`, width x 2 for `2vuy`.
[[nodiscard]] std::size_t rowBytes(std::uint32_t pixelFormat, std::uint32_t width);

/// Fills a row with blanking: Y 0x040 and C 0x200, in 8 bits 0x10 and 0x80.
void fillWithBlanking(std::uint32_t pixelFormat, std::span<std::uint8_t> row);

/// Finds the packets of each frame's rows.
class RowReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    RowReader(ByteSource& source, RowLayout layout);

    bool next(Frame& frame, std::vector<std::string>& problems) override;

private:
    void readRow(Frame& frame, std::uint64_t line, std::vector<std::string>& problems) const;

    ByteSource& _source;
    RowLayout _layout;
    std::vector<std::uint8_t> _row;
    std::uint64_t _frames = 0;
    std::optional<std::string> _failure;
    std::uint64_t _failureOffset = 0;
};

/// Writes `v210` rows: each frame's lines, filled with its packets.
class V210Writer final : public FrameWriter {
public:
    /// @param layout Its format must be `v210`.
    V210Writer(OutputFile& output, RowLayout layout);

    void write(const Frame& frame) override;

private:
    void checkFit(const Frame& frame, std::uint64_t line) const;

    OutputFile& _output;
    RowLayout _layout;
    std::vector<std::uint8_t> _blankRow;
    std::vector<std::uint8_t> _row;
};

}  // namespace qlx::tool
