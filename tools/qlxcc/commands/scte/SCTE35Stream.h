// Sections of SCTE 35 as a transport stream.
#pragma once

#include "commands/scte/SCTE35.h"
#include "io/OutputFile.h"

#include <qlx/scte/scte35.h>

#include <span>

namespace qlx::tool {

/// Writes a stream in which each section comes at the PTS of the frame that carries its message; where that is not known,
/// four seconds before its splice, and one without a time with that in front of it.
/// @throws Failure when it cannot be made.
void writeScte35Stream(std::span<const scte::SpliceInfoSection> sections, const Scte35Options& options,
                       OutputFile& output);

}  // namespace qlx::tool
