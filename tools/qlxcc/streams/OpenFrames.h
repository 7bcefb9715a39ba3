// Opening whatever has frames.
#pragma once

#include "io/FrameInput.h"
#include "io/FrameSource.h"
#include "io/InputFile.h"

#include <memory>

namespace qlx::tool {

/// Opens a file for reading its frames: packets, the captions that came with the picture, or both.
/// @param source Read from where it stands; must outlive the reader.
/// @throws UsageError when the kind is unknown, has no frames or does not go with the options; Failure when the file is
///   broken at its beginning.
[[nodiscard]] std::unique_ptr<FrameInput> openFrames(InputFile& source, const FrameSourceOptions& options);

}  // namespace qlx::tool
