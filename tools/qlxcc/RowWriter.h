// Writing files of SDI rows.
#pragma once

#include "OutputFile.h"
#include "RowFile.h"

#include <cstdint>
#include <vector>

namespace qlx::tool {

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
