// Frames of one rate as those of its double, or half, with the bytes that the library's fixed operations give.
#pragma once

#include "commands/rate/RateChange.h"
#include "io/InputFile.h"
#include "io/OutputFile.h"

#include <cstdint>

namespace qlx::tool {

/// Splits each frame's captions, or joins those of two.
/// @param options One of the rates is the double of the other.
/// @return How many problems there were with what was used all the same.
std::uint64_t changeToHalves(const RateChangeOptions& options, InputFile& source, OutputFile& output);

}  // namespace qlx::tool
