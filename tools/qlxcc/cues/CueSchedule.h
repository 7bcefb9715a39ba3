// The schedule of cues that are sent ahead of the time at which they are shown.
#pragma once

#include "io/Frame.h"
#include "io/OutputFile.h"
#include "io/Rates.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

/// How a cue goes on air; frames are counted from 0.
struct CueCourse {
    std::uint64_t number = 0;              ///< That the file gives it.
    std::string text;                      ///< Its rows.
    std::uint64_t due = 0;                 ///< The frame in which it is to appear.
    std::optional<std::uint64_t> sent{};   ///< The frame that carries the first bytes of it.
    std::optional<std::uint64_t> shown{};  ///< The frame in which it appears.
    bool isLeftOut = false;                ///< It is not sent.
    std::uint8_t awaited = 1;              ///< Caption systems that have not shown it yet.
};

/// Writes a line a cue, as it appears: when it is sent, due and on air, and how many frames it is late.
class CueScheduleWriter final : public FrameWriter {
public:
    /// @param cues What becomes of the cues, in the order in which they appear, up to the frame that is written; must
    /// outlive this.
    CueScheduleWriter(OutputFile& output, const Rate& rate, const std::vector<CueCourse>& cues)
        : _output(output), _rate(rate), _cues(cues) {}

    /// What is played, and the titles of the columns.
    void writeTitles(const std::string& summary);

    void write(const Frame& frame) override;
    void finish() override;

private:
    [[nodiscard]] std::string timeOf(std::optional<std::uint64_t> frame) const;
    void writeCue(const CueCourse& cue);

    OutputFile& _output;
    Rate _rate;
    const std::vector<CueCourse>& _cues;
    std::size_t _first = 0;  ///< All cues in front of it are listed.
};

}  // namespace qlx::tool
