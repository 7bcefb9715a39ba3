// Writing files of SDI rows.
#pragma once

#include "io/OutputFile.h"
#include "streams/RowFile.h"

#include <cstdint>
#include <vector>

namespace qlx::tool {

/// How packets are put on rows.
enum class RowForm : std::uint8_t {
    Contiguous,  ///< One behind the other (SMPTE ST 291-1), each in its channel.
    AsDeployed,  ///< As the fixed operation does it, all in luma: each begins a 32-bit word behind the one before it.
};

/// Writes `v210` rows: each frame's lines, filled with its packets.
class V210Writer final : public FrameWriter {
public:
    /// @param layout Its format must be `v210`.
    explicit V210Writer(OutputFile& output, RowLayout layout, RowForm form = RowForm::Contiguous);

    /// @throws Failure when a packet has no place: there is no row for its line, or that is too narrow.
    void write(const Frame& frame) override;

private:
    void checkLines(const Frame& frame) const;
    void checkFit(const Frame& frame, std::uint64_t line) const;
    void fill(const Frame& frame, std::uint64_t line);
    void fillAsDeployed(const Frame& frame, std::uint64_t line);
    void put(const Frame& frame, const anc::Packet& packet);
    [[noreturn]] void throwTooNarrow(const Frame& frame, const anc::Packet& packet) const;

    OutputFile& _output;
    RowLayout _layout;
    RowForm _form;
    std::vector<std::uint8_t> _blankRow;
    std::vector<std::uint8_t> _row;
};

}  // namespace qlx::tool
