#include "Container.h"

#include "Errors.h"

#include <string>

namespace qlx::tool {

std::unique_ptr<FrameReader> openContainer(InputFile& source, InputKind kind) {
    std::string what = "this qlxcc was built without FFmpeg's libraries, which " + std::string(nameOf(kind)) +
                       " files need (Debian: libavformat-dev)";
    if (kind == InputKind::Mxf) {
        what += "; --format klv finds the ANC packets in it";
    }
    throw failureIn(source.name(), what);
}

}  // namespace qlx::tool
