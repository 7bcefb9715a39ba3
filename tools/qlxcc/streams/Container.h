// Captions and ancillary packets in containers: MXF, MOV and MP4, MPEG-TS, MPEG-PS. FFmpeg's libraries take them apart;
// they are included by this module's source alone. ContainerNone.cpp stands in where they are not there.
#pragma once

#include "io/InputFile.h"
#include "streams/Frame.h"
#include "streams/InputKind.h"

#include <memory>

namespace qlx::tool {

/// Opens a container: the captions in its first H.264 or MPEG-2 video stream, its caption tracks (`c608`, `c708`) and
/// its ANC tracks (SMPTE ST 436-1), a frame for each moment of presentation, in that order.
/// @param source Read from where it stands; must outlive the reader.
/// @param kind One that isContainer().
/// @throws Failure when the file cannot be taken apart, or has no such stream.
[[nodiscard]] std::unique_ptr<FrameReader> openContainer(InputFile& source, InputKind kind);

}  // namespace qlx::tool
