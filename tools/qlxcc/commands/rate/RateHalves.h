// Frames of one rate as those of its double, or half, with the bytes that the library's fixed operations give.
#pragma once

#include "commands/rate/RateChange.h"
#include "io/InputFile.h"
#include "io/OutputFile.h"

namespace qlx::tool {

/// Splits each frame's captions, or joins those of two.
/// @param options One of the rates is the double of the other.
void changeToHalves(const RateChangeOptions& options, InputFile& source, OutputFile& output);

}  // namespace qlx::tool
