// qlxcc convert: packets and captions from one file of frames to another one, without decoding them.
#pragma once

#include "cues/CueTimes.h"
#include "cues/StartTimes.h"
#include "io/FrameOutput.h"
#include "io/FrameSource.h"
#include "io/InputFile.h"
#include "io/Rates.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace qlx::tool {

struct CarrierOptions {
    std::string path;                     ///< `-`: standard input.
    std::shared_ptr<InputFile> opened{};  ///< It, where it has been opened.
    FrameSourceOptions source;
    std::optional<std::string> output;  ///< None or `-`: standard output.
    FrameOutputOptions frames;          ///< What is written, without its rate.
    std::optional<Rate> toRate;         ///< Of what is written; none: that of what is read, in Scenarist files 29.97.
    TimeChange times;                   ///< Without a scale, and without the starts.
    FromStart fromStart;                ///< What is taken is the time of the first frame.
    std::optional<StartTime> toStart;   ///< Becomes TimeChange::toStart.
    bool keepsCounting = true;          ///< Timecodes count as those of IN; else, and where it has none, as in frames.
    std::uint32_t line = 9;             ///< Of caption packets that are made.
    bool isStrict = false;              ///< What is lost makes the exit code 1.
    bool reportsAll = false;            ///< All that is found, changed or lost is said, not ten of a kind.
    bool isHearingImpaired = false;     ///< ts: its pages are for the hard of hearing, whatever is read says of them.
};

/// Runs the conversion; the result is the exit code.
[[nodiscard]] int convertCarrier(const CarrierOptions& options);

}  // namespace qlx::tool
