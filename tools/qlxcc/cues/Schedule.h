// The readable schedule of a playout.
#pragma once

#include "io/Frame.h"
#include "io/OutputFile.h"

#include <array>
#include <cstdint>
#include <string>

namespace qlx::tool {

// Columns of what is listed of a schedule.
inline constexpr std::size_t kTimeWidth = 12;
inline constexpr std::size_t kFrameWidth = 8;

/// Writes a line for each frame at which something changes: its time, its number, what each field carries, the
/// subtitle.
class ScheduleWriter final : public FrameWriter {
public:
    /// @param lines The video lines of the packets of field 1 and field 2.
    ScheduleWriter(OutputFile& output, std::array<std::uint64_t, 2> lines) : _output(output), _lines(lines) {}

    /// What is played, and the titles of the columns.
    void writeTitles(const std::string& summary);

    void write(const Frame& frame) override;

private:
    [[nodiscard]] std::string fieldText(const Frame& frame, std::uint64_t line) const;

    OutputFile& _output;
    std::array<std::uint64_t, 2> _lines;
    std::array<std::string, 2> _fields;
    std::shared_ptr<const std::string> _subtitle;
    std::string _subtitleText;
    bool _isFirst = true;
};

}  // namespace qlx::tool
