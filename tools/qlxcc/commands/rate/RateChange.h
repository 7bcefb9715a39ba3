// qlxcc rate: frames with packets from one frame rate to another.
#pragma once

#include "io/FrameOutput.h"
#include "io/FrameSource.h"
#include "io/Rates.h"

#include <string>

namespace qlx::tool {

struct RateChangeOptions {
    std::string file;  ///< A file of frames with packets; `-` is standard input.
    FrameSourceOptions source;
    Rate from;
    Rate to;
    std::string output;  ///< `-` is standard output.
    FrameOutputOptions frames;
    bool joinSections = false;  ///< See cc::RateOptions.
    bool asDeployed = false;    ///< With the fixed operations, which know a rate's double and half only.
};

/// Whether `to` is the double of `from`.
[[nodiscard]] bool isDouble(const Rate& from, const Rate& to) noexcept;

/// Runs the subcommand; the result is the exit code.
/// @param options With `asDeployed` one of the rates must be the double of the other.
[[nodiscard]] int changeRate(const RateChangeOptions& options);

}  // namespace qlx::tool
