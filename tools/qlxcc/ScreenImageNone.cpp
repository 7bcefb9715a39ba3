// In place of ScreenImage.cpp where the VBI library is not there.
#include "ScreenImage.h"

#include "Errors.h"

namespace qlx::tool {

void requireScreenImages() {
    throw Failure("this qlxcc was built without libzvbi, which draws the characters of --png: build it with the Debian "
                  "package libzvbi-dev");
}

Image screenImage(const Screen& /*screen*/) {
    requireScreenImages();
    return {};
}

}  // namespace qlx::tool
