// Drawing screens: what the tool asks of the module that does it (qlxcc-screens, with the fonts of libzvbi).
#pragma once

#include "pictures/Image.h"

#include <qlx/screen/screen.h>

#include <cstdint>

namespace qlx::tool {

class ScreenPainter {
public:
    static constexpr const char* kModule = "qlxcc-screens";

    /// Draws a screen over a grey picture.
    /// @param mosaic The character of a teletext mosaic code.
    [[nodiscard]] virtual Image paint(const screen::Screen& screen, char32_t (*mosaic)(std::uint8_t code)) = 0;

protected:
    ~ScreenPainter() = default;
};

}  // namespace qlx::tool
