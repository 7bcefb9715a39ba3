// qlxcc subs: the cues of a subtitle file, and what was left out.
#pragma once

#include "cues/StartTimes.h"
#include "cues/Subtitles.h"
#include "io/Rates.h"

#include <cstdint>
#include <optional>
#include <string>

namespace qlx::tool {

struct SubsOptions {
    std::string file;                   ///< `-` is standard input.
    std::string encoding;               ///< Of a text; empty: what its bytes say.
    std::string track{};                ///< Of a container: the text track.
    std::int32_t mode = 2;              ///< What the cues are placed for: 1 CEA-608, 2 teletext.
    bool namesLosses = false;           ///< What a viewer will not see as it is written is said as well.
    std::optional<Rate> rate;           ///< Times are shown as timecodes of this rate, where it is given.
    std::optional<std::string> output;  ///< None or `-`: standard output.
    bool asJson = false;
    FromStart fromStart{};    ///< Not as deployed.
    OnAirChoice onAir{};      ///< Files of frames.
    bool asDeployed = false;  ///< As the fixed operations read the file.
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int listSubtitles(const SubsOptions& options);

}  // namespace qlx::tool
