// Screens as pictures, which a module of the tool draws.
#pragma once

#include "pictures/Image.h"

#include <qlx/screen/screen.h>

namespace qlx::tool {

/// Throws Failure when pictures of screens cannot be drawn here.
void requireScreenImages();

/// Draws a screen over a grey picture.
/// @throws Failure when pictures of screens cannot be drawn here.
[[nodiscard]] Image screenImage(const screen::Screen& screen);

}  // namespace qlx::tool
