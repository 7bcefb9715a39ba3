#include "pictures/ScreenImage.h"

#include "io/Errors.h"
#include "io/Module.h"
#include "pictures/ScreenPainter.h"

#include <qlx/teletext/characters.h>

#include <cstdint>
#include <string>

namespace qlx::tool {

void requireScreenImages() {
    try {
        (void)module<ScreenPainter>();
    } catch (const Failure& failure) {
        throw Failure(std::string("--png needs libzvbi, which draws the characters and is not there: ") +
                      failure.what());
    }
}

Image screenImage(const screen::Screen& screen) {
    requireScreenImages();
    return module<ScreenPainter>().paint(screen, [](std::uint8_t code) { return teletext::mosaic(code); });
}

}  // namespace qlx::tool
